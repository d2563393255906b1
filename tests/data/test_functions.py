"""Gibbs energy functions from the forms of the literature: laws, joins, and the decimal context."""

import math
from decimal import Context, Decimal, localcontext

import pytest

from tessara.convert import functions
from tessara.convert.functions import Function

R = Decimal("8.31451")


def D(*values):
    return tuple(Decimal(str(value)) for value in values)


def slope(function, T, h=Decimal("0.001")):
    return (function.at(T + h).G - function.at(T - h).G) / (2 * h)


# A fit with every power that the forms know, so that each integral is used.
FIT = functions.from_polynomial_fit(
    *D(200, 1000),
    list(zip(D(5000, -18, 2.4, 2e-4, -2e-7, 1.5e-10, -4e-14), D(*range(-2, 5)), strict=True)),
    D(38874, 6.5),
    R,
)
MEASURED = functions.from_heat_capacity(
    *D(298.15, 2000),
    *D(-1477740, 151),
    [D(201.1, 0), D(0.01733, 1), D(-1.9606e6, -2), D(-900.9, -0.5)],
)


@pytest.mark.parametrize("piece", [FIT, MEASURED], ids=["polynomial fit", "heat capacity"])
@pytest.mark.parametrize("T", [300, 777, 1500])
def test_entropy_is_the_slope_of_G_and_heat_capacity_its_curvature(piece, T):
    T, h = Decimal(T), Decimal("0.01")
    state = piece.at(T)
    assert float(-(piece.at(T + h).G - piece.at(T - h).G) / (2 * h)) == pytest.approx(
        float(state.S)
    )
    assert float(T * (piece.at(T + h).S - piece.at(T - h).S) / (2 * h)) == pytest.approx(
        float(state.Cp)
    )


def test_polynomial_fit_gives_the_heat_capacity_it_was_made_from():
    T = 500.0
    Cp = sum(
        a * T**power
        for a, power in zip(
            (5000, -18, 2.4, 2e-4, -2e-7, 1.5e-10, -4e-14), range(-2, 5), strict=True
        )
    )
    assert float(FIT.at(Decimal(500)).Cp) == pytest.approx(8.31451 * Cp, rel=1e-14)


def test_polynomial_fit_has_the_enthalpy_and_entropy_of_its_constants():
    """H/RT and S/R as NASA/TP-2002-211556 writes them out, in plain floats."""
    T, a, b = 500.0, (5000, -18, 2.4, 2e-4, -2e-7, 1.5e-10, -4e-14), (38874, 6.5)
    H = (
        -a[0] / T**2
        + a[1] * math.log(T) / T
        + a[2]
        + a[3] * T / 2
        + a[4] * T**2 / 3
        + a[5] * T**3 / 4
        + a[6] * T**4 / 5
        + b[0] / T
    )
    S = (
        -a[0] / T**2 / 2
        - a[1] / T
        + a[2] * math.log(T)
        + a[3] * T
        + a[4] * T**2 / 2
        + a[5] * T**3 / 3
        + a[6] * T**4 / 4
        + b[1]
    )
    state = FIT.at(Decimal(500))
    assert float(state.S) == pytest.approx(8.31451 * S, rel=1e-13)
    assert float(state.G) == pytest.approx(8.31451 * T * (H - S), rel=1e-13)


def test_heat_capacity_form_has_its_enthalpy_and_entropy_at_298_K():
    state = MEASURED.at(Decimal("298.15"))
    assert float(state.S) == pytest.approx(151, rel=1e-14)
    assert float(state.G) == pytest.approx(-1477740 - 298.15 * 151, rel=1e-14)


def test_first_range_that_reaches_the_temperature_applies():
    low = functions.from_gibbs(*D(200, 1000), D(1))
    high = functions.from_gibbs(*D(1000, 2000), D(2))
    function = Function((low, high))
    values = {T: function.at(Decimal(T)).G for T in (100, 1000, 1001, 5000)}
    assert values == {100: 1, 1000: 1, 1001: 2, 5000: 2}


def test_ranges_hold_standard_terms_in_order_and_extra_terms_sorted():
    piece = functions.from_gibbs(*D(1, 6000), D(1, 2, 3, 4, 5, 6), [D(7, 4), D(8, -9), D(9, 99)])
    (found,) = Function((piece,)).ranges()
    assert found.upper == 6000.0
    assert found.coefficients == (1.0, 2.0, 3.0, 4.0, 5.0, 6.0)
    assert found.extra == ((9.0, 99.0), (8.0, -9.0), (7.0, 4.0))


def test_power_that_is_a_standard_term_joins_it():
    piece = functions.from_gibbs(*D(1, 6000), D(1), [D(5, 2), D(3, 0)])
    (found,) = Function((piece,)).ranges()
    assert found.coefficients == (4.0, 0.0, 0.0, 5.0, 0.0, 0.0)
    assert found.extra == ()


def test_terms_that_cancel_are_left_out():
    one = Function((functions.from_gibbs(*D(1, 6000), D(1), [D(5, 7)]),))
    (found,) = functions.linear_combination([(Decimal(1), one), (Decimal(-1), one)]).ranges()
    assert found.extra == ()
    assert found.coefficients == (0.0,) * 6


def test_sum_takes_each_function_in_its_own_range():
    one = Function(
        (functions.from_gibbs(*D(200, 500), D(1)), functions.from_gibbs(*D(500, 2000), D(2)))
    )
    other = Function(
        (functions.from_gibbs(*D(300, 800), D(10)), functions.from_gibbs(*D(800, 3000), D(20)))
    )
    total = functions.linear_combination([(Decimal(1), one), (Decimal(2), other)])
    assert (total.lower, total.upper) == (300, 2000)
    assert [(piece.upper, piece.at(piece.upper).G) for piece in total.pieces] == [
        (500, 21),
        (800, 22),
        (2000, 42),
    ]


def test_functions_without_a_common_range_are_refused():
    one = Function((functions.from_gibbs(*D(200, 500), D(1)),))
    other = Function((functions.from_gibbs(*D(500, 800), D(1)),))
    with pytest.raises(ValueError, match="share no range"):
        functions.linear_combination([(Decimal(1), one), (Decimal(1), other)])


def test_mixing_of_equal_amounts_is_R_ln_2_per_mole():
    assert float(functions.ideal_mixing(D(1, 1), R)) == pytest.approx(-2 * 8.31451 * math.log(2))


def test_mixing_of_one_kind_is_nothing():
    assert functions.ideal_mixing(D(3), R) == 0


# Continuations ------------------------------------------------------------------------------------


@pytest.mark.parametrize("side", ["below", "above"])
def test_constant_heat_capacity_joins_smoothly(side):
    function = Function((FIT,))
    if side == "above":
        T, other_end = Decimal(1000), Decimal(6000)
        continued = functions.continue_above(function, None, other_end)
        beyond = continued.pieces[-1]
    else:
        T, other_end = Decimal(200), Decimal(50)
        continued = functions.continue_below(function, None, other_end)
        beyond = continued.pieces[0]
    here, there = function.at(T), beyond.at(T)
    for what in ("G", "S", "Cp"):
        assert float(getattr(there, what)) == pytest.approx(float(getattr(here, what)), rel=1e-30)
    assert float(beyond.at(other_end).Cp) == pytest.approx(float(here.Cp), rel=1e-30)


def test_followed_function_keeps_a_difference_that_is_a_straight_line():
    solid = Function((FIT,))
    liquid = Function((functions.from_gibbs(*D(1000, 3000), D(1e5, 50, -30, -1e-3)),))
    continued = functions.continue_above(solid, liquid, Decimal(6000))
    difference = [
        continued.at(T).G - liquid.at(T).G for T in map(Decimal, (1000, 1500, 2000, 3000))
    ]
    assert continued.upper == 3000
    assert float(difference[0] + difference[2]) == pytest.approx(
        float(2 * difference[1]), rel=1e-25
    )
    assert float(continued.at(Decimal(1001)).Cp) == pytest.approx(
        float(liquid.at(Decimal(1001)).Cp), rel=1e-25
    )
    assert float(slope(continued, Decimal(1000))) == pytest.approx(
        -float(solid.at(Decimal(1000)).S), rel=1e-6
    )


def test_following_takes_over_every_range_of_the_other():
    solid = Function((functions.from_gibbs(*D(200, 600), D(0, 0, -20)),))
    other = Function(
        (
            functions.from_gibbs(*D(300, 700), D(0, 0, -30)),
            functions.from_gibbs(*D(700, 900), D(0, 0, -40)),
        )
    )
    above = functions.continue_above(solid, other, Decimal(6000))
    assert [(piece.lower, piece.upper) for piece in above.pieces] == [
        (200, 600),
        (600, 700),
        (700, 900),
    ]
    found = [float(above.at(Decimal(T)).Cp) for T in (500, 650, 800)]
    assert found == pytest.approx([20, 30, 40])
    below = functions.continue_below(other, solid, Decimal(100))
    found = [float(below.at(Decimal(T)).Cp) for T in (250, 350, 800)]
    assert found == pytest.approx([20, 30, 40])


def test_continuation_that_reaches_nowhere_is_refused():
    function = Function((FIT,))
    with pytest.raises(ValueError, match="nothing continues the function above 1000 K"):
        functions.continue_above(function, None, Decimal(900))
    with pytest.raises(ValueError, match="nothing continues the function above 1000 K"):
        functions.continue_above(function, function, Decimal(6000))
    with pytest.raises(ValueError, match="nothing continues the function below 200 K"):
        functions.continue_below(function, None, Decimal(300))
    with pytest.raises(ValueError, match="nothing continues the function below 200 K"):
        functions.continue_below(function, function, Decimal(100))


def test_result_does_not_depend_on_the_decimal_context_of_the_caller():
    expected = functions.continue_above(Function((MEASURED,)), None, Decimal(6000)).ranges()
    with localcontext(Context(prec=4)):
        piece = functions.from_heat_capacity(
            *D(298.15, 2000),
            *D(-1477740, 151),
            [D(201.1, 0), D(0.01733, 1), D(-1.9606e6, -2), D(-900.9, -0.5)],
        )
        found = functions.continue_above(Function((piece,)), None, Decimal(6000)).ranges()
    assert found == expected
