"""What a data file holds, as plain values: components, phases, functions of temperature.

The classes check themselves when they are made, so that a `System` in hand can be written. Each
raises `ValueError` with the name of the thing that is wrong. Units: K, J, mol, bar, g/mol.
"""

from __future__ import annotations

import math
from collections import Counter
from collections.abc import Callable, Iterable, Sequence
from dataclasses import dataclass
from itertools import pairwise, product

__all__ = [
    "LN_T",
    "Component",
    "Groups",
    "IdealPhase",
    "Interaction",
    "IonPhase",
    "IonicLiquid",
    "LatticeFactors",
    "MagneticMoment",
    "Override",
    "Phase",
    "Polynomial",
    "PolynomialPhase",
    "PurePhase",
    "QuadrupletTerm",
    "QuasichemicalPhase",
    "RedlichKisterPhase",
    "Species",
    "SublatticePhase",
    "System",
    "TemperatureRange",
]

LN_T = 99.0
"""The power that stands for ln T among the extra terms of a range."""

NAME_LENGTH = 24
GIBBS_TERMS = 6
EXCESS_TERMS = (GIBBS_TERMS, GIBBS_TERMS + 2)
"""How many coefficients a set may have: those of temperature alone, or those of P and P^2, too."""
MAGNETIC_TERMS = (2,)
ELECTRON_PREFIX = "e("


def _check_name(what: str, name: str) -> None:
    if not name or len(name) > NAME_LENGTH:
        raise ValueError(f"{what} {name!r}: a name has 1 to {NAME_LENGTH} characters")
    if not all("!" <= character <= "~" for character in name):
        raise ValueError(f"{what} {name!r}: a name is plain ASCII without blanks")
    if name == "#":
        raise ValueError(f"{what} {name!r}: this name is the mark of a dummy record")
    if name[0] in "+-.0123456789":
        raise ValueError(f"{what} {name!r}: a name does not begin like a number")


def _check_finite(what: str, values: Iterable[float]) -> None:
    for value in values:
        if not math.isfinite(value):
            raise ValueError(f"{what}: {value!r} is not a finite number")


def _check_unique(what: str, names: Iterable[str]) -> None:
    for name, count in Counter(names).items():
        if count > 1:
            raise ValueError(f"{what} {name!r} occurs {count} times")


@dataclass(frozen=True, slots=True)
class Component:
    """A system component: an element, or an electron component `e(PHASE)`.

    `mass` is the molar mass in g/mol.
    """

    name: str
    mass: float

    def __post_init__(self) -> None:
        _check_name("component", self.name)
        if not (math.isfinite(self.mass) and self.mass > 0):
            raise ValueError(
                f"component {self.name!r}: the molar mass {self.mass!r} is not above 0"
            )

    @property
    def is_electron(self) -> bool:
        """True for `e(PHASE)`, whose amounts may be negative in a species."""
        return self.name.startswith(ELECTRON_PREFIX)


@dataclass(frozen=True, slots=True)
class TemperatureRange:
    """One range of a Gibbs energy function, in J/mol.

    `G = c1 + c2 T + c3 T ln T + c4 T^2 + c5 T^3 + c6/T + sum of the extra terms`, for T up to
    `upper`. An extra term is a pair (coefficient, power); the power 99 stands for ln T.
    """

    upper: float
    coefficients: tuple[float, ...]
    extra: tuple[tuple[float, float], ...] = ()

    def __post_init__(self) -> None:
        if not (math.isfinite(self.upper) and self.upper > 0):
            raise ValueError(f"the upper limit {self.upper!r} K is not a temperature above 0")
        if len(self.coefficients) != GIBBS_TERMS:
            raise ValueError(
                f"range up to {self.upper!r} K: {len(self.coefficients)} coefficients"
                f" instead of {GIBBS_TERMS}"
            )
        _check_finite(f"range up to {self.upper!r} K", self.coefficients)
        for term in self.extra:
            _check_finite(f"range up to {self.upper!r} K, extra term", term)


@dataclass(frozen=True, slots=True)
class LatticeFactors:
    """How a lattice turns Curie temperature and moment into a magnetic Gibbs energy.

    `antiferromagnetic` is the positive factor applied to a negative Tc or beta (1/3 for
    close-packed lattices, 1 for bcc); `structure` is p in the expressions of M. Hillert, M. Jarl,
    CALPHAD 2 (1978) 227-238 (0.28 and 0.40).
    """

    antiferromagnetic: float
    structure: float

    def __post_init__(self) -> None:
        if not (math.isfinite(self.antiferromagnetic) and self.antiferromagnetic > 0):
            raise ValueError(f"antiferromagnetic factor {self.antiferromagnetic!r} is not above 0")
        if not 0 < self.structure < 1:
            raise ValueError(f"structure factor {self.structure!r} is not between 0 and 1")


@dataclass(frozen=True, slots=True)
class MagneticMoment:
    """Curie temperature in K and mean moment in Bohr magnetons; negative: antiferromagnetic."""

    curie_temperature: float
    moment: float

    def __post_init__(self) -> None:
        _check_finite("Curie temperature and moment", (self.curie_temperature, self.moment))


@dataclass(frozen=True, slots=True)
class Species:
    """A constituent of a mixture phase, or the substance of a pure phase.

    `amounts` holds the moles of each component in one mole of the species, in the order of the
    system's components.
    """

    name: str
    amounts: tuple[float, ...]
    ranges: tuple[TemperatureRange, ...]
    magnetic: MagneticMoment | None = None

    def __post_init__(self) -> None:
        _check_name("species", self.name)
        _check_finite(f"species {self.name!r}, stoichiometry", self.amounts)
        if not self.ranges:
            raise ValueError(f"species {self.name!r} has no temperature range")
        for lower, upper in pairwise(self.ranges):
            if upper.upper < lower.upper:
                raise ValueError(
                    f"species {self.name!r}: the limit {upper.upper!r} K follows {lower.upper!r} K"
                )


@dataclass(frozen=True, slots=True)
class Interaction:
    """One interaction of a Redlich-Kister or a sublattice phase.

    `constituents` are places in the phase's list of species, from 0; in a sublattice phase they
    count through the constituents of all sublattices. Their order matters: odd orders of a binary
    go with the first named minus the second. `sets` holds one tuple of coefficients for each order
    of a binary, for each constituent of a ternary (or a single one for a ternary that does not
    depend on composition), a single one for a quaternary.
    """

    constituents: tuple[int, ...]
    sets: tuple[tuple[float, ...], ...]

    def check(self, constituent_count: int, numbers_per_set: Sequence[int]) -> None:
        """Raise `ValueError` unless the interaction fits a phase of so many constituents."""
        what = self._what()
        if len(set(self.constituents)) != len(self.constituents):
            raise ValueError(f"{what}: a constituent is named twice")
        for place in self.constituents:
            if not 0 <= place < constituent_count:
                raise ValueError(f"{what}: the phase has {constituent_count} constituents")
        if not self.sets:
            raise ValueError(f"{what} has no coefficients")
        for numbers in self.sets:
            if len(numbers) not in numbers_per_set:
                wanted = " or ".join(map(str, numbers_per_set))
                raise ValueError(f"{what}: {len(numbers)} coefficients instead of {wanted}")
            _check_finite(what, numbers)

    def check_solution(self) -> None:
        """Raise `ValueError` unless a Redlich-Kister phase can have the interaction."""
        what = self._what()
        if len(self.constituents) not in (2, 3, 4):
            raise ValueError(f"{what}: 2 to 4 constituents interact, not {len(self.constituents)}")
        if len(self.constituents) == 3 and len(self.sets) not in (1, 3):
            raise ValueError(f"{what}: a ternary has 1 or 3 sets of coefficients")
        if len(self.constituents) == 4 and len(self.sets) != 1:
            raise ValueError(f"{what}: a quaternary has 1 set of coefficients")

    def check_sublattices(self, sizes: Sequence[int]) -> None:
        """Raise `ValueError` unless a phase with sublattices of these sizes can have it."""
        what = self._what()
        mixing = []
        start = 0
        for number, size in enumerate(sizes, start=1):
            named = sum(start <= place < start + size for place in self.constituents)
            if named == 0:
                raise ValueError(f"{what} names nothing on sublattice {number}")
            if named > 1:
                mixing.append(named)
            start += size
        if not mixing:
            raise ValueError(f"{what}: nothing mixes on any sublattice")
        if mixing == [3] and len(self.sets) not in (1, 3):
            raise ValueError(f"{what}: a ternary has 1 or 3 sets of coefficients")
        if mixing not in ([2], [3], [2, 2]) and len(self.sets) != 1:
            raise ValueError(f"{what}: so many mixing constituents have 1 set of coefficients")

    def _what(self) -> str:
        return f"interaction of {', '.join(str(place + 1) for place in self.constituents)}"


@dataclass(frozen=True, slots=True)
class IdealPhase:
    """An ideal mixture: the gas, or an ideal condensed phase."""

    name: str
    species: tuple[Species, ...]

    def __post_init__(self) -> None:
        _check_mixture(self.name, self.species, magnetic=False)


@dataclass(frozen=True, slots=True)
class RedlichKisterPhase:
    """A substitutional solution with Redlich-Kister interactions.

    With `lattice` the phase is magnetic: species may then have a moment, and
    `magnetic_interactions` (two numbers a set: Curie temperature, moment) may be given.
    """

    name: str
    species: tuple[Species, ...]
    interactions: tuple[Interaction, ...] = ()
    lattice: LatticeFactors | None = None
    magnetic_interactions: tuple[Interaction, ...] = ()

    def __post_init__(self) -> None:
        _check_mixture(self.name, self.species, magnetic=self.lattice is not None)
        _check_interactions(self, len(self.species), Interaction.check_solution)


@dataclass(frozen=True, slots=True)
class SublatticePhase:
    """A phase of several sublattices (compound energy formalism).

    `sites` holds the sites of each sublattice in a formula unit, `constituents` the names on each.
    `species` are the end members, one for each combination; `members` says for each of them which
    constituent is on each sublattice, counted from 0 within it. The interactions count through the
    constituents of all sublattices. With `lattice` the phase is magnetic, as in
    `RedlichKisterPhase`.
    """

    name: str
    species: tuple[Species, ...]
    sites: tuple[float, ...]
    constituents: tuple[tuple[str, ...], ...]
    members: tuple[tuple[int, ...], ...]
    interactions: tuple[Interaction, ...] = ()
    lattice: LatticeFactors | None = None
    magnetic_interactions: tuple[Interaction, ...] = ()

    def __post_init__(self) -> None:
        _check_mixture(self.name, self.species, magnetic=self.lattice is not None)
        what = f"phase {self.name!r}"
        if not self.sites or len(self.sites) != len(self.constituents):
            raise ValueError(
                f"{what}: {len(self.sites)} numbers of sites for"
                f" {len(self.constituents)} sublattices"
            )
        if not all(math.isfinite(number) and number > 0 for number in self.sites):
            raise ValueError(f"{what}: a number of sites is not above 0")
        for number, names in enumerate(self.constituents, start=1):
            if not names:
                raise ValueError(f"{what}: sublattice {number} has no constituent")
            for name in names:
                _check_name(f"{what}: constituent", name)
            _check_unique(f"{what}, sublattice {number}: constituent", names)
        self._check_members(what)
        sizes = [len(names) for names in self.constituents]
        _check_interactions(self, sum(sizes), lambda one: one.check_sublattices(sizes))

    def _check_members(self, what: str) -> None:
        combinations = set(product(*(range(len(names)) for names in self.constituents)))
        if len(self.members) != len(self.species):
            raise ValueError(
                f"{what}: {len(self.members)} combinations for {len(self.species)} end members"
            )
        if len(self.members) != len(combinations) or set(self.members) != combinations:
            raise ValueError(f"{what}: each combination needs one end member")


@dataclass(frozen=True, slots=True)
class Override:
    """How one triple of constituents is extended from its binaries, against the rule by groups.

    `asymmetric` is the one that differs from the other two, or none; `constant` a constituent of
    the other sublattice. All are counted from 0, through the sublattices if there are any.
    """

    triple: tuple[int, int, int]
    asymmetric: int | None = None
    constant: int | None = None

    def __post_init__(self) -> None:
        if self.asymmetric is not None and self.asymmetric not in self.triple:
            raise ValueError(f"override on {self.triple}: {self.asymmetric} is none of the three")


@dataclass(frozen=True, slots=True)
class Groups:
    """The chemical group of each constituent, and what does not follow from groups."""

    numbers: tuple[int, ...]
    overrides: tuple[Override, ...] = ()

    def check(self, what: str, count: int) -> None:
        """Raise `ValueError` unless they fit so many constituents."""
        if len(self.numbers) != count:
            raise ValueError(f"{what}: {len(self.numbers)} groups for {count} constituents")
        for rule in self.overrides:
            named = (*rule.triple, *(() if rule.constant is None else (rule.constant,)))
            _check_places(what, named, count)


@dataclass(frozen=True, slots=True)
class Polynomial:
    """A parameter on two or three constituents with their powers.

    `constant` is the constituent of the other sublattice that it is for, where there is one.
    """

    constituents: tuple[int, ...]
    powers: tuple[int, ...]
    coefficients: tuple[float, ...]
    constant: int | None = None

    def check(self, what: str, count: int) -> None:
        """Raise `ValueError` unless a phase of so many constituents can have it."""
        if len(self.constituents) not in (2, 3) or len(self.powers) != len(self.constituents):
            raise ValueError(
                f"{what}: a parameter is on 2 or 3 constituents, with a power for each"
            )
        _check_places(what, self.constituents, count)
        _check_coefficients(what, self.coefficients)


@dataclass(frozen=True, slots=True)
class PolynomialPhase:
    """A solution with polynomials in equivalent fractions, after Kohler or Toop.

    `equivalents` holds the equivalents in a mole of each species.
    """

    name: str
    species: tuple[Species, ...]
    equivalents: tuple[float, ...]
    groups: Groups
    polynomials: tuple[Polynomial, ...] = ()

    def __post_init__(self) -> None:
        _check_mixture(self.name, self.species, magnetic=False)
        what = f"phase {self.name!r}"
        _check_positive(what, "equivalents", self.equivalents, len(self.species))
        self.groups.check(what, len(self.species))
        for term in self.polynomials:
            term.check(what, len(self.species))


@dataclass(frozen=True, slots=True)
class IonPhase:
    """Cations and anions on a sublattice each, with polynomials in equivalent fractions.

    The species are the pairs: `members` has cation and anion of each, `moles` how much of them.
    `charges` are absolute values, of cations, then anions, as are groups and what parameters name.
    """

    name: str
    species: tuple[Species, ...]
    ions: tuple[tuple[str, ...], tuple[str, ...]]
    charges: tuple[float, ...]
    members: tuple[tuple[int, int], ...]
    moles: tuple[tuple[float, float], ...]
    groups: Groups
    polynomials: tuple[Polynomial, ...] = ()

    def __post_init__(self) -> None:
        _check_mixture(self.name, self.species, magnetic=False)
        what = f"phase {self.name!r}"
        count = _check_ions(what, self.ions, self.charges, self.members, self.species)
        _check_positive(what, "moles of ions", sum(self.moles, ()), 2 * len(self.species))
        self.groups.check(what, count)
        for term in self.polynomials:
            term.check(what, count)


@dataclass(frozen=True, slots=True)
class IonicLiquid:
    """The two-sublattice ionic liquid.

    `charges` are those of the cations, then of the second sublattice: negative for anions and the
    vacancy, 0 for neutrals. `members` has cation and other constituent of each species, no cation
    for a neutral, which is a species once, per mole.
    """

    name: str
    species: tuple[Species, ...]
    sites: tuple[tuple[str, ...], tuple[str, ...]]
    charges: tuple[float, ...]
    members: tuple[tuple[int | None, int], ...]
    interactions: tuple[Interaction, ...] = ()

    def __post_init__(self) -> None:
        _check_mixture(self.name, self.species, magnetic=False)
        what = f"phase {self.name!r}"
        cations, others = map(len, self.sites)
        for name in (*self.sites[0], *self.sites[1]):
            _check_name(f"{what}: constituent", name)
        if len(self.charges) != cations + others or not all(map(math.isfinite, self.charges)):
            raise ValueError(f"{what}: each constituent needs a charge")
        wanted = set()
        for other, charge in enumerate(self.charges[cations:]):
            wanted |= {(None if charge == 0.0 else cation, other) for cation in range(cations)}
        if set(self.members) != wanted or len(self.members) != len(wanted):
            raise ValueError(f"{what}: each pair and each neutral needs one species")
        if len(self.species) != len(self.members):
            raise ValueError(f"{what}: {len(self.members)} pairs for {len(self.species)} species")
        for interaction in self.interactions:
            interaction.check(cations + others, EXCESS_TERMS)


@dataclass(frozen=True, slots=True)
class QuadrupletTerm:
    """A parameter of a quasichemical phase.

    `shape` is its letter, `quadruplet` two cations and two anions, `powers` those of the two that
    mix and of an additional cation and anion; `additional` is that cation or anion. Ions are
    counted from 0 within their sublattices.
    """

    shape: str
    quadruplet: tuple[tuple[int, int], tuple[int, int]]
    powers: tuple[int, int, int, int]
    additional: tuple[int | None, int | None]
    coefficients: tuple[float, ...]


@dataclass(frozen=True, slots=True)
class QuasichemicalPhase:
    """The modified quasichemical model in the quadruplet approximation.

    The species are the pairs: `members` has cation and anion of each, `moles` how much of them,
    `zeta` the quadruplets that hold it. With `half` (SUBQ) each pair has a zeta of its own.
    `coordinations` are the numbers listed: a quadruplet and those of its ions in their order.
    """

    name: str
    species: tuple[Species, ...]
    half: bool
    ions: tuple[tuple[str, ...], tuple[str, ...]]
    charges: tuple[float, ...]
    members: tuple[tuple[int, int], ...]
    moles: tuple[tuple[float, float], ...]
    zeta: tuple[float, ...]
    coordinations: tuple[tuple[tuple[tuple[int, ...], ...], tuple[tuple[float, ...], ...]], ...]
    groups: Groups
    terms: tuple[QuadrupletTerm, ...] = ()

    def __post_init__(self) -> None:
        _check_mixture(self.name, self.species, magnetic=False)
        what = f"phase {self.name!r}"
        count = _check_ions(what, self.ions, self.charges, self.members, self.species)
        _check_positive(what, "moles of ions", sum(self.moles, ()), 2 * len(self.species))
        _check_positive(what, "zeta", self.zeta, len(self.species))
        if not self.half and len(set(self.zeta)) > 1:
            raise ValueError(f"{what}: all pairs have one zeta")
        self.groups.check(what, count)
        for term in self.terms:
            if term.shape not in ("G", "Q", "B", "R"):
                raise ValueError(f"{what}: a parameter of shape {term.shape!r}")
            for sublattice, pair in enumerate(term.quadruplet):
                _check_places(what, set(pair), len(self.ions[sublattice]))
            _check_coefficients(what, term.coefficients)


Phase = (
    IdealPhase
    | RedlichKisterPhase
    | SublatticePhase
    | PolynomialPhase
    | IonPhase
    | IonicLiquid
    | QuasichemicalPhase
)
"""A mixture phase of one of the models known here."""


def _check_interactions(
    phase: RedlichKisterPhase | SublatticePhase,
    constituent_count: int,
    check_shape: Callable[[Interaction], None],
) -> None:
    try:
        for interaction in phase.interactions:
            interaction.check(constituent_count, EXCESS_TERMS)
            check_shape(interaction)
        for interaction in phase.magnetic_interactions:
            interaction.check(constituent_count, MAGNETIC_TERMS)
            check_shape(interaction)
    except ValueError as error:
        raise ValueError(f"phase {phase.name!r}: {error}") from None
    if phase.lattice is None and phase.magnetic_interactions:
        raise ValueError(f"phase {phase.name!r}: magnetic interactions without lattice factors")


def _check_places(what: str, places: Iterable[int], count: int) -> None:
    places = tuple(places)
    if len(set(places)) != len(places) or not all(0 <= place < count for place in places):
        raise ValueError(f"{what}: {places} are not different numbers below {count}")


def _check_coefficients(what: str, numbers: Sequence[float]) -> None:
    if len(numbers) not in EXCESS_TERMS:
        raise ValueError(f"{what}: a parameter has {len(numbers)} coefficients")
    _check_finite(what, numbers)


def _check_positive(what: str, of: str, numbers: Sequence[float], count: int) -> None:
    if len(numbers) != count:
        raise ValueError(f"{what}: {len(numbers)} numbers for the {of} instead of {count}")
    if not all(math.isfinite(number) and number > 0 for number in numbers):
        raise ValueError(f"{what}: one of the {of} is not above 0")


def _check_ions(
    what: str,
    ions: tuple[tuple[str, ...], tuple[str, ...]],
    charges: Sequence[float],
    members: Sequence[tuple[int, int]],
    species: Sequence[Species],
) -> int:
    """Check cations and anions and their pairs; give the number of ions."""
    for name in (*ions[0], *ions[1]):
        _check_name(f"{what}: ion", name)
    count = sum(map(len, ions))
    _check_positive(what, "charges", charges, count)
    combinations = set(product(*(range(len(names)) for names in ions)))
    if not len(members) == len(species) == len(combinations) or set(members) != combinations:
        raise ValueError(f"{what}: each pair of ions needs one species")
    return count


def _check_mixture(name: str, species: Sequence[Species], *, magnetic: bool) -> None:
    _check_name("phase", name)
    if not species:
        raise ValueError(f"phase {name!r} has no constituent")
    _check_unique(f"phase {name!r}: constituent", (one.name for one in species))
    for one in species:
        if one.magnetic is not None and not magnetic:
            raise ValueError(f"phase {name!r}: {one.name!r} is magnetic, the phase is not")


@dataclass(frozen=True, slots=True)
class PurePhase:
    """A pure condensed phase. A dummy only gives its component a reference; it never forms."""

    species: Species
    lattice: LatticeFactors | None = None
    dummy: bool = False

    def __post_init__(self) -> None:
        if (self.lattice is None) != (self.species.magnetic is None):
            raise ValueError(
                f"pure phase {self.species.name!r}: lattice factors and moment belong together"
            )

    @property
    def name(self) -> str:
        """The name of the phase, which is that of its species."""
        return self.species.name


@dataclass(frozen=True, slots=True)
class System:
    """A whole data file.

    `gas` is the only phase with a pressure term. A phase that may unmix stands in `phases` as
    often as it may split, under one name. `remark` becomes the comment after the last record.
    """

    title: str
    components: tuple[Component, ...]
    gas: IdealPhase | None = None
    phases: tuple[Phase, ...] = ()
    pure: tuple[PurePhase, ...] = ()
    remark: tuple[str, ...] = ()

    def __post_init__(self) -> None:
        if len(self.title.split()) < 2 or not self.title.isprintable() or not self.title.isascii():
            raise ValueError(
                f"title {self.title!r}: a title is one line of plain ASCII with at least two words"
            )
        for line in self.remark:
            if not (line.isprintable() and line.isascii()):
                raise ValueError(f"remark {line!r}: a remark line is one line of plain ASCII")
        if not self.components:
            raise ValueError("a system has at least one component")
        _check_unique("component", (component.name for component in self.components))
        _check_unique("pure phase", (phase.name for phase in self.pure if not phase.dummy))
        for species in self.all_species():
            self._check_stoichiometry(species)

    def mixtures(self) -> tuple[Phase, ...]:
        """All mixture phases in the order of the file, the gas first."""
        return self.phases if self.gas is None else (self.gas, *self.phases)

    def all_species(self) -> Iterable[Species]:
        """Every species record in the order of the file."""
        for phase in self.mixtures():
            yield from phase.species
        for pure in self.pure:
            yield pure.species

    def _check_stoichiometry(self, species: Species) -> None:
        if len(species.amounts) != len(self.components):
            raise ValueError(
                f"species {species.name!r}: {len(species.amounts)} stoichiometric numbers for"
                f" {len(self.components)} components"
            )
        for component, amount in zip(self.components, species.amounts, strict=True):
            if amount < 0 and not component.is_electron:
                raise ValueError(
                    f"species {species.name!r}: the amount of {component.name!r} is negative"
                )
