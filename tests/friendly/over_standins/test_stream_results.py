"""What comes of calculations with streams: properties of streams, result objects, reactions."""

from types import SimpleNamespace

import pytest

GETTERS = {
    "get_st_Cp": "CP",
    "get_st_H": "H",
    "get_st_S": "S",
    "get_st_G": "G",
    "get_st_V": "V",
}
MEMBERS = ["CP", "H", "S", "G", "V"]
FIELDS = {"Cp": "CpM", "H": "HM", "S": "SM", "G": "GM", "V": "VM"}
CHANGES = {"dCp": "CP", "dH": "H", "dS": "S", "dG": "G", "dV": "V"}


# Properties of streams.


@pytest.mark.parametrize(("name", "member"), GETTERS.items())
def test_getter_asks_the_library_for_one_property(streams, library, core, name, member):
    answer = object()
    library.instead["hxstxp"] = lambda *arguments: answer
    assert getattr(streams, name)("ore") is answer
    assert library.calls == [("hxstxp", "ore", core.StreamVariable[member])]
    assert library.calls[0][2] is core.StreamVariable[member]


@pytest.mark.parametrize("name", GETTERS)
def test_refusal_of_a_property_passes(streams, library, core, name):
    library.fail_at = 1
    with pytest.raises(core.TessaraError) as failure:
        getattr(streams, name)("ore")
    assert failure.value is library.error


@pytest.mark.parametrize("name", GETTERS)
@pytest.mark.parametrize("stream", [3, b"ore", type("Text", (str,), {})("ore")])
def test_name_that_is_no_str_is_refused(streams, library, name, stream):
    with pytest.raises(TypeError, match=r"Argument 'name' has incorrect type \(expected str, got"):
        getattr(streams, name)(stream)
    assert library.calls == []


def test_none_passes_for_a_name(streams, library, core):
    streams.get_st_H(name=None)
    assert library.calls == [("hxstxp", None, core.StreamVariable.H)]


def test_member_is_fetched_behind_the_operation(friendly, streams, monkeypatch):
    monkeypatch.delattr(friendly, "StreamVariable")
    with pytest.raises(NameError, match="StreamVariable"):
        streams.get_st_H("ore")
    monkeypatch.delattr(friendly.basic, "hxstxp")
    with pytest.raises(AttributeError, match="hxstxp"):
        streams.get_st_H("ore")


# get_result_object


class Recorded:
    """An object whose attributes, as they are read and assigned, stand in a record."""

    def __init__(self, record, label, **fields):
        vars(self)["all"] = (record, label, fields)

    def __getattr__(self, name):
        record, label, fields = self.all
        record.append(f"{label}.{name}")
        try:
            return fields[name]
        except KeyError:
            raise AttributeError(name) from None

    def __setattr__(self, name, value):
        record, label, fields = self.all
        record.append((f"{label}.{name} =", value))
        fields[name] = value


class Number(float):
    """Tells which product was formed."""

    def __mul__(self, other):
        return ("product", float(self), float(other))


PER_AMOUNT = {
    "CpM": Number(1.5),
    "HM": Number(2.5),
    "SM": Number(3.5),
    "GM": Number(4.5),
    "VM": Number(5.5),
}


@pytest.fixture
def base(friendly, library, monkeypatch):
    """The record that the base makes; the making stands among the library's calls."""
    record = library.calls

    class Streams(dict):
        def update(self, *arguments, **keywords):
            record.append(("update", *arguments, *keywords.items()))
            super().update(*arguments, **keywords)

    result = Recorded(record, "result", A=Number(2.0), streams=Streams(), **PER_AMOUNT)

    def get_result_object(cls, *arguments, **keywords):
        record.append(("base", cls, arguments, keywords))
        return result

    monkeypatch.setattr(
        friendly.EquilibriumCalculationBase, "get_result_object", classmethod(get_result_object)
    )
    return result


def from_base(cls, core, error):
    keywords = {"result_type": core.StreamCalculationResult, "error": error}
    return ("base", cls, (), keywords)


def assignments(core, library):
    """What happens to a record without failure, in order."""
    steps = []
    for field, per_amount in FIELDS.items():
        steps += [f"result.{per_amount}", "result.A"]
        product = ("product", float(PER_AMOUNT[per_amount]), 2.0)
        steps.append((f"result.{field} =", product))
    for field, member in CHANGES.items():
        variable = core.ResultVariable[member]
        steps += [("hxgetr", variable), (f"result.{field} =", library.hxgetr(variable))]
    return steps


def properties(core, label, name):
    """What happens to the state of a stream, in order."""
    steps = []
    for field, member in zip(FIELDS, MEMBERS, strict=True):
        steps += [f"{label}.name", ("hxstxp", name, core.StreamVariable[member])]
        steps.append((f"{label}.{field} =", (name, member)))
    return steps


def property_of(name, variable):
    return (name, variable.name)


def test_order_of_all_that_a_result_is(streams, library, core, base):
    streams.streams["ore"] = "state of ore"
    assert streams.get_result_object() is base
    assert library.calls == [
        from_base(streams, core, False),
        *assignments(core, library),
        "result.streams",
        ("update", streams.streams),
    ]
    assert library.calls[0][3]["error"] is False
    assert list(library.calls[0][3]) == ["result_type", "error"]
    assert library.calls[-1][1] is streams.streams
    assert base.streams == {"ore": "state of ore"}


def test_changes_are_asked_for_with_one_argument(streams, library, core, base):
    streams.get_result_object()
    assert library.of("hxgetr") == [("hxgetr", core.ResultVariable[member]) for member in MEMBERS]
    for call, member in zip(library.of("hxgetr"), MEMBERS, strict=True):
        assert call[1] is core.ResultVariable[member]


@pytest.mark.parametrize("flag", [True, 1, "yes"])
def test_properties_of_each_stream_are_kept_in_its_state(streams, library, core, base, flag):
    record = library.calls
    library.instead["hxstxp"] = property_of
    for key, name in (("b", "first"), ("a", "second")):  # the states' own names count
        streams.streams[key] = Recorded(record, name, name=name)
    streams.get_result_object(flag)
    assert record == [
        from_base(streams, core, False),
        *assignments(core, library),
        *properties(core, "first", "first"),
        *properties(core, "second", "second"),
        "result.streams",
        ("update", streams.streams),
    ]


@pytest.mark.parametrize("flag", [True, 1, "yes"])
@pytest.mark.parametrize("with_properties", [False, True])
def test_record_of_a_failure_has_the_streams_alone(
    streams, library, core, base, flag, with_properties
):
    streams.streams["ore"] = "state of ore"
    assert streams.get_result_object(with_properties, flag) is base
    assert library.calls == [
        from_base(streams, core, True),
        "result.streams",
        ("update", streams.streams),
    ]
    assert library.calls[0][3]["error"] is True


def test_properties_go_through_cls(streams, library, base):
    seen = []

    class Mine(streams):
        pass

    for name in GETTERS:

        def getter(cls, stream, name=name):
            seen.append((name, cls, stream))
            return f"{name} of {stream}"

        setattr(Mine, name, classmethod(getter))
    Mine.streams = {"ore": SimpleNamespace(name="ore")}
    Mine.get_result_object(True)
    assert seen == [(name, Mine, "ore") for name in GETTERS]
    assert Mine.streams["ore"].Cp == "get_st_Cp of ore"
    assert library.count("hxstxp") == 0
    assert streams.streams == {}


def test_class_that_was_asked_stays_cls_in_the_base(streams, library, core, base):
    class Mine(streams):
        pass

    Mine.get_result_object()
    assert library.calls[0] == from_base(Mine, core, False)
    instance = Mine()
    library.calls.clear()
    instance.get_result_object()
    assert library.calls[0] == from_base(Mine, core, False)


def test_class_beside_streams_is_next_in_the_order_of_bases(friendly, streams, library):
    class Beside(friendly.EquilibriumCalculationBase):
        @classmethod
        def get_result_object(cls, **keywords):
            return SimpleNamespace(streams={}, cls=cls, keywords=keywords)

    class Mine(streams, Beside):
        pass

    result = Mine.get_result_object(error=True)
    assert result.cls is Mine
    assert list(result.keywords) == ["result_type", "error"]


def test_base_is_that_of_the_class_and_not_of_its_name(friendly, streams, library, core, base):
    friendly.StreamCalculation = "another"
    assert streams.get_result_object() is base
    assert library.calls[0] == from_base(streams, core, False)


def test_type_of_the_result_is_the_name_in_the_module(friendly, streams, library, base):
    streams.result_type = "not read"
    friendly.StreamCalculationResult = "in force"
    streams.get_result_object(error=True)
    assert library.calls[0][3] == {"result_type": "in force", "error": True}


def test_result_type_is_no_parameter(streams):
    with pytest.raises(TypeError, match="unexpected keyword argument 'result_type'"):
        streams.get_result_object(result_type=dict)


def test_base_may_have_no_such_method(streams, library, friendly, monkeypatch):
    monkeypatch.delattr(friendly.EquilibriumCalculationBase, "get_result_object")
    with pytest.raises(AttributeError, match="'super' object has no attribute 'get_result_object'"):
        streams.get_result_object()


def test_function_on_a_class_that_is_no_stream_calculation(friendly, streams):
    function = vars(streams)["get_result_object"].__func__
    with pytest.raises(TypeError, match="obj must be an instance or subtype of type"):
        function(friendly.EquilibriumCalculation)


def test_failure_of_the_base_passes(streams, library, friendly, monkeypatch):
    def fail(cls, **keywords):
        raise LookupError("base")

    monkeypatch.setattr(friendly.EquilibriumCalculationBase, "get_result_object", classmethod(fail))
    with pytest.raises(LookupError, match="base"):
        streams.get_result_object()
    assert library.calls == []


@pytest.mark.parametrize("place", range(1, 11))
def test_failure_of_each_call_loses_the_result(streams, library, core, base, place):
    """Five changes, then five properties of the stream."""
    state = SimpleNamespace(name="ore")
    streams.streams["ore"] = state
    library.instead["hxstxp"] = property_of
    failures = iter(range(1, 11))

    def before(call):
        if call[0] in ("hxgetr", "hxstxp") and next(failures) == place:
            raise library.error

    library.before = before
    with pytest.raises(core.TessaraError) as failure:
        streams.get_result_object(True)
    assert failure.value is library.error
    assert "result.streams" not in library.calls
    read = list(FIELDS)[: max(0, place - 6)]
    assert vars(state) == {
        "name": "ore",
        **{
            field: ("ore", member)
            for field, member in zip(FIELDS, MEMBERS, strict=True)
            if field in read
        },
    }


def test_streams_that_change_during_their_walk(streams, library, base):
    def answer(name, variable):
        streams.streams[f"another {len(streams.streams)}"] = SimpleNamespace(name="another")
        return 1.0

    streams.streams["ore"] = SimpleNamespace(name="ore")
    library.instead["hxstxp"] = answer
    with pytest.raises(RuntimeError, match="dictionary changed size during iteration"):
        streams.get_result_object(True)


def test_streams_may_be_any_mapping_that_has_values(streams, library, base):
    class Mine(streams):
        pass

    state = SimpleNamespace(name="ore")

    class Mirror:
        values = staticmethod(lambda: [state])
        keys = staticmethod(lambda: ["ore"])
        __getitem__ = staticmethod(lambda name: state)

    Mine.streams = Mirror()
    library.instead["hxstxp"] = property_of
    Mine.get_result_object(True)
    assert state.V == ("ore", "V")
    assert base.streams == {"ore": state}


# With the record of the base as it is.


def test_absolute_values_are_per_amount_times_amount(ore, streams, loaded, core):
    def answer(variable, *places):
        return {"A": 0.7, "CPM": 0.1, "HM": -0.3, "SM": 0.9, "GM": 1e300, "VM": 0.0}.get(
            variable.name, 5.0
        )

    loaded.instead["hxgetr"] = answer
    result = streams.get_result_object()
    assert type(result) is core.StreamCalculationResult
    assert (result.Cp, result.H, result.S) == (0.1 * 0.7, -0.3 * 0.7, 0.9 * 0.7)
    assert (result.G, result.V) == (1e300 * 0.7, 0.0)
    assert result.Cp == result.CpM * result.A


def test_changes_are_the_extensive_results_of_the_library(ore, streams, loaded, core):
    result = streams.get_result_object()
    for field, member in CHANGES.items():
        assert getattr(result, field) == loaded.hxgetr(core.ResultVariable[member])


def test_result_shares_the_states_but_not_the_dict(ore, streams, loaded):
    result = streams.get_result_object()
    assert result.streams == {"ore": ore}
    assert result.streams["ore"] is streams.streams["ore"]
    assert result.streams is not streams.streams
    streams.set_IA_pc("ore", "GAS", "CO", 2.0)
    assert result.streams["ore"].A_pcs[0].A == 2.0
    streams.remove_st("ore")
    assert result.streams["ore"] is ore


def test_later_properties_show_in_earlier_results(ore, streams, loaded):
    earlier = streams.get_result_object()
    loaded.instead["hxstxp"] = property_of
    later = streams.get_result_object(stream_extensive_properties=True)
    assert loaded.count("hxstxp") == 5
    assert earlier.streams["ore"].H == later.streams["ore"].H == ("ore", "H")


def test_record_of_a_failure_asks_the_library_for_no_number(ore, streams, loaded, core):
    result = streams.get_result_object(stream_extensive_properties=True, error=True)
    assert loaded.of("hxgetr", "hxstxp") == []
    assert result.streams == {"ore": ore}
    assert result.error == core.get_error_info_dict()


def test_stream_that_the_library_has_forgotten(ore, streams, loaded, core):
    def answer(name, variable):
        raise core.TessaraError(f"no stream {name}")

    loaded.instead["hxstxp"] = answer
    assert streams.get_result_object().streams == {"ore": ore}
    with pytest.raises(core.TessaraError, match="no stream ore"):
        streams.get_result_object(True)


# stream_reaction_result


@pytest.fixture
def reacting(streams, library):
    """A class whose methods that a reaction runs stand among the library's calls."""

    class Fetch(type):
        def __getattribute__(cls, name):
            if name == "set_st":
                library.calls.append("fetch set_st")
            return super().__getattribute__(name)

    class Reacting(streams, metaclass=Fetch):
        pass

    for name in (
        "remove_eq_conditions_all",
        "set_eq_P",
        "set_eq_T",
        "set_st",
        "calculate_eq",
        "get_result_object",
    ):

        def method(cls, *arguments, name=name, **keywords):
            assert keywords == {}
            library.calls.append((name, *arguments))
            return f"answer of {name}"

        setattr(Reacting, name, classmethod(method))
    return Reacting


def test_order_of_a_reaction(reacting, library):
    first = Recorded(library.calls, "first", name="ore")
    second = Recorded(library.calls, "second", name="flux")
    T, P = object(), object()
    result = reacting.stream_reaction_result(iter([first, second]), T, P)
    assert result == "answer of get_result_object"
    assert library.calls == [
        ("remove_eq_conditions_all",),
        ("set_eq_P", P),
        ("set_eq_T", T),
        "fetch set_st",
        "first.name",
        ("set_st", first, "ore"),
        "fetch set_st",
        "second.name",
        ("set_st", second, "flux"),
        ("calculate_eq",),
        ("get_result_object",),
    ]


@pytest.mark.parametrize(
    ("arguments", "keywords", "T", "P"),
    [
        ((), {}, 800.0, 1.0),
        ((1000,), {}, 1000, 1.0),
        ((), {"P": "2"}, 800.0, "2"),
        ((1000, 3), {}, 1000, 3),
    ],
)
def test_temperature_and_pressure_of_a_reaction(reacting, library, arguments, keywords, T, P):
    reacting.stream_reaction_result([], *arguments, **keywords)
    assert library.calls[1:3] == [("set_eq_P", P), ("set_eq_T", T)]
    assert [type(call[1]) for call in library.calls[1:3]] == [type(P), type(T)]


def test_reaction_of_no_streams_is_calculated_all_the_same(reacting, library):
    assert reacting.stream_reaction_result([]) == "answer of get_result_object"
    assert library.calls == [
        ("remove_eq_conditions_all",),
        ("set_eq_P", 1.0),
        ("set_eq_T", 800.0),
        ("calculate_eq",),
        ("get_result_object",),
    ]


def stream(name, *amounts):
    return SimpleNamespace(
        name=name,
        T=300.0,
        P=2.0,
        A_pcs=[SimpleNamespace(ph=ph, pc=pc, A=A) for ph, pc, A in amounts],
    )


def test_reaction_reaches_the_operations_of_streams(streams, loaded, core, units):
    ore, flux = stream("ore", ("Fe2O3", "Fe2O3", 1.0)), stream("flux", ("GAS", "CO", 3.0))
    result = streams.stream_reaction_result([ore, flux], 1000)
    variables = core.ConditionVariable
    assert loaded.calls[:10] == [
        ("hxremc", -2),
        ("hxstec", variables.P, -1, 1.0),
        ("hxstec", variables.T, -1, 1000.0),
        ("hxsttp", "ore", 300.0, 2.0),
        ("Units.get",),
        ("hxstca", "ore", 2, 0, 1.0),
        ("hxsttp", "flux", 300.0, 2.0),
        ("Units.get",),
        ("hxstca", "flux", 0, 0, 3.0),
        ("hxce", core.TargetVariable.NoTarget, -1, -1, [0.0, 0.0]),
    ]
    assert loaded.count("hxstxp") == 0
    assert type(result) is core.StreamCalculationResult
    assert list(result.streams) == ["ore", "flux"]
    assert result.streams["ore"] is streams.streams["ore"] is not ore


def test_streams_of_earlier_reactions_stay(ore, streams, loaded):
    result = streams.stream_reaction_result([stream("flux")])
    assert list(result.streams) == ["ore", "flux"]
    assert loaded.count("hxstrm") == 0


def test_streams_of_a_result_can_react_again(streams, loaded, units):
    first = streams.stream_reaction_result([stream("ore", ("GAS", "CO", 3.0))])
    second = streams.stream_reaction_result(first.streams.values(), 1200.0)
    assert second.streams["ore"] is not first.streams["ore"]
    assert [A_pc.A for A_pc in second.streams["ore"].A_pcs] == [3.0]


def test_stream_given_twice_is_set_up_twice(streams, loaded, units):
    ore = stream("ore", ("GAS", "CO", 3.0))
    entries = []
    loaded.before = lambda call: call[0] == "hxstca" and entries.append(streams.streams["ore"])
    streams.stream_reaction_result([ore, ore])
    first, second = entries
    assert second is not first
    assert streams.streams["ore"] is second
    assert (
        loaded.of("hxsttp", "hxstca")
        == [
            ("hxsttp", "ore", 300.0, 2.0),
            ("hxstca", "ore", 0, 0, 3.0),
        ]
        * 2
    )
    assert len(streams.streams["ore"].A_pcs) == 1


def test_stream_that_lacks_a_field_fails_after_the_conditions(streams, loaded, units):
    ore = stream("ore")
    del ore.T
    with pytest.raises(AttributeError, match="T"):
        streams.stream_reaction_result([ore])
    assert [call[0] for call in loaded.calls] == ["hxremc", "hxstec", "hxstec"]
    del ore.name
    with pytest.raises(AttributeError, match="name"):
        streams.stream_reaction_result([ore])


@pytest.mark.parametrize("streams_given", [None, 3])
def test_streams_that_cannot_be_walked_fail_after_the_conditions(streams, loaded, streams_given):
    with pytest.raises(TypeError, match="is not iterable"):
        streams.stream_reaction_result(streams_given)
    assert [call[0] for call in loaded.calls] == ["hxremc", "hxstec", "hxstec"]


def test_temperature_that_is_no_number_fails_in_its_setter(streams, loaded):
    with pytest.raises(TypeError, match="must be real number"):
        streams.stream_reaction_result([], "hot")
    assert [call[0] for call in loaded.calls] == ["hxremc", "hxstec"]


def test_failure_of_each_call_of_a_reaction_comes_out(streams, loaded, core, units):
    ore = stream("ore", ("GAS", "CO", 3.0))
    streams.stream_reaction_result([ore])
    calls = list(loaded.calls)
    # What the getters of component states make of a `TessaraError` is another matter.
    loaded.error = LookupError("library")
    for place in range(1, len(calls) + 1):
        streams.streams.clear()
        loaded.calls.clear()
        loaded.list_number = 6
        loaded.fail_at = place
        with pytest.raises(LookupError) as failure:
            streams.stream_reaction_result([ore])
        assert failure.value is loaded.error
        assert [call[0] for call in loaded.calls] == [call[0] for call in calls[:place]]
        made = [call[0] for call in calls[: place - 1]]
        assert list(streams.streams) == (["ore"] if "Units.get" in made else [])
