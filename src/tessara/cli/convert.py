"""`tessara convert`: data files in other formats."""

from __future__ import annotations

from collections.abc import Collection
from pathlib import Path

import click

from tessara.cli.output import (
    DATA_FILE,
    NEW_FILE,
    ExitStatus,
    fail,
    message,
    print_json,
    read_failure,
    replaced,
)
from tessara.convert.files import READERS, WRITERS, read, write
from tessara.convert.report import ConversionError, Report
from tessara.convert.system import System
from tessara.core import TessaraError

__all__ = ["convert"]


@click.command(
    epilog="""Examples:

\b
  tessara convert alloy.tdb alloy.dat
  tessara convert alloy.tdb al-si.dat --elements Al,Si --drop
"""
)
@click.argument("source", type=DATA_FILE, metavar="IN")
@click.argument("target", type=NEW_FILE, metavar="OUT")
@click.option("--elements", metavar="LIST", help="Take these elements only, as Al,Si (from .tdb).")
@click.option("--drop", is_flag=True, help="Write OUT even where something is lost.")
@click.option("--json", "as_json", is_flag=True, help="Write the list of changes as JSON.")
def convert(source: Path, target: Path, elements: str | None, drop: bool, as_json: bool) -> None:
    """Write the data file IN as OUT, in the format that its suffix names.

    The formats are .dat, .tdf (transparent data files) and .tdb; .toml (tables of figures) can be
    read. Whatever OUT cannot hold is listed. If anything that matters to calculations would be
    lost, nothing is written, unless --drop is given.
    """
    _check_suffix(source, READERS, "IN")
    _check_suffix(target, WRITERS, "OUT")
    report = Report()
    wanted = [one for one in (elements or "").split(",") if one] or None
    system = _read(source, wanted, report)
    try:
        content = write(system, target.suffix, report)
    except ConversionError as error:
        fail(f"{source}: {error}", ExitStatus.FAILED)
    losses = report.losses()
    written = drop or not losses
    if written:
        _replace(target, content)
    if as_json:
        print_json({"written": written, "items": report.as_dicts()})
    for item in report:
        message(f"{source}: {item}")
    if not written:
        count = f"{len(losses)} thing{'s' if len(losses) > 1 else ''}"
        fail(
            f"{target}: not written, as {count} would be lost; --drop allows it", ExitStatus.FAILED
        )


def _check_suffix(path: Path, known: Collection[str], what: str) -> None:
    if path.suffix.lower() not in known:
        suffixes = ", ".join(known)
        raise click.UsageError(f"{what} {str(path)!r}: the suffix must be one of {suffixes}.")


def _read(source: Path, elements: list[str] | None, report: Report) -> System:
    try:
        return read(source, report, elements)
    except TessaraError as error:
        failure = read_failure(error)
        place = "" if failure.line is None else f"line {failure.line}, column {failure.column}: "
        fail(f"{source}: {place}{failure.text}", ExitStatus.UNSOUND)
    except ConversionError as error:
        fail(f"{source}: {error}", ExitStatus.UNSOUND)
    except OSError as error:
        fail(str(error), ExitStatus.FAILED)


def _replace(target: Path, content: bytes) -> None:
    try:
        with replaced(target) as unfinished:
            unfinished.write_bytes(content)
    except OSError as error:
        fail(str(error), ExitStatus.FAILED)
