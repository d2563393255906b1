"""What happens at import: the sequence, its failures, and the loader's two rules.

Each test runs in interpreters of its own, as the module is imported once per process.
"""

import json

import pytest


def test_a_copy_alone_in_an_empty_package_works(package):
    assert len(list(package.folder.iterdir())) == 4
    done = package.run(
        """
        import tessara.friendly as f

        f.Path("a.dat").write_text("")
        f.ThermochemicalSystem.load("a.dat")
        f.EquilibriumCalculation.set_IA_pc("GAS", "O2", 1.0)
        f.EquilibriumCalculation.calculate_eq(print_results=True)
        print(len(f.EquilibriumCalculation.get_eq_A_pcs()))
        """
    )
    assert done.stdout.splitlines() == ["LISTING", "", "6"]
    assert done.stderr == ""


def test_sequence_binds_names_step_by_step(package, output):
    core = (package.folder / "core.py").read_text()
    basic = (package.folder / "basic.py").read_text()
    snoop = """
import json as _json, sys as _sys

def _report(*arguments):
    known = [name for name in vars(_sys.modules["tessara.friendly"]) if name[:2] != "__"]
    print(_json.dumps(known))

_report()
"""
    package.write("core.py", core + snoop)
    package.write("basic.py", basic + snoop + "\nhxini = hxcio = _report\n")
    lines = output(
        """
        import collections, json, sys

        real = collections.namedtuple

        def namedtuple(*arguments, **keywords):
            if arguments[0] == "IA_range":
                friendly = sys.modules["tessara.friendly"]
                print(json.dumps([name for name in vars(friendly) if name[:2] != "__"]))
            return real(*arguments, **keywords)

        collections.namedtuple = namedtuple
        import tessara.friendly
        """
    )
    at_core, at_basic, at_hxini, at_hxcio, at_IA_range = (json.loads(line) for line in lines)
    standard = ["struct", "time", "warnings", "namedtuple", "copy", "deepcopy", "Path"]
    standard.append("NamedTemporaryFile")
    assert at_core == standard
    assert at_basic[:8] == standard
    assert at_basic[8:11] == ["get_error_info_dict", "TessaraPyError", "TessaraError"]
    assert len(at_basic) == 8 + 38
    numbers = ["LIST_STDOUT_NUMBER", "LIST_FILE_NUMBER", "ERROR_FILE_NUMBER"]
    assert at_hxini == [*at_basic, "basic", *numbers]
    assert at_hxcio == at_hxini
    assert at_IA_range == [
        *at_hxini,
        *["_query_stoich_list", "_build_stoich_dict", "Info", "Units", "ThermochemicalSystem"],
        *["EquilibriumCalculationBase", "AbsoluteEquilibriumCalculationBase"],
        "EquilibriumCalculation",
    ]


ATTEMPT = """
    import sys

    def attempt():
        try:
            import tessara.friendly
        except BaseException as error:
            print(type(error).__name__, error)
        else:
            print("imported")
        print("tessara.friendly" in sys.modules)
"""


def attempts(package, *, before="", between=""):
    """Two imports one after the other, with the calls of the library that they made."""
    done = package.run(
        "\n".join(line[4:] for line in ATTEMPT.splitlines())
        + f"\n{before}\nattempt()\n{between}\nattempt()\n"
        + "from tessara import basic\nprint(*(call[0] for call in basic.library.calls))\n"
    )
    return done.stdout.splitlines()


@pytest.mark.parametrize("place", [1, 2])
def test_failure_of_the_library_stops_the_import_and_a_retry_runs_it_all(package, place):
    lines = attempts(
        package,
        before=f"from tessara import basic; basic.library.fail_at = {place}",
        between="basic.library.fail_at = None",
    )
    failed = ["hxini"] if place == 1 else ["hxini", "hxcio"]
    assert lines == [
        *["TessaraError library text", "False", "imported", "True"],
        " ".join([*failed, "hxini", "hxcio"]),
    ]


def test_failure_of_a_class_body_stops_the_import_and_a_retry_runs_it_all(package):
    lines = attempts(
        package,
        before=(
            "import collections; real = collections.namedtuple\n"
            "import tempfile, pathlib, tessara.basic\n"
            "def fail(*arguments): raise LookupError('no tuple')\n"
            "collections.namedtuple = fail"
        ),
        between="collections.namedtuple = real",
    )
    assert lines == [
        *["LookupError no tuple", "False", "imported", "True"],
        "hxini hxcio hxini hxcio",
    ]


def test_failing_import_can_be_tried_many_times(package, output):
    lines = output(
        """
        import gc, sys
        from tessara import basic

        for _ in range(200):
            basic.library.fail_at = len(basic.library.calls) + 2
            try:
                import tessara.friendly
            except basic.core.TessaraError:
                pass
            else:
                raise AssertionError("imported")
        basic.library.fail_at = None
        import tessara.friendly
        tessara.friendly.EquilibriumCalculation.set_eq_T(1.0)
        print(basic.library.count("hxini"))
        """
    )
    assert lines == ["201"]


def test_missing_name_of_core(package):
    core = (package.folder / "core.py").read_text()
    package.write("core.py", core.replace("StreamState", "StreamCondition"))
    lines = attempts(package)
    path = package.folder / "core.py"
    text = f"ImportError cannot import name 'StreamState' from 'tessara.core' ({path})"
    assert lines == [text, "False", text, "False", ""]


def test_name_of_core_may_come_from_its_getattr(package, output):
    core = (package.folder / "core.py").read_text()
    hook = """

def __getattr__(name):
    if name == "StreamState":
        return "made up"
    raise AttributeError(name)
"""
    package.write("core.py", core.replace("StreamState", "StreamCondition") + hook)
    assert output("import tessara.friendly as f; print(f.StreamState)") == ["made up"]


def test_name_of_core_whose_getattr_fails_otherwise(package):
    core = (package.folder / "core.py").read_text()
    hook = "\ndef __getattr__(name):\n    raise LookupError(name)\n"
    package.write("core.py", core.replace("StreamState", "StreamCondition") + hook)
    done = package.run("import tessara.friendly", check=False)
    assert done.stderr.splitlines()[-1].startswith("LookupError: ")


def test_missing_core(package):
    (package.folder / "core.py").unlink()
    (package.folder / "basic.py").unlink()
    done = package.run("import tessara.friendly", check=False)
    assert "ModuleNotFoundError: No module named 'tessara.core'" in done.stderr


def test_missing_basic(package):
    (package.folder / "basic.py").unlink()
    done = package.run("import tessara.friendly", check=False)
    assert "ImportError: cannot import name 'basic' from 'tessara'" in done.stderr


def test_core_that_fails_to_import(package):
    package.write("core.py", "raise LookupError('core')")
    done = package.run("import tessara.friendly", check=False)
    assert "LookupError: core" in done.stderr


def test_missing_member_of_the_options(package):
    core = (package.folder / "core.py").read_text()
    package.write("core.py", core.replace('"IoOption", "ERROR LIST"', '"IoOption", "LIST"'))
    done = package.run("import tessara.friendly", check=False)
    assert "AttributeError: ERROR" in done.stderr


def test_missing_operation(package):
    basic = (package.folder / "basic.py").read_text()
    package.write("basic.py", basic + "\ndel hxini\n")
    done = package.run("import tessara.friendly", check=False)
    assert "AttributeError: module 'tessara.basic' has no attribute 'hxini'" in done.stderr


def test_import_without_a_package_is_refused(package):
    done = package.run(
        """
        import sys
        sys.path.insert(0, "tessara")
        import friendly
        """,
        check=False,
    )
    assert "ImportError: attempted relative import with no known parent package" in done.stderr


def test_package_may_have_another_name(package, output):
    package.folder.rename(package.root / "other")
    lines = output(
        """
        import pickle
        import other.friendly as f

        print(f.ThermochemicalSystem.__module__, f.basic.__name__)
        print(pickle.loads(pickle.dumps(f.PhaseMapCalculation.IA_range(1, 2, 3, 4))))
        """
    )
    assert lines == ["other.friendly other.basic", "IA_range(ph=1, pc=2, start=3, end=4)"]


# The loader's rules.


def test_second_import_gives_the_cached_module(output):
    lines = output(
        """
        import tessara.friendly as first
        import tessara.friendly as second
        from tessara import basic

        print(first is second, basic.library.count("hxini"))
        """
    )
    assert lines == ["True 1"]


def test_import_after_removal_gives_the_same_module(output):
    lines = output(
        """
        import importlib, sys
        import tessara.friendly as first
        from tessara import basic

        first.mark = 1
        first.Path("a.dat").write_text("")
        first.ThermochemicalSystem.load("a.dat")
        calls = len(basic.library.calls)
        for _ in range(3):
            del sys.modules["tessara.friendly"]
            second = importlib.import_module("tessara.friendly")
            print(second is first, second is sys.modules["tessara.friendly"], second.mark)
        print(len(basic.library.calls) == calls, second.ThermochemicalSystem.get_index_sc("C"))
        """
    )
    assert lines == ["True True 1"] * 3 + ["True 2"]


def test_reload_does_nothing(output):
    lines = output(
        """
        import importlib
        import tessara.friendly as f

        cls = f.ThermochemicalSystem
        print(importlib.reload(f) is f, f.ThermochemicalSystem is cls, len(f.basic.library.calls))
        """
    )
    assert lines == ["True True 2"]


def test_second_module_object_is_refused(output):
    lines = output(
        """
        import importlib.util

        spec = importlib.util.find_spec("tessara.friendly")
        first = importlib.util.module_from_spec(spec)
        second = importlib.util.module_from_spec(spec)
        print(first is second)
        spec.loader.exec_module(first)
        spec.loader.exec_module(first)
        try:
            spec.loader.exec_module(second)
        except RuntimeError as error:
            print(error)
        print(importlib.util.module_from_spec(spec) is first)
        print(len(first.basic.library.calls), hasattr(second, "basic"))
        """
    )
    assert lines == [
        "False",
        "Module 'friendly' has already been imported. Re-initialisation is not supported.",
        "True",
        "2 False",
    ]


def test_second_interpreter_is_refused(output):
    lines = output(
        """
        import _xxsubinterpreters as interpreters
        import tessara.friendly as f

        other = interpreters.create()
        try:
            interpreters.run_string(other, "import tessara.friendly")
        except interpreters.RunFailedError as error:
            print(error)
        interpreters.run_string(other, "import tessara.core")
        interpreters.destroy(other)
        f.EquilibriumCalculation.set_eq_T(1.0)
        print(f.basic.library.count("hxini"))
        """
    )
    text = (
        "Interpreter change detected - this module can only be loaded into one interpreter per "
        "process."
    )
    assert lines == [f"<class 'ImportError'>: {text}", "1"]


def test_first_interpreter_may_be_any_but_the_others_are_refused(output):
    lines = output(
        """
        import _xxsubinterpreters as interpreters

        other = interpreters.create()
        interpreters.run_string(other, "import tessara.friendly")
        try:
            import tessara.friendly
        except ImportError as error:
            print(str(error)[:27])
        interpreters.run_string(
            other, "import tessara.friendly as f; f.EquilibriumCalculation.set_eq_T(1.0)"
        )
        """
    )
    assert lines == ["Interpreter change detected"]


def test_import_from_within_the_import_finds_the_module_half_made(package, output):
    basic = (package.folder / "basic.py").read_text()
    package.write("basic.py", basic + "\nfrom . import friendly\n")
    lines = output("import tessara.friendly as f; print(f.basic.friendly is f)")
    assert lines == ["True"]


def test_import_from_within_after_a_removal_gives_the_module_in_the_making(package, output):
    core = (package.folder / "core.py").read_text()
    hook = """
import importlib, sys

removed = sys.modules.pop("tessara.friendly")
again = importlib.import_module("tessara.friendly")
same = again is removed
"""
    package.write("core.py", core + hook)
    lines = output("import tessara.friendly as f; print(f.basic.core.same, f.Info)")
    assert lines == ["True <class 'tessara.friendly.Info'>"]


# Around the import.


def test_import_loads_nothing_that_it_does_not_need(output):
    lines = output(
        """
        import collections, copy, pathlib, struct, sys, tempfile, time, warnings
        from tessara import basic, core

        before = set(sys.modules)
        import tessara.friendly
        print(sorted(set(sys.modules) - before))
        """
    )
    assert lines == ["['tessara.friendly']"]


def test_import_names_are_asked_with_import_statements_of_the_interpreter(output):
    lines = output(
        """
        import builtins, sys
        sys.modules["struct"] = "a replacement"
        import tessara.friendly as f
        print(f.struct)
        """
    )
    assert lines == ["a replacement"]


def test_end_of_the_interpreter_is_quiet(package):
    done = package.run(
        """
        import atexit, sys
        import tessara.friendly as f

        class Late:
            def __del__(self):
                try:
                    f.EquilibriumCalculation.set_eq_T(1.0)
                except Exception as error:
                    print("late", type(error).__name__)

        f.Path("a.dat").write_text("")
        f.ThermochemicalSystem.load("a.dat")
        f.late = sys.late = Late()
        f.StreamCalculation.streams["late"] = Late()
        f.basic.library.scs[0].stoich.append(Late())
        f.ThermochemicalSystem._update()
        atexit.register(f.EquilibriumCalculation.get_eq_A_pcs)
        """,
        "-X",
        "faulthandler",
    )
    assert done.stderr == ""


def test_development_mode_finds_nothing(package):
    done = package.run(
        """
        import tessara.friendly as f

        f.Path("a.dat").write_text("")
        f.ThermochemicalSystem.load("a.dat")
        f.EquilibriumCalculation.calculate_eq_T(1.0, True)
        """,
        "-X",
        "dev",
    )
    assert done.stderr == ""
