#include "engine/search/path_solver.hpp"

#include "engine/search/closed_vessel.hpp"
#include "engine/search/root.hpp"
#include "engine/units/constants.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

namespace tessara {
namespace {

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();
/// Driving force, in R T, above which a phase would form beside those of a branch.
constexpr double JoinsAbove = 1e-9;
/// How far beyond a transition, as a share of the way to the upper state, its phases are looked
/// for.
constexpr double Beyond[] = {1e-9, 1e-7, 1e-5, 1e-3};
constexpr int MostHalvings = 40;
/// A number for driving forces that are further below zero, or of what does not exist.
constexpr double LeastForce = -1e3;

std::vector<std::size_t> present_phases(const Equilibrium& equilibrium) {
    std::vector<std::size_t> present;
    for (std::size_t i = 0; i < equilibrium.phases.size(); ++i) {
        if (equilibrium.phases[i].amount > 0.0) {
            present.push_back(i);
        }
    }
    for (const std::size_t folded : equilibrium.folded) {
        std::size_t sets = 0;
        for (const CompositionSet& set : equilibrium.sets) {
            sets += set.phase == folded ? 1 : 0;
        }
        present.insert(present.end(), sets - 1, folded);
    }
    std::sort(present.begin(), present.end());
    return present;
}

/// The phases of one state that are not in another.
std::vector<std::size_t> only_in(const PathState& one, const PathState& other) {
    std::vector<std::size_t> phases;
    std::set_difference(one.present.begin(), one.present.end(), other.present.begin(),
                        other.present.end(), std::back_inserter(phases));
    return phases;
}

/// Greatest driving force of some phases that are absent, or of further compositions of those that
/// are present; nan where it is open.
double greatest_force(const PathState& state, const std::vector<std::size_t>& phases) {
    if (!state.equilibrium.open_combinations.empty()) {
        return NaN;
    }
    double force = -std::numeric_limits<double>::infinity();
    for (const std::size_t i : phases) {
        const PhaseResult& phase = state.equilibrium.phases[i];
        force = std::max(force, phase.amount > 0.0 ? phase.force_of_further : phase.driving_force);
    }
    return std::max(force, LeastForce);
}

/// Whether no phase would form beside those of a state on a branch.
bool holds(const PathState& state) {
    for (const PhaseResult& phase : state.equilibrium.phases) {
        if (phase.can_form && !phase.dormant && phase.driving_force > JoinsAbove) {
            return false;
        }
    }
    return true;
}

/// The state on a branch at which some absent phases just form or have just left. `from` is on the
/// branch, where they are absent; at `towards` they are present.
std::optional<PathState> just_formed(PathSolver& solver, const PathState& from, double towards,
                                     const std::vector<std::size_t>& phases) {
    double inside_force = greatest_force(from, phases);
    if (phases.empty() || !(inside_force < 0.0)) {
        return std::nullopt;
    }
    PathState inside = from;
    // A point of the branch behind the transition, which may not reach as far as the other state.
    std::optional<PathState> behind;
    double step = towards - from.point;
    for (int k = 0; k < MostHalvings && !behind; ++k, step *= 0.5) {
        std::optional<PathState> next = solver.follow(inside, inside.point + step);
        if (!next || next->present != from.present) {
            continue;
        }
        const double force = greatest_force(*next, phases);
        if (force >= 0.0) {
            behind = std::move(next);
        } else if (force < 0.0) {
            inside = std::move(*next);
            inside_force = force;
            step = towards - inside.point; // halved below
        } else {
            return std::nullopt;
        }
    }
    if (!behind) {
        return std::nullopt;
    }
    Bracket bracket{inside.point, inside_force, behind->point, greatest_force(*behind, phases)};
    PathState best =
        std::abs(inside_force) < std::abs(greatest_force(*behind, phases)) ? inside : *behind;
    while (bracket.is_open()) {
        const double point = bracket.next();
        std::optional<PathState> state = solver.follow(best, point);
        if (!state || state->present != from.present) {
            return std::nullopt;
        }
        const double force = greatest_force(*state, phases);
        if (std::isnan(force)) {
            return std::nullopt;
        }
        if (std::abs(force) <= std::abs(greatest_force(best, phases))) {
            best = *state;
        }
        bracket.take(point, force);
    }
    return best;
}

/// Over R T, of the constituents of phases that are present in a mixture of two states.
double largest_difference_of_potentials(const Equilibrium& first, const Equilibrium& second,
                                        const Equilibrium& mixture) {
    double largest = 0.0;
    for (std::size_t i = 0; i < mixture.phases.size(); ++i) {
        for (std::size_t c = 0; c < mixture.constituent_potentials[i].size(); ++c) {
            const double difference =
                first.constituent_potentials[i][c] - second.constituent_potentials[i][c];
            // Those that one state leaves open are as the other has them.
            if (mixture.phases[i].amount > 0.0 && std::isfinite(difference)) {
                largest = std::max(largest, std::abs(difference));
            }
        }
    }
    return largest / (GasConstant * mixture.t);
}

} // namespace

bool PathState::has(std::size_t phase) const {
    return equilibrium.phases[phase].amount > 0.0;
}

PathSolver::PathSolver(Solver& solver, Path path, Checkpoint checkpoint)
    : solver_(&solver), path_(std::move(path)), checkpoint_(std::move(checkpoint)) {}

PathState PathSolver::taken(double point, const Equilibrium& equilibrium) {
    PathState state{point, equilibrium, present_phases(equilibrium), solver_->snapshot(), 0.0};
    if (measure_) {
        state.measure = measure_(equilibrium, solver_->terms());
    }
    return state;
}

PathState PathSolver::solve(double point, const PathState* from) {
    if (checkpoint_) {
        checkpoint_();
    }
    const StateRequest& request = path_.at(point);
    const bool warm = from != nullptr && solver_->start_from(from->start);
    const Solver::Start start = warm ? Solver::Start::Warm : Solver::Start::Cold;
    if (request.volume) {
        StateRequest inner = request;
        if (from != nullptr) {
            inner.conditions.p = from->equilibrium.p;
        }
        return taken(point, solve_closed_vessel(*solver_, inner, checkpoint_));
    }
    return taken(point, solver_->solve(request.conditions, start));
}

std::optional<PathState> PathSolver::attempt(double point, const PathState* from) {
    try {
        return solve(point, from);
    } catch (const SolveError& error) {
        last_failure_ = error;
        return std::nullopt;
    }
}

std::optional<PathState> PathSolver::follow(const PathState& from, double point) {
    if (checkpoint_) {
        checkpoint_();
    }
    const StateRequest& request = path_.at(point);
    if (request.volume || !solver_->start_from(from.start)) {
        return std::nullopt;
    }
    try {
        const Equilibrium* found = solver_->follow(request.conditions);
        if (found != nullptr) {
            return taken(point, *found);
        }
    } catch (const SolveError& error) {
        last_failure_ = error;
    }
    return std::nullopt;
}

std::optional<Transition> locate(PathSolver& solver, const PathState& lower,
                                 const PathState& upper) {
    const std::vector<std::size_t> appearing = only_in(upper, lower);
    const std::vector<std::size_t> leaving = only_in(lower, upper);
    std::optional<PathState> at = just_formed(solver, lower, upper.point, appearing);
    if (at && holds(*at)) {
        // What is there beyond it is looked for a little further on, and followed back.
        for (const double share : Beyond) {
            const double point = at->point + share * (upper.point - at->point);
            const std::optional<PathState> next = solver.attempt(point, &upper);
            if (!next || next->present == lower.present) {
                continue;
            }
            std::optional<PathState> above = solver.follow(*next, at->point);
            if (above && above->present == next->present) {
                return Transition{at->point, std::move(*at), std::move(*above)};
            }
            PathState near = *next;
            return Transition{at->point, std::move(*at), std::move(near)};
        }
        return std::nullopt;
    }
    at = just_formed(solver, upper, lower.point, leaving);
    if (at && holds(*at)) {
        for (const double share : Beyond) {
            const double point = at->point - share * (at->point - lower.point);
            const std::optional<PathState> next = solver.attempt(point, &lower);
            if (!next || next->present == upper.present) {
                continue;
            }
            if (next->present != lower.present) {
                return std::nullopt; // there is another transition before this one
            }
            std::optional<PathState> below = solver.follow(*next, at->point);
            if (below && below->present == next->present) {
                return Transition{at->point, std::move(*below), std::move(*at)};
            }
            PathState near = *next;
            return Transition{at->point, std::move(near), std::move(*at)};
        }
    }
    return std::nullopt;
}

Equilibrium mixed(const Equilibrium& first, const Equilibrium& second, double share) {
    Equilibrium result = share < 0.5 ? first : second;
    const auto between = [share](double a, double b) { return a + share * (b - a); };
    for (std::size_t i = 0; i < result.phases.size(); ++i) {
        const PhaseResult& a = first.phases[i];
        const PhaseResult& b = second.phases[i];
        const double amount = (1.0 - share) * a.amount + share * b.amount;
        result.phases[i] = a.amount > 0.0 && (b.amount <= 0.0 || share < 0.5) ? a : b;
        result.phases[i].amount = amount;
        if (amount > 0.0) {
            result.phases[i].driving_force = 0.0;
        }
    }
    result.sets.clear();
    const auto take_sets = [&](const Equilibrium& from, double weight) {
        for (const CompositionSet& set : from.sets) {
            result.sets.push_back(set);
            result.sets.back().amount *= weight;
        }
    };
    // Sets apart are told of one state where both have them.
    if (!first.sets.empty() && second.sets.empty()) {
        take_sets(first, 1.0 - share);
    } else if (first.sets.empty() && !second.sets.empty()) {
        take_sets(second, share);
    } else if (first.sets.size() == second.sets.size()) {
        take_sets(first, 1.0);
        for (std::size_t k = 0; k < result.sets.size(); ++k) {
            result.sets[k].amount = between(first.sets[k].amount, second.sets[k].amount);
        }
    } else {
        take_sets(first, 1.0 - share);
        take_sets(second, share);
    }
    for (std::size_t j = 0; j < result.amounts.size(); ++j) {
        result.amounts[j] = between(first.amounts[j], second.amounts[j]);
    }
    Certificate& certificate = result.certificate;
    certificate.balance = std::max(first.certificate.balance, second.certificate.balance);
    // Phases of one state stand beside potentials of the other.
    certificate.potential = std::max({first.certificate.potential, second.certificate.potential,
                                      largest_difference_of_potentials(first, second, result)});
    certificate.driving_force =
        std::max(first.certificate.driving_force, second.certificate.driving_force);
    return result;
}

} // namespace tessara
