"""Statements of TDB files, taken apart.

A statement begins with a keyword, which may be abbreviated, and ends with "!". Comments begin with
"$" and end with their line. Case has no meaning.
"""

from __future__ import annotations

import re
import string
from bisect import bisect_right
from collections.abc import Iterator
from dataclasses import dataclass
from decimal import Decimal
from typing import Final

from tessara.convert.tdb_expressions import Range, Text, parse

__all__ = ["Statement", "names", "number", "ranges", "statements"]

CARRIED: Final = (
    "ELEMENT",
    "SPECIES",
    "FUNCTION",
    "TYPE_DEFINITION",
    "PHASE",
    "CONSTITUENT",
    "PARAMETER",
)
REFERENCES: Final = ("LIST_OF_REFERENCES", "ADD_REFERENCES")
# What these say is for people, or for the program that writes TDB files.
WITHOUT_EFFECT: Final = (
    *REFERENCES,
    "DEFINE_SYSTEM_DEFAULT",
    "DEFAULT_COMMAND",
    "DATABASE_INFORMATION",
    "ASSESSED_SYSTEMS",
    "REFERENCE_FILE",
    "TEMPERATURE_LIMITS",
    "VERSION_DATE",
)

_CAPITALS = {ord(letter): letter.upper() for letter in string.ascii_lowercase}
_NUMBER = re.compile(r"[+-]?(?:\d+\.?\d*|\.\d+)(?:[EeDd][+-]?\d+)?")


@dataclass(frozen=True, slots=True)
class Statement:
    """A statement: its keyword in full, and what follows it."""

    keyword: str
    body: Text

    @property
    def line(self) -> int:
        """Line of what follows the keyword."""
        return self.body.place(self.body.offset)[0]

    def words(self) -> list[Text]:
        """Give what blanks separate."""
        return [
            self.body.part(found.start(), found.end())
            for found in re.finditer(r"\S+", self.body.words)
        ]


def statements(text: str) -> Iterator[Statement]:
    """Give the statements of a file. Raises `ConversionError` where one cannot be told."""
    text = re.sub(r"\$[^\r\n]*", lambda found: " " * len(found.group()), text)
    text = text.replace("\t", " ").replace("\r\n", " \n").replace("\r", "\n")
    text = text.translate(_CAPITALS)
    starts = [0, *(found.end() for found in re.finditer("\n", text))]

    def place(offset: int) -> tuple[int, int]:
        line = bisect_right(starts, offset)
        return line, offset - starts[line - 1] + 1

    at = 0
    while (found := re.compile(r"\s*([^\s!]+)").match(text, at)) is not None:
        word = Text(found.group(1), found.start(1), place)
        keyword = _keyword(word)
        end = _end(text, found.end(), keyword)
        if end < 0:
            raise word.fail(f"the statement {word.words} has no '!' at its end")
        yield Statement(keyword, Text(text, 0, place).part(found.end(), end))
        at = end + 1
        # Further marks end nothing.
        while (mark := re.compile(r"\s*!").match(text, at)) is not None:
            at = mark.end()


def _keyword(word: Text) -> str:
    """Give the keyword in full: each of its parts may be abbreviated."""
    parts = word.words.split("_")
    known = [
        keyword
        for keyword in (*CARRIED, *WITHOUT_EFFECT)
        if len(parts) <= len(keyword.split("_"))
        and all(
            part and full.startswith(part)
            for part, full in zip(parts, keyword.split("_"), strict=False)
        )
    ]
    if not known:
        raise word.fail(f"{word.words!r} is no keyword that is known here")
    if len(known) > 1 and not set(known) <= set(WITHOUT_EFFECT):
        raise word.fail(f"{word.words!r} may stand for {' or '.join(known)}")
    return known[0]


def _end(text: str, start: int, keyword: str) -> int:
    """Find the "!" that ends a statement; those within quotes of a reference do not."""
    if keyword in REFERENCES:
        quoted = re.compile(r"(?:[^'!]|'[^']*')*!").match(text, start)
        if quoted is not None:
            return quoted.end() - 1
    return text.find("!", start)


def number(text: Text) -> Decimal:
    """Read a number."""
    if _NUMBER.fullmatch(text.words) is None:
        raise text.fail(f"expected a number, found {text.words!r}")
    value = Decimal(text.words.upper().replace("D", "E"))
    if value and abs(value.adjusted()) > 400:
        raise text.fail(f"the number {text.words} is beyond all limits")
    return value


def ranges(text: Text) -> tuple[Range, ...]:
    """Read a function: a temperature, then expressions, each with its upper limit.

    `298.15 EXPRESSION; 700 Y EXPRESSION; 6000 N REFERENCE`
    """
    first = _NUMBER.match(text.words)
    if first is None:
        raise text.fail("expected the lower limit of temperature")
    lower = number(text.part(0, first.end()))
    at = first.end()
    found: list[Range] = []
    while True:
        end = text.words.find(";", at)
        if end < 0:
            raise text.fail("expected ';' behind the expression", at)
        expression = parse(text.part(at, end))
        limit, more = _next_words(text, end + 1)
        upper_text = limit
        if upper_text.words in ("", ",", "N", "Y"):
            # Without a limit the range has none, in files as they are met.
            upper_text = Text("6000", upper_text.offset, upper_text.place)
        upper = number(Text(upper_text.words.rstrip(","), upper_text.offset, upper_text.place))
        if upper <= lower:
            raise upper_text.fail(f"the upper limit {upper} is not above the lower one, {lower}")
        found.append(Range(lower, upper, expression))
        if not more.words.startswith("Y"):
            return tuple(found)
        lower = upper
        at = more.offset - text.offset + 1


def _next_words(text: Text, at: int) -> tuple[Text, Text]:
    """Give the next two words, which may be empty."""
    found = list(re.finditer(r"\S+", text.words[at:]))[:2]
    parts = [text.part(at + one.start(), at + one.end()) for one in found]
    end = text.part(len(text.words), len(text.words))
    first, second, *_ = (*parts, end, end)
    return first, second


def names(text: Text) -> list[Text]:
    """Split a list of names at commas and blanks."""
    return [text.part(found.start(), found.end()) for found in re.finditer(r"[^\s,]+", text.words)]
