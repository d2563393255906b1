// Phases of all models against figures that were worked out independently of this code, by another
// program from the published equations, to the digits given: the files of check_values/. Those of
// phases with internal variables were worked out twice, with the gas constants of CODATA 2018 and
// of CODATA 2002; so each of them tells what is entropy in it.

#include "check_values.hpp"
#include "engine/equilibrium/properties.hpp"
#include "engine/models/quasichemical.hpp"
#include "engine/models/redlich_kister.hpp"
#include "engine/models/sublattice.hpp"
#include "engine/units/constants.hpp"
#include "example_phases.hpp"
#include "model_parts.hpp"
#include "support.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numeric>

namespace tessara::test {
namespace {

using Numbers = std::vector<double>;

/// A state of a phase as its evaluator has it.
struct PhaseState {
    double t, p;
    Numbers y, log_y;
    double units; ///< of the phase, each with the variables y
};

std::vector<std::size_t> all_of(const Phase& phase) {
    std::vector<std::size_t> all(phase.constituents.size());
    std::iota(all.begin(), all.end(), std::size_t{0});
    return all;
}

/// A phase of a system and its evaluator, of all constituents.
struct WholePhase {
    WholePhase(std::shared_ptr<const System> of, std::size_t number)
        : system(std::move(of)), phase(system->phases[number]), terms(system->terms()),
          evaluator(phase.model->evaluator(phase.constituents, all_of(phase))) {}

    void set(double t, double p) {
        terms.set(t);
        evaluator->set_state(terms, p);
    }

    std::shared_ptr<const System> system;
    const Phase& phase;
    TemperatureTerms terms;
    std::unique_ptr<PhaseEvaluator> evaluator;
};

struct Energies {
    ThermalValue g; ///< of all units
    std::vector<ThermalValue> variables, constituents;
};

Energies energies(WholePhase& of, const PhaseState& state) {
    of.set(state.t, state.p);
    const std::size_t n = of.phase.constituents.size();
    Energies result{{}, std::vector<ThermalValue>(state.y.size()), std::vector<ThermalValue>(n)};
    result.g = of.evaluator->mixing_thermal(state.y, state.log_y, result.variables);
    double reduced = of.evaluator->mixing(state.y, state.log_y);
    if (of.evaluator->variables() == nullptr) {
        for (std::size_t c = 0; c < n; ++c) {
            const ThermalValue pure = System::standard_thermal(of.phase.constituents[c], of.terms);
            result.g += {state.y[c] * pure.value, state.y[c] * pure.d_t, state.y[c] * pure.d_tt};
            result.variables[c] += pure;
            reduced += state.y[c] * System::standard_gibbs(of.phase.constituents[c], of.terms) /
                       (GasConstant * state.t);
        }
        result.constituents = result.variables;
    } else {
        of.evaluator->reported_partials(state.y, result.variables, result.constituents);
    }
    // The value that the solver uses is the same.
    EXPECT_NEAR(reduced * GasConstant * state.t, result.g.value, 1e-13 * std::abs(result.g.value));
    for (const auto part : ThermalParts) {
        result.g.*part *= state.units;
    }
    return result;
}

// --- the Curie temperature and the moment of a mixture, from its magnetic Gibbs energy ---

struct Magnetism {
    double tc, beta;
    double gibbs; ///< over R T, of one unit
};

/// F = ln(1 + beta) g(T/Tc) at two temperatures has one Tc and beta. `f`: the factor of negative
/// numbers.
Magnetism magnetism(const System& system, std::size_t number, const PhaseState& state, double p,
                    std::optional<double> f = std::nullopt) {
    WholePhase with(with_parts(system, {0.0, 0.0, true, f}), number);
    WholePhase without(with_parts(system, {0.0, 0.0, false, {}}), number);
    const auto share = [&](double t) {
        with.set(t, state.p);
        without.set(t, state.p);
        return with.evaluator->mixing(state.y, state.log_y) -
               without.evaluator->mixing(state.y, state.log_y);
    };
    const auto g = [&](double t, double tc) { return magnetic_function(t / tc, p).g; };
    // The ratio of F at 2 T to F at T falls with T/Tc up to 2/3, and says most of Tc around 1/4.
    const auto tc_from = [&](double t) {
        const double ratio = share(2.0 * t) / share(t);
        double low = 1.5 * t;
        double high = 1e3 * t;
        for (int k = 0; k < 100; ++k) {
            const double tc = 0.5 * (low + high);
            (g(2.0 * t, tc) / g(t, tc) < ratio ? low : high) = tc;
        }
        return low;
    };
    const double tc = tc_from(0.25 * tc_from(5.0));
    const double log_b = share(0.25 * tc) / g(0.25 * tc, tc);
    // At the temperature of the state the share may be too small for all its digits.
    const double gibbs = log_b * g(state.t, tc);
    EXPECT_NEAR(gibbs, share(state.t), 2e-15);
    return {tc, std::expm1(log_b), gibbs};
}

std::optional<MagneticFactors> magnetic_factors(const Phase& phase) {
    if (const auto* model = dynamic_cast<const RedlichKisterModel*>(phase.model.get())) {
        return model->magnetic() ? std::optional(model->magnetic()->factors) : std::nullopt;
    }
    if (const auto* model = dynamic_cast<const SublatticeModel*>(phase.model.get())) {
        return model->phase().magnetic ? std::optional(model->phase().magnetic->factors)
                                       : std::nullopt;
    }
    return std::nullopt;
}

// --- what the engine has for a block of figures ---

/// By the keys of a block.
struct Findings {
    std::map<std::string, Numbers> values;
    std::map<std::string, std::vector<std::string>> names;

    void add(const std::string& key, double value) { values[key] = {value}; }
    template <class Items, class Get>
    void add(const std::string& key, const Items& items, Get get) {
        Numbers& list = values[key];
        list.clear();
        for (const auto& item : items) {
            list.push_back(get(item));
        }
    }
};

/// Fractions and potentials of what a phase is made of.
void add_composition(Findings& found, const Phase& phase, const PhaseEvaluator& evaluator,
                     const PhaseState& state) {
    const Variables* variables = evaluator.variables();
    if (variables == nullptr) {
        found.values["constituent.x"] = state.y;
        found.add("units", state.units);
        return;
    }
    const auto fractions = phase.model->fractions(all_of(phase), *variables, state.y);
    const bool quadruplets = fractions.back().of == "quadruplets";
    for (std::size_t k = 0; k < fractions.size(); ++k) {
        const bool sites = fractions[k].of.starts_with("sublattice");
        const std::string item =
            sites ? "site" + std::to_string(k + 1)
                  : fractions[k].of.substr(0, fractions[k].of.size() - 1); // "pair", "quadruplet"
        found.names[item] = fractions[k].names;
        found.values[item + (sites ? ".y" : ".X")] = fractions[k].values;
    }
    if (quadruplets) {
        // Equivalent fractions of ions are sums over their pairs.
        const std::size_t anions = fractions[1].values.size();
        Numbers sums[2] = {Numbers(fractions[0].values.size()), Numbers(anions)};
        for (std::size_t k = 0; k < fractions[2].values.size(); ++k) {
            sums[0][k / anions] += fractions[2].values[k];
            sums[1][k % anions] += fractions[2].values[k];
        }
        found.values["site1.equivalent"] = sums[0];
        found.values["site2.equivalent"] = sums[1];
        found.add("units", state.units * std::accumulate(state.y.begin(), state.y.end(), 0.0));
        return;
    }
    Numbers moles(phase.constituents.size());
    evaluator.reported(state.y, moles);
    const Constraints& constraints = variables->constraints;
    if (phase.kind() == ModelKind::SUBI) {
        // Q is the mean charge of the cations, and as many sites are there on the second sublattice
        // of a formula unit. The variable of vacancies holds their charges.
        double cations = 0.0;
        double charge = 0.0;
        double others = 0.0;
        double vacancies = 0.0;
        for (std::size_t i = 0; i < state.y.size(); ++i) {
            const double z = constraints.charge[i];
            cations += z > 0.0 ? state.y[i] : 0.0;
            charge += z > 0.0 ? z * state.y[i] : 0.0;
            vacancies += constraints.weight[i] == 0.0 ? state.y[i] : 0.0;
            others += z <= 0.0 && constraints.weight[i] != 0.0 ? state.y[i] : 0.0;
        }
        const double q = charge / cations;
        const double formulas = (others + vacancies / q) / q;
        found.add("Q_sites", q);
        found.add("P_sites", cations / formulas);
        found.add("units", state.units * formulas);
        found.add("constituent.moles", moles, [&](double n) { return n / formulas; });
    } else {
        found.add("units", state.units);
        found.add("ion.N", state.y, [&](double n) { return n * state.units; });
        found.names["ion"] = variables->names;
    }
}

/// What the engine has for a state of a phase; energies for a gas constant of this ratio to its
/// own.
Findings findings(const System& system, std::size_t number, const PhaseState& state, double ratio) {
    const double k = 0x1p20; // makes excess parameters so large that a difference keeps all digits
    WholePhase whole(with_parts(system, {1.0 / ratio, 1.0 / ratio, true, {}}), number);
    WholePhase records(with_parts(system, {1.0 / ratio, 0.0, true, {}}), number);
    WholePhase excess(with_parts(system, {0.0, k / ratio, true, {}}), number);
    WholePhase entropy(with_parts(system, {0.0, 0.0, true, {}}), number);
    const Energies all = energies(whole, state);
    const Energies of_records = energies(records, state);
    const Energies of_entropy = energies(entropy, state);
    const auto value = [&](const ThermalValue& of) { return ratio * of.value; };

    Findings found;
    found.add("T", state.t);
    found.add("P", state.p);
    found.add("R", ratio * GasConstant);
    found.add("G", ratio * all.g.value);
    found.add("S", -ratio * all.g.d_t);
    found.add("H", ratio * (all.g.value - state.t * all.g.d_t));
    found.add("Cp", -ratio * state.t * all.g.d_tt);
    found.add("entropy", ratio * of_entropy.g.value);
    found.add("excess", ratio * (energies(excess, state).g.value - of_entropy.g.value) / k);
    found.add("not_ideal", found.values["excess"].front());

    const Phase& phase = system.phases[number];
    for (const Constituent& constituent : phase.constituents) {
        found.names["constituent"].push_back(constituent.name);
    }
    found.add("constituent.mu", all.constituents, value);
    found.add("constituent.G0", whole.phase.constituents, [&](const Constituent& constituent) {
        return ratio * System::standard_gibbs(constituent, whole.terms);
    });
    const double rt = GasConstant * state.t;
    for (std::size_t c = 0; c < phase.constituents.size(); ++c) {
        // The pure constituent in the same phase, a gas at its pressure.
        const double own = whole.system->pure_thermal(number, c, whole.terms).value +
                           rt * whole.evaluator->ideal_shift();
        found.values["constituent.activity"].push_back(
            std::exp((all.constituents[c].value - own) / rt));
    }
    add_composition(found, phase, *whole.evaluator, state);
    if (found.names.contains("quadruplet")) {
        found.add("quadruplet.mu", all.variables, value);
        for (std::size_t i = 0; i < state.y.size(); ++i) {
            found.values["quadruplet.G0"].push_back(value(of_records.variables[i]) -
                                                    value(of_entropy.variables[i]));
        }
    }
    if (const auto factors = magnetic_factors(phase)) {
        const double p = factors->structure;
        const Magnetism used = magnetism(system, number, state, p);
        const double of_magnetism = ratio * rt * used.gibbs * state.units;
        found.add("Tc_used", used.tc);
        found.add("beta_used", used.beta);
        found.add("magnetic", of_magnetism);
        found.values["not_ideal"].front() += of_magnetism;
        // A factor of 1 shows the numbers without their signs, one of 1/2 which are below zero.
        const Magnetism plain = magnetism(system, number, state, p, 1.0);
        const Magnetism half = magnetism(system, number, state, p, 0.5);
        found.add("Tc", half.tc < 0.75 * plain.tc ? -plain.tc : plain.tc);
        found.add("beta", half.beta < 0.75 * plain.beta ? -plain.beta : plain.beta);
    }
    return found;
}

/// How far two programs may be apart that both work with doubles: a unit of the last digit given,
/// and rounding. In an equilibrium fractions follow from potentials of up to a hundred R T.
double tolerance(const CheckValues& values, const std::string& kind, const std::string& key,
                 double expected) {
    const std::string figure = key.substr(key.rfind('.') + 1);
    const bool solved = kind == "equilibrium" &&
                        (figure == "x" || figure == "y" || figure == "X" || figure == "units");
    return values.last_digit(key, expected) + (solved ? 5e-13 : 64 * Epsilon) * std::abs(expected);
}

void compare(const CheckValues& values, const FigureBlock& block, std::size_t version,
             const Findings& found) {
    for (const auto& [item, names] : block.names) {
        ASSERT_TRUE(found.names.contains(item)) << item;
        EXPECT_EQ(found.names.at(item), names);
    }
    for (const auto& [key, versions] : block.figures) {
        const Numbers& expected = versions[std::min(version, versions.size() - 1)];
        ASSERT_TRUE(found.values.contains(key)) << key;
        const Numbers& own = found.values.at(key);
        ASSERT_EQ(own.size(), expected.size()) << key;
        for (std::size_t k = 0; k < expected.size(); ++k) {
            EXPECT_NEAR(own[k], expected[k], tolerance(values, block.kind, key, expected[k]))
                << key << " " << k + 1;
        }
    }
}

// --- the states of blocks ---

/// The state that a block gives by fractions or amounts.
PhaseState given_state(const FigureBlock& block, const WholePhase& of) {
    PhaseState state{block.number("T", 0.0), block.number("P", 1.0), {}, {}, 1.0};
    for (const char* key : {"constituent.x", "ion.N", "quadruplet.n"}) {
        if (block.has(key)) {
            state.y = block.column(key);
        }
    }
    if (state.y.empty()) {
        for (const char* key : {"site1.y", "site2.y", "site3.y"}) {
            if (block.has(key)) {
                state.y.insert(state.y.end(), block.column(key).begin(), block.column(key).end());
            }
        }
    }
    if (block.has("quadruplet.n")) {
        const double sum = std::accumulate(state.y.begin(), state.y.end(), 0.0);
        for (double& value : state.y) {
            value /= sum;
        }
    }
    if (const Variables* variables = of.evaluator->variables()) {
        const Constraints& constraints = variables->constraints;
        if (of.phase.kind() == ModelKind::SUBI) {
            // From site fractions of one formula unit to amounts: Q the mean charge of the cations,
            // P that of the second sublattice, where each vacancy makes up for Q.
            double q = 0.0;
            double p = 0.0;
            for (std::size_t i = 0; i < state.y.size(); ++i) {
                q += std::max(constraints.charge[i], 0.0) * state.y[i];
            }
            for (std::size_t i = 0; i < state.y.size(); ++i) {
                state.y[i] *= constraints.weight[i] == 0.0 ? q : 1.0;
                p -= std::min(constraints.charge[i], 0.0) * state.y[i];
            }
            for (std::size_t i = 0; i < state.y.size(); ++i) {
                state.y[i] *= constraints.charge[i] > 0.0 ? p : q;
            }
        }
        if (constraints.groups == 1) {
            state.units =
                std::inner_product(state.y.begin(), state.y.end(), constraints.weight.begin(), 0.0);
            for (double& value : state.y) {
                value /= state.units;
            }
        }
    }
    for (const double value : state.y) {
        state.log_y.push_back(std::log(value));
    }
    return state;
}

/// The equilibrium of a block, with energies for a gas constant of this ratio to ours.
Findings equilibrium_findings(const System& system, std::size_t number, const FigureBlock& block,
                              double ratio) {
    const auto other = with_parts(system, {1.0 / ratio, 1.0 / ratio, true, {}});
    EquilibriumConditions in;
    in.t = block.number("T", 0.0);
    in.p = 1e5 * block.number("P", 1.0);
    in.phases.assign(system.phases.size(),
                     block.alone ? Participation::Eliminated : Participation::Entered);
    in.phases[number] = Participation::Entered;
    for (std::size_t k = 0; k < block.names.at("component").size(); ++k) {
        add_amount(in, *other, block.names.at("component")[k], block.column("component.moles")[k]);
    }
    Solver solver(other);
    Solver::Options options;
    options.surplus_sets = false; // the figures are those of one homogeneous phase
    solver.set_options(options);
    const Equilibrium& result = solver.solve(in);
    EXPECT_TRUE(result.certificate.holds());
    const PhaseResult& phase = result.phases[number];

    WholePhase whole(other, number);
    PhaseState state{result.t, block.number("P", 1.0), phase.fractions, phase.log_fractions,
                     phase.amount};
    if (whole.evaluator->variables() != nullptr) {
        state.y = phase.internal;
        state.log_y = phase.log_internal;
        Numbers reported(phase.fractions.size());
        whole.evaluator->reported(state.y, reported);
        state.units = phase.amount / std::accumulate(reported.begin(), reported.end(), 0.0);
    }
    Findings found = findings(system, number, state, ratio);
    PropertyTable table(*other);
    table.fill(result, solver.terms());
    found.add("G", ratio * table.system().g);
    found.names["component"] = block.names.at("component");
    for (const std::string& name : found.names["component"]) {
        const std::size_t j = component_index(*other, name);
        found.values["component.moles"].push_back(result.amounts[j]);
        found.values["component.mu"].push_back(ratio * result.potentials[j]);
    }
    found.add("constituent.mu", result.constituent_potentials[number],
              [&](double mu) { return ratio * mu; });
    return found;
}

/// What a phase is made of.
Findings contents(const std::shared_ptr<const System>& of, std::size_t number) {
    const System& system = *of;
    const Phase& phase = system.phases[number];
    Findings found;
    const auto add = [&](const std::string& item, std::size_t count, const auto& amount) {
        for (std::size_t j = 0; j < system.components.size(); ++j) {
            Numbers& column = found.values[item + "." + system.components[j].name];
            for (std::size_t k = 0; k < count; ++k) {
                column.push_back(amount(k, j));
            }
        }
    };
    for (const Constituent& constituent : phase.constituents) {
        found.names["constituent"].push_back(constituent.name);
    }
    add("constituent", phase.constituents.size(),
        [&](std::size_t k, std::size_t j) { return phase.constituents[k].stoichiometry[j]; });
    if (const auto* model = dynamic_cast<const QuasichemicalModel*>(phase.model.get())) {
        const WholePhase whole(of, number);
        const Variables& variables = *whole.evaluator->variables();
        found.names["quadruplet"] = variables.names;
        add("quadruplet", variables.size(), [&](std::size_t k, std::size_t j) {
            return variables.stoichiometry[k * system.components.size() + j];
        });
        const SiteTable& table = model->phase().table;
        const CoordinationNumbers numbers(model->phase());
        for (const Quadruplet& q : quadruplets(table, std::vector<char>(table.total(), 1))) {
            for (const std::size_t k : {0U, 1U, 2U, 3U}) {
                found.values["quadruplet.Z" + std::to_string(k + 1)].push_back(
                    numbers.of(q)[k / 2][k % 2]);
            }
        }
    }
    return found;
}

void check_compounds(const System& system, const CheckValues& values, const FigureBlock& block) {
    for (std::size_t row = 0; row < block.names.at("compound").size(); ++row) {
        const std::string& name = block.names.at("compound")[row];
        SCOPED_TRACE(name);
        const Constituent& compound = system.phases[phase_index(system, name)].constituents[0];
        TemperatureTerms terms = system.terms();
        const double t = block.column("compound.T")[row];
        terms.set(t);
        const ThermalValue g = System::standard_thermal(compound, terms);
        EXPECT_EQ(System::standard_gibbs(compound, terms), g.value);
        const std::pair<const char*, double> own[] = {{"compound.G", g.value},
                                                      {"compound.S", -g.d_t},
                                                      {"compound.H", g.value - t * g.d_t},
                                                      {"compound.Cp", -t * g.d_tt}};
        for (const auto& [key, value] : own) {
            const double expected = block.column(key)[row];
            if (!std::isnan(expected)) {
                EXPECT_NEAR(value, expected, tolerance(values, block.kind, key, expected))
                    << key << " " << t;
            }
        }
    }
}

struct Example {
    const char* name; ///< of its file of figures
    std::string text;
};

void PrintTo(const Example& example, std::ostream* out) {
    *out << example.name;
}

class CheckValuesOf : public testing::TestWithParam<Example> {};

TEST_P(CheckValuesOf, AreThoseOfTheEngine) {
    const auto system = read(GetParam().text);
    const CheckValues values =
        read_check_values(std::string(TESSARA_CHECK_VALUES_DIR) + "/" + GetParam().name + ".txt");
    EXPECT_FALSE(values.blocks.empty());
    for (const FigureBlock& block : values.blocks) {
        if (block.kind == "compounds") {
            check_compounds(*system, values, block);
            continue;
        }
        std::size_t copies = 0;
        for (std::size_t i = 0; i < system->phases.size(); ++i) {
            if (system->phases[i].file_name != block.phase) {
                continue;
            }
            ++copies;
            if (block.kind == "contents") {
                compare(values, block, 0, contents(system, i));
                continue;
            }
            const std::size_t versions = block.has("R") ? block.figures.at("R").size() : 1;
            for (std::size_t version = 0; version < versions; ++version) {
                const double r = block.has("R") ? block.figures.at("R")[version][0] : GasConstant;
                SCOPED_TRACE(block.kind + " of " + system->phases[i].name + " at " +
                             std::to_string(block.number("T", 0.0)) +
                             " K, R = " + std::to_string(r));
                const double ratio = r / GasConstant;
                if (block.kind == "equilibrium") {
                    compare(values, block, version, equilibrium_findings(*system, i, block, ratio));
                } else {
                    const WholePhase whole(system, i);
                    Findings found = findings(*system, i, given_state(block, whole), ratio);
                    if (block.has("quadruplet.n")) {
                        found.values["quadruplet.n"] = block.column("quadruplet.n");
                    }
                    compare(values, block, version, found);
                }
            }
        }
        EXPECT_GT(copies, 0U) << block.phase;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Examples, CheckValuesOf,
    testing::Values(Example{"gas_and_melt", gas_and_melt_text()},
                    Example{"magnetic_solid", magnetic_solid_text()},
                    Example{"charged_ions", charged_ions_text()},
                    Example{"polynomial", polynomial_text()},
                    Example{"two_equivalents", two_equivalents_text()},
                    Example{"sublattice", sublattice_text()},
                    Example{"reciprocal", reciprocal_text()},
                    Example{"ordering_magnetic", ordering_magnetic_text()},
                    Example{"antiferromagnetic", antiferromagnetic_text()},
                    Example{"ionic_liquid", ionic_liquid_text()},
                    Example{"ion_sublattices", ion_sublattices_text()},
                    Example{"quasichemical", quasichemical_text()},
                    Example{"quasichemical_anions", quasichemical_anions_text()},
                    Example{"quasichemical_half", quasichemical_half_text()},
                    Example{"quasichemical_pairs", quasichemical_pairs_text()}),
    [](const auto& of) { return std::string(of.param.name); });

TEST(CheckValues, DummiesNeverForm) {
    // As records of G = 0 the dummies would be far more stable than anything else at low T.
    const auto system = read(gas_and_melt_text());
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
