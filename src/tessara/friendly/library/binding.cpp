#include "friendly/library/binding.hpp"

namespace tessara::friendly {

namespace {

struct Globals {
    Ref own;
    Ref builtins;
};

/// Never destroyed: at the end of the process the interpreter is gone before static objects are.
Globals& globals() {
    static Globals* const instance = new Globals; // NOLINT(cppcoreguidelines-owning-memory)
    return *instance;
}

} // namespace

void bind_globals(Borrowed module) {
    const Ref builtins = checked(PyImport_ImportModule("builtins"));
    globals().builtins = Ref::borrow(PyModule_GetDict(builtins.get()));
    globals().own = Ref::borrow(PyModule_GetDict(module.get()));
    module_globals = globals().own.get();
}

Ref searched_global(const Name& name) {
    const Globals& scopes = globals();
    const std::uint64_t version = version_of(scopes.own.get());
    for (const Ref* scope : {&scopes.own, &scopes.builtins}) {
        Ref found = Ref::borrow(PyDict_GetItemWithError(scope->get(), name.get()));
        if (found) {
            if (scope == &scopes.own) {
                name.last_global() = {version, 0, found.get()};
            }
            return found;
        }
        throw_if_set();
    }
    fail(PyExc_NameError, "name '%s' is not defined", name.text());
}

void require_exact_type(Borrowed value, const Name& enumeration, const char* parameter) {
    const Ref expected = global(enumeration);
    if (reinterpret_cast<PyObject*>(Py_TYPE(value.get())) != expected.get()) {
        raise_formatted(names::TypeError, "Invalid ", parameter, " type. ", enumeration.text(),
                        " expected.");
    }
}

} // namespace tessara::friendly
