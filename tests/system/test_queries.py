"""Units, information and queries over the shipped file and the package's own library."""

import math

import pytest

import tessara.data
from tessara import basic, core, friendly
from tessara.core import (
    AmountUnit,
    EnergyUnit,
    PhaseConfig,
    PhaseConstituentConfig,
    PressureUnit,
    SolutionModel,
    Status,
    SystemComponentConfig,
    TemperatureUnit,
    TessaraError,
    TessaraInfo,
    ThermochemicalSystemConfig,
    VolumeUnit,
)
from tessara.friendly import EquilibriumCalculation, Info, ThermochemicalSystem, Units

STARTING = {
    "P": PressureUnit.bar,
    "V": VolumeUnit.dm3,
    "T": TemperatureUnit.K,
    "E": EnergyUnit.J,
    "A": AmountUnit.mol,
}
STANDARD = {
    "P": PressureUnit.atm,
    "V": VolumeUnit.m3,
    "T": TemperatureUnit.C,
    "E": EnergyUnit.kWh,
    "A": AmountUnit.kg,
}
GRAMS = {AmountUnit.gram: 1.0, AmountUnit.kg: 1e3, AmountUnit.tonne: 1e6}  # in one of the unit

# The head of the data file: numbers of components, of constituents of the two mixture phases, and
# of pure phases; names and molar masses of the components, as its lines 3 to 8 have them.
COMPONENTS = {
    "Fe": 55.845,
    "C": 12.011,
    "O": 15.999,
    "H": 1.008,
    "N": 14.007,
    "Ca": 40.078,
    "Si": 28.085,
    "Al": 26.9815384,
    "Mg": 24.305,
}
MIXTURES = [70, 2]
PURE = 87


@pytest.fixture(autouse=True)
def loaded(bench):
    """The shipped file, for every test."""
    return bench


@pytest.fixture
def system():
    return ThermochemicalSystem


# What is in the file.


def test_components_are_those_of_the_file(system):
    assert system.get_name_scs() == list(COMPONENTS)
    assert system.get_mm_scs() == list(COMPONENTS.values())
    assert system.get_count_scs() == len(COMPONENTS)


def test_phases_are_those_of_the_file(system):
    assert system.get_count_phs() == len(MIXTURES) + PURE
    assert system.get_model_phs()[: len(MIXTURES)] == [SolutionModel.IDMX, SolutionModel.RKMP]
    assert system.get_model_phs()[len(MIXTURES) :] == [SolutionModel.PURE] * PURE
    counts = [system.get_count_pcs_in_ph(i) for i in range(system.get_count_phs())]
    assert counts == MIXTURES + [1] * PURE
    assert system.get_count_pcs() == sum(counts)


def test_answers_are_those_of_the_library(system):
    scs, phs = range(basic.hxnosc()), range(basic.hxnop())
    pcs = [(i, k) for i in phs for k in range(basic.hxnopc(i))]
    assert system.get_name_scs() == [basic.hxgnsc(i) for i in scs]
    assert system.get_mm_scs() == [basic.hxstsc(i)[1] for i in scs]
    assert system.get_stoich_scs() == [basic.hxstsc(i)[0] for i in scs]
    assert system.get_name_phs() == [basic.hxgnp(i) for i in phs]
    assert system.get_model_phs() == [basic.hxmodl(i) for i in phs]
    assert system.get_name_pcs() == [basic.hxgnpc(*place) for place in pcs]
    assert system.get_name_ph_pcs() == [(basic.hxgnp(i), basic.hxgnpc(i, k)) for i, k in pcs]
    assert system.get_mm_pcs() == [basic.hxstpc(*place)[1] for place in pcs]
    assert system.get_stoich_pcs() == [list(basic.hxstpc(*place)[0]) for place in pcs]
    assert system.get_status_pcs() == [basic.hxgspc(*place) for place in pcs]


def test_single_answers_agree_with_the_lists(system):
    for i, sc in enumerate(system.get_name_scs()):
        assert system.get_index_sc(sc) == system.get_index_sc(i) == i
        assert system.get_name_sc(i) == sc
        assert system.get_mm_sc(sc) == system.get_mm_scs()[i]
        assert system.get_stoich_sc(sc) is system.get_stoich_sc(i)
    flat = 0
    for i, ph in enumerate(system.get_name_phs()):
        assert system.get_index_ph(ph) == i
        assert system.get_model_ph(ph) is system.get_model_phs()[i]
        for k, pc in enumerate(system.get_name_pcs_in_ph(ph)):
            assert system.get_index_pc(ph, pc) == k
            assert system.get_name_ph_pcs()[flat] == (ph, pc)
            assert system.get_mm_pc(i, k) == system.get_mm_pcs_in_ph(ph)[k]
            assert system.get_stoich_pc(i, k) == system.get_stoich_pcs_in_ph(ph)[k]
            assert system.get_y_scs_pc(i, k) == system.get_y_scs_pcs()[flat]
            flat += 1
    assert flat == system.get_count_pcs()


def test_stoichiometry_of_known_substances(system):
    wanted = ["O", "C", "Fe"]
    assert system.get_stoich_pc("GAS", "CO2", wanted) == [2.0, 1.0, 0.0]
    assert system.get_stoich_pc("Fe2O3(hematite)", 0, wanted) == [3.0, 0.0, 2.0]
    assert system.get_stoich_sc("O", wanted) == [1.0, 0.0, 0.0]


def test_mass_fractions_of_known_substances(system):
    carbon, oxygen = 12.011, 15.999
    whole = carbon + 2 * oxygen
    fractions = system.get_y_scs_pc("GAS", "CO2", ["C", "O", "Fe"])
    assert fractions == pytest.approx([carbon / whole, 2 * oxygen / whole, 0.0], rel=1e-15)


def test_mass_fractions_of_each_constituent_sum_to_one(system):
    for row in system.get_y_scs_pcs():
        assert math.fsum(row) == pytest.approx(1.0, rel=1e-14)


# Listings.


def test_listing_of_components(system):
    rows = "".join(f"{i:5d} {name}\n" for i, name in enumerate(COMPONENTS))
    assert system.get_str_scs() == "SYSTEM COMPONENTS\nINDEX NAME\n" + rows


def test_listing_of_phases(system):
    rows = "".join(f"{i:5d} {name}\n" for i, name in enumerate(system.get_name_phs()))
    assert system.get_str_phs() == "PHASES\nINDEX NAME\n" + rows


def listed(system):
    """The listing of phases and constituents, built from the getters."""
    text = "PHASES AND CONSTITUENTS\n"
    text += "INDEX " + "PHASE NAME".ljust(25) + " " + "STATUS".ljust(10) + " INDEX "
    text += "CONSTITUENT NAME".ljust(25) + " STATUS\n"
    for i, ph in enumerate(system.get_name_phs()):
        head = f"{i:>5} {ph:<25} {system.get_status_ph(i).name:<10}"
        if system.get_model_ph(i) is SolutionModel.PURE:
            text += head + "\n"
            continue
        for k, pc in enumerate(system.get_name_pcs_in_ph(i)):
            text += head + " " * 6 if k == 0 else " " * 48
            text += f" {k:>5} {pc:<25} {system.get_status_pc(i, k).name}\n"
    return text


def test_listing_of_phases_and_constituents(system):
    before = system.get_str_phs_pcs()
    assert before == listed(system)
    system.set_status_ph("Fe2O3(hematite)", Status.DORMANT)
    system.set_status_pc("GAS", "CO2", Status.ELIMINATED)
    after = system.get_str_phs_pcs()
    assert after == listed(system)
    changed = zip(before.splitlines(), after.splitlines(), strict=True)
    assert sum(one != other for one, other in changed) == 2


def test_listing_of_units():
    heading = "Units Currently Used by Tessara\n===============================\n"
    names = ("bar", "dm3", "K", "J", "mol")
    labels = ("Pressure", "Volume", "Temperature", "Energy", "Amount")
    rows = [f"{label + ':':13}{name}\n" for label, name in zip(labels, names, strict=True)]
    assert Units.get_str() == heading + "".join(rows)


@pytest.mark.parametrize(
    ("which", "heading"),
    [
        ("max", "Tessara Maximum Internal Array Dimensions"),
        ("used", "Tessara Currently Used Internal Array Dimensions"),
    ],
)
def test_listing_of_sizes(which, heading):
    listing = getattr(Info, f"get_array_size_{which}_str")().splitlines()
    sizes = getattr(Info, f"get_array_size_{which}_dict")()
    assert listing[:2] == [heading, "=" * len(heading)]
    assert [row[:8] for row in listing[2:]] == [
        f"{key[1]} {size:5d} " for key, size in sizes.items()
    ]
    assert list(sizes.values()) == getattr(Info, f"get_array_size_{which}_list")()


# The library itself.


def test_sizes_in_use_are_those_of_the_file(system):
    used, largest = Info.get_array_size_used_dict(), Info.get_array_size_max_dict()
    assert used["na"] == system.get_count_pcs()
    assert used["nb"] == len(COMPONENTS)
    assert used["nc"] == len(MIXTURES)
    assert all(used[key] <= largest[key] for key in largest)


def test_object_of_the_library():
    record = Info.get_object()
    assert type(record) is TessaraInfo
    assert record.copyright == Info.get_copyright_message() == basic.hxcprt()
    assert record.program_id == Info.get_program_id() == basic.hxgtpi()
    assert record.version == Info.get_version_number() == basic.hxvers()
    assert record.array_sizes_max == Info.get_array_size_max_dict()
    assert record.array_sizes_used == Info.get_array_size_used_dict()


def test_sizes_of_an_empty_library(system):
    basic.hxini()
    try:
        assert Info.get_array_size_used_list() == [0] * 11
    finally:
        system.load(tessara.data.path("ironmaking"))


def test_ascii_file_has_no_header(system):
    for call in (system.get_tdf_info_dict, system.get_tdf_info_str):
        with pytest.raises(TessaraError):
            call()


# Units.


def test_units_after_a_load_are_those_of_the_library(system):
    assert Units.get() == STARTING
    Units.use_tessara_defaults()
    assert Units.get() == STANDARD
    system.load(system.current_file_path)
    assert Units.get() == STARTING


def test_set_without_arguments_sets_the_defaults():
    Units.set()
    assert Units.get() == STANDARD


def test_set_with_one_argument_sets_the_other_four_too():
    Units.set(T=TemperatureUnit.K)
    assert Units.get() == {**STANDARD, "T": TemperatureUnit.K}


@pytest.mark.parametrize("key", STARTING)
def test_single_setter_leaves_the_other_units(key):
    getattr(Units, f"set_{key}_unit")(STANDARD[key])
    assert Units.get() == {**STARTING, key: STANDARD[key]}
    assert getattr(Units, f"get_{key}_unit")() is STANDARD[key]


@pytest.mark.parametrize("unit", GRAMS)
def test_molar_masses_are_in_the_unit_of_mass(system, unit):
    before = system.get_mm_pcs(), system.get_y_scs_pcs()
    Units.set_A_unit(unit)
    expected = [mm / GRAMS[unit] for mm in COMPONENTS.values()]
    assert system.get_mm_scs() == pytest.approx(expected, rel=1e-15)
    scaled = [mm / GRAMS[unit] for mm in before[0]]
    assert system.get_mm_pcs() == pytest.approx(scaled, rel=1e-14)
    for now, then in zip(system.get_y_scs_pcs(), before[1], strict=True):
        assert now == pytest.approx(then, rel=1e-14)
    Units.set_A_unit(AmountUnit.mol)
    assert (system.get_mm_pcs(), system.get_y_scs_pcs()) == before


def test_change_of_the_pressure_unit_changes_nothing_in_the_caches(system):
    before = system.get_mm_pcs(), system.get_stoich_pcs(), system.get_y_scs_pcs()
    Units.set_P_unit(PressureUnit.Pa)
    assert (system.get_mm_pcs(), system.get_stoich_pcs(), system.get_y_scs_pcs()) == before


def test_results_are_in_the_units_in_force(loaded):
    loaded.solve({"H2O": 1.0}, 1000.0)
    assert EquilibriumCalculation.get_eq_T() == 1000.0
    Units.use_tessara_defaults()
    assert EquilibriumCalculation.get_eq_T() == pytest.approx(726.85, rel=1e-14)
    assert EquilibriumCalculation.get_eq_P() == pytest.approx(1 / 1.01325, rel=1e-14)
    assert EquilibriumCalculation.get_eq_A() == pytest.approx(18.015e-3, rel=1e-14)


def test_refused_unit_leaves_those_before_it_changed(system):
    tree = system.get_object()
    with pytest.raises(TessaraError):
        Units.set(E="kWh", A=AmountUnit.gram)
    assert Units.get() == {**STANDARD, "E": EnergyUnit.J, "A": AmountUnit.mol}
    assert system.get_object() is tree
    with pytest.raises(TessaraError):
        Units.set_P_unit(TemperatureUnit.K)
    assert Units.get_P_unit() is PressureUnit.atm


def test_change_of_units_over_an_emptied_library_empties_the_caches(system, tmp_path):
    other = tmp_path / "iron.DAT"
    other.write_text("")
    with pytest.raises(ValueError, match="Invalid path"):
        system.load(other)
    assert system.get_name_scs() == list(COMPONENTS)
    Units.set_P_unit(PressureUnit.bar)
    assert system.get_name_scs() == system.get_name_pcs() == system.get_status_phs() == []
    assert system.get_object().scs == system.get_object().phs == {}
    assert system.get_str_phs() == "PHASES\nINDEX NAME\n"


# Statuses.


def test_statuses_are_set_in_the_library(system):
    assert set(system.get_status_phs()) == set(system.get_status_pcs()) == {Status.ENTERED}
    system.set_status_phs(Status.DORMANT)
    assert set(system.get_status_phs()) == {Status.DORMANT}
    assert set(system.get_status_pcs()) == {Status.ENTERED}
    system.set_status_pcs_in_ph("GAS", Status.ELIMINATE)
    assert system.get_status_pcs_in_ph("GAS") == [Status.ELIMINATED] * MIXTURES[0]
    assert system.get_status_pc("GAS", "CO2") is Status.ELIMINATED
    system.load(system.current_file_path)
    assert set(system.get_status_phs()) == set(system.get_status_pcs()) == {Status.ENTERED}


def test_setter_for_all_constituents_is_refused_and_changes_nothing(system):
    with pytest.raises(TypeError, match="hxgspc"):
        system.set_status_pcs(Status.DORMANT)
    assert set(system.get_status_pcs()) == {Status.ENTERED}


def test_wrong_status_is_refused_by_the_library(system):
    for status in ("ENTERED", None, 1):
        with pytest.raises(TessaraError):
            system.set_status_ph(0, status)
        with pytest.raises(TessaraError):
            system.set_status_pc(0, 0, status)


def test_phase_that_is_eliminated_does_not_form(system, loaded):
    hot = {"Fe2O3(hematite)": 1.0, "C(gr)": 3.0}
    assert "GAS" in loaded.solve(hot, 1500.0).stable()
    system.set_status_ph("C(gr)", Status.ELIMINATED)
    assert "C(gr)" not in loaded.solve({"CO": 1.0}, 600.0).stable()


# Records.


def test_records_of_single_things(system):
    iron = system.get_config_sc("Fe")
    assert iron == SystemComponentConfig(0, "Fe", 55.845)
    assert iron is not system.get_config_sc("Fe")
    gas = system.get_config_ph("GAS")
    assert (type(gas), gas.index, gas.name) == (PhaseConfig, 0, "GAS")
    assert gas.model is SolutionModel.IDMX
    assert list(gas.pcs) == system.get_name_pcs_in_ph("GAS")
    carbon_dioxide = system.get_config_pc("GAS", "CO2")
    assert type(carbon_dioxide) is PhaseConstituentConfig
    assert gas.pcs["CO2"] == carbon_dioxide
    assert carbon_dioxide.molar_mass == pytest.approx(12.011 + 2 * 15.999, rel=1e-15)
    others = dict.fromkeys(COMPONENTS, 0.0)
    assert carbon_dioxide.stoichiometry == {**others, "C": 1.0, "O": 2.0}
    assert list(carbon_dioxide.stoichiometry) == list(COMPONENTS)
    fractions = dict(zip(COMPONENTS, system.get_y_scs_pc("GAS", "CO2"), strict=True))
    assert carbon_dioxide.mass_fractions == fractions


def test_tree_holds_what_the_single_records_tell(system):
    tree = system.get_object()
    assert type(tree) is ThermochemicalSystemConfig
    assert tree.path is system.current_file_path
    assert tree.units == STARTING
    assert list(tree.scs.values()) == system.get_config_scs()
    assert list(tree.phs.values()) == system.get_config_phs()
    assert list(tree.scs) == system.get_name_scs()
    assert list(tree.phs) == system.get_name_phs()
    for ph, record in tree.phs.items():
        assert list(record.pcs.values()) == system.get_config_pcs_in_ph(ph)


def test_tree_is_shared_until_the_units_change(system):
    tree = system.get_object()
    assert system.get_object() is tree
    Units.set_A_unit(AmountUnit.kg)
    assert system.get_object() is not tree
    assert tree.units["A"] is AmountUnit.mol
    assert tree.scs["Fe"].molar_mass == 55.845
    assert system.get_object().units["A"] is AmountUnit.kg
    assert system.get_object().scs["Fe"].molar_mass == pytest.approx(0.055845, rel=1e-15)


def test_tree_is_addressed_by_name_only(system):
    with pytest.raises(KeyError):
        system.get_object().phs[0]


def test_names_of_the_unit_enumerations_are_those_of_core():
    for name in ("PressureUnit", "VolumeUnit", "TemperatureUnit", "EnergyUnit", "AmountUnit"):
        assert getattr(friendly, name) is getattr(core, name)
