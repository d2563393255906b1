"""What the caches answer about system components, phases and phase constituents."""

import pytest

NAMES = {
    "scs": ["Fe", "O", "C"],
    "phs": ["GAS", "LIQUID", "Fe2O3"],
    "pcs": [["CO", "CO2", "O2"], ["Fe", "C"], ["Fe2O3"]],
}
MASSES = {
    "scs": [0.055845, 0.015999, 0.012011],
    "pcs": [[0.02801, 0.044009, 0.031998], [0.055845, 0.012011], [0.159687]],
}
FLAT = [(ph, pc) for ph, names in zip(NAMES["phs"], NAMES["pcs"], strict=True) for pc in names]

# Name, arguments, result.
SAMPLES = [
    ("get_count_scs", (), 3),
    ("get_name_scs", (), NAMES["scs"]),
    ("get_mm_scs", (), MASSES["scs"]),
    ("get_count_phs", (), 3),
    ("get_name_phs", (), NAMES["phs"]),
    ("get_count_pcs", (), 6),
    ("get_name_pcs", (), [pc for _, pc in FLAT]),
    ("get_name_ph_pcs", (), FLAT),
    ("get_mm_pcs", (), [mm for masses in MASSES["pcs"] for mm in masses]),
    *[("get_index_sc", (name,), i) for i, name in enumerate(NAMES["scs"])],
    *[("get_name_sc", (i,), name) for i, name in enumerate(NAMES["scs"])],
    *[("get_mm_sc", (i,), mm) for i, mm in enumerate(MASSES["scs"])],
    *[("get_index_ph", (name,), i) for i, name in enumerate(NAMES["phs"])],
    *[("get_name_ph", (i,), name) for i, name in enumerate(NAMES["phs"])],
    *[("get_count_pcs_in_ph", (i,), n) for i, n in enumerate([3, 2, 1])],
    *[("get_name_pcs_in_ph", (i,), names) for i, names in enumerate(NAMES["pcs"])],
    *[("get_mm_pcs_in_ph", (i,), masses) for i, masses in enumerate(MASSES["pcs"])],
    ("get_index_pc", ("LIQUID", "C"), 1),
    ("get_name_pc", ("LIQUID", 1), "C"),
    ("get_mm_pc", ("GAS", "O2"), 0.031998),
]
SINGLE = {  # by name of the method: the arguments' kinds
    "get_index_sc": ["sc"],
    "get_name_sc": ["sc"],
    "get_mm_sc": ["sc"],
    "get_index_ph": ["ph"],
    "get_name_ph": ["ph"],
    "get_model_ph": ["ph"],
    "get_count_pcs_in_ph": ["ph"],
    "get_name_pcs_in_ph": ["ph"],
    "get_mm_pcs_in_ph": ["ph"],
    "get_index_pc": ["ph", "pc"],
    "get_name_pc": ["ph", "pc"],
    "get_mm_pc": ["ph", "pc"],
}
LISTS = [name for name, arguments, result in SAMPLES if isinstance(result, list)]
ONE_NAME = {"sc": "O", "ph": "LIQUID", "pc": "C"}
ONE_INDEX = 1  # of all three


@pytest.fixture
def system(friendly, loaded):
    return friendly.ThermochemicalSystem


@pytest.mark.parametrize(("name", "arguments", "result"), SAMPLES)
def test_answer_comes_out_of_the_caches(system, loaded, name, arguments, result):
    found = getattr(system, name)(*arguments)
    assert found == result
    assert type(found) is type(result)
    assert loaded.calls == []


@pytest.mark.parametrize("name", SINGLE)
def test_name_and_index_and_keyword_answer_alike(system, loaded, name):
    get = getattr(system, name)
    by_name = get(*[ONE_NAME[kind] for kind in SINGLE[name]])
    by_index = get(*[ONE_INDEX for _ in SINGLE[name]])
    by_keyword = get(**{kind: ONE_NAME[kind] for kind in SINGLE[name]})
    assert by_name == by_index == by_keyword
    assert loaded.calls == []


@pytest.mark.parametrize("one", [True, 1.0])
@pytest.mark.parametrize("name", SINGLE)
def test_equal_keys_answer_alike(system, name, one):
    get = getattr(system, name)
    assert get(*[one for _ in SINGLE[name]]) == get(*[1 for _ in SINGLE[name]])


@pytest.mark.parametrize("key", ["Xx", 99, -1, "1", None])
@pytest.mark.parametrize(
    ("name", "place"),
    [(name, place) for name, kinds in SINGLE.items() for place in range(len(kinds))],
)
def test_unknown_reference_is_the_key_error_of_the_lookup(system, loaded, name, place, key):
    arguments = [ONE_NAME[kind] for kind in SINGLE[name]]
    arguments[place] = key
    with pytest.raises(KeyError) as failure:
        getattr(system, name)(*arguments)
    assert failure.value.args == (key,)
    assert failure.value.__context__ is None
    assert loaded.calls == []


@pytest.mark.parametrize(
    ("name", "place"),
    [(name, place) for name, kinds in SINGLE.items() for place in range(len(kinds))],
)
def test_key_of_the_count_finds_an_int(system, name, place):
    arguments = [ONE_NAME[kind] for kind in SINGLE[name]]
    arguments[place] = "count"
    with pytest.raises(TypeError, match="'int' object is not subscriptable"):
        getattr(system, name)(*arguments)


@pytest.mark.parametrize("name", [name for name, kinds in SINGLE.items() if kinds[0] == "ph"])
def test_key_of_the_names_finds_a_list(system, name):
    with pytest.raises(TypeError, match="list indices must be integers or slices, not str"):
        getattr(system, name)(*["names", 0][: len(SINGLE[name])])


@pytest.mark.parametrize("name", SINGLE)
def test_unhashable_reference_is_a_type_error(system, name):
    with pytest.raises(TypeError, match="unhashable"):
        getattr(system, name)(*[[] for _ in SINGLE[name]])


def test_constituent_of_another_phase_is_unknown(system):
    for name in ("get_index_pc", "get_name_pc", "get_mm_pc"):
        with pytest.raises(KeyError) as failure:
            getattr(system, name)("LIQUID", "CO2")
        assert failure.value.args == ("CO2",)


def test_index_of_a_name_of_an_index_is_the_index(system):
    for i in range(3):
        assert system.get_index_sc(i) == system.get_index_sc(system.get_name_sc(i)) == i
        assert system.get_index_ph(i) == system.get_index_ph(system.get_name_ph(i)) == i
        for k in range(system.get_count_pcs_in_ph(i)):
            assert (
                system.get_index_pc(i, k) == system.get_index_pc(i, system.get_name_pc(i, k)) == k
            )


@pytest.mark.parametrize("name", sorted(set(LISTS)))
def test_lists_are_the_callers_own(system, name):
    arguments = [0] if name.endswith("_in_ph") else []
    get = getattr(system, name)
    first = get(*arguments)
    expected = list(first)
    first.clear()
    assert get(*arguments) == expected


def test_same_constituent_in_two_phases_occurs_twice(friendly, library, dat):
    library.phs[1].pcs[0].name = "CO"
    friendly.ThermochemicalSystem.load(dat)
    pairs = friendly.ThermochemicalSystem.get_name_ph_pcs()
    assert pairs[0] == ("GAS", "CO")
    assert pairs[3] == ("LIQUID", "CO")
    assert friendly.ThermochemicalSystem.get_name_pcs().count("CO") == 2
    assert all(type(pair) is tuple for pair in pairs)


def test_flat_lists_run_in_step(system):
    names = system.get_name_pcs()
    assert len(names) == system.get_count_pcs()
    assert [pc for _, pc in system.get_name_ph_pcs()] == names
    singly = [system.get_mm_pc(ph, pc) for ph, pc in system.get_name_ph_pcs()]
    assert system.get_mm_pcs() == singly
    assert len(system.get_status_pcs()) == len(system.get_stoich_pcs()) == len(names)


def test_count_of_all_constituents_is_the_builtin_sum_over_a_list(friendly, system, monkeypatch):
    monkeypatch.setattr(friendly, "sum", lambda counts: ("summed", counts), raising=False)
    assert system.get_count_pcs() == ("summed", [3, 2, 1])


def test_counts_and_names_are_objects_of_the_library(friendly, library, dat):
    class Name(str):
        __slots__ = ()

    library.phs[0].name = Name("GAS")
    library.phs[0].pcs[0].name = Name("CO")
    library.scs[0].mm = mm = object()
    library.phs = library.phs[:1]
    library.phs[0].pcs = library.phs[0].pcs[:1]
    library.phs[0].pcs[0].mm = 0.0
    friendly.ThermochemicalSystem.load(dat)
    assert friendly.ThermochemicalSystem.get_name_ph(0) is library.phs[0].name
    assert friendly.ThermochemicalSystem.get_name_pcs()[0] is library.phs[0].pcs[0].name
    assert friendly.ThermochemicalSystem.get_mm_sc(0) is mm


def test_system_without_phases(friendly, library, dat):
    library.phs = []
    friendly.ThermochemicalSystem.load(dat)
    system = friendly.ThermochemicalSystem
    assert (system.get_count_phs(), system.get_count_pcs()) == (0, 0)
    for name in ("name_phs", "model_phs", "name_pcs", "name_ph_pcs", "mm_pcs"):
        assert getattr(system, f"get_{name}")() == []


def test_system_without_components(friendly, library, dat):
    library.scs = []
    friendly.ThermochemicalSystem.load(dat)
    assert friendly.ThermochemicalSystem.get_count_scs() == 0
    assert friendly.ThermochemicalSystem.get_name_scs() == []
    assert friendly.ThermochemicalSystem.get_mm_scs() == []


def test_phase_without_constituents(friendly, library, dat):
    library.phs[1].pcs = []
    friendly.ThermochemicalSystem.load(dat)
    system = friendly.ThermochemicalSystem
    assert system.get_count_pcs_in_ph("LIQUID") == 0
    assert system.get_name_pcs_in_ph("LIQUID") == system.get_mm_pcs_in_ph("LIQUID") == []
    assert system.get_count_pcs() == 4


def test_range_is_that_of_the_globals(friendly, system, monkeypatch):
    monkeypatch.setattr(friendly, "range", lambda count: [2, 0], raising=False)
    assert system.get_name_scs() == ["C", "Fe"]
    assert system.get_name_phs() == ["Fe2O3", "GAS"]


# Models.


def test_model_is_the_member_of_the_name_in_the_cache(system, core):
    assert system.get_model_ph("GAS") is core.SolutionModel.IDMX
    expected = [core.SolutionModel.IDMX, core.SolutionModel.RKMP, core.SolutionModel.PURE]
    assert all(a is b for a, b in zip(system.get_model_phs(), expected, strict=True))


def test_model_is_subscripted_not_called(friendly, system, monkeypatch):
    class Models:
        def __class_getitem__(cls, name):
            return ("model", name)

    monkeypatch.setattr(friendly, "SolutionModel", Models)
    assert system.get_model_ph(1) == ("model", "RKMP")
    assert system.get_model_phs()[2] == ("model", "PURE")


def test_enumeration_of_the_models_is_looked_up_before_the_phase(friendly, system, monkeypatch):
    monkeypatch.delattr(friendly, "SolutionModel")
    with pytest.raises(NameError, match="SolutionModel"):
        system.get_model_ph("Xx")


def test_model_that_the_enumeration_lacks_is_a_key_error(friendly, system, core, monkeypatch):
    monkeypatch.setattr(friendly, "SolutionModel", core.Status)
    with pytest.raises(KeyError, match="IDMX"):
        system.get_model_phs()
