"""Conditions of calculations with streams, and the amounts that streams hold."""

from types import SimpleNamespace

import pytest

SYSTEM = {
    "set_eq_P": "P",
    "set_eq_VT": "VT",
    "set_eq_T": "T",
    "set_eq_Cp": "CP",
    "set_eq_H": "H",
    "set_eq_S": "S",
    "set_eq_G": "G",
    "set_eq_V": "V",
}
PHASE = {
    "set_eq_A_ph": "A",
    "set_eq_Cp_ph": "CP",
    "set_eq_H_ph": "H",
    "set_eq_S_ph": "S",
    "set_eq_G_ph": "G",
    "set_eq_V_ph": "V",
}


def contents(state):
    return [(A_pc.ph, A_pc.pc, A_pc.A) for A_pc in state.A_pcs]


# The setters of the base.


@pytest.mark.parametrize(("name", "member"), SYSTEM.items())
def test_system_setter_reaches_the_operation_of_streams(streams, library, core, name, member):
    answer = object()
    library.instead["hxstec"] = lambda *arguments: answer
    assert getattr(streams, name)(2) is answer
    assert library.calls == [("hxstec", core.ConditionVariable[member], -1, 2.0)]
    call = library.calls[0]
    assert call[1] is core.ConditionVariable[member]
    assert [type(part) for part in call[2:]] == [int, float]


@pytest.mark.parametrize("ph", ["LIQUID", 1])
@pytest.mark.parametrize(("name", "member"), PHASE.items())
def test_phase_setter_reaches_the_operation_of_streams(streams, loaded, core, name, member, ph):
    answer = object()
    loaded.instead["hxstec"] = lambda *arguments: answer
    assert getattr(streams, name)(ph, 2) is answer
    assert loaded.calls == [("hxstec", core.ConditionVariable[member], 1, 2.0)]
    call = loaded.calls[0]
    assert call[1] is core.ConditionVariable[member]
    assert [type(part) for part in call[2:]] == [int, float]


def test_condition_of_temperature_goes_to_streams_alone(streams, library, core):
    streams.set_eq_T(1000.0)
    assert library.calls == [("hxstec", core.ConditionVariable.T, -1, 1000.0)]
    assert library.count("hxsetc") == 0


def test_generic_setters_of_the_base_stay_as_they_are(friendly, loaded, core):
    variable = core.ConditionVariable.A
    friendly.EquilibriumCalculationBase._set_eq_condition_ph(variable, 1, 2.0)
    friendly.EquilibriumCalculation.set_eq_T(2.0)
    assert [call[0] for call in loaded.calls] == ["hxsetc", "hxsetc"]


@pytest.mark.parametrize("name", [*SYSTEM, *PHASE])
def test_setter_goes_through_cls(streams, library, name):
    class Mine(streams):
        _set_eq_condition_sys = classmethod(lambda cls, *arguments: (cls, arguments[1:]))
        _set_eq_condition_ph = classmethod(lambda cls, *arguments: (cls, arguments[1:]))

    ph = ("ph",) if name in PHASE else ()
    assert getattr(Mine, name)(*ph, 2) == (Mine, (*ph, 2.0))
    assert library.calls == []


@pytest.mark.parametrize("variable", ["T", None, 3, object])
def test_generic_system_setter_refuses_what_the_base_would_pass_on(streams, library, variable):
    with pytest.raises(TypeError) as failure:
        streams._set_eq_condition_sys(variable, 1.0)
    assert failure.value.args == ("Invalid variable type. ConditionVariable expected.",)
    assert library.calls == []


@pytest.mark.parametrize("variable", ["A", None, 3, object])
@pytest.mark.parametrize("ph", ["LIQUID", "no phase", []])
def test_generic_phase_setter_refuses_the_variable_first(streams, loaded, variable, ph):
    with pytest.raises(TypeError) as failure:
        streams._set_eq_condition_ph(variable, ph, 1.0)
    assert failure.value.args == ("Invalid variable type. ConditionVariable expected.",)
    assert loaded.calls == []


@pytest.mark.parametrize(
    "call",
    [
        lambda cls, variable: cls._set_eq_condition_sys(variable, 1.0),
        lambda cls, variable: cls._set_eq_condition_ph(variable, "LIQUID", 1.0),
    ],
)
def test_exact_type_is_asked_for(friendly, streams, loaded, monkeypatch, call):
    class ConditionVariable:
        pass

    class Derived(ConditionVariable):
        pass

    monkeypatch.setattr(friendly, "ConditionVariable", ConditionVariable)
    with pytest.raises(TypeError, match="ConditionVariable expected"):
        call(streams, Derived())
    assert loaded.calls == []
    variable = ConditionVariable()
    call(streams, variable)
    assert loaded.calls[0][:2] == ("hxstec", variable)


@pytest.mark.parametrize("ph", ["SLAG", 3, -1])
def test_unknown_phase_of_a_condition_is_a_key_error(streams, loaded, ph):
    with pytest.raises(KeyError) as failure:
        streams.set_eq_A_ph(ph, 1.0)
    assert failure.value.args == (ph,)
    assert loaded.calls == []


@pytest.mark.parametrize("name", ["set_eq_T", "set_eq_A_ph"])
def test_refusal_of_a_condition_passes(streams, loaded, core, name):
    loaded.fail_at = 1
    with pytest.raises(core.TessaraError) as failure:
        getattr(streams, name)(*(("GAS",) if name.endswith("_ph") else ()), 1.0)
    assert failure.value is loaded.error


def test_conditions_are_removed_as_in_the_base(streams, library):
    streams.remove_eq_condition(3)
    streams.remove_eq_conditions_IA()
    streams.remove_eq_conditions_all()
    assert library.calls == [("hxremc", 3), ("hxremc", 0), ("hxremc", -2)]


# Amounts.


@pytest.mark.parametrize("ph", ["LIQUID", 1, 1.0, True])
@pytest.mark.parametrize("pc", ["C", 1, 1.0, True])
def test_amount_goes_to_the_library_and_then_to_the_state(ore, streams, loaded, ph, pc):
    loaded.instead["hxstca"] = lambda *arguments: "dropped"
    assert streams.set_IA_pc("ore", ph, pc, 2) is None
    assert loaded.calls == [("hxstca", "ore", 1, 1, 2.0)]
    assert [type(part) for part in loaded.calls[0][1:]] == [str, int, int, float]
    assert contents(ore) == [("LIQUID", "C", 2.0)]
    A_pc = ore.A_pcs[0]
    assert [type(part) for part in (A_pc.ph, A_pc.pc, A_pc.A)] == [str, str, float]


def test_amount_state_is_made_of_names_by_position(friendly, ore, streams, monkeypatch):
    made = []

    def make(*arguments, **keywords):
        made.append((arguments, keywords))
        return "state"

    monkeypatch.setattr(friendly, "PhaseConstituentIncomingAmountState", make)
    streams.set_IA_pc("ore", 1, 0, 2)
    assert made == [(("LIQUID", "Fe", 2.0), {})]
    assert type(made[0][0][2]) is float
    assert ore.A_pcs == ["state"]


def test_name_of_the_stream_goes_on_as_it_is(streams, loaded):
    name = ("any", "object")
    streams.streams[name] = SimpleNamespace(A_pcs=[])
    streams.set_IA_pc(name, "GAS", "CO", 1.0)
    assert loaded.calls[0][1] is name
    assert contents(streams.streams[name]) == [("GAS", "CO", 1.0)]


def test_constituents_keep_the_order_in_which_they_came(ore, streams):
    for pc in ("O2", "CO", "CO2", "CO", "O2"):
        streams.set_IA_pc("ore", "GAS", pc, 1.0)
    assert [A_pc.pc for A_pc in ore.A_pcs] == ["O2", "CO", "CO2"]


@pytest.mark.parametrize(("first", "second"), [(("GAS", "CO"), (0, 0)), ((0, "CO"), ("GAS", 0))])
def test_second_amount_replaces_the_first(ore, streams, loaded, first, second):
    streams.set_IA_pc("ore", *first, 1.0)
    A_pc = ore.A_pcs[0]
    streams.set_IA_pc("ore", *second, 2)
    assert loaded.calls == [("hxstca", "ore", 0, 0, 1.0), ("hxstca", "ore", 0, 0, 2.0)]
    assert ore.A_pcs == [A_pc]
    assert A_pc.A == 2.0
    assert type(A_pc._A) is float


def test_constituents_of_one_name_in_two_phases_are_two(ore, streams, loaded, dat, friendly):
    loaded.phs[0].pcs[0].name = "Fe"
    friendly.ThermochemicalSystem.load(dat)
    streams.set_IA_pc("ore", "GAS", "Fe", 1.0)
    streams.set_IA_pc("ore", "LIQUID", "Fe", 2.0)
    assert contents(ore) == [("GAS", "Fe", 1.0), ("LIQUID", "Fe", 2.0)]


def test_amounts_stay_in_their_stream(ore, streams):
    streams.create_st("flux", 300.0, 1.0)
    streams.set_IA_pc("ore", "GAS", "CO", 1.0)
    streams.set_IA_pc("flux", "GAS", "CO", 2.0)
    assert contents(ore) == [("GAS", "CO", 1.0)]
    assert contents(streams.streams["flux"]) == [("GAS", "CO", 2.0)]


class Amount:
    """An amount whose fields are asked for and assigned in a record."""

    def __init__(self, record, label, ph, pc):
        self.__dict__["all"] = (record, label, ph, pc)

    def __getattr__(self, name):
        record, label, ph, pc = self.all
        record.append(f"{label}.{name}")
        return {"ph": ph, "pc": pc}[name]

    def __setattr__(self, name, value):
        record, label, *_ = self.all
        record.append((f"{label}.{name}", value))


def test_walk_over_the_amounts_ends_at_the_first_that_fits(ore, streams, loaded):
    record = loaded.calls
    ore.A_pcs[:] = [
        Amount(record, "other phase", "LIQUID", "CO"),
        Amount(record, "other constituent", "GAS", "CO2"),
        Amount(record, "this", "GAS", "CO"),
        Amount(record, "this again", "GAS", "CO"),
    ]
    streams.set_IA_pc("ore", 0, 0, 3)
    assert record == [
        ("hxstca", "ore", 0, 0, 3.0),
        "other phase.ph",
        "other constituent.ph",
        "other constituent.pc",
        "this.ph",
        "this.pc",
        ("this._A", 3.0),
    ]
    assert len(ore.A_pcs) == 4


def test_dict_is_asked_again_for_the_appending(streams, loaded):
    """A dict that gives another state at each look-up."""
    given = [SimpleNamespace(A_pcs=[]), SimpleNamespace(A_pcs=[])]
    states = list(given)

    class Mine(streams):
        pass

    Mine.streams = type("Turning", (dict,), {"__missing__": lambda self, name: states.pop(0)})()
    Mine.set_IA_pc("ore", "GAS", "CO", 1.0)
    assert states == []
    assert given[0].A_pcs == []
    assert contents(given[1]) == [("GAS", "CO", 1.0)]


def test_appending_goes_through_the_attribute(ore, streams, core, loaded):
    added = []
    state = SimpleNamespace(
        A_pcs=type("Own", (tuple,), {"append": lambda self, a: added.append(a)})()
    )
    streams.streams["ore"] = state
    streams.set_IA_pc("ore", "GAS", "CO", 1.0)
    assert [(A_pc.ph, A_pc.pc, A_pc.A) for A_pc in added] == [("GAS", "CO", 1.0)]


def test_append_is_fetched_before_the_amount_is_made(friendly, streams, loaded, monkeypatch):
    monkeypatch.delattr(friendly, "PhaseConstituentIncomingAmountState")
    streams.streams["ore"] = SimpleNamespace(A_pcs=())
    with pytest.raises(AttributeError, match="append"):
        streams.set_IA_pc("ore", "GAS", "CO", 1.0)
    streams.streams["ore"] = SimpleNamespace(A_pcs=[])
    with pytest.raises(NameError, match="PhaseConstituentIncomingAmountState"):
        streams.set_IA_pc("ore", "GAS", "CO", 1.0)
    assert loaded.count("hxstca") == 2


# Pure phases.


@pytest.mark.parametrize("pc", ["-", ""])
def test_dash_and_nothing_stand_for_the_constituent_named_like_the_phase(ore, streams, loaded, pc):
    streams.set_IA_pc("ore", "Fe2O3", pc, 1.0)
    assert loaded.calls == [("hxstca", "ore", 2, 0, 1.0)]
    assert contents(ore) == [("Fe2O3", "Fe2O3", 1.0)]


@pytest.mark.parametrize("pc", ["-", ""])
def test_phase_without_such_a_constituent(ore, streams, loaded, pc):
    with pytest.raises(KeyError) as failure:
        streams.set_IA_pc("ore", "GAS", pc, 1.0)
    assert failure.value.args == ("GAS",)
    assert loaded.calls == []


@pytest.mark.parametrize("pc", ["-", ""])
def test_index_of_the_phase_is_taken_as_that_of_the_constituent(ore, streams, loaded, pc):
    with pytest.raises(KeyError) as failure:
        streams.set_IA_pc("ore", 2, pc, 1.0)  # the constituent 2 of a phase of one
    assert failure.value.args == (2,)
    streams.set_IA_pc("ore", 0, pc, 1.0)
    assert loaded.calls == [("hxstca", "ore", 0, 0, 1.0)]
    assert contents(ore) == [("GAS", "CO", 1.0)]


def test_phase_three_without_a_constituent_means_its_constituent_three(
    ore, streams, loaded, dat, friendly
):
    """Index 3 and the empty string: the constituent 3 of the phase 3."""
    constituent = loaded.phs[0].pcs[0]
    pcs = [type(constituent)(f"pc{i}", constituent.stoich, constituent.mm) for i in range(4)]
    loaded.phs.append(type(loaded.phs[0])("SLAG", loaded.phs[0].model, pcs))
    friendly.ThermochemicalSystem.load(dat)
    streams.set_IA_pc("ore", 3, "", 1.0)
    assert loaded.of("hxstca") == [("hxstca", "ore", 3, 3, 1.0)]
    assert contents(ore) == [("SLAG", "pc3", 1.0)]


def test_zero_is_an_index_and_stands_for_nothing_else(ore, streams, loaded):
    streams.set_IA_pc("ore", "LIQUID", 0, 1.0)
    assert contents(ore) == [("LIQUID", "Fe", 1.0)]


def test_constituent_is_compared_by_equality_in_order(ore, streams, loaded):
    asked = []

    class Key:
        def __init__(self, name, equal):
            self.name, self.equal = name, equal

        def __hash__(self):
            return hash(self.name)

        def __eq__(self, other):
            asked.append(other)
            return other == self.equal

    streams.set_IA_pc("ore", "Fe2O3", Key("no such thing", ""), 1.0)
    assert asked == ["-", ""]
    asked.clear()
    streams.set_IA_pc("ore", "Fe2O3", Key("no such thing", "-"), 1.0)
    assert asked == ["-"]
    asked.clear()
    streams.set_IA_pc("ore", "GAS", Key("CO2", "CO2"), 1.0)
    assert asked == ["-", "", "CO2", "CO2"]
    assert loaded.calls[-1] == ("hxstca", "ore", 0, 1, 1.0)


def test_comparison_of_the_constituent_that_fails(ore, streams, loaded):
    class Odd:
        def __eq__(self, other):
            raise LookupError("odd")

    with pytest.raises(LookupError, match="odd"):
        streams.set_IA_pc("ore", "GAS", Odd(), 1.0)
    assert loaded.calls == []


# Failures.


@pytest.mark.parametrize(
    ("ph", "pc", "key"),
    [("SLAG", "CO", "SLAG"), (3, 0, 3), (-1, 0, -1), ("GAS", "CH4", "CH4"), (1, 2, 2)],
)
def test_unknown_phase_or_constituent_is_a_key_error(ore, streams, loaded, ph, pc, key):
    with pytest.raises(KeyError) as failure:
        streams.set_IA_pc("ore", ph, pc, 1.0)
    assert failure.value.args == (key,)
    assert loaded.calls == []
    assert ore.A_pcs == []


def test_stream_that_the_dict_does_not_hold_fails_after_the_library(streams, loaded):
    with pytest.raises(KeyError) as failure:
        streams.set_IA_pc("ore", "GAS", "CO", 1.0)
    assert failure.value.args == ("ore",)
    assert loaded.calls == [("hxstca", "ore", 0, 0, 1.0)]


def test_refusal_of_an_amount_leaves_the_state(ore, streams, loaded, core):
    loaded.fail_at = 1
    with pytest.raises(core.TessaraError) as failure:
        streams.set_IA_pc("ore", "GAS", "CO", 1.0)
    assert failure.value is loaded.error
    assert ore.A_pcs == []


def test_amount_that_is_no_number_is_refused_first(streams, library):
    with pytest.raises(TypeError, match="must be real number, not str"):
        streams.set_IA_pc("ore", "no phase", "no constituent", "1")
    assert library.calls == []


def test_amount_whose_private_field_cannot_be_set(ore, streams, loaded):
    class Fixed:
        ph, pc = "GAS", "CO"
        __slots__ = ()

    ore.A_pcs.append(Fixed())
    with pytest.raises(AttributeError, match="_A"):
        streams.set_IA_pc("ore", "GAS", "CO", 1.0)
    assert loaded.count("hxstca") == 1
    assert len(ore.A_pcs) == 1


# Calls back.


def test_names_are_looked_up_after_the_library_was_called(ore, streams, loaded, friendly, dat):
    def before(call):
        if call[0] == "hxstca":
            loaded.phs[0].name, loaded.phs[0].pcs[0].name = "AIR", "X"
            friendly.ThermochemicalSystem.load(dat)

    loaded.before = before
    streams.set_IA_pc("ore", 0, 0, 1.0)
    assert contents(ore) == [("AIR", "X", 1.0)]
    loaded.phs[0].name = "GAS"
    friendly.ThermochemicalSystem.load(dat)
    with pytest.raises(KeyError, match="GAS"):
        streams.set_IA_pc("ore", "GAS", 0, 1.0)


def test_stream_may_be_replaced_from_within(ore, streams, loaded):
    loaded.before = lambda call: call[0] == "hxstca" and streams.create_st("ore", 1.0, 1.0)
    streams.set_IA_pc("ore", "GAS", "CO", 1.0)
    assert ore.A_pcs == []
    assert contents(streams.streams["ore"]) == [("GAS", "CO", 1.0)]


def test_amounts_may_vanish_while_they_are_compared(ore, streams):
    class Name(str):
        __slots__ = ()

        def __eq__(self, other):
            ore.A_pcs.clear()
            return True

        __hash__ = str.__hash__

    first = SimpleNamespace(ph=Name("x"), pc=Name("y"), _A=0.0)
    ore.A_pcs[:] = [first]
    streams.set_IA_pc("ore", "GAS", "CO", 1.0)
    assert first._A == 1.0
    assert ore.A_pcs == []


def test_comparison_of_names_that_fails(ore, streams, loaded):
    class Odd(str):
        __slots__ = ()

        def __eq__(self, other):
            raise LookupError("odd")

        __hash__ = str.__hash__

    ore.A_pcs.append(SimpleNamespace(ph=Odd("GAS"), pc="CO"))
    with pytest.raises(LookupError, match="odd"):
        streams.set_IA_pc("ore", "GAS", "CO", 1.0)
    assert len(ore.A_pcs) == 1
