#include "engine/models/form_evaluator.hpp"

#include "engine/units/constants.hpp"

#include <algorithm>
#include <cmath>

namespace tessara {
namespace {

double pressure_part(const ExcessCoefficients& c, double pressure) {
    return (c.p + c.p2 * pressure) * pressure;
}

} // namespace

// --- coefficients ---

std::size_t CoefficientTable::add(const TemperatureFunction& gibbs) {
    entries_.push_back({&gibbs, {}});
    reduced_.push_back(0.0);
    return entries_.size() - 1;
}

std::size_t CoefficientTable::add(const ExcessCoefficients& excess) {
    entries_.push_back({nullptr, excess});
    reduced_.push_back(0.0);
    return entries_.size() - 1;
}

void CoefficientTable::set_state(const TemperatureTerms& at, double pressure) {
    at_ = &at;
    pressure_ = pressure;
    const double inverse_rt = 1.0 / (GasConstant * at.t);
    for (std::size_t k = 0; k < entries_.size(); ++k) {
        const Entry& entry = entries_[k];
        const double value = entry.gibbs != nullptr ? entry.gibbs->value(at)
                                                    : evaluate_six(entry.excess.thermal, at) +
                                                          pressure_part(entry.excess, pressure);
        reduced_[k] = value * inverse_rt;
    }
}

void CoefficientTable::thermal(std::vector<ThermalValue>& values) const {
    values.resize(entries_.size());
    for (std::size_t k = 0; k < entries_.size(); ++k) {
        const Entry& entry = entries_[k];
        if (entry.gibbs != nullptr) {
            values[k] = entry.gibbs->with_derivatives(*at_);
        } else {
            values[k] = evaluate_six_with_derivatives(entry.excess.thermal, *at_);
            values[k].value += pressure_part(entry.excess, pressure_);
        }
    }
}

void CoefficientTable::volumes(std::vector<double>& values) const {
    values.resize(entries_.size());
    for (std::size_t k = 0; k < entries_.size(); ++k) {
        const ExcessCoefficients& c = entries_[k].excess;
        values[k] = (c.p + 2.0 * c.p2 * pressure_) / ReferencePressure;
    }
}

// --- the evaluator ---

Constraints simple_constraints(std::size_t variables) {
    return {.groups = 1,
            .group = std::vector<std::size_t>(variables, 0),
            .weight = std::vector<double>(variables, 1.0),
            .charge = {}};
}

FormEvaluator::FormEvaluator(FormPhase phase)
    : phase_(std::move(phase)), size_(phase_.size()), gradient_(size_), root_(size_) {
    if (phase_.variables.names.empty()) {
        phase_.variables.constraints = simple_constraints(size_);
    }
}

Curvature FormEvaluator::curvature() const {
    const bool ideal = phase_.variables.names.empty() && phase_.energy.empty() && !phase_.magnetic;
    return ideal ? Curvature::Ideal : Curvature::General;
}

const Variables* FormEvaluator::variables() const {
    return phase_.variables.names.empty() ? nullptr : &phase_.variables;
}

void FormEvaluator::reported(std::span<const double> y, std::span<double> amounts) const {
    if (variables() == nullptr) {
        PhaseEvaluator::reported(y, amounts);
        return;
    }
    phase_.reported.by_coefficient(y, amounts);
}

void FormEvaluator::reported_partials(std::span<const double> y,
                                      std::span<const ThermalValue> of_variables,
                                      std::span<ThermalValue> of_constituents) const {
    if (variables() == nullptr) {
        PhaseEvaluator::reported_partials(y, of_variables, of_constituents);
        return;
    }
    for (std::size_t c = 0; c < phase_.made_of.size(); ++c) {
        of_constituents[c] = {};
        for (const FormPart& part : phase_.made_of[c]) {
            const ThermalValue& of = of_variables[part.variable];
            of_constituents[c] +=
                {part.factor * of.value, part.factor * of.d_t, part.factor * of.d_tt};
        }
    }
}

void FormEvaluator::set_state(const TemperatureTerms& at, double pressure) {
    t_ = at.t;
    phase_.coefficients.set_state(at, pressure);
}

double FormEvaluator::energy(std::span<const double> y) const {
    double m = phase_.energy.value(y, phase_.coefficients.reduced());
    if (phase_.magnetic) {
        m += phase_.magnetic->value(t_, y);
    }
    return m;
}

double FormEvaluator::entropy(std::span<const double> y, std::span<const double> log_y) const {
    double m = phase_.mixing.value(y, log_y);
    for (std::size_t i = 0; i < phase_.linear.size(); ++i) {
        m += phase_.linear[i] * y[i];
    }
    return m;
}

double FormEvaluator::mixing(std::span<const double> y, std::span<const double> log_y,
                             std::span<double> gradient, std::span<double> scaled_hessian) const {
    const std::span<const double> coefficients = phase_.coefficients.reduced();
    std::fill(gradient.begin(), gradient.end(), 0.0);
    std::fill(scaled_hessian.begin(), scaled_hessian.end(), 0.0);
    double m = phase_.energy.gradient(y, coefficients, gradient);
    if (phase_.magnetic) {
        m += phase_.magnetic->add(t_, y, gradient, scaled_hessian);
        for (std::size_t i = 0; i < size_; ++i) {
            root_[i] = std::sqrt(y[i]);
        }
        for (std::size_t i = 0; i < size_; ++i) {
            for (std::size_t j = 0; j < size_; ++j) {
                scaled_hessian[i * size_ + j] *= root_[i] * root_[j];
            }
        }
    }
    phase_.energy.scaled_hessian(y, coefficients, 1.0, scaled_hessian);
    phase_.mixing.scaled_hessian(y, log_y, scaled_hessian);
    return m + add_entropy(y, log_y, gradient);
}

/// The same with its gradient, which is added.
double FormEvaluator::add_entropy(std::span<const double> y, std::span<const double> log_y,
                                  std::span<double> gradient) const {
    double m = phase_.mixing.gradient(y, log_y, gradient);
    for (std::size_t i = 0; i < phase_.linear.size(); ++i) {
        m += phase_.linear[i] * y[i];
        gradient[i] += phase_.linear[i];
    }
    return m;
}

ThermalValue FormEvaluator::gradient_thermal(std::span<const double> y,
                                             std::span<const double> log_y,
                                             std::span<ThermalValue> gradient) const {
    phase_.coefficients.thermal(thermal_);
    selected_.resize(thermal_.size());
    // The value and its two T derivatives mix alike, one after the other.
    ThermalValue total;
    for (auto part : ThermalParts) {
        for (std::size_t k = 0; k < thermal_.size(); ++k) {
            selected_[k] = thermal_[k].*part;
        }
        std::fill(gradient_.begin(), gradient_.end(), 0.0);
        total.*part = phase_.energy.gradient(y, selected_, gradient_);
        for (std::size_t i = 0; i < size_; ++i) {
            gradient[i].*part = gradient_[i];
        }
    }
    if (phase_.magnetic) {
        phase_.magnetic->add_thermal(t_, y, total, gradient);
    }
    std::fill(gradient_.begin(), gradient_.end(), 0.0);
    const double ideal = GasConstant * add_entropy(y, log_y, gradient_);
    total += {.value = t_ * ideal, .d_t = ideal, .d_tt = 0.0};
    for (std::size_t i = 0; i < size_; ++i) {
        const double own = GasConstant * gradient_[i];
        gradient[i] += {.value = t_ * own, .d_t = own, .d_tt = 0.0};
    }
    return total;
}

ThermalValue FormEvaluator::mixing_thermal(std::span<const double> y, std::span<const double> log_y,
                                           std::span<ThermalValue> partial) const {
    const ThermalValue total = gradient_thermal(y, log_y, partial);
    for (auto part : ThermalParts) {
        gradient_to_partials(phase_.variables.constraints, y, total.*part, group_sums_,
                             [&](std::size_t i) -> double& { return partial[i].*part; });
    }
    return total;
}

double FormEvaluator::gradient_volume(std::span<const double> y, std::span<double> gradient) const {
    phase_.coefficients.volumes(selected_);
    std::fill(gradient.begin(), gradient.end(), 0.0);
    return phase_.energy.gradient(y, selected_, gradient);
}

double FormEvaluator::volume(std::span<const double> y, std::span<double> partial) const {
    const double total = gradient_volume(y, partial);
    gradient_to_partials(phase_.variables.constraints, y, total, group_sums_,
                         [&](std::size_t i) -> double& { return partial[i]; });
    return total;
}

} // namespace tessara
