"""Statuses of phases and constituents: read from the library and handed to it, at each call."""

import pytest

PLACES = [(0, 0), (0, 1), (0, 2), (1, 0), (1, 1), (2, 0)]

# Name, arguments before the status, and the calls that are made: the operation with its indexes.
READING = [
    ("get_status_ph", ("LIQUID",), [("hxgsp", 1)]),
    ("get_status_phs", (), [("hxgsp", 0), ("hxgsp", 1), ("hxgsp", 2)]),
    ("get_status_pc", ("GAS", "O2"), [("hxgspc", 0, 2)]),
    ("get_status_pcs_in_ph", ("LIQUID",), [("hxgspc", 1, 0), ("hxgspc", 1, 1)]),
    ("get_status_pcs", (), [("hxgspc", *place) for place in PLACES]),
]
SETTING = [
    ("set_status_ph", ("LIQUID",), [("hxcsp", 1)]),
    ("set_status_phs", (), [("hxcsp", 0), ("hxcsp", 1), ("hxcsp", 2)]),
    ("set_status_pc", ("GAS", "O2"), [("hxcspc", 0, 2)]),
    ("set_status_pcs_in_ph", ("LIQUID",), [("hxcspc", 1, 0), ("hxcspc", 1, 1)]),
    ("set_status_pcs", (), [("hxgspc", *place) for place in PLACES]),
]
SINGLE = {"get_status_ph", "get_status_pc"}
INDEX_OF = {"LIQUID": 1, "GAS": 0, "O2": 2}
KINDS = ["ph", "pc"]


@pytest.fixture
def system(friendly, loaded):
    return friendly.ThermochemicalSystem


@pytest.mark.parametrize(("name", "arguments", "calls"), READING)
def test_status_is_asked_of_the_library(system, loaded, name, arguments, calls):
    loaded.instead["hxgsp"] = loaded.instead["hxgspc"] = lambda *place: place
    result = getattr(system, name)(*arguments)
    assert loaded.calls == calls
    assert all(type(part) is int for call in loaded.calls for part in call[1:])
    answers = [call[1:] for call in calls]
    assert result == (answers[0] if name in SINGLE else answers)
    assert type(result) is (tuple if name in SINGLE else list)


@pytest.mark.parametrize(("name", "arguments", "calls"), SETTING)
def test_status_goes_to_the_library_as_it_came(system, loaded, name, arguments, calls):
    status = object()
    assert getattr(system, name)(*arguments, status) is None
    assert loaded.calls == [(*call, status) for call in calls]
    assert all(call[-1] is status for call in loaded.calls)
    assert all(type(part) is int for call in loaded.calls for part in call[1:-1])


@pytest.mark.parametrize(("name", "arguments", "calls"), [*READING, *[(*row,) for row in SETTING]])
def test_indexes_and_keywords_do_the_same(system, loaded, name, arguments, calls):
    status = [] if name.startswith("get") else ["status"]
    getattr(system, name)(*[INDEX_OF[argument] for argument in arguments], *status)
    keywords = dict(zip(KINDS, arguments, strict=False))
    getattr(system, name)(**keywords, **({"status": "status"} if status else {}))
    assert loaded.calls == [(*call, *status) for call in calls] * 2


@pytest.mark.parametrize("status", ["DORMANT", None, 1, "ELIMINATE"])
@pytest.mark.parametrize("name", ["set_status_ph", "set_status_pc"])
def test_any_object_reaches_the_library(system, loaded, name, status):
    arguments = [0] if name.endswith("ph") else [0, 0]
    getattr(system, name)(*arguments, status)
    assert loaded.calls[0][-1] is status


def test_read_after_a_write_shows_what_the_library_holds(system, loaded, core):
    system.set_status_ph("LIQUID", core.Status.DORMANT)
    assert system.get_status_ph("LIQUID") is core.Status.DORMANT
    assert loaded.calls == [("hxcsp", 1, core.Status.DORMANT), ("hxgsp", 1)]
    system.set_status_pcs_in_ph("GAS", core.Status.ELIMINATED)
    assert system.get_status_pcs_in_ph("GAS") == [core.Status.ELIMINATED] * 3


def test_statuses_of_phase_and_constituents_are_independent(system, loaded, core):
    system.set_status_phs(core.Status.DORMANT)
    assert system.get_status_phs() == [core.Status.DORMANT] * 3
    assert system.get_status_pcs() == [core.Status.ENTERED] * 6
    system.set_status_pcs_in_ph(0, core.Status.ELIMINATED)
    assert system.get_status_ph(0) is core.Status.DORMANT


def test_setter_for_all_constituents_changes_nothing(system, loaded, core):
    system.set_status_pcs(core.Status.DORMANT)
    assert loaded.count("hxcspc") == 0
    assert system.get_status_pcs() == [core.Status.ENTERED] * 6


def test_setter_for_all_constituents_meets_a_library_that_counts_arguments(system, loaded):
    loaded.instead["hxgspc"] = lambda i_ph, i_pc: None
    with pytest.raises(TypeError, match="takes 2 positional arguments but 3 were given"):
        system.set_status_pcs("status")
    assert loaded.calls == [("hxgspc", 0, 0, "status")]


def test_results_of_the_library_are_dropped_by_setters(system, loaded):
    for operation in ("hxcsp", "hxcspc", "hxgspc"):
        loaded.instead[operation] = lambda *arguments: "answer"
    for name, arguments, _ in SETTING:
        assert getattr(system, name)(*arguments, "status") is None


@pytest.mark.parametrize(("name", "arguments", "calls"), [*READING, *SETTING])
def test_refusal_passes_through_and_stops_the_walk(system, loaded, core, name, arguments, calls):
    status = [] if name.startswith("get") else ["status"]
    for place in range(1, len(calls) + 1):
        loaded.calls.clear()
        loaded.statuses.clear()
        loaded.fail_at = place
        with pytest.raises(core.TessaraError) as failure:
            getattr(system, name)(*arguments, *status)
        assert failure.value is loaded.error
        assert loaded.calls == [(*call, *status) for call in calls[:place]]
        if calls[0][0] in ("hxcsp", "hxcspc"):
            assert list(loaded.statuses) == [call[1:] for call in calls[: place - 1]]


@pytest.mark.parametrize(
    ("name", "arguments", "key"),
    [
        ("get_status_ph", ("Xx",), "Xx"),
        ("get_status_ph", (-1,), -1),
        ("get_status_pc", ("Xx", 0), "Xx"),
        ("get_status_pc", ("GAS", "Fe"), "Fe"),
        ("get_status_pcs_in_ph", (3,), 3),
        ("set_status_ph", ("Xx", 1), "Xx"),
        ("set_status_pc", ("Xx", 0, 1), "Xx"),
        ("set_status_pc", ("GAS", "Fe", 1), "Fe"),
        ("set_status_pcs_in_ph", (-1, 1), -1),
    ],
)
def test_unknown_reference_is_the_key_error_before_any_call(system, loaded, name, arguments, key):
    with pytest.raises(KeyError) as failure:
        getattr(system, name)(*arguments)
    assert failure.value.args == (key,)
    assert loaded.calls == []


@pytest.mark.parametrize(
    ("name", "arguments"),
    [
        ("get_status_pc", ("GAS", "count")),
        ("set_status_pc", ("GAS", "count", 1)),
        ("get_status_ph", ("count",)),
        ("set_status_ph", ("count", 1)),
        ("get_status_pcs_in_ph", ("count",)),
    ],
)
def test_key_of_the_count_finds_an_int(system, loaded, name, arguments):
    with pytest.raises(TypeError, match="'int' object is not subscriptable"):
        getattr(system, name)(*arguments)
    assert loaded.calls == []


@pytest.mark.parametrize("name", ["set_status_pc", "set_status_pcs_in_ph", "set_status_pcs"])
def test_setters_of_constituents_name_the_statuses_that_make_sense(system, name):
    assert "ENTERED, DORMANT or ELIMINATE" in getattr(system, name).__doc__


def test_system_without_phases(friendly, library, dat):
    library.phs = []
    friendly.ThermochemicalSystem.load(dat)
    library.calls.clear()
    system = friendly.ThermochemicalSystem
    assert system.get_status_phs() == system.get_status_pcs() == []
    assert system.set_status_phs(1) is system.set_status_pcs(1) is None
    assert library.calls == []


@pytest.mark.parametrize("name", ["get_status_pcs_in_ph", "set_status_pcs_in_ph"])
def test_phase_is_resolved_once_before_the_walk(system, loaded, name):
    hashed = []

    class Key:
        def __hash__(self):
            hashed.append(len(loaded.calls))
            return hash("GAS")

        def __eq__(self, other):
            return other == "GAS"

    getattr(system, name)(Key(), *(["status"] if name.startswith("set") else []))
    assert hashed == [0]
    assert len(loaded.calls) == 3


def test_statuses_do_not_go_through_cls(system):
    class Mine(system):
        get_status_ph = get_status_pc = get_status_pcs_in_ph = None
        set_status_ph = set_status_pc = set_status_pcs_in_ph = get_count_phs = None

    assert len(Mine.get_status_phs()) == 3
    assert len(Mine.get_status_pcs()) == 6
    Mine.set_status_phs(1)
    Mine.set_status_pcs(1)


def test_library_may_load_another_system_from_within(friendly, system, loaded, dat):
    def before(call):
        if call == ("hxgspc", 0, 1) and len(loaded.phs) == 3:
            loaded.phs = loaded.phs[:1]
            friendly.ThermochemicalSystem.load(dat)

    loaded.before = before
    with pytest.raises(KeyError) as failure:
        system.get_status_pcs()
    assert failure.value.args == (1,)
