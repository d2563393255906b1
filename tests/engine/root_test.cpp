#include "engine/search/root.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <numbers>

namespace tessara::test {
namespace {

struct Found {
    double at;
    int steps;
};

Found zero_of(const std::function<double(double)>& f, double low, double high) {
    Bracket bracket(low, f(low), high, f(high));
    int steps = 0;
    double best = std::abs(f(low)) < std::abs(f(high)) ? low : high;
    while (bracket.is_open()) {
        const double point = bracket.next();
        EXPECT_GE(point, std::min(low, high));
        EXPECT_LE(point, std::max(low, high));
        const double value = f(point);
        bracket.take(point, value);
        best = std::abs(value) <= std::abs(f(best)) ? point : best;
        ++steps;
    }
    return {best, steps};
}

TEST(Bracket, FindsZerosToTheLastDigits) {
    EXPECT_DOUBLE_EQ(zero_of([](double x) { return x * x - 2.0; }, 0.0, 5.0).at,
                     std::numbers::sqrt2);
    EXPECT_DOUBLE_EQ(zero_of([](double x) { return std::exp(x) - 10.0; }, -50.0, 50.0).at,
                     std::numbers::ln10);
    EXPECT_NEAR(zero_of([](double x) { return std::sin(x); }, 3.0, 4.0).at, std::numbers::pi,
                1e-15);
}

TEST(Bracket, TakesItsEndsInEitherOrder) {
    const auto f = [](double x) { return std::log(x / 7.0); };
    EXPECT_DOUBLE_EQ(zero_of(f, 1.0, 300.0).at, 7.0);
    EXPECT_DOUBLE_EQ(zero_of(f, 300.0, 1.0).at, 7.0);
}

TEST(Bracket, NeedsFewStepsWhereTheFunctionIsSmooth) {
    EXPECT_LT(zero_of([](double x) { return x - 3.0; }, 0.0, 10.0).steps, 4);
    EXPECT_LT(zero_of([](double x) { return x * x * x - 5.0; }, 0.0, 10.0).steps, 20);
}

TEST(Bracket, DoesNotChaseRounding) {
    // Terms of 1e6 that cancel leave noise of 1e-10, and a slope of 300.
    const auto f = [](double x) { return (1e6 + 300.0 * (x - 1731.9456525588291)) - 1e6; };
    const Found found = zero_of(f, 1700.0, 1800.0);
    EXPECT_NEAR(found.at, 1731.9456525588291, 1e-12);
    EXPECT_LT(found.steps, 7);
}

TEST(Bracket, ClosesInOnAJump) {
    const Found found = zero_of([](double x) { return x < 0.7 ? -1.0 : 1000.0; }, 0.0, 1.0);
    EXPECT_NEAR(found.at, 0.7, 1e-15);
    EXPECT_LT(found.steps, 120);
}

TEST(Bracket, EndsWhereAnEndIsTheZero) {
    EXPECT_FALSE(Bracket(1.0, 0.0, 2.0, 5.0).is_open());
    EXPECT_FALSE(Bracket(1.0, -1.0, 2.0, 0.0).is_open());
    EXPECT_FALSE(Bracket(1.0, -1.0, std::nextafter(1.0, 2.0), 1.0).is_open());
}

TEST(Bracket, EndsAlsoWhereTheFunctionIsFlatOnOneSide) {
    const Found found = zero_of([](double x) { return std::pow(x, 15) - 1e-30; }, -1.0, 3.0);
    EXPECT_DOUBLE_EQ(found.at, 0.01);
}

} // namespace
} // namespace tessara::test
