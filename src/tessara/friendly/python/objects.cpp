#include "friendly/python/objects.hpp"

namespace tessara::friendly {

double to_double(Borrowed object) {
    if (PyFloat_CheckExact(object.get())) {
        return PyFloat_AS_DOUBLE(object.get());
    }
    const double value = PyFloat_AsDouble(object.get());
    if (value == -1.0) {
        throw_if_set();
    }
    return value;
}

void unpack_into(Borrowed iterable, Ref* targets, Py_ssize_t count) {
    const Ref iterator = checked(PyObject_GetIter(iterable.get()));
    for (Py_ssize_t i = 0; i < count; ++i) {
        targets[i] = next_item(iterator);
        if (!targets[i]) {
            fail(PyExc_ValueError, "need more than %zd value%.1s to unpack", i, i == 1 ? "" : "s");
        }
    }
    if (next_item(iterator)) {
        fail(PyExc_ValueError, "too many values to unpack (expected %zd)", count);
    }
}

void extend(Borrowed list, Borrowed iterable) {
    const Ref items = PyList_CheckExact(iterable.get()) ? Ref::borrow(iterable.get())
                                                        : checked(PySequence_List(iterable.get()));
    const Py_ssize_t end = PyList_GET_SIZE(list.get());
    checked(PyList_SetSlice(list.get(), end, end, items.get()));
}

void append_text(Ref& target, Borrowed piece) {
    PyObject* joined = target.release();
    PyUnicode_Append(&joined, piece.get());
    target = checked(joined);
}

namespace {

/// Whether a class of the metaclass `meta` is searched for attributes as a plain class is.
bool searches_as_type(PyTypeObject* meta) {
    static constinit const Name getattribute{"__getattribute__"};
    return _PyType_Lookup(meta, getattribute.get()) ==
           _PyType_Lookup(&PyType_Type, getattribute.get());
}

} // namespace

Ref module_or_class_attribute(Borrowed object, const Name& name) {
    static constinit const Name getattr{"__getattr__"};
    PyObject* owner = object.get();
    if (PyModule_CheckExact(owner)) {
        // What a module holds goes before what its type has, but for the few names in it that
        // belong to the type: those of this kind begin with two underscores.
        Ref found = Ref::borrow(PyDict_GetItemWithError(PyModule_GetDict(owner), name.get()));
        if (found) {
            return found;
        }
        throw_if_set();
    } else if (PyType_Check(owner) && searches_as_type(Py_TYPE(owner))) {
        Ref found = Ref::steal(PyType_Type.tp_getattro(owner, name.get()));
        if (found) {
            return found;
        }
        if (PyErr_ExceptionMatches(PyExc_AttributeError) == 0) {
            throw PythonError{};
        }
        PyObject* failure[3];
        PyErr_Fetch(&failure[0], &failure[1], &failure[2]); // a look-up in types clears what is set
        Ref type = Ref::steal(failure[0]);
        Ref value = Ref::steal(failure[1]);
        Ref trace = Ref::steal(failure[2]);
        if (const Ref fallback = special_method(object, getattr)) {
            return call(fallback, name);
        }
        PyErr_Restore(type.release(), value.release(), trace.release());
        throw PythonError{};
    }
    return attribute(object, name);
}

Ref special_method(Borrowed object, const Name& name) {
    PyTypeObject* type = Py_TYPE(object.get());
    Ref method = Ref::borrow(_PyType_Lookup(type, name.get()));
    if (!method) {
        return method;
    }
    const descrgetfunc bind = Py_TYPE(method.get())->tp_descr_get;
    if (bind == nullptr) {
        return method;
    }
    return checked(bind(method.get(), object.get(), reinterpret_cast<PyObject*>(type)));
}

} // namespace tessara::friendly
