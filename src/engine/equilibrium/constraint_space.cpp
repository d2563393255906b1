#include "engine/equilibrium/constraint_space.hpp"

#include "engine/units/constants.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

namespace tessara {
namespace {

constexpr double Infinity = std::numeric_limits<double>::infinity();
/// A row of which others leave less than this is none of its own.
constexpr double RankTolerance = 1e-10;
constexpr int MostIterations = 100;

/// ln of a sum of exponentials, with the mean slope of its terms.
struct LogSum {
    double value = -Infinity;
    double slope = 0.0;
};

/// ln sum |z_i| exp(log_y_i + theta z_i) over the charges of one sign.
LogSum charge_side(std::span<const double> charge, std::span<const double> log_y, double theta,
                   bool positive) {
    double top = -Infinity;
    const auto counts = [&](double z) { return positive ? z > 0.0 : z < 0.0; };
    for (std::size_t i = 0; i < charge.size(); ++i) {
        if (counts(charge[i])) {
            top = std::max(top, log_y[i] + theta * charge[i]);
        }
    }
    if (!std::isfinite(top)) {
        return {};
    }
    double sum = 0.0;
    double slope = 0.0;
    for (std::size_t i = 0; i < charge.size(); ++i) {
        if (counts(charge[i])) {
            const double term = std::abs(charge[i]) * std::exp(log_y[i] + theta * charge[i] - top);
            sum += term;
            slope += term * charge[i];
        }
    }
    return {top + std::log(sum), slope / sum};
}

/// Multiplies each y by exp(theta z) with the theta at which the charges cancel. The difference of
/// the two sides' logarithms rises with theta, nearly in a straight line.
void neutralise(std::span<const double> charge, std::span<double> log_y) {
    double low = -Infinity;
    double high = Infinity;
    double theta = 0.0;
    for (int iteration = 0; iteration < MostIterations; ++iteration) {
        const LogSum above = charge_side(charge, log_y, theta, true);
        const LogSum below = charge_side(charge, log_y, theta, false);
        const double residual = above.value - below.value;
        if (!std::isfinite(residual) || std::abs(residual) <= Epsilon) {
            break;
        }
        (residual > 0.0 ? high : low) = theta;
        double next = theta - residual / (above.slope - below.slope);
        if (!(next > low && next < high)) {
            next = 0.5 * (low + high);
        }
        if (next == theta || !std::isfinite(next)) {
            break;
        }
        theta = next;
    }
    for (std::size_t i = 0; i < charge.size(); ++i) {
        log_y[i] += theta * charge[i];
    }
}

} // namespace

void ConstraintSpace::set(const Constraints* constraints, std::span<const double> root) {
    size_ = root.size();
    rank_ = 0;
    if (constraints == nullptr) {
        rows_.assign(size_, 1.0);
        rank_ = 1;
        return;
    }
    const bool charged = !constraints->charge.empty();
    rows_.assign((constraints->groups + (charged ? 1 : 0)) * size_, 0.0);
    for (std::size_t g = 0; g < constraints->groups; ++g) {
        for (std::size_t i = 0; i < size_; ++i) {
            rows_[rank_ * size_ + i] = constraints->group[i] == g ? constraints->weight[i] : 0.0;
        }
        add(root);
    }
    if (charged) {
        std::copy(constraints->charge.begin(), constraints->charge.end(),
                  rows_.begin() + static_cast<std::ptrdiff_t>(rank_ * size_));
        add(root);
    }
}

/// Takes the row that stands behind the others in, less what they have of it.
void ConstraintSpace::add(std::span<const double> root) {
    double* row = &rows_[rank_ * size_];
    // Scaled by its largest term: that of a phase with mere traces of ions is minute.
    const auto norm = [&] {
        double top = 0.0;
        for (std::size_t i = 0; i < size_; ++i) {
            top = std::max(top, root[i] * std::abs(row[i]));
        }
        double sum = 0.0;
        for (std::size_t i = 0; top > 0.0 && i < size_; ++i) {
            const double term = root[i] * row[i] / top;
            sum += term * term;
        }
        return top * std::sqrt(sum);
    };
    const double whole = norm();
    for (std::size_t r = 0; r < rank_; ++r) {
        const double* other = &rows_[r * size_];
        double share = 0.0;
        for (std::size_t i = 0; i < size_; ++i) {
            share += (root[i] * other[i]) * (root[i] * row[i]);
        }
        for (std::size_t i = 0; i < size_; ++i) {
            row[i] -= share * other[i];
        }
    }
    const double left = norm();
    if (!(left > RankTolerance * whole)) {
        std::fill(row, row + size_, 0.0);
        return;
    }
    for (std::size_t i = 0; i < size_; ++i) {
        row[i] /= left;
    }
    ++rank_;
}

void ConstraintSpace::project(std::span<const double> y, std::span<double> values) const {
    for (std::size_t r = 0; r < rank_; ++r) {
        const double* u = &rows_[r * size_];
        double share = 0.0;
        for (std::size_t i = 0; i < size_; ++i) {
            share += y[i] * u[i] * values[i];
        }
        for (std::size_t i = 0; i < size_; ++i) {
            values[i] -= share * u[i];
        }
    }
}

void normalise(const Constraints& constraints, std::span<double> y, std::span<double> log_y) {
    if (!constraints.charge.empty()) {
        neutralise(constraints.charge, log_y);
    }
    for (std::size_t g = 0; g < constraints.groups; ++g) {
        double top = -Infinity;
        for (std::size_t i = 0; i < y.size(); ++i) {
            if (constraints.group[i] == g && constraints.weight[i] > 0.0) {
                top = std::max(top, log_y[i]);
            }
        }
        double sum = 0.0;
        for (std::size_t i = 0; i < y.size(); ++i) {
            if (constraints.group[i] == g && constraints.weight[i] > 0.0) {
                y[i] = std::exp(log_y[i] - top);
                sum += constraints.weight[i] * y[i];
            }
        }
        const double shift = top + std::log(sum);
        for (std::size_t i = 0; i < y.size(); ++i) {
            if (constraints.group[i] == g) {
                log_y[i] -= shift;
                y[i] = constraints.weight[i] > 0.0 ? y[i] / sum : std::exp(log_y[i]);
            }
        }
    }
}

double largest_residual(const Constraints& constraints, std::span<const double> y) {
    double worst = 0.0;
    for (std::size_t g = 0; g < constraints.groups; ++g) {
        double sum = -1.0;
        for (std::size_t i = 0; i < y.size(); ++i) {
            sum += constraints.group[i] == g ? constraints.weight[i] * y[i] : 0.0;
        }
        worst = std::max(worst, std::abs(sum));
    }
    double charge = 0.0;
    double size = 0.0;
    for (std::size_t i = 0; i < constraints.charge.size(); ++i) {
        charge += constraints.charge[i] * y[i];
        size += std::abs(constraints.charge[i] * y[i]);
    }
    return size > 0.0 ? std::max(worst, std::abs(charge) / size) : worst;
}

} // namespace tessara
