"""What holds before the first load. This file loads nothing: caches are `None` once only."""

import pytest

LOOKUPS = [
    ("ThermochemicalSystem", "get_index_sc", ("Fe",)),
    ("ThermochemicalSystem", "get_index_ph", (0,)),
    ("ThermochemicalSystem", "get_index_pc", ("GAS", "CO")),
    *[
        ("ThermochemicalSystem", name, arguments)
        for name, arguments in {
            "get_str_scs": (),
            "get_count_scs": (),
            "get_name_sc": ("Fe",),
            "get_name_scs": (),
            "get_mm_sc": (0,),
            "get_mm_scs": (),
            "get_str_phs": (),
            "get_count_phs": (),
            "get_name_ph": ("GAS",),
            "get_name_phs": (),
            "get_model_ph": ("GAS",),
            "get_model_phs": (),
            "get_str_phs_pcs": (),
            "get_count_pcs_in_ph": ("GAS",),
            "get_count_pcs": (),
            "get_name_pc": ("GAS", "CO"),
            "get_name_pcs_in_ph": ("GAS",),
            "get_name_pcs": (),
            "get_name_ph_pcs": (),
            "get_mm_pc": ("GAS", "CO"),
            "get_mm_pcs_in_ph": ("GAS",),
            "get_mm_pcs": (),
            "get_stoich_sc": ("Fe",),
            "get_stoich_scs": (),
            "get_stoich_pc": ("GAS", "CO"),
            "get_stoich_pcs_in_ph": ("GAS",),
            "get_stoich_pcs": (),
            "get_y_sc_pc": ("GAS", "CO", "C"),
            "get_y_scs_pc": ("GAS", "CO"),
            "get_y_sc_pcs_in_ph": ("GAS", "C"),
            "get_y_scs_pcs_in_ph": ("GAS",),
            "get_y_sc_pcs": ("C",),
            "get_y_scs_pcs": (),
            "get_status_ph": ("GAS",),
            "get_status_phs": (),
            "get_status_pc": ("GAS", "CO"),
            "get_status_pcs_in_ph": ("GAS",),
            "get_status_pcs": (),
            "set_status_ph": ("GAS", "status"),
            "set_status_phs": ("status",),
            "set_status_pc": ("GAS", "CO", "status"),
            "set_status_pcs_in_ph": ("GAS", "status"),
            "set_status_pcs": ("status",),
            "get_config_sc": ("Fe",),
            "get_config_scs": (),
            "get_config_pc": ("GAS", "CO"),
            "get_config_pcs_in_ph": ("GAS",),
            "get_config_ph": ("GAS",),
            "get_config_phs": (),
            "_build_object_scs": (None,),
            "_build_object_phs": (None,),
            "_build_object_ph_pcs": (0, None),
        }.items()
    ],
    ("EquilibriumCalculation", "set_eq_A_ph", ("GAS", 1.0)),
    ("EquilibriumCalculation", "set_IA_sc", ("Fe", 1.0)),
    ("EquilibriumCalculation", "set_eq_AC_sc", ("Fe", 1.0)),
    ("EquilibriumCalculation", "set_IA_pc", ("GAS", "CO", 1.0)),
    ("EquilibriumCalculation", "set_eq_AC_pc", ("GAS", "CO", 1.0)),
    ("EquilibriumCalculation", "set_eq_MU_pc", ("GAS", "CO", 1.0)),
    ("EquilibriumCalculation", "set_target_formation_of_ph", ("GAS",)),
    ("EquilibriumCalculation", "set_target_precipitation_from_ph", ("GAS",)),
    ("EquilibriumCalculation", "set_target_AC_pc", ("GAS", "CO", 1.0)),
    ("EquilibriumCalculation", "set_target_XT_pc", ("GAS", "CO", 1.0)),
    ("EquilibriumCalculation", "set_target_XT_sc_in_ph", ("Fe", "GAS", 1.0)),
    ("EquilibriumCalculation", "calculate_eq_IA", ([("GAS", "CO", 0.0, 1.0)],)),
    ("EquilibriumCalculation", "_get_result_scs", ()),
    ("EquilibriumCalculation", "_get_result_ph_scs", (0, 1.0)),
    ("EquilibriumCalculation", "_get_result_IAs", ()),
    ("EquilibriumCalculation", "get_eq_A_sc", ("Fe",)),
    ("EquilibriumCalculation", "get_eq_A_scs", ()),
    ("EquilibriumCalculation", "get_eq_A_sc_in_ph", ("GAS", "Fe")),
    ("EquilibriumCalculation", "get_eq_A_scs_in_ph", ("GAS",)),
    ("EquilibriumCalculation", "get_eq_A_ph", ("GAS",)),
    ("EquilibriumCalculation", "get_eq_A_phs", ()),
    ("EquilibriumCalculation", "get_eq_A_pc", ("GAS", "CO")),
    ("EquilibriumCalculation", "get_eq_A_pcs", ()),
    ("EquilibriumCalculation", "get_eq_A_pcs_in_ph", ("GAS",)),
]


@pytest.mark.parametrize(("owner", "name", "arguments"), LOOKUPS)
def test_a_lookup_fails_with_the_type_error_of_none(friendly, library, owner, name, arguments):
    with pytest.raises(TypeError) as failure:
        getattr(getattr(friendly, owner), name)(*arguments)
    assert str(failure.value) == "'NoneType' object is not subscriptable"
    assert failure.value.__context__ is None
    assert library.calls == []


@pytest.mark.parametrize(
    ("name", "arguments", "asked"),
    [("_get_result_phs", (), ()), ("_get_result_ph_pcs", (0, 1.0), (0, -1))],
)
def test_amount_is_asked_before_the_lookup(friendly, library, core, name, arguments, asked):
    with pytest.raises(TypeError, match="'NoneType' object is not subscriptable"):
        getattr(friendly.EquilibriumCalculation, name)(*arguments)
    assert library.calls == [("hxgetr", core.ResultVariable.A, *asked)]


def test_map_over_amounts_fails_likewise(friendly, library):
    maps = friendly.PhaseMapCalculation
    with pytest.raises(TypeError, match="'NoneType' object is not subscriptable"):
        maps.calculate_ph_txs_IA([maps.IA_range("GAS", "CO", 0.0, 1.0)])
    assert library.calls == []
    assert (maps.t_end, maps.dt) == (None, None)


def test_record_of_a_failure_needs_no_system_in_the_layer_of_all(friendly, library, monkeypatch):
    monkeypatch.setattr(friendly.Units, "get", classmethod(lambda cls: {}), raising=False)
    result = friendly.EquilibriumCalculationBase.get_result_object(error=True)
    assert (result.scs, result.phs) == ({}, {})
    assert library.of("hxgetr") == []
    with pytest.raises(TypeError, match="'NoneType' object is not subscriptable"):
        friendly.EquilibriumCalculation.get_result_object(error=True)


def test_result_before_a_load_has_asked_for_the_values_of_the_system(
    friendly, library, core, monkeypatch
):
    monkeypatch.setattr(friendly.Units, "get", classmethod(lambda cls: {}), raising=False)
    with pytest.raises(TypeError, match="'NoneType' object is not subscriptable"):
        friendly.EquilibriumCalculation.get_result_object()
    members = ["P", "T", "A", "CPM", "HM", "SM", "GM", "VM"]
    assert library.calls == [("hxgetr", core.ResultVariable[member]) for member in members]


def test_module_functions_fail_likewise(friendly):
    with pytest.raises(TypeError, match="'NoneType' object is not subscriptable"):
        friendly._query_stoich_list([1.0], [0])
    with pytest.raises(TypeError, match="'NoneType' object is not subscriptable"):
        friendly._build_stoich_dict([1.0])


def test_query_without_scs_needs_no_system(friendly):
    stoich = [1.0]
    assert friendly._query_stoich_list(stoich) is stoich


def test_current_file_path_is_none(friendly):
    assert friendly.ThermochemicalSystem.current_file_path is None


def test_update_does_nothing(friendly, library):
    assert friendly.ThermochemicalSystem._update() is None
    assert library.calls == []
    assert friendly.ThermochemicalSystem.ts is None
    with pytest.raises(TypeError, match="NoneType"):
        friendly.ThermochemicalSystem.get_index_sc(0)


def test_there_is_no_object(friendly, library):
    assert friendly.ThermochemicalSystem.get_object() is None
    assert friendly.ThermochemicalSystem._build_object() is None
    assert library.calls == []


@pytest.mark.parametrize(
    ("name", "quantities"),
    [
        ("set", ["Pressure", "Volume", "Temperature", "Energy", "Amount"]),
        ("use_tessara_defaults", ["Pressure", "Volume", "Temperature", "Energy", "Amount"]),
        ("set_P_unit", ["Pressure"]),
        ("set_V_unit", ["Volume"]),
        ("set_T_unit", ["Temperature"]),
        ("set_E_unit", ["Energy"]),
        ("set_A_unit", ["Amount"]),
    ],
)
def test_units_can_be_set_and_nothing_is_built(friendly, library, core, name, quantities):
    getattr(friendly.Units, name)(*(["unit"] if name.endswith("_unit") else []))
    assert [call[:2] for call in library.calls] == [
        ("hxcsu", core.Quantity[quantity]) for quantity in quantities
    ]
    assert friendly.ThermochemicalSystem.ts is None
    assert friendly.ThermochemicalSystem.get_object() is None


def test_library_tells_of_itself(friendly, library):
    assert friendly.Info.get_version_number() == 80001
    assert friendly.Info.get_array_size_used_list() == list(range(1, 12))


def test_header_is_asked_of_the_library_all_the_same(friendly, library, core):
    library.error = core.TessaraError("no transparent file")
    library.fail_at = 1
    with pytest.raises(core.TessaraError, match="no transparent file"):
        friendly.ThermochemicalSystem.get_tdf_info_dict()
    assert library.calls == [("hxgtrh",)]


def test_build_cache_does_nothing(friendly, library):
    assert friendly.ThermochemicalSystem._build_cache() is None
    assert library.calls == []


def test_the_system_shape_needs_no_cache(friendly, library, core):
    friendly.EquilibriumCalculation.get_eq_T()
    assert library.calls == [("hxgetr", core.ResultVariable.T, -1, -1)]


def test_a_bad_variable_is_reported_before_the_lookup(friendly, library):
    with pytest.raises(TypeError, match="ConditionVariable expected"):
        friendly.EquilibriumCalculation._set_eq_condition_ph("T", "GAS", 1.0)
    assert library.calls == []


def test_loading_a_file_that_is_not_there_changes_nothing(friendly, library, tmp_path):
    with pytest.raises(FileExistsError):
        friendly.ThermochemicalSystem.load(tmp_path / "none.dat")
    assert library.calls == []
    assert friendly.ThermochemicalSystem.current_file_path is None


def test_a_path_alone_makes_a_build_possible(friendly, library):
    friendly.ThermochemicalSystem.current_file_path = "anything but None"
    library.fail_at = 1
    library.error = MemoryError("first call of a build")
    with pytest.raises(MemoryError):
        friendly.ThermochemicalSystem._update()
    # The caches are half-built now: no phase cache yet, and a system component cache without count.
    with pytest.raises(KeyError, match="count"):
        friendly.EquilibriumCalculation.get_eq_A_scs()
    with pytest.raises(TypeError, match="'NoneType' object is not subscriptable"):
        friendly.EquilibriumCalculation.get_eq_A_phs()
