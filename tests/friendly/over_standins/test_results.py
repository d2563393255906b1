"""The getters of results: 94 names over ten shapes."""

import pytest

SYSTEM = ["P", "VT", "T", "A", "Cp", "H", "S", "G", "V", "CpM", "HM", "SM", "GM", "VM"]
COMPONENT = ["A", "AC", "MU", "X"]
IN_PHASE = ["A", "X"]
PHASE = ["A", "AC", "MU", "Cp", "H", "S", "G", "V", "CpM", "HM", "SM", "GM", "VM"]
CONSTITUENT = ["A", "IA", "AC", "MU", "Cp", "H", "S", "G", "V", "CpM", "HM", "SM", "GM", "VM"]

# Per ending of the name: the quantities, the parameters, the arguments of a sample call, and the
# places that the sample asks for in the system of three components and phases of 3, 2, 1.
ALL_PCS = [(0, 0), (0, 1), (0, 2), (1, 0), (1, 1), (2, 0)]
SHAPES = {
    "": (SYSTEM, [], [], [(-1, -1)]),
    "_sc": (COMPONENT, ["sc"], ["C"], [(-1, 2)]),
    "_scs": (COMPONENT, [], [], [(-1, 0), (-1, 1), (-1, 2)]),
    "_sc_in_ph": (IN_PHASE, ["ph", "sc"], ["LIQUID", "C"], [(1, 2)]),
    "_scs_in_ph": (IN_PHASE, ["ph"], ["LIQUID"], [(1, 0), (1, 1), (1, 2)]),
    "_ph": (PHASE, ["ph"], ["LIQUID"], [(1, -1)]),
    "_phs": (PHASE, [], [], [(0, -1), (1, -1), (2, -1)]),
    "_pc": (CONSTITUENT, ["ph", "pc"], ["GAS", "O2"], [(0, 2)]),
    "_pcs": (CONSTITUENT, [], [], ALL_PCS),
    "_pcs_in_ph": (CONSTITUENT, ["ph"], ["LIQUID"], [(1, 0), (1, 1)]),
}
ONE_VALUE = {"", "_sc", "_sc_in_ph", "_ph", "_pc"}
INDEX_OF = {"C": 2, "LIQUID": 1, "GAS": 0, "O2": 2}


def member_name(quantity, ending):
    if ending in ("_sc_in_ph", "_scs_in_ph"):
        return quantity + "P"
    return quantity.upper()


ROWS = [
    (f"get_eq_{quantity}{ending}", ending, member_name(quantity, ending))
    for ending, (quantities, *_) in SHAPES.items()
    for quantity in quantities
]
ENDING_ROWS = [next(row for row in ROWS if row[1] == ending) for ending in SHAPES]


@pytest.fixture
def base(friendly):
    return friendly.EquilibriumCalculationBase


def test_there_are_94_getters_and_no_other(base):
    names = [name for name, *_ in ROWS]
    assert len(set(names)) == 94
    assert [name for name in vars(base) if name.startswith("get_eq_")] == names


@pytest.mark.parametrize(("name", "ending", "member"), ROWS)
def test_getter_asks_for_its_member_at_its_places(base, loaded, core, name, ending, member):
    _, _, arguments, places = SHAPES[ending]
    variable = core.ResultVariable[member]
    result = getattr(base, name)(*arguments)
    assert loaded.calls == [("hxgetr", variable, *place) for place in places]
    assert all(call[1] is variable for call in loaded.calls)
    assert all(type(part) is int for call in loaded.calls for part in call[2:])
    values = [loaded.hxgetr(variable, *place) for place in places]
    assert result == (values[0] if ending in ONE_VALUE else values)
    assert type(result) is (float if ending in ONE_VALUE else list)


@pytest.mark.parametrize(("name", "ending", "member"), ROWS)
def test_getter_takes_its_arguments_by_keyword_and_index(base, loaded, core, name, ending, member):
    _, parameters, arguments, places = SHAPES[ending]
    indexes = [INDEX_OF[argument] for argument in arguments]
    getattr(base, name)(**dict(zip(parameters, indexes, strict=True)))
    assert loaded.calls == [("hxgetr", core.ResultVariable[member], *place) for place in places]


@pytest.mark.parametrize(("name", "ending", "member"), ROWS)
def test_getter_is_documented(base, name, ending, member):
    parameters = SHAPES[ending][1]
    lines = getattr(base, name).__doc__.splitlines()
    assert lines[0] == f"EquilibriumCalculationBase.{name}({', '.join(['cls', *parameters])})"
    assert lines[1] == ""
    text = "\n".join(lines[2:])
    for part in ["Returns:", "TessaraError", *(f"    {p}: " for p in parameters)]:
        assert part in text
    assert max(map(len, lines)) <= 100


@pytest.mark.parametrize(("name", "ending", "member"), ENDING_ROWS)
def test_value_comes_back_as_the_library_gave_it(base, loaded, name, ending, member):
    value = object()
    loaded.instead["hxgetr"] = lambda *arguments: value
    result = getattr(base, name)(*SHAPES[ending][2])
    assert result is value or all(item is value for item in result)


@pytest.mark.parametrize(("name", "ending", "member"), ENDING_ROWS)
def test_refusal_of_the_library_passes(base, loaded, core, name, ending, member):
    places = SHAPES[ending][3]
    loaded.fail_at = len(places)
    with pytest.raises(core.TessaraError) as failure:
        getattr(base, name)(*SHAPES[ending][2])
    assert failure.value is loaded.error


@pytest.mark.parametrize(
    ("name", "arguments", "key"),
    [
        ("get_eq_A_sc", ("Xx",), "Xx"),
        ("get_eq_A_sc", (3,), 3),
        ("get_eq_A_sc", (-1,), -1),
        ("get_eq_A_ph", ("SLAG",), "SLAG"),
        ("get_eq_A_ph", (-1,), -1),
        ("get_eq_A_pc", ("SLAG", "O2"), "SLAG"),
        ("get_eq_A_pc", ("LIQUID", "O2"), "O2"),
        ("get_eq_A_pc", ("LIQUID", -1), -1),
        ("get_eq_A_scs_in_ph", ("SLAG",), "SLAG"),
        ("get_eq_A_pcs_in_ph", ("SLAG",), "SLAG"),
        ("get_eq_A_sc_in_ph", ("SLAG", "C"), "SLAG"),
        ("get_eq_A_sc_in_ph", ("GAS", "Xx"), "Xx"),
        ("get_eq_A_sc_in_ph", ("SLAG", "Xx"), "Xx"),
    ],
)
def test_unknown_reference_is_a_key_error(base, loaded, name, arguments, key):
    with pytest.raises(KeyError) as failure:
        getattr(base, name)(*arguments)
    assert failure.value.args == (key,)
    assert failure.value.__context__ is None
    assert loaded.calls == []


def test_component_is_resolved_before_the_phase(base, loaded):
    class Key:
        def __init__(self, name, log):
            self.name, self.log = name, log

        def __hash__(self):
            self.log.append(self.name)
            return hash(self.name)

        def __eq__(self, other):
            return self.name == other

    log = []
    base.get_eq_A_sc_in_ph(Key("GAS", log), Key("C", log))
    assert log == ["C", "GAS"]


def test_flat_list_runs_phase_by_phase(base, library, friendly, dat):
    library.phs = [library.phs[1], library.phs[0]]
    friendly.ThermochemicalSystem.load(dat)
    library.calls.clear()
    values = base.get_eq_A_pcs()
    assert [call[2:] for call in library.calls] == [(0, 0), (0, 1), (1, 0), (1, 1), (1, 2)]
    assert len(values) == 5
    assert all(type(value) is float for value in values)


def test_components_in_a_phase_are_those_of_the_system(base, loaded):
    assert len(base.get_eq_X_scs_in_ph("Fe2O3")) == 3


def test_phase_without_constituents_adds_nothing(base, library, friendly, dat):
    library.phs[0].pcs = []
    friendly.ThermochemicalSystem.load(dat)
    library.calls.clear()
    assert len(base.get_eq_A_pcs()) == 3
    assert base.get_eq_A_pcs_in_ph("GAS") == []


def test_system_without_phases_gives_empty_lists(base, library, friendly, dat):
    library.phs = []
    friendly.ThermochemicalSystem.load(dat)
    library.calls.clear()
    assert base.get_eq_A_phs() == []
    assert base.get_eq_A_pcs() == []
    assert library.calls == []


def test_a_new_list_comes_each_time(base, loaded):
    assert base.get_eq_A_phs() is not base.get_eq_A_phs()


def test_operation_and_member_are_looked_up_for_each_value(friendly, base, loaded, monkeypatch):
    class ResultVariable:
        pass

    seen = []

    def answer(*arguments):
        seen.append(arguments)
        ResultVariable.A = len(seen)
        return 0.0

    ResultVariable.A = 0
    monkeypatch.setattr(friendly, "ResultVariable", ResultVariable)
    loaded.instead["hxgetr"] = answer
    base.get_eq_A_phs()
    assert [variable for variable, *_ in seen] == [0, 1, 2]


def test_replacement_of_the_operation_takes_effect_within_a_list(base, loaded, basic, monkeypatch):
    def first(*arguments):
        monkeypatch.setattr(basic, "hxgetr", lambda *arguments: "second")
        return "first"

    monkeypatch.setattr(basic, "hxgetr", first)
    assert base.get_eq_A_phs() == ["first", "second", "second"]


def test_operation_is_fetched_before_the_member(friendly, base, basic, monkeypatch):
    monkeypatch.delattr(basic, "hxgetr")
    monkeypatch.delattr(friendly, "ResultVariable")
    with pytest.raises(AttributeError, match="hxgetr"):
        base.get_eq_A()


def test_cls_is_not_used(friendly, loaded):
    for name, ending, _ in ENDING_ROWS:
        function = vars(friendly.EquilibriumCalculationBase)[name].__func__
        function(None, *SHAPES[ending][2])


def test_getters_are_there_for_every_kind_of_calculation(friendly):
    for cls in (
        friendly.EquilibriumCalculation,
        friendly.PhaseMapCalculation,
        friendly.StreamCalculation,
    ):
        assert all(hasattr(cls, name) for name, *_ in ROWS)
