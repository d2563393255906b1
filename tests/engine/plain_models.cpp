#include "plain_models.hpp"

#include "engine/models/ion_sublattices.hpp"
#include "engine/models/ionic_liquid.hpp"
#include "engine/models/polynomial.hpp"
#include "engine/models/quasichemical.hpp"
#include "engine/models/sublattice.hpp"
#include "engine/units/constants.hpp"

#include <algorithm>
#include <cstdlib>
#include <map>
#include <stdexcept>

namespace tessara::test {
namespace {

using Z = std::complex<double>;
using Values = std::vector<Z>;

Z six(const SixCoefficients& c, Z t) {
    return c[0] + c[1] * t + c[2] * t * std::log(t) + c[3] * t * t + c[4] * t * t * t + c[5] / t;
}

Z standard(const Constituent& constituent, Z t) {
    return six(constituent.gibbs.ranges()[0].coefficients, t); // one range without extra terms
}

Z coefficient(const ExcessCoefficients& c, Z t, double p) {
    return six(c.thermal, t) + c.p * p + c.p2 * p * p;
}

Z power(Z base, int exponent) {
    Z result = 1.0;
    for (int k = std::abs(exponent); k > 0; --k) {
        result *= base;
    }
    return exponent < 0 ? 1.0 / result : result;
}

Z x_ln_x(Z x) {
    return x * std::log(x);
}

/// R T ln(1 + beta) g(tau).
Z magnetic(Z t, Z tc, Z beta, const MagneticFactors& factors) {
    tc *= tc.real() < 0.0 ? -factors.antiferromagnetic : 1.0;
    beta *= beta.real() < 0.0 ? -factors.antiferromagnetic : 1.0;
    const double q = 1.0 / factors.structure - 1.0;
    const double d = 518.0 / 1125.0 + 11692.0 / 15975.0 * q;
    const Z tau = t / tc;
    Z g;
    if (tau.real() <= 1.0) {
        g = 1.0 - (79.0 / (140.0 * factors.structure * tau) +
                   474.0 / 497.0 * q *
                       (power(tau, 3) / 6.0 + power(tau, 9) / 135.0 + power(tau, 15) / 600.0)) /
                      d;
    } else {
        g = -(power(tau, -5) / 10.0 + power(tau, -15) / 315.0 + power(tau, -25) / 1500.0) / d;
    }
    return GasConstant * t * std::log(1.0 + beta) * g;
}

/// Whether constituents are on one sublattice, by their numbers there.
std::vector<std::vector<std::size_t>> by_sublattice(const SiteTable& table,
                                                    const std::vector<std::size_t>& constituents) {
    std::vector<std::vector<std::size_t>> on(table.sublattices());
    for (std::size_t c : constituents) {
        on[table.sublattice_of(c)].push_back(c);
    }
    return on;
}

/// Sum of L_z f_z times the site fractions of all that is named.
template <class Sets>
Z site_term(const SiteTable& table, const std::vector<std::size_t>& constituents, const Sets& sets,
            std::span<const Z> y) {
    Z product = 1.0;
    for (std::size_t c : constituents) {
        product *= y[c];
    }
    std::vector<std::vector<std::size_t>> mixing;
    for (const auto& on : by_sublattice(table, constituents)) {
        if (on.size() > 1) {
            mixing.push_back(on);
        }
    }
    Z sum = 0.0;
    const int count = static_cast<int>(sets.size());
    for (int z = 0; z < count; ++z) {
        Z f = 1.0;
        if (mixing.size() == 1 && mixing[0].size() == 2) {
            f = power(y[mixing[0][0]] - y[mixing[0][1]], z);
        } else if (mixing.size() == 1 && mixing[0].size() == 3 && count == 3) {
            const auto& abc = mixing[0];
            f = y[abc[static_cast<std::size_t>(z)]] +
                (1.0 - y[abc[0]] - y[abc[1]] - y[abc[2]]) / 3.0;
        } else if (mixing.size() == 2 && mixing[0].size() == 2 && mixing[1].size() == 2) {
            f = z % 2 == 1 ? power(y[mixing[1][0]] - y[mixing[1][1]], (z + 1) / 2)
                           : power(y[mixing[0][0]] - y[mixing[0][1]], z / 2);
        }
        sum += sets[static_cast<std::size_t>(z)] * f;
    }
    return product * sum;
}

Z plain(const SublatticePhase& phase, std::span<const Constituent> constituents,
        std::span<const Z> y, Z t, double p) {
    Z g = 0.0;
    Z tc = 0.0;
    Z beta = 0.0;
    for (std::size_t k = 0; k < constituents.size(); ++k) {
        Z product = 1.0;
        for (std::size_t s = 0; s < phase.table.sublattices(); ++s) {
            product *= y[phase.table.running(k, s)];
        }
        g += product * standard(constituents[k], t);
        if (phase.magnetic) {
            tc += product * phase.magnetic->constituents[k].tc;
            beta += product * phase.magnetic->constituents[k].beta;
        }
    }
    for (std::size_t c = 0; c < y.size(); ++c) {
        g += GasConstant * t * phase.sites[phase.table.sublattice_of(c)] * x_ln_x(y[c]);
    }
    for (const auto& term : phase.excess) {
        Values sets;
        for (const ExcessCoefficients& set : term.sets) {
            sets.push_back(coefficient(set, t, p));
        }
        g += site_term(phase.table, term.constituents, sets, y);
    }
    if (phase.magnetic) {
        for (const auto& term : phase.magnetic->terms) {
            Values tcs;
            Values betas;
            for (const MagneticNumbers& set : term.sets) {
                tcs.emplace_back(set.tc);
                betas.emplace_back(set.beta);
            }
            tc += site_term(phase.table, term.constituents, tcs, y);
            beta += site_term(phase.table, term.constituents, betas, y);
        }
        g += magnetic(t, tc, beta, phase.magnetic->factors);
    }
    return g;
}

/// h of a polynomial parameter in the equivalent fractions of one sublattice.
Z polynomial(const PolynomialTerm& term, const Grouping& grouping,
             const std::vector<std::size_t>& members, const std::map<std::size_t, Z>& fraction) {
    const auto& c = term.constituents;
    const auto& e = term.powers;
    if (c.size() == 3) {
        Z h = 1.0;
        Z sum = 0.0;
        int total = -3;
        for (std::size_t k = 0; k < 3; ++k) {
            h *= power(fraction.at(c[k]), e[k]);
            sum += fraction.at(c[k]);
            total += e[k];
        }
        return h * power(sum, -total);
    }
    Z first = fraction.at(c[0]);
    Z second = fraction.at(c[1]);
    const Z product = first * second;
    for (std::size_t m : members) {
        if (m == c[0] || m == c[1]) {
            continue;
        }
        switch (grouping.side(c[0], c[1], m, term.constant)) {
        case Grouping::Side::First:
            first += fraction.at(m);
            break;
        case Grouping::Side::Second:
            second += fraction.at(m);
            break;
        case Grouping::Side::Neither:
            break;
        }
    }
    return product * power(first, e[0] - 1) * power(second, e[1] - 1) *
           power(first + second, 2 - e[0] - e[1]);
}

Z plain(const PolynomialPhase& phase, std::span<const Constituent>, std::span<const Z> x, Z t,
        double p) {
    Z g = 0.0;
    Z equivalents = 0.0;
    std::vector<std::size_t> members;
    std::map<std::size_t, Z> fraction;
    for (std::size_t i = 0; i < x.size(); ++i) {
        g += GasConstant * t * x_ln_x(x[i]);
        equivalents += phase.equivalents[i] * x[i];
        members.push_back(i);
    }
    for (std::size_t i = 0; i < x.size(); ++i) {
        fraction[i] = phase.equivalents[i] * x[i] / equivalents;
    }
    for (const PolynomialTerm& term : phase.excess) {
        g += equivalents * coefficient(term.coefficient, t, p) *
             polynomial(term, phase.grouping, members, fraction);
    }
    return g;
}

Z plain(const IonSublatticePhase& phase, std::span<const Constituent> constituents,
        std::span<const Z> n, Z t, double p) {
    const std::size_t cations = phase.table.sizes()[0];
    std::array<Z, 2> moles{};
    Z equivalents = 0.0;
    std::array<std::vector<std::size_t>, 2> members;
    for (std::size_t c = 0; c < n.size(); ++c) {
        const std::size_t s = c < cations ? 0 : 1;
        moles[s] += n[c];
        equivalents += s == 0 ? phase.charges[c] * n[c] : 0.0;
        members[s].push_back(c);
    }
    Z g = 0.0;
    std::map<std::size_t, Z> fraction;
    for (std::size_t c = 0; c < n.size(); ++c) {
        g += GasConstant * t * n[c] * std::log(n[c] / moles[c < cations ? 0 : 1]);
        fraction[c] = phase.charges[c] * n[c] / equivalents;
    }
    for (std::size_t k = 0; k < constituents.size(); ++k) {
        const std::size_t a = phase.table.running(k, 0);
        const std::size_t x = phase.table.running(k, 1);
        g += equivalents * fraction[a] * fraction[x] * standard(constituents[k], t) /
             (phase.cations[k] * phase.charges[a]);
    }
    for (const PolynomialTerm& term : phase.excess) {
        const std::size_t s = phase.table.sublattice_of(term.constituents[0]);
        g += equivalents * coefficient(term.coefficient, t, p) * fraction[*term.constant] *
             polynomial(term, phase.grouping, members[s], fraction);
    }
    return g;
}

/// L_0 (u + f) + L_1 (v + f) + L_2 (w + f), or L_0 alone.
Z ternary(const Values& l, Z u, Z v, Z w) {
    if (l.size() == 1) {
        return l[0];
    }
    const Z f = (1.0 - u - v - w) / 3.0;
    return l[0] * (u + f) + l[1] * (v + f) + l[2] * (w + f);
}

Z series(const Values& l, Z difference) {
    Z sum = 0.0;
    for (std::size_t z = 0; z < l.size(); ++z) {
        sum += l[z] * power(difference, static_cast<int>(z));
    }
    return sum;
}

Z ionic_term(const IonicLiquidPhase& phase, const std::vector<std::size_t>& c, const Values& l,
             const Values& y, Z q, Z va) {
    using enum IonicPattern;
    const auto f = [&](std::size_t k) { return y[c[k]]; };
    switch (*ionic_pattern(phase, c)) {
    case CationsAroundAnion:
        return f(0) * f(1) * f(2) * series(l, f(0) - f(1));
    case AroundCation:
        return f(0) * f(1) * f(2) * series(l, f(1) - f(2));
    case CationsAroundVacancy:
        return q * f(0) * f(1) * va * va * series(l, f(0) - f(1));
    case VacancyNeutral:
        return q * f(0) * va * f(2) * series(l, f(0) * va - f(2));
    case Neutrals:
        return q * f(1) * f(2) * series(l, f(1) - f(2));
    case ThreeCationsAnion:
        return f(0) * f(1) * f(2) * f(3) * ternary(l, f(0), f(1), f(2));
    case ThreeAroundCation:
        return f(0) * f(1) * f(2) * f(3) * ternary(l, f(1), f(2), f(3));
    case ThreeCationsVacancy:
        return q * f(0) * f(1) * f(2) * va * va * va * ternary(l, f(0) * va, f(1) * va, f(2) * va);
    case VacancyTwoNeutrals:
        return q * f(0) * va * f(2) * f(3) * ternary(l, f(0) * va, f(2), f(3));
    case ThreeNeutrals:
        return q * f(1) * f(2) * f(3) * ternary(l, f(1), f(2), f(3));
    case Reciprocal: {
        Z sum = l[0];
        for (std::size_t z = 1; z < l.size(); ++z) {
            const int k = static_cast<int>(z);
            sum +=
                l[z] * (k % 2 == 1 ? power(f(2) - f(3), (k + 1) / 2) : power(f(0) - f(1), k / 2));
        }
        return f(0) * f(1) * f(2) * f(3) * sum;
    }
    case CationsVacancyNeutral:
        return q * f(0) * f(1) * va * va * f(3) * ternary(l, f(0) * va, f(1) * va, f(3));
    }
    return 0.0;
}

Z plain(const IonicLiquidPhase& phase, std::span<const Constituent> constituents,
        std::span<const Z> amounts, Z t, double p) {
    // From amounts to site fractions and formula units.
    Values n(amounts.begin(), amounts.end());
    Z cations = 0.0;
    Z q = 0.0;
    for (std::size_t c = 0; c < phase.cations; ++c) {
        cations += n[c];
        q += phase.charges[c] * n[c];
    }
    q /= cations;
    Z others = 0.0;
    std::optional<std::size_t> vacancy;
    for (std::size_t c = phase.cations; c < n.size(); ++c) {
        if (phase.kind(c) == IonicKind::Vacancy) {
            n[c] /= q;
            vacancy = c;
        }
        others += n[c];
    }
    const Z units = others / q;
    Values y(n.size());
    Z sites = 0.0; // P
    for (std::size_t c = 0; c < n.size(); ++c) {
        y[c] = n[c] / (c < phase.cations ? cations : others);
        if (c >= phase.cations) {
            sites += y[c] * (vacancy == c ? q : phase.charges[c]);
        }
    }
    const Z va = vacancy ? y[*vacancy] : 0.0;
    Z g = 0.0;
    for (std::size_t k = 0; k < constituents.size(); ++k) {
        const auto& species = phase.species[k];
        Z amount = y[species.other];
        if (!species.cation) {
            amount *= q;
        } else {
            amount *= y[*species.cation] * (vacancy == species.other ? q : 1.0);
        }
        g += amount * standard(constituents[k], t);
    }
    for (std::size_t c = 0; c < n.size(); ++c) {
        g += GasConstant * t * (c < phase.cations ? sites : q) * x_ln_x(y[c]);
    }
    for (const auto& term : phase.excess) {
        Values l;
        for (const ExcessCoefficients& set : term.sets) {
            l.push_back(coefficient(set, t, p));
        }
        g += ionic_term(phase, term.constituents, l, y, q, va);
    }
    return units * g;
}

/// All that the equations of the quasichemical model speak of, in their own words.
class PlainQuasichemical {
public:
    PlainQuasichemical(const QuasichemicalPhase& phase, std::span<const Constituent> constituents,
                       std::span<const Z> n)
        : phase_(phase), z_(phase), constituents_(constituents), n_(n.begin(), n.end()),
          all_(quadruplets(phase.table, std::vector<char>(phase.table.total(), 1))) {
        for (const Z& value : n_) {
            total_ += value;
        }
    }

    Z gibbs(Z t, double p) const {
        Z g = GasConstant * t * entropy();
        for (std::size_t k = 0; k < all_.size(); ++k) {
            g += n_[k] * reference(all_[k], t);
        }
        for (const QuasichemicalTerm& term : phase_.excess) {
            g += total_ * coefficient(term.coefficient, t, p) * excess(term);
        }
        return g;
    }

private:
    double charge(std::size_t s, std::size_t ion) const {
        return phase_.charges[phase_.table.offset(s) + ion];
    }
    std::size_t pair(std::size_t cation, std::size_t anion) const {
        const std::size_t ions[] = {cation, anion};
        return phase_.table.end_member(ions);
    }
    std::size_t size(std::size_t s) const { return phase_.table.sizes()[s]; }

    template <class Share>
    Z sum(Share share) const {
        Z result = 0.0;
        for (std::size_t k = 0; k < all_.size(); ++k) {
            result += n_[k] * share(all_[k]);
        }
        return result;
    }

    Z reference(const Quadruplet& q, Z t) const {
        const auto& [cations, anions] = q.ions;
        const Coordination& z = z_.of(q);
        const double v[] = {charge(1, anions[0]) / z[1][0], charge(1, anions[1]) / z[1][1]};
        Z g = 0.0;
        for (std::size_t c : {0, 1}) {
            for (std::size_t k : {0, 1}) {
                const std::size_t of = pair(cations[c], anions[k]);
                g += v[k] / (v[0] + v[1]) * standard(constituents_[of], t) /
                     (phase_.pairs[of].cations * z[0][c]);
            }
        }
        return g;
    }

    Z moles(std::size_t s, std::size_t ion) const {
        return sum([&](const Quadruplet& q) {
            return (q.ions[s][0] == ion ? 1.0 / z_.of(q)[s][0] : 0.0) +
                   (q.ions[s][1] == ion ? 1.0 / z_.of(q)[s][1] : 0.0);
        });
    }
    Z equivalent_fraction(std::size_t s, std::size_t ion) const {
        return 0.5 * sum([&](const Quadruplet& q) { return double(q.count(s, ion)); }) / total_;
    }
    Z pair_fraction(std::size_t cation, std::size_t anion) const {
        return 0.25 * sum([&](const Quadruplet& q) {
                   return double(q.count(0, cation) * q.count(1, anion));
               }) /
               total_;
    }
    Z neighbours(std::size_t cation, std::size_t anion) const {
        return sum([&](const Quadruplet& q) {
                   return double(q.count(0, cation) * q.count(1, anion));
               }) /
               phase_.pairs[pair(cation, anion)].zeta;
    }
    Z all_neighbours() const {
        Z all = 0.0;
        for (std::size_t i = 0; i < size(0); ++i) {
            for (std::size_t k = 0; k < size(1); ++k) {
                all += neighbours(i, k);
            }
        }
        return all;
    }

    Z entropy() const {
        Z result = 0.0;
        for (std::size_t s : {0, 1}) {
            Z all = 0.0;
            for (std::size_t i = 0; i < size(s); ++i) {
                all += moles(s, i);
            }
            for (std::size_t i = 0; i < size(s); ++i) {
                result += moles(s, i) * std::log(moles(s, i) / all);
            }
        }
        const Z stars = all_neighbours();
        Values of_cation(size(0), 0.0);
        Values of_anion(size(1), 0.0);
        for (std::size_t i = 0; i < size(0); ++i) {
            for (std::size_t k = 0; k < size(1); ++k) {
                of_cation[i] += neighbours(i, k) / stars;
                of_anion[k] += neighbours(i, k) / stars;
            }
        }
        for (std::size_t i = 0; i < size(0); ++i) {
            for (std::size_t k = 0; k < size(1); ++k) {
                result += neighbours(i, k) *
                          std::log(neighbours(i, k) / stars / (of_cation[i] * of_anion[k]));
            }
        }
        const double alpha = phase_.half ? 0.75 : 1.0;
        const double beta = phase_.half ? 0.5 : 1.0;
        for (std::size_t k = 0; k < all_.size(); ++k) {
            const auto& [a, x] = all_[k].ions;
            const double c = (a[0] == a[1] ? 1.0 : 2.0) * (x[0] == x[1] ? 1.0 : 2.0);
            const Z log_w =
                std::log(c) +
                alpha *
                    (std::log(pair_fraction(a[0], x[0])) + std::log(pair_fraction(a[0], x[1])) +
                     std::log(pair_fraction(a[1], x[0])) + std::log(pair_fraction(a[1], x[1]))) -
                beta * (std::log(equivalent_fraction(0, a[0])) +
                        std::log(equivalent_fraction(0, a[1])) +
                        std::log(equivalent_fraction(1, x[0])) +
                        std::log(equivalent_fraction(1, x[1])));
            result += n_[k] * (std::log(n_[k] / total_) - log_w);
        }
        return result;
    }

    Z fraction(const Quadruplet& wanted) const {
        for (std::size_t k = 0; k < all_.size(); ++k) {
            if (all_[k] == wanted) {
                return n_[k] / total_;
            }
        }
        throw std::logic_error("no such quadruplet");
    }

    /// W g of a parameter with L = 1.
    Z excess(const QuasichemicalTerm& term) const {
        const auto& [a, x] = term.on.ions;
        if (term.shape == QuasichemicalShape::B) {
            const Z u = neighbours(a[0], x[0]) / all_neighbours();
            const Z v = neighbours(a[1], x[1]) / all_neighbours();
            const int p = term.powers[0];
            const int q = term.powers[1];
            return power(u, 1 + p) * power(v, 1 + q) / power(u + v, 1 + p + q);
        }
        if (term.on.mixed(0) && term.on.mixed(1)) {
            return 0.5 * fraction(term.on);
        }
        return term.on.mixed(0) ? mixing(term, 0) : mixing(term, 1);
    }

    Z mixing(const QuasichemicalTerm& term, std::size_t s) const {
        const std::size_t o = 1 - s;
        const std::size_t a = term.on.ions[s][0];
        const std::size_t b = term.on.ions[s][1];
        const std::size_t x = term.on.ions[o][0];
        const auto quadruplet = [&](std::size_t i, std::size_t j) {
            Quadruplet q = term.on;
            q.ions[o] = {std::min(i, j), std::max(i, j)};
            return q;
        };
        Z w = fraction(term.on);
        for (std::size_t other = 0; other < size(o); ++other) {
            if (other != x) {
                const Quadruplet q = quadruplet(x, other);
                w += 0.5 * z_.of(term.on, o, x) / z_.of(q, o, x) * fraction(q);
            }
        }
        w *= 0.5;
        std::array<std::vector<char>, 2> in{std::vector<char>(size(s), 0),
                                            std::vector<char>(size(s), 0)};
        in[0][a] = 1;
        in[1][b] = 1;
        const std::size_t own = phase_.table.offset(s);
        for (std::size_t m = 0; m < size(s); ++m) {
            if (m != a && m != b) {
                const Grouping::Side side =
                    phase_.grouping.side(own + a, own + b, own + m, phase_.table.offset(o) + x);
                in[0][m] = side == Grouping::Side::First ? 1 : 0;
                in[1][m] = side == Grouping::Side::Second ? 1 : 0;
            }
        }
        const auto pairs = [&](std::size_t ion) {
            return s == 0 ? pair_fraction(ion, x) : pair_fraction(x, ion);
        };
        std::array<Z, 2> xi{};
        for (std::size_t ion = 0; ion < size(s); ++ion) {
            for (std::size_t k : {0, 1}) {
                xi[k] += in[k][ion] != 0 ? pairs(ion) : 0.0;
            }
        }
        Z g = 1.0;
        if (term.shape == QuasichemicalShape::Q) {
            g = power(xi[0] / (xi[0] + xi[1]), term.powers[0]) *
                power(xi[1] / (xi[0] + xi[1]), term.powers[1]);
        } else {
            const auto chi = [&](auto belongs) {
                return sum([&](const Quadruplet& q) {
                    const int count = q.count(o, x);
                    const double f = count == 2 ? 1.0 : count == 1 && phase_.half ? 0.5 : 0.0;
                    return belongs(q.ions[s][0]) && belongs(q.ions[s][1]) ? f : 0.0;
                });
            };
            const Z all = chi([&](std::size_t i) { return in[0][i] != 0 || in[1][i] != 0; });
            g = power(chi([&](std::size_t i) { return in[0][i] != 0; }) / all, term.powers[0]) *
                power(chi([&](std::size_t i) { return in[1][i] != 0; }) / all, term.powers[1]);
        }
        if (term.more[s]) {
            const std::size_t d = *term.more[s];
            const int r = term.more_powers[s];
            if (in[1][d] != 0) {
                g *= pairs(d) / xi[1] * power(1.0 - pairs(b) / xi[1], r - 1);
            } else if (in[0][d] != 0) {
                g *= pairs(d) / xi[0] * power(1.0 - pairs(a) / xi[0], r - 1);
            } else {
                g *= pairs(d) * power(1.0 - xi[0] - xi[1], r - 1);
            }
        }
        return w * g;
    }

    const QuasichemicalPhase& phase_;
    CoordinationNumbers z_;
    std::span<const Constituent> constituents_;
    Values n_;
    std::vector<Quadruplet> all_;
    Z total_ = 0.0;
};

Z plain(const QuasichemicalPhase& phase, std::span<const Constituent> constituents,
        std::span<const Z> n, Z t, double p) {
    return PlainQuasichemical(phase, constituents, n).gibbs(t, p);
}

template <class Model>
bool try_model(const PhaseModel& model, std::span<const Constituent> constituents,
               std::span<const Z> y, Z t, double p, Z& result) {
    const auto* own = dynamic_cast<const Model*>(&model);
    if (own != nullptr) {
        result = plain(own->phase(), constituents, y, t, p);
    }
    return own != nullptr;
}

} // namespace

std::complex<double> plain_gibbs(std::span<const Constituent> constituents, const PhaseModel& model,
                                 std::span<const std::complex<double>> y, std::complex<double> t,
                                 double p) {
    Z result;
    if (try_model<SublatticeModel>(model, constituents, y, t, p, result) ||
        try_model<PolynomialModel>(model, constituents, y, t, p, result) ||
        try_model<IonSublatticeModel>(model, constituents, y, t, p, result) ||
        try_model<IonicLiquidModel>(model, constituents, y, t, p, result) ||
        try_model<QuasichemicalModel>(model, constituents, y, t, p, result)) {
        return result;
    }
    throw std::logic_error("no plain equations for this model");
}

} // namespace tessara::test
