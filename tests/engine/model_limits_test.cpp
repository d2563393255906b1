#include "engine/models/ionic_liquid.hpp"
#include "engine/models/polynomial.hpp"
#include "engine/models/quasichemical.hpp"
#include "engine/models/redlich_kister.hpp"
#include "engine/models/sublattice.hpp"
#include "engine/units/constants.hpp"
#include "example_phases.hpp"
#include "random_phases.hpp"
#include "support.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <numeric>

// Where models reduce to simpler ones, what remains of them without some constituents, and figures
// of single equations.

namespace tessara::test {
namespace {

std::vector<double> logarithms(std::span<const double> y) {
    std::vector<double> result;
    for (double value : y) {
        result.push_back(std::log(value));
    }
    return result;
}

std::unique_ptr<PhaseEvaluator> evaluator_of(const Phase& phase, const System& system, double t,
                                             std::vector<std::size_t> active = {}) {
    if (active.empty()) {
        active.resize(phase.constituents.size());
        std::iota(active.begin(), active.end(), std::size_t{0});
    }
    auto evaluator = phase.model->evaluator(phase.constituents, active);
    static TemperatureTerms terms;
    terms = system.terms();
    terms.set(t);
    evaluator->set_state(terms, 1.0);
    return evaluator;
}

double mixing(const PhaseEvaluator& evaluator, std::span<const double> y) {
    return evaluator.mixing(y, logarithms(y));
}

Constituent substance(double gibbs) {
    Constituent constituent;
    constituent.name = "I";
    constituent.stoichiometry = {1.0};
    constituent.gibbs.add_range({6000.0, {gibbs, 0, 0, 0, 0, 0}, {}});
    return constituent;
}

// --- limits ---

TEST(ModelLimits, OneSublatticeIsARedlichKisterMixture) {
    std::mt19937 random(5);
    std::vector<InteractionTerm<ExcessCoefficients>> excess;
    for (const auto& [on, sets] : {std::pair{std::vector<std::size_t>{0, 1}, 4},
                                   std::pair{std::vector<std::size_t>{2, 0}, 2},
                                   std::pair{std::vector<std::size_t>{0, 1, 2}, 3},
                                   std::pair{std::vector<std::size_t>{1, 2, 0}, 1}}) {
        InteractionTerm<ExcessCoefficients> term{on, {}};
        for (int q = 0; q < sets; ++q) {
            term.sets.push_back(random_coefficients(random));
        }
        excess.push_back(term);
    }
    MagneticMixture magnetic{{0.333333, 0.28},
                             {{1000.0, 2.0}, {-300.0, -0.5}, {0.0, 0.0}},
                             {{{0, 1}, {{300.0, 0.3}, {-100.0, 0.2}}}}};
    const RedlichKisterModel simple(3, excess, magnetic);
    SublatticePhase phase;
    phase.sites = {1.0};
    phase.names = {"A", "B", "C"};
    phase.table = {{3}, {{0}, {1}, {2}}};
    phase.excess = excess;
    phase.magnetic = magnetic;
    const SublatticeModel sublattices(phase);
    const std::vector<Constituent> constituents = {substance(-1e4), substance(2e4), substance(0)};
    const std::size_t all[] = {0, 1, 2};
    const auto a = simple.evaluator(constituents, all);
    const auto b = sublattices.evaluator(constituents, all);
    TemperatureTerms terms;
    terms.set(700.0);
    a->set_state(terms, 3.0);
    b->set_state(terms, 3.0);
    for (int trial = 0; trial < 20; ++trial) {
        const std::vector<double> x = random_state(*a, random, 1e-6);
        const double reference = (-1e4 * x[0] + 2e4 * x[1]) / (GasConstant * 700.0);
        EXPECT_NEAR(mixing(*b, x), mixing(*a, x) + reference, 1e-12);
    }
}

TEST(ModelLimits, AnIonicLiquidOfCationsAloneIsSubstitutional) {
    const auto system = read(ionic_liquid_text());
    const auto metals = evaluator_of(system->phases[0], *system, 2000.0, {1, 5});
    InteractionTerm<ExcessCoefficients> term{{0, 1}, {{}, {}}};
    // the parameter on both cations and the vacancy of the text
    term.sets[0].thermal = {-12000, 3, 0, 0, 0, 0};
    term.sets[1].thermal = {2500, 0, 0, 0, 0, 0};
    const RedlichKisterModel simple(2, {term}, std::nullopt);
    const std::size_t all[] = {0, 1};
    const auto evaluator = simple.evaluator({}, all);
    TemperatureTerms terms = system->terms();
    terms.set(2000.0);
    evaluator->set_state(terms, 1.0);
    ASSERT_EQ(metals->variables()->names, (std::vector<std::string>{"Aa+2", "Bb+3", "Va"}));
    for (double x : {1e-9, 0.2, 0.5, 0.9}) {
        const double fractions[] = {x, 1.0 - x};
        const double y[] = {x, 1.0 - x, 2.0 * x + 3.0 * (1.0 - x)};
        double expected = mixing(*evaluator, fractions);
        for (std::size_t k = 0; k < 2; ++k) {
            const Constituent& pure = system->phases[0].constituents[k == 0 ? 1 : 5];
            expected += fractions[k] * pure.gibbs.value(terms) / (GasConstant * 2000.0);
        }
        EXPECT_NEAR(mixing(*metals, y), expected, 1e-12 * std::abs(expected));
    }
}

TEST(ModelLimits, AnIonicLiquidOfNeutralsAloneIsAMixture) {
    const auto system = read(ionic_liquid_text());
    const auto neutrals = evaluator_of(system->phases[0], *system, 2000.0, {2, 3});
    ASSERT_EQ(neutrals->size(), 2U);
    TemperatureTerms terms = system->terms();
    terms.set(2000.0);
    const double x[] = {0.3, 0.7};
    // the parameter among the neutrals, whatever cation it names
    double expected = x[0] * std::log(x[0]) + x[1] * std::log(x[1]) +
                      18000.0 * x[0] * x[1] / (GasConstant * 2000.0);
    for (std::size_t k = 0; k < 2; ++k) {
        expected += x[k] * system->phases[0].constituents[2 + k].gibbs.value(terms) /
                    (GasConstant * 2000.0);
    }
    EXPECT_NEAR(mixing(*neutrals, x), expected, 1e-12 * std::abs(expected));
}

TEST(ModelLimits, WithoutPairEnergiesTheQuasichemicalModelIsIdeal) {
    for (const bool half : {false, true}) {
        QuasichemicalPhase phase;
        phase.half = half;
        phase.names = {"A", "B", "C", "X"};
        phase.charges = {1, 1, 1, 1};
        phase.table = {{3, 1}, {{0, 0}, {1, 0}, {2, 0}}};
        phase.grouping.groups = {1, 1, 1, 1};
        for (std::size_t a = 0; a < 3; ++a) {
            phase.pairs.push_back({1.0, 1.0, 2.0});
            phase.coordinations.push_back({{{{{a, a}, {0, 0}}}}, {{{2.0, 2.0}, {2.0, 2.0}}}});
        }
        const QuasichemicalModel model(phase);
        const std::vector<Constituent> constituents(3, substance(0.0));
        const std::size_t all[] = {0, 1, 2};
        const auto evaluator = model.evaluator(constituents, all);
        TemperatureTerms terms;
        terms.set(1000.0);
        evaluator->set_state(terms, 1.0);
        // Quadruplets at random: Z = 2, so that one mole of them holds one of cations.
        const double x[] = {0.2, 0.5, 0.3};
        const std::vector<double> y = {x[0] * x[0],       x[1] * x[1],       x[2] * x[2],
                                       2.0 * x[0] * x[1], 2.0 * x[0] * x[2], 2.0 * x[1] * x[2]};
        double ideal = 0.0;
        for (double value : x) {
            ideal += value * std::log(value);
        }
        std::vector<double> gradient(6);
        std::vector<double> hessian(36);
        const double m = evaluator->mixing(y, logarithms(y), gradient, hessian);
        EXPECT_NEAR(m, ideal, 1e-14);
        // and that is where they are at equilibrium: AA + BB = 2 AB
        EXPECT_NEAR(gradient[0] + gradient[1], 2.0 * gradient[3], 1e-13);
        EXPECT_NEAR(gradient[0] + gradient[2], 2.0 * gradient[4], 1e-13);
        EXPECT_NEAR(gradient[1] + gradient[2], 2.0 * gradient[5], 1e-13);
    }
}

// --- without some constituents ---

TEST(ModelReduction, OfASublatticePhaseIsAFullProduct) {
    const auto system = read(sublattice_text());
    const PhaseModel& model = *system->phases[0].model;
    using Marks = std::vector<char>;
    EXPECT_EQ(model.reduce(Marks(9, 1)), Marks(9, 1));
    // Without component Xx the first constituent of the second sublattice is gone.
    EXPECT_EQ(model.reduce({0, 1, 1, 0, 1, 1, 0, 1, 1}), (Marks{0, 1, 1, 0, 1, 1, 0, 1, 1}));
    // One end member excluded: whatever lacks it goes.
    const Marks rest = model.reduce({0, 1, 1, 1, 1, 1, 1, 1, 1});
    EXPECT_EQ(std::count(rest.begin(), rest.end(), 1), 6);
    EXPECT_EQ(model.reduce(Marks(9, 0)), Marks(9, 0));
    EXPECT_EQ(model.reduce({1, 0, 0, 0, 0, 0, 0, 0, 0}), (Marks{1, 0, 0, 0, 0, 0, 0, 0, 0}));
}

TEST(ModelReduction, OfAnIonicLiquidKeepsItsNeutrals) {
    const auto system = read(ionic_liquid_text());
    const PhaseModel& model = *system->phases[0].model;
    using Marks = std::vector<char>;
    EXPECT_EQ(model.reduce({0, 0, 1, 1, 0, 0}), (Marks{0, 0, 1, 1, 0, 0}));
    EXPECT_EQ(model.reduce({1, 1, 0, 0, 0, 0}), (Marks{1, 1, 0, 0, 0, 0}));
    const Marks rest = model.reduce({1, 1, 1, 1, 0, 1});
    EXPECT_EQ(std::count(rest.begin(), rest.end(), 1), 4);
}

TEST(ModelReduction, LeavesOutParametersOfWhatIsGone) {
    // What is left behaves like the whole with traces of the rest.
    for (const auto& [text, active] :
         {std::pair{sublattice_text(), std::vector<std::size_t>{1, 2, 4, 5}},
          std::pair{ionic_liquid_text(), std::vector<std::size_t>{0, 1, 2, 3}},
          std::pair{quasichemical_text(), std::vector<std::size_t>{0, 2}}}) {
        const auto system = read(text);
        const Phase& phase = system->phases[0];
        const auto part = evaluator_of(phase, *system, 1300.0, active);
        const auto whole = evaluator_of(phase, *system, 1300.0);
        std::mt19937 random(3);
        const std::vector<double> y = random_state(*part, random, 0.1);
        std::vector<double> all(whole->size(), 1e-200);
        for (std::size_t i = 0; i < y.size(); ++i) {
            const auto& names = whole->variables()->names;
            const auto at = std::find(names.begin(), names.end(), part->variables()->names[i]);
            all[static_cast<std::size_t>(at - names.begin())] = y[i];
        }
        EXPECT_NEAR(mixing(*part, y), mixing(*whole, all), 1e-12 * std::abs(mixing(*part, y)));
    }
}

TEST(ModelReduction, APolynomialPhaseTakesPartInCalculations) {
    // Its Gibbs energy at this composition by an independent calculation.
    const auto system = read(polynomial_text());
    Solver solver(system);
    const Equilibrium& result =
        solver.solve(conditions(*system, 1200.0, 1.0, {{"Aa", 0.5}, {"Bb", 0.9}, {"Cc", 0.6}}));
    EXPECT_NEAR(amount(*system, result, "SLAG"), 2.0, 1e-9);
    EXPECT_NEAR(amount(*system, result, "SLAG:Bb"), 0.9, 1e-9);
    const std::vector<std::vector<double>> moles = {{0.5, 0.9, 0.6}, {0}, {0}, {0}};
    EXPECT_NEAR(gibbs_of_state(*system, 1200.0, 1.0, moles) * GasConstant * 1200.0,
                2.0 * -71435.1312862, 1e-5);
}

// --- figures of single equations ---

struct GroupFigures {
    const char* groups;
    const char* end;
    double g;
    std::array<double, 3> mu;
};

TEST(PolynomialFigures, OfGroupsAndOverrides) {
    // At 1200 K, x = 0.25, 0.45, 0.30, by an independent calculation.
    const GroupFigures rows[] = {
        {"1 1 1", "0\n", -71268.7216, {-75100.3941, -69016.1627, -71454.4994}},
        {"1 2 3", "0\n", -71268.7216, {-75100.3941, -69016.1627, -71454.4994}},
        {"1 2 2", "0\n", -71435.1312862, {-76048.8608862, -68837.3467859, -71487.0333699}},
        {"1 2 1", "0\n", -71013.7472, {-74573.1547, -69006.5059, -71058.4363}},
        {"1 1 2", "0\n", -71191.2806, {-75132.9503, -68964.7536, -71246.3465}},
        {"1 1 1",
         "-1\n1 2 3T2 1 2T3 1 3K 2 3 0\n",
         -71435.1313,
         {-76048.8609, -68837.3468, -71487.0334}},
        {"1 1 1",
         "-1\n1 2 3T1 1 2K 1 3T3 2 3 0\n",
         -71013.7472,
         {-74573.1547, -69006.5059, -71058.4363}},
        {"1 1 1",
         "-1\n1 2 3K 1 2T1 1 3T2 2 3 0\n",
         -71191.2806,
         {-75132.9503, -68964.7536, -71246.3465}},
    };
    const std::vector<double> x = {0.25, 0.45, 0.3};
    for (const GroupFigures& row : rows) {
        const auto system = read(polynomial_text(row.groups, row.end));
        const Phase& phase = system->phases[0];
        const auto evaluator = evaluator_of(phase, *system, 1200.0);
        EXPECT_EQ(evaluator->variables(), nullptr);
        std::vector<ThermalValue> partial(3);
        TemperatureTerms terms = system->terms();
        terms.set(1200.0);
        ThermalValue g = evaluator->mixing_thermal(x, logarithms(x), partial);
        for (std::size_t c = 0; c < 3; ++c) {
            const ThermalValue pure = System::standard_thermal(phase.constituents[c], terms);
            g += {x[c] * pure.value, x[c] * pure.d_t, x[c] * pure.d_tt};
            EXPECT_NEAR(pure.value + partial[c].value, row.mu[c], 6e-5) << row.groups << row.end;
        }
        EXPECT_NEAR(g.value, row.g, 6e-5) << row.groups << row.end;
    }
}

TEST(PolynomialFigures, OfATermPerMoleAndInEquivalents) {
    struct Row {
        const char* what;
        std::vector<std::size_t> on;
        std::vector<int> powers;
        std::vector<int> groups;
        std::vector<double> s;
        double v;
        std::array<double, 4> u;
    };
    // E h and its partial quantities at x = 0.2, 0.3, 0.1, 0.4, L = 1, by an independent
    // calculation.
    const Row rows[] = {
        {"alike",
         {0, 1},
         {2, 1},
         {1, 1, 1, 1},
         {1, 1, 1, 1},
         0.024,
         {0.168, 0.008, -0.024, -0.024}},
        {"both sides",
         {0, 1},
         {2, 1},
         {1, 2, 2, 1},
         {1, 1, 1, 1},
         0.036,
         {0.168, 0.048, -0.072, -0.012}},
        {"one of a third group",
         {0, 1},
         {2, 1},
         {1, 2, 3, 1},
         {1, 1, 1, 1},
         0.04,
         {0.18222222, 0.048888889, -0.04, -0.017777778}},
        {"ternary",
         {0, 1, 2},
         {1, 2, 1},
         {1, 1, 1, 1},
         {1, 1, 1, 1},
         0.003,
         {0.004, 0.009, 0.019, -0.006}},
        {"two equivalents",
         {0, 1},
         {2, 1},
         {1, 2, 2, 1},
         {2, 1, 1, 1},
         0.066666667,
         {0.27777778, 0.11111111, -0.11111111, -0.027777778}},
    };
    const std::vector<double> x = {0.2, 0.3, 0.1, 0.4};
    for (const Row& row : rows) {
        PolynomialTerm term{row.on, row.powers, {}, {}};
        term.coefficient.thermal[0] = 1.0;
        const PolynomialModel model({row.s, {row.groups, {}}, {term}});
        const std::size_t all[] = {0, 1, 2, 3};
        const auto evaluator = model.evaluator({}, all);
        TemperatureTerms terms;
        terms.set(1000.0);
        evaluator->set_state(terms, 1.0);
        std::vector<ThermalValue> partial(4);
        const ThermalValue g = evaluator->mixing_thermal(x, logarithms(x), partial);
        double ideal = 0.0;
        for (std::size_t c = 0; c < 4; ++c) {
            const double own = GasConstant * 1000.0 * std::log(x[c]);
            ideal += x[c] * own;
            EXPECT_NEAR(partial[c].value - own, row.u[c], 2e-8 * std::abs(row.u[c]) + 1e-11)
                << row.what << ", constituent " << c + 1;
        }
        EXPECT_NEAR(g.value - ideal, row.v, 2e-8 * row.v + 1e-11) << row.what;
    }
}

TEST(PolynomialFigures, OfASulphideOfTwoEquivalents) {
    struct Row {
        double x, g, mu_dimer, mu_single;
    };
    const Row rows[] = {{0.5, -92052.0215966, -112131.091774, -71972.9514192},
                        {0.2, -76757.0521532, -127243.620189, -64135.4101442}};
    PolynomialTerm first{{0, 1}, {1, 1}, {}, {}};
    first.coefficient.thermal = {-15000, 3, 0, 0, 0, 0};
    PolynomialTerm second{{0, 1}, {1, 2}, {}, {}};
    second.coefficient.thermal = {4400, 0, 0, 0, 0, 0};
    const PolynomialModel model({{2.0, 1.0}, {{1, 1}, {}}, {first, second}});
    const std::size_t all[] = {0, 1};
    const auto evaluator = model.evaluator({}, all);
    TemperatureTerms terms;
    terms.set(1200.0);
    evaluator->set_state(terms, 1.0);
    const double pure[] = {evaluate_six({-4000, 230, -44, 0, 0, 0}, terms),
                           evaluate_six({-3500, 122, -24, 0, 0, 0}, terms)};
    for (const Row& row : rows) {
        const std::vector<double> x = {row.x, 1.0 - row.x};
        std::vector<ThermalValue> partial(2);
        const ThermalValue g = evaluator->mixing_thermal(x, logarithms(x), partial);
        EXPECT_NEAR(g.value + x[0] * pure[0] + x[1] * pure[1], row.g, 1e-6);
        EXPECT_NEAR(partial[0].value + pure[0], row.mu_dimer, 1e-6);
        EXPECT_NEAR(partial[1].value + pure[1], row.mu_single, 1e-6);
    }
}

TEST(PolynomialFigures, PowersOfZeroShiftThePureConstituent) {
    PolynomialTerm term{{0, 1}, {0, 1}, {}, {}};
    term.coefficient.thermal[0] = 500.0;
    const PolynomialModel model({{1.0, 2.0}, {{1, 1}, {}}, {term}});
    TemperatureTerms terms;
    terms.set(1000.0);
    EXPECT_EQ(model.pure_mixing(0, terms).value, 0.0);
    EXPECT_EQ(model.pure_mixing(1, terms).value, 1000.0); // two equivalents
}

TEST(QuasichemicalFigures, OfCoordinationNumbersAndContents) {
    const auto system = read(quasichemical_half_text());
    const auto& model = dynamic_cast<const QuasichemicalModel&>(*system->phases[0].model);
    const std::vector<Quadruplet> all = quadruplets(model.phase().table, std::vector<char>(5, 1));
    ASSERT_EQ(all.size(), 18U);
    const struct {
        std::size_t quadruplet;
        const char* name;
        std::array<double, 4> z;
        std::array<double, 4> contents;
    } rows[] = {
        {11,
         "Aa3+-Bb-Yy-Yy",
         {6.0, 5.0, 2.2222222222222, 2.2222222222222},
         {0.16666666666667, 0.2, 0.0, 0.9}},
        {12,
         "Aa2+-Aa2+-Xx-Yy",
         {2.4, 2.4, 1.6, 2.4},
         {0.83333333333333, 0.0, 0.625, 0.41666666666667}},
        {14,
         "Bb-Bb-Xx-Yy",
         {2.1875, 2.1875, 1.4, 2.5},
         {0.0, 0.91428571428571, 0.71428571428571, 0.4}},
        {15,
         "Aa2+-Aa3+-Xx-Yy",
         {2.14696485623, 3.220447284345, 1.4402000277816, 2.1079291315713},
         {0.77628968253968, 0.0, 0.69434799382716, 0.47439925044092}},
        {17,
         "Aa3+-Bb-Xx-Yy",
         {3.0258154892936, 2.2545291881011, 1.3990082262285, 2.2272346458723},
         {0.33048941798942, 0.44355158730159, 0.71479208002645, 0.44898726851852}},
    };
    const auto evaluator = evaluator_of(system->phases[0], *system, 1700.0);
    const Variables& variables = *evaluator->variables();
    const CoordinationNumbers numbers(model.phase());
    for (const auto& row : rows) {
        const Coordination& z = numbers.of(all[row.quadruplet]);
        EXPECT_EQ(variables.names[row.quadruplet], row.name);
        for (std::size_t k = 0; k < 4; ++k) {
            EXPECT_NEAR(z[k / 2][k % 2], row.z[k], 1e-12 * row.z[k]) << row.name;
            EXPECT_NEAR(variables.stoichiometry[row.quadruplet * 4 + k], row.contents[k], 1e-13)
                << row.name;
        }
    }
}

} // namespace
} // namespace tessara::test
