#include "engine/models/magnetism.hpp"

#include "engine/units/constants.hpp"

#include <gtest/gtest.h>

#include <cmath>

namespace tessara {
namespace {

struct Row {
    double p, tau, g, d1;
};

// Worked out independently from the equations with 40 digits.
constexpr Row Values[] = {
    {0.40, 0.5, -0.829738137, 3.50620079},      {0.40, 1.0, -0.0666381835, 0.362119753},
    {0.40, 2.0, -0.00200547221, 0.00501399151}, {0.28, 0.5, -0.742504114, 3.31021235},
    {0.28, 1.0, -0.0443300736, 0.240894851},    {0.28, 2.0, -0.00133411096, 0.00333548427},
};

TEST(MagneticFunction, HasTheValuesOfItsEquations) {
    for (const Row& row : Values) {
        const MagneticFunction f = magnetic_function(row.tau, row.p);
        EXPECT_NEAR(f.g, row.g, 1e-9 * std::abs(row.g) + 5e-11);
        EXPECT_NEAR(f.d1, row.d1, 2e-9 * std::abs(row.d1));
    }
}

TEST(MagneticFunction, HigherDerivativesAgreeWithDifferences) {
    for (double p : {0.28, 0.4}) {
        for (double tau : {0.3, 0.8, 1.3, 3.0}) {
            const double h = 1e-5 * tau;
            const MagneticFunction at = magnetic_function(tau, p);
            const MagneticFunction up = magnetic_function(tau + h, p);
            const MagneticFunction down = magnetic_function(tau - h, p);
            EXPECT_NEAR(at.d2, (up.d1 - down.d1) / (2 * h), 1e-7 * std::abs(at.d2));
            EXPECT_NEAR(at.d3, (up.d2 - down.d2) / (2 * h), 1e-7 * std::abs(at.d3));
        }
    }
}

TEST(MagneticFunction, IsContinuousWithItsSlopeAtTheCurieTemperature) {
    for (double p : {0.28, 0.4}) {
        const MagneticFunction below = magnetic_function(1.0, p);
        const MagneticFunction above = magnetic_function(1.0 + 1e-12, p);
        // The published constants are rounded fractions; the two sides meet to their digits.
        EXPECT_NEAR(below.g, above.g, 1e-9);
        EXPECT_NEAR(below.d1, above.d1, 1e-9);
    }
}

TEST(MagneticContribution, DerivativesAgreeWithDifferencesOnBothSidesOfEachSign) {
    const MagneticFactors factors{0.333333, 0.28};
    for (double tc : {-900.0, 450.0, 1200.0}) {
        for (double beta : {-1.4, 0.8, 2.2}) {
            const double t = 600.0;
            const auto f = [&](double dtc, double dbeta, double dt) {
                return magnetic_contribution(t + dt, tc + dtc, beta + dbeta, factors);
            };
            const MagneticContribution at = f(0, 0, 0);
            const double a = 1e-3;
            const double b = 1e-6;
            const auto near = [](double x, double y, double scale) {
                EXPECT_NEAR(x, y, 2e-6 * std::abs(y) + 1e-9 * scale);
            };
            near(at.f_tc, (f(a, 0, 0).f - f(-a, 0, 0).f) / (2 * a), 1e-3);
            near(at.f_beta, (f(0, b, 0).f - f(0, -b, 0).f) / (2 * b), 1.0);
            near(at.f_t, (f(0, 0, a).f - f(0, 0, -a).f) / (2 * a), 1e-3);
            near(at.f_tctc, (f(a, 0, 0).f_tc - f(-a, 0, 0).f_tc) / (2 * a), 1e-5);
            near(at.f_tcbeta, (f(0, b, 0).f_tc - f(0, -b, 0).f_tc) / (2 * b), 1e-3);
            near(at.f_betabeta, (f(0, b, 0).f_beta - f(0, -b, 0).f_beta) / (2 * b), 1.0);
            near(at.f_tt, (f(0, 0, a).f_t - f(0, 0, -a).f_t) / (2 * a), 1e-5);
            near(at.f_tc_t, (f(0, 0, a).f_tc - f(0, 0, -a).f_tc) / (2 * a), 1e-5);
            near(at.f_tc_tt, (f(0, 0, a).f_tc_t - f(0, 0, -a).f_tc_t) / (2 * a), 1e-7);
            near(at.f_beta_t, (f(0, 0, a).f_beta - f(0, 0, -a).f_beta) / (2 * a), 1e-3);
            near(at.f_beta_tt, (f(0, 0, a).f_beta_t - f(0, 0, -a).f_beta_t) / (2 * a), 1e-5);
        }
    }
}

TEST(MagneticContribution, VanishesWithTheCurieTemperature) {
    EXPECT_EQ(magnetic_contribution(300.0, 0.0, 2.0, {}).f, 0.0);
    for (double tc : {1e-300, 1e-9, 1e-2, 1.0}) {
        const MagneticContribution c = magnetic_contribution(300.0, tc, 2.0, {});
        EXPECT_NEAR(c.f, 0.0, 1e-11) << tc;
        EXPECT_TRUE(std::isfinite(c.f_tctc)) << tc;
    }
}

TEST(MagneticGibbs, GivesTheNeelTemperatureOfAnAntiferromagnet) {
    // Tc = -930 K with f = 1/3 stands for a Neel temperature of 310 K, where the magnetic entropy
    // of both sides meets.
    const MagneticFactors factors{1.0 / 3.0, 0.28};
    const ThermalValue below = magnetic_gibbs(310.0, -930.0, -1.65, factors);
    const ThermalValue above = magnetic_gibbs(310.0 + 1e-9, -930.0, -1.65, factors);
    EXPECT_NEAR(below.d_t, above.d_t, 1e-6);
    const ThermalValue ferro = magnetic_gibbs(310.0, 310.0, 0.55, factors);
    EXPECT_NEAR(below.value, ferro.value, 1e-9);
}

} // namespace
} // namespace tessara
