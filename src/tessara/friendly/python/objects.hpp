#pragma once

#include <array>
#include <cstddef>

#include "friendly/python/name.hpp"
#include "friendly/python/ref.hpp"

namespace tessara::friendly {

/// An object that the caller keeps alive for the length of a call: how arguments are handed on.
class Borrowed {
public:
    Borrowed(PyObject* object) noexcept : object_(object) {}  // NOLINT(google-explicit-constructor)
    Borrowed(const Ref& ref) noexcept : object_(ref.get()) {} // NOLINT(google-explicit-constructor)
    Borrowed(const Name& name) : object_(name.get()) {}       // NOLINT(google-explicit-constructor)

    PyObject* get() const noexcept { return object_; }

private:
    PyObject* object_;
};

inline Ref none() {
    return Ref::borrow(Py_None);
}
/// One more reference to the same object.
inline Ref same(Borrowed object) {
    return Ref::borrow(object.get());
}
inline Ref boolean(bool value) {
    return Ref::borrow(value ? Py_True : Py_False);
}
inline Ref number(double value) {
    return checked(PyFloat_FromDouble(value));
}
inline Ref integer(long value) {
    return checked(PyLong_FromLong(value));
}
inline Ref text(const char* value) {
    return checked(PyUnicode_FromString(value));
}
inline Ref new_dict() {
    return checked(PyDict_New());
}
inline Ref new_list() {
    return checked(PyList_New(0));
}

inline Ref attribute(Borrowed object, const Name& name) {
    return checked(PyObject_GetAttr(object.get(), name.get()));
}

/// The assignment as the interpreter makes it. Where the class has a plain slot of that name, as
/// most records have, the name remembers it for the next time.
void set_attribute_anyhow(PyObject* object, const Name& name, PyObject* value);

/// `object.name = value`
inline void set_attribute(Borrowed object, const Name& name, Borrowed value) {
    const Slot& last = name.last_slot();
    if (last.version == 0 || version_of(Py_TYPE(object.get())) != last.version) {
        set_attribute_anyhow(object.get(), name, value.get());
        return;
    }
    auto** slot = reinterpret_cast<PyObject**>(reinterpret_cast<char*>(object.get()) + last.offset);
    const Ref old = Ref::steal(std::exchange(*slot, same(value).release()));
}

/// `container[key]`, of any container, with the failures that the interpreter gives.
inline Ref item(Borrowed container, Borrowed key) {
    if (PyDict_CheckExact(container.get())) { // most are: this saves a third of the time
        Ref found = Ref::borrow(PyDict_GetItemWithError(container.get(), key.get()));
        if (!found) {
            throw_if_set();
            _PyErr_SetKeyError(key.get());
            throw PythonError{};
        }
        return found;
    }
    return checked(PyObject_GetItem(container.get(), key.get()));
}

/// `object.name`, as `attribute`, but with a short way for modules and for classes whose metaclass
/// has a `__getattr__`, which makes the interpreter take a long one: enumerations.
Ref module_or_class_attribute(Borrowed object, const Name& name);

inline void set_item(Borrowed container, Borrowed key, Borrowed value) {
    checked(PyObject_SetItem(container.get(), key.get(), value.get()));
}

/// `del container[key]`
inline void remove_item(Borrowed container, Borrowed key) {
    checked(PyObject_DelItem(container.get(), key.get()));
}

/// `key in container`
inline bool contains(Borrowed container, Borrowed key) {
    return checked(PySequence_Contains(container.get(), key.get())) != 0;
}

inline bool is_true(Borrowed object) {
    return checked(PyObject_IsTrue(object.get())) != 0;
}

/// `left OP right` as a condition; `operation` is one of `Py_LT` to `Py_GE`.
inline bool compare(Borrowed left, Borrowed right, int operation) {
    return is_true(checked(PyObject_RichCompare(left.get(), right.get(), operation)));
}

/// `value > 0.0`, which no nan is.
inline bool is_positive(Borrowed value) {
    if (PyFloat_CheckExact(value.get())) {
        return PyFloat_AS_DOUBLE(value.get()) > 0.0;
    }
    return compare(value, number(0.0), Py_GT);
}

inline Ref product(Borrowed left, Borrowed right) {
    return checked(PyNumber_Multiply(left.get(), right.get()));
}

inline Ref quotient(Borrowed dividend, Borrowed divisor) {
    return checked(PyNumber_TrueDivide(dividend.get(), divisor.get()));
}

/// `next(iterator)`; empty at the end.
inline Ref next_item(Borrowed iterator) {
    Ref value = Ref::steal(PyIter_Next(iterator.get()));
    if (!value) {
        throw_if_set();
    }
    return value;
}

inline void append(Borrowed list, Borrowed value) {
    checked(PyList_Append(list.get(), value.get()));
}

/// `list.extend(iterable)`
void extend(Borrowed list, Borrowed iterable);

/// `target += piece` of two `str`
void append_text(Ref& target, Borrowed piece);

/// `callable(arguments...)`
template <class... Arguments>
Ref call(Borrowed callable, const Arguments&... arguments) {
    // The first place is for the callee, which may put a bound object there for a moment.
    std::array<PyObject*, sizeof...(arguments) + 1> vector{nullptr, Borrowed(arguments).get()...};
    return checked(PyObject_Vectorcall(callable.get(), vector.data() + 1,
                                       sizeof...(arguments) | PY_VECTORCALL_ARGUMENTS_OFFSET,
                                       nullptr));
}

/// What `float(object)` converts a number to, without the reading of strings.
double to_double(Borrowed object);

template <class... Items>
Ref tuple_of(const Items&... items) {
    return checked(
        PyTuple_Pack(static_cast<Py_ssize_t>(sizeof...(items)), Borrowed(items).get()...));
}

struct Keyword {
    const Name& name;
    Borrowed value;
};

/// `callable(name=value, ...)`
template <class... Keywords>
Ref call_with_keywords(Borrowed callable, const Keywords&... keywords) {
    const Ref names = tuple_of(keywords.name...);
    const std::array<PyObject*, sizeof...(keywords)> values{keywords.value.get()...};
    return checked(PyObject_Vectorcall(callable.get(), values.data(), 0, names.get()));
}

/// Throws the `ValueError` or `TypeError` of an assignment to several targets that doesn't fit;
/// otherwise fills `targets` with the items of `iterable`.
void unpack_into(Borrowed iterable, Ref* targets, Py_ssize_t count);

/// `a, b = iterable`
template <std::size_t count>
std::array<Ref, count> unpack(Borrowed iterable) {
    std::array<Ref, count> targets;
    unpack_into(iterable, targets.data(), static_cast<Py_ssize_t>(count));
    return targets;
}

/// `format % (values...)`
template <class... Values>
Ref percent(const char* format, const Values&... values) {
    const Ref template_text = text(format);
    return checked(PyUnicode_Format(template_text.get(), tuple_of(values...).get()));
}

/// A piece of an f-string that is an attribute, read when its turn comes.
struct AttributeOf {
    Borrowed object;
    const Name& name;
};

inline Ref formatted_piece(const char* literal) {
    return text(literal);
}
inline Ref formatted_piece(Borrowed value) {
    return checked(PyObject_Format(value.get(), nullptr));
}
inline Ref formatted_piece(const AttributeOf& piece) {
    return formatted_piece(attribute(piece.object, piece.name));
}

/// An f-string: literal text and values with an empty format, from left to right.
template <class First, class... Others>
Ref formatted(const First& first, const Others&... others) {
    Ref result = formatted_piece(first);
    ((result = checked(PyUnicode_Concat(result.get(), formatted_piece(others).get()))), ...);
    return result;
}

/// What `with` uses of a context manager: the method `name` of the object's type, bound to the
/// object; an attribute of the instance alone doesn't count. Empty where the type has none.
Ref special_method(Borrowed object, const Name& name);

} // namespace tessara::friendly
