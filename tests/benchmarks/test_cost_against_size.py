"""What is drawn are the medians, each with its size."""

import pytest
from cost_against_size import curves, failures


def row(name, aggregate, seconds):
    return {
        "name": f"{name}_{aggregate}",
        "run_name": name,
        "aggregate_name": aggregate,
        "per equilibrium": seconds,
    }


SMALL = "cost_against_size/components:2/constituents:10"
LARGE = "cost_against_size/components:2/constituents:200"
WIDE = "cost_against_size/components:16/constituents:200"


def test_medians_are_sorted_by_size():
    rows = [
        row(WIDE, "median", 0.02),
        row(LARGE, "median", 0.004),
        row(SMALL, "mean", 1.0),
        row(SMALL, "median", 0.0005),
        row("cold/gas_with_compounds", "median", 1.0),
    ]
    assert curves({"benchmarks": rows}) == {
        2: [(10, pytest.approx(0.5)), (200, pytest.approx(4.0))],
        16: [(200, pytest.approx(20.0))],
    }


def test_what_did_not_converge_is_left_out_and_told():
    failed = {"name": LARGE, "error_occurred": True, "error_message": "no equilibrium"}
    times = {"benchmarks": [row(SMALL, "median", 0.0005), failed, failed]}
    assert curves(times) == {2: [(10, pytest.approx(0.5))]}
    assert failures(times) == {LARGE: "no equilibrium"}


def test_a_run_without_medians_is_refused():
    with pytest.raises(ValueError, match="no medians"):
        curves({"benchmarks": [row(SMALL, "mean", 1.0)]})
