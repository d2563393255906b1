#pragma once

#include "engine/search/path_solver.hpp"
#include "engine/search/requirement.hpp"

#include <optional>
#include <utility>

namespace tessara {

/// Where a search begins: at a guess, going outward, or between two ends. In K, Pa or m^3, or as a
/// share of the way of incoming amounts.
struct SearchRange {
    std::optional<double> guess;
    double low = 0.0;
    double high = 1.0;
};

/// The state on the path that meets the requirement, exact to rounding. Of several the one nearest
/// to the guess; between two ends the lowest. Throws `SolveError` with the requirement (as
/// `description` puts it), the range searched and the nearest miss.
PathState find_target(PathSolver& solver, Requirement requirement, const SearchRange& range,
                      const std::string& description);

} // namespace tessara
