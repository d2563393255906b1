#pragma once

#include "engine/equilibrium/solver.hpp"
#include "engine/search/path.hpp"

#include <functional>
#include <optional>
#include <vector>

namespace tessara {

/// Asked between the steps of long searches; ends them by an exception.
using Checkpoint = std::function<void()>;

/// What a search looks at in a state: a number that is zero where the state is the one wanted.
using Measure = std::function<double(const Equilibrium&, const TemperatureTerms&)>;

/// The equilibrium at one point of a path.
struct PathState {
    double point = 0.0;
    Equilibrium equilibrium;
    /// The phases that are present, in order; one that unmixes stands as often as it has
    /// compositions.
    std::vector<std::size_t> present;
    Solver::Snapshot start;
    double measure = 0.0; ///< 0 where nothing is measured

    bool has(std::size_t phase) const;
};

/// Finds equilibria along a path. Each starts from the one before, and each that `solve` gives has
/// passed its check.
class PathSolver {
public:
    PathSolver(Solver& solver, Path path, Checkpoint checkpoint);

    Path& path() { return path_; }
    /// What is measured from now on.
    void set_measure(Measure measure) { measure_ = std::move(measure); }

    /// The equilibrium at a point, begun from a state nearby where one is given. Throws
    /// `SolveError`.
    PathState solve(double point, const PathState* from = nullptr);
    /// The state at a point that has the phases of another, whatever else would form; nothing where
    /// there is none. In a closed vessel there is none: its pressure has no branch of its own.
    std::optional<PathState> follow(const PathState& from, double point);
    /// As `solve`; nothing where there is no equilibrium.
    std::optional<PathState> attempt(double point, const PathState* from = nullptr);

    const SolveError& last_failure() const { return last_failure_; }

private:
    PathState taken(double point, const Equilibrium& equilibrium);

    Solver* solver_;
    Path path_;
    Checkpoint checkpoint_;
    Measure measure_;
    SolveError last_failure_{""};
};

/// Where the phases change.
struct Transition {
    double point = 0.0;
    PathState below; ///< the limit from the lower end
    PathState above; ///< the limit from the upper end
};

/// The first transition between two states whose phases differ, solved for: on the branch of one
/// set of phases, where the driving force of a phase that joins or leaves is zero. Nothing where
/// neither branch leads there; the states are to be brought nearer then.
std::optional<Transition> locate(PathSolver& solver, const PathState& lower,
                                 const PathState& upper);

/// The mixture of two states at one point, both of lowest Gibbs energy there: its amounts and its
/// open potentials are between theirs, a share of the way from the first to the second.
Equilibrium mixed(const Equilibrium& first, const Equilibrium& second, double share);

} // namespace tessara
