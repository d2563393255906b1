"""The whole way, from the classes down to the shipped file, against values of the literature.

Constants of reactions come from activities: in any equilibrium the product of the activities of a
reaction's members, each to the power of its moles, is the constant.
"""

import math
import tomllib
from pathlib import Path

import pytest

from tessara import basic
from tessara.core import Status
from tessara.friendly import EquilibriumCalculation, ThermochemicalSystem

TABLE = tomllib.loads((Path(__file__).parents[1] / "literature.toml").read_text(encoding="utf-8"))
KILO = {"kJ/mol": 1000.0}
R = 8.314462618


def tolerance(row):
    return row["tolerance"] if "tolerance" in row else row["relative"] * abs(row["value"])


def mixed(bench, reaction, T):
    """All members of a reaction together, in amounts that do not make one compound of them."""
    amounts = {name: abs(n) * (1.0 + 0.1 * k) for k, (name, n) in enumerate(reaction.items())}
    bench.solve(amounts, T)


def log_K(bench, reaction, T):
    mixed(bench, reaction, T)
    return sum(moles * math.log(bench.pc("AC", name)) for name, moles in reaction.items())


def sum_over(bench, reaction, T, standard):
    mixed(bench, reaction, T)
    return sum(moles * standard(name) for name, moles in reaction.items())


def standard_entropy(bench, name):
    T = EquilibriumCalculation.get_eq_T()
    standard_G = bench.pc("MU", name) - R * T * math.log(bench.pc("AC", name))
    return (bench.pc("HM", name) - standard_G) / T


def crossing(bench, inputs, reaction, around, zero):
    """Where a reaction is in equilibrium with all its members pure at 1 bar."""

    def affinity(T):
        bench.solve(inputs, T)
        return sum(moles * math.log(bench.pc("AC", name)) for name, moles in reaction.items())

    return zero(affinity, 0.9 * around, 1.1 * around)


def transition(bench, row, zero):
    low, high = row["low"], row["high"]
    return crossing(bench, {low: 1.0}, {low: -1.0, high: 1.0}, row["value"], zero)


def heat_of_transition(bench, row, zero):
    low, high = row["low"], row["high"]

    def affinity(T):
        bench.solve({low: 1.0}, T)
        return math.log(bench.pc("AC", high)) - math.log(bench.pc("AC", low))

    # The bracket is the same for all: the value of the row does not lead the search.
    zero(affinity, 250.0, 4000.0)
    return bench.pc("HM", high) - bench.pc("HM", low)


def boiling(bench, row, zero):
    def excess_pressure(T):
        bench.solve({row["liquid"]: 1.0}, T, row["P"])
        gas = bench.pc("AC", row["gas"]) / bench.pc("AC", row["liquid"])
        return math.log(gas / row["P"])

    return zero(excess_pressure, 0.9 * row["value"], 1.1 * row["value"])


def activity(bench, row):
    """The solution alone, and the activity in it against the pure phase that is the standard."""
    for i, name in enumerate(bench.phases):
        basic.hxcsp(i, Status.ENTERED if name == row["phase"] else Status.ELIMINATED)
    standard = ThermochemicalSystem.get_index_ph(row["standard"].partition(":")[0])
    if bench.phases[standard] != row["phase"]:
        basic.hxcsp(standard, Status.DORMANT)
    bench.solve({f"{row['phase']}:{name}": x for name, x in row["x"].items()}, row["T"])
    return bench.pc("AC", row["standard"])


def enthalpy(bench, species):
    return bench.solve({species: 1.0}, 298.15).pc("HM", species)


def entropy(bench, species):
    bench.solve({species: 1.0}, 298.15)
    return standard_entropy(bench, species)


# One row per quantity; each takes the bench, the search for a zero, and the row of the table.
EVALUATED = {
    "H298": lambda bench, zero, row: enthalpy(bench, row["species"]),
    "S298": lambda bench, zero, row: entropy(bench, row["species"]),
    "transition temperature": lambda bench, zero, row: transition(bench, row, zero),
    "enthalpy of transition": lambda bench, zero, row: heat_of_transition(bench, row, zero),
    "boiling temperature": lambda bench, zero, row: boiling(bench, row, zero),
    "reaction G": lambda bench, zero, row: -R * row["T"] * log_K(bench, row["reaction"], row["T"]),
    "reaction H": lambda bench, zero, row: sum_over(
        bench, row["reaction"], row["T"], lambda name: bench.pc("HM", name)
    ),
    "reaction S": lambda bench, zero, row: sum_over(
        bench, row["reaction"], row["T"], lambda name: standard_entropy(bench, name)
    ),
    "log10 K": lambda bench, zero, row: log_K(bench, row["reaction"], row["T"]) / math.log(10),
    "K": lambda bench, zero, row: math.exp(log_K(bench, row["reaction"], row["T"])),
    # With 1 mol of O2 used up, K is 1/p(O2).
    "log10 p(O2)": lambda bench, zero, row: -log_K(bench, row["reaction"], row["T"]) / math.log(10),
    "reaction temperature": lambda bench, zero, row: crossing(
        bench, dict.fromkeys(row["reaction"], 1.0), row["reaction"], row["value"], zero
    ),
    "activity": lambda bench, zero, row: activity(bench, row),
}
# A heat balance over several equilibria.
BALANCED = {"adiabatic flame temperature"}


@pytest.mark.parametrize(
    "row",
    [row for row in TABLE["row"] if row["quantity"] not in BALANCED],
    ids=lambda row: row["id"],
)
def test_value_lies_within_the_tolerance_of_the_literature(bench, zero, row):
    found = EVALUATED[row["quantity"]](bench, zero, row) / KILO.get(row["unit"], 1.0)
    assert found == pytest.approx(row["value"], rel=0, abs=tolerance(row))


@pytest.mark.parametrize("row", [row for row in TABLE["row"] if row["quantity"] in BALANCED])
def test_adiabatic_flame(bench, zero, row):
    """The temperature at which what burns has the enthalpy that came in."""
    before = sum(moles * enthalpy(bench, name) for name, moles in row["burnt"].items())

    def surplus(T):
        bench.solve(row["burnt"], T, row["P"])
        return EquilibriumCalculation.get_eq_H() - before

    found = zero(surplus, 1000.0, 3000.0)
    assert found == pytest.approx(row["value"], rel=0, abs=tolerance(row))
