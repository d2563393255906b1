#pragma once

#include "friendly/class_definition.hpp"

namespace tessara::friendly {

/// The class `StreamCalculation`.
ClassDefinition stream_calculation();

} // namespace tessara::friendly
