"""`python -m tessara.convert FIGURES.toml OUT.dat`: make a data file from a table of figures."""

from __future__ import annotations

import argparse
import os
import sys
from collections.abc import Sequence
from pathlib import Path

from tessara.convert import dat_writer, figures


def main(arguments: Sequence[str] | None = None) -> int:
    """Make the file. Gives 0, or 1 with a message on the standard error."""
    parser = argparse.ArgumentParser(
        prog="python -m tessara.convert",
        description="Make a .dat data file from a table of figures in TOML.",
    )
    parser.add_argument("figures", type=Path, metavar="FIGURES.toml")
    parser.add_argument("output", type=Path, metavar="OUT.dat")
    given = parser.parse_args(arguments)
    try:
        _replace(given.output, dat_writer.write(figures.read(given.figures)))
    except figures.FiguresError as error:
        print(f"{given.figures}: {error}", file=sys.stderr)
        return 1
    except OSError as error:
        print(error, file=sys.stderr)
        return 1
    return 0


def _replace(path: Path, text: str) -> None:
    """Write a file as a whole: the old one stays as it is when something goes wrong."""
    unfinished = path.parent / f".tessara-{os.getpid()}.tmp"
    try:
        unfinished.write_text(text, encoding="ascii", newline="\n")
        unfinished.replace(path)
    finally:
        unfinished.unlink(missing_ok=True)


if __name__ == "__main__":
    sys.exit(main())
