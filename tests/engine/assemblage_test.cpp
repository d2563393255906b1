#include "engine/equilibrium/assemblage.hpp"

#include "engine/units/constants.hpp"
#include "support.hpp"

#include <gtest/gtest.h>

#include <cmath>

namespace tessara::test {
namespace {

/// A gas of CO, CO2, O2 over carbon: an assemblage that a test fills by hand.
class Boudouard : public testing::Test {
protected:
    void SetUp() override {
        DatText text({"C", "O"});
        text.gas("GAS", {{"CO", {1, 1}, {-110500.0, -198.0}},
                         {"CO2", {1, 2}, {-393500.0, -214.0}},
                         {"O2", {0, 2}, {0.0, -205.0}}});
        text.pure({"C(gr)", {1, 0}, {0.0, -6.0}});
        system_ = text.read();
        active_ = std::make_unique<ActiveSystem>(*system_, EquilibriumConditions{},
                                                 std::vector<char>{1, 1}, std::vector<char>());
        TemperatureTerms terms = system_->terms();
        terms.set(T);
        active_->set_state(terms, 1.0);
    }

    MixtureSet& add_gas() {
        MixtureSet& gas = assemblage_.add_mixture(0, 3);
        gas.log_x = {std::log(0.5), std::log(0.5), -30.0};
        PhaseSearch::normalise(gas.x, gas.log_x);
        return gas;
    }

    static constexpr double T = 1000.0;
    static double constant() {
        return std::exp(-(2.0 * (-110500.0 - 198.0 * T) - (-393500.0 - 214.0 * T) - (-6.0 * T)) /
                        (GasConstant * T));
    }

    std::shared_ptr<const System> system_;
    std::unique_ptr<ActiveSystem> active_;
    PhaseSearch search_;
    Assemblage assemblage_{search_};
    std::vector<Reservoir> reservoirs_;
};

TEST_F(Boudouard, SolvesForGasAndCarbon) {
    add_gas();
    assemblage_.pure.push_back({1, 1.0});
    const std::vector<Feed> feeds = {{{1.0, 0.0}, 3.0}, {{0.0, 1.0}, 2.0}};
    ASSERT_EQ(assemblage_.solve(*active_, reservoirs_, feeds, {}), Assemblage::Outcome::Solved);
    const MixtureSet& gas = assemblage_.mixtures[0];
    EXPECT_NEAR(gas.x[0] * gas.x[0] / gas.x[1], constant(), 1e-12 * constant());
    EXPECT_NEAR(gas.amount() * (gas.x[0] + 2.0 * gas.x[1] + 2.0 * gas.x[2]), 2.0, 1e-14);
    EXPECT_NEAR(assemblage_.pure[0].amount, 3.0 - gas.amount() * (gas.x[0] + gas.x[1]), 1e-14);
    EXPECT_EQ(assemblage_.open_count(), 0U);
}

TEST_F(Boudouard, SaysThatCarbonVanishesWhereThereIsTooLittle) {
    add_gas();
    assemblage_.pure.push_back({1, 1.0});
    const std::vector<Feed> feeds = {{{1.0, 0.0}, 1.0}, {{0.0, 1.0}, 1.9}};
    EXPECT_EQ(assemblage_.solve(*active_, reservoirs_, feeds, {}),
              Assemblage::Outcome::PureVanishes);
    EXPECT_EQ(assemblage_.vanishing(), 0U);
}

TEST_F(Boudouard, ReportsWhatTheStablePhasesLeaveOpen) {
    assemblage_.pure.push_back({1, 1.0});
    const std::vector<Feed> feeds = {{{1.0, 0.0}, 3.0}};
    ASSERT_EQ(assemblage_.solve(*active_, reservoirs_, feeds, {}), Assemblage::Outcome::Solved);
    EXPECT_EQ(assemblage_.open_count(), 1U);
    EXPECT_TRUE(assemblage_.determines(std::vector{1.0, 0.0}));
    EXPECT_FALSE(assemblage_.determines(std::vector{0.0, 1.0}));
    EXPECT_EQ(assemblage_.pure[0].amount, 3.0);
}

TEST_F(Boudouard, TakesMatterFromAReservoir) {
    // Carbon at the activity of graphite: the gas takes up what it needs.
    add_gas();
    reservoirs_.push_back({{1.0, 0.0}, active_->gibbs()[3], 0.0});
    const std::vector<Feed> feeds = {{{0.0, 1.0}, 2.0}};
    ASSERT_EQ(assemblage_.solve(*active_, reservoirs_, feeds, {}), Assemblage::Outcome::Solved);
    const MixtureSet& gas = assemblage_.mixtures[0];
    EXPECT_NEAR(gas.x[0] * gas.x[0] / gas.x[1], constant(), 1e-12 * constant());
    EXPECT_NEAR(reservoirs_[0].amount, gas.amount() * (gas.x[0] + gas.x[1]), 1e-14);
}

TEST_F(Boudouard, MakesRoomForAPhaseThatFixesTheSamePotential) {
    DatText text({"A"});
    text.pure({"low", {1}, {0.0}});
    text.pure({"high", {1}, {-1000.0}});
    const auto system = text.read();
    ActiveSystem active(*system, EquilibriumConditions{}, {1}, {});
    TemperatureTerms terms = system->terms();
    terms.set(T);
    active.set_state(terms, 1.0);
    assemblage_.pure.push_back({0, 1.0});
    const std::vector<Feed> feeds = {{{1.0}, 2.0}};
    ASSERT_EQ(assemblage_.solve(active, reservoirs_, feeds, {}), Assemblage::Outcome::Solved);
    EXPECT_NEAR(assemblage_.affinities()[1], 1000.0 / (GasConstant * T), 1e-14);
    ASSERT_TRUE(assemblage_.join_pure(1));
    ASSERT_EQ(assemblage_.pure.size(), 1U);
    EXPECT_EQ(assemblage_.pure[0].block, 1U);
}

} // namespace
} // namespace tessara::test
