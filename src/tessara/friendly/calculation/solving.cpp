#include "friendly/calculation/solving.hpp"

#include "friendly/calculation/calculation.hpp"
#include "friendly/library/binding.hpp"
#include "friendly/shapes.hpp"

// Equilibria and searches on one variable of the system. There is no handler in here: an exception
// leaves the frame open and, during a capture, the listings turned away.

namespace tessara::friendly::calculation {

void print_capture(PyObject* cls, const Capture& capture) {
    const Ref print = global(names::print);
    call(print, end_capture(cls, capture));
}

Ref value_pair(Borrowed first, Borrowed second) {
    Ref values = new_list();
    append(values, first);
    append(values, second);
    return values;
}

namespace {

/// `cls.get_result_object(**kwargs)`, outside the timed frame. What comes of it is not kept: nobody
/// waits for it.
void make_result_object(PyObject* cls, PyObject* kwargs) {
    const Ref get_result_object = attribute(cls, names::get_result_object);
    const Ref keywords = checked(PyDict_Copy(kwargs));
    const Ref no_arguments = tuple_of();
    checked(PyObject_Call(get_result_object.get(), no_arguments.get(), keywords.get()));
}

} // namespace

const char* const calculate_eq_text = R"(Calculates the equilibrium under the conditions in force.

The getters read the results.

Parameters:
    print_results: whether the library's listing of the results is printed.
    estimate: whether the results of the calculation before are the first estimate.
    return_result: whether a result object is made after the calculation. It is not returned.
    **kwargs: what `get_result_object` takes, used with `return_result` only.

Returns:
    `None`, always.

Raises:
    TessaraError: the library can't calculate. `t_end` and `dt` are `None` then, and with
        `print_results` the library's listings stay turned away.)";

Ref calculate_eq(PyObject* cls, PyObject* print_results, PyObject* estimate,
                 PyObject* return_result, PyObject* kwargs) {
    const Member no_target{names::TargetVariable, names::NoTarget};
    call_method(cls, names::_start_calc);
    const Ref values = value_pair(number(0.0), number(0.0));
    if (is_true(print_results)) {
        const Capture capture = begin_capture(cls);
        const Name& solve = is_true(estimate) ? names::hxcenl : names::hxcel;
        call_operation(solve, no_target, integer(NoIndex), integer(NoIndex), values);
        print_capture(cls, capture);
    } else {
        const Name& solve = is_true(estimate) ? names::hxcen : names::hxce;
        call_operation(solve, no_target, integer(NoIndex), integer(NoIndex), values);
    }
    call_method(cls, names::_end_calc);
    if (is_true(return_result)) {
        make_result_object(cls, kwargs);
    }
    return none();
}

void search_from_guess(PyObject* cls, PyObject* variable, double guess, bool print_results) {
    require_exact_type(variable, names::TargetVariable);
    solve(cls, print_results, variable, integer(NoIndex), integer(NoIndex),
          value_pair(number(guess), number(0.0)));
}

namespace {

constexpr const char* calculate_eq_for_text =
    R"(Searches the value of a variable at which the target is met.

Parameters:
    variable: member of `TargetVariable` that has a namesake in `ResultVariable`.
    guess: where the search starts, in the units in force.
    print_results: not zero: the library's listing of the results is printed.

Returns:
    The value found (`float`), in the units in force.

Raises:
    TypeError: `variable` is no `TargetVariable`; nothing has been called then.
    KeyError: `variable` has no namesake in `ResultVariable`.
    TessaraError: the library finds no such equilibrium.)";

/// The core of the searches, without a frame of its own.
Ref calculate_eq_for(PyObject* cls, PyObject* variable, double guess, int print_results) {
    search_from_guess(cls, variable, guess, print_results != 0);
    const Ref get_result = operation(names::hxgetr);
    const Ref results = global(names::ResultVariable);
    const Ref result = item(results, attribute(variable, names::name));
    return call(get_result, result, integer(NoIndex), integer(NoIndex));
}

Ref search(const Name& target, PyObject* cls, PyObject* guess, PyObject* print_results) {
    call_method(cls, names::_start_calc);
    Ref result = call_method(cls, names::_calculate_eq, Member{names::TargetVariable, target},
                             guess, print_results);
    call_method(cls, names::_end_calc);
    return result;
}

std::string search_description(const char* quantity, const char* guess, const char* unit) {
    return std::string("Searches the ") + quantity +
           " at which the target is met.\n\n"
           "A target has to be set first.\n\nParameters:\n    " +
           guess + ": where the search starts (" + unit +
           ").\n    print_results: whether the library's listing of the results is printed.\n\n"
           "Returns:\n    The " +
           quantity + " found (`float`, " + unit + R"().

Raises:
    TessaraError: the library finds no such equilibrium. `t_end` and `dt` are `None` then, and with
        `print_results` the library's listings stay turned away.
    TypeError: the guess is no number, or `print_results` no integer.)";
}

} // namespace

std::vector<Method> solving_methods() {
    return {
        method<shapes::cls_print_estimate_return_kwargs, calculate_eq>("calculate_eq",
                                                                       calculate_eq_text),
        method<shapes::cls_variable_guess_print, calculate_eq_for>("_calculate_eq",
                                                                   calculate_eq_for_text),
        method<shapes::cls_P_guess_print, search>(
            "calculate_eq_P", search_description("pressure", "P_guess", "pressure unit in force"),
            &names::P),
        method<shapes::cls_V_guess_print, search>(
            "calculate_eq_V", search_description("volume", "V_guess", "volume unit in force"),
            &names::V),
        method<shapes::cls_T_guess_print, search>(
            "calculate_eq_T",
            search_description("temperature", "T_guess", "temperature unit in force"), &names::T),
    };
}

} // namespace tessara::friendly::calculation
