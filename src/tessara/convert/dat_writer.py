"""Writing a system as a `.dat` file.

Names start in column 1, a temperature range stands on one line, and every number is the shortest
text that reads back as the same double. The same system always gives the same text.
"""

from __future__ import annotations

import math
import textwrap
from collections.abc import Callable, Iterable, Iterator, Sequence
from dataclasses import replace

from tessara.convert.system import (
    GIBBS_TERMS,
    Groups,
    IdealPhase,
    Interaction,
    IonicLiquid,
    IonPhase,
    LatticeFactors,
    Phase,
    Polynomial,
    PolynomialPhase,
    PurePhase,
    QuasichemicalPhase,
    RedlichKisterPhase,
    Species,
    SublatticePhase,
    System,
)

__all__ = ["write"]

INTEGERS_PER_LINE = 15
NAMES_PER_LINE = 3
NAME_COLUMNS = 25
STOICHIOMETRY_PER_LINE = 12
PLACES_PER_LINE = 19
EXTRA_TERMS_PER_LINE = 3
END_OF_DATA = "#" * 72
REMARK_COLUMNS = 78

# Type codes of a species record: plain or with extra terms, without or with magnetic numbers.
TYPE_PLAIN = 1
TYPE_EXTRA = 4
TYPE_MAGNETIC_STEP = 12


def write(system: System) -> str:
    """Give the text of the data file: plain ASCII, lines ended by a line feed."""
    excess_terms = _excess_terms(system)
    lines = [
        *_header(system, excess_terms),
        *(line for phase in system.mixtures() for line in _phase(phase, excess_terms)),
        *(line for pure in system.pure for line in _pure(pure)),
        *_end(system.remark),
    ]
    return "\n".join(lines) + "\n"


def _number(value: float) -> str:
    return repr(float(value))


def _wrapped(words: Iterable[str], per_line: int) -> Iterator[str]:
    """Spread words over lines of so many words; no words give no line."""
    row: list[str] = []
    for word in words:
        row.append(word)
        if len(row) == per_line:
            yield " ".join(row)
            row = []
    if row:
        yield " ".join(row)


def _excess_terms(system: System) -> int:
    """Tell how many coefficients each set of the file has: as many as the longest."""
    sets = (numbers for phase in system.mixtures() for numbers in _sets(phase))
    return max(map(len, sets), default=GIBBS_TERMS)


def _sets(phase: Phase) -> Iterator[tuple[float, ...]]:
    """Give all sets of coefficients of a phase."""
    for interaction in getattr(phase, "interactions", ()):
        yield from interaction.sets
    for term in (*getattr(phase, "polynomials", ()), *getattr(phase, "terms", ())):
        yield term.coefficients


def _constituent_count(phase: Phase) -> int:
    """Tell the count of a phase in the header: of records or, as is usual, of quadruplets."""
    if isinstance(phase, IonicLiquid):
        return math.prod(map(len, phase.sites))
    if isinstance(phase, QuasichemicalPhase):
        return math.prod(math.comb(len(names) + 1, 2) for names in phase.ions)
    return len(phase.species)


def _header(system: System, excess_terms: int) -> Iterator[str]:
    # The first slot of the counts is the gas's, whether the system has one or not.
    counts = [0] if system.gas is None else []
    counts += [_constituent_count(phase) for phase in system.mixtures()]
    integers = [len(system.components), len(counts), *counts, len(system.pure)]
    yield system.title
    yield from _wrapped((f"{integer:4d}" for integer in integers), INTEGERS_PER_LINE)
    yield from _names(component.name for component in system.components)
    masses = (f"{_number(component.mass):<{NAME_COLUMNS - 1}}" for component in system.components)
    yield from (line.rstrip() for line in _wrapped(masses, NAMES_PER_LINE))
    for terms in (GIBBS_TERMS, excess_terms):
        yield f"{terms} {' '.join(str(index) for index in range(1, terms + 1))}"


def _names(names: Iterable[str]) -> Iterator[str]:
    fields = (f"{name:<{NAME_COLUMNS - 1}}" for name in names)
    yield from (line.rstrip() for line in _wrapped(fields, NAMES_PER_LINE))


def _species(species: Species) -> Iterator[str]:
    """Give a record up to its last range; what follows depends on the phase."""
    with_extra = any(one.extra for one in species.ranges)
    code = TYPE_EXTRA if with_extra else TYPE_PLAIN
    if species.magnetic is not None:
        code += TYPE_MAGNETIC_STEP
    yield species.name
    amounts = list(
        _wrapped((_number(amount) for amount in species.amounts), STOICHIOMETRY_PER_LINE)
    )
    yield f"{code:3d} {len(species.ranges):2d}  {amounts[0]}"
    yield from amounts[1:]
    for one in species.ranges:
        yield " ".join(f"{_number(value):<22}" for value in (one.upper, *one.coefficients)).rstrip()
        if with_extra:
            terms = (f"{_number(factor)} {_number(power)}" for factor, power in one.extra)
            first, *rest = _wrapped(terms, EXTRA_TERMS_PER_LINE) if one.extra else [""]
            yield f"{len(one.extra)} {first}".rstrip()
            yield from rest


def _lattice(lattice: LatticeFactors) -> str:
    return f"{_number(lattice.antiferromagnetic)} {_number(lattice.structure)}"


def _moment(species: Species) -> Iterator[str]:
    if species.magnetic is not None:
        moment = species.magnetic
        yield f"{_number(moment.curie_temperature)} {_number(moment.moment)}"


def _interactions(interactions: Sequence[Interaction], terms: int) -> Iterator[str]:
    """Give a list of parameters; sets that are shorter than `terms` end with zeros."""
    for interaction in interactions:
        places = " ".join(str(place + 1) for place in interaction.constituents)
        yield str(len(interaction.constituents))
        yield f"{places} {len(interaction.sets)}"
        for numbers in interaction.sets:
            missing = (0.0,) * (terms - len(numbers))
            yield " ".join(_number(number) for number in (*numbers, *missing))
    yield "0"


def _ideal(phase: IdealPhase, excess_terms: int) -> Iterator[str]:
    yield phase.name
    yield "IDMX"
    for species in phase.species:
        yield from _species(species)


def _redlich_kister(phase: RedlichKisterPhase, excess_terms: int) -> Iterator[str]:
    yield from _mixture_start(phase, "RKMP")
    yield from _mixture_end(phase, excess_terms)


def _sublattices(phase: SublatticePhase, excess_terms: int) -> Iterator[str]:
    yield from _mixture_start(phase, "SUBL")
    yield str(len(phase.sites))
    yield " ".join(map(_number, phase.sites))
    yield from _site_lists(phase.constituents)
    yield from _members(phase.members)
    yield from _mixture_end(phase, excess_terms)


def _mixture_start(phase: RedlichKisterPhase | SublatticePhase, model: str) -> Iterator[str]:
    """Give name, model and species. The magnetic variant of a model has an M behind its name."""
    yield phase.name
    if phase.lattice is None:
        yield model
    else:
        yield f"{model}M"
        yield _lattice(phase.lattice)
    for species in phase.species:
        yield from _species(species)
        yield from _moment(species)


def _mixture_end(phase: RedlichKisterPhase | SublatticePhase, excess_terms: int) -> Iterator[str]:
    if phase.lattice is not None:
        yield from _interactions(phase.magnetic_interactions, 2)
    yield from _interactions(phase.interactions, excess_terms)


# Ions ---------------------------------------------------------------------------------------------


def _numbers(values: Iterable[float]) -> str:
    return " ".join(map(_number, values))


def _places(values: Iterable[int]) -> str:
    return " ".join(str(place + 1) for place in values)


def _coefficients(numbers: Sequence[float], terms: int) -> str:
    return _numbers((*numbers, *(0.0,) * (terms - len(numbers))))


def _site_lists(sites: Sequence[Sequence[str]]) -> Iterator[str]:
    yield " ".join(str(len(names)) for names in sites)
    for names in sites:
        yield from _names(names)


def _members(members: Iterable[Sequence[int]]) -> Iterator[str]:
    for places in zip(*members, strict=True):
        yield from _wrapped((f"{place + 1:3d}" for place in places), PLACES_PER_LINE)


def _ions(
    ions: Sequence[Sequence[str]], charges: Sequence[float], groups: Sequence[int]
) -> Iterator[str]:
    """Give the charges and groups of each sublattice."""
    start = 0
    for names in ions:
        end = start + len(names)
        yield _numbers(charges[start:end])
        yield " ".join(map(str, groups[start:end]))
        start = end


def _overrides(groups: Groups) -> Iterator[str]:
    """End a list of parameters with the overrides, if there are any."""
    yield str(-len(groups.overrides))
    for rule in groups.overrides:
        a, b, c = rule.triple
        words = [_places(rule.triple)]
        for first, second in ((a, b), (a, c), (b, c)):
            varying = [one for one in (first, second) if one != rule.asymmetric]
            turn = "K" if len(varying) == 2 or rule.asymmetric is None else f"T {varying[0] + 1}"
            words.append(f"{turn} {_places((first, second))}")
        words.append("0" if rule.constant is None else str(rule.constant + 1))
        yield " ".join(words)


def _polynomial(term: Polynomial, kind: int, excess_terms: int) -> Iterator[str]:
    words = [_places(term.constituents), *map(str, term.powers)]
    if term.constant is not None:
        words += ["1", str(term.constant + 1)]  # its exponent has no effect
    yield str(kind)
    yield f"{' '.join(words)} {_coefficients(term.coefficients, excess_terms)}"


def _polynomial_phase(phase: PolynomialPhase, excess_terms: int) -> Iterator[str]:
    yield phase.name
    yield "QKTO"
    for species, equivalents, group in zip(
        phase.species, phase.equivalents, phase.groups.numbers, strict=True
    ):
        yield from _species(species)
        yield f"{_number(equivalents)} {group}"
    for term in phase.polynomials:
        yield from _polynomial(term, len(term.constituents), excess_terms)
    yield from _overrides(phase.groups)


def _ion_phase(phase: IonPhase, excess_terms: int) -> Iterator[str]:
    yield phase.name
    yield "SUBM"
    for species, moles in zip(phase.species, phase.moles, strict=True):
        yield from _species(species)
        yield _numbers(moles)
    yield from _site_lists(phase.ions)
    yield from _ions(phase.ions, phase.charges, phase.groups.numbers)
    yield from _members(phase.members)
    for term in phase.polynomials:
        yield from _polynomial(term, len(term.constituents) + 1, excess_terms)
    yield from _overrides(phase.groups)


def _times(value: float, factor: float, divided: Callable[[float], float]) -> float:
    """Give the number that is read as the value, where what is read is divided by the factor."""
    product = value * factor
    candidates = [product]
    for direction in (math.inf, -math.inf):
        candidates.append(math.nextafter(product, direction))
        candidates.append(math.nextafter(candidates[-1], direction))
    return next((one for one in candidates if divided(one) == value), product)


def _for_moles(species: Species, moles: float) -> Species:
    """Give the record of so many moles of a species."""

    def energy(value: float) -> float:
        return _times(value, moles, lambda read: read * (1.0 / moles))

    return replace(
        species,
        amounts=tuple(_times(one, moles, lambda read: read / moles) for one in species.amounts),
        ranges=tuple(
            replace(
                one,
                coefficients=tuple(map(energy, one.coefficients)),
                extra=tuple((energy(factor), power) for factor, power in one.extra),
            )
            for one in species.ranges
        ),
    )


def _read_as(record: Species, moles: float) -> tuple[object, ...]:
    share = 1.0 / moles
    return (
        tuple(one / moles for one in record.amounts),
        tuple(
            (
                tuple(value * share for value in one.coefficients),
                tuple((factor * share, power) for factor, power in one.extra),
            )
            for one in record.ranges
        ),
    )


def _best_cation(species: Species, charges: Sequence[float]) -> int:
    """Tell the cation with which the record of a neutral reads back as it is, if there is one."""
    wanted = _read_as(species, 1.0)
    for cation, charge in enumerate(charges):
        if _read_as(_for_moles(species, charge), charge) == wanted:
            return cation
    return 0


def _ionic_liquid(phase: IonicLiquid, excess_terms: int) -> Iterator[str]:
    cations = len(phase.sites[0])
    records: list[tuple[tuple[int, int], Species]] = []
    others: list[tuple[tuple[int, int], Species]] = []
    for species, (cation, other) in zip(phase.species, phase.members, strict=True):
        if cation is not None:
            records.append(((cation, other), species))
            continue
        # A neutral has a record with each cation, of which the first counts.
        best = _best_cation(species, phase.charges[:cations])
        made = [
            ((place, other), _for_moles(species, phase.charges[place])) for place in range(cations)
        ]
        records.append(made.pop(best))
        others += made
    records += others
    yield phase.name
    yield "SUBI"
    for _, species in records:
        yield from _species(species)
    yield from _site_lists(phase.sites)
    yield "2"
    yield _numbers(phase.charges[:cations])
    yield _numbers(phase.charges[cations:])
    yield from _members(places for places, _ in records)
    yield from _interactions(phase.interactions, excess_terms)


def _quasichemical(phase: QuasichemicalPhase, excess_terms: int) -> Iterator[str]:
    yield phase.name
    yield "SUBQ" if phase.half else "SUBG"
    if not phase.half:
        yield _number(phase.zeta[0])
    yield f"{len(phase.species)} {len(phase.coordinations)}"
    for species, moles, zeta in zip(phase.species, phase.moles, phase.zeta, strict=True):
        yield from _species(species)
        yield f"{_numbers(moles)} 0.0 0.0 0.0"
        if phase.half:
            yield _number(zeta)
    yield from _site_lists(phase.ions)
    yield from _ions(phase.ions, phase.charges, phase.groups.numbers)
    yield from _members(phase.members)
    # Ions count through both sublattices.
    offsets = (0, len(phase.ions[0]))

    def quadruplet(pairs: Iterable[Sequence[int]]) -> str:
        return _places(
            offset + ion for offset, pair in zip(offsets, pairs, strict=True) for ion in pair
        )

    for pairs, numbers in phase.coordinations:
        yield f"{quadruplet(pairs)} {_numbers(value for pair in numbers for value in pair)}"
    for term in phase.terms:
        more = [
            "0" if ion is None else str(offset + ion + 1)
            for offset, ion in zip(offsets, term.additional, strict=True)
        ]
        yield "3"
        yield f"{term.shape} {quadruplet(term.quadruplet)} {' '.join(map(str, term.powers))}"
        yield from ["0 0 0 0 0 0"] * 2
        yield f"{' '.join(more)} {_coefficients(term.coefficients, excess_terms)}"
    yield from _overrides(phase.groups)


# One row per model; a new model joins here.
_PHASE_WRITERS: dict[type, Callable[..., Iterator[str]]] = {
    IdealPhase: _ideal,
    RedlichKisterPhase: _redlich_kister,
    SublatticePhase: _sublattices,
    PolynomialPhase: _polynomial_phase,
    IonPhase: _ion_phase,
    IonicLiquid: _ionic_liquid,
    QuasichemicalPhase: _quasichemical,
}


def _phase(phase: Phase, excess_terms: int) -> Iterator[str]:
    return _PHASE_WRITERS[type(phase)](phase, excess_terms)


def _pure(pure: PurePhase) -> Iterator[str]:
    name, *record = _species(pure.species)
    yield f"{name:<{NAME_COLUMNS}}#" if pure.dummy else name
    yield from record
    if pure.lattice is not None:
        (moment,) = _moment(pure.species)
        yield f"{moment} {_lattice(pure.lattice)}"


def _end(remark: Iterable[str]) -> Iterator[str]:
    yield END_OF_DATA
    for paragraph in remark:
        for line in textwrap.wrap(paragraph, REMARK_COLUMNS - 3, break_long_words=False) or [""]:
            yield f" : {line}".rstrip()
