#pragma once

#include "engine/models/form_products.hpp"
#include "engine/models/logarithm_sums.hpp"
#include "engine/models/magnetic_mixing.hpp"
#include "engine/models/model.hpp"

#include <optional>

namespace tessara {

/// The coefficients of an evaluator that depend on T and P: Gibbs energies of records, then excess
/// parameters, each worked out once per state.
class CoefficientTable {
public:
    /// Each returns the place of its coefficient. A function must outlive the table.
    std::size_t add(const TemperatureFunction& gibbs);
    std::size_t add(const ExcessCoefficients& excess);

    void set_state(const TemperatureTerms& at, double pressure);

    /// Values over R T.
    std::span<const double> reduced() const { return reduced_; }
    /// Values with their T derivatives, J/mol.
    void thermal(std::vector<ThermalValue>& values) const;
    /// Derivatives in P, m^3/mol.
    void volumes(std::vector<double>& values) const;

private:
    struct Entry {
        const TemperatureFunction* gibbs;
        ExcessCoefficients excess;
    };
    std::vector<Entry> entries_;
    std::vector<double> reduced_;
    const TemperatureTerms* at_ = nullptr;
    double pressure_ = 1.0;
};

/// What a phase is made of whose Gibbs energy is a sum of products of linear forms and of entropies
/// of mixing:
///
///     R T m(y) = energy(y; G and L of T, P) + R T mixing(y) [ + R T F(y) of magnetism ]
struct FormPhase {
    explicit FormPhase(std::size_t variable_count)
        : energy(variable_count), mixing(variable_count), reported(variable_count) {}

    /// Left without names where the variables are the fractions of the constituents.
    Variables variables;
    FormProducts energy;
    CoefficientTable coefficients;
    LogarithmSums mixing;
    /// Share of each variable in m whatever T is; may be empty.
    std::vector<double> linear;
    std::optional<MagneticMixing<FormProducts>> magnetic;
    /// Amounts of the constituents: each is the coefficient of its products.
    FormProducts reported;
    /// Of which variables each constituent is made: its partial quantity is the sum of theirs.
    std::vector<std::vector<FormPart>> made_of;

    std::size_t size() const { return energy.variable_count(); }
};

/// Evaluates any such phase.
class FormEvaluator final : public PhaseEvaluator {
public:
    explicit FormEvaluator(FormPhase phase);

    Curvature curvature() const override;
    std::size_t size() const override { return size_; }
    const Variables* variables() const override;
    void reported(std::span<const double> y, std::span<double> amounts) const override;
    void reported_partials(std::span<const double> y, std::span<const ThermalValue> of_variables,
                           std::span<ThermalValue> of_constituents) const override;
    void set_state(const TemperatureTerms& at, double pressure) override;
    using PhaseEvaluator::mixing;
    double mixing(std::span<const double> y, std::span<const double> log_y,
                  std::span<double> gradient, std::span<double> scaled_hessian) const override;
    ThermalValue mixing_thermal(std::span<const double> y, std::span<const double> log_y,
                                std::span<ThermalValue> partial) const override;
    double volume(std::span<const double> y, std::span<double> partial) const override;
    double energy(std::span<const double> y) const override;
    double entropy(std::span<const double> y, std::span<const double> log_y) const override;

    /// R T m with its gradient in place of the partial quantities.
    ThermalValue gradient_thermal(std::span<const double> y, std::span<const double> log_y,
                                  std::span<ThermalValue> gradient) const;
    double gradient_volume(std::span<const double> y, std::span<double> gradient) const;

private:
    double add_entropy(std::span<const double> y, std::span<const double> log_y,
                       std::span<double> gradient) const;

    FormPhase phase_;
    std::size_t size_;
    double t_ = 0.0;
    mutable std::vector<ThermalValue> thermal_;
    mutable std::vector<double> selected_; ///< the coefficients of one property, while it is mixed
    mutable std::vector<double> gradient_;
    mutable std::vector<double> root_;
    mutable std::vector<double> group_sums_;
};

/// Turns the gradient of a property of one unit into partial quantities, see
/// `PhaseEvaluator::mixing_thermal`. `sums` is work space.
template <class Get>
void gradient_to_partials(const Constraints& constraints, std::span<const double> y, double total,
                          std::vector<double>& sums, Get get) {
    sums.assign(constraints.groups, total / static_cast<double>(constraints.groups));
    for (std::size_t i = 0; i < y.size(); ++i) {
        if (y[i] > 0.0) {
            sums[constraints.group[i]] -= y[i] * get(i);
        }
    }
    for (std::size_t i = 0; i < y.size(); ++i) {
        get(i) += constraints.weight[i] * sums[constraints.group[i]];
    }
}

/// One group of all variables, each with weight 1.
Constraints simple_constraints(std::size_t variables);

} // namespace tessara
