"""A reader of what a built file shows to the loader, on Linux."""

import struct
from pathlib import Path

DYNAMIC, DYNSYM = 6, 11  # types of sections
NEEDED, RPATH, RUNPATH = 1, 15, 29  # tags of dynamic entries


class Elf:
    """The sections, dynamic symbols and dynamic entries of a 64-bit little-endian ELF file."""

    def __init__(self, path: Path) -> None:
        self.data = path.read_bytes()
        assert self.data[:6] == b"\x7fELF\x02\x01"
        (start,) = struct.unpack_from("<Q", self.data, 40)
        size, count = struct.unpack_from("<HH", self.data, 58)
        self.sections = [
            struct.unpack_from("<IIQQQQIIQQ", self.data, start + i * size) for i in range(count)
        ]

    def rows(self, kind: int, form: str) -> tuple[list[tuple[int, ...]], int]:
        """The rows of the section of a type, and the offset of the texts that they point into."""
        section = next(section for section in self.sections if section[1] == kind)
        offset, length, link = section[4], section[5], section[6]
        step = struct.calcsize(form)
        rows = [struct.unpack_from(form, self.data, offset + i) for i in range(0, length, step)]
        return rows, self.sections[link][4]

    def text(self, offset: int) -> str:
        return self.data[offset : self.data.index(b"\0", offset)].decode()

    def exports(self) -> list[str]:
        """Names of the symbols that are defined here and bound globally or weakly."""
        rows, texts = self.rows(DYNSYM, "<IBBHQQ")
        return [self.text(texts + row[0]) for row in rows if row[3] != 0 and row[1] >> 4 in (1, 2)]

    def imports(self) -> list[str]:
        """Names of the symbols that are used here and defined elsewhere, without versions."""
        rows, texts = self.rows(DYNSYM, "<IBBHQQ")
        return [self.text(texts + row[0]) for row in rows if row[0] != 0 and row[3] == 0]

    def dynamic(self, *tags: int) -> list[str]:
        rows, texts = self.rows(DYNAMIC, "<qQ")
        return [self.text(texts + value) for tag, value in rows if tag in tags]
