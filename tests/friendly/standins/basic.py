"""A stand-in for the sibling `basic`: records every call and answers from a made-up system.

`library` is what it knows; tests put another system there, let the n-th call fail, or answer in
the place of an operation.
"""

from collections.abc import Callable
from dataclasses import dataclass, field
from typing import Any

from . import core

Call = tuple[Any, ...]  # the operation's name, then its arguments


@dataclass
class Component:
    name: Any
    stoich: Any
    mm: Any
    mm_g: Any


@dataclass
class Constituent:
    name: Any
    stoich: Any
    mm: Any


@dataclass
class Phase:
    name: Any
    model: Any
    pcs: list[Constituent]


def iron_oxygen_carbon() -> tuple[list[Component], list[Phase]]:
    """Three components; a gas of three, a liquid of two, a pure solid. Molar masses in kg/mol."""
    scs = [
        Component("Fe", [1.0, 0.0, 0.0], 0.055845, 55.845),
        Component("O", [0.0, 1.0, 0.0], 0.015999, 15.999),
        Component("C", [0.0, 0.0, 1.0], 0.012011, 12.011),
    ]
    phs = [
        Phase(
            "GAS",
            core.SolutionModel.IDMX,
            [
                Constituent("CO", [0.0, 1.0, 1.0], 0.02801),
                Constituent("CO2", [0.0, 2.0, 1.0], 0.044009),
                Constituent("O2", [0.0, 2.0, 0.0], 0.031998),
            ],
        ),
        Phase(
            "LIQUID",
            core.SolutionModel.RKMP,
            [
                Constituent("Fe", [1.0, 0.0, 0.0], 0.055845),
                Constituent("C", [0.0, 0.0, 1.0], 0.012011),
            ],
        ),
        Phase(
            "Fe2O3",
            core.SolutionModel.PURE,
            [Constituent("Fe2O3", [2.0, 3.0, 0.0], 0.159687)],
        ),
    ]
    return scs, phs


STARTING_UNITS = {
    core.Quantity.Pressure: core.PressureUnit.bar,
    core.Quantity.Volume: core.VolumeUnit.dm3,
    core.Quantity.Temperature: core.TemperatureUnit.K,
    core.Quantity.Energy: core.EnergyUnit.J,
    core.Quantity.Amount: core.AmountUnit.kg,
}


@dataclass
class Library:
    scs: list[Component] = field(default_factory=lambda: iron_oxygen_carbon()[0])
    phs: list[Phase] = field(default_factory=lambda: iron_oxygen_carbon()[1])
    units: dict[Any, Any] = field(default_factory=lambda: dict(STARTING_UNITS))
    statuses: dict[Any, Any] = field(default_factory=dict)  # by (i_ph,) and (i_ph, i_pc)
    list_number: Any = 6
    files: dict[Any, str] = field(default_factory=dict)
    listing: str = "LISTING\n"
    condition: int = 0
    calls: list[Call] = field(default_factory=list)
    fail_at: int | None = None
    error: BaseException = field(default_factory=lambda: core.TessaraError("library text"))
    instead: dict[str, Callable[..., Any]] = field(default_factory=dict)
    before: Callable[[Call], None] | None = None

    def count(self, name: str) -> int:
        return sum(call[0] == name for call in self.calls)

    def of(self, *names: str) -> list[Call]:
        return [call for call in self.calls if call[0] in names]

    # What the operations answer.

    def hxini(self) -> None:
        self.units = dict(STARTING_UNITS)

    def hxcprt(self) -> str:
        return "copyright"

    def hxgtpi(self) -> str:
        return "program"

    def hxvers(self) -> int:
        return 80001

    def hxsize(self) -> Any:
        return tuple(range(101, 112))

    def hxused(self) -> Any:
        return tuple(range(1, 12))

    def hxgtrh(self) -> Any:
        return [3, "writer", [8, 0, 1], "-", [7, 2, 0], [2021, 3, 4, 5, 6, 7], "-", "-", "-", "rem"]

    def hxgsu(self, quantity: Any) -> Any:
        return self.units.get(quantity, core.AmountUnit.kg)

    def hxcsu(self, quantity: Any, unit: Any) -> None:
        self.units[quantity] = unit

    def hxnosc(self) -> Any:
        return len(self.scs)

    def hxgnsc(self, i_sc: int) -> Any:
        return self.scs[i_sc].name

    def hxstsc(self, i_sc: int) -> Any:
        sc = self.scs[i_sc]
        gram = self.hxgsu(core.Quantity.Amount) is core.AmountUnit.gram
        return (sc.stoich, sc.mm_g if gram else sc.mm)

    def hxnop(self) -> Any:
        return len(self.phs)

    def hxgnp(self, i_ph: int) -> Any:
        return self.phs[i_ph].name

    def hxmodl(self, i_ph: int) -> Any:
        return self.phs[i_ph].model

    def hxnopc(self, i_ph: int) -> Any:
        return len(self.phs[i_ph].pcs)

    def hxgnpc(self, i_ph: int, i_pc: int) -> Any:
        return self.phs[i_ph].pcs[i_pc].name

    def hxstpc(self, i_ph: int, i_pc: int) -> Any:
        pc = self.phs[i_ph].pcs[i_pc]
        return (pc.stoich, pc.mm)

    def hxgsp(self, i_ph: int) -> Any:
        return self.statuses.get((i_ph,), core.Status.ENTERED)

    def hxcsp(self, i_ph: int, status: Any) -> None:
        self.statuses[(i_ph,)] = status

    def hxgspc(self, i_ph: int, i_pc: int, *_ignored: Any) -> Any:
        return self.statuses.get((i_ph, i_pc), core.Status.ENTERED)

    def hxcspc(self, i_ph: int, i_pc: int, status: Any) -> None:
        self.statuses[(i_ph, i_pc)] = status

    def hxsetc(self, *_arguments: Any) -> int:
        self.condition += 1
        return self.condition

    def hxgetr(self, variable: Any, i_ph: int = -1, i_c: int = -1) -> float:
        """A number that tells the three arguments. Targets are asked for like their namesakes."""
        if isinstance(variable, core.TargetVariable):
            variable = core.ResultVariable[variable.name]
        place = list(core.ResultVariable).index(variable) + 1
        return place + (i_ph + 1) / 16 + (i_c + 1) / 256

    def hxgio(self, _option: Any) -> Any:
        return self.list_number

    def hxcio(self, option: Any, number: Any) -> None:
        if option is core.IoOption.LIST:
            self.list_number = number

    def hxopen(self, file_name: str, number: Any) -> None:
        self.files[number] = file_name

    def hxclos(self, number: Any) -> None:
        self.files.pop(number, None)

    def write_listing(self, *_arguments: Any) -> str:
        if self.list_number in self.files:
            with open(self.files[self.list_number], "a") as file:
                file.write(self.listing)
        return "an answer that nobody reads"

    hxshow = hxcel = hxcenl = write_listing


library = Library()


def start_afresh() -> Library:
    """Forgets calls, failures and systems."""
    global library
    library = Library()
    return library


def _operation(name: str) -> Callable[..., Any]:
    def operation(*arguments: Any) -> Any:
        known = library
        known.calls.append((name, *arguments))
        if known.before is not None:
            known.before(known.calls[-1])
        if known.fail_at is not None and len(known.calls) == known.fail_at:
            raise known.error
        answer = known.instead.get(name) or getattr(known, name, None)
        return None if answer is None else answer(*arguments)

    operation.__name__ = name
    return operation


OPERATIONS = [
    "hxini",
    "hxcio",
    "hxgio",
    "hxopen",
    "hxopna",
    "hxopnt",
    "hxrfil",
    "hxrtdf",
    "hxclos",
    "hxshow",
    "hxcprt",
    "hxgtpi",
    "hxvers",
    "hxsize",
    "hxused",
    "hxgtrh",
    "hxcsu",
    "hxgsu",
    "hxnosc",
    "hxgnsc",
    "hxstsc",
    "hxnop",
    "hxgnp",
    "hxmodl",
    "hxnopc",
    "hxgnpc",
    "hxstpc",
    "hxgsp",
    "hxcsp",
    "hxgspc",
    "hxcspc",
    "hxsetc",
    "hxremc",
    "hxgetr",
    "hxce",
    "hxcel",
    "hxcen",
    "hxcenl",
    "hxmap",
    "hxmapl",
    "hxsttp",
    "hxstrm",
    "hxstca",
    "hxstec",
    "hxstxp",
]
globals().update({name: _operation(name) for name in OPERATIONS})
