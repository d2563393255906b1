#include "engine/models/form_evaluator.hpp"
#include "engine/models/quasichemical.hpp"
#include "engine/units/constants.hpp"
#include "example_phases.hpp"
#include "support.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <numeric>

// Homogeneous states of phases with internal variables. The figures are those of an independent
// calculation from the equations, with R = 8.314462618.

namespace tessara::test {
namespace {

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();

/// Site fractions of a formula unit of the ionic liquid as amounts of its variables.
std::vector<double> ionic_amounts(std::vector<double> cations, std::vector<double> others) {
    const double q = 2.0 * cations[0] + 3.0 * cations[1];
    const double p = 2.0 * others[0] + q * others[1];
    return {p * cations[0],    p * cations[1], q * others[0],
            q * q * others[1], q * others[2],  q * others[3]};
}

/// Quadruplet fractions in the ratios 1, 3, 5, 2, 4, 1, ...
std::vector<double> unequal_fractions(std::size_t count) {
    std::vector<double> y;
    double sum = 0.0;
    for (std::size_t k = 0; k < count; ++k) {
        y.push_back(static_cast<double>(1 + 2 * k % 5));
        sum += y.back();
    }
    for (double& value : y) {
        value /= sum;
    }
    return y;
}

struct State {
    const char* name;
    std::string (*text)();
    const char* phase;
    double t;
    std::vector<double> y;  ///< amounts of the internal variables
    double g, s;            ///< of these amounts
    std::vector<double> mu; ///< of the constituents
    std::vector<double> variable_mu;
};

class ModelStates : public testing::TestWithParam<State> {};

const State States[] = {
    {"ETA 1500",
     sublattice_text,
     "ETA",
     1500.0,
     {0.5, 0.3, 0.2, 0.45, 0.15, 0.4},
     -337572.79477317,
     190.173039,
     {-425244.66016419, -343764.99531198, -275813.62855788, -407926.68982152, -326447.0249693,
      -258495.65821521, -372834.10057488, -291354.43572267, -223403.06896857},
     {}},
    {"ETA 2200",
     sublattice_text,
     "ETA",
     2200.0,
     {0.2, 0.3, 0.5, 0.1, 0.05, 0.85},
     -379559.20767497,
     191.66051,
     {-588360.8616949, -554429.2185975, -400627.2012699, -567883.07454921, -533951.43145182,
      -380149.41412422, -505584.61297468, -471652.96987729, -317850.95254969},
     {}},
    {"RECIPROCAL 1500",
     reciprocal_text,
     "RECIPROCAL",
     1500.0,
     {0.7, 0.3, 0.4, 0.6},
     -221734.60346809,
     92.7104823,
     {-240808.6828042, -205949.4460778, -246946.89180332, -212087.65507691},
     {}},
    {"ORDERED 900",
     ordering_magnetic_text,
     "ORDERED",
     900.0,
     {0.55, 0.45, 0.65, 0.35, 0.08, 0.92},
     -57499.288706853,
     89.0029353,
     {-54327.070387699, -57556.678220932, -54849.513555297, -58079.121388529, -54367.345951967,
      -57596.9537852, -54889.789119565, -58119.396952798},
     {}},
    {"ORDERED 1500",
     ordering_magnetic_text,
     "ORDERED",
     1500.0,
     {0.55, 0.45, 0.65, 0.35, 0.08, 0.92},
     -118792.03864893,
     112.756551,
     {-257950.43317927, -107601.16876696, -257954.265394, -107605.00098169, -256087.2941878,
      -105738.02977548, -256091.12640253, -105741.86199021},
     {}},
    {"ANTIFERRO 400",
     antiferromagnetic_text,
     "ANTIFERRO",
     400.0,
     {0.6, 0.4, 0.1, 0.9},
     -6421.105465694,
     31.0174062,
     {35385.459697234, -11596.851395801, 36579.246749243, -10403.064343793},
     {}},
    {"ANTIFERRO 1000",
     antiferromagnetic_text,
     "ANTIFERRO",
     1000.0,
     {0.6, 0.4, 0.1, 0.9},
     -30597.630028811,
     46.4796836,
     {-25125.118565105, -31166.967243727, -25212.237697471, -31254.086376093},
     {}},
    {"LIQUID 2200",
     ionic_liquid_text,
     "LIQUID",
     2200.0,
     ionic_amounts({0.6, 0.4}, {0.5, 0.25, 0.15, 0.1}),
     -1862191.1227171,
     573.910733,
     {-2310203.9412178, -226492.61339822, -178567.75955578, -1505602.8255887, -3113321.5516967,
      -163746.74003232},
     {}},
    {"LIQUID 1900",
     ionic_liquid_text,
     "LIQUID",
     1900.0,
     ionic_amounts({0.3, 0.7}, {0.35, 0.3, 0.05, 0.3}),
     -2179579.2349425,
     689.150838,
     {-2120248.9568571, -209595.19792216, -153063.62016818, -1366745.4963913, -2841379.7041599,
      -144895.93132039},
     {}},
    {"IONS",
     ion_sublattices_text,
     "IONS",
     1200.0,
     {0.9, 0.5, 0.3, 1.2, 0.4},
     -1079005.8940858,
     NaN,
     {-703503.31858423, -657686.33590211, -1284992.6699835, -735786.48320331, -644152.51783907,
      -613772.51601832},
     {}},
    {"SALT",
     quasichemical_text,
     "SALT",
     1300.0,
     unequal_fractions(18),
     -257457.50673759,
     66.6050036,
     {},
     {-223975.645502, -271881.92124433, -464933.77275657, -254871.40131738, -459761.53361073,
      -391575.64309684, -116314.58119369, -151705.31977725, -188511.26572489, -141153.24867455,
      -168588.39981006, -178169.79341382, -162524.88426208, -225975.44335693, -333022.47228319,
      -214791.97312049, -277838.09905924, -280175.07890305}},
    {"ANIONS",
     quasichemical_anions_text,
     "ANIONS",
     1300.0,
     unequal_fractions(18),
     -210690.02616232,
     61.0206439,
     {},
     {-232539.36900256, -276808.46968646, -249958.63748024, -164760.26777949, -213313.86525445,
      -207562.90475085, -150558.73799471, -196103.42006, -188177.01430943, -194404.40250748,
      -266048.27534998, -233108.05231107, -188139.28796187, -251156.91970006, -224880.09742471,
      -174420.04505175, -216073.9849851, -191490.8983686}},
    {"SLAG",
     quasichemical_half_text,
     "SLAG",
     1700.0,
     unequal_fractions(18),
     -647544.17627934,
     171.748512,
     {},
     {-648997.59780035, -556282.1777731, -1101107.2640377, -612830.95712277, -876491.58638905,
      -863886.16110502, -474199.55857839, -425786.05743437, -603217.10176619, -459334.04409979,
      -560168.56847715, -525043.54200542, -469607.17497641, -510172.70244376, -856987.87818374,
      -536831.80889658, -687419.28348484, -684493.93153638}},
    {"PAIRS",
     quasichemical_pairs_text,
     "PAIRS",
     1200.0,
     unequal_fractions(9),
     -198019.09575208,
     46.4565722,
     {},
     {-220359.04798206, -231888.04905922, -226962.01295926, -157024.91568433, -158491.35126939,
      -175047.57244147, -188104.400245, -198443.94018877, -209033.75951572}},
};

TEST_P(ModelStates, HaveTheFiguresOfAnIndependentCalculation) {
    const State& state = GetParam();
    const auto system = read(state.text());
    const Phase& phase = system->phases[phase_index(*system, state.phase)];
    std::vector<std::size_t> all(phase.constituents.size());
    std::iota(all.begin(), all.end(), std::size_t{0});
    const auto evaluator = phase.model->evaluator(phase.constituents, all);
    TemperatureTerms terms = system->terms();
    terms.set(state.t);
    evaluator->set_state(terms, 1.0);
    const Constraints& constraints = evaluator->variables()->constraints;
    ASSERT_EQ(evaluator->size(), state.y.size());

    double units = 1.0;
    if (constraints.groups == 1) {
        units = 0.0;
        for (std::size_t i = 0; i < state.y.size(); ++i) {
            units += constraints.weight[i] * state.y[i];
        }
    }
    std::vector<double> y = state.y;
    std::vector<double> log_y;
    for (double& value : y) {
        value /= units;
        log_y.push_back(std::log(value));
    }
    std::vector<ThermalValue> partial(y.size());
    const ThermalValue g = evaluator->mixing_thermal(y, log_y, partial);
    EXPECT_NEAR(units * g.value, state.g, 1e-12 * std::abs(state.g));
    EXPECT_NEAR(units * evaluator->mixing(y, log_y) * GasConstant * state.t, state.g,
                1e-12 * std::abs(state.g));
    if (!std::isnan(state.s)) {
        EXPECT_NEAR(-units * g.d_t, state.s, 5e-9 * std::abs(state.s));
    }
    std::vector<ThermalValue> reported(all.size());
    evaluator->reported_partials(y, partial, reported);
    for (std::size_t c = 0; c < state.mu.size(); ++c) {
        EXPECT_NEAR(reported[c].value, state.mu[c], 1e-11 * std::abs(state.mu[c]))
            << phase.constituents[c].name;
    }
    for (std::size_t i = 0; i < state.variable_mu.size(); ++i) {
        EXPECT_NEAR(partial[i].value, state.variable_mu[i], 1e-11 * std::abs(state.variable_mu[i]))
            << evaluator->variables()->names[i];
    }
}

INSTANTIATE_TEST_SUITE_P(Models, ModelStates, testing::ValuesIn(States), [](const auto& of) {
    std::string name = of.param.name;
    for (char& c : name) {
        c = c == ' ' ? '_' : c;
    }
    return name;
});

} // namespace
} // namespace tessara::test
