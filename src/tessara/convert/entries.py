"""Reading values out of a TOML table, with errors that name the entry and the key."""

from __future__ import annotations

from decimal import Decimal
from typing import Final

__all__ = ["Entry", "FiguresError"]

# Far beyond any coefficient, yet safe to square, and to turn into a double.
LARGEST_EXPONENT: Final = 150


class FiguresError(ValueError):
    """A table of figures is wrong. The text names the entry and the key."""


class Entry:
    """A part of the table that knows its place and which of its keys were read."""

    def __init__(self, where: str, value: object) -> None:
        if not isinstance(value, dict):
            raise FiguresError(f"{where}: expected a table of keys, found {_shown(value)}")
        self.where = where
        self._table: dict[str, object] = value
        self._read: set[str] = set()

    def fail(self, key: str, words: str) -> FiguresError:
        """Make the error that says what is wrong with a key."""
        return FiguresError(f"{self.where}, key {key!r}: {words}")

    def has(self, key: str) -> bool:
        """Tell whether the key is there."""
        return key in self._table

    def raw(self, key: str) -> object:
        """Give the value of a key that must be there."""
        if key not in self._table:
            raise FiguresError(f"{self.where}: the key {key!r} is missing")
        self._read.add(key)
        return self._table[key]

    def text(self, key: str) -> str:
        """Give a text."""
        value = self.raw(key)
        if not isinstance(value, str):
            raise self.fail(key, f"expected a text, found {_shown(value)}")
        return value

    def optional_text(self, key: str) -> str | None:
        """Give a text, or None where the key is missing."""
        return self.text(key) if self.has(key) else None

    def texts(self, key: str) -> list[str]:
        """Give a list of texts."""
        value = self.raw(key)
        if not isinstance(value, list) or not all(isinstance(one, str) for one in value):
            raise self.fail(key, f"expected a list of texts, found {_shown(value)}")
        return value

    def is_list(self, key: str) -> bool:
        """Tell whether the key is there and holds a list."""
        return isinstance(self._table.get(key), list)

    def names(self) -> list[str]:
        """Give all keys in their order."""
        return list(self._table)

    def number(self, key: str) -> Decimal:
        """Give a finite number."""
        return self._as_number(key, self.raw(key))

    def numbers(self, key: str, least: int, most: int) -> list[Decimal]:
        """Give a list of `least` to `most` finite numbers."""
        return self._as_numbers(key, self.raw(key), least, most)

    def pairs(self, key: str) -> list[tuple[Decimal, Decimal]]:
        """Give a list of pairs of numbers."""
        return [(a, b) for a, b in (self._as_numbers(key, row, 2, 2) for row in self.rows(key))]

    def rows(self, key: str) -> list[object]:
        """Give a list of anything."""
        value = self.raw(key)
        if not isinstance(value, list):
            raise self.fail(key, f"expected a list, found {_shown(value)}")
        return value

    def named_numbers(self, key: str) -> dict[str, Decimal]:
        """Give a table of at least one number, by name."""
        value = self.raw(key)
        if not isinstance(value, dict) or not value:
            raise self.fail(key, f"expected names with numbers, found {_shown(value)}")
        return {name: self._as_number(key, number) for name, number in value.items()}

    def number_rows(self, key: str, most: int) -> list[list[Decimal]]:
        """Give a list of lists of 1 to `most` numbers."""
        return [self._as_numbers(key, row, 1, most) for row in self.rows(key)]

    def entry(self, key: str) -> Entry:
        """Give a table inside this one."""
        return Entry(f"{self.where}, key {key!r}", self.raw(key))

    def entries(self, key: str, what: str) -> list[Entry]:
        """Give the tables of a list, each called by its name, or by its place if it has none."""
        if not self.has(key):
            return []
        found = []
        for place, value in enumerate(self.rows(key), start=1):
            name = value.get("name") if isinstance(value, dict) else None
            label = repr(name) if isinstance(name, str) else f"number {place}"
            found.append(Entry(f"{what} {label}", value))
        return found

    def finish(self) -> None:
        """Refuse keys that nobody has read: most are spelling mistakes."""
        unknown = sorted(set(self._table) - self._read)
        if unknown:
            raise FiguresError(f"{self.where}: unknown key {unknown[0]!r}")

    def _as_number(self, key: str, value: object) -> Decimal:
        if isinstance(value, bool) or not isinstance(value, int | Decimal):
            raise self.fail(key, f"expected a number, found {_shown(value)}")
        number = Decimal(value)
        if not number.is_finite() or abs(number.adjusted()) > LARGEST_EXPONENT:
            raise self.fail(key, f"expected a finite number, found {_shown(value)}")
        return number

    def _as_numbers(self, key: str, value: object, least: int, most: int) -> list[Decimal]:
        wanted = str(least) if least == most else f"{least} to {most}"
        if not isinstance(value, list) or not least <= len(value) <= most:
            raise self.fail(key, f"expected {wanted} numbers, found {_shown(value)}")
        return [self._as_number(key, one) for one in value]


def _shown(value: object) -> str:
    text = repr(str(value)) if isinstance(value, Decimal) else repr(value)
    return text if len(text) <= 60 else f"{text[:57]}..."
