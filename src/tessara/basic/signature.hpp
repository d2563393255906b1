#pragma once

#include "basic/members.hpp"
#include "basic/python/ref.hpp"

#include <array>
#include <cstddef>
#include <initializer_list>
#include <string>

namespace tessara::basic {

/// What an argument must be.
enum class Kind : unsigned char {
    Absent,
    Member,         ///< a member of one enumeration
    Unit,           ///< a member of any enumeration of units
    Result,         ///< a `ResultVariable`, or P, V, T of `TargetVariable`
    Integer,        ///< an `int`, or what stands for one by `__index__`
    Number,         ///< a `float`, or what turns into one by `__float__` or `__index__`
    OptionalNumber, ///< a number or `None`
    Values,         ///< a list (or another sequence) of two numbers
    Option,         ///< a `bool` or an `int`
    Text,           ///< a `str`
    Path,           ///< a `str` or an `os.PathLike`
    Date,           ///< six ints, from year to second, or `None`
};

struct Parameter {
    const char* name = "";
    Kind kind = Kind::Absent;
    Enumeration enumeration = Enumeration::IoOption; ///< of a `Member`
    bool optional = false;
    int fallback = -1; ///< of an optional `Integer`; other optional arguments are then not given
};

/// The arguments of an operation, declared once: counting, conversion, words of errors and the
/// first line of the docstring all come from here.
class Signature {
public:
    static constexpr std::size_t Most = 4;

    constexpr Signature(const char* name, std::initializer_list<Parameter> parameters)
        : name_(name), count_(parameters.size()) {
        std::size_t k = 0;
        for (const Parameter& parameter : parameters) {
            parameters_[k++] = parameter;
            required_ += parameter.optional ? 0 : 1;
        }
    }

    constexpr const char* name() const { return name_; }
    constexpr std::size_t count() const { return count_; }
    /// Number of those that have to be given; they come first.
    constexpr std::size_t required() const { return required_; }
    constexpr const Parameter& operator[](std::size_t k) const { return parameters_[k]; }

    /// "hxgetr(variable, i_ph=-1, i_c=-1)"
    std::string text() const;

private:
    const char* name_;
    std::array<Parameter, Most> parameters_;
    std::size_t count_;
    std::size_t required_ = 0;
};

/// One converted argument. Which field counts follows from the declared kind.
struct Argument {
    int integer = 0;
    double number = 0.0;
    bool given = false;         ///< of an `OptionalNumber` or a `Date`
    bool is_bool = false;       ///< of an `Option`
    PyObject* object = nullptr; ///< of a `Text`; borrowed, null where it is left out
    Ref path;                   ///< of a `Path`: a `str` or `bytes`

    template <class Enumerator>
    Enumerator as() const {
        return static_cast<Enumerator>(integer);
    }
};

struct Arguments {
    std::array<Argument, Signature::Most> at;
    std::array<double, 2> values{}; ///< of `Values`
    std::array<int, 6> date{};      ///< of a `Date`

    const Argument& operator[](std::size_t k) const { return at[k]; }
};

/// Converts the arguments of a call. A wrong number of them or a wrong keyword is a `TypeError`,
/// everything else a `LibraryError`; exceptions of the arguments' own methods pass.
void convert(const Signature& signature, const Members& members, PyObject* const* values,
             Py_ssize_t positional, PyObject* keywords, Arguments& arguments);

/// What an object is, for "must be ..., not ...".
std::string describe(const Members& members, PyObject* object);

} // namespace tessara::basic
