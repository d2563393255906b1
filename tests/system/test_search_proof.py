"""Searches and maps where several phases change at once, with statuses, and interrupted."""

import itertools
import math
import signal

import pytest
from dat_evaluator import R, temperature_of_zero
from loaded_files import NONE, Loaded

from tessara import basic
from tessara.core import ConditionVariable, PhaseMapVariable, ResultVariable, Status, TargetVariable
from tessara.friendly import EquilibriumCalculation, PhaseMapCalculation

ICE, WATER = "H2O(ice)", "H2O(L)"
ZINC = {"Al": 0.2, "Zn": 0.8}


def enthalpy(system, T, sets):
    """From the evaluator: the slope of G/T over 1/T at fixed composition, to five digits or so."""

    def over_T(T):
        total = 0.0
        for name, moles in sets:
            n = math.fsum(moles)
            total += n * system.file.mixtures[name].G(T, [[m / n for m in moles]])
        return total / T

    d = 1e-3 * T
    slope = (8 * (over_T(T + d) - over_T(T - d)) - over_T(T + 2 * d) + over_T(T - 2 * d)) / (12 * d)
    return -T * T * slope


def at_enthalpy(system, H, guess):
    number = basic.hxsetc(ConditionVariable.H, *NONE, H)
    basic.hxce(TargetVariable.T, *NONE, [guess, 0.0])
    basic.hxremc(number)
    T = basic.hxgetr(ResultVariable.T, *NONE)
    return T, system.answer(T, 1.0, ZINC)


@pytest.fixture
def zinc():
    """Al-Zn rich in zinc, and the enthalpies a little below and above its eutectic."""
    system = Loaded("al_zn")
    system.solve(640.0, 1.0, ZINC)
    low = basic.hxgetr(ResultVariable.H, *NONE)
    system.solve(700.0, 1.0, ZINC)
    high = basic.hxgetr(ResultVariable.H, *NONE)
    yield system, low, high
    basic.hxini()


@pytest.mark.parametrize("guess", [400.0, 654.0, 1500.0])
def test_eutectic_at_given_enthalpy_follows_the_lever_rule(zinc, guess):
    """Three phases: the temperature is that of the eutectic, amounts are linear in the enthalpy."""
    system, low, high = zinc
    found = []
    for share in (0.3, 0.4, 0.5):
        H = low + share * (high - low)
        T, answer = at_enthalpy(system, H, guess)
        assert sorted(name for name, _ in answer.sets) == ["FCC_A1", "HCP_A3", "LIQUID"]
        assert system.checker.check(answer).faults == []
        assert basic.hxgetr(ResultVariable.H, *NONE) == pytest.approx(H, rel=1e-12)
        assert enthalpy(system, T, answer.sets) == pytest.approx(H, rel=1e-5)
        found.append((T, dict(answer.sets)))
    (T1, first), (T2, middle), (T3, last) = found
    assert pytest.approx(T1, rel=1e-10) == T2
    assert pytest.approx(T1, rel=1e-10) == T3
    assert 640.0 < T1 < 670.0  # 654 K by the assessment
    for name, moles in middle.items():
        x = [n / math.fsum(moles) for n in moles]
        for other in (first, last):
            assert [n / math.fsum(other[name]) for n in other[name]] == pytest.approx(x, rel=1e-7)
        mean = (math.fsum(first[name]) + math.fsum(last[name])) / 2
        assert math.fsum(moles) == pytest.approx(mean, rel=1e-7)


def test_map_through_the_eutectic_has_it_as_one_transition(zinc):
    system, _, _ = zinc
    T, _ = at_enthalpy(system, sum(zinc[1:]) / 2, 600.0)
    system.solve(600.0, 1.0, ZINC)
    basic.hxmap(PhaseMapVariable.TF, *NONE, [640.0, 900.0])
    more, temperatures = basic.hxmap(PhaseMapVariable.TN, *NONE, [640.0, 900.0]), []
    while more:
        more = basic.hxmap(PhaseMapVariable.TN, *NONE, [640.0, 900.0])
        temperatures.append(basic.hxgetr(ResultVariable.T, *NONE))
    assert temperatures[0] == pytest.approx(T, rel=1e-9)
    assert all(b > a for a, b in itertools.pairwise(temperatures))


# Statuses.


def sublimation(data, P):
    return temperature_of_zero(
        lambda T: data.reaction("G", {ICE: -1.0, "H2O": 1.0}, T) + R * T * math.log(P), 200, 600
    )


@pytest.mark.parametrize("status", [Status.DORMANT, Status.ELIMINATED])
def test_phase_that_does_not_take_part_is_passed_over_by_maps_and_targets(
    bench, ironmaking, status
):
    bench.solve({ICE: 1.0}, 250.0)
    basic.hxcsp(bench.phases.index(WATER), status)
    expected = sublimation(ironmaking, 1.0)
    low, sublimes, high = PhaseMapCalculation.calculate_ph_txs_T(250.0, 500.0)
    assert expected == pytest.approx(sublimes.T, rel=1e-8)
    assert (low.phs[WATER].A, high.phs[WATER].A) == (0.0, 0.0)
    EquilibriumCalculation.set_target_precipitation_from_ph(ICE)
    T = EquilibriumCalculation.calculate_eq_T(300.0)
    assert pytest.approx(expected, rel=1e-8) == T
    # Liquid water would form: its activity says so where it is worked out.
    activity = EquilibriumCalculation.get_eq_AC_ph(WATER)
    force = ironmaking.reaction("G", {WATER: -1.0, ICE: 1.0}, T) / (R * T)
    expected_activity = math.exp(force) if status is Status.DORMANT else 0.0
    assert activity == pytest.approx(expected_activity, rel=1e-7)


def test_enthalpy_is_shared_by_the_phases_that_take_part(bench, ironmaking):
    """Without the liquid, ice and steam share the heat out at the point of sublimation."""
    basic.hxcsp(bench.phases.index(WATER), Status.ELIMINATED)
    T = sublimation(ironmaking, 1.0)
    ice, steam = ironmaking.find(ICE).H(T), ironmaking.find("H2O").H(T)
    EquilibriumCalculation.remove_eq_conditions_all()
    EquilibriumCalculation.set_IA_pc(ICE, ICE, 1.0)
    EquilibriumCalculation.set_eq_H(0.75 * ice + 0.25 * steam)
    assert EquilibriumCalculation.calculate_eq_T(500.0) == pytest.approx(T, rel=1e-8)
    assert EquilibriumCalculation.get_eq_A_ph("GAS") == pytest.approx(0.25, abs=1e-7)


# Narrow windows.


def test_window_of_a_millionth_of_the_range_is_found(bench, ironmaking):
    melts = temperature_of_zero(
        lambda T: ironmaking.reaction("G", {ICE: -1.0, WATER: 1.0}, T), 200, 300
    )
    width = 1e-6 * 200.0
    boils = melts + width
    pressure = math.exp(-ironmaking.reaction("G", {WATER: -1.0, "H2O": 1.0}, boils) / (R * boils))
    bench.solve({WATER: 1.0}, 250.0, pressure)
    results = PhaseMapCalculation.calculate_ph_txs_T(200.0, 400.0)
    assert [r.T for r in results[1:-1]] == pytest.approx([melts, boils], abs=0.05 * width)


# Interruption.


def repeat(operation, *arguments):
    while True:
        operation(*arguments)


def interrupt(_signal, frame):
    # An exception within a finaliser or a callback of the collector is printed and forgotten:
    # the next signal comes soon.
    if frame.f_code is repeat.__code__:
        raise KeyboardInterrupt


@pytest.mark.parametrize("delay", [0.002, 0.01, 0.03])
def test_interrupted_map_leaves_the_library_usable(bench, delay):
    inputs = {"Fe2O3(hematite)": 1.0, "C(gr)": 2.5, "CaCO3(calcite)": 0.3, "O2": 0.5, "N2": 2.0}
    bench.solve(inputs, 1000.0)
    before = [bench.ph("A", name) for name in bench.phases]

    old = signal.signal(signal.SIGALRM, interrupt)
    try:
        signal.setitimer(signal.ITIMER_REAL, delay, delay)
        with pytest.raises(KeyboardInterrupt):
            repeat(PhaseMapCalculation.calculate_ph_txs_T, 300.0, 3000.0)
    finally:
        signal.setitimer(signal.ITIMER_REAL, 0.0)
        signal.signal(signal.SIGALRM, old)
    bench.solve(inputs, 1000.0)
    assert [bench.ph("A", name) for name in bench.phases] == pytest.approx(before, rel=1e-12)
