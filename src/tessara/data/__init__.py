"""Data files that ship with the package, and where their figures come from.

A data file NAME.dat is made from the table of figures NAME.toml beside it; the table names the
source of each figure. `ironmaking` holds Fe-C-O-H-N-Ca-Si-Al-Mg.
"""

from __future__ import annotations

import tomllib
from dataclasses import dataclass
from importlib import resources
from pathlib import Path

__all__ = ["Source", "names", "path", "sources"]


@dataclass(frozen=True, slots=True)
class Source:
    """A publication from which figures of a data file come.

    `reference` is the publication, `read_in` the place where the figures were read if that was
    another one, `licence` the terms of that place, `note` anything else. Unknown: empty.
    """

    reference: str
    read_in: str = ""
    licence: str = ""
    note: str = ""


def names() -> tuple[str, ...]:
    """Give the names of the shipped data files, sorted."""
    return tuple(sorted(file.stem for file in _folder().glob("*.dat")))


def path(name: str = "ironmaking") -> Path:
    """Give the path of the shipped data file `name`.

    Raises `ValueError` for a name that is not among `names()`.
    """
    _check(name)
    return _folder() / f"{name}.dat"


def sources(name: str = "ironmaking") -> dict[str, Source]:
    """Give the sources of the data file `name`, by the keys that its table of figures uses.

    Raises `ValueError` for a name that is not among `names()`.
    """
    _check(name)
    table = tomllib.loads((_folder() / f"{name}.toml").read_text(encoding="utf-8"))
    return {key: Source(**source) for key, source in table["sources"].items()}


def _check(name: str) -> None:
    known = names()
    if name not in known:
        raise ValueError(f"there is no shipped data file {name!r}; there is {', '.join(known)}")


def _folder() -> Path:
    folder = resources.files(__name__)
    if not isinstance(folder, Path):
        raise RuntimeError("the package is not installed as files in a folder")
    return folder
