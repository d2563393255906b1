#pragma once

#include "friendly/class_definition.hpp"

namespace tessara::friendly::information {

/// The class `Info`.
ClassDefinition info();

/// The class `Units`.
ClassDefinition units();

} // namespace tessara::friendly::information
