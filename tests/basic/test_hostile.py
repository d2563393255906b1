"""Whatever is called, with whatever arguments: an exception, and nothing else."""

import contextlib
import gc
import os
import random
import subprocess
import sys
import textwrap
import threading
import warnings
from enum import EnumMeta
from pathlib import Path

import pytest

from tessara import core
from tessara.core import (
    ConditionVariable,
    IoOption,
    MiscibilityWarning,
    ResultVariable,
    TargetReadingWarning,
    TargetVariable,
    TessaraError,
)


def test_operation_called_from_fspath_is_refused(hx, tmp_path, gas_over_solid):
    class Path:
        def __fspath__(self):
            with pytest.raises(TessaraError, match="hxini: another operation is still running"):
                hx.hxini()
            return str(tmp_path / "system.dat")

    (tmp_path / "system.dat").write_text(gas_over_solid.text())
    hx.hxopna(Path(), 10)
    hx.hxrfil()
    assert hx.hxnop() == 3


def test_operation_called_from_a_conversion_is_refused(hx, lab, gas_over_solid):
    class Number:
        def __float__(self):
            return float(hx.hxnop())

    lab.load(gas_over_solid)
    with pytest.raises(TessaraError, match="hxnop: another operation is still running"):
        hx.hxsetc(ConditionVariable.T, -1, -1, Number())
    assert lab.set("T", 1000.0) == 1


@pytest.mark.parametrize("category", [MiscibilityWarning, TargetReadingWarning])
def test_operation_called_from_a_warning_is_refused(hx, lab, dat, r_gas, category, monkeypatch):
    file = dat({"A": 1.0, "B": 2.0})
    file.regular("S", [("B", [0, 1], []), ("A", [1, 0], [])], 3 * r_gas * 1000)
    lab.load(file)
    lab.set("T", 1000.0)
    lab.put_in(A=1.0, B=1.0)
    refused = []

    def show(message, kind, *rest, **more):
        assert kind is category
        with pytest.raises(TessaraError, match="another operation is still running"):
            hx.hxgetr(ResultVariable.T)
        refused.append(message)

    with warnings.catch_warnings():
        warnings.simplefilter("always")
        monkeypatch.setattr(warnings, "showwarning", show)
        if category is MiscibilityWarning:
            lab.calculate()
        else:
            lab.set("XT", 0.5, (0, 0))
    assert len(refused) == 1
    assert hx.hxnop() == 1


def test_library_is_free_again_after_every_exception(hx, lab, gas_over_solid):
    class Bad:
        def __index__(self):
            raise KeyboardInterrupt

    lab.load(gas_over_solid)
    with pytest.raises(KeyboardInterrupt):
        hx.hxgnp(Bad())
    assert hx.hxgnp(0) == "GAS"


def test_argument_that_loads_another_file_is_refused(hx, lab, gas_over_solid):
    class Index:
        def __index__(self):
            hx.hxini()
            return 0

    lab.load(gas_over_solid)
    with pytest.raises(TessaraError, match="another operation"):
        hx.hxgnp(Index())
    assert hx.hxnop() == 3


def test_list_that_changes_while_it_is_read(hx, lab, saturated):
    class Number:
        def __init__(self, values):
            self.values = values

        def __float__(self):
            self.values.clear()
            return 0.0

    values = []
    values += [Number(values), Number(values)]
    with pytest.raises(IndexError):
        hx.hxce(TargetVariable.NoTarget, -1, -1, values)
    assert lab.get("T") == 1000.0


def test_note_that_cannot_be_made_passes_its_own_exception(hx, monkeypatch):
    def fail(*arguments):
        raise ZeroDivisionError

    with monkeypatch.context() as patch:
        patch.setattr(core, "note_error", fail)
        with pytest.raises(ZeroDivisionError):
            hx.hxgnp(0)
        patch.delattr(core, "note_error")
        with pytest.raises(AttributeError):
            hx.hxgnp(0)
    with pytest.raises(TessaraError):
        hx.hxgnp(0)


def test_error_class_is_looked_up_in_core(hx, monkeypatch):
    class OtherError(TessaraError):
        pass

    monkeypatch.setattr(core, "TessaraError", OtherError)
    with pytest.raises(OtherError):
        hx.hxgnp(0)


def test_error_class_that_is_none_does_no_harm(hx, monkeypatch):
    with monkeypatch.context() as patch:
        patch.setattr(core, "TessaraError", lambda text: 7)
        with pytest.raises(SystemError):
            hx.hxgnp(0)
    with pytest.raises(TessaraError):
        hx.hxgnp(0)


def test_threads_take_turns(hx, lab, saturated):
    results, failures = [], []

    def work():
        try:
            for _ in range(200):
                hx.hxce(*lab.NoTarget)
                results.append(hx.hxgetr(ResultVariable.A, 0, -1))
        except Exception as error:
            failures.append(error)

    threads = [threading.Thread(target=work) for _ in range(4)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert not failures
    assert len(results) == 800
    assert max(results) - min(results) <= 1e-12


def test_no_reference_is_lost(hx, lab, saturated, tmp_path):
    path = tmp_path / "system.dat"
    member, index, values = ResultVariable.A, 100000, [0.0, 0.0]
    text = "feed" + str(os.getpid())

    def attempt(operation, *arguments):
        with contextlib.suppress(TessaraError, TypeError):
            operation(*arguments)

    def everything():
        for name in dir(hx):
            operation = getattr(hx, name)
            if not callable(operation) or name in ("hxini", "hxcio", "hxopen", "hxremc"):
                continue
            for arguments in [
                (),
                (member,),
                (index,),
                (text, 1.5, 2.5),
                (member, 0, 0),
                (member, index, index, values),
                (TargetVariable.NoTarget, -1, -1, values),
                (IoOption.LIST,),
                (0,),
                (0, 0),
                (path, 10),
                (text, 11),
                (ConditionVariable.H, -1, -1, 1.25),
            ]:
                if name in ("hxcel", "hxcenl", "hxshow"):
                    arguments = (*arguments, None)
                attempt(operation, *arguments)

    def counts():
        gc.collect()
        watched = [member, index, values, text, path, TargetVariable.NoTarget, IoOption.LIST]
        return [sys.getrefcount(each) for each in watched], sys.getallocatedblocks()

    everything()
    everything()
    references, blocks = counts()
    for _ in range(20):
        everything()
    later, more_blocks = counts()
    assert later == references
    assert more_blocks - blocks < 200


class Awkward:
    """An object whose every conversion fails in its own way, or answers oddly."""

    def __init__(self, kind):
        self.kind = kind

    def answer(self):
        if self.kind == 0:
            raise ValueError("no")
        return [None, "x", 10**30, -1, float("nan"), [], 1.5][self.kind % 7]

    __float__ = __index__ = __fspath__ = __int__ = __len__ = __bool__ = answer

    def __getitem__(self, key):
        return self.answer()

    def __eq__(self, other):
        raise RuntimeError("not to be compared")

    __hash__ = None


@pytest.mark.parametrize("seed", range(8))
def test_random_arguments_end_in_exceptions_or_results(hx, lab, gas_over_solid, seed, capfd):
    chance = random.Random(seed)
    enumerations = [e for e in vars(core).values() if isinstance(e, EnumMeta)]
    members = [member for enumeration in enumerations for member in enumeration]
    names = [n for n in dir(hx) if n.startswith("hx") or n in ("configure", "configuration")]
    names += ["certificate", "composition_sets", "constituent_data", "internal_fractions"]
    names += ["findings", "finding_rules", "description"]
    file = lab.folder / "random.dat"
    file.write_text(gas_over_solid.text())
    folder = lab.folder / "out"
    folder.mkdir()

    def any_argument():
        kind = chance.randrange(14)
        if kind < 4:
            return chance.choice(members)
        if kind < 7:
            return chance.choice([-3, -2, -1, 0, 1, 2, 3, 6, 10, 21, 999, 2**31, -(2**70)])
        if kind < 9:
            return chance.choice(
                [0.0, -1.0, 1.0, 1e-300, 1e300, 300.0, 1500.0, float("nan"), float("inf")]
            )
        return chance.choice(
            [
                None, True, "", "x", "a\0b", b"x", [0.0, 0.0], [1.0], (1, 2), {}, object(), file,
                str(folder / "list.txt"), lab.folder, Awkward(chance.randrange(14)),
                [Awkward(3)] * 2, int, 1j, range(2),
            ]
        )  # fmt: skip

    for _ in range(6000):
        name = chance.choice(names)
        if name == "hxini" and chance.random() < 0.9:
            continue
        try:
            with warnings.catch_warnings():
                warnings.simplefilter("ignore")
                getattr(hx, name)(*[any_argument() for _ in range(chance.randrange(6))])
        except (TessaraError, TypeError, ValueError, RuntimeError):
            pass
        if chance.random() < 0.02:
            lab.load(gas_over_solid)
            lab.set("T", 800.0)
            lab.put_in(A=1.0, B=1.0)
    capfd.readouterr()
    hx.hxini()
    lab.load(gas_over_solid)
    lab.set("T", 1000.0)
    lab.put_in(A=1.0)
    lab.calculate()
    assert lab.get("A") == 1.0


@pytest.mark.parametrize("seed", range(4))
def test_random_conditions_end_in_results_or_words(hx, lab, gas_over_solid, seed):
    """Sensible calls in any order: each result carries its proof, each failure its words."""
    chance = random.Random(seed)
    lab.load(gas_over_solid)
    solved = 0
    for _ in range(1500):
        step = chance.randrange(6)
        try:
            if step < 3:
                variable = chance.choice(["T", "P", "IA", "IA", "AC", "MU", "H", "A"])
                place = chance.choice([(-1, -1), (-1, 0), (-1, 1), (0, 0), (0, 1), (1, 0), (1, -2)])
                lab.set(variable, chance.choice([0.0, 0.5, 1.0, 2.0, 800.0, -50000.0]), place)
            elif step == 3:
                hx.hxremc(chance.randrange(-2, 8))
            elif step == 4:
                hx.hxcsp(chance.randrange(3), chance.choice(list(core.Status)))
            else:
                lab.calculate()
                solved += 1
                found = hx.certificate()
                assert found["balance"] <= 1e-12
                assert found["potential"] <= 1e-9
        except TessaraError:
            words = core.get_error_info_dict()["text"]
            assert len(words) > 20
        if chance.random() < 0.05:
            hx.hxremc(-2)
            lab.set("T", 900.0)
            lab.put_in(A=1.0, B=1.0)
            for i in range(3):
                hx.hxcsp(i, core.Status.ENTERED)
    assert solved > 10


def in_a_new_process(code, extension_file):
    source = Path(core.__file__).parent.parent.parent
    head = f"import tessara\ntessara.__path__.append({str(extension_file.parent)!r})\n"
    return subprocess.run(
        [sys.executable, "-c", head + textwrap.dedent(code)],
        env={**os.environ, "PYTHONPATH": str(source)},
        capture_output=True,
        text=True,
        timeout=120,
    )


@pytest.mark.skipif(os.name == "nt", reason="signals differ there")
def test_signals_end_a_series_of_calculations(extension_file, tmp_path, gas_over_solid):
    (tmp_path / "system.dat").write_text(gas_over_solid.text())
    done = in_a_new_process(
        f"""
        import signal
        from tessara import basic, core
        basic.hxopna({str(tmp_path / "system.dat")!r}, 10)
        basic.hxrfil()
        basic.hxsetc(core.ConditionVariable.T, -1, -1, 1000.0)
        basic.hxsetc(core.ConditionVariable.IA, -1, 0, 1.0)
        signal.setitimer(signal.ITIMER_REAL, 0.2)
        signal.signal(signal.SIGALRM, signal.default_int_handler)
        try:
            while True:
                basic.hxce(core.TargetVariable.NoTarget, -1, -1, [0.0, 0.0])
        except KeyboardInterrupt:
            basic.hxce(core.TargetVariable.NoTarget, -1, -1, [0.0, 0.0])
            print(basic.hxgetr(core.ResultVariable.T))
        """,
        extension_file,
    )
    assert (done.returncode, done.stdout, done.stderr) == (0, "1000.0\n", "")


def test_files_are_written_at_exit_without_being_closed(extension_file, tmp_path):
    path = tmp_path / "list.txt"
    done = in_a_new_process(
        f"""
        from tessara import basic, core
        basic.hxopen({str(path)!r}, 21)
        basic.hxcio(core.IoOption.LIST, 21)
        basic.hxshow()
        """,
        extension_file,
    )
    assert (done.returncode, done.stdout, done.stderr) == (0, "", "")
    assert path.read_text().startswith("\nInputs")


def test_standard_output_that_is_closed_is_told(extension_file):
    done = in_a_new_process(
        """
        import os
        from tessara import basic, core
        os.close(1)
        try:
            basic.hxshow()
        except core.TessaraError as error:
            assert "cannot be written to channel 6" in str(error), error
        else:
            raise AssertionError
        """,
        extension_file,
    )
    assert done.stderr == ""
