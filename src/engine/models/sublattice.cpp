#include "engine/models/sublattice.hpp"

#include "engine/data/system.hpp"
#include "engine/models/form_evaluator.hpp"

#include <algorithm>

namespace tessara {
namespace {

constexpr std::size_t Absent = FormProducts::None;

using Factors = std::vector<FormProducts::Factor>;

int whole(std::size_t number) {
    return static_cast<int>(number);
}

std::size_t difference(FormProducts& products, std::size_t a, std::size_t b) {
    return products.form({{a, 1.0}, {b, -1.0}});
}

/// f of set z; `place` turns constituents of the sites into variables.
FormProducts::Factor mixing_factor(FormProducts& products, const SublatticeMixing& mixing,
                                   std::size_t sets, std::size_t z,
                                   std::span<const std::size_t> place) {
    const auto pair = [&](const std::vector<std::size_t>& on) {
        return difference(products, place[on[0]], place[on[1]]);
    };
    switch (mixing.pattern) {
    case MixingPattern::Binary:
        return {.form = pair(mixing.first), .power = whole(z)};
    case MixingPattern::Ternary:
        if (sets == 3) {
            std::vector<FormPart> parts{{place[mixing.first[z]], 1.0}};
            for (std::size_t c : mixing.first) {
                parts.push_back({place[c], -1.0 / 3.0});
            }
            return {.form = products.form(std::move(parts), 1.0 / 3.0)};
        }
        break;
    case MixingPattern::Reciprocal:
        return z % 2 == 1
                   ? FormProducts::Factor{.form = pair(mixing.second), .power = whole((z + 1) / 2)}
                   : FormProducts::Factor{.form = pair(mixing.first), .power = whole(z / 2)};
    case MixingPattern::None:
    case MixingPattern::Other:
        break;
    }
    return {.form = 0, .power = 0};
}

/// Adds the products of the parameters whose constituents are all there. `coefficient` makes a
/// place for the coefficient of one set.
template <class Coefficients, class Place>
void add_terms(FormProducts& products, const SiteTable& table,
               std::span<const InteractionTerm<Coefficients>> terms,
               std::span<const std::size_t> place, Place coefficient) {
    for (const InteractionTerm<Coefficients>& term : terms) {
        const auto absent = [&](std::size_t c) { return place[c] == Absent; };
        if (std::any_of(term.constituents.begin(), term.constituents.end(), absent)) {
            continue;
        }
        const SublatticeMixing mixing = sublattice_mixing(table, term.constituents);
        for (std::size_t z = 0; z < term.sets.size(); ++z) {
            Factors factors;
            for (std::size_t c : term.constituents) {
                factors.push_back({.form = place[c]});
            }
            factors.push_back(mixing_factor(products, mixing, term.sets.size(), z, place));
            products.add(coefficient(term.sets[z]), 1.0, factors);
        }
    }
}

} // namespace

SublatticeMixing sublattice_mixing(const SiteTable& table,
                                   std::span<const std::size_t> constituents) {
    std::vector<std::vector<std::size_t>> on(table.sublattices());
    for (std::size_t c : constituents) {
        on[table.sublattice_of(c)].push_back(c);
    }
    SublatticeMixing mixing{MixingPattern::None, {}, {}};
    for (const std::vector<std::size_t>& own : on) {
        if (own.size() < 2) {
            continue;
        }
        if (mixing.pattern == MixingPattern::None && own.size() <= 3) {
            mixing.pattern = own.size() == 2 ? MixingPattern::Binary : MixingPattern::Ternary;
            mixing.first = own;
        } else if (mixing.pattern == MixingPattern::Binary && own.size() == 2) {
            mixing.pattern = MixingPattern::Reciprocal;
            mixing.second = own;
        } else {
            return {MixingPattern::Other, {}, {}};
        }
    }
    return mixing;
}

ModelSize SublatticeModel::size() const {
    const std::vector<std::size_t>& sizes = phase_.table.sizes();
    return {.excess_coefficients = set_count(phase_.excess),
            .magnetic_coefficients = phase_.magnetic ? set_count(phase_.magnetic->terms) : 0,
            .sublattices = static_cast<int>(sizes.size()),
            .sublattice_constituents =
                static_cast<int>(*std::max_element(sizes.begin(), sizes.end()))};
}

std::unique_ptr<PhaseEvaluator>
SublatticeModel::evaluator(std::span<const Constituent> constituents,
                           std::span<const std::size_t> active) const {
    const SiteTable& table = phase_.table;
    const std::vector<char> present = table.present(active);
    std::vector<std::size_t> place(table.total(), Absent);
    std::size_t count = 0;
    for (std::size_t c = 0; c < table.total(); ++c) {
        if (present[c] != 0) {
            place[c] = count++;
        }
    }
    FormPhase form(count);

    const std::size_t components = constituents.front().stoichiometry.size();
    std::vector<double> contents;
    for (const Constituent& constituent : constituents) {
        contents.insert(contents.end(), constituent.stoichiometry.begin(),
                        constituent.stoichiometry.end());
    }
    const SiteContents sites = site_contents(table, contents, components);
    Constraints& constraints = form.variables.constraints;
    constraints.groups = table.sublattices();
    for (std::size_t c = 0; c < table.total(); ++c) {
        if (place[c] == Absent) {
            continue;
        }
        const std::size_t s = table.sublattice_of(c);
        form.variables.names.push_back(phase_.names[c] + ":" + std::to_string(s + 1));
        const auto row = sites.rows.begin() + static_cast<std::ptrdiff_t>(c * components);
        form.variables.stoichiometry.insert(form.variables.stoichiometry.end(), row,
                                            row + static_cast<std::ptrdiff_t>(components));
        constraints.group.push_back(s);
        constraints.weight.push_back(1.0);
        form.mixing.add(phase_.sites[s], place[c]);
    }

    FormProducts magnetic(count);
    std::vector<MagneticNumbers> magnetic_sets;
    for (std::size_t k : active) {
        Factors factors;
        std::vector<FormPart> made_of;
        for (std::size_t s = 0; s < table.sublattices(); ++s) {
            const std::size_t variable = place[table.running(k, s)];
            factors.push_back({.form = variable});
            made_of.push_back({variable, 1.0});
        }
        form.energy.add(form.coefficients.add(constituents[k].gibbs), 1.0, factors);
        form.reported.add(form.made_of.size(), 1.0, factors);
        form.made_of.push_back(std::move(made_of));
        if (phase_.magnetic) {
            magnetic.add(magnetic_sets.size(), 1.0, factors);
            magnetic_sets.push_back(phase_.magnetic->constituents[k]);
        }
    }
    add_terms<ExcessCoefficients>(
        form.energy, table, phase_.excess, place,
        [&](const ExcessCoefficients& set) { return form.coefficients.add(set); });
    if (phase_.magnetic) {
        add_terms<MagneticNumbers>(magnetic, table, phase_.magnetic->terms, place,
                                   [&](const MagneticNumbers& set) {
                                       magnetic_sets.push_back(set);
                                       return magnetic_sets.size() - 1;
                                   });
        form.magnetic.emplace(phase_.magnetic->factors, std::vector<MagneticNumbers>(count),
                              std::move(magnetic), magnetic_sets);
    }
    return std::make_unique<FormEvaluator>(std::move(form));
}

ThermalValue SublatticeModel::pure_mixing(std::size_t constituent,
                                          const TemperatureTerms& at) const {
    if (!phase_.magnetic) {
        return {};
    }
    const MagneticNumbers& own = phase_.magnetic->constituents[constituent];
    return magnetic_gibbs(at.t, own.tc, own.beta, phase_.magnetic->factors);
}

bool SublatticeModel::equals(const PhaseModel& other) const {
    const auto* same = dynamic_cast<const SublatticeModel*>(&other);
    return same != nullptr && same->phase_ == phase_;
}

void SublatticeModel::describe(Description& phase) const {
    phase.set("sites", Description::list(phase_.sites));
    describe_sites(phase_.table, phase_.names, phase);
    phase.set("interactions", describe_terms(phase_.excess));
    if (phase_.magnetic) {
        describe_magnetism(*phase_.magnetic, phase);
    }
}

} // namespace tessara
