#pragma once

#include "engine/listing/input_listing.hpp"
#include "engine/results/results.hpp"

#include <iosfwd>

namespace tessara {

/// Writes the tables of a result: state, conditions, phases with their constituents, absent phases,
/// components, totals, and the check that comes with the result.
void list_results(std::ostream& out, const Inputs& inputs, Results& results);

} // namespace tessara
