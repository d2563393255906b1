#include "engine/models/grouping.hpp"

#include <algorithm>

namespace tessara {
namespace {

using Factor = FormProducts::Factor;

/// Multiplies numerators, all but `kept` of them over `base`; where there are fewer, `base` fills
/// them up. Of those kept all but one stand over the total.
void add_balanced(std::vector<Factor>& factors, double& multiplier,
                  std::vector<std::size_t> numerators, std::size_t base, std::size_t kept,
                  const EquivalentMixture& mixture) {
    while (numerators.size() < kept) {
        numerators.push_back(base);
    }
    const std::size_t divided = numerators.size() - kept;
    for (std::size_t k = 0; k < divided; ++k) {
        factors.push_back({.form = numerators[k], .over = base});
    }
    for (std::size_t k = divided; k < numerators.size(); ++k) {
        const bool last = k + 1 == numerators.size();
        factors.push_back(
            {.form = numerators[k], .over = last ? FormProducts::None : mixture.total});
        if (!last && mixture.total == FormProducts::None) {
            multiplier /= mixture.constant_total;
        }
    }
}

} // namespace

void describe_grouping(const Grouping& grouping, Description& phase) {
    phase.set("groups", Description::list(grouping.groups));
    phase.set("overrides", Description::list(grouping.overrides, [](const GroupOverride& rule) {
                  return Description::Table{
                      {"triple", Description::list(rule.triple)},
                      {"asymmetric", describe_number(rule.asymmetric)},
                      {"constant", describe_number(rule.constant)},
                  };
              }));
}

Description describe_polynomials(const std::vector<PolynomialTerm>& terms) {
    return Description::list(terms, [](const PolynomialTerm& term) {
        return Description::Table{
            {"constituents", Description::list(term.constituents)},
            {"powers", Description::list(term.powers)},
            {"constant", describe_number(term.constant)},
            {"coefficients", describe(term.coefficient)},
            {"line", term.line.number},
        };
    });
}

Grouping::Side Grouping::side(std::size_t first, std::size_t second, std::size_t third,
                              std::optional<std::size_t> constant) const {
    for (const GroupOverride& rule : overrides) {
        const auto has = [&](std::size_t c) {
            return std::find(rule.triple.begin(), rule.triple.end(), c) != rule.triple.end();
        };
        const bool elsewhere = rule.constant && rule.constant != constant;
        if (elsewhere || !has(first) || !has(second) || !has(third)) {
            continue;
        }
        if (rule.asymmetric == first) {
            return Side::Second;
        }
        return rule.asymmetric == second ? Side::First : Side::Neither;
    }
    if (groups[first] != groups[second]) {
        if (groups[third] == groups[first]) {
            return Side::First;
        }
        if (groups[third] == groups[second]) {
            return Side::Second;
        }
    }
    return Side::Neither;
}

void add_polynomial(FormProducts& products, std::size_t coefficient, const PolynomialTerm& term,
                    const EquivalentMixture& mixture, std::span<const Factor> more) {
    const auto part = [&](std::size_t c) { return FormPart{mixture.place[c], mixture.share[c]}; };
    std::vector<Factor> factors(more.begin(), more.end());
    double multiplier = 1.0;
    std::vector<std::size_t> numerators;
    std::vector<FormPart> all;
    if (term.constituents.size() == 2) {
        const std::size_t i = term.constituents[0];
        const std::size_t j = term.constituents[1];
        std::array<std::vector<FormPart>, 2> counted{{{part(i)}, {part(j)}}};
        for (std::size_t m : mixture.members) {
            if (m != i && m != j) {
                const Grouping::Side side = mixture.grouping->side(i, j, m, term.constant);
                if (side != Grouping::Side::Neither) {
                    counted[side == Grouping::Side::First ? 0 : 1].push_back(part(m));
                }
            }
        }
        for (std::size_t k = 0; k < 2; ++k) {
            const std::size_t own = products.form({part(term.constituents[k])});
            const std::size_t sum = products.form(counted[k]);
            factors.push_back({.form = own, .over = sum});
            numerators.insert(numerators.end(), static_cast<std::size_t>(term.powers[k]), sum);
            all.insert(all.end(), counted[k].begin(), counted[k].end());
        }
    } else {
        for (std::size_t k = 0; k < term.constituents.size(); ++k) {
            all.push_back(part(term.constituents[k]));
            numerators.insert(numerators.end(), static_cast<std::size_t>(term.powers[k]),
                              products.form({all.back()}));
        }
    }
    add_balanced(factors, multiplier, std::move(numerators), products.form(std::move(all)),
                 term.constituents.size(), mixture);
    products.add(coefficient, multiplier, factors);
}

} // namespace tessara
