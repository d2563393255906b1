#pragma once

#include "friendly/class_definition.hpp"

namespace tessara::friendly::stream {

/// The class `StreamCalculation`.
ClassDefinition stream_calculation();

/// The class itself, for the method of it that says `super()`.
ClassCell& cell();

// Its methods, by subject.
std::vector<Method> management_methods();
std::vector<Method> condition_methods();
std::vector<Method> target_methods();
std::vector<Method> solving_methods();
std::vector<Method> result_methods();

} // namespace tessara::friendly::stream
