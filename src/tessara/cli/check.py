"""`tessara check`: what is wrong or suspicious in data files."""

from __future__ import annotations

import sys
from collections.abc import Sequence
from pathlib import Path
from textwrap import fill
from typing import Any

import click

from tessara.cli.output import (
    DATA_FILE,
    ExitStatus,
    fail,
    message,
    print_json,
    read_failure,
    styled,
)
from tessara.core import TessaraError

__all__ = ["check"]

GRAVITIES = ("error", "warning", "note")
COLOURS = {"error": "red", "warning": "yellow", "note": "cyan"}
UNREADABLE = "TS001"
INDENT = "    "

# A finding as `tessara.basic.findings` gives it.
Finding = dict[str, Any]


@click.command(
    epilog="""Examples:

\b
  tessara check iron.dat
  tessara check iron.dat slag.dat --json
"""
)
@click.argument("files", nargs=-1, type=DATA_FILE, metavar="FILE...")
@click.option("--json", "as_json", is_flag=True, help="Write the findings as JSON.")
@click.option(
    "--select", multiple=True, metavar="RULE", help="Show only this rule, or rules that begin so."
)
@click.option(
    "--ignore", multiple=True, metavar="RULE", help="Leave out this rule, or rules that begin so."
)
@click.option(
    "--fail-on",
    type=click.Choice(GRAVITIES),
    default="error",
    show_default=True,
    help="Gravity from which on the exit status is 3.",
)
@click.option("--explain", metavar="RULE", help="Tell what a rule looks for, and what to do.")
def check(
    files: tuple[Path, ...],
    as_json: bool,
    select: tuple[str, ...],
    ignore: tuple[str, ...],
    fail_on: str,
    explain: str | None,
) -> None:
    """Look through data files for what is wrong or suspicious, the gravest first.

    The exit status is 0 where a file can be used, and 3 where it has an error, or cannot be read.
    """
    if explain is not None:
        _explain(explain)
        return
    if not files:
        raise click.UsageError("Give at least one data file.")
    found = {path: _chosen(_findings(path), select, ignore) for path in files}
    grave = GRAVITIES[: GRAVITIES.index(fail_on) + 1]
    unsound = {path for path, one in found.items() if any(f["gravity"] in grave for f in one)}
    if as_json:
        listed = [
            {"file": str(path), "usable": path not in unsound, "findings": one}
            for path, one in found.items()
        ]
        print_json({"files": listed})
    else:
        _print(found)
    sys.exit(ExitStatus.UNSOUND if unsound else ExitStatus.DONE)


def _findings(path: Path) -> list[Finding]:
    from tessara import basic  # the extension module, only where it is needed

    try:
        return basic.findings(path)
    except TessaraError as error:
        failure = read_failure(error)
        rule = _rule(UNREADABLE)
        return [
            {
                "gravity": rule["gravity"],
                "rule": UNREADABLE,
                "line": failure.line,
                "column": failure.column,
                "subject": "",
                "text": failure.text,
                "advice": rule["advice"],
            }
        ]


def _chosen(
    findings: Sequence[Finding], select: Sequence[str], ignore: Sequence[str]
) -> list[Finding]:
    """Give the findings of the rules asked for; that a file cannot be read is always told."""

    def named(rule: str, beginnings: Sequence[str]) -> bool:
        return any(rule.startswith(one.upper()) for one in beginnings)

    return [
        one
        for one in findings
        if one["rule"] == UNREADABLE
        or ((not select or named(one["rule"], select)) and not named(one["rule"], ignore))
    ]


def _print(found: dict[Path, list[Finding]]) -> None:
    advised = set()
    for path, findings in found.items():
        for one in findings:
            place = ":".join(str(n) for n in (path, one["line"], one["column"]) if n is not None)
            subject = f"{one['subject']}: " if one["subject"] else ""
            gravity = styled(one["gravity"], COLOURS[one["gravity"]])
            click.echo(f"{place}: {gravity} {one['rule']} {subject}{one['text']}")
            if one["rule"] not in advised:
                advised.add(one["rule"])
                click.echo(fill(one["advice"], 96, initial_indent=INDENT, subsequent_indent=INDENT))
    click.echo(_summary([one for findings in found.values() for one in findings]))


def _summary(findings: Sequence[Finding]) -> str:
    if not findings:
        return "no findings"
    counts = {gravity: sum(f["gravity"] == gravity for f in findings) for gravity in GRAVITIES}
    parts = ", ".join(_counted(number, what) for what, number in counts.items() if number)
    first = findings[0]["rule"]
    total = _counted(len(findings), "finding")
    return f"{total}: {parts}.  Explain: tessara check --explain {first}"


def _counted(number: int, what: str) -> str:
    return f"{number} {what}" if number == 1 else f"{number} {what}s"


def _rules() -> list[dict[str, str]]:
    from tessara import basic  # the extension module, only where it is needed

    return basic.finding_rules()


def _rule(number: str) -> dict[str, str]:
    return next(rule for rule in _rules() if rule["rule"] == number)


def _explain(number: str) -> None:
    rules = {rule["rule"]: rule for rule in _rules()}
    rule = rules.get(number.upper())
    if rule is None:
        message(f"There is no rule {number!r}; the rules are:")
        for one in rules.values():
            message(f"  {one['rule']}  {one['title']}")
        fail("", ExitStatus.USAGE)
    click.echo(f"{rule['rule']} ({rule['gravity']}): {rule['title']}.")
    click.echo()
    click.echo(fill(rule["advice"], 80))
