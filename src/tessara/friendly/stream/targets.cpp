#include "friendly/library/deprecation.hpp"
#include "friendly/shapes.hpp"
#include "friendly/stream/stream_calculation.hpp"
#include "friendly/system/caches.hpp"

// Targets of calculations with streams. To the library they are conditions on the amount of a
// phase, with two values that are no amounts.

namespace tessara::friendly::stream {

namespace {

constexpr const char* set_target_ph_text = R"(Sets a target on the amount of a phase.

Parameters:
    ph: name or zero-based index of the phase.
    value: 0.0 for formation, -1.0 for precipitation.

Raises:
    KeyError: there is no such phase.
    TypeError: no data file is loaded.
    TessaraError: the library refuses the target.)";

Ref set_target_ph(PyObject*, PyObject* ph, double value) {
    const Ref i_ph = index_of_ph(ph);
    call_operation(names::hxstec, Member{names::ConditionVariable, names::A}, i_ph, number(value));
    return none();
}

std::string target_description(const char* what) {
    return std::string("Sets the target that ") + what + R"(

`calculate_eq_P`, `calculate_eq_V`, `calculate_eq_T` and `calculate_eq_IA` search for it.

Parameters:
    ph: name or zero-based index of the phase.

Raises:
    KeyError: there is no such phase.
    TypeError: no data file is loaded.
    TessaraError: the library refuses the target.)";
}

Ref set_target_formation(PyObject* cls, PyObject* ph) {
    return call_method(cls, names::_set_target_ph, ph, number(0.0));
}

Ref set_target_precipitation(PyObject* cls, PyObject* ph) {
    return call_method(cls, names::_set_target_ph, ph, number(-1.0));
}

Ref forward(const Name& successor, PyObject* cls, PyObject* ph) {
    warn_of_former_name(successor);
    return call_method(cls, successor, ph);
}

Method former(const char* name, const Name& successor) {
    return method<shapes::cls_ph, forward>(name, former_name_description(successor), &successor);
}

} // namespace

std::vector<Method> target_methods() {
    return {
        method<shapes::cls_ph_value, set_target_ph>("_set_target_ph", set_target_ph_text),
        method<shapes::cls_ph, set_target_formation>("set_target_formation_of_ph",
                                                     target_description("a phase just forms.")),
        method<shapes::cls_ph, set_target_precipitation>(
            "set_target_precipitation_from_ph",
            target_description("another phase just precipitates from a phase.")),
        former("set_tg_formation_of_ph", names::set_target_formation_of_ph),
        former("set_tg_precipitation_from_ph", names::set_target_precipitation_from_ph),
    };
}

} // namespace tessara::friendly::stream
