"""What is left after a calculation that failed, and after one that was never made."""

from math import isnan

import pytest

from tessara import core
from tessara.core import (
    ResultVariable,
    Status,
    TargetVariable,
    TessaraError,
    get_error_info_dict,
)

EXTENSIVE = ["CP", "H", "S", "G", "V"]


def fail_for_want_of_temperature(hx, lab):
    hx.hxremc(-2)
    lab.put_in(A=1.0, B=0.5)


def fail_for_want_of_phases(hx, lab):
    for i in range(hx.hxnop()):
        hx.hxcsp(i, Status.ELIMINATED)


def fail_for_a_vessel_without_gas(hx, lab):
    hx.hxcsp(0, Status.ELIMINATED)
    lab.set("VT", 10.0)


@pytest.fixture(
    params=[fail_for_want_of_temperature, fail_for_want_of_phases, fail_for_a_vessel_without_gas]
)
def failed(request, hx, lab, saturated):
    request.param(hx, lab)
    with pytest.raises(TessaraError):
        lab.calculate()
    return lab


@pytest.mark.parametrize("name", EXTENSIVE)
def test_extensive_values_of_the_system_are_nan_after_a_failure(failed, name):
    assert isnan(failed.get(name))
    assert isnan(failed.get(name, -1))
    assert isnan(failed.get(name, -1, -1))


def test_volume_by_the_member_of_target_variable_is_nan_too(hx, failed):
    assert isnan(hx.hxgetr(TargetVariable.V))


def test_input_can_be_read_after_a_failure(failed):
    assert failed.get("IA", -1, 0) == 1.0
    assert failed.get("IA", -1, 1) == 0.5
    assert failed.get("IA", 0, 0) == 0.0


@pytest.mark.parametrize("name", ["P", "VT", "T", "A", "CPM", "HM", "SM", "GM", "VM"])
def test_everything_else_of_the_system_is_refused_after_a_failure(failed, name):
    with pytest.raises(TessaraError, match=rf"no result of {name} to give: the last calculation"):
        failed.get(name)


@pytest.mark.parametrize("place", [(-1, 0), (0, -1), (0, 0)])
def test_results_of_parts_are_refused_after_a_failure(failed, place):
    for name in ("A", "AC", "MU", "X"):
        with pytest.raises(TessaraError, match="the last calculation failed"):
            failed.get(name, *place)
    for name in EXTENSIVE:
        if place[0] >= 0:
            with pytest.raises(TessaraError, match="the last calculation failed"):
                failed.get(name, *place)


def test_own_operations_are_refused_after_a_failure(hx, failed):
    with pytest.raises(TessaraError, match="the last calculation failed"):
        hx.certificate()
    with pytest.raises(TessaraError, match="the last calculation failed"):
        hx.composition_sets(0)
    with pytest.raises(TessaraError, match="the last calculation failed"):
        hx.internal_fractions(0)


def test_places_are_checked_after_a_failure_too(failed):
    with pytest.raises(TessaraError, match="no phase with the index 9"):
        failed.get("H", 9)
    with pytest.raises(TessaraError, match="is not defined for"):
        failed.get("H", -1, 0)


def test_a_good_calculation_follows_a_failure(hx, failed, gas_over_solid):
    failed.load(gas_over_solid)
    failed.set("T", 1000.0)
    failed.put_in(A=1.0)
    failed.calculate()
    assert failed.get("T") == 1000.0


def test_library_recovers_without_a_reload(hx, lab, saturated):
    before = lab.get("A", 0)
    for i in range(3):
        hx.hxcsp(i, Status.ELIMINATED)
    with pytest.raises(TessaraError):
        lab.calculate()
    for i in range(3):
        hx.hxcsp(i, Status.ENTERED)
    hx.hxcen(*lab.NoTarget)
    assert lab.get("A", 0) == pytest.approx(before, rel=1e-13)


@pytest.mark.parametrize("name", EXTENSIVE)
def test_nothing_is_given_before_any_calculation(lab, gas_over_solid, name):
    lab.load(gas_over_solid)
    with pytest.raises(TessaraError, match="nothing has been calculated yet"):
        lab.get(name)


def test_search_without_a_condition_to_meet_counts_as_failed(hx, lab, saturated):
    with pytest.raises(TessaraError, match=r"needs exactly one condition to meet .* there is none"):
        hx.hxce(TargetVariable.T, -1, -1, [900.0, 0.0])
    assert isnan(lab.get("H"))


def test_wrong_arguments_leave_the_result_alone(hx, lab, saturated):
    for arguments in [
        (TargetVariable.NoTarget, -1, -1, [0.0]),
        (TargetVariable.NoTarget, 0, 0, [0.0, 0.0]),
        (TargetVariable.T, 0, -1, [0.0, 0.0]),
        (TargetVariable.IA, 5, 0, [0.0, 0.0]),
        (None, -1, -1, [0.0, 0.0]),
    ]:
        with pytest.raises(TessaraError):
            hx.hxce(*arguments)
        assert lab.get("T") == 1000.0


def test_note_tells_the_last_error(hx, lab, saturated):
    hx.hxremc(-2)
    with pytest.raises(TessaraError) as caught:
        lab.calculate()
    note = get_error_info_dict()
    assert note["operation"] == "hxce"
    assert note["text"] == str(caught.value) == caught.value.args[0]
    assert note["number"] > 0
    with pytest.raises(TessaraError):
        lab.get("A", 77)
    assert get_error_info_dict()["operation"] == "hxgetr"
    assert get_error_info_dict()["number"] != note["number"]


def test_success_leaves_the_note_alone(hx, lab, saturated):
    with pytest.raises(TessaraError):
        lab.get("A", 77)
    note = get_error_info_dict()
    lab.calculate()
    assert get_error_info_dict() == note


def test_errors_are_tessara_errors_of_core(hx):
    with pytest.raises(TessaraError) as caught:
        hx.hxgnp(0)
    assert type(caught.value) is core.TessaraError
    assert str(caught.value) == (
        "hxgnp: no data file is loaded; open one with hxopna and read it with hxrfil"
    )


def test_record_of_a_failure_can_be_made(hx, lab, failed):
    """The reads of a result object with `error=True`, one by one."""
    values = [hx.hxgetr(ResultVariable[name]) for name in EXTENSIVE]
    assert all(map(isnan, values))
    amounts = [failed.get("IA", i, k) for i in range(hx.hxnop()) for k in range(hx.hxnopc(i))]
    amounts += [failed.get("IA", -1, j) for j in range(hx.hxnosc())]
    assert sum(amounts) == 1.5
    assert "Incoming amounts" in lab.listing(hx.hxshow)
