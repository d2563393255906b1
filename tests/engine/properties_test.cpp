#include "engine/equilibrium/properties.hpp"

#include "engine/units/constants.hpp"
#include "support.hpp"

#include <gtest/gtest.h>

#include <cmath>

namespace tessara::test {
namespace {

constexpr double R = GasConstant;

/// A gas that does not react, a Redlich-Kister liquid with temperature-dependent terms, a solid.
DatText inert() {
    DatText text({"A", "B"});
    text.gas("GAS", {{"A", {1, 0}, {1e5, -100.0, -20.0, -1e-3, 1e-7, 5e4}}});
    text.redlich_kister(
        "MELT",
        {{"A", {1, 0}, {-2e4, 100.0, -25.0, -2e-3, 0, 1e4}}, {"B", {0, 1}, {-3e4, 90.0, -24.0}}},
        {{{1, 2}, {{-20000.0, 8.0, -1.0, 1e-3, 0, 1e5}, {3000.0, -2.0}}}});
    text.pure({"B(s)", {0, 1}, {-1e5, 80.0, -23.0, -3e-3, 1e-7, 2e4}});
    return text;
}

class Properties : public testing::Test {
protected:
    Properties() : system_(inert().read()), solver_(system_), table_(*system_) {}

    const Equilibrium& solve(double t, double p) {
        const Equilibrium& result =
            solver_.solve(conditions(*system_, t, p, {{"A", 1.0}, {"B", 2.0}}));
        table_.fill(result, solver_.terms());
        return result;
    }

    std::shared_ptr<const System> system_;
    Solver solver_;
    PropertyTable table_;
};

TEST_F(Properties, SumOverPhasesAndOverConstituents) {
    const Equilibrium& result = solve(1200.0, 0.5);
    ThermalProperties total;
    for (std::size_t i = 0; i < system_->phases.size(); ++i) {
        const PhaseResult& phase = result.phases[i];
        ThermalProperties sum;
        for (std::size_t c = 0; c < phase.fractions.size(); ++c) {
            if (phase.fractions[c] > 0.0) {
                sum += phase.fractions[c] * table_.constituent(i, c);
            }
        }
        const ThermalProperties& molar = table_.phase(i);
        EXPECT_NEAR(sum.g, molar.g, 1e-9 * std::abs(molar.g));
        EXPECT_NEAR(sum.h, molar.h, 1e-9 * std::abs(molar.h));
        EXPECT_NEAR(sum.s, molar.s, 1e-9 * std::abs(molar.s));
        EXPECT_NEAR(sum.cp, molar.cp, 1e-9 * std::abs(molar.cp));
        EXPECT_NEAR(sum.v, molar.v, 1e-12);
        EXPECT_NEAR(molar.g, molar.h - result.t * molar.s, 1e-9 * std::abs(molar.g));
        if (phase.amount > 0.0) {
            total += phase.amount * molar;
        }
    }
    EXPECT_NEAR(total.g, table_.system().g, 1e-9 * std::abs(total.g));
    EXPECT_NEAR(total.cp, table_.system().cp, 1e-9 * std::abs(total.cp));
}

TEST_F(Properties, GibbsEnergyIsTheSumOfPotentials) {
    const Equilibrium& result = solve(1200.0, 0.5);
    const double g = 1.0 * result.potentials[0] + 2.0 * result.potentials[1];
    EXPECT_NEAR(table_.system().g, g, 1e-11 * std::abs(g));
    // The same for partial quantities of what is there.
    for (std::size_t i = 0; i < system_->phases.size(); ++i) {
        if (result.phases[i].amount > 0.0) {
            for (std::size_t c = 0; c < result.phases[i].fractions.size(); ++c) {
                EXPECT_NEAR(table_.constituent(i, c).g, result.constituent_potentials[i][c],
                            1e-9 * std::abs(result.constituent_potentials[i][c]));
            }
        }
    }
}

TEST_F(Properties, EntropyAndVolumeAreDerivativesOfTheGibbsEnergyOfEquilibrium) {
    // dG/dT = -S and dG/dP = V also along equilibrium, whatever reacts.
    const double t = 1200.0;
    const double p = 0.5;
    solve(t, p);
    const double s = table_.system().s;
    const double v = table_.system().v;
    const double h = 0.05;
    const auto g = [&](double dt, double dp) {
        solve(t + dt, p + dp);
        return table_.system().g;
    };
    EXPECT_NEAR(-(g(h, 0) - g(-h, 0)) / (2 * h), s, 1e-6 * std::abs(s));
    const double step = 1e-4;
    EXPECT_NEAR((g(0, step) - g(0, -step)) / (2 * step * ReferencePressure), v, 1e-6 * v);
}

TEST_F(Properties, HeatCapacityIsThatOfFixedAmounts) {
    // With nothing that can react, it is dH/dT.
    DatText text({"A"});
    text.pure({"A(s)", {1}, {-1e5, 80.0, -23.0, -3e-3, 1e-7, 2e4}});
    const auto system = text.read();
    Solver solver(system);
    PropertyTable table(*system);
    const auto at = [&](double t) {
        table.fill(solver.solve(conditions(*system, t, 1.0, {{"A", 3.0}})), solver.terms());
        return table.system();
    };
    const double slope = (at(800.01).h - at(799.99).h) / 0.02;
    EXPECT_NEAR(at(800.0).cp, slope, 1e-6 * slope);
}

TEST_F(Properties, GasFollowsTheIdealGasLaw) {
    DatText text({"A", "B"});
    text.gas("GAS", {{"A", {1, 0}, {0.0, -100.0}}, {"B", {0, 1}, {1000.0, -120.0}}});
    const auto system = text.read();
    Solver solver(system);
    PropertyTable table(*system);
    const Equilibrium& result =
        solver.solve(conditions(*system, 500.0, 4.0, {{"A", 1.0}, {"B", 3.0}}));
    table.fill(result, solver.terms());
    EXPECT_NEAR(table.system().v, 4.0 * R * 500.0 / 4e5, 1e-15);
    // Partial entropy of A at x = 1/4 and 4 bar: that of the pure gas at its partial pressure, 1
    // bar.
    EXPECT_NEAR(table.constituent(0, 0).s, 100.0, 1e-10);
    EXPECT_NEAR(table.constituent(0, 1).s, 120.0 - R * std::log(3.0), 1e-10);
    EXPECT_NEAR(table.constituent(0, 1).h, 1000.0, 1e-9);
}

TEST_F(Properties, AbsentPhasesHaveThoseOfTheirBestComposition) {
    const Equilibrium& result = solve(400.0, 100.0);
    const std::size_t gas = 0;
    ASSERT_EQ(result.phases[gas].amount, 0.0);
    EXPECT_NEAR(result.phases[gas].fractions[0], 1.0, 1e-15);
    const double v = R * 400.0 / 1e7;
    EXPECT_NEAR(table_.phase(gas).v, v, 1e-12 * v);
}

TEST_F(Properties, WhatCannotFormHasNone) {
    const Equilibrium& result = solver_.solve(conditions(*system_, 400.0, 1.0, {{"A", 1.0}}));
    table_.fill(result, solver_.terms());
    EXPECT_TRUE(std::isnan(table_.phase(phase_index(*system_, "B(s)")).g));
    EXPECT_TRUE(std::isnan(table_.constituent(1, 1).g));
    EXPECT_FALSE(std::isnan(table_.constituent(1, 0).g));
}

} // namespace
} // namespace tessara::test
