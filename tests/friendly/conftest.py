"""Where the built extension is, and packages of stand-ins around copies of it."""

import importlib.util
import os
import shutil
import subprocess
import sys
import textwrap
from collections.abc import Callable
from pathlib import Path
from types import SimpleNamespace

import pytest

HERE = Path(__file__).parent
OVER_STANDINS = "TESSARA_OVER_STANDINS"  # set in the processes that run `over_standins`

# These files want a process of their own, with stand-ins where the package's siblings are.
collect_ignore = [] if OVER_STANDINS in os.environ else ["over_standins"]


def extension_file() -> Path:
    """The extension named by `TESSARA_FRIENDLY`, or the one that is installed."""
    named = os.environ.get("TESSARA_FRIENDLY")
    if named:
        return Path(named).resolve()
    package = importlib.util.find_spec("tessara")
    spec = importlib.util.find_spec("tessara.friendly") if package is not None else None
    assert spec is not None, (
        "build tessara.friendly and install the package, or set TESSARA_FRIENDLY to the file"
    )
    assert spec.origin is not None
    return Path(spec.origin)


@pytest.fixture(scope="session")
def extension() -> Path:
    return extension_file()


@pytest.fixture
def package(tmp_path: Path, extension: Path) -> SimpleNamespace:
    """A directory with a package `tessara` of nothing but a copy of the extension and stand-ins.

    `write(name, source)` puts another file in; `run(code)` runs code in a new interpreter there
    and returns the finished process.
    """
    folder = tmp_path / "tessara"
    folder.mkdir()
    (folder / "__init__.py").write_text("")
    shutil.copy(extension, folder)
    for sibling in ("basic.py", "core.py"):
        shutil.copy(HERE / "standins" / sibling, folder)

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
