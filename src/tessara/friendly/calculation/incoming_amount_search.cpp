#include "friendly/calculation/calculation.hpp"
#include "friendly/calculation/solving.hpp"
#include "friendly/shapes.hpp"
#include "friendly/system/caches.hpp"

// The search that moves incoming amounts until a target is met. The library gets one range after
// the other; the last one starts the search.

namespace tessara::friendly::calculation {

IncomingRange read_range(Borrowed entry) {
    auto [ph, pc, least, most] = unpack<4>(entry);
    Ref i_ph = index_of_ph(ph);
    Ref i_pc = index_of_pc(ph, pc);
    return {std::move(ph),   std::move(pc),   std::move(least),
            std::move(most), std::move(i_ph), std::move(i_pc)};
}

void search_in_ranges(PyObject* cls, PyObject* IA_ranges, bool print_others, bool print_last) {
    const Ref entries = checked(PyObject_GetIter(IA_ranges));
    for (Py_ssize_t i = 0; const Ref entry = next_item(entries); ++i) {
        const IncomingRange range = read_range(entry);
        const Ref interval = value_pair(range.least, range.most);
        const bool last = is_last(i, IA_ranges);
        const Member target{names::TargetVariable, last ? names::IA : names::IA0};
        solve(cls, last ? print_last : print_others, target, range.i_ph, range.i_pc, interval);
    }
}

namespace {

/// What was found, each entry's phase and constituent as the caller wrote them.
Ref amounts_found(PyObject* IA_ranges) {
    Ref result = new_list();
    const Ref entries = checked(PyObject_GetIter(IA_ranges));
    while (const Ref entry = next_item(entries)) {
        const IncomingRange range = read_range(entry);
        const Ref amount = result_of(names::IA, range.i_ph, range.i_pc);
        append(result, tuple_of(range.ph, range.pc, amount));
    }
    return result;
}

constexpr const char* calculate_eq_IA_text =
    R"(Searches the incoming amounts at which the target is met.

A target has to be set first.

Parameters:
    IA_ranges: list of entries (ph, pc, IA_min, IA_max): phase and constituent, each a name or a
        zero-based index, and the limits of the incoming amount (amount unit in force).
    print_results: whether the library's listing of the results is printed.

Returns:
    A new list of tuples (ph, pc, amount found), one per entry in the order of `IA_ranges`, with
    `ph` and `pc` as given. The amount is a `float` in the amount unit in force.

Raises:
    KeyError: there is no such phase, or no such constituent in it. The library has got the ranges
        before it then.
    ValueError: an entry has not exactly four items.
    TypeError: `IA_ranges` is no list, or no data file is loaded.
    TessaraError: the library finds no such equilibrium. As with the other failures, `t_end` and
        `dt` are `None` then; with `print_results` the library's listings stay turned away.)";

Ref calculate_eq_IA(PyObject* cls, PyObject* IA_ranges, bool print_results) {
    call_method(cls, names::_start_calc);
    search_in_ranges(cls, IA_ranges, false, print_results); // only the search itself is listed
    Ref result = amounts_found(IA_ranges);
    call_method(cls, names::_end_calc);
    return result;
}

} // namespace

std::vector<Method> incoming_amount_search_methods() {
    return {method<shapes::cls_IA_ranges_print, calculate_eq_IA>("calculate_eq_IA",
                                                                 calculate_eq_IA_text)};
}

} // namespace tessara::friendly::calculation
