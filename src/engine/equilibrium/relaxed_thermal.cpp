#include "engine/equilibrium/relaxed_thermal.hpp"

#include "engine/units/constants.hpp"

#include <Eigen/LU>

#include <cmath>

namespace tessara {
namespace {

/// Steps of temperature for second derivatives, relative: the error of the difference and the
/// rounding of what is differenced are alike there.
constexpr double RelativeStep = 3e-5;
constexpr int RelaxingSteps = 3;
constexpr double LeastRoot = 1e-160;
constexpr double LogLeast = -708.0;

} // namespace

bool RelaxedThermal::applies(const PhaseEvaluator& evaluator, std::size_t constituents) {
    const Variables* variables = evaluator.variables();
    if (variables == nullptr) {
        return false;
    }
    const std::size_t held =
        variables->constraints.groups + (variables->constraints.charge.empty() ? 0 : 1);
    return variables->size() + 1 > constituents + held;
}

/// What each variable holds of the constituents: their amounts are sums over the variables.
void RelaxedThermal::set_amounts(const PhaseEvaluator& evaluator) {
    const auto rows = static_cast<Eigen::Index>(m_);
    const auto columns = static_cast<Eigen::Index>(n_);
    held_.resize(rows, columns);
    std::vector<double> unit(n_, 0.0);
    std::vector<double> column(m_);
    for (std::size_t i = 0; i < n_; ++i) {
        unit[i] = 1.0;
        evaluator.reported(unit, column);
        unit[i] = 0.0;
        held_.col(static_cast<Eigen::Index>(i)) =
            Eigen::Map<const Eigen::VectorXd>(column.data(), rows);
    }
    amounts_ = held_ * Eigen::Map<const Eigen::VectorXd>(y_.data(), columns);
}

/// The linear system at y, its variables scaled by the roots of theirs.
void RelaxedThermal::factorise(const PhaseEvaluator& evaluator, double t) {
    const auto n = static_cast<Eigen::Index>(n_);
    const auto m = static_cast<Eigen::Index>(m_);
    gradient_.resize(n_);
    hessian_.resize(n_ * n_);
    evaluator.mixing(y_, log_y_, gradient_, hessian_);
    matrix_.setZero(n + m, n + m);
    scale_.resize(m);
    const double rt = GasConstant * t;
    for (Eigen::Index i = 0; i < n; ++i) {
        const auto at = static_cast<std::size_t>(i);
        const double root = std::max(std::sqrt(y_[at]), LeastRoot);
        // A variable below the range of doubles has no influence on the others.
        const bool alone = log_y_[at] < LogLeast;
        for (Eigen::Index j = 0; j < n; ++j) {
            const auto other = static_cast<std::size_t>(j);
            const bool apart = alone || log_y_[other] < LogLeast;
            matrix_(i, j) = apart ? (i == j ? rt : 0.0) : rt * hessian_[at * n_ + other];
        }
        for (Eigen::Index p = 0; p < m; ++p) {
            matrix_(n + p, i) = root * held_(p, i);
        }
    }
    for (Eigen::Index p = 0; p < m; ++p) {
        scale_[p] = rt / matrix_.row(n + p).norm();
        matrix_.row(n + p) *= scale_[p];
        matrix_.col(n + p).head(n) = -matrix_.row(n + p).head(n).transpose();
    }
}

/// dmu/dT and d ln y/dT at the present y.
void RelaxedThermal::solve_slopes(const PhaseEvaluator& evaluator) {
    const auto n = static_cast<Eigen::Index>(n_);
    const auto m = static_cast<Eigen::Index>(m_);
    of_variables_.resize(n_);
    whole_ = evaluator.mixing_thermal(y_, log_y_, of_variables_);
    Eigen::VectorXd right = Eigen::VectorXd::Zero(n + m);
    for (Eigen::Index i = 0; i < n; ++i) {
        const auto at = static_cast<std::size_t>(i);
        right[i] = -std::max(std::sqrt(y_[at]), LeastRoot) * of_variables_[at].d_t;
    }
    const Eigen::VectorXd solution = matrix_.fullPivLu().solve(right);
    slopes_ = solution.tail(m).cwiseProduct(scale_);
    changes_ = solution.head(n);
    for (Eigen::Index i = 0; i < n; ++i) {
        changes_[i] /= std::max(std::sqrt(y_[static_cast<std::size_t>(i)]), LeastRoot);
    }
}

/// Brings y to its own equilibrium at the amounts of the constituents, from close by.
void RelaxedThermal::relax(const PhaseEvaluator& evaluator, double t) {
    const auto n = static_cast<Eigen::Index>(n_);
    const auto m = static_cast<Eigen::Index>(m_);
    for (int step = 0; step < RelaxingSteps; ++step) {
        factorise(evaluator, t);
        Eigen::VectorXd right(n + m);
        Eigen::Map<const Eigen::VectorXd> y(y_.data(), n);
        for (Eigen::Index i = 0; i < n; ++i) {
            const auto at = static_cast<std::size_t>(i);
            right[i] = -std::max(std::sqrt(y_[at]), LeastRoot) * GasConstant * t * gradient_[at];
        }
        right.tail(m) = (amounts_ - held_ * y).cwiseProduct(scale_);
        const Eigen::VectorXd solution = matrix_.fullPivLu().solve(right);
        for (Eigen::Index i = 0; i < n; ++i) {
            const auto at = static_cast<std::size_t>(i);
            if (log_y_[at] >= LogLeast) {
                log_y_[at] += solution[i] / std::max(std::sqrt(y_[at]), LeastRoot);
                y_[at] = std::exp(log_y_[at]);
            }
        }
    }
    factorise(evaluator, t);
}

ThermalValue RelaxedThermal::evaluate(PhaseEvaluator& evaluator, const TemperatureTerms& at,
                                      double pressure, std::span<const double> y,
                                      std::span<const double> log_y,
                                      std::span<ThermalValue> of_constituents) {
    n_ = y.size();
    m_ = of_constituents.size();
    const auto reset = [&] {
        y_.assign(y.begin(), y.end());
        log_y_.assign(log_y.begin(), log_y.end());
    };
    reset();
    set_amounts(evaluator);
    factorise(evaluator, at.t);
    solve_slopes(evaluator);
    evaluator.reported_partials(y_, of_variables_, of_constituents);
    ThermalValue whole = whole_;
    const Eigen::VectorXd changes = changes_;
    for (std::size_t i = 0; i < n_; ++i) {
        whole.d_tt += of_variables_[i].d_t * y_[i] * changes[static_cast<Eigen::Index>(i)];
    }
    for (std::size_t p = 0; p < m_; ++p) {
        of_constituents[p].d_t = slopes_[static_cast<Eigen::Index>(p)];
        of_constituents[p].d_tt = 0.0;
    }
    // How dmu/dT changes takes third derivatives; it is differenced along the relaxed states.
    const double step = RelativeStep * at.t;
    for (const double side : {-1.0, 1.0}) {
        TemperatureTerms other = at;
        other.set(at.t + side * step);
        evaluator.set_state(other, pressure);
        reset();
        for (std::size_t i = 0; i < n_; ++i) {
            if (log_y_[i] >= LogLeast) {
                log_y_[i] += side * step * changes[static_cast<Eigen::Index>(i)];
                y_[i] = std::exp(log_y_[i]);
            }
        }
        relax(evaluator, other.t);
        solve_slopes(evaluator);
        for (std::size_t p = 0; p < m_; ++p) {
            of_constituents[p].d_tt += side * slopes_[static_cast<Eigen::Index>(p)] / (2.0 * step);
        }
    }
    evaluator.set_state(at, pressure);
    return whole;
}

} // namespace tessara
