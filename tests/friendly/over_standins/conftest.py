"""Makes the package that these tests import: the extension between recording stand-ins."""

import atexit
import gc
import os
import shutil
import sys
import tempfile
from collections.abc import Iterator
from pathlib import Path
from types import ModuleType
from typing import Any

import pytest
import standin_package


def _make_package() -> None:
    root = Path(tempfile.mkdtemp(prefix="tessara-standins-"))
    atexit.register(shutil.rmtree, root, ignore_errors=True)
    standin_package.make(
        root, Path(os.environ["TESSARA_FRIENDLY"]), core=os.environ["TESSARA_OVER_STANDINS"]
    )
    sys.path.insert(0, str(root))


assert "tessara" not in sys.modules, "these tests need a process of their own"
_make_package()

import tessara.basic  # noqa: E402
import tessara.core  # noqa: E402
import tessara.friendly  # noqa: E402

# What is there by now stays. Tests that count references and memory collect garbage thousands of
# times, and then need not look through all that pytest is made of.
gc.collect()
gc.freeze()

AT_IMPORT = list(tessara.basic.library.calls)
CLASSES = [
    tessara.friendly.Info,
    tessara.friendly.Units,
    tessara.friendly.ThermochemicalSystem,
    tessara.friendly.EquilibriumCalculationBase,
    tessara.friendly.AbsoluteEquilibriumCalculationBase,
    tessara.friendly.EquilibriumCalculation,
    tessara.friendly.PhaseMapCalculation,
    tessara.friendly.StreamCalculation,
]


@pytest.fixture
def friendly() -> ModuleType:
    return tessara.friendly


@pytest.fixture
def basic() -> ModuleType:
    return tessara.basic


@pytest.fixture
def core() -> ModuleType:
    return tessara.core


@pytest.fixture
def at_import() -> list[Any]:
    """The calls of the library that the import made."""
    return AT_IMPORT


@pytest.fixture(autouse=True)
def library(tmp_path: Path) -> Iterator[Any]:
    """The stand-in's library, afresh; module globals and class attributes are put back after.

    The files that captures of listings leave behind go into the test's own folder.
    """
    tempfile.tempdir = str(tmp_path)
    globals_before = dict(vars(tessara.friendly))
    classes_before = [dict(vars(cls)) for cls in CLASSES]
    yield tessara.basic.start_afresh()
    tempfile.tempdir = None
    for cls, before in zip(CLASSES, classes_before, strict=True):
        for name in set(vars(cls)) - set(before):
            delattr(cls, name)
        for name, value in before.items():
            if vars(cls)[name] is not value:
                setattr(cls, name, value)
    vars(tessara.friendly).clear()
    vars(tessara.friendly).update(globals_before)
    tessara.friendly.StreamCalculation.streams.clear()


@pytest.fixture
def streams(friendly: ModuleType) -> Any:
    return friendly.StreamCalculation


@pytest.fixture
def units(friendly: ModuleType, library: Any, monkeypatch: pytest.MonkeyPatch) -> dict[str, str]:
    """What `Units.get` answers. It stands among the library's calls, and fails as they do."""
    answer = {"Amount": "mol"}

    class Units:
        @classmethod
        def get(cls) -> dict[str, str]:
            library.calls.append(("Units.get",))
            if library.fail_at == len(library.calls):
                raise library.error
            return answer

    monkeypatch.setattr(friendly, "Units", Units)
    return answer


@pytest.fixture
def ore(loaded: Any, streams: Any, units: dict[str, str]) -> Any:
    """The state of a stream "ore" without matter, with the calls that made it forgotten."""
    streams.create_st("ore", 300.0, 1.0)
    loaded.calls.clear()
    return streams.streams["ore"]


@pytest.fixture
def dat(tmp_path: Path) -> Path:
    """An existing data file; what stands in it is the library's matter."""
    path = tmp_path / "system.dat"
    path.write_text("")
    return path


@pytest.fixture
def loaded(friendly: ModuleType, library: Any, dat: Path) -> Any:
    """The library with its system loaded, and the calls of the load forgotten."""
    friendly.ThermochemicalSystem.load(dat)
    library.calls.clear()
    return library
