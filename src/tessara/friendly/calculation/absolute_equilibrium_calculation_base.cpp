#include "friendly/calculation/calculation.hpp"
#include "friendly/shapes.hpp"

// What goes into an absolute calculation: conditions on system components and phase constituents.
// Unlike the other conditions they turn an unknown name into words.

namespace tessara::friendly::calculation {

namespace {

constexpr const char* documentation =
    R"(Abstract static class: what absolute equilibrium calculations share.

Base functionality of absolute equilibrium calculations, such as `EquilibriumCalculation` and
`PhaseMapCalculation`. `StreamCalculation` is not one of them: it is relative, as its streams provide
the initial conditions against which it reckons changes of extensive variables. All methods are class
methods.)";

constexpr const char* set_eq_condition_sc_text = R"(Sets a condition on a system component.

Parameters:
    variable: member of `ConditionVariable`.
    sc: name or zero-based index of the system component.
    value: the value, in the units in force.

Returns:
    The number of the condition (`int`).

Raises:
    TypeError: `variable` is no `ConditionVariable`, or no data file is loaded.
    TessaraPyError: there is no such system component.
    TessaraError: the library refuses the condition.)";

Ref set_eq_condition_sc(PyObject*, PyObject* variable, PyObject* sc, double value) {
    require_exact_type(variable, names::ConditionVariable);
    const Ref i_sc = existing_sc(sc);
    return call_operation(names::hxsetc, variable, integer(NoIndex), i_sc, number(value));
}

constexpr const char* set_eq_condition_pc_text = R"(Sets a condition on a phase constituent.

Parameters:
    variable: member of `ConditionVariable`.
    ph: name or zero-based index of the phase.
    pc: name or zero-based index of the constituent within the phase.
    value: the value, in the units in force; it goes to the library as it is.

Returns:
    The number of the condition (`int`).

Raises:
    TypeError: `variable` is no `ConditionVariable`, or no data file is loaded.
    TessaraPyError: there is no such phase, or no such constituent in it.
    TessaraError: the library refuses the condition.)";

Ref set_eq_condition_pc(PyObject*, PyObject* variable, PyObject* ph, PyObject* pc,
                        PyObject* value) {
    require_exact_type(variable, names::ConditionVariable);
    const Ref i_ph = existing_ph(ph);
    const Ref i_pc = existing_pc(ph, pc);
    return call_operation(names::hxsetc, variable, i_ph, i_pc, value);
}

Ref set_on_component(const Name& condition, PyObject* cls, PyObject* sc, double value) {
    return call_method(cls, names::_set_eq_condition_sc,
                       Member{names::ConditionVariable, condition}, sc, number(value));
}

Ref set_on_constituent(const Name& condition, PyObject* cls, PyObject* ph, PyObject* pc,
                       double value) {
    return call_method(cls, names::_set_eq_condition_pc,
                       Member{names::ConditionVariable, condition}, ph, pc, number(value));
}

std::string component_description(const char* quantity, const char* unit) {
    return std::string("Sets the ") + quantity +
           " of a system component.\n\nParameters:\n"
           "    sc: name or zero-based index of the system component.\n"
           "    value: the " +
           quantity + " (" + unit + R"().

Returns:
    The number of the condition (`int`), for `remove_eq_condition`.

Raises:
    TessaraPyError: there is no such system component.
    TypeError: no data file is loaded.
    TessaraError: the library refuses the condition.)";
}

std::string constituent_description(const char* quantity, const char* unit) {
    return std::string("Sets the ") + quantity +
           " of a phase constituent.\n\nParameters:\n"
           "    ph: name or zero-based index of the phase.\n"
           "    pc: name or zero-based index of the constituent within the phase.\n"
           "    value: the " +
           quantity + " (" + unit + R"().

Returns:
    The number of the condition (`int`), for `remove_eq_condition`.

Raises:
    TessaraPyError: there is no such phase, or no such constituent in it.
    TypeError: no data file is loaded.
    TessaraError: the library refuses the condition.)";
}

constexpr const char* amount_unit = "amount unit in force";
constexpr const char* no_unit = "no unit";
constexpr const char* potential_unit = "energy unit in force, per mole";

} // namespace

ClassDefinition absolute_equilibrium_calculation_base() {
    ClassDefinition definition{
        "AbsoluteEquilibriumCalculationBase",
        "EquilibriumCalculationBase",
        documentation,
        {},
        {
            method<shapes::cls_variable_sc_value, set_eq_condition_sc>("_set_eq_condition_sc",
                                                                       set_eq_condition_sc_text),
            method<shapes::cls_variable_ph_pc_any_value, set_eq_condition_pc>(
                "_set_eq_condition_pc", set_eq_condition_pc_text),
            method<shapes::cls_sc_value, set_on_component>(
                "set_IA_sc", component_description("incoming amount", amount_unit), &names::IA),
            method<shapes::cls_sc_value, set_on_component>(
                "set_eq_AC_sc", component_description("equilibrium activity", no_unit), &names::AC),
            method<shapes::cls_ph_pc_value, set_on_constituent>(
                "set_IA_pc", constituent_description("incoming amount", amount_unit), &names::IA),
            method<shapes::cls_ph_pc_value, set_on_constituent>(
                "set_eq_AC_pc", constituent_description("equilibrium activity", no_unit),
                &names::AC),
            method<shapes::cls_ph_pc_value, set_on_constituent>(
                "set_eq_MU_pc",
                constituent_description("equilibrium chemical potential", potential_unit),
                &names::MU),
        },
        &absolute_cell()};
    definition.add(chemical_formula_methods());
    definition.add(incoming_amount_state_methods());
    definition.add(absolute_result_object_methods());
    return definition;
}

} // namespace tessara::friendly::calculation
