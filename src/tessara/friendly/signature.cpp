#include "friendly/signature.hpp"

#include <algorithm>

namespace tessara::friendly {

namespace {

struct TypeText {
    const char* declared;
    PyTypeObject* annotation;
};

/// In the order of `Type`.
TypeText type_text(Type type) noexcept {
    switch (type) {
    case Type::Double:
        return {"double ", &PyFloat_Type};
    case Type::Int:
        return {"int ", &PyLong_Type};
    case Type::Bool:
        return {"bool ", &PyBool_Type};
    case Type::Str:
        return {"str ", &PyUnicode_Type};
    case Type::List:
        return {"list ", &PyList_Type};
    case Type::Object:
        break;
    }
    return {"", nullptr};
}

std::string parameter_list(const Signature& signature, bool with_types) {
    std::string list;
    for (const Parameter& parameter : signature.parameters) {
        list += list.empty() ? "" : ", ";
        list += with_types ? type_text(parameter.type).declared : "";
        list += parameter.name;
        if (parameter.fallback != nullptr) {
            list += '=';
            list += parameter.fallback->text;
        }
    }
    if (signature.extra_keywords) {
        list += ", **kwargs";
    }
    return '(' + list + ')';
}

} // namespace

std::size_t Signature::required() const noexcept {
    return static_cast<std::size_t>(
        std::count_if(parameters.begin(), parameters.end(),
                      [](const Parameter& parameter) { return parameter.fallback == nullptr; }));
}

std::string qualified_name(const Signature& signature) {
    std::string name = signature.owner != nullptr ? std::string(signature.owner) + '.' : "";
    return name + signature.name;
}

std::string declaration(const Signature& signature) {
    return qualified_name(signature) + parameter_list(signature, true);
}

std::string text_signature(const Signature& signature) {
    return parameter_list(signature, false);
}

PyObject* annotation(Type type) noexcept {
    return reinterpret_cast<PyObject*>(type_text(type).annotation);
}

} // namespace tessara::friendly
