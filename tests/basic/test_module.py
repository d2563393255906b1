"""The module itself: what it holds, how it says what it is, where it can be loaded."""

import importlib
import inspect
import os
import struct
import subprocess
import sys
import textwrap
from pathlib import Path

import pytest

from tessara import core

OPERATIONS = [
    "hxini", "hxcio", "hxgio", "hxopen", "hxopna", "hxopnt", "hxrfil", "hxrtdf", "hxclos",
    "hxshow", "hxcprt", "hxgtpi", "hxvers", "hxsize", "hxused", "hxgtrh", "hxcsu", "hxgsu",
    "hxnosc", "hxgnsc", "hxstsc", "hxnop", "hxgnp", "hxmodl", "hxnopc", "hxgnpc", "hxstpc",
    "hxgsp", "hxcsp", "hxgspc", "hxcspc", "hxsetc", "hxremc", "hxgetr", "hxce", "hxcel",
    "hxcen", "hxcenl", "hxmap", "hxmapl", "hxsttp", "hxstrm", "hxstca", "hxstec", "hxstxp",
]  # fmt: skip
OWN = [
    "certificate", "composition_sets", "configuration", "configure", "constituent_data",
    "description", "finding_rules", "findings", "internal_fractions", "pack",
]  # fmt: skip


def test_has_every_operation(hx):
    public = [name for name in vars(hx) if not name.startswith("_")]
    assert len(OPERATIONS) == 45
    assert sorted(public) == sorted(OPERATIONS + OWN)


@pytest.mark.parametrize("name", OPERATIONS + OWN)
def test_docstring_starts_with_the_signature(hx, name):
    function = getattr(hx, name)
    line, blank, rest = function.__doc__.split("\n", 2)
    assert line == f"{name}{inspect.signature(function)}"
    assert blank == ""
    assert rest.strip()
    assert all(len(text) <= 104 for text in function.__doc__.splitlines())
    assert function.__name__ == name
    assert function.__module__ == "tessara.basic"


def test_signatures_show_defaults(hx):
    assert str(inspect.signature(hx.hxgetr)) == "(variable, i_ph=-1, i_c=-1)"
    assert str(inspect.signature(hx.hxsetc)) == "(variable, i_ph, i_c, value)"
    assert str(inspect.signature(hx.hxgspc)) == "(i_ph, i_pc)"
    assert str(inspect.signature(hx.constituent_data)) == "(i_ph, i_pc, data, T=None)"


def test_documents_its_own_operations(hx):
    for name in OWN:
        assert name in hx.__doc__


@pytest.mark.parametrize(
    "name", ["PressureUnit", "VolumeUnit", "TemperatureUnit", "EnergyUnit", "AmountUnit"]
)
def test_takes_every_unit_of_core(hx, name):
    quantity = core.Quantity[name.removesuffix("Unit")]
    for unit in core.__dict__[name]:
        hx.hxcsu(quantity, unit)
        assert hx.hxgsu(quantity) is unit


@pytest.mark.parametrize("member", core.ConditionVariable)
def test_knows_every_condition_variable(hx, lab, gas_over_solid, member):
    lab.load(gas_over_solid)
    places = [(-1, -1), (-1, 0), (0, -2), (0, 0)]
    placed = 0
    for place in places:
        try:
            placed += hx.hxsetc(member, *place, 0.5) > 0
        except core.TessaraError as error:
            assert "cannot be placed on" in str(error)  # noqa: PT017
    assert placed > 0


@pytest.mark.parametrize("member", core.ConfigurationOption)
def test_knows_every_option(hx, member):
    assert hx.configuration(member) in (30, True, 1)


@pytest.mark.parametrize("member", core.PhaseConstituentData)
def test_knows_every_datum(hx, lab, gas_over_solid, member):
    lab.load(gas_over_solid)
    assert isinstance(hx.constituent_data(2, 0, member), float)


def test_gives_the_same_module_after_removal_from_sys_modules(hx, lab, gas_over_solid):
    lab.load(gas_over_solid)
    del sys.modules["tessara.basic"]
    again = importlib.import_module("tessara.basic")
    assert again is hx
    assert again.hxnop() == 3


def test_reload_leaves_the_library_alone(hx, lab, gas_over_solid):
    lab.load(gas_over_solid)
    assert importlib.reload(hx) is hx
    assert hx.hxnop() == 3


def run(code: str, folder: Path) -> subprocess.CompletedProcess[str]:
    source = Path(core.__file__).parent.parent.parent
    head = f"import sys, tessara\ntessara.__path__.append({str(folder)!r})\n"
    return subprocess.run(
        [sys.executable, "-c", head + textwrap.dedent(code)],
        env={**os.environ, "PYTHONPATH": str(source)},
        capture_output=True,
        text=True,
        timeout=120,
    )


def test_import_prints_nothing_and_reads_no_file(extension_file):
    done = run(
        """
        from tessara import basic
        assert basic.hxnop() == 0 and basic.hxnosc() == 0
        assert list(basic.hxused()) == [0] * 11
        """,
        extension_file.parent,
    )
    assert (done.returncode, done.stdout, done.stderr) == (0, "", "")


def test_refuses_a_second_interpreter(extension_file):
    done = run(
        f"""
        import _xxsubinterpreters as interpreters
        from tessara import basic
        other = interpreters.create()
        code = "import tessara; tessara.__path__.append({str(extension_file.parent)!r}); "
        try:
            interpreters.run_string(other, code + "from tessara import basic")
        except interpreters.RunFailedError as error:
            assert "loaded in another interpreter" in str(error), error
        else:
            raise AssertionError("loaded twice")
        """,
        extension_file.parent,
    )
    assert done.returncode == 0, done.stderr


def test_an_import_that_failed_can_be_tried_again(extension_file):
    done = run(
        """
        from tessara import core
        kept = core.Status
        del core.Status
        try:
            from tessara import basic
        except AttributeError:
            pass
        else:
            raise AssertionError("imported without Status")
        core.Status = kept
        from tessara import basic
        assert basic.hxnop() == 0
        """,
        extension_file.parent,
    )
    assert done.returncode == 0, done.stderr


def exported_symbols(path: Path) -> set[str]:
    """The defined dynamic symbols of a 64-bit little-endian ELF file."""
    data = path.read_bytes()
    section_table, _, _, _, _, size, count, _ = struct.unpack_from("<QIHHHHHH", data, 40)
    sections = [
        struct.unpack_from("<IIQQQQIIQQ", data, section_table + k * size) for k in range(count)
    ]
    symbols = set()
    for kind, _, _, offset, length, link, _, _, entry in (s[1:] for s in sections):
        if kind != 11:  # SHT_DYNSYM
            continue
        strings = sections[link][4]
        for at in range(offset, offset + length, entry):
            name, info, _, section = struct.unpack_from("<IBBH", data, at)
            if section != 0 and info >> 4 != 0:  # defined, not local
                end = data.index(b"\0", strings + name)
                symbols.add(data[strings + name : end].decode())
    return symbols


def test_exports_its_entry_point_alone(extension_file):
    if extension_file.read_bytes()[:4] != b"\x7fELF":
        pytest.skip("reads ELF files only")
    assert exported_symbols(extension_file) == {"PyInit_basic"}
