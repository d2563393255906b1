"""The stubs: that they tell what the modules hold, and what a type checker makes of them."""

import re
import subprocess
import sys
from pathlib import Path

import pytest

USES = Path(__file__).with_name("uses.py")
MODULES = ["tessara.friendly", "tessara.basic", "tessara.core"]


def run(*command: str, folder: Path) -> subprocess.CompletedProcess[str]:
    """Run a tool in `folder`, where it leaves its cache and finds no source tree."""
    return subprocess.run(
        [sys.executable, "-m", *command], cwd=folder, capture_output=True, text=True, timeout=600
    )


@pytest.mark.parametrize("module", MODULES)
def test_stubs_and_annotations_agree_with_the_module(module, tmp_path):
    done = run("mypy.stubtest", module, folder=tmp_path)
    assert done.returncode == 0, done.stdout + done.stderr


def test_core_passes_the_strictest_check(tmp_path):
    done = run("mypy", "--strict", "-p", "tessara.core", folder=tmp_path)
    assert done.returncode == 0, done.stdout + done.stderr


@pytest.fixture(scope="module")
def complaints(tmp_path_factory):
    """What the type checker says of the uses: pairs of a line's number and an error's code."""
    done = run("mypy", "--strict", str(USES), folder=tmp_path_factory.mktemp("mypy"))
    found = re.findall(r"(?m)^.*uses\.py:(\d+): error: .*\[([a-z-]+)\]$", done.stdout)
    assert done.stdout.count(": error: ") == len(found), done.stdout
    assert done.stderr == ""
    return {(int(line), code) for line, code in found}


def test_right_uses_pass_and_wrong_ones_are_refused(complaints):
    expected = {
        (number, match[1])
        for number, line in enumerate(USES.read_text().splitlines(), 1)
        if (match := re.search(r"# \[([a-z-]+)\]$", line))
    }
    assert len(expected) > 15
    assert complaints == expected
