"""Every command and every snippet of the documents, run as a reader would run it."""

import re
import shlex
import shutil
import subprocess
import sys
import venv
from pathlib import Path

import pytest

ROOT = Path(__file__).resolve().parents[2]
DOCUMENTS = [ROOT / "README.md", ROOT / "CONTRIBUTING.md", *sorted(ROOT.glob("docs/**/*.md"))]


def blocks(document: Path, language: str) -> list[str]:
    fence = re.compile(rf"^```{language}\n(.*?)^```$", re.MULTILINE | re.DOTALL)
    return fence.findall(document.read_text(encoding="utf-8"))


def commands(program: str) -> list[str]:
    lines = [
        line.removeprefix("$ ")
        for document in DOCUMENTS
        for block in blocks(document, "console")
        for line in block.splitlines()
        if line.startswith("$ ")
    ]
    return sorted({line for line in lines if shlex.split(line)[0] == program})


def run(command: list[str], folder: Path) -> str:
    done = subprocess.run(command, cwd=folder, capture_output=True, text=True, check=False)
    assert done.returncode == 0, done.stdout + done.stderr
    return done.stdout


def test_no_block_escapes_the_tests() -> None:
    for document in DOCUMENTS:
        text = document.read_text(encoding="utf-8")
        languages = re.findall(r"^```(\w+)$", text, re.MULTILINE)
        assert set(languages) <= {"console", "pycon", "text"}, document
    known = {"make", "pip", "python", "tessara"}
    assert set().union(*(commands(program) for program in known)) == {
        line.removeprefix("$ ")
        for document in DOCUMENTS
        for block in blocks(document, "console")
        for line in block.splitlines()
    }


@pytest.mark.parametrize(
    "document", [d for d in DOCUMENTS if blocks(d, "pycon")], ids=lambda document: document.name
)
def test_snippets_print_what_they_show(document: Path, tmp_path: Path) -> None:
    # A process of its own: a document starts from a library that holds nothing.
    script = (
        "import doctest, sys\n"
        "result = doctest.testfile(sys.argv[1], module_relative=False)\n"
        "sys.exit(result.failed > 0 or result.attempted == 0)"
    )
    run([sys.executable, "-W", "error", "-c", script, str(document)], tmp_path)


@pytest.mark.parametrize("command", commands("make"))
def test_make_knows_the_target(command: str) -> None:
    # These tests are part of what the targets do, so their recipes are read and not run. What the
    # demo runs, the test of the example runs; the others are run by whoever runs these tests.
    recipe = run([*shlex.split(command), "--dry-run", "--no-print-directory"], ROOT)
    assert recipe.strip()
    if command == "make demo":
        assert recipe.strip().endswith("examples/reduction_of_hematite.py")


@pytest.mark.parametrize("command", commands("python"))
def test_python_commands(command: str, tmp_path: Path) -> None:
    (tmp_path / "src").symlink_to(ROOT / "src")
    run([sys.executable, *shlex.split(command)[1:]], tmp_path)
    if "tessara.convert" in command:
        made = tmp_path / shlex.split(command)[-1]
        assert made.read_bytes() == (ROOT / "src/tessara/data" / made.name).read_bytes()


@pytest.mark.parametrize(
    "document", [d for d in DOCUMENTS if "$ tessara " in d.read_text("utf-8")], ids=lambda d: d.name
)
def test_tessara_commands(document: Path, tmp_path: Path) -> None:
    """In the order of the document and in one folder, as each may use what another has made."""
    (tmp_path / "src").symlink_to(ROOT / "src")
    text = document.read_text(encoding="utf-8")
    for command in re.findall(r"^\$ (tessara .*)$", text, re.MULTILINE):
        printed = run([sys.executable, "-m", *shlex.split(command)], tmp_path)
        shown = re.search(
            rf"^\$ {re.escape(command)}\n```\n\n```text\n(.*?)^```$", text, re.M | re.S
        )
        if shown is not None:
            assert printed == shown.group(1), command


@pytest.mark.long
@pytest.mark.parametrize("command", commands("pip"))
def test_pip_commands(command: str, tmp_path: Path) -> None:
    clone = tmp_path / "tessara"
    run(["git", "clone", "--quiet", str(ROOT), str(clone)], tmp_path)
    shutil.copy(ROOT / "README.md", clone)
    environment = tmp_path / "environment"
    venv.create(environment, with_pip=True)
    python = environment / "bin" / "python"
    run([str(python), "-m", *shlex.split(command)], clone)
    example = ROOT / "examples" / "reduction_of_hematite.py"
    assert "Fe2O3 + 3 C" in run([str(python), "-W", "error", str(example)], tmp_path)
