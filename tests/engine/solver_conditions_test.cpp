#include "engine/units/constants.hpp"
#include "support.hpp"

#include <gtest/gtest.h>

#include <cmath>

namespace tessara::test {
namespace {

constexpr double R = GasConstant;

DatText carbon_and_oxygen() {
    DatText text({"C", "O", "Ar"});
    text.gas("GAS", {{"CO", {1, 1, 0}, {-110500.0, -198.0}},
                     {"CO2", {1, 2, 0}, {-393500.0, -214.0}},
                     {"O2", {0, 2, 0}, {0.0, -205.0}},
                     {"Ar", {0, 0, 1}, {0.0, -155.0}}});
    text.pure({"C(gr)", {1, 0, 0}, {0.0, -6.0}});
    text.pure({"C(dia)", {1, 0, 0}, {1900.0, -2.4}});
    return text;
}

std::string message(Solver& solver, const EquilibriumConditions& in) {
    try {
        solver.solve(in);
    } catch (const SolveError& error) {
        return error.what();
    }
    return "solved";
}

GivenPotential given(const System& system, const std::string& component, GivenPotential::Kind kind,
                     double value) {
    return {IncomingAmount::NoPhase, component_index(system, component), kind, value};
}

TEST(VolumeData, AreOnlyRightAtTheirPressure) {
    const auto system = read("volumes\n1 1 0 2\nA\n10\n6 1 2 3 4 5 6\n6 1 2 3 4 5 6\n"
                             "A(s)\n3 1 1\n6000 -1000 -40 0 0 0 0\n1 2 3 4 5 6 7 8 9 10 11\n"
                             "A(l)\n1 1 1\n6000 0 -40 0 0 0 0\n");
    Solver solver(system);
    EquilibriumConditions in = conditions(*system, 1000.0, 1.0, {{"A", 1.0}});
    EXPECT_EQ(message(solver, in), "solved");
    in = conditions(*system, 1000.0, 2.0, {{"A", 1.0}});
    EXPECT_EQ(message(solver, in), "'A(s)' in phase 'A(s)' has volume data, which are not "
                                   "evaluated: set P to 1 bar, or eliminate the phase");
    in.phases = {Participation::Eliminated, Participation::Entered};
    EXPECT_EQ(message(solver, in), "solved");
}

TEST(GivenActivity, OpensTheSystemAndTheAmountComesOut) {
    const auto system = carbon_and_oxygen().read();
    Solver solver(system);
    auto in = conditions(*system, 1000.0, 1.0, {{"O", 1.0}});
    in.potentials.push_back(given(*system, "C", GivenPotential::Kind::Activity, 0.5));
    const Equilibrium& result = solver.solve(in);
    const double g_c = -6.0 * 1000.0;
    EXPECT_NEAR(result.potentials[0], g_c + R * 1000.0 * std::log(0.5), 1e-6);
    // 2 CO = C + CO2 at the given activity.
    const double k =
        std::exp(-(2.0 * (-110500.0 - 198.0e3) - (-393500.0 - 214.0e3) - g_c) / (R * 1000.0));
    const double co = result.phases[0].fractions[0];
    const double co2 = result.phases[0].fractions[1];
    EXPECT_NEAR(co * co / co2, 0.5 * k, 1e-10 * k);
    EXPECT_NEAR(result.amounts[0], result.phases[0].amount * (co + co2), 1e-12);
    EXPECT_EQ(amount(*system, result, "C(gr)"), 0.0);
    EXPECT_NEAR(result.phases[phase_index(*system, "C(gr)")].driving_force, std::log(0.5), 1e-12);
}

TEST(GivenActivity, OfOneLeavesTheSaturatedPhaseAtNothing) {
    const auto system = carbon_and_oxygen().read();
    Solver solver(system);
    auto in = conditions(*system, 1000.0, 1.0, {{"O", 1.0}});
    in.potentials.push_back(given(*system, "C", GivenPotential::Kind::Activity, 1.0));
    const Equilibrium& result = solver.solve(in);
    EXPECT_EQ(amount(*system, result, "C(gr)"), 0.0);
    EXPECT_NEAR(result.phases[phase_index(*system, "C(gr)")].driving_force, 0.0, 1e-12);
}

TEST(GivenActivity, AboveSaturationIsRefused) {
    const auto system = carbon_and_oxygen().read();
    Solver solver(system);
    auto in = conditions(*system, 1000.0, 1.0, {{"O", 1.0}});
    in.potentials.push_back(given(*system, "C", GivenPotential::Kind::Activity, 1.5));
    EXPECT_EQ(message(solver, in),
              "the given activities or potentials (of C) cannot be held: a phase "
              "would grow without limit. Give lower ones");
}

TEST(GivenActivity, OfAGasSpeciesIsItsFugacityInBar) {
    const auto system = carbon_and_oxygen().read();
    Solver solver(system);
    for (double p : {1.0, 30.0}) {
        auto in = conditions(*system, 1500.0, p, {{"C", 1.0}, {"Ar", 0.1}});
        in.potentials.push_back({0, 2, GivenPotential::Kind::Activity, 1e-12});
        const Equilibrium& result = solver.solve(in);
        EXPECT_NEAR(result.phases[0].fractions[2] * p, 1e-12, 1e-24);
    }
}

TEST(GivenPotential, IsTakenAsItStands) {
    const auto system = carbon_and_oxygen().read();
    Solver solver(system);
    auto in = conditions(*system, 1500.0, 1.0, {{"C", 1.0}});
    in.potentials.push_back({0, 2, GivenPotential::Kind::Potential, -500000.0});
    const Equilibrium& result = solver.solve(in);
    EXPECT_NEAR(result.constituent_potentials[0][2], -500000.0, 1e-6);
    EXPECT_NEAR(result.potentials[1], -250000.0, 1e-6);
}

TEST(GivenPotential, OfAComponentWithoutRecordIsAllowedAndItsActivityIsNot) {
    DatText text({"A", "B"});
    text.gas("GAS", {{"A", {1, 0}, {0.0}}, {"AB", {1, 1}, {-50000.0}}});
    const auto system = text.read();
    Solver solver(system);
    auto in = conditions(*system, 1000.0, 1.0, {{"A", 1.0}});
    in.potentials.push_back(given(*system, "B", GivenPotential::Kind::Potential, -60000.0));
    const Equilibrium& result = solver.solve(in);
    const double ratio = std::exp((-60000.0 + 50000.0) / (R * 1000.0));
    EXPECT_NEAR(result.phases[0].fractions[1] / result.phases[0].fractions[0], ratio,
                1e-11 * ratio);
    in.potentials[0].kind = GivenPotential::Kind::Activity;
    EXPECT_EQ(message(solver, in), "the activity of component B cannot be given: the data file has "
                                   "no record made of it alone");
}

TEST(GivenActivity, MayCountADummyWithDataAsReference) {
    DatText text({"A", "B"});
    text.gas("GAS", {{"A", {1, 0}, {0.0}}, {"AB", {1, 1}, {-50000.0}}});
    text.dummy({"B2(s)", {0, 2}, {-8000.0}});
    const auto system = text.read();
    Solver solver(system);
    auto in = conditions(*system, 1000.0, 1.0, {{"A", 1.0}});
    in.potentials.push_back(given(*system, "B", GivenPotential::Kind::Activity, 0.01));
    EXPECT_NEAR(solver.solve(in).potentials[1], -4000.0 + R * 1000.0 * std::log(0.01), 1e-6);
}

TEST(Statuses, DormantPhasesGetAnActivityAndDoNotForm) {
    const auto system = carbon_and_oxygen().read();
    Solver solver(system);
    auto in = conditions(*system, 1000.0, 1.0, {{"C", 3.0}, {"O", 2.0}});
    const double stable = solver.solve(in).potentials[0];
    in.phases.assign(system->phases.size(), Participation::Entered);
    in.phases[phase_index(*system, "C(gr)")] = Participation::Dormant;
    const Equilibrium& result = solver.solve(in);
    const PhaseResult& graphite = result.phases[phase_index(*system, "C(gr)")];
    EXPECT_EQ(graphite.amount, 0.0);
    EXPECT_TRUE(graphite.dormant);
    // Diamond sets the carbon potential, above that of graphite.
    EXPECT_GT(graphite.driving_force, 0.0);
    EXPECT_NEAR(graphite.driving_force, (1900.0 - 2.4e3 + 6.0e3) / (R * 1000.0), 1e-12);
    EXPECT_NEAR(result.potentials[0] - stable, 1900.0 - 2.4e3 + 6.0e3, 1e-6);
}

TEST(Statuses, EliminatedPhasesHaveNothing) {
    const auto system = carbon_and_oxygen().read();
    Solver solver(system);
    auto in = conditions(*system, 1000.0, 1.0, {{"C", 3.0}, {"O", 2.0}});
    in.phases.assign(system->phases.size(), Participation::Entered);
    const std::size_t i = phase_index(*system, "C(gr)");
    in.phases[i] = Participation::Eliminated;
    const Equilibrium& result = solver.solve(in);
    EXPECT_FALSE(result.phases[i].can_form);
    EXPECT_EQ(result.phases[i].amount, 0.0);
    EXPECT_TRUE(std::isnan(result.constituent_potentials[i][0]));
}

TEST(Statuses, ConstituentsThatAreNotEnteredAreLeftOut) {
    const auto system = carbon_and_oxygen().read();
    Solver solver(system);
    auto in = conditions(*system, 1000.0, 1.0, {{"C", 1.0}, {"O", 1.5}});
    in.constituents.resize(system->phases.size());
    for (std::size_t i = 0; i < system->phases.size(); ++i) {
        in.constituents[i].assign(system->phases[i].constituents.size(), Participation::Entered);
    }
    in.constituents[0][0] = Participation::Dormant; // no CO
    const Equilibrium& result = solver.solve(in);
    EXPECT_EQ(result.phases[0].fractions[0], 0.0);
    EXPECT_FALSE(std::isnan(result.constituent_potentials[0][0]));
    EXPECT_NEAR(amount(*system, result, "GAS:CO2"), 0.75, 1e-12);
    EXPECT_NEAR(amount(*system, result, "C(gr)"), 0.25, 1e-12);
    in.constituents[0][0] = Participation::Eliminated;
    EXPECT_TRUE(std::isnan(solver.solve(in).constituent_potentials[0][0]));
}

TEST(AbsentComponents, HaveNoPotentialAndTheirPhasesCannotForm) {
    const auto system = carbon_and_oxygen().read();
    Solver solver(system);
    const Equilibrium& result = solver.solve(conditions(*system, 1000.0, 1.0, {{"O", 2.0}}));
    EXPECT_TRUE(std::isnan(result.potentials[0]));
    EXPECT_EQ(result.amounts[0], 0.0);
    EXPECT_FALSE(result.phases[1].can_form);
    EXPECT_EQ(result.phases[0].fractions[0], 0.0);
    EXPECT_TRUE(std::isnan(result.constituent_potentials[0][0]));
    EXPECT_NEAR(result.phases[0].amount, 1.0, 1e-15);
}

TEST(FixedRatios, LeaveNoRoomForWhatWouldBreakThem) {
    // Nothing takes up hydrogen without oxygen: 2 H + O leaves no O2.
    DatText text({"H", "O"});
    text.gas("GAS", {{"H2O", {2, 1}, {0.0}}, {"O2", {0, 2}, {0.0}}});
    const auto system = text.read();
    Solver solver(system);
    const Equilibrium& result =
        solver.solve(conditions(*system, 1000.0, 1.0, {{"H", 2.0}, {"O", 1.0}}));
    EXPECT_EQ(result.phases[0].fractions[1], 0.0);
    EXPECT_EQ(result.phases[0].fractions[0], 1.0);
    EXPECT_TRUE(std::isnan(result.potentials[0]));
    EXPECT_TRUE(std::isnan(result.constituent_potentials[0][1]));
    EXPECT_NEAR(result.constituent_potentials[0][0], 0.0, 1e-9);
    // With a little more oxygen it is there, and the other way round nothing can hold the input.
    EXPECT_NEAR(solver.solve(conditions(*system, 1000.0, 1.0, {{"H", 2.0}, {"O", 1.5}}))
                    .phases[0]
                    .fractions[1],
                0.2, 1e-12);
    EXPECT_EQ(
        message(solver, conditions(*system, 1000.0, 1.0, {{"H", 2.0}, {"O", 0.5}})),
        "the phases that take part cannot hold what goes in: no amounts of their constituents "
        "have its composition (left over: H). Enter further phases, or change the incoming "
        "amounts");
}

TEST(Refusals, SayWhatIsWrong) {
    const auto system = carbon_and_oxygen().read();
    Solver solver(system);
    EXPECT_EQ(message(solver, conditions(*system, 0.0, 1.0, {{"C", 1.0}})),
              "the temperature 0 K is not a positive number");
    EXPECT_EQ(message(solver, conditions(*system, std::nan(""), 1.0, {{"C", 1.0}})),
              "the temperature nan K is not a positive number");
    EXPECT_EQ(message(solver, conditions(*system, 300.0, -1.0, {{"C", 1.0}})),
              "the pressure -100000 Pa is not a positive number");
    EXPECT_EQ(message(solver, conditions(*system, 300.0, 1.0, {})),
              "nothing goes into the system: no incoming amount is above zero");
    EXPECT_EQ(message(solver, conditions(*system, 300.0, 1.0, {{"C", 1.0}, {"O", -0.5}})),
              "the incoming amount of component O is negative in total");
    EXPECT_EQ(message(solver, conditions(*system, 300.0, 1.0, {{"C", INFINITY}})),
              "an incoming amount is not a finite number");
    // Still usable afterwards.
    EXPECT_EQ(message(solver, conditions(*system, 300.0, 1.0, {{"C", 1.0}})), "solved");
}

TEST(Refusals, AmountsThatCancelLeaveNothing) {
    const auto system = carbon_and_oxygen().read();
    Solver solver(system);
    auto in = conditions(*system, 1000.0, 1.0,
                         {{"O", 1.0}, {"GAS:CO2", 0.1}, {"GAS:CO", 0.2}, {"C", -0.3}});
    const Equilibrium& result = solver.solve(in);
    EXPECT_EQ(result.amounts[0], 0.0);
    EXPECT_EQ(result.phases[0].fractions[0], 0.0);
}

TEST(OpenPotentials, AreChosenSoThatNothingElseForms) {
    // B alone: the potential of A, C, ... is open; nothing may form at the ones chosen.
    DatText text({"A", "B"});
    text.gas("GAS",
             {{"A", {1, 0}, {-50000.0}}, {"B", {0, 1}, {90000.0}}, {"AB", {1, 1}, {20000.0}}});
    text.pure({"AB(s)", {1, 1}, {-80000.0}});
    text.pure({"A2B(s)", {2, 1}, {-60000.0}});
    const auto system = text.read();
    Solver solver(system);
    const Equilibrium& result =
        solver.solve(conditions(*system, 1000.0, 1.0, {{"A", 1.0}, {"B", 1.0}}));
    EXPECT_EQ(amount(*system, result, "AB(s)"), 1.0);
    EXPECT_LE(result.certificate.nearest_driving_force, 0.0);
    ASSERT_EQ(result.open_combinations.size(), 1U);
    EXPECT_TRUE(result.certificate.holds());
}

} // namespace
} // namespace tessara::test
