#pragma once

#include "basic/python/ref.hpp"
#include "engine/data/description.hpp"

#include <array>
#include <string>
#include <string_view>

/// Python objects from C++ values and back.
namespace tessara::basic {

inline Ref none() {
    return Ref::borrow(Py_None);
}
inline Ref number(double value) {
    return checked(PyFloat_FromDouble(value));
}
inline Ref integer(long long value) {
    return checked(PyLong_FromLongLong(value));
}
inline Ref boolean(bool value) {
    return Ref::borrow(value ? Py_True : Py_False);
}

/// A `str`; bytes that are no UTF-8 become backslash escapes.
inline Ref text(std::string_view utf8) {
    return checked(PyUnicode_DecodeUTF8(utf8.data(), static_cast<Py_ssize_t>(utf8.size()),
                                        "backslashreplace"));
}

/// The `str` that programs which write the same name out have, too: dictionaries find a key that is
/// the very object faster than one that is only equal.
inline Ref name_text(std::string_view utf8) {
    PyObject* name = text(utf8).release();
    PyUnicode_InternInPlace(&name);
    return Ref::steal(name);
}

/// The text of a `str` in UTF-8; what has no UTF-8 becomes backslash escapes.
inline std::string utf8(PyObject* text) {
    const Ref bytes = checked(PyUnicode_AsEncodedString(text, "utf-8", "backslashreplace"));
    return {PyBytes_AS_STRING(bytes.get()),
            static_cast<std::size_t>(PyBytes_GET_SIZE(bytes.get()))};
}

inline Ref attribute(const Ref& object, const char* name) {
    return checked(PyObject_GetAttrString(object.get(), name));
}

inline Ref import(const char* module) {
    return checked(PyImport_ImportModule(module));
}

/// `callable(arguments...)`
template <class... Arguments>
Ref call(const Ref& callable, const Arguments&... arguments) {
    std::array<PyObject*, sizeof...(arguments) + 1> vector{nullptr, arguments.get()...};
    return checked(PyObject_Vectorcall(callable.get(), vector.data() + 1,
                                       sizeof...(arguments) | PY_VECTORCALL_ARGUMENTS_OFFSET,
                                       nullptr));
}

/// A list of as many items as `items` has, each made by `make`.
template <class Items, class Make>
Ref list_of(const Items& items, const Make& make) {
    Ref list = checked(PyList_New(static_cast<Py_ssize_t>(items.size())));
    Py_ssize_t at = 0;
    for (const auto& item : items) {
        PyList_SET_ITEM(list.get(), at++, Ref(make(item)).release());
    }
    return list;
}

inline void set_item(const Ref& dict, const char* key, const Ref& value) {
    checked(PyDict_SetItemString(dict.get(), key, value.get()));
}

/// The Python object of a plain value: a table becomes a dict.
Ref object(const Description& description);

template <class... Items>
Ref tuple_of(const Items&... items) {
    return checked(PyTuple_Pack(static_cast<Py_ssize_t>(sizeof...(items)), items.get()...));
}

} // namespace tessara::basic
