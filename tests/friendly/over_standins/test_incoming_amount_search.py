"""`calculate_eq_IA`: the search that moves incoming amounts."""

import pytest


@pytest.fixture
def solver(friendly):
    return friendly.EquilibriumCalculation


@pytest.fixture
def logged(friendly, loaded, monkeypatch):
    """A class whose frame and capture go into the record of the library's calls."""
    record = loaded.calls
    monkeypatch.setattr(
        friendly, "print", lambda *words: record.append(("print", *words)), raising=False
    )

    class Logged(friendly.EquilibriumCalculation):
        @classmethod
        def _start_calc(cls):
            record.append(("_start_calc",))

        @classmethod
        def _end_calc(cls):
            record.append(("_end_calc",))

        @classmethod
        def _list_to_file(cls):
            record.append(("_list_to_file",))
            return ("file", 6)

        @classmethod
        def _list_back(cls, *arguments):
            record.append(("_list_back", *arguments))
            return "captured"

    return Logged


RANGES = [("GAS", "O2", 0.0, 1.0), ("LIQUID", 1, 5, 2), (2, "Fe2O3", "low", None)]
PLACES = [(0, 2), (1, 1), (2, 0)]


def handed_over(core, count, *, last="hxce"):
    """The solving operations for the first `count` ranges."""
    calls = []
    for i in range(count):
        target = "IA" if i == count - 1 else "IA0"
        name = last if i == count - 1 else "hxce"
        interval = list(RANGES[i][2:])
        calls.append((name, core.TargetVariable[target], *PLACES[i], interval))
    return calls


def read(core, count):
    return [("hxgetr", core.ResultVariable.IA, *place) for place in PLACES[:count]]


@pytest.mark.parametrize("count", [1, 2, 3])
def test_search_in_order(logged, loaded, core, count):
    loaded.instead["hxce"] = lambda *arguments: "dropped"
    result = logged.calculate_eq_IA(RANGES[:count])
    assert loaded.calls == [
        ("_start_calc",),
        *handed_over(core, count),
        *read(core, count),
        ("_end_calc",),
    ]
    assert type(result) is list
    assert result == [
        (*RANGES[i][:2], loaded.hxgetr(core.ResultVariable.IA, *PLACES[i])) for i in range(count)
    ]
    assert [type(entry) for entry in result] == [tuple] * count


@pytest.mark.parametrize("count", [1, 2, 3])
@pytest.mark.parametrize("print_results", [True, 1, "yes"])
def test_only_the_search_itself_is_listed(logged, loaded, core, count, print_results):
    logged.calculate_eq_IA(RANGES[:count], print_results)
    *before, last = handed_over(core, count, last="hxcel")
    assert loaded.calls == [
        ("_start_calc",),
        *before,
        ("_list_to_file",),
        last,
        ("_list_back", "file", 6),
        ("print", "captured"),
        *read(core, count),
        ("_end_calc",),
    ]


@pytest.mark.parametrize("print_results", [False, True])
def test_no_ranges_no_calls(logged, loaded, print_results):
    given = []
    result = logged.calculate_eq_IA(given, print_results)
    assert result == []
    assert result is not given
    assert loaded.calls == [("_start_calc",), ("_end_calc",)]


def test_targets_are_the_members_themselves(solver, loaded, core):
    solver.calculate_eq_IA(RANGES)
    assert loaded.calls[0][1] is core.TargetVariable.IA0
    assert loaded.calls[2][1] is core.TargetVariable.IA
    assert all(type(place) is int for call in loaded.calls for place in call[2:4])


def test_each_range_goes_as_a_new_list_with_the_limits_as_they_are(solver, loaded):
    low, high = object(), object()
    solver.calculate_eq_IA([("GAS", "O2", low, high)] * 2)
    first, second = (call[4] for call in loaded.of("hxce"))
    assert type(first) is list
    assert first is not second
    assert [*map(id, first)] == [id(low), id(high)]


@pytest.mark.parametrize("make", [tuple, list, iter, lambda entry: dict.fromkeys(entry, 0)])
def test_entry_may_be_any_iterable_of_four(solver, loaded, core, make):
    class Entry:
        def __iter__(self):
            return iter(make(("GAS", "O2", 0.25, 0.5)))

    solver.calculate_eq_IA([Entry()])
    assert loaded.calls[0] == ("hxce", core.TargetVariable.IA, 0, 2, [0.25, 0.5])


def test_entry_may_be_a_list(solver, loaded, core):
    ((ph, pc, _),) = solver.calculate_eq_IA([["GAS", "O2", 0.25, 0.5]])
    assert (ph, pc) == ("GAS", "O2")
    assert loaded.of("hxce") == [("hxce", core.TargetVariable.IA, 0, 2, [0.25, 0.5])]


def test_result_names_phase_and_constituent_as_the_caller_did(solver, loaded):
    class Name(str):
        __slots__ = ()

    ph, pc = Name("GAS"), Name("O2")
    ((ph_found, pc_found, _),) = solver.calculate_eq_IA([(ph, pc, 0, 1)])
    assert ph_found is ph
    assert pc_found is pc
    assert solver.calculate_eq_IA([(0, 2, 0, 1)])[0][:2] == (0, 2)


@pytest.mark.parametrize(
    ("entry", "text"),
    [
        (("GAS", "O2", 0.0), "need more than 3 values to unpack"),
        (("GAS",), "need more than 1 value to unpack"),
        ((), "need more than 0 values to unpack"),
        (("GAS", "O2", 0.0, 1.0, 2.0), r"too many values to unpack \(expected 4\)"),
    ],
)
def test_entry_of_another_length_is_a_value_error(logged, loaded, entry, text):
    with pytest.raises(ValueError, match=f"^{text}$"):
        logged.calculate_eq_IA([RANGES[0], entry])
    assert [call[0] for call in loaded.calls] == ["_start_calc", "hxce"]


@pytest.mark.parametrize(
    ("entry", "key"),
    [(("SLAG", "O2", 0, 1), "SLAG"), (("GAS", "Fe", 0, 1), "Fe"), ((0, -1, 0, 1), -1)],
)
def test_unknown_name_is_the_key_error_of_the_lookup(logged, loaded, core, entry, key):
    with pytest.raises(KeyError) as failure:
        logged.calculate_eq_IA([RANGES[0], entry])
    assert failure.value.args == (key,)
    assert loaded.calls == [
        ("_start_calc",),
        ("hxce", core.TargetVariable.IA0, 0, 2, [0.0, 1.0]),
    ]


@pytest.mark.parametrize("ranges", [(), "x", {}, type("Mine", (list,), {})()])
def test_what_is_no_list_is_refused_on_entry(logged, loaded, ranges):
    with pytest.raises(TypeError, match="Argument 'IA_ranges' has incorrect type"):
        logged.calculate_eq_IA(ranges)
    assert loaded.calls == []


def test_none_is_no_crash(solver):
    with pytest.raises(TypeError):
        solver.calculate_eq_IA(None)


@pytest.mark.parametrize("place", range(1, 7))
def test_failure_leaves_the_frame_open(solver, loaded, core, place):
    loaded.fail_at = place
    with pytest.raises(core.TessaraError) as failure:
        solver.calculate_eq_IA(RANGES)
    assert failure.value is loaded.error
    assert solver.t_start is not None
    assert (solver.t_end, solver.dt) == (None, None)


def test_failure_of_the_listed_search_leaves_the_listing_turned_away(solver, loaded, core, capsys):
    def refuse(*arguments):
        raise core.TessaraError("not found")

    loaded.instead["hxcel"] = refuse
    with pytest.raises(core.TessaraError, match="not found"):
        solver.calculate_eq_IA(RANGES, True)
    assert loaded.list_number == 21
    assert capsys.readouterr().out == ""


def test_listing_is_printed_once(solver, loaded, capsys):
    solver.calculate_eq_IA(RANGES, print_results=True)
    assert capsys.readouterr().out == "LISTING\n\n"
    assert loaded.list_number == 6


def test_frame_is_closed_after_the_amounts_are_read(solver, loaded):
    seen = []
    loaded.before = lambda call: seen.append((call[0], solver.t_end))
    solver.calculate_eq_IA(IA_ranges=RANGES)
    assert seen[-1] == ("hxgetr", None)
    assert solver.dt == solver.t_end - solver.t_start


# Lists that change meanwhile.


def test_list_that_grows_makes_the_entry_before_a_further_range(solver, loaded, core):
    class Grows:
        def __iter__(self):
            if len(ranges) == 1:
                ranges.append(RANGES[1])
            return iter(RANGES[0])

    ranges = [Grows()]
    assert len(solver.calculate_eq_IA(ranges)) == 2
    assert [call[1] for call in loaded.of("hxce")] == [
        core.TargetVariable.IA0,
        core.TargetVariable.IA,
    ]


def test_list_that_is_emptied_ends_the_walk(solver, loaded, core):
    loaded.before = lambda call: ranges.clear()
    ranges = list(RANGES)
    assert solver.calculate_eq_IA(ranges) == []
    assert [call[1] for call in loaded.calls] == [core.TargetVariable.IA0]


def test_list_that_is_emptied_by_a_lookup_makes_its_entry_the_last(solver, loaded, core):
    class Name:
        def __hash__(self):
            ranges.clear()
            return hash("GAS")

        def __eq__(self, other):
            return other == "GAS"

    ranges = [(Name(), "O2", 0, 1), RANGES[1]]
    assert solver.calculate_eq_IA(ranges) == []
    assert [call[1] for call in loaded.calls] == [core.TargetVariable.IA]


def test_library_may_load_another_system_during_the_search(friendly, solver, loaded, dat):
    """The amounts are looked up anew, in the system that there is then."""

    def hxce(*arguments):
        loaded.phs = loaded.phs[:1]
        friendly.ThermochemicalSystem.load(dat)

    loaded.instead["hxce"] = hxce
    assert len(solver.calculate_eq_IA(RANGES[:1])) == 1
    loaded.phs = []
    friendly.ThermochemicalSystem.load(dat)
    with pytest.raises(KeyError, match="GAS"):
        solver.calculate_eq_IA(RANGES[:1])
