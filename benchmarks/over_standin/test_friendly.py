"""What `friendly` adds to the operations of the library and to the records that it fills."""

import time
from collections.abc import Callable
from contextlib import contextmanager

import pytest

from tessara import basic, core, friendly
from tessara.friendly import EquilibriumCalculation, ResultVariable, ThermochemicalSystem

OPERATIONS = [name for name in dir(basic) if name.startswith("hx")]
RECORDS = [
    name
    for name, value in vars(core).items()
    if isinstance(value, type) and issubclass(value, core.records.Record)
]


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


def seconds(action: Callable[[], object]) -> float:
    """The shortest of many times."""
    best = float("inf")
    for _ in range(40):
        start = time.perf_counter()
        action()
        best = min(best, time.perf_counter() - start)
    return best


@contextmanager
def recorded(owner, names):
    """The calls that are made of these names of a module meanwhile, to be replayed."""
    calls = []
    before = {name: getattr(owner, name) for name in names if hasattr(owner, name)}

    def recorder(function):
        def record(*arguments, **keywords):
            if not keywords:
                calls.append((function, arguments))
            return function(*arguments, **keywords)

        return record

    for name, function in before.items():
        setattr(owner, name, recorder(function))
    try:
        yield calls
    finally:
        for name, function in before.items():
            setattr(owner, name, function)


def split(action):
    """Seconds of the whole, of its operations, of its records' constructors."""
    with recorded(basic, OPERATIONS) as operations, recorded(friendly, RECORDS) as constructors:
        action()
    return (
        seconds(action),
        seconds(lambda: basic.replay(operations)),
        seconds(lambda: basic.replay(constructors)),
    )


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
    whole, operations, _ = split(ThermochemicalSystem._build_cache)
    show(
        f"cache of 2000 constituents: {1e3 * (whole - operations):.1f} ms over the operations' own"
        f" {1e3 * operations:.1f} ms (aim: below 20 ms)"
    )


def test_load(benchmark, load):
    benchmark(load, 40, 150, 2000)


@pytest.mark.parametrize(
    "make", [lambda: EquilibriumCalculation.get_result_object()], ids=["absolute"]
)
def test_result_object(benchmark, load, show, make):
    load(5, 10, 100)
    benchmark(make)
    whole, operations, constructors = split(make)
    own = whole - operations - constructors
    show(
        f"result of 100 constituents: {1e6 * whole:.0f} us = operations {1e6 * operations:.0f} us"
        f" + records' constructors {1e6 * constructors:.0f} us + {1e6 * own:.0f} us, which is"
        f" {own / whole:.0%} (aim: below half)"
    )
