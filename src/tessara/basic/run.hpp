#pragma once

#include "basic/signature.hpp"

#include <array>
#include <string>
#include <utility>

namespace tessara::basic {

/// An operation of the module.
struct Operation {
    Signature signature;
    Ref (*body)(const Arguments& arguments);
    const char* description;
};

/// Runs an operation for a call from Python: arguments, body, warnings. Every failure leaves as a
/// Python exception; those of the library are noted in `core` first.
PyObject* run(const Operation& operation, PyObject* const* values, Py_ssize_t count,
              PyObject* keywords) noexcept;

/// The functions of a table of operations, each with an entry of its own.
template <const auto& operations>
class MethodTable {
public:
    static PyMethodDef* methods() {
        static MethodTable table;
        return table.methods_.data();
    }

private:
    static constexpr std::size_t Count = std::size(operations);

    MethodTable() { fill(std::make_index_sequence<Count>()); }

    template <std::size_t... index>
    void fill(std::index_sequence<index...>) {
        (fill_one<index>(), ...);
    }

    template <std::size_t index>
    void fill_one() {
        const Operation& operation = operations[index];
        // The interpreter takes the signature apart from the text behind it.
        const std::string line = operation.signature.text();
        texts_[index] = line + "\n--\n\n" + line + "\n\n" + operation.description;
        // The cast to the type of the field goes over one without arguments, as every function
        // with the fast call convention has to.
        methods_[index] = {operation.signature.name(),
                           reinterpret_cast<PyCFunction>(
                               reinterpret_cast<void (*)()>(&MethodTable::template entry<index>)),
                           METH_FASTCALL | METH_KEYWORDS, texts_[index].c_str()};
    }

    template <std::size_t index>
    static PyObject* entry(PyObject*, PyObject* const* values, Py_ssize_t count,
                           PyObject* keywords) noexcept {
        return run(operations[index], values, count, keywords);
    }

    std::array<std::string, Count> texts_;
    std::array<PyMethodDef, Count + 1> methods_{}; ///< the last one ends the table
};

} // namespace tessara::basic
