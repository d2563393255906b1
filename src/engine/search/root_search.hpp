#pragma once

#include "engine/search/path_solver.hpp"

namespace tessara {

/// Two states of a path between which what is measured changes its sign.
struct SignChange {
    PathState one;
    PathState other;
};

/// A state at which what is measured is zero, between two of different signs. Where it jumps past
/// zero at a change of phases, the mixture of the two limits that has it zero: the temperature of
/// the change is solved for, and the amounts follow from the balance. Nothing where it jumps for
/// any other reason. `shared` is what is mixed where that is not the measure itself: a sum over the
/// phases that is zero at the same state.
std::optional<PathState> find_zero(PathSolver& solver, SignChange between,
                                   const std::function<double(const PathState&)>& shared = nullptr);

/// The largest part of a path that is searched.
struct Reach {
    double low;
    double high;
};

/// The farthest that a search goes along a variable, as points of its path: pressures down to
/// 1e-300 bar, and up to where no gas is ideal any more.
Reach reach_of(Path::Variable variable);

/// Goes from a guess to both sides until what is measured changes its sign. Of several places
/// where it does the one nearest to the guess; `nearest` is the state seen that came nearest to
/// zero.
std::optional<SignChange> search_outward(PathSolver& solver, double guess, double step,
                                         const Reach& reach, std::optional<PathState>& nearest);

/// The same for what rises all along the path: goes to that side alone on which it is zero, as far
/// as its slope says.
std::optional<SignChange> search_along_slope(PathSolver& solver, double guess, double step,
                                             const Reach& reach, std::optional<PathState>& nearest);

/// Looks for a change of sign between two ends, the lowest there is.
std::optional<SignChange> search_between(PathSolver& solver, double low, double high, int parts,
                                         std::optional<PathState>& nearest);

} // namespace tessara
