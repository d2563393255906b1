"""What the built file shows to the loader."""

import sys
from pathlib import Path

import pytest
from elf import NEEDED, RPATH, RUNPATH, Elf

ELF = pytest.mark.skipif(
    sys.platform != "linux", reason="the reader knows ELF files, which Linux has"
)


@ELF
def test_entry_is_the_only_export(extension: Path) -> None:
    assert Elf(extension).exports() == ["PyInit_friendly"]


@ELF
def test_file_names_no_place_to_look_for_libraries(extension: Path) -> None:
    assert Elf(extension).dynamic(RPATH, RUNPATH) == []


@ELF
def test_file_needs_no_library_but_those_of_the_system(extension: Path) -> None:
    system = ("libc.", "libm.", "libstdc++.", "libgcc_s.", "libpthread.", "ld-linux", "libdl.")
    needed = Elf(extension).dynamic(NEEDED)
    assert [name for name in needed if not name.startswith((*system, "libasan", "libubsan"))] == []
