#include "basic/signature.hpp"

#include "basic/library/errors.hpp"
#include "basic/library/library.hpp"
#include "basic/python/objects.hpp"

#include <limits>

namespace tessara::basic {
namespace {

using Objects = std::array<PyObject*, Signature::Most>;

[[noreturn]] void fail_type_error(const std::string& text) {
    PyErr_SetString(PyExc_TypeError, text.c_str());
    throw PythonError{};
}

[[noreturn]] void fail_count(const Signature& signature, Py_ssize_t given) {
    const std::size_t least = signature.required();
    const std::size_t most = signature.count();
    std::string wanted = "no arguments";
    if (most > 0) {
        wanted = (least < most ? "from " + std::to_string(least) + " to " : "exactly ") +
                 std::to_string(most) + (most == 1 ? " argument" : " arguments");
    }
    fail_type_error(std::string(signature.name()) + "() takes " + wanted + " (" +
                    std::to_string(given) + " given)");
}

/// Puts the arguments in the order of the parameters; null where none is given.
void arrange(const Signature& signature, PyObject* const* values, Py_ssize_t positional,
             PyObject* keywords, Objects& objects) {
    const std::size_t most = signature.count();
    const Py_ssize_t named = keywords != nullptr ? PyTuple_GET_SIZE(keywords) : 0;
    if (static_cast<std::size_t>(positional) > most) {
        fail_count(signature, positional + named);
    }
    for (Py_ssize_t k = 0; k < positional; ++k) {
        objects[static_cast<std::size_t>(k)] = values[k];
    }
    for (Py_ssize_t k = 0; k < named; ++k) {
        PyObject* name = PyTuple_GET_ITEM(keywords, k);
        std::size_t at = 0;
        while (at < most && PyUnicode_CompareWithASCIIString(name, signature[at].name) != 0) {
            ++at;
        }
        if (at == most) {
            fail_type_error(std::string(signature.name()) +
                            "() got an unexpected keyword argument '" + utf8(name) + "'");
        }
        if (objects[at] != nullptr) {
            fail_type_error(std::string(signature.name()) +
                            "() got multiple values for argument '" + utf8(name) + "'");
        }
        objects[at] = values[positional + k];
    }
    for (std::size_t k = 0; k < signature.required(); ++k) {
        if (objects[k] == nullptr) {
            fail_count(signature, positional + named);
        }
    }
}

class Converter {
public:
    Converter(const Members& members, const Parameter& parameter, std::size_t place)
        : members_(members), parameter_(parameter), place_(place) {}

    void convert(PyObject* object, Argument& into, Arguments& arguments) const {
        switch (parameter_.kind) {
        case Kind::Absent:
            break;
        case Kind::Member:
            into.integer = member(object);
            break;
        case Kind::Unit:
            into.integer = unit(object);
            break;
        case Kind::Result:
            into.integer = result(object);
            break;
        case Kind::Integer:
            into.integer = whole_number(object, "an int");
            break;
        case Kind::Number:
            into.number = real_number(object, "a number");
            break;
        case Kind::OptionalNumber:
            into.given = object != Py_None;
            if (into.given) {
                into.number = real_number(object, "a number or None");
            }
            break;
        case Kind::Values:
            two_numbers(object, arguments.values);
            break;
        case Kind::Option:
            into.is_bool = PyBool_Check(object) != 0;
            into.integer = whole_number(object, "a bool or an int");
            break;
        case Kind::Text:
            if (PyUnicode_Check(object) == 0) {
                fail("a str", object);
            }
            into.object = object;
            break;
        case Kind::Path:
            into.path = path(object);
            break;
        case Kind::Date:
            into.given = object != Py_None;
            if (into.given) {
                date(object, arguments.date);
            }
            break;
        }
    }

private:
    [[noreturn]] void fail(const std::string& wanted, PyObject* given,
                           ErrorNumber number = ErrorNumber::WrongType) const {
        throw LibraryError(
            number, {std::to_string(place_), parameter_.name, wanted, describe(members_, given)});
    }

    int member(PyObject* object) const {
        const Members::Member* found = members_.find(object);
        if (found == nullptr || found->enumeration != parameter_.enumeration) {
            fail(std::string("a member of ") + enumeration_name(parameter_.enumeration), object,
                 found == nullptr ? ErrorNumber::WrongType : ErrorNumber::WrongMember);
        }
        return found->number;
    }

    int unit(PyObject* object) const {
        const Members::Member* found = members_.find(object);
        if (found == nullptr || found->enumeration < Enumeration::PressureUnit ||
            found->enumeration > Enumeration::AmountUnit) {
            fail("a unit, as a member of PressureUnit", object,
                 found == nullptr ? ErrorNumber::WrongType : ErrorNumber::WrongMember);
        }
        return found->number;
    }

    int result(PyObject* object) const {
        const Members::Member* found = members_.find(object);
        if (found != nullptr && found->enumeration == Enumeration::ResultVariable) [[likely]] {
            return found->number;
        }
        if (found != nullptr && found->enumeration == Enumeration::TargetVariable) {
            switch (static_cast<TargetVariable>(found->number)) {
            case TargetVariable::P:
                return static_cast<int>(ResultVariable::P);
            case TargetVariable::V:
                return static_cast<int>(ResultVariable::V);
            case TargetVariable::T:
                return static_cast<int>(ResultVariable::T);
            default:
                break;
            }
        }
        fail("a member of ResultVariable", object,
             found == nullptr ? ErrorNumber::WrongType : ErrorNumber::WrongMember);
    }

    int whole_number(PyObject* object, const char* wanted) const {
        Ref made;
        if (PyLong_Check(object) == 0) {
            if (PyIndex_Check(object) == 0) {
                fail(wanted, object);
            }
            made = Ref::steal(PyNumber_Index(object));
            if (!made) {
                fail_of_method(wanted, object);
            }
            object = made.get();
        }
        int overflow = 0;
        const long value = PyLong_AsLongAndOverflow(object, &overflow);
        if (overflow != 0 || value > std::numeric_limits<int>::max() ||
            value < std::numeric_limits<int>::min()) {
            throw LibraryError(ErrorNumber::IndexTooLarge,
                               {std::to_string(place_), parameter_.name});
        }
        return static_cast<int>(value);
    }

    double real_number(PyObject* object, const char* wanted) const {
        if (PyFloat_CheckExact(object) != 0) {
            return PyFloat_AS_DOUBLE(object);
        }
        const double value = PyFloat_AsDouble(object);
        if (value == -1.0 && PyErr_Occurred() != nullptr) {
            fail_of_method(wanted, object);
        }
        return value;
    }

    /// A conversion has failed: what Python says of the type or the range becomes the cause of an
    /// error in words; what a method of the object raised otherwise passes.
    [[noreturn]] void fail_of_method(const char* wanted, PyObject* object) const {
        if (PyErr_ExceptionMatches(PyExc_OverflowError) != 0) {
            throw LibraryError(ErrorNumber::IndexTooLarge,
                               {std::to_string(place_), parameter_.name});
        }
        if (PyErr_ExceptionMatches(PyExc_TypeError) != 0) {
            fail(wanted, object);
        }
        throw PythonError{};
    }

    static bool is_sequence(PyObject* object) {
        return PySequence_Check(object) != 0 && PyUnicode_Check(object) == 0 &&
               PyBytes_Check(object) == 0 && PyByteArray_Check(object) == 0;
    }

    void date(PyObject* object, std::array<int, 6>& date) const {
        static constexpr const char* wanted =
            "None or six ints: year, month, day, hour, minute, second";
        if (!is_sequence(object)) {
            fail(wanted, object);
        }
        const Py_ssize_t size = PySequence_Size(object);
        if (size < 0) {
            throw PythonError{};
        }
        if (size != static_cast<Py_ssize_t>(date.size())) {
            fail(wanted, object);
        }
        for (std::size_t k = 0; k < date.size(); ++k) {
            const Ref item = checked(PySequence_GetItem(object, static_cast<Py_ssize_t>(k)));
            date[k] = whole_number(item.get(), wanted);
        }
    }

    void two_numbers(PyObject* object, std::array<double, 2>& values) const {
        if (!is_sequence(object)) {
            throw LibraryError(ErrorNumber::WrongValues, {std::to_string(place_), parameter_.name,
                                                          describe(members_, object)});
        }
        const Py_ssize_t size = PySequence_Size(object);
        if (size < 0) {
            throw PythonError{};
        }
        if (size != 2) {
            throw LibraryError(ErrorNumber::WrongValues,
                               {std::to_string(place_), parameter_.name,
                                "one of " + std::to_string(size) + " items"});
        }
        for (std::size_t k = 0; k < 2; ++k) {
            const Ref item = checked(PySequence_GetItem(object, static_cast<Py_ssize_t>(k)));
            values[k] = real_number(item.get(), "a list of two numbers");
        }
    }

    Ref path(PyObject* object) const {
        static constexpr const char* wanted = "a str or an os.PathLike";
        if (PyBytes_Check(object) != 0) {
            fail(wanted, object);
        }
        Ref path = Ref::steal(PyOS_FSPath(object));
        if (!path) {
            fail_of_method(wanted, object);
        }
        return path;
    }

    const Members& members_;
    const Parameter& parameter_;
    std::size_t place_;
};

} // namespace

std::string Signature::text() const {
    std::string text = std::string(name_) + "(";
    for (std::size_t k = 0; k < count_; ++k) {
        const Parameter& parameter = parameters_[k];
        text += (k > 0 ? ", " : "") + std::string(parameter.name);
        if (parameter.optional) {
            text += parameter.kind == Kind::Integer ? "=" + std::to_string(parameter.fallback)
                    : parameter.kind == Kind::Text  ? "=''"
                                                    : "=None";
        }
    }
    return text + ")";
}

std::string describe(const Members& members, PyObject* object) {
    if (object == Py_None) {
        return "None";
    }
    if (const Members::Member* member = members.find(object)) {
        return std::string(enumeration_name(member->enumeration)) + "." + member->name;
    }
    return std::string("a value of type ") + Py_TYPE(object)->tp_name;
}

void convert(const Signature& signature, const Members& members, PyObject* const* values,
             Py_ssize_t positional, PyObject* keywords, Arguments& arguments) {
    Objects objects{};
    arrange(signature, values, positional, keywords, objects);
    for (std::size_t k = 0; k < signature.count(); ++k) {
        if (objects[k] != nullptr) {
            Converter(members, signature[k], k + 1).convert(objects[k], arguments.at[k], arguments);
        } else {
            arguments.at[k].integer = signature[k].fallback;
        }
    }
}

} // namespace tessara::basic
