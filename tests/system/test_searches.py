"""Searches, closed vessels and maps over the shipped file.

What is expected is worked out here from the functions of the file, by the tests' own evaluator, and
from balances of matter and energy; never by the solver.
"""

import contextlib
import math

import pytest
from dat_evaluator import DataFile, R, temperature_of_zero

import tessara.data
from tessara import basic
from tessara.core import ResultVariable, TargetReadingWarning, TessaraError
from tessara.friendly import (
    EquilibriumCalculation,
    PhaseMapCalculation,
    StreamCalculation,
    ThermochemicalSystem,
)

ICE, WATER, CALCITE, LIME = "H2O(ice)", "H2O(L)", "CaCO3(calcite)", "CaO(lime)"
BCC, FCC, IRON_L = "Fe(bcc)", "Fe(fcc)", "LIQUID_IRON"


@pytest.fixture(scope="module")
def data():
    return DataFile(tessara.data.path("ironmaking").read_text())


@pytest.fixture
def calculation(bench):
    """Puts amounts in by name; nothing else is given."""

    def calculation(**amounts):
        EquilibriumCalculation.remove_eq_conditions_all()
        for name, amount in amounts.items():
            EquilibriumCalculation.set_IA_pc(*bench.place(name), amount)
        return EquilibriumCalculation

    return lambda amounts: calculation(**amounts)


def melting(data):
    return temperature_of_zero(lambda T: data.reaction("G", {ICE: -1.0, WATER: 1.0}, T), 200, 300)


def boiling(data, P=1.0):
    """Of water at a pressure in bar; that the steam dissociates does not show."""
    return temperature_of_zero(
        lambda T: data.reaction("G", {WATER: -1.0, "H2O": 1.0}, T) + R * T * math.log(P), 250, 600
    )


# Maps.


def test_map_of_water_has_its_transitions(calculation, data):
    calculation({WATER: 2.0})
    results = PhaseMapCalculation.calculate_ph_txs_T(250.0, 400.0)
    assert [r.T for r in results] == pytest.approx(
        [250.0, melting(data), boiling(data), 400.0], rel=1e-8
    )
    # Seen from below: the phase that vanishes keeps its amount, the new one just forms.
    ice, liquid, boil, steam = results
    assert (ice.phs[ICE].A, liquid.phs[ICE].A, boil.phs[WATER].A) == (2.0, 2.0, 2.0)
    assert (0.0, pytest.approx(1.0, rel=1e-9)) == (liquid.phs[WATER].A, liquid.phs[WATER].AC)
    assert (0.0, pytest.approx(1.0, rel=1e-9)) == (boil.phs["GAS"].A, boil.phs["GAS"].AC)
    assert pytest.approx(2.0, rel=1e-9) == steam.phs["GAS"].A


@pytest.mark.parametrize("T", [300.0, 340.0, 373.0])
def test_map_over_pressure_has_the_vapour_pressure(calculation, data, T):
    calculation({WATER: 1.0}).set_eq_T(T)
    low, boil, high = PhaseMapCalculation.calculate_ph_txs_P(1e-4, 10.0)
    pressure = math.exp(-data.reaction("G", {WATER: -1.0, "H2O": 1.0}, T) / (R * T))
    assert pytest.approx(pressure, rel=1e-8) == boil.P
    # From the lower end the steam is what is there.
    assert pytest.approx(1.0, rel=1e-8) == boil.phs["GAS"].A
    assert boil.phs[WATER].A == 0.0
    assert (pytest.approx(1e-4), pytest.approx(10.0)) == (low.P, high.P)


def test_map_of_calcite_has_its_decomposition(calculation, data):
    calculation({CALCITE: 1.0})
    results = PhaseMapCalculation.calculate_ph_txs_T(900.0, 1400.0)
    at = temperature_of_zero(
        lambda T: data.reaction("G", {CALCITE: -1.0, LIME: 1.0, "CO2": 1.0}, T), 900, 1400
    )
    assert [r.T for r in results] == [900.0, pytest.approx(at, rel=1e-6), 1400.0]


def test_map_of_iron_has_its_allotropes(calculation, data):
    calculation({BCC: 1.0})
    results = PhaseMapCalculation.calculate_ph_txs_T(800.0, 2000.0)
    up = {BCC: -1.0, FCC: 1.0}
    expected = [
        temperature_of_zero(lambda T: data.reaction("G", up, T), 1100, 1300),
        temperature_of_zero(lambda T: data.reaction("G", up, T), 1500, 1800),
        temperature_of_zero(
            lambda T: data.reaction("G", {BCC: -1.0, "LIQUID_IRON:Fe": 1.0}, T), 1700, 1900
        ),
    ]
    assert [r.T for r in results[1:-1]] == pytest.approx(expected, rel=1e-6)


def test_map_without_a_transition_has_its_ends(calculation):
    calculation({WATER: 1.0})
    assert [r.T for r in PhaseMapCalculation.calculate_ph_txs_T(280.0, 360.0)] == [280.0, 360.0]


@pytest.mark.parametrize("width", [1e-1, 1e-2, 1e-3])
def test_window_of_liquid_water_is_found(calculation, data, width):
    """Near the triple point liquid water is stable between two temperatures close together."""
    # At low pressures ice sublimes; the pressure at which the window has this width is worked out.
    melts = melting(data)
    pressure = math.exp(
        -data.reaction("G", {WATER: -1.0, "H2O": 1.0}, melts + width) / (R * (melts + width))
    )
    calculation({WATER: 1.0}).set_eq_P(pressure)
    results = PhaseMapCalculation.calculate_ph_txs_T(200.0, 400.0)
    assert [r.T for r in results[1:-1]] == pytest.approx(
        [melts, melts + width], rel=1e-7, abs=1e-5 * width
    )


def test_map_over_amounts_finds_where_carbon_begins(calculation, data):
    """Carbon into CO2: graphite forms when the gas is saturated."""
    T = 1000.0
    calculation({"CO2": 1.0}).set_eq_T(T)
    amount = PhaseMapCalculation.IA_range("C(gr)", None, 0.0, 2.0)
    results = PhaseMapCalculation.calculate_ph_txs_IA([amount])
    assert len(results) == 3
    K = 10 ** data.log10_K({"CO2": -1.0, "C(gr)": -1.0, "CO": 2.0}, T)
    # p(CO)^2 / p(CO2) = K and their sum is 1 bar, but for traces.
    p = (-K + math.sqrt(K * K + 4 * K)) / 2
    carbon = 1.0 - 2 * (1 - p) / (2 * (1 - p) + p)
    dissolved = carbon / (1 - carbon) * 1.0
    at = results[1]
    taken = next(ia.A for ia in at.IAs if getattr(ia, "ph", "") == "C(gr)")
    ratio = (1 + taken) / 2.0
    assert ratio == pytest.approx(1.0 / (p + 2 * (1 - p)), rel=1e-5)
    assert dissolved > 0
    assert at.phs["C(gr)"].A == 0.0


def test_further_points_of_a_map_need_a_map(bench):
    from tessara.core import PhaseMapVariable

    for variable in (PhaseMapVariable.TN, PhaseMapVariable.PN, PhaseMapVariable.IAN):
        with pytest.raises(TessaraError, match="no map over"):
            basic.hxmap(variable, -1, -1, [0.0, 1.0])


def test_map_is_closed_by_a_condition(calculation):
    from tessara.core import PhaseMapVariable

    calculation({WATER: 1.0})
    basic.hxmap(PhaseMapVariable.TF, -1, -1, [250.0, 400.0])
    with pytest.raises(TessaraError, match="no map over"):
        basic.hxmap(PhaseMapVariable.PN, -1, -1, [250.0, 400.0])
    assert basic.hxmap(PhaseMapVariable.TN, -1, -1, [250.0, 400.0]) is True
    basic.hxgetr(ResultVariable.T, -1, -1)
    assert basic.hxmap(PhaseMapVariable.TN, -1, -1, [250.0, 400.0]) is True
    EquilibriumCalculation.set_eq_P(1.0)
    with pytest.raises(TessaraError, match="no map over"):
        basic.hxmap(PhaseMapVariable.TN, -1, -1, [250.0, 400.0])


def test_map_has_its_lower_end_first(calculation):
    calculation({WATER: 1.0})
    with pytest.raises(TessaraError, match="the lower end comes first"):
        PhaseMapCalculation.calculate_ph_txs_T(400.0, 300.0)


# Properties given, with T, P or V to be found.


@pytest.mark.parametrize("share", [0.0, 0.25, 0.9])
@pytest.mark.parametrize("guess", [260.0, 372.0, 2000.0])
def test_enthalpy_between_water_and_steam(calculation, data, share, guess):
    """The temperature is that of the transition, the amounts follow from the balance."""
    T = boiling(data)
    H = (1 - share) * data.find(WATER).H(T) + share * data.find("H2O").H(T)
    calculation({WATER: 1.0}).set_eq_H(H)
    found = EquilibriumCalculation.calculate_eq_T(guess)
    assert found == pytest.approx(T, rel=1e-8)
    assert EquilibriumCalculation.get_eq_A_ph("GAS") == pytest.approx(share, abs=1e-8)
    # Where no steam is left T alone decides, and between neighbours of T the function of water
    # jumps by its rounding: its terms are 1e4 times their sum.
    water = data.find(WATER).H
    jump = max(abs(water(T * (1 + k * 2.0**-52)) - water(T)) for k in range(-50, 51))
    rounding = jump if share == 0.0 else 0.0
    assert EquilibriumCalculation.get_eq_H() == pytest.approx(H, rel=1e-12, abs=rounding)
    residuals = basic.certificate()
    assert residuals["balance"] <= residuals["balance_bound"]


@pytest.mark.parametrize("T", [320.0, 500.0, 1500.0])
@pytest.mark.parametrize("variable", ["H", "S", "G"])
def test_property_of_nitrogen_gives_its_temperature_back(calculation, data, T, variable):
    value = getattr(data.find("N2"), variable)(T)
    calculation({"N2": 1.0})
    getattr(EquilibriumCalculation, f"set_eq_{variable}")(value)
    assert EquilibriumCalculation.calculate_eq_T(1000.0) == pytest.approx(T, rel=1e-6)
    assert getattr(EquilibriumCalculation, f"get_eq_{variable}")() == pytest.approx(
        value, rel=1e-12
    )


def test_entropy_gives_the_pressure(calculation, data):
    T, P = 800.0, 3.7e-3
    S = data.find("N2").S(T) - R * math.log(P)
    calculation({"N2": 1.0}).set_eq_T(T)
    EquilibriumCalculation.set_eq_S(S)
    assert EquilibriumCalculation.calculate_eq_P(1.0) == pytest.approx(P, rel=1e-9)


def test_pressure_interval_has_its_ends_in_either_order(calculation, data):
    from tessara.core import TargetVariable

    T, P = 800.0, 0.5
    calculation({"N2": 1.0}).set_eq_T(T)
    EquilibriumCalculation.set_eq_S(data.find("N2").S(T) - R * math.log(P))
    for interval in ([0.01, 10.0], [10.0, 0.01]):
        basic.hxce(TargetVariable.P, -1, -1, interval)
        assert basic.hxgetr(ResultVariable.P, -1, -1) == pytest.approx(P, rel=1e-9)


def test_conditions_are_as_before_a_search(calculation, data):
    calculation({WATER: 1.0}).set_eq_T(350.0)
    EquilibriumCalculation.set_eq_H(data.find(WATER).H(300.0))
    EquilibriumCalculation.calculate_eq_T(310.0)
    EquilibriumCalculation.calculate_eq()
    assert EquilibriumCalculation.get_eq_T() == 350.0


def test_value_that_no_state_has_is_told_with_the_nearest_miss(calculation):
    calculation({WATER: 1.0}).set_eq_H(-1e9)
    with pytest.raises(TessaraError, match=r"no state meets H of the system = -1e\+09 J.*nearest"):
        EquilibriumCalculation.calculate_eq_T(300.0)


def test_several_requirements_are_named_with_their_numbers(calculation):
    calculation({WATER: 1.0}).set_eq_H(-3e5)
    EquilibriumCalculation.set_eq_S(100.0)
    with pytest.raises(TessaraError, match=r"are 2: H of the system .number 2.*S of the system"):
        EquilibriumCalculation.calculate_eq_T(300.0)


def test_amount_of_a_phase_is_reached(calculation, data):
    """A quarter of the calcite is left: it decomposes as far as the pressure lets it."""
    T = 1100.0
    calculation({CALCITE: 1.0, "N2": 1.0}).set_eq_T(T)
    EquilibriumCalculation.set_eq_A_ph(CALCITE, 0.25)
    P = EquilibriumCalculation.calculate_eq_P(1.0)
    K = 10 ** data.log10_K({CALCITE: -1.0, LIME: 1.0, "CO2": 1.0}, T)
    # 0.75 mol of CO2 in 1.75 mol of gas, but for its dissociation.
    assert pytest.approx(K * 1.75 / 0.75, rel=1e-4) == P
    assert EquilibriumCalculation.get_eq_A_ph(CALCITE) == pytest.approx(0.25, rel=1e-10)


def test_listing_of_a_search_says_what_it_has_met(calculation, data, capsys):
    calculation({WATER: 1.0}).set_eq_T(350.0)
    EquilibriumCalculation.set_eq_H(data.find(WATER).H(320.0))
    EquilibriumCalculation.calculate_eq_T(310.0, True)
    listing = capsys.readouterr().out
    assert "Met by the search: H of the system (3)." in listing
    assert "Not used" not in listing
    EquilibriumCalculation.calculate_eq(print_results=True)
    listing = capsys.readouterr().out
    assert "Not used, as the calculation has no target variable: H of the system (3)." in listing
    assert "Met by" not in listing


# Targets.


def test_formation_of_water_from_steam(calculation, data):
    calculation({"H2O": 1.0, "N2": 3.0}).set_target_formation_of_ph(WATER)
    T = EquilibriumCalculation.calculate_eq_T(600.0)
    assert pytest.approx(boiling(data, 0.25), rel=1e-7) == T
    assert EquilibriumCalculation.get_eq_A_ph(WATER) == 0.0
    assert EquilibriumCalculation.get_eq_AC_ph(WATER) == pytest.approx(1.0, rel=1e-9)


def test_formation_searched_over_pressure_and_volume(calculation, data):
    T = 330.0
    pressure = math.exp(-data.reaction("G", {WATER: -1.0, "H2O": 1.0}, T) / (R * T))
    calculation({"H2O": 1.0, "N2": 3.0}).set_eq_T(T)
    EquilibriumCalculation.set_target_formation_of_ph(WATER)
    assert EquilibriumCalculation.calculate_eq_P(0.01) == pytest.approx(4 * pressure, rel=1e-7)
    V = EquilibriumCalculation.calculate_eq_V(100.0)
    assert pytest.approx(4 * R * T / (4 * pressure * 1e5) * 1e3, rel=1e-7) == V


def test_precipitation_from_a_phase(calculation, data):
    calculation({WATER: 1.0}).set_target_precipitation_from_ph(WATER)
    T = EquilibriumCalculation.calculate_eq_T(300.0)
    assert pytest.approx(melting(data), rel=1e-8) == T
    T = EquilibriumCalculation.calculate_eq_T(360.0)
    assert pytest.approx(boiling(data), rel=1e-8) == T


def test_activity_of_carbon_in_a_gas(calculation, data):
    calculation({"CO": 1.0, "CO2": 1.0}).set_target_AC_pc("C(gr)", "C(gr)", 0.02)
    T = EquilibriumCalculation.calculate_eq_T(1500.0)
    # 2 CO = C + CO2 with half a bar of each, but for oxygen.
    expected = temperature_of_zero(
        lambda T: (
            data.log10_K({"CO": -2.0, "C(gr)": 1.0, "CO2": 1.0}, T) - math.log10(0.02 * 0.5 / 0.25)
        ),
        900,
        1500,
    )
    assert pytest.approx(expected, rel=1e-4) == T
    assert EquilibriumCalculation.get_eq_AC_pc("C(gr)", "C(gr)") == pytest.approx(0.02, rel=1e-9)


def test_fraction_in_a_gas(calculation):
    calculation({"CO": 1.0, "CO2": 1.0, "C(gr)": 1.0})
    with contextlib.suppress(TargetReadingWarning):
        EquilibriumCalculation.set_target_XT_pc("GAS", "CO", 0.9)
    T = EquilibriumCalculation.calculate_eq_T(1000.0)
    fraction = EquilibriumCalculation.get_eq_A_pc("GAS", "CO") / EquilibriumCalculation.get_eq_A_ph(
        "GAS"
    )
    assert fraction == pytest.approx(0.9, rel=1e-10)
    assert 900.0 < T < 1300.0


def test_amounts_move_together_along_a_line(calculation):
    """H2 and half as much O2 into nitrogen, until the gas holds a tenth of steam."""
    calculation({"N2": 1.0}).set_eq_T(700.0)
    with pytest.warns(TargetReadingWarning):
        EquilibriumCalculation.set_target_XT_pc("GAS", "H2O", 0.1)
    found = EquilibriumCalculation.calculate_eq_IA(
        [("GAS", "H2", 0.0, 4.0), ("GAS", "O2", 0.0, 2.0)]
    )
    (_, _, hydrogen), (_, _, oxygen) = found
    assert hydrogen == pytest.approx(2 * oxygen, rel=1e-14)
    assert hydrogen == pytest.approx(1 / 9, rel=1e-6)


def test_range_of_amounts_is_told_when_nothing_in_it_will_do(calculation):
    calculation({"N2": 1.0}).set_eq_T(700.0)
    with pytest.warns(TargetReadingWarning):
        EquilibriumCalculation.set_target_XT_pc("GAS", "H2O", 0.99)
    with pytest.raises(TessaraError, match="no state meets XT of"):
        EquilibriumCalculation.calculate_eq_IA([("GAS", "H2", 0.0, 1.0)])


# Closed vessels.


@pytest.mark.parametrize("V", [1e-3, 1.0, 1e6, 1e300])
@pytest.mark.parametrize("T", [300.0, 2000.0])
def test_inert_gas_in_a_vessel(calculation, T, V):
    calculation({"N2": 2.0}).set_eq_T(T)
    EquilibriumCalculation.set_eq_VT(V)
    EquilibriumCalculation.calculate_eq()
    assert EquilibriumCalculation.get_eq_P() == pytest.approx(2 * R * T / V * 1e-2, rel=1e-6)
    assert EquilibriumCalculation.get_eq_VT() == pytest.approx(V, rel=1e-12)


@pytest.mark.parametrize("V", [0.5, 10.0, 50.0])
def test_water_in_a_vessel_has_its_vapour_pressure(calculation, data, V):
    T = 350.0
    calculation({WATER: 1.0}).set_eq_T(T)
    EquilibriumCalculation.set_eq_VT(V)
    EquilibriumCalculation.calculate_eq()
    pressure = math.exp(-data.reaction("G", {WATER: -1.0, "H2O": 1.0}, T) / (R * T))
    steam = pressure * 1e5 * V * 1e-3 / (R * T)
    assert EquilibriumCalculation.get_eq_P() == pytest.approx(pressure, rel=1e-8)
    assert EquilibriumCalculation.get_eq_A_ph("GAS") == pytest.approx(steam, rel=1e-8)
    assert EquilibriumCalculation.get_eq_A_ph(WATER) == pytest.approx(1 - steam, rel=1e-8)


def test_explosion_in_a_vessel(calculation, data):
    """At given internal energy, as H - P V: both T and P come out."""
    calculation({"N2": 1.0})
    EquilibriumCalculation.set_eq_VT(10.0)
    S = data.find("N2").S(600.0) - R * math.log(R * 600.0 / 10.0 * 1e-2)
    EquilibriumCalculation.set_eq_S(S)
    assert EquilibriumCalculation.calculate_eq_T(300.0) == pytest.approx(600.0, rel=1e-6)
    assert EquilibriumCalculation.get_eq_VT() == pytest.approx(10.0, rel=1e-12)


# Streams.


def heat_of(data, moles, T):
    return data.reaction("H", moles, T)


@pytest.fixture
def streams(bench):
    StreamCalculation.remove_sts()
    StreamCalculation.streams.clear()

    def put(name, T, amounts, P=1.0):
        StreamCalculation.create_st(name, T, P)
        for place, amount in amounts.items():
            StreamCalculation.set_IA_pc(name, *bench.place(place), amount)

    yield put
    StreamCalculation.streams.clear()


def test_streams_bring_their_enthalpy(streams, data):
    streams("gas", 500.0, {"CO": 2.0, "N2": 1.0})
    assert StreamCalculation.get_st_H("gas") == pytest.approx(
        heat_of(data, {"CO": 2.0, "N2": 1.0}, 500.0), rel=1e-12
    )
    # Mixing adds to the entropy of ideal gases.
    mixing = -R * (2 * math.log(2 / 3) + math.log(1 / 3))
    assert StreamCalculation.get_st_S("gas") == pytest.approx(
        data.reaction("S", {"CO": 2.0, "N2": 1.0}, 500.0) + mixing, rel=1e-7
    )
    assert StreamCalculation.get_st_V("gas") == pytest.approx(3 * R * 500.0 / 1e5 * 1e3, rel=1e-6)


def test_heating_is_the_change_of_enthalpy(streams, data):
    streams("cold", 300.0, {"N2": 1.0})
    streams("warm", 700.0, {"N2": 2.0})
    StreamCalculation.set_eq_T(900.0)
    StreamCalculation.calculate_eq()
    expected = (
        heat_of(data, {"N2": 3.0}, 900.0)
        - heat_of(data, {"N2": 1.0}, 300.0)
        - heat_of(data, {"N2": 2.0}, 700.0)
    )
    assert StreamCalculation.get_eq_H() == pytest.approx(expected, rel=1e-9)


def test_adiabatic_mixing_of_nitrogen(streams, data):
    streams("cold", 300.0, {"N2": 1.0})
    streams("warm", 900.0, {"N2": 2.0})
    StreamCalculation.set_eq_H(0.0)
    StreamCalculation.calculate_eq_T(400.0)
    brought = heat_of(data, {"N2": 1.0}, 300.0) + heat_of(data, {"N2": 2.0}, 900.0)
    expected = temperature_of_zero(lambda T: heat_of(data, {"N2": 3.0}, T) - brought, 300, 900)
    assert StreamCalculation.get_eq_T() == pytest.approx(expected, rel=1e-8)


def test_adiabatic_flame_keeps_its_enthalpy(streams, data):
    streams("fuel", 298.15, {"CO": 1.0})
    streams("air", 298.15, {"O2": 0.6, "N2": 2.2})
    StreamCalculation.set_eq_H(0.0)
    StreamCalculation.calculate_eq_T(1000.0)
    T = StreamCalculation.get_eq_T()
    gas = ThermochemicalSystem.get_name_pcs_in_ph("GAS")
    amounts = dict(zip(gas, StreamCalculation.get_eq_A_pcs_in_ph("GAS"), strict=True))
    held = heat_of(data, {name: A for name, A in amounts.items() if A > 1e-30}, T)
    brought = heat_of(data, {"CO": 1.0, "O2": 0.6, "N2": 2.2}, 298.15)
    assert held == pytest.approx(brought, abs=1e-3)
    assert 2000.0 < T < 2700.0


def test_ice_melts_in_warm_water(streams, data):
    """Both are there at the end: the temperature is the melting point to the last digits."""
    streams("ice", 260.0, {ICE: 1.0})
    streams("water", 290.0, {WATER: 2.0})
    StreamCalculation.set_eq_H(0.0)
    StreamCalculation.calculate_eq_T(400.0)
    T = melting(data)
    assert StreamCalculation.get_eq_T() == pytest.approx(T, rel=1e-9)
    heat = heat_of(data, {ICE: 1.0}, 260.0) + heat_of(data, {WATER: 2.0}, 290.0)
    liquid = (heat - 3 * data.find(ICE).H(T)) / (data.find(WATER).H(T) - data.find(ICE).H(T))
    assert StreamCalculation.get_eq_A_ph(WATER) == pytest.approx(liquid, rel=1e-7)


def test_moved_amount_belongs_to_one_stream(streams):
    streams("one", 300.0, {"N2": 1.0, "H2": 1.0})
    streams("two", 300.0, {"N2": 1.0})
    StreamCalculation.set_eq_T(700.0)
    StreamCalculation.set_eq_H(0.0)
    with pytest.raises(TessaraError, match="2 streams hold some of it"):
        StreamCalculation.calculate_eq_IA([("GAS", "N2", 0.0, 1.0)])
    with pytest.raises(TessaraError, match="no stream holds any of it"):
        StreamCalculation.calculate_eq_IA([("GAS", "CO", 0.0, 1.0)])


def test_map_of_streams_is_refused(streams):
    streams("one", 300.0, {"N2": 1.0})
    with pytest.raises(TessaraError, match="streams are in force"):
        PhaseMapCalculation.calculate_ph_txs_T(300.0, 400.0)
