"""The results as records: system components, phases, constituents, incoming amounts."""

import math
import weakref

import pytest

# fmt: off
ELEMENTS = [
    "H", "He", "Li", "Be", "B", "C", "N", "O", "F", "Ne", "Na", "Mg", "Al", "Si", "P", "S", "Cl",
    "Ar", "K", "Ca", "Sc", "Ti", "V", "Cr", "Mn", "Fe", "Co", "Ni", "Cu", "Zn", "Ga", "Ge", "As",
    "Se", "Br", "Kr", "Rb", "Sr", "Y", "Zr", "Nb", "Mo", "Tc", "Ru", "Rh", "Pd", "Ag", "Cd", "In",
    "Sn", "Sb", "Te", "I", "Xe", "Cs", "Ba", "La", "Ce", "Pr", "Nd", "Pm", "Sm", "Eu", "Gd", "Tb",
    "Dy", "Ho", "Er", "Tm", "Yb", "Lu", "Hf", "Ta", "W", "Re", "Os", "Ir", "Pt", "Au", "Hg", "Tl",
    "Pb", "Bi", "Po", "At", "Rn", "Fr", "Ra", "Ac", "Th", "Pa", "U", "Np", "Pu", "Am", "Cm", "Bk",
    "Cf", "Es", "Fm", "Md", "No", "Lr",
]
# fmt: on

WHEN_PRESENT = {
    "AC": "AC",
    "MU": "MU",
    "Cp": "CP",
    "H": "H",
    "S": "S",
    "G": "G",
    "V": "V",
    "CpM": "CPM",
    "HM": "HM",
    "SM": "SM",
    "GM": "GM",
    "VM": "VM",
}
RECORDS = [
    "SystemComponentState",
    "PhaseState",
    "PhaseConstituentState",
    "SystemComponentIncomingAmountState",
    "PhaseConstituentIncomingAmountState",
]


@pytest.fixture
def base(friendly):
    return friendly.EquilibriumCalculationBase


@pytest.fixture
def absolute(friendly):
    return friendly.AbsoluteEquilibriumCalculationBase


@pytest.fixture
def records(friendly, loaded, monkeypatch):
    """Puts records into the module whose making and fields stand among the library's calls."""

    def record(kind):
        class Recorded:
            def __init__(self, *arguments):
                vars(self).update(arguments=arguments, fields={}, scs={}, pcs={})
                if kind == "PhaseState":
                    vars(self)["name"] = arguments[1]
                loaded.calls.append((kind, *arguments))

            def __setattr__(self, name, value):
                loaded.calls.append((f".{name}", value))
                self.fields[name] = value

            def __getattr__(self, name):
                try:
                    return self.fields[name]
                except KeyError:
                    raise AttributeError(name) from None

        Recorded.__name__ = kind
        return Recorded

    classes = {name: record(name) for name in RECORDS}
    for name, cls in classes.items():
        monkeypatch.setattr(friendly, name, cls)
    return classes


@pytest.fixture
def answers(core, loaded):
    """What `hxgetr` answers by (member's name, *places); 0.0 for the others; raised if raisable."""
    known = {}

    def hxgetr(variable, *places):
        value = known.get((variable.name, *places), 0.0)
        if isinstance(value, Exception):
            raise value
        return value

    loaded.instead["hxgetr"] = hxgetr
    return known


def read(core, member, *places):
    return ("hxgetr", core.ResultVariable[member], *places)


def names(calls):
    return [call[0] for call in calls]


def put_components(loaded, friendly, dat, *component_names):
    """Loads a system with these components and no phases."""
    kind = type(loaded.scs[0])
    count = len(component_names)
    loaded.scs = [kind(name, [0.0] * count, 1.0, 1.0) for name in component_names]
    loaded.phs = []
    friendly.ThermochemicalSystem.load(dat)
    loaded.calls.clear()


# System components.


def test_system_components_in_order(base, loaded, core, records, answers):
    answers.update({("A", -1, 0): 3.0, ("A", -1, 1): 1.0, ("AC", -1, 0): 0.5, ("MU", -1, 0): -7.0})
    answers.update({("AC", -1, 1): 0.25, ("MU", -1, 1): -8.0})
    result = base._get_result_scs()
    nan = loaded.calls[-2][1]
    assert math.isnan(nan)
    expected = [read(core, "A", -1, i) for i in range(3)]
    for i, name, A, X, AC, MU in (
        (0, "Fe", 3.0, 0.75, 0.5, -7.0),
        (1, "O", 1.0, 0.25, 0.25, -8.0),
    ):
        expected += [
            read(core, "A", -1, i),
            read(core, "AC", -1, i),
            read(core, "MU", -1, i),
            ("SystemComponentState", i, name),
            *[(".A", A), (".X", X), (".AC", AC), (".MU", MU)],
        ]
    expected += [read(core, "A", -1, 2), ("SystemComponentState", 2, "C"), (".A", 0.0), (".X", 0.0)]
    assert loaded.calls[: len(expected)] == expected
    assert names(loaded.calls[len(expected) :]) == [".AC", ".MU"]
    assert all(math.isnan(call[1]) for call in loaded.calls[-2:])
    assert type(result) is dict
    assert list(result) == ["Fe", "O", "C"]
    assert [record.arguments for record in result.values()] == [(0, "Fe"), (1, "O"), (2, "C")]


def test_places_of_system_components_are_plain_ints(base, loaded, records, answers):
    base._get_result_scs()
    assert all(type(place) is int for call in loaded.of("hxgetr") for place in call[2:])


def test_each_element_symbol_counts(base, friendly, loaded, core, records, answers, dat):
    put_components(loaded, friendly, dat, *ELEMENTS)
    assert len(ELEMENTS) == 103
    answers.update({("A", -1, i): 1.0 for i in range(103)})
    result = base._get_result_scs()
    assert loaded.calls[:103] == [read(core, "A", -1, i) for i in range(103)]
    assert {record.X for record in result.values()} == {1.0 / 103.0}


@pytest.mark.parametrize("name", ["FeO", "fe", "FE", "Rf", "Og", "D", "", "e-", "Fe "])
def test_what_is_no_element_takes_no_part_in_the_sum(
    base, friendly, loaded, core, records, answers, dat, name
):
    put_components(loaded, friendly, dat, "Fe", name, "O")
    answers.update({("A", -1, 0): 1.0, ("A", -1, 1): 6.0, ("A", -1, 2): 3.0})
    result = base._get_result_scs()
    assert [call[3] for call in loaded.calls[:3]] == [0, 2, 0]  # not asked for the sum
    assert [record.X for record in result.values()] == [0.25, 1.5, 0.75]


def test_without_elements_every_fraction_is_nan(
    base, friendly, loaded, core, records, answers, dat
):
    put_components(loaded, friendly, dat, "FeO", "SiO2")
    answers.update({("A", -1, 0): 1.0})
    result = base._get_result_scs()
    assert all(math.isnan(record.X) for record in result.values())
    assert loaded.calls[0] == read(core, "A", -1, 0)
    assert loaded.of("hxgetr").count(read(core, "A", -1, 0)) == 1


@pytest.mark.parametrize("total", [0.0, -1.0, math.nan])
def test_without_a_total_above_zero_every_fraction_is_nan(base, records, answers, total):
    answers[("A", -1, 0)] = total
    assert all(math.isnan(record.X) for record in base._get_result_scs().values())


@pytest.mark.parametrize("amount", [0.0, -0.0, 0])
def test_absent_component_is_not_asked_for_more(base, loaded, core, records, answers, amount):
    answers.update({("A", -1, 0): amount, ("A", -1, 1): 1.0})
    record = base._get_result_scs()["Fe"]
    assert math.isnan(record.AC)
    assert math.isnan(record.MU)
    assert read(core, "AC", -1, 0) not in loaded.calls
    assert read(core, "MU", -1, 0) not in loaded.calls


@pytest.mark.parametrize("amount", [-1e-300, -2.0, math.nan])
def test_negative_amount_takes_the_way_of_the_library(base, loaded, core, records, answers, amount):
    answers.update({("A", -1, 0): amount, ("AC", -1, 0): 0.5})
    assert base._get_result_scs()["Fe"].AC == 0.5
    assert read(core, "MU", -1, 0) in loaded.calls


@pytest.mark.parametrize("refused", [{"AC"}, {"MU"}, {"AC", "MU"}])
def test_refused_value_of_a_component_is_nan_and_leaves_the_other(
    base, loaded, core, records, answers, refused
):
    answers.update({("A", -1, 0): 1.0, ("AC", -1, 0): 0.5, ("MU", -1, 0): -1.0})
    for member in refused:
        answers[(member, -1, 0)] = core.TessaraError("no value")
    record = base._get_result_scs()["Fe"]
    assert math.isnan(record.AC) == ("AC" in refused)
    assert math.isnan(record.MU) == ("MU" in refused)
    assert loaded.of("hxgetr")[4:6] == [read(core, "AC", -1, 0), read(core, "MU", -1, 0)]


@pytest.mark.parametrize("member", ["AC", "MU"])
def test_other_failures_of_a_component_s_value_pass(base, core, records, answers, member):
    answers.update({("A", -1, 0): 1.0, (member, -1, 0): LookupError("other")})
    with pytest.raises(LookupError, match="other"):
        base._get_result_scs()


@pytest.mark.parametrize("place", [0, 1, 2])
def test_refused_amount_of_a_component_passes(base, core, records, answers, place):
    answers[("A", -1, place)] = core.TessaraError("no amount")
    with pytest.raises(core.TessaraError, match="no amount"):
        base._get_result_scs()


def test_subclass_of_the_error_is_caught_too(base, core, records, answers):
    class SpecialError(core.TessaraError):
        pass

    answers.update({("A", -1, 0): 1.0, ("AC", -1, 0): SpecialError("no")})
    assert math.isnan(base._get_result_scs()["Fe"].AC)


def test_error_class_is_the_one_in_the_globals(friendly, base, core, records, answers, monkeypatch):
    answers.update({("A", -1, 0): 1.0, ("AC", -1, 0): LookupError("now caught")})
    monkeypatch.setattr(friendly, "TessaraError", LookupError)
    assert math.isnan(base._get_result_scs()["Fe"].AC)


def test_components_without_a_system(base, friendly, loaded, records, answers, dat):
    put_components(loaded, friendly, dat)
    assert base._get_result_scs() == {}
    assert loaded.calls == []


# Phases.


class Parts:
    """Answers in the place of the methods for what is in a phase."""

    @staticmethod
    def over(cls, calls):
        class Mine(cls):
            @classmethod
            def _get_result_ph_scs(cls, *arguments):
                calls.append(("_get_result_ph_scs", cls, *arguments))
                return {"scs of": arguments[0]}

            @classmethod
            def _get_result_ph_pcs(cls, *arguments):
                calls.append(("_get_result_ph_pcs", cls, *arguments))
                return {"pcs of": arguments[0]}

        return Mine


def test_phases_in_order(base, loaded, core, records, answers):
    loaded.instead["hxgsp"] = lambda i_ph: f"status {i_ph}"
    answers.update({("A",): 8.0, ("A", 1): 2.0})
    for i, member in enumerate(WHEN_PRESENT.values()):
        answers[(member, 1)] = float(i)
    mine = Parts.over(base, loaded.calls)
    result = mine._get_result_phs()

    def head(i, name, A):
        return [
            read(core, "A", i),
            ("hxgsp", i),
            ("PhaseState", i, name, f"status {i}"),
            (".A", A),
            read(core, "AC", i),
            (".AC", answers.get(("AC", i), 0.0)),
            read(core, "MU", i),
            (".MU", answers.get(("MU", i), 0.0)),
        ]

    def parts(i, A):
        return [("_get_result_ph_scs", mine, i, A), ("_get_result_ph_pcs", mine, i, A)]

    present = [(".X", 0.25)]
    for i, (field, member) in enumerate(WHEN_PRESENT.items()):
        present += [read(core, member, 1), (f".{field}", float(i))]
    assert loaded.calls == [
        read(core, "A"),
        *head(0, "GAS", 0.0),
        *parts(0, 0.0),
        *head(1, "LIQUID", 2.0),
        *present,
        *parts(1, 2.0),
        *head(2, "Fe2O3", 0.0),
        *parts(2, 0.0),
    ]
    assert type(result) is dict
    assert list(result) == ["GAS", "LIQUID", "Fe2O3"]
    assert result["LIQUID"].scs == {"scs of": 1}
    assert result["GAS"].pcs == {"pcs of": 0}


def test_present_phase_costs_fifteen_reads_and_one_status(base, loaded, core, records, answers):
    answers.update({("A",): 1.0, ("A", 1): 1.0})
    Parts.over(base, [])._get_result_phs()
    assert len([call for call in loaded.of("hxgetr") if call[2:] == (1,)]) == 15
    assert loaded.of("hxgsp").count(("hxgsp", 1)) == 1


def test_second_answer_for_activity_and_potential_stays(base, loaded, core, records, answers):
    seen = []

    def hxgetr(variable, *places):
        seen.append((variable.name, *places))
        return float(len(seen))

    loaded.instead["hxgetr"] = hxgetr
    result = Parts.over(base, [])._get_result_phs()
    first = seen.index(("AC", 0)) + 1
    assert seen.index(("AC", 0), first) + 1 == result["GAS"].AC


@pytest.mark.parametrize("amount", [0.0, -1.0, math.nan])
def test_absent_phase_keeps_what_its_record_came_with(base, loaded, core, answers, amount):
    answers.update({("A",): 1.0, ("A", 1): amount, ("AC", 1): 0.5, ("MU", 1): -2.0})
    record = base._get_result_phs()["LIQUID"]
    assert type(record) is core.PhaseState
    assert (record.AC, record.MU) == (0.5, -2.0)
    fresh = core.PhaseState(1, "LIQUID", None)
    for field in ("X", *list(WHEN_PRESENT)[2:]):
        unset = object()
        value, expected = getattr(record, field, unset), getattr(fresh, field, unset)
        assert (value is unset) == (expected is unset)
        assert value is unset or math.isnan(value)
    assert [state.A for state in record.scs.values()] == [0.0] * 3
    assert list(record.scs) == ["Fe", "O", "C"]
    assert list(record.pcs) == ["Fe", "C"]


def test_present_phase_in_an_empty_system_divides_by_zero(base, records, answers):
    answers[("A", 0)] = 1.0
    with pytest.raises(ZeroDivisionError):
        base._get_result_phs()


def test_key_of_a_phase_is_read_back_from_its_record(friendly, base, loaded, core, answers):
    class Renamed(core.PhaseState):
        def __init__(self, i_ph, name, status):
            super().__init__(i_ph, name, status)
            self.name = f"{name} renamed"

    friendly.PhaseState = Renamed
    assert list(base._get_result_phs()) == ["GAS renamed", "LIQUID renamed", "Fe2O3 renamed"]


def test_amount_reaches_the_parts_as_a_float_and_the_index_as_an_int(base, loaded, answers):
    answers.update({("A",): 4, ("A", 1): 2})
    calls = []
    Parts.over(base, calls)._get_result_phs()
    assert [type(value) for call in calls for value in call[2:3]] == [int] * 6
    assert calls[2][3] == 2


def test_status_is_stored_as_it_comes(base, loaded, core, records, answers):
    statuses = [object(), None, core.Status.DORMANT]
    loaded.instead["hxgsp"] = lambda i_ph: statuses[i_ph]
    result = base._get_result_phs()
    assert [record.arguments[2] for record in result.values()] == statuses


@pytest.mark.parametrize("member", ["A", "AC", "MU", "CP", "H", "S", "G", "V", "CPM", "VM"])
def test_refused_value_of_a_phase_passes(base, core, records, answers, member):
    answers.update({("A",): 1.0, ("A", 1): 1.0})
    answers[(member, 1)] = core.TessaraError("no value")
    with pytest.raises(core.TessaraError, match="no value"):
        base._get_result_phs()


def test_no_phases_no_records(base, friendly, loaded, core, answers, dat):
    put_components(loaded, friendly, dat, "Fe")
    assert base._get_result_phs() == {}
    assert loaded.calls == [read(core, "A")]


# System components in a phase.


def test_components_of_a_present_phase_in_order(base, loaded, core, records, answers):
    answers.update({("AP", 1, 0): 2.0, ("XP", 1, 0): 0.5, ("XP", 1, 2): 0.25})
    result = base._get_result_ph_scs(1, 1e-300)
    expected = []
    for i, name, A, X in ((0, "Fe", 2.0, 0.5), (1, "O", 0.0, 0.0), (2, "C", 0.0, 0.25)):
        expected += [
            ("SystemComponentState", i, name),
            read(core, "AP", 1, i),
            (".A", A),
            read(core, "XP", 1, i),
            (".X", X),
        ]
    assert loaded.calls == expected
    assert list(result) == ["Fe", "O", "C"]
    assert all(set(record.fields) == {"A", "X"} for record in result.values())
    assert [type(place) for place in loaded.calls[1][2:]] == [int, int]


@pytest.mark.parametrize("amount", [0.0, -1.0, math.nan, 0])
def test_components_of_an_absent_phase_are_not_asked(base, loaded, records, answers, amount):
    result = base._get_result_ph_scs(1, amount)
    assert loaded.of("hxgetr") == []
    assert [record.fields for record in result.values()] == [{"A": 0.0}] * 3
    assert all(type(record.A) is float for record in result.values())


@pytest.mark.parametrize("refused", [{"AP"}, {"XP"}, {"AP", "XP"}])
def test_refused_value_in_a_phase_leaves_the_field(base, loaded, core, records, answers, refused):
    for member in refused:
        answers[(member, 1, 0)] = core.TessaraError("no value")
    result = base._get_result_ph_scs(1, 1.0)
    kept = {"AP": "A", "XP": "X"}
    fields = {field for member, field in kept.items() if member not in refused}
    assert set(result["Fe"].fields) == fields
    assert set(result["O"].fields) == {"A", "X"}
    assert list(result) == ["Fe", "O", "C"]


def test_refusal_by_the_record_is_caught_like_one_by_the_library(friendly, base, loaded, core):
    class Refusing:
        def __init__(self, i_sc, name):
            pass

        def __setattr__(self, name, value):
            raise core.TessaraError("not here")

    friendly.SystemComponentState = Refusing
    assert list(base._get_result_ph_scs(0, 1.0)) == ["Fe", "O", "C"]


def test_other_failures_in_a_phase_pass(base, records, answers):
    answers[("XP", 1, 2)] = LookupError("other")
    with pytest.raises(LookupError, match="other"):
        base._get_result_ph_scs(1, 1.0)


def test_phase_of_components_need_not_exist(base, loaded, core, records, answers):
    base._get_result_ph_scs(77, 1.0)
    assert loaded.of("hxgetr")[0] == read(core, "AP", 77, 0)


# Constituents.


def test_constituents_in_order(base, loaded, core, records, answers):
    loaded.instead["hxgspc"] = lambda i_ph, i_pc: f"status {i_ph} {i_pc}"
    answers.update({("A", 1, -1): 4.0, ("A", 1, 1): 3.0})
    for i, member in enumerate(WHEN_PRESENT.values()):
        answers[(member, 1, 1)] = float(i)
    result = base._get_result_ph_pcs(1, 99.0)

    def head(i, name, A):
        return [
            ("hxgspc", 1, i),
            ("PhaseConstituentState", i, name, f"status 1 {i}"),
            read(core, "A", 1, i),
            (".A", A),
            read(core, "AC", 1, i),
            (".AC", answers.get(("AC", 1, i), 0.0)),
            read(core, "MU", 1, i),
            (".MU", answers.get(("MU", 1, i), 0.0)),
        ]

    present = [(".X", 0.75)]
    for i, (field, member) in enumerate(WHEN_PRESENT.items()):
        present += [read(core, member, 1, 1), (f".{field}", float(i))]
    assert loaded.calls == [
        read(core, "A", 1, -1),
        *head(0, "Fe", 0.0),
        *head(1, "C", 3.0),
        *present,
    ]
    assert type(result) is dict
    assert list(result) == ["Fe", "C"]
    assert len([call for call in loaded.of("hxgetr") if call[2:] == (1, 1)]) == 15


@pytest.mark.parametrize("A_ph", [0.0, -1.0, math.nan, 7, True])
def test_amount_given_for_constituents_does_not_matter(base, records, answers, A_ph):
    answers.update({("A", 1, -1): 4.0, ("A", 1, 1): 3.0})
    assert base._get_result_ph_pcs(1, A_ph)["C"].X == 0.75


@pytest.mark.parametrize("amount", [0.0, -1.0, math.nan])
def test_absent_constituent_keeps_what_its_record_came_with(base, core, records, answers, amount):
    answers.update({("A", 1, -1): 4.0, ("A", 1, 0): amount})
    assert list(base._get_result_ph_pcs(1, 4.0)["Fe"].fields) == ["A", "AC", "MU"]


def test_present_constituent_of_an_absent_phase_divides_by_zero(base, records, answers):
    answers[("A", 1, 0)] = 1.0
    with pytest.raises(ZeroDivisionError, match="division by zero"):
        base._get_result_ph_pcs(1, 1.0)


def test_amount_of_the_phase_is_converted_to_a_float(friendly, base, loaded, answers):
    class Amount:
        def __float__(self):
            return 4.0

    answers.update({("A", 1, -1): Amount(), ("A", 1, 0): 1})
    assert base._get_result_ph_pcs(1, 0.0)["Fe"].X == 0.25
    answers[("A", 1, -1)] = "4.0"
    with pytest.raises(TypeError, match="must be real number, not str"):
        base._get_result_ph_pcs(1, 0.0)


def test_presence_of_a_constituent_is_read_from_its_record(friendly, base, core, answers):
    class Doubled:
        def __init__(self, i_pc, name, status):
            pass

        @property
        def A(self):
            return 2.0

        @A.setter
        def A(self, value):
            pass

    friendly.PhaseConstituentState = Doubled
    answers[("A", 1, -1)] = 8.0
    assert base._get_result_ph_pcs(1, 0.0)["Fe"].X == 0.25


@pytest.mark.parametrize("member", ["A", "AC", "MU", "CP", "VM"])
def test_refused_value_of_a_constituent_passes(base, core, records, answers, member):
    answers.update({("A", 1, -1): 1.0, ("A", 1, 1): 1.0})
    answers[(member, 1, 1)] = core.TessaraError("no value")
    with pytest.raises(core.TessaraError, match="no value"):
        base._get_result_ph_pcs(1, 1.0)


class Plain:
    """Objects of it are assigned to at places that the module remembers."""

    __slots__ = ("A", "AC", "MU")

    def __init__(self, *arguments):
        pass


class Otherwise:
    """The same names at other places."""

    __slots__ = ("A", "AB", "AC", "MU")

    def __init__(self, *arguments):
        pass


class Below(Plain):
    """A slot hidden by a property of its own."""

    __slots__ = ("seen",)

    @property
    def A(self):
        return -2.0

    @A.setter
    def A(self, value):
        self.seen = value


class Strayed:
    """Has a slot that belongs to objects of another class."""

    A = Plain.A

    def __init__(self, *arguments):
        pass


@pytest.fixture
def values(friendly, base, answers, monkeypatch):
    """`values(cls)`: what the records of a phase's constituents have when `cls` makes them."""
    answers.update({("A", 0, i): -1.0 - i for i in range(3)})
    answers.update({("MU", 0, i): 50.0 + i for i in range(3)})

    def values(cls):
        monkeypatch.setattr(friendly, "PhaseConstituentState", cls)
        return list(base._get_result_ph_pcs(0, 1.0).values())

    return values


def test_fields_go_where_the_class_has_them(values):
    for cls in (Plain, Otherwise, Plain, type("Open", (), {"__init__": Plain.__init__}), Otherwise):
        for _ in range(2):
            assert [(pc.A, pc.AC, pc.MU) for pc in values(cls)] == [
                (-1.0 - i, 0.0, 50.0 + i) for i in range(3)
            ]


def test_property_of_a_subclass_is_asked(values):
    values(Plain)
    for _ in range(2):
        assert [pc.seen for pc in values(Below)] == [-1.0, -2.0, -3.0]


def test_class_that_changes_is_asked_anew(values, monkeypatch):
    for _ in range(2):
        values(Plain)
    seen = []
    slot = Plain.A
    monkeypatch.setattr(Plain, "A", property(slot.__get__, lambda pc, A: seen.append(A)))
    with pytest.raises(AttributeError):
        values(Plain)
    assert seen == [-1.0]
    monkeypatch.undo()
    monkeypatch.setattr(
        Plain, "__setattr__", lambda pc, name, value: object.__setattr__(pc, name, 2 * value)
    )
    assert [pc.A for pc in values(Plain)] == [-2.0, -4.0, -6.0]


def test_slot_of_another_class_is_refused(values):
    values(Plain)
    for _ in range(2):
        with pytest.raises(TypeError, match="'A' for 'Plain' objects doesn't apply"):
            values(Strayed)


def test_value_that_a_field_had_is_let_go(friendly, base, answers, monkeypatch):
    class Value:
        pass

    kept = []

    class Filled(Plain):
        __slots__ = ()

        def __init__(self, *arguments):
            self.MU = Value()
            kept.append(weakref.ref(self.MU))

    monkeypatch.setattr(friendly, "PhaseConstituentState", Filled)
    for _ in range(2):
        base._get_result_ph_pcs(0, 1.0)
    assert len(kept) == 6
    assert all(one() is None for one in kept)


def test_unknown_phase_of_constituents_is_the_key_error_of_the_lookup(base, loaded, records):
    with pytest.raises(KeyError) as failure:
        base._get_result_ph_pcs(7, 1.0)
    assert failure.value.args == (7,)
    assert names(loaded.calls) == ["hxgetr"]


def test_index_of_a_phase_is_an_int_and_its_amount_a_float(base, loaded, answers):
    for name in ("_get_result_ph_scs", "_get_result_ph_pcs"):
        with pytest.raises(TypeError, match="an integer is required"):
            getattr(base, name)("GAS", 1.0)
        with pytest.raises(TypeError, match="must be real number"):
            getattr(base, name)(0, "1.0")
        getattr(base, name)(A_ph=1, i_ph=0)


# Incoming amounts.


def test_incoming_amounts_in_order(absolute, loaded, core, records, answers):
    answers.update({("IA", 0, 1): 2.0, ("IA", 2, 0): 1e-300, ("IA", -1, 1): 3.0})
    result = absolute._get_result_IAs()
    first = ("PhaseConstituentIncomingAmountState", "GAS", "CO2", 2.0)
    second = ("PhaseConstituentIncomingAmountState", "Fe2O3", "Fe2O3", 1e-300)
    third = ("SystemComponentIncomingAmountState", "O", 3.0)
    assert loaded.calls == [
        *[read(core, "IA", 0, 0), read(core, "IA", 0, 1), first, read(core, "IA", 0, 2)],
        *[read(core, "IA", 1, 0), read(core, "IA", 1, 1), read(core, "IA", 2, 0), second],
        *[read(core, "IA", -1, 0), read(core, "IA", -1, 1), third, read(core, "IA", -1, 2)],
    ]
    assert type(result) is list
    assert [record.arguments for record in result] == [first[1:], second[1:], third[1:]]


@pytest.mark.parametrize("amount", [0.0, -0.0, -1.0, math.nan])
def test_incoming_amount_not_above_zero_gives_no_record(absolute, records, answers, amount):
    answers.update({("IA", 0, 1): amount, ("IA", -1, 1): amount})
    assert absolute._get_result_IAs() == []


@pytest.mark.parametrize("place", [(0, 0), (2, 0), (-1, 0), (-1, 2)])
def test_refused_incoming_amount_passes(absolute, core, records, answers, place):
    answers[("IA", *place)] = core.TessaraError("no amount")
    with pytest.raises(core.TessaraError, match="no amount"):
        absolute._get_result_IAs()


def test_incoming_amounts_belong_to_absolute_calculations_alone(friendly):
    assert not hasattr(friendly.StreamCalculation, "_get_result_IAs")


# All of them.


@pytest.mark.parametrize(
    ("name", "arguments"),
    [
        ("_get_result_scs", ()),
        ("_get_result_phs", ()),
        ("_get_result_ph_scs", (1, 1.0)),
        ("_get_result_ph_pcs", (1, 1.0)),
        ("_get_result_IAs", ()),
    ],
)
def test_each_call_gives_new_objects_of_equal_content(
    friendly, absolute, loaded, core, name, arguments
):
    first, second = (getattr(absolute, name)(*arguments) for _ in range(2))
    assert first is not second
    assert len(first) == len(second) > 0
    if isinstance(first, dict):
        assert list(first) == list(second)
        assert all(first[key] is not second[key] for key in first)


def test_components_load_another_system_meanwhile(friendly, base, loaded, dat, core, records):
    """The count of components is taken when the walk starts; the rest is looked up at each step."""

    def before(call):
        if call[0] == "SystemComponentState":
            return
        if call[0] == "hxgetr" and len(loaded.calls) == 1:
            loaded.before = None
            loaded.scs = loaded.scs[:1]
            for ph in loaded.phs:
                for pc in ph.pcs:
                    pc.stoich = [1.0]
            friendly.ThermochemicalSystem.load(dat)

    loaded.before = before
    with pytest.raises(KeyError):
        base._get_result_scs()


def test_library_may_delete_a_phase_while_it_is_read(friendly, base, loaded, dat, records, answers):
    def hxgspc(i_ph, i_pc):
        loaded.phs = loaded.phs[:1]
        friendly.ThermochemicalSystem.load(dat)

    loaded.instead["hxgspc"] = hxgspc
    answers[("A", 1, -1)] = 1.0
    with pytest.raises(KeyError) as failure:
        base._get_result_ph_pcs(1, 1.0)
    assert failure.value.args == (1,)
