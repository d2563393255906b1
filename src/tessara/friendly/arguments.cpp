#include "friendly/arguments.hpp"

#include <limits>

#include "friendly/python/objects.hpp"

namespace tessara::friendly {

namespace {

/// The `int` that `object` is or makes of itself by `__int__`. `PyNumber_Long` would take
/// `__index__` too, and would read the digits of a string.
Ref to_python_int(PyObject* object) {
    if (PyLong_Check(object)) {
        return Ref::borrow(object);
    }
    const PyNumberMethods* methods = Py_TYPE(object)->tp_as_number;
    if (methods == nullptr || methods->nb_int == nullptr) {
        fail(PyExc_TypeError, "an integer is required");
    }
    Ref result = checked(methods->nb_int(object));
    if (PyLong_CheckExact(result.get())) {
        return result;
    }
    if (!PyLong_Check(result.get())) {
        fail(PyExc_TypeError, "__int__ returned non-int (type %.200s)",
             Py_TYPE(result.get())->tp_name);
    }
    checked(PyErr_WarnFormat(PyExc_DeprecationWarning, 1,
                             "__int__ returned non-int (type %.200s).  The ability to return an "
                             "instance of a strict subclass of int is deprecated, and may be "
                             "removed in a future version of Python.",
                             Py_TYPE(result.get())->tp_name));
    return result;
}

int to_int(PyObject* object) {
    const Ref integer = to_python_int(object);
    int overflow = 0;
    const long long value = PyLong_AsLongLongAndOverflow(integer.get(), &overflow);
    if (value == -1 && overflow == 0) {
        throw_if_set();
    }
    if (overflow != 0 || value < std::numeric_limits<int>::min() ||
        value > std::numeric_limits<int>::max()) {
        fail(PyExc_OverflowError, "Python int too large to convert to C int");
    }
    return static_cast<int>(value);
}

void require(PyTypeObject& type, const Parameter& parameter, PyObject* object) {
    if (object != Py_None && Py_TYPE(object) != &type) {
        fail(PyExc_TypeError, "Argument '%.200s' has incorrect type (expected %.200s, got %.200s)",
             parameter.name, type.tp_name, Py_TYPE(object)->tp_name);
    }
}

} // namespace

ArgumentReader::ArgumentReader(const Signature& signature)
    : signature_(signature), required_(signature.required()) {
    for (const Parameter& parameter : signature.parameters) {
        names_.push_back(checked(PyUnicode_InternFromString(parameter.name)));
        fallbacks_.push_back(parameter.fallback != nullptr ? parameter.fallback->make() : Ref());
    }
}

Ref ArgumentReader::read(PyObject* const* values, Py_ssize_t positional, PyObject* keywords,
                         Arguments& arguments) const {
    const std::size_t given = static_cast<std::size_t>(positional);
    if (given > names_.size()) {
        raise_count(positional);
    }
    for (std::size_t i = 0; i < given; ++i) {
        arguments[i].object = values[i];
    }
    for (std::size_t i = given; i < names_.size(); ++i) {
        arguments[i].object = fallback(i);
    }
    Ref extra;
    if (keywords != nullptr && PyTuple_GET_SIZE(keywords) != 0) {
        extra = match_keywords(values, positional, keywords, arguments);
    } else if (given < required_) {
        raise_count(positional);
    } else if (signature_.extra_keywords) {
        extra = new_dict();
    }
    arguments[names_.size()].object = extra.get();
    convert(arguments);
    return extra;
}

void ArgumentReader::raise_count(Py_ssize_t given) const {
    const auto least = static_cast<Py_ssize_t>(required_);
    const auto most = static_cast<Py_ssize_t>(names_.size());
    const Py_ssize_t expected = given < least ? least : most;
    const char* bound = least == most ? "exactly" : given < least ? "at least" : "at most";
    fail(PyExc_TypeError, "%.200s() takes %.8s %zd positional argument%.1s (%zd given)",
         signature_.name, bound, expected, expected == 1 ? "" : "s", given);
}

Ref ArgumentReader::match_keywords(PyObject* const* values, Py_ssize_t positional,
                                   PyObject* keywords, Arguments& arguments) const {
    constexpr std::size_t Unknown = MaxArguments;
    const auto given = static_cast<std::size_t>(positional);
    const Py_ssize_t count = PyTuple_GET_SIZE(keywords);

    // The caller's names are interned as a rule, so that addresses tell all.
    const auto parameter_of = [this](PyObject* keyword) {
        for (std::size_t i = 0; i < names_.size(); ++i) {
            if (names_[i].get() == keyword) {
                return i;
            }
        }
        for (std::size_t i = 0; i < names_.size() && PyUnicode_Check(keyword); ++i) {
            if (PyUnicode_Compare(names_[i].get(), keyword) == 0) {
                return i;
            }
        }
        return Unknown;
    };

    // A required parameter that is given in no way counts as the place where the arguments end,
    // whatever else is wrong with the keywords.
    std::array<bool, MaxArguments> filled{};
    for (Py_ssize_t k = 0; k < count; ++k) {
        const std::size_t i = parameter_of(PyTuple_GET_ITEM(keywords, k));
        if (i != Unknown && i >= given) {
            arguments[i].object = values[positional + k];
            filled[i] = true;
        }
    }
    for (std::size_t i = given; i < required_; ++i) {
        if (!filled[i]) {
            raise_count(static_cast<Py_ssize_t>(i));
        }
    }

    Ref extra = signature_.extra_keywords ? new_dict() : Ref();
    for (Py_ssize_t k = 0; k < count; ++k) {
        PyObject* keyword = PyTuple_GET_ITEM(keywords, k);
        const std::size_t i = parameter_of(keyword);
        if (!PyUnicode_Check(keyword)) {
            fail(PyExc_TypeError, "%.200s() keywords must be strings", signature_.name);
        }
        if (i != Unknown && i < given) {
            fail(PyExc_TypeError, "%s() got multiple values for keyword argument '%U'",
                 signature_.name, keyword);
        }
        if (i == Unknown && !extra) {
            fail(PyExc_TypeError, "%s() got an unexpected keyword argument '%U'", signature_.name,
                 keyword);
        }
        if (i == Unknown) {
            checked(PyDict_SetItem(extra.get(), keyword, values[positional + k]));
        }
    }
    return extra;
}

void ArgumentReader::convert(Arguments& arguments) const {
    const std::span<const Parameter> parameters = signature_.parameters;
    bool has_object_tests = false;
    for (std::size_t i = 0; i < parameters.size(); ++i) {
        Argument& argument = arguments[i];
        switch (parameters[i].type) {
        case Type::Double:
            argument.number = to_double(argument.object);
            break;
        case Type::Int:
            argument.integer = to_int(argument.object);
            break;
        case Type::Bool:
            argument.flag = is_true(argument.object);
            break;
        case Type::Str:
        case Type::List:
            has_object_tests = true;
            break;
        case Type::Object:
            break;
        }
    }
    for (std::size_t i = 0; has_object_tests && i < parameters.size(); ++i) {
        if (parameters[i].type == Type::Str) {
            require(PyUnicode_Type, parameters[i], arguments[i].object);
        } else if (parameters[i].type == Type::List) {
            require(PyList_Type, parameters[i], arguments[i].object);
        }
    }
}

} // namespace tessara::friendly
