#include "engine/search/root_search.hpp"

#include "engine/search/root.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

namespace tessara {
namespace {

/// Steps outward, each longer than the one before by this factor.
constexpr double Growth = 1.6;
constexpr int MostOutwardSteps = 200;
/// Along a slope: how far behind the zero that it points to the next step ends, and how much
/// longer or shorter than the one before.
constexpr double Overshoot = 0.05;
constexpr double ShortestStep = 0.1;
constexpr double LongestStep = 20.0;
/// Steps that fail are shortened so often before the end of the path is taken to be reached.
constexpr int MostShortenings = 12;
constexpr int MostRounds = 300;
/// Halvings that look for a pair of zeros where what is measured turns back before zero.
constexpr int MostTurnSteps = 40;

bool is_known(const PathState& state) {
    return !std::isnan(state.measure);
}

bool differ(const PathState& one, const PathState& other) {
    return is_known(one) && is_known(other) && (one.measure > 0.0) != (other.measure > 0.0);
}

void note(const PathState& state, std::optional<PathState>& nearest) {
    if (is_known(state) && (!nearest || std::abs(state.measure) < std::abs(nearest->measure))) {
        nearest = state;
    }
}

bool adjacent(double a, double b) {
    return std::abs(a - b) <=
           4.0 * std::numeric_limits<double>::epsilon() * std::max(std::abs(a), std::abs(b));
}

/// The zero between two states with the same phases. Where other phases turn up on the way the
/// interval is narrowed instead, and nothing is handed out.
std::optional<PathState> smooth_zero(PathSolver& solver, PathState& one, PathState& other) {
    Bracket bracket{one.point, one.measure, other.point, other.measure};
    while (bracket.is_open()) {
        const bool near_one =
            std::abs(bracket.last() - one.point) <= std::abs(bracket.last() - other.point);
        const double point = bracket.next();
        PathState state = solver.solve(point, near_one ? &one : &other);
        if (!is_known(state)) {
            return std::nullopt;
        }
        bracket.take(point, state.measure);
        const bool same = state.present == one.present;
        (differ(state, one) ? other : one) = std::move(state);
        if (!same || one.present != other.present) {
            return std::nullopt;
        }
    }
    return std::abs(one.measure) <= std::abs(other.measure) ? one : other;
}

/// Brings two states with different phases nearer to each other, by way of the first change of
/// phases between them where that can be solved for, else by halving. False where both are limits
/// at one change.
bool narrow(PathSolver& solver, PathState& one, PathState& other) {
    PathState& lower = one.point < other.point ? one : other;
    PathState& upper = one.point < other.point ? other : one;
    std::optional<Transition> at = locate(solver, lower, upper);
    if (!at) {
        const double point = one.point + 0.5 * (other.point - one.point);
        PathState state = solver.solve(point, &one);
        (differ(state, one) || !is_known(state) ? other : one) = std::move(state);
        return true;
    }
    if (at->below.measure == 0.0 || differ(at->below, lower)) {
        upper = std::move(at->below);
    } else if (at->above.measure != 0.0 && !differ(at->above, at->below)) {
        lower = std::move(at->above);
    } else {
        lower = std::move(at->below);
        upper = std::move(at->above);
    }
    return one.point != other.point;
}

/// Of two limits at one change of phases the mixture in which what is measured, or `shared`, is
/// zero.
std::optional<PathState> mixed_zero(const PathState& one, const PathState& other,
                                    const std::function<double(const PathState&)>& shared) {
    const double of_one = shared ? shared(one) : one.measure;
    const double of_other = shared ? shared(other) : other.measure;
    const double share = of_one / (of_one - of_other);
    if (!(share >= 0.0 && share <= 1.0)) {
        return std::nullopt;
    }
    PathState result = share < 0.5 ? one : other;
    result.equilibrium = mixed(one.equilibrium, other.equilibrium, share);
    if (!result.equilibrium.certificate.holds()) {
        return std::nullopt;
    }
    result.measure = 0.0;
    result.present.clear();
    std::set_union(one.present.begin(), one.present.end(), other.present.begin(),
                   other.present.end(), std::back_inserter(result.present));
    return result;
}

/// The state a step further on, which is shortened as long as there is none.
std::optional<PathState> step_on(PathSolver& solver, const PathState& last, double direction,
                                 double& step, const Reach& reach) {
    for (int cut = 0; cut < MostShortenings; ++cut, step *= 0.4) {
        const double point = std::clamp(last.point + direction * step, reach.low, reach.high);
        if (std::optional<PathState> next = solver.attempt(point, &last)) {
            return next;
        }
    }
    return std::nullopt;
}

/// Where the measure has an extremum between `low` and `high` that may lie on the other side of
/// zero: the state nearest to or beyond zero.
std::optional<PathState> look_into_turn(PathSolver& solver, PathState low, PathState middle,
                                        PathState high) {
    const double sign = middle.measure > 0.0 ? 1.0 : -1.0;
    for (int k = 0; k < MostTurnSteps; ++k) {
        const bool right = std::abs(high.point - middle.point) > std::abs(middle.point - low.point);
        const PathState& side = right ? high : low;
        const double point = middle.point + 0.381966 * (side.point - middle.point);
        std::optional<PathState> state = solver.attempt(point, &middle);
        if (!state || !is_known(*state)) {
            return std::nullopt;
        }
        if (sign * state->measure <= 0.0) {
            return state;
        }
        if (sign * state->measure < sign * middle.measure) {
            (right ? low : high) = std::move(middle);
            middle = std::move(*state);
        } else {
            (right ? high : low) = std::move(*state);
        }
        if (std::abs(high.point - low.point) <= 1e-7 * (1.0 + std::abs(middle.point))) {
            break;
        }
    }
    return std::nullopt;
}

} // namespace

Reach reach_of(Path::Variable variable) {
    switch (variable) {
    case Path::Variable::Temperature:
        return {1.0, 2e4};
    case Path::Variable::Pressure:
        return {-680.0, 60.0};
    case Path::Variable::Volume:
        return {-700.0, 700.0};
    case Path::Variable::Amounts:
        break;
    }
    return {0.0, 1.0};
}

std::optional<PathState> find_zero(PathSolver& solver, SignChange between,
                                   const std::function<double(const PathState&)>& shared) {
    PathState& one = between.one;
    PathState& other = between.other;
    for (int round = 0; round < MostRounds; ++round) {
        for (PathState* state : {&one, &other}) {
            if (state->measure == 0.0) {
                return std::move(*state);
            }
        }
        const bool same_phases = one.present == other.present;
        if (same_phases && adjacent(one.point, other.point)) {
            // No numbers between them, and nothing jumps.
            return std::abs(one.measure) <= std::abs(other.measure) ? one : other;
        }
        if (same_phases) {
            if (std::optional<PathState> zero = smooth_zero(solver, one, other)) {
                return zero;
            }
        } else if (adjacent(one.point, other.point) || !narrow(solver, one, other)) {
            return mixed_zero(one, other, shared);
        } else if (!is_known(one) || !is_known(other)) {
            return std::nullopt;
        }
    }
    return std::nullopt;
}

std::optional<SignChange> search_outward(PathSolver& solver, double guess, double step,
                                         const Reach& reach, std::optional<PathState>& nearest) {
    struct Side {
        double direction;
        double limit;
        double step;
        std::optional<PathState> before;
        PathState last;
        bool ended = false;
    };
    guess = std::clamp(guess, reach.low, reach.high);
    PathState start = solver.solve(guess);
    note(start, nearest);
    if (start.measure == 0.0) {
        return SignChange{start, start};
    }
    std::vector<Side> sides;
    sides.push_back({1.0, reach.high, step, std::nullopt, start, guess >= reach.high});
    sides.push_back({-1.0, reach.low, step, std::nullopt, start, guess <= reach.low});
    const auto distance = [&](const Side& side) { return std::abs(side.last.point - guess); };
    for (int k = 0; k < MostOutwardSteps; ++k) {
        // The side that has gone less far goes on, so that the nearest zero is met first.
        Side* side = nullptr;
        for (Side& candidate : sides) {
            if (!candidate.ended && (side == nullptr || distance(candidate) < distance(*side))) {
                side = &candidate;
            }
        }
        if (side == nullptr) {
            return std::nullopt;
        }
        std::optional<PathState> next =
            step_on(solver, side->last, side->direction, side->step, reach);
        if (!next) {
            side->ended = true;
            continue;
        }
        note(*next, nearest);
        side->ended = next->point == side->limit;
        if (next->measure == 0.0 || differ(*next, side->last)) {
            return SignChange{side->last, std::move(*next)};
        }
        // A turn before zero may hide two zeros.
        const bool turns = side->before && is_known(*side->before) && is_known(side->last) &&
                           is_known(*next) &&
                           std::abs(side->last.measure) < std::abs(side->before->measure) &&
                           std::abs(side->last.measure) < std::abs(next->measure);
        if (turns) {
            if (std::optional<PathState> turn =
                    look_into_turn(solver, *side->before, side->last, *next)) {
                return SignChange{*side->before, std::move(*turn)};
            }
        }
        side->before = std::move(side->last);
        side->last = std::move(*next);
        side->step *= Growth;
    }
    return std::nullopt;
}

std::optional<SignChange> search_along_slope(PathSolver& solver, double guess, double step,
                                             const Reach& reach,
                                             std::optional<PathState>& nearest) {
    PathState last = solver.solve(std::clamp(guess, reach.low, reach.high));
    note(last, nearest);
    if (last.measure == 0.0) {
        return SignChange{last, last};
    }
    const double direction = last.measure < 0.0 ? 1.0 : -1.0;
    const double limit = last.measure < 0.0 ? reach.high : reach.low;
    for (int k = 0; k < MostOutwardSteps && last.point != limit; ++k) {
        std::optional<PathState> next = step_on(solver, last, direction, step, reach);
        if (!next || !is_known(*next)) {
            return std::nullopt;
        }
        note(*next, nearest);
        if (next->measure == 0.0 || differ(*next, last)) {
            return SignChange{std::move(last), std::move(*next)};
        }
        const double slope = (next->measure - last.measure) / (next->point - last.point);
        const double left = std::abs(next->measure / slope) * (1.0 + Overshoot);
        step = slope > 0.0 ? std::clamp(left, ShortestStep * step, LongestStep * step) : step;
        last = std::move(*next);
    }
    return std::nullopt;
}

std::optional<SignChange> search_between(PathSolver& solver, double low, double high, int parts,
                                         std::optional<PathState>& nearest) {
    std::optional<PathState> before;
    std::optional<PathState> last;
    for (int k = 0; k <= parts; ++k) {
        const double point = k == parts ? high : low + (high - low) * k / parts;
        std::optional<PathState> next = solver.attempt(point, last ? &*last : nullptr);
        if (!next) {
            continue;
        }
        note(*next, nearest);
        if (next->measure == 0.0) {
            return SignChange{*next, *next};
        }
        if (last && differ(*last, *next)) {
            return SignChange{std::move(*last), std::move(*next)};
        }
        if (before && last && is_known(*before) && is_known(*last) && is_known(*next) &&
            std::abs(last->measure) < std::abs(before->measure) &&
            std::abs(last->measure) < std::abs(next->measure)) {
            if (std::optional<PathState> turn = look_into_turn(solver, *before, *last, *next)) {
                return SignChange{*before, std::move(*turn)};
            }
        }
        before = std::move(last);
        last = std::move(next);
    }
    return std::nullopt;
}

} // namespace tessara
