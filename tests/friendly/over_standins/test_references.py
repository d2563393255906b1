"""Each method, and each failure of the library within it, gives back every reference it took."""

import gc
import os
import sys
from types import SimpleNamespace

import friendly_calls
import pytest

import tessara.friendly

METHODS = friendly_calls.own_callables(tessara.friendly)
# Under the sanitizers memory comes from `malloc`, and everything takes several times as long.
REPETITIONS = 3 if os.environ.get("PYTHONMALLOC") == "malloc" else 20
ROUNDS = 20


def blocks_in_use():
    gc.collect()
    return sys.getallocatedblocks()


@pytest.fixture
def right(friendly, library, dat, tmp_path):
    """Right arguments for every method, with the system loaded and the streams made."""
    listing = tmp_path / "listing"
    for path in (dat.with_suffix(".tdf"), listing):
        path.write_text("text")
    right = friendly_calls.RightArguments(friendly, dat, listing)
    # Captures go to one file, which stays as it is, so that the memory in use tells something.
    friendly.NamedTemporaryFile = lambda delete: SimpleNamespace(name=str(listing), close=int)
    library.listing = ""
    friendly.print = len
    friendly.EquilibriumCalculationBase.t_start = 1.0
    right.prepare()
    return right


@pytest.fixture
def repeat(friendly, library, core, right):
    """`repeat(action, n)`: the outcome of the action, the n-th operation of which fails."""
    module_before = dict(vars(friendly))
    answers = []
    library.instead["hxmap"] = library.instead["hxmapl"] = lambda *a: bool(
        answers and answers.pop()
    )

    def run(action, failing=None):
        vars(friendly).update(module_before)
        library.fail_at = None
        library.error = core.TessaraError("library text")
        library.units.clear()
        right.make_streams()
        library.calls.clear()
        library.list_number = 6
        answers[:] = [True, True]
        library.fail_at = failing
        try:
            action()
        except Exception as error:
            kind = type(error)
            error.__traceback__ = error.__context__ = None
            return kind
        return None

    return run


def watched(friendly, basic, core, arguments):
    """What the methods touch: arguments, classes, members, operations, what the library knows."""
    enumerations = (core.ConditionVariable, core.TargetVariable, core.ResultVariable)
    things = [*arguments, *friendly_calls.classes(friendly), *enumerations, basic, core]
    things += [member for enumeration in enumerations for member in enumeration]
    things += [getattr(basic, name) for name in basic.OPERATIONS]
    for known in (basic.library.scs, basic.library.phs):
        things += [value for part in known for value in vars(part).values()]
    return [thing for thing in things if not isinstance(thing, int | float | None)]


@pytest.mark.filterwarnings("ignore::DeprecationWarning")
@pytest.mark.parametrize("name", METHODS)
def test_method_keeps_no_reference(friendly, basic, core, library, right, repeat, name):
    method = METHODS[name]
    lists = right.lists(name.rpartition(".")[2], method)
    things = watched(friendly, basic, core, [value for values in lists for value in values])

    def counts():
        library.calls.clear()
        gc.collect(0)
        return [sys.getrefcount(thing) for thing in things]

    for arguments in lists:
        repeat(lambda arguments=arguments: method(*arguments))
        before = counts()
        for _ in range(REPETITIONS):
            repeat(lambda arguments=arguments: method(*arguments))
        after = counts()
        grown = [thing for thing, old, new in zip(things, before, after, strict=True) if new > old]
        assert grown == []


@pytest.mark.filterwarnings("ignore::DeprecationWarning")
@pytest.mark.parametrize("name", METHODS)
def test_failure_of_any_operation_keeps_no_memory(right, library, repeat, name):
    method = METHODS[name]
    for arguments in right.lists(name.rpartition(".")[2], method):

        def action(arguments=arguments):
            method(*arguments)

        repeat(action)
        total = len(library.calls)
        grown = None
        # A lost reference shows in every round; what libraries keep for themselves does not.
        for _ in range(ROUNDS):
            before = blocks_in_use()
            for place in range(total + 1):
                repeat(action, place)
            library.calls.clear()
            grown = blocks_in_use() - before
            if grown <= 0:
                break
        assert grown <= 0
