"""Results where they exist: amounts, fractions, potentials, activities and properties."""

from math import exp, log

import pytest

from tessara.core import ResultVariable, Status, TessaraError

TIGHT = 1e-12


def close(value):
    return pytest.approx(value, rel=TIGHT)


def test_state(lab, saturated):
    assert lab.get("T") == 1000.0
    assert lab.get("P") == 2.0


def test_amounts(lab, saturated):
    assert lab.get("A", *lab.pc("GAS", "A")) == close(saturated.n_a)
    assert lab.get("A", *lab.pc("GAS", "B")) == close(0.5)
    assert lab.get("A", 0) == close(saturated.n_gas)
    assert lab.get("A", *lab.pc("A(s)")) == lab.get("A", 1) == close(saturated.n_solid)
    assert lab.get("A") == close(saturated.n)
    assert lab.get("A", 2) == 0.0
    assert lab.get("A", -1, 0) == 1.0
    assert lab.get("A", -1, 1) == 0.5


def test_amounts_of_phases_are_sums(hx, lab, saturated):
    phases = range(hx.hxnop())
    for i in phases:
        parts = [lab.get("A", i, k) for k in range(hx.hxnopc(i))]
        assert sum(parts) == close(lab.get("A", i))
    assert sum(lab.get("A", i) for i in phases) == close(lab.get("A"))


def test_components_in_phases(lab, saturated):
    assert lab.get("AP", 0, 0) == close(saturated.n_a)
    assert lab.get("AP", 0, 1) == close(0.5)
    assert lab.get("AP", 1, 0) == close(saturated.n_solid)
    assert lab.get("AP", 1, 1) == 0.0
    assert lab.get("XP", 0, 0) == close(saturated.x)
    assert lab.get("XP", 0, 1) == close(1 - saturated.x)
    assert (lab.get("XP", 1, 0), lab.get("XP", 1, 1)) == (1.0, 0.0)


def test_fractions(lab, saturated):
    assert lab.get("X", -1, 0) == close(1.0 / 1.5)
    assert lab.get("X", -1, 1) == close(0.5 / 1.5)
    assert lab.get("X", *lab.pc("GAS", "A")) == close(saturated.x)
    assert lab.get("X", *lab.pc("A(s)")) == 1.0
    assert lab.get("X", 0) == close(saturated.n_gas / saturated.n)


def test_component_amounts_count_atoms(hx, lab, dat):
    # AB2 and A2 in one ideal solution: 1 mol each holds 3 mol A and 2 mol B.
    lab.load(dat({"A": 1.0, "B": 2.0}).ideal("S", ("AB2", [1, 2], []), ("A2", [2, 0], [])))
    lab.set("T", 500.0)
    lab.set("IA", 1.0, (0, 0))
    lab.set("IA", 1.0, (0, 1))
    lab.calculate()
    assert lab.get("A") == close(2.0)
    assert lab.get("A", -1, 0) == close(3.0)
    assert lab.get("AP", 0, 1) == close(2.0)
    assert lab.get("XP", 0, 0) == close(3 / 5)
    assert lab.get("X", -1, 1) == close(2 / 5)


def test_potentials(lab, saturated):
    assert lab.get("MU", -1, 0) == close(saturated.mu_a)
    assert lab.get("MU", -1, 1) == close(saturated.mu_b)
    assert lab.get("MU", *lab.pc("GAS", "A")) == close(saturated.mu_a)
    assert lab.get("MU", *lab.pc("A(s)")) == close(saturated.solid.g)
    # Of an absent phase too: the sum of the components' potentials.
    assert lab.get("MU", *lab.pc("B(s)")) == close(saturated.mu_b)
    mean = saturated.x * saturated.mu_a + (1 - saturated.x) * saturated.mu_b
    assert lab.get("MU", 0) == close(mean)
    assert lab.get("MU", 1) == close(saturated.mu_a)
    assert lab.get("MU", 2) == close(saturated.mu_b)


def test_potentials_follow_stoichiometry(lab, dat):
    # A and B are fixed by their solids; AB2 does not form.
    file = dat({"A": 1.0, "B": 2.0}).pure("A(s)", [1, 0], [-1000.0])
    lab.load(file.pure("B(s)", [0, 1], [-2000.0]).pure("AB2", [1, 2], [-4000.0]))
    lab.set("T", 1000.0)
    lab.put_in(A=1.0, B=1.0)
    lab.calculate()
    assert lab.get("MU", 2, 0) == close(-5000.0)


def test_activities(lab, saturated):
    assert lab.get("AC", *lab.pc("GAS", "A")) == close(saturated.p_a)
    assert lab.get("AC", *lab.pc("GAS", "B")) == close(saturated.p_b)
    assert lab.get("AC", *lab.pc("A(s)")) == close(1.0)
    assert lab.get("AC", 0) == 1.0
    assert lab.get("AC", 1) == 1.0
    absent = exp((saturated.mu_b - 90000.0) / saturated.rt)
    assert lab.get("AC", 2) == close(absent)
    assert lab.get("AC", *lab.pc("B(s)")) == close(absent)


def test_activity_of_a_component_refers_to_its_lowest_record(lab, saturated):
    assert lab.get("AC", -1, 0) == close(1.0)  # the solid is lower than the gas at 1 bar
    # Of B the gas is the lower record, at 1 bar whatever the pressure.
    assert saturated.b.g < 90000.0
    assert lab.get("AC", -1, 1) == close(saturated.p_b)


def test_reference_of_a_component_is_per_mole_of_it_and_counts_dummies(lab, dat, r_gas):
    # G per mole of A: 0 in the gas A, -500 in A2, -3000 in a dummy; a dummy without data is none.
    file = dat({"A": 1.0}).gas("GAS", ("A", [1], []), ("A2", [2], [-1000.0]))
    file.dummy("A(ref)", [1], [-3000.0]).dummy("A(void)", [1], [])
    lab.load(file.pure("A(s)", [1], [-2000.0]))
    lab.set("T", 1000.0)
    lab.set("P", 10.0)
    lab.put_in(A=1.0)
    lab.calculate()
    assert lab.get("MU", -1, 0) == close(-2000.0)
    assert lab.get("AC", -1, 0) == close(exp(1000.0 / (r_gas * 1000.0)))


def test_reference_of_a_component_counts_each_record_per_mole_of_it(lab, dat, r_gas):
    # The lowest is -500 per mole of A, in A2; the dummy has no data.
    file = dat({"A": 1.0}).gas("GAS", ("A", [1], []), ("A2", [2], [-1000.0]))
    lab.load(file.dummy("A(void)", [1], []))
    lab.set("T", 1000.0)
    lab.put_in(A=1.0)
    lab.calculate()
    rt = r_gas * 1000.0
    assert lab.get("AC", -1, 0) == close(exp((lab.get("MU", -1, 0) + 500.0) / rt))
    assert lab.get("AC", -1, 0) == close(lab.get("AC", *lab.pc("GAS", "A2")) ** 0.5)


def test_reference_of_a_component_does_not_depend_on_statuses(hx, lab, saturated):
    before = lab.get("AC", -1, 1)
    hx.hxcsp(1, Status.ELIMINATED)
    lab.calculate()
    p = saturated.p * 1.0 / 1.5
    reference = saturated.solid.g
    activity = exp((saturated.a.g + saturated.rt * log(p) - reference) / saturated.rt)
    assert lab.get("AC", -1, 0) == close(activity)
    assert lab.get("AC", -1, 1) != before


def test_gas_species_have_their_pressure_as_activity_without_a_gas(lab, gas_over_solid, saturated):
    lab.load(gas_over_solid)
    lab.set("T", 1000.0)
    lab.set("P", 5.0)
    lab.put_in(A=1.0)
    lab.calculate()
    assert lab.get("A", 0) == 0.0
    assert lab.get("AC", *lab.pc("GAS", "A")) == close(saturated.p_a)
    # The gas would consist of A alone, at its saturation pressure.
    assert lab.get("AC", 0) == close(saturated.p_a / 5.0)
    assert lab.get("XP", 0, 0) == 1.0
    assert lab.get("X", *lab.pc("GAS", "A")) == 1.0
    assert lab.get("MU", 0) == close(saturated.mu_a)


def test_thermal_properties_of_constituents_are_partial(lab, saturated):
    a, b = lab.pc("GAS", "A"), lab.pc("GAS", "B")
    assert lab.get("HM", *a) == close(saturated.a.h)
    assert lab.get("HM", *b) == close(saturated.b.h)
    assert lab.get("SM", *a) == close(saturated.s_a)
    assert lab.get("SM", *b) == close(saturated.s_b)
    assert lab.get("GM", *a) == close(saturated.mu_a)
    assert lab.get("CPM", *a) == close(saturated.a.cp)
    assert lab.get("VM", *a) == close(saturated.v)
    assert lab.get("H", *a) == close(saturated.n_a * saturated.a.h)
    assert lab.get("VM", *lab.pc("A(s)")) == 0.0


def test_thermal_properties_of_phases(lab, saturated):
    n_a, n_b, n_gas = saturated.n_a, saturated.n_b, saturated.n_gas
    expected = {
        "CP": n_a * saturated.a.cp + n_b * saturated.b.cp,
        "H": n_a * saturated.a.h + n_b * saturated.b.h,
        "S": n_a * saturated.s_a + n_b * saturated.s_b,
        "G": n_a * saturated.mu_a + n_b * saturated.mu_b,
        "V": n_gas * saturated.v,
    }
    for name, value in expected.items():
        assert lab.get(name, 0) == close(value)
        assert lab.get(f"{name}M", 0) == close(value / n_gas)
    solid = saturated.solid
    for name, value in {"CP": solid.cp, "H": solid.h, "S": solid.s, "G": solid.g}.items():
        assert lab.get(f"{name}M", 1) == close(value)
        assert lab.get(name, 1) == close(saturated.n_solid * value)
    assert lab.get("V", 1) == lab.get("VM", 1) == 0.0


def test_thermal_properties_of_the_system(lab, saturated):
    n_a, n_b, n_s = saturated.n_a, saturated.n_b, saturated.n_solid
    expected = {
        "CP": n_a * saturated.a.cp + n_b * saturated.b.cp + n_s * saturated.solid.cp,
        "H": n_a * saturated.a.h + n_b * saturated.b.h + n_s * saturated.solid.h,
        "S": n_a * saturated.s_a + n_b * saturated.s_b + n_s * saturated.solid.s,
        "G": 1.0 * saturated.mu_a + n_b * saturated.mu_b,
        "V": saturated.n_gas * saturated.v,
    }
    for name, value in expected.items():
        assert lab.get(name) == close(value)
        assert lab.get(f"{name}M") == close(value / saturated.n)
    assert lab.get("VT") == lab.get("V")


@pytest.mark.parametrize("name", ["CP", "H", "S", "G", "V"])
def test_partial_quantities_sum_to_the_whole(hx, lab, saturated, name):
    for i in range(hx.hxnop()):
        parts = [lab.get(name, i, k) for k in range(hx.hxnopc(i))]
        assert sum(parts) == close(lab.get(name, i))
    assert sum(lab.get(name, i) for i in range(hx.hxnop())) == close(lab.get(name))


def test_gibbs_energy_is_enthalpy_less_t_times_entropy(lab, saturated):
    for place in [(), (0,), (1,), lab.pc("GAS", "A")]:
        gibbs = lab.get("H", *place) - 1000.0 * lab.get("S", *place)
        assert lab.get("G", *place) == close(gibbs)


def test_absent_phase_that_could_form(lab, saturated):
    for name in ("A", "CP", "H", "S", "G", "V", "X"):
        assert lab.get(name, 2) == 0.0
    assert lab.get("HM", 2) == 90000.0
    assert lab.get("SM", 2) == lab.get("CPM", 2) == lab.get("VM", 2) == 0.0
    assert (lab.get("AP", 2, 0), lab.get("AP", 2, 1)) == (0.0, 0.0)
    assert (lab.get("XP", 2, 0), lab.get("XP", 2, 1)) == (0.0, 1.0)
    b = lab.pc("B(s)")
    for name in ("A", "CP", "H", "S", "G", "V"):
        assert lab.get(name, *b) == 0.0
    assert lab.get("X", *b) == 1.0
    assert lab.get("GM", *b) == 90000.0


# Where each variable exists; IA is told of in test_conditions.
EXISTS = {
    "system": (
        (-1, -1),
        {"P", "VT", "T", "A", "CP", "H", "S", "G", "V", "CPM", "HM", "SM", "GM", "VM"},
    ),
    "component": ((-1, 0), {"A", "X", "IA", "AC", "MU"}),
    "phase": (
        (0, -1),
        {"A", "X", "AC", "MU", "CP", "H", "S", "G", "V", "CPM", "HM", "SM", "GM", "VM"},
    ),
    "constituent or component in a phase": (
        (0, 0),
        {"A", "AP", "X", "XP", "IA", "AC", "MU", "CP", "H", "S", "G", "V"}
        | {"CPM", "HM", "SM", "GM", "VM"},
    ),
}


@pytest.mark.parametrize("variable", [member.name for member in ResultVariable])
@pytest.mark.parametrize("kind", list(EXISTS))
def test_places(lab, saturated, variable, kind):
    place, names = EXISTS[kind]
    if variable in names:
        assert type(lab.get(variable, *place)) is float
    else:
        with pytest.raises(TessaraError, match=f"the result {variable} is not defined for"):
            lab.get(variable, *place)


def test_index_of_a_component_in_a_phase_counts_components(lab, dat):
    lab.load(dat({"A": 1.0, "B": 2.0}).pure("AB", [1, 1], []))
    lab.set("T", 500.0)
    lab.set("IA", 1.0, (0, 0))
    lab.calculate()
    assert lab.get("AP", 0, 1) == 1.0
    with pytest.raises(TessaraError, match="no constituent with the index 1 in phase AB"):
        lab.get("A", 0, 1)
    with pytest.raises(TessaraError, match="no system component with the index 2"):
        lab.get("XP", 0, 2)


@pytest.mark.parametrize("place", [(-2,), (3,), (-1, 2), (-1, -2), (0, 2), (0, -2)])
def test_wrong_index_is_refused(lab, saturated, place):
    with pytest.raises(TessaraError, match=r"no (phase|constituent|system component) with the"):
        lab.get("A", *place)


def test_estimate_gives_the_same_state(hx, lab, saturated):
    before = [lab.get("A", 0), lab.get("G"), lab.get("MU", -1, 1)]
    hx.hxcen(*lab.NoTarget)
    assert [lab.get("A", 0), lab.get("G"), lab.get("MU", -1, 1)] == close(before)


def test_estimate_without_a_former_result_starts_cold(hx, lab, gas_over_solid, saturated):
    lab.load(gas_over_solid)
    lab.set("T", 1000.0)
    lab.set("P", 2.0)
    lab.put_in(A=1.0, B=0.5)
    hx.hxcen(*lab.NoTarget)
    assert lab.get("A", 0) == close(saturated.n_gas)


def test_results_stay_until_the_next_calculation(hx, lab, saturated):
    before = lab.get("A", 0)
    lab.set("T", 1500.0)
    lab.put_in(A=7.0)
    hx.hxcsp(1, Status.ELIMINATED)
    hx.hxremc(-2)
    assert lab.get("A", 0) == before
    assert lab.get("T") == 1000.0
    assert lab.get("IA", -1, 0) == 0.0


def test_dissociation_in_an_ideal_gas(lab, dat, r_gas):
    # A2 = 2 A with G = 20000: alpha = sqrt(K / (K + 4 p)).
    lab.load(dat({"A": 1.0}).gas("GAS", ("A", [1], [10000.0]), ("A2", [2], [])))
    lab.set("T", 1000.0)
    lab.set("P", 3.0)
    lab.set("IA", 1.0, lab.pc("GAS", "A2"))
    lab.calculate()
    k = exp(-20000.0 / (r_gas * 1000.0))
    alpha = (k / (k + 4 * 3.0)) ** 0.5
    assert lab.get("A", *lab.pc("GAS", "A")) == close(2 * alpha)
    assert lab.get("A", *lab.pc("GAS", "A2")) == close(1 - alpha)
    # Heat capacities are at fixed amounts: no reaction takes up heat.
    assert lab.get("CP") == pytest.approx(0.0, abs=1e-9)


def test_traces_keep_their_potential(lab, dat, r_gas):
    lab.load(dat({"A": 1.0}).gas("GAS", ("A", [1], [5e6]), ("A2", [2], [])))
    lab.set("T", 298.15)
    lab.put_in(A=2.0)
    lab.calculate()
    place = lab.pc("GAS", "A")
    assert lab.get("A", *place) == 0.0  # below 1e-300
    assert lab.get("MU", *place) == pytest.approx(0.0, abs=1e-6)
    assert lab.get("H", *place) == 0.0
