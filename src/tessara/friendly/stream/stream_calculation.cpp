#include "friendly/stream/stream_calculation.hpp"

#include "friendly/library/binding.hpp"

namespace tessara::friendly::stream {

ClassCell& cell() {
    static ClassCell* const instance = new ClassCell; // NOLINT(cppcoreguidelines-owning-memory)
    return *instance;
}

ClassDefinition stream_calculation() {
    ClassDefinition definition{
        "StreamCalculation",
        "EquilibriumCalculationBase",
        nullptr,
        {{"result_type", [] { return global(names::StreamCalculationResult); }},
         {"streams", new_dict}},
        {},
        &cell()};
    for (const auto& methods :
         {management_methods, condition_methods, target_methods, solving_methods, result_methods}) {
        definition.add(methods());
    }
    return definition;
}

} // namespace tessara::friendly::stream
