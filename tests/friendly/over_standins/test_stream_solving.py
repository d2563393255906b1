"""Equilibria of streams and searches: where they do as those without streams, and where not."""

import pytest

SEARCHES = {"calculate_eq_P": "P", "calculate_eq_V": "V", "calculate_eq_T": "T"}


@pytest.fixture
def logged(streams, library):
    """A class whose frame and capture stand among the library's calls."""
    record = library.calls

    class Logged(streams):
        @classmethod
        def _start_calc(cls):
            record.append(("_start_calc", cls))

        @classmethod
        def _end_calc(cls):
            record.append(("_end_calc", cls))

        @classmethod
        def _list_to_file(cls):
            record.append(("_list_to_file", cls))
            return ("file", 6)

        @classmethod
        def _list_back(cls, *arguments):
            record.append(("_list_back", cls, *arguments))
            return "captured"

    return Logged


@pytest.fixture
def printed(friendly, library, monkeypatch):
    monkeypatch.setattr(
        friendly, "print", lambda *words: library.calls.append(("print", *words)), raising=False
    )


def listed(cls, *solving):
    return [("_list_to_file", cls), solving, ("_list_back", cls, "file", 6), ("print", "captured")]


# calculate_eq


@pytest.mark.parametrize(
    ("keywords", "operation"),
    [
        ({}, "hxce"),
        ({"estimate": True}, "hxcen"),
        ({"estimate": "", "print_results": 0}, "hxce"),
        ({"nonsense": 1}, "hxce"),
    ],
)
def test_calculation_without_listing(logged, library, core, keywords, operation):
    library.instead[operation] = lambda *arguments: "dropped"
    assert logged.calculate_eq(**keywords) is None
    assert library.calls == [
        ("_start_calc", logged),
        (operation, core.TargetVariable.NoTarget, -1, -1, [0.0, 0.0]),
        ("_end_calc", logged),
    ]
    _, target, i_ph, i_c, values = library.calls[1]
    assert target is core.TargetVariable.NoTarget
    assert [type(part) for part in (i_ph, i_c, *values)] == [int, int, float, float]


@pytest.mark.parametrize(
    ("keywords", "operation"),
    [
        ({"print_results": True}, "hxcel"),
        ({"print_results": True, "estimate": True}, "hxcenl"),
        ({"print_results": "yes", "estimate": [0]}, "hxcenl"),
    ],
)
def test_calculation_with_listing(logged, library, core, printed, keywords, operation):
    assert logged.calculate_eq(**keywords) is None
    assert library.calls == [
        ("_start_calc", logged),
        *listed(logged, operation, core.TargetVariable.NoTarget, -1, -1, [0.0, 0.0]),
        ("_end_calc", logged),
    ]


@pytest.mark.parametrize(
    "keywords", [{}, {"stream_extensive_properties": 1, "error": None}, {"nonsense": ()}]
)
def test_result_object_is_made_after_the_frame_and_dropped(logged, library, keywords):
    class Making(logged):
        @classmethod
        def get_result_object(cls, *arguments, **given):
            library.calls.append(("get_result_object", cls, arguments, given))
            return "dropped"

    assert Making.calculate_eq(return_result="yes", **keywords) is None
    assert [call[0] for call in library.calls] == [
        *["_start_calc", "hxce", "_end_calc", "get_result_object"]
    ]
    assert library.calls[-1] == ("get_result_object", Making, (), keywords)


def test_properties_of_streams_are_written_though_the_result_is_dropped(ore, streams, loaded, core):
    assert streams.calculate_eq(return_result=True, stream_extensive_properties=True) is None
    assert loaded.of("hxstxp") == [
        ("hxstxp", "ore", core.StreamVariable[member]) for member in ("CP", "H", "S", "G", "V")
    ]


def test_keyword_that_results_do_not_take_is_refused_after_the_calculation(streams, library):
    with pytest.raises(TypeError, match="unexpected keyword argument 'result_type'"):
        streams.calculate_eq(return_result=True, result_type=int)
    assert [call[0] for call in library.calls] == ["hxce"]


def test_frame_is_that_of_the_class(friendly, streams, library):
    streams.calculate_eq()
    assert streams.dt == streams.t_end - streams.t_start
    assert friendly.EquilibriumCalculation.t_start is None
    assert friendly.EquilibriumCalculationBase.t_start is None


def test_failure_leaves_the_frame_open_and_listings_turned_away(streams, library, core, capsys):
    library.fail_at = 4
    with pytest.raises(core.TessaraError) as failure:
        streams.calculate_eq(print_results=True)
    assert failure.value is library.error
    assert library.calls[-1][0] == "hxcel"
    assert library.list_number == 21
    assert streams.t_start is not None
    assert (streams.t_end, streams.dt) == (None, None)
    assert capsys.readouterr().out == ""


# _calculate_eq


@pytest.fixture
def asked(library):
    """What the library answers, whatever it is asked for."""
    answer = object()
    library.instead["hxgetr"] = lambda *arguments: answer
    return answer


@pytest.mark.parametrize("target", ["P", "V", "T", "NoTarget", "IA"])
def test_core_of_a_search_asks_for_the_target_itself(logged, library, core, asked, target):
    variable = core.TargetVariable[target]
    assert logged._calculate_eq(variable, 7, 0) is asked
    assert library.calls == [
        ("hxce", variable, -1, -1, [7.0, 0.0]),
        ("hxgetr", variable, -1, -1),
    ]
    assert library.calls[1][1] is variable
    assert [type(value) for value in library.calls[0][-1]] == [float, float]
    assert [type(part) for part in library.calls[1][2:]] == [int, int]


@pytest.mark.parametrize("print_results", [1, -1, True, 2.9])
def test_core_of_a_search_with_listing(logged, library, core, printed, asked, print_results):
    variable = core.TargetVariable.T
    assert logged._calculate_eq(variable, 7.0, print_results) is asked
    assert library.calls == [
        *listed(logged, "hxcel", variable, -1, -1, [7.0, 0.0]),
        ("hxgetr", variable, -1, -1),
    ]


def test_print_results_is_cut_to_its_whole_part(logged, library, core, asked):
    logged._calculate_eq(core.TargetVariable.T, 7.0, 0.9)
    assert library.count("_list_to_file") == 0


@pytest.mark.parametrize("variable", ["T", None, 3, object])
def test_core_refuses_what_is_no_target_variable(logged, library, variable):
    with pytest.raises(TypeError) as failure:
        logged._calculate_eq(variable, 7.0, 1)
    assert failure.value.args == ("Invalid variable type. TargetVariable expected.",)
    assert library.calls == []


def test_member_of_another_enumeration_is_refused(logged, library, core):
    with pytest.raises(TypeError, match="TargetVariable expected"):
        logged._calculate_eq(core.ResultVariable.T, 7.0, 1)


@pytest.mark.parametrize(
    ("guess", "print_results", "text"),
    [("7", 0, "must be real number"), (7.0, None, "an integer is required"), (7.0, "1", "integer")],
)
def test_core_converts_before_anything_else(logged, library, guess, print_results, text):
    with pytest.raises(TypeError, match=text):
        logged._calculate_eq("no variable", guess, print_results)
    assert library.calls == []


def test_all_three_arguments_are_required(streams, core):
    with pytest.raises(TypeError, match=r"exactly 4 positional arguments \(3 given\)"):
        streams._calculate_eq(core.TargetVariable.T, 1.0)


# The searches.


@pytest.mark.parametrize(("name", "target"), SEARCHES.items())
def test_search_runs_the_core_of_the_class_without_streams(
    friendly, logged, library, core, monkeypatch, name, target
):
    class Mine(logged):
        @classmethod
        def _calculate_eq(cls, *arguments):
            raise AssertionError("passed over")

    def search(cls, *arguments):
        library.calls.append(("_calculate_eq", cls, *arguments))
        return "dropped"

    monkeypatch.setattr(friendly.EquilibriumCalculation, "_calculate_eq", classmethod(search))
    guess, print_results = object(), object()
    assert getattr(Mine, name)(guess, print_results) is None
    assert library.calls == [
        ("_start_calc", Mine),
        (
            "_calculate_eq",
            friendly.EquilibriumCalculation,
            core.TargetVariable[target],
            guess,
            print_results,
        ),
        ("_end_calc", Mine),
    ]
    assert library.calls[1][2] is core.TargetVariable[target]


@pytest.mark.parametrize(("name", "target"), SEARCHES.items())
def test_search_leaves_print_results_false(friendly, logged, library, monkeypatch, name, target):
    given = []
    monkeypatch.setattr(
        friendly.EquilibriumCalculation,
        "_calculate_eq",
        classmethod(lambda cls, *arguments: given.extend(arguments)),
    )
    getattr(logged, name)(**{f"{target}_guess": 3})
    assert given[1:] == [3, False]
    assert given[2] is False


@pytest.mark.parametrize(("name", "target"), SEARCHES.items())
def test_search_asks_for_the_result_of_its_name_and_returns_none(
    streams, library, core, name, target
):
    assert getattr(streams, name)(1000) is None
    assert library.calls == [
        ("hxce", core.TargetVariable[target], -1, -1, [1000.0, 0.0]),
        ("hxgetr", core.ResultVariable[target], -1, -1),
    ]
    assert library.calls[1][1] is core.ResultVariable[target]


def test_class_without_streams_is_fetched_by_name_at_the_time_of_the_call(
    friendly, streams, library, core, monkeypatch
):
    class Other:
        _calculate_eq = staticmethod(lambda *arguments: library.calls.append(arguments))

    monkeypatch.setattr(friendly, "EquilibriumCalculation", Other)
    streams.calculate_eq_T(3.0, "p")
    assert library.calls == [(core.TargetVariable.T, 3.0, "p")]
    monkeypatch.delattr(friendly, "EquilibriumCalculation")
    with pytest.raises(NameError, match="name 'EquilibriumCalculation' is not defined"):
        streams.calculate_eq_T(3.0)
    assert streams.t_end is None


def test_core_is_fetched_before_the_target(friendly, streams, library, monkeypatch):
    monkeypatch.delattr(friendly, "TargetVariable")
    monkeypatch.setattr(friendly, "EquilibriumCalculation", object)
    with pytest.raises(AttributeError, match="_calculate_eq"):
        streams.calculate_eq_T(3.0)


def test_capture_of_a_search_runs_on_the_class_without_streams(
    friendly, streams, logged, library, monkeypatch, capsys
):
    logged.calculate_eq_P(1.0, True)
    assert library.count("_list_to_file") == 0
    assert capsys.readouterr().out == "LISTING\n\n"
    assert [call[0] for call in library.calls] == [
        *["_start_calc", "hxgio", "hxcio", "hxopen", "hxcel"],
        *["hxclos", "hxcio", "hxgetr", "_end_calc"],
    ]


@pytest.mark.parametrize("name", SEARCHES)
@pytest.mark.parametrize(("guess", "print_results"), [("warm", False), (1.0, None)])
def test_wrong_argument_of_a_search_leaves_the_frame_open(
    streams, library, name, guess, print_results
):
    with pytest.raises(TypeError):
        getattr(streams, name)(guess, print_results)
    assert library.calls == []
    assert streams.t_start is not None
    assert (streams.t_end, streams.dt) == (None, None)


@pytest.mark.parametrize("name", SEARCHES)
@pytest.mark.parametrize("place", [1, 2])
def test_failure_of_a_search_leaves_the_frame_open(streams, library, core, name, place):
    library.fail_at = place
    with pytest.raises(core.TessaraError) as failure:
        getattr(streams, name)(1.0)
    assert failure.value is library.error
    assert streams.t_start is not None
    assert (streams.t_end, streams.dt) == (None, None)


# calculate_eq_IA

RANGES = [("GAS", "CO", 0.0, 2.0), ["LIQUID", 0, 1, 3], (2, "Fe2O3", "low", None)]
PLACES = [("IA0", 0, 0, [0.0, 2.0]), ("IA0", 1, 0, [1, 3]), ("IA", 2, 0, ["low", None])]


def expected(core, operation, places):
    return [(operation, core.TargetVariable[name], *place) for name, *place in places]


@pytest.mark.parametrize("print_results", [False, 0, None, ""])
def test_ranges_go_to_the_library_one_by_one(loaded, logged, core, print_results):
    loaded.instead["hxce"] = lambda *arguments: "dropped"
    assert logged.calculate_eq_IA(RANGES, print_results) is None
    assert loaded.calls == [
        ("_start_calc", logged),
        *expected(core, "hxce", PLACES),
        ("_end_calc", logged),
    ]
    for call, target in zip(loaded.calls[1:4], ("IA0", "IA0", "IA"), strict=True):
        assert call[1] is core.TargetVariable[target]
        assert type(call[4]) is list


def test_limits_go_on_as_they_are(loaded, streams):
    low, high = object(), object()
    streams.calculate_eq_IA([("GAS", 0, low, high)])
    assert loaded.calls[0][4][0] is low
    assert loaded.calls[0][4][1] is high


def test_one_range_is_the_last(loaded, streams, core):
    streams.calculate_eq_IA(RANGES[:1])
    assert loaded.calls == [("hxce", core.TargetVariable.IA, 0, 0, [0.0, 2.0])]


@pytest.mark.parametrize("print_results", [True, "yes"])
def test_every_range_is_listed_and_printed(loaded, logged, core, printed, print_results):
    assert logged.calculate_eq_IA(RANGES, print_results) is None
    solving = expected(core, "hxcel", PLACES)
    assert loaded.calls == [
        ("_start_calc", logged),
        *listed(logged, *solving[0]),
        *listed(logged, *solving[1]),
        *listed(logged, *solving[2]),
        ("_end_calc", logged),
    ]


def test_two_ranges_print_twice(loaded, streams, capsys):
    streams.calculate_eq_IA(RANGES[:2], print_results=True)
    assert capsys.readouterr().out == "LISTING\n\n" * 2
    assert loaded.list_number == 6


@pytest.mark.parametrize("print_results", [False, True])
def test_no_ranges_are_no_calls(library, logged, print_results):
    assert logged.calculate_eq_IA([], print_results) is None
    assert library.calls == [("_start_calc", logged), ("_end_calc", logged)]


@pytest.mark.parametrize("ranges", [(), (("GAS", "CO", 0.0, 1.0),), {}, type("L", (list,), {})()])
def test_ranges_that_are_no_list_are_refused(library, logged, ranges):
    with pytest.raises(TypeError) as failure:
        logged.calculate_eq_IA(ranges)
    assert str(failure.value) == (
        f"Argument 'IA_ranges' has incorrect type (expected list, got {type(ranges).__name__})"
    )
    assert library.calls == []


def test_none_passes_for_a_list_and_fails_in_the_frame(library, logged):
    with pytest.raises(TypeError, match="'NoneType' object is not iterable"):
        logged.calculate_eq_IA(None)
    assert library.calls == [("_start_calc", logged)]


@pytest.mark.parametrize(
    ("entry", "text"),
    [
        ((), "need more than 0 values to unpack"),
        (("GAS",), "need more than 1 value to unpack"),
        (("GAS", "CO", 0.0), "need more than 3 values to unpack"),
        (("GAS", "CO", 0.0, 1.0, 2.0), r"too many values to unpack \(expected 4\)"),
    ],
)
def test_range_of_the_wrong_length(loaded, streams, entry, text):
    with pytest.raises(ValueError, match=text):
        streams.calculate_eq_IA([RANGES[0], entry])
    assert loaded.count("hxce") == 1
    assert streams.t_end is None


def test_range_may_be_any_iterable(loaded, streams, core):
    streams.calculate_eq_IA([iter(RANGES[0])])
    assert loaded.calls == [("hxce", core.TargetVariable.IA, 0, 0, [0.0, 2.0])]


@pytest.mark.parametrize(
    ("entry", "key"),
    [(("SLAG", "CO", 0.0, 1.0), "SLAG"), (("GAS", "CH4", 0.0, 1.0), "CH4"), ((3, 0, 0, 1), 3)],
)
def test_unknown_place_is_a_key_error_after_the_ranges_before(loaded, streams, core, entry, key):
    with pytest.raises(KeyError) as failure:
        streams.calculate_eq_IA([RANGES[0], entry])
    assert failure.value.args == (key,)
    assert loaded.calls == [("hxce", core.TargetVariable.IA0, 0, 0, [0.0, 2.0])]
    assert streams.t_start is not None
    assert (streams.t_end, streams.dt) == (None, None)


@pytest.mark.parametrize("place", [1, 2, 3])
def test_failure_of_each_range(loaded, streams, core, place):
    loaded.fail_at = place
    with pytest.raises(core.TessaraError) as failure:
        streams.calculate_eq_IA(RANGES)
    assert failure.value is loaded.error
    assert len(loaded.calls) == place
    assert (streams.t_end, streams.dt) == (None, None)


@pytest.mark.parametrize(("place", "listings"), [(4, 0), (10, 1), (16, 2)])
def test_failure_of_each_listed_range_leaves_listings_turned_away(
    loaded, streams, core, capsys, place, listings
):
    loaded.fail_at = place
    with pytest.raises(core.TessaraError):
        streams.calculate_eq_IA(RANGES, True)
    assert loaded.calls[-1][0] == "hxcel"
    assert loaded.list_number == 21
    assert capsys.readouterr().out == "LISTING\n\n" * listings


def test_list_that_grows_during_the_search_has_another_last(loaded, streams, core):
    ranges = RANGES[:1]
    loaded.before = lambda call: len(ranges) < 2 and ranges.append(RANGES[1])
    streams.calculate_eq_IA(ranges)
    assert loaded.calls == [
        ("hxce", core.TargetVariable.IA, 0, 0, [0.0, 2.0]),
        ("hxce", core.TargetVariable.IA, 1, 0, [1, 3]),
    ]


def test_list_that_grows_within_a_range_is_seen_by_its_length(loaded, streams, core):
    ranges = []

    class Entry:
        def __iter__(self):
            ranges.append(RANGES[1])
            return iter(RANGES[0])

    ranges.append(Entry())
    streams.calculate_eq_IA(ranges)
    assert [call[1] for call in loaded.calls] == [core.TargetVariable.IA0, core.TargetVariable.IA]


def test_list_may_be_emptied_during_the_search(loaded, streams, core):
    ranges = list(RANGES)
    loaded.before = lambda call: ranges.clear()
    streams.calculate_eq_IA(ranges)
    assert loaded.calls == [("hxce", core.TargetVariable.IA0, 0, 0, [0.0, 2.0])]


def test_target_variable_is_fetched_behind_the_operation(friendly, loaded, streams, monkeypatch):
    monkeypatch.delattr(friendly, "TargetVariable")
    with pytest.raises(NameError, match="name 'TargetVariable' is not defined"):
        streams.calculate_eq_IA(RANGES)
    monkeypatch.delattr(friendly.basic, "hxce")
    with pytest.raises(AttributeError, match="hxce"):
        streams.calculate_eq_IA(RANGES)


@pytest.mark.parametrize("print_results", [[], [0]])
def test_truth_of_print_results_is_taken_once_on_entry(loaded, logged, print_results):
    asked = []

    class Truth:
        def __bool__(self):
            asked.append(list(loaded.calls))
            return bool(print_results)

    logged.calculate_eq_IA(RANGES, Truth())
    assert asked == [[]]
