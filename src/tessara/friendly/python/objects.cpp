#include "friendly/python/objects.hpp"

#include <structmember.h>

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

/// What a module holds goes before what its type has, but for the few names in it that belong to
/// the type: those of this kind begin with two underscores. Empty where it holds no such thing.
Ref attribute_of_module(PyObject* module, const Name& name) {
    PyObject* held = PyModule_GetDict(module);
    Found& last = name.last_attribute();
    const std::uint64_t version = version_of(held);
    if (version != 0 && version == last.version && last.meta_version == 0) {
        return Ref::borrow(last.value);
    }
    Ref found = Ref::borrow(PyDict_GetItemWithError(held, name.get()));
    if (found) {
        last = {version, 0, found.get()};
    } else {
        throw_if_set();
    }
    return found;
}

/// A plain value that the class holds or inherits, under a name that its metaclass leaves alone:
/// enumeration members are. Empty for all else.
Ref plain_attribute_of_class(PyTypeObject* owner, const Name& name) {
    PyTypeObject* meta = Py_TYPE(owner);
    Found& last = name.last_attribute();
    if (const std::uint64_t version = version_of(owner); version != 0 && version == last.version &&
                                                         last.meta_version != 0 &&
                                                         last.meta_version == version_of(meta)) {
        return Ref::borrow(last.value);
    }
    if (!searches_as_type(meta) || _PyType_Lookup(meta, name.get()) != nullptr) {
        return {};
    }
    Ref found = Ref::borrow(_PyType_Lookup(owner, name.get()));
    if (!found || Py_TYPE(found.get())->tp_descr_get != nullptr) {
        return {};
    }
    // A search numbers what it searches, so the numbers are those of the present states.
    last = {version_of(owner), version_of(meta), found.get()};
    return found;
}

} // namespace

Ref module_or_class_attribute(Borrowed object, const Name& name) {
    PyObject* owner = object.get();
    Ref found;
    if (PyModule_CheckExact(owner)) {
        found = attribute_of_module(owner, name);
    } else if (PyType_Check(owner)) {
        found = plain_attribute_of_class(reinterpret_cast<PyTypeObject*>(owner), name);
    }
    return found ? std::move(found) : attribute(object, name);
}

void set_attribute_anyhow(PyObject* object, const Name& name, PyObject* value) {
    checked(PyObject_SetAttr(object, name.get(), value));
    PyTypeObject* type = Py_TYPE(object);
    if (type->tp_setattro != PyObject_GenericSetAttr) {
        return;
    }
    PyObject* found = _PyType_Lookup(type, name.get());
    if (found == nullptr || !Py_IS_TYPE(found, &PyMemberDescr_Type)) {
        return;
    }
    const PyMemberDef* member = reinterpret_cast<PyMemberDescrObject*>(found)->d_member;
    if (member->type == T_OBJECT_EX && member->flags == 0 &&
        PyType_IsSubtype(type, PyDescr_TYPE(found)) != 0) {
        name.last_slot() = {version_of(type), member->offset};
    }
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
