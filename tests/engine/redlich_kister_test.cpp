#include "engine/models/redlich_kister.hpp"

#include "engine/units/constants.hpp"
#include "support.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <random>

namespace tessara {
namespace {

// --- the bare functions ---

constexpr std::array<double, 4> Fractions = {0.2, 0.3, 0.1, 0.4};

struct BareFunction {
    const char* name;
    std::vector<std::size_t> constituents;
    std::size_t set; ///< from 1
    std::size_t sets;
    double v;
    std::array<double, 4> w;
};

// v and its partial quantities w at x = (0.2, 0.3, 0.1, 0.4), L = 1, by an independent calculation.
const BareFunction BareFunctions[] = {
    {"binary, order 0", {0, 1}, 1, 1, 0.06, {0.24, 0.14, -0.06, -0.06}},
    {"binary, order 1", {0, 1}, 2, 2, -0.006, {0.042, -0.068, 0.012, 0.012}},
    {"binary reversed, order 1", {1, 0}, 2, 2, 0.006, {-0.042, 0.068, -0.012, -0.012}},
    {"binary, order 2", {0, 1}, 3, 3, 0.0006, {-0.0108, 0.0122, -0.0018, -0.0018}},
    {"ternary, set 1", {0, 1, 2}, 1, 3, 0.002, {0.01, 0.00066666667, 0.014, -0.004}},
    {"ternary, set 2", {0, 1, 2}, 2, 3, 0.0026, {0.0052, 0.0068666667, 0.0182, -0.0058}},
    {"ternary, set 3", {0, 1, 2}, 3, 3, 0.0014, {0.0028, 0.00046666667, 0.0158, -0.0022}},
    {"quaternary", {0, 1, 2, 3}, 1, 1, 0.0024, {0.0048, 0.0008, 0.0168, -0.0012}},
};

TEST(CompositionPolynomial, HasTheValuesOfItsEquations) {
    for (const BareFunction& row : BareFunctions) {
        CompositionPolynomial polynomial;
        polynomial.add(row.constituents, row.sets);
        std::vector<double> coefficients(row.sets, 0.0);
        coefficients[row.set - 1] = 1.0;
        std::vector<double> gradient(4, 0.0);
        const double v = polynomial.gradient(Fractions, coefficients, gradient);
        EXPECT_NEAR(v, row.v, 1e-15) << row.name;
        EXPECT_NEAR(polynomial.value(Fractions, coefficients), row.v, 1e-15) << row.name;
        double mean = 0.0;
        for (std::size_t i = 0; i < 4; ++i) {
            mean += Fractions[i] * gradient[i];
        }
        for (std::size_t i = 0; i < 4; ++i) {
            EXPECT_NEAR(v + gradient[i] - mean, row.w[i], 1e-8 * std::abs(row.w[i]) + 1e-15)
                << row.name << ", constituent " << i + 1;
        }
    }
}

TEST(CompositionPolynomial, KeepsOddOrdersWhereBothFractionsAreEqual) {
    CompositionPolynomial polynomial;
    const std::size_t pair[] = {0, 1};
    polynomial.add(pair, 2);
    const double coefficients[] = {0.0, 1.0};
    const double x[] = {0.5, 0.5};
    double gradient[] = {0.0, 0.0};
    EXPECT_EQ(polynomial.gradient(x, coefficients, gradient), 0.0);
    EXPECT_EQ(gradient[0], 0.25);
    EXPECT_EQ(gradient[1], -0.25);
}

TEST(CompositionPolynomial, DerivativesAgreeWithDifferencesForRandomParameters) {
    std::mt19937 random(7);
    std::uniform_real_distribution<double> draw(-2.0, 2.0);
    std::uniform_real_distribution<double> fraction(0.01, 1.0);
    const std::vector<std::vector<std::size_t>> shapes = {
        {0, 1}, {3, 1}, {2, 0}, {0, 1, 2}, {3, 0, 2}, {1, 3, 2}, {0, 1, 2, 3}};
    const std::size_t sets[] = {4, 3, 2, 3, 1, 3, 1};
    for (int trial = 0; trial < 50; ++trial) {
        CompositionPolynomial polynomial;
        for (std::size_t k = 0; k < shapes.size(); ++k) {
            polynomial.add(shapes[k], sets[k]);
        }
        std::vector<double> c(polynomial.coefficient_count());
        for (double& value : c) {
            value = draw(random);
        }
        std::vector<double> x(4);
        for (double& value : x) {
            value = fraction(random);
        }
        std::vector<double> gradient(4, 0.0);
        std::vector<double> hessian(16, 0.0);
        polynomial.gradient(x, c, gradient);
        polynomial.hessian(x, c, 1.0, hessian);
        const double h = 1e-5;
        for (std::size_t i = 0; i < 4; ++i) {
            std::vector<double> up = x;
            std::vector<double> down = x;
            up[i] += h;
            down[i] -= h;
            const double slope = (polynomial.value(up, c) - polynomial.value(down, c)) / (2.0 * h);
            EXPECT_NEAR(gradient[i], slope, 1e-8);
            std::vector<double> g_up(4, 0.0);
            std::vector<double> g_down(4, 0.0);
            polynomial.gradient(up, c, g_up);
            polynomial.gradient(down, c, g_down);
            for (std::size_t j = 0; j < 4; ++j) {
                EXPECT_NEAR(hessian[i * 4 + j], (g_up[j] - g_down[j]) / (2.0 * h), 1e-7);
            }
        }
    }
}

// --- the laws of a whole phase ---

struct RandomPhase {
    std::shared_ptr<RedlichKisterModel> model;
    TemperatureTerms terms;
};

InteractionTerm<ExcessCoefficients> random_excess(std::mt19937& random, std::vector<std::size_t> on,
                                                  std::size_t sets) {
    std::uniform_real_distribution<double> draw(-1.0, 1.0);
    InteractionTerm<ExcessCoefficients> term{std::move(on), {}};
    for (std::size_t q = 0; q < sets; ++q) {
        ExcessCoefficients c;
        c.thermal = {2e4 * draw(random),  10 * draw(random),   draw(random),
                     1e-3 * draw(random), 1e-7 * draw(random), 1e5 * draw(random)};
        c.p = 3.0 * draw(random);
        c.p2 = 0.1 * draw(random);
        term.sets.push_back(c);
    }
    return term;
}

RandomPhase random_phase(unsigned seed, bool magnetic) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> draw(-1.0, 1.0);
    std::vector<InteractionTerm<ExcessCoefficients>> excess;
    excess.push_back(random_excess(random, {0, 1}, 3));
    excess.push_back(random_excess(random, {2, 0}, 2));
    excess.push_back(random_excess(random, {1, 3}, 4));
    excess.push_back(random_excess(random, {0, 1, 2}, 3));
    excess.push_back(random_excess(random, {3, 1, 2}, 1));
    excess.push_back(random_excess(random, {0, 1, 2, 3}, 1));
    std::optional<MagneticMixture> mixture;
    if (magnetic) {
        mixture.emplace();
        mixture->factors = {0.333333, 0.28};
        for (int k = 0; k < 4; ++k) {
            mixture->constituents.push_back({1200.0 * draw(random), 2.0 * draw(random)});
        }
        mixture->terms.push_back(
            {{0, 1}, {{500.0 * draw(random), draw(random)}, {300.0 * draw(random), draw(random)}}});
        mixture->terms.push_back({{0, 2, 3}, {{800.0 * draw(random), draw(random)}}});
    }
    return {std::make_shared<RedlichKisterModel>(4, std::move(excess), std::move(mixture)), {}};
}

constexpr std::size_t All[] = {0, 1, 2, 3};

std::vector<double> random_composition(std::mt19937& random, double least) {
    std::uniform_real_distribution<double> draw(0.0, 1.0);
    std::vector<double> x(4);
    double sum = 0.0;
    for (double& value : x) {
        value = std::pow(least, draw(random));
        sum += value;
    }
    for (double& value : x) {
        value /= sum;
    }
    return x;
}

std::vector<double> logarithms(const std::vector<double>& x) {
    std::vector<double> result;
    for (double value : x) {
        result.push_back(std::log(value));
    }
    return result;
}

class RedlichKisterLaws : public testing::TestWithParam<std::tuple<unsigned, bool>> {
protected:
    void SetUp() override {
        const auto [seed, magnetic] = GetParam();
        phase_ = random_phase(seed, magnetic);
        evaluator_ = phase_.model->evaluator({}, All);
        random_.seed(seed + 1000);
    }

    /// R T m in J/mol at composition x, temperature and pressure (bar).
    double gibbs(const std::vector<double>& x, double t, double p) {
        TemperatureTerms terms;
        terms.set(t);
        const auto evaluator = phase_.model->evaluator({}, All);
        evaluator->set_state(terms, p);
        return GasConstant * t * evaluator->mixing(x, logarithms(x));
    }

    RandomPhase phase_;
    std::unique_ptr<PhaseEvaluator> evaluator_;
    std::mt19937 random_;
};

TEST_P(RedlichKisterLaws, GradientAndHessianAgreeWithDifferences) {
    for (int trial = 0; trial < 20; ++trial) {
        const std::vector<double> x = random_composition(random_, 1e-2);
        phase_.terms.set(900.0);
        evaluator_->set_state(phase_.terms, 3.0);
        std::vector<double> gradient(4);
        std::vector<double> hessian(16);
        const double m = evaluator_->mixing(x, logarithms(x), gradient, hessian);
        EXPECT_NEAR(m, evaluator_->mixing(x, logarithms(x)), 1e-14 * (1.0 + std::abs(m)));
        for (std::size_t i = 0; i < 4; ++i) {
            const double h = 1e-5 * x[i];
            std::vector<double> up = x;
            std::vector<double> down = x;
            up[i] += h;
            down[i] -= h;
            const double slope = (evaluator_->mixing(up, logarithms(up)) -
                                  evaluator_->mixing(down, logarithms(down))) /
                                 (2.0 * h);
            EXPECT_NEAR(gradient[i], slope, 2e-6 * (1.0 + std::abs(slope)));
            std::vector<double> g_up(4);
            std::vector<double> g_down(4);
            std::vector<double> scratch(16);
            evaluator_->mixing(up, logarithms(up), g_up, scratch);
            evaluator_->mixing(down, logarithms(down), g_down, scratch);
            for (std::size_t j = 0; j < 4; ++j) {
                const double second = (g_up[j] - g_down[j]) / (2.0 * h);
                const double scaled = std::sqrt(x[i] * x[j]) * second;
                EXPECT_NEAR(hessian[i * 4 + j], scaled, 1e-5 * (1.0 + std::abs(scaled)));
            }
        }
    }
}

TEST_P(RedlichKisterLaws, PartialQuantitiesSumToTheWholeAndObeyGibbsDuhem) {
    for (int trial = 0; trial < 20; ++trial) {
        const std::vector<double> x = random_composition(random_, 1e-6);
        phase_.terms.set(700.0);
        evaluator_->set_state(phase_.terms, 1.0);
        std::vector<ThermalValue> partial(4);
        const ThermalValue whole = evaluator_->mixing_thermal(x, logarithms(x), partial);
        double g = 0.0;
        double s = 0.0;
        double c = 0.0;
        for (std::size_t i = 0; i < 4; ++i) {
            g += x[i] * partial[i].value;
            s += x[i] * partial[i].d_t;
            c += x[i] * partial[i].d_tt;
        }
        EXPECT_NEAR(g, whole.value, 1e-10 * (1.0 + std::abs(whole.value)));
        EXPECT_NEAR(s, whole.d_t, 1e-10 * (1.0 + std::abs(whole.d_t)));
        EXPECT_NEAR(c, whole.d_tt, 1e-9 * (1e-3 + std::abs(whole.d_tt)));
        // Gibbs-Duhem: sum x_i d(mu_i) = 0 along any change of composition.
        std::vector<double> other = x;
        const double h = 1e-6 * std::min(x[0], x[1]);
        other[0] += h;
        other[1] -= h;
        std::vector<ThermalValue> moved(4);
        evaluator_->mixing_thermal(other, logarithms(other), moved);
        double sum = 0.0;
        double size = 0.0;
        for (std::size_t i = 0; i < 4; ++i) {
            const double mean = 0.5 * (x[i] + other[i]);
            sum += mean * (moved[i].value - partial[i].value) / h;
            size += std::abs(mean * (moved[i].value - partial[i].value) / h);
        }
        EXPECT_NEAR(sum, 0.0, 1e-4 * size);
    }
}

TEST_P(RedlichKisterLaws, TemperatureAndPressureDerivativesAgreeWithDifferences) {
    for (double t : {350.0, 800.0, 1700.0}) {
        const std::vector<double> x = random_composition(random_, 1e-3);
        const double p = 40.0;
        phase_.terms.set(t);
        evaluator_->set_state(phase_.terms, p);
        std::vector<ThermalValue> partial(4);
        const ThermalValue g = evaluator_->mixing_thermal(x, logarithms(x), partial);
        const double h = 1e-3 * t;
        const auto f = [&](double dt) { return gibbs(x, t + dt, p); };
        const double d1 = (f(-2 * h) - 8 * f(-h) + 8 * f(h) - f(2 * h)) / (12 * h);
        const double d2 =
            (-f(-2 * h) + 16 * f(-h) - 30 * f(0) + 16 * f(h) - f(2 * h)) / (12 * h * h);
        EXPECT_NEAR(g.value, f(0), 1e-9 * (1.0 + std::abs(g.value)));
        EXPECT_NEAR(g.d_t, d1, 1e-6 * (1.0 + std::abs(d1)));
        EXPECT_NEAR(g.d_tt, d2, 1e-4 * (1e-2 + std::abs(d2)));
        std::vector<double> volumes(4);
        const double v = evaluator_->volume(x, volumes);
        const double slope = (gibbs(x, t, p + 0.01) - gibbs(x, t, p - 0.01)) / 0.02;
        EXPECT_NEAR(v * ReferencePressure, slope, 1e-5 * (1.0 + std::abs(slope)));
        double sum = 0.0;
        for (std::size_t i = 0; i < 4; ++i) {
            sum += x[i] * volumes[i];
        }
        EXPECT_NEAR(sum, v, 1e-12 * (1e-6 + std::abs(v)));
    }
}

TEST_P(RedlichKisterLaws, TracesKeepTheirDerivatives) {
    phase_.terms.set(900.0);
    evaluator_->set_state(phase_.terms, 1.0);
    const std::vector<double> x = {0.6, 0.4 - 1e-12, 1e-12, 1e-300};
    std::vector<double> gradient(4);
    std::vector<double> hessian(16);
    evaluator_->mixing(x, logarithms(x), gradient, hessian);
    for (double h : hessian) {
        EXPECT_TRUE(std::isfinite(h));
    }
    EXPECT_NEAR(hessian[10], 1.0, 1e-9);
    EXPECT_EQ(hessian[15], 1.0);
    EXPECT_NEAR(gradient[2] - gradient[3] - std::log(1e-12) + std::log(1e-300), 0.0, 60.0);
}

TEST_P(RedlichKisterLaws, RestrictingTheConstituentsIsLeavingThemOut) {
    phase_.terms.set(900.0);
    const std::size_t two[] = {0, 2};
    const auto restricted = phase_.model->evaluator({}, two);
    restricted->set_state(phase_.terms, 1.0);
    evaluator_->set_state(phase_.terms, 1.0);
    const double x2[] = {0.3, 0.7};
    const double log_x2[] = {std::log(0.3), std::log(0.7)};
    const std::vector<double> x4 = {0.3, 0.0, 0.7, 0.0};
    const std::vector<double> log_x4 = {std::log(0.3), 0.0, std::log(0.7), 0.0};
    EXPECT_NEAR(restricted->mixing(x2, log_x2), evaluator_->mixing(x4, log_x4), 1e-13);
}

INSTANTIATE_TEST_SUITE_P(RandomParameters, RedlichKisterLaws,
                         testing::Combine(testing::Range(1U, 6U), testing::Bool()));

TEST(RedlichKisterModel, DoesNotDependOnTheOrderOfItsConstituents) {
    // The same phase with constituents 1 and 3 exchanged, in all its parameters too.
    std::mt19937 random(3);
    const auto a = random_excess(random, {0, 1}, 3);
    const auto b = random_excess(random, {0, 1, 2}, 3);
    auto swapped_a = a;
    swapped_a.constituents = {2, 1};
    auto swapped_b = b;
    swapped_b.constituents = {2, 1, 0};
    const RedlichKisterModel first(3, {a, b}, std::nullopt);
    const RedlichKisterModel second(3, {swapped_a, swapped_b}, std::nullopt);
    TemperatureTerms terms;
    terms.set(1100.0);
    const std::size_t all[] = {0, 1, 2};
    const auto e1 = first.evaluator({}, all);
    const auto e2 = second.evaluator({}, all);
    e1->set_state(terms, 1.0);
    e2->set_state(terms, 1.0);
    const std::vector<double> x = {0.5, 0.3, 0.2};
    const std::vector<double> y = {0.2, 0.3, 0.5};
    EXPECT_NEAR(e1->mixing(x, logarithms(x)), e2->mixing(y, logarithms(y)), 1e-13);
}

TEST(RedlichKisterModel, WithoutParametersIsIdeal) {
    const RedlichKisterModel model(2, {}, std::nullopt);
    const std::size_t all[] = {0, 1};
    EXPECT_EQ(model.evaluator({}, all)->curvature(), Curvature::Ideal);
}

TEST(RedlichKisterModel, IsEqualWhereAllParametersAre) {
    std::mt19937 random(4);
    const auto term = random_excess(random, {0, 1}, 2);
    auto other = term;
    other.sets[1].thermal[3] += 1e-9;
    const RedlichKisterModel model(2, {term}, std::nullopt);
    EXPECT_TRUE(model.equals(RedlichKisterModel(2, {term}, std::nullopt)));
    EXPECT_FALSE(model.equals(RedlichKisterModel(2, {other}, std::nullopt)));
    EXPECT_FALSE(model.equals(RedlichKisterModel(2, {term}, MagneticMixture{{}, {{}, {}}, {}})));
}

} // namespace
} // namespace tessara
