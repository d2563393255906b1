#include "friendly/system/stoichiometry.hpp"

#include <string>

#include "friendly/documentation.hpp"
#include "friendly/shapes.hpp"
#include "friendly/system/thermochemical_system.hpp"
#include "friendly/system/walks.hpp"

namespace tessara::friendly {

namespace {

constexpr const char* query_stoich_list_text = R"(Picks coefficients of some system components.

Parameters:
    stoich: list of stoichiometry coefficients, one per system component in index order.
    scs: names or zero-based indexes of the system components wanted; `None` for all.

Returns:
    With `None`, `stoich` itself. Otherwise a new list of float, one per item of `scs` in the order
    of `scs`, repeats included.

Raises:
    KeyError: an item of `scs` is no system component.
    TypeError: no data file is loaded.)";

/// All references are resolved before any coefficient is read.
Ref query_stoich_list(PyObject* stoich, PyObject* scs) {
    if (scs == Py_None) {
        return Ref::borrow(stoich);
    }
    const Ref i_scs = new_list();
    const Ref iterator = checked(PyObject_GetIter(scs));
    while (const Ref sc = next_item(iterator)) {
        append(i_scs, index_of_sc(sc));
    }
    Ref result = new_list();
    const Ref indexes = checked(PyObject_GetIter(i_scs.get()));
    while (const Ref i_sc = next_item(indexes)) {
        append(result, item(stoich, i_sc));
    }
    return result;
}

constexpr const char* build_stoich_dict_text = R"(Names the coefficients of some system components.

Parameters:
    stoich: list of stoichiometry coefficients, one per system component in index order.
    scs: names or zero-based indexes of the system components wanted; `None` for all. Items that
        are no system component are ignored.

Returns:
    A new dict from the names of the system components wanted to their coefficients, in index order
    whatever the order of `scs`.

Raises:
    TypeError: no data file is loaded.)";

Ref build_stoich_dict(PyObject* stoich, PyObject* scs) {
    Ref result = new_dict();
    for (const Ref& i_sc : IndexRange(count_of_scs())) {
        const Ref name = fact(sc_entry(i_sc), names::name);
        if (scs == Py_None || contains(scs, i_sc) || contains(scs, name)) {
            set_item(result, name, item(stoich, i_sc));
        }
    }
    return result;
}

/// `_query_stoich_list(give(), scs)`: the function as the module's globals have it.
template <class Give>
Ref queried(PyObject* scs, Give give) {
    const Ref query = global(names::_query_stoich_list);
    return call(query, give(), scs);
}

Ref get_stoich_sc(PyObject*, PyObject* sc, PyObject* scs) {
    return queried(scs, [sc] { return fact(sc_entry(sc), names::stoich); });
}

Ref get_stoich_scs(PyObject*, PyObject* scs) {
    return list_over(count_of_scs(), [scs](const Ref& i_sc) {
        return queried(scs, [&] { return fact(sc_entry(i_sc), names::stoich); });
    });
}

/// A constituent's coefficients, which the cache holds by index and name, as a list in index order.
Ref coefficients_of(const Ref& entry) {
    const Ref stoich = fact(entry, names::stoich);
    return list_over(count_of_scs(), [&](const Ref& i_sc) { return item(stoich, i_sc); });
}

Ref get_stoich_pc(PyObject*, PyObject* ph, PyObject* pc, PyObject* scs) {
    return queried(scs, [ph, pc] { return coefficients_of(pc_entry(ph, pc)); });
}

Ref get_stoich_pcs_in_ph(PyObject*, PyObject* ph, PyObject* scs) {
    const Ref pcs = pcs_of(ph);
    return list_over(item(pcs, names::count), [&](const Ref& i_pc) {
        return queried(scs, [&] { return coefficients_of(item(pcs, i_pc)); });
    });
}

Ref get_stoich_pcs(PyObject*, PyObject* scs) {
    return list_over_constituents([scs](const Ref& i_ph, const Ref& i_pc) {
        return queried(scs, [&] { return coefficients_of(pc_entry(i_ph, i_pc)); });
    });
}

Ref get_y_sc_pc(PyObject*, PyObject* ph, PyObject* pc, PyObject* sc) {
    return item(fact(pc_entry(ph, pc), names::y_scs), sc);
}

// The others of the family are built on the one above, each by calling the next lower one through
// the class.

Ref get_y_scs_pc(PyObject* cls, PyObject* ph, PyObject* pc, PyObject* scs) {
    const auto y = [&](const Ref& sc) { return call_method(cls, names::get_y_sc_pc, ph, pc, sc); };
    if (scs == Py_None) {
        return list_over(count_of_scs(), y);
    }
    Ref result = new_list();
    const Ref iterator = checked(PyObject_GetIter(scs));
    while (const Ref sc = next_item(iterator)) {
        append(result, y(sc));
    }
    return result;
}

Ref get_y_sc_pcs_in_ph(PyObject* cls, PyObject* ph, PyObject* sc) {
    return list_over(count_of_pcs(ph), [&](const Ref& i_pc) {
        return call_method(cls, names::get_y_sc_pc, ph, i_pc, sc);
    });
}

Ref get_y_scs_pcs_in_ph(PyObject* cls, PyObject* ph, PyObject* scs) {
    return list_over(count_of_pcs(ph), [&](const Ref& i_pc) {
        return call_method(cls, names::get_y_scs_pc, ph, i_pc, scs);
    });
}

/// What `in_phase` gives for each phase, in one list.
Ref joined(const Name& in_phase, PyObject* cls, PyObject* what) {
    Ref result = new_list();
    for (const Ref& i_ph : IndexRange(call_method(cls, names::get_count_phs))) {
        extend(result, call_method(cls, in_phase, i_ph, what));
    }
    return result;
}

constexpr const char* scs_wanted =
    "    scs: names or zero-based indexes of the system components wanted, in the order wanted;\n"
    "        `None` for all.\n";

constexpr const char* one_row = "A list of `float`, one per item of `scs` or per system component";
constexpr const char* rows_of_phase =
    "A new list with a row for each constituent of the phase in index order. A row is a new\n"
    "    list of `float`, one per item of `scs` or per system component";
constexpr const char* rows_of_all =
    "A new flat list with a row for each constituent: phases in index order and the\n"
    "    constituents of each in index order. A row is a new list of `float`, one per item of\n"
    "    `scs` or per system component";

constexpr const char* no_constituent_or_component =
    "    KeyError: there is no such phase, no such constituent in it, or no such system "
    "component.\n"
    "    TypeError: no data file is loaded.";

std::string description(const std::string& summary, const std::string& parameters,
                        const std::string& result, const char* failures) {
    return summary + ".\n\nParameters:\n" + parameters + "\nReturns:\n    " + result +
           ".\n\nRaises:\n" + failures;
}

} // namespace

std::vector<Method> stoichiometry_functions() {
    return {
        method<shapes::stoich_scs, query_stoich_list>("_query_stoich_list", query_stoich_list_text),
        method<shapes::stoich_scs, build_stoich_dict>("_build_stoich_dict", build_stoich_dict_text),
    };
}

std::vector<Method> stoichiometry_methods() {
    const std::string ph = words::ph;
    const std::string ph_pc = words::ph_pc;
    return {
        method<shapes::cls_sc_scs, get_stoich_sc>(
            "get_stoich_sc",
            description("Stoichiometry of a system component", std::string(words::sc) + scs_wanted,
                        std::string(one_row) +
                            ". With\n    `None` it is the list that this module holds, no copy: it "
                            "is not to be changed",
                        words::no_component)),
        method<shapes::cls_scs, get_stoich_scs>(
            "get_stoich_scs",
            description("Stoichiometries of all system components", scs_wanted,
                        "A new list with a row for each system component in index order, each as "
                        "`get_stoich_sc`\n    gives it",
                        words::no_component)),
        method<shapes::cls_ph_pc_scs, get_stoich_pc>(
            "get_stoich_pc", description("Stoichiometry of a phase constituent", ph_pc + scs_wanted,
                                         one_row, no_constituent_or_component)),
        method<shapes::cls_ph_scs, get_stoich_pcs_in_ph>(
            "get_stoich_pcs_in_ph",
            description("Stoichiometries of all constituents of a phase", ph + scs_wanted,
                        rows_of_phase, words::no_component_or_phase)),
        method<shapes::cls_scs, get_stoich_pcs>(
            "get_stoich_pcs", description("Stoichiometries of all phase constituents", scs_wanted,
                                          rows_of_all, words::no_component)),
        method<shapes::cls_ph_pc_sc, get_y_sc_pc>(
            "get_y_sc_pc",
            description("Mass fraction of a system component in a phase constituent",
                        ph_pc + words::sc, "A `float`; 0.0 where the constituent has no mass",
                        no_constituent_or_component)),
        method<shapes::cls_ph_pc_scs, get_y_scs_pc>(
            "get_y_scs_pc",
            description("Mass fractions of system components in a phase constituent",
                        ph_pc + scs_wanted, one_row, no_constituent_or_component)),
        method<shapes::cls_ph_sc, get_y_sc_pcs_in_ph>(
            "get_y_sc_pcs_in_ph",
            description("Mass fractions of a system component in all constituents of a phase",
                        ph + words::sc,
                        "A new list of `float`, one per constituent of the phase in index order",
                        words::no_component_or_phase)),
        method<shapes::cls_ph_scs, get_y_scs_pcs_in_ph>(
            "get_y_scs_pcs_in_ph",
            description("Mass fractions of system components in all constituents of a phase",
                        ph + scs_wanted, rows_of_phase, words::no_component_or_phase)),
        method<shapes::cls_sc, joined>(
            "get_y_sc_pcs",
            description("Mass fractions of a system component in all phase constituents", words::sc,
                        "A new flat list of `float`: phases in index order and the constituents of "
                        "each in index\n    order",
                        words::no_component),
            &names::get_y_sc_pcs_in_ph),
        method<shapes::cls_scs, joined>(
            "get_y_scs_pcs",
            description("Mass fractions of system components in all phase constituents", scs_wanted,
                        rows_of_all, words::no_component),
            &names::get_y_scs_pcs_in_ph),
    };
}

} // namespace tessara::friendly
