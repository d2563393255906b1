"""Chemical formulae: what is written, as counts of elements and a charge.

    formula  = compound [charge] | "e" charge of one minus sign
    compound = part { joint part }
    part     = [number] item { item }
    item     = ( element | bracket ) [number]
    bracket  = "(" compound ")" | "[" compound "]" | "{" compound "}"
    joint    = one of · • ∙ ⋅ * .
    number   = digits [ "." digits ]
    charge   = sign | sign sign ... | sign digits | the same or digits sign in a bracket

Element symbols are exact: "Co" is cobalt, "CO" carbon and oxygen. Isotopes have no symbols of their
own. A number in front of a part multiplies the whole part. Numbers are above zero. There are no
blanks, and no oxidation numbers.

A dot is a decimal point or a joint. It is a joint where no digit follows ("CaO.SiO2"), and where a
number and then H2O or NH3 fill the next part ("CuSO4.5H2O"). Between digits it is a decimal point
otherwise ("Fe0.947O"). Where a fraction would stand between two mentions of one element, as in
"Al2O3.2SiO2", both readings are possible, and the formula is refused. Behind a letter or a bracket
("CaO.2SiO2") it joins compounds that have an element in common; others are refused, since ".947" in
"Fe.947O" may be a fraction.

A charge stands at the end: "Fe+3", "SO4-2", "Na+", "Ca++", "Ca[2+]", "Fe{3+}", "e-". It belongs to
the formula as written, which is then one part with no number in front. "Fe3+" and "SO42-" are
refused, since the number may belong to the atom or to the charge; "NO3-" is one negative charge.
"""

from __future__ import annotations

from .elements import ATOMIC_WEIGHTS
from .errors import TessaraPyError

TYPE_CHECKING = False  # as in `typing`, whose import would take longer than this package's own
if TYPE_CHECKING:
    from fractions import Fraction

MAX_DEPTH = 30
"""Deepest nesting of brackets that is read."""

MAX_DIGITS = 15
"""Most digits that a number may have."""

_DIGITS = frozenset("0123456789")
_BRACKETS = {"(": ")", "[": "]", "{": "}"}
_CLOSERS = frozenset(_BRACKETS.values())
_JOINTS = frozenset("·•∙⋅*.")
_SIGNS = {"+": 1, "-": -1, "−": -1}
_LIGANDS = ("H2O", "NH3")  # compounds whose number is usually set off by a dot
_CHARGE_DIGITS = 3
_DOUBTFUL_POINT = (
    "this dot can be a decimal point or join two compounds: expected brackets, as in '(Fe2.5)O4', "
    "for a fraction, or '·' or '*' for a joint"
)
_WINDOW = 60  # characters of a long formula that an error shows


class FormulaError(TessaraPyError, ValueError):
    """A formula that cannot be read.

    Attributes:
        formula: the text that was to be read.
        position: index of the character where the mistake was found, from 0; the length of the
            formula if something is missing at its end.
        problem: what was expected there, or what is wrong.

    """

    def __init__(self, formula: str, position: int, problem: str) -> None:
        self.formula = formula
        self.position = position
        self.problem = problem
        start = max(0, position - _WINDOW // 2)
        shown = "".join(c if c.isprintable() else "?" for c in formula[start : start + _WINDOW])
        super().__init__(
            f"formula '{shown}', position {position}: {problem}\n"
            f"    {shown}\n"
            f"    {' ' * (position - start)}^"
        )

    def __reduce__(self) -> tuple[type, tuple[str, int, str]]:
        return type(self), (self.formula, self.position, self.problem)


class Formula:
    """A formula that has been read. Made by `parse_formula`.

    Attributes:
        text: the formula as written.
        counts: number of atoms of each element, exact, in order of first occurrence.
        charge: charge number, 0 for a neutral formula.

    """

    __slots__ = ("charge", "counts", "text")

    text: str
    counts: dict[str, Fraction]
    charge: int

    def __init__(self, text: str, counts: dict[str, Fraction], charge: int) -> None:
        self.text = text
        self.counts = counts
        self.charge = charge

    @property
    def molar_mass(self) -> float:
        """Mass in g per mole of the formula.

        The mass of missing or surplus electrons is left out, so that the masses of the elements add
        up to this mass.
        """
        return sum((float(n) * ATOMIC_WEIGHTS[e] for e, n in self.counts.items()), 0.0)

    def __eq__(self, other: object) -> bool:
        if not isinstance(other, Formula):
            return NotImplemented
        return self.text == other.text

    def __hash__(self) -> int:
        return hash(self.text)

    def __repr__(self) -> str:
        return f"parse_formula({self.text!r})"

    def __reduce__(self) -> tuple[object, tuple[str]]:
        return parse_formula, (self.text,)


def parse_formula(text: str) -> Formula:
    """Read a chemical formula.

    Args:
        text: the formula, such as "Fe2O3", "Cr0.3Mn0.7C", "Na(OH)2", "CuSO4·5H2O" or "SO4-2". The
            module's docstring has the grammar.

    Returns:
        The counts of its elements and its charge. Reading takes time in proportion to the length.

    Raises:
        FormulaError: the text is no formula, or can be read in two ways.
        TypeError: `text` is no `str`.

    """
    if not isinstance(text, str):
        raise TypeError(f"a formula is a str, not {type(text).__name__}")
    return _Reader(text).formula()


class _Reader:
    """Reads one formula from left to right. `at` is the index of the next character."""

    def __init__(self, text: str) -> None:
        self.text = text
        self.at = 0
        # Of the part and the compound that were finished last, so in the end of the outermost.
        self.items = 0
        self.numbered = False
        self.joined = False

    def formula(self) -> Formula:
        # Here and not at the top: many programs read no formula, and this import takes longer than
        # that of the whole package.
        from fractions import Fraction

        counts: dict[str, int | Fraction] = {}
        if self.text[:1] == "e" and not self.char(1).isalpha():
            self.at = 1
            if (self.charge_at(1) or (0, 1))[0] != -1:
                raise self.mistake(1, "expected '-': the only formula of the electron is 'e-'")
        else:
            counts = self.compound(0)
        charge = self.charge()
        exact = {element: Fraction(count) for element, count in counts.items()}
        try:
            in_range = all(float(count) > 0.0 for count in exact.values())
        except OverflowError:
            in_range = False
        if not in_range:
            raise self.mistake(0, "a number of atoms is too large or too small")
        return Formula(self.text, exact, charge)

    def compound(self, depth: int) -> dict[str, int | Fraction]:
        """Read parts and the joints between them."""
        last = self.part(depth)
        total = dict(last)
        joined = False
        while self.char() in _JOINTS:
            joined = True
            joint = self.at
            doubtful = self.point_at(joint) and not self.ligand_follows(joint)
            if doubtful and self.fraction_ends_at(joint):
                raise self.mistake(joint, "a second decimal point in one number")
            self.at += 1
            part = self.part(depth)
            # Here a decimal point with no digit in front may have been meant. Compounds that are
            # really joined, as in "CaO.2SiO2", have an element in common.
            if doubtful and last.keys().isdisjoint(part):
                raise self.mistake(
                    joint,
                    "expected a digit in front of this dot, as in 'Fe0.9O', if it is a decimal "
                    "point, or '·' or '*' if it joins two compounds",
                )
            _add(total, part, 1)
            last = part
        self.joined = joined
        return total

    def part(self, depth: int) -> dict[str, int | Fraction]:
        """Read a number, if there is one, and items."""
        numbered = self.char() in _DIGITS
        factor = self.number() if numbered else 1
        counts: dict[str, int | Fraction] = {}
        first: dict[str, int] = {}  # where each element came first
        doubtful = -1  # the last decimal point that may have been meant for a joint
        items = 0
        while True:
            start = self.at
            inside: dict[str, int | Fraction]
            if self.char() in _BRACKETS and self.charge_at(start) is None:
                inside = self.bracket(depth)
            elif self.char().isalpha():
                inside = {self.element(): 1}
            elif items == 0:
                raise self.mistake(
                    start, f"expected an element symbol or a bracket, found {self.found()}"
                )
            else:
                break
            items += 1
            for element in inside:
                if first.setdefault(element, start) < doubtful:
                    raise self.mistake(doubtful, _DOUBTFUL_POINT)
            count, point = self.count()
            doubtful = max(doubtful, point)
            _add(counts, inside, count)
        self.items = items
        self.numbered = numbered
        return {element: count * factor for element, count in counts.items()}

    def bracket(self, depth: int) -> dict[str, int | Fraction]:
        start = self.at
        if depth == MAX_DEPTH:
            raise self.mistake(start, f"brackets are nested more than {MAX_DEPTH} deep")
        closer = _BRACKETS[self.char()]
        self.at += 1
        counts = self.compound(depth + 1)
        if self.char() in _SIGNS:
            raise self.mistake(
                self.at, "a charge stands at the end of the formula, outside the brackets"
            )
        if self.char() != closer:
            raise self.mistake(self.at, f"expected '{closer}', found {self.found()}")
        if all(c in "IV" for c in self.text[start + 1 : self.at]):
            raise self.mistake(start, "an oxidation number is no part of a formula")
        self.at += 1
        return counts

    def element(self) -> str:
        for length in (2, 1):
            symbol = self.text[self.at : self.at + length]
            if symbol in ATOMIC_WEIGHTS:
                self.at += len(symbol)
                return symbol
        raise self.mistake(
            self.at, f"expected an element symbol, found {self.found()}; {self.hint()}"
        )

    def hint(self) -> str:
        """Say what may have been meant by the unknown symbol at the present place."""
        here = self.char()
        if here in ("D", "T"):
            return "isotopes have no symbols of their own, write 'H'"
        before = self.text[self.at - 1] if self.at > 0 else ""
        pair = self.text[self.at : self.at + 2]
        for symbol in (before + here.lower(), pair.capitalize(), here.upper()):
            if symbol in ATOMIC_WEIGHTS:
                return f"did you mean '{symbol}'?"
        initial = before if here.islower() and before.isupper() else here.upper()
        known = ", ".join(symbol for symbol in ATOMIC_WEIGHTS if symbol[0] == initial)
        return f"known with this initial: {known}" if known else "no symbol has this initial"

    def count(self) -> tuple[int | Fraction, int]:
        """Read the number behind an item, 1 if there is none.

        The second value is the place of its decimal point if that may have been meant for a joint,
        otherwise -1.
        """
        if self.char() not in _DIGITS:
            return 1, -1
        start = self.at
        point = self.end_of_digits(start)
        whole = self.text[start:point]
        if not self.point_at(point):
            return self.number(), -1
        # Nobody writes a count of 1 before a joint, and no number behind one starts with 0.
        surely_point = whole in ("0", "1") or self.text[point + 1] == "0"
        if not self.ligand_follows(point):
            return self.number(), -1 if surely_point else point
        if whole == "1":
            raise self.mistake(point, _DOUBTFUL_POINT)
        return self.number(whole_only=whole != "0"), -1

    def number(self, *, whole_only: bool = False) -> int | Fraction:
        start = self.at
        point = self.end_of_digits(start)
        whole = self.text[start:point]
        decimals = ""
        self.at = point
        if self.point_at(point) and not whole_only:
            self.at = self.end_of_digits(point + 1)
            decimals = self.text[point + 1 : self.at]
        if len(whole) + len(decimals) > MAX_DIGITS:
            raise self.mistake(start, f"a number has more than {MAX_DIGITS} digits")
        if whole[0] == "0" and len(whole) > 1:
            raise self.mistake(
                start, "expected a number above 0 without zeros in front, or the letter O"
            )
        value = int(whole + decimals)
        if value == 0:
            raise self.mistake(start, "expected a number above 0, or the letter O")
        if not decimals:
            return value

        from fractions import Fraction

        return Fraction(value, 10 ** len(decimals))

    def charge(self) -> int:
        """Read the charge at the present place, 0 if there is none, and the end of the formula."""
        start = self.at
        charge, end = self.charge_at(start) or (0, start)
        if charge and (self.joined or self.numbered):
            raise self.mistake(
                start, "a charge goes with one compound that has no number in front of it"
            )
        self.at = end
        if self.char():
            expected = "the end" if charge else "an element symbol, a bracket or the end"
            raise self.mistake(end, f"expected {expected}, found {self.found()}")
        # In "Fe3+" the number belongs to the charge, in "NO3-" to the atom.
        digits = self.digits_before(start)
        if end == start + 1 and digits and (self.items == 1 or digits > 1):
            raise self.mistake(
                start - digits,
                "expected brackets, as in 'Fe[3+]' or 'O2[-]': the number can belong to the atoms "
                "or to the charge",
            )
        return charge

    def charge_at(self, start: int) -> tuple[int, int] | None:
        """Find the charge that stands at `start`, and where it ends; `None` if there is none."""
        closer = _BRACKETS.get(self.char(start), "")
        number_start = start + len(closer)
        at = self.end_of_digits(number_start) if closer else number_start
        digits = self.text[number_start:at]
        sign = self.char(at)
        if sign not in _SIGNS:
            return None
        at += 1
        if not digits and not closer and self.char(at) == sign:
            while self.char(at) == sign:
                at += 1
            digits = str(at - start)
        elif not digits:
            number_start = at
            at = self.end_of_digits(at)
            digits = self.text[number_start:at]
        if closer:
            if self.char(at) != closer:
                return None
            at += 1
        if digits[:1] == "0" or len(digits) > _CHARGE_DIGITS:
            raise self.mistake(
                number_start, f"expected a charge number of 1 to {_CHARGE_DIGITS} digits"
            )
        return _SIGNS[sign] * int(digits or "1"), at

    def ligand_follows(self, point: int) -> bool:
        """Tell whether a number and then water or ammonia alone follow the dot at `point`."""
        at = self.end_of_digits(point + 1)
        if self.point_at(at):
            at = self.end_of_digits(at + 1)
        if not self.text.startswith(_LIGANDS, at):
            return False
        behind = self.char(at + 3)
        return not behind or behind in _JOINTS or behind in _CLOSERS

    def fraction_ends_at(self, at: int) -> bool:
        """Tell whether a number with a decimal point ends just before `at`."""
        digits = self.digits_before(at)
        return digits > 0 and self.text[at - digits - 1] == "." and self.point_at(at - digits - 1)

    def digits_before(self, at: int) -> int:
        start = at
        while start > 0 and self.text[start - 1] in _DIGITS:
            start -= 1
        return at - start

    def end_of_digits(self, at: int) -> int:
        while self.char(at) in _DIGITS:
            at += 1
        return at

    def point_at(self, at: int) -> bool:
        """Tell whether a dot with a digit behind it stands at `at`."""
        return self.char(at) == "." and self.char(at + 1) in _DIGITS

    def char(self, at: int | None = None) -> str:
        """Give the character at `at` or at the present place, "" behind the end."""
        at = self.at if at is None else at
        return self.text[at : at + 1]

    def found(self) -> str:
        return repr(self.char()) if self.char() else "the end"

    def mistake(self, position: int, problem: str) -> FormulaError:
        return FormulaError(self.text, position, problem)


def _add(
    total: dict[str, int | Fraction],
    counts: dict[str, int | Fraction],
    factor: int | Fraction,
) -> None:
    for element, count in counts.items():
        total[element] = total.get(element, 0) + count * factor
