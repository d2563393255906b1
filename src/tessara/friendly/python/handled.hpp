#pragma once

#include "friendly/python/objects.hpp"
#include "friendly/python/ref.hpp"

namespace tessara::friendly {

/// The inside of an `except` block: takes the raised exception and is, while it lives, what
/// `sys.exc_info()` shows and what exceptions raised meanwhile carry as their context.
class Handled {
public:
    Handled();
    Handled(const Handled&) = delete;
    Handled& operator=(const Handled&) = delete;
    ~Handled();

    PyObject* type() const noexcept { return type_.get(); }
    PyObject* value() const noexcept { return value_.get(); }
    /// The traceback, or `None`.
    PyObject* traceback() const noexcept { return traceback_ ? traceback_.get() : Py_None; }

    /// Whether `except exception_class` takes it.
    bool is(Borrowed exception_class) const;

    /// Lets it go on as it came.
    [[noreturn]] void reraise();

private:
    Ref type_;
    Ref value_;
    Ref traceback_;
    Ref previous_;
};

/// The statement `raise exception`.
[[noreturn]] void raise(Borrowed exception);

} // namespace tessara::friendly
