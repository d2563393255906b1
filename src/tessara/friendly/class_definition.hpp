#pragma once

#include <vector>

#include "friendly/method.hpp"

namespace tessara::friendly {

/// A class attribute and the value that it starts with.
struct Attribute {
    const char* name;
    Ref (*make)();
};

/// The body of a class: attributes first, methods after them, both in order.
struct ClassDefinition {
    const char* name;
    const char* base;          ///< name of a class of this module; null for `object`
    const char* documentation; ///< null for none
    std::vector<Attribute> attributes;
    std::vector<Method> methods;
};

/// Runs a class body: makes the class and binds it under its name in `module`.
void define_class(PyObject* module, const ClassDefinition& definition);

} // namespace tessara::friendly
