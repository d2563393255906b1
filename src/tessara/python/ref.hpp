#pragma once

#define PY_SSIZE_T_CLEAN
#include <Python.h>

#include <exception>
#include <utility>

/// How both extension modules hold Python objects.
namespace tessara::python {

/// Thrown where a Python exception has been set. What it is stands in the interpreter, not in here.
class PythonError : public std::exception {
public:
    const char* what() const noexcept override { return "a Python exception is set"; }
};

/// Sets a Python exception of a built-in type, with a text as `PyErr_Format` makes it.
template <class... Values>
[[noreturn]] void fail(PyObject* type, const char* format, Values... values) {
    PyErr_Format(type, format, values...);
    throw PythonError{};
}

/// Lets an exception go on that a call of the interpreter may have set beside its answer.
inline void throw_if_set() {
    if (PyErr_Occurred() != nullptr) {
        throw PythonError{};
    }
}

/// Owns one reference to a Python object, or none. No other code of the modules decrements.
class Ref {
public:
    Ref() noexcept = default;
    Ref(const Ref&) = delete;
    Ref& operator=(const Ref&) = delete;
    Ref(Ref&& other) noexcept : object_(other.release()) {}

    /// The old object goes last: its finaliser may run code that reads this holder.
    Ref& operator=(Ref&& other) noexcept {
        PyObject* old = object_;
        object_ = other.release();
        Py_XDECREF(old);
        return *this;
    }

    ~Ref() { Py_XDECREF(object_); }

    /// Takes over a reference that the caller owns.
    static Ref steal(PyObject* object) noexcept { return Ref(object); }

    /// Adds a reference to an object that somebody else owns.
    static Ref borrow(PyObject* object) noexcept {
        Py_XINCREF(object);
        return Ref(object);
    }

    PyObject* get() const noexcept { return object_; }
    PyObject* release() noexcept { return std::exchange(object_, nullptr); }
    explicit operator bool() const noexcept { return object_ != nullptr; }

private:
    explicit Ref(PyObject* object) noexcept : object_(object) {}

    PyObject* object_ = nullptr;
};

/// Takes over the result of a call of the interpreter, whose null means that an exception is set.
inline Ref checked(PyObject* result) {
    if (result == nullptr) {
        throw PythonError{};
    }
    return Ref::steal(result);
}

/// The same for calls that answer with a number, negative for failure.
inline int checked(int result) {
    if (result < 0) {
        throw PythonError{};
    }
    return result;
}

} // namespace tessara::python
