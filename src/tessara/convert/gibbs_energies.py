"""The named Gibbs energies of a table of figures, and how they refer to each other."""

from __future__ import annotations

from collections.abc import Callable
from decimal import Decimal
from functools import partial
from itertools import pairwise
from typing import Final, NamedTuple

from tessara.convert import functions
from tessara.convert.entries import Entry, FiguresError
from tessara.convert.functions import Function, Piece
from tessara.convert.system import GIBBS_TERMS, LatticeFactors, MagneticMoment

__all__ = ["GibbsEnergies", "Magnetism", "read_interval"]

Magnetism = tuple[MagneticMoment, LatticeFactors]

CONSTANT_CP: Final = "constant Cp"
CP_OF: Final = "Cp of "

# The powers of T in Cp/R that the coefficients of the two forms of polynomial fits go with.
FIT_POWERS: Final = {"nasa9": range(-2, 5), "nasa7": range(5)}
FORMS: Final = ("gibbs", *FIT_POWERS, "heat_capacity", "sum")

EVERYWHERE: Final = (Decimal(0), Decimal("Infinity"))


def read_interval(entry: Entry, key: str) -> tuple[Decimal, Decimal]:
    """Read two rising temperatures in K."""
    lower, upper = entry.numbers(key, 2, 2)
    if not 0 < lower < upper:
        raise entry.fail(key, "expected two rising temperatures above 0 K")
    return lower, upper


class _Definition(NamedTuple):
    """An entry that gives a Gibbs energy, and the words on how it goes on outside its range."""

    name: str
    entry: Entry
    magnetism: Magnetism | None
    below: str | None
    above: str | None


class GibbsEnergies:
    """Gibbs energies by name. Each is worked out when it is first asked for.

    `lower` and `upper` are the temperatures to which a constant heat capacity is continued;
    `gas_constant` is the R of the sources.
    """

    def __init__(self, lower: Decimal, upper: Decimal, gas_constant: Decimal) -> None:
        self._lower = lower
        self._upper = upper
        self._gas_constant = gas_constant
        self._definitions: dict[str, _Definition] = {}
        self._own_ranges: dict[str, Function] = {}
        self._under_way: list[str] = []

    def define(self, name: str, entry: Entry) -> None:
        """Take the Gibbs energy of an entry under a name that others may refer to."""
        if name in self._definitions:
            raise entry.fail("name", f"{name!r} is defined twice")
        forms = [form for form in FORMS if entry.has(form)]
        if len(forms) != 1:
            found = " and ".join(forms) or "none"
            raise FiguresError(f"{entry.where}: expected one of {', '.join(FORMS)}; found {found}")
        below, above = entry.optional_text("below"), entry.optional_text("above")
        if (forms == ["sum"] or below or above) and not entry.has("derived"):
            raise FiguresError(f"{entry.where}: the key 'derived' is missing; say what was done")
        magnetism = _read_magnetism(entry)
        self._definitions[name] = _Definition(name, entry, magnetism, below, above)

    def magnetism(self, name: str) -> Magnetism | None:
        """Give the magnetic numbers of a name; its function is without them."""
        return self._definitions[name].magnetism

    def function(self, name: str) -> Function:
        """Give the function of a name, with its continuations."""
        definition = self._definitions[name]
        return self._above(definition, self._below(definition, self._own_range(definition)))

    def _own_range(self, definition: _Definition) -> Function:
        """Give a function over its own range only."""
        if definition.name not in self._own_ranges:
            make = partial(_guarded, definition.entry, partial(self._evaluated, definition))
            self._own_ranges[definition.name] = self._once(definition.name, make)
        return self._own_ranges[definition.name]

    def _once(self, label: str, make: Callable[[], Function]) -> Function:
        """Make a function; refuse one that needs itself."""
        if label in self._under_way:
            circle = [*self._under_way[self._under_way.index(label) :], label]
            raise FiguresError(f"functions refer to each other in a circle: {' -> '.join(circle)}")
        self._under_way.append(label)
        try:
            return make()
        finally:
            self._under_way.pop()

    def _referred(self, entry: Entry, key: str, name: str) -> _Definition:
        if name not in self._definitions:
            raise entry.fail(key, f"there is no Gibbs energy of the name {name!r}")
        return self._definitions[name]

    # Outside the range --------------------------------------------------------------------------

    def _below(self, definition: _Definition, function: Function) -> Function:
        if definition.below is None:
            return function
        other = self._followed(definition, "below", definition.below, self._below)
        proceed = partial(functions.continue_below, function, other, self._lower)
        return _guarded(definition.entry, proceed)

    def _above(self, definition: _Definition, function: Function) -> Function:
        if definition.above is None:
            return function
        other = self._followed(definition, "above", definition.above, self._above)
        proceed = partial(functions.continue_above, function, other, self._upper)
        return _guarded(definition.entry, proceed)

    def _followed(
        self,
        definition: _Definition,
        key: str,
        words: str,
        continued: Callable[[_Definition, Function], Function],
    ) -> Function | None:
        """Give the function whose heat capacity is followed, itself continued on that side only.

        So two forms may follow each other: the lower one above their transition, the upper one
        below it.
        """
        if words == CONSTANT_CP:
            return None
        if not words.startswith(CP_OF):
            expected = f"expected '{CONSTANT_CP}' or '{CP_OF}NAME', found {words!r}"
            raise definition.entry.fail(key, expected)
        other = self._referred(definition.entry, key, words.removeprefix(CP_OF))
        if other.magnetism is not None:
            raise definition.entry.fail(key, f"{other.name!r} is magnetic and cannot be followed")
        return self._once(f"{other.name} ({key})", lambda: continued(other, self._own_range(other)))

    # The forms ----------------------------------------------------------------------------------

    def _evaluated(self, definition: _Definition) -> Function:
        entry = definition.entry
        if entry.has("sum"):
            return self._sum(definition)
        if entry.has("heat_capacity"):
            return _heat_capacity(entry.entry("heat_capacity"))
        if entry.has("gibbs"):
            rows = entry.entries("gibbs", f"{entry.where}, gibbs")
            pieces = [_gibbs(row) for row in rows]
        else:
            form = next(form for form in FIT_POWERS if entry.has(form))
            rows = entry.entries(form, f"{entry.where}, {form}")
            pieces = [self._fit(row, FIT_POWERS[form]) for row in rows]
        if not pieces:
            raise FiguresError(f"{entry.where}: no range of temperature is given")
        for before, after in pairwise(pieces):
            if before.upper != after.lower:
                raise FiguresError(
                    f"{entry.where}: a range up to {before.upper} K, then one from {after.lower} K"
                )
        return Function(tuple(pieces))

    def _fit(self, row: Entry, powers: range) -> Piece:
        lower, upper = read_interval(row, "T")
        coefficients = row.numbers("a", len(powers), len(powers))
        enthalpy, entropy = row.numbers("b", 2, 2)
        row.finish()
        terms = [(a, Decimal(power)) for a, power in zip(coefficients, powers, strict=True)]
        return functions.from_polynomial_fit(
            lower, upper, terms, (enthalpy, entropy), self._gas_constant
        )

    def _sum(self, definition: _Definition) -> Function:
        entry = definition.entry
        parts = []
        magnetic = []
        for name, factor in entry.named_numbers("sum").items():
            part = self._referred(entry, "sum", name)
            if part.magnetism is not None:
                magnetic.append(name)
                # Magnetism has no terms that could be added: a sum can only take it over whole.
                if len(magnetic) > 1 or factor != 1 or part.magnetism != definition.magnetism:
                    words = f"{' and '.join(map(repr, magnetic))} magnetic: a sum takes over"
                    raise entry.fail("sum", f"{words} one magnetism, once, with the same numbers")
            parts.append((factor, self._once(f"{name} (sum)", partial(self.function, name))))
        if entry.has("plus"):
            plus = functions.from_gibbs(*EVERYWHERE, entry.numbers("plus", 1, GIBBS_TERMS))
            parts.append((Decimal(1), Function((plus,))))
        if entry.has("mixing"):
            amounts = entry.numbers("mixing", 1, 20)
            if any(amount <= 0 for amount in amounts):
                raise entry.fail("mixing", "expected amounts above 0")
            slope = functions.ideal_mixing(amounts, self._gas_constant)
            mixing = functions.from_gibbs(*EVERYWHERE, [Decimal(0), slope])
            parts.append((Decimal(1), Function((mixing,))))
        return functions.linear_combination(parts)


def _guarded(entry: Entry, make: Callable[[], Function]) -> Function:
    """Make a function; what is wrong with it is told with the name of the entry."""
    try:
        return make()
    except FiguresError:
        raise
    except (ValueError, ArithmeticError) as error:
        raise FiguresError(f"{entry.where}: {error}") from None


def _read_magnetism(entry: Entry) -> Magnetism | None:
    if not entry.has("magnetic"):
        return None
    table = entry.entry("magnetic")
    Tc, beta, f, p = (float(table.number(key)) for key in ("Tc", "beta", "f", "p"))
    table.finish()
    try:
        return MagneticMoment(Tc, beta), LatticeFactors(f, p)
    except ValueError as error:
        raise entry.fail("magnetic", str(error)) from None


def _gibbs(row: Entry) -> Piece:
    lower, upper = read_interval(row, "T")
    coefficients = row.numbers("g", 1, GIBBS_TERMS)
    extra = row.pairs("x") if row.has("x") else []
    row.finish()
    return functions.from_gibbs(lower, upper, coefficients, extra)


def _heat_capacity(row: Entry) -> Function:
    lower, upper = read_interval(row, "T")
    enthalpy, entropy = row.number("H298"), row.number("S298")
    terms = row.pairs("Cp")
    row.finish()
    return Function((functions.from_heat_capacity(lower, upper, enthalpy, entropy, terms),))
