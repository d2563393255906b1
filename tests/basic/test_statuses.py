"""Statuses of phases and constituents."""

from math import exp, isnan

import pytest

from tessara.core import Status, TessaraError


def test_all_is_entered_at_first(hx, lab, gas_over_solid):
    lab.load(gas_over_solid)
    for i in range(hx.hxnop()):
        assert hx.hxgsp(i) is Status.ENTERED
        for k in range(hx.hxnopc(i)):
            assert hx.hxgspc(i, k) is Status.ENTERED


@pytest.mark.parametrize("status", Status)
def test_status_is_kept(hx, lab, gas_over_solid, status):
    lab.load(gas_over_solid)
    assert hx.hxcsp(1, status) is None
    assert hx.hxcspc(0, 1, status) is None
    assert hx.hxgsp(1) is status
    assert hx.hxgspc(0, 1) is status


def test_phases_and_constituents_are_independent(hx, lab, gas_over_solid):
    lab.load(gas_over_solid)
    hx.hxcsp(0, Status.DORMANT)
    assert hx.hxgspc(0, 0) is Status.ENTERED
    assert hx.hxgsp(1) is Status.ENTERED
    hx.hxcspc(1, 0, Status.ELIMINATED)
    assert hx.hxgsp(1) is Status.ENTERED
    assert hx.hxgspc(0, 0) is Status.ENTERED


def test_dormant_phase_does_not_form_but_has_an_activity(hx, lab, saturated):
    hx.hxcsp(1, Status.DORMANT)
    lab.calculate()
    p_a = saturated.p / 1.5  # all of A is in the gas
    assert lab.get("A", 1) == 0.0
    assert lab.get("AC", 1) == pytest.approx(p_a / saturated.p_a, rel=1e-12)
    assert lab.get("AC", 1) > 1.0
    assert lab.get("AC", *lab.pc("A(s)")) == pytest.approx(p_a / saturated.p_a, rel=1e-12)
    assert lab.get("MU", *lab.pc("A(s)")) == pytest.approx(lab.get("MU", -1, 0), rel=1e-15)
    assert lab.get("MU", 1) == pytest.approx(lab.get("MU", -1, 0), rel=1e-15)
    assert lab.get("HM", 1) == pytest.approx(saturated.solid.h, rel=1e-13)
    assert lab.get("H", 1) == 0.0


def test_eliminated_phase_has_nothing(hx, lab, saturated):
    hx.hxcsp(1, Status.ELIMINATED)
    lab.calculate()
    assert lab.get("A", 1) == 0.0
    assert lab.get("AC", 1) == 0.0
    assert isnan(lab.get("MU", 1))


def test_entering_again_restores_the_state(hx, lab, saturated):
    before = lab.get("A", 1)
    for status in (Status.DORMANT, Status.ELIMINATED):
        hx.hxcsp(1, status)
        lab.calculate()
        assert lab.get("A", 1) == 0.0
        hx.hxcsp(1, Status.ENTERED)
        lab.calculate()
        assert lab.get("A", 1) == pytest.approx(before, rel=1e-14)


@pytest.mark.parametrize("status", [Status.DORMANT, Status.ELIMINATED])
def test_constituent_that_is_not_entered_is_left_out_of_an_ideal_phase(hx, lab, saturated, status):
    place = lab.pc("GAS", "A")
    hx.hxcspc(*place, status)
    lab.calculate()
    assert lab.get("A", *place) == 0.0
    assert lab.get("X", *place) == 0.0
    assert lab.get("A", 0) == pytest.approx(0.5, rel=1e-14)
    assert lab.get("A", 1) == pytest.approx(1.0, rel=1e-14)
    if status is Status.DORMANT:  # its activity is worked out: that of the solid's vapour
        assert lab.get("AC", *place) == pytest.approx(saturated.p_a, rel=1e-12)
        assert lab.get("MU", *place) == pytest.approx(saturated.mu_a, rel=1e-12)
    else:
        assert lab.get("AC", *place) == 0.0
        assert isnan(lab.get("MU", *place))


@pytest.mark.parametrize("status", [Status.DORMANT, Status.ELIMINATED])
def test_constituent_that_is_not_entered_is_left_out_of_a_solution(hx, lab, dat, r_gas, status):
    file = dat({"A": 1.0, "B": 2.0})
    file.regular("S", [("A", [1, 0], []), ("B", [0, 1], [])], 5000.0)
    lab.load(file.pure("B(s)", [0, 1], [500.0]))
    hx.hxcspc(0, 1, status)
    lab.set("T", 1000.0)
    lab.put_in(A=1.0, B=1.0)
    lab.calculate()
    assert lab.get("A", 0, 1) == 0.0
    assert lab.get("A", 1) == 1.0
    assert lab.get("AC", 0, 0) == pytest.approx(1.0, rel=1e-13)
    activity = exp(500.0 / (r_gas * 1000.0)) if status is Status.DORMANT else 0.0
    assert lab.get("AC", 0, 1) == pytest.approx(activity, rel=1e-12)


def test_only_constituent_of_a_pure_phase(hx, lab, saturated):
    hx.hxcspc(1, 0, Status.DORMANT)
    lab.calculate()
    assert lab.get("A", 1) == 0.0
    p_a = saturated.p / 1.5
    assert lab.get("AC", 1, 0) == pytest.approx(p_a / saturated.p_a, rel=1e-12)


def test_phases_that_cannot_hold_the_input_are_refused_in_words(hx, lab, saturated):
    for i in range(hx.hxnop()):
        hx.hxcsp(i, Status.ELIMINATED)
    with pytest.raises(TessaraError, match="the phases that take part cannot hold what goes in"):
        lab.calculate()
