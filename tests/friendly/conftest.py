"""Where the built extension is, and packages of stand-ins around copies of it."""

import os
import subprocess
import sys
import textwrap
from collections.abc import Callable
from pathlib import Path
from types import SimpleNamespace

import pytest
import standin_package

OVER_STANDINS = "TESSARA_OVER_STANDINS"  # set in the processes that run `over_standins`

# These files want a process of their own, with stand-ins where the package's siblings are.
collect_ignore = [] if OVER_STANDINS in os.environ else ["over_standins"]
if "TESSARA_FRIENDLY_FAULTS" not in os.environ:
    collect_ignore.append("test_faults.py")  # without a build of the extension that can fail


@pytest.fixture(scope="session")
def extension() -> Path:
    return standin_package.extension_file()


@pytest.fixture
def package(tmp_path: Path, extension: Path) -> SimpleNamespace:
    """A directory with a package `tessara` of nothing but a copy of the extension and stand-ins.

    `write(name, source)` puts another file in; `run(code)` runs code in a new interpreter there
    and returns the finished process.
    """
    folder = standin_package.make(tmp_path, extension)

    def write(name: str, source: str) -> Path:
        path = folder / name
        path.write_text(textwrap.dedent(source))
        return path

    def run(code: str, *options: str, check: bool = True) -> subprocess.CompletedProcess[str]:
        environment = {**os.environ, "PYTHONPATH": str(tmp_path), "PYTHONDONTWRITEBYTECODE": "1"}
        command = [sys.executable, "-W", "error", *options, "-c", textwrap.dedent(code)]
        done = subprocess.run(
            command, cwd=tmp_path, env=environment, capture_output=True, text=True, timeout=300
        )
        assert not check or done.returncode == 0, done.stdout + done.stderr
        return done

    return SimpleNamespace(root=tmp_path, folder=folder, write=write, run=run)


@pytest.fixture
def output(package: SimpleNamespace) -> Callable[..., list[str]]:
    """`output(code)`: the lines that the code prints in a new interpreter."""
    return lambda code, *options: package.run(code, *options).stdout.splitlines()
