"""What the benchmarks beside other programs give to both sides is the same; none of them runs here.

The files of both sides are read by code of the tests.
"""

import ast
import math
import random
import re
import tomllib

import pytest
from dat_evaluator import DataFile, R
from peers import alloys, gases
from peers.alloys import ALLOYS
from tdb_evaluator import TdbFile

from tessara.convert import dat_writer

# The fits were made with this gas constant.
R_OF_THE_FITS = 8.31451
TEMPERATURES = (200.0, 298.15, 700.0, 999.9, 1000.1, 2500.0, 5900.0)
SYMBOLS = {"C": 12.011, "H": 1.008, "O": 15.999, "N": 14.007, "Ar": 39.95}


def fits():
    """The coefficients of each species as they stand in the tables."""
    found = {}
    for path in gases.TABLES:
        for row in tomllib.loads(path.read_text("utf-8"))["gas"]["species"]:
            if "nasa9" in row:
                found.setdefault(row["name"], row["nasa9"])
    return found


def gibbs(a, b, T):
    """G / RT from the nine coefficients: the integrals of Cp/R and Cp/RT, term by term."""
    h = -a[0] / T + a[1] * math.log(T) + sum(a[q + 2] * T ** (q + 1) / (q + 1) for q in range(5))
    s = -a[0] / (2 * T**2) - a[1] / T + a[2] * math.log(T)
    s += sum(a[q + 2] * T**q / q for q in range(1, 5))
    return (h + b[0]) / T - s - b[1]


def blocks(text):
    """Species of the other program's input: composition, limits of temperature, coefficients."""
    for block in text.partition("species:\n")[2].split("- name: ")[1:]:
        name, composition = block.splitlines()[:2]
        limits = re.search(r"temperature-ranges: (.*)", block).group(1)
        yield (
            ast.literal_eval(name),
            ast.literal_eval(composition.strip().removeprefix("composition: ")),
            ast.literal_eval(limits),
            [ast.literal_eval(row) for row in re.findall(r"^    - (\[.*\])$", block, re.MULTILINE)],
        )


@pytest.fixture(scope="module")
def gas():
    return gases.system()


def test_both_files_of_the_gas_hold_the_fits_of_the_tables(gas):
    written = DataFile(dat_writer.write(gas)).gas
    rows = list(blocks(gases.cantera_yaml(gas)))
    assert tuple(name for name, *_ in rows) == tuple(written) == gases.NAMES
    source = fits()
    for name, composition, limits, coefficients in rows:
        amounts = {element: n for element, n in written[name].amounts.items() if n}
        assert composition == amounts
        assert limits == [200.0, 1000.0, 6000.0]
        for T in TEMPERATURES:
            k = 0 if T <= 1000.0 else 1
            expected = R_OF_THE_FITS * T * gibbs(source[name][k]["a"], source[name][k]["b"], T)
            other = R * T * gibbs(coefficients[k][:7], coefficients[k][7:], T)
            size = abs(expected) + R * T * 30
            assert abs(written[name].G(T) - expected) < 1e-12 * size, (name, T)
            assert abs(other - expected) < 1e-12 * size, (name, T)


def test_elements_have_the_same_masses(gas):
    assert {one.name: one.mass for one in gas.components} == SYMBOLS
    text = gases.cantera_yaml(gas)
    found = re.findall(r'symbol: "(\w+)", atomic-weight: (\S+)}', text)
    assert {name: float(mass) for name, mass in found} == SYMBOLS


def test_powers_without_a_place_are_refused(gas):
    part = gas.gas.species[0].ranges[0]
    with pytest.raises(ValueError, match="no place"):
        gases.nasa9(type(part)(part.upper, part.coefficients, ((1.0, -9.0),)))


@pytest.mark.parametrize("states", [gases.heated(), gases.burnt()], ids=["heated", "burnt"])
def test_each_state_of_the_gas_is_another_and_holds_all_elements(states, gas):
    assert len({state.T for state in states}) == len({state.moles for state in states}) == 400
    given = [place for place, moles in enumerate(states[0].moles) if moles]
    for state in states:
        assert [place for place, moles in enumerate(state.moles) if moles] == given
        assert len(state.moles) == len(gas.gas.species)
        assert 200.0 < state.T < 6000.0
        assert 0.05 < state.P < 50.0
        for element in range(len(gas.components)):
            species = zip(state.moles, gas.gas.species, strict=True)
            assert sum(n * one.amounts[element] for n, one in species) > 0.0


@pytest.mark.parametrize("alloy", ALLOYS, ids=lambda alloy: alloy.name)
def test_both_files_of_an_alloy_give_the_same_energies(alloy):
    source = TdbFile(alloys.write(alloy, ".tdb"))
    file = DataFile(alloys.write(alloy, ".dat"))
    assert set(source.phases) == set(file.mixtures) | set(file.pure)
    draw = random.Random(7)
    for phase in source.phases:
        for T in (298.15, 700.0, 1100.0, 1900.0):
            y = source.states(phase, [draw.random() + 0.01 for _ in range(20)])
            found = file.pure[phase].G(T) if phase in file.pure else file.mixtures[phase].G(T, y)
            assert found == pytest.approx(source.G(phase, T, y), rel=1e-11, abs=1e-6), phase


@pytest.mark.parametrize("alloy", ALLOYS, ids=lambda alloy: alloy.name)
def test_states_of_an_alloy_have_all_elements(alloy):
    elements = len(alloys.system(alloy).components)
    states = alloy.states
    assert len(set(states)) == len(states) >= 100
    for T, shares in states:
        assert 298.15 < T < 2500.0
        assert len(shares) == elements - 1
        assert min(shares) > 0.0 < 1.0 - sum(shares)
