#include "friendly/system/cache_entry.hpp"

namespace tessara::friendly {

namespace {

void deallocate(PyObject* self) noexcept {
    PyTypeObject* type = Py_TYPE(self);
    for (PyObject*& fact : reinterpret_cast<CacheEntry*>(self)->facts) {
        const Ref last = Ref::steal(std::exchange(fact, nullptr));
    }
    type->tp_free(self);
    const Ref last = Ref::steal(reinterpret_cast<PyObject*>(type));
}

void make_type() {
    PyType_Slot slots[] = {{Py_tp_dealloc, reinterpret_cast<void*>(deallocate)}, {0, nullptr}};
    PyType_Spec spec{"tessara.friendly.cache_entry", sizeof(CacheEntry), 0,
                     Py_TPFLAGS_DEFAULT | Py_TPFLAGS_DISALLOW_INSTANTIATION, slots};
    cache_entry_type = reinterpret_cast<PyTypeObject*>(checked(PyType_FromSpec(&spec)).release());
}

} // namespace

Ref make_cache_entry(std::array<Ref, CacheEntry::Size> facts) {
    if (cache_entry_type == nullptr) {
        make_type();
    }
    Ref entry = checked(PyType_GenericAlloc(cache_entry_type, 0));
    for (std::size_t i = 0; i < facts.size(); ++i) {
        reinterpret_cast<CacheEntry*>(entry.get())->facts[i] = facts[i].release();
    }
    return entry;
}

} // namespace tessara::friendly
