"""The command and its subcommands."""

from __future__ import annotations

import click

import tessara
from tessara.cli.check import check
from tessara.cli.convert import convert
from tessara.cli.pack import pack

__all__ = ["main"]


@click.group(context_settings={"help_option_names": ["-h", "--help"]})
@click.version_option(tessara.__version__, prog_name="tessara")
def main() -> None:
    """Chemical equilibria from thermochemical data files.

    Exit status: 0 done, 1 something failed, 2 wrong usage, 3 a data file is unsound.
    """


for command in (check, convert, pack):
    main.add_command(command)
