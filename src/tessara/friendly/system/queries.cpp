#include <string>

#include "friendly/documentation.hpp"
#include "friendly/shapes.hpp"
#include "friendly/system/thermochemical_system.hpp"
#include "friendly/system/walks.hpp"

// What the caches answer: a table of names over seven functions, one per kind of object asked
// about. Nothing in here asks the library.

namespace tessara::friendly {

namespace {

Ref of_component(const Name& key, PyObject*, PyObject* sc) {
    return fact(sc_entry(sc), key);
}

Ref of_components(const Name& key, PyObject*) {
    return list_over(count_of_scs(), [&](const Ref& i_sc) { return fact(sc_entry(i_sc), key); });
}

Ref of_phase(const Name& key, PyObject*, PyObject* ph) {
    return fact(ph_entry(ph), key);
}

Ref of_phases(const Name& key, PyObject*) {
    return list_over(count_of_phs(), [&](const Ref& i_ph) { return fact(ph_entry(i_ph), key); });
}

Ref of_constituent(const Name& key, PyObject*, PyObject* ph, PyObject* pc) {
    return fact(pc_entry(ph, pc), key);
}

Ref of_constituents_in_phase(const Name& key, PyObject*, PyObject* ph) {
    const Ref pcs = pcs_of(ph);
    return list_over(item(pcs, names::count),
                     [&](const Ref& i_pc) { return fact(item(pcs, i_pc), key); });
}

Ref of_constituents(const Name& key, PyObject*) {
    return list_over_constituents(
        [&](const Ref& i_ph, const Ref& i_pc) { return fact(pc_entry(i_ph, i_pc), key); });
}

/// A kind of object asked about: parameters, function, and words for the documentation.
struct Kind {
    std::span<const Parameter> parameters;
    Body body;
    const char* whose;
    const char* parameters_text;
    const char* order; ///< of a list; null where one value is returned
    const char* lookup_failures;
};

template <const auto& shape, auto function>
constexpr Kind kind_of(const char* whose, const char* parameters_text, const char* order,
                       const char* lookup_failures) {
    return {shape.parameters, body_of<shape, function>(), whose, parameters_text, order,
            lookup_failures};
}

constexpr Kind component = kind_of<shapes::cls_sc, of_component>("a system component", words::sc,
                                                                 nullptr, words::no_component);
constexpr Kind components = kind_of<shapes::cls, of_components>(
    "all system components", "", ", one per system component in index order",
    words::nothing_loaded);
constexpr Kind phase =
    kind_of<shapes::cls_ph, of_phase>("a phase", words::ph, nullptr, words::no_phase);
constexpr Kind phases = kind_of<shapes::cls, of_phases>(
    "all phases", "", ", one per phase in index order", words::nothing_loaded);
constexpr Kind constituent = kind_of<shapes::cls_ph_pc, of_constituent>(
    "a phase constituent", words::ph_pc, nullptr, words::no_constituent);
constexpr Kind constituents_in_phase = kind_of<shapes::cls_ph, of_constituents_in_phase>(
    "all constituents of a phase", words::ph, ", one per constituent of the phase in index order",
    words::no_phase);
constexpr Kind constituents = kind_of<shapes::cls, of_constituents>(
    "all phase constituents", "",
    ", flat: phases in index order and the constituents of each in index order",
    words::nothing_loaded);

/// What an entry of the caches tells under `key`.
struct Fact {
    const Name& key;
    const char* title;
    const char* value; ///< what one is
    const char* type;
    const char* remark;
};

constexpr Fact index_fact{names::index, "Index", "The zero-based index (`int`)", "int", ""};
constexpr Fact name_fact{names::name, "Name", "The name (`str`)", "str", ""};
constexpr Fact mm_fact{
    names::mm, "Molar mass", "The molar mass (`float`)", "float",
    "\n    Unit: g/mol under the amount unit mol, else the unit of mass in force per mole."};

struct Query {
    const char* name;
    const Kind& kind;
    const Fact& fact;
};

constexpr Query queries[] = {
    {"get_index_sc", component, index_fact},
    {"get_name_sc", component, name_fact},
    {"get_name_scs", components, name_fact},
    {"get_mm_sc", component, mm_fact},
    {"get_mm_scs", components, mm_fact},
    {"get_index_ph", phase, index_fact},
    {"get_name_ph", phase, name_fact},
    {"get_name_phs", phases, name_fact},
    {"get_index_pc", constituent, index_fact},
    {"get_name_pc", constituent, name_fact},
    {"get_name_pcs_in_ph", constituents_in_phase, name_fact},
    {"get_name_pcs", constituents, name_fact},
    {"get_mm_pc", constituent, mm_fact},
    {"get_mm_pcs_in_ph", constituents_in_phase, mm_fact},
    {"get_mm_pcs", constituents, mm_fact},
};

std::string description(const Query& query) {
    const Kind& kind = query.kind;
    const Fact& fact = query.fact;
    std::string lines = std::string(fact.title) + " of " + kind.whose + ".\n\n";
    if (*kind.parameters_text != '\0') {
        lines += std::string("Parameters:\n") + kind.parameters_text + '\n';
    }
    lines += "Returns:\n    ";
    lines += kind.order == nullptr ? std::string(fact.value)
                                   : std::string("A new list of `") + fact.type + '`' + kind.order;
    return lines + '.' + fact.remark + "\n\nRaises:\n" + kind.lookup_failures;
}

constexpr const char* get_count_scs_text = R"(Number of system components.

Returns:
    The number (`int`).

Raises:
    TypeError: no data file is loaded.)";

Ref get_count_scs(PyObject*) {
    return count_of_scs();
}

constexpr const char* get_count_phs_text = R"(Number of phases, pure ones included.

Returns:
    The number (`int`).

Raises:
    TypeError: no data file is loaded.)";

Ref get_count_phs(PyObject*) {
    return count_of_phs();
}

constexpr const char* get_count_pcs_in_ph_text = R"(Number of constituents of a phase.

Parameters:
    ph: name or zero-based index of the phase.

Returns:
    The number (`int`).

Raises:
    KeyError: there is no such phase.
    TypeError: no data file is loaded.)";

Ref get_count_pcs_in_ph(PyObject*, PyObject* ph) {
    return count_of_pcs(ph);
}

constexpr const char* get_count_pcs_text = R"(Number of constituents of all phases together.

Returns:
    The number (`int`): the length of every flat list over phase constituents.

Raises:
    TypeError: no data file is loaded.)";

Ref get_count_pcs(PyObject*) {
    const Ref sum = global(names::sum);
    return call(sum, list_over(count_of_phs(), [](const Ref& i_ph) { return count_of_pcs(i_ph); }));
}

constexpr const char* get_name_ph_pcs_text = R"(Names of all phase constituents with their phases.

Returns:
    A new list of tuples (phase name, constituent name), flat: phases in index order and the
    constituents of each in index order.

Raises:
    TypeError: no data file is loaded.)";

Ref get_name_ph_pcs(PyObject*) {
    return list_over_constituents([](const Ref& i_ph, const Ref& i_pc) {
        const Ref name_ph = fact(ph_entry(i_ph), names::name);
        return tuple_of(name_ph, fact(pc_entry(i_ph, i_pc), names::name));
    });
}

constexpr const char* get_model_ph_text = R"(Model of a phase.

Parameters:
    ph: name or zero-based index of the phase.

Returns:
    A member of `SolutionModel`.

Raises:
    KeyError: there is no such phase.
    TypeError: no data file is loaded.)";

Ref get_model_ph(PyObject*, PyObject* ph) {
    return model_of(ph);
}

constexpr const char* get_model_phs_text = R"(Models of all phases.

Returns:
    A new list of members of `SolutionModel`, one per phase in index order.

Raises:
    TypeError: no data file is loaded.)";

Ref get_model_phs(PyObject*) {
    return list_over(count_of_phs(), [](const Ref& i_ph) { return model_of(i_ph); });
}

} // namespace

Ref model_of(Borrowed ph) {
    const Ref models = global(names::SolutionModel);
    return item(models, fact(ph_entry(ph), names::model));
}

std::vector<Method> query_methods() {
    std::vector<Method> methods{
        method<shapes::cls, get_count_scs>("get_count_scs", get_count_scs_text),
        method<shapes::cls, get_count_phs>("get_count_phs", get_count_phs_text),
        method<shapes::cls_ph, get_count_pcs_in_ph>("get_count_pcs_in_ph",
                                                    get_count_pcs_in_ph_text),
        method<shapes::cls, get_count_pcs>("get_count_pcs", get_count_pcs_text),
    };
    for (const Query& query : queries) {
        methods.push_back({query.name, query.kind.parameters, false, query.kind.body,
                           &query.fact.key, description(query)});
    }
    methods.push_back(
        method<shapes::cls, get_name_ph_pcs>("get_name_ph_pcs", get_name_ph_pcs_text));
    methods.push_back(method<shapes::cls_ph, get_model_ph>("get_model_ph", get_model_ph_text));
    methods.push_back(method<shapes::cls, get_model_phs>("get_model_phs", get_model_phs_text));
    return methods;
}

} // namespace tessara::friendly
