#include "engine/equilibrium/phase_search.hpp"

#include "engine/units/constants.hpp"
#include "support.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace tessara::test {
namespace {

/// The active system of everything, with equal amounts of all components, at T and 1 bar.
std::unique_ptr<ActiveSystem> activate(const System& system, double t) {
    EquilibriumConditions all;
    auto active = std::make_unique<ActiveSystem>(
        system, all, std::vector<char>(system.components.size(), 1), std::vector<char>());
    TemperatureTerms terms = system.terms();
    terms.set(t);
    active->set_state(terms, 1.0);
    return active;
}

TEST(PhaseSearch, FindsTheBestCompositionOfAnIdealPhaseInClosedForm) {
    DatText text({"A", "B"});
    text.gas("GAS", {{"A", {1, 0}, {0}}, {"B", {0, 1}, {0}}, {"AB", {1, 1}, {0}}});
    const auto system = text.read();
    const auto active = activate(*system, 1000.0);
    const std::vector<double> tau = {-1.0, -2.0, 0.5};
    std::vector<double> x(3);
    std::vector<double> log_x(3);
    const double force = PhaseSearch::ideal(active->blocks[0], tau, x, log_x);
    const double sum = std::exp(-1.0) + std::exp(-2.0) + std::exp(0.5);
    EXPECT_NEAR(force, std::log(sum), 1e-15);
    EXPECT_NEAR(x[2], std::exp(0.5) / sum, 1e-15);
    EXPECT_NEAR(std::exp(log_x[0]), x[0], 1e-16);
}

TEST(PhaseSearch, KeepsLogarithmsOfFractionsBelowTheRangeOfDoubles) {
    DatText text({"A", "B"});
    text.gas("GAS", {{"A", {1, 0}, {0}}, {"B", {0, 1}, {0}}});
    const auto system = text.read();
    const auto active = activate(*system, 1000.0);
    const std::vector<double> tau = {0.0, -2000.0};
    std::vector<double> x(2);
    std::vector<double> log_x(2);
    PhaseSearch::ideal(active->blocks[0], tau, x, log_x);
    EXPECT_EQ(x[1], 0.0);
    EXPECT_EQ(log_x[1], -2000.0);
}

TEST(PhaseSearch, FindsBothMinimaOfASolutionThatUnmixes) {
    const double t = 700.0;
    DatText text({"A", "B"});
    text.redlich_kister("MIX", {{"A", {1, 0}, {0}}, {"B", {0, 1}, {0}}},
                        {{{1, 2}, {{3.0 * GasConstant * t}}}});
    const auto system = text.read();
    const auto active = activate(*system, t);
    PhaseSearch search;
    const std::vector<double> tau = {0.0, 0.0};
    const auto& found = search.all(active->blocks[0], tau, 6);
    ASSERT_EQ(found.size(), 2U);
    for (const Candidate& candidate : found) {
        // Stationary: ln(x/(1-x)) = w (2x - 1).
        const double x = candidate.x[0];
        EXPECT_NEAR(std::log(x / (1.0 - x)), 3.0 * (2.0 * x - 1.0), 1e-10);
        EXPECT_TRUE(search.locally_stable(active->blocks[0], candidate.x, candidate.log_x));
    }
    EXPECT_NEAR(found[0].x[0], found[1].x[1], 1e-9);
    const std::vector<double> middle = {0.5, 0.5};
    const std::vector<double> log_middle = {std::log(0.5), std::log(0.5)};
    EXPECT_FALSE(search.locally_stable(active->blocks[0], middle, log_middle));
}

TEST(PhaseSearch, ClimbsFromAnyStartOfAConvexPhaseToTheSameMaximum) {
    const double t = 900.0;
    DatText text({"A", "B", "C"});
    text.redlich_kister("MIX",
                        {{"A", {1, 0, 0}, {0}}, {"B", {0, 1, 0}, {0}}, {"C", {0, 0, 1}, {0}}},
                        {{{1, 2}, {{-20000.0}, {3000.0}}}, {{2, 3}, {{-5000.0}}}});
    const auto system = text.read();
    const auto active = activate(*system, t);
    const Block& block = active->blocks[0];
    PhaseSearch search;
    std::mt19937 random(1);
    std::uniform_real_distribution<double> draw(0.0, 1.0);
    const std::vector<double> tau = {-1.0, -30.0, 2.0};
    std::vector<double> first;
    for (int trial = 0; trial < 50; ++trial) {
        std::vector<double> log_x(3);
        for (double& value : log_x) {
            value = -40.0 * draw(random);
        }
        std::vector<double> x(3);
        PhaseSearch::normalise(x, log_x);
        search.local(block, tau, x, log_x);
        EXPECT_TRUE(search.converged());
        if (first.empty()) {
            first = log_x;
        }
        for (std::size_t i = 0; i < 3; ++i) {
            EXPECT_NEAR(log_x[i], first[i], 1e-9);
        }
    }
}

} // namespace
} // namespace tessara::test
