"""Times of the class interface over the package's own library. Run by `make benchmark`."""

import pytest
from split_times import shares, split

import tessara.data
from tessara import basic
from tessara.friendly import EquilibriumCalculation, ResultVariable, ThermochemicalSystem

FURNACE = {
    ("Fe2O3(hematite)", "Fe2O3(hematite)"): 1.0,
    ("C(gr)", "C(gr)"): 2.5,
    ("CaCO3(calcite)", "CaCO3(calcite)"): 0.3,
    ("GAS", "N2"): 2.0,
    ("GAS", "O2"): 0.4,
}
TEMPERATURES = [800.0 + 60.0 * k for k in range(20)]


@pytest.fixture
def furnace():
    ThermochemicalSystem.load(tessara.data.path("ironmaking"))
    EquilibriumCalculation.set_eq_T(1250.0)
    for place, amount in FURNACE.items():
        EquilibriumCalculation.set_IA_pc(*place, amount)
    EquilibriumCalculation.calculate_eq()


def test_load(benchmark):
    benchmark(ThermochemicalSystem.load, tessara.data.path("ironmaking"))


def test_get_eq_A_pc(benchmark, furnace):
    benchmark(EquilibriumCalculation.get_eq_A_pc, "GAS", "CO")


def test_hxgetr_behind_it(benchmark, furnace):
    co = ThermochemicalSystem.get_index_pc("GAS", "CO")
    benchmark(basic.hxgetr, ResultVariable.A, 0, co)


def test_get_eq_A_pcs(benchmark, furnace):
    benchmark(EquilibriumCalculation.get_eq_A_pcs)


def test_set_eq_T(benchmark, furnace):
    benchmark(EquilibriumCalculation.set_eq_T, 1250.0)


@pytest.mark.parametrize("estimate", [False, True], ids=["cold", "warm"])
def test_twenty_temperatures(benchmark, furnace, estimate):
    """Twenty equilibria: divide by 20 for the time per point."""

    def sweep():
        for T in TEMPERATURES:
            EquilibriumCalculation.set_eq_T(T)
            EquilibriumCalculation.calculate_eq(False, estimate)

    benchmark(sweep)


def test_get_str_inputs(benchmark, furnace):
    benchmark(EquilibriumCalculation.get_str_inputs)


def test_get_result_object(benchmark, furnace, show):
    """Over this package's own library; the loop that replays the calls counts for the calls."""

    def replay(calls):
        for function, arguments in calls:
            function(*arguments)

    make = EquilibriumCalculation.get_result_object
    benchmark(make)
    count = ThermochemicalSystem.get_count_pcs()
    show(shares(f"result of {count} constituents", split(make, replay)))
