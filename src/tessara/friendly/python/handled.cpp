#include "friendly/python/handled.hpp"

namespace tessara::friendly {

Handled::Handled() {
    PyObject* type = nullptr;
    PyObject* value = nullptr;
    PyObject* traceback = nullptr;
    PyErr_Fetch(&type, &value, &traceback);
    PyErr_NormalizeException(&type, &value, &traceback);
    type_ = Ref::steal(type);
    value_ = Ref::steal(value);
    traceback_ = Ref::steal(traceback);
    if (traceback_) {
        PyException_SetTraceback(value_.get(), traceback_.get());
    }
    // PyErr_GetHandledException would look through to the caller of a generator, and giving its
    // answer back at the end would leave the caller's exception in the generator for good.
    previous_ = Ref::borrow(PyThreadState_Get()->exc_info->exc_value);
    PyErr_SetHandledException(value_.get());
}

Handled::~Handled() {
    PyErr_SetHandledException(previous_.get());
}

bool Handled::is(Borrowed exception_class) const {
    PyObject* classes = exception_class.get();
    bool valid = PyExceptionClass_Check(classes);
    if (PyTuple_Check(classes)) {
        valid = true;
        for (Py_ssize_t i = 0; i < PyTuple_GET_SIZE(classes); ++i) {
            valid = valid && PyExceptionClass_Check(PyTuple_GET_ITEM(classes, i));
        }
    }
    if (!valid) {
        fail(PyExc_TypeError,
             "catching classes that do not inherit from BaseException is not allowed");
    }
    return checked(PyErr_GivenExceptionMatches(type(), classes)) != 0;
}

void Handled::reraise() {
    PyErr_Restore(type_.release(), Ref::borrow(value()).release(), traceback_.release());
    throw PythonError{};
}

void raise(Borrowed exception) {
    const bool is_class = PyExceptionClass_Check(exception.get());
    const Ref instance = is_class ? call(exception) : Ref::borrow(exception.get());
    auto* type = reinterpret_cast<PyObject*>(Py_TYPE(instance.get()));
    if (!PyExceptionInstance_Check(instance.get())) {
        if (is_class) {
            fail(PyExc_TypeError,
                 "calling %R should have returned an instance of BaseException, not %R",
                 exception.get(), type);
        }
        fail(PyExc_TypeError, "exceptions must derive from BaseException");
    }
    PyErr_SetObject(is_class ? exception.get() : type, instance.get());
    throw PythonError{};
}

} // namespace tessara::friendly
