"""Where the time of a call of the interface goes: operations, records' constructors, all else."""

import gc
import time
from collections.abc import Callable
from contextlib import contextmanager

from tessara import basic, core, friendly

OPERATIONS = [name for name in dir(basic) if name.startswith("hx")]
RECORDS = [
    name
    for name, value in vars(core).items()
    if isinstance(value, type) and issubclass(value, core.records.Record)
]


def seconds(action: Callable[[], object], number: int = 100) -> float:
    """The shortest of many times, without the garbage collector, as `timeit` does it."""
    best = float("inf")
    gc.disable()
    try:
        for _ in range(number):
            start = time.perf_counter()
            action()
            best = min(best, time.perf_counter() - start)
    finally:
        gc.enable()
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


def split(action, replay):
    """Seconds of the whole, of its operations, of its records' constructors."""
    with recorded(basic, OPERATIONS) as operations, recorded(friendly, RECORDS) as constructors:
        action()
    return (
        seconds(action),
        seconds(lambda: replay(operations)),
        seconds(lambda: replay(constructors)),
    )


def shares(title, times):
    """A line on what `split` found."""
    whole, operations, constructors = times
    own = whole - operations - constructors
    return (
        f"{title}: {1e6 * whole:.0f} us = operations {1e6 * operations:.0f} us + records'"
        f" constructors {1e6 * constructors:.0f} us + {1e6 * own:.0f} us, which is"
        f" {own / whole:.0%} (aim: below half)"
    )
