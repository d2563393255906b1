#include "engine/search/phase_map.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

namespace tessara {
namespace {

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();
/// Parts of a path that are looked at in any case.
constexpr int Parts = 8;
/// Steps are not halved below this share of the path.
constexpr double LeastStep = 1e-9;
/// A driving force, in R T, that is near to zero.
constexpr double NearForce = 0.01;
/// An amount, as a share of the larger one at the ends of a step, that is near to zero.
constexpr double NearAmount = 1e-3;
/// How far a cubic may be below the function, and at most, in its rise above both ends of a step.
constexpr double ShareOfRise = 0.25;
constexpr double MostOfRise = 4.0;
/// Distance for slopes, as a share of the path.
constexpr double SlopeStep = 1e-6;
/// Changes nearer to an end of the path than this share of it belong to the end.
constexpr double AtEnd = 1e-9;
/// Steps where slopes are not known are halved to this share of the path.
constexpr double LeastBlindStep = 1.0 / 64.0;

/// The greatest value of the cubic through values and slopes at 0 and 1 strictly between them; the
/// larger end where it has no such extremum.
double greatest_between(double f0, double d0, double f1, double d1) {
    const double a = 2.0 * (f0 - f1) + d0 + d1;
    const double b = 3.0 * (f1 - f0) - 2.0 * d0 - d1;
    double greatest = std::max(f0, f1);
    const auto offer = [&](double t) {
        if (t > 0.0 && t < 1.0) {
            greatest = std::max(greatest, ((a * t + b) * t + d0) * t + f0);
        }
    };
    // 3 a t^2 + 2 b t + d0 = 0, without loss of digits.
    const double root = b * b - 3.0 * a * d0;
    if (root >= 0.0) {
        const double q = -(b + std::copysign(std::sqrt(root), b));
        if (a != 0.0) {
            offer(q / (3.0 * a));
        }
        if (q != 0.0) {
            offer(d0 / q);
        }
    }
    return greatest;
}

} // namespace

PhaseMap::PhaseMap(PathSolver& solver, double low, double high)
    : solver_(&solver), low_(solver.solve(low)), high_(low == high ? low_ : solver.solve(high)),
      range_(high - low) {
    if (!(range_ > 0.0)) {
        return;
    }
    Sample from = sample(low_, high);
    for (int k = 1; k <= Parts; ++k) {
        const double point = low + range_ * k / Parts;
        PathState state = k == Parts ? high_ : solver_->solve(point, &from.state);
        Sample to = sample(std::move(state), k == Parts ? low : high);
        scan(from, to);
        from = std::move(to);
    }
    std::erase_if(transitions_, [&](const Transition& transition) {
        return transition.point - low <= AtEnd * range_ ||
               high - transition.point <= AtEnd * range_;
    });
}

PhaseMap::Sample PhaseMap::sample(PathState state, double towards) {
    const double step = std::copysign(SlopeStep * range_, towards - state.point);
    const std::optional<PathState> next = solver_->follow(state, state.point + step);
    std::vector<double> slopes(state.equilibrium.phases.size(), NaN);
    if (next && next->present == state.present && next->equilibrium.open_combinations.empty()) {
        for (std::size_t i = 0; i < slopes.size(); ++i) {
            const PhaseResult& here = state.equilibrium.phases[i];
            const PhaseResult& there = next->equilibrium.phases[i];
            slopes[i] = here.amount > 0.0 ? (there.amount - here.amount) / step
                                          : (there.driving_force - here.driving_force) / step;
        }
    }
    return {std::move(state), std::move(slopes)};
}

/// Whether a phase may form and vanish, or vanish and form again, between two states with the same
/// phases.
bool PhaseMap::may_hide(const Sample& from, const Sample& to) const {
    const double width = to.state.point - from.state.point;
    if (width <= LeastStep * range_) {
        return false;
    }
    for (std::size_t i = 0; i < from.slopes.size(); ++i) {
        const PhaseResult& a = from.state.equilibrium.phases[i];
        const PhaseResult& b = to.state.equilibrium.phases[i];
        if (!a.can_form || a.dormant) {
            continue;
        }
        const bool there = a.amount > 0.0;
        double f0 = there ? -a.amount : a.driving_force;
        double f1 = there ? -b.amount : b.driving_force;
        const double sign = there ? -1.0 : 1.0;
        const double d0 = sign * from.slopes[i] * width;
        const double d1 = sign * to.slopes[i] * width;
        if (std::isinf(f0) && std::isinf(f1)) {
            continue; // it has no composition of its own
        }
        if (!std::isfinite(f0 + f1 + d0 + d1)) {
            if (width > LeastBlindStep * range_) {
                return true;
            }
            continue;
        }
        f0 = std::min(f0, 0.0);
        f1 = std::min(f1, 0.0);
        const double near = there ? -NearAmount * std::min(f0, f1) : NearForce;
        const double greatest = greatest_between(f0, d0, f1, d1);
        // The rise above both ends says how much a finer cubic may still change: one that stays
        // close to zero all along the path, but flat, hides nothing.
        const double rise = greatest - std::max(f0, f1);
        if (greatest > -(near + ShareOfRise * rise) && greatest + MostOfRise * rise > 0.0) {
            return true;
        }
    }
    return false;
}

void PhaseMap::scan(const Sample& from, const Sample& to) {
    const PathState& a = from.state;
    const PathState& b = to.state;
    if (a.point >= b.point) {
        return;
    }
    const auto halve = [&] {
        const double point = a.point + 0.5 * (b.point - a.point);
        const Sample middle = sample(solver_->solve(point, &a), b.point);
        scan(from, middle);
        scan(middle, to);
    };
    if (a.present == b.present) {
        if (may_hide(from, to)) {
            halve();
        }
        return;
    }
    if (std::optional<Transition> at = locate(*solver_, a, b)) {
        if (at->below.present == a.present) {
            scan(from, sample(at->below, a.point));
            const PathState above = at->above;
            transitions_.push_back(std::move(*at));
            scan(sample(above, b.point), to);
            return;
        }
    }
    if (b.point - a.point <= 1e-13 * std::max(std::abs(a.point), std::abs(b.point))) {
        transitions_.push_back({a.point, a, b});
        return;
    }
    halve();
}

} // namespace tessara
