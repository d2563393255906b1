// Laws that every equilibrium has to keep, on systems drawn at random: nothing but the models is
// used to check the results.

#include "engine/units/constants.hpp"
#include "random_systems.hpp"
#include "support.hpp"

#include <Eigen/Dense>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

namespace tessara::test {
namespace {

/// All moles of constituents of a result, set by set: a phase that unmixes stands once per set.
struct State {
    std::vector<std::size_t> phase;
    std::vector<std::vector<double>> moles;
};

State state_of(const System& system, const Equilibrium& result) {
    State state;
    const auto add = [&](std::size_t i, double n, const std::vector<double>& x) {
        state.phase.push_back(i);
        state.moles.push_back(x);
        for (double& value : state.moles.back()) {
            value *= n;
        }
    };
    for (std::size_t i = 0; i < system.phases.size(); ++i) {
        const bool folded =
            std::find(result.folded.begin(), result.folded.end(), i) != result.folded.end();
        if (result.phases[i].amount > 0.0 && !folded) {
            add(i, result.phases[i].amount, result.phases[i].fractions);
        }
    }
    for (const CompositionSet& set : result.sets) {
        if (std::find(result.folded.begin(), result.folded.end(), set.phase) !=
            result.folded.end()) {
            add(set.phase, set.amount, set.fractions);
        }
    }
    return state;
}

double gibbs(const System& system, double t, double p, const State& state) {
    double total = 0.0;
    for (std::size_t k = 0; k < state.phase.size(); ++k) {
        std::vector<std::vector<double>> moles(system.phases.size());
        for (std::size_t i = 0; i < system.phases.size(); ++i) {
            moles[i].assign(system.phases[i].constituents.size(), 0.0);
        }
        moles[state.phase[k]] = state.moles[k];
        total += gibbs_of_state(system, t, p / ReferencePressure, moles);
    }
    return total;
}

void expect_balanced(const System& system, const EquilibriumConditions& in, const State& state) {
    for (std::size_t j = 0; j < system.components.size(); ++j) {
        double sum = 0.0;
        double size = 0.0;
        for (const IncomingAmount& amount : in.amounts) {
            sum -= amount.index == j ? amount.amount : 0.0;
            size += amount.index == j ? amount.amount : 0.0;
        }
        for (std::size_t k = 0; k < state.phase.size(); ++k) {
            for (std::size_t c = 0; c < state.moles[k].size(); ++c) {
                const double term = state.moles[k][c] *
                                    system.phases[state.phase[k]].constituents[c].stoichiometry[j];
                sum += term;
                size += term;
            }
        }
        EXPECT_LE(std::abs(sum), 1e-12 * size);
    }
}

/// Potentials of all constituents that are there are those of the components.
void expect_equal_potentials(const System& system, const Equilibrium& result, const State& state) {
    TemperatureTerms terms = system.terms();
    terms.set(result.t);
    const double rt = GasConstant * result.t;
    for (std::size_t k = 0; k < state.phase.size(); ++k) {
        const Phase& phase = system.phases[state.phase[k]];
        double n = 0.0;
        for (double value : state.moles[k]) {
            n += value;
        }
        std::vector<std::size_t> active;
        std::vector<double> x;
        std::vector<double> log_x;
        for (std::size_t c = 0; c < state.moles[k].size(); ++c) {
            if (state.moles[k][c] > 0.0) {
                active.push_back(c);
                x.push_back(state.moles[k][c] / n);
                log_x.push_back(std::log(x.back()));
            }
        }
        std::vector<double> own(active.size(), 0.0);
        if (phase.model) {
            const auto evaluator = phase.model->evaluator(phase.constituents, active);
            evaluator->set_state(terms, result.p / ReferencePressure);
            std::vector<double> gradient(active.size());
            std::vector<double> hessian(active.size() * active.size());
            const double m = evaluator->mixing(x, log_x, gradient, hessian);
            double mean = 0.0;
            for (std::size_t c = 0; c < active.size(); ++c) {
                mean += x[c] * gradient[c];
            }
            for (std::size_t c = 0; c < active.size(); ++c) {
                own[c] = rt * (m + gradient[c] - mean);
            }
        }
        for (std::size_t c = 0; c < active.size(); ++c) {
            const Constituent& constituent = phase.constituents[active[c]];
            double mu = own[c] + System::standard_gibbs(constituent, terms);
            double size = std::abs(mu);
            bool known = true;
            for (std::size_t j = 0; j < system.components.size(); ++j) {
                if (constituent.stoichiometry[j] != 0.0) {
                    known = known && !std::isnan(result.potentials[j]);
                    mu -= constituent.stoichiometry[j] * result.potentials[j];
                    size += std::abs(constituent.stoichiometry[j] * result.potentials[j]);
                }
            }
            // A fraction read back from a denormal number has few digits.
            if (known && x[c] > 1e-290) {
                EXPECT_LE(std::abs(mu), 1e-9 * rt + 64 * Epsilon * size)
                    << phase.name << ":" << constituent.name;
            }
        }
    }
}

/// The Gibbs energy is no higher than that of states around the result that hold the same matter:
/// steps of random directions in the null space of the balances, over all constituents of the
/// stable phases, and over amounts of absent ones.
void expect_lowest(const System& system, const EquilibriumConditions& in, const State& state,
                   const Equilibrium& result, Random& random, int trials) {
    // Places that can change: constituents of stable sets, and absent pure phases and end members.
    struct Place {
        std::size_t set, constituent;
    };
    State extended = state;
    std::vector<Place> places;
    for (std::size_t i = 0; i < system.phases.size(); ++i) {
        if (result.phases[i].can_form && result.phases[i].amount == 0.0) {
            extended.phase.push_back(i);
            extended.moles.emplace_back(system.phases[i].constituents.size(), 0.0);
        }
    }
    for (std::size_t k = 0; k < extended.phase.size(); ++k) {
        for (std::size_t c = 0; c < extended.moles[k].size(); ++c) {
            if (result.phases[extended.phase[k]].constituent_can_form[c] != 0) {
                places.push_back({k, c});
            }
        }
    }
    const auto rows = static_cast<Eigen::Index>(system.components.size());
    Eigen::MatrixXd balance(rows, static_cast<Eigen::Index>(places.size()));
    for (std::size_t q = 0; q < places.size(); ++q) {
        const auto& a = system.phases[extended.phase[places[q].set]]
                            .constituents[places[q].constituent]
                            .stoichiometry;
        for (Eigen::Index j = 0; j < rows; ++j) {
            balance(j, static_cast<Eigen::Index>(q)) = a[static_cast<std::size_t>(j)];
        }
    }
    const Eigen::MatrixXd kernel = balance.fullPivLu().kernel();
    const double lowest = gibbs(system, in.t, in.p, state);
    std::normal_distribution<double> normal;
    for (int trial = 0; trial < trials; ++trial) {
        Eigen::VectorXd direction = Eigen::VectorXd::Zero(balance.cols());
        for (Eigen::Index d = 0; d < kernel.cols(); ++d) {
            direction += normal(random) * kernel.col(d);
        }
        for (double size : {1e-2, 1e-4, 1e-6}) {
            // As far as the size says, but not below nothing.
            double length = size / (direction.norm() + 1e-300);
            for (std::size_t q = 0; q < places.size(); ++q) {
                const double n = extended.moles[places[q].set][places[q].constituent];
                const double change = direction[static_cast<Eigen::Index>(q)];
                if (change < 0.0) {
                    length = std::min(length, n / -change);
                }
            }
            if (length == 0.0) {
                continue;
            }
            State other = extended;
            for (std::size_t q = 0; q < places.size(); ++q) {
                double& n = other.moles[places[q].set][places[q].constituent];
                n = std::max(0.0, n + length * direction[static_cast<Eigen::Index>(q)]);
            }
            const double g = gibbs(system, in.t, in.p, other);
            EXPECT_GE(g, lowest - 1e-11 * std::abs(lowest)) << size;
        }
    }
}

class RandomSystems : public testing::TestWithParam<unsigned> {};

TEST_P(RandomSystems, KeepBalancesPotentialsAndTheMinimum) {
    Random random(GetParam());
    const std::size_t components = 2 + GetParam() % 4;
    const auto system = random_system(random, components).read();
    Solver solver(system);
    for (int trial = 0; trial < 20; ++trial) {
        const EquilibriumConditions in = random_conditions(random, *system);
        SCOPED_TRACE("trial " + std::to_string(trial) + " at " + std::to_string(in.t) + " K");
        const Equilibrium& result = solver.solve(in);
        const State state = state_of(*system, result);
        expect_balanced(*system, in, state);
        expect_equal_potentials(*system, result, state);
        expect_lowest(*system, in, state, result, random, trial == 0 ? 350 : 20);
    }
}

TEST_P(RandomSystems, DoNotDependOnTheAmountOfAll) {
    Random random(GetParam() + 1000);
    const auto system = random_system(random, 3).read();
    Solver solver(system);
    for (int trial = 0; trial < 10; ++trial) {
        const EquilibriumConditions in = random_conditions(random, *system);
        const Equilibrium one = solver.solve(in);
        for (double factor : {1e-9, 1e9}) {
            EquilibriumConditions scaled = in;
            for (IncomingAmount& amount : scaled.amounts) {
                amount.amount *= factor;
            }
            const Equilibrium& other = solver.solve(scaled);
            for (std::size_t i = 0; i < system->phases.size(); ++i) {
                EXPECT_NEAR(other.phases[i].amount, factor * one.phases[i].amount,
                            1e-7 * factor * (1e-3 + one.phases[i].amount));
            }
            for (std::size_t j = 0; j < 3; ++j) {
                if (!std::isnan(one.potentials[j])) {
                    EXPECT_NEAR(other.potentials[j], one.potentials[j],
                                1e-9 * std::abs(one.potentials[j]) + 1e-6);
                }
            }
        }
    }
}

TEST_P(RandomSystems, GiveTheSameFromAWarmAndAColdStart) {
    Random random(GetParam() + 2000);
    const auto system = random_system(random, 4).read();
    Solver cold(system);
    Solver warm(system);
    for (int trial = 0; trial < 30; ++trial) {
        EquilibriumConditions in = random_conditions(random, *system);
        for (int step = 0; step < 3; ++step) {
            in.t *= 1.02;
            const Equilibrium& a = cold.solve(in);
            const Equilibrium& b = warm.solve(in, Solver::Start::Warm);
            for (std::size_t j = 0; j < 4; ++j) {
                EXPECT_EQ(std::isnan(a.potentials[j]), std::isnan(b.potentials[j]));
                if (!std::isnan(a.potentials[j])) {
                    EXPECT_NEAR(a.potentials[j], b.potentials[j],
                                1e-9 * std::abs(a.potentials[j]) + 1e-6);
                }
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, RandomSystems, testing::Range(1U, 13U));

} // namespace
} // namespace tessara::test
