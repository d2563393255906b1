"""What `tessara.friendly` can be called with, found by looking at the module.

`callables` finds the methods; `RightArguments` makes arguments that each of them understands, by
the names of its parameters. Nothing in here lists methods, so that new ones are covered at once.
"""

import inspect
import io
from collections.abc import Callable
from pathlib import Path
from types import ModuleType, SimpleNamespace
from typing import Any


class Sink(io.TextIOBase):
    """Swallows what the methods print."""

    def write(self, text: str) -> int:
        return len(text)


def classes(friendly: ModuleType) -> list[type]:
    """The classes that the module itself makes, in their order."""
    return [
        value
        for value in vars(friendly).values()
        if isinstance(value, type) and value.__module__ == friendly.__name__
    ]


def method_names(cls: type) -> list[str]:
    """The methods of a class, inherited ones too."""
    return [
        name
        for name in dir(cls)
        if not name.startswith("__") and inspect.ismethod(getattr(cls, name))
    ]


def functions(friendly: ModuleType) -> list[str]:
    """The functions of the module that are its own."""
    return [
        name
        for name, value in vars(friendly).items()
        if callable(value)
        and not isinstance(value, type)
        and getattr(value, "__module__", None) == friendly.__name__
    ]


def callables(friendly: ModuleType) -> dict[str, Callable[..., Any]]:
    """Every method of every class and every function of the module, under its full name."""
    found = {name: getattr(friendly, name) for name in functions(friendly)}
    for cls in classes(friendly):
        for name in method_names(cls):
            found[f"{cls.__name__}.{name}"] = getattr(cls, name)
    return found


def own_callables(friendly: ModuleType) -> dict[str, Callable[..., Any]]:
    """As `callables`, each method only through the class that defines it."""
    own = {f"{cls.__name__}.{name}" for cls in classes(friendly) for name in vars(cls)}
    own.update(functions(friendly))
    return {name: value for name, value in callables(friendly).items() if name in own}


def parameters(function: Callable[..., Any]) -> list[inspect.Parameter]:
    """The parameters of a method or function, without `cls` and `**kwargs`."""
    found = inspect.signature(function).parameters.values()
    return [parameter for parameter in found if parameter.kind is not parameter.VAR_KEYWORD]


UNITS = {"P": "Pressure", "V": "Volume", "T": "Temperature", "E": "Energy", "A": "Amount"}


class RightArguments:
    """Arguments by the names of parameters, for the system of the stand-in library."""

    def __init__(self, friendly: Any, dat: Path, listing: Path) -> None:
        # What the module holds now: callers may take names away from it later.
        self.friendly = friendly = SimpleNamespace(**vars(friendly))
        range_of = friendly.PhaseMapCalculation.IA_range
        amount = SimpleNamespace(ph="GAS", pc="CO", A=1.0, _A=1.0)
        stream = SimpleNamespace(name="ore", T=300.0, P=1.0, A=1.0, A_pcs=[amount])
        ranges = [range_of("GAS", "CO", 0.0, 1.0), range_of("Fe2O3", "Fe2O3", 0.0, 1.0)]
        self.table: dict[str, list[Any]] = {
            "file_path": [str(dat), dat, dat.with_suffix(".tdf")],
            "file_name": [str(listing)],
            "old_list_number": [6, 21],
            "sc": ["Fe", "O", 2],
            "scs": [None, ["O", 0], "CO"],
            "ph": ["GAS", 0, "LIQUID", 1],
            "pc": [0, 1, "CO", "C"],
            "i_ph": [0, 1, 2],
            "number": [1, 0, -2],
            "status": [friendly.Status.ENTERED, friendly.Status.DORMANT],
            "stoich": [[1.0, 2.0, 3.0]],
            "ts": [None],
            "IA_ranges": [[], ranges[:1], ranges],
            "cfs": [["FeO", "CO2"], []],
            "values": [[1.0, 2.0], [0.0]],
            "var_first": [friendly.PhaseMapVariable.TF],
            "var_next": [friendly.PhaseMapVariable.TN],
            "name": ["ore", "flux"],
            "st": ["ore"],
            "stream": [stream],
            "streams": [[stream], [], [stream, stream]],
        }
        self.flags = [False, True]
        self.numbers = [1.0, 2.5, 0.0, 7]

    def prepare(self) -> None:
        """Load the system and make the streams that the arguments name."""
        self.friendly.ThermochemicalSystem.load(self.table["file_path"][0])
        self.make_streams()

    def make_streams(self) -> None:
        """Put each stream that the arguments name in its first state."""
        create = getattr(self.friendly.StreamCalculation, "create_st", None)
        for name in self.table["name"] if create is not None else []:
            create(name, 300.0, 1.0)

    def of(self, method: str, parameter: inspect.Parameter) -> list[Any]:
        """The right values of a parameter of a method, the most ordinary one first."""
        f, name = self.friendly, parameter.name
        if name == "variable":
            group = f.TargetVariable if "calculate" in method else f.ConditionVariable
            return [group.T, group.P]
        if name == "unit" or method == "set":
            quantity = UNITS[name if method == "set" else method.split("_")[1]]
            return list(getattr(f, f"{quantity}Unit"))
        if name in self.table:
            return self.table[name]
        if name == "result_type":
            return [parameter.default]
        if parameter.annotation in (bool, int) or isinstance(parameter.default, bool):
            return self.flags
        return self.numbers

    def lists(self, method: str, function: Callable[..., Any]) -> list[list[Any]]:
        """Two lists of right arguments: the most ordinary ones, and those that ask for most."""
        values = [self.of(method, parameter) for parameter in parameters(function)]
        return [[choices[0] for choices in values], [choices[-1] for choices in values]]
