"""The argument rules: counting, names, declared types, and the order in which they apply.

The numbers in the texts count `cls`.
"""

import ctypes
import warnings

import pytest


class Intlike:
    def __init__(self, value):
        self.value = value

    def __int__(self):
        return self.value


class Indexlike:
    def __index__(self):
        return 3


class Floatlike:
    def __float__(self):
        return 2.5


class Raising:
    def __float__(self):
        raise LookupError("float")

    def __int__(self):
        raise LookupError("int")


class Subint(int):
    pass


class Undecided:
    def __bool__(self):
        raise LookupError("bool")


# Counting.


@pytest.mark.parametrize(
    ("owner", "name", "arguments", "text"),
    [
        ("ThermochemicalSystem", "load", (), "exactly 2 positional arguments (1 given)"),
        ("ThermochemicalSystem", "load", ("a", "b"), "exactly 2 positional arguments (3 given)"),
        ("ThermochemicalSystem", "_update", (1,), "exactly 1 positional argument (2 given)"),
        ("ThermochemicalSystem", "get_index_pc", (0,), "exactly 3 positional arguments (2 given)"),
        ("EquilibriumCalculation", "get_eq_A", (1,), "exactly 1 positional argument (2 given)"),
        ("EquilibriumCalculation", "set_IA_pc", (), "exactly 4 positional arguments (1 given)"),
        (
            "EquilibriumCalculation",
            "_set_eq_condition_pc",
            (1, 2, 3, 4, 5),
            "exactly 5 positional arguments (6 given)",
        ),
        (
            "EquilibriumCalculation",
            "calculate_eq_T",
            (),
            "at least 2 positional arguments (1 given)",
        ),
        (
            "EquilibriumCalculation",
            "calculate_eq_T",
            (1, 2, 3),
            "at most 3 positional arguments (4 given)",
        ),
        (
            "EquilibriumCalculation",
            "calculate_eq",
            (1, 2, 3, 4),
            "at most 4 positional arguments (5 given)",
        ),
    ],
)
def test_wrong_number_of_positional_arguments(friendly, owner, name, arguments, text):
    with pytest.raises(TypeError) as failure:
        getattr(getattr(friendly, owner), name)(*arguments)
    assert str(failure.value) == f"{name}() takes {text}"


@pytest.mark.parametrize(
    ("arguments", "text"),
    [
        ((), "at least 1 positional argument (0 given)"),
        (([], None, 1), "at most 2 positional arguments (3 given)"),
    ],
)
@pytest.mark.parametrize("name", ["_query_stoich_list", "_build_stoich_dict"])
def test_module_functions_count_without_cls(friendly, name, arguments, text):
    with pytest.raises(TypeError) as failure:
        getattr(friendly, name)(*arguments)
    assert str(failure.value) == f"{name}() takes {text}"


def test_cls_can_be_missing_too(friendly):
    function = vars(friendly.ThermochemicalSystem)["load"].__func__
    with pytest.raises(TypeError) as failure:
        function()
    assert str(failure.value) == "load() takes exactly 2 positional arguments (0 given)"


# Names.


def test_every_parameter_goes_by_keyword(friendly, loaded, core):
    friendly.EquilibriumCalculation.set_IA_pc(value=1, pc="O2", ph="GAS")
    assert loaded.calls == [("hxsetc", core.ConditionVariable.IA, 0, 2, 1.0)]


def test_position_and_keyword_can_be_mixed(friendly, loaded, core):
    friendly.EquilibriumCalculation.set_IA_pc("GAS", value=1, pc="O2")
    assert loaded.calls == [("hxsetc", core.ConditionVariable.IA, 0, 2, 1.0)]


def test_cls_goes_by_keyword_where_it_is_not_bound(friendly, library):
    function = vars(friendly.EquilibriumCalculationBase)["remove_eq_condition"].__func__
    function(cls=None, number=1)
    assert library.calls == [("hxremc", 1)]


def test_keywords_are_compared_by_their_text(friendly, library):
    class Text(str):
        __slots__ = ()

    keyword = Text("val") + "ue"
    friendly.EquilibriumCalculation.set_eq_T(**{Text(keyword): 1})
    assert library.calls[-1][-1] == 1.0


@pytest.mark.parametrize(
    ("arguments", "keywords", "given"),
    [
        ((), {"value": 1.0}, 1),
        ((), {"sc": 0}, 2),
        ((), {"other": 0}, 1),
        ((0,), {"other": 0}, 2),
        ((), {"sc": 0, "other": 0}, 2),
    ],
)
def test_a_required_argument_that_is_missing_beside_keywords_is_counted_as_the_end(
    friendly, arguments, keywords, given
):
    with pytest.raises(TypeError) as failure:
        friendly.EquilibriumCalculation.set_IA_sc(*arguments, **keywords)
    assert str(failure.value) == (
        f"set_IA_sc() takes exactly 3 positional arguments ({given} given)"
    )


def test_missing_argument_of_a_method_with_defaults_says_at_least(friendly):
    with pytest.raises(TypeError) as failure:
        friendly.EquilibriumCalculation.calculate_eq_T(print_results=True)
    text = "calculate_eq_T() takes at least 2 positional arguments (1 given)"
    assert str(failure.value) == text


def test_too_many_positional_arguments_are_counted_before_keywords_are_read(friendly):
    with pytest.raises(TypeError) as failure:
        friendly.EquilibriumCalculation.set_eq_T(1, 2, value=3, other=4)
    assert str(failure.value) == "set_eq_T() takes exactly 2 positional arguments (3 given)"


@pytest.mark.parametrize(
    ("call", "name", "parameter"),
    [
        (lambda EC: EC.set_eq_T(1, value=2), "set_eq_T", "value"),
        (lambda EC: EC.set_IA_sc(0, 1.0, sc=1), "set_IA_sc", "sc"),
        (lambda EC: EC.calculate_eq(True, print_results=1), "calculate_eq", "print_results"),
        (lambda EC: EC.get_eq_A(cls=EC), "get_eq_A", "cls"),
        (lambda EC: EC.set_eq_T(1, value=2, other=3), "set_eq_T", "value"),
    ],
)
def test_parameter_passed_twice(friendly, call, name, parameter):
    with pytest.raises(TypeError) as failure:
        call(friendly.EquilibriumCalculation)
    assert str(failure.value) == (
        f"{name}() got multiple values for keyword argument '{parameter}'"
    )


@pytest.mark.parametrize(
    ("call", "name", "keyword"),
    [
        (lambda f: f.EquilibriumCalculation.set_eq_T(1, other=2), "set_eq_T", "other"),
        (lambda f: f.EquilibriumCalculation.set_eq_T(value=1, Value=2), "set_eq_T", "Value"),
        (lambda f: f.EquilibriumCalculation.get_eq_A(x=2), "get_eq_A", "x"),
        (lambda f: f.ThermochemicalSystem._update(ö=1), "_update", "ö"),
        (lambda f: f.EquilibriumCalculation.set_eq_T(1, other=2, value=1), "set_eq_T", "other"),
        (lambda f: f._query_stoich_list([], other=1), "_query_stoich_list", "other"),
    ],
)
def test_unknown_keyword(friendly, call, name, keyword):
    with pytest.raises(TypeError) as failure:
        call(friendly)
    assert str(failure.value) == f"{name}() got an unexpected keyword argument '{keyword}'"


def test_keyword_that_is_no_string_to_a_module_function(friendly):
    with pytest.raises(TypeError) as failure:
        friendly._query_stoich_list([], **{1: 2})
    assert str(failure.value) == "_query_stoich_list() keywords must be strings"


def test_keyword_that_is_no_string_to_a_method(friendly, library):
    # The interpreter's bound method refuses it, in the interpreter's own words.
    with pytest.raises(TypeError, match="keywords must be strings"):
        friendly.EquilibriumCalculation.set_eq_T(1.0, **{1: 2})
    assert library.calls == []


def test_keyword_that_is_no_string_from_a_caller_in_c(friendly, library):
    function = vars(friendly.EquilibriumCalculationBase)["set_eq_T"].__func__
    vector = (ctypes.py_object * 3)(friendly.EquilibriumCalculation, 1.0, 2)
    call = ctypes.pythonapi.PyObject_Vectorcall
    call.restype = ctypes.py_object
    call.argtypes = [ctypes.py_object, ctypes.c_void_p, ctypes.c_size_t, ctypes.py_object]
    with pytest.raises(TypeError) as failure:
        call(function, ctypes.addressof(vector), 2, (7,))
    assert str(failure.value) == "set_eq_T() keywords must be strings"
    assert library.calls == []


def test_every_method_with_extra_keywords_takes_them_and_no_other_does(friendly, library):
    friendly.EquilibriumCalculation.calculate_eq(anything=1, cls_=2)
    takers = []
    for cls in (friendly.ThermochemicalSystem, friendly.EquilibriumCalculation):
        for name in dir(cls):
            bound = getattr(cls, name)
            if callable(bound) and "**kwargs" in (bound.__doc__ or "").split("\n")[0]:
                takers.append(name)
    assert takers == ["calculate_eq"]


def test_calls_with_a_tuple_and_a_dict_give_the_same_as_direct_calls(friendly, loaded):
    arguments, keywords = ([5.0, 6.0, 7.0],), {"scs": ["C", 0]}
    assert friendly._query_stoich_list(*arguments, **keywords) == [7.0, 5.0]
    assert friendly._query_stoich_list.__call__([5.0, 6.0, 7.0], ["C"]) == [7.0]


# Declared types: double.


@pytest.mark.parametrize(
    ("given", "expected"),
    [
        (1.5, 1.5),
        (3, 3.0),
        (True, 1.0),
        (Floatlike(), 2.5),
        (Indexlike(), 3.0),
        (float("inf"), float("inf")),
    ],
)
def test_double_takes_what_the_float_conversion_takes(friendly, library, given, expected):
    friendly.EquilibriumCalculation.set_eq_T(given)
    value = library.calls[-1][-1]
    assert type(value) is float
    assert value == expected


def test_double_is_handed_on_as_a_new_float(friendly, library):
    class Subfloat(float):
        pass

    for given in (1.25, Subfloat(1.25)):
        friendly.EquilibriumCalculation.set_eq_T(given)
        assert library.calls[-1][-1] is not given
        assert type(library.calls[-1][-1]) is float


@pytest.mark.parametrize(
    ("given", "error", "text"),
    [
        ("1.0", TypeError, "must be real number, not str"),
        (None, TypeError, "must be real number, not NoneType"),
        (1j, TypeError, "must be real number, not complex"),
        ([], TypeError, "must be real number, not list"),
        (10**400, OverflowError, "int too large to convert to float"),
        (Raising(), LookupError, "float"),
    ],
)
def test_double_fails_as_the_float_conversion_does(friendly, library, given, error, text):
    with pytest.raises(error) as failure:
        friendly.EquilibriumCalculation.set_eq_T(given)
    assert str(failure.value) == text
    assert library.calls == []


# Declared types: int.


@pytest.mark.parametrize(
    ("given", "expected"),
    [
        (2, 2),
        (True, 1),
        (Subint(7), 7),
        (2.7, 2),
        (-2.7, -2),
        (Intlike(5), 5),
        (2**31 - 1, 2**31 - 1),
        (-(2**31), -(2**31)),
    ],
)
def test_int_takes_ints_and_what_makes_itself_one(friendly, library, given, expected):
    friendly.EquilibriumCalculation.remove_eq_condition(given)
    assert library.calls == [("hxremc", expected)]
    assert type(library.calls[0][1]) is int


@pytest.mark.parametrize("given", ["2", b"2", None, [], 2j, Indexlike(), object()])
def test_int_refuses_what_has_no_int_method(friendly, library, given):
    with pytest.raises(TypeError) as failure:
        friendly.EquilibriumCalculation.remove_eq_condition(given)
    assert str(failure.value) == "an integer is required"
    assert library.calls == []


@pytest.mark.parametrize("given", [2**31, -(2**31) - 1, 2**70, 1e20, Intlike(2**31)])
def test_int_has_to_fit_32_bits(friendly, library, given):
    with pytest.raises(OverflowError) as failure:
        friendly.EquilibriumCalculation.remove_eq_condition(given)
    assert str(failure.value) == "Python int too large to convert to C int"
    assert library.calls == []


@pytest.mark.parametrize(
    ("given", "error", "text"),
    [
        (float("nan"), ValueError, "cannot convert float NaN to integer"),
        (float("inf"), OverflowError, "cannot convert float infinity to integer"),
        (Intlike("5"), TypeError, "__int__ returned non-int (type str)"),
        (Intlike(None), TypeError, "__int__ returned non-int (type NoneType)"),
        (Raising(), LookupError, "int"),
    ],
)
def test_int_passes_on_what_the_conversion_raises(friendly, library, given, error, text):
    with pytest.raises(error) as failure:
        friendly.EquilibriumCalculation.remove_eq_condition(given)
    assert str(failure.value) == text
    assert library.calls == []


def test_int_method_that_gives_a_subclass_is_deprecated(friendly, library):
    with pytest.warns(DeprecationWarning, match=r"__int__ returned non-int \(type Subint\)"):
        friendly.EquilibriumCalculation.remove_eq_condition(Intlike(Subint(4)))
    assert library.calls == [("hxremc", 4)]
    with warnings.catch_warnings():
        warnings.simplefilter("error")
        with pytest.raises(DeprecationWarning):
            friendly.EquilibriumCalculation.remove_eq_condition(Intlike(Subint(4)))


# Declared types: bool.


@pytest.mark.parametrize(
    ("given", "operation"),
    [
        *[(given, "hxmap") for given in (False, None, 0, 0.0, "", [])],
        *[(given, "hxmapl") for given in (True, 1, -0.5, "False", [0], object(), float("nan"))],
    ],
)
def test_bool_is_the_truth_value_of_any_object(friendly, loaded, given, operation):
    friendly.PhaseMapCalculation.calculate_ph_txs_T(1, 2, given)
    assert {call[0] for call in loaded.of("hxmap", "hxmapl")} == {operation}


def test_bool_fails_as_the_truth_value_does(friendly, library):
    with pytest.raises(LookupError, match="bool"):
        friendly.PhaseMapCalculation.calculate_ph_txs_T(1, 2, Undecided())
    assert library.calls == []


# Declared types: str and list.


@pytest.mark.parametrize(
    ("given", "kind"),
    [(3, "int"), (b"ore", "bytes"), (type("Own", (str,), {})("ore"), "Own"), (["ore"], "list")],
)
@pytest.mark.parametrize("name", ["get_st_Cp", "get_st_H", "get_st_S", "get_st_G", "get_st_V"])
def test_str_is_str_alone(friendly, library, name, given, kind):
    with pytest.raises(TypeError) as failure:
        getattr(friendly.StreamCalculation, name)(given)
    text = f"Argument 'name' has incorrect type (expected str, got {kind})"
    assert str(failure.value) == text
    assert library.calls == []


@pytest.mark.parametrize(
    ("given", "kind"),
    [((), "tuple"), ("GAS", "str"), ({}, "dict"), (type("Own", (list,), {})(), "Own")],
)
@pytest.mark.parametrize(
    ("owner", "name"),
    [
        ("EquilibriumCalculation", "calculate_eq_IA"),
        ("PhaseMapCalculation", "calculate_ph_txs_IA"),
        ("StreamCalculation", "calculate_eq_IA"),
    ],
)
def test_list_is_list_alone(friendly, library, owner, name, given, kind):
    with pytest.raises(TypeError) as failure:
        getattr(getattr(friendly, owner), name)(given)
    text = f"Argument 'IA_ranges' has incorrect type (expected list, got {kind})"
    assert str(failure.value) == text
    assert library.calls == []


def test_none_passes_for_a_str_and_for_a_list(friendly, library, core):
    friendly.StreamCalculation.get_st_H(None)
    assert library.calls == [("hxstxp", None, core.StreamVariable.H)]
    with pytest.raises(TypeError) as failure:
        friendly.EquilibriumCalculation.calculate_eq_IA(None)
    assert "incorrect type" not in str(failure.value)


# Order.


def test_numbers_and_truth_values_are_converted_before_types_are_tested(friendly, library):
    with pytest.raises(TypeError, match="must be real number, not str"):
        friendly.StreamCalculation.create_st(3, "x", 1.0)
    with pytest.raises(LookupError, match="bool"):
        friendly.EquilibriumCalculation.calculate_eq_IA((), Undecided())
    assert library.calls == []


def test_types_are_tested_in_the_order_of_the_signature(friendly):
    with pytest.raises(TypeError, match="Argument 'cfs' has incorrect type"):
        friendly.EquilibriumCalculation.set_IA_cfs(values=(), cfs=())


def test_count_and_names_come_before_conversions(friendly):
    with pytest.raises(TypeError, match="unexpected keyword"):
        friendly.EquilibriumCalculation.set_eq_T("no number", other=1)


def test_conversions_run_in_the_order_of_the_signature(friendly, core):
    seen = []

    class Guess:
        def __float__(self):
            seen.append("guess")
            return 1.0

    class Print:
        def __int__(self):
            seen.append("print_results")
            return 0

    friendly.EquilibriumCalculation._calculate_eq(
        print_results=Print(), guess=Guess(), variable=core.TargetVariable.T
    )
    assert seen == ["guess", "print_results"]


def test_conversions_come_before_the_body(friendly, library):
    with pytest.raises(TypeError, match="must be real number"):
        friendly.EquilibriumCalculation._set_eq_condition_ph("no variable", "no phase", "no number")
    assert library.calls == []


def test_undeclared_parameters_take_any_object(friendly, loaded, core):
    value = object()
    friendly.EquilibriumCalculation._set_eq_condition_pc(core.ConditionVariable.A, 0, 0, value)
    assert loaded.calls[-1][-1] is value
