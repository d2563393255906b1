"""Formulas of species in TDB files: `AL2O3`, `FE1O1.5`, `O1/-2`, `FE+3`."""

from __future__ import annotations

import re
from collections.abc import Collection, Mapping
from dataclasses import dataclass

from tessara.convert.tdb_expressions import Text

__all__ = ["Formula", "element_symbol", "parse_formula"]

_CHARGE = re.compile(r"/?([+-]+)(\d*\.?\d*)$")
_COUNT = re.compile(r"\d+\.?\d*|\.\d+")


@dataclass(frozen=True, slots=True)
class Formula:
    """Moles of each element in a mole, and the charge."""

    amounts: Mapping[str, float]
    charge: float


def element_symbol(name: str) -> str:
    """Give an element's name as people write it: `Al` for `AL`."""
    return name[:1].upper() + name[1:].lower()


def parse_formula(text: Text, elements: Collection[str]) -> Formula:
    """Read a formula. Of two readings of the next letters the longer element is taken."""
    words = text.words
    charge = 0.0
    found = _CHARGE.search(words)
    if found is not None:
        signs, count = found.groups()
        size = float(count) if count else float(len(signs))
        charge = size if signs[0] == "+" else -size
        words = words[: found.start()]
    amounts: dict[str, float] = {}
    at = 0
    while at < len(words):
        name = next((words[at : at + n] for n in (2, 1) if words[at : at + n] in elements), None)
        if name is None:
            raise text.fail(f"no element of the file begins {words[at:]!r}", at)
        at += len(name)
        number = _COUNT.match(words, at)
        if number is not None:
            at = number.end()
        amounts[name] = amounts.get(name, 0.0) + (float(number.group()) if number else 1.0)
    if not amounts:
        raise text.fail("expected a formula")
    # Vacancies are no matter.
    amounts.pop("VA", None)
    return Formula(amounts, charge)
