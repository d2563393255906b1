"""Reading a table of figures (TOML) into a `System`.

Top level
    `title`, `remark` (lines), `gas_constant` (the R of the fits, in J/(mol K)),
    `temperature` (the two limits in K between which the file is meant to be used).
`[sources.KEY]`
    `reference`, and optionally `read_in`, `licence`, `note`.
`[[component]]`
    `name`, `mass` in g/mol, `source`.
`[[function]]`
    `name`, `source` and a Gibbs energy (below): a building block that others refer to.
`[gas]` or `[[solution]]`
    `name`; a solution also `model`, which is "RKMP". Their species stand in `[[gas.species]]` or
    `[[solution.species]]`: `name`, `elements` (moles of each component), `source`, a Gibbs energy.
    `[[solution.interaction]]`: `between` (names of species; in this order they enter x_i - x_j),
    `orders` (coefficients of 1, T, T ln T, T^2, T^3, 1/T; what is left out at the end is 0),
    `source`.
`[[pure]]`
    `name`, `elements`, `source`, a Gibbs energy; optionally `magnetic` = { Tc, beta, f, p }.

A Gibbs energy in J/mol is given in one of the forms of the literature:
    `gibbs` = [{ T = [lower, upper], g = [up to six coefficients], x = [[coefficient, power]] }]
    `nasa9` = [{ T, a = [seven coefficients of Cp/R from T^-2 to T^4], b = [two constants] }]
    `nasa7` = [{ T, a = [five coefficients of Cp/R from T^0 to T^4], b = [two constants] }]
    `heat_capacity` = { T, H298, S298, Cp = [[coefficient, power], ...] }
    `sum` = { NAME = factor, ... }: other Gibbs energies of this table, added up; with it may stand
    `plus` (coefficients as in `g`) and `mixing` (amounts n_i: R T sum n_i ln(n_i / sum n)).
Outside its range a function goes on as `below` and `above` say: "constant Cp", or "Cp of NAME";
without them the first and the last expression are used as they are. NAME is that of a function or
of a pure phase, or PHASE:SPECIES.

Any entry may have `origin`, `note` and `derived`: words on where a figure comes from, what to know
about it, and what was worked out here. An entry with `sum`, `below` or `above` needs `derived`.
"""

from __future__ import annotations

import tomllib
from collections.abc import Callable
from decimal import Decimal, InvalidOperation
from functools import partial
from pathlib import Path
from typing import NamedTuple, TypeVar

from tessara.convert.entries import Entry, FiguresError
from tessara.convert.gibbs_energies import GibbsEnergies, read_interval
from tessara.convert.system import (
    GIBBS_TERMS,
    Component,
    IdealPhase,
    Interaction,
    PurePhase,
    RedlichKisterPhase,
    Species,
    System,
)

__all__ = ["FiguresError", "parse", "read"]

_V = TypeVar("_V")


def read(path: Path) -> System:
    """Read the table at `path`.

    Raises `FiguresError` when the table is wrong and `OSError` when it cannot be read.
    """
    try:
        text = path.read_text(encoding="utf-8")
    except UnicodeDecodeError as error:
        raise FiguresError(f"not a text in UTF-8: {error}") from None
    return parse(text)


def parse(text: str) -> System:
    """Read a table from its text. Raises `FiguresError` when it is wrong."""
    try:
        # Decimal keeps the digits of the sources.
        table = tomllib.loads(text, parse_float=Decimal)
    except (tomllib.TOMLDecodeError, InvalidOperation, RecursionError) as error:
        raise FiguresError(f"not a TOML table: {error}") from None
    try:
        return _Reader(Entry("the table", table)).system()
    except RecursionError:
        raise FiguresError("the functions refer to each other in too long a chain") from None


class _Mixture(NamedTuple):
    """A gas or a solution with the entries of its species."""

    entry: Entry
    name: str
    species: list[Entry]

    def label(self, species: Entry) -> str:
        """Give the name by which others refer to a species."""
        return f"{self.name}:{species.text('name')}"


class _Reader:
    """Builds the system: first all Gibbs energies are named, then they are used."""

    def __init__(self, table: Entry) -> None:
        self._table = table
        lower, upper = read_interval(table, "temperature")
        self._gibbs_energies = GibbsEnergies(lower, upper, table.number("gas_constant"))
        self._sources = self._read_sources()
        self._components = self._read_components()
        self._places = {one.name: place for place, one in enumerate(self._components)}

    def system(self) -> System:
        table = self._table
        title = table.text("title")
        remark = tuple(table.texts("remark")) if table.has("remark") else ()
        functions = table.entries("function", "function")
        gas = self._mixture(table.entry("gas"), "gas") if table.has("gas") else None
        solutions = [self._mixture(one, one.where) for one in table.entries("solution", "solution")]
        pure = table.entries("pure", "pure phase")
        table.finish()

        for entry in (*functions, *pure):
            self._define(entry.text("name"), entry)
        for mixture in solutions if gas is None else (gas, *solutions):
            for entry in mixture.species:
                self._define(mixture.label(entry), entry)

        for entry in functions:
            self._gibbs_energies.function(entry.text("name"))
            entry.finish()
        return self._guarded(
            table,
            partial(
                System,
                title=title,
                components=self._components,
                gas=None if gas is None else self._gas(gas),
                phases=tuple(self._solution(one) for one in solutions),
                pure=tuple(self._pure(entry) for entry in pure),
                remark=remark,
            ),
        )

    def _mixture(self, entry: Entry, what: str) -> _Mixture:
        return _Mixture(entry, entry.text("name"), entry.entries("species", f"{what}, species"))

    def _define(self, name: str, entry: Entry) -> None:
        self._read_words(entry)
        self._gibbs_energies.define(name, entry)

    def _guarded(self, entry: Entry, make: Callable[[], _V]) -> _V:
        """Make a value; what it says against itself is told with the name of the entry."""
        try:
            return make()
        except ValueError as error:
            raise FiguresError(f"{entry.where}: {error}") from None

    def _read_sources(self) -> frozenset[str]:
        sources = self._table.entry("sources")
        for key in sources.names():
            source = sources.entry(key)
            source.text("reference")
            for optional in ("read_in", "licence", "note"):
                source.optional_text(optional)
            source.finish()
        return frozenset(sources.names())

    def _read_words(self, entry: Entry) -> None:
        """Check the words of an entry, and that its sources are in the list."""
        keys = entry.texts("source") if entry.is_list("source") else [entry.text("source")]
        for key in keys:
            if key not in self._sources:
                raise entry.fail("source", f"{key!r} is not among the sources")
        for words in ("origin", "note", "derived"):
            entry.optional_text(words)

    def _read_components(self) -> tuple[Component, ...]:
        components = []
        for entry in self._table.entries("component", "component"):
            self._read_words(entry)
            name, mass = entry.text("name"), float(entry.number("mass"))
            entry.finish()
            components.append(self._guarded(entry, partial(Component, name, mass)))
        return tuple(components)

    def _gas(self, gas: _Mixture) -> IdealPhase:
        species = self._species(gas)
        gas.entry.finish()
        return self._guarded(gas.entry, partial(IdealPhase, gas.name, species))

    def _solution(self, solution: _Mixture) -> RedlichKisterPhase:
        entry = solution.entry
        model = entry.text("model")
        if model != "RKMP":
            raise entry.fail("model", f"expected 'RKMP', found {model!r}")
        species = self._species(solution)
        places = {one.name: place for place, one in enumerate(species)}
        interactions = tuple(
            self._interaction(row, places)
            for row in entry.entries("interaction", f"{entry.where}, interaction")
        )
        entry.finish()
        make = partial(RedlichKisterPhase, solution.name, species, interactions)
        return self._guarded(entry, make)

    def _interaction(self, entry: Entry, places: dict[str, int]) -> Interaction:
        self._read_words(entry)
        between = entry.texts("between")
        for name in between:
            if name not in places:
                raise entry.fail("between", f"{name!r} is no species of this solution")
        sets = tuple(
            tuple(float(number) for number in numbers) + (0.0,) * (GIBBS_TERMS - len(numbers))
            for numbers in entry.number_rows("orders", GIBBS_TERMS)
        )
        entry.finish()
        return Interaction(tuple(places[name] for name in between), sets)

    def _species(self, mixture: _Mixture) -> tuple[Species, ...]:
        species = []
        for entry in mixture.species:
            label = mixture.label(entry)
            if self._gibbs_energies.magnetism(label) is not None:
                raise entry.fail("magnetic", "only pure phases may be magnetic")
            species.append(self._one_species(label, entry))
        return tuple(species)

    def _pure(self, entry: Entry) -> PurePhase:
        name = entry.text("name")
        _, lattice = self._gibbs_energies.magnetism(name) or (None, None)
        return self._guarded(entry, partial(PurePhase, self._one_species(name, entry), lattice))

    def _one_species(self, label: str, entry: Entry) -> Species:
        """Make the species of an entry, whose Gibbs energy goes by `label`."""
        amounts = self._amounts(entry)
        function = self._gibbs_energies.function(label)
        moment, _ = self._gibbs_energies.magnetism(label) or (None, None)
        entry.finish()
        return self._guarded(
            entry, lambda: Species(entry.text("name"), amounts, function.ranges(), moment)
        )

    def _amounts(self, entry: Entry) -> tuple[float, ...]:
        amounts = [0.0] * len(self._components)
        for name, amount in entry.named_numbers("elements").items():
            if name not in self._places:
                raise entry.fail("elements", f"{name!r} is not among the components")
            amounts[self._places[name]] = float(amount)
        return tuple(amounts)
