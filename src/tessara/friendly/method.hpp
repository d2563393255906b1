#pragma once

#include <span>
#include <string>
#include <type_traits>
#include <utility>

#include "friendly/arguments.hpp"
#include "friendly/python/name.hpp"

namespace tessara::friendly {

/// A parameter list that methods share.
template <std::size_t size>
struct Shape {
    std::array<Parameter, size> parameters;
    bool extra_keywords = false;
};

/// What runs when a method is called, behind the argument rules. `member` is the name, as a rule of
/// an enumeration member, that tells methods with one body apart, null for a body without one.
using Body = Ref (*)(const Name* member, const Arguments& arguments);

/// One method of a class, or one function of the module.
struct Method {
    const char* name;
    std::span<const Parameter> parameters;
    bool extra_keywords;
    Body body;
    const Name* member;
    std::string description; ///< the documentation below the signature line
};

namespace detail {

template <class Value>
constexpr bool accepts(Type type) {
    switch (type) {
    case Type::Double:
        return std::is_same_v<Value, double>;
    case Type::Int:
        return std::is_same_v<Value, int>;
    case Type::Bool:
        return std::is_same_v<Value, bool>;
    case Type::Object:
    case Type::Str:
    case Type::List:
        break;
    }
    return std::is_same_v<Value, PyObject*>;
}

template <class Value>
Value value_of(const Argument& argument) {
    if constexpr (std::is_same_v<Value, double>) {
        return argument.number;
    } else if constexpr (std::is_same_v<Value, int>) {
        return argument.integer;
    } else if constexpr (std::is_same_v<Value, bool>) {
        return argument.flag;
    } else {
        return argument.object;
    }
}

/// Whether the C++ parameters `Values` are what the shape declares, place by place.
template <const auto& shape, class... Values>
constexpr bool matches() {
    constexpr std::size_t declared = shape.parameters.size();
    if (sizeof...(Values) != declared + (shape.extra_keywords ? 1 : 0) ||
        sizeof...(Values) > MaxArguments) {
        return false;
    }
    std::size_t i = 0;
    const auto place_matches = [&i]<class Value>(std::type_identity<Value>) {
        const Type type = i < declared ? shape.parameters[i].type : Type::Object;
        ++i;
        return accepts<Value>(type);
    };
    return (place_matches(std::type_identity<Values>{}) && ...);
}

template <class Function>
struct Caller;

template <class... Values>
struct Caller<Ref (*)(Values...)> {
    template <const auto& shape>
    static constexpr bool fits = matches<shape, Values...>();

    template <auto function>
    static Ref call(const Name*, const Arguments& arguments) {
        return [&]<std::size_t... i>(std::index_sequence<i...>) {
            return function(value_of<Values>(arguments[i])...);
        }(std::index_sequence_for<Values...>{});
    }
};

template <class... Values>
struct Caller<Ref (*)(const Name&, Values...)> {
    template <const auto& shape>
    static constexpr bool fits = matches<shape, Values...>();

    template <auto function>
    static Ref call(const Name* member, const Arguments& arguments) {
        return [&]<std::size_t... i>(std::index_sequence<i...>) {
            return function(*member, value_of<Values>(arguments[i])...);
        }(std::index_sequence_for<Values...>{});
    }
};

} // namespace detail

/// The body that calls `function` with typed values. That these are what the shape declares is
/// checked when this is compiled.
template <const auto& shape, auto function>
constexpr Body body_of() {
    using Caller = detail::Caller<decltype(function)>;
    static_assert(Caller::template fits<shape>, "the function's parameters are not the shape's");
    return &Caller::template call<function>;
}

/// A row of a class: a method under `name`, with the parameters of `shape`, that runs `function`.
template <const auto& shape, auto function>
Method method(const char* name, std::string description, const Name* member = nullptr) {
    return {name,   shape.parameters,      shape.extra_keywords, body_of<shape, function>(),
            member, std::move(description)};
}

} // namespace tessara::friendly
