"""Streams come and go: in the library, and in the dict of the class that mirrors it."""

from types import SimpleNamespace

import pytest


def amount(ph, pc, A):
    return SimpleNamespace(ph=ph, pc=pc, A=A)


@pytest.fixture
def model():
    """A stream object whose amounts add up to 0.7."""
    pcs = [amount("Fe2O3", "Fe2O3", 0.1), amount("GAS", "CO", 0.6)]
    return SimpleNamespace(name="model", T=400.0, P=2.0, A=0.7, A_pcs=pcs)


@pytest.fixture
def logged(streams, library, friendly, monkeypatch):
    """A class whose dict, and a `StreamState` whose making, stand among the library's calls."""

    class Mirror(dict):
        def __setitem__(self, name, state):
            library.calls.append(("set", name, state))
            super().__setitem__(name, state)

        def __delitem__(self, name):
            library.calls.append(("delete", name))
            super().__delitem__(name)

        def clear(self):
            library.calls.append(("clear",))
            super().clear()

    def make_state(*arguments, **keywords):
        library.calls.append(("StreamState", *arguments, keywords))
        return "state"

    class Logged(streams):
        pass

    Logged.streams = Mirror()
    monkeypatch.setattr(friendly, "StreamState", make_state)
    return Logged


def contents(state):
    return [(A_pc.ph, A_pc.pc, A_pc.A) for A_pc in state.A_pcs]


# create_st


def test_creation_goes_to_the_library_first_and_to_the_dict_last(logged, library, units):
    library.instead["hxsttp"] = lambda *arguments: "dropped"
    assert logged.create_st("ore", 300, True) is None
    assert library.calls == [
        ("hxsttp", "ore", 300.0, 1.0),
        ("Units.get",),
        ("StreamState", "ore", 300.0, 1.0, units, {}),
        ("set", "ore", "state"),
    ]
    assert library.calls[2][4] is units
    for call in (library.calls[0], library.calls[2]):
        assert [type(part) for part in call[1:4]] == [str, float, float]


def test_new_stream_has_what_was_given_and_no_matter(streams, library, units):
    streams.create_st("ore", 300.0, 1.5)
    state = streams.streams["ore"]
    assert (state.name, state.T, state.P, state.A_pcs) == ("ore", 300.0, 1.5, [])
    assert state.units is units


def test_stream_of_the_same_name_is_replaced(ore, streams, loaded):
    streams.set_IA_pc("ore", "GAS", "CO", 1.0)
    streams.create_st("ore", 500.0, 2.0)
    assert list(streams.streams) == ["ore"]
    state = streams.streams["ore"]
    assert state is not ore
    assert (state.T, state.A_pcs) == (500.0, [])
    assert contents(ore) == [("GAS", "CO", 1.0)]


def test_subclass_shares_the_dict(streams, library, units):
    class Mine(streams):
        pass

    Mine.create_st("ore", 300.0, 1.0)
    assert list(streams.streams) == ["ore"]
    assert "streams" not in vars(Mine)


def test_dict_of_a_subclass_goes_before(streams, library, units):
    class Mine(streams):
        pass

    Mine.streams = {}
    Mine.create_st("ore", 300.0, 1.0)
    assert list(Mine.streams) == ["ore"]
    assert streams.streams == {}


@pytest.mark.parametrize("place", [1, 2])
def test_failure_of_a_creation_leaves_the_dict(streams, library, units, place):
    library.fail_at = place
    with pytest.raises(type(library.error)) as failure:
        streams.create_st("ore", 300.0, 1.0)
    assert failure.value is library.error
    assert len(library.calls) == place
    assert streams.streams == {}


def test_failure_of_the_state_comes_after_the_library(friendly, streams, library, units):
    friendly.StreamState = 3
    with pytest.raises(TypeError, match="not callable"):
        streams.create_st("ore", 300.0, 1.0)
    assert library.calls == [("hxsttp", "ore", 300.0, 1.0), ("Units.get",)]
    assert streams.streams == {}


@pytest.mark.parametrize(("missing", "calls"), [("StreamState", 1), ("Units", 1)])
def test_names_are_fetched_after_the_library_was_called(
    friendly, streams, library, units, monkeypatch, missing, calls
):
    monkeypatch.delattr(friendly, missing)
    with pytest.raises(NameError, match=f"name '{missing}' is not defined"):
        streams.create_st("ore", 300.0, 1.0)
    assert len(library.calls) == calls


def test_state_is_fetched_before_the_units(friendly, streams, library, monkeypatch):
    monkeypatch.delattr(friendly, "StreamState")
    monkeypatch.delattr(friendly, "Units")
    with pytest.raises(NameError, match="StreamState"):
        streams.create_st("ore", 300.0, 1.0)


def test_library_may_empty_the_dict_from_within(streams, library, units):
    streams.create_st("flux", 300.0, 1.0)
    library.before = lambda call: call[0] == "hxsttp" and streams.streams.clear()
    streams.create_st("ore", 300.0, 1.0)
    assert list(streams.streams) == ["ore"]


# remove_st


def test_removal_goes_to_the_library_first(logged, library, units):
    logged.create_st("ore", 300.0, 1.0)
    library.calls.clear()
    library.instead["hxstrm"] = lambda *arguments: "dropped"
    assert logged.remove_st("ore") is None
    assert library.calls == [("hxstrm", "ore"), ("delete", "ore")]
    assert logged.streams == {}


def test_removal_leaves_the_other_streams(ore, streams):
    streams.create_st("flux", 300.0, 1.0)
    streams.remove_st("ore")
    assert list(streams.streams) == ["flux"]


def test_removal_of_what_the_dict_does_not_hold(streams, library):
    with pytest.raises(KeyError) as failure:
        streams.remove_st("ore")
    assert failure.value.args == ("ore",)
    assert library.calls == [("hxstrm", "ore")]


def test_removal_that_the_library_refuses_leaves_the_dict(ore, streams, loaded, core):
    loaded.fail_at = 1
    with pytest.raises(core.TessaraError) as failure:
        streams.remove_st("ore")
    assert failure.value is loaded.error
    assert streams.streams == {"ore": ore}


# remove_sts


def test_removal_of_all_names_none_to_the_library(logged, library, units):
    logged.create_st("ore", 300.0, 1.0)
    library.calls.clear()
    library.instead["hxstrm"] = lambda *arguments: "dropped"
    assert logged.remove_sts() is None
    assert library.calls == [("hxstrm", ""), ("clear",)]
    assert type(library.calls[0][1]) is str
    assert logged.streams == {}


def test_removal_of_all_empties_the_dict_and_keeps_it(ore, streams):
    mirror = streams.streams
    streams.remove_sts()
    assert streams.streams is mirror
    assert mirror == {}


def test_removal_of_all_where_there_are_none(streams, library):
    assert streams.remove_sts() is None
    assert library.calls == [("hxstrm", "")]
    assert streams.streams == {}


def test_removal_of_all_that_the_library_refuses_leaves_the_dict(ore, streams, loaded, core):
    loaded.fail_at = 1
    with pytest.raises(core.TessaraError) as failure:
        streams.remove_sts()
    assert failure.value is loaded.error
    assert streams.streams == {"ore": ore}


def test_load_leaves_the_dict(ore, friendly, streams, dat):
    friendly.ThermochemicalSystem.load(dat)
    assert streams.streams == {"ore": ore}


# The names of streams.


class Text(str):
    __slots__ = ()


CALLS = {
    "create_st": lambda cls, name: cls.create_st(name, 300.0, 1.0),
    "remove_st": lambda cls, name: cls.remove_st(name),
    "set_st": lambda cls, name: cls.set_st(SimpleNamespace(T=3.0, P=1.0, A_pcs=[]), name),
}


@pytest.mark.parametrize("name", [3, b"ore", Text("ore"), ["ore"]])
@pytest.mark.parametrize("call", CALLS)
def test_name_that_is_no_str_is_refused(streams, library, call, name):
    parameter = "st" if call == "remove_st" else "name"
    with pytest.raises(TypeError) as failure:
        CALLS[call](streams, name)
    assert str(failure.value) == (
        f"Argument '{parameter}' has incorrect type (expected str, got {type(name).__name__})"
    )
    assert library.calls == []


def test_none_passes_for_a_name(streams, library, units):
    streams.create_st(None, 1000.0, 1.0)
    assert library.calls[0] == ("hxsttp", None, 1000.0, 1.0)
    assert list(streams.streams) == [None]
    streams.remove_st(None)
    assert streams.streams == {}


def test_numbers_are_converted_before_the_name_is_looked_at(streams, library):
    with pytest.raises(TypeError, match="must be real number, not str"):
        streams.create_st(3, "x", 1.0)
    with pytest.raises(TypeError, match="must be real number, not list"):
        streams.create_st(3, 1.0, [])
    with pytest.raises(TypeError, match="must be real number, not NoneType"):
        streams.set_st(None, A=None)
    assert library.calls == []


# set_st


class Recorded:
    """An object whose attributes are asked for in the record of the library's calls."""

    def __init__(self, record, label, **fields):
        self.__dict__["_all"] = (record, label, fields)

    def __getattr__(self, name):
        record, label, fields = self._all
        record.append((f"{label}.{name}",))
        try:
            return fields[name]
        except KeyError:
            raise AttributeError(name) from None


@pytest.fixture
def setting(streams, library):
    """A class whose methods that `set_st` runs stand among the library's calls."""

    class Fetch(type):
        def __getattribute__(cls, name):
            if name in ("create_st", "set_IA_pc"):
                library.calls.append((f"fetch {name}",))
            return super().__getattribute__(name)

    class Mine(streams, metaclass=Fetch):
        @classmethod
        def create_st(cls, *arguments):
            library.calls.append(("create_st", *arguments))

        @classmethod
        def set_IA_pc(cls, *arguments):
            library.calls.append(("set_IA_pc", *arguments))

    return Mine


def test_order_of_all_that_setting_a_stream_does(setting, library):
    record = library.calls
    pcs = [
        Recorded(record, "first", ph="GAS", pc="CO", A=0.5),
        Recorded(record, "second", ph="Fe2O3", pc="-", A=1.5),
    ]
    stream = Recorded(record, "stream", name="ore", T=300, P="P", A=2.0, A_pcs=pcs)
    assert setting.set_st(stream, A=4) is None
    assert record == [
        ("stream.name",),
        ("stream.A",),
        ("fetch create_st",),
        ("stream.T",),
        ("stream.P",),
        ("create_st", "ore", 300, "P"),
        ("stream.A_pcs",),
        ("first.A",),
        ("fetch set_IA_pc",),
        ("first.ph",),
        ("first.pc",),
        ("set_IA_pc", "ore", "GAS", "CO", 1.0),
        ("second.A",),
        ("fetch set_IA_pc",),
        ("second.ph",),
        ("second.pc",),
        ("set_IA_pc", "ore", "Fe2O3", "-", 3.0),
    ]


@pytest.mark.parametrize("keywords", [{}, {"A": -1.0}, {"A": -1}, {"name": None}])
def test_without_an_amount_the_total_is_not_asked_for(setting, library, keywords):
    pcs = [amount("GAS", "CO", 0.1)]
    stream = Recorded(library.calls, "stream", name="ore", T=3.0, P=1.0, A_pcs=pcs)
    setting.set_st(stream, **keywords)
    assert ("stream.A",) not in library.calls
    assert library.calls[-1] == ("set_IA_pc", "ore", "GAS", "CO", 0.1)


def test_given_name_wins_and_that_of_the_model_is_not_asked_for(setting, library):
    stream = Recorded(library.calls, "stream", T=3.0, P=1.0, A_pcs=[])
    setting.set_st(stream, "other")
    assert ("stream.name",) not in library.calls
    assert ("create_st", "other", 3.0, 1.0) in library.calls


@pytest.mark.parametrize("name", ["", 0, False])
def test_only_none_asks_for_the_name_of_the_model(setting, library, name):
    setting.set_st(SimpleNamespace(T=3.0, P=1.0, A_pcs=[]), name)
    assert library.calls[-1] == ("create_st", name, 3.0, 1.0)


@pytest.mark.parametrize("A", [0.3, 0.7, 0.0, -0.0, -2.0, -1.0000000000000002, 1e300, 5])
def test_amounts_are_scaled_by_the_quotient_of_the_totals(setting, library, model, A):
    setting.set_st(model, A=A)
    multiplier = float(A) / 0.7
    found = [call[-1] for call in library.calls if call[0] == "set_IA_pc"]
    assert found == [0.1 * multiplier, 0.6 * multiplier]
    assert [value.hex() for value in found] == [
        (0.1 * multiplier).hex(),
        (0.6 * multiplier).hex(),
    ]


def test_the_quotient_is_formed_before_the_product(setting, library):
    """The numbers tell the two orders apart."""
    wanted, total, one = 0.3, 0.7, 0.1
    assert one * (wanted / total) != one * wanted / total
    setting.set_st(
        SimpleNamespace(name="s", T=3.0, P=1.0, A=total, A_pcs=[amount("GAS", "CO", one)]),
        A=wanted,
    )
    assert library.calls[-1][-1] == one * (wanted / total)


def test_amounts_and_total_may_be_any_objects(setting, library):
    class Number:
        def __init__(self, label):
            self.label = label

        def __mul__(self, other):
            return (self.label, "*", other)

        def __rtruediv__(self, other):
            assert type(other) is float
            return (other, "/", self.label)

    stream = SimpleNamespace(
        name="s", T=3.0, P=1.0, A=Number("total"), A_pcs=[amount("GAS", "CO", Number("one"))]
    )
    setting.set_st(stream, A=2)
    assert library.calls[-1][-1] == ("one", "*", (2.0, "/", "total"))
    setting.set_st(stream)
    assert library.calls[-1][-1] == ("one", "*", 1.0)
    assert type(library.calls[-1][-1][2]) is float


def test_set_up_stream_is_in_the_library_and_in_the_dict(streams, loaded, units, model):
    streams.set_st(model)
    assert loaded.calls == [
        ("hxsttp", "model", 400.0, 2.0),
        ("Units.get",),
        ("hxstca", "model", 2, 0, 0.1),
        ("hxstca", "model", 0, 0, 0.6),
    ]
    state = streams.streams["model"]
    assert (state.name, state.T, state.P) == ("model", 400.0, 2.0)
    assert contents(state) == [("Fe2O3", "Fe2O3", 0.1), ("GAS", "CO", 0.6)]


def test_model_is_neither_changed_nor_kept(streams, loaded, units, model):
    before = {**vars(model), "A_pcs": list(model.A_pcs)}
    amounts = [dict(vars(pc)) for pc in model.A_pcs]
    streams.set_st(model, "copy", 1.4)
    assert vars(model) == before
    assert [vars(pc) for pc in model.A_pcs] == amounts
    assert list(streams.streams) == ["copy"]
    assert streams.streams["copy"].A_pcs is not model.A_pcs


def test_two_names_of_one_model_are_two_streams(streams, loaded, units, model):
    streams.set_st(model)
    streams.set_st(model, "second")
    assert list(streams.streams) == ["model", "second"]
    assert model.name == "model"
    assert contents(streams.streams["second"]) == contents(streams.streams["model"])


def test_total_of_twice_the_model_doubles_every_amount(streams, loaded, units, model):
    streams.set_st(model, A=2 * model.A)
    assert contents(streams.streams["model"]) == [("Fe2O3", "Fe2O3", 0.2), ("GAS", "CO", 1.2)]


def test_total_of_zero_sets_every_amount_to_zero(streams, loaded, units, model):
    streams.set_st(model, A=0.0)
    assert loaded.of("hxstca") == [("hxstca", "model", 2, 0, 0.0), ("hxstca", "model", 0, 0, 0.0)]
    assert contents(streams.streams["model"]) == [("Fe2O3", "Fe2O3", 0.0), ("GAS", "CO", 0.0)]


def test_second_setting_of_a_name_starts_afresh(streams, loaded, units, model):
    streams.set_st(model)
    first = streams.streams["model"]
    model.A_pcs = model.A_pcs[1:]
    streams.set_st(model)
    assert streams.streams["model"] is not first
    assert contents(streams.streams["model"]) == [("GAS", "CO", 0.6)]


def test_state_in_the_dict_can_be_its_own_model(ore, streams, loaded):
    streams.set_IA_pc("ore", "GAS", "CO", 1.0)
    streams.set_IA_pc("ore", "GAS", "CO2", 3.0)
    streams.set_st(ore, A=2.0)
    assert streams.streams["ore"] is not ore
    assert contents(streams.streams["ore"]) == [("GAS", "CO", 0.5), ("GAS", "CO2", 1.5)]
    assert contents(ore) == [("GAS", "CO", 1.0), ("GAS", "CO2", 3.0)]


def test_model_without_a_total_is_a_division_by_zero(streams, loaded, units, model):
    model.A = 0.0
    with pytest.raises(ZeroDivisionError):
        streams.set_st(model, A=1.0)
    assert loaded.calls == []
    assert streams.streams == {}


def test_model_without_a_total_will_do_as_it_is(streams, loaded, units, model):
    model.A = 0.0
    streams.set_st(model)
    assert contents(streams.streams["model"]) == [("Fe2O3", "Fe2O3", 0.1), ("GAS", "CO", 0.6)]


@pytest.mark.parametrize(
    ("field", "calls"), [("name", 0), ("A", 0), ("T", 0), ("P", 0), ("A_pcs", 2)]
)
def test_model_that_lacks_a_field(streams, loaded, units, model, field, calls):
    delattr(model, field)
    with pytest.raises(AttributeError, match=field):
        streams.set_st(model, A=1.0)
    assert len(loaded.calls) == calls


@pytest.mark.parametrize("field", ["ph", "pc", "A"])
def test_amount_that_lacks_a_field_leaves_those_before(streams, loaded, units, model, field):
    delattr(model.A_pcs[1], field)
    with pytest.raises(AttributeError, match=field):
        streams.set_st(model)
    assert contents(streams.streams["model"]) == [("Fe2O3", "Fe2O3", 0.1)]


def test_unknown_constituent_leaves_the_stream_with_the_amounts_so_far(
    streams, loaded, units, model
):
    model.A_pcs[1].pc = "CH4"
    with pytest.raises(KeyError) as failure:
        streams.set_st(model)
    assert failure.value.args == ("CH4",)
    assert contents(streams.streams["model"]) == [("Fe2O3", "Fe2O3", 0.1)]


@pytest.mark.parametrize(
    ("place", "left"),
    [
        (1, None),
        (2, None),
        (3, []),
        (4, [("Fe2O3", "Fe2O3", 0.1)]),
    ],
)
def test_failure_of_each_call_of_the_library(streams, loaded, units, model, place, left):
    loaded.fail_at = place
    with pytest.raises(type(loaded.error)) as failure:
        streams.set_st(model)
    assert failure.value is loaded.error
    assert len(loaded.calls) == place
    found = streams.streams.get("model")
    assert (found and contents(found)) == left


def test_amounts_that_grow_during_the_walk_are_walked_too(streams, loaded, units, model):
    def before(call):
        if call[0] == "hxstca" and len(model.A_pcs) == 2:
            model.A_pcs.append(amount("LIQUID", "Fe", 9.0))

    loaded.before = before
    streams.set_st(model)
    assert loaded.count("hxstca") == 3


def test_amounts_may_vanish_during_the_walk(streams, loaded, units, model):
    loaded.before = lambda call: call[0] == "hxstca" and model.A_pcs.clear()
    streams.set_st(model)
    assert loaded.count("hxstca") == 1


def test_amounts_may_be_any_iterable(streams, loaded, units, model):
    model.A_pcs = iter(tuple(model.A_pcs))
    streams.set_st(model)
    assert loaded.count("hxstca") == 2


def test_stream_may_be_removed_from_within_its_setting(streams, loaded, units, model):
    loaded.before = lambda call: call[0] == "hxstca" and streams.streams.clear()
    with pytest.raises(KeyError) as failure:
        streams.set_st(model)
    assert failure.value.args == ("model",)
    assert loaded.count("hxstca") == 1


def test_parameters_go_by_keyword(streams, loaded, units, model):
    streams.create_st(P=1, T=2, name="ore")
    streams.set_st(A=0.35, name="half", stream=model)
    streams.remove_st(st="ore")
    assert list(streams.streams) == ["half"]
