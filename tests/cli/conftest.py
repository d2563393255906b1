"""Small data files for the command, and the command as a function."""

import pytest
from click.testing import CliRunner

from tessara.cli import main

HEAD = "a test file\n2 1 0 {count}\nFe O\n55.845 15.999\n6 1 2 3 4 5 6\n6 1 2 3 4 5 6\n"


@pytest.fixture
def run():
    """`run(*arguments)` gives exit_code, stdout and stderr."""

    def invoke(*arguments):
        return CliRunner().invoke(main, [str(one) for one in arguments], catch_exceptions=False)

    return invoke


@pytest.fixture
def data_file(tmp_path):
    """`data_file(records)` writes a file of pure phases: name, amounts, ranges of coefficients."""

    def write(*records, name="test.dat", end=""):
        text = HEAD.format(count=len(records))
        for phase, amounts, *ranges in records:
            text += f"{phase}\n1 {len(ranges)} {amounts}\n" + "".join(f"{one}\n" for one in ranges)
        path = tmp_path / name
        path.write_text(text + end)
        return path

    return write


SOUND = ("FeO", "1 1", "6000 -1000 -40 -20 0 0 0")


@pytest.fixture
def sound(data_file):
    return data_file(SOUND, name="sound.dat")


@pytest.fixture
def noted(data_file):
    """One note."""
    return data_file(SOUND, ("Fe2O3", "2 3", "6000 0 0 0 0 0 0"), name="noted.dat")


@pytest.fixture
def broken(data_file):
    """One error and one warning: a jump of 9 kJ/mol, and a row that contradicts its name."""
    jump = ("FeO", "1 1", "1000 -1000 -40 -20 0 0 0", "6000 8000 -40 -20 0 0 0")
    return data_file(jump, ("Fe2O3", "3 2", "6000 -1000 -40 -20 0 0 0"), name="broken.dat")


@pytest.fixture
def unreadable(tmp_path):
    path = tmp_path / "unreadable.dat"
    path.write_text("a title\n1 x\n")
    return path
