#pragma once

#include <array>
#include <cstddef>

#include "friendly/library/names.hpp"
#include "friendly/python/objects.hpp"

namespace tessara::friendly {

/// What a cache holds of one system component, phase or phase constituent, under the keys that
/// `caches.hpp` names: an object with a place per key, as each call reads some of them. Nothing
/// outside this module sees one, and none can be part of a cycle, so the garbage collector need
/// not walk the caches.
struct CacheEntry {
    static constexpr std::size_t Size = 5;

    PyObject_HEAD PyObject* facts[Size];
};

/// The entries' type; null before the first entry.
inline constinit PyTypeObject* cache_entry_type = nullptr;

/// A new entry with these facts, in the order of the keys of its kind.
Ref make_cache_entry(std::array<Ref, CacheEntry::Size> facts);

/// Where an entry keeps what it has under `key`. Kinds differ in which keys they have.
inline std::size_t place_of(const Name& key) noexcept {
    if (&key == &names::index) {
        return 0;
    }
    if (&key == &names::name) {
        return 1;
    }
    if (&key == &names::stoich || &key == &names::model) {
        return 2;
    }
    if (&key == &names::mm || &key == &names::pcs) {
        return 3;
    }
    return 4; // "mm_g", "y_scs"
}

/// `entry[key]`. A reference may be "count" or "names", behind which there is no entry: what these
/// answer is their own matter.
inline Ref fact(const Ref& entry, const Name& key) {
    if (Py_TYPE(entry.get()) != cache_entry_type) {
        return item(entry, key);
    }
    return Ref::borrow(reinterpret_cast<CacheEntry*>(entry.get())->facts[place_of(key)]);
}

} // namespace tessara::friendly
