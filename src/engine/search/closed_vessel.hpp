#pragma once

#include "engine/search/path_solver.hpp"

namespace tessara {

/// The equilibrium in a closed vessel: at the pressure at which the volume is that of the request.
/// The search begins at the pressure of the request. Throws `SolveError`, also where the system has
/// no gas.
Equilibrium solve_closed_vessel(Solver& solver, const StateRequest& request,
                                const Checkpoint& checkpoint);

} // namespace tessara
