"""Result objects, formulae, targets, searches and maps over the package's own library."""

# ruff: noqa: SIM300 - fields named by one capital letter are no constants

import math
import pickle
import time
import warnings

import pytest

from tessara import basic, core, friendly
from tessara.core import AmountUnit, Quantity, TessaraError, TessaraPyError
from tessara.friendly import EquilibriumCalculation, PhaseMapCalculation

FURNACE = {"Fe2O3(hematite)": 1.0, "C(gr)": 2.5, "CaCO3(calcite)": 0.3, "N2": 2.0}
PROPERTIES = ["Cp", "H", "S", "G", "V", "CpM", "HM", "SM", "GM", "VM"]


@pytest.fixture(autouse=True)
def units_and_names(monkeypatch):
    """What these methods of other classes answer, also where the build has none of them yet."""
    quantities = {"P": "Pressure", "V": "Volume", "T": "Temperature", "E": "Energy", "A": "Amount"}

    def get(cls):
        return {key: basic.hxgsu(Quantity[name]) for key, name in quantities.items()}

    def get_name_scs(cls):
        return [basic.hxgnsc(i) for i in range(basic.hxnosc())]

    monkeypatch.setattr(friendly.Units, "get", classmethod(get), raising=False)
    monkeypatch.setattr(
        friendly.Units,
        "get_A_unit",
        classmethod(lambda cls: basic.hxgsu(Quantity.Amount)),
        raising=False,
    )
    monkeypatch.setattr(
        friendly.ThermochemicalSystem, "get_name_scs", classmethod(get_name_scs), raising=False
    )


@pytest.fixture(params=["mol", "kg"])
def furnace(request, bench):
    """The furnace, and its result read in moles or in kilograms."""
    bench.solve(FURNACE, 1250.0)
    use_amount_unit(AmountUnit[request.param])
    return bench


def use_amount_unit(unit):
    basic.hxcsu(Quantity.Amount, unit)
    friendly.ThermochemicalSystem._update()


def same(a, b):
    return a == b or (math.isnan(a) and math.isnan(b))


def get(quantity, kind, *place):
    return getattr(EquilibriumCalculation, f"get_eq_{quantity}_{kind}")(*place)


# Result objects.


def test_values_of_the_system_are_those_of_the_getters(furnace):
    result = EquilibriumCalculation.get_result_object()
    assert type(result) is core.EquilibriumCalculationResult
    for name in ("P", "T", "A", *PROPERTIES):
        assert getattr(result, name) == getattr(EquilibriumCalculation, f"get_eq_{name}")()
    assert result.T == 1250.0
    assert result.error is None
    assert result.ts_md5 is None


def test_components_are_those_of_the_getters(furnace):
    result = EquilibriumCalculation.get_result_object()
    assert list(result.scs) == furnace.components
    total = sum(get("A", "sc", name) for name in furnace.components if name in core.ATOMIC_WEIGHTS)
    for i, (name, record) in enumerate(result.scs.items()):
        assert (record.index, record.name) == (i, name)
        assert record.A == get("A", "sc", name)
        assert record.X == record.A / total
        if record.A == 0.0:
            assert math.isnan(record.AC)
            assert math.isnan(record.MU)
        else:
            assert same(record.AC, get("AC", "sc", name))
            assert same(record.MU, get("MU", "sc", name))


def test_phases_are_those_of_the_getters(furnace):
    result = EquilibriumCalculation.get_result_object()
    assert list(result.phs) == furnace.phases
    for i, (name, record) in enumerate(result.phs.items()):
        assert (record.index, record.name) == (i, name)
        assert record.status is basic.hxgsp(i)
        for quantity in ("A", "AC", "MU"):
            assert same(getattr(record, quantity), get(quantity, "ph", name))
        if record.A > 0.0:
            assert record.X == record.A / EquilibriumCalculation.get_eq_A()
            for quantity in PROPERTIES:
                assert same(getattr(record, quantity), get(quantity, "ph", name))
        else:
            assert record.A == 0.0
            assert all(math.isnan(getattr(record, quantity)) for quantity in ("X", *PROPERTIES))


def test_components_in_phases_are_those_of_the_getters(furnace):
    for phase, record in EquilibriumCalculation.get_result_object().phs.items():
        assert list(record.scs) == furnace.components
        for name, state in record.scs.items():
            assert math.isnan(state.AC)
            assert math.isnan(state.MU)
            assert state.A == get("A", "sc_in_ph", phase, name)
            if record.A > 0.0:
                assert same(state.X, get("X", "sc_in_ph", phase, name))
            else:
                assert state.A == 0.0
                assert math.isnan(state.X)


def test_constituents_are_those_of_the_getters(furnace):
    for i_ph, (phase, record) in enumerate(EquilibriumCalculation.get_result_object().phs.items()):
        assert list(record.pcs) == furnace.constituents[phase]
        for i, (name, state) in enumerate(record.pcs.items()):
            assert (state.index, state.name) == (i, name)
            assert state.status is basic.hxgspc(i_ph, i)
            for quantity in ("A", "AC", "MU"):
                assert same(getattr(state, quantity), get(quantity, "pc", phase, name))
            if state.A > 0.0:
                assert state.X == state.A / get("A", "ph", phase)
                for quantity in PROPERTIES:
                    assert same(getattr(state, quantity), get(quantity, "pc", phase, name))
            else:
                assert all(math.isnan(getattr(state, field)) for field in ("X", *PROPERTIES))


def test_records_balance(furnace):
    """What is in the phases is what is in the system, and what went in."""
    result = EquilibriumCalculation.get_result_object()
    for name, record in result.scs.items():
        parts = math.fsum(phase.scs[name].A for phase in result.phs.values())
        assert parts == pytest.approx(record.A, rel=1e-12, abs=1e-300)
    stable = [phase for phase in result.phs.values() if phase.A > 0.0]
    assert math.fsum(phase.X for phase in stable) == pytest.approx(1.0, rel=1e-13)
    for phase in stable:
        present = [pc for pc in phase.pcs.values() if pc.A > 0.0]
        assert math.fsum(pc.X for pc in present) == pytest.approx(1.0, rel=1e-13)
        assert math.fsum(pc.A for pc in present) == pytest.approx(phase.A, rel=1e-13)
        assert math.fsum(sc.X for sc in phase.scs.values()) == pytest.approx(1.0, rel=1e-13)
    for name in ("H", "S", "G", "V", "Cp"):
        whole = math.fsum(getattr(phase, name) for phase in stable)
        assert whole == pytest.approx(getattr(result, name), rel=1e-11)
    assert result.GM * result.A == pytest.approx(result.G, rel=1e-13)
    assert math.fsum(sc.X for sc in result.scs.values()) == pytest.approx(1.0, rel=1e-13)


def test_gibbs_energy_is_the_sum_of_amounts_times_potentials(bench):
    bench.solve(FURNACE, 1250.0)
    result = EquilibriumCalculation.get_result_object()
    present = [record for record in result.scs.values() if record.A > 0.0]
    assert math.fsum(record.A * record.MU for record in present) == pytest.approx(
        result.G, rel=1e-11
    )


def test_incoming_amounts_stand_as_they_went_in(bench):
    bench.solve(FURNACE, 1250.0)
    EquilibriumCalculation.set_IA_sc("O", 0.25)
    EquilibriumCalculation.set_IA_sc("Si", 0.0)
    EquilibriumCalculation.calculate_eq()
    result = EquilibriumCalculation.get_result_object()
    in_order = sorted((bench.place(name) for name in FURNACE), key=place_of(bench))
    constituents, components = result.IAs[:-1], result.IAs[-1:]
    assert [(record.ph, record.pc) for record in constituents] == in_order
    assert {record.pc: record.A for record in constituents} == FURNACE
    assert [(record.sc, record.A) for record in components] == [("O", 0.25)]


def place_of(bench):
    return lambda place: (
        bench.phases.index(place[0]),
        bench.constituents[place[0]].index(place[1]),
    )


def test_units_times_and_inputs(furnace):
    result = EquilibriumCalculation.get_result_object()
    assert list(result.units) == ["P", "V", "T", "E", "A"]
    assert result.units["A"] is basic.hxgsu(Quantity.Amount)
    assert result.t_start == time.localtime(EquilibriumCalculation.t_start)
    assert result.t_end == time.localtime(EquilibriumCalculation.t_end)
    assert result.dt == EquilibriumCalculation.dt
    assert result.str_inputs == EquilibriumCalculation.get_str_inputs()
    assert "1250" in result.str_inputs


def test_record_stays_when_the_next_calculation_is_done(bench):
    bench.solve(FURNACE, 1250.0)
    first = EquilibriumCalculation.get_result_object()
    kept = pickle.dumps(first)
    bench.solve({"H2O": 1.0}, 400.0)
    assert first == pickle.loads(kept)
    second = EquilibriumCalculation.get_result_object()
    assert second.T == 400.0
    assert second != first
    assert EquilibriumCalculation.get_result_object() == second


def test_potentials_that_stay_open_are_no_failure(bench):
    bench.solve({"CaCO3(calcite)": 1.0}, 900.0)
    result = EquilibriumCalculation.get_result_object()
    assert result.phs["CaCO3(calcite)"].X == 1.0
    assert math.isnan(result.scs["Ca"].MU)
    assert result.scs["Ca"].X == pytest.approx(0.2, rel=1e-14)


def test_status_is_in_the_record(bench):
    basic.hxcsp(bench.phases.index("C(gr)"), core.Status.DORMANT)
    bench.solve(FURNACE, 1250.0)
    result = EquilibriumCalculation.get_result_object()
    assert result.phs["C(gr)"].status is core.Status.DORMANT
    assert result.phs["C(gr)"].A == 0.0
    assert result.phs["GAS"].status is core.Status.ENTERED


def test_record_of_a_failed_calculation(bench):
    EquilibriumCalculation.set_eq_T(1000.0)
    with pytest.raises(TessaraError, match="nothing goes into the system") as failure:
        EquilibriumCalculation.calculate_eq()
    result = EquilibriumCalculation.get_result_object(error=True)
    assert result.error == core.get_error_info_dict()
    assert str(failure.value) in map(str, result.error.values())
    assert (result.scs, result.phs, result.IAs) == ({}, {}, [])
    assert math.isnan(result.T)
    assert (result.t_end, result.dt) == (None, None)
    assert result.t_start == time.localtime(EquilibriumCalculation.t_start)
    assert "1000" in result.str_inputs
    with pytest.raises(TessaraError):
        EquilibriumCalculation.get_result_object()


def test_record_of_a_failure_without_any_calculation(bench):
    base = friendly.EquilibriumCalculationBase.get_result_object(error=True)
    assert (base.scs, base.phs) == ({}, {})
    with pytest.raises(TessaraError):
        EquilibriumCalculation.get_result_object(error=True)


def test_result_object_under_calculate_eq(bench):
    bench.solve(FURNACE, 1250.0)

    class Mine(core.EquilibriumCalculationResult):
        made = 0

        def __init__(self, **keywords):
            super().__init__(**keywords)
            Mine.made += 1

    assert EquilibriumCalculation.calculate_eq(return_result=True, result_type=Mine) is None
    assert Mine.made == 1
    with pytest.raises(TypeError, match="nonsense"):
        EquilibriumCalculation.calculate_eq(return_result=True, nonsense=1)


# Formulae.


def stoichiometry(formula):
    return {name: float(n) for name, n in core.parse_formula(formula).counts.items()}


def test_formulae_in_mol(bench):
    EquilibriumCalculation.set_eq_T(1250.0)
    given = {"Fe2O3": 1.5, "Ca(OH)2": 0.5, "CO": 2.0}
    numbers = EquilibriumCalculation.set_IA_cfs(list(given), list(given.values()))
    assert len(numbers) == len(bench.components)
    assert len(set(numbers)) == len(numbers)
    EquilibriumCalculation.calculate_eq()
    for name in bench.components:
        expected = math.fsum(stoichiometry(cf).get(name, 0.0) * n for cf, n in given.items())
        assert get("A", "sc", name) == pytest.approx(expected, rel=1e-12, abs=1e-300)
    for number in numbers:
        EquilibriumCalculation.remove_eq_condition(number)
    with pytest.raises(TessaraError, match="nothing goes into the system"):
        EquilibriumCalculation.calculate_eq()


@pytest.mark.parametrize("unit", ["kg", "gram", "tonne", "pound"])
def test_formulae_as_masses(bench, unit):
    use_amount_unit(AmountUnit[unit])
    EquilibriumCalculation.set_eq_T(1250.0)
    given = {"Fe2O3": 1.5, "CaCO3": 0.5}
    EquilibriumCalculation.set_IA_cfs(list(given), list(given.values()))
    EquilibriumCalculation.calculate_eq()
    assert EquilibriumCalculation.get_eq_A() == pytest.approx(2.0, rel=1e-12)
    weights = core.ATOMIC_WEIGHTS
    for name in bench.components:
        expected = math.fsum(
            mass
            * stoichiometry(cf).get(name, 0.0)
            * weights.get(name, 0.0)
            / math.fsum(n * weights[e] for e, n in stoichiometry(cf).items())
            for cf, mass in given.items()
        )
        # The file's molar masses may have fewer digits than those of the elements.
        assert get("A", "sc", name) == pytest.approx(expected, rel=1e-4, abs=1e-300)


def test_formulae_and_constituents_make_the_same_equilibrium(bench):
    bench.solve({"Fe2O3(hematite)": 1.0, "CO": 2.0}, 1250.0)
    by_constituents = EquilibriumCalculation.get_result_object()
    EquilibriumCalculation.remove_eq_conditions_IA()
    EquilibriumCalculation.set_IA_cfs(["Fe2O3", "CO"], [1.0, 2.0])
    EquilibriumCalculation.calculate_eq()
    by_formulae = EquilibriumCalculation.get_result_object()
    assert by_formulae.G == pytest.approx(by_constituents.G, rel=1e-12)
    for name, phase in by_constituents.phs.items():
        assert by_formulae.phs[name].A == pytest.approx(phase.A, rel=1e-9, abs=1e-12)


@pytest.mark.parametrize("unit", ["mol", "kg"])
def test_formula_of_what_the_system_lacks(bench, unit):
    use_amount_unit(AmountUnit[unit])
    with pytest.raises(KeyError, match="Xe"):
        EquilibriumCalculation.set_IA_cfs(["Fe2O3", "XeF2"], [1.0, 1.0])
    with pytest.raises(TessaraPyError):
        EquilibriumCalculation.set_IA_cfs(["Fe2O3", "fe"], [1.0, 0.0])
    EquilibriumCalculation.set_eq_T(1000.0)
    with pytest.raises(TessaraError, match="nothing goes into the system"):
        EquilibriumCalculation.calculate_eq()


# Targets, searches, maps. What the library does not solve it refuses in words.


def met(call):
    """What a search or map gives, or None where the library refuses it in words."""
    try:
        return call()
    except TessaraError as refusal:
        words = str(refusal)
    assert len(words) > 20
    return None


def test_targets_are_conditions_of_the_library(bench):
    number = EquilibriumCalculation.set_eq_T(1000.0)
    setters = EquilibriumCalculation
    with warnings.catch_warnings():
        warnings.simplefilter("ignore", core.TargetReadingWarning)
        for call in (
            lambda: setters.set_target_formation_of_ph("C(gr)"),
            lambda: setters.set_target_precipitation_from_ph("GAS"),
            lambda: setters.set_target_AC_pc("GAS", "CO", 0.5),
            lambda: setters.set_target_XT_pc("GAS", "CO2", 0.25),
            lambda: setters.set_target_XT_sc_in_ph("C", "GAS", 0.125),
        ):
            before = setters.get_str_inputs()
            assert call() is None
            assert setters.get_str_inputs() != before
    setters.remove_eq_conditions_all()
    assert number is not None
    for call in (
        lambda: setters.set_target_formation_of_ph("SLAG"),
        lambda: setters.set_target_AC_pc("GAS", "Xe", 0.5),
        lambda: setters.set_target_XT_sc_in_ph("Xe", "GAS", 0.5),
    ):
        with pytest.raises(TessaraPyError, match="does not exist"):
            call()


def test_old_names_of_targets_do_the_same(bench):
    EquilibriumCalculation.set_target_formation_of_ph("C(gr)")
    expected = EquilibriumCalculation.get_str_inputs()
    EquilibriumCalculation.remove_eq_conditions_all()
    with pytest.warns(DeprecationWarning, match="`set_target_formation_of_ph`"):
        EquilibriumCalculation.set_tg_formation_of_ph("C(gr)")
    assert EquilibriumCalculation.get_str_inputs() == expected


def test_search_on_incoming_amounts(bench):
    """Carbon just forms from CO and CO2; the library finds the amount, or says that it can't."""
    bench.solve({"CO2": 1.0}, 1000.0)
    EquilibriumCalculation.set_target_formation_of_ph("C(gr)")
    found = met(lambda: EquilibriumCalculation.calculate_eq_IA([("GAS", "CO", 0.0, 100.0)]))
    if found is None:
        assert (EquilibriumCalculation.t_end, EquilibriumCalculation.dt) == (None, None)
        return
    ((ph, pc, amount),) = found
    assert (ph, pc) == ("GAS", "CO")
    assert amount == get("IA", "pc", "GAS", "CO")
    assert get("AC", "ph", "C(gr)") == pytest.approx(1.0, rel=1e-9)
    assert get("A", "ph", "C(gr)") == pytest.approx(0.0, abs=1e-9)


def test_map_over_temperature(bench):
    """From ice to steam: two transitions, or a refusal."""
    bench.solve({"H2O": 1.0}, 300.0)
    found = met(lambda: PhaseMapCalculation.calculate_ph_txs_T(250.0, 500.0))
    if found is None:
        assert (PhaseMapCalculation.t_end, PhaseMapCalculation.dt) == (None, None)
        return
    temperatures = [result.T for result in found]
    assert temperatures[0] == 250.0
    assert temperatures[-1] == 500.0
    assert temperatures == sorted(temperatures)
    assert 273.0 < temperatures[1] < 273.5
    assert all((result.t_end, result.dt) == (None, None) for result in found)


def test_map_over_incoming_amounts(bench):
    bench.solve({"CO2": 1.0}, 1000.0)
    ranges = [PhaseMapCalculation.IA_range("C(gr)", None, 0.0, 2.0)]
    found = met(lambda: PhaseMapCalculation.calculate_ph_txs_IA(ranges))
    if found is None:
        assert (PhaseMapCalculation.t_end, PhaseMapCalculation.dt) == (None, None)
        return
    assert len(found) >= 2
    assert found[0].phs["C(gr)"].A == 0.0
    assert found[-1].phs["C(gr)"].A > 0.0


def test_map_refuses_unknown_names(bench):
    bench.solve({"CO2": 1.0}, 1000.0)
    with pytest.raises(KeyError, match="GAS"):
        PhaseMapCalculation.calculate_ph_txs_IA([PhaseMapCalculation.IA_range("GAS", "", 0, 1)])
    with pytest.raises(KeyError, match="Xe"):
        EquilibriumCalculation.calculate_eq_IA([("GAS", "Xe", 0.0, 1.0)])
