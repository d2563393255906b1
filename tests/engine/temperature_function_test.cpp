#include "engine/data/temperature_function.hpp"

#include <gtest/gtest.h>

#include <cmath>

namespace tessara {
namespace {

/// All kinds of terms: the six usual ones, a power that is no whole number, one below zero, ln T.
TemperatureFunction every_term(TemperatureTerms& terms) {
    const double exponents[] = {0.5, -2.0, 7.0, LogarithmExponent};
    const double coefficients[] = {-120.0, -2.5e6, 7.5e-20, 850.0};
    TemperatureFunction::Range range{6000.0, {210000.0, 45.0, -37.0, -0.5e-3, 2e-8, 15000.0}, {}};
    for (std::size_t k = 0; k < 4; ++k) {
        terms.add_exponent(exponents[k]);
        range.extra.push_back({coefficients[k], k});
    }
    TemperatureFunction function;
    function.add_range(range);
    return function;
}

double by_hand(double t) {
    return 210000.0 + 45.0 * t - 37.0 * t * std::log(t) - 0.5e-3 * t * t + 2e-8 * t * t * t +
           15000.0 / t - 120.0 * std::sqrt(t) - 2.5e6 / (t * t) + 7.5e-20 * std::pow(t, 7) +
           850.0 * std::log(t);
}

TEST(TemperatureFunction, SumsEveryKindOfTerm) {
    TemperatureTerms terms;
    const TemperatureFunction function = every_term(terms);
    for (double t : {200.0, 298.15, 1000.0, 6000.0}) {
        terms.set(t);
        EXPECT_NEAR(function.value(terms), by_hand(t), 1e-13 * std::abs(by_hand(t)) + 1e-9);
    }
}

TEST(TemperatureFunction, DerivativesAgreeWithCentralDifferences) {
    TemperatureTerms terms;
    const TemperatureFunction function = every_term(terms);
    for (double t : {250.0, 700.0, 2500.0}) {
        terms.set(t);
        const ThermalValue g = function.with_derivatives(terms);
        EXPECT_EQ(g.value, function.value(terms));
        // Five-point formulae: the error falls with h^4.
        const double h = 1e-2 * t;
        const auto f = [](double x) { return by_hand(x); };
        const double d1 = (f(t - 2 * h) - 8 * f(t - h) + 8 * f(t + h) - f(t + 2 * h)) / (12 * h);
        const double d2 =
            (-f(t - 2 * h) + 16 * f(t - h) - 30 * f(t) + 16 * f(t + h) - f(t + 2 * h)) /
            (12 * h * h);
        EXPECT_NEAR(g.d_t, d1, 1e-6 * std::abs(d1));
        EXPECT_NEAR(g.d_tt, d2, 1e-5 * std::abs(d2));
    }
}

TEST(TemperatureFunction, TakesTheFirstRangeUpToAndWithItsLimit) {
    TemperatureTerms terms;
    TemperatureFunction function;
    function.add_range({1000.0, {1.0, 0, 0, 0, 0, 0}, {}});
    function.add_range({2000.0, {2.0, 0, 0, 0, 0, 0}, {}});
    terms.set(1000.0);
    EXPECT_EQ(function.value(terms), 1.0);
    terms.set(std::nextafter(1000.0, 2000.0));
    EXPECT_EQ(function.value(terms), 2.0);
}

TEST(TemperatureFunction, ContinuesTheLastRangeAboveAllLimits) {
    TemperatureTerms terms;
    TemperatureFunction function;
    function.add_range({1000.0, {1.0, 0, 0, 0, 0, 0}, {}});
    function.add_range({2000.0, {2.0, 1.0, 0, 0, 0, 0}, {}});
    terms.set(3000.0);
    EXPECT_EQ(function.value(terms), 3002.0);
}

TEST(TemperatureFunction, OfEqualLimitsReachesTheSecondOnlyAboveThem) {
    TemperatureTerms terms;
    TemperatureFunction function;
    function.add_range({1500.0, {1.0, 0, 0, 0, 0, 0}, {}});
    function.add_range({1500.0, {2.0, 0, 0, 0, 0, 0}, {}});
    terms.set(1500.0);
    EXPECT_EQ(function.value(terms), 1.0);
    terms.set(1500.1);
    EXPECT_EQ(function.value(terms), 2.0);
}

} // namespace
} // namespace tessara
