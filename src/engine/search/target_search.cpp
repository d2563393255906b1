#include "engine/search/target_search.hpp"

#include "engine/search/phase_map.hpp"
#include "engine/search/root_search.hpp"
#include "engine/text/text.hpp"

#include <algorithm>
#include <cmath>

namespace tessara {
namespace {

/// The first step from a guess, as far as states change little as a rule.
double first_step(Path::Variable variable, double guess) {
    return variable == Path::Variable::Temperature ? 0.02 * guess
           : variable == Path::Variable::Amounts   ? 0.02
                                                   : 0.2;
}

constexpr int PartsBetween = 24;
/// Windows that are searched for a change of phases, one after the other, from a guess outward.
constexpr double WindowGrowth = 2.0;
constexpr int MostWindows = 60;

/// The changes wanted between two points.
std::vector<PathState> changes_between(PathSolver& solver, const Requirement& requirement,
                                       double low, double high) {
    std::vector<PathState> found;
    const PhaseMap map(solver, low, high);
    for (const Transition& transition : map.transitions()) {
        switch (requirement.limit_wanted(transition)) {
        case Requirement::Limit::Below:
            found.push_back(transition.below);
            break;
        case Requirement::Limit::Above:
            found.push_back(transition.above);
            break;
        case Requirement::Limit::None:
            break;
        }
    }
    return found;
}

std::optional<PathState> change_near(PathSolver& solver, const Requirement& requirement,
                                     double guess) {
    const Path::Variable variable = solver.path().variable();
    const Reach reach = reach_of(variable);
    guess = std::clamp(guess, reach.low, reach.high);
    double inner = 0.0;
    double outer = first_step(variable, guess);
    for (int k = 0; k < MostWindows; ++k) {
        std::optional<PathState> nearest;
        for (const double direction : {1.0, -1.0}) {
            // The first window reaches over the guess, so that a change at it is within.
            const double from = guess + direction * (k == 0 ? -1e-3 * outer : 0.999 * inner);
            double low = std::clamp(from, reach.low, reach.high);
            double high = std::clamp(guess + direction * outer, reach.low, reach.high);
            if (low > high) {
                std::swap(low, high);
            }
            if (high - low <= 1e-12 * std::abs(high)) {
                continue;
            }
            try {
                for (PathState& state : changes_between(solver, requirement, low, high)) {
                    if (!nearest ||
                        std::abs(state.point - guess) < std::abs(nearest->point - guess)) {
                        nearest = std::move(state);
                    }
                }
            } catch (const SolveError&) {
                continue; // beyond what the data reach
            }
        }
        if (nearest) {
            return nearest;
        }
        inner = outer;
        outer *= WindowGrowth;
        if (guess - inner <= reach.low && guess + inner >= reach.high) {
            break;
        }
    }
    return std::nullopt;
}

std::string searched(PathSolver& solver, const SearchRange& range) {
    const Path& path = solver.path();
    const Reach reach = reach_of(path.variable());
    if (range.guess) {
        return "between " + path.text(reach.low) + " and " + path.text(reach.high) +
               ", outward from " + path.text(path.point(*range.guess));
    }
    return "between " + path.text(path.point(range.low)) + " and " +
           path.text(path.point(range.high));
}

[[noreturn]] void fail(PathSolver& solver, const SearchRange& range, const std::string& description,
                       const std::string& miss) {
    throw SolveError("no state meets " + description + " " + searched(solver, range) + miss);
}

} // namespace

PathState find_target(PathSolver& solver, Requirement requirement, const SearchRange& range,
                      const std::string& description) {
    Path& path = solver.path();
    const double low = path.point(std::min(range.low, range.high));
    const double high = path.point(std::max(range.low, range.high));
    if (requirement.is_transition()) {
        std::optional<PathState> found;
        if (range.guess) {
            found = change_near(solver, requirement, path.point(*range.guess));
        } else {
            const std::vector<PathState> changes = changes_between(solver, requirement, low, high);
            if (!changes.empty()) {
                found = changes.front();
            }
        }
        if (!found) {
            fail(solver, range, description, "");
        }
        return std::move(*found);
    }
    solver.set_measure([&](const Equilibrium& equilibrium, const TemperatureTerms& at) {
        return requirement.measure(equilibrium, at);
    });
    std::optional<PathState> nearest;
    std::optional<SignChange> change;
    if (range.guess) {
        const double guess = path.point(*range.guess);
        const double step = first_step(path.variable(), guess);
        const Reach reach = reach_of(path.variable());
        if (path.variable() == Path::Variable::Temperature && path.is_closed_at_given_pressure() &&
            requirement.rises_with_temperature()) {
            change = search_along_slope(solver, guess, step, reach, nearest);
        }
        // Data beyond their range may not know that heat capacities are positive.
        if (!change) {
            change = search_outward(solver, guess, step, reach, nearest);
        }
    } else {
        change = search_between(solver, low, high, PartsBetween, nearest);
    }
    std::optional<PathState> found;
    if (change) {
        found = find_zero(solver, std::move(*change));
    }
    solver.set_measure(nullptr);
    if (!found) {
        fail(solver, range, description,
             nearest ? "; nearest is " + number_text(requirement.value_at(nearest->measure)) +
                           " at " + path.text(nearest->point)
                     : "; " + std::string(solver.last_failure().what()));
    }
    return std::move(*found);
}

} // namespace tessara
