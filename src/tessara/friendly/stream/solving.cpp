#include "friendly/calculation/solving.hpp"

#include "friendly/shapes.hpp"
#include "friendly/stream/stream_calculation.hpp"

// Equilibria of streams and searches. As in calculations without streams, there is no handler in
// here: an exception leaves the frame open and, during a capture, the listings turned away.

namespace tessara::friendly::stream {

namespace {

using calculation::NoIndex;

constexpr const char* calculate_eq_for_text =
    R"(Searches the value of a variable at which the target is met.

No method of this module calls it: the searches of streams run the one of `EquilibriumCalculation`.

Parameters:
    variable: member of `TargetVariable`.
    guess: where the search starts, in the units in force.
    print_results: not zero: the library's listing of the results is printed.

Returns:
    What the library tells for `variable` after the search (`float`), in the units in force.

Raises:
    TypeError: `variable` is no `TargetVariable`; nothing has been called then.
    TessaraError: the library finds no such equilibrium, or has no result for `variable`.)";

/// `variable` itself is what the library is asked for in the end, not its namesake among the
/// results.
Ref calculate_eq_for(PyObject* cls, PyObject* variable, double guess, int print_results) {
    calculation::search_from_guess(cls, variable, guess, print_results != 0);
    return call_operation(names::hxgetr, variable, integer(NoIndex), integer(NoIndex));
}

/// The search is that of the class without streams, in a frame of this one.
Ref search(const Name& target, PyObject* cls, PyObject* guess, PyObject* print_results) {
    call_method(cls, names::_start_calc);
    call_method(global(names::EquilibriumCalculation), names::_calculate_eq,
                Member{names::TargetVariable, target}, guess, print_results);
    call_method(cls, names::_end_calc);
    return none();
}

std::string search_description(const char* quantity, const char* getter, const char* guess,
                               const char* unit) {
    return std::string("Searches the ") + quantity +
           " at which the target is met.\n\n"
           "A target has to be set first.\n\nParameters:\n    " +
           guess + ": where the search starts (" + unit +
           ").\n    print_results: whether the library's listing of the results is printed.\n\n"
           "Returns:\n    `None`. The " +
           quantity + " found is the value that `" + getter + R"(` returns afterwards.

Raises:
    TessaraError: the library finds no such equilibrium. `t_end` and `dt` are `None` then, and with
        `print_results` the library's listings stay turned away.
    TypeError: the guess is no number, or `print_results` no integer.)";
}

constexpr const char* calculate_eq_IA_text =
    R"(Searches the incoming amounts at which the target is met.

A target has to be set first.

Parameters:
    IA_ranges: list of the constituents whose amounts may move. Each item is (phase, constituent,
        lower limit, upper limit): phase and constituent by name or zero-based index, the limits in
        the amount unit in force.
    print_results: whether the library's listings are printed, one per item.

Returns:
    `None`. The getters read the amounts found.

Raises:
    TypeError: `IA_ranges` is no `list`, or no data file is loaded.
    ValueError: an item has not four parts.
    KeyError: there is no such phase, or no such constituent in it. The library has the ranges of
        the items before.
    TessaraError: the library finds no such equilibrium. `t_end` and `dt` are `None` then, and with
        `print_results` the library's listings stay turned away.)";

Ref calculate_eq_IA(PyObject* cls, PyObject* IA_ranges, bool print_results) {
    call_method(cls, names::_start_calc);
    calculation::search_in_ranges(cls, IA_ranges, print_results, print_results);
    call_method(cls, names::_end_calc);
    return none();
}

} // namespace

std::vector<Method> solving_methods() {
    return {
        method<shapes::cls_print_estimate_return_kwargs, calculation::calculate_eq>(
            "calculate_eq", calculation::calculate_eq_text),
        method<shapes::cls_variable_guess_print, calculate_eq_for>("_calculate_eq",
                                                                   calculate_eq_for_text),
        method<shapes::cls_P_guess_print, search>(
            "calculate_eq_P",
            search_description("pressure", "get_eq_P", "P_guess", "pressure unit in force"),
            &names::P),
        method<shapes::cls_V_guess_print, search>(
            "calculate_eq_V",
            search_description("volume", "get_eq_V", "V_guess", "volume unit in force"), &names::V),
        method<shapes::cls_T_guess_print, search>(
            "calculate_eq_T",
            search_description("temperature", "get_eq_T", "T_guess", "temperature unit in force"),
            &names::T),
        method<shapes::cls_IA_ranges_print, calculate_eq_IA>("calculate_eq_IA",
                                                             calculate_eq_IA_text),
    };
}

} // namespace tessara::friendly::stream
