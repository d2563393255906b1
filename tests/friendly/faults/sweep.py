"""Lets each call of the interpreter that the extension makes fail once.

`methods` calls every method, with right arguments and with wrong ones, again and again: the first
call of the interpreter within it fails, then the second, and so on to the last. `import` does the
same with the import of the module. What was asked for has to end in a `MemoryError`, and the module
has to work afterwards. Prints what did not, and how many failures there were.

    python tests/friendly/faults/sweep.py methods --extension FILE

takes the file of the CMake target `friendly_faults`.
"""

from __future__ import annotations

import argparse
import contextlib
import ctypes
import faulthandler
import gc
import importlib
import json
import os
import sys
import tempfile
import warnings
from collections.abc import Callable, Iterator
from pathlib import Path
from types import ModuleType, SimpleNamespace
from typing import Any

sys.path.insert(0, str(Path(__file__).parents[2] / "support"))

import friendly_calls
import standin_package

Action = Callable[[], Any]


class Sweep:
    """Lets the calls within an action fail, one after the other, and keeps account."""

    def __init__(self, library: ctypes.PyDLL, most: int) -> None:
        self.arm, self.seen = library.faults_arm, library.faults_seen
        self.most = most
        self.scenes = 0
        self.failures = 0
        self.wrong: list[str] = []

    def outcome(self, action: Action, failing: int) -> str:
        """How the action ends: the name of the exception, empty for none."""
        self.arm(failing)
        try:
            action()
        except BaseException as error:
            self.calls = self.seen()
            self.arm(0)
            self.text = f"{type(error).__name__}: {error}"
            return type(error).__name__
        self.calls = self.seen()
        self.arm(0)
        self.text = "no exception"
        return ""

    def places(self, total: int) -> list[int]:
        """Which calls of so many fail: all, or `most` at even distances, other ones each time."""
        if total <= self.most:
            return list(range(1, total + 1))
        stride = -(-total // self.most)
        return list(range(1 + self.scenes % stride, total + 1, stride))

    def run(self, what: str, action: Action, again: Action) -> None:
        """Let each call within `action` fail; `again` puts things right before each."""
        again()
        self.outcome(action, 0)  # names are made at their first use
        again()
        expected = self.outcome(action, 0)
        total = self.calls
        self.scenes += 1
        growth: list[int] = []
        # A lost reference shows in every round; what libraries keep for themselves does not.
        while len(growth) < 8 and (not growth or growth[-1] > 0):
            before = blocks_in_use()
            self.outcome(action, 0)
            for place in self.places(total):
                again()
                found = self.outcome(action, place)
                self.failures += 1
                if found != "MemoryError":
                    self.wrong.append(f"{what}, call {place} of {total}: {self.text}")
            self.text = ""
            again()
            growth.append(blocks_in_use() - before)
        if growth[-1] > 0:
            for place in [0, *self.places(total)]:
                if self.keeps_memory(action, place, again):
                    self.wrong.append(f"{what}, call {place} of {total}: memory is kept")
        if self.outcome(action, 0) != expected:
            self.wrong.append(f"{what}: afterwards {self.text}")

    def keeps_memory(self, action: Action, failing: int, again: Action) -> bool:
        """Whether each time that the action ends this way costs a block of memory at least."""
        times = 30
        for _ in range(3):
            before = blocks_in_use()
            for _ in range(times):
                again()
                self.outcome(action, failing)
            self.text = ""
            again()
            if blocks_in_use() - before < times:
                return False
        return True


def blocks_in_use() -> int:
    gc.collect()
    return sys.getallocatedblocks()


def wrong_arguments(right: list[Any]) -> Iterator[tuple[list[Any], dict[str, Any]]]:
    """Such as a method refuses in its argument rules, or by a look-up or test of its own."""
    yield [], {"odd": 1}
    yield [*right, *[None] * 9], {}
    for place in range(len(right)):
        yield [*right[:place], "Xx", *right[place + 1 :]], {}


def scenes(friendly: ModuleType, right: Any) -> Iterator[tuple[str, Action]]:
    """Calls of every method under a text that tells them."""
    for full_name, method in friendly_calls.own_callables(friendly).items():
        lists = right.lists(full_name.rpartition(".")[2], method)
        names = [parameter.name for parameter in friendly_calls.parameters(method)]
        calls = [(arguments, {}) for arguments in lists]
        calls.append(([], dict(zip(names, lists[0], strict=True))))
        calls.extend(wrong_arguments(lists[0]))
        for arguments, keywords in calls:
            text = f"{full_name}(*{arguments!r}, **{keywords!r})"
            yield text, lambda m=method, a=arguments, k=keywords: m(*a, **k)
        raw = method.__func__ if hasattr(method, "__func__") else method
        for part in ("__signature__", "__text_signature__", "__doc__", "__reduce__"):
            yield f"{full_name}.{part}", lambda raw=raw, part=part: getattr(raw, part)


def sweep_methods(library: ctypes.PyDLL, most: int, home: Path) -> Sweep:
    """Let each call within each method fail."""
    friendly = importlib.import_module("tessara.friendly")
    basic = importlib.import_module("tessara.basic")
    dat, listing = home / "system.dat", home / "listing"
    for path in (dat, dat.with_suffix(".tdf"), listing):
        path.write_text("text")
    right = friendly_calls.RightArguments(friendly, dat, listing)
    right.prepare()
    # Two further points of a phase map, then its end.
    answers: list[bool] = []
    for name in ("hxmap", "hxmapl"):
        basic.library.instead[name] = lambda *arguments: bool(answers) and answers.pop()
    # Captures go to one file, which stays as it is, so that the memory in use tells something.
    friendly.NamedTemporaryFile = lambda delete: SimpleNamespace(name=str(listing), close=int)
    basic.library.listing = ""
    module_before = dict(vars(friendly))
    classes_before = [(cls, dict(vars(cls))) for cls in friendly_calls.classes(friendly)]

    def again() -> None:
        vars(friendly).update(module_before)
        for cls, before in classes_before:
            for name in set(vars(cls)) - set(before):
                delattr(cls, name)
            for name, value in before.items():
                if vars(cls)[name] is not value:
                    setattr(cls, name, value)
        friendly.EquilibriumCalculationBase.t_start = 1.0
        right.make_streams()
        basic.library.list_number = 6
        basic.library.calls.clear()
        answers[:] = [True, True]

    sweep = Sweep(library, most)
    gc.freeze()
    for text, action in scenes(friendly, right):
        sweep.run(text, action, again)
    again()
    right.prepare()
    assert friendly.ThermochemicalSystem.get_index_pc("LIQUID", "C") == 1
    return sweep


def sweep_import(library: ctypes.PyDLL, most: int) -> Sweep:
    """Let each call within the import fail. An import that failed starts again from nothing."""
    importlib.import_module("tessara.basic")
    sweep = Sweep(library, most)

    def action() -> None:
        importlib.import_module("tessara.friendly")

    place = 1
    while sweep.outcome(action, place) != "":
        sweep.failures += 1
        if not sweep.text.startswith("MemoryError"):
            sweep.wrong.append(f"import, call {place}: {sweep.text}")
        if "tessara.friendly" in sys.modules:
            sweep.wrong.append(f"import, call {place}: half a module is left")
        place += 1 if place < 400 else max(1, 8000 // most)
    friendly = importlib.import_module("tessara.friendly")
    assert friendly.StreamCalculation.streams == {}
    return sweep


def main() -> None:
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("what", choices=["methods", "import"])
    parser.add_argument("--extension", type=Path, required=True)
    parser.add_argument("--core", choices=["standin", "real"], default="standin")
    parser.add_argument("--most", type=int, default=10**6, help="failures within one action")
    options = parser.parse_args()
    faulthandler.enable()
    warnings.simplefilter("ignore")
    console, here = sys.stdout, Path.cwd()
    extension = options.extension.resolve()
    with tempfile.TemporaryDirectory() as folder:
        root = Path(folder)
        package = standin_package.make(root, extension, core=options.core)
        sys.path.insert(0, str(root))
        os.chdir(root)
        tempfile.tempdir = str(root)
        library = ctypes.PyDLL(str(package / extension.name))
        gc.disable()
        try:
            with contextlib.redirect_stdout(friendly_calls.Sink()):
                if options.what == "import":
                    sweep = sweep_import(library, options.most)
                else:
                    sweep = sweep_methods(library, options.most, root)
        finally:
            os.chdir(here)
    json.dump({"failures": sweep.failures, "wrong": sweep.wrong}, console)


if __name__ == "__main__":
    main()
