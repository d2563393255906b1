"""What `friendly` adds to the operations of the library and to the records that it fills."""

import pytest
from split_times import seconds, shares, split

from tessara import basic, core
from tessara.friendly import EquilibriumCalculation, ResultVariable, ThermochemicalSystem


@pytest.fixture
def load(tmp_path):
    """`load(components, phases, constituents)`: a system of that size."""
    path = tmp_path / "system.dat"
    path.write_text("")

    def load(*sizes):
        members = (core.SolutionModel.IDMX, core.Status.ENTERED, core.AmountUnit.mol)
        basic.make_system(*sizes, *members)
        ThermochemicalSystem.load(path)

    return load


def times_of_many(action, number=20_000):
    def many():
        for _ in range(number):
            action()

    return seconds(many) / number


def test_getter_by_name(benchmark, load, show):
    load(40, 150, 2000)
    get, hxgetr, A = EquilibriumCalculation.get_eq_A_pc, basic.hxgetr, ResultVariable.A
    benchmark(get, "Phase7", "Constituent3")
    getter = times_of_many(lambda: get("Phase7", "Constituent3"))
    operation = times_of_many(lambda: hxgetr(A, 7, 3))
    added = 1e9 * (getter - operation)
    show(f"getter by name: {added:.0f} ns over the operation's own time (aim: below 100 ns)")


def test_operation_behind_the_getter(benchmark, load):
    load(40, 150, 2000)
    benchmark(basic.hxgetr, ResultVariable.A, 7, 3)


def test_setter(benchmark, load):
    load(40, 150, 2000)
    benchmark(EquilibriumCalculation.set_eq_T, 1250.0)


def test_amounts_of_all_constituents(benchmark, load):
    load(40, 150, 2000)
    benchmark(EquilibriumCalculation.get_eq_A_pcs)


def test_cache(benchmark, load, show):
    load(40, 150, 2000)
    benchmark(ThermochemicalSystem._build_cache)
    whole, operations, _ = split(ThermochemicalSystem._build_cache, basic.replay)
    show(
        f"cache of 2000 constituents: {1e3 * (whole - operations):.1f} ms over the operations' own"
        f" {1e3 * operations:.1f} ms (aim: below 20 ms)"
    )


def test_load(benchmark, load):
    benchmark(load, 40, 150, 2000)


def test_result_object(benchmark, load, show):
    load(5, 10, 100)
    make = EquilibriumCalculation.get_result_object
    benchmark(make)
    show(shares("result of 100 constituents over free operations", split(make, basic.replay)))
