// Each bound of the certificate catches what it is there for: results are spoilt in one respect,
// and the certificate that is worked out from them says so.

#include "support.hpp"

#include <gtest/gtest.h>

#include <cmath>

namespace tessara {

/// Spoils the last result of a solver and has its certificate worked out again.
struct SolverFaults {
    Solver& solver;

    Assemblage& assemblage() { return solver.assemblage_; }
    /// A phase that did not take part is counted among those that could have formed.
    void enter_dormant() {
        for (Block& block : solver.active_->blocks) {
            block.dormant = false;
        }
    }
    const Certificate& certify() {
        solver.certify();
        return solver.result_.certificate;
    }
};

namespace test {
namespace {

/// A gas of CO and CO2 over carbon at 1000 K.
class BrokenSolver : public testing::Test {
protected:
    std::shared_ptr<const System> system =
        DatText({"C", "O"})
            .gas("GAS", {{"CO", {1, 1}, {-80000, -210}}, {"CO2", {1, 2}, {-350000, -240}}})
            .pure({"C", {1, 0}, {0, -12}})
            .read();
    Solver solver{system};
    SolverFaults faults{solver};
    EquilibriumConditions in = conditions(*system, 1000.0, 1.0, {{"C", 2.0}, {"O", 1.5}});

    void SetUp() override {
        ASSERT_TRUE(solver.solve(in).certificate.holds());
        ASSERT_EQ(faults.assemblage().pure.size(), 1U);
        ASSERT_EQ(faults.assemblage().mixture_count, 1U);
        ASSERT_TRUE(faults.certify().holds());
    }
};

TEST_F(BrokenSolver, IsCaughtWhereABalanceIsOff) {
    faults.assemblage().pure[0].amount *= 1.0 + 1e-10;
    const Certificate& certificate = faults.certify();
    EXPECT_GT(certificate.balance, Certificate::BalanceBound);
    EXPECT_LE(certificate.potential, Certificate::PotentialBound);
    EXPECT_FALSE(certificate.holds());
}

TEST_F(BrokenSolver, IsCaughtWhereTheAmountOfAMixtureIsOff) {
    faults.assemblage().mixtures[0].log_amount -= 1e-10;
    const Certificate& certificate = faults.certify();
    EXPECT_GT(certificate.balance, Certificate::BalanceBound);
    EXPECT_LE(certificate.potential, Certificate::PotentialBound);
    EXPECT_FALSE(certificate.holds());
}

TEST_F(BrokenSolver, IsCaughtWhereAPotentialIsOff) {
    // The composition is off by so little that the balances of both elements are kept.
    MixtureSet& gas = faults.assemblage().mixtures[0];
    for (std::size_t i = 0; i < gas.x.size(); ++i) {
        gas.log_x[i] += 1e-8;
    }
    const Certificate& certificate = faults.certify();
    EXPECT_LE(certificate.balance, Certificate::BalanceBound);
    EXPECT_GT(certificate.potential, Certificate::PotentialBound);
    EXPECT_FALSE(certificate.holds());
}

TEST_F(BrokenSolver, IsCaughtWhereAPhaseThatWouldFormIsLeftOut) {
    in = conditions(*system, 1000.0, 1.0, {{"C", 1.0}, {"O", 1.05}});
    in.phases = {Participation::Entered, Participation::Dormant};
    ASSERT_TRUE(solver.solve(in).certificate.holds());
    faults.enter_dormant();
    const Certificate& certificate = faults.certify();
    EXPECT_LE(certificate.balance, Certificate::BalanceBound);
    EXPECT_LE(certificate.potential, Certificate::PotentialBound);
    EXPECT_GT(certificate.driving_force, Certificate::DrivingForceBound);
    EXPECT_EQ(certificate.nearest_phase, phase_index(*system, "C"));
    EXPECT_FALSE(certificate.holds());
}

TEST(Certificates, HoldUpToTheirBoundsAndNoFurther) {
    const auto beyond = [](double bound) { return std::nextafter(bound, 1.0); };
    Certificate certificate;
    certificate.balance = Certificate::BalanceBound;
    certificate.potential = Certificate::PotentialBound;
    certificate.driving_force = Certificate::DrivingForceBound;
    EXPECT_TRUE(certificate.holds());
    for (double Certificate::*residual :
         {&Certificate::balance, &Certificate::potential, &Certificate::driving_force}) {
        Certificate broken = certificate;
        broken.*residual = beyond(broken.*residual);
        EXPECT_FALSE(broken.holds());
    }
}

} // namespace
} // namespace test
} // namespace tessara
