"""The example that `make demo` runs."""

import re
import subprocess
import sys
from pathlib import Path

import pytest

ROOT = Path(__file__).parents[2]


@pytest.fixture(scope="module")
def printed(tmp_path_factory):
    example = ROOT / "examples" / "reduction_of_hematite.py"
    done = subprocess.run(
        [sys.executable, "-W", "error", str(example)],
        cwd=tmp_path_factory.mktemp("empty"),
        capture_output=True,
        text=True,
        check=False,
    )
    assert done.returncode == 0, done.stderr
    return done.stdout


def tables(printed):
    """Each table as rows by temperature, each row as texts by heading."""
    found, headings = [], None
    for line in printed.splitlines():
        cells = line.split()
        if cells[:1] == ["T/K"]:
            headings = re.findall(r"log10 p\(O2\)/bar|\S+", line)
            found.append({})
        elif headings and cells and re.fullmatch(r"\d+", cells[0]):
            found[-1][float(cells[0])] = dict(zip(headings, cells, strict=True))
        else:
            headings = None
    return found


def test_carbon_reduces_in_steps(printed):
    phases, gas, _, _ = tables(printed)
    steps = ["Fe3O4(magnetite)", "Fe0.947O(wustite)", "Fe(bcc)", "LIQUID_IRON"]
    reached = []
    for row in phases.values():
        iron = [k for k, name in enumerate(steps) if not row[name].startswith("(")]
        reached += iron
    assert reached == sorted(reached)
    assert set(reached) == {0, 1, 2, 3}
    pressures = [float(row["p(CO)/bar"]) + float(row["p(CO2)/bar"]) for row in gas.values()]
    assert pressures == pytest.approx([1.0] * len(pressures), abs=2e-4)


def test_gas_is_that_of_the_data(printed, ironmaking):
    """Ratios CO/CO2 against equilibrium constants of the data file, worked out by other code."""
    _, carbon, _, monoxide = tables(printed)
    boudouard = {"CO2": -1.0, "C(gr)": -1.0, "CO": 2.0}
    for T, row in carbon.items():
        if float(row["a(C)"]) == 1.0:
            K = 10 ** ironmaking.log10_K(boudouard, T)
            p_CO = (-K + (K * K + 4 * K) ** 0.5) / 2
            assert float(row["p(CO)/bar"]) == pytest.approx(p_CO, abs=1e-4)
    line = {"CO2": -1.0, "Fe(fcc)": -0.947, "CO": 1.0, "Fe0.947O(wustite)": 1.0}
    for T in (1200.0, 1400.0, 1600.0):
        K = 10 ** ironmaking.log10_K(line, T)
        assert float(monoxide[T]["CO/CO2"]) == pytest.approx(K, rel=3e-3)


def test_heat_balance(printed, ironmaking):
    """With 9 CO at 1000 K all iron is metal; the heat follows from the enthalpies alone."""
    _, _, phases, gas = tables(printed)
    assert float(phases[1000.0]["Fe(bcc)"]) == 2.0
    H = {
        name: ironmaking.find(name).H(T)
        for name, T in (("Fe(bcc)", 1000.0), ("CO2", 1000.0), ("Fe2O3(hematite)", 298.15))
    }
    CO_hot, CO_cold = (ironmaking.find("CO").H(T) for T in (1000.0, 298.15))
    heat = 2 * H["Fe(bcc)"] + 3 * H["CO2"] + 6 * CO_hot - H["Fe2O3(hematite)"] - 9 * CO_cold
    assert float(gas[1000.0]["heat/kJ"]) == pytest.approx(heat / 1000.0, abs=0.06)


def test_readme_shows_what_it_prints(printed):
    text = (ROOT / "README.md").read_text(encoding="utf-8")
    shown = [
        line
        for block in re.findall(r"^```text\n(.*?)^```$", text, re.M | re.S)
        for line in block.splitlines()
    ]
    assert shown
    assert set(shown) <= set(printed.splitlines())
