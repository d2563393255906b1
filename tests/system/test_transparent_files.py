"""The shipped system from a transparent file, through the class interface."""

import struct

import pytest

import tessara.data
from tessara import basic
from tessara.core import TessaraError
from tessara.friendly import EquilibriumCalculation, ThermochemicalSystem

SOURCE = tessara.data.path("ironmaking")
REMARK = "iron, carbon, oxygen"


@pytest.fixture
def packed(tmp_path):
    path = tmp_path / "iron.tdf"
    basic.pack(SOURCE, path, REMARK, (2021, 3, 4, 5, 6, 7))
    return path


def exact(value):
    """Floats as their bits, so that equal means the very same."""
    if isinstance(value, float):
        return struct.pack("<d", value)
    if isinstance(value, dict):
        return {key: exact(item) for key, item in value.items()}
    if isinstance(value, list | tuple):
        return [exact(item) for item in value]
    return value


# Each answers from the caches, for all of the system.
CACHED = [
    "get_name_scs", "get_mm_scs", "get_stoich_scs", "get_name_phs", "get_model_phs",
    "get_name_pcs", "get_mm_pcs", "get_stoich_pcs", "get_y_scs_pcs", "get_str_scs", "get_str_phs",
]  # fmt: skip


def caches():
    return {name: exact(getattr(ThermochemicalSystem, name)()) for name in CACHED}


def equilibrium(temperature):
    EquilibriumCalculation.remove_eq_conditions_all()
    EquilibriumCalculation.set_eq_T(temperature)
    for phase in range(1, basic.hxnop(), 7):
        EquilibriumCalculation.set_IA_pc(phase, 0, 0.5)
    EquilibriumCalculation.calculate_eq()
    return exact(
        [
            EquilibriumCalculation.get_eq_H(),
            EquilibriumCalculation.get_eq_G(),
            [EquilibriumCalculation.get_eq_A_ph(i) for i in range(basic.hxnop())],
            [EquilibriumCalculation.get_eq_MU_sc(i) for i in range(basic.hxnosc())],
        ]
    )


def test_caches_are_the_same(packed):
    ThermochemicalSystem.load(SOURCE)
    expected = caches()
    ThermochemicalSystem.load(packed)
    assert caches() == expected
    assert ThermochemicalSystem.current_file_path == packed


@pytest.mark.parametrize("temperature", [600.0, 1100.0, 1900.0])
def test_equilibria_are_the_same(packed, temperature):
    ThermochemicalSystem.load(SOURCE)
    expected = equilibrium(temperature)
    ThermochemicalSystem.load(packed)
    assert equilibrium(temperature) == expected


def test_no_earlier_content_survives(packed):
    ThermochemicalSystem.load(SOURCE)
    expected = caches()
    ThermochemicalSystem.load(packed)
    ThermochemicalSystem.load(SOURCE)
    assert caches() == expected
    with pytest.raises(TessaraError, match="no transparent data file is loaded"):
        ThermochemicalSystem.get_tdf_info_dict()


def test_header_reaches_the_user(packed):
    ThermochemicalSystem.load(packed)
    number = basic.hxvers()
    version = (number // 10000, number // 100 % 100, number % 100)
    assert ThermochemicalSystem.get_tdf_info_dict() == {
        "ver": 1,
        "nwp": "tessara".ljust(40),
        "vnw": version,
        "vnr": (0, 1, 0),
        "dtc": (2021, 3, 4, 5, 6, 7),
        "rem": REMARK.ljust(80),
    }
    listing = ThermochemicalSystem.get_tdf_info_str()
    assert "dtc  File Creation Timestamp          2021-03-04 05:06:07\n" in listing
    assert f"rem  Remarks                          {REMARK.ljust(80)}\n" in listing
    assert "vnr  Minimum Reading Program Version  0.1.0\n" in listing


def test_refused_file_is_named(packed):
    packed.write_bytes(packed.read_bytes()[:1000])
    with pytest.raises(TessaraError) as caught:
        ThermochemicalSystem.load(packed)
    first, last = str(caught.value).split("\n")
    assert first.startswith(f"hxrtdf: the file {packed} cannot be read: it is truncated: only 1000")
    assert last == str(packed)
