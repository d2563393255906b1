#include "friendly/calculation/calculation.hpp"
#include "friendly/library/binding.hpp"

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

} // namespace

ClassDefinition phase_map_calculation() {
    return {"PhaseMapCalculation",
            "AbsoluteEquilibriumCalculationBase",
            nullptr,
            {{"IA_range", make_IA_range}},
            {}};
}

} // namespace tessara::friendly::calculation
