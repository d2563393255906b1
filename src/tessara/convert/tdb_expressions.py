"""Expressions of TDB files: functions of temperature that refer to each other by name.

    expression = [sign] product { sign product }
    product    = power { ("*" | "/") power }
    power      = factor [ "**" exponent ]
    factor     = number | "T" | "P" | NAME ["#"] | LN( expression ) | EXP( expression )
               | "(" expression ")"

Whatever an expression amounts to is worked out as a sum of c T^p (ln T)^q, with decimal arithmetic.
The pressure is the reference pressure of 1 bar everywhere.
"""

from __future__ import annotations

import re
from collections.abc import Callable, Iterator, Mapping
from dataclasses import dataclass, field
from decimal import Decimal, DecimalException
from typing import Final

from tessara.convert.functions import Piece, Term
from tessara.convert.report import ConversionError

__all__ = ["Piecewise", "Pressure", "Range", "Text", "add", "parse", "polynomial_terms"]

_ZERO: Final = Decimal(0)
_ONE: Final = Decimal(1)
REFERENCE_PRESSURE: Final = Decimal(100000)
MAX_DEPTH: Final = 40
MAX_POWER: Final = 20

Polynomial = dict[tuple[Decimal, int], Decimal]
"""Coefficients by (power of T, power of ln T)."""


@dataclass(frozen=True, slots=True)
class Text:
    """A part of a file: its words, and how to tell the place of each."""

    words: str
    offset: int
    place: Callable[[int], tuple[int, int]]

    def fail(self, text: str, at: int = 0) -> ConversionError:
        """Make the error that says what is wrong at a place of the words."""
        return ConversionError(text, *self.place(self.offset + at))

    def part(self, start: int, end: int) -> Text:
        """Give a part of the words, without the blanks around it."""
        words = self.words[start:end]
        lead = len(words) - len(words.lstrip())
        return Text(words.strip(), self.offset + start + lead, self.place)

    def split(self, mark: str) -> list[Text]:
        """Give the parts between marks."""
        parts = []
        start = 0
        for end in (*(one.start() for one in re.finditer(re.escape(mark), self.words)), None):
            parts.append(self.part(start, len(self.words) if end is None else end))
            start = 0 if end is None else end + len(mark)
        return parts


@dataclass(slots=True)
class Pressure:
    """What an expression says of the pressure, which a data file holds at 1 bar only."""

    in_logarithm: bool = False
    elsewhere: bool = False

    def join(self, other: Pressure) -> None:
        """Take over what a part says."""
        self.in_logarithm |= other.in_logarithm
        self.elsewhere |= other.elsewhere


@dataclass(frozen=True, slots=True)
class Range:
    """One range of a function in K, with its expression."""

    lower: Decimal
    upper: Decimal
    expression: Expression


@dataclass(frozen=True, slots=True)
class Piecewise:
    """A function of temperature as polynomials over ranges. The outer ones go on beyond."""

    pieces: tuple[tuple[Decimal, Decimal, Polynomial], ...]
    pressure: Pressure = field(default_factory=Pressure)

    def at(self, upper: Decimal) -> Polynomial:
        """Give what holds up to a temperature."""
        found = (poly for _, end, poly in self.pieces if end >= upper)
        return next(found, self.pieces[-1][2])

    def limits(self) -> Iterator[Decimal]:
        """Give the temperatures at which the polynomial changes."""
        yield from (upper for _, upper, _ in self.pieces[:-1])


def add(functions: list[Piecewise]) -> Piecewise:
    """Add functions over the range that they span; each goes on beyond its own."""
    lower = min(one.pieces[0][0] for one in functions)
    upper = max(one.pieces[-1][1] for one in functions)
    inner = sorted({T for one in functions for T in one.limits() if lower < T < upper})
    pressure = Pressure()
    for one in functions:
        pressure.join(one.pressure)
    pieces = []
    for start, end in zip((lower, *inner), (*inner, upper), strict=True):
        total: Polynomial = {}
        for one in functions:
            total = _sum(total, one.at(end), _ONE)
        pieces.append((start, end, total))
    return Piecewise(tuple(pieces), pressure)


def polynomial_terms(polynomial: Polynomial, where: Text) -> dict[Term, Decimal]:
    """Give a polynomial as the terms of a data file. Refuses products with ln T."""
    terms: dict[Term, Decimal] = {}
    for (power, logs), coefficient in polynomial.items():
        if logs == 0:
            terms[power] = coefficient
        elif logs == 1 and power in (0, 1):
            terms["T ln T" if power else "ln T"] = coefficient
        else:
            words = f"T**{power}*LN(T)" + (f"**{logs}" if logs > 1 else "")
            raise where.fail(f"the term {words} cannot be held by a data file")
    return terms


def pieces(function: Piecewise, where: Text) -> tuple[Piece, ...]:
    """Give the pieces of a function as a data file holds them, equal neighbours as one."""
    found: list[Piece] = []
    for lower, upper, polynomial in function.pieces:
        terms = polynomial_terms(polynomial, where)
        if found and found[-1].terms == terms:
            found[-1] = Piece(found[-1].lower, upper, terms)
        else:
            found.append(Piece(lower, upper, terms))
    return tuple(found)


# Arithmetic ---------------------------------------------------------------------------------------


def _clean(polynomial: Polynomial) -> Polynomial:
    return {key: c for key, c in polynomial.items() if c}


def _sum(a: Polynomial, b: Polynomial, factor: Decimal) -> Polynomial:
    total = dict(a)
    for key, c in b.items():
        total[key] = total.get(key, _ZERO) + factor * c
    return _clean(total)


def _product(a: Polynomial, b: Polynomial) -> Polynomial:
    total: Polynomial = {}
    for (p, q), c in a.items():
        for (r, s), d in b.items():
            key = (p + r, q + s)
            total[key] = total.get(key, _ZERO) + c * d
    return _clean(total)


def _constant(polynomial: Polynomial) -> Decimal | None:
    if not polynomial:
        return _ZERO
    return polynomial.get((_ZERO, 0)) if len(polynomial) == 1 else None


# The tree of an expression ------------------------------------------------------------------------


@dataclass(slots=True)
class _State:
    """What an expression is evaluated with: the functions over one range."""

    functions: Mapping[str, Polynomial]
    pressure: Pressure
    in_logarithm: bool = False


@dataclass(frozen=True, slots=True)
class Expression:
    """An expression that has been read; `names` are the functions that it refers to."""

    names: frozenset[str]
    value: Callable[[_State], Polynomial]

    def over(self, functions: Mapping[str, Polynomial], pressure: Pressure) -> Polynomial:
        """Work the expression out where each function has one polynomial."""
        return _clean(self.value(_State(functions, pressure)))


_TOKEN = re.compile(
    r"\s*(?:(?P<number>(?:\d+\.?\d*|\.\d+)(?:[EeDd][+-]?\d+)?)"
    r"|(?P<name>[A-Za-z_][A-Za-z0-9_]*\#?)"
    r"|(?P<mark>\*\*|[-+*/()]))"
)


class _Parser:
    """Reads one expression from left to right."""

    def __init__(self, text: Text) -> None:
        self._text = text
        self._at = 0
        self._depth = 0
        self._names: set[str] = set()
        self._kind = self._word = ""
        self._start = 0
        self._next()

    def expression(self) -> Expression:
        value = self._sum()
        if self._kind:
            raise self._fail(f"expected the end of the expression, found {self._word!r}")
        return Expression(frozenset(self._names), value)

    def _fail(self, text: str) -> ConversionError:
        return self._text.fail(text, self._start)

    def _next(self) -> None:
        words = self._text.words
        found = _TOKEN.match(words, self._at)
        if found is None:
            rest = words[self._at :]
            self._start = self._at + len(rest) - len(rest.lstrip())
            self._kind = self._word = ""
            if rest.strip():
                raise self._fail(f"{rest.strip()[0]!r} has no meaning in an expression")
            return
        self._kind = found.lastgroup or ""
        self._word = found.group(self._kind)
        self._start = found.start(self._kind)
        self._at = found.end()

    def _takes(self, *marks: str) -> str | None:
        if self._kind == "mark" and self._word in marks:
            mark = self._word
            self._next()
            return mark
        return None

    def _sum(self) -> Callable[[_State], Polynomial]:
        self._depth += 1
        if self._depth > MAX_DEPTH:
            raise self._fail(f"brackets are nested deeper than {MAX_DEPTH}")
        parts = []
        sign = self._takes("+", "-")
        while True:
            parts.append((-_ONE if sign == "-" else _ONE, self._product()))
            # Several signs in a row, as in "+-5", are one.
            sign = self._takes("+", "-")
            if sign is None:
                break
        self._depth -= 1

        def value(state: _State) -> Polynomial:
            total: Polynomial = {}
            for factor, part in parts:
                total = _sum(total, part(state), factor)
            return total

        return value

    def _product(self) -> Callable[[_State], Polynomial]:
        factors = []
        mark: str | None = "*"
        while mark:
            sign = _ONE
            while minus := self._takes("+", "-"):
                sign = -sign if minus == "-" else sign
            factors.append((mark, sign, self._start, self._power()))
            mark = self._takes("*", "/")

        def value(state: _State) -> Polynomial:
            total: Polynomial = {(_ZERO, 0): _ONE}
            for mark, sign, start, factor in factors:
                one = _sum({}, factor(state), sign)
                total = _product(total, self._inverse(one, start) if mark == "/" else one)
            return total

        return value

    def _inverse(self, polynomial: Polynomial, start: int) -> Polynomial:
        if len(polynomial) == 1:
            ((power, logs), c) = next(iter(polynomial.items()))
            if logs == 0:
                return {(-power, 0): 1 / c}
        raise self._text.fail("a sum cannot be divided by", start)

    def _power(self) -> Callable[[_State], Polynomial]:
        base = self._factor()
        start = self._start
        if not self._takes("**"):
            return base
        exponent = self._exponent()

        def value(state: _State) -> Polynomial:
            one = base(state)
            power = _constant(exponent(state))
            if power is None:
                raise self._text.fail("an exponent must be a number", start)
            if len(one) == 1:
                ((p, logs), c) = next(iter(one.items()))
                if logs == 0 and (c > 0 or power == power.to_integral_value()):
                    return {(p * power, 0): c**power}
            if power == power.to_integral_value() and 0 <= power <= MAX_POWER:
                total: Polynomial = {(_ZERO, 0): _ONE}
                for _ in range(int(power)):
                    total = _product(total, one)
                return total
            raise self._text.fail(f"this cannot be raised to the power {power}", start)

        return value

    def _exponent(self) -> Callable[[_State], Polynomial]:
        mark = self._takes("+", "-")
        factor = self._factor()
        if mark != "-":
            return factor
        return lambda state: _sum({}, factor(state), -_ONE)

    def _factor(self) -> Callable[[_State], Polynomial]:
        kind, word, start = self._kind, self._word, self._start
        if kind == "number":
            value = self._number(word)
            self._next()
            return value
        if kind == "name":
            self._next()
            return self._named(word.rstrip("#").upper(), start)
        if self._takes("("):
            value = self._sum()
            if not self._takes(")"):
                raise self._fail("expected ')'" + (f", found {self._word!r}" if self._kind else ""))
            return value
        found = f", found {word!r}" if kind else ""
        raise self._fail(f"expected a number, a name or '('{found}")

    def _number(self, word: str) -> Callable[[_State], Polynomial]:
        number = Decimal(word.upper().replace("D", "E"))
        if number and abs(number.adjusted()) > 400:
            raise self._fail(f"the number {word} is beyond all limits")
        polynomial = {(_ZERO, 0): number} if number else {}
        return lambda _: polynomial

    def _named(self, name: str, start: int) -> Callable[[_State], Polynomial]:
        if name == "T":
            return lambda _: {(_ONE, 0): _ONE}
        if name == "P":
            return _pressure
        if name in ("LN", "LOG", "EXP") and self._kind == "mark" and self._word == "(":
            argument = self._factor()
            function = _exponential if name == "EXP" else _logarithm
            return lambda state: function(argument, state, self._text, start)
        self._names.add(name)
        return lambda state: state.functions[name]


def _pressure(state: _State) -> Polynomial:
    if state.in_logarithm:
        state.pressure.in_logarithm = True
    else:
        state.pressure.elsewhere = True
    return {(_ZERO, 0): REFERENCE_PRESSURE}


def _logarithm(
    argument: Callable[[_State], Polynomial], state: _State, text: Text, start: int
) -> Polynomial:
    outer, state.in_logarithm = state.in_logarithm, True
    polynomial = argument(state)
    state.in_logarithm = outer
    if len(polynomial) == 1:
        ((power, logs), c) = next(iter(polynomial.items()))
        if logs == 0 and c > 0:
            return _clean({(_ZERO, 0): c.ln(), (_ZERO, 1): power})
    raise text.fail("a logarithm can only be taken of T, of numbers and of their products", start)


def _exponential(
    argument: Callable[[_State], Polynomial], state: _State, text: Text, start: int
) -> Polynomial:
    number = _constant(argument(state))
    if number is None:
        raise text.fail("an exponential function of T cannot be held by a data file", start)
    return {(_ZERO, 0): number.exp()}


def parse(text: Text) -> Expression:
    """Read an expression. Raises `ConversionError` with the place of what is wrong."""
    try:
        return _Parser(text).expression()
    except DecimalException:
        raise text.fail("a number of this expression is beyond all limits") from None
