"""Each call of the interpreter that the extension makes fails once; see `faults/sweep.py`.

Needs the file of the CMake target `friendly_faults`, named by `TESSARA_FRIENDLY_FAULTS`; without it
these tests are not collected.
"""

import json
import os
import re
import subprocess
import sys
from pathlib import Path

import pytest
from elf import Elf

SWEEP = Path(__file__).parent / "faults" / "sweep.py"
FILE = Path(os.environ["TESSARA_FRIENDLY_FAULTS"]).resolve()

# What cannot fail, fails only in what it says of another failure, or is only compared with.
NEVER_FAILING = {
    *("PyDict_Next", "PyDict_Size", "PyErr_Clear", "PyErr_ExceptionMatches", "PyErr_Fetch"),
    *("PyErr_Format", "PyErr_GivenExceptionMatches", "PyErr_NoMemory", "PyErr_NormalizeException"),
    *("PyErr_Occurred", "PyErr_Restore", "PyErr_SetHandledException", "PyErr_SetImportError"),
    *("PyErr_SetObject", "PyErr_SetString", "PyException_SetTraceback", "PyImport_GetModuleDict"),
    *("PyInterpreterState_Get", "PyModule_GetDict", "PyObject_ClearWeakRefs"),
    *(
        "PyObject_GC_UnTrack",
        "PyObject_GenericSetAttr",
        "PyThreadState_Get",
        "PyType_IsSubtype",
        "PyUnicode_Compare",
    ),
    *("Py_LeaveRecursiveCall", "_PyErr_SetKeyError", "_PyType_Lookup", "_Py_Dealloc"),
}
DATA = re.compile(r"Py\w+_Type|PyExc_\w+|_Py_\w+Struct")


def sweep(what, *, core="standin", most=10**6, memory="pymalloc"):
    """Run the script in a process of its own and return what it counts."""
    command = [sys.executable, str(SWEEP), what, "--extension", str(FILE), "--core", core]
    command += ["--most", str(most)]
    environment = {**os.environ, "PYTHONMALLOC": memory}
    done = subprocess.run(command, env=environment, capture_output=True, text=True, timeout=1800)
    assert done.returncode == 0, done.stderr
    return json.loads(done.stdout)


# `malloc` shows the sanitizers what the interpreter's own allocator hides from them, and that one
# shows blocks that are not given back.
@pytest.mark.parametrize(
    ("core", "memory"), [("standin", "malloc"), ("standin", "pymalloc"), ("real", "pymalloc")]
)
def test_failure_within_a_method_is_a_memory_error_and_leaves_the_module_working(core, memory):
    found = sweep("methods", most=15, core=core, memory=memory)
    assert found["wrong"] == []
    assert found["failures"] > 4000


def test_failure_within_the_import_is_a_memory_error_and_the_next_import_works():
    found = sweep("import", most=800, memory="malloc")
    assert found["wrong"] == []
    assert found["failures"] > 500


@pytest.mark.long
def test_every_failure_within_a_method_is_a_memory_error():
    assert sweep("methods")["wrong"] == []


@pytest.mark.long
def test_every_failure_within_the_import_is_a_memory_error():
    found = sweep("import")
    assert found["wrong"] == []
    assert found["failures"] > 3000


def test_each_function_of_the_interpreter_that_the_extension_calls_can_be_made_to_fail(extension):
    called = {
        name
        for name in Elf(extension).imports()
        if re.match("_?Py", name) and not DATA.fullmatch(name)
    }
    source = (SWEEP.parent / "faults.cpp").read_text()
    failing = set(re.findall(r"(?m)^(?:FAULT_\d\(|.*__wrap_)(\w+)", source))
    assert called - failing - NEVER_FAILING == set()
