"""For the tests of conversions: texts in both formats, and the evaluators that are independent."""

from pathlib import Path

import pytest

from tessara.convert import dat_writer, data_files
from tessara.convert.report import Report

ASSESSMENTS = Path(__file__).parent / "assessments"


@pytest.fixture
def report():
    return Report()


@pytest.fixture
def assessment():
    """`assessment(name)` gives the text of a TDB file."""
    return lambda name: (ASSESSMENTS / f"{name}.tdb").read_text(encoding="ascii")


@pytest.fixture
def read_back(tmp_path):
    """Writes a system as a data file and reads that with the engine's reader."""

    def written_and_read(system):
        path = tmp_path / "system.dat"
        path.write_text(dat_writer.write(system), encoding="ascii")
        return data_files.read(path, Report())

    return written_and_read
