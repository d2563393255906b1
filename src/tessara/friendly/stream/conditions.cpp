#include "friendly/calculation/calculation.hpp"
#include "friendly/library/binding.hpp"
#include "friendly/shapes.hpp"
#include "friendly/stream/stream_calculation.hpp"
#include "friendly/system/caches.hpp"

// Conditions of calculations with streams, and what the streams are made of. The two generic
// setters are overrides: through them all the setters of the base reach the library's operation for
// streams, which has no place for a constituent.

namespace tessara::friendly::stream {

namespace {

using calculation::NoIndex;

constexpr const char* set_eq_condition_sys_text =
    R"(Sets a condition on the system of a calculation with streams.

Parameters:
    variable: member of `ConditionVariable`.
    value: the value, in the units in force.

Returns:
    What the library answers.

Raises:
    TypeError: `variable` is no `ConditionVariable`.
    TessaraError: the library refuses the condition.)";

/// `variable` is tested here, unlike in the setter of the base.
Ref set_eq_condition_sys(PyObject*, PyObject* variable, double value) {
    require_exact_type(variable, names::ConditionVariable);
    return call_operation(names::hxstec, variable, integer(NoIndex), number(value));
}

constexpr const char* set_eq_condition_ph_text =
    R"(Sets a condition on a phase of a calculation with streams.

Parameters:
    variable: member of `ConditionVariable`.
    ph: name or zero-based index of the phase.
    value: the value, in the units in force.

Returns:
    What the library answers.

Raises:
    TypeError: `variable` is no `ConditionVariable`, or no data file is loaded.
    KeyError: there is no such phase.
    TessaraError: the library refuses the condition.)";

Ref set_eq_condition_ph(PyObject*, PyObject* variable, PyObject* ph, double value) {
    require_exact_type(variable, names::ConditionVariable);
    const Ref i_ph = index_of_ph(ph);
    return call_operation(names::hxstec, variable, i_ph, number(value));
}

constexpr const char* set_IA_pc_text = R"(Sets the amount of a phase constituent in a stream.

A second call for a constituent replaces its amount.

Parameters:
    name: name of the stream.
    ph: name or zero-based index of the phase.
    pc: name or zero-based index of the constituent within the phase. "-" or "" stands for what `ph`
        says: a pure phase has one constituent, of its own name.
    value: the amount (amount unit in force).

Raises:
    KeyError: there is no such phase, or no such constituent in it. Or the library has taken the
        amount, but `streams` does not hold the stream.
    TypeError: no data file is loaded.
    TessaraError: the library refuses the amount; `streams` stays as it was.)";

/// Whether `pc` stands for the only constituent of a pure phase.
bool stands_for_phase(PyObject* pc) {
    return compare(pc, text("-"), Py_EQ) || compare(pc, text(""), Py_EQ);
}

/// `cls.streams[name].A_pcs`
Ref amounts_of(PyObject* cls, PyObject* name) {
    return attribute(item(attribute(cls, names::streams), name), names::A_pcs);
}

/// Puts an amount that the library has taken into `streams` too, under the names of phase and
/// constituent, whatever they were addressed by.
void mirror_amount(PyObject* cls, PyObject* name, const Ref& name_ph, const Ref& name_pc,
                   double value) {
    const Ref amounts = checked(PyObject_GetIter(amounts_of(cls, name).get()));
    while (const Ref amount = next_item(amounts)) {
        if (compare(attribute(amount, names::ph), name_ph, Py_EQ) &&
            compare(attribute(amount, names::pc), name_pc, Py_EQ)) {
            set_attribute(amount, names::private_A, number(value));
            return;
        }
    }
    const Ref add = attribute(amounts_of(cls, name), names::append);
    const Ref make_amount = global(names::PhaseConstituentIncomingAmountState);
    call(add, call(make_amount, name_ph, name_pc, number(value)));
}

Ref set_IA_pc(PyObject* cls, PyObject* name, PyObject* ph, PyObject* given_pc, double value) {
    PyObject* const pc = stands_for_phase(given_pc) ? ph : given_pc;
    const Ref i_ph = index_of_ph(ph);
    const Ref i_pc = index_of_pc(ph, pc);
    call_operation(names::hxstca, name, i_ph, i_pc, number(value));
    const Ref name_ph = name_of_ph(ph);
    const Ref name_pc = name_of_pc(ph, pc);
    mirror_amount(cls, name, name_ph, name_pc, value);
    return none();
}

} // namespace

std::vector<Method> condition_methods() {
    return {
        method<shapes::cls_variable_value, set_eq_condition_sys>("_set_eq_condition_sys",
                                                                 set_eq_condition_sys_text),
        method<shapes::cls_variable_ph_value, set_eq_condition_ph>("_set_eq_condition_ph",
                                                                   set_eq_condition_ph_text),
        method<shapes::cls_name_ph_pc_value, set_IA_pc>("set_IA_pc", set_IA_pc_text),
    };
}

} // namespace tessara::friendly::stream
