#include <string>

#include "friendly/calculation/calculation.hpp"
#include "friendly/shapes.hpp"
#include "friendly/system/caches.hpp"

// Conditions on the system and on a phase. The library is their only store.

namespace tessara::friendly::calculation {

namespace {

/// The place of `hxsetc` that stands for a whole phase. In `hxgetr` that is `NoIndex`.
constexpr long WholePhase = -2;

constexpr const char* set_eq_condition_sys_text = R"(Sets a condition on the system.

Parameters:
    variable: member of `ConditionVariable`; it goes to the library as it is.
    value: the value, in the units in force.

Returns:
    The number of the condition (`int`).

Raises:
    TessaraError: the library refuses the condition.)";

/// `variable` goes to the library untested, unlike in the setter for phases.
Ref set_eq_condition_sys(PyObject*, PyObject* variable, double value) {
    return call_operation(names::hxsetc, variable, integer(NoIndex), integer(NoIndex),
                          number(value));
}

constexpr const char* set_eq_condition_ph_text = R"(Sets a condition on a phase.

Parameters:
    variable: member of `ConditionVariable`.
    ph: name or zero-based index of the phase.
    value: the value, in the units in force.

Returns:
    The number of the condition (`int`).

Raises:
    TypeError: `variable` is no `ConditionVariable`, or no data file is loaded.
    KeyError: there is no such phase.
    TessaraError: the library refuses the condition.)";

Ref set_eq_condition_ph(PyObject*, PyObject* variable, PyObject* ph, double value) {
    require_exact_type(variable, names::ConditionVariable);
    const Ref i_ph = index_of_ph(ph);
    return call_operation(names::hxsetc, variable, i_ph, integer(WholePhase), number(value));
}

Ref set_on_system(const Name& condition, PyObject* cls, double value) {
    return call_method(cls, names::_set_eq_condition_sys,
                       Member{names::ConditionVariable, condition}, number(value));
}

Ref set_on_phase(const Name& condition, PyObject* cls, PyObject* ph, double value) {
    return call_method(cls, names::_set_eq_condition_ph,
                       Member{names::ConditionVariable, condition}, ph, number(value));
}

constexpr const char* remove_numbered_text = R"(Removes one equilibrium condition.

Parameters:
    number: number of the condition, as the setter returned it.

Raises:
    TessaraError: the library knows no such condition.)";

Ref remove_numbered(PyObject*, int number) {
    call_operation(names::hxremc, integer(number));
    return none();
}

// What `hxremc` takes for more than one condition.
constexpr long AllIncomingAmounts = 0;
constexpr long AllConditions = -2;

constexpr const char* remove_incoming_amounts_text =
    R"(Removes all conditions related to incoming amounts.

These are incoming amounts (IA), chemical potentials (MU) and relative activities (AC). Conditions
on the system and targets stay.)";

Ref remove_incoming_amounts(PyObject*) {
    call_operation(names::hxremc, integer(AllIncomingAmounts));
    return none();
}

constexpr const char* remove_all_text =
    "Removes all conditions, targets and configuration options set so far.";

Ref remove_all(PyObject*) {
    call_operation(names::hxremc, integer(AllConditions));
    return none();
}

/// A public setter: its name, the member of `ConditionVariable`, and words for its documentation.
struct Setter {
    const char* name;
    const Name& condition;
    const char* quantity;
    const char* unit;
};

constexpr Setter system_setters[] = {
    {"set_eq_P", names::P, "pressure", "pressure unit in force"},
    {"set_eq_VT", names::VT, "total volume", "volume unit in force"},
    {"set_eq_T", names::T, "temperature", "temperature unit in force"},
    {"set_eq_Cp", names::CP, "heat capacity", "energy unit per temperature unit in force"},
    {"set_eq_H", names::H, "enthalpy", "energy unit in force"},
    {"set_eq_S", names::S, "entropy", "energy unit per temperature unit in force"},
    {"set_eq_G", names::G, "Gibbs energy", "energy unit in force"},
    {"set_eq_V", names::V, "volume", "volume unit in force"},
};

constexpr Setter phase_setters[] = {
    {"set_eq_A_ph", names::A, "amount", "amount unit in force"},
    {"set_eq_Cp_ph", names::CP, "heat capacity", "energy unit per temperature unit in force"},
    {"set_eq_H_ph", names::H, "enthalpy", "energy unit in force"},
    {"set_eq_S_ph", names::S, "entropy", "energy unit per temperature unit in force"},
    {"set_eq_G_ph", names::G, "Gibbs energy", "energy unit in force"},
    {"set_eq_V_ph", names::V, "volume", "volume unit in force"},
};

std::string value_text(const Setter& setter) {
    return std::string("    value: the ") + setter.quantity + " (" + setter.unit + ").\n";
}

constexpr const char* number_text = R"(
Returns:
    The number of the condition (`int`), for `remove_eq_condition`.
)";

std::string system_description(const Setter& setter) {
    return std::string("Sets the ") + setter.quantity +
           " of the system as an equilibrium condition.\n\nParameters:\n" + value_text(setter) +
           number_text + "\nRaises:\n    TessaraError: the library refuses the condition.";
}

std::string phase_description(const Setter& setter) {
    return std::string("Sets the ") + setter.quantity +
           " of a phase as an equilibrium condition.\n\nParameters:\n"
           "    ph: name or zero-based index of the phase.\n" +
           value_text(setter) + number_text +
           "\nRaises:\n    KeyError: there is no such phase.\n"
           "    TypeError: no data file is loaded.\n"
           "    TessaraError: the library refuses the condition.";
}

} // namespace

std::vector<Method> condition_methods() {
    std::vector<Method> methods{
        method<shapes::cls_variable_value, set_eq_condition_sys>("_set_eq_condition_sys",
                                                                 set_eq_condition_sys_text),
        method<shapes::cls_variable_ph_value, set_eq_condition_ph>("_set_eq_condition_ph",
                                                                   set_eq_condition_ph_text),
    };
    for (const Setter& setter : system_setters) {
        methods.push_back(method<shapes::cls_value, set_on_system>(
            setter.name, system_description(setter), &setter.condition));
    }
    for (const Setter& setter : phase_setters) {
        methods.push_back(method<shapes::cls_ph_value, set_on_phase>(
            setter.name, phase_description(setter), &setter.condition));
    }
    methods.push_back(
        method<shapes::cls_number, remove_numbered>("remove_eq_condition", remove_numbered_text));
    methods.push_back(method<shapes::cls, remove_incoming_amounts>("remove_eq_conditions_IA",
                                                                   remove_incoming_amounts_text));
    methods.push_back(method<shapes::cls, remove_all>("remove_eq_conditions_all", remove_all_text));
    return methods;
}

} // namespace tessara::friendly::calculation
