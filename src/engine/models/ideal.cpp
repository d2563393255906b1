#include "engine/models/ideal.hpp"

#include "engine/units/constants.hpp"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace tessara {
namespace {

class IdealEvaluator final : public PhaseEvaluator {
public:
    IdealEvaluator(std::size_t size, bool gas) : size_(size), gas_(gas) {}

    Curvature curvature() const override { return Curvature::Ideal; }
    double ideal_shift() const override { return log_p_; }
    std::size_t size() const override { return size_; }

    void set_state(const TemperatureTerms& at, double pressure) override {
        t_ = at.t;
        pressure_ = pressure;
        log_p_ = gas_ ? std::log(pressure) : 0.0;
    }

    double energy(std::span<const double> x) const override {
        return log_p_ * std::accumulate(x.begin(), x.end(), 0.0);
    }

    double entropy(std::span<const double> x, std::span<const double> log_x) const override {
        double m = 0.0;
        for (std::size_t i = 0; i < size_; ++i) {
            m += x[i] * log_x[i];
        }
        return m;
    }

    using PhaseEvaluator::mixing;

    double mixing(std::span<const double> x, std::span<const double> log_x,
                  std::span<double> gradient, std::span<double> scaled_hessian) const override {
        std::fill(scaled_hessian.begin(), scaled_hessian.end(), 0.0);
        for (std::size_t i = 0; i < size_; ++i) {
            gradient[i] = log_x[i] + log_p_ + 1.0;
            scaled_hessian[i * size_ + i] = 1.0;
        }
        return mixing(x, log_x);
    }

    ThermalValue mixing_thermal(std::span<const double> x, std::span<const double> log_x,
                                std::span<ThermalValue> partial) const override {
        double m = 0.0;
        for (std::size_t i = 0; i < size_; ++i) {
            const double mu = log_x[i] + log_p_;
            partial[i] = {.value = GasConstant * t_ * mu, .d_t = GasConstant * mu, .d_tt = 0.0};
            m += x[i] > 0.0 ? x[i] * mu : 0.0;
        }
        return {.value = GasConstant * t_ * m, .d_t = GasConstant * m, .d_tt = 0.0};
    }

    double volume(std::span<const double> x, std::span<double> partial) const override {
        const double v = gas_ ? GasConstant * t_ / (pressure_ * ReferencePressure) : 0.0;
        double total = 0.0;
        for (std::size_t i = 0; i < size_; ++i) {
            partial[i] = v;
            total += x[i] * v;
        }
        return total;
    }

private:
    std::size_t size_;
    bool gas_;
    double t_ = 0.0;
    double pressure_ = 1.0;
    double log_p_ = 0.0;
};

} // namespace

std::unique_ptr<PhaseEvaluator> IdealModel::evaluator(std::span<const Constituent>,
                                                      std::span<const std::size_t> active) const {
    return std::make_unique<IdealEvaluator>(active.size(), gas_);
}

bool IdealModel::equals(const PhaseModel& other) const {
    const auto* ideal = dynamic_cast<const IdealModel*>(&other);
    return ideal != nullptr && ideal->gas_ == gas_;
}

void IdealModel::describe(Description& phase) const {
    phase.set("interactions", Description::List{});
}

} // namespace tessara
