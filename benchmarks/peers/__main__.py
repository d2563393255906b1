"""`python -m peers`: do the answers agree, and what does each side need for them?"""

from __future__ import annotations

import statistics
import tempfile
import time
import warnings
from collections.abc import Callable, Iterator, Sequence
from pathlib import Path
from typing import Any, NamedTuple

import numpy as np
from split_times import OPERATIONS, recorded

from peers import alloys, cantera_side, gases, ours, pycalphad_side
from peers.alloys import Alloy
from tessara import basic
from tessara.convert import dat_writer
from tessara.core import MiscibilityWarning

ROUNDS = 7

Run = Callable[[], Sequence[Any]]
Differences = Callable[[Sequence[Any], Sequence[Any]], dict[str, float]]


class Comparison(NamedTuple):
    """The same states on both sides. `data` is what tessara loads before."""

    title: str
    data: str
    mine: Run
    peer: str
    theirs: Run
    differences: Differences
    bounds: dict[str, float]


def fraction_differences(mine: Sequence[Any], theirs: Sequence[Any]) -> dict[str, float]:
    return {"mole fraction": float(np.max(np.abs(np.array(mine) - np.array(theirs))))}


def flame_differences(mine: Sequence[Any], theirs: Sequence[Any]) -> dict[str, float]:
    temperatures = [abs(one[0] - other[0]) for one, other in zip(mine, theirs, strict=True)]
    fractions = fraction_differences([one[1] for one in mine], [one[1] for one in theirs])
    return {"T/K": max(temperatures)} | fractions


def energy_differences(mine: Sequence[Any], theirs: Sequence[Any]) -> dict[str, float]:
    energies = [abs(one[0] - other[0]) for one, other in zip(mine, theirs, strict=True)]
    potentials = [
        np.max(np.abs(np.array(one[1]) - other[1])) for one, other in zip(mine, theirs, strict=True)
    ]
    return {"G/(J/mol)": float(np.max(energies)), "potential/(J/mol)": float(np.max(potentials))}


def comparisons() -> Iterator[Comparison]:
    gas = gases.system()
    data, text = dat_writer.write(gas), gases.cantera_yaml(gas)
    states = gases.heated()
    yield Comparison(
        f"gas of {len(gases.NAMES)} species at T and P",
        data,
        ours.gas_fractions(states),
        "Cantera",
        cantera_side.fractions(text, states),
        fraction_differences,
        {"mole fraction": 1e-7},
    )
    states = gases.burnt()
    yield Comparison(
        f"gas of {len(gases.NAMES)} species at H and P",
        data,
        ours.flames(states),
        "Cantera",
        cantera_side.flames(text, states),
        flame_differences,
        {"T/K": 1e-2, "mole fraction": 1e-6},
    )
    yield from map(alloy_comparison, alloys.ALLOYS)


def alloy_comparison(alloy: Alloy) -> Comparison:
    return Comparison(
        "-".join(component.name for component in alloys.system(alloy).components),
        alloys.write(alloy, ".dat"),
        ours.alloy_energies(alloy),
        "pycalphad",
        pycalphad_side.energies(alloy),
        energy_differences,
        {"G/(J/mol)": 1e-2, "potential/(J/mol)": 1e-2},
    )


def seconds(run: Callable[[], object]) -> float:
    start = time.perf_counter()
    run()
    return time.perf_counter() - start


def replay(calls: Sequence[tuple[Callable[..., object], tuple[object, ...]]]) -> None:
    for function, arguments in calls:
        function(*arguments)


def show(comparison: Comparison) -> bool:
    """Print a line on the answers and one on the times; tell whether the answers agree."""
    with tempfile.TemporaryDirectory() as folder:
        path = Path(folder) / "peers.dat"
        path.write_text(comparison.data, encoding="ascii")
        ours.load(path)
    with recorded(basic, OPERATIONS) as calls:
        mine = comparison.mine()
    found = comparison.differences(mine, comparison.theirs())
    words = ", ".join(f"{name} {value:.1e}" for name, value in found.items())
    print(f"{comparison.title}, {len(mine)} states; largest differences: {words}")
    # What is not a number agrees with nothing.
    if not all(found[name] <= bound for name, bound in comparison.bounds.items()):
        print("  the answers do not agree: no times")
        return False
    # In turns, so that what else the machine does falls on all of them.
    sides = (comparison.mine, lambda: replay(calls), comparison.theirs)
    rounds = [[seconds(side) for side in sides] for _ in range(ROUNDS)]
    friendly, operations, peer = (
        1e6 * statistics.median(column) / len(mine) for column in zip(*rounds, strict=True)
    )
    times, times_basic = (statistics.median(one[2] / one[k] for one in rounds) for k in (0, 1))
    print(
        f"  tessara.friendly {friendly:.0f} us a state (tessara.basic {operations:.0f} us),"
        f" {comparison.peer} {peer:.0f} us: {times:.1f} times as long"
        f" ({times_basic:.1f} times tessara.basic)"
    )
    return True


def main() -> int:
    # Alloys unmix further than their files have copies of a phase for; this loses nothing here.
    warnings.simplefilter("ignore", MiscibilityWarning)
    print(f"Medians of {ROUNDS} rounds, each state with a temperature and composition of its own.")
    agreed = [show(comparison) for comparison in comparisons()]
    return 0 if all(agreed) else 1


if __name__ == "__main__":
    raise SystemExit(main())
