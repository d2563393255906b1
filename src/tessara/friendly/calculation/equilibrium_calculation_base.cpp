#include "friendly/calculation/calculation.hpp"

#include "friendly/library/binding.hpp"

namespace tessara::friendly::calculation {

namespace {

constexpr const char* documentation =
    R"(Abstract static class: what all equilibrium calculations share.

Base functionality of all equilibrium calculation classes: conditions on the system and on phases,
the time that a calculation takes, captured listings, and results. Use `EquilibriumCalculation`,
`PhaseMapCalculation` or `StreamCalculation`. All methods are class methods.)";

} // namespace

ClassDefinition equilibrium_calculation_base() {
    ClassDefinition definition{
        "EquilibriumCalculationBase",
        nullptr,
        documentation,
        {{"result_type", [] { return global(names::EquilibriumCalculationResult); }},
         {"t_start", none},
         {"t_end", none},
         {"dt", none}},
        {}};
    for (const auto& methods : {condition_methods, frame_methods, result_methods,
                                result_state_methods, result_object_methods}) {
        definition.add(methods());
    }
    return definition;
}

} // namespace tessara::friendly::calculation
