"""Packing data files, loading what was packed, and the header."""

import datetime
import inspect
import struct

import pytest

from tessara.core import TessaraError, get_error_info_dict

CREATED = (2021, 3, 4, 5, 6, 7)


@pytest.fixture
def packed(hx, tmp_path, gas_over_solid):
    """A packed file, and the text it was made of."""
    source, target = tmp_path / "system.dat", tmp_path / "system.tdf"
    source.write_text(gas_over_solid.text())
    hx.pack(source, target, "a remark", CREATED)
    return target


@pytest.fixture
def load(hx):
    def load(path):
        hx.hxopnt(path, 10)
        hx.hxrtdf()
        hx.hxclos(10)

    return load


def state(hx):
    """All that the library tells of its system."""
    phases = range(hx.hxnop())
    return {
        "components": [(hx.hxgnsc(i), hx.hxstsc(i)) for i in range(hx.hxnosc())],
        "phases": [(hx.hxgnp(i), hx.hxmodl(i)) for i in phases],
        "constituents": [
            (hx.hxgnpc(i, k), hx.hxstpc(i, k)) for i in phases for k in range(hx.hxnopc(i))
        ],
        "sizes": hx.hxused(),
    }


def test_loads_what_the_data_file_holds(hx, lab, load, packed, gas_over_solid):
    lab.load(gas_over_solid)
    expected = state(hx)
    hx.hxini()
    load(packed)
    assert state(hx) == expected
    assert expected["sizes"][0] > 0


def test_gives_the_same_results_to_the_last_bit(hx, lab, load, packed, gas_over_solid):
    def results():
        lab.set("T", 1000.0)
        lab.put_in(A=1.0, B=0.5)
        lab.calculate()
        names = [(-1, i) for i in range(2)] + [(0, k) for k in range(2)] + [(i, -1) for i in (1, 2)]
        return [struct.pack("<d", lab.get(q, *at)) for q in ("A", "AC", "MU") for at in names]

    lab.load(gas_over_solid)
    expected = results()
    load(packed)
    assert results() == expected


def test_header_has_ten_items(hx, load, packed, gas_over_solid):
    load(packed)
    header = hx.hxgtrh()
    number = hx.hxvers()
    assert header[:8] == (
        1,
        "tessara".ljust(40),
        (number // 10000, number // 100 % 100, number % 100),
        "system.dat",
        (0, 1, 0),
        CREATED,
        gas_over_solid.title,
        (2, 3, 4),
    )
    # The checksum is what the file ends with.
    assert header[8] == f"{struct.unpack('<Q', packed.read_bytes()[-8:])[0]:016x}"
    assert header[9] == "a remark".ljust(80)
    assert len(header) == 10


def test_header_says_in_which_types(hx, load, packed):
    load(packed)
    header = hx.hxgtrh()
    expected = [int, str, tuple, str, tuple, tuple, str, tuple, str, str]
    assert [type(item) for item in header] == expected
    assert all(type(n) is int for at in (2, 4, 5, 7) for n in header[at])


def test_header_keeps_other_than_plain_letters(hx, load, tmp_path, gas_over_solid):
    source = tmp_path / "säure.dat"
    source.write_text(gas_over_solid.text())
    hx.pack(source, tmp_path / "x.tdf", "é" * 80)
    load(tmp_path / "x.tdf")
    assert hx.hxgtrh()[3] == "säure.dat"
    assert hx.hxgtrh()[9] == "é" * 80


def test_header_goes_with_the_system(hx, lab, load, packed, gas_over_solid):
    load(packed)
    hx.hxgtrh()
    for change in (lambda: lab.load(gas_over_solid), hx.hxini):
        change()
        with pytest.raises(TessaraError, match="no transparent data file is loaded"):
            hx.hxgtrh()


def test_date_is_now_where_it_is_left_out(hx, load, tmp_path, packed):
    before = datetime.datetime.now(datetime.UTC).replace(microsecond=0, tzinfo=None)
    for arguments in ((), ("remark", None)):
        hx.pack(tmp_path / "system.dat", tmp_path / "x.tdf", *arguments)
        load(tmp_path / "x.tdf")
        created = datetime.datetime(*hx.hxgtrh()[5])
        assert before <= created <= before + datetime.timedelta(minutes=10)


def test_same_file_remark_and_date_give_the_same_bytes(hx, tmp_path, packed):
    hx.pack(tmp_path / "system.dat", tmp_path / "again.tdf", "a remark", list(CREATED))
    assert (tmp_path / "again.tdf").read_bytes() == packed.read_bytes()


def test_packing_leaves_the_library_as_it_is(hx, lab, tmp_path, saturated):
    before = state(hx)
    amount = lab.get("A", 1)
    hx.pack(tmp_path / "system.dat", tmp_path / "x.tdf")
    assert state(hx) == before
    assert lab.get("A", 1) == amount


def test_takes_names_as_text_and_keywords(hx, tmp_path, packed):
    hx.pack(source=str(tmp_path / "system.dat"), target=str(tmp_path / "x.tdf"), created=CREATED)
    assert (tmp_path / "x.tdf").exists()
    signature = "(source, target, remark='', created=None)"
    assert str(inspect.signature(hx.pack)) == signature


def test_of_a_broken_data_file_nothing_is_written(hx, tmp_path):
    source, target = tmp_path / "broken.dat", tmp_path / "broken.tdf"
    source.write_text("title\n1 1 0 1\nA\nten\n")
    with pytest.raises(TessaraError) as caught:
        hx.pack(source, target)
    assert f"{source}, line 4, column 1: " in str(caught.value)
    note = get_error_info_dict()
    assert (note["operation"], note["file"], note["line"]) == ("pack", str(source), 4)
    assert not target.exists()


@pytest.mark.parametrize(
    ("remark", "created", "words"),
    [
        ("x" * 81, CREATED, "the remark has 81 characters; there is room for 80"),
        ("a\nb", CREATED, "the remark must be one line of text"),
        ("", (2021, 2, 29, 0, 0, 0), "the creation date must be year, month, day"),
    ],
)
def test_wrong_remark_or_date_is_refused_in_words(hx, tmp_path, packed, remark, created, words):
    source = tmp_path / "system.dat"
    with pytest.raises(TessaraError) as caught:
        hx.pack(source, tmp_path / "x.tdf", remark, created)
    assert f"pack: the file {source} cannot be packed: {words}" in str(caught.value)
    assert not (tmp_path / "x.tdf").exists()


def test_target_that_cannot_be_written_is_told_with_the_reason(hx, tmp_path, packed):
    target = tmp_path / "none" / "x.tdf"
    with pytest.raises(TessaraError) as caught:
        hx.pack(tmp_path / "system.dat", target)
    assert str(caught.value) == (
        f"pack: the file {target} cannot be opened: No such file or directory"
    )


# --- what is refused ---


def refusal(load, path):
    with pytest.raises(TessaraError) as caught:
        load(path)
    return str(caught.value).removeprefix(f"hxrtdf: the file {path} cannot be read: ")


def test_file_of_another_kind_is_refused(load, tmp_path, packed):
    assert refusal(load, tmp_path / "system.dat") == "it is no transparent data file"


def test_truncated_file_is_refused(load, packed):
    content = packed.read_bytes()
    packed.write_bytes(content[:-1])
    assert refusal(load, packed) == (
        f"it is truncated: only {len(content) - 1} of its {len(content)} bytes are there"
    )


def test_altered_file_is_refused(load, packed):
    content = bytearray(packed.read_bytes())
    content[len(content) // 2] ^= 0x10
    packed.write_bytes(content)
    assert refusal(load, packed) == (
        "it has been altered: its checksum is not that of what it holds"
    )


def test_too_new_file_is_refused(load, packed):
    content = bytearray(packed.read_bytes())
    content[8] = 9
    packed.write_bytes(content)
    assert refusal(load, packed).startswith("its format has the version 9, and only version 1")


def test_refused_file_leaves_the_library_empty(hx, lab, load, tmp_path, packed, gas_over_solid):
    lab.load(gas_over_solid)
    refusal(load, tmp_path / "system.dat")
    assert hx.hxnop() == hx.hxnosc() == 0
    load(packed)
    assert hx.hxnop() == 3


def test_each_reader_takes_its_own_kind_of_file(hx, tmp_path, packed):
    hx.hxopnt(packed, 10)
    with pytest.raises(TessaraError, match="no data file is open; open one with hxopna"):
        hx.hxrfil()
    hx.hxopna(tmp_path / "system.dat", 11)
    with pytest.raises(
        TessaraError, match="no transparent data file is open; open one with hxopnt"
    ):
        hx.hxrtdf()
    hx.hxrfil()
    assert hx.hxnop() == 3


def test_nothing_open_is_refused(hx):
    with pytest.raises(TessaraError, match="no transparent data file is open"):
        hx.hxrtdf()


def test_text_opened_as_transparent_file_is_refused_when_it_is_read(hx, tmp_path, packed):
    hx.hxopna(packed, 10)
    with pytest.raises(TessaraError, match=r"line \d, column \d"):
        hx.hxrfil()
