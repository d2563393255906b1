"""The shipped data file against the values of `tests/literature.toml`."""

import math
import tomllib
from pathlib import Path

import pytest

TABLE = tomllib.loads((Path(__file__).parents[1] / "literature.toml").read_text(encoding="utf-8"))

KILO = {"kJ/mol": 1000.0}


def transition_temperature(file, zero, low, high, estimate):
    low, high = file.find(low), file.find(high)
    return zero(lambda T: low.G(T) - high.G(T), 0.95 * estimate, 1.05 * estimate)


def enthalpy_of_transition(file, zero, row):
    # The bracket is the same for all: the value of the row does not lead the search.
    low, high = file.find(row["low"]), file.find(row["high"])
    T = zero(lambda T: low.G(T) - high.G(T), 250.0, 4000.0)
    return high.H(T) - low.H(T)


def boiling_temperature(file, zero, row):
    liquid, gas = file.find(row["liquid"]), file.find(row["gas"])
    pressure = math.log(row["P"])
    return zero(
        lambda T: liquid.G(T) - gas.G(T) - file.R * T * pressure,
        0.9 * row["value"],
        1.1 * row["value"],
    )


def activity(file, row):
    T = row["T"]
    potential = file.chemical_potential(row["phase"], row["species"], row["x"], T)
    return math.exp((potential - file.find(row["standard"]).G(T)) / (file.R * T))


# One row per quantity; each takes the file, the search for a zero, and the row of the table.
EVALUATED = {
    "H298": lambda file, zero, row: file.find(row["species"]).H(298.15),
    "S298": lambda file, zero, row: file.find(row["species"]).S(298.15),
    "transition temperature": lambda file, zero, row: transition_temperature(
        file, zero, row["low"], row["high"], row["value"]
    ),
    "enthalpy of transition": enthalpy_of_transition,
    "boiling temperature": boiling_temperature,
    "reaction G": lambda file, zero, row: file.reaction("G", row["reaction"], row["T"]),
    "reaction H": lambda file, zero, row: file.reaction("H", row["reaction"], row["T"]),
    "reaction S": lambda file, zero, row: file.reaction("S", row["reaction"], row["T"]),
    "log10 K": lambda file, zero, row: file.log10_K(row["reaction"], row["T"]),
    "K": lambda file, zero, row: 10 ** file.log10_K(row["reaction"], row["T"]),
    # With 1 mol of O2 used up, K is 1/p(O2).
    "log10 p(O2)": lambda file, zero, row: -file.log10_K(row["reaction"], row["T"]),
    "reaction temperature": lambda file, zero, row: zero(
        lambda T: file.reaction("G", row["reaction"], T), 0.8 * row["value"], 1.2 * row["value"]
    ),
    "activity": lambda file, zero, row: activity(file, row),
}
# These need an equilibrium calculation, which the tests of the engine make.
FOR_THE_ENGINE = {"adiabatic flame temperature"}


@pytest.mark.parametrize(
    "row",
    [row for row in TABLE["row"] if row["quantity"] not in FOR_THE_ENGINE],
    ids=lambda row: row["id"],
)
def test_value_lies_within_the_tolerance_of_the_literature(ironmaking, zero, row):
    found = EVALUATED[row["quantity"]](ironmaking, zero, row) / KILO.get(row["unit"], 1.0)
    tolerance = row["tolerance"] if "tolerance" in row else row["relative"] * abs(row["value"])
    assert found == pytest.approx(row["value"], rel=0, abs=tolerance)


def test_every_row_is_complete():
    for row in TABLE["row"]:
        assert {"id", "quantity", "value", "unit", "why", "reference"} <= set(row), row
        assert ("tolerance" in row) != ("relative" in row), row
        assert row["quantity"] in {*EVALUATED, *FOR_THE_ENGINE}, row


def test_rows_have_names_of_their_own():
    names = [row["id"] for row in TABLE["row"]]
    assert len(names) == len(set(names))


def test_every_reference_is_used_and_known():
    assert {row["reference"] for row in TABLE["row"]} == set(TABLE["references"])
