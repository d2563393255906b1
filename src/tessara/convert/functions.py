"""Gibbs energy functions of temperature, built from the forms in which the literature gives them.

A function is a row of pieces, each a sum of terms of T. The arithmetic is decimal with 40 digits:
what enters are the digits that a source prints, and what leaves is rounded to doubles only once.
So the result is the same on every machine, logarithms included.

Units: J, mol, K.
"""

from __future__ import annotations

from collections.abc import Callable, Iterable, Mapping, Sequence
from dataclasses import dataclass
from decimal import (
    ROUND_HALF_EVEN,
    Context,
    Decimal,
    DivisionByZero,
    InvalidOperation,
    Overflow,
    localcontext,
)
from functools import wraps
from typing import Final, Literal, ParamSpec, TypeVar

from tessara.convert.system import LN_T, TemperatureRange

__all__ = [
    "Function",
    "Piece",
    "State",
    "continue_above",
    "continue_below",
    "from_gibbs",
    "from_heat_capacity",
    "from_polynomial_fit",
    "ideal_mixing",
    "linear_combination",
    "with_own_context",
]

# Complete, so that a changed default of the process does not reach in here.
_CONTEXT: Final = Context(
    prec=40,
    rounding=ROUND_HALF_EVEN,
    Emin=-999999,
    Emax=999999,
    capitals=1,
    clamp=0,
    flags=[],
    traps=[DivisionByZero, InvalidOperation, Overflow],
)
_ZERO: Final = Decimal(0)
_ONE: Final = Decimal(1)
REFERENCE_TEMPERATURE: Final = Decimal("298.15")

_T_LN_T: Final = "T ln T"
_LN_T: Final = "ln T"
Term = Decimal | Literal["T ln T", "ln T"]
"""A power of T, or one of the two terms with a logarithm."""
Terms = Mapping[Term, Decimal]

# The six terms that every range of a record has, in its order.
_STANDARD: Final[tuple[Term, ...]] = (
    _ZERO,
    _ONE,
    _T_LN_T,
    Decimal(2),
    Decimal(3),
    Decimal(-1),
)

_P = ParamSpec("_P")
_R = TypeVar("_R")


def with_own_context(function: Callable[_P, _R]) -> Callable[_P, _R]:
    """Compute with 40 digits, whatever decimal context the caller has set."""

    @wraps(function)
    def wrapped(*args: _P.args, **kwargs: _P.kwargs) -> _R:
        with localcontext(_CONTEXT):
            return function(*args, **kwargs)

    return wrapped


@dataclass(frozen=True, slots=True)
class State:
    """Gibbs energy in J/mol, entropy and heat capacity in J/(mol K) at one temperature."""

    G: Decimal
    S: Decimal
    Cp: Decimal


@dataclass(frozen=True, slots=True)
class Piece:
    """One analytic expression for G, and the range in K that its source gives for it."""

    lower: Decimal
    upper: Decimal
    terms: Terms

    @with_own_context
    def at(self, T: Decimal) -> State:
        """G, S and Cp at T, whether inside the range or not."""
        G, slope, curvature = _ZERO, _ZERO, _ZERO
        for term, coefficient in self.terms.items():
            if term == _T_LN_T:
                values = (T * T.ln(), T.ln() + 1, 1 / T)
            elif term == _LN_T:
                values = (T.ln(), 1 / T, -1 / (T * T))
            else:
                p = Decimal(term)
                values = (T**p, p * T ** (p - 1), p * (p - 1) * T ** (p - 2))
            G += coefficient * values[0]
            slope += coefficient * values[1]
            curvature += coefficient * values[2]
        return State(G=G, S=-slope, Cp=-T * curvature)


@dataclass(frozen=True, slots=True)
class Function:
    """A Gibbs energy over one or more ranges. At a limit the lower range applies."""

    pieces: tuple[Piece, ...]

    @property
    def lower(self) -> Decimal:
        """Where the first range begins; its piece also holds below."""
        return self.pieces[0].lower

    @property
    def upper(self) -> Decimal:
        """Where the last range ends; its piece also holds above."""
        return self.pieces[-1].upper

    def piece_at(self, T: Decimal) -> Piece:
        """Give the first piece that reaches up to T, or the last one."""
        return next((piece for piece in self.pieces if piece.upper >= T), self.pieces[-1])

    def at(self, T: Decimal) -> State:
        """G, S and Cp at T."""
        return self.piece_at(T).at(T)

    def ranges(self) -> tuple[TemperatureRange, ...]:
        """Give the function as a record holds it, rounded to doubles."""
        return tuple(_as_range(piece) for piece in self.pieces)


def _as_range(piece: Piece) -> TemperatureRange:
    extra = []
    if piece.terms.get(_LN_T):
        extra.append((float(piece.terms[_LN_T]), LN_T))
    powers = (term for term in piece.terms if isinstance(term, Decimal) and term not in _STANDARD)
    extra += [(float(piece.terms[p]), float(p)) for p in sorted(powers) if piece.terms[p]]
    return TemperatureRange(
        upper=float(piece.upper),
        coefficients=tuple(float(piece.terms.get(term, _ZERO)) for term in _STANDARD),
        extra=tuple(extra),
    )


@with_own_context
def _sum_terms(parts: Iterable[tuple[Term, Decimal]]) -> dict[Term, Decimal]:
    terms: dict[Term, Decimal] = {}
    for term, coefficient in parts:
        terms[term] = terms.get(term, _ZERO) + coefficient
    return terms


def from_gibbs(
    lower: Decimal,
    upper: Decimal,
    coefficients: Sequence[Decimal],
    extra: Sequence[tuple[Decimal, Decimal]] = (),
) -> Piece:
    """Make a piece from up to six coefficients in the order of a record, and extra terms.

    An extra term is a pair (coefficient, power); the power 99 stands for ln T.
    """
    parts: list[tuple[Term, Decimal]] = list(zip(_STANDARD, coefficients, strict=False))
    for coefficient, power in extra:
        parts.append((_LN_T if power == LN_T else power, coefficient))
    return Piece(lower, upper, _sum_terms(parts))


@with_own_context
def from_polynomial_fit(
    lower: Decimal,
    upper: Decimal,
    heat_capacity: Sequence[tuple[Decimal, Decimal]],
    constants: tuple[Decimal, Decimal],
    gas_constant: Decimal,
) -> Piece:
    """Make a piece from a fit of Cp/R in powers of T with its two integration constants.

    `heat_capacity` holds pairs (coefficient, power). H/R is the first constant plus the integral of
    Cp/R, S/R the second plus the integral of Cp/(R T), each without a constant of its own, as in
    B. J. McBride, M. J. Zehe, S. Gordon, NASA/TP-2002-211556 (2002). `gas_constant` must be that of
    the fit.
    """
    parts: list[tuple[Term, Decimal]] = [
        (_ZERO, gas_constant * constants[0]),
        (_ONE, -gas_constant * constants[1]),
    ]
    for coefficient, power in heat_capacity:
        parts += _integrated(gas_constant * coefficient, power)
    return Piece(lower, upper, _sum_terms(parts))


@with_own_context
def from_heat_capacity(
    lower: Decimal,
    upper: Decimal,
    enthalpy: Decimal,
    entropy: Decimal,
    heat_capacity: Sequence[tuple[Decimal, Decimal]],
) -> Piece:
    """Make a piece from H and S at 298.15 K and pairs (coefficient, power of T) of Cp."""
    terms = [term for pair in heat_capacity for term in _integrated(*pair)]
    bare = Piece(lower, upper, _sum_terms(terms)).at(REFERENCE_TEMPERATURE)
    dH = enthalpy - (bare.G + REFERENCE_TEMPERATURE * bare.S)
    dS = entropy - bare.S
    return Piece(lower, upper, _sum_terms([*terms, (_ZERO, dH), (_ONE, -dS)]))


def _integrated(coefficient: Decimal, power: Decimal) -> list[tuple[Term, Decimal]]:
    """Give the terms of G that belong to one term of Cp."""
    if power == 0:
        return [(_ONE, coefficient), (_T_LN_T, -coefficient)]
    if power == -1:
        return [(_LN_T, coefficient), (_ZERO, coefficient)]
    return [(power + 1, -coefficient / (power * (power + 1)))]


@with_own_context
def ideal_mixing(amounts: Sequence[Decimal], gas_constant: Decimal) -> Decimal:
    """Give the coefficient of T in G that ideal mixing of these amounts on one kind of site adds.

    It is `R sum n_i ln(n_i / sum n)`, in J/K for amounts in mol.
    """
    total = sum(amounts, _ZERO)
    return gas_constant * sum((n * (n / total).ln() for n in amounts), _ZERO)


@with_own_context
def linear_combination(parts: Sequence[tuple[Decimal, Function]]) -> Function:
    """Add functions, each times its factor. The sum has the range that all of them share.

    Raises `ValueError` where they share none.
    """
    lower = max(function.lower for _, function in parts)
    upper = min(function.upper for _, function in parts)
    if lower >= upper:
        raise ValueError("the functions to be added share no range of temperature")
    limits = {piece.upper for _, function in parts for piece in function.pieces}
    inner = sorted(limit for limit in limits if lower < limit < upper)
    pieces = []
    for start, end in zip((lower, *inner), (*inner, upper), strict=True):
        terms = _sum_terms(
            (term, factor * coefficient)
            for factor, function in parts
            for term, coefficient in function.piece_at(end).terms.items()
        )
        pieces.append(Piece(start, end, terms))
    return Function(tuple(pieces))


@with_own_context
def continue_above(function: Function, other: Function | None, upper: Decimal) -> Function:
    """Continue a function above its range with the heat capacity of another.

    G and S are continuous, so the difference to the other function goes on as a straight line in T,
    to the end of the other's range. Without another the heat capacity stays as it is at the end of
    the function's range, and the continuation ends at `upper`. Raises `ValueError` where nothing
    lies above.
    """
    T = function.upper
    here = function.pieces[-1].at(T)
    if other is None:
        beyond = [_constant_heat_capacity(T, upper, T, here)] if upper > T else []
    else:
        pieces = [piece for piece in other.pieces if piece.upper > T]
        shift = _difference(here, pieces[0].at(T), T) if pieces else []
        beyond = [
            Piece(max(piece.lower, T), piece.upper, _sum_terms([*piece.terms.items(), *shift]))
            for piece in pieces
        ]
    if not beyond:
        raise ValueError(f"nothing continues the function above {T} K")
    return Function((*function.pieces, *beyond))


@with_own_context
def continue_below(function: Function, other: Function | None, lower: Decimal) -> Function:
    """Continue a function below its range; the mirror image of `continue_above`."""
    T = function.lower
    here = function.pieces[0].at(T)
    if other is None:
        beyond = [_constant_heat_capacity(lower, T, T, here)] if lower < T else []
    else:
        pieces = [piece for piece in other.pieces if piece.lower < T]
        shift = _difference(here, pieces[-1].at(T), T) if pieces else []
        beyond = [
            Piece(piece.lower, min(piece.upper, T), _sum_terms([*piece.terms.items(), *shift]))
            for piece in pieces
        ]
    if not beyond:
        raise ValueError(f"nothing continues the function below {T} K")
    return Function((*beyond, *function.pieces))


def _difference(here: State, there: State, T: Decimal) -> list[tuple[Term, Decimal]]:
    """Give the straight line in T by which G and S of two states at T differ."""
    dS = here.S - there.S
    return [(_ZERO, here.G - there.G + T * dS), (_ONE, -dS)]


def _constant_heat_capacity(lower: Decimal, upper: Decimal, T: Decimal, state: State) -> Piece:
    """Give the piece that has this state at T and its heat capacity everywhere."""
    terms = _integrated(state.Cp, _ZERO)
    bare = Piece(lower, upper, _sum_terms(terms)).at(T)
    return Piece(lower, upper, _sum_terms([*terms, *_difference(state, bare, T)]))
