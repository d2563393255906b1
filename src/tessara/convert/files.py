"""Files by the suffix of their names: how each format is read and written."""

from __future__ import annotations

import tempfile
from collections.abc import Callable, Sequence
from pathlib import Path

from tessara.convert import dat_writer, data_files, figures, tdb_reader, tdb_writer
from tessara.convert.report import ConversionError, Report
from tessara.convert.system import System

__all__ = ["READERS", "WRITERS", "read", "write"]


def _read_data_file(path: Path, report: Report, elements: Sequence[str] | None) -> System:
    if elements is not None:
        raise ConversionError("elements can be chosen from .tdb files only")
    return data_files.read(path, report)


def _read_figures(path: Path, _: Report, elements: Sequence[str] | None) -> System:
    if elements is not None:
        raise ConversionError("elements can be chosen from .tdb files only")
    try:
        return figures.read(path)
    except figures.FiguresError as error:
        raise ConversionError(str(error)) from None


def _dat(system: System, _: Report) -> bytes:
    return dat_writer.write(system).encode("ascii")


def _transparent(system: System, report: Report) -> bytes:
    from tessara import basic  # the extension module, which only this function needs

    with tempfile.TemporaryDirectory() as folder:
        source, target = Path(folder) / "system.dat", Path(folder) / "system.tdf"
        source.write_bytes(_dat(system, report))
        basic.pack(source, target)
        return target.read_bytes()


def _tdb(system: System, report: Report) -> bytes:
    return tdb_writer.write(system, report).encode("ascii")


READERS: dict[str, Callable[[Path, Report, Sequence[str] | None], System]] = {
    ".dat": _read_data_file,
    ".tdf": _read_data_file,
    ".tdb": tdb_reader.read,
    ".toml": _read_figures,
}
WRITERS: dict[str, Callable[[System, Report], bytes]] = {
    ".dat": _dat,
    ".tdf": _transparent,
    ".tdb": _tdb,
}


def read(path: Path, report: Report, elements: Sequence[str] | None = None) -> System:
    """Read a file in the format that its suffix names.

    Raises `tessara.core.TessaraError` where a data file cannot be read, `ConversionError` where it
    holds what cannot be carried over, and `OSError`.
    """
    return READERS[path.suffix.lower()](path, report, elements)


def write(system: System, suffix: str, report: Report) -> bytes:
    """Give the content of a file in the format of a suffix. Raises `ConversionError`."""
    return WRITERS[suffix.lower()](system, report)
