"""The command as a whole: help, version, subcommands."""

import pytest

import tessara
from tessara.cli import main


def test_version(run):
    done = run("--version")
    assert done.exit_code == 0
    assert tessara.__version__ in done.stdout


@pytest.mark.parametrize("name", sorted(main.commands))
def test_help_fits_a_screen_and_ends_with_two_examples(run, name):
    done = run(name, "--help")
    assert done.exit_code == 0
    lines = done.stdout.rstrip().splitlines()
    assert len(lines) <= 40
    examples = lines[lines.index("  Examples:") + 1 :]
    assert [line.split()[:2] for line in examples if line.strip()] == [["tessara", name]] * 2


def test_unknown_subcommand_is_wrong_usage(run):
    done = run("nonsense")
    assert done.exit_code == 2
    assert "nonsense" in done.stderr


def test_import_of_the_classes_needs_no_third_party_library():
    import subprocess
    import sys

    script = "import sys, tessara.friendly; assert 'click' not in sys.modules"
    subprocess.run([sys.executable, "-c", script], check=True)
