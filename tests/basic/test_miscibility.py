"""Phases that split into more compositions than the data file lists."""

import warnings
from math import log

import pytest

from tessara.core import (
    AmountUnit,
    ConfigurationOption,
    MiscibilityWarning,
    Quantity,
    Status,
)

T = 1000.0


@pytest.fixture
def rich(r_gas):
    """The fraction in the richer composition of a regular solution with interaction 3 R T.

    ln(x / (1 - x)) = 3 (2 x - 1), by bisection.
    """
    low, high = 0.6, 0.999
    for _ in range(200):
        middle = 0.5 * (low + high)
        if log(middle / (1 - middle)) < 3 * (2 * middle - 1):
            low = middle
        else:
            high = middle
    return low


@pytest.fixture
def solution(lab, dat, r_gas):
    """`solution(copies)`: a loaded solution that splits, with 1 mol of each component."""

    def load(copies=1):
        file = dat({"A": 10.0, "B": 20.0})
        for _ in range(copies):
            file.regular("S", [("A", [1, 0], []), ("B", [0, 1], [])], 3 * r_gas * T)
        lab.load(file)
        lab.set("T", T)
        lab.put_in(A=1.0, B=1.0)
        return lab

    return load


def test_surplus_sets_are_made_and_told_of(hx, solution, rich):
    lab = solution()
    with pytest.warns(MiscibilityWarning) as caught:
        lab.calculate()
    assert len(caught) == 1
    assert str(caught[0].message).startswith("phase S splits into more compositions than")
    assert caught[0].filename == __file__.replace("test_miscibility", "conftest")
    # The true minimum is handed out: potentials are those of the split phase.
    rt = 8.314462618 * T
    mu = rt * log(rich) + 3 * rt * (1 - rich) ** 2
    assert lab.get("MU", -1, 0) == pytest.approx(mu, rel=1e-10)
    assert lab.get("G") == pytest.approx(2 * mu, rel=1e-10)


def test_folded_phase_has_the_amounts_and_fractions_of_the_sum(hx, solution):
    lab = solution()
    with pytest.warns(MiscibilityWarning):
        lab.calculate()
    assert lab.get("A", 0) == pytest.approx(2.0, rel=1e-12)
    assert lab.get("X", 0, 0) == pytest.approx(0.5, rel=1e-12)
    assert lab.get("AC", 0) == 1.0


def test_sets_can_be_read_apart(hx, solution, rich):
    lab = solution()
    with pytest.warns(MiscibilityWarning):
        lab.calculate()
    first, second = hx.composition_sets(0)
    # Numbered by falling fraction of the first component in which they differ.
    assert first["fractions"] == pytest.approx([rich, 1 - rich], rel=1e-10)
    assert second["fractions"] == pytest.approx([1 - rich, rich], rel=1e-10)
    assert [first["amount"], second["amount"]] == pytest.approx([1.0, 1.0], rel=1e-10)
    hx.hxcsu(Quantity.Amount, AmountUnit.gram)
    first, second = hx.composition_sets(0)
    mass = 10 * rich + 20 * (1 - rich)
    assert first["amount"] == pytest.approx(mass, rel=1e-10)
    assert first["fractions"][0] == pytest.approx(10 * rich / mass, rel=1e-10)
    assert sum(second["fractions"]) == pytest.approx(1.0, rel=1e-14)


def test_warning_comes_once_per_phase_and_load(hx, solution):
    for _ in range(2):
        lab = solution()
        with pytest.warns(MiscibilityWarning):
            lab.calculate()
        lab.calculate()  # warnings are errors in these tests
        lab.put_in(A=1.2)
        hx.hxcen(*lab.NoTarget)
        hx.hxremc(-2)
        lab.set("T", T)
        lab.put_in(A=1.0, B=1.0)
        lab.calculate()


def test_result_is_readable_where_the_warning_is_made_an_error(hx, solution):
    lab = solution()
    with warnings.catch_warnings():
        warnings.simplefilter("error")
        with pytest.raises(MiscibilityWarning):
            lab.calculate()
    assert lab.get("A", 0) == pytest.approx(2.0, rel=1e-12)
    assert len(hx.composition_sets(0)) == 2
    lab.calculate()  # it has been told


def test_listing_is_complete_before_the_warning(hx, solution):
    lab = solution()
    with pytest.raises(MiscibilityWarning):
        lab.listing(hx.hxcel, *lab.NoTarget)
    text = (lab.folder / "listing.txt").read_text()
    assert "Composition sets of S\n" in text
    assert text.rstrip().splitlines()[-1].startswith("  Iterations:")


def test_listed_copies_take_the_sets_without_a_warning(hx, solution, rich):
    lab = solution(copies=2)
    lab.calculate()
    assert lab.get("X", 0, 0) == pytest.approx(rich, rel=1e-10)
    assert lab.get("X", 1, 0) == pytest.approx(1 - rich, rel=1e-10)
    for i in range(2):
        assert len(hx.composition_sets(i)) == 1


def test_single_set_is_the_first_copy(hx, solution, rich):
    lab = solution(copies=2)
    lab.put_in(B=0.01)  # within the richer branch: one composition
    lab.calculate()
    assert rich < 1.0 / 1.01
    assert lab.get("A", 0) == pytest.approx(1.01, rel=1e-12)
    assert lab.get("A", 1) == 0.0
    assert 0.0 <= lab.get("AC", 1) < 1.0
    assert hx.composition_sets(1) == []


def test_sets_can_be_forbidden(hx, solution):
    lab = solution()
    hx.configure(ConfigurationOption.COMPOSITION_SETS, False)
    lab.calculate()
    assert lab.get("X", 0, 0) == pytest.approx(0.5, rel=1e-12)
    assert len(hx.composition_sets(0)) == 1


@pytest.mark.parametrize("status", [Status.DORMANT, Status.ELIMINATED])
def test_copy_that_is_not_entered_forbids_surplus_sets(hx, solution, status):
    lab = solution(copies=2)
    hx.hxcsp(1, status)
    lab.calculate()
    assert lab.get("A", 1) == 0.0
    assert lab.get("X", 0, 0) == pytest.approx(0.5, rel=1e-12)


def test_no_sets_of_an_absent_phase(hx, lab, saturated):
    assert hx.composition_sets(2) == []
    [only] = hx.composition_sets(0)
    assert only["amount"] == pytest.approx(saturated.n_gas, rel=1e-12)
    assert only["fractions"] == pytest.approx([saturated.x, 1 - saturated.x], rel=1e-12)
    [solid] = hx.composition_sets(1)
    assert solid == {"amount": lab.get("A", 1), "fractions": [1.0]}
