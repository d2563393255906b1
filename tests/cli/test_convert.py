"""`tessara convert`: formats by suffix, what is lost, exit statuses."""

import json

import pytest
from dat_evaluator import DataFile

TDB = """
ELEMENT VA VACUUM 0 0 0 !
ELEMENT AL FCC_A1 26.98 0 0 !
ELEMENT ZN HCP_ZN 65.38 0 0 !
PHASE LIQUID % 1 1 !
CONSTITUENT LIQUID :AL,ZN : !
PARAMETER G(LIQUID,AL;0) 298.15 -795.7+177.4*T-31.7*T*LN(T); 2900 N !
PARAMETER G(LIQUID,ZN;0) 298.15 -3620.4+161.6*T-31.4*T*LN(T); 1700 N !
PARAMETER L(LIQUID,AL,ZN;0) 298.15 +10465.5-3.39*T; 6000 N !
"""
LOSSY = TDB + "PARAMETER L(LIQUID,AL,ZN;1) 298.15 +1; 500 Y +2; 6000 N !\n"


@pytest.fixture
def tdb(tmp_path):
    path = tmp_path / "al-zn.tdb"
    path.write_text(TDB)
    return path


@pytest.fixture
def lossy(tmp_path):
    path = tmp_path / "lossy.tdb"
    path.write_text(LOSSY)
    return path


def test_exchange_file_becomes_a_data_file(run, tdb, tmp_path):
    done = run("convert", tdb, tmp_path / "out.dat")
    assert (done.exit_code, done.stdout, done.stderr) == (0, "", "")
    file = DataFile((tmp_path / "out.dat").read_text())
    assert file.title == "Al-Zn from al-zn.tdb"
    assert file.mixtures["LIQUID"].names == [["Al", "Zn"]]
    assert run("check", tmp_path / "out.dat", "--ignore", "TS102").exit_code == 0


def test_data_file_becomes_an_exchange_file_and_back(run, tdb, tmp_path):
    names = ["one.dat", "two.tdb", "three.dat"]
    for source, target in zip([tdb, *names[:2]], names, strict=True):
        assert run("convert", tmp_path / source, tmp_path / target).exit_code == 0
    one, three = ((tmp_path / name).read_text().splitlines() for name in ("one.dat", "three.dat"))
    assert one[1:] == three[1:]


def test_what_cannot_be_carried_over_is_listed_and_nothing_written(run, lossy, tmp_path):
    done = run("convert", lossy, tmp_path / "out.dat")
    assert (done.exit_code, done.stdout) == (1, "")
    assert done.stderr.splitlines() == [
        f"{lossy}: loss: line 10, column 13: parameter L(LIQUID,AL,ZN;1): a data file holds one"
        " range here, not 2; it is left out",
        f"{tmp_path / 'out.dat'}: not written, as 1 thing would be lost; --drop allows it",
    ]
    assert not (tmp_path / "out.dat").exists()


def test_drop_writes_and_lists(run, lossy, tmp_path):
    done = run("convert", lossy, tmp_path / "out.dat", "--drop")
    assert done.exit_code == 0
    assert "loss: line 10" in done.stderr
    file = DataFile((tmp_path / "out.dat").read_text())
    assert len(file.mixtures["LIQUID"].interactions[0][1]) == 1


def test_list_of_changes_as_json(run, lossy, tmp_path):
    done = run("convert", lossy, tmp_path / "out.dat", "--json")
    assert done.exit_code == 1
    assert json.loads(done.stdout) == {
        "written": False,
        "items": [
            {
                "loss": True,
                "subject": "parameter L(LIQUID,AL,ZN;1)",
                "text": "a data file holds one range here, not 2; it is left out",
                "line": 10,
                "column": 13,
            }
        ],
    }


def test_elements_can_be_chosen(run, tdb, tmp_path):
    done = run("convert", tdb, tmp_path / "zn.dat", "--elements", "Zn")
    assert done.exit_code == 0
    file = DataFile((tmp_path / "zn.dat").read_text())
    assert file.components == ["Zn"]
    assert list(file.pure) == ["LIQUID"]


def test_unknown_element_is_told_with_those_that_there_are(run, tdb, tmp_path):
    done = run("convert", tdb, tmp_path / "out.dat", "--elements", "Xe")
    assert done.exit_code == 3
    assert done.stderr == f"{tdb}: the file has no element 'XE'; it has Al, Zn\n"


def test_elements_of_a_data_file_cannot_be_chosen(run, sound, tmp_path):
    done = run("convert", sound, tmp_path / "out.dat", "--elements", "Fe")
    assert done.exit_code == 3
    assert "from .tdb files only" in done.stderr


def test_table_of_figures_becomes_a_data_file(run, tmp_path):
    import tessara.data

    path = tessara.data.path("ironmaking")
    assert run("convert", path.with_suffix(".toml"), tmp_path / "out.dat").exit_code == 0
    assert (tmp_path / "out.dat").read_bytes() == path.read_bytes()


def test_wrong_table_of_figures_is_status_3(run, tmp_path):
    table = tmp_path / "figures.toml"
    table.write_text("temperature = 7")
    done = run("convert", table, tmp_path / "out.dat")
    assert done.exit_code == 3
    assert done.stderr.startswith(f"{table}: the table, key 'temperature'")


def test_comment_of_a_data_file_is_kept(run, data_file, tmp_path):
    source = data_file(
        ("FeO", "1 1", "6000 -1000 -40 -20 0 0 0"), end="####\n : as measured\n\n : in 1920\n"
    )
    assert run("convert", source, tmp_path / "out.dat").exit_code == 0
    end = (tmp_path / "out.dat").read_text().splitlines()[-3:]
    assert end == ["#" * 72, " : as measured", " : in 1920"]


def test_data_file_that_cannot_be_read_is_status_3(run, unreadable, tmp_path):
    done = run("convert", unreadable, tmp_path / "out.dat")
    assert done.exit_code == 3
    assert done.stderr.startswith(
        f"{unreadable}: line 2, column 3: expected the number of solution"
    )


def test_exchange_file_that_cannot_be_read_is_status_3(run, tmp_path):
    source = tmp_path / "broken.tdb"
    source.write_text("ELEMENT AL FCC_A1 twenty 0 0 !\n")
    done = run("convert", source, tmp_path / "out.dat")
    assert done.exit_code == 3
    assert done.stderr == f"{source}: line 1, column 19: expected a number, found 'TWENTY'\n"


def test_system_that_the_format_cannot_hold_is_status_1(run, tmp_path):
    source = tmp_path / "compound.dat"
    source.write_text(
        "a test file\n1 1 0 1\nSiO2\n60.08\n6 1 2 3 4 5 6\n6 1 2 3 4 5 6\n"
        "quartz\n1 1 1\n6000 -1000 -40 -20 0 0 0\n"
    )
    done = run("convert", source, tmp_path / "out.tdb")
    assert done.exit_code == 1
    assert done.stderr == (
        f"{source}: the component 'SiO2' is no element, as a TDB file needs it\n"
    )


def test_old_file_stays_where_nothing_can_be_written(run, lossy, tmp_path):
    target = tmp_path / "out.dat"
    target.write_text("old")
    assert run("convert", lossy, target).exit_code == 1
    assert target.read_text() == "old"
    assert sorted(path.name for path in tmp_path.iterdir()) == ["lossy.tdb", "out.dat"]


def test_folder_that_is_not_there_is_status_1(run, tdb, tmp_path):
    done = run("convert", tdb, tmp_path / "missing" / "out.dat")
    assert done.exit_code == 1
    assert "missing" in done.stderr


@pytest.mark.parametrize(("source", "target"), [("x.txt", "out.dat"), ("al-zn.tdb", "out.txt")])
def test_unknown_suffix_is_wrong_usage(run, tdb, tmp_path, source, target):
    (tmp_path / "x.txt").write_text("")
    done = run("convert", tmp_path / source, tmp_path / target)
    assert done.exit_code == 2
    assert "the suffix must be one of .dat, .tdf, .tdb" in " ".join(done.stderr.split())
