"""Channels: where listings and errors go, what can be opened and closed."""

import os
import stat
from pathlib import Path

import pytest

from tessara import core
from tessara.core import IoOption, TessaraError, get_error_info_dict


def open_listing(hx, path, number=21):
    hx.hxopen(str(path), number)
    hx.hxcio(IoOption.LIST, number)


def test_start(hx):
    assert hx.hxgio(IoOption.LIST) == 6
    assert hx.hxgio(IoOption.ERROR) == 0


def test_channel_for_listings_can_be_any_number(hx):
    for number in (21, 6, 0, -3, 12345):
        hx.hxcio(IoOption.LIST, number)
        assert hx.hxgio(IoOption.LIST) == number


def test_listing_goes_to_the_standard_output_at_once(hx, capfd):
    hx.hxshow()
    out, err = capfd.readouterr()
    assert out.startswith("\nInputs\n======\n")
    assert err == ""


def test_listing_goes_to_the_file_at_once(hx, tmp_path, capfd):
    open_listing(hx, tmp_path / "list.txt")
    hx.hxshow()
    first = (tmp_path / "list.txt").read_bytes()
    assert first.startswith(b"\nInputs\n======\n")
    hx.hxshow()
    hx.hxclos(21)
    assert (tmp_path / "list.txt").read_bytes() == first * 2
    assert capfd.readouterr() == ("", "")


def test_listing_to_a_closed_channel_is_refused(hx, tmp_path):
    hx.hxcio(IoOption.LIST, 21)
    with pytest.raises(TessaraError, match="listings go to channel 21, which is not open"):
        hx.hxshow()
    hx.hxopen(str(tmp_path / "list.txt"), 21)
    hx.hxshow()


def test_listing_to_a_data_file_is_refused(hx, tmp_path):
    path = tmp_path / "system.dat"
    path.write_text("content")
    hx.hxopna(path, 21)
    hx.hxcio(IoOption.LIST, 21)
    with pytest.raises(TessaraError, match="not open for output"):
        hx.hxshow()
    assert path.read_text() == "content"


def test_refused_listing_leaves_the_result_alone(hx, lab, gas_over_solid):
    lab.load(gas_over_solid)
    lab.set("T", 1000.0)
    lab.put_in(A=1.0)
    lab.calculate()
    lab.set("T", 1100.0)
    hx.hxcio(IoOption.LIST, 21)
    for operation in (hx.hxcel, hx.hxcenl):
        with pytest.raises(TessaraError, match="not open"):
            operation(*lab.NoTarget)
        assert lab.get("T") == 1000.0


def test_opening_empties_the_file(hx, tmp_path):
    path = tmp_path / "list.txt"
    path.write_text("old")
    hx.hxopen(str(path), 21)
    assert path.read_bytes() == b""


def test_opening_an_open_channel_closes_it_first(hx, tmp_path):
    open_listing(hx, tmp_path / "a.txt")
    hx.hxshow()
    hx.hxopen(str(tmp_path / "b.txt"), 21)
    hx.hxshow()
    assert (tmp_path / "a.txt").read_bytes() == (tmp_path / "b.txt").read_bytes() != b""


def test_failed_opening_leaves_the_channel_closed(hx, tmp_path):
    open_listing(hx, tmp_path / "a.txt")
    with pytest.raises(TessaraError):
        hx.hxopen(str(tmp_path), 21)
    with pytest.raises(TessaraError, match="not open"):
        hx.hxshow()


def test_closing_a_closed_channel_does_nothing(hx):
    for number in (21, 0, -5, 10**6):
        assert hx.hxclos(number) is None


def test_standard_output_is_neither_opened_nor_closed(hx, tmp_path):
    for attempt in (
        lambda: hx.hxopen(str(tmp_path / "x"), 6),
        lambda: hx.hxopna(tmp_path / "x", 6),
        lambda: hx.hxopnt(tmp_path / "x", 6),
        lambda: hx.hxclos(6),
    ):
        with pytest.raises(TessaraError, match="channel 6 is the standard output"):
            attempt()
    assert not (tmp_path / "x").exists()


@pytest.mark.parametrize("number", [0, -1, 1000, 2**31 - 1])
def test_numbers_of_files_have_limits(hx, tmp_path, number):
    for operation in (hx.hxopen, hx.hxopna, hx.hxopnt):
        with pytest.raises(TessaraError, match=f"{number} is not a channel number for a file"):
            operation(str(tmp_path / "x"), number)


@pytest.mark.parametrize("number", [1, 5, 7, 999])
def test_numbers_of_files_are_free_otherwise(hx, tmp_path, number):
    open_listing(hx, tmp_path / "list.txt", number)
    hx.hxshow()
    assert (tmp_path / "list.txt").stat().st_size > 0


def test_many_channels_at_once(hx, tmp_path):
    for number in range(100, 160):
        hx.hxopen(str(tmp_path / f"{number}"), number)
    hx.hxcio(IoOption.LIST, 130)
    hx.hxshow()
    assert [p.name for p in tmp_path.iterdir() if p.stat().st_size] == ["130"]


def test_path_objects_are_taken_for_output(hx, tmp_path):
    hx.hxopen(tmp_path / "list.txt", 21)
    assert (tmp_path / "list.txt").exists()


@pytest.mark.parametrize("name", ["ordinary.txt", "with blank.txt", "café-α-🔥.txt"])
def test_names_of_all_kinds(hx, tmp_path, name):
    open_listing(hx, tmp_path / name)
    hx.hxshow()
    hx.hxclos(21)
    assert (tmp_path / name).read_bytes().startswith(b"\nInputs")
    (tmp_path / name).write_text("a\n1 1 0 1\nA\n1\n1 1\n1 1\nA\n1 1 1\n6000 0\n")
    hx.hxopna(tmp_path / name, 10)
    hx.hxrfil()
    assert hx.hxgnp(0) == "A"


@pytest.mark.skipif(os.name == "nt", reason="names there are not bytes")
def test_names_that_are_no_text(hx, tmp_path):
    try:
        name = os.fsdecode(os.fsencode(tmp_path / "x") + b"\xff.txt")
        Path(name).write_text("")
    except OSError:
        pytest.skip("the file system takes text only")
    open_listing(hx, name)
    hx.hxshow()
    assert Path(name).stat().st_size > 0
    hx.hxclos(21)
    hx.hxopna(name, 10)
    with pytest.raises(TessaraError, match=r"x\\udcff.txt, line"):
        hx.hxrfil()


def test_file_that_cannot_be_opened_is_told_with_the_reason(hx, tmp_path):
    missing = tmp_path / "none" / "x.txt"
    with pytest.raises(TessaraError) as caught:
        hx.hxopen(str(missing), 21)
    assert str(caught.value) == (
        f"hxopen: the file {missing} cannot be opened: No such file or directory"
    )
    with pytest.raises(TessaraError, match=r"cannot be opened: Is a directory"):
        hx.hxopen(str(tmp_path), 21)
    with pytest.raises(TessaraError, match="cannot be opened: embedded null byte"):
        hx.hxopen("a\0b", 21)
    with pytest.raises(TessaraError, match="cannot be opened"):
        hx.hxopen("", 21)


@pytest.mark.skipif(not Path("/dev/full").exists(), reason="needs a device that is always full")
def test_listing_that_cannot_be_written_is_told(hx):
    open_listing(hx, "/dev/full")
    for _ in range(2):
        with pytest.raises(TessaraError, match="cannot be written to channel 21: No space left"):
            hx.hxshow()


def test_errors_are_not_printed_at_first(hx, capfd):
    with pytest.raises(TessaraError):
        hx.hxgnp(0)
    assert capfd.readouterr() == ("", "")


def test_errors_are_printed_where_a_channel_is_set(hx, tmp_path, capfd):
    hx.hxcio(IoOption.ERROR, 6)
    with pytest.raises(TessaraError) as caught:
        hx.hxgnp(0)
    assert capfd.readouterr() == (f"{caught.value}\n", "")
    hx.hxopen(str(tmp_path / "errors.txt"), 22)
    hx.hxcio(IoOption.ERROR, 22)
    with pytest.raises(TessaraError) as caught:
        hx.hxgnp(0)
    assert (tmp_path / "errors.txt").read_text() == f"{caught.value}\n"
    hx.hxclos(22)
    with pytest.raises(TessaraError, match="no data file is loaded"):
        hx.hxgnp(0)
    hx.hxcio(IoOption.ERROR, 0)
    with pytest.raises(TessaraError):
        hx.hxgnp(0)
    assert capfd.readouterr() == ("", "")


def test_hxini_closes_all_and_lists_to_standard_output(hx, lab, tmp_path, capfd):
    open_listing(hx, tmp_path / "list.txt")
    hx.hxcio(IoOption.ERROR, 6)
    hx.hxini()
    assert hx.hxgio(IoOption.LIST) == 6
    assert hx.hxgio(IoOption.ERROR) == 0
    hx.hxshow()
    assert capfd.readouterr().out.startswith("\nInputs")
    hx.hxcio(IoOption.LIST, 21)
    with pytest.raises(TessaraError, match="not open"):
        hx.hxshow()


def test_hxini_clears_the_note_of_the_last_error(hx):
    with pytest.raises(TessaraError):
        hx.hxgnp(0)
    assert get_error_info_dict()["number"] > 0
    hx.hxini()
    assert get_error_info_dict()["number"] == 0


def test_a_tessara_error_built_elsewhere_leaves_the_note_alone(hx):
    with pytest.raises(TessaraError) as caught:
        hx.hxgnp(0)
    core.TessaraError("something else")
    assert get_error_info_dict()["text"] == str(caught.value)


@pytest.mark.skipif(not hasattr(os, "mkfifo"), reason="needs named pipes")
def test_data_file_must_be_a_regular_file(hx, tmp_path):
    os.mkfifo(tmp_path / "pipe.dat")
    assert stat.S_ISFIFO((tmp_path / "pipe.dat").stat().st_mode)
    with pytest.raises(TessaraError, match="it is not a regular file"):
        hx.hxopna(tmp_path / "pipe.dat", 10)
    with pytest.raises(TessaraError, match="it is not a regular file"):
        hx.hxopna("/dev/zero", 10)
