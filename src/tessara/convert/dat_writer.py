"""Writing a system as a `.dat` file.

Names start in column 1, a temperature range stands on one line, and every number is the shortest
text that reads back as the same double. The same system always gives the same text.
"""

from __future__ import annotations

import textwrap
from collections.abc import Callable, Iterable, Iterator, Sequence

from tessara.convert.system import (
    GIBBS_TERMS,
    IdealPhase,
    Interaction,
    LatticeFactors,
    Phase,
    PurePhase,
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
    sets = (
        numbers
        for phase in system.mixtures()
        if not isinstance(phase, IdealPhase)
        for interaction in phase.interactions
        for numbers in interaction.sets
    )
    return max(map(len, sets), default=GIBBS_TERMS)


def _header(system: System, excess_terms: int) -> Iterator[str]:
    # The first slot of the counts is the gas's, whether the system has one or not.
    counts = [0] if system.gas is None else []
    counts += [len(phase.species) for phase in system.mixtures()]
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
    yield " ".join(str(len(names)) for names in phase.constituents)
    for names in phase.constituents:
        yield from _names(names)
    for places in zip(*phase.members, strict=True):
        yield from _wrapped((f"{place + 1:3d}" for place in places), PLACES_PER_LINE)
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


# One row per model; a new model joins here.
_PHASE_WRITERS: dict[type, Callable[..., Iterator[str]]] = {
    IdealPhase: _ideal,
    RedlichKisterPhase: _redlich_kister,
    SublatticePhase: _sublattices,
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
