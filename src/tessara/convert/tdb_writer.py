"""Writing a system as a TDB file, the plain-text exchange format of phase diagram assessments.

Names become capitals, digits and underscores. Constituents that interact are named in the order of
the alphabet, as programs sort them so; the signs of odd orders follow.
"""

from __future__ import annotations

import re
import textwrap
from collections.abc import Iterable, Iterator, Sequence
from dataclasses import replace
from typing import Final, TypeGuard

from tessara.convert.report import ConversionError, Report
from tessara.convert.system import (
    GIBBS_TERMS,
    LN_T,
    IdealPhase,
    Interaction,
    IonicLiquid,
    IonPhase,
    LatticeFactors,
    Phase,
    PolynomialPhase,
    PurePhase,
    QuasichemicalPhase,
    RedlichKisterPhase,
    Species,
    SublatticePhase,
    System,
    TemperatureRange,
)

__all__ = ["write"]

GAS_CONSTANT: Final = 8.314462618
LOWEST: Final = 298.15
HIGHEST: Final = 6000.0
LINE: Final = 78
NAME_LENGTH: Final = 24
CODES: Final = "ABCDEFGHIJKLMNOPQRSTUVWXYZ"
PLAIN_CODE: Final = "%"
VACANCY: Final = "VA"
TOLERANCE: Final = 1e-6

Written = IdealPhase | RedlichKisterPhase | SublatticePhase
"""What a TDB file has a form for."""
MODELS_WITHOUT_FORM: Final[dict[type, str]] = {
    PolynomialPhase: "polynomials after Kohler and Toop (QKTO)",
    IonPhase: "cations and anions with polynomials (SUBM)",
    IonicLiquid: "ionic liquids (SUBI)",
    QuasichemicalPhase: "quasichemical phases (SUBG, SUBQ)",
}

_TERMS: Final = ("", "*T", "*T*LN(T)", "*T**2", "*T**3", "*T**(-1)")
_PRESSURE_TERMS: Final = ("*1E-05*P", "*1E-10*P**2")


def write(system: System, report: Report) -> str:
    """Give the text of the TDB file: plain ASCII, lines ended by a line feed.

    What the format cannot hold goes to the report. Raises `ConversionError` where nothing can be
    written, as for components that are no elements.
    """
    return _Writer(system, report).text()


class _Writer:
    def __init__(self, system: System, report: Report) -> None:
        self._system = system
        self._report = report
        self._elements = {
            place: self._element(component.name)
            for place, component in enumerate(system.components)
            if not component.is_electron
        }
        self._electrons = [p for p, one in enumerate(system.components) if one.is_electron]
        self._species: dict[tuple[float, ...], dict[str, str]] = {}
        self._taken: set[str] = set(self._elements.values()) | {VACANCY}
        self._phases: set[str] = set()
        self._codes: dict[LatticeFactors, str] = {}

    def text(self) -> str:
        system = self._system
        blocks = [
            list(self._phase(phase))
            for phase in self._once(system.mixtures())
            if self._has_form(phase)
        ]
        blocks += [list(self._pure(pure)) for pure in system.pure if not pure.dummy]
        for pure in system.pure:
            if pure.dummy:
                words = "a dummy has no place in a TDB file"
                self._report.remark(f"phase {pure.name!r}", words)
        lines = [f"$ {line}".rstrip() for line in (system.title, *self._remark())]
        lines += ["", *self._element_lines(), "", *self._species_lines(), ""]
        lines += [f"TYPE_DEFINITION {PLAIN_CODE} SEQ * !", *self._definition_lines()]
        for block in blocks:
            lines += ["", *block]
        return "\n".join(lines) + "\n"

    def _has_form(self, phase: Phase) -> TypeGuard[Written]:
        """Tell whether a TDB file can hold the phase; what it cannot is told."""
        if isinstance(phase, Written):
            return True
        model = MODELS_WITHOUT_FORM[type(phase)]
        self._report.loss(f"phase {phase.name!r}", f"a TDB file has no form for {model}; left out")
        return False

    def _remark(self) -> Iterator[str]:
        for paragraph in self._system.remark:
            yield from textwrap.wrap(paragraph, LINE - 2) or [""]

    def _once(self, phases: Iterable[Phase]) -> Iterator[Phase]:
        """Give each phase once; copies are what a program makes of one by itself."""
        seen: dict[str, Phase] = {}
        for phase in phases:
            if phase.name not in seen:
                seen[phase.name] = phase
                yield phase
            elif phase == seen[phase.name]:
                words = "it stands in a TDB file once, however often it may split"
                self._report.remark(f"phase {phase.name!r}", words)
            else:
                words = "copies of it differ; the first one is written"
                self._report.loss(f"phase {phase.name!r}", words)

    # Names ----------------------------------------------------------------------------------------

    def _element(self, name: str) -> str:
        if re.fullmatch("[A-Za-z]{1,2}", name) is None or name.upper() == VACANCY:
            raise ConversionError(f"the component {name!r} is no element, as a TDB file needs it")
        return name.upper()

    def _plain(self, name: str, what: str | None, taken: set[str]) -> str:
        """Give a name that a TDB file can hold, its own among those that are taken.

        That it changes is told where `what` says of what it is the name.
        """
        plain = re.sub("[^A-Z0-9]+", "_", name.upper()).strip("_") or "X"
        plain = plain if plain[0].isalpha() else f"X{plain}"
        made = plain[:NAME_LENGTH]
        number = 1
        while made in taken:
            number += 1
            made = f"{plain[: NAME_LENGTH - 3]}_{number}"
        taken.add(made)
        if what is not None and made != name.upper():
            self._report.remark(f"{what} {name!r}", f"is called {made}")
        return made

    def _species_name(
        self, name: str, amounts: Sequence[float], what: str | None = "species"
    ) -> str:
        """Give the name of the species that has these amounts, and enter it."""
        content = self._content(amounts)
        held = [(place, amount) for place, amount in enumerate(content[:-1]) if amount]
        if not any(content):
            return VACANCY
        if len(held) == 1 and held[0][1] == 1.0 and not content[-1]:
            return list(self._elements.values())[held[0][0]]
        names = self._species.setdefault(content, {})
        if name not in names:
            names[name] = self._plain(name, what, self._taken)
        return names[name]

    def _content(self, amounts: Sequence[float]) -> tuple[float, ...]:
        """Give the amounts of the elements, and the charge at the end."""
        charge = -sum(amounts[place] for place in self._electrons)
        return (*(amounts[place] for place in self._elements), charge)

    # Head -----------------------------------------------------------------------------------------

    def _element_lines(self) -> Iterator[str]:
        if self._electrons:
            yield "ELEMENT /- ELECTRON_GAS 0.0 0.0 0.0 !"
        yield "ELEMENT VA VACUUM 0.0 0.0 0.0 !"
        for place, name in self._elements.items():
            mass = _number(self._system.components[place].mass)
            yield f"ELEMENT {name} UNKNOWN {mass} 0.0 0.0 !"

    def _species_lines(self) -> Iterator[str]:
        elements = list(self._elements.values())
        for content, names in self._species.items():
            formula = "".join(
                f"{element}{_number(amount)}"
                for element, amount in zip(elements, content, strict=False)
                if amount
            )
            charge = f"/{content[-1]:+g}" if content[-1] else ""
            for name in names.values():
                yield f"SPECIES {name} {formula}{charge} !"

    def _definition_lines(self) -> Iterator[str]:
        for lattice, code in self._codes.items():
            factor = _number(-1.0 / lattice.antiferromagnetic)
            structure = _number(lattice.structure)
            yield f"TYPE_DEFINITION {code} GES A_P_D @ MAGNETIC {factor} {structure} !"

    def _code(self, lattice: LatticeFactors | None) -> str:
        if lattice is None:
            return ""
        if lattice not in self._codes:
            if len(self._codes) == len(CODES):
                raise ConversionError("more kinds of magnetism than a TDB file has codes for")
            self._codes[lattice] = CODES[len(self._codes)]
        return self._codes[lattice]

    # Phases ---------------------------------------------------------------------------------------

    def _phase(self, phase: Written) -> Iterator[str]:
        gas = phase is self._system.gas
        name = self._plain(phase.name, "phase", self._phases)
        if isinstance(phase, SublatticePhase):
            sites = phase.sites
            groups = self._sublattice_species(phase)
            places = phase.members
        else:
            sites = (1.0,)
            groups = [[self._species_name(one.name, one.amounts) for one in phase.species]]
            places = tuple((place,) for place in range(len(phase.species)))
            self._check_distinct(phase, groups[0])
        lattice = None if isinstance(phase, IdealPhase) else phase.lattice
        yield from self._head(name, gas, lattice, sites, groups)
        ideal = f"+{_number(GAS_CONSTANT)}*T*LN(1E-05*P)" if gas else ""
        for species, member in zip(phase.species, places, strict=True):
            on = ":".join(group[place] for group, place in zip(groups, member, strict=True))
            yield from self._end_member(name, on, species, ideal)
        if not isinstance(phase, IdealPhase):
            for interaction in phase.interactions:
                yield from self._interaction(name, interaction, groups, phase.name)
            for interaction in phase.magnetic_interactions:
                yield from self._magnetic_interaction(name, interaction, groups, phase.name)

    def _pure(self, pure: PurePhase) -> Iterator[str]:
        name = self._plain(pure.name, "phase", self._phases)
        species = self._species_name(pure.name, pure.species.amounts, None)
        yield from self._head(name, False, pure.lattice, (1.0,), [[species]])
        yield from self._end_member(name, species, pure.species, "")

    def _head(
        self,
        name: str,
        gas: bool,
        lattice: LatticeFactors | None,
        sites: Sequence[float],
        groups: Sequence[Sequence[str]],
    ) -> Iterator[str]:
        kind = ":G" if gas else ""
        numbers = " ".join(map(_number, sites))
        yield f"PHASE {name}{kind} {PLAIN_CODE}{self._code(lattice)} {len(sites)} {numbers} !"
        yield from _wrapped(
            f"CONSTITUENT {name}{kind} :{' :'.join(', '.join(group) for group in groups)} : !", " "
        )

    def _check_distinct(self, phase: Written, names: Sequence[str]) -> None:
        for name in names:
            if names.count(name) > 1:
                raise ConversionError(
                    f"phase {phase.name!r}: two constituents are the species {name}, which a TDB"
                    " file cannot tell apart"
                )

    def _sublattice_species(self, phase: SublatticePhase) -> list[list[str]]:
        """Find which species stand behind the names on the sublattices.

        Vacancies and elements go by their names; what else there is follows from the amounts of an
        end member in which everything else is known.
        """
        held: dict[tuple[int, int], tuple[float, ...]] = {}
        size = len(self._system.components)
        for s, names in enumerate(phase.constituents):
            for place, name in enumerate(names):
                if name.upper() == VACANCY:
                    held[s, place] = (0.0,) * size
                elif (element := self._place_of(name)) is not None:
                    held[s, place] = tuple(float(c == element) for c in range(size))
        for _ in phase.species:
            for species, member in zip(phase.species, phase.members, strict=True):
                unknown = [one for one in enumerate(member) if one not in held]
                if len(unknown) == 1:
                    s = unknown[0][0]
                    rest = self._rest(phase, species, member, held)
                    held[unknown[0]] = tuple(_rounded(one / phase.sites[s]) for one in rest)
        for species, member in zip(phase.species, phase.members, strict=True):
            known = all(one in held for one in enumerate(member))
            if not known or any(
                abs(one) > TOLERANCE for one in self._rest(phase, species, member, held)
            ):
                raise ConversionError(
                    f"phase {phase.name!r}: the amounts of {species.name!r} are not those of what"
                    " its name puts on the sublattices"
                )
        return [
            [self._species_name(name, held[s, place]) for place, name in enumerate(names)]
            for s, names in enumerate(phase.constituents)
        ]

    def _place_of(self, name: str) -> int | None:
        found = (place for place, element in self._elements.items() if element == name.upper())
        return next(found, None)

    def _rest(
        self,
        phase: SublatticePhase,
        species: Species,
        member: tuple[int, ...],
        held: dict[tuple[int, int], tuple[float, ...]],
    ) -> list[float]:
        """Give what an end member holds beside the constituents that are known."""
        rest = list(species.amounts)
        for one in enumerate(member):
            for c, amount in enumerate(held.get(one, ())):
                rest[c] -= phase.sites[one[0]] * amount
        return rest

    # Parameters -----------------------------------------------------------------------------------

    def _end_member(self, name: str, on: str, species: Species, more: str) -> Iterator[str]:
        ranges = self._ranges(species)
        lower = LOWEST if ranges[0].upper > LOWEST else 1.0
        text = f"PARAMETER G({name},{on};0) {_number(lower)}"
        for number, one in enumerate(ranges, start=1):
            last = number == len(ranges)
            expression = _expression(one.coefficients, one.extra) + more
            text += f" {expression}; {_number(one.upper)} {'N' if last else 'Y'}"
        yield from _wrapped(f"{text} !")
        if species.magnetic is not None:
            yield _constant("TC", f"{name},{on};0", species.magnetic.curie_temperature)
            yield _constant("BMAGN", f"{name},{on};0", species.magnetic.moment)

    def _ranges(self, species: Species) -> list[TemperatureRange]:
        """Give the ranges that apply, with limits that rise."""
        found: list[TemperatureRange] = []
        for one in species.ranges:
            if not found or one.upper > found[-1].upper:
                found.append(one)
        last = species.ranges[-1]
        if last is not found[-1]:
            # It applies above the limit that it shares with one before it.
            found.append(replace(last, upper=max(HIGHEST, last.upper + 1.0)))
        if len(found) < len(species.ranges):
            words = "ranges that never apply were left out"
            self._report.remark(f"species {species.name!r}", words)
        return found

    def _interaction(
        self, name: str, interaction: Interaction, groups: Sequence[Sequence[str]], phase: str
    ) -> Iterator[str]:
        on, sets = self._arranged(interaction, groups, phase)
        for order, numbers in enumerate(sets):
            # Of three constituents the first order alone would mean something else.
            if any(numbers) or len(sets) == 3:
                pressure = zip(numbers[GIBBS_TERMS:], _PRESSURE_TERMS, strict=False)
                more = "".join(_signed(c) + term for c, term in pressure if c)
                expression = _expression(numbers[:GIBBS_TERMS], ()) + more
                yield from _wrapped(
                    f"PARAMETER G({name},{on};{order}) {_number(LOWEST)} {expression};"
                    f" {_number(HIGHEST)} N !"
                )

    def _magnetic_interaction(
        self, name: str, interaction: Interaction, groups: Sequence[Sequence[str]], phase: str
    ) -> Iterator[str]:
        on, sets = self._arranged(interaction, groups, phase)
        for order, pair in enumerate(sets):
            for kind, value in zip(("TC", "BMAGN"), pair, strict=True):
                if value or len(sets) == 3:
                    yield _constant(kind, f"{name},{on};{order}", value)

    def _arranged(
        self, interaction: Interaction, groups: Sequence[Sequence[str]], phase: str
    ) -> tuple[str, list[tuple[float, ...]]]:
        """Give what an interaction is on, in the order of the alphabet, and its sets to match."""
        named: list[list[str]] = []
        start = 0
        for group in groups:
            places = [p - start for p in interaction.constituents if 0 <= p - start < len(group)]
            named.append([group[place] for place in places])
            start += len(group)
        sets = list(interaction.sets)
        mixing = [group for group in named if len(group) > 1]
        if len(mixing) > 1 and len(sets) > 1:
            on = ":".join(",".join(group) for group in named)
            words = f"higher orders of the parameter on {on} mean different things in TDB files"
            self._report.loss(f"phase {phase!r}", words)
            sets = sets[:1]
        elif len(mixing[0]) == 2 and mixing[0] != sorted(mixing[0]):
            sets = [tuple(-c for c in one) if k % 2 else one for k, one in enumerate(sets)]
        elif len(mixing[0]) == 3 and len(sets) == 3:
            sets = [sets[mixing[0].index(one)] for one in sorted(mixing[0])]
        return ":".join(",".join(sorted(group)) for group in named), sets


# Text ---------------------------------------------------------------------------------------------


def _number(value: float) -> str:
    return repr(float(value)).upper()


def _power(value: float) -> str:
    return str(int(value)) if value.is_integer() else _number(value)


def _signed(value: float) -> str:
    return _number(value) if value < 0 else f"+{_number(value)}"


def _rounded(value: float) -> float:
    """Take the rounding of a division off."""
    return round(value, 9) + 0.0


def _expression(coefficients: Sequence[float], extra: Sequence[tuple[float, float]]) -> str:
    terms = [_signed(c) + term for c, term in zip(coefficients, _TERMS, strict=True) if c]
    for c, power in extra:
        if c:
            terms.append(_signed(c) + ("*LN(T)" if power == LN_T else f"*T**({_power(power)})"))
    return "".join(terms) or "+0"


def _constant(kind: str, on: str, value: float) -> str:
    return f"PARAMETER {kind}({on}) {_number(LOWEST)} {_signed(value)}; {_number(HIGHEST)} N !"


def _wrapped(statement: str, breaks: str = " +-") -> Iterator[str]:
    """Break a statement into lines before blanks and signs; the first line begins it."""
    # A sign within a number or a bracket belongs to it.
    pieces = re.split(r"(?= )|(?<![E(*])(?=[+-])", statement) if "+" in breaks else None
    words = re.split(r"(?= )", statement) if pieces is None else pieces
    line = ""
    for word in words:
        if line and len(line) + len(word) > LINE:
            yield line.rstrip()
            line = f"  {word.lstrip()}"
        else:
            line += word
    yield line
