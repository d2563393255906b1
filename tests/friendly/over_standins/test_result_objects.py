"""`get_result_object`: the library's state as one record, in two layers."""

import gc
import sys
import time

import pytest

COMMON = {
    "P": "P",
    "T": "T",
    "A": "A",
    "CpM": "CPM",
    "HM": "HM",
    "SM": "SM",
    "GM": "GM",
    "VM": "VM",
}
EXTENSIVE = {"Cp": "CP", "H": "H", "S": "S", "G": "G", "V": "V"}
KEYWORDS = ["units", "ts_md5", "t_start", "t_end", "dt"]


@pytest.fixture
def units(friendly, library, monkeypatch):
    """What `Units.get` answers. The call stands among the library's."""
    answer = {"P": "unit of pressure"}

    def get(cls):
        library.calls.append(("Units.get", cls))
        return answer

    monkeypatch.setattr(friendly.Units, "get", classmethod(get), raising=False)
    return answer


class Field:
    """A container of a record that tells how it is filled."""

    def __init__(self, calls, name):
        self.calls, self.name, self.content = calls, name, []

    def update(self, *arguments, **keywords):
        self.calls.append((f"{self.name}.update", *arguments, *keywords.items()))
        self.content.append(arguments[0])

    def extend(self, *arguments, **keywords):
        self.calls.append((f"{self.name}.extend", *arguments, *keywords.items()))
        self.content.append(arguments[0])


@pytest.fixture
def recorded(library):
    """A `result_type` whose making and fields stand among the library's calls."""

    class Recorded:
        def __init__(self, *arguments, **keywords):
            library.calls.append(("result_type", arguments, keywords))
            vars(self).update({name: Field(library.calls, name) for name in ("scs", "phs", "IAs")})

        def __setattr__(self, name, value):
            library.calls.append((f".{name}", value))
            vars(self)[name] = value

    return Recorded


def logged(base, library):
    """A class whose own methods, as far as result objects go through `cls`, are recorded."""

    class Logged(base):
        pass

    for name in ("_get_result_scs", "_get_result_phs", "_get_result_IAs", "get_str_inputs"):

        def method(cls, *arguments, name=name):
            library.calls.append((name, cls, *arguments))
            return f"answer of {name}"

        setattr(Logged, name, classmethod(method))
    return Logged


@pytest.fixture
def base(friendly, library):
    return logged(friendly.EquilibriumCalculationBase, library)


@pytest.fixture
def absolute(friendly, library):
    return logged(friendly.EquilibriumCalculation, library)


def construction(friendly, units, **keywords):
    given = {"units": units, "ts_md5": None, "t_start": None, "t_end": None, "dt": None}
    return [("Units.get", friendly.Units), ("result_type", (), {**given, **keywords})]


def reads(core, library, fields):
    expected = []
    for field, member in fields.items():
        variable = core.ResultVariable[member]
        expected += [("hxgetr", variable), (f".{field}", library.hxgetr(variable))]
    return expected


def filled(cls, field, merge, method):
    return [(method, cls), (f"{field}.{merge}", f"answer of {method}")]


def normal(cls, friendly, core, library, units):
    return [
        *construction(friendly, units),
        *reads(core, library, COMMON),
        *filled(cls, "scs", "update", "_get_result_scs"),
        *filled(cls, "phs", "update", "_get_result_phs"),
        *inputs(cls),
    ]


def inputs(cls):
    return [("get_str_inputs", cls), (".str_inputs", "answer of get_str_inputs")]


def absolute_layer(cls, core, library):
    return [
        *reads(core, library, EXTENSIVE),
        *filled(cls, "IAs", "extend", "_get_result_IAs"),
    ]


# The layer that all calculations share.


def test_base_layer_in_order(friendly, base, library, core, units, recorded):
    result = base.get_result_object(recorded)
    assert type(result) is recorded
    assert library.calls == normal(base, friendly, core, library, units)
    assert result.scs.content == ["answer of _get_result_scs"]
    assert list(library.calls[1][2]) == KEYWORDS
    assert library.calls[1][2]["units"] is units


@pytest.mark.parametrize("error", [True, 1, "yes", [0]])
def test_base_layer_of_a_failed_calculation_in_order(
    friendly, base, library, units, recorded, error, monkeypatch
):
    note = {"number": 7}

    def get_error_info_dict(*arguments, **keywords):
        library.calls.append(("get_error_info_dict", arguments, keywords))
        return note

    monkeypatch.setattr(friendly, "get_error_info_dict", get_error_info_dict)
    result = base.get_result_object(recorded, error)
    assert library.calls == [
        *construction(friendly, units),
        ("get_error_info_dict", (), {}),
        (".error", note),
        *inputs(base),
    ]
    assert result.error is note
    assert result.scs.content == result.phs.content == []


@pytest.mark.parametrize("error", [False, None, 0, "", []])
def test_error_is_taken_by_its_truth(friendly, base, library, units, recorded, error):
    result = base.get_result_object(result_type=recorded, error=error)
    assert not hasattr(result, "error")


def test_base_layer_does_not_ask_for_extensive_values_or_volume(
    base, library, core, units, recorded
):
    base.get_result_object(recorded)
    members = [call[1].name for call in library.of("hxgetr")]
    assert members == list(COMMON.values())


# The layer of absolute calculations.


@pytest.mark.parametrize(
    "name",
    ["AbsoluteEquilibriumCalculationBase", "EquilibriumCalculation", "PhaseMapCalculation"],
)
def test_absolute_layer_in_order(friendly, library, core, units, recorded, name):
    cls = logged(getattr(friendly, name), library)
    result = cls.get_result_object(recorded)
    assert type(result) is recorded
    assert library.calls == [
        *normal(cls, friendly, core, library, units),
        *absolute_layer(cls, core, library),
    ]
    assert result.IAs.content == ["answer of _get_result_IAs"]


def test_absolute_layer_reads_after_a_failed_calculation_too(
    friendly, absolute, library, core, units, recorded
):
    result = absolute.get_result_object(recorded, True)
    note = result.error
    assert library.calls == [
        *construction(friendly, units),
        (".error", note),
        *inputs(absolute),
        *absolute_layer(absolute, core, library),
    ]


@pytest.mark.parametrize("place", range(5))
def test_refused_extensive_value_loses_the_record_of_a_failure(
    absolute, library, core, units, recorded, place
):
    library.instead["hxgetr"] = lambda variable: answers.pop(0)()
    answers = [lambda: 1.0] * place + [fail(core.TessaraError("refused"))]
    with pytest.raises(core.TessaraError, match="refused"):
        absolute.get_result_object(recorded, error=True)
    assert library.count("hxgetr") == place + 1
    assert library.count("_get_result_IAs") == 0


def fail(error):
    def act():
        raise error

    return act


def test_absolute_layer_reaches_the_other_by_super_with_keywords(
    friendly, absolute, library, recorded, monkeypatch
):
    seen = []

    def get_result_object(cls, *arguments, **keywords):
        seen.append((cls, arguments, keywords))
        return recorded()

    monkeypatch.setattr(
        friendly.EquilibriumCalculationBase, "get_result_object", classmethod(get_result_object)
    )
    absolute.get_result_object(recorded, "yes")
    absolute.get_result_object(int)
    assert seen == [
        (absolute, (), {"result_type": recorded, "error": True}),
        (absolute, (), {"result_type": int, "error": False}),
    ]
    assert [list(call[2]) for call in seen] == [["result_type", "error"]] * 2
    assert [type(call[2]["error"]) for call in seen] == [bool, bool]


def test_super_keeps_to_the_order_of_the_bases(friendly, library, units, recorded):
    """A class between the two layers in the order of bases is reached."""

    class Between(friendly.EquilibriumCalculationBase):
        @classmethod
        def get_result_object(cls, **keywords):
            library.calls.append(("between", cls))
            return super().get_result_object(**keywords)

    class Mine(friendly.EquilibriumCalculation, Between):
        pass

    mine = logged(Mine, library)
    mine.get_result_object(recorded)
    assert library.calls[0] == ("between", mine)
    assert library.count("_get_result_scs") == 1


def test_subclass_may_go_on_by_super(friendly, absolute, library, units, recorded):
    class Mine(absolute):
        @classmethod
        def get_result_object(cls, *arguments, **keywords):
            result = super().get_result_object(*arguments, **keywords)
            result.mine = cls
            return result

    assert Mine.get_result_object(recorded).mine is Mine
    assert ("_get_result_IAs", Mine) in library.calls


def test_class_s_own_layer_stays_when_its_name_is_taken(
    friendly, absolute, library, units, recorded, monkeypatch
):
    monkeypatch.delattr(friendly, "AbsoluteEquilibriumCalculationBase")
    monkeypatch.delattr(friendly, "EquilibriumCalculationBase")
    assert type(absolute.get_result_object(recorded)) is recorded


def test_class_that_is_no_absolute_calculation_is_refused(friendly, library, units):
    method = vars(friendly.AbsoluteEquilibriumCalculationBase)["get_result_object"].__func__
    with pytest.raises(TypeError, match=r"super\(type, obj\)"):
        method(friendly.StreamCalculation)
    assert library.calls == []


# What makes the record.


def test_record_is_the_core_s_unless_told_otherwise(friendly, library, core, units, monkeypatch):
    """The default was taken at import, and neither globals nor class attributes count since."""
    monkeypatch.setattr(friendly, "EquilibriumCalculationResult", int)
    for name in ("EquilibriumCalculationBase", "EquilibriumCalculation"):
        cls = logged(getattr(friendly, name), library)
        cls._get_result_scs = classmethod(lambda cls: {})
        cls._get_result_phs = classmethod(lambda cls: {})
        cls._get_result_IAs = classmethod(lambda cls: [])
        cls.result_type = int
        assert type(cls.get_result_object()) is core.EquilibriumCalculationResult


def test_record_may_be_of_a_subclass(friendly, core, loaded, units):
    class Mine(core.EquilibriumCalculationResult):
        pass

    assert type(friendly.EquilibriumCalculation.get_result_object(Mine)) is Mine
    assert type(friendly.EquilibriumCalculation.get_result_object(result_type=Mine)) is Mine


@pytest.mark.parametrize("result_type", [int, object, 3, None])
def test_type_that_takes_no_keywords_is_refused(base, library, units, result_type):
    with pytest.raises(TypeError):
        base.get_result_object(result_type)
    assert library.of("hxgetr") == []


def test_dictionaries_of_the_core_s_record_are_filled_not_replaced(
    friendly, core, loaded, units, monkeypatch
):
    result = friendly.EquilibriumCalculation.get_result_object()
    assert list(result.scs) == ["Fe", "O", "C"]
    assert list(result.phs) == ["GAS", "LIQUID", "Fe2O3"]
    assert list(result.phs["GAS"].pcs) == ["CO", "CO2", "O2"]
    assert list(result.phs["GAS"].scs) == ["Fe", "O", "C"]
    assert len(result.IAs) == 6 + 3
    assert result.str_inputs == "LISTING\n"
    for field, member in {**COMMON, **EXTENSIVE}.items():
        assert getattr(result, field) == loaded.hxgetr(core.ResultVariable[member])


def test_failed_calculation_leaves_the_dictionaries_as_they_came(friendly, core, loaded, units):
    result = friendly.EquilibriumCalculationBase.get_result_object(error=True)
    assert (result.scs, result.phs) == ({}, {})
    assert result.error == core.get_error_info_dict()
    assert result.str_inputs == "LISTING\n"
    assert loaded.of("hxgetr") == []


# Units, checksum, times.


def test_checksum_is_what_the_class_attribute_holds(friendly, base, library, units, recorded):
    marker = object()
    friendly.ThermochemicalSystem.current_file_md5 = marker
    base.get_result_object(recorded)
    assert library.calls[1][2]["ts_md5"] is marker


def test_times_are_local_and_the_duration_is_handed_on(friendly, base, library, units, recorded):
    base.t_start, base.t_end, base.dt = 86_400.75, 90_000.5, "as it is"
    base.get_result_object(recorded)
    keywords = library.calls[1][2]
    assert keywords["t_start"] == time.localtime(86_400.75)
    assert keywords["t_end"] == time.localtime(90_000.5)
    assert keywords["dt"] == "as it is"


def test_open_frame_has_a_start_and_no_end(friendly, base, library, units, recorded):
    base._start_calc()
    base.get_result_object(recorded)
    keywords = library.calls[1][2]
    assert type(keywords["t_start"]) is time.struct_time
    assert (keywords["t_end"], keywords["dt"]) == (None, None)


def test_times_before_any_calculation_are_none(friendly, base, library, units, recorded):
    base.get_result_object(recorded)
    assert library.calls[:2] == construction(friendly, units)


@pytest.mark.parametrize("moment", ["t_start", "t_end"])
def test_time_of_a_wrong_type_is_refused_first(base, library, units, recorded, moment):
    setattr(base, moment, "yesterday")
    with pytest.raises(TypeError):
        base.get_result_object(recorded)
    assert library.calls == []


def test_what_is_read_when(friendly, library, recorded, monkeypatch):
    """Each time twice, once for the test and once for the conversion; then units, checksum, dt."""
    seen = library.calls
    moments = {"t_start": 1.0, "t_end": None, "dt": 2.0}

    class Watching(type):
        def __getattribute__(cls, name):
            if name in moments:
                seen.append((name,))
                return moments[name]
            return super().__getattribute__(name)

    class Mine(friendly.EquilibriumCalculationBase, metaclass=Watching):
        @classmethod
        def get_str_inputs(cls):
            return ""

    class Clock:
        @staticmethod
        def localtime(moment):
            seen.append(("localtime", moment))
            return "local"

    class MyUnits:
        @staticmethod
        def get():
            seen.append(("units",))

    class System(type):
        @property
        def current_file_md5(cls):
            seen.append(("md5",))

    monkeypatch.setattr(friendly, "time", Clock)
    monkeypatch.setattr(friendly, "Units", MyUnits)
    monkeypatch.setattr(friendly, "ThermochemicalSystem", System("System", (), {}))
    Mine.get_result_object(recorded, True)
    assert seen[:8] == [
        *[("t_start",), ("t_start",), ("localtime", 1.0), ("t_end",), ("units",), ("md5",)],
        ("dt",),
        (
            "result_type",
            (),
            {"units": None, "ts_md5": None, "t_start": "local", "t_end": None, "dt": 2.0},
        ),
    ]


# State and failures.


def test_two_calls_give_independent_records(friendly, loaded, units):
    first = friendly.EquilibriumCalculation.get_result_object()
    second = friendly.EquilibriumCalculation.get_result_object()
    assert first is not second
    assert first.scs is not second.scs
    assert first.phs["GAS"] is not second.phs["GAS"]
    assert list(first.phs) == list(second.phs)


def test_nothing_is_changed_but_the_listing_for_a_moment(friendly, loaded, units):
    before = [dict(vars(cls)) for cls in (friendly.EquilibriumCalculation, friendly.Units)]
    friendly.EquilibriumCalculation.get_result_object()
    assert [dict(vars(cls)) for cls in (friendly.EquilibriumCalculation, friendly.Units)] == before
    assert loaded.list_number == 6
    assert {call[0] for call in loaded.calls} == {
        *["hxgetr", "hxgsp", "hxgspc", "Units.get"],
        *["hxgio", "hxcio", "hxopen", "hxshow", "hxclos"],
    }


def test_each_failure_of_an_operation_comes_out(friendly, loaded, units):
    make = friendly.EquilibriumCalculation.get_result_object
    make()
    names = [call[0] for call in loaded.calls]
    turned, back = names.index("hxopen"), names.index("hxclos") + 1
    loaded.error = LookupError("no")
    for place, name in enumerate(names):
        loaded.calls.clear()
        loaded.list_number = 6
        loaded.fail_at = place + 1
        if name == "Units.get":
            continue  # recorded here, but no operation
        with pytest.raises(LookupError):
            make()
        assert [call[0] for call in loaded.calls] == names[: place + 1]
        assert loaded.list_number == (21 if turned <= place <= back else 6)


def test_failure_of_the_inputs_leaves_the_listing_turned_away(friendly, loaded, core, units):
    loaded.instead["hxshow"] = fail(core.TessaraError("no inputs"))
    with pytest.raises(core.TessaraError, match="no inputs"):
        friendly.EquilibriumCalculation.get_result_object()
    assert loaded.list_number == 21


def test_record_stays_when_another_system_is_loaded(friendly, loaded, dat, units):
    result = friendly.EquilibriumCalculation.get_result_object()
    loaded.phs = loaded.phs[:1]
    friendly.ThermochemicalSystem.load(dat)
    assert list(result.phs) == ["GAS", "LIQUID", "Fe2O3"]


def test_result_of_a_calculation_is_built_in_full(friendly, loaded, core, units):
    assert friendly.EquilibriumCalculation.calculate_eq(return_result=True) is None
    calls = [call[0] for call in loaded.calls]
    assert calls[0] == "hxce"
    loaded.calls.clear()
    friendly.EquilibriumCalculation.get_result_object()
    assert calls[1:] == [call[0] for call in loaded.calls]


def test_records_lose_no_reference(friendly, loaded, core, units):
    """Nor do records that are lost to a failure, at each of the library's calls."""

    def sweep():
        for place in range(40, 60):
            for error in (False, True):
                loaded.calls.clear()
                loaded.list_number = 6
                loaded.fail_at = place
                try:
                    friendly.EquilibriumCalculation.get_result_object(error=error)
                except core.TessaraError as failure:
                    failure.__traceback__ = failure.__context__ = None
        loaded.calls.clear()
        gc.collect()

    def growth(sweeps):
        before = sys.getallocatedblocks()
        for _ in range(sweeps):
            sweep()
        return sys.getallocatedblocks() - before

    assert min(growth(15) for _ in range(4)) < 10
