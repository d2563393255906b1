#include "engine/models/quasichemical.hpp"

#include "engine/data/system.hpp"
#include "engine/models/form_evaluator.hpp"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace tessara {
namespace {

using Factor = FormProducts::Factor;

constexpr std::size_t Cations = 0;
constexpr std::size_t Anions = 1;
constexpr std::array<std::size_t, 2> Places = {0, 1};

/// Number of a pair among those of one sublattice: AA for each A, then AB by B and A.
std::size_t pair_place(std::size_t a, std::size_t b, std::size_t size) {
    return a == b ? a : size + b * (b - 1) / 2 + a;
}

Quadruplet exchanged(std::size_t sublattice, std::array<std::size_t, 2> own,
                     std::array<std::size_t, 2> other) {
    Quadruplet q;
    q.ions[sublattice] = own;
    q.ions[1 - sublattice] = other;
    return q;
}

} // namespace

// --- coordination numbers ---

std::size_t CoordinationNumbers::place(const Quadruplet& q) const {
    const auto [cations, anions] = sizes_;
    return pair_place(q.ions[Anions][0], q.ions[Anions][1], anions) * cations * (cations + 1) / 2 +
           pair_place(q.ions[Cations][0], q.ions[Cations][1], cations);
}

std::vector<Quadruplet> quadruplets(const SiteTable& table, std::span<const char> present) {
    std::array<std::vector<std::array<std::size_t, 2>>, 2> pairs;
    for (std::size_t s : {Cations, Anions}) {
        std::vector<std::size_t> there;
        for (std::size_t c = 0; c < table.sizes()[s]; ++c) {
            if (present[table.offset(s) + c] != 0) {
                there.push_back(c);
                pairs[s].push_back({c, c});
            }
        }
        for (std::size_t b = 0; b < there.size(); ++b) {
            for (std::size_t a = 0; a < b; ++a) {
                pairs[s].push_back({there[a], there[b]});
            }
        }
    }
    std::vector<Quadruplet> result;
    for (const auto& anions : pairs[Anions]) {
        for (const auto& cations : pairs[Cations]) {
            result.push_back({{cations, anions}});
        }
    }
    return result;
}

CoordinationNumbers::CoordinationNumbers(const QuasichemicalPhase& phase)
    : sizes_{phase.table.sizes()[Cations], phase.table.sizes()[Anions]} {
    const std::vector<Quadruplet> all =
        quadruplets(phase.table, std::vector<char>(phase.table.total(), 1));
    numbers_.resize(all.size());
    std::vector<char> listed(all.size(), 0);
    for (const auto& [quadruplet, numbers] : phase.coordinations) {
        numbers_[place(quadruplet)] = numbers;
        listed[place(quadruplet)] = 1;
    }
    const auto charge = [&](std::size_t s, std::size_t ion) {
        return phase.charges[phase.table.offset(s) + ion];
    };
    // q/Z of the ion in the quadruplet
    const auto share = [&](const Quadruplet& q, std::size_t s, std::size_t ion) {
        return charge(s, ion) / of(q, s, ion);
    };
    // Where two ions of one sublattice meet one of the other, the two keep the numbers that they
    // have alone with it, and the other takes what balances their charges.
    for (std::size_t s : {Cations, Anions}) {
        for (const Quadruplet& q : all) {
            const std::size_t t = 1 - s;
            if (!q.mixed(s) || q.mixed(t) || listed[place(q)] != 0) {
                continue;
            }
            Coordination& numbers = numbers_[place(q)];
            double sum = 0.0;
            for (std::size_t k : Places) {
                const std::size_t ion = q.ions[s][k];
                numbers[s][k] = of(exchanged(s, {ion, ion}, q.ions[t]), s, ion);
                sum += charge(s, ion) / numbers[s][k];
            }
            numbers[t].fill(2.0 * charge(t, q.ions[t][0]) / sum);
        }
    }
    // Where two meet two, each takes the mean of what it has in the quadruplets with three kinds.
    for (const Quadruplet& q : all) {
        if (!q.mixed(Cations) || !q.mixed(Anions) || listed[place(q)] != 0) {
            continue;
        }
        const auto with = [&](std::size_t s, std::size_t ion) {
            return exchanged(s, {ion, ion}, q.ions[1 - s]);
        };
        double f = 0.0;
        for (std::size_t s : {Cations, Anions}) {
            for (std::size_t ion : q.ions[s]) {
                f += share(with(s, ion), s, ion) / 8.0;
            }
        }
        Coordination& numbers = numbers_[place(q)];
        for (std::size_t s : {Cations, Anions}) {
            for (std::size_t k : Places) {
                const std::size_t ion = q.ions[s][k];
                double sum = 0.0;
                for (std::size_t other : q.ions[1 - s]) {
                    const Quadruplet three = with(1 - s, other);
                    sum += 1.0 / (share(three, 1 - s, other) * of(three, s, ion));
                }
                numbers[s][k] = 1.0 / (f * sum);
            }
        }
    }
}

// --- the evaluator ---

namespace {

/// Lays out the phase of the ions that are there.
class Layout {
public:
    Layout(const QuasichemicalPhase& phase, std::span<const Constituent> constituents,
           std::span<const std::size_t> active)
        : phase_(phase), numbers_(phase), constituents_(constituents), active_(active),
          present_(phase.table.present(active)), all_(quadruplets(phase.table, present_)),
          form_(all_.size()) {
        add_variables();
        add_entropy();
        add_made_of();
        for (const QuasichemicalTerm& term : phase_.excess) {
            if (is_there(term)) {
                add_term(term);
            }
        }
    }

    FormPhase take() { return std::move(form_); }

private:
    bool there(std::size_t s, std::size_t ion) const {
        return present_[phase_.table.offset(s) + ion] != 0;
    }

    std::size_t pair(std::size_t cation, std::size_t anion) const {
        const std::size_t ions[] = {cation, anion};
        return phase_.table.end_member(ions);
    }

    const std::string& name(std::size_t s, std::size_t ion) const {
        return phase_.names[phase_.table.offset(s) + ion];
    }

    /// A linear form in the amounts: sum over the quadruplets of share(q).
    template <class Share>
    std::vector<FormPart> parts(Share share) const {
        std::vector<FormPart> result;
        for (std::size_t k = 0; k < all_.size(); ++k) {
            const double value = share(all_[k]);
            if (value != 0.0) {
                result.push_back({k, value});
            }
        }
        return result;
    }
    template <class Share>
    std::size_t form(Share share) {
        return form_.energy.form(parts(share));
    }

    /// Names, contents, energies and amounts of pairs of each quadruplet.
    void add_variables() {
        Variables& variables = form_.variables;
        variables.constraints = simple_constraints(all_.size());
        const std::size_t components = constituents_.front().stoichiometry.size();
        variables.stoichiometry.assign(all_.size() * components, 0.0);
        std::vector<std::size_t> coefficient(constituents_.size());
        std::vector<std::size_t> report(constituents_.size());
        for (std::size_t k = 0; k < active_.size(); ++k) {
            coefficient[active_[k]] = form_.coefficients.add(constituents_[active_[k]].gibbs);
            report[active_[k]] = k;
        }
        for (std::size_t k = 0; k < all_.size(); ++k) {
            const auto& [cations, anions] = all_[k].ions;
            const Coordination& z = numbers_.of(all_[k]);
            variables.names.push_back(name(Cations, cations[0]) + "-" + name(Cations, cations[1]) +
                                      "-" + name(Anions, anions[0]) + "-" +
                                      name(Anions, anions[1]));
            std::array<double, 2> v{};
            for (std::size_t y : Places) {
                v[y] = phase_.charges[phase_.table.offset(Anions) + anions[y]] / z[Anions][y];
            }
            double weight = 0.0;
            for (std::size_t c : Places) {
                for (std::size_t y : Places) {
                    const std::size_t p = pair(cations[c], anions[y]);
                    // moles of the end member that this cation with this anion makes
                    const double moles =
                        v[y] / (v[0] + v[1]) / (phase_.pairs[p].cations * z[Cations][c]);
                    const Factor own[] = {{.form = k}};
                    form_.energy.add(coefficient[p], moles, own);
                    form_.reported.add(report[p], moles, own);
                    weight += moles;
                    for (std::size_t j = 0; j < components; ++j) {
                        variables.stoichiometry[k * components + j] +=
                            moles * constituents_[p].stoichiometry[j];
                    }
                }
            }
            variables.constraints.weight[k] = weight;
        }
    }

    /// All terms of the entropy are of the form l ln l.
    void add_entropy() {
        const double alpha = phase_.half ? 0.75 : 1.0;
        const double beta = phase_.half ? 0.5 : 1.0;
        LogarithmSums& mixing = form_.mixing;
        for (std::size_t k = 0; k < all_.size(); ++k) {
            mixing.add(1.0, k);
            const int twofold = (all_[k].mixed(Cations) ? 2 : 1) * (all_[k].mixed(Anions) ? 2 : 1);
            form_.linear.push_back(-std::log(twofold));
        }
        const auto unit = [](const Quadruplet&) { return 1.0; };
        mixing.add(-1.0 + 4.0 * alpha - 4.0 * beta, parts(unit));
        const auto stars = [&](std::size_t s, std::size_t ion) {
            return [this, s, ion](const Quadruplet& q) {
                double sum = 0.0;
                for (std::size_t other = 0; other < phase_.table.sizes()[1 - s]; ++other) {
                    sum += s == Cations ? star(q, ion, other) : star(q, other, ion);
                }
                return sum;
            };
        };
        for (std::size_t s : {Cations, Anions}) {
            std::vector<double> all_moles(all_.size(), 0.0);
            for (std::size_t ion = 0; ion < phase_.table.sizes()[s]; ++ion) {
                if (!there(s, ion)) {
                    continue;
                }
                const auto moles = parts([&](const Quadruplet& q) {
                    return q.count(s, ion) / (q.count(s, ion) > 0 ? numbers_.of(q, s, ion) : 1.0);
                });
                for (const FormPart& part : moles) {
                    all_moles[part.variable] += part.factor;
                }
                mixing.add(1.0, moles);
                mixing.add(2.0 * beta,
                           parts([&](const Quadruplet& q) { return 0.5 * q.count(s, ion); }));
                mixing.add(-1.0, parts(stars(s, ion)));
            }
            std::vector<FormPart> sum;
            for (std::size_t k = 0; k < all_.size(); ++k) {
                sum.push_back({k, all_moles[k]});
            }
            mixing.add(-1.0, std::move(sum));
        }
        for (std::size_t p : active_) {
            const std::size_t cation = phase_.table.at(p, Cations);
            const std::size_t anion = phase_.table.at(p, Anions);
            mixing.add(-4.0 * alpha, parts([&](const Quadruplet& q) {
                return 0.25 * q.count(Cations, cation) * q.count(Anions, anion);
            }));
            mixing.add(1.0, parts([&](const Quadruplet& q) { return star(q, cation, anion); }));
        }
        mixing.add(1.0, parts([&](const Quadruplet& q) { return all_stars(q); }));
    }

    double star(const Quadruplet& q, std::size_t cation, std::size_t anion) const {
        const int count = q.count(Cations, cation) * q.count(Anions, anion);
        return count == 0 ? 0.0 : count / phase_.pairs[pair(cation, anion)].zeta;
    }
    double all_stars(const Quadruplet& q) const {
        double sum = 0.0;
        for (std::size_t p : active_) {
            sum += star(q, phase_.table.at(p, Cations), phase_.table.at(p, Anions));
        }
        return sum;
    }

    /// An end member is made of its pure quadruplet.
    void add_made_of() {
        for (std::size_t p : active_) {
            const std::size_t cation = phase_.table.at(p, Cations);
            const std::size_t anion = phase_.table.at(p, Anions);
            const Quadruplet pure{{{{cation, cation}, {anion, anion}}}};
            const auto at =
                static_cast<std::size_t>(std::find(all_.begin(), all_.end(), pure) - all_.begin());
            form_.made_of.push_back(
                {{at, 0.5 * phase_.pairs[p].cations * numbers_.of(pure)[Cations][0]}});
        }
    }

    // --- excess parameters ---

    bool is_there(const QuasichemicalTerm& term) const {
        for (std::size_t s : {Cations, Anions}) {
            if (!there(s, term.on.ions[s][0]) || !there(s, term.on.ions[s][1]) ||
                (term.more[s] && !there(s, *term.more[s]))) {
                return false;
            }
        }
        return true;
    }

    void add_term(const QuasichemicalTerm& term) {
        const std::size_t coefficient = form_.coefficients.add(term.coefficient);
        if (term.shape == QuasichemicalShape::B) {
            add_pair_term(term, coefficient);
        } else if (term.on.mixed(Cations) && term.on.mixed(Anions)) {
            const auto at = static_cast<std::size_t>(std::find(all_.begin(), all_.end(), term.on) -
                                                     all_.begin());
            const Factor own[] = {{.form = at}};
            form_.energy.add(coefficient, 0.5, own);
        } else {
            add_mixing_term(term, coefficient, term.on.mixed(Cations) ? Cations : Anions);
        }
    }

    void add_pair_term(const QuasichemicalTerm& term, std::size_t coefficient) {
        const auto stars = [&](std::size_t k) {
            return [this, cation = term.on.ions[Cations][k], anion = term.on.ions[Anions][k]](
                       const Quadruplet& q) { return star(q, cation, anion); };
        };
        const std::size_t u = form(stars(0));
        const std::size_t v = form(stars(1));
        const std::size_t both =
            form([&](const Quadruplet& q) { return stars(0)(q) + stars(1)(q); });
        const std::size_t total = form([&](const Quadruplet& q) { return all_stars(q); });
        const std::size_t amount = form([](const Quadruplet&) { return 1.0; });
        const Factor factors[] = {{.form = amount},
                                  {.form = u, .over = total},
                                  {.form = v, .over = both},
                                  {.form = u, .over = both, .power = term.powers[0]},
                                  {.form = v, .over = both, .power = term.powers[1]}};
        form_.energy.add(coefficient, 1.0, factors);
    }

    /// A and B mix on sublattice s, around X on the other one.
    void add_mixing_term(const QuasichemicalTerm& term, std::size_t coefficient, std::size_t s) {
        const std::size_t t = 1 - s;
        const std::array<std::size_t, 2> ab = term.on.ions[s];
        const std::size_t x = term.on.ions[t][0];
        std::array<std::vector<char>, 2> sets; // S1 and S2
        for (std::size_t k : Places) {
            sets[k].assign(phase_.table.sizes()[s], 0);
            sets[k][ab[k]] = 1;
        }
        const std::size_t own = phase_.table.offset(s);
        for (std::size_t m = 0; m < phase_.table.sizes()[s]; ++m) {
            if (m == ab[0] || m == ab[1] || !there(s, m)) {
                continue;
            }
            const Grouping::Side side =
                phase_.grouping.side(own + ab[0], own + ab[1], own + m, phase_.table.offset(t) + x);
            if (side != Grouping::Side::Neither) {
                sets[side == Grouping::Side::First ? 0 : 1][m] = 1;
            }
        }
        const double z_pure = numbers_.of(term.on, t, x);
        std::vector<Factor> factors{{.form = form([&](const Quadruplet& q) {
                                         if (q.ions[s] != ab || q.count(t, x) == 0) {
                                             return 0.0;
                                         }
                                         return q.count(t, x) == 2
                                                    ? 0.5
                                                    : 0.25 * z_pure / numbers_.of(q, t, x);
                                     })}};
        if (term.shape == QuasichemicalShape::G) {
            add_chi(factors, term, s, x, sets);
        } else {
            add_xi(factors, term, s, x, sets);
        }
        add_more(factors, term, s, x, sets);
        form_.energy.add(coefficient, 1.0, factors);
    }

    void add_chi(std::vector<Factor>& factors, const QuasichemicalTerm& term, std::size_t s,
                 std::size_t x, const std::array<std::vector<char>, 2>& sets) {
        const auto weight = [&](const Quadruplet& q) {
            const int count = q.count(1 - s, x);
            return count == 2 ? 1.0 : count == 1 && phase_.half ? 0.5 : 0.0;
        };
        const auto within = [&](const Quadruplet& q, std::size_t first, std::size_t last) {
            const auto in = [&](std::size_t ion) {
                return sets[first][ion] != 0 || sets[last][ion] != 0;
            };
            return in(q.ions[s][0]) && in(q.ions[s][1]) ? weight(q) : 0.0;
        };
        const std::size_t all = form([&](const Quadruplet& q) { return within(q, 0, 1); });
        for (std::size_t k : Places) {
            factors.push_back({.form = form([&](const Quadruplet& q) { return within(q, k, k); }),
                               .over = all,
                               .power = term.powers[k]});
        }
    }

    /// Share of a quadruplet in X_iX.
    static double pair_share(const Quadruplet& q, std::size_t s, std::size_t ion, std::size_t x) {
        return 0.25 * q.count(s, ion) * q.count(1 - s, x);
    }
    double xi_share(const Quadruplet& q, std::size_t s, std::size_t x,
                    const std::vector<char>& set) const {
        double sum = 0.0;
        for (std::size_t ion : q.ions[s]) {
            sum += set[ion] != 0 ? 0.25 * q.count(1 - s, x) : 0.0;
        }
        return sum;
    }

    void add_xi(std::vector<Factor>& factors, const QuasichemicalTerm& term, std::size_t s,
                std::size_t x, const std::array<std::vector<char>, 2>& sets) {
        const std::size_t both = form([&](const Quadruplet& q) {
            return xi_share(q, s, x, sets[0]) + xi_share(q, s, x, sets[1]);
        });
        for (std::size_t k : Places) {
            factors.push_back(
                {.form = form([&](const Quadruplet& q) { return xi_share(q, s, x, sets[k]); }),
                 .over = both,
                 .power = term.powers[k]});
        }
    }

    /// The factor of an additional ion.
    void add_more(std::vector<Factor>& factors, const QuasichemicalTerm& term, std::size_t s,
                  std::size_t x, const std::array<std::vector<char>, 2>& sets) {
        if (!term.more[s]) {
            return;
        }
        const std::size_t d = *term.more[s];
        const int r = term.more_powers[s];
        const std::size_t own = form([&](const Quadruplet& q) { return pair_share(q, s, d, x); });
        std::size_t whole = 0;
        std::size_t rest = 0;
        if (sets[0][d] != 0 || sets[1][d] != 0) {
            const std::size_t k = sets[1][d] != 0 ? 1 : 0;
            std::vector<char> others = sets[k];
            others[term.on.ions[s][k]] = 0;
            whole = form([&](const Quadruplet& q) { return xi_share(q, s, x, sets[k]); });
            rest = form([&](const Quadruplet& q) { return xi_share(q, s, x, others); });
        } else {
            whole = form([](const Quadruplet&) { return 1.0; });
            rest = form([&](const Quadruplet& q) {
                return 1.0 - xi_share(q, s, x, sets[0]) - xi_share(q, s, x, sets[1]);
            });
        }
        if (r == 0) {
            factors.push_back({.form = own, .over = rest});
            return;
        }
        factors.push_back({.form = own, .over = whole});
        factors.push_back({.form = rest, .over = whole, .power = r - 1});
    }

    const QuasichemicalPhase& phase_;
    CoordinationNumbers numbers_;
    std::span<const Constituent> constituents_;
    std::span<const std::size_t> active_;
    std::vector<char> present_;
    std::vector<Quadruplet> all_;
    FormPhase form_;
};

} // namespace

ModelSize QuasichemicalModel::size() const {
    const std::vector<std::size_t>& sizes = phase_.table.sizes();
    return {.excess_coefficients = static_cast<int>(phase_.excess.size()),
            .sublattices = 2,
            .sublattice_constituents = static_cast<int>(std::max(sizes[0], sizes[1])),
            .quasichemical_constituents = static_cast<int>(phase_.pairs.size())};
}

std::unique_ptr<PhaseEvaluator>
QuasichemicalModel::evaluator(std::span<const Constituent> constituents,
                              std::span<const std::size_t> active) const {
    return std::make_unique<FormEvaluator>(Layout(phase_, constituents, active).take());
}

std::vector<NamedFractions> QuasichemicalModel::fractions(std::span<const std::size_t> active,
                                                          const Variables& variables,
                                                          std::span<const double> y) const {
    const std::vector<char> present = phase_.table.present(active);
    const std::vector<Quadruplet> all = quadruplets(phase_.table, present);
    const CoordinationNumbers numbers(phase_);
    const double total = std::accumulate(y.begin(), y.end(), 0.0);
    std::vector<std::size_t> ions[2];
    std::vector<NamedFractions> list;
    for (std::size_t s : {Cations, Anions}) {
        NamedFractions sites{"sublattice " + std::to_string(s + 1), {}, {}};
        double sum = 0.0;
        for (std::size_t ion = 0; ion < phase_.table.sizes()[s]; ++ion) {
            if (present[phase_.table.offset(s) + ion] == 0) {
                continue;
            }
            ions[s].push_back(ion);
            double amount = 0.0;
            for (std::size_t k = 0; k < all.size(); ++k) {
                for (const std::size_t at : {0U, 1U}) {
                    amount += all[k].ions[s][at] == ion ? y[k] / numbers.of(all[k])[s][at] : 0.0;
                }
            }
            sites.names.push_back(phase_.names[phase_.table.offset(s) + ion]);
            sites.values.push_back(amount);
            sum += amount;
        }
        for (double& value : sites.values) {
            value /= sum;
        }
        list.push_back(std::move(sites));
    }
    NamedFractions pairs{"pairs", {}, {}};
    for (std::size_t a : ions[Cations]) {
        for (std::size_t x : ions[Anions]) {
            double amount = 0.0;
            for (std::size_t k = 0; k < all.size(); ++k) {
                amount += 0.25 * y[k] * all[k].count(Cations, a) * all[k].count(Anions, x);
            }
            pairs.names.push_back(phase_.names[phase_.table.offset(Cations) + a] + "-" +
                                  phase_.names[phase_.table.offset(Anions) + x]);
            pairs.values.push_back(amount / total);
        }
    }
    list.push_back(std::move(pairs));
    NamedFractions quads{"quadruplets", variables.names, {}};
    for (double value : y) {
        quads.values.push_back(value / total);
    }
    list.push_back(std::move(quads));
    return list;
}

bool QuasichemicalModel::equals(const PhaseModel& other) const {
    const auto* same = dynamic_cast<const QuasichemicalModel*>(&other);
    return same != nullptr && same->phase_ == phase_;
}

void QuasichemicalModel::describe(Description& phase) const {
    const auto rows = [](const auto& square) {
        return Description::list(square, [](const auto& row) { return Description::list(row); });
    };
    describe_sites(phase_.table, phase_.names, phase);
    phase.set("charges", Description::list(phase_.charges));
    phase.set("pairs", Description::list(phase_.pairs, [](const QuasichemicalPair& pair) {
                  return Description::List{pair.cations, pair.anions, pair.zeta};
              }));
    phase.set("coordinations", Description::list(phase_.coordinations, [&](const auto& listed) {
                  return Description::Table{
                      {"quadruplet", rows(listed.first.ions)},
                      {"numbers", rows(listed.second)},
                  };
              }));
    describe_grouping(phase_.grouping, phase);
    phase.set(
        "quadruplet_terms", Description::list(phase_.excess, [&](const QuasichemicalTerm& term) {
            return Description::Table{
                {"shape", std::string_view("GQBR").substr(static_cast<std::size_t>(term.shape), 1)},
                {"quadruplet", rows(term.on.ions)},
                {"powers", Description::list(term.powers)},
                {"more_powers", Description::list(term.more_powers)},
                {"more", Description::list(term.more, describe_number)},
                {"coefficients", tessara::describe(term.coefficient)},
                {"line", term.line.number},
            };
        }));
}

} // namespace tessara
