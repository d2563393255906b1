#include <iterator>
#include <vector>

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
        refuse(fact(item(current(cache), name), names::index));
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
        const Ref entry =
            make_cache_entry({same(i_sc), same(name), part(item(stoich_mm, i_sc), 0),
                              part(item(stoich_mm, i_sc), 1), part(item(stoich_mm_g, i_sc), 1)});
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
        const Ref entry =
            make_cache_entry({same(i_ph), same(name), item(models, i_ph), new_dict(), Ref()});
        store(caches().ph, i_ph, name, entry, [&](const Ref& previous) {
            raise_duplicate(previous, i_ph, "A duplicate phase '", name, "' was found in");
        });
    }
}

/// The mass fraction of a component in a constituent: the product first, then the division.
Ref mass_fraction(Borrowed mm_sc, Borrowed stoich, Borrowed mm_pc) {
    return quotient(product(mm_sc, stoich), mm_pc);
}

/// The system components as the cache has them, looked up once for all constituents: most of the
/// time of a load goes into the compositions of these. It serves where all that is looked up is an
/// exact `int`, `str` or `float`, so that no code of anybody else's runs on the way.
class PlainComponents {
public:
    /// What `fill_composition` does, bit for bit, given the constituent's entry and what `hxstpc`
    /// has given for it. False: this is no place for it, and nothing is done yet.
    bool fill(const Ref& entry, const Ref& pair);

private:
    struct Component {
        Ref index;
        Ref name;
        double mm;
    };

    bool is_current() const;
    void read();

    std::uint64_t version_ = 0; ///< of the cache when it was read; 0 where it can't be told
    bool plain_ = false;
    std::vector<Component> components_;
    Ref keys_; ///< a dict with all keys, of which copies are filled: its table has its size already
};

bool PlainComponents::is_current() const {
    PyObject* cache = caches().sc.get();
    return version_ != 0 && PyDict_CheckExact(cache) && version_of(cache) == version_;
}

/// Whether looking up an `int` or a `str` in `cache` runs nobody else's code.
bool has_plain_keys(PyObject* cache) {
    PyObject* key = nullptr;
    for (Py_ssize_t i = 0; PyDict_Next(cache, &i, &key, nullptr) != 0;) {
        if (!PyUnicode_CheckExact(key) && !PyLong_CheckExact(key)) {
            return false;
        }
    }
    return true;
}

void PlainComponents::read() {
    const Ref cache = current(caches().sc);
    plain_ = false;
    components_.clear();
    if (!PyDict_CheckExact(cache.get()) || !has_plain_keys(cache.get())) {
        return;
    }
    version_ = version_of(cache.get());
    keys_ = new_dict();
    for (const Ref& i_sc : IndexRange(count_of_scs())) {
        const Ref sc = sc_entry(i_sc);
        Ref name = fact(sc, names::name);
        const Ref mm = fact(sc, names::mm);
        if (!PyLong_CheckExact(i_sc.get()) || !PyUnicode_CheckExact(name.get()) ||
            !PyFloat_CheckExact(mm.get())) {
            return;
        }
        checked(PyDict_SetItem(keys_.get(), i_sc.get(), Py_None));
        checked(PyDict_SetItem(keys_.get(), name.get(), Py_None));
        components_.push_back({same(i_sc), std::move(name), PyFloat_AS_DOUBLE(mm.get())});
    }
    plain_ = true;
}

bool PlainComponents::fill(const Ref& entry, const Ref& pair) {
    if (!IndexRange::counts_plainly()) {
        return false;
    }
    if (!is_current()) {
        read();
    }
    const Ref mm_pc = fact(entry, names::mm);
    if (!plain_ || !PyFloat_CheckExact(mm_pc.get()) || !PyTuple_CheckExact(pair.get())) {
        return false;
    }
    PyObject* coefficients = PyTuple_GET_ITEM(pair.get(), 0);
    if (!PyList_CheckExact(coefficients) ||
        PyList_GET_SIZE(coefficients) != std::ssize(components_)) {
        return false;
    }
    for (Py_ssize_t i = 0; i < std::ssize(components_); ++i) {
        if (!PyFloat_CheckExact(PyList_GET_ITEM(coefficients, i))) {
            return false;
        }
    }
    const double mm = PyFloat_AS_DOUBLE(mm_pc.get());
    const Ref by_sc = fact(entry, names::stoich);
    const Ref y_by_sc = fact(entry, names::y_scs);
    checked(PyDict_Update(by_sc.get(), keys_.get()));
    checked(PyDict_Update(y_by_sc.get(), keys_.get()));
    for (Py_ssize_t i = 0; const Component& component : components_) {
        PyObject* stoich = PyList_GET_ITEM(coefficients, i++);
        const Ref y = number(mm > 0.0 ? component.mm * PyFloat_AS_DOUBLE(stoich) / mm : 0.0);
        for (PyObject* key : {component.index.get(), component.name.get()}) {
            checked(PyDict_SetItem(by_sc.get(), key, stoich));
            checked(PyDict_SetItem(y_by_sc.get(), key, y.get()));
        }
    }
    return true;
}

/// Fills "stoich" and "y_scs" of a constituent, for each component under index and name.
void fill_composition(const Ref& entry, const Ref& stoich_mm, Borrowed i_pc) {
    for (const Ref& i_sc : IndexRange(count_of_scs())) {
        const Ref stoich = item(part(item(stoich_mm, i_pc), 0), i_sc);
        const Ref mm_pc = fact(entry, names::mm);
        const Ref y = compare(mm_pc, number(0.0), Py_GT)
                          ? mass_fraction(fact(sc_entry(i_sc), names::mm), stoich, mm_pc)
                          : number(0.0);
        const Ref by_sc = fact(entry, names::stoich);
        set_item(by_sc, i_sc, stoich);
        set_item(by_sc, fact(sc_entry(i_sc), names::name), stoich);
        const Ref y_by_sc = fact(entry, names::y_scs);
        set_item(y_by_sc, i_sc, y);
        set_item(y_by_sc, fact(sc_entry(i_sc), names::name), y);
    }
}

void build_phase_constituents(const Ref& i_ph, PlainComponents& components) {
    const Ref pcs = pcs_of(i_ph);
    const Ref count = call_operation(names::hxnopc, i_ph);
    set_item(pcs, names::count, count);
    const Ref names_of_pcs = ask_each(names::hxgnpc, count, i_ph);
    const Ref stoich_mm = ask_each(names::hxstpc, count, i_ph);

    for (const Ref& i_pc : IndexRange(count)) {
        const Ref name = item(names_of_pcs, i_pc);
        const Ref entry = make_cache_entry(
            {same(i_pc), same(name), new_dict(), part(item(stoich_mm, i_pc), 1), new_dict()});
        if (!components.fill(entry, item(stoich_mm, i_pc))) {
            fill_composition(entry, stoich_mm, i_pc);
        }
        store(pcs, i_pc, name, entry, [&](const Ref& previous) {
            const Ref name_ph = fact(ph_entry(i_ph), names::name);
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
    PlainComponents components;
    for (const Ref& i_ph : IndexRange(count_of_phs())) {
        build_phase_constituents(i_ph, components);
    }
    return none();
}

} // namespace tessara::friendly
