"""States that are special: one compound, no gas, traces, potentials that stay open, all scales."""

import math

import pytest

from tessara import basic
from tessara.core import (
    AmountUnit,
    EnergyUnit,
    PressureUnit,
    Quantity,
    TemperatureUnit,
    TessaraError,
    VolumeUnit,
)
from tessara.friendly import EquilibriumCalculation

R = 8.314462618


def nearest(value, rel=1e-9):
    return pytest.approx(value, rel=rel)


@pytest.mark.parametrize("T", range(200, 6001, 200))
def test_two_hydrogen_and_one_oxygen(bench, ironmaking, T):
    """The exact compound: the species' equilibria with H2O and each other, at all temperatures."""
    bench.solve({"H2": 2.0, "O2": 1.0}, float(T))
    dissociation = {"H2O": -1.0, "H2": 1.0, "O2": 0.5}
    if bench.ph("A", "GAS") == 0.0:
        # One condensed compound leaves open what its components are worth.
        assert bench.stable() in (["H2O(ice)"], ["H2O(L)"])
        assert math.isnan(EquilibriumCalculation.get_eq_MU_sc("H"))
        assert bench.ph("A", bench.stable()[0]) == nearest(2.0)
        return
    log_K = sum(n * math.log(bench.pc("AC", name)) for name, n in dissociation.items())
    assert log_K == pytest.approx(
        ironmaking.log10_K(dissociation, T) * math.log(10), rel=1e-10, abs=1e-10
    )
    assert EquilibriumCalculation.get_eq_A_sc("H") == nearest(4.0, 1e-12)
    assert EquilibriumCalculation.get_eq_A_sc("O") == nearest(2.0, 1e-12)
    # The balance of what dissociation makes: twice as much hydrogen as oxygen besides the water.
    hydrogen = {"H2": 2.0, "H": 1.0}
    oxygen = {"O2": 4.0, "O": 2.0, "OH": 1.0, "HO2": 3.0, "H2O2": 2.0, "O3": 6.0}
    assert sum(n * bench.pc("A", name) for name, n in hydrogen.items()) == nearest(
        sum(n * bench.pc("A", name) for name, n in oxygen.items()), 1e-9
    )


def test_calcite_below_and_above_its_decomposition(bench, ironmaking, zero):
    reaction = {"CaCO3(calcite)": -1.0, "CaO(lime)": 1.0, "CO2": 1.0}
    limit = zero(lambda T: ironmaking.reaction("G", reaction, T), 1000.0, 1300.0)

    bench.solve({"CaCO3(calcite)": 1.0}, limit - 0.01)
    assert bench.stable() == ["CaCO3(calcite)"]
    assert bench.ph("A", "CaCO3(calcite)") == nearest(1.0, 1e-14)
    assert EquilibriumCalculation.get_eq_V() == 0.0
    assert math.isnan(bench.pc("MU", "CO2"))
    assert bench.pc("AC", "CaCO3(calcite)") == 1.0
    assert bench.pc("MU", "CaCO3(calcite)") == nearest(
        ironmaking.find("CaCO3(calcite)").G(limit - 0.01)
    )

    bench.solve({"CaCO3(calcite)": 1.0}, limit + 0.01)
    assert bench.stable() == ["GAS", "CaO(lime)"]
    assert bench.ph("A", "GAS") == nearest(1.0, 1e-5)  # a little CO and O2
    assert bench.ph("A", "CaO(lime)") == nearest(1.0, 1e-5)


def test_no_gas_forms_over_solid_iron_and_its_oxide(bench, ironmaking):
    bench.solve({"Fe(bcc)": 1.0, "Fe0.947O(wustite)": 1.0}, 1000.0)
    assert set(bench.stable()) == {"Fe0.947O(wustite)", "Fe(bcc)"}
    assert bench.ph("A", "GAS") == 0.0
    assert EquilibriumCalculation.get_eq_V() == 0.0
    # A gas species has its fugacity as activity where there is no gas.
    reaction = {"Fe(bcc)": -1.894, "O2": -1.0, "Fe0.947O(wustite)": 2.0}
    assert math.log10(bench.pc("AC", "O2")) == nearest(-ironmaking.log10_K(reaction, 1000.0))
    assert 0.0 < bench.ph("AC", "GAS") < 1.0


@pytest.mark.parametrize("exponent", range(-15, -1))
def test_amounts_of_a_trace(bench, exponent):
    """A trace of oxygen in hydrogen over iron: its water is as much as went in, digit by digit."""
    trace = 10.0**exponent
    bench.solve({"H2": 1.0, "O2": trace / 2, "Fe(fcc)": 1.0}, 1300.0)
    assert bench.pc("A", "H2O") == nearest(trace, 1e-6)
    # Activities go with it.
    ratio = bench.pc("AC", "H2O") / bench.pc("AC", "H2")
    assert ratio == nearest(trace / (1.0 - trace), 1e-5)


def test_component_without_an_amount(bench):
    bench.solve({"Fe(bcc)": 1.0, "O2": 0.3}, 1000.0)
    get = EquilibriumCalculation
    assert get.get_eq_A_sc("C") == 0.0
    assert math.isnan(get.get_eq_MU_sc("C"))
    assert math.isnan(get.get_eq_AC_sc("C"))
    assert bench.ph("A", "C(gr)") == 0.0
    assert bench.ph("AC", "C(gr)") == 0.0
    assert math.isnan(bench.ph("MU", "C(gr)"))
    assert math.isnan(bench.ph("HM", "C(gr)"))


FURNACE = {"Fe2O3(hematite)": 1.0, "C(gr)": 2.5, "CaCO3(calcite)": 0.3, "N2": 2.0, "O2": 0.4}
EXTENSIVE = ("H", "S", "G", "Cp", "V")


def state(bench):
    get = EquilibriumCalculation
    return {
        "extensive": [getattr(get, f"get_eq_{name}")() for name in EXTENSIVE],
        "amounts": get.get_eq_A_pcs(),
        "potentials": get.get_eq_MU_scs(),
        "activities": get.get_eq_AC_pcs(),
    }


@pytest.mark.parametrize("factor", [1e-12, 1e-6, 1e3, 1e9])
@pytest.mark.parametrize("T", [900.0, 1300.0, 1900.0])
def test_scaling_the_input_scales_the_amounts(bench, T, factor):
    bench.solve(FURNACE, T)
    one = state(bench)
    bench.solve({name: amount * factor for name, amount in FURNACE.items()}, T)
    other = state(bench)
    assert other["extensive"] == nearest([value * factor for value in one["extensive"]])
    assert other["amounts"] == pytest.approx(
        [value * factor for value in one["amounts"]], rel=1e-7, abs=1e-9 * factor * 1e-6
    )
    assert other["potentials"] == pytest.approx(one["potentials"], rel=1e-10, nan_ok=True)
    assert other["activities"] == pytest.approx(one["activities"], rel=1e-7)


@pytest.mark.parametrize("T", [900.0, 1300.0, 1900.0])
def test_order_of_the_input_and_an_estimate_do_not_matter(bench, T):
    bench.solve(FURNACE, T)
    one = state(bench)
    bench.solve(dict(reversed(FURNACE.items())), T)
    turned = state(bench)
    bench.solve(FURNACE, T + 40.0)
    bench.solve(FURNACE, T, estimate=True)
    warm = state(bench)
    for other in (turned, warm):
        assert other["extensive"] == nearest(one["extensive"])
        assert other["amounts"] == pytest.approx(one["amounts"], rel=1e-7, abs=1e-15)
        assert other["potentials"] == pytest.approx(one["potentials"], rel=1e-10, nan_ok=True)


def test_units_change_the_numbers_and_not_the_state(bench):
    bench.solve(FURNACE, 1273.15, 2.0)
    one = state(bench)
    heat, volume = EquilibriumCalculation.get_eq_H(), EquilibriumCalculation.get_eq_V()
    gas = bench.ph("A", "GAS")
    for quantity, unit in (
        (Quantity.Temperature, TemperatureUnit.C),
        (Quantity.Pressure, PressureUnit.atm),
        (Quantity.Energy, EnergyUnit.kWh),
        (Quantity.Volume, VolumeUnit.m3),
    ):
        basic.hxcsu(quantity, unit)
    bench.solve(FURNACE, 1000.0, 2.0 / 1.01325)
    assert EquilibriumCalculation.get_eq_H() == nearest(heat / 3.6e6)
    assert EquilibriumCalculation.get_eq_V() == nearest(volume / 1000.0)
    assert bench.ph("A", "GAS") == nearest(gas)
    assert EquilibriumCalculation.get_eq_T() == nearest(1000.0)
    assert EquilibriumCalculation.get_eq_P() == nearest(2.0 / 1.01325)
    assert EquilibriumCalculation.get_eq_AC_pcs() == pytest.approx(one["activities"], rel=1e-7)


def test_masses_in_place_of_moles(bench):
    basic.hxcsu(Quantity.Amount, AmountUnit.kg)
    bench.solve({"Fe2O3(hematite)": 0.159687, "C(gr)": 0.036033}, 1000.0)
    # All of the iron, 2 mol, is metal; the figures are the atomic weights of the file.
    assert bench.ph("A", "Fe(bcc)") == nearest(2 * 0.055845)
    basic.hxcsu(Quantity.Amount, AmountUnit.mol)
    assert bench.ph("A", "Fe(bcc)") == nearest(2.0)


def test_given_activity_opens_the_system(bench, ironmaking):
    """Iron under a given pressure of oxygen: metal below the line, oxidised above it."""
    reaction = {"Fe(fcc)": -1.894, "O2": -1.0, "Fe0.947O(wustite)": 2.0}
    line = 10.0 ** -ironmaking.log10_K(reaction, 1273.15)
    for factor, stable in ((0.99, "Fe(fcc)"), (1.01, "Fe0.947O(wustite)")):
        bench.solve({"Fe(bcc)": 1.0}, 1273.15)
        EquilibriumCalculation.set_eq_AC_pc("GAS", "O2", line * factor)
        EquilibriumCalculation.calculate_eq()
        assert bench.stable() == [stable]
        assert EquilibriumCalculation.get_eq_A_sc("Fe") == nearest(1.0)
        assert bench.pc("AC", "O2") == nearest(line * factor)


def test_given_potential_is_the_activity_of_the_same_state(bench):
    bench.solve({"Fe(bcc)": 1.0, "O2": 0.2}, 1200.0)
    mu = bench.pc("MU", "O2")
    bench.solve({"Fe(bcc)": 1.0}, 1200.0)
    EquilibriumCalculation.set_eq_MU_pc("GAS", "O2", mu - 1000.0)
    EquilibriumCalculation.calculate_eq()
    assert bench.pc("MU", "O2") == nearest(mu - 1000.0)
    assert bench.stable() == ["Fe(fcc)"]


def test_carbon_at_unit_activity_saturates_without_an_amount(bench):
    bench.solve({"Fe2O3(hematite)": 1.0}, 1300.0)
    EquilibriumCalculation.set_eq_AC_sc("C", 1.0)
    EquilibriumCalculation.calculate_eq()
    assert bench.pc("AC", "C(gr)") == nearest(1.0)
    assert bench.ph("A", "C(gr)") == 0.0
    assert EquilibriumCalculation.get_eq_A_sc("C") > 2.5


@pytest.mark.parametrize(
    ("inputs", "T", "words"),
    [
        ({}, 1000.0, "nothing goes into the system"),
        ({"Fe(bcc)": -1.0}, 1000.0, "negative"),
        ({"Fe(bcc)": 1.0}, -5.0, "temperature"),
    ],
)
def test_refusals_say_what_is_wrong_and_leave_the_library_usable(bench, inputs, T, words):
    with pytest.raises(TessaraError, match=words):
        bench.solve(inputs, T)
    bench.solve({"H2O": 1.0}, 1000.0)
    assert bench.stable() == ["GAS"]


def test_without_a_temperature(bench):
    EquilibriumCalculation.set_IA_pc("GAS", "H2O", 1.0)
    with pytest.raises(TessaraError, match="temperature"):
        EquilibriumCalculation.calculate_eq()
