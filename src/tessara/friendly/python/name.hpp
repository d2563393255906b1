#pragma once

#include "friendly/python/ref.hpp"
#include "friendly/python/versions.hpp"

namespace tessara::friendly {

/// A string constant that serves as a name: interned at its first use and kept for the process, so
/// that a look-up compares addresses and hashes nothing.
class Name {
public:
    explicit constexpr Name(const char* text) noexcept : text_(text) {}

    const char* text() const noexcept { return text_; }

    /// The interned `str`, borrowed.
    PyObject* get() const {
        if (object_ == nullptr) {
            object_ = checked(PyUnicode_InternFromString(text_)).release();
        }
        return object_;
    }

    /// What the name stood for last, as a global of the module and as an attribute.
    Found& last_global() const noexcept { return last_global_; }
    Found& last_attribute() const noexcept { return last_attribute_; }

    /// Where it was assigned last.
    Slot& last_slot() const noexcept { return last_slot_; }

private:
    const char* text_;
    mutable PyObject* object_ = nullptr;
    mutable Found last_global_;
    mutable Found last_attribute_;
    mutable Slot last_slot_;
};

} // namespace tessara::friendly
