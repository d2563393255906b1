"""`tessara pack`, and conversions from and to transparent data files."""

import tessara.data
from tessara import basic


def test_packed_file_holds_what_the_data_file_does(run, tmp_path):
    source, target = tessara.data.path("ironmaking"), tmp_path / "iron.tdf"
    done = run("pack", source, target, "--remark", "Fe-O-C, rev 3")
    assert (done.exit_code, done.stdout, done.stderr) == (0, "", "")
    assert b"Fe-O-C, rev 3" in target.read_bytes()
    packed, plain = basic.description(target), basic.description(source)
    assert packed | {"comment_line": 0} == plain | {"comment_line": 0}


def test_check_takes_packed_files(run, broken, tmp_path):
    assert run("pack", broken, tmp_path / "broken.tdf").exit_code == 0
    found = [run("check", path, "--select", "TS1") for path in (broken, tmp_path / "broken.tdf")]
    assert [done.exit_code for done in found] == [3, 3]
    assert found[1].stdout == found[0].stdout.replace("broken.dat", "broken.tdf")


def test_conversion_by_way_of_a_packed_file_changes_nothing(run, sound, tmp_path):
    assert run("convert", sound, tmp_path / "a.dat").exit_code == 0
    assert run("convert", sound, tmp_path / "b.tdf").exit_code == 0
    assert run("convert", tmp_path / "b.tdf", tmp_path / "b.dat").exit_code == 0
    assert (tmp_path / "a.dat").read_bytes() == (tmp_path / "b.dat").read_bytes()


def test_data_file_that_cannot_be_read_is_status_3(run, unreadable, tmp_path):
    done = run("pack", unreadable, tmp_path / "out.tdf")
    assert done.exit_code == 3
    assert done.stderr.startswith(
        f"{unreadable}: line 2, column 3: expected the number of solution"
    )
    assert not (tmp_path / "out.tdf").exists()


def test_remark_that_is_too_long_is_status_1(run, sound, tmp_path):
    done = run("pack", sound, tmp_path / "out.tdf", "--remark", "x" * 81)
    assert done.exit_code == 1
    assert "remark" in done.stderr


def test_damaged_file_is_unsound(run, sound, tmp_path):
    target = tmp_path / "out.tdf"
    assert run("pack", sound, target).exit_code == 0
    target.write_bytes(target.read_bytes()[:-20])
    done = run("check", target)
    assert done.exit_code == 3
    assert f"{target}: error TS001 " in done.stdout
