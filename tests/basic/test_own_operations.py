"""The operations of its own: certificate, composition sets, options, standard data."""

from math import exp, isnan, log

import pytest

from tessara.core import (
    AmountUnit,
    ConfigurationOption,
    EnergyUnit,
    PhaseConstituentData,
    Quantity,
    TemperatureUnit,
    TessaraError,
)


def test_certificate_holds_residuals_within_their_bounds(hx, lab, saturated):
    found = hx.certificate()
    for name in ("balance", "potential", "driving_force"):
        assert 0.0 <= found[name] <= found[f"{name}_bound"]
    assert found["balance_bound"] == 1e-12
    assert found["potential_bound"] == found["driving_force_bound"] == 1e-9
    assert type(found["iterations"]) is int


def test_certificate_names_the_nearest_absent_phase(hx, lab, saturated):
    found = hx.certificate()
    assert found["nearest_phase"] == 2
    force = (saturated.mu_b - 90000.0) / saturated.rt
    assert found["nearest_driving_force"] == pytest.approx(force, rel=1e-12)
    assert exp(found["nearest_driving_force"]) == pytest.approx(lab.get("AC", 2), rel=1e-12)


def test_certificate_without_an_absent_phase(hx, lab, dat):
    lab.load(dat({"A": 1.0}).pure("A(s)", [1], []))
    lab.set("T", 500.0)
    lab.put_in(A=1.0)
    lab.calculate()
    found = hx.certificate()
    assert found["nearest_phase"] is None
    assert found["nearest_driving_force"] is None


def test_certificate_is_a_new_dict_each_time(hx, lab, saturated):
    hx.certificate()["balance"] = 1.0
    assert hx.certificate()["balance"] < 1.0


def test_options_at_the_start(hx):
    assert hx.configuration(ConfigurationOption.ITERATION_LIMIT) == 30
    assert hx.configuration(ConfigurationOption.COMPOSITION_SETS) is True
    assert hx.configuration(ConfigurationOption.SAMPLING) == 1


@pytest.mark.parametrize(
    ("option", "value"),
    [
        (ConfigurationOption.ITERATION_LIMIT, 1),
        (ConfigurationOption.ITERATION_LIMIT, 1000),
        (ConfigurationOption.COMPOSITION_SETS, False),
        (ConfigurationOption.SAMPLING, 10),
    ],
)
def test_options_hold_until_they_are_put_back(hx, lab, gas_over_solid, option, value):
    usual = hx.configuration(option)
    for put_back in (hx.hxini, lambda: hx.hxremc(-2)):
        hx.configure(option, value)
        assert hx.configuration(option) == value
        assert type(hx.configuration(option)) is type(value)
        lab.load(gas_over_solid)
        assert hx.configuration(option) == value
        hx.hxremc(0)
        assert hx.configuration(option) == value
        put_back()
        assert hx.configuration(option) == usual


@pytest.mark.parametrize(
    ("option", "value", "words"),
    [
        ("ITERATION_LIMIT", 0, "a whole number from 1 to 1000, not 0"),
        ("ITERATION_LIMIT", 1001, "a whole number from 1 to 1000, not 1001"),
        ("ITERATION_LIMIT", True, "a whole number from 1 to 1000, not a bool"),
        ("SAMPLING", 11, "a whole number from 1 to 10, not 11"),
        ("SAMPLING", False, "a whole number from 1 to 10, not a bool"),
        ("COMPOSITION_SETS", 1, "True or False, not an int"),
    ],
)
def test_options_refuse_what_they_cannot_be(hx, option, value, words):
    with pytest.raises(TessaraError, match=f"the configuration option {option} must be {words}"):
        hx.configure(ConfigurationOption[option], value)
    assert hx.configuration(ConfigurationOption.ITERATION_LIMIT) == 30


def test_calculation_works_with_every_option(hx, lab, saturated):
    before = lab.get("A", 0)
    hx.configure(ConfigurationOption.SAMPLING, 5)
    hx.configure(ConfigurationOption.COMPOSITION_SETS, False)
    hx.configure(ConfigurationOption.ITERATION_LIMIT, 3)
    lab.calculate()
    assert lab.get("A", 0) == pytest.approx(before, rel=1e-14)


def datum(hx, place, name, *t):
    return hx.constituent_data(*place, PhaseConstituentData[name], *t)


@pytest.mark.parametrize("t", [300.0, 1000.0])
def test_standard_data_at_a_temperature(hx, lab, gas_over_solid, t):
    lab.load(gas_over_solid)
    for place, (a, b, c) in [
        (lab.pc("GAS", "B"), (5000.0, 40.0, -35.0)),
        (lab.pc("A(s)"), (-20000.0, 25.0, -25.0)),
    ]:
        h, s = a - c * t, -b - c * (1 + log(t))
        assert datum(hx, place, "H", t) == pytest.approx(h, rel=1e-14)
        assert datum(hx, place, "S", t) == pytest.approx(s, rel=1e-14)
        assert datum(hx, place, "CP", t) == pytest.approx(-c, rel=1e-14)
        assert datum(hx, place, "G", t) == pytest.approx(h - t * s, rel=1e-13)


def test_standard_data_are_at_room_temperature_where_none_is_given(hx, lab, gas_over_solid):
    lab.load(gas_over_solid)
    place = lab.pc("A(s)")
    h = datum(hx, place, "H", 298.15)
    hx.hxcsu(Quantity.Temperature, TemperatureUnit.C)
    for given in [datum(hx, place, "H"), datum(hx, place, "H", None), datum(hx, place, "H298")]:
        assert given == h
    assert datum(hx, place, "H298", 700.0) == h
    assert datum(hx, place, "H", 25.0) == pytest.approx(h, rel=1e-15)
    assert datum(hx, place, "S298") == pytest.approx(datum(hx, place, "S"), rel=1e-15)


def test_standard_data_are_in_the_units_in_force(hx, lab, gas_over_solid):
    lab.load(gas_over_solid)
    place = lab.pc("A(s)")
    cp, h = datum(hx, place, "CP"), datum(hx, place, "H")
    hx.hxcsu(Quantity.Energy, EnergyUnit.kJ)
    hx.hxcsu(Quantity.Amount, AmountUnit.kg)
    hx.hxcsu(Quantity.Temperature, TemperatureUnit.F)
    assert datum(hx, place, "H") == pytest.approx(h / 1000 / 0.010, rel=1e-14)
    assert datum(hx, place, "CP") == pytest.approx(cp / 1000 / 0.010 / 1.8, rel=1e-14)
    assert datum(hx, place, "T_MAX") == pytest.approx(6000 * 1.8 - 459.67, rel=1e-15)


def test_magnetic_data_of_pure_phases(hx, lab, dat):
    file = dat({"A": 1.0}).magnetic("A(mag)", [1], -900.0, 2.2).pure("A(s)", [1], [])
    lab.load(file.gas("GAS", ("A", [1], [])))
    hx.hxcsu(Quantity.Temperature, TemperatureUnit.C)
    assert datum(hx, lab.pc("A(mag)"), "TC") == -900.0  # as the file has it, in K
    assert datum(hx, lab.pc("A(mag)"), "BETA") == 2.2
    assert isnan(datum(hx, lab.pc("A(s)"), "TC"))
    assert isnan(datum(hx, lab.pc("A(s)"), "BETA"))
    with pytest.raises(TessaraError, match="mixture phases cannot be shown yet"):
        datum(hx, lab.pc("GAS", "A"), "TC")


@pytest.mark.parametrize("t", [0.0, -5.0, float("nan"), float("inf")])
def test_temperature_of_standard_data_must_be_one(hx, lab, gas_over_solid, t):
    lab.load(gas_over_solid)
    with pytest.raises(TessaraError, match="is not a finite one above absolute zero"):
        datum(hx, (0, 0), "H", t)
