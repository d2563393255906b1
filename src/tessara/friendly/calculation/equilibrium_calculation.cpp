#include "friendly/calculation/calculation.hpp"

namespace tessara::friendly::calculation {

ClassDefinition equilibrium_calculation() {
    return {"EquilibriumCalculation",
            "AbsoluteEquilibriumCalculationBase",
            R"(Static class: normal equilibrium calculations.

Equilibria without streams and without phase maps, under given conditions or in search of the
pressure, volume or temperature at which a target is met. All methods are class methods, and the class
need not be instantiated.)",
            {},
            solving_methods()};
}

} // namespace tessara::friendly::calculation
