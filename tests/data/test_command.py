"""`python -m tessara.convert`."""

import subprocess
import sys

import pytest

from tessara import data
from tessara.convert import __main__ as command

TABLE = data.path("ironmaking").with_suffix(".toml")


def test_command_makes_the_shipped_file(tmp_path):
    output = tmp_path / "out.dat"
    done = subprocess.run(
        [sys.executable, "-W", "error", "-m", "tessara.convert", str(TABLE), str(output)],
        capture_output=True,
        text=True,
        check=False,
    )
    assert (done.returncode, done.stdout, done.stderr) == (0, "", "")
    assert output.read_bytes() == data.path("ironmaking").read_bytes()
    assert [path.name for path in tmp_path.iterdir()] == ["out.dat"]


def test_wrong_table_is_a_message_and_leaves_the_old_file(tmp_path, capsys):
    table, output = tmp_path / "figures.toml", tmp_path / "out.dat"
    table.write_text("temperature = [200, 'x']")
    output.write_text("old")
    assert command.main([str(table), str(output)]) == 1
    assert "figures.toml: the table, key 'temperature'" in capsys.readouterr().err
    assert output.read_text() == "old"


@pytest.mark.parametrize(
    ("table", "output"),
    [("missing.toml", "out.dat"), (TABLE, "missing/out.dat"), (TABLE, ".")],
)
def test_file_that_cannot_be_read_or_written_is_a_message(
    tmp_path, monkeypatch, capsys, table, output
):
    monkeypatch.chdir(tmp_path)
    assert command.main([str(table), output]) == 1
    assert capsys.readouterr().err.strip()
    assert list(tmp_path.iterdir()) == []


def test_wrong_usage_is_status_2(capsys):
    with pytest.raises(SystemExit) as caught:
        command.main([])
    assert caught.value.code == 2
    assert "usage" in capsys.readouterr().err
