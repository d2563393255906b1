"""`tessara check`: what it prints, in words and as JSON, and its exit status."""

import json
import subprocess
import sys

import pytest

from tessara import basic


def test_sound_file_has_no_findings(run, sound):
    done = run("check", sound)
    assert (done.exit_code, done.stdout, done.stderr) == (0, "no findings\n", "")


def test_findings_stand_with_file_line_rule_and_advice(run, broken):
    done = run("check", broken)
    assert done.exit_code == 3
    lines = done.stdout.splitlines()
    assert lines[0] == (
        f"{broken}:10: error TS103 phase 'FeO': G jumps by 9000 J/mol (allowed 2), H by 9000 J/mol"
        " and S by 0 J/(mol K) at 1000 K"
    )
    assert lines[1].startswith("    A Gibbs energy is continuous")
    assert any(line.startswith(f"{broken}:11: warning TS202 phase 'Fe2O3': ") for line in lines)
    assert lines[-1] == ("2 findings: 1 error, 1 warning.  Explain: tessara check --explain TS103")
    assert done.stderr == ""


def test_advice_of_a_rule_is_given_once(run, broken, tmp_path):
    other = tmp_path / "other.dat"
    other.write_bytes(broken.read_bytes())
    done = run("check", broken, other)
    assert done.stdout.count("A Gibbs energy is continuous") == 1
    assert done.stdout.count("error TS103") == 2


def test_notes_leave_a_file_usable(run, noted):
    done = run("check", noted)
    assert done.exit_code == 0
    assert "note TS304 phase 'Fe2O3'" in done.stdout
    assert done.stdout.endswith("1 finding: 1 note.  Explain: tessara check --explain TS304\n")


def test_file_that_cannot_be_read_is_the_readers_error(run, unreadable):
    done = run("check", unreadable)
    assert done.exit_code == 3
    assert done.stdout.splitlines()[0] == (
        f"{unreadable}:2:3: error TS001 expected the number of solution phases, found 'x' (header)"
    )


def test_one_unsound_file_of_several_decides(run, sound, broken):
    assert run("check", sound, broken).exit_code == 3
    assert run("check", sound, sound).exit_code == 0


@pytest.mark.parametrize(("gravity", "status"), [("error", 0), ("warning", 0), ("note", 3)])
def test_fail_on_sets_the_gravity_that_counts(run, noted, gravity, status):
    assert run("check", noted, "--fail-on", gravity).exit_code == status


@pytest.mark.parametrize(
    ("options", "rules"),
    [
        (["--select", "TS1"], ["TS103"]),
        (["--select", "ts202"], ["TS202"]),
        (["--select", "TS103", "--select", "TS2"], ["TS103", "TS202"]),
        (["--ignore", "TS1"], ["TS202"]),
        (["--select", "TS", "--ignore", "TS202"], ["TS103"]),
        (["--select", "TS9"], []),
    ],
)
def test_rules_can_be_chosen(run, broken, options, rules):
    done = run("check", broken, "--json", *options)
    (one,) = json.loads(done.stdout)["files"]
    assert [finding["rule"] for finding in one["findings"]] == rules
    assert done.exit_code == (3 if "TS103" in rules else 0)


def test_unreadable_file_is_told_whatever_is_chosen(run, unreadable):
    assert run("check", unreadable, "--ignore", "TS0").exit_code == 3


def test_json_holds_what_the_library_finds(run, broken, noted, unreadable):
    done = run("check", broken, noted, unreadable, "--json")
    assert done.exit_code == 3
    first, second, third = json.loads(done.stdout)["files"]
    assert (first["file"], first["usable"]) == (str(broken), False)
    assert first["findings"] == basic.findings(broken)
    assert (second["file"], second["usable"]) == (str(noted), True)
    assert second["findings"] == basic.findings(noted)
    (failure,) = third["findings"]
    assert list(failure) == list(first["findings"][0])
    assert (failure["rule"], failure["line"], failure["column"]) == ("TS001", 2, 3)


def test_json_of_a_sound_file_is_empty(run, sound):
    done = run("check", sound, "--json")
    assert json.loads(done.stdout) == {
        "files": [{"file": str(sound), "usable": True, "findings": []}]
    }


@pytest.mark.parametrize("rule", basic.finding_rules(), ids=lambda rule: rule["rule"])
def test_each_rule_is_explained(run, rule):
    done = run("check", "--explain", rule["rule"].lower())
    assert done.exit_code == 0
    assert done.stdout.startswith(f"{rule['rule']} ({rule['gravity']}): {rule['title']}.\n")
    assert " ".join(rule["advice"].split()) in " ".join(done.stdout.split())


def test_unknown_rule_is_wrong_usage_and_lists_the_rules(run):
    done = run("check", "--explain", "TS999")
    assert done.exit_code == 2
    assert "There is no rule 'TS999'" in done.stderr
    assert "TS103" in done.stderr


@pytest.mark.parametrize(
    "arguments", [[], ["missing.dat"], ["--fail-on", "fatal", "x.dat"], ["--nonsense"], ["."]]
)
def test_wrong_usage_is_status_2(run, arguments, tmp_path, monkeypatch):
    monkeypatch.chdir(tmp_path)
    done = run("check", *arguments)
    assert (done.exit_code, done.stdout) == (2, "")
    assert "Usage:" in done.stderr


def test_colours_are_for_terminals_that_want_them(run, noted, monkeypatch):
    from click.testing import CliRunner

    from tessara.cli import main

    coloured = CliRunner().invoke(main, ["check", str(noted)], color=True)
    assert "\x1b[36mnote\x1b[0m" in coloured.stdout
    monkeypatch.setenv("NO_COLOR", "1")
    assert "\x1b" not in CliRunner().invoke(main, ["check", str(noted)], color=True).stdout
    assert "\x1b" not in run("check", noted).stdout


def test_shipped_data_are_sound(run):
    import tessara.data

    files = [tessara.data.path(name) for name in tessara.data.names()]
    done = run("check", *files, "--fail-on", "warning")
    assert done.exit_code == 0, done.stdout


def test_module_runs_as_the_command(broken):
    done = subprocess.run(
        [sys.executable, "-W", "error", "-m", "tessara", "check", str(broken)],
        capture_output=True,
        text=True,
        check=False,
    )
    assert done.returncode == 3
    assert "error TS103" in done.stdout
    assert done.stderr == ""
