#include <algorithm>
#include <iterator>
#include <string>

#include "friendly/calculation/calculation.hpp"
#include "friendly/documentation.hpp"
#include "friendly/library/index_range.hpp"
#include "friendly/shapes.hpp"
#include "friendly/system/caches.hpp"

// The getters of results: a table of names over ten functions, one per kind of object asked about.

namespace tessara::friendly::calculation {

namespace {

Ref of_system(const Name& variable, PyObject*) {
    return result_of(variable, integer(NoIndex), integer(NoIndex));
}

Ref of_component(const Name& variable, PyObject*, PyObject* sc) {
    const Ref i_sc = index_of_sc(sc);
    return result_of(variable, integer(NoIndex), i_sc);
}

Ref of_components(const Name& variable, PyObject*) {
    Ref result = new_list();
    for (const Ref& i_sc : IndexRange(count_of_scs())) {
        append(result, result_of(variable, integer(NoIndex), i_sc));
    }
    return result;
}

/// The component is resolved first, though the phase comes first in the argument list.
Ref of_component_in_phase(const Name& variable, PyObject*, PyObject* ph, PyObject* sc) {
    const Ref i_sc = index_of_sc(sc);
    const Ref i_ph = index_of_ph(ph);
    return result_of(variable, i_ph, i_sc);
}

Ref of_components_in_phase(const Name& variable, PyObject*, PyObject* ph) {
    const Ref i_ph = index_of_ph(ph);
    Ref result = new_list();
    for (const Ref& i_sc : IndexRange(count_of_scs())) {
        append(result, result_of(variable, i_ph, i_sc));
    }
    return result;
}

Ref of_phase(const Name& variable, PyObject*, PyObject* ph) {
    const Ref i_ph = index_of_ph(ph);
    return result_of(variable, i_ph, integer(NoIndex));
}

Ref of_phases(const Name& variable, PyObject*) {
    Ref result = new_list();
    for (const Ref& i_ph : IndexRange(count_of_phs())) {
        append(result, result_of(variable, i_ph, integer(NoIndex)));
    }
    return result;
}

Ref of_constituent(const Name& variable, PyObject*, PyObject* ph, PyObject* pc) {
    const Ref i_ph = index_of_ph(ph);
    const Ref i_pc = index_of_pc(ph, pc);
    return result_of(variable, i_ph, i_pc);
}

/// The constituents of the phase with the index `i_ph`.
Ref of_each_constituent(const Name& variable, const Ref& i_ph) {
    Ref result = new_list();
    for (const Ref& i_pc : IndexRange(count_of_pcs(i_ph))) {
        append(result, result_of(variable, i_ph, i_pc));
    }
    return result;
}

Ref of_constituents(const Name& variable, PyObject*) {
    Ref result = new_list();
    for (const Ref& i_ph : IndexRange(count_of_phs())) {
        extend(result, of_each_constituent(variable, i_ph));
    }
    return result;
}

Ref of_constituents_in_phase(const Name& variable, PyObject*, PyObject* ph) {
    return of_each_constituent(variable, index_of_ph(ph));
}

/// A kind of object asked about: parameters, function, and words for the documentation.
struct Kind {
    std::span<const Parameter> parameters;
    Body body;
    const char* whose;
    const char* parameters_text;
    const char* result;
    const char* lookup_failures;
};

template <const auto& shape, auto function>
constexpr Kind kind_of(const char* whose, const char* parameters_text, const char* result,
                       const char* lookup_failures) {
    return {shape.parameters, body_of<shape, function>(), whose, parameters_text, result,
            lookup_failures};
}

constexpr const char* one_value = "A `float`";
constexpr const char* per_component =
    "A list of `float`, one per system component of the system in index order";
constexpr const char* per_phase = "A list of `float`, one per phase in index order";
constexpr const char* per_constituent =
    "One flat list of `float`, phases in index order and the constituents of each in index order";
constexpr const char* per_constituent_in_phase =
    "A list of `float`, one per constituent of the phase in index order";

constexpr Kind system = kind_of<shapes::cls, of_system>("the system", "", one_value, "");
constexpr Kind component = kind_of<shapes::cls_sc, of_component>("a system component", words::sc,
                                                                 one_value, words::no_component);
constexpr Kind components = kind_of<shapes::cls, of_components>(
    "all system components", "", per_component, words::nothing_loaded);
constexpr Kind component_in_phase = kind_of<shapes::cls_ph_sc, of_component_in_phase>(
    "a system component in a phase", words::ph_sc, one_value, words::no_component_or_phase);
constexpr Kind components_in_phase = kind_of<shapes::cls_ph, of_components_in_phase>(
    "all system components in a phase", words::ph, per_component, words::no_phase);
constexpr Kind phase =
    kind_of<shapes::cls_ph, of_phase>("a phase", words::ph, one_value, words::no_phase);
constexpr Kind phases =
    kind_of<shapes::cls, of_phases>("all phases", "", per_phase, words::nothing_loaded);
constexpr Kind constituent = kind_of<shapes::cls_ph_pc, of_constituent>(
    "a phase constituent", words::ph_pc, one_value, words::no_constituent);
constexpr Kind constituents = kind_of<shapes::cls, of_constituents>(
    "all phase constituents", "", per_constituent, words::nothing_loaded);
constexpr Kind constituents_in_phase = kind_of<shapes::cls_ph, of_constituents_in_phase>(
    "all constituents of a phase", words::ph, per_constituent_in_phase, words::no_phase);

/// What a member of `ResultVariable` stands for, for the documentation.
struct Quantity {
    const Name& variable;
    const char* words;
    const char* unit;
};

constexpr Quantity quantities[] = {
    {names::P, "Pressure", "pressure unit in force"},
    {names::VT, "Total volume", "volume unit in force"},
    {names::T, "Temperature", "temperature unit in force"},
    {names::A, "Amount", "amount unit in force"},
    {names::AP, "Amount", "amount unit in force"},
    {names::IA, "Incoming amount", "amount unit in force"},
    {names::AC, "Activity", "no unit"},
    {names::MU, "Chemical potential", "energy unit in force, per mole"},
    {names::X, "Amount fraction", "no unit"},
    {names::XP, "Amount fraction", "no unit"},
    {names::CP, "Heat capacity", "energy unit per temperature unit in force"},
    {names::H, "Enthalpy", "energy unit in force"},
    {names::S, "Entropy", "energy unit per temperature unit in force"},
    {names::G, "Gibbs energy", "energy unit in force"},
    {names::V, "Volume", "volume unit in force"},
    {names::CPM, "Heat capacity per amount",
     "energy unit per temperature and amount unit in force"},
    {names::HM, "Enthalpy per amount", "energy unit per amount unit in force"},
    {names::SM, "Entropy per amount", "energy unit per temperature and amount unit in force"},
    {names::GM, "Gibbs energy per amount", "energy unit per amount unit in force"},
    {names::VM, "Volume per amount", "volume unit per amount unit in force"},
};

struct Getter {
    const char* name;
    const Kind& kind;
    const Name& variable;
};

constexpr Getter getters[] = {
    {"get_eq_P", system, names::P},
    {"get_eq_VT", system, names::VT},
    {"get_eq_T", system, names::T},
    {"get_eq_A", system, names::A},
    {"get_eq_Cp", system, names::CP},
    {"get_eq_H", system, names::H},
    {"get_eq_S", system, names::S},
    {"get_eq_G", system, names::G},
    {"get_eq_V", system, names::V},
    {"get_eq_CpM", system, names::CPM},
    {"get_eq_HM", system, names::HM},
    {"get_eq_SM", system, names::SM},
    {"get_eq_GM", system, names::GM},
    {"get_eq_VM", system, names::VM},
    {"get_eq_A_sc", component, names::A},
    {"get_eq_AC_sc", component, names::AC},
    {"get_eq_MU_sc", component, names::MU},
    {"get_eq_X_sc", component, names::X},
    {"get_eq_A_scs", components, names::A},
    {"get_eq_AC_scs", components, names::AC},
    {"get_eq_MU_scs", components, names::MU},
    {"get_eq_X_scs", components, names::X},
    {"get_eq_A_sc_in_ph", component_in_phase, names::AP},
    {"get_eq_X_sc_in_ph", component_in_phase, names::XP},
    {"get_eq_A_scs_in_ph", components_in_phase, names::AP},
    {"get_eq_X_scs_in_ph", components_in_phase, names::XP},
    {"get_eq_A_ph", phase, names::A},
    {"get_eq_AC_ph", phase, names::AC},
    {"get_eq_MU_ph", phase, names::MU},
    {"get_eq_Cp_ph", phase, names::CP},
    {"get_eq_H_ph", phase, names::H},
    {"get_eq_S_ph", phase, names::S},
    {"get_eq_G_ph", phase, names::G},
    {"get_eq_V_ph", phase, names::V},
    {"get_eq_CpM_ph", phase, names::CPM},
    {"get_eq_HM_ph", phase, names::HM},
    {"get_eq_SM_ph", phase, names::SM},
    {"get_eq_GM_ph", phase, names::GM},
    {"get_eq_VM_ph", phase, names::VM},
    {"get_eq_A_phs", phases, names::A},
    {"get_eq_AC_phs", phases, names::AC},
    {"get_eq_MU_phs", phases, names::MU},
    {"get_eq_Cp_phs", phases, names::CP},
    {"get_eq_H_phs", phases, names::H},
    {"get_eq_S_phs", phases, names::S},
    {"get_eq_G_phs", phases, names::G},
    {"get_eq_V_phs", phases, names::V},
    {"get_eq_CpM_phs", phases, names::CPM},
    {"get_eq_HM_phs", phases, names::HM},
    {"get_eq_SM_phs", phases, names::SM},
    {"get_eq_GM_phs", phases, names::GM},
    {"get_eq_VM_phs", phases, names::VM},
    {"get_eq_A_pc", constituent, names::A},
    {"get_eq_IA_pc", constituent, names::IA},
    {"get_eq_AC_pc", constituent, names::AC},
    {"get_eq_MU_pc", constituent, names::MU},
    {"get_eq_Cp_pc", constituent, names::CP},
    {"get_eq_H_pc", constituent, names::H},
    {"get_eq_S_pc", constituent, names::S},
    {"get_eq_G_pc", constituent, names::G},
    {"get_eq_V_pc", constituent, names::V},
    {"get_eq_CpM_pc", constituent, names::CPM},
    {"get_eq_HM_pc", constituent, names::HM},
    {"get_eq_SM_pc", constituent, names::SM},
    {"get_eq_GM_pc", constituent, names::GM},
    {"get_eq_VM_pc", constituent, names::VM},
    {"get_eq_A_pcs", constituents, names::A},
    {"get_eq_IA_pcs", constituents, names::IA},
    {"get_eq_AC_pcs", constituents, names::AC},
    {"get_eq_MU_pcs", constituents, names::MU},
    {"get_eq_Cp_pcs", constituents, names::CP},
    {"get_eq_H_pcs", constituents, names::H},
    {"get_eq_S_pcs", constituents, names::S},
    {"get_eq_G_pcs", constituents, names::G},
    {"get_eq_V_pcs", constituents, names::V},
    {"get_eq_CpM_pcs", constituents, names::CPM},
    {"get_eq_HM_pcs", constituents, names::HM},
    {"get_eq_SM_pcs", constituents, names::SM},
    {"get_eq_GM_pcs", constituents, names::GM},
    {"get_eq_VM_pcs", constituents, names::VM},
    {"get_eq_A_pcs_in_ph", constituents_in_phase, names::A},
    {"get_eq_IA_pcs_in_ph", constituents_in_phase, names::IA},
    {"get_eq_AC_pcs_in_ph", constituents_in_phase, names::AC},
    {"get_eq_MU_pcs_in_ph", constituents_in_phase, names::MU},
    {"get_eq_Cp_pcs_in_ph", constituents_in_phase, names::CP},
    {"get_eq_H_pcs_in_ph", constituents_in_phase, names::H},
    {"get_eq_S_pcs_in_ph", constituents_in_phase, names::S},
    {"get_eq_G_pcs_in_ph", constituents_in_phase, names::G},
    {"get_eq_V_pcs_in_ph", constituents_in_phase, names::V},
    {"get_eq_CpM_pcs_in_ph", constituents_in_phase, names::CPM},
    {"get_eq_HM_pcs_in_ph", constituents_in_phase, names::HM},
    {"get_eq_SM_pcs_in_ph", constituents_in_phase, names::SM},
    {"get_eq_GM_pcs_in_ph", constituents_in_phase, names::GM},
    {"get_eq_VM_pcs_in_ph", constituents_in_phase, names::VM},
};

const Quantity& quantity_of(const Getter& getter) {
    return *std::find_if(
        std::begin(quantities), std::end(quantities),
        [&getter](const Quantity& quantity) { return &quantity.variable == &getter.variable; });
}

std::string description(const Getter& getter) {
    const Quantity& quantity = quantity_of(getter);
    const Kind& kind = getter.kind;
    std::string lines =
        std::string(quantity.words) + " of " + kind.whose + ", from the last calculation.\n\n";
    if (*kind.parameters_text != '\0') {
        lines += std::string("Parameters:\n") + kind.parameters_text + '\n';
    }
    return lines + "Returns:\n    " + kind.result + ".\n    Unit: " + quantity.unit +
           ".\n\nRaises:\n" + kind.lookup_failures +
           "    TessaraError: the library has no such result.";
}

} // namespace

std::vector<Method> result_methods() {
    std::vector<Method> methods;
    for (const Getter& getter : getters) {
        methods.push_back({getter.name, getter.kind.parameters, false, getter.kind.body,
                           &getter.variable, description(getter)});
    }
    return methods;
}

} // namespace tessara::friendly::calculation
