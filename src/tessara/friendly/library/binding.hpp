#pragma once

#include <array>
#include <tuple>

#include "friendly/library/names.hpp"
#include "friendly/python/handled.hpp"
#include "friendly/python/objects.hpp"

/// How the methods reach `basic`, the names of `core` and the built-in functions: by name, in the
/// module's globals, anew at each use, so that whatever a user puts there takes effect at once.
namespace tessara::friendly {

/// Makes the globals of `module` those that the functions below search. They stay in force until
/// the next call, so that a method kept from a failed import still finds names.
void bind_globals(Borrowed module);

/// The dict of the module's globals; null before any are bound.
inline constinit PyObject* module_globals = nullptr;

/// A name that has to be searched for, as something has changed since the last time.
Ref searched_global(const Name& name);

/// A global of the module or, where there is none, a built-in; `NameError` where neither exists.
inline Ref global(const Name& name) {
    const Found& last = name.last_global();
    if (last.version != 0 && last.version == version_of(module_globals)) {
        return Ref::borrow(last.value);
    }
    return searched_global(name);
}

/// `basic.<name>`
inline Ref operation(const Name& name) {
    return module_or_class_attribute(global(names::basic), name);
}

/// The argument `<enumeration>.<name>` of a call, looked up when its turn comes.
struct Member {
    const Name& enumeration;
    const Name& name;
};

/// The argument `<name>` of a call, looked up when its turn comes.
struct Global {
    const Name& name;
};

inline Ref evaluated(const Member& argument) {
    return module_or_class_attribute(global(argument.enumeration), argument.name);
}
inline Ref evaluated(const Global& argument) {
    return global(argument.name);
}
inline Ref evaluated(Borrowed argument) {
    return Ref::borrow(argument.get());
}

/// `callee(arguments...)`, the arguments evaluated from left to right.
template <class... Arguments>
Ref call_in_order(Borrowed callee, const Arguments&... arguments) {
    const std::array<Ref, sizeof...(arguments)> values{evaluated(arguments)...};
    return std::apply([&callee](const auto&... value) { return call(callee, value...); }, values);
}

/// `cls.<method>(arguments...)`: the method first, then the arguments, as in Python.
template <class... Arguments>
Ref call_method(Borrowed cls, const Name& method, const Arguments&... arguments) {
    const Ref callee = attribute(cls, method);
    return call_in_order(callee, arguments...);
}

/// `basic.<name>(arguments...)`: the operation first, then the arguments, as in Python.
template <class... Arguments>
Ref call_operation(const Name& name, const Arguments&... arguments) {
    const Ref callee = operation(name);
    return call_in_order(callee, arguments...);
}

/// `raise <type>(f"<pieces>")`
template <class... Pieces>
[[noreturn]] void raise_formatted(const Name& type, const Pieces&... pieces) {
    const Ref exception_type = global(type);
    const Ref message = formatted(pieces...);
    raise(call(exception_type, message));
}

/// The head of an `except` block: lets every exception go on that is not of the class `type`.
inline void only(Handled& handled, const Name& type) {
    if (!handled.is(global(type))) {
        handled.reraise();
    }
}

/// `if type(value) is not <enumeration>: raise TypeError(...)`, where `parameter` is the value's
/// name.
void require_exact_type(Borrowed value, const Name& enumeration,
                        const char* parameter = "variable");

} // namespace tessara::friendly
