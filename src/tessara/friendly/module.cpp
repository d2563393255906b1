#include "friendly/import_sequence.hpp"
#include "friendly/library/names.hpp"
#include "friendly/python/guarded.hpp"
#include "friendly/python/objects.hpp"

// The extension module's entry, and the loader's two rules: one interpreter, one module object.

namespace tessara::friendly {

namespace {

constexpr const char* documentation =
    R"(A friendly Python interface to the Tessara thermochemical library.

Static classes with descriptive names make programs clear, easy to read and easy to remember:
`ThermochemicalSystem` loads a data file and tells what it holds, `EquilibriumCalculation`,
`PhaseMapCalculation` and `StreamCalculation` calculate, `Units` and `Info` do what their names say.
All methods are class methods; nothing has to be instantiated.

System components, phases and phase constituents are given by name (`str`) or by index (`int`),
counted from zero. Numbers are in the units in force at the time of the call. Failures are
exceptions: `TessaraError` comes from the library, `TessaraPyError` from this module.

Names of methods and parameters are built from these abbreviations:

============  ==================  ============  ==================
Abbreviation  Term                Abbreviation  Quantity
============  ==================  ============  ==================
cf            complex formula     CP            heat capacity
cfs           complex formulae    E             energy
eq            equilibrium         G             Gibbs energy
mm            molar mass          H             enthalpy
ph            phase               IA            incoming amount
phs           phases              MU            chemical potential
pc            phase constituent   P             pressure
pcs           phase constituents  S             entropy
sc            system component    T             temperature
scs           system components   V             volume
st            stream              VT            total volume
sts           streams             X             fraction
tg            target              XT            mole fraction
tx            transition          y             mass fraction
txs           transitions
============  ==================  ============  ==================
)";

/// The module that runs or has run the import sequence. Never destroyed, as nothing tears the
/// library down and static objects outlive the interpreter.
Ref& initialised_module() {
    static Ref* const instance = new Ref; // NOLINT(cppcoreguidelines-owning-memory)
    return *instance;
}

/// Leaves a mark in the interpreter that loads this module first, and refuses every other. A number
/// would not do: an interpreter started after the end of the first has the same one.
void claim_interpreter() {
    static bool claimed = false;
    PyObject* storage = PyInterpreterState_GetDict(PyInterpreterState_Get());
    if (storage == nullptr) {
        PyErr_NoMemory();
        throw PythonError{};
    }
    // The address sets two copies of the module in one process apart.
    const Ref mark =
        checked(PyUnicode_FromFormat("tessara.friendly %p", static_cast<const void*>(&claimed)));
    if (claimed && !contains(storage, mark)) {
        fail(PyExc_ImportError, "Interpreter change detected - this module can only be "
                                "loaded into one interpreter per process.");
    }
    set_item(storage, mark, Py_None);
    claimed = true;
}

/// Gives the module that there is, so that an import after a removal from `sys.modules` finds all
/// as it was left; otherwise a new one.
PyObject* create(PyObject* specification, PyModuleDef*) noexcept {
    return guarded<PyObject*>(nullptr, [&] {
        claim_interpreter();
        if (initialised_module()) {
            return Ref::borrow(initialised_module().get()).release();
        }
        return checked(PyModule_NewObject(attribute(specification, names::name).get())).release();
    });
}

/// Runs the import sequence, once. After a failure the module is given up, and a new import starts
/// again with a new one.
int execute(PyObject* module) noexcept {
    Ref& initialised = initialised_module();
    if (initialised.get() == module) {
        return 0;
    }
    if (initialised) {
        PyErr_SetString(
            PyExc_RuntimeError,
            "Module 'friendly' has already been imported. Re-initialisation is not supported.");
        return -1;
    }
    initialised = Ref::borrow(module);
    const int result = guarded(-1, [module] {
        run_import_sequence(module);
        return 0;
    });
    if (result != 0) {
        initialised = Ref();
    }
    return result;
}

PyModuleDef_Slot slots[] = {{Py_mod_create, reinterpret_cast<void*>(create)},
                            {Py_mod_exec, reinterpret_cast<void*>(execute)},
                            {0, nullptr}};

PyModuleDef definition = {PyModuleDef_HEAD_INIT,
                          "friendly",
                          documentation,
                          0, // the state is the process's, as the library's is
                          nullptr,
                          slots,
                          nullptr,
                          nullptr,
                          nullptr};

} // namespace

} // namespace tessara::friendly

PyMODINIT_FUNC PyInit_friendly() {
    return PyModuleDef_Init(&tessara::friendly::definition);
}
