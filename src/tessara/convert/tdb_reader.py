"""Reading TDB files, the plain-text exchange format of phase diagram assessments, into a `System`.

Read are elements, species, functions, phases with their constituents, and the parameters G, L, TC
and BMAGN with magnetic type definitions. What a data file cannot hold goes to the report as a loss:
the parameter or the phase concerned is then left out.

Which model a phase gets:
    gas                                             -> ideal gas
    one constituent on each sublattice              -> pure phase
    one sublattice with one site mixes, the others
    hold vacancies alone                            -> Redlich-Kister
    everything else                                 -> sublattices (compound energy formalism)
"""

from __future__ import annotations

from collections.abc import Iterable, Sequence
from dataclasses import dataclass, field
from decimal import Decimal, DecimalException
from itertools import product
from pathlib import Path
from typing import Final

from tessara.convert.functions import Function, with_own_context
from tessara.convert.report import ConversionError, Report
from tessara.convert.system import (
    GIBBS_TERMS,
    Component,
    IdealPhase,
    Interaction,
    LatticeFactors,
    MagneticMoment,
    Phase,
    PurePhase,
    RedlichKisterPhase,
    Species,
    SublatticePhase,
    System,
)
from tessara.convert.tdb_expressions import Piecewise, Pressure, Range, Text, add, pieces
from tessara.convert.tdb_formulas import Formula, element_symbol, parse_formula
from tessara.convert.tdb_syntax import (
    CARRIED,
    REFERENCES,
    Statement,
    names,
    number,
    ranges,
    statements,
)

__all__ = ["parse", "read"]

VACANCY: Final = "VA"
ELECTRON: Final = "/-"
WILDCARD: Final = "*"
ELECTRON_MASS: Final = 0.00054858
NAME_LENGTH: Final = 24

# Kinds of parameters: those that are carried over, and why others are not.
GIBBS: Final = ("G", "L")
MAGNETIC: Final = ("TC", "BMAGN", "BMAG", "BM")
VOLUME: Final = ("V0", "VA", "VB", "VC", "VK", "V1", "V2", "V3")
MOBILITY: Final = ("MQ", "MF", "DQ", "DF", "VS", "MB", "MU")

# Words of type definitions.
AMEND_PHASE: Final = ("A_P_D", "AMEND_PHASE_DESCRIPTION", "A_PH_D")
COMPOSITION_SET: Final = ("C_S", "COMP_SET", "COMPOSITION_SET")

# Endings of phase names that say what kind of phase it is.
GAS_KINDS: Final = ("G",)
PLAIN_KINDS: Final = ("", "L", "S")
OTHER_KINDS: Final = {
    "Y": "it is an ionic liquid with two sublattices",
    "F": "its parameters stand for all permutations of four sublattices",
    "B": "its parameters stand for all permutations of four sublattices",
    "A": "it is an aqueous solution",
    "Q": "it is a quasichemical liquid",
}

_Places = tuple[int, ...]


def read(path: Path, report: Report, elements: Sequence[str] | None = None) -> System:
    """Read a TDB file, as `parse` does. Raises `OSError` as well."""
    return parse(path.read_bytes().decode("utf-8", "replace"), path.name, report, elements)


@with_own_context
def parse(text: str, name: str, report: Report, elements: Sequence[str] | None = None) -> System:
    """Read the text of a TDB file.

    Of the file's elements those in `elements` are taken, or all. What is left out because the
    result cannot hold it goes to the report. Raises `ConversionError` where the text is no TDB file
    or has nothing that could be carried over.
    """
    try:
        database = _Database(report)
        for statement in statements(text.removeprefix("\ufeff")):
            database.take(statement)
        return _Builder(database, report, elements).system(name)
    except DecimalException:
        raise ConversionError("a function has numbers beyond all limits") from None
    except RecursionError:
        raise ConversionError("the functions refer to each other in too long a chain") from None


# What a file says ---------------------------------------------------------------------------------


@dataclass(slots=True)
class _Parameter:
    """A parameter: the constituents that it names on each sublattice, and its function."""

    kind: str
    phase: str
    on: tuple[tuple[str, ...], ...]
    order: int
    function: tuple[Range, ...]
    where: Text

    def label(self) -> str:
        """Give the parameter as a file writes it."""
        on = ":".join(",".join(group) for group in self.on)
        return f"{self.kind}({self.phase},{on};{self.order})"


@dataclass(slots=True)
class _Phase:
    """A phase with its codes of type definitions; sublattices as the file has them."""

    name: str
    kind: str
    codes: str
    sites: tuple[float, ...]
    where: Text
    constituents: tuple[tuple[str, ...], ...] = ()
    parameters: dict[tuple[object, ...], _Parameter] = field(default_factory=dict)
    lattice: LatticeFactors | None = None
    copies: int = 1
    refused: str | None = None


class _Database:
    """All statements of a file, by kind."""

    def __init__(self, report: Report) -> None:
        self._report = report
        self.elements: dict[str, Decimal] = {}
        self.species: dict[str, Formula] = {}
        self.functions: dict[str, tuple[tuple[Range, ...], Text]] = {}
        self.phases: dict[str, _Phase] = {}
        self._definitions: list[tuple[str, Text]] = []
        self._parameters: list[_Parameter] = []
        self._constituents: list[tuple[str, list[Text], Text]] = []

    def take(self, statement: Statement) -> None:
        """Take one statement."""
        if statement.keyword in CARRIED:
            getattr(self, f"_take_{statement.keyword.lower()}")(statement)
        elif statement.keyword in REFERENCES:
            words = "the references stay behind"
            self._report.remark(statement.keyword, words, statement.line)

    def finish(self) -> None:
        """Join what may stand in any order."""
        for code, where in self._definitions:
            self._define(code, where)
        for name, groups, where in self._constituents:
            self._join_constituents(name, groups, where)
        for parameter in self._parameters:
            self._join_parameter(parameter)

    # Statements -----------------------------------------------------------------------------------

    def _words(self, statement: Statement, least: int, what: str) -> list[Text]:
        words = statement.words()
        if len(words) < least:
            raise statement.body.fail(f"expected {what}")
        return words

    def _take_element(self, statement: Statement) -> None:
        words = self._words(statement, 3, "an element's name, reference phase and mass")
        name = words[0].words
        self.elements[name] = number(words[2])
        if name not in (VACANCY, ELECTRON):
            self.species[name] = Formula({name: 1.0}, 0.0)
        if any(number(one) for one in words[3:5]):
            text = "enthalpies and entropies of elements at 298.15 K have no place in a data file"
            self._report.remark("ELEMENT", text)

    def _take_species(self, statement: Statement) -> None:
        words = self._words(statement, 2, "a species' name and formula")
        self.species[words[0].words] = parse_formula(words[1], self.elements)

    def _take_function(self, statement: Statement) -> None:
        name = self._words(statement, 2, "a function's name and ranges")[0]
        rest = statement.body.part(len(name.words), len(statement.body.words))
        if name.words in self.functions:
            words = "the function is given twice; the later one is used"
            self._report.remark(f"function {name.words}", words, *name.place(name.offset))
        self.functions[name.words.rstrip("#")] = (ranges(rest), name)

    def _take_type_definition(self, statement: Statement) -> None:
        words = self._words(statement, 1, "a type definition's code")
        code = words[0].words
        rest = statement.body.part(len(code), len(statement.body.words))
        # The code is one character; what follows may stand right behind it.
        self._definitions.append(
            (code[0], Text(code[1:] + " " + rest.words, rest.offset, rest.place))
        )

    def _take_phase(self, statement: Statement) -> None:
        words = self._words(statement, 4, "a phase's name, codes, number of sublattices and sites")
        name, _, kind = words[0].words.partition(":")
        count = number(words[2])
        if count != count.to_integral_value() or not 1 <= count <= 20:
            raise words[2].fail(f"expected the number of sublattices, found {words[2].words!r}")
        sites = words[3 : 3 + int(count)]
        if len(sites) < count:
            raise statement.body.fail(f"expected the sites of {count} sublattices")
        numbers = tuple(float(number(one)) for one in sites)
        if not all(one > 0 for one in numbers):
            raise sites[0].fail("a number of sites is not above 0")
        if name in self.phases:
            raise words[0].fail(f"the phase {name} is given twice")
        self.phases[name] = _Phase(name, kind, words[1].words, numbers, words[0])

    def _take_constituent(self, statement: Statement) -> None:
        name = self._words(statement, 2, "a phase's name and constituents")[0]
        rest = statement.body.words[len(name.words) :]
        start, end = rest.find(":"), rest.rfind(":")
        if start == end:
            raise statement.body.fail("expected ':' before and behind the constituents")
        shift = len(name.words)
        groups = statement.body.part(shift + start + 1, shift + end).split(":")
        self._constituents.append((name.words.partition(":")[0], groups, name))

    def _take_parameter(self, statement: Statement) -> None:
        body = statement.body
        opening, closing = body.words.find("("), body.words.find(")")
        if not 0 < opening < closing:
            raise body.fail("expected a parameter as G(PHASE,CONSTITUENTS;ORDER)")
        kind = body.words[:opening].strip()
        inside = body.part(opening + 1, closing)
        where, _, order = inside.words.partition(";")
        phase, comma, groups = where.partition(",")
        if not comma:
            raise inside.fail("expected ',' between the phase and its constituents")
        order = order.strip() or "0"
        if not order.isdecimal() or int(order) > 20:
            raise inside.fail(f"expected the order of the parameter, found {order!r}")
        shift = body.words.index(groups, opening)
        on = tuple(
            tuple(one.words.rstrip("%") for one in names(group))
            for group in body.part(shift, shift + len(groups)).split(":")
        )
        if not all(on):
            raise inside.fail("a sublattice of the parameter names nothing")
        # Kinds may carry the constituent that they belong to, as in MQ&AL.
        kind = kind.partition("&")[0]
        function = ranges(body.part(closing + 1, len(body.words)))
        name = phase.strip().partition(":")[0]
        self._parameters.append(_Parameter(kind, name, on, int(order), function, inside))

    # Joining --------------------------------------------------------------------------------------

    def _define(self, code: str, where: Text) -> None:
        """Apply a type definition to the phases that carry its code."""
        words = where.words.replace(",", " ").split()
        amended = next((k for k, word in enumerate(words) if word in AMEND_PHASE), None)
        if amended is None or len(words) < amended + 3:
            return  # says in which order things are read
        named, kind, *numbers = words[amended + 1 :]
        named = named.partition(":")[0]
        marked = [phase for phase in self.phases.values() if code in phase.codes]
        amended_phases = [phase for phase in marked if named in ("@", phase.name)]
        if kind.startswith("MAG"):
            if len(numbers) < 2:
                raise where.fail("a magnetic type definition has two numbers")
            factors = [float(number(Text(one, where.offset, where.place))) for one in numbers[:2]]
            if not (factors[0] < 0 < factors[1] < 1):
                raise where.fail(
                    "expected a negative antiferromagnetic factor and a structure factor between"
                    " 0 and 1"
                )
            for phase in marked:
                phase.lattice = LatticeFactors(-1.0 / factors[0], factors[1])
        elif kind.startswith(("DIS", "NEV")):
            for phase in amended_phases:
                phase.refused = (
                    "it is the ordered form of another phase, and order and disorder in one phase"
                    " cannot be carried over"
                )
        elif kind in COMPOSITION_SET:
            for phase in amended_phases:
                phase.copies += 1
        elif not kind.startswith("MAJ"):
            for phase in amended_phases:
                words_ = f"the type definition {kind} is not known here and is left out"
                self._report.loss(f"phase {phase.name}", words_, *where.place(where.offset))

    def _join_constituents(self, name: str, groups: list[Text], where: Text) -> None:
        phase = self.phases.get(name)
        if phase is None:
            words = "constituents of a phase that the file does not have"
            self._report.remark(f"phase {name}", words, *where.place(where.offset))
            return
        if len(groups) != len(phase.sites):
            raise where.fail(
                f"constituents for {len(groups)} sublattices; the phase {name} has"
                f" {len(phase.sites)}"
            )
        found = []
        for group in groups:
            listed = [one.words.rstrip("%") for one in names(group)]
            for one, word in zip(listed, names(group), strict=True):
                if one != VACANCY and one not in self.species:
                    raise word.fail(f"{one!r} is no element and no species of the file")
            found.append(tuple(dict.fromkeys(listed)))
        phase.constituents = tuple(found)

    def _join_parameter(self, parameter: _Parameter) -> None:
        place = parameter.where.place(parameter.where.offset)
        label = f"parameter {parameter.label()}"
        phase = self.phases.get(parameter.phase)
        if phase is None:
            self._report.remark(label, "the file has no such phase", *place)
            return
        if len(parameter.on) != len(phase.sites):
            raise parameter.where.fail(
                f"{parameter.label()} names {len(parameter.on)} sublattices; the phase has"
                f" {len(phase.sites)}"
            )
        for group, constituents in zip(parameter.on, phase.constituents, strict=False):
            unknown = [one for one in group if one != WILDCARD and one not in constituents]
            if unknown:
                words = f"it refers to nothing: {unknown[0]} is not on that sublattice"
                self._report.remark(label, words, *place)
                return
        kind = "G" if parameter.kind in GIBBS else parameter.kind
        key = (kind, parameter.on, parameter.order)
        if key in phase.parameters:
            self._report.remark(label, "it is given twice; the later one is used", *place)
        phase.parameters[key] = parameter


# Building the system ------------------------------------------------------------------------------


class _Builder:
    """Makes a `System` of a database."""

    def __init__(self, database: _Database, report: Report, elements: Sequence[str] | None) -> None:
        self._database = database
        self._report = report
        self._functions: dict[str, Piecewise] = {}
        self._under_way: list[str] = []
        database.finish()
        self._elements = self._chosen(elements)
        self._electrons: dict[str, int] = {}

    def system(self, name: str) -> System:
        """Make the system; `name` is that of the file."""
        phases = [phase for one in self._database.phases.values() if (phase := self._limited(one))]
        for phase in phases:
            if self._has_ions(phase):
                self._electrons[phase.name] = len(self._elements) + len(self._electrons)
        gas: IdealPhase | None = None
        mixtures: list[Phase] = []
        pure: list[PurePhase] = []
        for phase in phases:
            made = self._phase(phase)
            if isinstance(made, PurePhase):
                pure.append(made)
            elif isinstance(made, IdealPhase) and gas is None:
                gas = made
            else:
                mixtures += [made] * phase.copies
        if not (gas or mixtures or pure):
            raise ConversionError("the file has no phase that could be carried over")
        components = [
            *(Component(element_symbol(one), float(self._mass(one))) for one in self._elements),
            *(Component(f"e({phase})", ELECTRON_MASS) for phase in self._electrons),
        ]
        title = f"{'-'.join(element_symbol(one) for one in self._elements)} from {name}"
        plain = "".join(c if c.isascii() and c.isprintable() else "_" for c in title)
        try:
            return System(plain, tuple(components), gas, tuple(mixtures), tuple(pure))
        except ValueError as error:
            raise ConversionError(str(error)) from None

    # Elements -------------------------------------------------------------------------------------

    def _chosen(self, wanted: Sequence[str] | None) -> tuple[str, ...]:
        all_of_them = [one for one in self._database.elements if one not in (VACANCY, ELECTRON)]
        if wanted is None:
            return tuple(all_of_them)
        names_wanted = {one.strip().upper() for one in wanted}
        for one in names_wanted:
            if one not in all_of_them:
                known = ", ".join(map(element_symbol, all_of_them))
                raise ConversionError(f"the file has no element {one!r}; it has {known}")
        return tuple(one for one in all_of_them if one in names_wanted)

    def _mass(self, element: str) -> Decimal:
        mass = self._database.elements[element]
        if mass <= 0:
            raise ConversionError(f"the mass of the element {element} is not above 0")
        return mass

    def _limited(self, phase: _Phase) -> _Phase | None:
        """Give the phase with the constituents that the chosen elements make, if there are any."""
        if not phase.constituents:
            self._report.remark(f"phase {phase.name}", "it has no constituents", phase_line(phase))
            return None
        groups = tuple(
            tuple(one for one in group if self._is_chosen(one)) for group in phase.constituents
        )
        if not all(groups) or all(one == VACANCY for group in groups for one in group):
            return None
        refusal = phase.refused or OTHER_KINDS.get(phase.kind)
        if refusal is None and phase.kind not in (*GAS_KINDS, *PLAIN_KINDS):
            refusal = f"the kind {phase.kind!r} of phases is not known here"
        if refusal is not None:
            words = f"{refusal}; the phase is left out"
            self._report.loss(f"phase {phase.name}", words, phase_line(phase))
            return None
        phase.constituents = groups
        return phase

    def _is_chosen(self, species: str) -> bool:
        formula = self._database.species.get(species)
        return species == VACANCY or (
            formula is not None and all(one in self._elements for one in formula.amounts)
        )

    def _has_ions(self, phase: _Phase) -> bool:
        return any(self._formula(one).charge for group in phase.constituents for one in group)

    def _formula(self, species: str) -> Formula:
        return Formula({}, 0.0) if species == VACANCY else self._database.species[species]

    def _shown(self, species: str) -> str:
        """Give an element as its symbol, and other species as they stand."""
        known = species == VACANCY or species in self._database.elements
        return element_symbol(species) if known else species

    # Functions ------------------------------------------------------------------------------------

    def _function(self, name: str, where: Text) -> Piecewise:
        """Give a function by name. Refuses those that need themselves."""
        if name not in self._functions:
            if name not in self._database.functions:
                raise where.fail(f"there is no function {name!r}")
            if name in self._under_way:
                circle = [*self._under_way[self._under_way.index(name) :], name]
                words = f"functions refer to each other in a circle: {' -> '.join(circle)}"
                raise where.fail(words)
            self._under_way.append(name)
            own, place = self._database.functions[name]
            self._functions[name] = self._piecewise(own, place)
            self._under_way.pop()
        return self._functions[name]

    def _piecewise(self, own: tuple[Range, ...], where: Text) -> Piecewise:
        """Work out a function over its own ranges, split where those that it names change."""
        found = []
        pressure = Pressure()
        for one in own:
            named = {name: self._function(name, where) for name in sorted(one.expression.names)}
            for function in named.values():
                pressure.join(function.pressure)
            inner = sorted(
                {T for f in named.values() for T in f.limits() if one.lower < T < one.upper}
            )
            for start, end in zip((one.lower, *inner), (*inner, one.upper), strict=True):
                values = {name: function.at(end) for name, function in named.items()}
                found.append((start, end, one.expression.over(values, pressure)))
        return Piecewise(tuple(found), pressure)

    # Parameters of a phase ------------------------------------------------------------------------

    def _of_kind(self, phase: _Phase, kinds: Iterable[str]) -> list[_Parameter]:
        """Give the parameters of a phase between constituents that are there."""
        return [
            one
            for one in phase.parameters.values()
            if one.kind in kinds
            and all(
                name == WILDCARD or name in group
                for on, group in zip(one.on, phase.constituents, strict=True)
                for name in on
            )
        ]

    def _value(self, phase: _Phase, parameter: _Parameter) -> Piecewise:
        function = self._piecewise(parameter.function, parameter.where)
        pressure = function.pressure
        # The logarithm of the pressure is that of the ideal gas, which the gas has by itself.
        if pressure.elsewhere or (pressure.in_logarithm and phase.kind not in GAS_KINDS):
            self._lose(parameter, "it depends on the pressure; it is taken at 1 bar")
        return function

    def _lose(self, parameter: _Parameter, words: str) -> None:
        place = parameter.where.place(parameter.where.offset)
        self._report.loss(f"parameter {parameter.label()}", words, *place)

    def _end_members(self, phase: _Phase, kinds: Iterable[str]) -> dict[_Places, list[_Parameter]]:
        """Give the parameters of each end member. A wildcard stands for each constituent."""
        members: dict[_Places, list[_Parameter]] = {
            places: [] for places in product(*(range(len(group)) for group in phase.constituents))
        }
        for one in self._of_kind(phase, kinds):
            if all(len(group) == 1 for group in one.on):
                if one.order:
                    self._lose(one, "an end member has no orders; it is left out")
                    continue
                for places in product(*self._places(phase, one)):
                    members[tuple(group[0] for group in places)].append(one)
        return members

    def _places(self, phase: _Phase, parameter: _Parameter) -> list[list[tuple[int, ...]]]:
        """Give for each sublattice what a parameter names, in each reading of its wildcards."""
        return [
            [(place,) for place in range(len(group))]
            if on == (WILDCARD,)
            else [tuple(group.index(name) for name in on)]
            for on, group in zip(parameter.on, phase.constituents, strict=True)
        ]

    def _gibbs(self, phase: _Phase, members: list[_Parameter], label: str) -> tuple[Function, Text]:
        if not members:
            words = f"the end member {label} has no Gibbs energy; it is taken as 0"
            self._report.remark(f"phase {phase.name}", words, phase_line(phase))
            zero = Piecewise(((Decimal("298.15"), Decimal(6000), {}),))
            return Function(pieces(zero, phase.where)), phase.where
        total = add([self._value(phase, one) for one in members])
        return Function(pieces(total, members[0].where)), members[0].where

    def _constants(self, phase: _Phase, kind: tuple[str, ...], places: _Places) -> float:
        """Give the sum of an end member's Curie temperatures or moments."""
        total = 0.0
        for one in self._end_members(phase, kind)[places]:
            total += self._constant(phase, one) or 0.0
        return total

    def _constant(self, phase: _Phase, parameter: _Parameter) -> float | None:
        terms = self._single(phase, parameter)
        if terms is None:
            return None
        if any(terms[1:]):
            self._lose(parameter, "a data file holds no function of temperature here; left out")
            return None
        return terms[0]

    def _single(self, phase: _Phase, parameter: _Parameter) -> tuple[float, ...] | None:
        """Give the six coefficients of a parameter that has one range and no other terms."""
        found = Function(pieces(self._value(phase, parameter), parameter.where)).ranges()
        if len(found) > 1:
            words = f"a data file holds one range here, not {len(found)}; it is left out"
            self._lose(parameter, words)
            return None
        if found[0].extra:
            powers = ", ".join("LN(T)" if p == 99 else f"T**{p:g}" for _, p in found[0].extra)
            self._lose(parameter, f"a data file holds no term {powers} here; it is left out")
            return None
        return found[0].coefficients

    # Phases ---------------------------------------------------------------------------------------

    def _phase(self, phase: _Phase) -> Phase | PurePhase:
        self._lose_others(phase)
        try:
            if phase.kind in GAS_KINDS:
                return self._gas(phase)
            if all(len(group) == 1 for group in phase.constituents):
                return self._pure(phase)
            main = self._substitutional(phase)
            return self._sublattices(phase) if main is None else self._solution(phase, main)
        except ConversionError:
            raise
        except ValueError as error:
            raise ConversionError(str(error), phase_line(phase)) from None

    def _lose_others(self, phase: _Phase) -> None:
        known = GIBBS if phase.lattice is None else (*GIBBS, *MAGNETIC)
        for one in phase.parameters.values():
            if one.kind in known:
                continue
            if one.kind in MOBILITY:
                words = "mobilities have no place in a data file"
                self._report.remark(f"parameter {one.label()}", words)
            elif one.kind in MAGNETIC:
                words = "the phase has no magnetic type definition, so it has no effect"
                place = one.where.place(one.where.offset)
                self._report.remark(f"parameter {one.label()}", words, *place)
            else:
                what = "volumes have" if one.kind in VOLUME else f"{one.kind} has"
                self._lose(one, f"{what} no place in a data file; it is left out")

    def _amounts(self, phase: _Phase, contents: Iterable[tuple[str, float]]) -> tuple[float, ...]:
        """Give the moles of each component in so many moles of these species."""
        amounts = [0.0] * (len(self._elements) + len(self._electrons))
        for species, moles in contents:
            formula = self._formula(species)
            for element, amount in formula.amounts.items():
                amounts[self._elements.index(element)] += moles * amount
            if formula.charge:
                # A component of electrons counts what is there of them.
                amounts[self._electrons[phase.name]] -= moles * formula.charge
        return tuple(amounts)

    def _species(
        self,
        phase: _Phase,
        name: str,
        places: _Places,
        sites: Sequence[float],
    ) -> Species:
        """Make the species of an end member."""
        held = [group[place] for group, place in zip(phase.constituents, places, strict=True)]
        label = ":".join(held)
        function, _ = self._gibbs(phase, self._end_members(phase, GIBBS)[places], label)
        moment = None
        if phase.lattice is not None:
            Tc = self._constants(phase, ("TC",), places)
            beta = self._constants(phase, MAGNETIC[1:], places)
            moment = MagneticMoment(Tc, beta) if Tc or beta else None
        amounts = self._amounts(phase, zip(held, sites, strict=True))
        return Species(name, amounts, function.ranges(), moment)

    def _gas(self, phase: _Phase) -> IdealPhase:
        if len(phase.sites) != 1:
            raise ConversionError(
                f"the gas {phase.name} has {len(phase.sites)} sublattices", phase_line(phase)
            )
        for one in self._of_kind(phase, GIBBS):
            if any(len(group) > 1 for group in one.on):
                self._lose(one, "a data file holds ideal gases only; it is left out")
        return IdealPhase(
            phase.name,
            tuple(
                self._species(phase, self._shown(one), (place,), (1.0,))
                for place, one in enumerate(phase.constituents[0])
            ),
        )

    def _pure(self, phase: _Phase) -> PurePhase:
        places = (0,) * len(phase.sites)
        species = self._species(phase, phase.name, places, phase.sites)
        return PurePhase(species, None if species.magnetic is None else phase.lattice)

    def _substitutional(self, phase: _Phase) -> int | None:
        """Give the sublattice on which everything mixes, if the phase is that simple."""
        mixing = [place for place, group in enumerate(phase.constituents) if group != (VACANCY,)]
        if len(mixing) != 1 or phase.sites[mixing[0]] != 1 or self._has_ions(phase):
            return None
        return None if VACANCY in phase.constituents[mixing[0]] else mixing[0]

    def _solution(self, phase: _Phase, main: int) -> RedlichKisterPhase:
        def places(place: int) -> _Places:
            return tuple(place if s == main else 0 for s in range(len(phase.sites)))

        species = tuple(
            self._species(phase, self._shown(one), places(place), phase.sites)
            for place, one in enumerate(phase.constituents[main])
        )
        starts = [0] * len(phase.sites)
        return RedlichKisterPhase(
            phase.name,
            species,
            self._interactions(phase, GIBBS, starts, main),
            phase.lattice,
            self._magnetic_interactions(phase, starts, main),
        )

    def _sublattices(self, phase: _Phase) -> SublatticePhase:
        members = tuple(self._end_members(phase, GIBBS))
        held = [
            ":".join(
                self._shown(group[p]) for group, p in zip(phase.constituents, places, strict=True)
            )
            for places in members
        ]
        species = tuple(
            self._species(phase, name, places, phase.sites)
            for name, places in zip(_labels(held), members, strict=True)
        )
        starts = [
            sum(len(group) for group in phase.constituents[:s]) for s in range(len(phase.sites))
        ]
        return SublatticePhase(
            phase.name,
            species,
            phase.sites,
            tuple(tuple(map(self._shown, group)) for group in phase.constituents),
            members,
            self._interactions(phase, GIBBS, starts, None),
            phase.lattice,
            self._magnetic_interactions(phase, starts, None),
        )

    # Interactions ---------------------------------------------------------------------------------

    def _interactions(
        self, phase: _Phase, kinds: Sequence[str], starts: Sequence[int], main: int | None
    ) -> tuple[Interaction, ...]:
        """Give the excess parameters. `starts` count through the sublattices.

        In a substitutional phase only what stands on the sublattice `main` is named.
        """
        found: dict[_Places, dict[int, tuple[float, ...]]] = {}
        for one in self._of_kind(phase, kinds):
            if all(len(group) == 1 for group in one.on) or not self._fits(one):
                continue
            terms = self._single(phase, one)
            if terms is not None:
                self._enter(found, phase, one, terms, starts, main)
        return tuple(
            Interaction(places, self._sets(orders, places, phase, main))
            for places, orders in found.items()
        )

    def _magnetic_interactions(
        self, phase: _Phase, starts: Sequence[int], main: int | None
    ) -> tuple[Interaction, ...]:
        if phase.lattice is None:
            return ()
        found: dict[_Places, dict[int, tuple[float, ...]]] = {}
        for one in self._of_kind(phase, MAGNETIC):
            if all(len(group) == 1 for group in one.on) or not self._fits(one):
                continue
            value = self._constant(phase, one)
            if value is not None:
                pair = (value, 0.0) if one.kind == "TC" else (0.0, value)
                self._enter(found, phase, one, pair, starts, main)
        return tuple(
            Interaction(places, self._sets(orders, places, phase, main, 2))
            for places, orders in found.items()
        )

    def _fits(self, parameter: _Parameter) -> bool:
        """Tell whether a data file can hold the interaction; notes it as a loss where not."""
        mixing = [len(group) for group in parameter.on if len(group) > 1]
        most = 20 if mixing == [2] else 2 if mixing == [3] else 0
        if any(len(set(group)) != len(group) or WILDCARD in group[1:] for group in parameter.on):
            self._lose(parameter, "a constituent is named twice on a sublattice; it is left out")
            return False
        if parameter.order > most:
            words = "a data file has no place for this order between so many; it is left out"
            self._lose(parameter, words)
            return False
        return True

    def _enter(
        self,
        found: dict[_Places, dict[int, tuple[float, ...]]],
        phase: _Phase,
        parameter: _Parameter,
        numbers: tuple[float, ...],
        starts: Sequence[int],
        main: int | None,
    ) -> None:
        # The fractions of a sublattice add up to one: a wildcard is the sum of all readings.
        for reading in product(*self._places(phase, parameter)):
            places = tuple(
                start + place
                for s, (start, group) in enumerate(zip(starts, reading, strict=True))
                if main is None or s == main
                for place in group
            )
            orders = found.setdefault(places, {})
            before = orders.get(parameter.order, (0.0,) * len(numbers))
            orders[parameter.order] = tuple(a + b for a, b in zip(before, numbers, strict=True))

    def _sets(
        self,
        orders: dict[int, tuple[float, ...]],
        places: _Places,
        phase: _Phase,
        main: int | None,
        terms: int = GIBBS_TERMS,
    ) -> tuple[tuple[float, ...], ...]:
        """Give a set of coefficients for each order; those that are not given are zero."""
        fixed = 0 if main is not None else len(phase.sites) - 1
        zero = (0.0,) * terms
        if len(places) - fixed == 3 and self._one_sublattice(places, phase, main):
            # Alone, the first one does not depend on composition, as three equal ones do not.
            if set(orders) == {0}:
                return (orders[0],) * 3
            return tuple(orders.get(order, zero) for order in range(3))
        return tuple(orders.get(order, zero) for order in range(max(orders) + 1))

    def _one_sublattice(self, places: _Places, phase: _Phase, main: int | None) -> bool:
        """Tell whether all that mixes stands on one sublattice."""
        if main is not None:
            return True
        start = 0
        for group in phase.constituents:
            if sum(start <= place < start + len(group) for place in places) == 3:
                return True
            start += len(group)
        return False


def phase_line(phase: _Phase) -> int:
    """Give the line of a phase."""
    return phase.where.place(phase.where.offset)[0]


def _labels(held: list[str]) -> list[str]:
    """Give the end members names that a data file can hold, each its own."""
    found = []
    for number_, label in enumerate(held, start=1):
        ending = f"~{number_}"
        short = label if len(label) <= NAME_LENGTH else label[: NAME_LENGTH - len(ending)] + ending
        found.append(short)
    return found
