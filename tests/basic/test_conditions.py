"""Conditions: their places, numbers and removal, and what a calculation makes of them."""

from math import exp, inf, log, nan

import pytest

from tessara.core import (
    AmountUnit,
    ConditionVariable,
    ConfigurationOption,
    Quantity,
    Status,
    TargetReadingWarning,
    TemperatureUnit,
    TessaraError,
)


@pytest.fixture
def loaded(lab, gas_over_solid):
    lab.load(gas_over_solid)
    return lab


def test_numbers_count_from_one(loaded):
    assert loaded.set("T", 1000.0) == 1
    assert loaded.set("P", 2.0) == 2
    assert loaded.set("IA", 1.0, loaded.sc("A")) == 3


def test_second_condition_on_a_place_replaces_the_first_and_keeps_its_number(loaded):
    loaded.set("T", 900.0)
    number = loaded.set("IA", 1.0, loaded.sc("A"))
    assert loaded.set("T", 1000.0) == 1
    assert loaded.set("IA", 3.0, loaded.sc("A")) == number
    assert loaded.get("IA", *loaded.sc("A")) == 3.0
    loaded.calculate()
    assert loaded.get("T") == 1000.0
    assert loaded.get("A", *loaded.sc("A")) == 3.0


def test_pressure_and_total_volume_share_a_place(loaded):
    number = loaded.set("P", 2.0)
    assert loaded.set("VT", 5.0) == number
    assert loaded.set("P", 3.0) == number


@pytest.mark.parametrize("place", [(-1, 0), (0, 1), (1, 0)])
def test_amount_activity_and_potential_share_a_place(loaded, place):
    number = loaded.set("IA", 2.0, place)
    assert loaded.set("AC", 0.5, place) == number
    assert loaded.get("IA", *place) == 0.0
    assert loaded.set("MU", -1000.0, place) == number
    assert loaded.set("IA", 3.0, place) == number
    assert loaded.get("IA", *place) == 3.0


def test_forms_of_the_amount_of_a_phase_share_a_place(loaded):
    number = loaded.set("A", 0.0, (1, -1))
    assert loaded.set("A", 2.0, (1, -2)) == number
    assert loaded.set("A", -1.0, (1, -1)) == number
    assert loaded.set("A", 0.0, (1, -2)) == number
    assert loaded.set("A", 0.0, (2, -1)) == number + 1


def test_conditions_on_different_variables_of_a_phase_stand_side_by_side(loaded):
    numbers = [loaded.set(name, 1.0, (1, -2)) for name in ("A", "CP", "H", "S", "G", "V")]
    assert numbers == [1, 2, 3, 4, 5, 6]


def test_removed_number_is_not_given_again(hx, loaded):
    loaded.set("T", 1000.0)
    hx.hxremc(1)
    assert loaded.set("T", 1000.0) == 2
    with pytest.raises(TessaraError, match="no condition with the number 1"):
        hx.hxremc(1)


@pytest.mark.parametrize("number", [-1, -3, 1, 7, 2**31 - 1])
def test_number_without_condition_is_refused(hx, loaded, number):
    with pytest.raises(TessaraError, match=f"no condition with the number {number};"):
        hx.hxremc(number)


def test_removing_zero_removes_inputs_and_given_potentials_only(hx, loaded):
    loaded.set("T", 1000.0)
    loaded.put_in(A=1.0)
    loaded.set("AC", 0.5, loaded.sc("B"))
    loaded.set("MU", -1e5, loaded.pc("GAS", "B"))
    loaded.set("AT", 0.5, loaded.pc("GAS", "B"))
    hx.hxcsp(2, Status.DORMANT)
    hx.hxremc(0)
    text = loaded.listing(hx.hxshow)
    assert "T of the system" in text
    assert "AT of GAS : B" in text
    assert "AC of" not in text
    assert "MU of" not in text
    assert "Incoming amounts\n----------------\n  None.\n" in text
    assert hx.hxgsp(2) is Status.DORMANT
    assert loaded.set("P", 1.0) == 6


def test_removing_all_starts_numbers_again(hx, loaded):
    loaded.set("T", 1000.0)
    loaded.put_in(A=1.0)
    hx.hxcsp(2, Status.DORMANT)
    hx.configure(ConfigurationOption.ITERATION_LIMIT, 7)
    hx.hxremc(-2)
    assert hx.hxgsp(2) is Status.DORMANT
    assert hx.configuration(ConfigurationOption.ITERATION_LIMIT) == 30
    assert loaded.set("P", 1.0) == 1
    assert loaded.get("IA", *loaded.sc("A")) == 0.0


def test_nothing_to_remove_is_no_error(hx):
    hx.hxremc(0)
    hx.hxremc(-2)


# What each place takes; all else is refused in words.
TAKEN = {
    (-1, -1): {"P", "VT", "T", "CP", "H", "S", "G", "V"},
    (1, -2): {"A", "CP", "H", "S", "G", "V"},
    (1, -1): {"A"},
    (-1, 0): {"IA", "AC", "MU"},
    (0, 1): {"IA", "AC", "MU", "AT", "XT"},
}


@pytest.mark.parametrize("variable", [member.name for member in ConditionVariable])
@pytest.mark.parametrize("place", list(TAKEN))
def test_places(loaded, variable, place):
    if variable in TAKEN[place]:
        assert loaded.set(variable, 0.5, place) == 1
    else:
        with pytest.raises(TessaraError, match=r"cannot be placed on|is not defined for"):
            loaded.set(variable, 0.5, place)


def test_hint_for_a_condition_on_a_whole_phase(loaded):
    with pytest.raises(TessaraError, match="the condition H is not defined for a phase with -1 in"):
        loaded.set("H", 0.5, (1, -1))


@pytest.mark.parametrize("place", [(3, -2), (-2, 0), (-1, 2), (-1, -2), (0, 2), (0, -3)])
def test_wrong_index_is_refused(loaded, place):
    with pytest.raises(TessaraError, match=r"no (phase|constituent|system component) with the"):
        loaded.set("IA", 1.0, place)


@pytest.mark.parametrize("value", [nan, inf, -inf])
@pytest.mark.parametrize("variable", ["P", "VT", "T", "CP", "H", "S", "G", "V"])
def test_number_that_is_not_finite_is_refused(loaded, variable, value):
    with pytest.raises(TessaraError, match="it must be a finite number"):
        loaded.set(variable, value)


def test_values_that_cannot_be_are_refused(hx, loaded):
    hx.hxcsu(Quantity.Temperature, TemperatureUnit.C)
    with pytest.raises(TessaraError) as caught:
        loaded.set("T", -300.0)
    assert str(caught.value) == (
        "hxsetc: the temperature (T) of the system cannot be -300 C: it must be above absolute zero"
    )
    for variable, value, place in [
        ("P", 0.0, (-1, -1)),
        ("P", -1.0, (-1, -1)),
        ("VT", 0.0, (-1, -1)),
        ("AC", 0.0, (-1, 0)),
        ("AC", -0.5, (0, 0)),
        ("AT", 0.0, (0, 0)),
        ("XT", 1.1, (0, 0)),
        ("XT", -0.1, (0, 0)),
        ("A", -0.5, (1, -2)),
    ]:
        with pytest.raises(TessaraError, match="cannot be"):
            loaded.set(variable, value, place)


def test_refused_condition_changes_nothing(loaded):
    loaded.set("P", 2.0)
    for value in (-1.0, nan):
        with pytest.raises(TessaraError):
            loaded.set("P", value)
    with pytest.raises(TessaraError):
        loaded.set("T", -1.0)
    assert loaded.set("T", 1000.0) == 2
    loaded.put_in(A=1.0)
    loaded.calculate()
    assert loaded.get("P") == 2.0


def test_total_volume_needs_a_gas(lab, dat):
    lab.load(dat({"A": 1.0}).pure("A(s)", [1], []))
    with pytest.raises(TessaraError, match="the data file has no gas"):
        lab.set("VT", 1.0)


def test_activity_of_a_component_needs_a_pure_record(lab, dat):
    lab.load(dat({"A": 1.0, "B": 2.0}).gas("GAS", ("A", [1, 0], []), ("AB", [1, 1], [])))
    lab.set("AC", 0.5, lab.sc("A"))
    with pytest.raises(TessaraError, match="no record made of it alone"):
        lab.set("AC", 0.5, lab.sc("B"))
    lab.set("MU", -1000.0, lab.sc("B"))


def test_mass_needs_a_molar_mass(hx, lab, dat):
    lab.load(dat({"A": 1.0, "Va": 0.0}).gas("GAS", ("A", [1, 0], []), ("Va", [0, 1], [])))
    hx.hxcsu(Quantity.Amount, AmountUnit.kg)
    with pytest.raises(TessaraError, match="it has no molar mass"):
        lab.put_in(Va=1.0)
    lab.put_in(Va=0.0)


def test_pressure_is_one_bar_where_it_is_not_given(loaded):
    loaded.set("T", 1000.0)
    loaded.put_in(A=1.0)
    loaded.calculate()
    assert loaded.get("P") == 1.0


def test_temperature_has_to_be_given(hx, loaded):
    loaded.put_in(A=1.0)
    with pytest.raises(TessaraError, match="the temperature is not given; place a condition on T"):
        loaded.calculate()
    loaded.set("T", 1000.0)
    loaded.calculate()
    hx.hxremc(2)
    with pytest.raises(TessaraError, match="the temperature is not given"):
        loaded.calculate()


def test_incoming_amounts_of_components_and_constituents_add_up(loaded):
    loaded.set("T", 1000.0)
    loaded.put_in(A=1.0, B=0.5)
    loaded.set("IA", 0.25, loaded.pc("GAS", "B"))
    loaded.set("IA", 2.0, loaded.pc("A(s)"))
    loaded.calculate()
    assert loaded.get("A", *loaded.sc("A")) == pytest.approx(3.0, rel=1e-15)
    assert loaded.get("A", *loaded.sc("B")) == pytest.approx(0.75, rel=1e-15)
    assert loaded.get("IA", *loaded.sc("B")) == 0.5
    assert loaded.get("IA", *loaded.pc("GAS", "B")) == 0.25
    assert loaded.get("IA", *loaded.pc("GAS", "A")) == 0.0


def test_negative_amount_takes_away(loaded):
    loaded.set("T", 1000.0)
    loaded.put_in(A=1.0)
    loaded.set("IA", -0.25, loaded.pc("A(s)"))
    loaded.calculate()
    assert loaded.get("A", *loaded.sc("A")) == pytest.approx(0.75, rel=1e-15)
    loaded.set("IA", -1.25, loaded.pc("A(s)"))
    with pytest.raises(TessaraError, match="component A is negative in total"):
        loaded.calculate()


def test_nothing_going_in_is_refused(loaded):
    loaded.set("T", 1000.0)
    loaded.put_in(A=0.0, B=0.0)
    with pytest.raises(TessaraError, match="nothing goes into the system"):
        loaded.calculate()


def test_given_activity_of_a_component_opens_the_system(loaded, saturated):
    # Half the activity of the solid gives half the pressure of A over it; the amount comes out.
    loaded.set("AC", 0.5, loaded.sc("A"))
    loaded.calculate()
    x = 0.5 * saturated.x
    assert loaded.get("AC", *loaded.sc("A")) == pytest.approx(0.5, rel=1e-12)
    assert loaded.get("A", *loaded.sc("A")) == pytest.approx(0.5 * x / (1 - x), rel=1e-12)
    assert loaded.get("A", 1) == 0.0
    assert loaded.get("AC", 1) == pytest.approx(0.5, rel=1e-12)


@pytest.mark.parametrize("variable", ["AC", "MU"])
def test_given_activity_or_potential_of_a_constituent_opens_the_system(
    loaded, saturated, r_gas, variable
):
    rt = r_gas * saturated.t
    value = 0.1 if variable == "AC" else saturated.a.g + rt * log(0.1)
    loaded.put_in(A=0.0)
    loaded.set(variable, value, loaded.pc("GAS", "A"))
    loaded.calculate()
    x = 0.1 / saturated.p  # 0.1 bar of A
    assert loaded.get("X", *loaded.pc("GAS", "A")) == pytest.approx(x, rel=1e-12)
    assert loaded.get("A", *loaded.sc("A")) == pytest.approx(0.5 * x / (1 - x), rel=1e-12)


def test_phase_that_a_given_activity_saturates_has_no_amount(loaded, saturated):
    loaded.set("AC", 1.0, loaded.sc("A"))
    loaded.calculate()
    assert loaded.get("A", 1) == 0.0
    assert loaded.get("AC", 1) == pytest.approx(1.0, rel=1e-12)
    assert loaded.get("A", 0) == pytest.approx(saturated.n_gas, rel=1e-12)


def test_activity_that_cannot_be_held_is_refused_in_words(loaded, saturated):
    loaded.set("AC", 1.5, loaded.sc("A"))
    with pytest.raises(TessaraError, match="would grow without limit"):
        loaded.calculate()


def test_calculation_without_target_leaves_targets_and_requirements_aside(hx, loaded, saturated):
    before = loaded.get("A", 0)
    for name in ("CP", "H", "S", "G", "V"):
        loaded.set(name, 1.0)
        loaded.set(name, 1.0, (0, -2))
    loaded.set("A", 0.0, (2, -1))
    loaded.set("AT", 0.5, loaded.pc("GAS", "A"))
    loaded.set("XT", 0.5, loaded.pc("GAS", "A"))
    text = loaded.listing(hx.hxcel, *loaded.NoTarget)
    assert loaded.get("A", 0) == before
    unused = text[text.index("Not used") :].split("\n\n")[0]
    for name in ("H of the system (7)", "A of phase B(s) (15)", "XT of GAS : A (17)"):
        assert name in " ".join(unused.split())
    assert "T of the system" not in unused


def test_conditions_are_as_before_after_a_calculation(hx, loaded, saturated):
    before = loaded.listing(hx.hxshow)
    loaded.calculate()
    assert loaded.listing(hx.hxshow) == before


def test_order_of_placing_does_not_matter(hx, lab, gas_over_solid):
    places = [(-1, 0), (-1, 1), (0, 0), (0, 1), (1, 0)]
    results = []
    for order in (places, places[::-1]):
        lab.load(gas_over_solid)
        lab.set("T", 1000.0)
        for place in order:
            lab.set("IA", 0.1 * (1 + places.index(place)), place)
        lab.calculate()
        results.append([lab.get("A", i, -1) for i in range(3)] + [lab.get("G")])
    assert results[0] == results[1]


def test_target_fraction_warns_where_its_index_has_two_readings(hx, lab, dat):
    file = dat({"A": 1.0, "B": 2.0, "C": 3.0})
    file.gas("GAS", ("AB", [1, 1, 0], []), ("B", [0, 1, 0], []))
    lab.load(file.ideal("ALLOY", ("A", [1, 0, 0], []), ("C", [0, 0, 1], [])))
    with pytest.warns(TargetReadingWarning) as caught:
        assert lab.set("XT", 0.5, (0, 0)) == 1
    text = str(caught[0].message)
    assert "the constituent GAS : AB" in text
    assert "the component A in GAS" in text
    assert text.endswith("it is read as the constituent's")
    assert "XT of GAS : AB, read as a constituent" in lab.listing(hx.hxshow)
    # One reading only, or two that agree: no warning (warnings are errors in these tests).
    assert lab.set("XT", 0.5, (0, 2)) == 2
    assert lab.set("XT", 0.5, (1, 0)) == 3
    assert "XT of component C in GAS" in lab.listing(hx.hxshow)


def test_condition_stands_where_the_warning_is_made_an_error(hx, lab, dat):
    lab.load(dat({"A": 1.0, "B": 2.0}).gas("GAS", ("AB", [1, 1], []), ("B", [0, 1], [])))
    with pytest.raises(TargetReadingWarning):  # the tests' own filter
        lab.set("XT", 0.5, (0, 0))
    assert lab.set("T", 1000.0) == 2


def test_conditions_need_a_system(hx):
    with pytest.raises(TessaraError, match="no data file is loaded"):
        hx.hxsetc(ConditionVariable.T, -1, -1, 1000.0)


def test_given_activity_of_a_gas_species_is_its_pressure_in_bar(loaded, saturated):
    loaded.set("AC", 0.25, loaded.pc("GAS", "B"))
    loaded.put_in(B=0.0)
    loaded.calculate()
    # The solid holds p(A), 0.25 bar are given, and nothing fills the rest: no gas.
    assert loaded.get("A", 0) == 0.0
    assert loaded.get("AC", *loaded.pc("GAS", "B")) == pytest.approx(0.25, rel=1e-12)
    assert loaded.get("AC", 0) == pytest.approx((saturated.p_a + 0.25) / saturated.p, rel=1e-12)
    assert exp(loaded.get("MU", *loaded.sc("A")) / saturated.rt) > 0.0
