#pragma once

#include <cstdint>

#include "friendly/python/ref.hpp"

/// States of dicts and types. Each state has a number of its own in the whole process, so that what
/// was found in one need not be searched for again while the number is the same.
namespace tessara::friendly {

/// 0 where the interpreter doesn't tell.
inline std::uint64_t version_of(PyObject* dict) noexcept {
#if PY_VERSION_HEX < 0x030C0000
    return reinterpret_cast<PyDictObject*>(dict)->ma_version_tag;
#else
    static_cast<void>(dict);
    return 0;
#endif
}

/// 0 where the interpreter doesn't tell, or has not numbered the type yet.
inline std::uint64_t version_of(PyTypeObject* type) noexcept {
#if PY_VERSION_HEX < 0x030C0000
    return (type->tp_flags & Py_TPFLAGS_VALID_VERSION_TAG) != 0 ? type->tp_version_tag : 0;
#else
    static_cast<void>(type);
    return 0;
#endif
}

/// What was found, and the states of what was searched. The value is borrowed: while these states
/// last, what was searched keeps it alive.
struct Found {
    std::uint64_t version = 0;
    std::uint64_t meta_version = 0; ///< of the type of a type; 0 for a dict
    PyObject* value = nullptr;
};

/// Where the objects of a type keep an attribute: a slot that is found and assigned without running
/// any code, in this state of the type. `version` is 0 for none.
struct Slot {
    std::uint64_t version = 0;
    Py_ssize_t offset = 0;
};

} // namespace tessara::friendly
