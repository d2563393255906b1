"""What the subcommands share: exit statuses, messages, files that are written as a whole."""

from __future__ import annotations

import json
import os
import sys
from collections.abc import Iterator
from contextlib import contextmanager
from enum import IntEnum
from pathlib import Path
from typing import NamedTuple, NoReturn

import click

from tessara.core import TessaraError, get_error_info_dict

__all__ = [
    "DATA_FILE",
    "NEW_FILE",
    "ExitStatus",
    "ReadFailure",
    "fail",
    "message",
    "print_json",
    "read_failure",
    "replaced",
    "styled",
]

DATA_FILE = click.Path(exists=True, dir_okay=False, path_type=Path)
NEW_FILE = click.Path(dir_okay=False, path_type=Path)


class ExitStatus(IntEnum):
    """What the command tells the shell."""

    DONE = 0
    FAILED = 1
    USAGE = 2
    UNSOUND = 3


class ReadFailure(NamedTuple):
    """Why a data file cannot be read, and where; `None` where no line is concerned."""

    text: str
    line: int | None
    column: int | None


def read_failure(error: TessaraError) -> ReadFailure:
    """Take the last error of the library apart."""
    note = get_error_info_dict()
    # The text without the operation in front; users of the command know none.
    text = str(error).partition(": ")[2]
    line, column = note["line"], note["column"]
    if note["text"] != str(error) or not isinstance(line, int) or not isinstance(column, int):
        return ReadFailure(text, None, None)
    place = f"{note['file']}, line {line}, column {column}: "
    return ReadFailure(text.removeprefix(place), line, column)


def message(text: str) -> None:
    """Write a line to the standard error."""
    click.echo(text, err=True)


def fail(text: str, status: ExitStatus) -> NoReturn:
    """End the command with a message."""
    message(text)
    sys.exit(status)


def print_json(value: object) -> None:
    """Write a value to the standard output as JSON."""
    click.echo(json.dumps(value, indent=2, ensure_ascii=True, allow_nan=False))


def styled(text: str, colour: str) -> str:
    """Colour a text, where the terminal's owner has nothing against it."""
    return text if os.environ.get("NO_COLOR") else click.style(text, fg=colour)


@contextmanager
def replaced(path: Path) -> Iterator[Path]:
    """Give a path to write to; what is there afterwards takes the place of `path`.

    The old file stays as it is when something goes wrong.
    """
    unfinished = path.parent / f".tessara-{os.getpid()}{path.suffix}"
    try:
        yield unfinished
        unfinished.replace(path)
    finally:
        unfinished.unlink(missing_ok=True)
