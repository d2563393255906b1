#pragma once

#include "friendly/class_definition.hpp"

namespace tessara::friendly::calculation {

// The classes, each in a file of its name.
ClassDefinition equilibrium_calculation_base();
ClassDefinition absolute_equilibrium_calculation_base();
ClassDefinition equilibrium_calculation();
ClassDefinition phase_map_calculation();

// The methods of `EquilibriumCalculationBase`, by subject.
std::vector<Method> condition_methods();
std::vector<Method> frame_methods();
std::vector<Method> result_methods();

/// The methods of `EquilibriumCalculation` that solve.
std::vector<Method> solving_methods();

/// In an index place of the library: no phase, or no component and no constituent.
inline constexpr long NoIndex = -1;

// The listing capture, which every calculation that prints shares.

/// Where a capture goes, and where listings went before.
struct Capture {
    Ref file_name;
    Ref old_list_number;
};

/// `cls._list_to_file()`
Capture begin_capture(PyObject* cls);

/// `cls._list_back(...)`: the text captured.
Ref end_capture(PyObject* cls, const Capture& capture);

} // namespace tessara::friendly::calculation
