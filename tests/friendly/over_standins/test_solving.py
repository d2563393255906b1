"""`calculate_eq` and the searches on pressure, volume and temperature."""

import builtins
import weakref

import pytest

SEARCHES = {"calculate_eq_P": "P", "calculate_eq_V": "V", "calculate_eq_T": "T"}


@pytest.fixture
def solver(friendly):
    return friendly.EquilibriumCalculation


@pytest.fixture
def logged(friendly, library):
    """A class whose frame and capture go into the record of the library's calls."""
    record = library.calls

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


@pytest.fixture
def printed(friendly, library, monkeypatch):
    monkeypatch.setattr(
        friendly, "print", lambda *words: library.calls.append(("print", *words)), raising=False
    )


def solving(core, name):
    return (name, core.TargetVariable.NoTarget, -1, -1, [0.0, 0.0])


# calculate_eq


@pytest.mark.parametrize(
    ("keywords", "operation"),
    [
        ({}, "hxce"),
        ({"estimate": True}, "hxcen"),
        ({"estimate": "", "print_results": 0}, "hxce"),
        ({"return_result": 0}, "hxce"),
        ({"return_result": "", "error": True, "result_type": int}, "hxce"),
    ],
)
def test_calculation_without_listing(logged, library, core, keywords, operation):
    library.instead[operation] = lambda *arguments: "dropped"
    assert logged.calculate_eq(**keywords) is None
    assert library.calls == [("_start_calc",), solving(core, operation), ("_end_calc",)]


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
        ("_start_calc",),
        ("_list_to_file",),
        solving(core, operation),
        ("_list_back", "file", 6),
        ("print", "captured"),
        ("_end_calc",),
    ]


def test_values_are_a_new_list_of_two_floats(solver, library):
    for _ in range(2):
        solver.calculate_eq()
    first, second = (call[-1] for call in library.calls)
    assert first is not second
    assert [type(value) for value in first] == [float, float]
    assert type(first) is list


def test_target_and_places_are_the_objects_that_the_library_expects(solver, library, core):
    solver.calculate_eq()
    _, target, i_ph, i_c, _ = library.calls[0]
    assert target is core.TargetVariable.NoTarget
    assert [type(i_ph), type(i_c)] == [int, int]


@pytest.mark.parametrize("print_results", [False, True])
@pytest.mark.parametrize("estimate", [False, True])
def test_target_in_force_is_left_out_of_a_plain_calculation(
    solver, loaded, core, printed, print_results, estimate
):
    solver.set_target_formation_of_ph("LIQUID")
    solver.calculate_eq(print_results, estimate)
    (call,) = loaded.of("hxce", "hxcel", "hxcen", "hxcenl")
    assert call[1] is core.TargetVariable.NoTarget


def test_listing_is_printed_whole_with_a_line_end(solver, library, capsys):
    library.listing = "first\nlast"
    solver.calculate_eq(print_results=True)
    assert capsys.readouterr().out == "first\nlast\n"
    assert library.list_number == 6


def test_calculation_without_listing_prints_nothing(solver, library, capsys):
    solver.calculate_eq(estimate=True)
    assert capsys.readouterr().out == ""
    assert library.of("hxgio", "hxcio", "hxopen", "hxclos") == []


def test_truth_is_asked_where_it_is_needed(logged, library, printed):
    class Truth:
        def __init__(self, name, answer):
            self.name, self.answer = name, answer

        def __bool__(self):
            library.calls.append((self.name,))
            return self.answer

    logged.calculate_eq(Truth("print_results", True), Truth("estimate", False))
    names = [call[0] for call in library.calls]
    assert names == [
        *["_start_calc", "print_results", "_list_to_file", "estimate", "hxcel"],
        *["_list_back", "print", "_end_calc"],
    ]


def test_unknown_keyword_is_ignored(solver, library):
    assert solver.calculate_eq(nonsense=1) is None
    assert library.count("hxce") == 1


# The result object that `calculate_eq` makes and drops.


@pytest.fixture
def making(logged, library):
    """A class that tells when a result object is asked for, and with which keywords."""

    class Making(logged):
        answer = "dropped"

        @classmethod
        def get_result_object(cls, *arguments, **keywords):
            library.calls.append(("get_result_object", cls, arguments, keywords))
            return cls.answer

    return Making


@pytest.mark.parametrize("return_result", [True, "yes", [0]])
@pytest.mark.parametrize(
    "keywords", [{}, {"error": 1}, {"result_type": int, "error": None}, {"nonsense": ()}]
)
def test_result_object_is_made_after_the_frame_and_dropped(
    making, library, core, return_result, keywords
):
    assert making.calculate_eq(return_result=return_result, **keywords) is None
    assert library.calls == [
        ("_start_calc",),
        solving(core, "hxce"),
        ("_end_calc",),
        ("get_result_object", making, (), keywords),
    ]


def test_result_object_is_released_at_once(making):
    class Thing:
        pass

    thing = Thing()
    reference = weakref.ref(thing)
    making.get_result_object = classmethod(lambda cls: things.pop())
    things = [thing]
    del thing
    making.calculate_eq(return_result=True)
    assert reference() is None


def test_truth_of_return_result_is_asked_behind_the_frame(making, library):
    class Truth:
        def __bool__(self):
            library.calls.append(("return_result",))
            return False

    making.calculate_eq(return_result=Truth())
    assert [call[0] for call in library.calls] == [
        *["_start_calc", "hxce", "_end_calc", "return_result"]
    ]


def test_failure_of_the_result_object_comes_after_the_calculation(making, library):
    def fail(cls, **keywords):
        raise LookupError("no result")

    making.get_result_object = classmethod(fail)
    with pytest.raises(LookupError, match="no result"):
        making.calculate_eq(return_result=True)
    assert [call[0] for call in library.calls] == ["_start_calc", "hxce", "_end_calc"]


def test_unknown_keyword_is_refused_after_the_calculation(solver, library):
    text = r"get_result_object\(\) got an unexpected keyword argument 'nonsense'"
    with pytest.raises(TypeError, match=text):
        solver.calculate_eq(return_result=True, nonsense=1)
    assert [call[0] for call in library.calls] == ["hxce"]
    assert solver.dt is not None


def test_no_result_object_after_a_failed_calculation(making, library, core):
    library.fail_at = 2
    with pytest.raises(core.TessaraError):
        making.calculate_eq(return_result=True)
    assert library.count("get_result_object") == 0


def test_frame_is_closed_after_the_calculation(solver):
    solver.calculate_eq()
    assert solver.t_end >= solver.t_start
    assert solver.dt == solver.t_end - solver.t_start


@pytest.mark.parametrize("estimate", [False, True])
def test_failure_leaves_the_frame_open(solver, library, core, estimate):
    library.fail_at = 1
    with pytest.raises(core.TessaraError) as failure:
        solver.calculate_eq(estimate=estimate)
    assert failure.value is library.error
    assert solver.t_start is not None
    assert (solver.t_end, solver.dt) == (None, None)


def test_failure_with_listing_leaves_it_turned_away(solver, library, core, capsys):
    library.fail_at = 4
    with pytest.raises(core.TessaraError):
        solver.calculate_eq(print_results=True)
    assert library.calls[-1][0] == "hxcel"
    assert library.list_number == 21
    assert capsys.readouterr().out == ""


def test_truth_that_fails_leaves_the_frame_open(solver, library):
    class Odd:
        def __bool__(self):
            raise LookupError("neither")

    with pytest.raises(LookupError):
        solver.calculate_eq(Odd())
    assert library.calls == []
    assert solver.t_start is not None
    assert solver.t_end is None


def test_print_is_fetched_before_the_capture_ends(friendly, logged, library, monkeypatch):
    monkeypatch.delattr(builtins, "print")
    with pytest.raises(NameError, match="name 'print' is not defined"):
        logged.calculate_eq(True)
    assert library.calls[-1][0] == "hxcel"


# _calculate_eq


@pytest.mark.parametrize("target", ["P", "V", "T"])
def test_core_of_a_search(logged, library, core, target):
    variable = core.TargetVariable[target]
    result = logged._calculate_eq(variable, 7, 0)
    assert library.calls == [
        ("hxce", variable, -1, -1, [7.0, 0.0]),
        ("hxgetr", core.ResultVariable[target], -1, -1),
    ]
    assert [type(value) for value in library.calls[0][-1]] == [float, float]
    assert library.calls[1][1] is core.ResultVariable[target]
    assert result == library.hxgetr(core.ResultVariable[target])


@pytest.mark.parametrize("print_results", [1, -1, True, 2.9])
def test_core_of_a_search_with_listing(logged, library, core, printed, print_results):
    variable = core.TargetVariable.T
    logged._calculate_eq(variable, 7.0, print_results)
    assert library.calls == [
        ("_list_to_file",),
        ("hxcel", variable, -1, -1, [7.0, 0.0]),
        ("_list_back", "file", 6),
        ("print", "captured"),
        ("hxgetr", core.ResultVariable.T, -1, -1),
    ]


def test_print_results_is_cut_to_its_whole_part(logged, library, core):
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


def test_target_without_namesake_fails_after_the_search(logged, library, core):
    with pytest.raises(KeyError, match="NoTarget"):
        logged._calculate_eq(core.TargetVariable.NoTarget, 7.0, 0)
    assert [call[0] for call in library.calls] == ["hxce"]


@pytest.mark.parametrize(
    ("guess", "print_results", "text"),
    [("7", 0, "must be real number"), (7.0, None, "an integer is required"), (7.0, "1", "integer")],
)
def test_core_converts_before_anything_else(logged, library, guess, print_results, text):
    with pytest.raises(TypeError, match=text):
        logged._calculate_eq("no variable", guess, print_results)
    assert library.calls == []


def test_all_three_arguments_are_required(solver, core):
    with pytest.raises(TypeError, match=r"exactly 4 positional arguments \(3 given\)"):
        solver._calculate_eq(core.TargetVariable.T, 1.0)


# The searches.


@pytest.mark.parametrize(("name", "target"), SEARCHES.items())
def test_search_runs_in_a_frame_through_cls(logged, library, core, name, target):
    seen = []

    class Mine(logged):
        @classmethod
        def _calculate_eq(cls, *arguments):
            library.calls.append(("_calculate_eq", *arguments))
            return seen

    guess, print_results = object(), object()
    assert getattr(Mine, name)(guess, print_results) is seen
    assert library.calls == [
        ("_start_calc",),
        ("_calculate_eq", core.TargetVariable[target], guess, print_results),
        ("_end_calc",),
    ]
    assert library.calls[1][2] is guess


@pytest.mark.parametrize(("name", "target"), SEARCHES.items())
def test_search_goes_by_keyword(solver, library, core, name, target):
    getattr(solver, name)(**{f"{target}_guess": 1000})
    assert library.calls[0] == ("hxce", core.TargetVariable[target], -1, -1, [1000.0, 0.0])
    assert type(library.calls[0][-1][0]) is float


@pytest.mark.parametrize(("name", "target"), SEARCHES.items())
def test_search_returns_what_the_library_holds(solver, library, core, name, target):
    value = getattr(solver, name)(1000)
    assert library.calls[1] == ("hxgetr", core.ResultVariable[target], -1, -1)
    assert value == library.hxgetr(core.ResultVariable[target])


def test_search_prints_once_and_before_it_returns(solver, library, capsys):
    value = solver.calculate_eq_P(1.0, True)
    assert type(value) is float
    assert capsys.readouterr().out == "LISTING\n\n"
    assert library.of("hxce", "hxcel", "hxcen", "hxcenl") == library.of("hxcel")
    assert library.list_number == 6


@pytest.mark.parametrize("name", SEARCHES)
@pytest.mark.parametrize(("guess", "print_results"), [("warm", False), (1.0, None)])
def test_wrong_argument_of_a_search_leaves_the_frame_open(
    solver, library, name, guess, print_results
):
    with pytest.raises(TypeError):
        getattr(solver, name)(guess, print_results)
    assert library.calls == []
    assert solver.t_start is not None
    assert (solver.t_end, solver.dt) == (None, None)


@pytest.mark.parametrize("name", SEARCHES)
def test_failure_of_a_search_leaves_the_frame_open(solver, library, core, name):
    library.fail_at = 1
    with pytest.raises(core.TessaraError):
        getattr(solver, name)(1.0)
    assert (solver.t_end, solver.dt) == (None, None)


def test_failure_of_a_search_with_listing_leaves_it_turned_away(solver, library, core, capsys):
    library.fail_at = 4
    with pytest.raises(core.TessaraError):
        solver.calculate_eq_T(1.0, True)
    assert library.calls[-1][0] == "hxcel"
    assert library.list_number == 21
    assert capsys.readouterr().out == ""


def test_target_variable_is_fetched_at_the_time_of_the_call(friendly, solver, library, monkeypatch):
    monkeypatch.delattr(friendly, "TargetVariable")
    with pytest.raises(NameError, match="name 'TargetVariable' is not defined"):
        solver.calculate_eq_T(1.0)
    assert solver.t_start is not None
    assert library.calls == []
