#pragma once

#include <array>
#include <vector>

#include "friendly/signature.hpp"

namespace tessara::friendly {

/// One argument as a body receives it: the member that the declared type fills. `object` is
/// borrowed from the caller, or from the defaults.
struct Argument {
    PyObject* object = nullptr;
    double number = 0.0;
    int integer = 0;
    bool flag = false;
};

/// The longest parameter list of the interface, `cls` and `**kwargs` counted.
inline constexpr std::size_t MaxArguments = 8;
using Arguments = std::array<Argument, MaxArguments>;

/// Turns what a caller passes into what a signature declares.
class ArgumentReader {
public:
    explicit ArgumentReader(const Signature& signature);

    /// Fills `arguments`, one place per parameter. Names and numbers of arguments are settled
    /// first; then the numeric and truth-value conversions run, and the tests for `str` and `list`
    /// last, both in the order of the signature. With extra keywords the place behind the
    /// parameters gets a new dict, which the result owns.
    Ref read(PyObject* const* values, Py_ssize_t positional, PyObject* keywords,
             Arguments& arguments) const;

    const Signature& signature() const noexcept { return signature_; }

    /// The value of a parameter that is left out; null where it is required.
    PyObject* fallback(std::size_t parameter) const noexcept { return fallbacks_[parameter].get(); }

private:
    [[noreturn]] void raise_count(Py_ssize_t given) const;
    Ref match_keywords(PyObject* const* values, Py_ssize_t positional, PyObject* keywords,
                       Arguments& arguments) const;
    void convert(Arguments& arguments) const;

    Signature signature_;
    std::size_t required_;
    std::vector<Ref> names_;
    std::vector<Ref> fallbacks_;
};

} // namespace tessara::friendly
