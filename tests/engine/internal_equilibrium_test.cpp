// Equilibria of phases with internal variables: against closed forms, and against the laws that
// every equilibrium has to keep, on phases drawn at random.

#include "engine/equilibrium/properties.hpp"
#include "engine/units/constants.hpp"
#include "example_phases.hpp"
#include "plain_models.hpp"
#include "random_phases.hpp"
#include "support.hpp"

#include <Eigen/Dense>
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <numeric>

namespace tessara::test {
namespace {

constexpr double T0 = 1000.0;

Solver::Options single_sets() {
    Solver::Options options;
    options.surplus_sets = false;
    return options;
}

double total_gibbs(const System& system, const Equilibrium& result, const TemperatureTerms& at) {
    PropertyTable table(system);
    table.fill(result, at);
    return table.system().g;
}

// --- closed forms ---

/// Two equal sublattices of A and B with half a site each; an unlike pair has -w. At equal amounts
/// the order eta obeys eta = tanh(w eta / R T) below T = w / R, and is none above.
std::string ordering_text(double w) {
    const std::string unlike = std::to_string(-w);
    return file_head({"Aa", "Bb"}, 4) + "ORDER\nSUBL\n" + species_text("Aa:Aa", "1 0", "0") +
           species_text("Aa:Bb", "0.5 0.5", unlike) + species_text("Bb:Aa", "0.5 0.5", unlike) +
           species_text("Bb:Bb", "0 1", "0") +
           "2\n0.5 0.5\n2 2\nAa Bb\nAa Bb\n1 1 2 2\n1 2 1 2\n0\n" + pure_phases({"Aa", "Bb"});
}

double order_of(double ratio) {
    double low = 1e-9;
    double high = 1.0;
    for (int k = 0; k < 200; ++k) {
        const double eta = 0.5 * (low + high);
        (std::tanh(eta * ratio) > eta ? low : high) = eta;
    }
    return low;
}

class Ordering : public testing::TestWithParam<double> {};

TEST_P(Ordering, FollowsItsClosedForm) {
    const double w = 12000.0;
    const auto system = read(ordering_text(w));
    Solver solver(system);
    const double t = GetParam() * w / GasConstant;
    const Equilibrium& result =
        solver.solve(conditions(*system, t, 1.0, {{"Aa", 1.0}, {"Bb", 1.0}}));
    const double ratio = 1.0 / GetParam();
    const double eta = ratio > 1.0 ? order_of(ratio) : 0.0;
    const std::vector<double>& y = result.phases.front().internal;
    EXPECT_NEAR(std::abs(y[0] - y[2]), eta, 1e-9);
    EXPECT_NEAR(y[0] + y[2], 1.0, 1e-12);
    EXPECT_TRUE(result.folded.empty()); // the twin with the sublattices exchanged is the same phase
    EXPECT_NEAR(result.phases.front().amount, 2.0, 1e-12);
    double g = -w * (1.0 + eta * eta) / 2.0;
    for (const double p : {0.5 * (1.0 + eta), 0.5 * (1.0 - eta)}) {
        g += GasConstant * t * p * std::log(p);
    }
    EXPECT_NEAR(total_gibbs(*system, result, solver.terms()), 2.0 * g, 1e-9 * std::abs(g));
}

INSTANTIATE_TEST_SUITE_P(Temperatures, Ordering, testing::Values(0.2, 0.5, 0.8, 0.95, 1.05, 2.0));

/// A regular solution on one sublattice of two beside a compound on the other: with x = y_A,
/// ln(x / (1 - x)) = (2x - 1) L / R T in both sets.
std::string unmixing_text(const std::string& rest = "Cc") {
    return file_head({"Aa", "Bb", "Cc"}, 2) + "GAP\nSUBL\n" +
           species_text("Aa:Cc", "1 0 2", "-9000") + species_text("Bb:Cc", "0 1 2", "-8000") +
           "2\n1 2\n2 1\nAa Bb\n" + rest + "\n1 2\n1 1\n3\n1 2 3 1\n20000 0 0 0 0 0\n0\n" +
           pure_phases({"Aa", "Bb", "Cc"});
}

TEST(Unmixing, OnASublatticeFollowsItsClosedForm) {
    const auto system = read(unmixing_text());
    Solver solver(system);
    const double ratio = 20000.0 / (GasConstant * T0 * 0.7);
    const Equilibrium& result =
        solver.solve(conditions(*system, 0.7 * T0, 1.0, {{"Aa", 0.5}, {"Bb", 0.5}, {"Cc", 2.0}}));
    ASSERT_EQ(result.sets.size(), 2U);
    EXPECT_EQ(result.folded.size(), 1U);
    double x = 0.999;
    for (int k = 0; k < 200; ++k) {
        x = 1.0 / (1.0 + std::exp((1.0 - 2.0 * x) * ratio));
    }
    EXPECT_NEAR(result.sets[0].internal[0], x, 1e-9);
    EXPECT_NEAR(result.sets[1].internal[0], 1.0 - x, 1e-9);
    EXPECT_NEAR(result.sets[0].amount, 0.5, 1e-9);
    // A and C, B and C are held in fixed ratios: C's own potential stays open.
    EXPECT_TRUE(std::isnan(result.potentials[2]));
    EXPECT_FALSE(std::isnan(result.constituent_potentials[0][0]));
}

TEST(Unmixing, LeavesOneSetWhereSurplusSetsAreNotAllowed) {
    const auto system = read(unmixing_text());
    Solver solver(system);
    solver.set_options(single_sets());
    const Equilibrium& result =
        solver.solve(conditions(*system, 700.0, 1.0, {{"Aa", 0.5}, {"Bb", 0.5}, {"Cc", 2.0}}));
    EXPECT_TRUE(result.sets.empty());
    EXPECT_NEAR(result.phases[0].internal[0], 0.5, 1e-12);
}

TEST(Traces, OnASublatticeKeepTheirDigits) {
    const auto system = read(unmixing_text());
    Solver solver(system);
    const Equilibrium& result =
        solver.solve(conditions(*system, T0, 1.0, {{"Aa", 1.0}, {"Bb", 1e-12}, {"Cc", 2.0}}));
    const PhaseResult& phase = result.phases[0];
    // The sublattice of C is full by two for each of A and B: a sum of A and B that is not half of
    // C forms pure C or its like.
    EXPECT_NEAR(phase.internal[1], 1e-12, 1e-22);
    const double rt = GasConstant * T0;
    EXPECT_NEAR(result.constituent_potentials[0][1] - result.constituent_potentials[0][0],
                1000.0 + 20000.0 + rt * std::log(1e-12), 1e-3);
}

// --- statuses ---

EquilibriumConditions of_sublattices(const System& system, const std::vector<std::size_t>& gone) {
    EquilibriumConditions in =
        conditions(system, 1500.0, 1.0, {{"Aa", 1.0}, {"Bb", 0.6}, {"Cc", 0.7}, {"Xx", 0.5}});
    in.phases.assign(system.phases.size(), Participation::Entered);
    for (const Phase& phase : system.phases) {
        in.constituents.emplace_back(phase.constituents.size(), Participation::Entered);
    }
    for (std::size_t c : gone) {
        in.constituents[0][c] = Participation::Eliminated;
    }
    return in;
}

TEST(StatusesOfEndMembers, TakeASiteConstituentOutWithTheLastThatHoldsIt) {
    const auto system = read(sublattice_text());
    Solver solver(system);
    solver.set_options(single_sets());
    const Equilibrium& result = solver.solve(of_sublattices(*system, {6, 7, 8})); // C on the first
    EXPECT_EQ(result.phases[0].internal.size(), 5U);
    EXPECT_EQ(result.phases[0].fractions[7], 0.0);
    EXPECT_EQ(result.phases[0].constituent_can_form[8], 0);
    EXPECT_TRUE(std::isnan(result.constituent_potentials[0][8]));
}

TEST(StatusesOfEndMembers, AreRefusedWhereOthersWouldHaveToGo) {
    const auto system = read(sublattice_text());
    Solver solver(system);
    try {
        solver.solve(of_sublattices(*system, {0}));
        FAIL();
    } catch (const SolveError& error) {
        const std::string text = error.what();
        EXPECT_NE(text.find("phase 'ETA'"), std::string::npos) << text;
        EXPECT_NE(text.find("SUBL"), std::string::npos) << text;
        EXPECT_NE(text.find("Aa:"), std::string::npos) << text;
        EXPECT_NE(text.find("would have to go too"), std::string::npos) << text;
    }
}

TEST(StatusesOfEndMembers, MayLeaveAnEliminatedPhaseAlone) {
    const auto system = read(sublattice_text());
    Solver solver(system);
    EquilibriumConditions in = of_sublattices(*system, {0});
    in.phases[0] = Participation::Eliminated;
    EXPECT_EQ(solver.solve(in).phases[0].amount, 0.0);
}

TEST(DormantSublattices, HaveADrivingForceAndAComposition) {
    const auto system = read(sublattice_text());
    Solver solver(system);
    EquilibriumConditions in = of_sublattices(*system, {});
    in.phases[0] = Participation::Dormant;
    const Equilibrium& result = solver.solve(in);
    EXPECT_EQ(result.phases[0].amount, 0.0);
    EXPECT_GT(result.phases[0].driving_force, 1.0);
    EXPECT_NEAR(std::accumulate(result.phases[0].internal.begin(),
                                result.phases[0].internal.begin() + 3, 0.0),
                1.0, 1e-12);
}

// --- laws, on phases drawn at random ---

constexpr double T = 1500.0;

/// Temperatures in a row; under the sanitizers, where each takes seconds, a sample.
#ifdef __SANITIZE_ADDRESS__
constexpr int Temperatures = 2;
#else
constexpr int Temperatures = 4;
#endif

std::shared_ptr<System> system_of(const RandomModel& drawn) {
    auto system = std::make_shared<System>();
    const std::size_t nc = drawn.constituents.front().stoichiometry.size();
    Phase mixture;
    mixture.name = mixture.file_name = "MIX";
    mixture.constituents = drawn.constituents;
    for (std::size_t c = 0; c < mixture.constituents.size(); ++c) {
        mixture.constituents[c].name = "I" + std::to_string(c);
    }
    mixture.model = drawn.model;
    system->phases.push_back(std::move(mixture));
    for (std::size_t j = 0; j < nc; ++j) {
        system->components.push_back({"C" + std::to_string(j), 10.0, false});
        Phase pure;
        pure.name = pure.file_name = "P" + std::to_string(j);
        Constituent alone;
        alone.name = pure.name;
        alone.stoichiometry.assign(nc, 0.0);
        alone.stoichiometry[j] = 1.0;
        alone.gibbs.add_range({6000.0, {3e5, 0.0, 0.0, 0.0, 0.0, 0.0}, {}});
        pure.constituents.push_back(std::move(alone));
        pure.first_copy = system->phases.size();
        system->phases.push_back(std::move(pure));
    }
    return system;
}

/// Amounts of constituents; each in three is absent, or a trace.
EquilibriumConditions drawn_amounts(const System& system, std::mt19937& random, bool traces) {
    EquilibriumConditions in;
    in.t = T;
    std::uniform_real_distribution<double> uniform(0.2, 1.5);
    for (std::size_t c = 0; c < system.phases[0].constituents.size(); ++c) {
        const double n = uniform(random);
        in.amounts.push_back({0, c, traces && random() % 3 == 0 ? 1e-12 * n : n});
    }
    return in;
}

/// A set of the mixture: units and variables.
struct Units {
    double units;
    std::vector<double> y;
};

double plain(const System& system, const std::vector<Units>& sets,
             const std::vector<double>& pure) {
    double g = 0.0;
    for (const Units& set : sets) {
        std::vector<std::complex<double>> y;
        for (double value : set.y) {
            y.push_back(std::max(value, 1e-60)); // the plain equations know no logarithm of zero
        }
        g += set.units *
             plain_gibbs(system.phases[0].constituents, *system.phases[0].model, y, T, 1.0).real();
    }
    for (double n : pure) {
        g += 3e5 * n;
    }
    return g;
}

class InternalLaws : public testing::TestWithParam<std::tuple<std::size_t, unsigned>> {
protected:
    InternalLaws() {
        drawn_ = row().draw(random_);
        system_ = system_of(drawn_);
        std::vector<std::size_t> all(drawn_.constituents.size());
        std::iota(all.begin(), all.end(), 0U);
        evaluator_ = drawn_.model->evaluator(system_->phases[0].constituents, all);
    }
    const ModelRow& row() const { return model_rows()[std::get<0>(GetParam())]; }

    std::mt19937 random_{std::get<1>(GetParam())};
    RandomModel drawn_;
    std::shared_ptr<System> system_;
    std::unique_ptr<PhaseEvaluator> evaluator_;
};

/// Balances, the constituents' potentials, the sum of the potentials, and no lower Gibbs energy in
/// any direction that keeps what is there, worked out from the plain equations.
TEST_P(InternalLaws, HoldAtTheEquilibrium) {
    Solver solver(system_);
    const Variables* variables = evaluator_->variables();
    for (const bool traces : {false, true}) {
        SCOPED_TRACE(traces ? "with traces" : "without traces");
        const EquilibriumConditions in = drawn_amounts(*system_, random_, traces);
        const Equilibrium& result = solver.solve(in);
        EXPECT_TRUE(result.certificate.holds());
        // What the reported constituents hold is what went in.
        const std::size_t nc = system_->components.size();
        std::vector<double> held(nc, 0.0);
        std::vector<double> input(nc, 0.0);
        for (std::size_t i = 0; i < system_->phases.size(); ++i) {
            for (std::size_t c = 0; c < system_->phases[i].constituents.size(); ++c) {
                for (std::size_t j = 0; j < nc; ++j) {
                    const double a = system_->phases[i].constituents[c].stoichiometry[j];
                    const double n = result.phases[i].amount > 0.0
                                         ? result.phases[i].amount * result.phases[i].fractions[c]
                                         : 0.0;
                    held[j] += a * n;
                    input[j] += i == 0 ? a * in.amounts[c].amount : 0.0;
                }
            }
        }
        for (std::size_t j = 0; j < nc; ++j) {
            EXPECT_NEAR(held[j], input[j], 3e-12 * input[j]) << j;
        }
        // G is the sum of the amounts times their potentials, and that of the equations.
        const double g = total_gibbs(*system_, result, solver.terms());
        double sum = 0.0;
        for (std::size_t c = 0; c < in.amounts.size(); ++c) {
            sum += in.amounts[c].amount * result.constituent_potentials[0][c];
        }
        EXPECT_NEAR(sum, g, 1e-9 * std::abs(g));
        if (variables == nullptr || result.phases[0].amount == 0.0) {
            continue;
        }
        std::vector<Units> sets;
        std::vector<double> pure;
        const auto add = [&](double moles, const std::vector<double>& y) {
            std::vector<double> reported(in.amounts.size());
            evaluator_->reported(y, reported);
            sets.push_back({moles / std::accumulate(reported.begin(), reported.end(), 0.0), y});
        };
        if (result.sets.empty()) {
            add(result.phases[0].amount, result.phases[0].internal);
        }
        for (const CompositionSet& set : result.sets) {
            add(set.amount, set.internal);
        }
        for (std::size_t i = 1; i < system_->phases.size(); ++i) {
            pure.push_back(result.phases[i].amount);
        }
        EXPECT_NEAR(plain(*system_, sets, pure), g, 1e-9 * std::abs(g));
        // Directions: of each set a relative change along its constraints, of its units, and of the
        // pure phases that then close the balances.
        for (int trial = 0; trial < 60; ++trial) {
            std::vector<Units> others = sets;
            std::vector<double> left(nc, 0.0);
            for (std::size_t f = 0; f < sets.size(); ++f) {
                const std::vector<double> change = random_change(*evaluator_, sets[f].y, random_);
                const double size = trial % 2 == 0 ? 1e-3 : 1e-5;
                for (std::size_t v = 0; v < change.size(); ++v) {
                    others[f].y[v] += size * change[v];
                    for (std::size_t j = 0; j < nc; ++j) {
                        const double a = variables->stoichiometry[v * nc + j];
                        left[j] +=
                            a * (sets[f].units * sets[f].y[v] - others[f].units * others[f].y[v]);
                    }
                }
            }
            std::vector<double> more = pure;
            for (std::size_t j = 0; j < nc; ++j) {
                more[j] += left[j];
            }
            // Pure phases hold no less than nothing: the mixture first gives all of a bit.
            double factor = 1.0;
            for (std::size_t j = 0; j < nc; ++j) {
                if (more[j] < 0.0) {
                    double in_mixture = 0.0;
                    for (std::size_t f = 0; f < sets.size(); ++f) {
                        for (std::size_t v = 0; v < sets[f].y.size(); ++v) {
                            in_mixture += others[f].units * others[f].y[v] *
                                          variables->stoichiometry[v * nc + j];
                        }
                    }
                    factor = std::min(factor, 1.0 + more[j] / in_mixture);
                }
            }
            for (std::size_t f = 0; f < sets.size(); ++f) {
                others[f].units *= factor;
            }
            for (std::size_t j = 0; j < nc; ++j) {
                double in_mixture = 0.0;
                for (std::size_t f = 0; f < sets.size(); ++f) {
                    for (std::size_t v = 0; v < sets[f].y.size(); ++v) {
                        in_mixture +=
                            others[f].units * others[f].y[v] * variables->stoichiometry[v * nc + j];
                    }
                }
                more[j] = std::max(0.0, input[j] - in_mixture);
            }
            EXPECT_GE(plain(*system_, others, more), g - 1e-11 * std::abs(g));
        }
    }
}

TEST_P(InternalLaws, DoNotDependOnTheStartOrTheAmountOfAll) {
    Solver cold(system_);
    Solver warm(system_);
    EquilibriumConditions in = drawn_amounts(*system_, random_, false);
    const double tolerance = 1e-8;
    for (int step = 0; step < Temperatures; ++step) {
        in.t = T * (1.0 + 0.02 * step);
        const Equilibrium one = cold.solve(in);
        const Equilibrium other = warm.solve(in, Solver::Start::Warm);
        EquilibriumConditions large = in;
        for (IncomingAmount& amount : large.amounts) {
            amount.amount *= 1e9;
        }
        const Equilibrium& scaled = cold.solve(large);
        for (std::size_t c = 0; c < in.amounts.size(); ++c) {
            const double mu = one.constituent_potentials[0][c];
            EXPECT_NEAR(other.constituent_potentials[0][c], mu, tolerance * std::abs(mu));
            EXPECT_NEAR(scaled.constituent_potentials[0][c], mu, tolerance * std::abs(mu));
        }
        EXPECT_NEAR(scaled.phases[0].amount, 1e9 * one.phases[0].amount,
                    (tolerance + 1e-7) * 1e9 * one.phases[0].amount);
    }
}

TEST_P(InternalLaws, DoNotDependOnTheOrderOfConstituents) {
    const PermutedModel permuted = row().permute(drawn_);
    const auto other = system_of(permuted.phase);
    const EquilibriumConditions in = drawn_amounts(*system_, random_, false);
    Solver solver(system_);
    Solver other_solver(other);
    const Equilibrium& one = solver.solve(in);
    // What goes in, by components: the order of the constituents may differ.
    EquilibriumConditions components;
    components.t = in.t;
    for (std::size_t j = 0; j < system_->components.size(); ++j) {
        components.amounts.push_back({IncomingAmount::NoPhase, j, one.amounts[j]});
    }
    const double g = total_gibbs(*system_, one, solver.terms());
    const Equilibrium& two = other_solver.solve(components);
    EXPECT_NEAR(total_gibbs(*other, two, other_solver.terms()), g, 1e-10 * std::abs(g));
    EXPECT_NEAR(two.phases[0].amount, one.phases[0].amount, 1e-6 * one.phases[0].amount);
}

TEST_P(InternalLaws, HoldWhereAComponentIsAbsent) {
    Solver solver(system_);
    for (std::size_t gone = 0; gone < system_->components.size(); ++gone) {
        EquilibriumConditions in = drawn_amounts(*system_, random_, false);
        std::size_t left = 0;
        for (std::size_t c = 0; c < in.amounts.size(); ++c) {
            if (system_->phases[0].constituents[c].stoichiometry[gone] != 0.0) {
                in.amounts[c].amount = 0.0;
            }
            left += in.amounts[c].amount > 0.0 ? 1U : 0U;
        }
        if (left == 0) {
            continue;
        }
        const Equilibrium& result = solver.solve(in);
        EXPECT_EQ(result.amounts[gone], 0.0);
        EXPECT_TRUE(std::isnan(result.potentials[gone]));
        for (std::size_t c = 0; c < in.amounts.size(); ++c) {
            if (system_->phases[0].constituents[c].stoichiometry[gone] != 0.0) {
                EXPECT_EQ(result.phases[0].fractions[c], 0.0);
            }
        }
    }
}

/// S = -dG/dT along the equilibrium, and the partial quantities sum to the phase's.
TEST_P(InternalLaws, HoldForTheThermalProperties) {
    Solver solver(system_);
    EquilibriumConditions in = drawn_amounts(*system_, random_, false);
    const auto at = [&](double t) {
        in.t = t;
        const Equilibrium& result = solver.solve(in);
        PropertyTable table(*system_);
        table.fill(result, solver.terms());
        return table;
    };
    const double step = 0.05;
    const double lower = at(T - step).system().g;
    const double upper = at(T + step).system().g;
    const PropertyTable table = at(T);
    EXPECT_NEAR(table.system().s, (lower - upper) / (2.0 * step),
                1e-6 * std::abs(table.system().s) + 1e-11 * std::abs(lower) / step);
    const Equilibrium& result = solver.solve(in);
    if (!result.folded.empty() || result.phases[0].amount == 0.0) {
        return; // means over sets
    }
    ThermalProperties sum;
    for (std::size_t c = 0; c < in.amounts.size(); ++c) {
        const ThermalProperties& partial = table.constituent(0, c);
        sum += result.phases[0].fractions[c] * partial;
        EXPECT_NEAR(partial.g, result.constituent_potentials[0][c], 1e-9 * std::abs(partial.g));
    }
    const ThermalProperties& whole = table.phase(0);
    EXPECT_NEAR(sum.g, whole.g, 1e-10 * std::abs(whole.g));
    EXPECT_NEAR(sum.h, whole.h, 1e-9 * std::abs(whole.g));
    EXPECT_NEAR(sum.s, whole.s, 1e-9 * std::abs(whole.s));
    EXPECT_NEAR(sum.cp, whole.cp, 1e-6 * std::abs(whole.cp));
}

/// Systems drawn for each model; the sanitizers make each several times as long.
#ifdef __SANITIZE_ADDRESS__
constexpr unsigned Draws = 1;
#else
constexpr unsigned Draws = 8;
#endif

INSTANTIATE_TEST_SUITE_P(Models, InternalLaws,
                         testing::Combine(testing::Range<std::size_t>(0, model_rows().size()),
                                          testing::Range(1U, Draws + 1)),
                         [](const auto& info) {
                             return std::string(model_rows()[std::get<0>(info.param)].name) +
                                    std::to_string(std::get<1>(info.param));
                         });

} // namespace
} // namespace tessara::test
