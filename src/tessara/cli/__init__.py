"""The command `tessara`.

Exit statuses: 0 done, 1 a calculation or a conversion failed, 2 wrong usage, 3 a data file is
unsound. Results go to the standard output, messages to the standard error.
"""

from tessara.cli.commands import main

__all__ = ["main"]
