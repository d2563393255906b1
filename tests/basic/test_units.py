"""Units: what they apply to and what they leave alone."""

from math import log

import pytest

from tessara.core import (
    AmountUnit,
    EnergyUnit,
    PressureUnit,
    Quantity,
    TemperatureUnit,
    TessaraError,
    VolumeUnit,
)

# The engine's unit in each of them, by definition.
PASCAL = {
    "bar": 1e-5, "Pa": 1.0, "kPa": 1e-3, "MPa": 1e-6, "atm": 1 / 101325,
    "psi": 1 / 6894.757293168, "torr": 760 / 101325,
}  # fmt: skip
CUBIC_METRE = {
    "dm3": 1e3, "m3": 1.0, "cm3": 1e6, "ft3": 1 / 0.028316846592, "in3": 1 / 1.6387064e-5,
}  # fmt: skip
JOULE = {
    "J": 1.0, "kJ": 1e-3, "MJ": 1e-6, "cal": 1 / 4.184, "kcal": 1 / 4184.0,
    "BTU": 1 / 1055.05585262, "kWh": 1 / 3.6e6,
}  # fmt: skip
GRAM = {"gram": 1.0, "kg": 1e-3, "tonne": 1e-6, "pound": 1 / 453.59237}


@pytest.fixture
def gas_only(lab, dat):
    """Two moles of an ideal gas of constant heat capacity at 1000 K and 2 bar."""
    lab.load(dat({"A": 10.0}).gas("GAS", ("A", [1], [1000.0, 50.0, -30.0])))
    lab.set("T", 1000.0)
    lab.set("P", 2.0)
    lab.put_in(A=2.0)
    lab.calculate()
    return lab


def test_start(hx):
    assert hx.hxgsu(Quantity.Pressure) is PressureUnit.bar
    assert hx.hxgsu(Quantity.Volume) is VolumeUnit.dm3
    assert hx.hxgsu(Quantity.Temperature) is TemperatureUnit.K
    assert hx.hxgsu(Quantity.Energy) is EnergyUnit.J
    assert hx.hxgsu(Quantity.Amount) is AmountUnit.mol


def test_unit_of_another_quantity_is_refused(hx):
    with pytest.raises(TessaraError) as caught:
        hx.hxcsu(Quantity.Volume, PressureUnit.bar)
    assert str(caught.value) == (
        "hxcsu: bar is not a unit of volume; use one of dm3, m3, cm3, ft3, in3"
    )
    assert hx.hxgsu(Quantity.Volume) is VolumeUnit.dm3


@pytest.mark.parametrize("unit", PressureUnit)
def test_pressure(hx, gas_only, unit):
    hx.hxcsu(Quantity.Pressure, unit)
    assert gas_only.get("P") == pytest.approx(2e5 * PASCAL[unit.name], rel=1e-15)


@pytest.mark.parametrize("unit", VolumeUnit)
def test_volume(hx, gas_only, unit, r_gas):
    hx.hxcsu(Quantity.Volume, unit)
    volume = 2.0 * r_gas * 1000.0 / 2e5 * CUBIC_METRE[unit.name]
    assert gas_only.get("VT") == pytest.approx(volume, rel=1e-14)
    assert gas_only.get("V") == gas_only.get("VT")
    assert gas_only.get("V", 0) == pytest.approx(volume, rel=1e-14)
    assert gas_only.get("VM", 0, 0) == pytest.approx(volume / 2.0, rel=1e-14)


@pytest.mark.parametrize(
    ("unit", "value", "degrees"), [("K", 1000.0, 1.0), ("C", 726.85, 1.0), ("F", 1340.33, 1.8)]
)
def test_temperature_and_entropy(hx, gas_only, r_gas, unit, value, degrees):
    hx.hxcsu(Quantity.Temperature, TemperatureUnit[unit])
    assert gas_only.get("T") == pytest.approx(value, rel=1e-15)
    # Per degree of the unit: a difference of temperatures has no offset.
    entropy = -50.0 + 30.0 * (1 + log(1000.0)) - r_gas * log(2.0)
    assert gas_only.get("S") == pytest.approx(2.0 * entropy / degrees, rel=1e-14)
    assert gas_only.get("CP") == pytest.approx(2.0 * 30.0 / degrees, rel=1e-14)
    assert gas_only.get("CPM", 0) == pytest.approx(30.0 / degrees, rel=1e-14)
    assert gas_only.get("SM", 0, 0) == pytest.approx(entropy / degrees, rel=1e-14)


@pytest.mark.parametrize("unit", EnergyUnit)
def test_energy(hx, gas_only, unit, r_gas):
    hx.hxcsu(Quantity.Energy, unit)
    enthalpy = 1000.0 + 30.0 * 1000.0
    entropy = -50.0 + 30.0 * (1 + log(1000.0)) - r_gas * log(2.0)
    gibbs = enthalpy - 1000.0 * entropy
    factor = JOULE[unit.name]
    assert gas_only.get("H") == pytest.approx(2.0 * enthalpy * factor, rel=1e-13)
    assert gas_only.get("HM", 0) == pytest.approx(enthalpy * factor, rel=1e-13)
    assert gas_only.get("G", 0) == pytest.approx(2.0 * gibbs * factor, rel=1e-13)
    assert gas_only.get("MU", 0, 0) == pytest.approx(gibbs * factor, rel=1e-13)
    assert gas_only.get("S") == pytest.approx(2.0 * entropy * factor, rel=1e-13)


@pytest.mark.parametrize("unit", AmountUnit)
def test_molar_masses(hx, lab, gas_over_solid, unit):
    lab.load(gas_over_solid)
    hx.hxcsu(Quantity.Amount, unit)
    factor = {"mol": 1.0, **GRAM}[unit.name]  # g/mol under moles
    assert hx.hxstsc(1) == ([0.0, 1.0], pytest.approx(40.0 * factor, rel=1e-15))
    assert hx.hxstpc(0, 0) == ([1.0, 0.0], pytest.approx(10.0 * factor, rel=1e-15))


@pytest.mark.parametrize("unit", list(GRAM))
def test_amounts_are_masses_under_a_unit_of_mass(hx, lab, saturated, unit):
    hx.hxcsu(Quantity.Amount, AmountUnit[unit])
    factor = GRAM[unit]
    mass_gas = (10.0 * saturated.n_a + 40.0 * 0.5) * factor
    mass_solid = 10.0 * saturated.n_solid * factor

    def amount(*place):
        return lab.get("A", *place)

    assert amount(0) == pytest.approx(mass_gas, rel=1e-13)
    assert amount(1) == pytest.approx(mass_solid, rel=1e-13)
    assert amount() == pytest.approx(mass_gas + mass_solid, rel=1e-13)
    assert amount(*lab.pc("GAS", "A")) == pytest.approx(10.0 * saturated.n_a * factor, rel=1e-13)
    assert amount(-1, 0) == pytest.approx(10.0 * factor, rel=1e-14)
    assert amount(-1, 1) == pytest.approx(20.0 * factor, rel=1e-14)
    assert lab.get("AP", 0, 1) == pytest.approx(20.0 * factor, rel=1e-13)
    assert lab.get("IA", -1, 1) == pytest.approx(20.0 * factor, rel=1e-15)


def test_fractions_are_mass_fractions_under_a_unit_of_mass(hx, lab, saturated):
    hx.hxcsu(Quantity.Amount, AmountUnit.pound)
    share = 10.0 * saturated.x / (10.0 * saturated.x + 40.0 * (1 - saturated.x))
    assert lab.get("X", *lab.pc("GAS", "A")) == pytest.approx(share, rel=1e-13)
    assert lab.get("XP", 0, 0) == pytest.approx(share, rel=1e-13)
    assert lab.get("X", *lab.sc("A")) == pytest.approx(10.0 / 30.0, rel=1e-14)
    mass_gas = 10.0 * saturated.n_a + 20.0
    assert lab.get("X", 0) == pytest.approx(mass_gas / 30.0, rel=1e-13)


def test_values_per_amount_are_per_mass_under_a_unit_of_mass(hx, lab, saturated):
    hx.hxcsu(Quantity.Amount, AmountUnit.kg)
    assert lab.get("HM", 1) == pytest.approx(saturated.solid.h / 0.010, rel=1e-13)
    assert lab.get("HM", *lab.pc("GAS", "B")) == pytest.approx(saturated.b.h / 0.040, rel=1e-13)
    enthalpy = (
        saturated.n_solid * saturated.solid.h + saturated.n_a * saturated.a.h + 0.5 * saturated.b.h
    )
    assert lab.get("H") == pytest.approx(enthalpy, rel=1e-13)
    assert lab.get("HM") == pytest.approx(enthalpy / 0.030, rel=1e-13)


def test_potentials_stay_per_mole_under_every_unit(hx, lab, saturated):
    places = [lab.sc("A"), lab.pc("GAS", "B"), (0, -1), (1, -1)]
    before = [lab.get("MU", *place) for place in places]
    hx.hxcsu(Quantity.Amount, AmountUnit.kg)
    assert [lab.get("MU", *place) for place in places] == before


def test_activities_do_not_depend_on_units(hx, lab, saturated):
    places = [lab.sc("A"), lab.pc("GAS", "A"), lab.pc("GAS", "B"), (0, -1), (2, -1)]
    before = [lab.get("AC", *place) for place in places]
    hx.hxcsu(Quantity.Pressure, PressureUnit.psi)
    hx.hxcsu(Quantity.Amount, AmountUnit.tonne)
    hx.hxcsu(Quantity.Energy, EnergyUnit.BTU)
    hx.hxcsu(Quantity.Temperature, TemperatureUnit.F)
    assert [lab.get("AC", *place) for place in places] == before


def test_conditions_keep_their_state_when_units_change(hx, lab, gas_over_solid):
    lab.load(gas_over_solid)
    hx.hxcsu(Quantity.Temperature, TemperatureUnit.C)
    hx.hxcsu(Quantity.Pressure, PressureUnit.atm)
    hx.hxcsu(Quantity.Amount, AmountUnit.gram)
    lab.set("T", 726.85)
    lab.set("P", 3.0)
    lab.put_in(A=10.0, B=20.0)
    hx.hxcsu(Quantity.Temperature, TemperatureUnit.K)
    hx.hxcsu(Quantity.Pressure, PressureUnit.Pa)
    hx.hxcsu(Quantity.Amount, AmountUnit.mol)
    assert lab.get("IA", *lab.sc("A")) == pytest.approx(1.0, rel=1e-15)
    assert lab.get("IA", *lab.sc("B")) == pytest.approx(0.5, rel=1e-15)
    lab.calculate()
    assert lab.get("T") == pytest.approx(1000.0, rel=1e-15)
    assert lab.get("P") == pytest.approx(3 * 101325.0, rel=1e-15)
    assert lab.get("A", *lab.sc("B")) == pytest.approx(0.5, rel=1e-15)


def test_target_fraction_stays_a_mole_fraction(hx, lab, gas_over_solid):
    lab.load(gas_over_solid)
    hx.hxcsu(Quantity.Amount, AmountUnit.kg)
    lab.set("XT", 0.25, lab.pc("GAS", "B"))
    hx.hxcsu(Quantity.Amount, AmountUnit.mol)
    assert "  XT of GAS : B       1   0.25\n" in lab.listing(hx.hxshow)


def test_given_potential_is_per_mole(hx, lab, gas_over_solid, saturated):
    mu = lab.get("MU", *lab.pc("GAS", "B"))
    lab.load(gas_over_solid)
    hx.hxcsu(Quantity.Amount, AmountUnit.kg)
    hx.hxcsu(Quantity.Energy, EnergyUnit.kJ)
    lab.set("T", saturated.t)
    lab.set("P", saturated.p)
    lab.put_in(A=0.010)
    lab.set("MU", mu / 1000.0, lab.sc("B"))
    lab.calculate()
    assert lab.get("AC", *lab.pc("GAS", "B")) == pytest.approx(saturated.p_b, rel=1e-12)


def test_results_follow_the_units_at_the_time_of_asking(hx, lab, saturated):
    kelvin = lab.get("T")
    hx.hxcsu(Quantity.Temperature, TemperatureUnit.C)
    assert lab.get("T") == pytest.approx(726.85, rel=1e-15)
    hx.hxcsu(Quantity.Temperature, TemperatureUnit.K)
    assert lab.get("T") == kelvin == 1000.0
