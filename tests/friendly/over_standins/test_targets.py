"""Targets of searches, and their old names."""

import warnings

import pytest

PHASE = {"set_target_formation_of_ph": 0.0, "set_target_precipitation_from_ph": -1.0}
CONSTITUENT = {"set_target_AC_pc": "AT", "set_target_XT_pc": "XT"}
COMPONENT = "set_target_XT_sc_in_ph"
ARGUMENTS = {
    **dict.fromkeys(PHASE, ("LIQUID",)),
    **dict.fromkeys(CONSTITUENT, ("LIQUID", "C", 0.5)),
    COMPONENT: ("C", "LIQUID", 0.5),
}
ALIASES = {name.replace("set_target_", "set_tg_"): name for name in ARGUMENTS}


@pytest.fixture
def targets(friendly):
    return friendly.EquilibriumCalculation


@pytest.mark.parametrize("ph", ["LIQUID", 1])
@pytest.mark.parametrize(("name", "amount"), PHASE.items())
def test_target_on_a_phase(targets, loaded, core, name, amount, ph):
    assert getattr(targets, name)(ph) is None
    assert loaded.calls == [("hxsetc", core.ConditionVariable.A, 1, -1, amount)]
    assert loaded.calls[0][1] is core.ConditionVariable.A
    assert [type(part) for part in loaded.calls[0][2:]] == [int, int, float]


@pytest.mark.parametrize(("ph", "pc"), [("LIQUID", "C"), (1, 1), ("LIQUID", 1), (1, "C")])
@pytest.mark.parametrize(("name", "member"), CONSTITUENT.items())
def test_target_on_a_constituent(targets, loaded, core, name, member, ph, pc):
    assert getattr(targets, name)(ph, pc, 2) is None
    assert loaded.calls == [("hxsetc", core.ConditionVariable[member], 1, 1, 2.0)]
    assert loaded.calls[0][1] is core.ConditionVariable[member]
    assert [type(part) for part in loaded.calls[0][2:]] == [int, int, float]


@pytest.mark.parametrize(("sc", "ph"), [("C", "LIQUID"), (2, 1)])
def test_target_on_a_component_names_the_phase_first_to_the_library(targets, loaded, core, sc, ph):
    assert targets.set_target_XT_sc_in_ph(sc, ph, 2) is None
    assert loaded.calls == [("hxsetc", core.ConditionVariable.XT, 1, 2, 2.0)]
    assert [type(part) for part in loaded.calls[0][2:]] == [int, int, float]


@pytest.mark.parametrize("name", ARGUMENTS)
def test_number_of_the_condition_is_not_handed_out(targets, loaded, name):
    loaded.instead["hxsetc"] = lambda *arguments: 17
    assert getattr(targets, name)(*ARGUMENTS[name]) is None


@pytest.mark.parametrize("name", ARGUMENTS)
def test_second_target_is_a_second_condition(targets, loaded, name):
    for _ in range(2):
        getattr(targets, name)(*ARGUMENTS[name])
    assert [call[0] for call in loaded.calls] == ["hxsetc", "hxsetc"]
    assert loaded.calls[0] == loaded.calls[1]


@pytest.mark.parametrize("name", ARGUMENTS)
def test_refusal_of_the_library_passes(targets, loaded, core, name):
    loaded.fail_at = 1
    with pytest.raises(core.TessaraError) as failure:
        getattr(targets, name)(*ARGUMENTS[name])
    assert failure.value is loaded.error


@pytest.mark.parametrize("name", [*CONSTITUENT, COMPONENT, "set_tg_AC_pc", "set_tg_XT_sc_in_ph"])
def test_value_that_is_no_number_is_refused_on_entry(targets, loaded, name):
    with warnings.catch_warnings():
        warnings.simplefilter("error")
        with pytest.raises(TypeError, match="must be real number"):
            getattr(targets, name)("no", "no", "0.5")
    assert loaded.calls == []


@pytest.mark.parametrize("name", ["set_target_formation_of_ph", "set_tg_AC_pc"])
def test_targets_belong_to_equilibrium_calculations(friendly, name):
    assert not hasattr(friendly.PhaseMapCalculation, name)
    assert name in vars(friendly.EquilibriumCalculation)


# What doesn't exist.


def refused(core, call):
    with pytest.raises(core.TessaraPyError) as failure:
        call()
    assert type(failure.value.__context__) is KeyError
    assert failure.value.__cause__ is None
    return failure.value.args[0]


@pytest.mark.parametrize("ph", ["SLAG", 3, -1])
@pytest.mark.parametrize("name", PHASE)
def test_unknown_phase(targets, loaded, core, name, ph):
    text = refused(core, lambda: getattr(targets, name)(ph))
    assert text == f"Phase '{ph}' does not exist."
    assert loaded.calls == []


@pytest.mark.parametrize("ph", ["SLAG", 3])
@pytest.mark.parametrize("name", CONSTITUENT)
def test_unknown_phase_of_a_constituent(targets, loaded, core, name, ph):
    # To look a list up would fail.
    text = refused(core, lambda: getattr(targets, name)(ph, [], 1.0))
    assert text == f"Phase '{ph}' does not exist."
    assert loaded.calls == []


@pytest.mark.parametrize("pc", ["O2", 2, -1])
@pytest.mark.parametrize("name", CONSTITUENT)
def test_unknown_constituent(targets, loaded, core, name, pc):
    text = refused(core, lambda: getattr(targets, name)("LIQUID", pc, 1.0))
    assert text == f"Phase constituent '{pc}' of phase 'LIQUID' does not exist."
    assert loaded.calls == []


@pytest.mark.parametrize(("sc", "ph"), [("Xx", "SLAG"), (3, "GAS")])
def test_unknown_component_is_told_before_the_phase(targets, loaded, core, sc, ph):
    text = refused(core, lambda: targets.set_target_XT_sc_in_ph(sc, ph, 1.0))
    assert text == f"System component '{sc}' does not exist."
    assert loaded.calls == []


def test_unknown_phase_of_a_component(targets, loaded, core):
    text = refused(core, lambda: targets.set_target_XT_sc_in_ph("C", "SLAG", 1.0))
    assert text == "Phase 'SLAG' does not exist."
    assert loaded.calls == []


@pytest.mark.parametrize("name", ARGUMENTS)
def test_unhashable_reference_is_no_missing_name(targets, loaded, name):
    arguments = [[] if isinstance(value, str) else value for value in ARGUMENTS[name]]
    with pytest.raises(TypeError, match="unhashable type: 'list'"):
        getattr(targets, name)(*arguments)


# The old names.


@pytest.mark.parametrize(("alias", "name"), ALIASES.items())
def test_old_name_warns_and_does_the_same(targets, loaded, alias, name):
    getattr(targets, name)(*ARGUMENTS[name])
    with pytest.warns(DeprecationWarning, match="is renamed to") as caught:
        assert getattr(targets, alias)(*ARGUMENTS[name]) is None
    assert [warning.category for warning in caught] == [DeprecationWarning]
    assert str(caught[0].message) == (
        f"This function is renamed to `{name}`. `{alias}` will be removed in a future version."
    )
    assert loaded.calls[0] == loaded.calls[1]


@pytest.mark.parametrize(("alias", "name"), ALIASES.items())
def test_old_name_calls_warn_with_two_positional_arguments(
    friendly, targets, loaded, monkeypatch, alias, name
):
    class Warnings:
        @staticmethod
        def warn(*arguments, **keywords):
            loaded.calls.append(("warn", arguments, keywords))

    monkeypatch.setattr(friendly, "warnings", Warnings)
    getattr(targets, alias)(*ARGUMENTS[name])
    (_, (text, category), keywords), (operation, *_) = loaded.calls
    assert type(text) is str
    assert category is DeprecationWarning
    assert keywords == {}
    assert operation == "hxsetc"


@pytest.mark.parametrize(("alias", "name"), ALIASES.items())
def test_old_name_goes_on_through_cls(targets, library, alias, name):
    seen = []

    class Mine(targets):
        pass

    def replaced(cls, *arguments):
        seen.append((cls, *arguments))
        return "not handed on"

    setattr(Mine, name, classmethod(replaced))
    places = [object() for _ in ARGUMENTS[name] if not isinstance(_, float)]
    value = [2] if len(places) < len(ARGUMENTS[name]) else []
    with pytest.warns(DeprecationWarning, match="is renamed to"):
        assert getattr(Mine, alias)(*places, *value) is None
    assert seen == [(Mine, *places, *[2.0 for _ in value])]
    assert [type(number) for number in seen[0][1 + len(places) :]] == [float for _ in value]


@pytest.mark.parametrize(("alias", "name"), ALIASES.items())
def test_warning_comes_before_the_failure(targets, loaded, core, alias, name):
    arguments = ["no" if isinstance(value, str) else value for value in ARGUMENTS[name]]
    with (
        pytest.warns(DeprecationWarning, match="is renamed to"),
        pytest.raises(core.TessaraPyError),
    ):
        getattr(targets, alias)(*arguments)


@pytest.mark.parametrize(("alias", "name"), ALIASES.items())
def test_warning_that_is_an_exception_ends_the_call(targets, loaded, alias, name):
    with warnings.catch_warnings():
        warnings.simplefilter("error")
        with pytest.raises(DeprecationWarning, match="is renamed to"):
            getattr(targets, alias)(*ARGUMENTS[name])
    assert loaded.calls == []


def test_warning_points_at_the_caller(targets, loaded):
    with pytest.warns(DeprecationWarning, match="is renamed to") as caught:
        targets.set_tg_formation_of_ph("GAS")
    assert caught[0].filename == __file__


@pytest.mark.parametrize("alias", ALIASES)
def test_documentation_of_an_old_name_opens_with_a_warning(targets, alias):
    signature, blank, text = getattr(targets, alias).__doc__.split("\n", 2)
    assert signature.startswith(f"EquilibriumCalculation.{alias}(cls, ")
    assert blank == ""
    assert text.startswith("FutureWarning")
    assert ALIASES[alias] in text
