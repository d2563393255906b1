#include "friendly/stream/stream_calculation.hpp"

#include "friendly/library/binding.hpp"

namespace tessara::friendly {

ClassDefinition stream_calculation() {
    return {"StreamCalculation",
            "EquilibriumCalculationBase",
            nullptr,
            {{"result_type", [] { return global(names::StreamCalculationResult); }},
             {"streams", new_dict}},
            {}};
}

} // namespace tessara::friendly
