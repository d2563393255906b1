#include "basic/operations.hpp"
#include "basic/python/objects.hpp"

#include <exception>

// The extension module's entry: one interpreter, one library.

namespace tessara::basic {
namespace {

constexpr const char* documentation =
    R"(The operations of the library underneath: one library in each process, addressed by indexes.

`tessara.friendly` is the interface to write against; these operations are what it rests on. Their
names start with "hx". Indexes count from 0, and -1 stands for none. Enumerations are those of
`tessara.core`. Numbers are in the units in force. Failures are `TessaraError` with words that say
what was asked, what is wrong and what to do; `get_error_info_dict` tells the last one. Only a wrong
number of arguments is a `TypeError`. Listings are ASCII and go to a channel, which is the standard
output at first.

Operations of its own, without counterpart in `friendly`:

    certificate()                   how well the last result fulfils what an equilibrium is
    composition_sets(i_ph)          the compositions that a phase consists of
    internal_fractions(i_ph)        site, pair and quadruplet fractions of a phase
    configure(option, value)        sets an option of the library
    configuration(option)           tells it
    constituent_data(i_ph, i_pc, data, T=None)
                                    a standard datum of a phase constituent
    description(file_path)          all that a data file holds, as plain values
    findings(file_path)             what is suspicious in a data file
    finding_rules()                 what findings looks for
    pack(source, target, remark='', created=None)
                                    writes a data file as a transparent one
)";

/// The module once it has been set up. Never destroyed, as nothing tears the library down.
Ref& only_module() {
    static Ref* const only = new Ref; // NOLINT(cppcoreguidelines-owning-memory)
    return *only;
}

/// Runs the body of a slot; no C++ exception passes it.
template <class Result, class Body>
Result guarded(Result failure, const Body& body) noexcept {
    try {
        return body();
    } catch (const PythonError&) {
        return failure;
    } catch (const std::bad_alloc&) {
        PyErr_NoMemory();
    } catch (const std::exception& error) {
        PyErr_SetString(PyExc_SystemError, error.what());
    } catch (...) {
        PyErr_SetString(PyExc_SystemError, "unknown C++ exception");
    }
    return failure;
}

/// Leaves a mark in the interpreter that loads this module first, and refuses every other: objects
/// of one interpreter must not reach another. A number would not do as a mark, as an interpreter
/// that is started after the end of the first has the same one.
void claim_interpreter() {
    static bool claimed = false;
    PyObject* storage = PyInterpreterState_GetDict(PyInterpreterState_Get());
    if (storage == nullptr) {
        PyErr_NoMemory();
        throw PythonError{};
    }
    const Ref mark =
        checked(PyUnicode_FromFormat("tessara.basic %p", static_cast<const void*>(&claimed)));
    const int found = checked(PyDict_Contains(storage, mark.get()));
    if (claimed && found == 0) {
        PyErr_SetString(PyExc_ImportError,
                        "tessara.basic is loaded in another interpreter of this process; there is "
                        "one library in each process, and one interpreter can use it");
        throw PythonError{};
    }
    checked(PyObject_SetItem(storage, mark.get(), Py_None));
    claimed = true;
}

/// Gives the module that there is, so that an import after a removal from `sys.modules` finds all
/// as it was left; otherwise a new one.
PyObject* create(PyObject* specification, PyModuleDef*) noexcept {
    return guarded<PyObject*>(nullptr, [&] {
        claim_interpreter();
        if (only_module()) {
            return Ref::borrow(only_module().get()).release();
        }
        const Ref name = checked(PyObject_GetAttrString(specification, "name"));
        return checked(PyModule_NewObject(name.get())).release();
    });
}

/// `from . import core`
Ref import_core(PyObject* module) {
    PyObject* globals = PyModule_GetDict(module);
    const Ref names = checked(Py_BuildValue("(s)", "core"));
    const Ref package = checked(PyImport_ImportModuleLevel("", globals, nullptr, names.get(), 1));
    return attribute(package, "core");
}

void check_for_signals() {
    checked(PyErr_CheckSignals());
}

int execute(PyObject* module) noexcept {
    return guarded(-1, [&] {
        if (only_module()) {
            return 0;
        }
        Instance& all = instance();
        all.core = import_core(module);
        all.members.load(all.core);
        all.library.initialise();
        all.library.set_checkpoint(check_for_signals);
        checked(PyModule_AddFunctions(module, method_table()));
        only_module() = Ref::borrow(module);
        return 0;
    });
}

PyModuleDef_Slot slots[] = {{Py_mod_create, reinterpret_cast<void*>(create)},
                            {Py_mod_exec, reinterpret_cast<void*>(execute)},
                            {0, nullptr}};

PyModuleDef definition = {PyModuleDef_HEAD_INIT,
                          "basic",
                          documentation,
                          0, // the state is the process's
                          nullptr,
                          slots,
                          nullptr,
                          nullptr,
                          nullptr};

} // namespace
} // namespace tessara::basic

PyMODINIT_FUNC PyInit_basic() {
    return PyModuleDef_Init(&tessara::basic::definition);
}
