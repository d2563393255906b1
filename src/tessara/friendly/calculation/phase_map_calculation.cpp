#include "friendly/calculation/calculation.hpp"
#include "friendly/calculation/solving.hpp"
#include "friendly/shapes.hpp"
#include "friendly/system/caches.hpp"

// Phase maps along a line: over temperature, pressure or incoming amounts. The library steps from
// one phase transition to the next; here a result object is taken at each point.

namespace tessara::friendly::calculation {

namespace {

/// The named tuple for one range of an incoming amount. Its place is told, so that it can be
/// pickled: what `namedtuple` finds out is the place that runs the import.
Ref make_IA_range() {
    const Ref make = global(names::namedtuple);
    const Ref fields = new_list();
    for (const char* field : {"ph", "pc", "start", "end"}) {
        append(fields, text(field));
    }
    Ref type = call(make, text("IA_range"), fields);
    set_attribute(type, names::dunder_module, global(names::dunder_name));
    set_attribute(type, names::dunder_qualname, text("PhaseMapCalculation.IA_range"));
    return type;
}

/// The operation that steps, and lists too where results are printed: to the channel of listings,
/// without a capture.
const Name& map_operation(bool print_results) {
    return print_results ? names::hxmapl : names::hxmap;
}

/// `result.append(cls.get_result_object())`
void collect(const Ref& result, PyObject* cls) {
    append(result, call_method(cls, names::get_result_object));
}

constexpr const char* calculate_ph_txs_text = R"(Collects the points of a phase map.

Parameters:
    var_first: member of `PhaseMapVariable` for the first call of the library.
    var_next: member of `PhaseMapVariable` for all calls after it.
    val_min, val_max: the ends of the range, in the units in force.
    print_results: whether the library lists each point.

Returns:
    A new list of result objects: lower end, transitions as the library gives them, upper end.

Raises:
    TypeError: `var_first` or `var_next` is no `PhaseMapVariable`; nothing has been called then.
    TessaraError: the library can't go on.)";

/// The first step is to the lower end, the second to the upper one, all later ones to transitions.
Ref calculate_ph_txs(PyObject* cls, PyObject* var_first, PyObject* var_next, double val_min,
                     double val_max, bool print_results) {
    require_exact_type(var_first, names::PhaseMapVariable, "var_first");
    require_exact_type(var_next, names::PhaseMapVariable, "var_next");
    Ref result = new_list();
    const Ref interval = value_pair(number(val_min), number(val_max));
    const auto step = [&](PyObject* variable) {
        return call_operation(map_operation(print_results), variable, integer(NoIndex),
                              integer(NoIndex), interval);
    };
    step(var_first);
    collect(result, cls);
    Ref icont = step(var_next);
    const Ref upper_result = call_method(cls, names::get_result_object);
    while (is_true(icont)) {
        icont = step(var_next);
        collect(result, cls);
    }
    append(result, upper_result);
    return result;
}

PyObject* field_of(PyObject* field, PyObject* record) noexcept {
    return PyObject_GetAttr(record, field);
}

PyMethodDef key_definition = {"key", field_of, METH_O, nullptr};

/// `result.sort(key=lambda r: r.<field>)`
void sort_by(const Ref& result, const Name& field) {
    const Ref sort = attribute(result, names::sort);
    const Ref key = checked(PyCFunction_New(&key_definition, field.get()));
    call_with_keywords(sort, Keyword{names::key, key});
}

/// The variable of a map: the members for the first and the later calls, and the field of result
/// objects that holds it.
struct Axis {
    const Name& first;
    const Name& next;
    const Name& field;
};

Ref map_over(const Axis& axis, PyObject* cls, double least, double most, bool print_results) {
    call_method(cls, names::_start_calc);
    Ref result =
        call_method(cls, names::_calculate_ph_txs, Member{names::PhaseMapVariable, axis.first},
                    Member{names::PhaseMapVariable, axis.next}, number(least), number(most),
                    print_results ? Py_True : Py_False);
    sort_by(result, axis.field);
    call_method(cls, names::_end_calc);
    return result;
}

Ref map_over_T(PyObject* cls, double T_min, double T_max, bool print_results) {
    return map_over({names::TF, names::TN, names::T}, cls, T_min, T_max, print_results);
}

Ref map_over_P(PyObject* cls, double P_min, double P_max, bool print_results) {
    return map_over({names::PF, names::PN, names::P}, cls, P_min, P_max, print_results);
}

std::string axis_description(const char* quantity, const char* symbol) {
    const std::string name = symbol;
    return std::string("Finds the phase transitions in a range of ") + quantity +
           ".\n\nConditions and incoming amounts have to be set first.\n\nParameters:\n    " +
           name + "_min, " + name + "_max: the ends of the range (" + quantity +
           " unit in force).\n    print_results: whether the library lists each point, to where "
           "its "
           "listings go.\n\nReturns:\n    A new list of result objects in order of `" +
           name +
           R"(`: both ends of the range and each phase transition.
    Their `t_end` and `dt` are `None`, as the calculation goes on while they are made.

Raises:
    TessaraError: the library can't go on. `t_end` and `dt` are `None` then.)";
}

/// The name or index of the constituent. A pure phase need not tell it: it has its phase's name.
Ref constituent_of(const Ref& range) {
    const bool missing = attribute(range, names::pc).get() == Py_None ||
                         compare(attribute(range, names::pc), text(""), Py_EQ);
    return attribute(range, missing ? names::ph : names::pc);
}

/// Hands over the range at `i` of the list: a further one, or the last, which takes the library to
/// the lower end. Tells whether it was the last.
bool place_range(const Ref& range, Py_ssize_t i, PyObject* IA_ranges, bool print_results) {
    const Ref pc = constituent_of(range);
    const Ref i_ph = index_of_ph(attribute(range, names::ph));
    const Ref i_pc = index_of_pc(attribute(range, names::ph), pc);
    const bool last = is_last(i, IA_ranges);
    const Ref map = operation(map_operation(print_results));
    const Ref variable = evaluated(Member{names::PhaseMapVariable, last ? names::IAF : names::IA0});
    const Ref start = attribute(range, names::start);
    const Ref end = attribute(range, names::end);
    call(map, variable, i_ph, i_pc, value_pair(start, end));
    return last;
}

/// A step along the line of all ranges, which goes from 0 to 1.
Ref step_along(bool print_results) {
    return call_operation(map_operation(print_results), Member{names::PhaseMapVariable, names::IAN},
                          integer(NoIndex), integer(NoIndex), value_pair(number(0.0), number(1.0)));
}

constexpr int MaxTransitions = 100;

[[noreturn]] void raise_too_many_transitions() {
    const Ref make = global(names::TessaraPyError);
    raise(call_in_order(make,
                        Member{names::ErrorStrings, names::ERROR_PHASE_TRANSITION_LIMIT_EXCEEDED}));
}

constexpr const char* calculate_ph_txs_IA_text =
    R"(Finds the phase transitions in a range of incoming amounts.

Conditions and the other incoming amounts have to be set first. Several ranges move together.

Parameters:
    IA_ranges: list of `PhaseMapCalculation.IA_range` (ph, pc, start, end): phase and constituent,
        each a name or a zero-based index, and the limits of the incoming amount (amount unit in
        force). `pc` may be `None` or empty for a pure phase.
    print_results: whether the library lists the points, to where its listings go. The upper end is
        not listed.

Returns:
    A new list of result objects: lower end, transitions in their order, upper end. Their `t_end`
    and `dt` are `None`, as the calculation goes on while they are made.

Raises:
    KeyError: there is no such phase, or no such constituent in it. The library has got the ranges
        before it then.
    AttributeError: an entry lacks `ph`, `pc`, `start` or `end`.
    TypeError: `IA_ranges` is no list, or no data file is loaded.
    TessaraPyError: there are too many transitions.
    TessaraError: the library can't go on. As with the other failures, `t_end` and `dt` are `None`
        then.)";

Ref map_over_IA(PyObject* cls, PyObject* IA_ranges, bool print_results) {
    call_method(cls, names::_start_calc);
    Ref result = new_list();
    const Ref entries = checked(PyObject_GetIter(IA_ranges));
    for (Py_ssize_t i = 0; const Ref range = next_item(entries); ++i) {
        if (place_range(range, i, IA_ranges, print_results)) {
            collect(result, cls);
        }
    }
    // The upper end is never listed.
    Ref icont = step_along(false);
    const Ref upper_result = call_method(cls, names::get_result_object);
    for (int n = 0; is_true(icont); ++n) {
        if (n > MaxTransitions) {
            raise_too_many_transitions();
        }
        icont = step_along(print_results);
        collect(result, cls);
    }
    append(result, upper_result);
    call_method(cls, names::_end_calc);
    return result;
}

} // namespace

ClassDefinition phase_map_calculation() {
    return {"PhaseMapCalculation",
            "AbsoluteEquilibriumCalculationBase",
            nullptr,
            {{"IA_range", make_IA_range}},
            {
                method<shapes::cls_var_first_var_next_val_min_val_max_print, calculate_ph_txs>(
                    "_calculate_ph_txs", calculate_ph_txs_text),
                method<shapes::cls_T_min_T_max_print, map_over_T>(
                    "calculate_ph_txs_T", axis_description("temperature", "T")),
                method<shapes::cls_P_min_P_max_print, map_over_P>(
                    "calculate_ph_txs_P", axis_description("pressure", "P")),
                method<shapes::cls_IA_ranges_print, map_over_IA>("calculate_ph_txs_IA",
                                                                 calculate_ph_txs_IA_text),
            }};
}

} // namespace tessara::friendly::calculation
