"""`tessara pack`: transparent data files."""

from __future__ import annotations

from pathlib import Path

import click

from tessara.cli.output import DATA_FILE, NEW_FILE, ExitStatus, fail, read_failure
from tessara.core import TessaraError

__all__ = ["pack"]


@click.command(
    epilog="""Examples:

\b
  tessara pack iron.dat iron.tdf
  tessara pack iron.dat iron.tdf --remark "Fe-O-C, rev 3"
"""
)
@click.argument("source", type=DATA_FILE, metavar="FILE.dat")
@click.argument("target", type=NEW_FILE, metavar="FILE.tdf")
@click.option("--remark", default="", help="A line of up to 80 characters for the header.")
def pack(source: Path, target: Path, remark: str) -> None:
    """Pack a data file into a transparent one, which loads faster and gives the same numbers."""
    from tessara import basic  # the extension module, only where it is needed

    try:
        basic.pack(source, target, remark)
    except TessaraError as error:
        failure = read_failure(error)
        if failure.line is None:
            fail(failure.text, ExitStatus.FAILED)
        place = f"line {failure.line}, column {failure.column}"
        fail(f"{source}: {place}: {failure.text}", ExitStatus.UNSOUND)
