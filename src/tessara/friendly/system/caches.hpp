#pragma once

#include "friendly/library/binding.hpp"
#include "friendly/system/cache_entry.hpp"

// What this module remembers of the loaded system. The library addresses everything by number and
// answers one question per call; users address by name or index and ask constantly. So all names,
// stoichiometries, molar masses, mass fractions and models are read once per load, into dicts that
// hold each item's entry under its index and under its name, with these facts:
//
//   sc cache   "count", and per system component: "index", "name", "stoich", "mm", "mm_g"
//   ph cache   "count", "names", and per phase: "index", "name", "model", "pcs"
//   "pcs"      "count", and per phase constituent: "index", "name", "stoich", "mm", "y_scs"
//
// "stoich" and "y_scs" of a constituent hold a value per system component, again under index and
// name. A reference is a key as it stands: what is found is right, and what isn't is a `KeyError`.

namespace tessara::friendly {

/// The three variables. Each is `None` until a file is loaded, and replaced by each build.
struct Caches {
    Ref system; ///< the root: "scs" and "phs" are the two below
    Ref sc;
    Ref ph;
};

/// The state of the process. Never destroyed, as static objects outlive the interpreter.
Caches& caches();

/// Sets the three to `None`.
void empty_caches();

/// The object that a variable holds now, kept alive while it is searched: comparing keys may run
/// code of the user, which may load another file.
inline Ref current(const Ref& variable) {
    return Ref::borrow(variable.get());
}

/// `_sc_cache[sc]`, `_ph_cache[ph]`, `_ph_cache[ph]["pcs"]`, `_ph_cache[ph]["pcs"][pc]`
inline Ref sc_entry(Borrowed sc) {
    return item(current(caches().sc), sc);
}
inline Ref ph_entry(Borrowed ph) {
    return item(current(caches().ph), ph);
}
inline Ref pcs_of(Borrowed ph) {
    return fact(ph_entry(ph), names::pcs);
}
inline Ref pc_entry(Borrowed ph, Borrowed pc) {
    return item(pcs_of(ph), pc);
}

/// The index that goes to the library: proof that there is such an item, too.
inline Ref index_of_sc(Borrowed sc) {
    return fact(sc_entry(sc), names::index);
}
inline Ref index_of_ph(Borrowed ph) {
    return fact(ph_entry(ph), names::index);
}
inline Ref index_of_pc(Borrowed ph, Borrowed pc) {
    return fact(pc_entry(ph, pc), names::index);
}

inline Ref name_of_ph(Borrowed ph) {
    return fact(ph_entry(ph), names::name);
}
inline Ref name_of_pc(Borrowed ph, Borrowed pc) {
    return fact(pc_entry(ph, pc), names::name);
}

inline Ref count_of_scs() {
    return sc_entry(names::count);
}
inline Ref count_of_phs() {
    return ph_entry(names::count);
}
inline Ref count_of_pcs(Borrowed ph) {
    return item(pcs_of(ph), names::count);
}

} // namespace tessara::friendly
