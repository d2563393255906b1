#pragma once

#include "engine/models/model.hpp"

#include <Eigen/Core>

#include <span>
#include <vector>

namespace tessara {

/// The thermal quantities of a phase whose constituents' amounts leave some of its internal
/// variables open, as pairs leave quadruplets: these follow their own equilibrium. With amounts
/// p = L y, the state y minimises G under L y = p,
///
///     dG/dy = L' mu        the constituents' potentials mu
///     H dy/dT - L' dmu/dT = -d(dG/dy)/dT,   L dy/dT = 0
///
/// so that dmu/dT and the change of the entropy with the variables come from one linear system.
class RelaxedThermal {
public:
    /// Whether the constituents leave variables of such a phase open.
    static bool applies(const PhaseEvaluator& evaluator, std::size_t constituents);

    /// R T m(y) of one unit and the partial quantities of the constituents, with their T
    /// derivatives at fixed amounts of these. Where all is worked out the evaluator is at `at`
    /// again.
    ThermalValue evaluate(PhaseEvaluator& evaluator, const TemperatureTerms& at, double pressure,
                          std::span<const double> y, std::span<const double> log_y,
                          std::span<ThermalValue> of_constituents);

private:
    void set_amounts(const PhaseEvaluator& evaluator);
    void factorise(const PhaseEvaluator& evaluator, double t);
    void solve_slopes(const PhaseEvaluator& evaluator);
    void relax(const PhaseEvaluator& evaluator, double t);

    std::size_t n_ = 0; ///< variables
    std::size_t m_ = 0; ///< constituents
    std::vector<double> y_, log_y_;
    Eigen::VectorXd amounts_;
    Eigen::MatrixXd held_; ///< L
    std::vector<double> gradient_, hessian_;
    std::vector<ThermalValue> of_variables_;
    ThermalValue whole_;
    Eigen::MatrixXd matrix_;
    Eigen::VectorXd scale_;   ///< of the rows of L
    Eigen::VectorXd changes_; ///< d ln y / dT
    Eigen::VectorXd slopes_;  ///< dmu / dT
};

} // namespace tessara
