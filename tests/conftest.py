"""For tests of several folders: the shipped data file, read by code of their own."""

from pathlib import Path

import pytest
from dat_evaluator import DataFile, temperature_of_zero

DATA = Path(__file__).parents[1] / "src" / "tessara" / "data"


@pytest.fixture(scope="session")
def ironmaking():
    return DataFile((DATA / "ironmaking.dat").read_text(encoding="ascii"))


@pytest.fixture(scope="session")
def zero():
    return temperature_of_zero


@pytest.fixture(scope="session")
def parse_dat():
    return DataFile
