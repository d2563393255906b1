"""What has no value is nan; what cannot form is not there; no existing place is refused."""

from math import isnan

import pytest

from tessara.core import AmountUnit, Quantity, Status, TessaraError

PER_AMOUNT = ["CPM", "HM", "SM", "GM", "VM"]
EXTENSIVE = ["CP", "H", "S", "G", "V"]


@pytest.fixture
def without_b(lab, gas_over_solid):
    lab.load(gas_over_solid)
    lab.set("T", 1000.0)
    lab.put_in(A=1.0)
    lab.calculate()
    return lab


def test_component_with_no_amount(without_b):
    place = without_b.sc("B")
    assert without_b.get("A", *place) == 0.0
    assert isnan(without_b.get("AC", *place))
    assert isnan(without_b.get("MU", *place))
    assert without_b.get("X", *place) == 0.0


@pytest.mark.parametrize("place", [("GAS", "B"), ("B(s)", "B(s)")])
def test_constituent_that_lacks_a_component(without_b, place):
    place = without_b.pc(*place)
    assert without_b.get("A", *place) == 0.0
    assert without_b.get("AC", *place) == 0.0
    assert isnan(without_b.get("MU", *place))
    for name in PER_AMOUNT:
        assert isnan(without_b.get(name, *place))
    for name in EXTENSIVE:
        assert without_b.get(name, *place) == 0.0


def test_phase_that_lacks_a_component(without_b):
    phase = without_b.ph("B(s)")
    assert without_b.get("A", phase) == 0.0
    assert without_b.get("AC", phase) == 0.0
    assert isnan(without_b.get("MU", phase))
    for name in PER_AMOUNT:
        assert isnan(without_b.get(name, phase))
    for name in EXTENSIVE:
        assert without_b.get(name, phase) == 0.0
    assert without_b.get("AP", phase, 0) == 0.0
    assert isnan(without_b.get("XP", phase, 1))


def test_eliminated_phase(hx, lab, saturated):
    hx.hxcsp(2, Status.ELIMINATED)
    lab.calculate()
    for place in [(2, -1), (2, 0)]:
        assert lab.get("A", *place) == 0.0
        assert lab.get("AC", *place) == 0.0
        assert isnan(lab.get("MU", *place))
        for name in PER_AMOUNT:
            assert isnan(lab.get(name, *place))


def test_eliminated_constituent(hx, lab, saturated):
    place = lab.pc("GAS", "A")
    hx.hxcspc(*place, Status.ELIMINATED)
    lab.calculate()
    assert lab.get("A", *place) == 0.0
    assert lab.get("AC", *place) == 0.0
    assert isnan(lab.get("MU", *place))
    for name in PER_AMOUNT:
        assert isnan(lab.get(name, *place))
    assert lab.get("A", 1) == pytest.approx(1.0, rel=1e-15)
    assert lab.get("A", 0) == pytest.approx(0.5, rel=1e-15)


def test_potentials_that_the_stable_phases_leave_open(lab, dat):
    # A compound alone at its exact composition fixes a + 2 b and nothing else.
    file = dat({"A": 1.0, "B": 2.0}).gas("GAS", ("A", [1, 0], []), ("B", [0, 1], []))
    file.pure("AB2", [1, 2], [-300000.0]).pure("A2B4", [2, 4], [-500000.0])
    lab.load(file.pure("A(s)", [1, 0], [50000.0]))
    lab.set("T", 1000.0)
    lab.set("IA", 1.0, lab.pc("AB2"))
    lab.calculate()
    assert lab.get("A", lab.ph("AB2")) == 1.0
    for place in [lab.sc("A"), lab.sc("B"), lab.pc("GAS", "A"), lab.pc("GAS", "B")]:
        assert isnan(lab.get("MU", *place))
        assert isnan(lab.get("AC", *place))
    # The combination that is fixed is known, in each phase that is made of it.
    assert lab.get("MU", *lab.pc("AB2")) == pytest.approx(-300000.0, rel=1e-13)
    assert lab.get("MU", *lab.pc("A2B4")) == pytest.approx(-600000.0, rel=1e-13)
    assert lab.get("AC", lab.ph("AB2")) == 1.0
    assert lab.get("A", -1, 1) == 2.0
    assert lab.get("H") == pytest.approx(-300000.0, rel=1e-13)


def test_component_without_pure_record(lab, dat):
    file = dat({"A": 1.0, "B": 2.0}).pure("AB", [1, 1], [-1000.0]).pure("A(s)", [1, 0], [])
    lab.load(file)
    lab.set("T", 1000.0)
    lab.put_in(A=2.0, B=1.0)
    lab.calculate()
    assert lab.get("MU", *lab.sc("B")) == pytest.approx(-1000.0, rel=1e-13)
    assert isnan(lab.get("AC", *lab.sc("B")))
    assert lab.get("AC", *lab.sc("A")) == pytest.approx(1.0, rel=1e-13)


def test_values_per_amount_of_a_system_without_amount(lab, gas_over_solid):
    lab.load(gas_over_solid)
    lab.set("T", 1000.0)
    lab.set("AC", 1.0, lab.sc("A"))
    lab.calculate()  # a given activity saturates the solid, and nothing is there
    assert lab.get("A") == 0.0
    assert lab.get("H") == 0.0
    for name in PER_AMOUNT:
        assert isnan(lab.get(name))
    assert lab.get("AC", lab.ph("A(s)")) == pytest.approx(1.0, rel=1e-12)


def test_values_per_mass_of_what_weighs_nothing(hx, lab, dat):
    lab.load(dat({"A": 10.0, "Va": 0.0}).ideal("S", ("A", [1, 0], []), ("Va", [0, 1], [7.0])))
    lab.set("T", 1000.0)
    lab.put_in(A=1.0, Va=1.0)
    lab.calculate()
    hx.hxcsu(Quantity.Amount, AmountUnit.kg)
    assert lab.get("A", 0, 1) == 0.0
    assert lab.get("X", 0, 1) == 0.0
    assert isnan(lab.get("HM", 0, 1))
    assert lab.get("H", 0, 1) == pytest.approx(7.0, rel=1e-12)
    assert lab.get("A", 0) == pytest.approx(0.010, rel=1e-14)


def test_no_existing_place_is_refused_after_a_calculation(hx, lab, ironmaking_file):
    hx.hxopna(ironmaking_file, 10)
    hx.hxrfil()
    lab.set("T", 1200.0)
    lab.put_in(Fe=1.0, O=1.2, C=0.3)
    hx.hxcsp(lab.ph("Fe(bcc)"), Status.DORMANT)
    hx.hxcsp(lab.ph("Fe(fcc)"), Status.ELIMINATED)
    lab.calculate()
    components = range(hx.hxnosc())
    of_parts = ["A", "X", "IA", "AC", "MU", *EXTENSIVE, *PER_AMOUNT]
    for name in ["P", "VT", "T", "A", *EXTENSIVE, *PER_AMOUNT]:
        assert not isnan(lab.get(name))
    for j in components:
        for name in ("A", "X", "IA", "AC", "MU"):
            assert type(lab.get(name, -1, j)) is float
    for i in range(hx.hxnop()):
        for name in of_parts:
            if name != "IA":
                assert type(lab.get(name, i)) is float
            for k in range(hx.hxnopc(i)):
                assert type(lab.get(name, i, k)) is float
        for j in components:
            assert type(lab.get("AP", i, j)) is float
            assert type(lab.get("XP", i, j)) is float


def test_electron_components_have_no_amount(lab, dat):
    file = dat({"Na": 23.0, "Cl": 35.5, "e(SALT)": 0.00054858})
    file.ideal("SALT", ("Na+", [1, 0, -1], [-1000.0]), ("Cl-", [0, 1, 1], [-2000.0]))
    lab.load(file)
    lab.set("T", 1000.0)
    lab.put_in(Na=1.0, Cl=1.0)
    lab.calculate()
    electron = lab.sc("e(SALT)")
    assert lab.get("A", *electron) == 0.0
    assert lab.get("X", *electron) == 0.0
    assert lab.get("AP", 0, 2) == 0.0
    assert lab.get("XP", 0, 2) == 0.0
    assert isnan(lab.get("AC", *electron))
    assert lab.get("A", 0) == pytest.approx(2.0, rel=1e-12)
    assert lab.get("XP", 0, 0) == pytest.approx(0.5, rel=1e-12)


def test_results_need_a_calculation(hx, lab, gas_over_solid):
    lab.load(gas_over_solid)
    for place in [(), (0,), (-1, 0), (0, 0)]:
        with pytest.raises(TessaraError, match=r"nothing has been calculated yet; calculate with"):
            lab.get("A", *place)
    assert lab.get("IA", 0, 0) == lab.get("IA", -1, 1) == 0.0
