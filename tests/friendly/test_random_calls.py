"""Random calls, each lot in a process of its own; see `random_calls.py`."""

import json
import os
import subprocess
import sys
from itertools import pairwise
from pathlib import Path

import pytest

SCRIPT = Path(__file__).with_name("random_calls.py")
# Per seed; fewer where the sanitizers slow each down.
CALLS = int(os.environ.get("TESSARA_RANDOM_CALLS", "12500"))


@pytest.fixture
def play(extension, tmp_path):
    """`play(core, seeds, calls, rounds)`: what the script prints, read."""

    def run(core, seeds, calls, rounds=1):
        progress = tmp_path / "progress"
        command = [sys.executable, str(SCRIPT), "--extension", str(extension), "--core", core]
        command += ["--calls", str(calls), "--rounds", str(rounds), "--progress", str(progress)]
        command += ["--seeds", *map(str, seeds)]
        done = subprocess.run(command, cwd=tmp_path, capture_output=True, text=True, timeout=1800)
        assert done.returncode == 0, f"{progress.read_text()}\n{done.stderr}"
        return json.loads(done.stdout)

    return run


@pytest.mark.parametrize(("core", "seeds"), [("standin", range(4)), ("real", range(4, 8))])
def test_random_calls_end_in_a_result_or_an_exception(play, core, seeds):
    outcomes = play(core, seeds, CALLS)["outcomes"]
    without_result = [name for name, found in outcomes.items() if "result" not in found]
    assert without_result == [] or CALLS < 12_500  # fewer calls don't hit on all
    kinds = {kind for found in outcomes.values() for kind in found}
    assert {"TessaraError", "TessaraPyError", "TypeError", "KeyError", "NameError"} <= kinds


@pytest.mark.long
@pytest.mark.parametrize("core", ["standin", "real"])
@pytest.mark.parametrize("start", range(100, 140, 10))
def test_a_million_random_calls_end_in_a_result_or_an_exception(play, core, start):
    assert play(core, range(start, start + 10), 12_500)["outcomes"]


def test_random_calls_keep_no_memory(play):
    blocks = play("standin", [8], 3000, rounds=8)["blocks"]
    # A lost reference shows in every round; a cache that fills does not.
    assert min(after - before for before, after in pairwise(blocks)) < 5


def test_the_seed_alone_decides(play):
    assert play("standin", [9], 1000)["outcomes"] == play("standin", [9], 1000)["outcomes"]
