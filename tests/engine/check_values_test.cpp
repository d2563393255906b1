// States of invented systems whose properties were worked out independently of this code, by
// another program from the published equations with R = 8.314462618 J/(mol K), to the digits given.

#include "engine/equilibrium/properties.hpp"
#include "engine/units/constants.hpp"
#include "example_phases.hpp"
#include "support.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace tessara::test {
namespace {

constexpr double None = std::numeric_limits<double>::quiet_NaN();

// A gas, a melt with three orders of interaction, two forms of a compound, dummies. Ranges that end
// between and below the temperatures of the states; extra terms with powers and ln T.
constexpr const char* GasAndMelt = R"(two components, gas and melt
2 2 3 2 4
A B
227 247
6 1 2 3 4 5 6
6 1 2 3 4 5 6
VAPOUR
IDMX
A
1 1   1 0
6000  180000 -20 -20.8 0 0 0
A2
4 2   2 0
1200  210000 45 -37 -5e-4 2e-8 15000
1  -120 0.5
6000  205000 60 -38.5 0 0 0
0
AB
4 1   1 1
6000  60000 30 -36.5 0 0 0
2  850 99  -2.5e6 -2
MELT
RKMP
A
4 2   1 0
1000  -5000 120 -24 -3e-3 -4e-7 60000
1  7.5e-20 7
3000  2500 172.5 -32 0 0 0
0
B
1 2   0 1
900   -3000 135 -26 5e-4 -1.2e-6 75000
4000  -9000 195 -34 0 0 0
2
1 2 3
-14000 6.5 0 0 0 0
3200 -1.1 0 0 0 0
-900 0 0 0 0 250000
0
AB2_alpha(s)
4 2   1 2
900   -95000 380 -72 -4.5e-3 0 310000
3  -420 0.5  1500 99  -8e6 -2
1400  -101000 470 -85 0 0 0
0
AB2_beta(s2)
1 1   1 2
1400  -93000 432 -80 0 0 0
A(s)    #
1 1   1 0
6001  0 0 0 0 0 0
B(s)    #
1 1   0 1
6001  0 0 0 0 0 0
)";

// A magnetic solution listed twice and two magnetic compounds. Numbers below zero stand for
// antiferromagnets; one pair is listed in reverse.
constexpr const char* SolidBlock = R"(SOLID
RKMPM
0.333333 0.28
A
16 2   1 0 0
1500  1500 130 -24.5 -3.2e-3 -6e-8 70000
0
6000  -22000 295 -45 0 0 0
1  2e31 -9
1180 1.9
B
13 1   0 1 0
6000  -2500 140 -26 -1.5e-3 0 50000
-930 -1.65
C
4 1    0 0 1
6000  -7000 150 -27.5 0 -2e-7 80000
0
2
1 2 2
450 -0.35
-210 0.12
2
1 3 1
-130 0.2
0
2
1 2 2
-18500 4.2 0 0 0 0
2700 -0.9 0 0 0 0
2
3 1 2
6100 -1.3 0 0 0 0
-3300 0 0 0 0 0
2
2 3 1
-4200 0 0.25 0 0 0
3
1 2 3 3
21000 -5 0 0 0 0
-9000 0 0 0 0 0
15000 2.5 0 0 0 0
0
)";

std::string magnetic_solid() {
    return std::string("three components, magnetic\n3 3 0 3 3 2\nA B C\n227 247 251\n"
                       "6 1 2 3 4 5 6\n6 1 2 3 4 5 6\n") +
           SolidBlock + SolidBlock + R"(A_FERRO
16 2   1 0 0
1500  300 125 -23.5 -4.4e-3 -5.9e-8 77000
0
6000  -25000 299 -46 0 0 0
1  2.3e31 -9
1043 2.22 1 0.4
B2C_ANTI
13 1   0 2 1
6000  -48000 430 -78 -2e-3 0 150000
-120 -0.9 0.333333 0.28
)";
}

// Ions in an ideal mixture, held neutral by an electron component of their own, and a compound.
constexpr const char* Ions = R"(ions of one phase
4 2 0 3 1
A B C e(IONS)
227 247 251 0.00054858
6 1 2 3 4 5 6
6 1 2 3 4 5 6
IONS
IDMX
A[2+]
1 1   1 0 0 -2
6000  -60000 100 -24 0 0 0
B[-]
1 1   0 1 0 1
6000  -45000 105 -25 0 0 0
AB2
1 1   1 2 0 0
6000  -140000 330 -74 0 0 0
C3(s)
1 1   0 0 3 0
6000  -12000 372 -72 0 0 0
)";

struct MixtureState {
    double t, p;
    std::vector<double> x;
    double g;
    std::vector<double> mu;
    double s, h, cp;
    std::vector<double> activity;
};

struct CompoundState {
    const char* name;
    double t, g, s, h, cp;
};

void expect_digits(double value, double expected, double relative, const std::string& what) {
    if (!std::isnan(expected)) {
        EXPECT_NEAR(value, expected, relative * std::abs(expected)) << what;
    }
}

void check_mixture(const System& system, const char* phase, const MixtureState& state) {
    const std::size_t i = phase_index(system, phase);
    TemperatureTerms terms = system.terms();
    terms.set(state.t);
    std::vector<std::size_t> all;
    std::vector<double> log_x;
    for (std::size_t c = 0; c < state.x.size(); ++c) {
        all.push_back(c);
        log_x.push_back(std::log(state.x[c]));
    }
    const auto evaluator = system.phases[i].model->evaluator(system.phases[i].constituents, all);
    evaluator->set_state(terms, state.p);
    std::vector<ThermalValue> partial(all.size());
    ThermalValue g = evaluator->mixing_thermal(state.x, log_x, partial);
    const std::string where = std::string(phase) + " at " + std::to_string(state.t) + " K";
    for (std::size_t c = 0; c < all.size(); ++c) {
        const ThermalValue pure = System::standard_thermal(system.phases[i].constituents[c], terms);
        g += {state.x[c] * pure.value, state.x[c] * pure.d_t, state.x[c] * pure.d_tt};
        const double mu = pure.value + partial[c].value;
        expect_digits(mu, state.mu[c], 6e-12, where + ", mu");
        // The gas' activities in these states are mole fractions, against the pure gas at P.
        const double own = system.pure_thermal(i, c, terms).value +
                           GasConstant * state.t * evaluator->ideal_shift();
        expect_digits(std::exp((mu - own) / (GasConstant * state.t)), state.activity[c], 6e-10,
                      where + ", activity");
    }
    expect_digits(g.value, state.g, 6e-12, where + ", G");
    expect_digits(-g.d_t, state.s, 3e-9, where + ", S");
    expect_digits(g.value - state.t * g.d_t, state.h, 6e-10, where + ", H");
    expect_digits(-state.t * g.d_tt, state.cp, 5e-8, where + ", Cp");
    // The same through the value that the solver uses.
    double reduced = evaluator->mixing(state.x, log_x);
    for (std::size_t c = 0; c < all.size(); ++c) {
        reduced += state.x[c] * System::standard_gibbs(system.phases[i].constituents[c], terms) /
                   (GasConstant * state.t);
    }
    expect_digits(reduced * GasConstant * state.t, state.g, 6e-12, where + ", G/RT");
}

void check_compound(const System& system, const CompoundState& state) {
    TemperatureTerms terms = system.terms();
    terms.set(state.t);
    const std::size_t i = phase_index(system, state.name);
    const ThermalValue g = System::standard_thermal(system.phases[i].constituents[0], terms);
    const std::string where = std::string(state.name) + " at " + std::to_string(state.t) + " K";
    expect_digits(g.value, state.g, 5e-12, where + ", G");
    expect_digits(-g.d_t, state.s, 5e-9, where + ", S");
    expect_digits(g.value - state.t * g.d_t, state.h, 6e-10, where + ", H");
    expect_digits(-state.t * g.d_tt, state.cp, 5e-8, where + ", Cp");
    EXPECT_EQ(System::standard_gibbs(system.phases[i].constituents[0], terms), g.value);
}

TEST(CheckValues, RedlichKisterMelt) {
    const auto system = read(GasAndMelt);
    const MixtureState states[] = {
        {800,
         1,
         {0.4, 0.6},
         -43001.3752512,
         {-48081.0485611, -39614.926378},
         71.8212581,
         14455.63126,
         29.465774,
         {0.2702717098, 0.4457564593}},
        {1000,
         1,
         {0.4, 0.6},
         -58441.4287163,
         {-63850.471733, -54835.4000385},
         None,
         None,
         None,
         {0.3077122132, 0.4876131589}},
        {1000,
         1,
         {0.5, 0.5},
         -59095.549412,
         {-61164.2730171, -57026.8258069},
         None,
         None,
         None,
         {0.4250642862, 0.3746358346}},
        {1500,
         1,
         {0.15, 0.85},
         -95518.7164307,
         {-117000.541708, -91727.8060876},
         91.1251426,
         41168.9975,
         33.686117,
         {0.1127910087, 0.8346903278}},
        {3500,
         1,
         {0.4, 0.6},
         -319114.030856,
         {-331299.551348, -310990.350529},
         122.112332,
         108279.1314,
         33.199608,
         {0.4448579728, 0.6312317086}},
    };
    for (const MixtureState& state : states) {
        check_mixture(*system, "MELT", state);
    }
}

TEST(CheckValues, IdealGasAtSeveralPressures) {
    const auto system = read(GasAndMelt);
    const MixtureState states[] = {
        {1000,
         1,
         {0.25, 0.35, 0.4},
         -69106.2617682,
         {4792.3975541, -13575.3853242, -163882.440733},
         None,
         None,
         None,
         {0.25, 0.35, 0.4}},
        {2500,
         1,
         {0.25, 0.35, 0.4},
         -459912.828282,
         {-305666.124172, -419886.195569, -591340.321975},
         None,
         None,
         None,
         {0.25, 0.35, 0.4}},
        {2500,
         10,
         {0.25, 0.35, 0.4},
         -412050.934081,
         {-257804.229971, -372024.301368, -543478.427774},
         None,
         None,
         None,
         {0.25, 0.35, 0.4}},
    };
    for (const MixtureState& state : states) {
        check_mixture(*system, "VAPOUR", state);
    }
}

TEST(CheckValues, CompoundsWithinAtAndAboveTheirRanges) {
    const auto system = read(GasAndMelt);
    const CompoundState states[] = {
        {"AB2_alpha(s)", 700, -162238.453278, 176.358187, -38787.72256, 75.348866},
        {"AB2_alpha(s)", 900, -199502.020617, None, None, None},
        {"AB2_alpha(s)", 1200, -260187.837249, 217.656531, 1000.0, 85.0},
        {"AB2_alpha(s)", 1500, -328435.599354, 236.623733, 26500.0, 85.0},
        {"AB2_beta(s2)", 700, -157460.498762, 172.086427, -37000.0, 80.0},
        {"AB2_beta(s2)", 900, -193972.422959, 192.191581, -21000.0, 80.0},
        {"AB2_beta(s2)", 1200, -255247.376235, 215.206147, 3000.0, 80.0},
        {"AB2_beta(s2)", 1500, -322586.446451, 233.057631, 27000.0, 80.0},
    };
    for (const CompoundState& state : states) {
        check_compound(*system, state);
    }
}

TEST(CheckValues, MagneticSolution) {
    const auto system = read(magnetic_solid());
    const MixtureState states[] = {
        {300,
         1,
         {0.7, 0.2, 0.1},
         -8131.67835381,
         {-7929.21086738, -10906.8939786, -3998.51950931},
         37.4831879,
         3113.278002,
         26.185924,
         {0.9563966944, 0.09429210689, 6.840919319}},
        {700,
         1,
         {0.9, 0.06, 0.04},
         -26212.905371,
         {-24859.3954798, -42083.5733098, -32860.8760137},
         56.5838442,
         13395.78554,
         34.419618,
         {0.9171556291, 0.047873464, 0.4384863202}},
        {700,
         1,
         {0.15, 0.65, 0.2},
         -31690.1973011,
         {-39541.4406631, -28411.3029468, -36458.1714311},
         None,
         None,
         None,
         {0.07359982675, 0.5015477054, 0.2363348769}},
        {300,
         1,
         {0.02, 0.9, 0.08},
         -6775.73156873,
         {-27543.9810738, -5344.55882868, -17684.362518},
         38.3236,
         4721.348422,
         27.533461,
         {0.000367679893, 0.8768897841, 0.02832983549}},
        {1600,
         1,
         {0.7, 0.2, 0.1},
         -95428.2894392,
         {-85985.008209, -117610.337946, -117167.161037},
         89.4921813,
         47759.20068,
         29.305026,
         {0.6895350394, 0.1183820406, 0.155290116}},
    };
    for (const char* copy : {"SOLID#1", "SOLID#2"}) {
        for (const MixtureState& state : states) {
            check_mixture(*system, copy, state);
        }
    }
}

TEST(CheckValues, MagneticCompounds) {
    const auto system = read(magnetic_solid());
    const CompoundState states[] = {
        {"A_FERRO", 300, -8826.89170216, 26.4692093, -886.1289193, 24.885642},
        {"A_FERRO", 700, -24722.187965, 50.9492487, 10942.28612, 35.089279},
        {"A_FERRO", 1043, -45124.8779933, None, None, None},
        {"A_FERRO", 1600, -89385.9262232, 87.9653273, 51358.59744, 28.64921},
        {"B2C_ANTI", 300, -52148.5110842, 95.761684, -23420.00589, 75.866745},
        {"B2C_ANTI", 700, -105454.700619, 162.090388, 8008.57123, 80.187756},
        {"B2C_ANTI", 1043, -166940.504133, 194.39869, 35817.32979, 81.896227},
        {"B2C_ANTI", 1600, -285770.561748, 229.923789, 82107.49999, 84.282813},
    };
    for (const CompoundState& state : states) {
        check_compound(*system, state);
    }
}

TEST(CheckValues, IdealIonsHaveNoPressureTerm) {
    const auto system = read(Ions);
    check_mixture(*system, "IONS",
                  {1200,
                   1,
                   {0.3, 0.6, 0.1},
                   -168598.652602,
                   {-156206.67712, -136798.993737, -396572.532233},
                   None,
                   None,
                   None,
                   {0.3, 0.6, 0.1}});
    check_compound(*system, {"C3(s)", 1200, -178182.638611, 210.485532, 74400.0, 72.0});
}

TEST(CheckValues, PolynomialSlagOfTwoGroups) {
    const auto system = read(polynomial_text());
    const MixtureState states[] = {
        {1200,
         1,
         {0.5, 0.3, 0.2},
         -70704.0068005,
         {-64966.7040503, -76412.284917, -76484.8465011},
         77.3917557,
         22166.1,
         22.7,
         {0.4144254157, 0.1870437677, 0.2340191817}},
        {1200,
         1,
         {0.1, 0.3, 0.6},
         -69548.3101637,
         {-86103.277681, -70497.0582503, -66314.7748674},
         None,
         None,
         None,
         {0.04982109291, 0.3383929665, 0.6485366217}},
        {1200,
         1,
         {0.25, 0.45, 0.3},
         -71435.1312862,
         {-76048.8608862, -68837.3467859, -71487.0333699},
         None,
         None,
         None,
         {0.1364778189, 0.399636619, 0.3861858439}},
    };
    for (const MixtureState& state : states) {
        check_mixture(*system, "SLAG", state);
    }
}

TEST(CheckValues, PolynomialMatteOfTwoEquivalents) {
    const auto system = read(file_head({"Aa", "Cc"}, 2) + "MATTE\nQKTO\n" +
                             species_text("Aa2", "2 0", "-4000 230 -44") + "2 1\n" +
                             species_text("Cc", "0 1", "-3500 122 -24") +
                             "1 1\n2\n1 2 1 1 -15000 3 0 0 0 0\n2\n1 2 1 2 4400 0 0 0 0 0\n0\n" +
                             pure_phases({"Aa", "Cc"}));
    check_mixture(*system, "MATTE",
                  {1200,
                   1,
                   {0.5, 0.5},
                   -92052.0215966,
                   {-112131.091774, -71972.9514192},
                   103.825759,
                   32538.88889,
                   34.0,
                   {0.3754154306, 0.3429064778}});
    check_mixture(*system, "MATTE",
                  {1200,
                   1,
                   {0.2, 0.8},
                   -76757.0521532,
                   {-127243.620189, -64135.4101442},
                   None,
                   None,
                   None,
                   {0.08254556207, 0.7521913198}});
}

// --- equilibria within one phase, all others left out ---

EquilibriumConditions alone(const System& system, const char* phase, double t, double p,
                            std::initializer_list<std::pair<std::string, double>> amounts) {
    EquilibriumConditions c = conditions(system, t, p, amounts);
    c.phases.assign(system.phases.size(), Participation::Eliminated);
    c.phases[phase_index(system, phase)] = Participation::Entered;
    return c;
}

struct PhaseEquilibrium {
    double t, p, n;
    std::vector<double> x, mu;
    double g;
};

void check_equilibrium(const std::shared_ptr<const System>& system, const char* phase,
                       std::initializer_list<std::pair<std::string, double>> amounts,
                       const PhaseEquilibrium& expected) {
    Solver solver(system);
    const Equilibrium& result =
        solver.solve(alone(*system, phase, expected.t, expected.p, amounts));
    const std::size_t i = phase_index(*system, phase);
    expect_digits(result.phases[i].amount, expected.n, 2e-11, "amount");
    for (std::size_t c = 0; c < expected.x.size(); ++c) {
        expect_digits(result.phases[i].fractions[c], expected.x[c], 1e-10, "fraction");
        expect_digits(result.constituent_potentials[i][c], expected.mu[c], 1e-11, "mu");
    }
    PropertyTable table(*system);
    table.fill(result, solver.terms());
    expect_digits(table.system().g, expected.g, 1e-11, "G");
    EXPECT_TRUE(result.certificate.holds());
}

TEST(CheckValues, EquilibriumWithinTheGas) {
    const auto system = read(GasAndMelt);
    check_equilibrium(system, "VAPOUR", {{"A", 2.0}, {"B", 1.0}},
                      {1500,
                       5,
                       1.86227976242,
                       {0.389071255274, 0.073952496484, 0.536976248242},
                       {-69873.2480182, -139746.496036, -276866.18988},
                       -346739.437898});
    check_equilibrium(system, "VAPOUR", {{"A", 2.0}, {"B", 1.0}},
                      {1000,
                       1,
                       1.54403522365,
                       {0.0570391438999, 0.2953072374, 0.6476536187},
                       {-7494.07634162, -14988.1526832, -159875.772142},
                       -167369.848484});
}

TEST(CheckValues, EquilibriumWithinNeutralIons) {
    const auto system = read(Ions);
    check_equilibrium(system, "IONS", {{"A", 1.0}, {"B", 2.0}},
                      {1200,
                       1,
                       2.9712657436,
                       {0.331721547937, 0.663443095875, 0.00483535618768},
                       {-155203.818919, -135796.135536, -426796.089992},
                       -426796.089992});
}

TEST(CheckValues, DummiesNeverForm) {
    // As records of G = 0 the dummies would be far more stable than anything else at low T.
    const auto system = read(GasAndMelt);
    Solver solver(system);
    const Equilibrium& result =
        solver.solve(conditions(*system, 400.0, 1.0, {{"A", 1.0}, {"B", 1.0}}));
    EXPECT_EQ(system->dummies.size(), 2U);
    EXPECT_EQ(system->phases.size(), 4U);
    EXPECT_NEAR(amount(*system, result, "AB2_alpha(s)") + amount(*system, result, "AB2_beta(s2)"),
                0.5, 0.1);
}

} // namespace
} // namespace tessara::test
