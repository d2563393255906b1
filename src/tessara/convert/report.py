"""What a conversion could not carry over, and what it changed on the way."""

from __future__ import annotations

from collections.abc import Iterator
from dataclasses import asdict, dataclass

__all__ = ["ConversionError", "Item", "Report"]


class ConversionError(ValueError):
    """A file that cannot be converted: what is wrong, and where it stands.

    Attributes:
        text: what is wrong, without the place.
        line: line in the file, counted from 1; `None` where it concerns no line.
        column: column in that line, likewise.

    """

    def __init__(self, text: str, line: int | None = None, column: int | None = None) -> None:
        super().__init__(_placed(text, line, column))
        self.text = text
        self.line = line
        self.column = column


@dataclass(frozen=True, slots=True)
class Item:
    """Something that the result does not hold as the original did.

    A loss changes what is calculated, or may; a remark does not.
    """

    loss: bool
    subject: str
    text: str
    line: int | None = None
    column: int | None = None

    def __str__(self) -> str:
        words = f"{self.subject}: {self.text}" if self.subject else self.text
        return f"{'loss' if self.loss else 'remark'}: {_placed(words, self.line, self.column)}"


class Report:
    """The items of one conversion, in the order in which they were met."""

    def __init__(self) -> None:
        self._items: dict[Item, None] = {}

    def loss(
        self, subject: str, text: str, line: int | None = None, column: int | None = None
    ) -> None:
        """Note something that cannot be carried over and changes what is calculated."""
        self._items[Item(True, subject, text, line, column)] = None

    def remark(
        self, subject: str, text: str, line: int | None = None, column: int | None = None
    ) -> None:
        """Note a change that calculations do not see."""
        self._items[Item(False, subject, text, line, column)] = None

    def losses(self) -> list[Item]:
        """Give what changes calculations."""
        return [item for item in self if item.loss]

    def as_dicts(self) -> list[dict[str, object]]:
        """Give all items as plain values."""
        return [asdict(item) for item in self]

    def __iter__(self) -> Iterator[Item]:
        return iter(self._items)

    def __len__(self) -> int:
        return len(self._items)


def _placed(text: str, line: int | None, column: int | None) -> str:
    if line is None:
        return text
    return f"line {line}: {text}" if column is None else f"line {line}, column {column}: {text}"
