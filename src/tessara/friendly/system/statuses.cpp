#include "friendly/documentation.hpp"
#include "friendly/shapes.hpp"
#include "friendly/system/thermochemical_system.hpp"
#include "friendly/system/walks.hpp"

// How phases and constituents take part in a calculation. The library holds that and is asked at
// each call; which statuses it takes is its own matter.

namespace tessara::friendly {

namespace {

Ref get_status_ph(PyObject*, PyObject* ph) {
    const Ref i_ph = index_of_ph(ph);
    return call_operation(names::hxgsp, i_ph);
}

Ref get_status_phs(PyObject*) {
    return list_over(count_of_phs(),
                     [](const Ref& i_ph) { return call_operation(names::hxgsp, i_ph); });
}

Ref get_status_pc(PyObject*, PyObject* ph, PyObject* pc) {
    const Ref i_ph = index_of_ph(ph);
    const Ref i_pc = index_of_pc(ph, pc);
    return call_operation(names::hxgspc, i_ph, i_pc);
}

Ref get_status_pcs_in_ph(PyObject*, PyObject* ph) {
    const Ref i_ph = index_of_ph(ph);
    return list_over(count_of_pcs(i_ph),
                     [&](const Ref& i_pc) { return call_operation(names::hxgspc, i_ph, i_pc); });
}

Ref get_status_pcs(PyObject*) {
    return list_over_constituents(
        [](const Ref& i_ph, const Ref& i_pc) { return call_operation(names::hxgspc, i_ph, i_pc); });
}

Ref set_status_ph(PyObject*, PyObject* ph, PyObject* status) {
    const Ref i_ph = index_of_ph(ph);
    call_operation(names::hxcsp, i_ph, status);
    return none();
}

Ref set_status_phs(PyObject*, PyObject* status) {
    for (const Ref& i_ph : IndexRange(count_of_phs())) {
        call_operation(names::hxcsp, i_ph, status);
    }
    return none();
}

Ref set_status_pc(PyObject*, PyObject* ph, PyObject* pc, PyObject* status) {
    const Ref i_ph = index_of_ph(ph);
    const Ref i_pc = index_of_pc(ph, pc);
    call_operation(names::hxcspc, i_ph, i_pc, status);
    return none();
}

Ref set_status_pcs_in_ph(PyObject*, PyObject* ph, PyObject* status) {
    const Ref i_ph = index_of_ph(ph);
    for (const Ref& i_pc : IndexRange(count_of_pcs(i_ph))) {
        call_operation(names::hxcspc, i_ph, i_pc, status);
    }
    return none();
}

/// The odd one: it hands the status to the operation that reads one. Programs that run through it
/// rely on nothing being changed.
Ref set_status_pcs(PyObject*, PyObject* status) {
    for_each_constituent([status](const Ref& i_ph, const Ref& i_pc) {
        call_operation(names::hxgspc, i_ph, i_pc, status);
    });
    return none();
}

std::string getter_description(const char* whose, const char* parameters, const char* result,
                               const char* failures) {
    return std::string("Status of ") + whose + ", as the library holds it now.\n\n" +
           (*parameters != '\0' ? std::string("Parameters:\n") + parameters + '\n' : "") +
           "Returns:\n    " + result + ".\n\nRaises:\n" + failures +
           "    TessaraError: the library refuses the question.";
}

constexpr const char* phase_status = "    status: member of `Status`.\n";
constexpr const char* constituent_status =
    "    status: ENTERED, DORMANT or ELIMINATE of `Status`.\n";

std::string setter_description(const char* whose, const char* parameters, const char* status,
                               const char* failures) {
    return std::string("Sets the status of ") + whose + ".\n\nParameters:\n" + parameters + status +
           "\nRaises:\n" + failures +
           "    TessaraError: the library refuses the status; what came before keeps its new one.";
}

constexpr const char* set_status_pcs_text =
    R"(Walks all phase constituents without changing their statuses.

The walk asks the library for each status and hands it `status` along, which the library may refuse.
To set the statuses of all constituents, use `set_status_pcs_in_ph` for each phase.

Parameters:
    status: ENTERED, DORMANT or ELIMINATE of `Status`.

Raises:
    TypeError: no data file is loaded.
    TessaraError, TypeError: the library refuses the question.)";

} // namespace

std::vector<Method> status_methods() {
    return {
        method<shapes::cls_ph, get_status_ph>(
            "get_status_ph",
            getter_description("a phase", words::ph, "A member of `Status`", words::no_phase)),
        method<shapes::cls, get_status_phs>(
            "get_status_phs",
            getter_description("all phases", "",
                               "A new list of members of `Status`, one per phase in index order",
                               words::nothing_loaded)),
        method<shapes::cls_ph_pc, get_status_pc>(
            "get_status_pc", getter_description("a phase constituent", words::ph_pc,
                                                "A member of `Status`", words::no_constituent)),
        method<shapes::cls_ph, get_status_pcs_in_ph>(
            "get_status_pcs_in_ph",
            getter_description("all constituents of a phase", words::ph,
                               "A new list of members of `Status`, one per constituent of the "
                               "phase in index\n    order",
                               words::no_phase)),
        method<shapes::cls, get_status_pcs>(
            "get_status_pcs",
            getter_description("all phase constituents", "",
                               "A new list of members of `Status`, flat: phases in index order and "
                               "the constituents\n    of each in index order",
                               words::nothing_loaded)),
        method<shapes::cls_ph_status, set_status_ph>(
            "set_status_ph",
            setter_description("a phase", words::ph, phase_status, words::no_phase)),
        method<shapes::cls_status, set_status_phs>(
            "set_status_phs",
            setter_description("all phases", "", phase_status, words::nothing_loaded)),
        method<shapes::cls_ph_pc_status, set_status_pc>(
            "set_status_pc", setter_description("a phase constituent", words::ph_pc,
                                                constituent_status, words::no_constituent)),
        method<shapes::cls_ph_status, set_status_pcs_in_ph>(
            "set_status_pcs_in_ph", setter_description("all constituents of a phase", words::ph,
                                                       constituent_status, words::no_phase)),
        method<shapes::cls_status, set_status_pcs>("set_status_pcs", set_status_pcs_text),
    };
}

} // namespace tessara::friendly
