"""What something consists of: amounts of components, and the same amounts over other components."""

from __future__ import annotations

from collections.abc import Iterable, Iterator, Mapping
from math import inf, isclose, isfinite

from .errors import TessaraPyError
from .formula import FormulaError, parse_formula

TYPE_CHECKING = False  # as in `typing`, whose import would take longer than this package's own
if TYPE_CHECKING:
    from fractions import Fraction
    from typing import SupportsFloat, TypeGuard

_CHARGE = "charge"  # row of the charge balance; no element symbol


class CompositionError(TessaraPyError, ValueError):
    """A composition that cannot be made, or cannot be written as asked.

    Attributes:
        components: names of the components concerned.
        remainder: what cannot be expressed, as amounts of elements (and of "charge"); empty where
            the reason is another one.

    """

    def __init__(
        self,
        text: str,
        components: Iterable[str] = (),
        remainder: Mapping[str, float] | None = None,
    ) -> None:
        super().__init__(text)
        self.components = tuple(components)
        self.remainder = dict(remainder or {})

    def __reduce__(self) -> tuple[type, tuple[object, ...]]:
        return type(self), (str(self), self.components, self.remainder)


class Composition(Mapping[str, float]):
    """Amounts of components in moles: an immutable mapping from name to amount.

    Components are formulae ("Fe", "SiO2") or any other names. The molar mass of a formula comes
    from the atomic weights; that of any other name has to be given where masses are wanted. A
    composition made from the formula of an ion holds its atoms and no charge.

    Amounts may be negative: over the components FeO and O2, a lack of oxygen is a negative amount
    of O2. Compositions are added, subtracted, multiplied and divided by numbers. Equality compares
    names and amounts exactly, in any order; `is_close` compares with a tolerance.

    Examples:
        >>> Composition("Fe2O3")
        Composition({'Fe': 2.0, 'O': 3.0})
        >>> Composition({"CaO": 1, "SiO2": 2}).mole_fractions()["SiO2"]
        0.6666666666666666
        >>> Composition(CaO=1) + Composition(SiO2=1)
        Composition({'CaO': 1.0, 'SiO2': 1.0})

    """

    __slots__ = ("_amounts", "_molar_masses")

    _amounts: dict[str, float]
    _molar_masses: dict[str, float]

    def __init__(
        self,
        composition: str | Mapping[str, float] | None = None,
        /,
        *,
        molar_masses: Mapping[str, float] | None = None,
        **amounts: float,
    ) -> None:
        """Make a composition.

        Args:
            composition: a formula, whose elements become the components, or a mapping from
                component names to amounts.
            molar_masses: molar masses in g/mol by component name. They go before those that follow
                from formulae.
            amounts: amounts by component name, instead of `composition`.

        Raises:
            FormulaError: the formula cannot be read.
            CompositionError: an amount or molar mass is not finite, or a molar mass is not above
                zero.
            TypeError: both ways of giving amounts are used, or a type is wrong.

        """
        if composition is not None and amounts:
            raise TypeError("give one composition or amounts by name, not both")
        given: Mapping[str, float]
        known = dict(molar_masses or {})
        if composition is None:
            given = amounts
        elif isinstance(composition, str):
            given = {e: float(n) for e, n in parse_formula(composition).counts.items()}
        elif isinstance(composition, Mapping):
            given = composition
            if isinstance(composition, Composition):
                known = {**composition._molar_masses, **known}
        else:
            raise TypeError(
                f"a composition is made from a str or a mapping, not {type(composition).__name__}"
            )
        self._amounts = {_name(name): _number(name, value) for name, value in given.items()}
        self._molar_masses = _checked_molar_masses(known)

    @classmethod
    def from_masses(
        cls, masses: Mapping[str, float], *, molar_masses: Mapping[str, float] | None = None
    ) -> Composition:
        """Make a composition from masses in g, such as mass percentages of 100 g.

        Args:
            masses: mass by component name.
            molar_masses: molar masses in g/mol by component name, as in the constructor.

        Raises:
            CompositionError: as the constructor, and for a component of unknown molar mass.

        """
        known = _checked_molar_masses(molar_masses or {})
        amounts = {}
        for name, mass in masses.items():
            molar_mass = _molar_mass(_name(name), known)
            if molar_mass == 0.0:
                raise CompositionError(f"'{name}' has no mass", [name])
            amounts[name] = _number(name, mass) / molar_mass
        return cls(amounts, molar_masses=known)

    @property
    def amount(self) -> float:
        """Sum of the amounts, in mol."""
        return sum(self._amounts.values(), 0.0)

    @property
    def mass(self) -> float:
        """Mass of these amounts, in g.

        Raises:
            CompositionError: a molar mass is not known.

        """
        return sum(self.masses().values(), 0.0)

    @property
    def molar_mass(self) -> float:
        """Mass in g per mole of the composition as it stands, taken for one formula unit.

        For `Composition("Fe2O3")` this is the molar mass of Fe2O3. It is the same number as `mass`;
        divided by `amount` it gives the mean over the components.

        Raises:
            CompositionError: a molar mass is not known.

        """
        return self.mass

    def masses(self) -> dict[str, float]:
        """Give the mass of each component, in g.

        Raises:
            CompositionError: a molar mass is not known.

        """
        return {name: n * _molar_mass(name, self._molar_masses) for name, n in self.items()}

    def mole_fractions(self) -> dict[str, float]:
        """Give each component's share of the sum of amounts.

        Raises:
            CompositionError: the sum of amounts is not above zero.

        """
        return _shares(self._amounts, "amounts")

    def mass_fractions(self) -> dict[str, float]:
        """Give each component's share of the mass.

        Raises:
            CompositionError: the mass is not above zero, or a molar mass is not known.

        """
        return _shares(self.masses(), "masses")

    def normalised(self, amount: float = 1.0) -> Composition:
        """Scale so that the sum of amounts is `amount`.

        Raises:
            CompositionError: the sum of amounts is not above zero.

        """
        return self._with(self.mole_fractions()) * amount

    def elements(self) -> Composition:
        """Give the elements that the components hold, in order of first occurrence.

        Raises:
            FormulaError: a component's name is no formula.

        """
        total: dict[str, float] = {}
        for name, amount in self._amounts.items():
            for element, count in parse_formula(name).counts.items():
                total[element] = total.get(element, 0.0) + float(count) * amount
        return Composition(total)

    def is_close(
        self, other: Mapping[str, float], *, relative: float = 1e-9, absolute: float = 0.0
    ) -> bool:
        """Tell whether all amounts agree within a tolerance.

        A component that is missing on one side counts there as zero.

        Args:
            other: another composition, or any mapping from names to amounts.
            relative: tolerance relative to the greater of the two amounts.
            absolute: tolerance in mol.

        """
        return all(
            isclose(self.get(name, 0.0), other.get(name, 0.0), rel_tol=relative, abs_tol=absolute)
            for name in {**self._amounts, **other}
        )

    def __getitem__(self, name: str) -> float:
        return self._amounts[name]

    def __iter__(self) -> Iterator[str]:
        return iter(self._amounts)

    def __len__(self) -> int:
        return len(self._amounts)

    def __add__(self, other: Composition) -> Composition:
        return self._sum(other, 1.0)

    def __sub__(self, other: Composition) -> Composition:
        return self._sum(other, -1.0)

    def __mul__(self, factor: float) -> Composition:
        if not _is_number(factor):
            return NotImplemented
        return self._with({name: amount * float(factor) for name, amount in self.items()})

    __rmul__ = __mul__

    def __truediv__(self, divisor: float) -> Composition:
        if not _is_number(divisor):
            return NotImplemented
        return self._with({name: amount / float(divisor) for name, amount in self.items()})

    def __neg__(self) -> Composition:
        return self * -1.0

    def __hash__(self) -> int:
        return hash(frozenset(self._amounts.items()))

    def __repr__(self) -> str:
        masses = f", molar_masses={self._molar_masses!r}" if self._molar_masses else ""
        return f"{type(self).__name__}({self._amounts!r}{masses})"

    def __getstate__(self) -> object:
        # Written out, since the oldest pickle protocols refuse slots otherwise.
        return object.__getstate__(self)

    def _sum(self, other: Composition, sign: float) -> Composition:
        if not isinstance(other, Composition):
            return NotImplemented
        amounts = dict(self._amounts)
        for name, amount in other._amounts.items():
            amounts[name] = amounts.get(name, 0.0) + sign * amount
        for name in self._molar_masses.keys() & other._molar_masses.keys():
            if self._molar_masses[name] != other._molar_masses[name]:
                raise CompositionError(f"two different molar masses are given for '{name}'", [name])
        return Composition(amounts, molar_masses={**self._molar_masses, **other._molar_masses})

    def _with(self, amounts: Mapping[str, float]) -> Composition:
        return Composition(amounts, molar_masses=self._molar_masses)


def switch_components(
    composition: str | Mapping[str, float],
    components: Iterable[str],
    *,
    allow_negative: bool = True,
    tolerance: float = 1e-12,
) -> Composition:
    """Write a composition over other components.

    All names are read as formulae, so that both sides hold the same atoms and the same charge.
    Numbers are taken as the decimal fractions that they are written as, and the elimination is
    exact: 0.1 mol of Fe2O3 is exactly 0.1 Fe2O3 again.

    Args:
        composition: a formula, a `Composition`, or a mapping from formulae to amounts in mol.
        components: the formulae to write it over.
        allow_negative: whether an amount may come out negative, as that of O2 does for a lack of
            oxygen.
        tolerance: what may be left over of an element, relative to the terms of its balance. It is
            there for amounts that carry the rounding of an earlier calculation.

    Returns:
        The amounts of all `components` in mol, in their order, zeros included.

    Raises:
        FormulaError: a name is no formula.
        CompositionError: something is left over (`remainder` tells how much of which element); the
            components depend on each other, so that the amounts are not unique; or an amount is
            negative although that is not allowed.

    Examples:
        >>> switch_components({"Ca": 1, "Si": 1, "O": 3}, ["CaO", "SiO2"])
        Composition({'CaO': 1.0, 'SiO2': 1.0})
        >>> switch_components("Fe0.947O", ["FeO", "Fe2O3"])
        Composition({'FeO': 0.841, 'Fe2O3': 0.053})

    """
    if isinstance(components, str):
        raise TypeError("components is a list of formulae, not one str")
    names = [_name(name) for name in components]
    columns = {name: _column(name) for name in names}
    if len(columns) < len(names):
        twice = next(name for name in names if names.count(name) > 1)
        raise CompositionError(f"the component {twice} is given twice", [twice])
    totals, scales = _totals(composition)
    rows = list(dict.fromkeys(row for column in (totals, *columns.values()) for row in column))
    inverse, checks = _eliminate(columns, rows)

    def value(combination: dict[str, Fraction]) -> float:
        terms = [
            (factor * totals[row], factor * scales[row])
            for row, factor in combination.items()
            if row in totals
        ]
        try:
            exact = float(sum(term for term, _ in terms))
            scale = float(sum(abs(size) for _, size in terms))
        except OverflowError as error:
            raise CompositionError("an amount is too large", names) from error
        return 0.0 if abs(exact) <= tolerance * scale else exact

    remainder = {row: value(check) for row, check in checks.items()}
    remainder = {row: rest for row, rest in remainder.items() if rest != 0.0}
    if remainder:
        raise CompositionError(
            f"the composition cannot be written over {', '.join(names) or 'no components'}: "
            + ", ".join(_remainder_in_words(row, rest) for row, rest in remainder.items()),
            names,
            remainder,
        )
    result = {name: value(combination) for name, combination in inverse.items()}
    negative = [name for name, amount in result.items() if amount < 0.0]
    if negative and not allow_negative:
        raise CompositionError(
            f"the composition over {', '.join(names)} would hold negative amounts: "
            + ", ".join(f"{result[name]:.6g} mol of {name}" for name in negative),
            negative,
        )
    return Composition(result)


def _column(name: str) -> dict[str, Fraction]:
    """Give what one mole of a component brings to each balance."""
    formula = parse_formula(name)
    column = dict(formula.counts)
    if formula.charge:
        from fractions import Fraction

        column[_CHARGE] = Fraction(formula.charge)
    return column


def _totals(
    composition: str | Mapping[str, float],
) -> tuple[dict[str, Fraction], dict[str, Fraction]]:
    """Give the total of each balance, and the sum of the absolute values of its terms."""
    from fractions import Fraction

    if isinstance(composition, str):
        terms = [(_column(composition), Fraction(1))]
    else:
        # By way of the shortest text that reads back the same: the decimal that was meant.
        terms = [
            (_column(name), Fraction(repr(amount)))
            for name, amount in Composition(composition).items()
        ]
    totals: dict[str, Fraction] = {}
    scales: dict[str, Fraction] = {}
    for column, amount in terms:
        for row, count in column.items():
            totals[row] = totals.get(row, Fraction(0)) + count * amount
            scales[row] = scales.get(row, Fraction(0)) + abs(count * amount)
    return totals, scales


def _eliminate(
    columns: dict[str, dict[str, Fraction]], rows: list[str]
) -> tuple[dict[str, dict[str, Fraction]], dict[str, dict[str, Fraction]]]:
    """Solve for the components by exact Gauss-Jordan elimination.

    Returns:
        For each component, in order, its amount as a combination of the balances' totals; and for
        each balance that was not needed the combination that has to vanish.

    Raises:
        CompositionError: the components depend on each other.

    """
    from fractions import Fraction

    matrix = {row: {name: c[row] for name, c in columns.items() if row in c} for row in rows}
    origin = {row: {row: Fraction(1)} for row in rows}  # how each row came about
    # Balances with few components come first. What cannot be expressed is then left in a balance
    # that many components share, mostly that of oxygen, where one looks for it.
    free = dict.fromkeys(sorted(rows, key=lambda row: len(matrix[row])))
    pivots: dict[str, str] = {}
    while len(pivots) < len(columns):
        pivot = next((row for row in free if matrix[row]), None)
        if pivot is None:
            raise _dependence(columns, {name: matrix[row] for name, row in pivots.items()})
        del free[pivot]
        name, divisor = next(iter(matrix[pivot].items()))
        pivots[name] = pivot
        for terms in (matrix[pivot], origin[pivot]):
            for key in terms:
                terms[key] /= divisor
        for row in rows:
            factor = matrix[row].get(name)
            if factor is not None and row != pivot:
                _subtract(matrix[row], matrix[pivot], factor)
                _subtract(origin[row], origin[pivot], factor)
    return {name: origin[pivots[name]] for name in columns}, {row: origin[row] for row in free}


def _subtract(terms: dict[str, Fraction], other: dict[str, Fraction], factor: Fraction) -> None:
    """Subtract a multiple in place, and keep no zeros."""
    for key, value in other.items():
        rest = terms.get(key, 0) - factor * value
        if rest:
            terms[key] = rest
        else:
            del terms[key]


def _dependence(names: Iterable[str], solved: dict[str, dict[str, Fraction]]) -> CompositionError:
    """Word the error for a component that the components solved so far make up."""
    surplus = next(name for name in names if name not in solved)
    parts = {name: row[surplus] for name, row in solved.items() if surplus in row}
    right = " ".join(
        f"{'-' if factor < 0 else '+'} {'' if abs(factor) == 1 else f'{abs(factor)} '}{name}"
        for name, factor in parts.items()
    ).removeprefix("+ ")
    return CompositionError(
        f"the components depend on each other, so that the amounts are not unique: "
        f"{surplus} = {right}",
        [surplus, *parts],
    )


def _remainder_in_words(row: str, rest: float) -> str:
    if row == _CHARGE:
        return f"a charge of {rest:+.6g} would be left over"
    return f"{abs(rest):.6g} mol of {row} would be {'left over' if rest > 0.0 else 'missing'}"


def _checked_molar_masses(molar_masses: Mapping[str, float]) -> dict[str, float]:
    checked = {_name(name): _number(name, mass) for name, mass in molar_masses.items()}
    for name, mass in checked.items():
        if mass <= 0.0:
            raise CompositionError(f"the molar mass of '{name}' is not above zero", [name])
    return checked


def _molar_mass(name: str, known: Mapping[str, float]) -> float:
    given = known.get(name)
    if given is not None:
        return given
    try:
        return parse_formula(name).molar_mass
    except FormulaError as error:
        raise CompositionError(
            f"the molar mass of '{name}' is not known: 'molar_masses' does not give it, and the "
            f"name is no formula",
            [name],
        ) from error


def _shares(values: dict[str, float], what: str) -> dict[str, float]:
    total = sum(values.values(), 0.0)
    if not 0.0 < total < inf:
        raise CompositionError(
            f"the sum of the {what} is {total}: fractions need one that is finite and above zero",
            values,
        )
    return {name: value / total for name, value in values.items()}


def _name(name: object) -> str:
    if not isinstance(name, str):
        raise TypeError(f"the name of a component is a str, not {type(name).__name__}")
    return name


def _number(name: str, value: object) -> float:
    """Convert an amount or a mass. The sum turns a negative zero into a plain one."""
    if not _is_number(value):
        raise TypeError(f"the number for '{name}' is not a number but {type(value).__name__}")
    try:
        number = float(value) + 0.0
    except OverflowError:
        number = inf
    if not isfinite(number):
        raise CompositionError(f"the number for '{name}' is not finite", [name])
    return number


def _is_number(value: object) -> TypeGuard[SupportsFloat]:
    return hasattr(value, "__float__") or hasattr(value, "__index__")
