#pragma once

#include <vector>

#include "friendly/method.hpp"
#include "friendly/python/objects.hpp"

namespace tessara::friendly {

/// A class attribute and the value that it starts with.
struct Attribute {
    const char* name;
    Ref (*make)();
};

/// The class that a body belongs to, for its methods that say `super()`. Filled when it is made.
class ClassCell {
public:
    void fill(Borrowed made) { class_ = Ref::borrow(made.get()); }

    /// `super()` in a class method that was called through `cls`.
    Ref super_of(Borrowed cls) const;

private:
    Ref class_;
};

/// The body of a class: attributes first, methods after them, both in order.
struct ClassDefinition {
    const char* name;
    const char* base;          ///< name of a class of this module; null for `object`
    const char* documentation; ///< null for none
    std::vector<Attribute> attributes;
    std::vector<Method> methods;
    ClassCell* cell = nullptr; ///< filled with the class, where a method says `super()`

    /// Puts more methods behind those that there are.
    void add(std::vector<Method> more);
};

/// Runs a class body: makes the class and binds it under its name in `module`.
void define_class(PyObject* module, const ClassDefinition& definition);

} // namespace tessara::friendly
