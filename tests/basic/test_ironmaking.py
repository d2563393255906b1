"""The shipped data file through the operations, against values from the literature."""

import tomllib
from math import exp, log, log10, sqrt
from pathlib import Path

import pytest

from tessara.core import PhaseConstituentData, Status

LITERATURE = tomllib.loads((Path(__file__).parent.parent / "literature.toml").read_text("utf-8"))


@pytest.fixture
def iron(hx, lab, ironmaking_file):
    hx.hxopna(ironmaking_file, 10)
    hx.hxrfil()
    hx.hxclos(10)
    return lab


def names(row):
    return " and ".join(name for name in row["reaction"] if name != "O2") + f" at {row['T']} K"


OXYGEN = [row for row in LITERATURE["row"] if row["quantity"] == "log10 p(O2)"]


@pytest.mark.parametrize("row", OXYGEN, ids=names)
def test_oxygen_over_two_phases(hx, iron, row):
    """What stands in the reaction is put in, and the activity of O2 is read."""
    reaction = {name: n for name, n in row["reaction"].items() if name != "O2"}
    # Other forms of the same substances are left out, as the source names these.
    for i in range(hx.hxnop()):
        if hx.hxgnp(i) not in reaction and hx.hxgnp(i) != "GAS":
            hx.hxcsp(i, Status.DORMANT)
    iron.set("T", float(row["T"]))
    for name in reaction:
        iron.set("IA", 1.0, iron.pc(name))
    iron.calculate()
    for name in reaction:
        assert iron.get("AC", iron.ph(name)) == 1.0
    activity = iron.get("AC", *iron.pc("GAS", "O2"))
    assert log10(activity) == pytest.approx(row["value"], abs=row["tolerance"])


def test_there_are_values_to_compare():
    assert len(OXYGEN) >= 3


def test_boudouard_constant(hx, iron, r_gas):
    """Pressures in a gas over graphite against the standard data of the three substances."""
    iron.set("T", 973.15)
    iron.set("IA", 1.0, iron.pc("GAS", "CO2"))
    iron.set("IA", 1.0, iron.pc("C(gr)"))
    iron.calculate()
    co, co2 = (iron.get("AC", *iron.pc("GAS", name)) for name in ("CO", "CO2"))
    gibbs = {
        name: hx.constituent_data(*place, PhaseConstituentData.G, 973.15)
        for name, place in {
            "CO": iron.pc("GAS", "CO"),
            "CO2": iron.pc("GAS", "CO2"),
            "C": iron.pc("C(gr)"),
        }.items()
    }
    change = 2 * gibbs["CO"] - gibbs["CO2"] - gibbs["C"]
    assert log(co * co / co2) == pytest.approx(-change / (r_gas * 973.15), abs=1e-10)


def gibbs_of_polynomials(record, t, r):
    """Gibbs energy by the NASA Glenn polynomials with seven coefficients and two constants."""
    a, b = next((p["a"], p["b"]) for p in record["nasa9"] if t <= p["T"][1])
    h = -a[0] / t**2 + a[1] * log(t) / t + b[0] / t
    h += sum(a[k + 2] * t**k / (k + 1) for k in range(5))
    s = -a[0] / (2 * t**2) - a[1] / t + a[2] * log(t) + b[1]
    s += sum(a[k + 2] * t**k / k for k in range(1, 5))
    return r * t * (h - s)


def test_gas_over_graphite(iron, ironmaking_file, r_gas):
    """Against the closed form for CO and CO2 over graphite, from the table behind the file."""
    table = tomllib.loads(ironmaking_file.with_suffix(".toml").read_text("utf-8"))
    gas = {record["name"]: record for record in table["gas"]["species"]}
    graphite = next(record for record in table["pure"] if record["name"] == "C(gr)")
    t, p = 923.15, 1.0
    co, co2, c = (
        gibbs_of_polynomials(record, t, table["gas_constant"])
        for record in (gas["CO"], gas["CO2"], graphite)
    )
    k = exp(-(2 * co - co2 - c) / (r_gas * t)) / p
    fraction = (-k + sqrt(k * k + 4 * k)) / 2  # x^2 / (1 - x) = K / p
    burnt = fraction / (2 - fraction)  # of 1 mol each of CO2 and C
    iron.set("T", t)
    iron.set("IA", 1.0, iron.pc("GAS", "CO2"))
    iron.set("IA", 1.0, iron.pc("C(gr)"))
    iron.calculate()
    # Other carbon oxides and oxygen are below 1e-19.
    assert iron.get("X", *iron.pc("GAS", "CO")) == pytest.approx(fraction, rel=1e-9)
    assert iron.get("A", iron.ph("GAS")) == pytest.approx(1 + burnt, rel=1e-9)
    assert iron.get("A", *iron.pc("GAS", "CO2")) == pytest.approx(1 - burnt, rel=1e-9)
    assert iron.get("A", iron.ph("C(gr)")) == pytest.approx(1 - burnt, rel=1e-9)
    assert iron.get("VT") == pytest.approx((1 + burnt) * r_gas * t / 100, rel=1e-9)


def test_every_pure_phase_can_be_put_in_alone(hx, iron):
    """A hundred single substances at room temperature and in the heat: each ends in a result."""
    for t in (298.15, 1500.0):
        for i in range(hx.hxnop()):
            if hx.hxnopc(i) == 1:
                hx.hxremc(-2)
                iron.set("T", t)
                iron.set("IA", 1.0, (i, 0))
                iron.calculate()
                assert hx.certificate()["balance"] <= 1e-12
