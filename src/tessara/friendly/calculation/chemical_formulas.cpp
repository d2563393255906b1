#include "friendly/calculation/calculation.hpp"
#include "friendly/shapes.hpp"
#include "friendly/system/caches.hpp"

// Incoming amounts given as chemical formulae. The library knows none: each is broken into system
// components, and what these receive from all of them goes in as one condition per component.

namespace tessara::friendly::calculation {

namespace {

/// `for no, (name, value) in enumerate(mapping.items())`
template <class Step>
void for_each_item(Borrowed mapping, Step step) {
    const Ref items = checked(PyObject_GetIter(call_method(mapping, names::items).get()));
    long no = 0;
    while (const Ref pair = next_item(items)) {
        const std::array<Ref, 2> parts = unpack<2>(pair);
        step(no++, parts[0], parts[1]);
    }
}

/// `count * [value]`
Ref repeated(Borrowed value, Py_ssize_t count) {
    const Ref single = new_list();
    append(single, value);
    return checked(PySequence_Repeat(single.get(), count));
}

/// `target += term`
void add_to(Ref& target, Borrowed term) {
    target = checked(PyNumber_InPlaceAdd(target.get(), term.get()));
}

/// A component's molar mass in gram per mole, whatever the amount unit.
Ref molar_mass(const Ref& sc) {
    return fact(sc_entry(sc), names::mm_g);
}

/// Whether amounts are masses, of whichever unit.
bool amounts_are_masses() {
    const Ref unit = call_method(global(names::Units), names::get_A_unit);
    return compare(unit, evaluated(Member{names::AmountUnit, names::mol}), Py_NE);
}

/// Makes each component's factor its molar mass over that of the formula, so that the amounts of
/// the components become shares of the formula's mass.
void weigh(const Ref& factors, const Ref& formula, const Ref& cf_value) {
    Ref total_mm = number(0.0);
    for_each_item(attribute(formula, names::scs_A), [&](long, const Ref& sc, const Ref& val) {
        add_to(total_mm, quotient(product(molar_mass(sc), val), cf_value));
    });
    for_each_item(attribute(formula, names::scs_A), [&](long no, const Ref& sc, const Ref&) {
        set_item(factors, integer(no), quotient(molar_mass(sc), total_mm));
    });
}

/// Adds to `set_scs` what a formula gives to each component. The formula is read even if nothing of
/// it goes in.
void add_formula(const Ref& set_scs, const Ref& cf, const Ref& cf_value) {
    const Ref formula = call(global(names::ChemicalFormulaIncomingAmountState), cf, cf_value);
    if (compare(cf_value, number(0.0), Py_EQ)) {
        return;
    }
    const Py_ssize_t count = PyObject_Size(attribute(formula, names::scs_A).get());
    if (count < 0) {
        throw PythonError{};
    }
    const Ref factors = repeated(number(1.0), count);
    if (amounts_are_masses()) {
        weigh(factors, formula, cf_value);
    }
    for_each_item(attribute(formula, names::scs_A), [&](long no, const Ref& sc, const Ref& val) {
        Ref amount = item(set_scs, sc);
        add_to(amount, product(val, item(factors, integer(no))));
        set_item(set_scs, sc, amount);
    });
}

constexpr const char* set_IA_cfs_text = R"(Sets incoming amounts given as chemical formulae.

The amounts of all formulae are added up per system component. Each system component gets an
incoming amount, 0.0 where no formula has it. With amounts in mol, the amount of a formula is in
moles of the formula; with any unit of mass it is the mass of the formula, and each component gets
its share.

Parameters:
    cfs: list of formulae (`str`), such as "Fe2O3", "Cr0.3Mn0.7C" or "Na(OH)2".
    values: list of their amounts (amount unit in force), in the same order. What one list has more
        than the other is ignored.

Returns:
    A list of the numbers of the conditions (`int`), one per system component in index order, for
    `remove_eq_condition`.

Raises:
    KeyError: a formula holds what is no system component; no condition has been set then.
    TessaraPyError: a formula cannot be read; no condition has been set then.
    TypeError: no data file is loaded.
    TessaraError: the library refuses a condition.)";

/// Of the names that `get_name_scs` gives, each with 0.
Ref make_set_scs() {
    const Ref make = attribute(global(names::dict), names::fromkeys);
    const Ref scs = call_method(global(names::ThermochemicalSystem), names::get_name_scs);
    return call(make, scs, integer(0));
}

Ref set_IA_cfs(PyObject* cls, PyObject* cfs, PyObject* values) {
    const Ref set_scs = make_set_scs();
    const Py_ssize_t n_scs = PyObject_Size(set_scs.get());
    if (n_scs < 0) {
        throw PythonError{};
    }
    Ref cond_numbers = repeated(integer(0), n_scs);

    const Ref pairs = checked(PyObject_GetIter(call(global(names::zip), cfs, values).get()));
    while (const Ref pair = next_item(pairs)) {
        const std::array<Ref, 2> parts = unpack<2>(pair);
        add_formula(set_scs, parts[0], parts[1]);
    }
    for_each_item(set_scs, [&](long no, const Ref& sc, const Ref& val) {
        const Ref condition = call_method(cls, names::_set_eq_condition_sc,
                                          Member{names::ConditionVariable, names::IA}, sc, val);
        set_item(cond_numbers, integer(no), condition);
    });
    return cond_numbers;
}

} // namespace

std::vector<Method> chemical_formula_methods() {
    return {method<shapes::cls_cfs_values, set_IA_cfs>("set_IA_cfs", set_IA_cfs_text)};
}

} // namespace tessara::friendly::calculation
