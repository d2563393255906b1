#include <iterator>

#include "friendly/calculation/calculation.hpp"
#include "friendly/library/index_range.hpp"
#include "friendly/shapes.hpp"
#include "friendly/system/caches.hpp"

// The results as records: system components, phases and what is in them, incoming amounts. Most
// fields are asked of the library; fractions of phases, constituents and system components are
// worked out here. What is absent keeps the numbers that its record came with.

namespace tessara::friendly::calculation {

namespace {

/// `float("nan")`
Ref not_a_number() {
    return call(global(names::float_), text("nan"));
}

/// What a constituent always has. A phase's amount is read on its own.
constexpr Field always[] = {{names::A, names::A}, {names::AC, names::AC}, {names::MU, names::MU}};
constexpr std::span<const Field> always_beside_amount = std::span(always).subspan(1);

/// What a phase or phase constituent that is present has beside its amount and fraction. Activity
/// and potential have been read before, for every one, and are read anew.
constexpr Field when_present[] = {
    {names::AC, names::AC}, {names::MU, names::MU},   {names::Cp, names::CP},
    {names::H, names::H},   {names::S, names::S},     {names::G, names::G},
    {names::V, names::V},   {names::CpM, names::CPM}, {names::HM, names::HM},
    {names::SM, names::SM}, {names::GM, names::GM},   {names::VM, names::VM},
};

/// `read_field` under `except TessaraError: pass`.
template <class... Places>
void read_if_known(const Ref& record, const Field& field, const Places&... places) {
    try {
        read_field(record, field, places...);
    } catch (const PythonError&) {
        Handled error;
        only(error, names::TessaraError);
    }
}

/// What counts as an element in the total that fractions of system components refer to.
constexpr const char* element_symbols[] = {
    "H",  "He", "Li", "Be", "B",  "C",  "N",  "O",  "F",  "Ne", "Na", "Mg", "Al", "Si", "P",
    "S",  "Cl", "Ar", "K",  "Ca", "Sc", "Ti", "V",  "Cr", "Mn", "Fe", "Co", "Ni", "Cu", "Zn",
    "Ga", "Ge", "As", "Se", "Br", "Kr", "Rb", "Sr", "Y",  "Zr", "Nb", "Mo", "Tc", "Ru", "Rh",
    "Pd", "Ag", "Cd", "In", "Sn", "Sb", "Te", "I",  "Xe", "Cs", "Ba", "La", "Ce", "Pr", "Nd",
    "Pm", "Sm", "Eu", "Gd", "Tb", "Dy", "Ho", "Er", "Tm", "Yb", "Lu", "Hf", "Ta", "W",  "Re",
    "Os", "Ir", "Pt", "Au", "Hg", "Tl", "Pb", "Bi", "Po", "At", "Rn", "Fr", "Ra", "Ac", "Th",
    "Pa", "U",  "Np", "Pu", "Am", "Cm", "Bk", "Cf", "Es", "Fm", "Md", "No", "Lr"};
static_assert(std::size(element_symbols) == 103);

Ref valid_elements() {
    Ref symbols = new_list();
    for (const char* symbol : element_symbols) {
        append(symbols, text(symbol));
    }
    return symbols;
}

/// The total amount of the system components that are elements: 0 where none is.
Ref amount_of_elements() {
    const Ref elements = valid_elements();
    const Ref sum = global(names::sum);
    const Ref amounts = new_list();
    for (const Ref& i_sc : IndexRange(count_of_scs())) {
        if (contains(elements, fact(sc_entry(i_sc), names::name))) {
            append(amounts, result_of(names::A, integer(NoIndex), i_sc));
        }
    }
    return call(sum, amounts);
}

/// A value of a system component that the library may not have.
Ref value_or_nan(const Name& variable, const Ref& i_sc) {
    try {
        return result_of(variable, integer(NoIndex), i_sc);
    } catch (const PythonError&) {
        Handled error;
        only(error, names::TessaraError);
        return not_a_number();
    }
}

constexpr const char* get_result_scs_text = R"(System components of the last calculation.

The fraction `X` of each is its amount over the total amount of those components that are named by
an element symbol. `AC` and `MU` are nan where the component is absent or the library has no value.

Returns:
    A dict from name to `SystemComponentState`, in index order.

Raises:
    TypeError: no data file is loaded.
    TessaraError: the library has no amount.)";

Ref get_result_scs(PyObject*) {
    const Ref A_sys = amount_of_elements();
    Ref result = new_dict();
    for (const Ref& i_sc : IndexRange(count_of_scs())) {
        const Ref A = result_of(names::A, integer(NoIndex), i_sc);
        const Ref X = is_positive(A_sys) ? quotient(A, A_sys) : not_a_number();
        const bool absent = compare(A, number(0.0), Py_EQ);
        const Ref AC = absent ? not_a_number() : value_or_nan(names::AC, i_sc);
        const Ref MU = absent ? not_a_number() : value_or_nan(names::MU, i_sc);
        const Ref name = fact(sc_entry(i_sc), names::name);
        const Ref sc = call(global(names::SystemComponentState), i_sc, name);
        set_item(result, name, sc);
        set_attribute(sc, names::A, A);
        set_attribute(sc, names::X, X);
        set_attribute(sc, names::AC, AC);
        set_attribute(sc, names::MU, MU);
    }
    return result;
}

Ref make_phase_state(const Ref& i_ph) {
    const Ref make = global(names::PhaseState);
    const Ref name = fact(ph_entry(i_ph), names::name);
    return call(make, i_ph, name, call_operation(names::hxgsp, i_ph));
}

constexpr const char* get_result_phs_text = R"(Phases of the last calculation.

A phase that is absent has `A`, `AC` and `MU`, its components and its constituents, and otherwise
what a new `PhaseState` holds.

Returns:
    A dict from name to `PhaseState`, in index order.

Raises:
    TypeError: no data file is loaded.
    TessaraError: the library lacks a value.)";

/// The total here is the library's own, unlike the one for the fractions of system components.
Ref get_result_phs(PyObject* cls) {
    const Ref A_sys = result_of(names::A);
    Ref result = new_dict();
    for (const Ref& i_ph : IndexRange(count_of_phs())) {
        const Ref A = result_of(names::A, i_ph);
        const Ref ph = make_phase_state(i_ph);
        set_attribute(ph, names::A, A);
        read_fields(ph, always_beside_amount, i_ph);
        if (is_positive(A)) {
            set_attribute(ph, names::X, quotient(A, A_sys));
            read_fields(ph, when_present, i_ph);
        }
        fill_field(ph, names::scs, names::update, cls, names::_get_result_ph_scs, i_ph, A);
        fill_field(ph, names::pcs, names::update, cls, names::_get_result_ph_pcs, i_ph, A);
        set_item(result, attribute(ph, names::name), ph);
    }
    return result;
}

constexpr const char* get_result_ph_scs_text = R"(System components in a phase.

Parameters:
    i_ph: zero-based index of the phase.
    A_ph: amount of the phase. With an amount not above zero every component's amount is 0.0.

Returns:
    A dict from name to `SystemComponentState`, one per system component of the system in index
    order. Only `A` and `X` are filled, and these only where the library has a value.

Raises:
    TypeError: no data file is loaded.)";

Ref get_result_ph_scs(PyObject*, int i_ph, double A_ph) {
    Ref result = new_dict();
    for (const Ref& i_sc : IndexRange(count_of_scs())) {
        const Ref name = fact(sc_entry(i_sc), names::name);
        const Ref sc = call(global(names::SystemComponentState), i_sc, name);
        set_item(result, name, sc);
        if (A_ph > 0.0) {
            read_if_known(sc, {names::A, names::AP}, integer(i_ph), i_sc);
            read_if_known(sc, {names::X, names::XP}, integer(i_ph), i_sc);
        } else {
            set_attribute(sc, names::A, number(0.0));
        }
    }
    return result;
}

constexpr const char* get_result_ph_pcs_text = R"(Constituents of a phase.

A constituent that is absent has `A`, `AC` and `MU`, and otherwise what a new
`PhaseConstituentState` holds.

Parameters:
    i_ph: zero-based index of the phase.
    A_ph: not used; the amount of the phase is read from the library.

Returns:
    A dict from name to `PhaseConstituentState`, in index order.

Raises:
    KeyError: there is no such phase.
    TypeError: no data file is loaded.
    TessaraError: the library lacks a value.)";

Ref get_result_ph_pcs(PyObject*, int i_ph, double) {
    const Ref ph = integer(i_ph);
    const Ref A_ph = number(to_double(result_of(names::A, ph, integer(NoIndex))));
    Ref result = new_dict();
    for (const Ref& i_pc : IndexRange(count_of_pcs(ph))) {
        const Ref name = fact(pc_entry(ph, i_pc), names::name);
        const Ref make = global(names::PhaseConstituentState);
        const Ref pc = call(make, i_pc, name, call_operation(names::hxgspc, ph, i_pc));
        set_item(result, name, pc);
        read_fields(pc, always, ph, i_pc);
        if (is_positive(attribute(pc, names::A))) {
            set_attribute(pc, names::X, quotient(attribute(pc, names::A), A_ph));
            read_fields(pc, when_present, ph, i_pc);
        }
    }
    return result;
}

constexpr const char* get_result_IAs_text = R"(Incoming amounts above zero.

Returns:
    A new list of `PhaseConstituentIncomingAmountState`, phases in index order and the constituents
    of each in index order, and after them of `SystemComponentIncomingAmountState` in index order.
    The records hold names.

Raises:
    TypeError: no data file is loaded.
    TessaraError: the library has no incoming amounts.)";

void append_constituents(const Ref& result, const Ref& i_ph) {
    const Ref ph = fact(ph_entry(i_ph), names::name);
    for (const Ref& i_pc : IndexRange(count_of_pcs(i_ph))) {
        const Ref A = result_of(names::IA, i_ph, i_pc);
        if (is_positive(A)) {
            const Ref pc = fact(pc_entry(i_ph, i_pc), names::name);
            append(result, call(global(names::PhaseConstituentIncomingAmountState), ph, pc, A));
        }
    }
}

Ref get_result_IAs(PyObject*) {
    Ref result = new_list();
    for (const Ref& i_ph : IndexRange(count_of_phs())) {
        append_constituents(result, i_ph);
    }
    for (const Ref& i_sc : IndexRange(count_of_scs())) {
        const Ref sc = fact(sc_entry(i_sc), names::name);
        const Ref A = result_of(names::IA, integer(NoIndex), i_sc);
        if (is_positive(A)) {
            append(result, call(global(names::SystemComponentIncomingAmountState), sc, A));
        }
    }
    return result;
}

} // namespace

std::vector<Method> result_state_methods() {
    return {
        method<shapes::cls, get_result_scs>("_get_result_scs", get_result_scs_text),
        method<shapes::cls, get_result_phs>("_get_result_phs", get_result_phs_text),
        method<shapes::cls_i_ph_A_ph, get_result_ph_scs>("_get_result_ph_scs",
                                                         get_result_ph_scs_text),
        method<shapes::cls_i_ph_A_ph, get_result_ph_pcs>("_get_result_ph_pcs",
                                                         get_result_ph_pcs_text),
    };
}

std::vector<Method> incoming_amount_state_methods() {
    return {method<shapes::cls, get_result_IAs>("_get_result_IAs", get_result_IAs_text)};
}

} // namespace tessara::friendly::calculation
