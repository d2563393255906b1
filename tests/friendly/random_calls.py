"""Random calls of every method over a stand-in library that answers at random.

Arguments are right ones, wrong ones, and objects whose special methods raise, give nonsense or call
the module again; calls go through classes, subclasses, instances and whatever else stands for
`cls`; the library raises, gives nonsense and calls back; names of the module are taken away for the
length of a call. Every call has to end in a result or in an exception that is not the interpreter's
own complaint (`SystemError`) or a lack of memory.

    python tests/friendly/random_calls.py --extension FILE --seeds 7 --calls 4000

repeats what a failure names. The choices depend on the seed alone.
"""

from __future__ import annotations

import argparse
import contextlib
import faulthandler
import gc
import importlib
import json
import os
import random
import sys
import tempfile
import warnings
from collections import Counter
from collections.abc import Callable
from pathlib import Path
from types import SimpleNamespace
from typing import Any

sys.path.insert(0, str(Path(__file__).parents[1] / "support"))

import friendly_calls
import standin_package

TOO_MANY_OPERATIONS = 3000  # in one call: a walk that a hostile object keeps going ends here
DEEPEST = 3  # calls from within calls


class TroubleError(Exception):
    """What hostile objects and the library raise."""


def plain_open(file: Any, *arguments: Any, **keywords: Any) -> Any:
    """The builtin for texts alone: a number would name a file that this process has open."""
    if type(file) is not str:
        raise OSError("no such file")
    return open(file, *arguments, **keywords)


class Player:
    """Makes the calls of one seed."""

    def __init__(self, seed: int, home: Path) -> None:
        self.friendly = importlib.import_module("tessara.friendly")
        self.basic = importlib.import_module("tessara.basic")
        self.core = importlib.import_module("tessara.core")
        self.random = random.Random(seed)
        self.depth = 0
        self.quiet = False  # the library answers as it should, also to calls of the player's own
        self.calm = False  # it does so during one call
        self.operations = 0
        self.outcomes: Counter[tuple[str, str]] = Counter()
        dat, listing = home / "system.dat", home / "listing"
        for path in (dat, dat.with_suffix(".tdf"), listing):
            path.write_text("text")
        self.right = friendly_calls.RightArguments(self.friendly, dat, listing)
        self.callables = list(friendly_calls.callables(self.friendly).items())
        self.signatures = {
            name: friendly_calls.parameters(method) for name, method in self.callables
        }
        self.classes = friendly_calls.classes(self.friendly)
        self.names = sorted({p.name for ps in self.signatures.values() for p in ps})
        self.paths: list[Any] = [dat, str(dat), str(home / "none.dat"), str(home), str(listing)]
        self.hostile_class = hostile_class(self)
        self.globals = [name for name in vars(self.friendly) if not name.startswith("__")]

    # The library.

    def start_afresh(self) -> None:
        self.library = self.basic.start_afresh()
        for name in self.basic.OPERATIONS:
            self.library.instead[name] = self.operation(name)
        self.friendly.StreamCalculation.streams.clear()
        self.friendly.EquilibriumCalculationBase.t_start = 1.0
        self.quiet = True
        with contextlib.suppress(Exception):
            self.right.prepare()
        self.quiet = False

    def operation(self, name: str) -> Callable[..., Any]:
        right = getattr(self.library, name, None)
        counts = name in ("hxnosc", "hxnop", "hxnopc")
        maps = name.startswith("hxmap")
        random = self.random.random

        def answer(*arguments: Any) -> Any:
            if self.quiet:
                return right and right(*arguments)
            self.library.calls.clear()
            if self.calm:
                return random() < 0.6 if maps else right and right(*arguments)
            self.operations += 1
            if self.operations > TOO_MANY_OPERATIONS:
                raise TroubleError("too many operations")
            chance = random()
            if chance < 0.01:
                raise self.random.choice([self.core.TessaraError("text"), TroubleError("library")])
            if chance < 0.02:
                return self.random.randrange(5) if counts else self.anything()
            if chance < 0.03:
                self.misbehave()
            return random() < 0.6 if maps else right and right(*arguments)

        return answer

    # Arguments.

    def anything(self) -> Any:
        choose = self.random.choice
        f = self.right.friendly
        kind = self.random.randrange(8)
        if kind == 0:
            return choose([0, 1, 2, -1, -2, True, False, 2**31, -(2**31) - 1, 2**63, 10**40])
        if kind == 1:
            return choose([0.0, -0.0, 1.0, -1.0, 1e300, float("nan"), float("inf"), 1j])
        if kind == 2:
            return choose(["GAS", "O2", "Fe", "", "-", "count", "names", "\ud800", "a\0b", b"GAS"])
        if kind == 3:
            return choose([None, (), [], {}, [0, "O"], ("Fe",), [[]], {"a": 1}, range(3), set()])
        if kind == 4:
            return choose([object(), object, Exception, NotImplemented, len, lambda *a, **k: None])
        if kind == 5:
            group = choose([f.ConditionVariable, f.TargetVariable, f.PhaseMapVariable, f.Status])
            return choose([group, next(iter(group)), f.ResultVariable.A, f.AmountUnit.gram])
        if kind == 6:
            return choose(
                [choose(self.classes), self.friendly, self.basic, choose(self.paths), iter([0, 1])]
            )
        return self.hostile_class()

    def argument(self, method: str, parameter: Any) -> Any:
        if self.random.random() < 0.75:
            return self.random.choice(self.right.of(method, parameter))
        return self.anything()

    def arguments(self, full_name: str) -> tuple[list[Any], dict[str, Any]]:
        method = full_name.rpartition(".")[2]
        positional: list[Any] = []
        named: dict[str, Any] = {}
        for parameter in self.signatures[full_name]:
            chance = self.random.random()
            optional = parameter.default is not parameter.empty
            if chance < (0.4 if optional else 0.01):
                continue
            value = self.argument(method, parameter)
            if named or chance > 0.85:
                named[parameter.name] = value
            else:
                positional.append(value)
        if self.random.random() < 0.03:
            positional.extend(self.anything() for _ in range(self.random.randrange(1, 9)))
        if self.random.random() < 0.03:
            named[self.random.choice([*self.names, "odd", "\ud800", ""])] = self.anything()
        return positional, named

    # What a call goes through.

    def receiver(self, cls: type) -> Any:
        """The class, an instance, or a subclass of which a method or two are other ones."""
        chance = self.random.random()
        if chance < 0.7:
            return cls
        if chance < 0.8:
            return cls()
        names = friendly_calls_of(cls)
        body = {}
        for name in self.random.sample(names, 2):
            body[name] = classmethod(self.replacement(getattr(cls, name)))
        return type("Derived", (cls,), body)

    def replacement(self, method: Callable[..., Any]) -> Callable[..., Any]:
        chance = self.random.random()

        def replaced(cls: type, *arguments: Any, **keywords: Any) -> Any:
            if chance < 0.3:
                return self.anything()
            if chance < 0.5:
                raise TroubleError("replaced")
            self.misbehave()
            return method(*arguments, **keywords)

        return replaced

    # The calls.

    def misbehave(self) -> None:
        """Do what nobody expects in the middle of a call."""
        if self.depth >= DEEPEST:
            return
        chance = self.random.random()
        if chance < 0.5:
            with contextlib.suppress(Exception):
                self.call()
        elif chance < 0.7:
            with contextlib.suppress(Exception):
                self.friendly.ThermochemicalSystem.load(self.paths[0])
        elif chance < 0.8:
            with contextlib.suppress(AttributeError):
                self.friendly.StreamCalculation.streams.clear()
        elif chance < 0.9:
            del self.library.phs[1:]
        else:
            gc.collect(0)

    def tamper(self) -> None:
        """Take a name of the module away, or put another thing there."""
        name = self.random.choice(self.globals)
        if self.random.random() < 0.5:
            vars(self.friendly).pop(name, None)
        else:
            setattr(self.friendly, name, self.anything())

    def call(self) -> None:
        full_name, method = self.random.choice(self.callables)
        positional, named = self.arguments(full_name)
        cls = getattr(method, "__self__", None)
        self.depth += 1
        try:
            if cls is not None and self.random.random() < 0.03:
                method.__func__(self.anything(), *positional, **named)
            elif cls is not None:
                getattr(self.receiver(cls), method.__name__)(*positional, **named)
            else:
                method(*positional, **named)
            outcome = "result"
        except (SystemError, MemoryError):
            raise
        except Exception as error:
            outcome = type(error).__name__
        finally:
            self.depth -= 1
        self.outcomes[full_name, outcome] += 1

    def outermost_call(self) -> None:
        self.operations = 0
        self.calm = self.random.random() < 0.3
        if self.random.random() > 0.05:
            self.call()
            return
        before = dict(vars(self.friendly))
        try:
            self.tamper()
            self.call()
        finally:
            vars(self.friendly).clear()
            vars(self.friendly).update(before)

    def play(self, calls: int, progress: Callable[[int], None]) -> None:
        classes_before = [(cls, dict(vars(cls))) for cls in self.classes]
        for number in range(calls):
            if number % 50 == 0:
                restore(classes_before)
                self.start_afresh()
            progress(number)
            self.outermost_call()
        restore(classes_before)
        self.quiet = True
        self.basic.start_afresh()
        self.right.prepare()
        assert self.friendly.ThermochemicalSystem.get_index_pc("LIQUID", "C") == 1


def friendly_calls_of(cls: type, known: dict[type, list[str]] = {}) -> list[str]:  # noqa: B006
    if cls not in known:
        known[cls] = friendly_calls.method_names(cls)
    return known[cls]


def restore(classes: list[tuple[type, dict[str, Any]]]) -> None:
    """Put the attributes of classes back that calls have set."""
    for cls, before in classes:
        for name in set(vars(cls)) - set(before):
            delattr(cls, name)
        for name, value in before.items():
            if vars(cls)[name] is not value:
                setattr(cls, name, value)


def hostile_class(player: Player) -> type:
    """A class whose special methods raise, call the module, give nonsense, or do what they should.

    A third of the objects also has hostile attributes.
    """

    def special(right: Callable[[], Any]) -> Callable[..., Any]:
        def method(self: Any, *arguments: Any) -> Any:
            turn = player.random.random()
            if turn < 0.2:
                raise TroubleError("hostile")
            if turn < 0.3:
                raise KeyError("hostile")
            if turn < 0.5:
                player.misbehave()
            if turn > 0.9:
                return player.anything()
            return right()

        return method

    def attribute(self: Any, name: str) -> Any:
        if player.random.random() < 0.5 or name.startswith("__"):
            raise AttributeError(name)
        player.misbehave()
        return player.anything()

    answers: dict[str, Callable[[], Any]] = {
        "hash": lambda: 1,
        "eq": lambda: True,
        "lt": lambda: False,
        "gt": lambda: True,
        "float": lambda: 1.0,
        "int": lambda: 1,
        "index": lambda: 1,
        "bool": lambda: True,
        "str": lambda: "hostile",
        "format": lambda: "hostile",
        "iter": lambda: iter([0, "O"]),
        "next": lambda: 1.0,
        "len": lambda: 2,
        "getitem": lambda: {"index": 0, "count": 2, "name": "Fe", "pcs": {"count": 0}},
        "contains": lambda: True,
        "mul": lambda: 1.0,
        "truediv": lambda: 1.0,
        "add": lambda: "text",
        "call": lambda: 1.0,
        "enter": lambda: SimpleNamespace(read=lambda: "text"),
        "exit": lambda: False,
        "fspath": lambda: str(player.paths[0]),
    }
    body: dict[str, Any] = {f"__{name}__": special(right) for name, right in answers.items()}
    hostile = type("Hostile", (), body)
    subclass = type("HostileAttributes", (hostile,), {"__getattr__": attribute})
    mapping = type("HostileDict", (dict,), {"__getitem__": body["__getitem__"]})
    number = type("HostileFloat", (float,), {n: body[n] for n in ("__gt__", "__eq__", "__hash__")})

    def make() -> Any:
        kind = player.random.choice([hostile, hostile, subclass, mapping, number])
        return kind()

    return make  # type: ignore[return-value]


def play(seeds: list[int], calls: int, home: Path, progress: Path | None) -> Counter[Any]:
    """Make the calls of each seed, and count the outcomes of each method."""
    outcomes: Counter[Any] = Counter()
    note = os.open(progress, os.O_WRONLY | os.O_CREAT) if progress is not None else None
    for seed in seeds:
        player = Player(seed, home)
        number = 0

        def noted(now: int, seed: int = seed) -> None:
            nonlocal number
            number = now
            if note is not None:
                os.pwrite(note, b"seed %10d, call %10d" % (seed, now), 0)

        try:
            player.play(calls, noted)
        except BaseException:
            print(f"seed {seed}, call {number}", file=sys.stderr)
            raise
        outcomes.update(player.outcomes)
        for path in home.glob("tmp*"):
            path.unlink()
    if note is not None:
        os.close(note)
    return outcomes


def blocks_in_use() -> int:
    gc.collect()
    return sys.getallocatedblocks()


def main() -> None:
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--extension", type=Path, help="the built file; else the installed one")
    parser.add_argument("--core", choices=["standin", "real"], default="standin")
    parser.add_argument("--seeds", type=int, nargs="+", default=[0])
    parser.add_argument("--calls", type=int, default=10_000, help="for each seed")
    parser.add_argument("--rounds", type=int, default=1, help="how often all of it is repeated")
    parser.add_argument("--progress", type=Path, help="file that tells the call under way")
    options = parser.parse_args()
    faulthandler.enable()
    warnings.simplefilter("ignore", DeprecationWarning)
    extension = options.extension or standin_package.extension_file()
    console, here = sys.stdout, Path.cwd()
    progress = options.progress and options.progress.resolve()
    with tempfile.TemporaryDirectory() as folder:
        root = Path(folder)
        home = root / "home"
        home.mkdir()
        standin_package.make(root, extension.resolve(), core=options.core)
        sys.path.insert(0, str(root))
        os.chdir(home)
        tempfile.tempdir = str(home)
        for module in ("tessara.friendly", "tessara.basic"):
            vars(importlib.import_module(module))["open"] = plain_open
        blocks = []
        try:
            with contextlib.redirect_stdout(friendly_calls.Sink()):
                for _ in range(options.rounds):
                    outcomes = play(options.seeds, options.calls, home, progress)
                    blocks.append(blocks_in_use())
        finally:
            os.chdir(here)
    found: dict[str, dict[str, int]] = {}
    for (name, outcome), count in sorted(outcomes.items()):
        found.setdefault(name, {})[outcome] = count
    json.dump({"blocks": blocks, "outcomes": found}, console)


if __name__ == "__main__":
    main()
