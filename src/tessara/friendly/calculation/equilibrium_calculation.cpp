#include "friendly/calculation/calculation.hpp"

namespace tessara::friendly::calculation {

ClassDefinition equilibrium_calculation() {
    ClassDefinition definition{"EquilibriumCalculation",
                               "AbsoluteEquilibriumCalculationBase",
                               R"(Static class: normal equilibrium calculations.

Equilibria without streams and without phase maps, under given conditions or in search of the
pressure, volume, temperature or incoming amounts at which a target is met. All methods are class
methods, and the class need not be instantiated.)",
                               {},
                               target_methods()};
    definition.add(solving_methods());
    definition.add(incoming_amount_search_methods());
    return definition;
}

} // namespace tessara::friendly::calculation
