"""Published assessments of alloys, as data for both programs, and states of them."""

from __future__ import annotations

from itertools import product
from pathlib import Path
from typing import Final, NamedTuple

from tessara.convert import files
from tessara.convert.report import Report
from tessara.convert.system import System

ASSESSMENTS: Final = Path(__file__).parents[2] / "tests" / "convert" / "assessments"


class Alloy(NamedTuple):
    """A table's row: its states are all temperatures with all compositions.

    `shares` are the mole fractions of the elements behind the first one, in the order of the file.
    """

    name: str
    temperatures: tuple[float, ...]
    shares: tuple[tuple[float, ...], ...]

    @property
    def states(self) -> list[tuple[float, tuple[float, ...]]]:
        """Each temperature with each composition; the last share changes fastest."""
        return list(product(self.temperatures, product(*self.shares)))


def _steps(first: float, last: float, count: int) -> tuple[float, ...]:
    return tuple(first + (last - first) * k / (count - 1) for k in range(count))


ALLOYS: Final = (
    Alloy("al_zn", _steps(400.0, 1000.0, 12), (_steps(0.03, 0.95, 12),)),
    Alloy("cr_fe", _steps(650.0, 2200.0, 12), (_steps(0.04, 0.97, 12),)),
    Alloy("cu_mg", _steps(500.0, 1400.0, 12), (_steps(0.03, 0.96, 12),)),
    Alloy("al_mg_si", _steps(500.0, 1300.0, 6), (_steps(0.02, 0.45, 5), _steps(0.03, 0.4, 5))),
)


def system(alloy: Alloy) -> System:
    """Read the assessment. Raises `ValueError` where something of it is lost."""
    report = Report()
    read = files.read(ASSESSMENTS / f"{alloy.name}.tdb", report)
    _require_whole(alloy, report)
    return read


def write(alloy: Alloy, suffix: str) -> str:
    """Write the assessment in the format of a suffix. Raises `ValueError` likewise."""
    report = Report()
    written = files.write(system(alloy), suffix, report).decode("ascii")
    _require_whole(alloy, report)
    return written


def _require_whole(alloy: Alloy, report: Report) -> None:
    if report.losses():
        raise ValueError(f"{alloy.name}: {report.losses()}")
