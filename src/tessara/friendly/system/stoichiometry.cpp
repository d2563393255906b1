#include "friendly/system/stoichiometry.hpp"

#include "friendly/library/index_range.hpp"
#include "friendly/shapes.hpp"
#include "friendly/system/caches.hpp"

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
        const Ref name = item(sc_entry(i_sc), names::name);
        if (scs == Py_None || contains(scs, i_sc) || contains(scs, name)) {
            set_item(result, name, item(stoich, i_sc));
        }
    }
    return result;
}

} // namespace

std::vector<Method> stoichiometry_functions() {
    return {
        method<shapes::stoich_scs, query_stoich_list>("_query_stoich_list", query_stoich_list_text),
        method<shapes::stoich_scs, build_stoich_dict>("_build_stoich_dict", build_stoich_dict_text),
    };
}

} // namespace tessara::friendly
