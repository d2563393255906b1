#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "friendly/python/ref.hpp"

namespace tessara::friendly {

/// What a parameter is declared as. The conversion of each stands in arguments.cpp.
enum class Type : std::uint8_t { Object, Double, Int, Bool, Str, List };

/// What a parameter is when it is left out: evaluated once, when the function is made.
struct Default {
    const char* text;
    Ref (*make)();
};

struct Parameter {
    const char* name;
    Type type = Type::Object;
    const Default* fallback = nullptr;
};

/// The one declaration from which counting, conversion, error texts and documentation come.
struct Signature {
    const char* owner; ///< name of the class; null for a function of the module
    const char* name;
    std::span<const Parameter> parameters; ///< `cls` among them
    bool extra_keywords = false;           ///< ends in `**kwargs`

    std::size_t required() const noexcept;
};

/// `load` or `ThermochemicalSystem.load`
std::string qualified_name(const Signature& signature);

/// The first line of the documentation, such as
/// `ThermochemicalSystem.load(cls, file_path)`, with declared types and defaults.
std::string declaration(const Signature& signature);

/// The parameters alone, as Python would write them: `(cls, file_path)`.
std::string text_signature(const Signature& signature);

/// The built-in type that a declared type stands for, borrowed; null where there is none.
PyObject* annotation(Type type) noexcept;

} // namespace tessara::friendly
