"""Expressions of TDB files, against Python's own evaluation of the same words."""

import math
from decimal import Decimal

import pytest

from tessara.convert.functions import with_own_context
from tessara.convert.report import ConversionError
from tessara.convert.tdb_expressions import (
    Piecewise,
    Pressure,
    Range,
    Text,
    add,
    parse,
    pieces,
    polynomial_terms,
)


def text(words):
    return Text(words, 0, lambda offset: (1, offset + 1))


@with_own_context
def polynomial(words, functions=None, pressure=None):
    return parse(text(words)).over(functions or {}, pressure or Pressure())


def value(words, T, **functions):
    found = polynomial(words, functions)
    return sum(float(c) * T ** float(p) * math.log(T) ** q for (p, q), c in found.items())


@pytest.mark.parametrize(
    "words",
    [
        "1",
        "-2.5E3",
        "+.5*T",
        "5.*T**2-3*T**3",
        "-20.8*T*LN(T)+7*LN(T)",
        "7.9401E-20*T**7",
        "-1.23426E+28*T**(-9)",
        "74092*T**-1",
        "3*T**(0.5)",
        "(2+T)*(3-T)",
        "(1+T)**3",
        "T**2*LN(T)",
        "2*T/4",
        "6/T",
        "8/(2*T**2)",
        "--5",
        "+-5*T",
        "2*-3*T",
        "LN(3)*T",
        "LN(2*T**2)",
        "EXP(2)*T",
        "EXP(LN(2))",
        "(((T)))",
        "T - 1\n  + 2",
        "0*T+1",
        "T**0",
    ],
)
def test_expression_has_the_value_that_its_words_say(words):
    T = 432.1
    python = words.replace("LN", "math.log").replace("EXP", "math.exp").replace("\n", " ")
    assert value(words, T) == pytest.approx(eval(python), rel=1e-13)


def test_logarithm_goes_by_two_names():
    assert polynomial("LOG(T)") == polynomial("LN(T)")


def test_fortran_exponents_are_numbers():
    assert polynomial("1.5D+03") == polynomial("1.5E3") == {(Decimal(0), 0): Decimal(1500)}


def test_names_stand_for_functions():
    f = {(Decimal(1), 0): Decimal(2)}
    assert value("3*GF#-GF+T*GF", 10.0, GF=f) == pytest.approx(60 - 20 + 200)
    assert parse(text("3*GF#-GG*T")).names == {"GF", "GG"}


def test_terms_that_cancel_are_gone():
    assert polynomial("T-T+0*T**3") == {}


def test_pressure_is_one_bar_and_is_noted():
    pressure = Pressure()
    assert polynomial("2*P", pressure=pressure) == {(Decimal(0), 0): Decimal(200000)}
    assert pressure == Pressure(in_logarithm=False, elsewhere=True)


def test_pressure_in_a_logarithm_is_that_of_an_ideal_gas():
    pressure = Pressure()
    assert polynomial("8.314*T*LN(1E-05*P)", pressure=pressure) == {}
    assert pressure == Pressure(in_logarithm=True, elsewhere=False)


@pytest.mark.parametrize(
    ("words", "column", "what"),
    [
        ("", 1, "expected a number, a name or '('"),
        ("1+", 3, "expected a number, a name or '('"),
        ("2**", 4, "expected a number, a name or '('"),
        ("1 2", 3, "expected the end of the expression, found '2'"),
        ("(1+2", 5, "expected ')'"),
        ("(1+2 3)", 6, "expected ')', found '3'"),
        ("1)", 2, "expected the end of the expression, found ')'"),
        ("2&3", 2, "'&' has no meaning in an expression"),
        ("1/(T+1)", 3, "a sum cannot be divided by"),
        ("T**T", 2, "an exponent must be a number"),
        ("(1+T)**(-1)", 6, "this cannot be raised to the power -1"),
        ("(-2)**0.5", 5, "this cannot be raised to the power 0.5"),
        ("LN(T+1)", 1, "a logarithm can only be taken of T"),
        ("LN(-5)", 1, "a logarithm can only be taken of T"),
        ("LN(0)", 1, "a logarithm can only be taken of T"),
        ("EXP(T)", 1, "an exponential function of T"),
        ("1E999", 1, "the number 1E999 is beyond all limits"),
        ("(" * 60 + "1", 41, "brackets are nested deeper than 40"),
    ],
)
def test_what_is_wrong_is_told_with_its_column(words, column, what):
    with pytest.raises(ConversionError) as caught:
        polynomial(words)
    assert caught.value.text.startswith(what)
    assert (caught.value.line, caught.value.column) == (1, column)


def test_sums_of_terms_that_a_data_file_has():
    found = polynomial_terms(polynomial("1+2*T+3*T*LN(T)+4*LN(T)+5*T**(-2)"), text(""))
    assert found == {
        Decimal(0): 1,
        Decimal(1): 2,
        "T ln T": 3,
        "ln T": 4,
        Decimal(-2): 5,
    }


@pytest.mark.parametrize(
    ("words", "term"), [("T**2*LN(T)", "T**2*LN(T)"), ("LN(T)*LN(T)", r"T**0*LN(T)**2")]
)
def test_products_with_logarithms_are_refused(words, term):
    with pytest.raises(ConversionError) as caught:
        polynomial_terms(polynomial(words), text(words))
    assert term in caught.value.text


# Functions over ranges ----------------------------------------------------------------------------


def piecewise(*rows):
    return Piecewise(
        tuple(
            (Decimal(lower), Decimal(upper), {(Decimal(0), 0): Decimal(c)} if c else {})
            for lower, upper, c in rows
        )
    )


def constants(function):
    return [
        (float(lower), float(upper), float(poly.get((Decimal(0), 0), 0)))
        for lower, upper, poly in function.pieces
    ]


def test_sum_has_the_limits_of_both():
    total = add(
        [piecewise((298, 700, 1), (700, 6000, 2)), piecewise((298, 900, 10), (900, 6000, 20))]
    )
    assert constants(total) == [(298, 700, 11), (700, 900, 12), (900, 6000, 22)]


def test_functions_go_on_beyond_their_ranges():
    total = add([piecewise((298, 2900, 1)), piecewise((500, 600, 10), (600, 6000, 20))])
    assert constants(total) == [(298, 600, 11), (600, 6000, 21)]


def test_equal_neighbours_are_one_piece():
    found = pieces(piecewise((298, 700, 5), (700, 900, 5), (900, 6000, 6)), text(""))
    assert [(float(one.lower), float(one.upper)) for one in found] == [(298, 900), (900, 6000)]


def test_range_holds_its_expression():
    one = Range(Decimal(1), Decimal(2), parse(text("T")))
    assert one.expression.over({}, Pressure()) == {(Decimal(1), 0): 1}
