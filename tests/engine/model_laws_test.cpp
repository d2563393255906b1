#include "engine/units/constants.hpp"
#include "plain_models.hpp"
#include "random_phases.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <numeric>

// What every model must keep, at every state drawn, from well mixed to traces of 1e-12.

namespace tessara::test {
namespace {

using Complex = std::complex<double>;

constexpr double Pressure = 7.0;

std::vector<double> logarithms(std::span<const double> y) {
    std::vector<double> result;
    for (double value : y) {
        result.push_back(std::log(value));
    }
    return result;
}

std::vector<std::size_t> all_of(const std::vector<Constituent>& constituents) {
    std::vector<std::size_t> all(constituents.size());
    std::iota(all.begin(), all.end(), std::size_t{0});
    return all;
}

class ModelLaws : public testing::TestWithParam<std::tuple<std::size_t, unsigned, double>> {
protected:
    void SetUp() override {
        const auto [row, seed, least] = GetParam();
        least_ = least;
        random_.seed(seed);
        phase_ = model_rows()[row].draw(random_);
        evaluator_ = phase_.model->evaluator(phase_.constituents, all_of(phase_.constituents));
        n_ = evaluator_->size();
    }

    void set(double t, double p = Pressure) {
        t_ = t;
        terms_.set(t);
        evaluator_->set_state(terms_, p);
    }

    std::vector<double> state() { return random_state(*evaluator_, random_, least_); }
    std::vector<double> change(std::span<const double> y) {
        return random_change(*evaluator_, y, random_);
    }

    double mixing(std::span<const double> y) const { return evaluator_->mixing(y, logarithms(y)); }

    /// The plain equations at y + step d, T + i step_t.
    Complex plain(std::span<const double> y, std::span<const double> d, Complex step,
                  double step_t = 0.0) const {
        std::vector<Complex> z;
        for (std::size_t i = 0; i < n_; ++i) {
            z.push_back(y[i] + step * (d.empty() ? 0.0 : d[i]));
        }
        return plain_gibbs(phase_.constituents, *phase_.model, z, Complex(t_, step_t), Pressure);
    }
    /// The derivative of m along d at y + shift e, by a complex step.
    double plain_slope(std::span<const double> y, std::span<const double> d,
                       std::span<const double> e, double shift) const {
        constexpr double h = 1e-30;
        std::vector<double> at(y.begin(), y.end());
        for (std::size_t i = 0; i < n_ && shift != 0.0; ++i) {
            at[i] += shift * e[i];
        }
        return plain(at, d, Complex(0.0, h)).imag() / h / (GasConstant * t_);
    }

    double least_ = 1.0;
    std::mt19937 random_;
    RandomModel phase_;
    std::unique_ptr<PhaseEvaluator> evaluator_;
    std::size_t n_ = 0;
    TemperatureTerms terms_;
    double t_ = 0.0;
};

TEST_P(ModelLaws, ValueIsThatOfThePlainEquations) {
    for (double t : {400.0, 1300.0, 2900.0}) {
        set(t);
        const std::vector<double> y = state();
        const double expected = plain(y, {}, 0.0).real() / (GasConstant * t);
        EXPECT_NEAR(mixing(y), expected, 2e-12 * (1.0 + std::abs(expected)));
    }
}

TEST_P(ModelLaws, GradientIsThatOfComplexSteps) {
    set(1100.0);
    for (int trial = 0; trial < 5; ++trial) {
        const std::vector<double> y = state();
        const std::vector<double> d = change(y);
        std::vector<double> gradient(n_);
        std::vector<double> hessian(n_ * n_);
        const double m = evaluator_->mixing(y, logarithms(y), gradient, hessian);
        EXPECT_NEAR(m, mixing(y), 1e-12 * (1.0 + std::abs(m)));
        double slope = 0.0;
        double size = 1e-3;
        for (std::size_t i = 0; i < n_; ++i) {
            slope += gradient[i] * d[i];
            size += std::abs(gradient[i] * d[i]);
        }
        EXPECT_NEAR(slope, plain_slope(y, d, {}, 0.0), 1e-11 * size);
    }
}

TEST_P(ModelLaws, HessianIsThatOfDifferencesOfComplexSteps) {
    set(900.0);
    for (int trial = 0; trial < 5; ++trial) {
        const std::vector<double> y = state();
        const std::vector<double> d = change(y);
        const std::vector<double> e = change(y);
        std::vector<double> gradient(n_);
        std::vector<double> hessian(n_ * n_);
        evaluator_->mixing(y, logarithms(y), gradient, hessian);
        double second = 0.0;
        double size = 1e-3;
        for (std::size_t i = 0; i < n_; ++i) {
            for (std::size_t j = 0; j < n_; ++j) {
                const double part = hessian[i * n_ + j] * d[i] * e[j] / std::sqrt(y[i] * y[j]);
                second += part;
                size += std::abs(part);
                EXPECT_NEAR(hessian[i * n_ + j], hessian[j * n_ + i],
                            1e-11 * (1.0 + std::abs(hessian[i * n_ + j])));
            }
        }
        const double h = 2e-3;
        const auto slope = [&](double shift) { return plain_slope(y, d, e, shift); };
        const double expected =
            (slope(-2 * h) - 8 * slope(-h) + 8 * slope(h) - slope(2 * h)) / (12 * h);
        EXPECT_NEAR(second, expected, 1e-8 * size);
    }
}

TEST_P(ModelLaws, TemperatureDerivativesAreThoseOfThePlainEquations) {
    for (double t : {450.0, 1700.0}) {
        set(t);
        const std::vector<double> y = state();
        std::vector<ThermalValue> partial(n_);
        const ThermalValue g = evaluator_->mixing_thermal(y, logarithms(y), partial);
        constexpr double step = 1e-30;
        const auto slope = [&](double shift) {
            t_ = t + shift;
            const double result = plain(y, {}, 0.0, step).imag() / step;
            t_ = t;
            return result;
        };
        const double h = 1e-3 * t;
        const double second =
            (slope(-2 * h) - 8 * slope(-h) + 8 * slope(h) - slope(2 * h)) / (12 * h);
        EXPECT_NEAR(g.value, plain(y, {}, 0.0).real(), 1e-11 * (1.0 + std::abs(g.value)));
        EXPECT_NEAR(g.d_t, slope(0.0), 1e-11 * (1.0 + std::abs(g.d_t)));
        EXPECT_NEAR(g.d_tt, second, 1e-8 * (1.0 + std::abs(g.d_tt)));
    }
}

TEST_P(ModelLaws, VolumeIsThePressureDerivative) {
    const std::vector<double> y = state();
    set(1000.0, 40.0);
    std::vector<double> partial(n_);
    const double v = evaluator_->volume(y, partial);
    const auto gibbs = [&](double p) {
        set(1000.0, p);
        return GasConstant * 1000.0 * mixing(y);
    };
    const double slope = (gibbs(41.0) - gibbs(39.0)) / 2.0; // exact for a square
    EXPECT_NEAR(v * ReferencePressure, slope, 1e-8 * (1.0 + std::abs(slope)));
    double sum = 0.0;
    for (std::size_t i = 0; i < n_; ++i) {
        sum += y[i] * partial[i];
    }
    EXPECT_NEAR(sum, v, 1e-11 * (1e-6 + std::abs(v)));
}

TEST_P(ModelLaws, PartialQuantitiesSumToTheWhole) {
    set(1200.0);
    const std::vector<double> y = state();
    std::vector<ThermalValue> partial(n_);
    const ThermalValue whole = evaluator_->mixing_thermal(y, logarithms(y), partial);
    for (auto part : {&ThermalValue::value, &ThermalValue::d_t, &ThermalValue::d_tt}) {
        double sum = 0.0;
        double size = 1e-3;
        for (std::size_t i = 0; i < n_; ++i) {
            sum += y[i] * (partial[i].*part);
            size += std::abs(y[i] * (partial[i].*part));
        }
        EXPECT_NEAR(sum, whole.*part, 1e-12 * size);
    }
}

TEST_P(ModelLaws, PartialQuantitiesObeyGibbsDuhem) {
    set(800.0);
    const std::vector<double> y = state();
    const std::vector<double> d = change(y);
    const double h = 1e-3;
    const auto potentials = [&](double shift) {
        std::vector<double> at = y;
        for (std::size_t i = 0; i < n_; ++i) {
            at[i] += shift * d[i];
        }
        std::vector<ThermalValue> partial(n_);
        evaluator_->mixing_thermal(at, logarithms(at), partial);
        return partial;
    };
    const auto a = potentials(-2 * h);
    const auto b = potentials(-h);
    const auto c = potentials(h);
    const auto e = potentials(2 * h);
    double sum = 0.0;
    double size = 1e-3;
    for (std::size_t i = 0; i < n_; ++i) {
        const double part =
            y[i] * (a[i].value - 8 * b[i].value + 8 * c[i].value - e[i].value) / (12 * h);
        sum += part;
        size += std::abs(part);
    }
    EXPECT_NEAR(sum, 0.0, 1e-7 * size);
}

TEST_P(ModelLaws, GibbsEnergyOfAmountsIsHomogeneous) {
    const Constraints constraints = constraints_of(*evaluator_);
    if (evaluator_->variables() == nullptr || constraints.groups > 1) {
        return; // fractions, not amounts
    }
    set(700.0);
    const std::vector<double> y = state();
    std::vector<double> threefold = y;
    for (double& value : threefold) {
        value *= 3.0;
    }
    std::vector<double> gradient(n_);
    std::vector<double> hessian(n_ * n_);
    const double m = evaluator_->mixing(y, logarithms(y), gradient, hessian);
    EXPECT_NEAR(mixing(threefold), 3.0 * m, 1e-12 * (1.0 + std::abs(3.0 * m)));
    double sum = 0.0;
    for (std::size_t i = 0; i < n_; ++i) {
        sum += y[i] * gradient[i];
        double row = 0.0;
        double size = 1.0;
        for (std::size_t j = 0; j < n_; ++j) {
            row += hessian[i * n_ + j] * std::sqrt(y[j]);
            size += std::abs(hessian[i * n_ + j] * std::sqrt(y[j]));
        }
        EXPECT_NEAR(row, 0.0, 1e-10 * size);
    }
    EXPECT_NEAR(sum, m, 1e-11 * (1.0 + std::abs(m)));
}

TEST_P(ModelLaws, ReportedAmountsHoldTheSameComponents) {
    const Variables* variables = evaluator_->variables();
    if (variables == nullptr) {
        return;
    }
    const std::vector<double> y = state();
    std::vector<double> amounts(phase_.constituents.size());
    evaluator_->reported(y, amounts);
    const std::size_t components = phase_.constituents[0].stoichiometry.size();
    for (std::size_t j = 0; j < components; ++j) {
        double reported = 0.0;
        double held = 0.0;
        for (std::size_t c = 0; c < amounts.size(); ++c) {
            EXPECT_GE(amounts[c], 0.0);
            reported += amounts[c] * phase_.constituents[c].stoichiometry[j];
        }
        for (std::size_t i = 0; i < n_; ++i) {
            held += y[i] * variables->stoichiometry[i * components + j];
        }
        EXPECT_NEAR(reported, held, 1e-11 * (1.0 + std::abs(held)));
    }
}

TEST_P(ModelLaws, ReportedPartialsSumToTheWholeWithTheReportedAmounts) {
    const auto kind = phase_.model->kind();
    if (kind == ModelKind::SUBG || kind == ModelKind::SUBQ) {
        return; // end members are made of pure quadruplets; they agree at equilibrium only
    }
    set(1000.0);
    const std::vector<double> y = state();
    std::vector<ThermalValue> of_variables(n_);
    const ThermalValue whole = evaluator_->mixing_thermal(y, logarithms(y), of_variables);
    std::vector<ThermalValue> partial(phase_.constituents.size());
    std::vector<double> amounts(phase_.constituents.size());
    evaluator_->reported(y, amounts);
    evaluator_->reported_partials(y, of_variables, partial);
    for (auto part : {&ThermalValue::value, &ThermalValue::d_t, &ThermalValue::d_tt}) {
        double sum = 0.0;
        double size = 1e-3;
        for (std::size_t c = 0; c < amounts.size(); ++c) {
            sum += amounts[c] * (partial[c].*part);
            size += std::abs(amounts[c] * (partial[c].*part));
        }
        EXPECT_NEAR(sum, whole.*part, 1e-11 * size);
    }
}

TEST_P(ModelLaws, ConstituentsMayStandInAnyOrder) {
    const auto row = std::get<0>(GetParam());
    const PermutedModel permuted = model_rows()[row].permute(phase_);
    const auto evaluator = permuted.phase.model->evaluator(permuted.phase.constituents,
                                                           all_of(permuted.phase.constituents));
    set(1000.0);
    evaluator->set_state(terms_, Pressure);
    const std::vector<double> y = state();
    std::vector<double> other;
    for (std::size_t k : permuted.order) {
        other.push_back(y[k]);
    }
    const double m = mixing(y);
    EXPECT_NEAR(evaluator->mixing(other, logarithms(other)), m, 1e-11 * (1.0 + std::abs(m)));
}

TEST_P(ModelLaws, TracesOfAnySizeHaveFiniteDerivatives) {
    set(900.0);
    std::vector<double> y = state();
    std::vector<double> log_y = logarithms(y);
    const Constraints constraints = constraints_of(*evaluator_);
    // One variable after the other goes; what is left is not exactly balanced, which is no matter.
    for (std::size_t gone = 0; gone < n_; ++gone) {
        for (double least : {1e-100, 1e-300, 0.0}) {
            std::vector<double> at = y;
            std::vector<double> log_at = log_y;
            for (std::size_t i : {gone, (gone + 1) % n_}) {
                at[i] = least;
                log_at[i] = least > 0.0 ? std::log(least) : -900.0;
            }
            std::vector<double> gradient(n_);
            std::vector<double> hessian(n_ * n_);
            std::vector<ThermalValue> partial(n_);
            const double m = evaluator_->mixing(at, log_at, gradient, hessian);
            const ThermalValue g = evaluator_->mixing_thermal(at, log_at, partial);
            ASSERT_TRUE(std::isfinite(m) && std::isfinite(g.value)) << gone << ", " << least;
            for (std::size_t i = 0; i < n_; ++i) {
                ASSERT_TRUE(std::isfinite(gradient[i])) << gone << ", " << least << ", " << i;
                ASSERT_TRUE(std::isfinite(partial[i].value)) << gone << ", " << least << ", " << i;
                for (std::size_t j = 0; j < n_; ++j) {
                    ASSERT_TRUE(std::isfinite(hessian[i * n_ + j]))
                        << gone << ", " << least << ", " << i << ", " << j;
                }
            }
        }
    }
}

std::string law_name(const testing::TestParamInfo<ModelLaws::ParamType>& of) {
    const auto [row, seed, least] = of.param;
    return std::string(model_rows()[row].name) + "_" + std::to_string(seed) + "_1em" +
           std::to_string(static_cast<int>(-std::log10(least)));
}

INSTANTIATE_TEST_SUITE_P(Models, ModelLaws,
                         testing::Combine(testing::Range<std::size_t>(0, 7),
                                          testing::Values(1U, 2U, 3U),
                                          testing::Values(1e-1, 1e-4, 1e-12)),
                         law_name);

} // namespace
} // namespace tessara::test
