"""Listings as the operations write them: the frame, in plain ASCII."""

import locale
from itertools import pairwise
from math import exp

import pytest

from tessara.core import AmountUnit, EnergyUnit, Quantity, TemperatureUnit


def test_inputs_show_title_units_conditions_and_amounts(hx, lab, gas_over_solid):
    lab.load(gas_over_solid)
    hx.hxcsu(Quantity.Temperature, TemperatureUnit.C)
    hx.hxcsu(Quantity.Amount, AmountUnit.kg)
    lab.set("T", 726.85)
    lab.put_in(A=2.0)
    assert lab.listing(hx.hxshow) == (
        "\n"
        "Inputs\n"
        "======\n"
        "  System  a test file\n"
        "  Units   bar, dm3, C, J, kg\n"
        "\n"
        "Conditions\n"
        "----------\n"
        "  condition        number   value  unit\n"
        "  T of the system       1  726.85  C\n"
        "  P is not given: 1 bar is taken.\n"
        "\n"
        "Incoming amounts\n"
        "----------------\n"
        "  incoming amount of  number  kg\n"
        "  component A              2   2\n"
    )


def test_inputs_before_a_file_is_loaded(hx, lab):
    assert lab.listing(hx.hxshow) == (
        "\nInputs\n======\n  No data file is loaded.\n  Units   bar, dm3, K, J, mol\n"
    )


def sections(text):
    """The lines below each heading."""
    found, lines = {}, text.splitlines()
    for before, line in pairwise(lines):
        if before and line and set(line) <= {"-"} and len(line) == len(before):
            name = before
            found[name] = []
        elif found:
            found[name].append(line)
    return found


@pytest.mark.parametrize("name", ["hxcel", "hxcenl"])
def test_results_show_every_table(hx, lab, saturated, name):
    text = lab.listing(getattr(hx, name), *lab.NoTarget)
    assert text.startswith("\nEquilibrium\n===========\n  System  a test file\n  T       1000 K\n")
    assert list(sections(text)) == [
        "Conditions",
        "Incoming amounts",
        "Phases",
        "Absent phases",
        "System components",
        "Totals",
        "Check",
    ]


def test_plain_calculation_writes_nothing(hx, lab, saturated):
    assert lab.listing(hx.hxce, *lab.NoTarget) == ""
    assert lab.listing(hx.hxcen, *lab.NoTarget) == ""


def rows(lines):
    """Name and numbers of each line of a table."""
    table = {}
    for line in lines:
        words = line.split()
        numbers = [
            w for w in words if w.replace("-", "").replace("+", "")[:1].isdigit() or w == "-"
        ]
        if numbers and words[0] not in numbers:
            table[words[0]] = numbers
    return table


def test_numbers_of_the_result_tables(hx, lab, saturated):
    found = sections(lab.listing(hx.hxcel, *lab.NoTarget))
    phases = rows(found["Phases"])
    order = list(phases)
    assert order == ["A(s)", "GAS", "B", "A"]  # by falling amount, constituents too
    fraction = saturated.n_solid / saturated.n
    assert phases["A(s)"] == [f"{saturated.n_solid:.6f}", f"{fraction:.6f}", "1.000000"]
    assert phases["A"] == [f"{saturated.n_a:.6f}", f"{saturated.x:.6f}", f"{saturated.p_a:.6f}"]
    absent = exp((saturated.mu_b - 90000.0) / saturated.rt)
    assert rows(found["Absent phases"]) == {"B(s)": [f"{absent:.5e}"]}
    components = rows(found["System components"])
    assert components["A"] == ["1.000000", "0.666667", "1.000000", f"{saturated.mu_a:.6f}"]
    assert components["B"][3] == f"{saturated.mu_b:.6f}"
    total = saturated.n_gas * saturated.v
    assert rows(found["Totals"])["V"] == [f"{total:.6f}", f"{total / saturated.n:.6f}"]


def test_numbers_follow_the_units(hx, lab, saturated):
    hx.hxcsu(Quantity.Amount, AmountUnit.gram)
    hx.hxcsu(Quantity.Energy, EnergyUnit.kJ)
    found = sections(lab.listing(hx.hxcel, *lab.NoTarget))
    assert found["Phases"][1].split() == ["constituent", "gram", "gram/gram"]
    assert rows(found["Phases"])["A(s)"][0] == f"{10 * saturated.n_solid:.6f}"
    potential = rows(found["System components"])["A"][3]
    assert potential == f"{saturated.mu_a / 1000:.6f}"
    assert found["System components"][1].split() == ["gram", "gram/gram", "kJ/mol"]


def test_what_has_no_value_is_a_dash(hx, lab, gas_over_solid):
    lab.load(gas_over_solid)
    lab.set("T", 1000.0)
    lab.put_in(A=1.0)
    found = sections(lab.listing(hx.hxcel, *lab.NoTarget))
    assert rows(found["System components"])["B"] == ["0", "0", "-", "-"]
    note = "Phases that cannot form, as they are eliminated or what they hold is not there: 1."
    assert note in " ".join(" ".join(found["Absent phases"]).split())


def test_open_combinations_are_named(hx, lab, dat):
    file = dat({"A": 1.0, "B": 2.0}).gas("GAS", ("A", [1, 0], []), ("B", [0, 1], []))
    lab.load(file.pure("AB2", [1, 2], [-300000.0]))
    lab.set("T", 1000.0)
    lab.set("IA", 1.0, lab.pc("AB2"))
    text = " ".join(lab.listing(hx.hxcel, *lab.NoTarget).split())
    start = "The stable phases leave the potentials of these combinations of components open: "
    assert start in text
    combination = text.split(start)[1].split(".")[0]
    assert "A" in combination or "B" in combination


def test_listings_are_ascii_whatever_the_title_and_names(hx, lab, dat):
    file = dat({"A": 1.0}, title="Schlacken für Öfen\t1")
    lab.load(file.pure("α-A", [1], []))
    assert hx.hxgnp(0) == "α-A"
    lab.set("T", 1000.0)
    lab.set("IA", 1.0, (0, 0))
    text = lab.listing(hx.hxcel, *lab.NoTarget) + lab.listing(hx.hxshow)
    assert all(c == "\n" or " " <= c <= "~" for c in text)
    assert "System  Schlacken f\\xfcr \\xd6fen\\x091\n" in text
    assert "\\u03b1-A" in text


def test_lines_are_not_long(hx, lab, ironmaking_file):
    hx.hxopna(ironmaking_file, 10)
    hx.hxrfil()
    lab.set("T", 1500.0)
    lab.put_in(Fe=10.0, O=9.0, C=2.0, H=1.0, N=3.0, Ca=1.0, Si=1.0, Al=0.5, Mg=0.3)
    text = lab.listing(hx.hxcel, *lab.NoTarget) + lab.listing(hx.hxshow)
    assert max(map(len, text.splitlines())) <= 100
    assert all(line == line.rstrip() for line in text.splitlines())


def test_numbers_have_points_in_every_locale(hx, lab, saturated):
    before = locale.setlocale(locale.LC_NUMERIC)
    for name in ("de_DE.UTF-8", "de_DE", "fr_FR.UTF-8", "German"):
        try:
            locale.setlocale(locale.LC_NUMERIC, name)
        except locale.Error:
            continue
        break
    else:
        pytest.skip("no locale with a decimal comma is installed")
    try:
        text = lab.listing(hx.hxcel, *lab.NoTarget)
    finally:
        locale.setlocale(locale.LC_NUMERIC, before)
    assert f"{saturated.n_solid:.6f}" in text
