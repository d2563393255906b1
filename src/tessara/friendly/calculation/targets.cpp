#include "friendly/calculation/calculation.hpp"
#include "friendly/library/deprecation.hpp"
#include "friendly/shapes.hpp"

// What a search has to reach. A target is a condition of the library, whose number is not handed
// out.

namespace tessara::friendly::calculation {

namespace {

// The amounts of a phase by which the library tells its targets.
constexpr double JustForms = 0.0;
constexpr double JustPrecipitates = -1.0;

Ref set_on_phase(PyObject* ph, double amount) {
    const Ref i_ph = existing_ph(ph);
    call_operation(names::hxsetc, Member{names::ConditionVariable, names::A}, i_ph,
                   integer(NoIndex), number(amount));
    return none();
}

Ref set_formation(PyObject*, PyObject* ph) {
    return set_on_phase(ph, JustForms);
}

Ref set_precipitation(PyObject*, PyObject* ph) {
    return set_on_phase(ph, JustPrecipitates);
}

Ref set_on_constituent(const Name& target, PyObject*, PyObject* ph, PyObject* pc, double value) {
    const Ref i_ph = existing_ph(ph);
    const Ref i_pc = existing_pc(ph, pc);
    call_operation(names::hxsetc, Member{names::ConditionVariable, target}, i_ph, i_pc,
                   number(value));
    return none();
}

/// The component comes first here, and is resolved first; for the library the phase comes first.
Ref set_fraction_of_component(PyObject*, PyObject* sc, PyObject* ph, double value) {
    const Ref i_sc = existing_sc(sc);
    const Ref i_ph = existing_ph(ph);
    call_operation(names::hxsetc, Member{names::ConditionVariable, names::XT}, i_ph, i_sc,
                   number(value));
    return none();
}

// The former names: they warn and go on through `cls`.

template <class... Arguments>
Ref forward(const Name& successor, PyObject* cls, const Arguments&... arguments) {
    warn_of_former_name(successor);
    call_method(cls, successor, arguments...);
    return none();
}

Ref forward_phase(const Name& successor, PyObject* cls, PyObject* ph) {
    return forward(successor, cls, ph);
}

Ref forward_constituent(const Name& successor, PyObject* cls, PyObject* ph, PyObject* pc,
                        double value) {
    return forward(successor, cls, ph, pc, number(value));
}

Ref forward_component(const Name& successor, PyObject* cls, PyObject* sc, PyObject* ph,
                      double value) {
    return forward(successor, cls, sc, ph, number(value));
}

constexpr const char* ph_text = "    ph: name or zero-based index of the phase.\n";
constexpr const char* pc_text =
    "    pc: name or zero-based index of the constituent within the phase.\n";
constexpr const char* sc_text = "    sc: name or zero-based index of the system component.\n";

std::string description(const std::string& target, const std::string& parameters,
                        const std::string& missing) {
    return "Sets a target: " + target +
           ".\n\nA search then finds where it is met. It stays in force until all conditions are "
           "removed.\n\nParameters:\n" +
           parameters + "\nRaises:\n    TessaraPyError: there is no such " + missing +
           ".\n    TypeError: no data file is loaded.\n"
           "    TessaraError: the library refuses the target.";
}

std::string value_text(const char* quantity) {
    return std::string("    value: the ") + quantity + " wanted (no unit).\n";
}

std::string constituent_description(const char* quantity) {
    return description(std::string("a phase constituent has a given ") + quantity,
                       std::string(ph_text) + pc_text + value_text(quantity),
                       "phase, or no such constituent in it");
}

/// A row for a former name.
template <const auto& shape, auto function>
Method former(const char* name, const Name& successor) {
    return method<shape, function>(name, former_name_description(successor), &successor);
}

} // namespace

std::vector<Method> target_methods() {
    return {
        method<shapes::cls_ph, set_formation>("set_target_formation_of_ph",
                                              description("a phase just forms", ph_text, "phase")),
        method<shapes::cls_ph, set_precipitation>(
            "set_target_precipitation_from_ph",
            description("a further phase just precipitates from a phase", ph_text, "phase")),
        method<shapes::cls_ph_pc_value, set_on_constituent>(
            "set_target_AC_pc", constituent_description("activity"), &names::AT),
        method<shapes::cls_ph_pc_value, set_on_constituent>(
            "set_target_XT_pc", constituent_description("mole fraction"), &names::XT),
        method<shapes::cls_sc_ph_value, set_fraction_of_component>(
            "set_target_XT_sc_in_ph",
            description("a system component has a given mole fraction in a phase",
                        std::string(sc_text) + ph_text + value_text("mole fraction"),
                        "system component, or no such phase")),
        former<shapes::cls_ph, forward_phase>("set_tg_formation_of_ph",
                                              names::set_target_formation_of_ph),
        former<shapes::cls_ph, forward_phase>("set_tg_precipitation_from_ph",
                                              names::set_target_precipitation_from_ph),
        former<shapes::cls_ph_pc_value, forward_constituent>("set_tg_AC_pc",
                                                             names::set_target_AC_pc),
        former<shapes::cls_ph_pc_value, forward_constituent>("set_tg_XT_pc",
                                                             names::set_target_XT_pc),
        former<shapes::cls_sc_ph_value, forward_component>("set_tg_XT_sc_in_ph",
                                                           names::set_target_XT_sc_in_ph),
    };
}

} // namespace tessara::friendly::calculation
