#include "engine/equilibrium/properties.hpp"
#include "engine/units/constants.hpp"
#include "support.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace tessara::test {
namespace {

constexpr double R = GasConstant;

/// Moles of H2 and O2 left of n(H2) and n(O2) put in at 1 bar, from the equilibrium constant of
/// 2 H2 + O2 = 2 H2O alone, by bisection on the extent.
double water_extent(double h2, double o2, double k_p) {
    double low = 0.0;
    double high = std::min(h2 / 2.0, o2);
    for (int step = 0; step < 200; ++step) {
        const double e = 0.5 * (low + high);
        const double total = h2 + o2 - e;
        const double quotient =
            std::pow(2.0 * e, 2) * total / (std::pow(h2 - 2.0 * e, 2) * (o2 - e));
        (quotient < k_p ? low : high) = e;
    }
    return 0.5 * (low + high);
}

DatText water_gas() {
    DatText text({"H", "O"});
    text.gas("GAS", {{"H2", {2, 0}, {0.0, -130.0}},
                     {"O2", {0, 2}, {0.0, -205.0}},
                     {"H2O", {2, 1}, {-241800.0, -189.0}}});
    return text;
}

TEST(ClosedForms, DissociationOfADiatomicGas) {
    // A2 = 2 A: with K = exp(-dG/RT) the degree of dissociation is sqrt(K / (K + 4 P)).
    DatText text({"A"});
    text.gas("GAS", {{"A", {1}, {200000.0, -100.0}}, {"A2", {2}, {0.0, -80.0}}});
    const auto system = text.read();
    Solver solver(system);
    for (double t : {300.0, 1000.0, 2000.0, 3000.0, 6000.0}) {
        for (double p : {1e-6, 1.0, 100.0}) {
            const Equilibrium& result = solver.solve(conditions(*system, t, p, {{"A", 2.0}}));
            const double log_k = -(2.0 * (200000.0 - 100.0 * t) - (0.0 - 80.0 * t)) / (R * t);
            const double k = std::exp(log_k);
            const double alpha = std::sqrt(k / (k + 4.0 * p));
            EXPECT_NEAR(amount(*system, result, "GAS:A"), 2.0 * alpha, 1e-12 * 2.0 * alpha)
                << t << " K, " << p << " bar";
            EXPECT_NEAR(amount(*system, result, "GAS:A2"), 1.0 - alpha, 1e-12);
        }
    }
}

TEST(ClosedForms, HydrogenAndOxygen) {
    const auto system = water_gas().read();
    Solver solver(system);
    for (double t : {600.0, 1200.0, 2500.0, 4000.0}) {
        const double k = std::exp(
            -(2.0 * (-241800.0 - 189.0 * t) - 2.0 * (-130.0 * t) - (-205.0 * t)) / (R * t));
        for (const auto& [h2, o2] : {std::pair{2.0, 1.0}, {1.0, 3.0}, {5.0, 0.5}}) {
            const Equilibrium& result =
                solver.solve(conditions(*system, t, 1.0, {{"GAS:H2", h2}, {"GAS:O2", o2}}));
            const double e = water_extent(h2, o2, k);
            EXPECT_NEAR(amount(*system, result, "GAS:H2O"), 2.0 * e, 1e-10);
        }
    }
}

TEST(ClosedForms, TracesOverAnExactStoichiometryFollowTheReactionAlone) {
    // 2 H2 + O2 exactly: what is left is H2 : O2 = 2 : 1, far below the rounding of the totals.
    // With x = x(O2) tiny: (2 x)^2 x = 1/K, water being all the rest.
    const auto system = water_gas().read();
    Solver solver(system);
    for (double t : {200.0, 298.15, 500.0, 800.0}) {
        const double log_k =
            -(2.0 * (-241800.0 - 189.0 * t) - 2.0 * (-130.0 * t) - (-205.0 * t)) / (R * t);
        const double x = std::exp((-log_k - std::log(4.0)) / 3.0);
        for (const bool by_component : {false, true}) {
            const Equilibrium& result =
                by_component
                    ? solver.solve(conditions(*system, t, 1.0, {{"H", 4.0}, {"O", 2.0}}))
                    : solver.solve(conditions(*system, t, 1.0, {{"GAS:H2", 2.0}, {"GAS:O2", 1.0}}));
            EXPECT_NEAR(result.phases[0].fractions[1], x, (1e-10 + 3.0 * x) * x) << t;
            EXPECT_NEAR(result.phases[0].fractions[0], 2.0 * x, (1e-10 + 3.0 * x) * 2.0 * x) << t;
            EXPECT_NEAR(result.phases[0].amount, 2.0, 1e-12 + 3.0 * x);
        }
    }
}

TEST(ClosedForms, TraceOfAComponentHasSlopeOne) {
    // A trace of C in the gas of A: C and AC share it as K says, in proportion to its amount.
    DatText text({"A", "C"});
    text.gas("GAS", {{"A", {1, 0}, {0.0}}, {"C", {0, 1}, {0.0}}, {"AC", {1, 1}, {-20000.0}}});
    const auto system = text.read();
    Solver solver(system);
    const double t = 1000.0;
    const double k = std::exp(20000.0 / (R * t));
    for (double trace = 1e-3; trace > 1e-16; trace *= 0.1) {
        const Equilibrium& result =
            solver.solve(conditions(*system, t, 1.0, {{"A", 1.0}, {"C", trace}}));
        const double c = amount(*system, result, "GAS:C");
        const double ac = amount(*system, result, "GAS:AC");
        const double a = amount(*system, result, "GAS:A");
        const double n = result.phases[0].amount;
        EXPECT_NEAR(c + ac, trace, 1e-13 * trace);
        EXPECT_NEAR(ac * n / (c * a), k, 1e-11 * k);
    }
}

// --- condensed phases ---

DatText lime() {
    DatText text({"Ca", "C", "O"});
    text.gas("GAS", {{"CO2", {0, 1, 2}, {-393500.0, -214.0}},
                     {"CO", {0, 1, 1}, {-110500.0, -198.0}},
                     {"O2", {0, 0, 2}, {0.0, -205.0}}});
    text.pure({"CaO", {1, 0, 1}, {-635000.0, -38.0}});
    text.pure({"CaCO3", {1, 1, 3}, {-1206900.0, -92.0}});
    return text;
}

/// T at which CaCO3 = CaO + CO2 has dG = 0 at 1 bar.
constexpr double LimeDecomposes = (-635000.0 - 393500.0 + 1206900.0) / (38.0 + 214.0 - 92.0);

TEST(ClosedForms, CarbonateAloneStaysWholeBelowItsDecomposition) {
    const auto system = lime().read();
    Solver solver(system);
    for (double t : {200.0, 700.0, LimeDecomposes - 1.0, LimeDecomposes - 0.01}) {
        const Equilibrium& result =
            solver.solve(conditions(*system, t, 1.0, {{"CaCO3:CaCO3", 1.0}}));
        EXPECT_EQ(amount(*system, result, "CaCO3"), 1.0);
        EXPECT_EQ(amount(*system, result, "GAS"), 0.0);
        EXPECT_EQ(amount(*system, result, "CaO"), 0.0);
        // One compound fixes one combination of the three potentials.
        EXPECT_EQ(result.open_combinations.size(), 2U);
        for (double mu : result.potentials) {
            EXPECT_TRUE(std::isnan(mu));
        }
        const std::size_t i = phase_index(*system, "CaCO3");
        EXPECT_NEAR(result.constituent_potentials[i][0], -1206900.0 - 92.0 * t, 1e-6);
        EXPECT_TRUE(std::isnan(result.constituent_potentials[phase_index(*system, "CaO")][0]));
    }
}

TEST(ClosedForms, CarbonateAloneDecomposesAbove) {
    const auto system = lime().read();
    Solver solver(system);
    for (double t : {LimeDecomposes + 0.01, LimeDecomposes + 100.0, 2000.0}) {
        const Equilibrium& result =
            solver.solve(conditions(*system, t, 1.0, {{"CaCO3:CaCO3", 1.0}}));
        EXPECT_EQ(amount(*system, result, "CaCO3"), 0.0);
        EXPECT_NEAR(amount(*system, result, "CaO"), 1.0, 1e-12);
        EXPECT_TRUE(result.open_combinations.empty());
    }
}

TEST(ClosedForms, OxideAndGasInEqualAmountsMakeCarbonateAlone) {
    const auto system = lime().read();
    Solver solver(system);
    const Equilibrium& result =
        solver.solve(conditions(*system, 900.0, 1.0, {{"CaO:CaO", 1.0}, {"GAS:CO2", 1.0}}));
    EXPECT_EQ(amount(*system, result, "CaCO3"), 1.0);
    EXPECT_EQ(amount(*system, result, "GAS"), 0.0);
    EXPECT_EQ(amount(*system, result, "CaO"), 0.0);
}

TEST(ClosedForms, PressureOfCarbonDioxideOverCarbonateAndOxide) {
    // With argon-like gas to fill the volume: x(CO2) P = exp(-dG/RT).
    DatText text({"Ca", "C", "O", "Ar"});
    text.gas("GAS", {{"CO2", {0, 1, 2, 0}, {-393500.0, -214.0}}, {"Ar", {0, 0, 0, 1}, {0.0}}});
    text.pure({"CaO", {1, 0, 1, 0}, {-635000.0, -38.0}});
    text.pure({"CaCO3", {1, 1, 3, 0}, {-1206900.0, -92.0}});
    const auto system = text.read();
    Solver solver(system);
    for (double t : {300.0, 700.0, 1000.0}) {
        const Equilibrium& result =
            solver.solve(conditions(*system, t, 2.0, {{"CaCO3:CaCO3", 1.0}, {"GAS:Ar", 0.3}}));
        const double g = (-635000.0 - 38.0 * t) + (-393500.0 - 214.0 * t) - (-1206900.0 - 92.0 * t);
        const double p = std::exp(-g / (R * t));
        EXPECT_NEAR(result.phases[0].fractions[0] * 2.0, p, 1e-11 * p) << t;
    }
}

TEST(ClosedForms, TransitionOfAPureSubstance) {
    DatText text({"A"});
    text.pure({"low", {1}, {0.0, -30.0}});
    text.pure({"high", {1}, {1000.0, -31.0}});
    const auto system = text.read();
    Solver solver(system);
    EXPECT_EQ(
        amount(*system, solver.solve(conditions(*system, 999.9999, 1.0, {{"A", 2.0}})), "low"),
        2.0);
    EXPECT_EQ(
        amount(*system, solver.solve(conditions(*system, 1000.0001, 1.0, {{"A", 2.0}})), "high"),
        2.0);
    // At the transition itself either will do, or both.
    const Equilibrium& result = solver.solve(conditions(*system, 1000.0, 1.0, {{"A", 2.0}}));
    EXPECT_NEAR(amount(*system, result, "low") + amount(*system, result, "high"), 2.0, 1e-12);
}

TEST(ClosedForms, DrivingForceOfAnAbsentPureSubstance) {
    DatText text({"A"});
    text.pure({"low", {1}, {0.0, -30.0}});
    text.pure({"high", {1}, {1000.0, -31.0}});
    const auto system = text.read();
    Solver solver(system);
    const Equilibrium& result = solver.solve(conditions(*system, 500.0, 1.0, {{"A", 2.0}}));
    EXPECT_NEAR(result.phases[1].driving_force, -(1000.0 - 500.0) / (R * 500.0), 1e-12);
    EXPECT_EQ(result.phases[0].driving_force, 0.0);
}

// --- unmixing ---

/// x of the poorer side of a regular solution's gap: ln(x/(1-x)) = w (2x - 1), by bisection.
double regular_solution_gap(double w) {
    double low = 1e-300;
    double high = 0.5 - 1e-9;
    for (int step = 0; step < 400; ++step) {
        const double x =
            low > 1e-290 && high / low < 4.0 ? 0.5 * (low + high) : std::sqrt(low * high);
        (std::log(x / (1.0 - x)) - w * (2.0 * x - 1.0) < 0.0 ? low : high) = x;
    }
    return 0.5 * (low + high);
}

DatText regular_solution(double interaction, int copies) {
    DatText text({"A", "B"});
    for (int k = 0; k < copies; ++k) {
        text.redlich_kister("MIX", {{"A", {1, 0}, {0.0, -40.0}}, {"B", {0, 1}, {0.0, -50.0}}},
                            {{{1, 2}, {{interaction}}}});
    }
    return text;
}

TEST(ClosedForms, GapOfARegularSolutionHasACommonTangent) {
    const double t = 800.0;
    for (double w : {2.05, 2.5, 4.0, 10.0, 50.0, 300.0}) {
        const auto system = regular_solution(w * R * t, 2).read();
        Solver solver(system);
        const double poor = regular_solution_gap(w);
        for (double b : {0.3, 0.5, 0.65}) {
            if (b < poor * 1.01 || b > 1.0 - poor * 1.01) {
                continue;
            }
            const Equilibrium& result =
                solver.solve(conditions(*system, t, 1.0, {{"A", 1.0 - b}, {"B", b}}));
            // Sets are numbered by falling fraction of the first component.
            EXPECT_NEAR(result.phases[0].fractions[1], poor, 1e-9 * poor) << w;
            EXPECT_NEAR(result.phases[1].fractions[0], poor, 1e-9 * poor) << w;
            const double lever = (b - poor) / (1.0 - 2.0 * poor);
            EXPECT_NEAR(result.phases[1].amount, lever, 1e-9) << w;
            EXPECT_TRUE(result.folded.empty());
        }
    }
}

TEST(ClosedForms, NoGapAboveTheConsoluteTemperature) {
    const auto system = regular_solution(1.99 * R * 800.0, 2).read();
    Solver solver(system);
    const Equilibrium& result =
        solver.solve(conditions(*system, 800.0, 1.0, {{"A", 0.5}, {"B", 0.5}}));
    EXPECT_EQ(result.phases[0].amount, 1.0);
    EXPECT_EQ(result.phases[1].amount, 0.0);
    EXPECT_EQ(result.phases[1].driving_force, -std::numeric_limits<double>::infinity());
}

TEST(ClosedForms, SurplusSetsAreMadeAndFolded) {
    const double t = 800.0;
    const double w = 3.0;
    const auto system = regular_solution(w * R * t, 1).read();
    Solver solver(system);
    const Equilibrium& result = solver.solve(conditions(*system, t, 1.0, {{"A", 0.4}, {"B", 0.6}}));
    const double poor = regular_solution_gap(w);
    ASSERT_EQ(result.sets.size(), 2U);
    EXPECT_EQ(result.folded, std::vector<std::size_t>{0});
    EXPECT_NEAR(result.sets[0].fractions[1], poor, 1e-9);
    EXPECT_NEAR(result.sets[1].fractions[0], poor, 1e-9);
    EXPECT_NEAR(result.phases[0].amount, 1.0, 1e-12);
    EXPECT_NEAR(result.phases[0].fractions[1], 0.6, 1e-12);
    // Properties of the folded phase are those of its sets: G from the common tangent.
    PropertyTable table(*system);
    table.fill(result, solver.terms());
    const double mixing = std::log(1.0 - poor) + w * poor * poor; // potentials of both, over R T
    const double g = 0.4 * (-40.0 * t) + 0.6 * (-50.0 * t) + R * t * mixing;
    EXPECT_NEAR(table.phase(0).g, g, 1e-8);
    EXPECT_NEAR(table.phase(0).h, R * t * w * poor * (1.0 - poor), 1e-8);
}

TEST(ClosedForms, WithoutSurplusSetsAPhaseStaysWhole) {
    const auto system = regular_solution(3.0 * R * 800.0, 1).read();
    Solver solver(system);
    Solver::Options options;
    options.surplus_sets = false;
    solver.set_options(options);
    const Equilibrium& result =
        solver.solve(conditions(*system, 800.0, 1.0, {{"A", 0.1}, {"B", 0.9}}));
    EXPECT_TRUE(result.sets.empty());
    EXPECT_NEAR(result.phases[0].fractions[1], 0.9, 1e-12);
    // Also where the whole phase is unstable against the smallest change.
    const Equilibrium& unstable =
        solver.solve(conditions(*system, 800.0, 1.0, {{"A", 0.45}, {"B", 0.55}}));
    EXPECT_TRUE(unstable.sets.empty());
    EXPECT_NEAR(unstable.phases[0].fractions[1], 0.55, 1e-12);
    const double mu = -40.0 * 800.0 + R * 800.0 * (std::log(0.45) + 3.0 * 0.55 * 0.55);
    EXPECT_NEAR(unstable.potentials[0], mu, 1e-8);
}

TEST(ClosedForms, ThreeSetsOfOnePhase) {
    // A symmetrical ternary with w = 4 on each side unmixes into three sets that map onto each
    // other.
    const double t = 1000.0;
    DatText text({"A", "B", "C"});
    const double interaction = 4.0 * R * t;
    text.redlich_kister(
        "MIX", {{"A", {1, 0, 0}, {0.0}}, {"B", {0, 1, 0}, {0.0}}, {"C", {0, 0, 1}, {0.0}}},
        {{{1, 2}, {{interaction}}}, {{1, 3}, {{interaction}}}, {{2, 3}, {{interaction}}}});
    const auto system = text.read();
    Solver solver(system);
    const Equilibrium& result =
        solver.solve(conditions(*system, t, 1.0, {{"A", 1.0}, {"B", 1.0}, {"C", 1.0}}));
    ASSERT_EQ(result.sets.size(), 3U);
    for (std::size_t k = 0; k < 3; ++k) {
        EXPECT_NEAR(result.sets[k].amount, 1.0, 1e-9);
        // Each is rich in one component, alike.
        EXPECT_NEAR(result.sets[k].fractions[k], result.sets[0].fractions[0], 1e-9);
        EXPECT_GT(result.sets[k].fractions[k], 0.9);
    }
    // Along the line of symmetry, x and twice y, the tangent plane is level where ln(x/y) = w (x -
    // y).
    const double x = result.sets[0].fractions[0];
    const double y = result.sets[0].fractions[1];
    EXPECT_NEAR(std::log(x / y), 4.0 * (x - y), 1e-9);
}

TEST(ClosedForms, LiquidusOfAnIdealLiquidOverAPureSolid) {
    // Schroeder: ln x = -dH/R (1/T - 1/Tm) for A in an ideal liquid.
    const double melting = 1000.0;
    const double heat = 12000.0;
    DatText text({"A", "B"});
    text.ideal("LIQUID", {{"A", {1, 0}, {heat, -heat / melting}}, {"B", {0, 1}, {0.0}}});
    text.pure({"A(s)", {1, 0}, {0.0}});
    const auto system = text.read();
    Solver solver(system);
    for (double t : {700.0, 850.0, 990.0}) {
        const Equilibrium& result =
            solver.solve(conditions(*system, t, 1.0, {{"A", 0.99}, {"B", 0.01}}));
        const double x = std::exp(-heat / R * (1.0 / t - 1.0 / melting));
        EXPECT_NEAR(result.phases[0].fractions[0], x, 1e-12);
        EXPECT_NEAR(result.phases[0].amount, 0.01 / (1.0 - x), 1e-12);
    }
}

} // namespace
} // namespace tessara::test
