"""A package `tessara` of a copy of the extension and stand-ins for its siblings."""

import importlib.util
import os
import shutil
from importlib.machinery import PathFinder
from pathlib import Path

TESTS = Path(__file__).parents[1]
STANDINS = TESTS / "friendly" / "standins"


def package_folders() -> list[str]:
    """Where the installed package lies; empty if none is."""
    spec = importlib.util.find_spec("tessara")
    return list(spec.submodule_search_locations or []) if spec is not None else []


def extension_file() -> Path:
    """The extension named by `TESSARA_FRIENDLY`, or the one that is installed."""
    named = os.environ.get("TESSARA_FRIENDLY")
    if named:
        return Path(named).resolve()
    # Found in the package's folder: asking for "tessara.friendly" would import the package.
    spec = PathFinder.find_spec("tessara.friendly", package_folders())
    assert spec is not None, (
        "build tessara.friendly and install the package, or set TESSARA_FRIENDLY to the file"
    )
    assert spec.origin is not None
    return Path(spec.origin)


def real_core() -> Path:
    """The folder of the package's own `core`: the installed one, or the one in the source tree."""
    folders = [*package_folders(), str(TESTS.parent / "src" / "tessara")]
    return next(path for path in (Path(folder, "core") for folder in folders) if path.is_dir())


def make(root: Path, extension: Path, *, core: str = "standin") -> Path:
    """Put the package into `root`; `core` is "standin", or "real" for the package's own.

    Returns the folder of the package.
    """
    folder = root / "tessara"
    folder.mkdir()
    (folder / "__init__.py").write_text("")
    shutil.copy(extension, folder)
    shutil.copy(STANDINS / "basic.py", folder)
    if core == "real":
        shutil.copytree(real_core(), folder / "core")
    else:
        shutil.copy(STANDINS / "core.py", folder)
    return folder
