"""Conditions on the system and on phases, and their removal."""

import types

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


@pytest.fixture
def base(friendly):
    return friendly.EquilibriumCalculationBase


@pytest.mark.parametrize(("name", "member"), SYSTEM.items())
def test_system_setter_places_its_condition(base, library, core, name, member):
    library.instead["hxsetc"] = lambda *arguments: 17
    assert getattr(base, name)(2) == 17
    call = library.calls[0]
    assert library.calls == [("hxsetc", core.ConditionVariable[member], -1, -1, 2.0)]
    assert call[1] is core.ConditionVariable[member]
    assert [type(part) for part in call[2:]] == [int, int, float]


@pytest.mark.parametrize("ph", ["LIQUID", 1])
@pytest.mark.parametrize(("name", "member"), PHASE.items())
def test_phase_setter_places_its_condition(base, loaded, core, name, member, ph):
    loaded.instead["hxsetc"] = lambda *arguments: 17
    assert getattr(base, name)(ph, 2) == 17
    call = loaded.calls[0]
    assert loaded.calls == [("hxsetc", core.ConditionVariable[member], 1, -2, 2.0)]
    assert call[1] is core.ConditionVariable[member]
    assert [type(part) for part in call[2:]] == [int, int, float]


def test_the_two_lists_of_setters_are_these(base):
    setters = {name for name in dir(base) if name.startswith("set_eq_")}
    assert setters == {*SYSTEM, *PHASE}


def test_condition_number_comes_back_as_it_is(base, library):
    number = object()
    library.instead["hxsetc"] = lambda *arguments: number
    assert base.set_eq_T(1.0) is number


@pytest.mark.parametrize("name", SYSTEM)
def test_system_setter_goes_through_cls(base, library, core, name):
    seen = []

    class Mine(base):
        @classmethod
        def _set_eq_condition_sys(cls, *arguments):
            seen.append((cls, *arguments))
            return "mine"

    assert getattr(Mine, name)(2) == "mine"
    assert seen == [(Mine, core.ConditionVariable[SYSTEM[name]], 2.0)]
    assert type(seen[0][2]) is float
    assert library.calls == []


@pytest.mark.parametrize("name", PHASE)
def test_phase_setter_goes_through_cls_with_the_phase_as_given(base, library, core, name):
    seen = []

    class Mine(base):
        @classmethod
        def _set_eq_condition_ph(cls, *arguments):
            seen.append((cls, *arguments))
            return "mine"

    ph = object()
    assert getattr(Mine, name)(ph, 2) == "mine"
    assert seen == [(Mine, core.ConditionVariable[PHASE[name]], ph, 2.0)]
    assert library.calls == []


def test_generic_system_setter_makes_the_same_call(base, library, core):
    base._set_eq_condition_sys(core.ConditionVariable.T, 1000.0)
    base.set_eq_T(1000.0)
    assert library.calls == [("hxsetc", core.ConditionVariable.T, -1, -1, 1000.0)] * 2


@pytest.mark.parametrize("variable", ["T", None, 3, object])
def test_generic_system_setter_hands_any_variable_on(base, library, variable):
    base._set_eq_condition_sys(variable, 1.0)
    assert library.calls[0][1] is variable


@pytest.mark.parametrize("variable", ["A", None, 3, object])
@pytest.mark.parametrize("ph", ["LIQUID", "no phase"])
def test_generic_phase_setter_refuses_what_is_no_condition_variable(base, loaded, variable, ph):
    with pytest.raises(TypeError) as failure:
        base._set_eq_condition_ph(variable, ph, 1.0)
    assert failure.value.args == ("Invalid variable type. ConditionVariable expected.",)
    assert loaded.calls == []


def test_subclass_of_the_enumeration_does_not_pass(friendly, base, loaded, monkeypatch):
    class ConditionVariable:
        pass

    class Derived(ConditionVariable):
        pass

    monkeypatch.setattr(friendly, "ConditionVariable", ConditionVariable)
    with pytest.raises(TypeError, match="ConditionVariable expected"):
        base._set_eq_condition_ph(Derived(), "LIQUID", 1.0)
    variable = ConditionVariable()
    base._set_eq_condition_ph(variable, "LIQUID", 1.0)
    assert loaded.calls == [("hxsetc", variable, 1, -2, 1.0)]


@pytest.mark.parametrize("ph", ["SLAG", 3, -1])
def test_unknown_phase_is_a_key_error(base, loaded, ph):
    with pytest.raises(KeyError) as failure:
        base.set_eq_A_ph(ph, 1.0)
    assert failure.value.args == (ph,)
    assert loaded.calls == []


@pytest.mark.parametrize("name", ["set_eq_T", "set_eq_A_ph"])
def test_refusal_of_the_library_passes(base, loaded, core, name):
    loaded.fail_at = 1
    with pytest.raises(core.TessaraError) as failure:
        getattr(base, name)(*(("GAS",) if name.endswith("_ph") else ()), 1.0)
    assert failure.value is loaded.error


def test_member_is_fetched_at_the_time_of_the_call(friendly, base, library, monkeypatch):
    class ConditionVariable:
        T = "another T"

    monkeypatch.setattr(friendly, "ConditionVariable", ConditionVariable)
    base.set_eq_T(1.0)
    assert library.calls[0][1] == "another T"
    with pytest.raises(AttributeError, match="VT"):
        base.set_eq_VT(1.0)
    monkeypatch.delattr(friendly, "ConditionVariable")
    with pytest.raises(NameError, match="name 'ConditionVariable' is not defined"):
        base.set_eq_T(1.0)


def test_member_of_a_class_with_a_metaclass_of_its_own(friendly, base, library, monkeypatch):
    class Fallback(type):
        def __getattr__(cls, name):
            if name == "P":
                raise AttributeError("no P here")
            return f"made up {name}"

    class Everything(type):
        def __getattribute__(cls, name):
            return f"always {name}"

    class Some(metaclass=Fallback):
        T = "found"

        @property
        def H(self):
            raise NotImplementedError

    class All(metaclass=Everything):
        T = "not asked for"

    monkeypatch.setattr(friendly, "ConditionVariable", Some)
    base.set_eq_T(1.0)
    base.set_eq_VT(1.0)
    base.set_eq_H(1.0)
    with pytest.raises(AttributeError, match="no P here"):
        base.set_eq_P(1.0)
    monkeypatch.setattr(friendly, "ConditionVariable", All)
    base.set_eq_T(1.0)
    variables = [call[1] for call in library.calls]
    assert variables == ["found", "made up VT", Some.H, "always T"]


def test_class_attribute_that_fails(friendly, base, library, monkeypatch):
    class Failing:
        def __get__(self, instance, owner):
            raise KeyError("in the attribute")

    class Variables(metaclass=type("Meta", (type,), {"__getattr__": lambda cls, name: name})):
        T = Failing()

    monkeypatch.setattr(friendly, "ConditionVariable", Variables)
    with pytest.raises(KeyError, match="in the attribute"):
        base.set_eq_T(1.0)
    assert library.calls == []


def test_operation_of_a_module_that_makes_it_up(friendly, base, monkeypatch):
    made = types.ModuleType("basic")
    made.__getattr__ = lambda name: lambda *arguments: (name, *arguments)
    monkeypatch.setattr(friendly, "basic", made)
    assert base.remove_eq_conditions_all() is None
    assert base.set_eq_T(1.0) == ("hxsetc", friendly.ConditionVariable.T, -1, -1, 1.0)

    class Module(types.ModuleType):
        def __getattribute__(self, name):
            return lambda *arguments: ("subclass", name)

    monkeypatch.setattr(friendly, "basic", Module("basic"))
    assert base.set_eq_T(1.0) == ("subclass", "hxsetc")


def test_generic_setter_is_fetched_before_the_member(friendly, base, monkeypatch):
    monkeypatch.delattr(friendly, "ConditionVariable")
    monkeypatch.delattr(base, "_set_eq_condition_sys")
    with pytest.raises(AttributeError, match="_set_eq_condition_sys"):
        base.set_eq_T(1.0)


# Removal.


@pytest.mark.parametrize(("given", "number"), [(1, 1), (2.7, 2), (-2, -2), (0, 0), (True, 1)])
def test_remove_one(base, library, given, number):
    library.instead["hxremc"] = lambda *arguments: "dropped"
    assert base.remove_eq_condition(given) is None
    assert library.calls == [("hxremc", number)]
    assert type(library.calls[0][1]) is int


@pytest.mark.parametrize(
    ("name", "number"), [("remove_eq_conditions_IA", 0), ("remove_eq_conditions_all", -2)]
)
def test_remove_many(base, library, name, number):
    library.instead["hxremc"] = lambda *arguments: "dropped"
    assert getattr(base, name)() is None
    assert library.calls == [("hxremc", number)]
    assert type(library.calls[0][1]) is int


@pytest.mark.parametrize(
    ("name", "arguments"),
    [
        ("remove_eq_condition", (1,)),
        ("remove_eq_conditions_IA", ()),
        ("remove_eq_conditions_all", ()),
    ],
)
def test_refusal_of_a_removal_passes(base, library, core, name, arguments):
    library.fail_at = 1
    with pytest.raises(core.TessaraError) as failure:
        getattr(base, name)(*arguments)
    assert failure.value is library.error
