"""Each operation's arguments: a good call, wrong counts, types, members and indexes."""

import pytest

from tessara import core
from tessara.core import (
    ConditionVariable,
    ConfigurationOption,
    IoOption,
    PhaseConstituentData,
    PhaseMapVariable,
    Quantity,
    ResultVariable,
    Status,
    StreamVariable,
    TargetVariable,
    TemperatureUnit,
    TessaraError,
    get_error_info_dict,
)

ZERO = [0.0, 0.0]
NONE = (-1, -1)

# Operation, arguments of a good call, kinds of the arguments, number that may be left out. The
# kinds say what each argument is tried with below.
CALLS = {
    "hxini": ((), "", 0),
    "hxcio": ((IoOption.ERROR, 0), "mi", 0),
    "hxgio": ((IoOption.LIST,), "m", 0),
    "hxopen": (("FILE", 21), "pi", 0),
    "hxopna": (("DATA", 10), "pi", 0),
    "hxopnt": (("PACKED", 10), "pi", 0),
    "hxrfil": ((), "", 0),
    "hxrtdf": ((), "", 0),
    "hxclos": ((30,), "i", 0),
    "hxshow": ((), "", 0),
    "hxcprt": ((), "", 0),
    "hxgtpi": ((), "", 0),
    "hxvers": ((), "", 0),
    "hxsize": ((), "", 0),
    "hxused": ((), "", 0),
    "hxgtrh": ((), "", 0),
    "hxcsu": ((Quantity.Temperature, TemperatureUnit.C), "mu", 0),
    "hxgsu": ((Quantity.Temperature,), "m", 0),
    "hxnosc": ((), "", 0),
    "hxgnsc": ((0,), "i", 0),
    "hxstsc": ((0,), "i", 0),
    "hxnop": ((), "", 0),
    "hxgnp": ((0,), "i", 0),
    "hxmodl": ((0,), "i", 0),
    "hxnopc": ((0,), "i", 0),
    "hxgnpc": ((0, 0), "ii", 0),
    "hxstpc": ((0, 0), "ii", 0),
    "hxgsp": ((0,), "i", 0),
    "hxcsp": ((0, Status.ENTERED), "im", 0),
    "hxgspc": ((0, 0), "ii", 0),
    "hxcspc": ((0, 0, Status.ENTERED), "iim", 0),
    "hxsetc": ((ConditionVariable.T, -1, -1, 1000.0), "miin", 0),
    "hxremc": ((0,), "i", 0),
    "hxgetr": ((ResultVariable.IA, 0, 0), "mii", 2),
    "hxce": ((TargetVariable.NoTarget, *NONE, ZERO), "miiv", 0),
    "hxcel": ((TargetVariable.NoTarget, *NONE, ZERO), "miiv", 0),
    "hxcen": ((TargetVariable.NoTarget, *NONE, ZERO), "miiv", 0),
    "hxcenl": ((TargetVariable.NoTarget, *NONE, ZERO), "miiv", 0),
    "hxmap": ((PhaseMapVariable.TF, *NONE, [300.0, 400.0]), "miiv", 0),
    "hxmapl": ((PhaseMapVariable.TF, *NONE, [300.0, 400.0]), "miiv", 0),
    "hxsttp": (("feed", 300.0, 1.0), "snn", 0),
    "hxstrm": (("",), "s", 0),
    "hxstca": (("feed", 0, 0, 1.0), "siin", 0),
    "hxstec": ((ConditionVariable.T, -1, 1000.0), "min", 0),
    "hxstxp": (("feed", StreamVariable.H), "sm", 0),
    "certificate": ((), "", 0),
    "composition_sets": ((0,), "i", 0),
    "internal_fractions": ((0,), "i", 0),
    "configure": ((ConfigurationOption.SAMPLING, 2), "mo", 0),
    "configuration": ((ConfigurationOption.SAMPLING,), "m", 0),
    "constituent_data": ((0, 0, PhaseConstituentData.H, 400.0), "iimt", 1),
    "findings": (("DATA",), "p", 0),
    "finding_rules": ((), "", 0),
    "description": (("DATA",), "p", 0),
    "pack": (("DATA", "PACKED", "remark", (2021, 3, 4, 5, 6, 7)), "ppsd", 2),
}
# What has to be done before a call is a good one.
FIRST = {
    "hxrtdf": [("hxopnt", "PACKED", 11)],
    "hxgtrh": [("hxopnt", "PACKED", 11), ("hxrtdf",)],
    "hxstca": [("hxsttp", "feed", 300.0, 1.0)],
    "hxstxp": [("hxsttp", "feed", 300.0, 1.0)],
}

NOTHING = object()
# What each kind of argument refuses, and what stands in the message.
WRONG = {
    "m": ([None, 1, "T", NOTHING, 1.5, [], core.Status], "a member of "),
    "u": ([None, "C", 1, Quantity.Pressure, Status.ENTERED], "a unit"),
    "i": ([None, "1", 1.0, NOTHING, [0], 1j, ConditionVariable.T], "an int"),
    "n": ([None, "1.0", NOTHING, [1.0], 1j, ConditionVariable.T], "a number"),
    "t": (["1.0", NOTHING, [1.0], 1j, ConditionVariable.T], "a number or None"),
    "s": ([None, 1, b"feed", NOTHING], "a str"),
    "p": ([None, 1, b"x.dat", NOTHING, ["x"]], "a str or an os.PathLike"),
    "d": ([1, "abcdef", b"abcdef", [2021, 1, 1], [1.5] * 6, ["1"] * 6, NOTHING], "six ints"),
    "o": ([None, 1.5, "1", NOTHING], "a bool or an int"),
    "v": ([None, 1.0, "ab", b"ab", {1.0, 2.0}, {1: 2, 3: 4}, NOTHING], "a list of two numbers"),
}


@pytest.fixture
def call(hx, lab, gas_over_solid, tmp_path):
    """`call(name, *arguments)` with the names of files filled in, over a loaded system."""
    lab.load(gas_over_solid)
    lab.set("T", 1000.0)
    lab.put_in(A=1.0, B=0.5)
    hx.hxopna(tmp_path / "system.dat", 10)
    lab.calculate()
    files = {
        "FILE": str(tmp_path / "list.txt"),
        "DATA": tmp_path / "system.dat",
        "PACKED": tmp_path / "system.tdf",
    }
    hx.pack(files["DATA"], files["PACKED"])

    def call(name, *arguments):
        filled = (files.get(a, a) if isinstance(a, str) else a for a in arguments)
        return getattr(hx, name)(*filled)

    return call


WRONG_ARGUMENTS = [
    pytest.param(name, place, value, words, id=f"{name}-{place}-{type(value).__name__}")
    for name, (_, kinds, _) in CALLS.items()
    for place, kind in enumerate(kinds)
    for values, words in [WRONG[kind]]
    for value in values
]


@pytest.mark.parametrize("name", sorted(CALLS))
def test_good_call_is_taken(call, name):
    for first in FIRST.get(name, []):
        call(*first)
    call(name, *CALLS[name][0])


@pytest.mark.parametrize(("name", "place", "value", "words"), WRONG_ARGUMENTS)
def test_wrong_type_is_refused_in_words(call, name, place, value, words):
    arguments = list(CALLS[name][0])
    arguments[place] = value
    with pytest.raises(TessaraError) as caught:
        call(name, *arguments)
    text = str(caught.value)
    assert text.startswith(f"{name}: argument {place + 1} (")
    assert words in text
    assert ", not " in text
    note = get_error_info_dict()
    assert (note["text"], note["operation"]) == (text, name)
    assert note["number"] in (1, 2, 4)


@pytest.mark.parametrize("name", sorted(CALLS))
def test_wrong_number_of_arguments_is_a_type_error(call, name):
    good, _, optional = CALLS[name]
    with pytest.raises(TypeError, match=rf"{name}\(\) takes .* \({len(good) + 1} given\)"):
        call(name, *good, None)
    if len(good) > optional:
        given = len(good) - optional - 1
        with pytest.raises(TypeError, match=rf"{name}\(\) takes .* \({given} given\)"):
            call(name, *good[:given])


@pytest.mark.parametrize("name", sorted(CALLS))
def test_unknown_keyword_is_a_type_error(hx, name):
    with pytest.raises(TypeError, match=r"nonsense|takes"):
        getattr(hx, name)(*CALLS[name][0][:-1], nonsense=1)


def test_words_of_the_counts(hx):
    with pytest.raises(TypeError) as caught:
        hx.hxgspc(0, 0, Status.ENTERED)
    assert str(caught.value) == "hxgspc() takes exactly 2 arguments (3 given)"
    with pytest.raises(TypeError) as caught:
        hx.hxgetr()
    assert str(caught.value) == "hxgetr() takes from 1 to 3 arguments (0 given)"
    with pytest.raises(TypeError) as caught:
        hx.hxini(1)
    assert str(caught.value) == "hxini() takes no arguments (1 given)"
    with pytest.raises(TypeError) as caught:
        hx.hxgnp()
    assert str(caught.value) == "hxgnp() takes exactly 1 argument (0 given)"


def test_a_type_error_leaves_the_note_alone(hx):
    with pytest.raises(TessaraError):
        hx.hxgnp(0)
    before = get_error_info_dict()
    with pytest.raises(TypeError):
        hx.hxgnp()
    assert get_error_info_dict() == before


def test_arguments_can_be_given_by_name(hx, lab, gas_over_solid):
    lab.load(gas_over_solid)
    number = hx.hxsetc(variable=ConditionVariable.IA, i_ph=0, value=2, i_c=1)
    assert number == 1
    assert hx.hxgetr(ResultVariable.IA, i_c=1, i_ph=0) == 2.0
    with pytest.raises(TypeError, match="multiple values for argument 'variable'"):
        hx.hxgetr(ResultVariable.IA, variable=ResultVariable.A)


def test_trailing_indexes_of_hxgetr_default_to_none(hx, call):
    assert hx.hxgetr(ResultVariable.A) == hx.hxgetr(ResultVariable.A, -1, -1)
    assert hx.hxgetr(ResultVariable.A, 0) == hx.hxgetr(ResultVariable.A, 0, -1)


MEMBERS = [(name, i) for name, call in CALLS.items() for i, k in enumerate(call[1]) if k == "m"]


@pytest.mark.parametrize(("name", "place"), MEMBERS)
def test_member_of_another_enumeration_is_refused_by_name(call, name, place):
    arguments = list(CALLS[name][0])
    other = Quantity.Volume if not isinstance(arguments[place], Quantity) else Status.DORMANT
    arguments[place] = other
    with pytest.raises(TessaraError, match=rf"not {type(other).__name__}\.{other.name}"):
        call(name, *arguments)
    assert get_error_info_dict()["number"] == 2


def test_subclass_members_and_equal_values_are_no_members(hx):
    class Twin:
        name = "LIST"
        value = IoOption.LIST.value

        def __eq__(self, other):
            return True

        def __hash__(self):
            return hash(IoOption.LIST)

    with pytest.raises(TessaraError, match="a value of type Twin"):
        hx.hxgio(Twin())


def test_both_names_of_a_status_are_one(hx, lab, gas_over_solid):
    lab.load(gas_over_solid)
    hx.hxcsp(0, Status.ELIMINATE)
    assert hx.hxgsp(0) is Status.ELIMINATED


PHASE = [
    ("hxgnp", 0), ("hxmodl", 0), ("hxnopc", 0), ("hxgnpc", 0), ("hxstpc", 0), ("hxgsp", 0),
    ("hxcsp", 0), ("hxgspc", 0), ("hxcspc", 0), ("composition_sets", 0),
    ("internal_fractions", 0), ("constituent_data", 0),
    ("hxstca", 1),
]  # fmt: skip
CONSTITUENT = [
    ("hxgnpc", 1), ("hxstpc", 1), ("hxgspc", 1), ("hxcspc", 1), ("constituent_data", 1),
    ("hxstca", 2),
]  # fmt: skip


@pytest.mark.parametrize("index", [-1, -2, 3, 99999, -(2**31)])
@pytest.mark.parametrize(("name", "place"), PHASE)
def test_phase_index_out_of_range_is_refused(call, name, place, index):
    arguments = list(CALLS[name][0])
    arguments[place] = index
    with pytest.raises(TessaraError, match=rf"no phase with the index {index}; the system has 3"):
        call(name, *arguments)


@pytest.mark.parametrize("index", [-1, 2, 99999])
@pytest.mark.parametrize(("name", "place"), CONSTITUENT)
def test_constituent_index_out_of_range_is_refused(call, name, place, index):
    arguments = list(CALLS[name][0])
    arguments[place] = index
    with pytest.raises(TessaraError, match=f"no constituent with the index {index} in phase GAS"):
        call(name, *arguments)


@pytest.mark.parametrize("index", [-1, 2, 99999])
@pytest.mark.parametrize("name", ["hxgnsc", "hxstsc"])
def test_component_index_out_of_range_is_refused(call, name, index):
    with pytest.raises(TessaraError, match=f"no system component with the index {index}"):
        call(name, index)


@pytest.mark.parametrize("index", [2**31, -(2**31) - 1, 10**40])
def test_index_beyond_all_limits_is_refused(call, index):
    with pytest.raises(TessaraError, match=r"argument 1 \(i_ph\) is a whole number beyond"):
        call("hxgnp", index)


def test_number_beyond_all_limits_is_refused(call):
    with pytest.raises(TessaraError, match=r"argument 4 \(value\) is a whole number beyond"):
        call("hxsetc", ConditionVariable.T, -1, -1, 10**400)


def test_indexes_and_numbers_may_be_of_other_types(hx, lab, gas_over_solid):
    class Index:
        def __index__(self):
            return 1

    class Real:
        def __float__(self):
            return 1000.0

    lab.load(gas_over_solid)
    assert hx.hxgnp(Index()) == hx.hxgnp(True) == "A(s)"
    assert hx.hxsetc(ConditionVariable.T, -1, -1, Real()) == 1
    assert hx.hxsetc(ConditionVariable.T, -1, -1, Index()) == 1
    lab.put_in(A=1)
    hx.hxce(TargetVariable.NoTarget, -1, -1, (0, Real()))
    assert hx.hxgetr(ResultVariable.T) == 1.0


def test_numpy_numbers_are_taken(hx, lab, gas_over_solid):
    numpy = pytest.importorskip("numpy")
    lab.load(gas_over_solid)
    assert hx.hxgnp(numpy.int64(1)) == "A(s)"
    hx.hxsetc(ConditionVariable.T, -1, -1, numpy.float32(1000.0))
    lab.put_in(A=numpy.float64(1.0))
    hx.hxce(TargetVariable.NoTarget, numpy.int32(-1), -1, numpy.zeros(2))
    assert hx.hxgetr(ResultVariable.T) == 1000.0


@pytest.mark.parametrize("values", [[], [1.0], [1.0, 2.0, 3.0]])
def test_values_are_two(call, values):
    with pytest.raises(TessaraError, match=rf"one of {len(values)} items"):
        call("hxce", TargetVariable.NoTarget, -1, -1, values)


@pytest.mark.parametrize("values", [["a", 0.0], [0.0, None]])
def test_values_are_numbers(call, values):
    with pytest.raises(TessaraError, match=r"must be a list of two numbers, not "):
        call("hxce", TargetVariable.NoTarget, -1, -1, values)


def test_exceptions_of_the_arguments_own_methods_pass(call):
    class Cross:
        def __float__(self):
            raise ZeroDivisionError

        def __index__(self):
            raise KeyError("index")

        def __fspath__(self):
            raise LookupError("path")

    with pytest.raises(ZeroDivisionError):
        call("hxsetc", ConditionVariable.T, -1, -1, Cross())
    with pytest.raises(KeyError):
        call("hxgnp", Cross())
    with pytest.raises(LookupError):
        call("hxopna", Cross(), 10)


def test_a_failed_conversion_is_the_cause(call):
    class Odd:
        def __float__(self):
            return "x"

    with pytest.raises(TessaraError) as caught:
        call("hxsetc", ConditionVariable.T, -1, -1, Odd())
    assert isinstance(caught.value.__cause__, TypeError)


def test_searches_need_a_condition_to_meet(call):
    for target in (TargetVariable.P, TargetVariable.V, TargetVariable.T):
        with pytest.raises(TessaraError, match=rf"variable {target.name} needs exactly one"):
            call("hxce", target, -1, -1, [1000.0, 0.0])
    call("hxce", TargetVariable.IA0, 0, 0, [0.0, 1.0])
    with pytest.raises(TessaraError, match="variable IA needs exactly one"):
        call("hxce", TargetVariable.IA, 0, 0, [0.0, 1.0])


@pytest.mark.parametrize("name", ["hxce", "hxmap"])
def test_variables_are_checked_for_their_places(call, name):
    enumeration = TargetVariable if name == "hxce" else PhaseMapVariable
    with pytest.raises(TessaraError, match="the variable T"):
        call(name, enumeration["T" if name == "hxce" else "TF"], 0, 0, ZERO)
    with pytest.raises(TessaraError, match="give the constituent whose incoming amount moves"):
        call(name, enumeration.IA0, -1, -1, ZERO)
    with pytest.raises(TessaraError, match="no phase with the index 9"):
        call(name, enumeration.IA0, 9, 0, ZERO)
    with pytest.raises(TessaraError, match="no system component with the index 9"):
        call(name, enumeration.IA0, -1, 9, ZERO)


def test_hxgetr_takes_members_of_target_variable(hx, call):
    for name in ("P", "V", "T"):
        assert hx.hxgetr(TargetVariable[name]) == hx.hxgetr(ResultVariable[name])
    assert hx.hxgetr(TargetVariable.V, 0, -1) == hx.hxgetr(ResultVariable.V, 0, -1)
    for name in ("NoTarget", "IA0", "IA"):
        with pytest.raises(TessaraError, match=f"not TargetVariable.{name}"):
            hx.hxgetr(TargetVariable[name])
