"""Phase maps over temperature, pressure and incoming amounts."""

import math
from types import SimpleNamespace

import pytest

AXES = {"T": ("TF", "TN"), "P": ("PF", "PN")}


@pytest.fixture
def maps(friendly):
    return friendly.PhaseMapCalculation


@pytest.fixture
def logged(friendly, loaded):
    """A class whose frame and result objects go into the record of the library's calls.

    A result object is the number of `get_result_object` calls so far.
    """
    record = loaded.calls

    class Logged(friendly.PhaseMapCalculation):
        @classmethod
        def _start_calc(cls):
            record.append(("_start_calc",))

        @classmethod
        def _end_calc(cls):
            record.append(("_end_calc",))

        @classmethod
        def get_result_object(cls, *arguments, **keywords):
            record.append(("get_result_object", cls, *arguments, *keywords))
            return loaded.count("get_result_object")

    return Logged


@pytest.fixture
def going_on(loaded):
    """Lets the `...N` calls say these things, in this order, and then False for ever."""

    def script(*answers, otherwise=False):
        remaining = list(answers)

        def answer(variable, *places):
            if not variable.name.endswith("N"):
                return True
            return remaining.pop(0) if remaining else otherwise

        loaded.instead["hxmap"] = loaded.instead["hxmapl"] = answer

    script()
    return script


def result(cls):
    return ("get_result_object", cls)


OPERATIONS = {False: "hxmap", True: "hxmapl"}


# The core of maps over temperature and pressure.


@pytest.mark.parametrize("transitions", [0, 1, 2, 5])
@pytest.mark.parametrize("print_results", [False, True])
def test_core_in_order(logged, loaded, core, going_on, transitions, print_results):
    going_on(*[True] * transitions)
    first, following = core.PhaseMapVariable.TF, core.PhaseMapVariable.TN
    found = logged._calculate_ph_txs(first, following, 1, 2, print_results)
    name = OPERATIONS[print_results]
    assert loaded.calls == [
        *[(name, first, -1, -1, [1.0, 2.0]), result(logged)],
        *[(name, following, -1, -1, [1.0, 2.0]), result(logged)],
        *[(name, following, -1, -1, [1.0, 2.0]), result(logged)] * transitions,
    ]
    assert type(found) is list
    assert found == [1, *range(3, 3 + transitions), 2]


def test_core_hands_one_list_to_every_call(logged, loaded, core, going_on):
    going_on(True, True)
    logged._calculate_ph_txs(core.PhaseMapVariable.PF, core.PhaseMapVariable.PN, 1, 2, 0)
    lists = [call[4] for call in loaded.of("hxmap")]
    assert len(lists) == 4
    assert {id(one) for one in lists} == {id(lists[0])}
    assert [type(value) for value in lists[0]] == [float, float]
    assert all(type(place) is int for call in loaded.of("hxmap") for place in call[2:4])


@pytest.mark.parametrize("answer", [1, "more", [0], object()])
def test_answers_are_taken_by_their_truth(logged, core, going_on, answer):
    going_on(answer, answer, 0)
    found = logged._calculate_ph_txs(core.PhaseMapVariable.TF, core.PhaseMapVariable.TN, 1, 2, 0)
    assert found == [1, 3, 4, 2]


@pytest.mark.parametrize("answer", [None, 0, "", []])
def test_map_without_transitions_has_its_two_ends(logged, core, going_on, answer):
    going_on(answer, True)
    found = logged._calculate_ph_txs(core.PhaseMapVariable.TF, core.PhaseMapVariable.TN, 1, 2, 0)
    assert found == [1, 2]


@pytest.mark.parametrize("bad", ["TF", None, 0, "member of another enumeration"])
def test_core_refuses_what_is_no_map_variable(logged, loaded, core, bad):
    good = core.PhaseMapVariable.TF
    if bad == "member of another enumeration":
        bad = core.TargetVariable.T
    for first, following, name in ((bad, good, "var_first"), (good, bad, "var_next")):
        with pytest.raises(TypeError) as failure:
            logged._calculate_ph_txs(first, following, 1.0, 2.0, True)
        assert failure.value.args == (f"Invalid {name} type. PhaseMapVariable expected.",)
    assert loaded.calls == []


def test_core_tells_of_the_first_of_two_wrong_variables(logged, loaded):
    with pytest.raises(TypeError, match="Invalid var_first type"):
        logged._calculate_ph_txs("TF", "TN", 1.0, 2.0, True)


def test_subclass_of_the_enumeration_does_not_pass(friendly, logged, loaded):
    class PhaseMapVariable:
        pass

    class Derived(PhaseMapVariable):
        pass

    friendly.PhaseMapVariable = PhaseMapVariable
    with pytest.raises(TypeError, match="Invalid var_first type"):
        logged._calculate_ph_txs(Derived(), PhaseMapVariable(), 1.0, 2.0, True)


def test_core_needs_all_its_arguments(logged, core):
    variable = core.PhaseMapVariable.TF
    with pytest.raises(TypeError, match=r"exactly 6 positional arguments \(5 given\)"):
        logged._calculate_ph_txs(variable, variable, 1.0, 2.0)
    with pytest.raises(TypeError, match="must be real number"):
        logged._calculate_ph_txs("bad too", variable, "1", 2.0, False)


def test_core_does_not_sort(logged, core, going_on):
    going_on(True)
    logged.get_result_object = classmethod(lambda cls: values.pop(0))
    values = [3.0, 1.0, 2.0]
    found = logged._calculate_ph_txs(core.PhaseMapVariable.TF, core.PhaseMapVariable.TN, 1, 2, 0)
    assert found == [3.0, 2.0, 1.0]


def test_core_has_no_frame(logged, loaded, core, going_on):
    logged._calculate_ph_txs(core.PhaseMapVariable.TF, core.PhaseMapVariable.TN, 1, 2, 0)
    assert loaded.of("_start_calc", "_end_calc") == []


def test_core_has_no_limit(logged, loaded, core, going_on):
    going_on(*[True] * 500)
    found = logged._calculate_ph_txs(core.PhaseMapVariable.TF, core.PhaseMapVariable.TN, 1, 2, 0)
    assert len(found) == 502


# Maps over temperature and pressure.


def points(*values):
    return [SimpleNamespace(T=value, P=value, order=i) for i, value in enumerate(values)]


@pytest.mark.parametrize("axis", AXES)
@pytest.mark.parametrize("print_results", [0, "yes"])
def test_map_runs_in_a_frame_through_cls(logged, loaded, core, axis, print_results):
    class Mine(logged):
        @classmethod
        def _calculate_ph_txs(cls, *arguments):
            loaded.calls.append(("_calculate_ph_txs", cls, *arguments))
            return found

    found = []
    assert getattr(Mine, f"calculate_ph_txs_{axis}")(1, 2, print_results) is found
    first, following = (core.PhaseMapVariable[name] for name in AXES[axis])
    call = loaded.calls[1]
    assert loaded.calls == [
        ("_start_calc",),
        ("_calculate_ph_txs", Mine, first, following, 1.0, 2.0, bool(print_results)),
        ("_end_calc",),
    ]
    assert call[2] is first
    assert call[3] is following
    assert [type(value) for value in call[4:]] == [float, float, bool]


@pytest.mark.parametrize("axis", AXES)
def test_map_is_sorted_by_its_variable(logged, axis):
    given = points(3.0, 1.0, 2.0, 1.0)
    logged._calculate_ph_txs = classmethod(lambda cls, *arguments: given)
    found = getattr(logged, f"calculate_ph_txs_{axis}")(1, 2)
    assert found is given
    assert [point.order for point in found] == [1, 3, 2, 0]  # equal ones keep their order


@pytest.mark.parametrize("axis", AXES)
def test_map_is_sorted_by_its_own_variable_alone(logged, axis):
    others = {"T": "P", "P": "T"}
    given = [SimpleNamespace(**{axis: value, others[axis]: -value}) for value in (3, 1, 2)]
    logged._calculate_ph_txs = classmethod(lambda cls, *arguments: given)
    found = getattr(logged, f"calculate_ph_txs_{axis}")(1, 2)
    assert [getattr(point, axis) for point in found] == [1, 2, 3]


@pytest.mark.parametrize("axis", AXES)
def test_sort_is_the_list_s_own_with_a_key(logged, axis):
    seen = []

    class Found:
        def sort(self, *arguments, **keywords):
            seen.append((arguments, list(keywords), keywords["key"](SimpleNamespace(T=7, P=8))))

    logged._calculate_ph_txs = classmethod(lambda cls, *arguments: Found())
    assert type(getattr(logged, f"calculate_ph_txs_{axis}")(1, 2)) is Found
    assert seen == [((), ["key"], {"T": 7, "P": 8}[axis])]


@pytest.mark.parametrize("axis", AXES)
def test_failure_to_sort_leaves_the_frame_open(logged, loaded, axis):
    logged._calculate_ph_txs = classmethod(lambda cls, *arguments: [object(), object()])
    with pytest.raises(AttributeError, match=f"no attribute '{axis}'"):
        getattr(logged, f"calculate_ph_txs_{axis}")(1, 2)
    assert loaded.calls == [("_start_calc",)]


@pytest.mark.parametrize("axis", AXES)
def test_whole_map_over_the_library(logged, loaded, core, going_on, axis):
    going_on(True, True)
    values = iter([100.0, 400.0, 200.0, 300.0])

    def get_result_object(cls):
        value = next(values)
        return SimpleNamespace(T=value, P=value)

    logged.get_result_object = classmethod(get_result_object)
    found = getattr(logged, f"calculate_ph_txs_{axis}")(100, 400, True)
    assert [getattr(point, axis) for point in found] == [100.0, 200.0, 300.0, 400.0]
    first, following = (core.PhaseMapVariable[name] for name in AXES[axis])
    assert loaded.calls == [
        ("_start_calc",),
        ("hxmapl", first, -1, -1, [100.0, 400.0]),
        *[("hxmapl", following, -1, -1, [100.0, 400.0])] * 3,
        ("_end_calc",),
    ]


@pytest.mark.parametrize("axis", AXES)
def test_map_ends_only_when_the_library_says_so(logged, loaded, core, going_on, axis):
    logged.get_result_object = classmethod(lambda cls: SimpleNamespace(T=1.0, P=1.0))
    walk = getattr(logged, f"calculate_ph_txs_{axis}")
    going_on(*[True] * 500)
    assert len(walk(1, 2)) == 502
    going_on(otherwise=True)
    loaded.fail_at = len(loaded.calls) + 2000
    with pytest.raises(core.TessaraError) as failure:
        walk(1, 2)
    assert failure.value is loaded.error


@pytest.mark.parametrize("axis", AXES)
def test_arguments_of_a_map_go_by_keyword(logged, loaded, going_on, axis):
    logged.get_result_object = classmethod(lambda cls: SimpleNamespace(T=1.0, P=1.0))
    keywords = {f"{axis}_min": 1, f"{axis}_max": 2}
    assert len(getattr(logged, f"calculate_ph_txs_{axis}")(**keywords)) == 2
    with pytest.raises(TypeError, match="must be real number"):
        getattr(logged, f"calculate_ph_txs_{axis}")("1", 2)


# Maps over incoming amounts.


def ranges(maps):
    return [
        maps.IA_range("GAS", "O2", 0.0, 1.0),
        maps.IA_range(1, "C", 5, 2),
        maps.IA_range("Fe2O3", None, "low", None),
    ]


PLACES = [(0, 2, [0.0, 1.0]), (1, 1, [5, 2]), (2, 0, ["low", None])]


@pytest.mark.parametrize("count", [1, 2, 3])
@pytest.mark.parametrize("transitions", [0, 1, 4])
@pytest.mark.parametrize("print_results", [False, True])
def test_map_over_amounts_in_order(
    maps, logged, loaded, core, going_on, count, transitions, print_results
):
    going_on(*[True] * transitions)
    found = logged.calculate_ph_txs_IA(ranges(maps)[:count], print_results)
    name = OPERATIONS[print_results]
    variable = core.PhaseMapVariable
    step = (variable.IAN, -1, -1, [0.0, 1.0])
    assert loaded.calls == [
        ("_start_calc",),
        *[(name, variable.IA0, *PLACES[i]) for i in range(count - 1)],
        (name, variable.IAF, *PLACES[count - 1]),
        result(logged),
        ("hxmap", *step),  # never listed
        result(logged),
        *[(name, *step), result(logged)] * transitions,
        ("_end_calc",),
    ]
    assert type(found) is list
    assert found == [1, *range(3, 3 + transitions), 2]


@pytest.mark.parametrize("print_results", [False, True])
def test_map_over_no_ranges_has_no_lower_end(logged, loaded, core, going_on, print_results):
    going_on(True)
    found = logged.calculate_ph_txs_IA([], print_results)
    step = (core.PhaseMapVariable.IAN, -1, -1, [0.0, 1.0])
    assert loaded.calls == [
        ("_start_calc",),
        ("hxmap", *step),
        result(logged),
        (OPERATIONS[print_results], *step),
        result(logged),
        ("_end_calc",),
    ]
    assert found == [2, 1]


def test_each_step_gets_a_new_list(maps, logged, loaded, going_on):
    going_on(True, True)
    logged.calculate_ph_txs_IA(ranges(maps))
    lists = [call[4] for call in loaded.of("hxmap")]
    assert len({id(one) for one in lists}) == len(lists) == 6
    assert all(type(one) is list for one in lists)
    assert [type(value) for value in lists[-1]] == [float, float]


def test_limits_go_as_they_are(maps, logged, loaded, going_on):
    start, end = object(), object()
    logged.calculate_ph_txs_IA([maps.IA_range(0, 0, start, end)])
    assert [*map(id, loaded.of("hxmap")[0][4])] == [id(start), id(end)]


@pytest.mark.parametrize("ph", ["Fe2O3", 2])
@pytest.mark.parametrize("pc", ["Fe2O3", 0])
def test_pure_phase_by_name_and_index(maps, logged, loaded, core, going_on, ph, pc):
    logged.calculate_ph_txs_IA([maps.IA_range(ph, pc, 0.0, 1.0)])
    assert loaded.calls[1] == ("hxmap", core.PhaseMapVariable.IAF, 2, 0, [0.0, 1.0])


@pytest.mark.parametrize("pc", [None, "", "Fe2O3"])
def test_missing_constituent_is_the_one_named_like_the_phase(
    maps, logged, loaded, core, going_on, pc
):
    logged.calculate_ph_txs_IA([maps.IA_range("Fe2O3", pc, 0.0, 1.0)])
    assert loaded.calls[1] == ("hxmap", core.PhaseMapVariable.IAF, 2, 0, [0.0, 1.0])


@pytest.mark.parametrize(
    ("ph", "pc", "key"),
    [
        ("Fe2O3", "-", "-"),
        ("GAS", None, "GAS"),
        (2, "", 2),
        ("SLAG", "O2", "SLAG"),
        ("GAS", 7, 7),
        ("GAS", " ", " "),
    ],
)
def test_unknown_name_is_the_key_error_of_the_lookup(maps, logged, loaded, core, ph, pc, key):
    with pytest.raises(KeyError) as failure:
        logged.calculate_ph_txs_IA([ranges(maps)[0], maps.IA_range(ph, pc, 0.0, 1.0)])
    assert failure.value.args == (key,)
    assert loaded.calls == [
        ("_start_calc",),
        ("hxmap", core.PhaseMapVariable.IA0, 0, 2, [0.0, 1.0]),
    ]


def test_constituent_zero_is_not_missing(maps, logged, loaded, core, going_on):
    for pc in (0, 0.0, False):
        loaded.calls.clear()
        logged.calculate_ph_txs_IA([maps.IA_range("GAS", pc, 0.0, 1.0)])
        assert loaded.calls[1][:4] == ("hxmap", core.PhaseMapVariable.IAF, 0, 0)


class Watched:
    """A range of which each attribute that is read stands in the record."""

    def __init__(self, record, **fields):
        self.__dict__["record"] = record
        self.__dict__["fields"] = fields

    def __getattr__(self, name):
        self.record.append((f".{name}",))
        try:
            return self.fields[name]
        except KeyError:
            raise AttributeError(name) from None


def test_anything_with_the_four_attributes_is_a_range(logged, loaded, core, going_on):
    range_ = Watched(loaded.calls, ph="GAS", pc="O2", start=1, end=2)
    logged.calculate_ph_txs_IA([range_])
    place = loaded.calls.index(("hxmap", core.PhaseMapVariable.IAF, 0, 2, [1, 2]))
    # The constituent is tested twice and then taken; the phase is resolved twice.
    assert loaded.calls[1:place] == [
        *[(".pc",), (".pc",), (".pc",), (".ph",), (".ph",), (".start",), (".end",)]
    ]


@pytest.mark.parametrize("missing", ["ph", "pc", "start", "end"])
def test_range_that_lacks_an_attribute(logged, loaded, going_on, missing):
    fields = {"ph": "GAS", "pc": "O2", "start": 1, "end": 2}
    del fields[missing]
    with pytest.raises(AttributeError, match=missing):
        logged.calculate_ph_txs_IA([SimpleNamespace(**fields)])
    assert loaded.of("hxmap") == []


@pytest.mark.parametrize("given", [(), {}, type("Mine", (list,), {})()])
def test_what_is_no_list_is_refused_on_entry(logged, loaded, given):
    with pytest.raises(TypeError, match="Argument 'IA_ranges' has incorrect type"):
        logged.calculate_ph_txs_IA(given)
    assert loaded.calls == []


def test_none_is_no_crash(logged):
    with pytest.raises(TypeError):
        logged.calculate_ph_txs_IA(None)


@pytest.mark.parametrize("transitions", [100, 101])
def test_up_to_101_transitions_are_found(maps, logged, going_on, transitions):
    going_on(*[True] * transitions)
    assert len(logged.calculate_ph_txs_IA(ranges(maps)[:1])) == transitions + 2


@pytest.mark.parametrize("print_results", [False, True])
def test_102nd_pass_is_refused(maps, logged, loaded, core, going_on, print_results):
    going_on(otherwise=True)
    with pytest.raises(core.TessaraPyError) as failure:
        logged.calculate_ph_txs_IA(ranges(maps)[:1], print_results)
    limit = core.ErrorStrings.ERROR_PHASE_TRANSITION_LIMIT_EXCEEDED
    assert len(failure.value.args) == 1
    assert failure.value.args[0] is limit
    steps = [call for call in loaded.of("hxmap", "hxmapl") if call[2] == -1]
    assert len(steps) == 1 + 101
    assert loaded.count("get_result_object") == 2 + 101
    assert loaded.count("_end_calc") == 0


def test_map_over_amounts_is_not_sorted(maps, logged, going_on):
    going_on(True, True)
    values = iter([3.0, 4.0, 1.0, 2.0])
    logged.get_result_object = classmethod(lambda cls: SimpleNamespace(T=next(values)))
    found = logged.calculate_ph_txs_IA(ranges(maps))
    assert [point.T for point in found] == [3.0, 1.0, 2.0, 4.0]


def test_list_of_ranges_that_grows_makes_the_entry_before_a_further_one(
    maps, logged, loaded, core, going_on
):
    class Grows:
        ph, start, end = "GAS", 0.0, 1.0

        @property
        def pc(self):
            if len(given) == 1:
                given.append(ranges(maps)[1])
            return "O2"

    given = [Grows()]
    logged.calculate_ph_txs_IA(given)
    assert [call[1].name for call in loaded.of("hxmap")] == ["IA0", "IAF", "IAN"]


# Both kinds.


def scenes(maps):
    return {
        "T": lambda: maps.calculate_ph_txs_T(1.0, 2.0),
        "T listed": lambda: maps.calculate_ph_txs_T(1.0, 2.0, True),
        "P": lambda: maps.calculate_ph_txs_P(1.0, 2.0),
        "IA": lambda: maps.calculate_ph_txs_IA(ranges(maps)),
        "IA listed": lambda: maps.calculate_ph_txs_IA(ranges(maps), True),
    }


SCENES = ["T", "T listed", "P", "IA", "IA listed"]


@pytest.mark.parametrize("scene", SCENES)
def test_each_failure_of_the_library_leaves_the_frame_open(maps, loaded, core, going_on, scene):
    class Mine(maps):
        @classmethod
        def get_result_object(cls):
            return SimpleNamespace(T=1.0, P=1.0)

    run = scenes(Mine)[scene]
    going_on(True, True)
    run()
    total = len(loaded.calls)
    assert total == (4 if scene[:2] != "IA" else 6)
    for place in range(1, total + 1):
        going_on(True, True)
        loaded.calls.clear()
        loaded.fail_at = place
        with pytest.raises(core.TessaraError) as failure:
            run()
        assert failure.value is loaded.error
        assert len(loaded.calls) == place
        assert Mine.t_start is not None
        assert (Mine.t_end, Mine.dt) == (None, None)


@pytest.mark.parametrize("scene", SCENES)
def test_failure_of_each_result_object_comes_out(maps, loaded, going_on, scene):
    class Mine(maps):
        made = 0

        @classmethod
        def get_result_object(cls):
            cls.made += 1
            if cls.made == fail_at:
                raise LookupError(fail_at)
            return SimpleNamespace(T=1.0, P=1.0)

    for fail_at in range(1, 5):
        Mine.made = 0
        going_on(True, True)
        with pytest.raises(LookupError):
            scenes(Mine)[scene]()
        assert (Mine.t_end, Mine.dt) == (None, None)
        assert Mine.made == fail_at


@pytest.mark.parametrize("scene", SCENES)
def test_result_objects_are_made_while_the_frame_is_open(maps, going_on, scene):
    seen = []

    class Mine(maps):
        @classmethod
        def get_result_object(cls):
            seen.append((cls.t_start is None, cls.t_end, cls.dt))
            return SimpleNamespace(T=1.0, P=1.0)

    going_on(True)
    scenes(Mine)[scene]()
    assert seen == [(False, None, None)] * 3
    assert Mine.dt == Mine.t_end - Mine.t_start


@pytest.mark.parametrize("scene", SCENES)
def test_listing_is_not_captured(maps, loaded, going_on, capsys, scene):
    class Mine(maps):
        @classmethod
        def get_result_object(cls):
            return SimpleNamespace(T=1.0, P=1.0)

    scenes(Mine)[scene]()
    assert {call[0] for call in loaded.calls} <= {"hxmap", "hxmapl"}
    assert capsys.readouterr().out == ""


def test_truth_of_an_answer_may_fail(maps, logged, loaded, core, going_on):
    class Odd:
        def __bool__(self):
            raise LookupError("neither")

    going_on(Odd())
    with pytest.raises(LookupError, match="neither"):
        logged.calculate_ph_txs_IA(ranges(maps))
    assert loaded.count("get_result_object") == 2


def test_map_with_real_result_objects(friendly, maps, loaded, core, going_on, monkeypatch):
    monkeypatch.setattr(friendly.Units, "get", classmethod(lambda cls: {}), raising=False)
    going_on(True)
    temperatures = iter([300.0, 900.0, 600.0])
    plain = loaded.hxgetr

    def hxgetr(variable, *places):
        return next(temperatures) if variable is core.ResultVariable.T else plain(variable, *places)

    loaded.instead["hxgetr"] = hxgetr
    found = maps.calculate_ph_txs_T(300, 900)
    assert [type(point) for point in found] == [core.EquilibriumCalculationResult] * 3
    assert [point.T for point in found] == [300.0, 600.0, 900.0]
    assert not math.isnan(found[0].phs["GAS"].A)


def test_library_may_start_another_map_from_within(maps, logged, loaded, core):
    depth = []

    def hxmap(variable, *places):
        if not depth:
            depth.append(1)
            logged.calculate_ph_txs_IA([])
        return False

    loaded.instead["hxmap"] = hxmap
    found = logged._calculate_ph_txs(core.PhaseMapVariable.TF, core.PhaseMapVariable.TN, 1, 2, 0)
    assert found == [2, 3]
    assert [call[1].name for call in loaded.of("hxmap")] == ["TF", "IAN", "TN"]


def test_library_may_load_another_system_between_two_ranges(friendly, maps, logged, loaded, dat):
    def hxmap(variable, *places):
        loaded.phs = loaded.phs[:1]
        friendly.ThermochemicalSystem.load(dat)

    loaded.instead["hxmap"] = hxmap
    with pytest.raises(KeyError) as failure:
        logged.calculate_ph_txs_IA(ranges(maps))
    assert failure.value.args == (1,)
    assert loaded.count("hxmap") == 1
