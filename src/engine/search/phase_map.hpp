#pragma once

#include "engine/search/path_solver.hpp"

#include <vector>

namespace tessara {

/// The changes of phases along a path, in ascending order.
///
/// Between two states with the same phases, each absent phase's driving force is bounded by the
/// cubic through values and slopes at both ends, and each present phase's amount likewise; while a
/// cubic comes near to zero between the ends the step is halved. So windows in which a phase forms
/// and vanishes again are found down to a millionth of the path.
class PhaseMap {
public:
    PhaseMap(PathSolver& solver, double low, double high);

    const PathState& low() const { return low_; }
    const PathState& high() const { return high_; }
    /// Those strictly between the ends.
    const std::vector<Transition>& transitions() const { return transitions_; }

private:
    /// A state with the slopes of forces and amounts along the path; nan where there are none.
    struct Sample {
        PathState state;
        std::vector<double> slopes; ///< phase after phase: driving force if absent, else amount
    };

    Sample sample(PathState state, double towards);
    void scan(const Sample& from, const Sample& to);
    bool may_hide(const Sample& from, const Sample& to) const;

    PathSolver* solver_;
    PathState low_;
    PathState high_;
    double range_ = 0.0;
    std::vector<Transition> transitions_;
};

} // namespace tessara
