#include "friendly/library/index_range.hpp"
#include "friendly/system/caches.hpp"
#include "friendly/system/duplicates.hpp"
#include "friendly/system/thermochemical_system.hpp"

namespace tessara::friendly {

namespace {

/// Item `place` of what `hxstsc` or `hxstpc` gives: 0 the stoichiometry, 1 the molar mass.
Ref part(const Ref& pair, long place) {
    return item(pair, integer(place));
}

/// `[basic.<operation>(arguments..., i) for i in range(count)]`
template <class... Arguments>
Ref ask_each(const Name& name, Borrowed count, const Arguments&... arguments) {
    return list_over(count, [&](const Ref& i) { return call_operation(name, arguments..., i); });
}

/// Puts an entry into a cache under its index and then, unless the name is taken, under its name.
/// `refuse` raises the error for a name that is taken, given the index that has it.
template <class Refuse>
void store(const Ref& cache, Borrowed index, Borrowed name, const Ref& entry, Refuse refuse) {
    set_item(current(cache), index, entry);
    if (contains(current(cache), name)) {
        refuse(item(item(current(cache), name), names::index));
    }
    set_item(current(cache), name, entry);
}

void build_system_components() {
    caches().sc = new_dict();
    set_item(current(caches().system), names::scs, current(caches().sc));

    const Ref count = call_operation(names::hxnosc);
    set_item(current(caches().sc), names::count, count);
    const Ref names_of_scs = ask_each(names::hxgnsc, count);
    const Ref stoich_mm = ask_each(names::hxstsc, count);

    // Molar masses in gram too. `Units` would do more than set the unit: it rebuilds the caches.
    const Member amount{names::Quantity, names::Amount};
    const Ref old_unit = call_operation(names::hxgsu, amount);
    call_operation(names::hxcsu, amount, Member{names::AmountUnit, names::gram});
    const Ref stoich_mm_g = ask_each(names::hxstsc, count);
    call_operation(names::hxcsu, amount, old_unit);

    for (const Ref& i_sc : IndexRange(count)) {
        const Ref name = item(names_of_scs, i_sc);
        const Ref entry = new_dict();
        set_item(entry, names::index, i_sc);
        set_item(entry, names::name, name);
        set_item(entry, names::stoich, part(item(stoich_mm, i_sc), 0));
        set_item(entry, names::mm, part(item(stoich_mm, i_sc), 1));
        set_item(entry, names::mm_g, part(item(stoich_mm_g, i_sc), 1));
        store(caches().sc, i_sc, name, entry, [&](const Ref& previous) {
            raise_duplicate(previous, i_sc, "A duplicate system component '", name,
                            "' was found in");
        });
    }
}

void build_phases() {
    caches().ph = new_dict();
    set_item(current(caches().system), names::phs, current(caches().ph));

    const Ref count = call_operation(names::hxnop);
    set_item(current(caches().ph), names::count, count);
    const Ref names_of_phs = ask_each(names::hxgnp, count);
    set_item(current(caches().ph), names::key_names, names_of_phs);
    const Ref models = list_over(count, [](const Ref& i) {
        return attribute(call_operation(names::hxmodl, i), names::name);
    });

    for (const Ref& i_ph : IndexRange(count)) {
        const Ref name = item(names_of_phs, i_ph);
        const Ref entry = new_dict();
        set_item(entry, names::index, i_ph);
        set_item(entry, names::name, name);
        set_item(entry, names::model, item(models, i_ph));
        set_item(entry, names::pcs, new_dict());
        store(caches().ph, i_ph, name, entry, [&](const Ref& previous) {
            raise_duplicate(previous, i_ph, "A duplicate phase '", name, "' was found in");
        });
    }
}

/// The mass fraction of a component in a constituent: the product first, then the division.
Ref mass_fraction(Borrowed mm_sc, Borrowed stoich, Borrowed mm_pc) {
    return quotient(product(mm_sc, stoich), mm_pc);
}

/// What `fill_composition` does with one coefficient, where that runs no code of anybody else's:
/// exact floats, indexes and names. Then nothing can change what has been looked up, and the bits
/// are the same. Most of the time of a load goes by here. False: nothing is done yet.
bool filled_plainly(const Ref& entry, Borrowed i_sc, const Ref& stoich, const Ref& mm_pc) {
    if (!PyLong_CheckExact(i_sc.get())) {
        return false;
    }
    const Ref sc = sc_entry(i_sc);
    const Ref mm_sc = item(sc, names::mm);
    const Ref name = item(sc, names::name);
    if (!PyFloat_CheckExact(stoich.get()) || !PyFloat_CheckExact(mm_pc.get()) ||
        !PyFloat_CheckExact(mm_sc.get()) || !PyUnicode_CheckExact(name.get())) {
        return false;
    }
    const double mm = PyFloat_AS_DOUBLE(mm_pc.get());
    const Ref y = number(
        mm > 0.0 ? PyFloat_AS_DOUBLE(mm_sc.get()) * PyFloat_AS_DOUBLE(stoich.get()) / mm : 0.0);
    const Ref by_sc = item(entry, names::stoich);
    const Ref y_by_sc = item(entry, names::y_scs);
    for (PyObject* key : {i_sc.get(), name.get()}) {
        checked(PyDict_SetItem(by_sc.get(), key, stoich.get()));
        checked(PyDict_SetItem(y_by_sc.get(), key, y.get()));
    }
    return true;
}

/// Fills "stoich" and "y_scs" of a constituent, for each component under index and name.
void fill_composition(const Ref& entry, const Ref& stoich_mm, Borrowed i_pc) {
    for (const Ref& i_sc : IndexRange(count_of_scs())) {
        const Ref stoich = item(part(item(stoich_mm, i_pc), 0), i_sc);
        const Ref mm_pc = item(entry, names::mm);
        if (filled_plainly(entry, i_sc, stoich, mm_pc)) {
            continue;
        }
        const Ref y = compare(mm_pc, number(0.0), Py_GT)
                          ? mass_fraction(item(sc_entry(i_sc), names::mm), stoich, mm_pc)
                          : number(0.0);
        const Ref by_sc = item(entry, names::stoich);
        set_item(by_sc, i_sc, stoich);
        set_item(by_sc, item(sc_entry(i_sc), names::name), stoich);
        const Ref y_by_sc = item(entry, names::y_scs);
        set_item(y_by_sc, i_sc, y);
        set_item(y_by_sc, item(sc_entry(i_sc), names::name), y);
    }
}

void build_phase_constituents(const Ref& i_ph) {
    const Ref pcs = pcs_of(i_ph);
    const Ref count = call_operation(names::hxnopc, i_ph);
    set_item(pcs, names::count, count);
    const Ref names_of_pcs = ask_each(names::hxgnpc, count, i_ph);
    const Ref stoich_mm = ask_each(names::hxstpc, count, i_ph);

    for (const Ref& i_pc : IndexRange(count)) {
        const Ref name = item(names_of_pcs, i_pc);
        const Ref entry = new_dict();
        set_item(entry, names::index, i_pc);
        set_item(entry, names::name, name);
        set_item(entry, names::stoich, new_dict());
        set_item(entry, names::mm, part(item(stoich_mm, i_pc), 1));
        set_item(entry, names::y_scs, new_dict());
        fill_composition(entry, stoich_mm, i_pc);
        store(pcs, i_pc, name, entry, [&](const Ref& previous) {
            const Ref name_ph = item(ph_entry(i_ph), names::name);
            raise_duplicate(previous, i_pc, "A duplicate constituent '", name,
                            "' was found in phase '", name_ph, "' of");
        });
    }
}

} // namespace

Ref build_cache(PyObject* cls) {
    if (attribute(cls, names::current_file_path).get() == Py_None) {
        return none();
    }
    empty_caches();
    caches().system = new_dict();
    build_system_components();
    build_phases();
    for (const Ref& i_ph : IndexRange(count_of_phs())) {
        build_phase_constituents(i_ph);
    }
    return none();
}

} // namespace tessara::friendly
