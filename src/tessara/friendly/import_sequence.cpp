#include "friendly/import_sequence.hpp"

#include <array>
#include <initializer_list>
#include <span>

#include "friendly/calculation/calculation.hpp"
#include "friendly/class_definition.hpp"
#include "friendly/function.hpp"
#include "friendly/information/information.hpp"
#include "friendly/library/binding.hpp"
#include "friendly/library/core_names.hpp"
#include "friendly/stream/stream_calculation.hpp"
#include "friendly/system/caches.hpp"
#include "friendly/system/stoichiometry.hpp"
#include "friendly/system/thermochemical_system.hpp"

namespace tessara::friendly {

namespace {

void bind(PyObject* module, const char* name, Borrowed value) {
    checked(PyObject_SetAttr(module, checked(PyUnicode_InternFromString(name)).get(), value.get()));
}

/// What `from source import names` asks for: `level` 1 is the package of `module`.
Ref import_module(PyObject* module, const char* source, std::span<const char* const> names,
                  int level) {
    const Ref from_list = checked(PyTuple_New(static_cast<Py_ssize_t>(names.size())));
    for (std::size_t i = 0; i < names.size(); ++i) {
        PyTuple_SET_ITEM(from_list.get(), static_cast<Py_ssize_t>(i), text(names[i]).release());
    }
    return checked(PyImport_ImportModuleLevelObject(text(source).get(), PyModule_GetDict(module),
                                                    nullptr, from_list.get(), level));
}

/// The attribute `name` of an imported module, or the submodule of that name where the attribute is
/// not there yet, as in a circular import.
Ref import_name(const Ref& source, const char* name) {
    const Ref key = text(name);
    Ref value = Ref::steal(PyObject_GetAttr(source.get(), key.get()));
    if (value) {
        return value;
    }
    if (PyErr_ExceptionMatches(PyExc_AttributeError) == 0) {
        throw PythonError{};
    }
    PyErr_Clear();
    const Ref source_name = attribute(source, names::dunder_name);
    const Ref full_name = formatted(source_name, ".", key);
    value = Ref::borrow(PyDict_GetItemWithError(PyImport_GetModuleDict(), full_name.get()));
    if (value) {
        return value;
    }
    if (PyErr_Occurred() == nullptr) {
        Ref path = Ref::steal(PyObject_GetAttr(source.get(), names::dunder_file.get()));
        if (!path) {
            PyErr_Clear();
            path = text("unknown location");
        }
        const Ref message = checked(PyUnicode_FromFormat("cannot import name %R from %R (%S)",
                                                         key.get(), source_name.get(), path.get()));
        PyErr_SetImportError(message.get(), source_name.get(), path.get());
    }
    throw PythonError{};
}

/// `import name`
void import_plain(PyObject* module, const char* name) {
    bind(module, name, import_module(module, name, {}, 0));
}

/// `from source import names`
void import_from(PyObject* module, const char* source, std::span<const char* const> names,
                 int level = 0) {
    const Ref imported = import_module(module, source, names, level);
    for (const char* name : names) {
        bind(module, name, import_name(imported, name));
    }
}

void import_from(PyObject* module, const char* source, std::initializer_list<const char*> names,
                 int level = 0) {
    import_from(module, source, std::span(names.begin(), names.size()), level);
}

struct Channel {
    const char* name;
    long number;
};

/// Numbers of the library's channels. The last one is set aside; nothing is written to it yet.
constexpr std::array<Channel, 3> channels{
    {{"LIST_STDOUT_NUMBER", 6}, {"LIST_FILE_NUMBER", 21}, {"ERROR_FILE_NUMBER", 22}}};

} // namespace

void run_import_sequence(PyObject* module) {
    bind_globals(module);

    // 1. Modules of the standard library.
    import_plain(module, "struct");
    import_plain(module, "time");
    import_plain(module, "warnings");

    // 2. Names out of the standard library.
    import_from(module, "collections", {"namedtuple"});
    import_from(module, "copy", {"copy", "deepcopy"});
    import_from(module, "pathlib", {"Path"});
    import_from(module, "tempfile", {"NamedTemporaryFile"});

    // 3. The names of `core`.
    import_from(module, "core", core_names, 1);

    // 4. The operations of the library.
    import_from(module, "", {"basic"}, 1);

    // 5. Channel numbers.
    for (const Channel& channel : channels) {
        bind(module, channel.name, integer(channel.number));
    }

    // 6. The library starts.
    call_operation(names::hxini);

    // 7. It writes no errors to the console: they come as exceptions only.
    call_operation(names::hxcio, Member{names::IoOption, names::ERROR}, integer(0));

    // 8. No system is loaded.
    empty_caches();

    // 9. Functions and classes.
    for (const Method& function : stoichiometry_functions()) {
        bind(module, function.name, make_function(nullptr, function));
    }
    for (const auto& definition :
         {information::info, information::units, thermochemical_system,
          calculation::equilibrium_calculation_base,
          calculation::absolute_equilibrium_calculation_base, calculation::equilibrium_calculation,
          calculation::phase_map_calculation, stream::stream_calculation}) {
        define_class(module, definition());
    }
}

} // namespace tessara::friendly
