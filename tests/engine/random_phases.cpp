#include "random_phases.hpp"

#include "engine/models/form_evaluator.hpp"
#include "engine/models/ion_sublattices.hpp"
#include "engine/models/ionic_liquid.hpp"
#include "engine/models/polynomial.hpp"
#include "engine/models/quasichemical.hpp"
#include "engine/models/sublattice.hpp"

#include <Eigen/Dense>

#include <algorithm>
#include <cmath>
#include <numeric>

namespace tessara::test {
namespace {

using Random = std::mt19937;

double draw(Random& random, double from, double to) {
    return std::uniform_real_distribution<double>(from, to)(random);
}

Constituent random_constituent(Random& random, std::vector<double> stoichiometry,
                               double most_stable = -3e5) {
    Constituent constituent;
    constituent.name = "I";
    constituent.stoichiometry = std::move(stoichiometry);
    constituent.gibbs.add_range(
        {6000.0,
         {draw(random, most_stable, 0.0), draw(random, 100.0, 400.0), draw(random, -60.0, -20.0),
          draw(random, -4e-3, 0.0), draw(random, -1e-7, 1e-7), draw(random, 0.0, 2e5)},
         {}});
    return constituent;
}

std::vector<ExcessCoefficients> random_sets(Random& random, std::size_t count) {
    std::vector<ExcessCoefficients> sets;
    for (std::size_t k = 0; k < count; ++k) {
        sets.push_back(random_coefficients(random));
    }
    return sets;
}

/// A full table, the last sublattice fastest.
SiteTable full_table(const std::vector<std::size_t>& sizes) {
    std::vector<std::vector<std::size_t>> rows{{}};
    for (std::size_t size : sizes) {
        std::vector<std::vector<std::size_t>> longer;
        for (const auto& row : rows) {
            for (std::size_t c = 0; c < size; ++c) {
                longer.push_back(row);
                longer.back().push_back(c);
            }
        }
        rows = std::move(longer);
    }
    return {sizes, rows};
}

/// Exchanges the first two of each sublattice (which is a permutation that undoes itself).
std::vector<std::size_t> exchange(const std::vector<std::size_t>& sizes) {
    std::vector<std::size_t> order;
    for (std::size_t size : sizes) {
        const std::size_t first = order.size();
        for (std::size_t c = 0; c < size; ++c) {
            order.push_back(first + c);
        }
        if (size > 1) {
            std::swap(order[first], order[first + 1]);
        }
    }
    return order;
}

template <class T>
std::vector<T> permuted(const std::vector<T>& values, const std::vector<std::size_t>& order) {
    std::vector<T> result;
    for (std::size_t k : order) {
        result.push_back(values[k]);
    }
    return result;
}

void renumber(std::vector<std::size_t>& numbers, const std::vector<std::size_t>& order) {
    for (std::size_t& number : numbers) {
        number = order[number];
    }
}

void renumber(std::optional<std::size_t>& number, const std::vector<std::size_t>& order) {
    if (number) {
        number = order[*number];
    }
}

Grouping renumbered(const Grouping& grouping, const std::vector<std::size_t>& order) {
    Grouping result{permuted(grouping.groups, order), grouping.overrides};
    for (GroupOverride& rule : result.overrides) {
        for (std::size_t& c : rule.triple) {
            c = order[c];
        }
        renumber(rule.asymmetric, order);
        renumber(rule.constant, order);
    }
    return result;
}

SiteTable renumbered(const SiteTable& table, const std::vector<std::size_t>& order) {
    std::vector<std::vector<std::size_t>> rows;
    for (std::size_t k = 0; k < table.end_members(); ++k) {
        std::vector<std::size_t> row;
        for (std::size_t s = 0; s < table.sublattices(); ++s) {
            row.push_back(order[table.running(k, s)] - table.offset(s));
        }
        rows.push_back(row);
    }
    return {table.sizes(), rows};
}

// --- sublattices ---

RandomModel draw_sublattices(Random& random, bool magnetic) {
    SublatticePhase phase;
    phase.sites = {draw(random, 0.5, 3.0), draw(random, 0.5, 3.0), 1.0};
    phase.table = full_table({3, 2, 2});
    phase.names = {"A", "B", "C", "A", "D", "E", "Va"};
    const auto add = [&](std::vector<std::size_t> on, std::size_t sets) {
        phase.excess.push_back({std::move(on), random_sets(random, sets)});
    };
    add({0, 1, 3, 5}, 4);
    add({2, 1, 4, 6}, 3);
    add({0, 3, 4, 5}, 2);
    add({0, 1, 2, 3, 6}, 3);
    add({2, 0, 1, 4, 5}, 1);
    add({0, 1, 3, 4, 5}, 4);
    add({1, 2, 3, 5, 6}, 3);
    add({0, 1, 2, 3, 4, 6}, 1);
    if (magnetic) {
        MagneticMixture mixture;
        mixture.factors = {0.333333, 0.28};
        for (std::size_t k = 0; k < phase.table.end_members(); ++k) {
            mixture.constituents.push_back({draw(random, -500.0, 1500.0), draw(random, -1.0, 2.0)});
        }
        mixture.terms.push_back({{0, 1, 3, 5}, {{300.0, 0.2}, {-200.0, 0.4}}});
        mixture.terms.push_back({{0, 1, 2, 3, 6}, {{300.0, 0.2}, {-200.0, 0.4}, {100.0, -0.1}}});
        phase.magnetic = std::move(mixture);
    }
    RandomModel result;
    for (std::size_t k = 0; k < phase.table.end_members(); ++k) {
        std::vector<double> contents(5, 0.0);
        const std::size_t component[] = {0, 1, 2, 0, 3, 4};
        for (std::size_t s = 0; s < 3; ++s) {
            const std::size_t c = phase.table.running(k, s);
            if (c < 6) {
                contents[component[c]] += phase.sites[s];
            }
        }
        result.constituents.push_back(random_constituent(random, contents));
    }
    result.model = std::make_shared<SublatticeModel>(std::move(phase));
    return result;
}

RandomModel draw_subl(Random& random) {
    return draw_sublattices(random, false);
}
RandomModel draw_sublm(Random& random) {
    return draw_sublattices(random, true);
}

PermutedModel permute_sublattices(const RandomModel& of) {
    SublatticePhase phase = dynamic_cast<const SublatticeModel&>(*of.model).phase();
    const std::vector<std::size_t> order = exchange(phase.table.sizes());
    phase.table = renumbered(phase.table, order);
    phase.names = permuted(phase.names, order);
    for (auto& term : phase.excess) {
        renumber(term.constituents, order);
    }
    if (phase.magnetic) {
        for (auto& term : phase.magnetic->terms) {
            renumber(term.constituents, order);
        }
    }
    return {{of.constituents, std::make_shared<SublatticeModel>(std::move(phase))}, order};
}

// --- polynomials ---

PolynomialTerm random_polynomial(Random& random, std::vector<std::size_t> on,
                                 std::vector<int> powers,
                                 std::optional<std::size_t> constant = std::nullopt) {
    return {std::move(on), std::move(powers), constant, random_coefficients(random)};
}

RandomModel draw_qkto(Random& random) {
    PolynomialPhase phase;
    RandomModel result;
    for (std::size_t k = 0; k < 5; ++k) {
        phase.equivalents.push_back(draw(random, 0.5, 2.5));
        std::vector<double> contents(5, 0.0);
        contents[k] = 1.0;
        result.constituents.push_back(random_constituent(random, contents));
    }
    phase.grouping = {{1, 2, 2, 1, 3}, {{{0, 1, 4}, 4, {}}, {{1, 2, 3}, {}, {}}}};
    const auto add = [&](std::vector<std::size_t> on, std::vector<int> powers) {
        phase.excess.push_back(random_polynomial(random, std::move(on), std::move(powers)));
    };
    add({0, 1}, {1, 1});
    add({1, 0}, {3, 1});
    add({0, 2}, {2, 2});
    add({1, 2}, {1, 2});
    add({3, 4}, {0, 1});
    add({0, 3}, {1, 0});
    add({2, 4}, {4, 1});
    add({0, 1, 2}, {1, 2, 1});
    add({1, 3, 4}, {1, 1, 1});
    add({0, 2, 4}, {0, 1, 1});
    result.model = std::make_shared<PolynomialModel>(std::move(phase));
    return result;
}

PermutedModel permute_qkto(const RandomModel& of) {
    PolynomialPhase phase = dynamic_cast<const PolynomialModel&>(*of.model).phase();
    const std::vector<std::size_t> order = exchange({phase.equivalents.size()});
    phase.equivalents = permuted(phase.equivalents, order);
    phase.grouping = renumbered(phase.grouping, order);
    for (PolynomialTerm& term : phase.excess) {
        renumber(term.constituents, order);
    }
    return {{permuted(of.constituents, order), std::make_shared<PolynomialModel>(std::move(phase))},
            order};
}

RandomModel draw_subm(Random& random) {
    IonSublatticePhase phase;
    phase.table = full_table({3, 3});
    phase.names = {"A", "B", "C", "X", "Y", "Z"};
    phase.charges = {1.0, 2.0, 3.0, 1.0, 2.0, 1.0};
    phase.grouping = {{1, 1, 2, 1, 2, 2}, {{{0, 1, 2}, 0, 4}, {{3, 4, 5}, {}, 1}}};
    RandomModel result;
    for (std::size_t k = 0; k < phase.table.end_members(); ++k) {
        const std::size_t a = phase.table.running(k, 0);
        const std::size_t x = phase.table.running(k, 1);
        const double multiple = draw(random, 0.5, 1.5);
        phase.cations.push_back(multiple * phase.charges[x]);
        phase.anions.push_back(multiple * phase.charges[a]);
        std::vector<double> contents(6, 0.0);
        contents[a] = phase.cations.back();
        contents[x] = phase.anions.back();
        result.constituents.push_back(random_constituent(random, contents));
    }
    const auto add = [&](std::vector<std::size_t> on, std::vector<int> powers,
                         std::size_t constant) {
        phase.excess.push_back(
            random_polynomial(random, std::move(on), std::move(powers), constant));
    };
    add({0, 1}, {1, 1}, 3);
    add({0, 1}, {2, 1}, 4);
    add({2, 0}, {1, 3}, 3);
    add({1, 2}, {0, 1}, 5);
    add({3, 4}, {1, 1}, 0);
    add({5, 3}, {2, 2}, 1);
    add({0, 1, 2}, {1, 1, 1}, 3);
    add({3, 4, 5}, {2, 1, 1}, 2);
    result.model = std::make_shared<IonSublatticeModel>(std::move(phase));
    return result;
}

PermutedModel permute_subm(const RandomModel& of) {
    IonSublatticePhase phase = dynamic_cast<const IonSublatticeModel&>(*of.model).phase();
    const std::vector<std::size_t> order = exchange(phase.table.sizes());
    phase.table = renumbered(phase.table, order);
    phase.names = permuted(phase.names, order);
    phase.charges = permuted(phase.charges, order);
    phase.grouping = renumbered(phase.grouping, order);
    for (PolynomialTerm& term : phase.excess) {
        renumber(term.constituents, order);
        renumber(term.constant, order);
    }
    return {{of.constituents, std::make_shared<IonSublatticeModel>(std::move(phase))}, order};
}

// --- the ionic liquid ---

RandomModel draw_subi(Random& random) {
    using enum IonicKind;
    IonicLiquidPhase phase;
    phase.cations = 3;
    phase.names = {"C1", "C2", "C3", "A1", "A2", "A3", "Va", "N1", "N2", "N3"};
    phase.kinds = {Anion, Anion, Anion, Vacancy, Neutral, Neutral, Neutral};
    phase.charges = {1.0, 2.0, 3.0, 1.0, 2.0, 3.0, 1.0, 0.0, 0.0, 0.0};
    RandomModel result;
    for (std::size_t c = 0; c < 3; ++c) {
        for (std::size_t other = 3; other < 7; ++other) {
            phase.species.push_back({c, other});
            std::vector<double> contents(9, 0.0);
            contents[c] = phase.charges[other];
            if (other < 6) {
                contents[other] = phase.charges[c];
            }
            result.constituents.push_back(random_constituent(random, contents));
        }
    }
    for (std::size_t other = 7; other < 10; ++other) {
        phase.species.push_back({std::nullopt, other});
        std::vector<double> contents(9, 0.0);
        contents[other - 1] = 1.0;
        contents[0] = other == 8 ? 0.5 : 0.0;
        result.constituents.push_back(random_constituent(random, contents));
    }
    const auto add = [&](std::vector<std::size_t> on, std::size_t sets) {
        phase.excess.push_back({std::move(on), random_sets(random, sets)});
    };
    add({0, 1, 3}, 3);
    add({1, 3, 4}, 3);
    add({2, 4, 6}, 2);
    add({0, 5, 8}, 2);
    add({1, 2, 6}, 3);
    add({0, 6, 7}, 4);
    add({1, 7, 8}, 3);
    add({0, 1, 2, 4}, 3);
    add({0, 3, 4, 5}, 3);
    add({1, 3, 6, 8}, 3);
    add({0, 1, 2, 6}, 3);
    add({2, 6, 7, 9}, 3);
    add({0, 7, 8, 9}, 3);
    add({0, 2, 3, 6}, 4);
    add({0, 2, 4, 7}, 3);
    add({1, 2, 6, 9}, 3);
    add({0, 1, 6, 7}, 1);
    result.model = std::make_shared<IonicLiquidModel>(std::move(phase));
    return result;
}

PermutedModel permute_subi(const RandomModel& of) {
    IonicLiquidPhase phase = dynamic_cast<const IonicLiquidModel&>(*of.model).phase();
    const std::vector<std::size_t> order = exchange({3, 3, 1, 3});
    phase.names = permuted(phase.names, order);
    phase.charges = permuted(phase.charges, order);
    for (auto& species : phase.species) {
        renumber(species.cation, order);
        species.other = order[species.other];
    }
    for (auto& term : phase.excess) {
        renumber(term.constituents, order);
    }
    return {{of.constituents, std::make_shared<IonicLiquidModel>(std::move(phase))}, order};
}

// --- quasichemical ---

RandomModel draw_quasichemical(Random& random, bool half) {
    using enum QuasichemicalShape;
    QuasichemicalPhase phase;
    phase.half = half;
    phase.table = full_table({3, 3});
    phase.names = {"A", "B", "C", "X", "Y", "Z"};
    phase.charges = {1.0, 2.0, 1.0, 1.0, 2.0, 3.0};
    phase.grouping = {{1, 2, 2, 1, 1, 2}, {{{0, 1, 2}, 1, 4}}};
    const double zeta = draw(random, 1.5, 3.0);
    RandomModel result;
    for (std::size_t k = 0; k < phase.table.end_members(); ++k) {
        const std::size_t a = phase.table.running(k, 0);
        const std::size_t x = phase.table.running(k, 1);
        phase.pairs.push_back(
            {phase.charges[x], phase.charges[a], half ? draw(random, 1.5, 3.0) : zeta});
        std::vector<double> contents(6, 0.0);
        contents[a] = phase.charges[x];
        contents[x] = phase.charges[a];
        // Reactions that exchange ions between pairs give what is usual, 100 kJ and less.
        result.constituents.push_back(random_constituent(random, contents, -5e4));
        const Quadruplet pure{{{{a, a}, {x - 3, x - 3}}}};
        const double z = draw(random, 3.0, 7.0);
        const double other = z * phase.charges[x] / phase.charges[a];
        phase.coordinations.push_back({pure, {{{z, z}, {other, other}}}});
    }
    // One that is mixed on both sublattices, with any numbers that balance.
    const Quadruplet mixed{{{{0, 1}, {0, 2}}}};
    const double share = 1.0 / 4.0 + 2.0 / 5.0 - 1.0 / 6.0;
    phase.coordinations.push_back({mixed, {{{4.0, 5.0}, {6.0, 3.0 / share}}}});
    const auto add = [&](QuasichemicalShape shape, Quadruplet on, std::array<int, 2> powers,
                         std::array<std::optional<std::size_t>, 2> more = {},
                         std::array<int, 2> more_powers = {}) {
        phase.excess.push_back(
            {shape, on, powers, more_powers, more, random_coefficients(random, 8e3)});
    };
    add(G, {{{{0, 1}, {0, 0}}}}, {0, 0});
    add(G, {{{{0, 1}, {0, 0}}}}, {2, 1});
    add(G, {{{{0, 2}, {1, 1}}}}, {1, 0});
    add(Q, {{{{1, 2}, {1, 1}}}}, {1, 2});
    add(Q, {{{{0, 2}, {2, 2}}}}, {0, 1});
    add(G, {{{{0, 1}, {0, 0}}}}, {0, 1}, {2, {}}, {1, 0}); // counted with B
    add(G, {{{{0, 1}, {0, 0}}}}, {1, 0}, {2, {}}, {3, 0});
    add(Q, {{{{0, 2}, {0, 0}}}}, {1, 1}, {1, {}}, {2, 0});
    add(G, {{{{1, 2}, {0, 0}}}}, {0, 1}, {0, {}}, {2, 0}); // counted with neither
    add(Q, {{{{1, 2}, {2, 2}}}}, {0, 0}, {0, {}}, {1, 0});
    add(G, {{{{0, 1}, {1, 1}}}}, {1, 1}, {2, {}}, {2, 0}); // an override
    add(G, {{{{0, 0}, {0, 1}}}}, {1, 1});
    add(Q, {{{{1, 1}, {0, 2}}}}, {2, 0});
    add(G, {{{{2, 2}, {0, 2}}}}, {0, 1}, {std::nullopt, 1}, {0, 2});
    add(Q, {{{{0, 0}, {1, 2}}}}, {0, 0}, {std::nullopt, 0}, {0, 1});
    add(R, {{{{0, 2}, {0, 1}}}}, {0, 0});
    add(G, {{{{1, 2}, {0, 2}}}}, {0, 0});
    add(B, {{{{0, 1}, {0, 1}}}}, {1, 0});
    add(B, {{{{1, 2}, {2, 2}}}}, {0, 2});
    result.model = std::make_shared<QuasichemicalModel>(std::move(phase));
    return result;
}

RandomModel draw_subg(Random& random) {
    return draw_quasichemical(random, false);
}
RandomModel draw_subq(Random& random) {
    return draw_quasichemical(random, true);
}

/// What an exchange of ions does to a quadruplet; `turned`: pairs that it puts in another order.
Quadruplet renumbered(Quadruplet q, const std::vector<std::size_t>& order, bool sorted,
                      std::array<bool, 2>& turned) {
    for (std::size_t s : {0, 1}) {
        for (std::size_t& ion : q.ions[s]) {
            ion = order[3 * s + ion] - 3 * s;
        }
        turned[s] = sorted && q.ions[s][0] > q.ions[s][1];
        if (turned[s]) {
            std::swap(q.ions[s][0], q.ions[s][1]);
        }
    }
    return q;
}

PermutedModel permute_quasichemical(const RandomModel& of) {
    QuasichemicalPhase phase = dynamic_cast<const QuasichemicalModel&>(*of.model).phase();
    const std::vector<std::size_t> order = exchange({3, 3});
    const std::vector<Quadruplet> before = quadruplets(phase.table, std::vector<char>(6, 1));
    phase.table = renumbered(phase.table, order);
    phase.names = permuted(phase.names, order);
    phase.charges = permuted(phase.charges, order);
    phase.grouping = renumbered(phase.grouping, order);
    std::array<bool, 2> turned{};
    for (auto& [quadruplet, numbers] : phase.coordinations) {
        quadruplet = renumbered(quadruplet, order, true, turned);
        for (std::size_t s : {0, 1}) {
            if (turned[s]) {
                std::swap(numbers[s][0], numbers[s][1]);
            }
        }
    }
    for (QuasichemicalTerm& term : phase.excess) {
        term.on = renumbered(term.on, order, term.shape != QuasichemicalShape::B, turned);
        if (turned[0] || turned[1]) {
            std::swap(term.powers[0], term.powers[1]);
        }
        for (std::size_t s : {0, 1}) {
            if (term.more[s]) {
                term.more[s] = order[3 * s + *term.more[s]] - 3 * s;
            }
        }
    }
    std::vector<std::size_t> variables;
    for (const Quadruplet& q : before) {
        const Quadruplet source = renumbered(q, order, true, turned);
        variables.push_back(static_cast<std::size_t>(
            std::find(before.begin(), before.end(), source) - before.begin()));
    }
    return {{of.constituents, std::make_shared<QuasichemicalModel>(std::move(phase))}, variables};
}

} // namespace

ExcessCoefficients random_coefficients(std::mt19937& random, double size) {
    ExcessCoefficients c;
    c.thermal = {draw(random, -size, size), draw(random, -10.0, 10.0), draw(random, -1.0, 1.0),
                 draw(random, -1e-3, 1e-3), draw(random, -1e-7, 1e-7), draw(random, -1e5, 1e5)};
    c.p = draw(random, -3.0, 3.0);
    c.p2 = draw(random, -0.1, 0.1);
    return c;
}

const std::vector<ModelRow>& model_rows() {
    static const std::vector<ModelRow> rows = {
        {"QKTO", draw_qkto, permute_qkto},          {"SUBL", draw_subl, permute_sublattices},
        {"SUBLM", draw_sublm, permute_sublattices}, {"SUBM", draw_subm, permute_subm},
        {"SUBI", draw_subi, permute_subi},          {"SUBG", draw_subg, permute_quasichemical},
        {"SUBQ", draw_subq, permute_quasichemical},
    };
    return rows;
}

Constraints constraints_of(const PhaseEvaluator& evaluator) {
    return evaluator.variables() != nullptr ? evaluator.variables()->constraints
                                            : simple_constraints(evaluator.size());
}

std::vector<double> random_state(const PhaseEvaluator& evaluator, std::mt19937& random,
                                 double least) {
    const Constraints constraints = constraints_of(evaluator);
    std::vector<double> y(evaluator.size());
    std::array<double, 2> charges{};
    for (std::size_t i = 0; i < y.size(); ++i) {
        y[i] = std::pow(least, draw(random, 0.0, 1.0));
        if (!constraints.charge.empty()) {
            charges[constraints.charge[i] > 0.0 ? 0 : 1] += std::abs(constraints.charge[i]) * y[i];
        }
    }
    for (std::size_t i = 0; i < y.size() && !constraints.charge.empty(); ++i) {
        y[i] *= constraints.charge[i] < 0.0 ? charges[0] / charges[1] : 1.0;
    }
    std::vector<double> sums(constraints.groups, 0.0);
    for (std::size_t i = 0; i < y.size(); ++i) {
        sums[constraints.group[i]] += constraints.weight[i] * y[i];
    }
    for (std::size_t i = 0; i < y.size(); ++i) {
        y[i] /= sums[constraints.group[i]];
    }
    return y;
}

std::vector<double> random_change(const PhaseEvaluator& evaluator, std::span<const double> y,
                                  std::mt19937& random) {
    const Constraints constraints = constraints_of(evaluator);
    const auto n = static_cast<Eigen::Index>(y.size());
    const auto rows =
        static_cast<Eigen::Index>(constraints.groups) + (constraints.charge.empty() ? 0 : 1);
    Eigen::MatrixXd c = Eigen::MatrixXd::Zero(rows, n);
    Eigen::VectorXd relative(n);
    Eigen::VectorXd weight(n);
    for (Eigen::Index i = 0; i < n; ++i) {
        const auto k = static_cast<std::size_t>(i);
        relative(i) = draw(random, -1.0, 1.0);
        weight(i) = y[k];
        c(static_cast<Eigen::Index>(constraints.group[k]), i) = constraints.weight[k];
        if (!constraints.charge.empty()) {
            c(rows - 1, i) = constraints.charge[k];
        }
    }
    // Relative changes r with sum c_i y_i r_i = 0, as near to those drawn as may be.
    const Eigen::MatrixXd gram = c * weight.asDiagonal() * c.transpose();
    const Eigen::VectorXd excess = c * (weight.asDiagonal() * relative);
    relative -= c.transpose() * gram.ldlt().solve(excess);
    std::vector<double> change(y.size());
    for (Eigen::Index i = 0; i < n; ++i) {
        change[static_cast<std::size_t>(i)] = weight(i) * relative(i);
    }
    return change;
}

} // namespace tessara::test
