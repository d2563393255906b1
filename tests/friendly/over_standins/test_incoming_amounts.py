"""Conditions on system components and phase constituents of absolute calculations."""

import contextlib
import sys

import pytest

COMPONENT = {"set_IA_sc": "IA", "set_eq_AC_sc": "AC"}
CONSTITUENT = {"set_IA_pc": "IA", "set_eq_AC_pc": "AC", "set_eq_MU_pc": "MU"}


@pytest.fixture
def base(friendly):
    return friendly.AbsoluteEquilibriumCalculationBase


@pytest.mark.parametrize("sc", ["C", 2])
@pytest.mark.parametrize(("name", "member"), COMPONENT.items())
def test_component_setter_places_its_condition(base, loaded, core, name, member, sc):
    loaded.instead["hxsetc"] = lambda *arguments: 17
    assert getattr(base, name)(sc, 2) == 17
    call = loaded.calls[0]
    assert loaded.calls == [("hxsetc", core.ConditionVariable[member], -1, 2, 2.0)]
    assert call[1] is core.ConditionVariable[member]
    assert [type(part) for part in call[2:]] == [int, int, float]


@pytest.mark.parametrize(("ph", "pc"), [("LIQUID", "C"), (1, 1), ("LIQUID", 1), (1, "C")])
@pytest.mark.parametrize(("name", "member"), CONSTITUENT.items())
def test_constituent_setter_places_its_condition(base, loaded, core, name, member, ph, pc):
    loaded.instead["hxsetc"] = lambda *arguments: 17
    assert getattr(base, name)(ph, pc, 2) == 17
    call = loaded.calls[0]
    assert loaded.calls == [("hxsetc", core.ConditionVariable[member], 1, 1, 2.0)]
    assert call[1] is core.ConditionVariable[member]
    assert [type(part) for part in call[2:]] == [int, int, float]


def test_components_have_no_setter_of_the_chemical_potential(base):
    assert not hasattr(base, "set_eq_MU_sc")


def test_streams_have_none_of_these_setters(friendly):
    assert not hasattr(friendly.StreamCalculation, "_set_eq_condition_sc")


@pytest.mark.parametrize("name", COMPONENT)
def test_component_setter_goes_through_cls(base, library, core, name):
    seen = []

    class Mine(base):
        @classmethod
        def _set_eq_condition_sc(cls, *arguments):
            seen.append((cls, *arguments))
            return "mine"

    sc = object()
    assert getattr(Mine, name)(sc, 2) == "mine"
    assert seen == [(Mine, core.ConditionVariable[COMPONENT[name]], sc, 2.0)]
    assert type(seen[0][3]) is float


@pytest.mark.parametrize("name", CONSTITUENT)
def test_constituent_setter_goes_through_cls(base, library, core, name):
    seen = []

    class Mine(base):
        @classmethod
        def _set_eq_condition_pc(cls, *arguments):
            seen.append((cls, *arguments))
            return "mine"

    ph, pc = object(), object()
    assert getattr(Mine, name)(ph, pc, 2) == "mine"
    assert seen == [(Mine, core.ConditionVariable[CONSTITUENT[name]], ph, pc, 2.0)]
    assert type(seen[0][4]) is float


def test_generic_component_setter(base, loaded, core):
    assert base._set_eq_condition_sc(core.ConditionVariable.MU, "O", 3) == 1
    assert loaded.calls == [("hxsetc", core.ConditionVariable.MU, -1, 1, 3.0)]
    assert type(loaded.calls[0][4]) is float


@pytest.mark.parametrize("value", [3, "three", None])
def test_generic_constituent_setter_hands_the_value_on_as_it_is(base, loaded, core, value):
    assert base._set_eq_condition_pc(core.ConditionVariable.MU, "GAS", "O2", value) == 1
    assert loaded.calls[0][:4] == ("hxsetc", core.ConditionVariable.MU, 0, 2)
    assert loaded.calls[0][4] is value


@pytest.mark.parametrize("variable", ["IA", 6, None, object])
@pytest.mark.parametrize("known", [True, False])
def test_what_is_no_condition_variable_is_refused_first(base, loaded, variable, known):
    place = ("GAS", "O2") if known else ("no", "no")
    for call in (
        lambda: base._set_eq_condition_sc(variable, "Fe" if known else "Xx", 1.0),
        lambda: base._set_eq_condition_pc(variable, *place, 1.0),
    ):
        with pytest.raises(TypeError) as failure:
            call()
        assert failure.value.args == ("Invalid variable type. ConditionVariable expected.",)
    assert loaded.calls == []


def test_value_of_a_member_does_not_pass(base, loaded, core):
    value = core.ConditionVariable.IA.value
    with pytest.raises(TypeError, match="ConditionVariable expected"):
        base._set_eq_condition_sc(value, "Fe", 1.0)
    with pytest.raises(TypeError, match="ConditionVariable expected"):
        base._set_eq_condition_pc(value, "GAS", "O2", 1.0)
    assert loaded.calls == []


def test_subclass_of_the_enumeration_does_not_pass(friendly, base, loaded, monkeypatch):
    class ConditionVariable:
        pass

    class Derived(ConditionVariable):
        pass

    monkeypatch.setattr(friendly, "ConditionVariable", ConditionVariable)
    for call in (
        lambda: base._set_eq_condition_sc(Derived(), "Fe", 1.0),
        lambda: base._set_eq_condition_pc(Derived(), "GAS", "O2", 1.0),
    ):
        with pytest.raises(TypeError, match="ConditionVariable expected"):
            call()


@pytest.mark.parametrize(("sc", "shown"), [("Xx", "Xx"), (7, "7"), (-1, "-1"), (2.5, "2.5")])
@pytest.mark.parametrize("name", COMPONENT)
def test_unknown_component_is_told_in_words(base, loaded, core, name, sc, shown):
    with pytest.raises(core.TessaraPyError) as failure:
        getattr(base, name)(sc, 1.0)
    assert failure.value.args == (f"System component '{shown}' does not exist.",)
    assert type(failure.value.__context__) is KeyError
    assert failure.value.__context__.args == (sc,)
    assert failure.value.__cause__ is None
    assert not failure.value.__suppress_context__
    assert loaded.calls == []


@pytest.mark.parametrize("ph", ["SLAG", 3, -1])
@pytest.mark.parametrize("name", CONSTITUENT)
def test_unknown_phase_is_told_in_words(base, loaded, core, name, ph):
    with pytest.raises(core.TessaraPyError) as failure:
        getattr(base, name)(ph, [], 1.0)  # to look a list up would fail
    assert failure.value.args == (f"Phase '{ph}' does not exist.",)
    assert failure.value.__context__.args == (ph,)
    assert loaded.calls == []


@pytest.mark.parametrize(("ph", "pc"), [("LIQUID", "O2"), (1, 2), ("GAS", -1)])
@pytest.mark.parametrize("name", CONSTITUENT)
def test_unknown_constituent_is_told_in_words(base, loaded, core, name, ph, pc):
    with pytest.raises(core.TessaraPyError) as failure:
        getattr(base, name)(ph, pc, 1.0)
    text = f"Phase constituent '{pc}' of phase '{ph}' does not exist."
    assert failure.value.args == (text,)
    assert failure.value.__context__.args == (pc,)
    assert loaded.calls == []


def test_count_is_no_missing_name(base, loaded):
    for call in (
        lambda: base.set_IA_sc("count", 1.0),
        lambda: base.set_IA_pc("count", 0, 1.0),
        lambda: base.set_IA_pc(0, "count", 1.0),
    ):
        with pytest.raises(TypeError, match="'int' object is not subscriptable"):
            call()


def test_unhashable_reference_is_no_missing_name(base, loaded):
    for call in (
        lambda: base.set_IA_sc([], 1.0),
        lambda: base.set_IA_pc([], 0, 1.0),
        lambda: base.set_IA_pc(0, [], 1.0),
    ):
        with pytest.raises(TypeError, match="unhashable type: 'list'"):
            call()


def test_a_zero_amount_is_a_condition_like_any_other(base, loaded, core):
    base.set_IA_sc("Fe", 0.0)
    assert loaded.calls == [("hxsetc", core.ConditionVariable.IA, -1, 0, 0.0)]


def test_refusal_of_the_library_passes(base, loaded, core):
    for place, call in enumerate(
        (lambda: base.set_IA_sc("Fe", 1.0), lambda: base.set_IA_pc("GAS", "O2", 1.0)), start=1
    ):
        loaded.fail_at = place
        with pytest.raises(core.TessaraError) as failure:
            call()
        assert failure.value is loaded.error


# How the exception is handled.


class Reference:
    """An unknown name that watches while it is formatted."""

    def __init__(self, act):
        self.act = act

    def __format__(self, specification):
        assert specification == ""
        return self.act()


def test_key_error_is_being_handled_while_the_message_is_made(base, loaded, core):
    seen = []
    sc = Reference(lambda: seen.append(sys.exc_info()[1]) or "shown")
    with pytest.raises(core.TessaraPyError, match="'shown' does not exist") as failure:
        base.set_IA_sc(sc, 1.0)
    assert seen == [failure.value.__context__]
    assert sys.exc_info() == (None, None, None)


def test_failure_to_format_has_the_key_error_as_context(base, loaded):
    def act():
        raise LookupError("no words")

    sc = Reference(act)
    with pytest.raises(LookupError, match="no words") as failure:
        base.set_IA_sc(sc, 1.0)
    assert type(failure.value.__context__) is KeyError
    assert failure.value.__context__.args == (sc,)


def test_format_that_gives_no_text_is_the_type_error_of_formatting(base, loaded):
    with pytest.raises(TypeError, match="__format__ must return a str, not int") as failure:
        base.set_IA_sc(Reference(lambda: 5), 1.0)
    assert type(failure.value.__context__) is KeyError


def test_pieces_are_formatted_from_left_to_right(base, library, core, friendly, dat):
    friendly.ThermochemicalSystem.load(dat)
    seen = []

    class Phase(Reference):
        def __hash__(self):
            return hash("GAS")

        def __eq__(self, other):
            return other == "GAS"

    ph = Phase(lambda: seen.append("ph") or "p")
    pc = Reference(lambda: seen.append("pc") or "c")
    with pytest.raises(core.TessaraPyError, match="constituent 'c' of phase 'p'"):
        base.set_IA_pc(ph, pc, 1.0)
    assert seen == ["pc", "ph"]


def test_subclass_of_key_error_from_a_hash_is_caught(base, loaded, core):
    class SpecialError(KeyError):
        pass

    class Odd:
        def __hash__(self):
            raise SpecialError("odd")

        def __format__(self, specification):
            return "odd one"

    with pytest.raises(core.TessaraPyError, match="'odd one' does not exist") as failure:
        base.set_IA_sc(Odd(), 1.0)
    assert type(failure.value.__context__) is SpecialError


def test_error_class_that_is_missing_has_the_key_error_as_context(
    friendly, base, loaded, monkeypatch
):
    monkeypatch.delattr(friendly, "TessaraPyError")
    with pytest.raises(NameError, match="name 'TessaraPyError' is not defined") as failure:
        base.set_IA_sc("Xx", 1.0)
    assert type(failure.value.__context__) is KeyError


@pytest.mark.parametrize(
    ("replacement", "text"),
    [
        (lambda text: text, "exceptions must derive from BaseException"),
        (lambda text: None, "exceptions must derive from BaseException"),
    ],
)
def test_what_is_no_exception_can_not_be_raised(
    friendly, base, loaded, monkeypatch, replacement, text
):
    monkeypatch.setattr(friendly, "TessaraPyError", replacement)
    with pytest.raises(TypeError, match=text):
        base.set_IA_sc("Xx", 1.0)


def test_call_that_gives_an_exception_class_raises_an_instance(friendly, base, loaded, monkeypatch):
    monkeypatch.setattr(friendly, "TessaraPyError", lambda text: LookupError)
    with pytest.raises(LookupError) as failure:
        base.set_IA_sc("Xx", 1.0)
    assert type(failure.value) is LookupError
    assert failure.value.args == ()

    class OddError(Exception):
        def __new__(cls):
            return 5

    monkeypatch.setattr(friendly, "TessaraPyError", lambda text: OddError)
    with pytest.raises(TypeError, match="should have returned an instance of BaseException, not"):
        base.set_IA_sc("Xx", 1.0)


def test_an_outer_handler_is_untouched(base, loaded, core):
    outer = RuntimeError("outer")
    try:
        raise outer
    except RuntimeError:
        with pytest.raises(core.TessaraPyError) as failure:
            base.set_IA_sc("Xx", 1.0)
        handled = sys.exc_info()[1]
    assert handled is outer
    assert type(failure.value.__context__) is KeyError
    assert failure.value.__context__.__context__ is outer


def test_a_generator_keeps_nothing_of_its_caller_s_handler(base, loaded, core):
    def generator():
        with contextlib.suppress(core.TessaraPyError):
            base.set_IA_sc("Xx", 1.0)
        yield sys.exc_info()[1]
        yield sys.exc_info()[1]

    run = generator()
    outer = RuntimeError("outer")
    try:
        raise outer
    except RuntimeError:
        within = next(run)
    assert within is outer
    assert next(run) is None


def test_key_error_can_be_replaced_in_the_globals(friendly, base, loaded, core, monkeypatch):
    monkeypatch.setattr(friendly, "KeyError", OSError, raising=False)
    with pytest.raises(KeyError):
        base.set_IA_sc("Xx", 1.0)
