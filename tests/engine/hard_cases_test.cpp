// Systems that equilibrium programs find hard. Every result comes with its certificate; what is
// checked besides is said at each.

#include "engine/search/phase_map.hpp"
#include "engine/search/target_search.hpp"
#include "random_systems.hpp"
#include "support.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <fstream>
#include <sstream>

namespace tessara::test {
namespace {

/// Solves cold, and warm from the result of other conditions; both end in the same potentials.
const Equilibrium& solve_both_ways(Solver& cold, Solver& warm, const EquilibriumConditions& in) {
    const Equilibrium& one = cold.solve(in);
    const Equilibrium& other = warm.solve(in, Solver::Start::Warm);
    EXPECT_TRUE(one.certificate.holds());
    EXPECT_TRUE(other.certificate.holds());
    for (std::size_t j = 0; j < one.potentials.size(); ++j) {
        EXPECT_EQ(std::isnan(one.potentials[j]), std::isnan(other.potentials[j]));
        if (!std::isnan(one.potentials[j])) {
            EXPECT_NEAR(one.potentials[j], other.potentials[j],
                        1e-9 * std::abs(one.potentials[j]) + 1e-5);
        }
    }
    return one;
}

EquilibriumConditions with_amounts(double t, const std::vector<double>& amounts) {
    EquilibriumConditions in;
    in.t = t;
    for (std::size_t j = 0; j < amounts.size(); ++j) {
        in.amounts.push_back({IncomingAmount::NoPhase, j, amounts[j]});
    }
    return in;
}

/// Salts of three cations and two anions: 6 simple ones and double salts that are whole sums of
/// them, so that all but four are linearly dependent. Charges balance by the stoichiometry.
std::string salts(Random& random) {
    struct Salt {
        std::vector<double> a;
        double h;
    };
    const std::vector<Salt> simple = {{{1, 0, 0, 1, 0}, -4.1e5},  {{0, 1, 0, 1, 0}, -4.4e5},
                                      {{0, 0, 1, 2, 0}, -8.0e5},  {{2, 0, 0, 0, 1}, -1.39e6},
                                      {{0, 2, 0, 0, 1}, -1.44e6}, {{0, 0, 1, 0, 1}, -1.43e6}};
    DatText text({"Na", "K", "Ca", "Cl", "SO4"});
    for (std::size_t k = 0; k < 100; ++k) {
        Salt salt{std::vector<double>(5, 0.0), 0.0};
        if (k < simple.size()) {
            salt = simple[k];
        } else {
            for (const Salt& part : simple) {
                const auto n = static_cast<double>(random() % 3);
                for (std::size_t j = 0; j < 5; ++j) {
                    salt.a[j] += n * part.a[j];
                }
                salt.h += n * part.h;
            }
            if (salt.h == 0.0) {
                salt = simple[k % simple.size()];
            }
            salt.h += uniform(random, -8e3, 4e3);
        }
        text.pure({"S" + std::to_string(k), salt.a, {salt.h, -uniform(random, 90, 110)}});
    }
    return text.text();
}

TEST(HardCases, SaltsMostOfThemLinearlyDependent) {
    Random random(31);
    const auto system = read(salts(random));
    Solver cold(system);
    Solver warm(system);
    for (int trial = 0; trial < 200; ++trial) {
        const double na = static_cast<double>(random() % 4);
        const double k = static_cast<double>(random() % 4);
        const double ca = static_cast<double>(random() % 3) + (na + k == 0.0 ? 1.0 : 0.0);
        const double sulphate = uniform(random, 0.0, 1.0) < 0.3
                                    ? 0.0
                                    : (na + k + 2.0 * ca) / 2.0 * uniform(random, 0.0, 1.0);
        const double t = uniform(random, 300.0, 1500.0);
        SCOPED_TRACE(testing::Message()
                     << t << " K: " << na << " " << k << " " << ca << " " << sulphate);
        solve_both_ways(cold, warm,
                        with_amounts(t, {na, k, ca, na + k + 2.0 * ca - 2.0 * sulphate, sulphate}));
    }
}

/// A phase of two sublattices with random energies, of J per formula unit.
std::string sublattice_phase(Random& random, const std::string& name,
                             const std::vector<std::string>& elements, double sites) {
    std::ostringstream text;
    text.precision(17);
    const std::size_t n = elements.size();
    text << name << "\nSUBL\n";
    for (std::size_t a = 0; a < n; ++a) {
        for (std::size_t b = 0; b < n; ++b) {
            text << elements[a] << ":" << elements[b] << "\n1 1";
            for (std::size_t j = 0; j < n; ++j) {
                text << " " << (j == a ? 1.0 : 0.0) + (j == b ? sites : 0.0);
            }
            const double h = a == b ? uniform(random, 0.0, 1e4) : uniform(random, -9e4, 9e4);
            text << "\n6000 " << h * (1.0 + sites) << " " << -40.0 * (1.0 + sites) << " 0 0 0 0\n";
        }
    }
    text << "2\n1 " << sites << "\n" << n << " " << n << "\n";
    for (int row = 0; row < 2; ++row) {
        for (std::size_t k = 0; k < n; ++k) {
            text << elements[k] << (k % 3 == 2 || k + 1 == n ? "\n" : " "); // three in a line
        }
    }
    for (int row = 0; row < 2; ++row) {
        for (std::size_t k = 0; k < n * n; ++k) {
            const bool last = k % 19 == 18 || k + 1 == n * n; // nineteen in a line
            text << (row == 0 ? k / n : k % n) + 1 << (last ? "\n" : " ");
        }
    }
    text << "0\n";
    return text.str();
}

std::string file_of(const std::vector<std::string>& elements, const std::string& phases,
                    std::size_t phase_count, std::size_t members) {
    std::ostringstream text;
    text << "a test file\n" << elements.size() << " " << phase_count + 1 << " 0";
    for (std::size_t k = 0; k < phase_count; ++k) {
        text << " " << members;
    }
    text << " 0\n";
    for (const std::string& element : elements) {
        text << element << " ";
    }
    text << "\n";
    for (std::size_t k = 0; k < elements.size(); ++k) {
        text << 10 * (k + 1) << " ";
    }
    return text.str() + "\n6 1 2 3 4 5 6\n6 1 2 3 4 5 6\n" + phases;
}

TEST(HardCases, SublatticesOfNineComponentsWithSiteFractionsOverTwentyOrders) {
    Random random(32);
    const std::vector<std::string> elements = {"A", "B", "C", "D", "E", "F", "G", "H", "I"};
    std::string phases;
    for (int k = 0; k < 3; ++k) {
        phases += sublattice_phase(random, "P" + std::to_string(k), elements, 1.0 + k);
    }
    const auto system = read(file_of(elements, phases, 3, 81));
    Solver cold(system);
    Solver warm(system);
    double least = 1.0;
    for (int trial = 0; trial < 8; ++trial) {
        std::vector<double> amounts(9);
        for (double& n : amounts) {
            n = trial == 0 ? 1.0 : std::pow(10.0, uniform(random, -6, 0));
        }
        SCOPED_TRACE(trial);
        const Equilibrium& result = solve_both_ways(cold, warm, with_amounts(500.0, amounts));
        for (const PhaseResult& phase : result.phases) {
            for (const double x : phase.fractions) {
                least = phase.amount > 0.0 && x > 0.0 ? std::min(least, x) : least;
            }
        }
    }
    EXPECT_LT(least, 1e-20);
}

/// Two equal sublattices whose unlike neighbours attract each other.
TEST(HardCases, OrderOnEqualSublatticesIsOnePhaseWithOneSet) {
    const double w = -8000.0;
    std::ostringstream phase;
    phase << "ORDERED\nSUBL\nA:A\n1 1 2 0\n6000 0 0 0 0 0 0\nA:B\n1 1 1 1\n6000 " << w
          << " 0 0 0 0 0\nB:A\n1 1 1 1\n6000 " << w << " 0 0 0 0 0\nB:B\n1 1 0 2\n6000 0 0 0 0 0 0"
          << "\n2\n1 1\n2 2\nA B\nA B\n1 1 2 2\n1 2 1 2\n0\n";
    const auto system = read(file_of({"A", "B"}, phase.str(), 1, 4));
    Solver cold(system);
    Solver warm(system);
    // At equal amounts the order s of y = (1 + s) / 2 obeys atanh(s) = -w s / (2 R T).
    for (const double t : {150.0, 300.0, 400.0, 470.0, 490.0, 700.0}) {
        const Equilibrium& result = solve_both_ways(cold, warm, with_amounts(t, {1.0, 1.0}));
        const double k = -w / (2.0 * 8.314462618 * t);
        double s = k > 1.0 ? 1.0 : 0.0;
        for (int step = 0; step < 20000; ++step) {
            s = std::tanh(k * s);
        }
        const std::vector<double>& x = result.phases[0].fractions;
        EXPECT_NEAR(std::abs(x[1] - x[2]), s, 1e-6) << t;
        EXPECT_NEAR(result.phases[0].amount, 1.0, 1e-12);
        EXPECT_TRUE(result.folded.empty());
    }
    for (double share : {1e-12, 0.01, 0.2, 0.45, 0.55, 0.99}) {
        solve_both_ways(cold, warm, with_amounts(300.0, {2.0 * share, 2.0 * (1.0 - share)}));
    }
}

TEST(HardCases, EachComponentOfTheShippedFileAbsentOrATraceInTurn) {
    std::ifstream file(TESSARA_DATA_DIR "/ironmaking.dat", std::ios::binary);
    std::stringstream text;
    text << file.rdbuf();
    const auto system = System::read_dat(text.str(), "ironmaking.dat");
    Solver cold(system);
    Solver warm(system);
    const std::size_t n = system->components.size();
    for (std::size_t j = 0; j < n; ++j) {
        for (const double amount : {0.0, 1e-12}) {
            for (const double t : {298.15, 1000.0, 2500.0}) {
                std::vector<double> amounts(n, 1.0);
                amounts[j] = amount;
                SCOPED_TRACE(system->components[j].name + " " + std::to_string(t));
                const Equilibrium& result = solve_both_ways(cold, warm, with_amounts(t, amounts));
                EXPECT_EQ(std::isnan(result.potentials[j]), amount == 0.0);
                EXPECT_EQ(result.amounts[j], amount);
            }
        }
    }
}

/// A solution with one parameter for all pairs; pure solids that never form hold each component.
std::shared_ptr<const System> regular_solution(const std::vector<std::string>& names, double l) {
    std::vector<DatText::Species> species;
    std::vector<DatText::Parameter> parameters;
    DatText text(names);
    for (std::size_t i = 0; i < names.size(); ++i) {
        std::vector<double> alone(names.size(), 0.0);
        alone[i] = 1.0;
        for (std::size_t j = 0; j < i; ++j) {
            parameters.push_back({{static_cast<int>(j) + 1, static_cast<int>(i) + 1}, {{l}}});
        }
        species.push_back({names[i], alone, {0.0}});
        text.pure({names[i] + "(s)", alone, {2e5}});
    }
    return text.redlich_kister("MELT", species, parameters).read();
}

/// A regular solution of three components with one parameter for all pairs, in equal amounts: three
/// sets, each rich in one component, and by symmetry ln(p / q) = (L / RT) (p - q) for its share p
/// and those of the others, q = (1 - p) / 2.
TEST(HardCases, ThreeSetsOfOnePhase) {
    constexpr double L = 25000.0;
    const auto system = regular_solution({"A", "B", "C"}, L);
    Solver cold(system);
    Solver warm(system);
    for (const double t : {400.0, 600.0, 800.0}) {
        const Equilibrium& result = solve_both_ways(cold, warm, with_amounts(t, {1.0, 1.0, 1.0}));
        const double w = L / (8.314462618 * t);
        double p = 1.0;
        for (int step = 0; step < 2000; ++step) {
            const double ratio = std::exp(-w * (p - 0.5 * (1.0 - p)));
            p = 1.0 / (1.0 + 2.0 * ratio);
        }
        ASSERT_EQ(result.sets.size(), 3U) << t;
        EXPECT_EQ(result.folded, std::vector<std::size_t>{0});
        for (std::size_t k = 0; k < 3; ++k) {
            EXPECT_NEAR(result.sets[k].amount, 1.0, 1e-9);
            for (std::size_t i = 0; i < 3; ++i) {
                EXPECT_NEAR(result.sets[k].fractions[i], i == k ? p : 0.5 * (1.0 - p), 1e-10) << t;
            }
        }
    }
}

/// A regular solution of two components around its critical point, T = L / (2 R) in the middle: one
/// set above, below two, whose shares x obey ln((1 - x) / x) = (L / RT) (1 - 2 x).
TEST(HardCases, NearACriticalPoint) {
    constexpr double L = 12000.0;
    const auto system = regular_solution({"A", "B"}, L);
    Solver solver(system);
    const double critical = L / (2.0 * 8.314462618);
    for (const double off : {-1e-2, -1e-3, -1e-4, -1e-5, -1e-6, -1e-8, 0.0, 1e-8, 1e-6, 1e-4}) {
        for (const double x : {0.5, 0.49999, 0.499, 0.49, 0.47}) {
            const double t = critical * (1.0 + off);
            const Equilibrium& result = solver.solve(with_amounts(t, {x, 1.0 - x}));
            EXPECT_TRUE(result.certificate.holds());
            // Of the smaller x; bisected, as the other root is 1/2.
            const double w = 2.0 / (1.0 + off);
            double low = 1e-3;
            double high = 0.5 - 1e-9;
            for (int step = 0; step < 200; ++step) {
                const double middle = 0.5 * (low + high);
                const double rest = std::log((1.0 - middle) / middle) - w * (1.0 - 2.0 * middle);
                (rest > 0.0 ? low : high) = middle;
            }
            if (off <= -1e-4 && low < x - 1e-4) {
                ASSERT_EQ(result.sets.size(), 2U) << off << ", " << x;
                EXPECT_NEAR(result.sets[1].fractions[0], low, 1e-6) << off << ", " << x;
                EXPECT_NEAR(result.sets[0].fractions[0], 1.0 - low, 1e-6) << off << ", " << x;
            } else if (off >= 0.0) {
                EXPECT_TRUE(result.sets.empty()) << off << ", " << x;
            }
        }
    }
}

/// An ideal melt of three components that melt alike, in equal amounts, and their pure solids: all
/// four phases change at once where the heat of fusion over T is R ln 3 more than at the melting
/// point. In between the melt has the share of the heat that was added.
TEST(HardCases, FourPhasesChangeAtOnce) {
    constexpr double Fusion = 10000.0;
    constexpr double Melting = 1000.0;
    const std::vector<DatText::Species> melt = {{"A", {1, 0, 0}, {Fusion, -Fusion / Melting}},
                                                {"B", {0, 1, 0}, {Fusion, -Fusion / Melting}},
                                                {"C", {0, 0, 1}, {Fusion, -Fusion / Melting}}};
    DatText text({"A", "B", "C"});
    text.ideal("MELT", melt);
    for (const DatText::Species& one : melt) {
        text.pure({one.name + "(s)", one.stoichiometry, {0.0}});
    }
    const auto system = text.read();
    const double expected = Fusion / (Fusion / Melting + 8.314462618 * std::log(3.0));
    Solver solver(system);
    const EquilibriumConditions in = with_amounts(300.0, {1.0, 1.0, 1.0});
    {
        PathSolver path(solver, Path(Path::Variable::Temperature, {in, std::nullopt}), nullptr);
        const PhaseMap map(path, 300.0, 1500.0);
        ASSERT_EQ(map.transitions().size(), 1U);
        EXPECT_NEAR(map.transitions()[0].point, expected, 1e-9 * expected);
    }
    for (const double share : {0.001, 0.25, 0.5, 0.999}) {
        for (const double guess : {310.0, 520.0, 1400.0}) {
            Condition condition;
            condition.variable = ConditionVariable::H;
            condition.value = 3.0 * Fusion * share;
            PathSolver path(solver, Path(Path::Variable::Temperature, {in, std::nullopt}), nullptr);
            const PathState found =
                find_target(path, Requirement(*system, condition), {guess, 0.0, 1.0}, "H");
            EXPECT_NEAR(found.point, expected, 1e-9 * expected);
            EXPECT_TRUE(found.equilibrium.certificate.holds());
            EXPECT_NEAR(amount(*system, found.equilibrium, "MELT"), 3.0 * share, 1e-9);
            for (const char* solid : {"A(s)", "B(s)", "C(s)"}) {
                EXPECT_NEAR(amount(*system, found.equilibrium, solid), 1.0 - share, 1e-9);
            }
        }
    }
}

/// One species alone in random systems, so cold that what it decomposes to, of the order of 1e-24
/// mol, condenses in solutions and compounds of their own.
TEST(HardCases, OneSpeciesAloneWhoseTracesCondense) {
    for (const unsigned seed :
         {1055U, 1915U, 1994U, 2874U, 3250U, 3721U, 5799U, 6459U, 8695U, 10175U}) {
        Random random(1000 + seed);
        const auto system = random_system(random, 2 + seed % 4).read();
        Solver solver(system);
        for (std::size_t p = 0; p < system->phases.size(); ++p) {
            for (std::size_t c = 0; c < system->phases[p].constituents.size(); ++c) {
                for (const double t : {280.0, 307.0, 400.0}) {
                    EquilibriumConditions in;
                    in.t = t;
                    in.amounts.push_back({p, c, 2.0});
                    SCOPED_TRACE(system->phases[p].constituents[c].name);
                    ASSERT_NO_THROW(solver.solve(in)) << seed << ", " << t;
                }
            }
        }
    }
}

TEST(HardCases, NoGasAndNoPureFormOfAComponent) {
    const auto system =
        DatText({"A", "B"})
            .redlich_kister("MELT", {{"A", {1, 0}, {0, -40}}, {"AB2", {1, 2}, {-9e4, -90}}},
                            {{{1, 2}, {{-5000}}}})
            .pure({"A2B", {2, 1}, {-7e4, -100}})
            .read();
    Solver cold(system);
    Solver warm(system);
    for (const double b : {1e-12, 0.1, 0.5, 1.0, 1.999999, 2.0}) {
        for (const double t : {300.0, 1000.0, 3000.0}) {
            SCOPED_TRACE(b);
            solve_both_ways(cold, warm, with_amounts(t, {1.0, b}));
        }
    }
}

TEST(HardCases, WhatNoPhasesCanHoldIsRefusedInWordsAtOnce) {
    const auto system = DatText({"A", "B"})
                            .pure({"A2B", {2, 1}, {-7e4, -100}})
                            .pure({"A", {1, 0}, {0, -40}})
                            .read();
    Solver solver(system);
    const auto start = std::chrono::steady_clock::now();
    for (const double b : {0.5000001, 1.0, 1e6}) {
        try {
            solver.solve(with_amounts(1000.0, {1.0, b}));
            FAIL() << b;
        } catch (const SolveError& error) {
            EXPECT_NE(std::string(error.what()).find("cannot hold"), std::string::npos)
                << error.what();
        }
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
    EXPECT_TRUE(solver.solve(with_amounts(1000.0, {1.0, 0.5})).certificate.holds());
}

} // namespace
} // namespace tessara::test
