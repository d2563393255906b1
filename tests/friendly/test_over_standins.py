"""Runs the tests of `over_standins`, each file in a process of its own.

The module lives once in a process, and its siblings there are recording stand-ins, so these tests
can't share a process with tests of the real package. To run one of the files by hand:

    TESSARA_FRIENDLY=path/of/the/extension TESSARA_OVER_STANDINS=standin \\
        python -m pytest tests/friendly/over_standins/test_load.py

`standin` or `real` says which `core` it is: the one of the tests, or the package's own.
"""

import os
import subprocess
import sys
from pathlib import Path

import pytest

FOLDER = Path(__file__).parent / "over_standins"
FILES = sorted(path.name for path in FOLDER.glob("test_*.py"))


# The sanitized run takes one of them.
CORES = os.environ.get("TESSARA_CORES", "standin real").split()


@pytest.mark.parametrize("core", CORES)
@pytest.mark.parametrize("file", FILES)
def test_file_passes_over_recording_standins(file: str, core: str, extension: Path) -> None:
    environment = {
        **os.environ,
        "TESSARA_OVER_STANDINS": core,
        "TESSARA_FRIENDLY": str(extension),
    }
    command = [sys.executable, "-m", "pytest", "-q", "-p", "no:cacheprovider", str(FOLDER / file)]
    done = subprocess.run(
        command, env=environment, cwd=FOLDER, capture_output=True, text=True, timeout=900
    )
    assert done.returncode == 0, done.stdout + done.stderr


def test_there_are_files_to_run() -> None:
    assert len(FILES) > 10
