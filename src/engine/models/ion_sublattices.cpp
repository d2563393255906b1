#include "engine/models/ion_sublattices.hpp"

#include "engine/data/system.hpp"
#include "engine/models/form_evaluator.hpp"

#include <algorithm>

namespace tessara {
namespace {

constexpr std::size_t Cations = 0;
constexpr std::size_t Anions = 1;

using Factor = FormProducts::Factor;

} // namespace

std::vector<double> contents_per_equivalent(const IonSublatticePhase& phase,
                                            std::span<const Constituent> constituents) {
    std::vector<double> contents;
    for (std::size_t p = 0; p < constituents.size(); ++p) {
        const double equivalents =
            phase.cations[p] * phase.charges[phase.table.running(p, Cations)];
        for (double amount : constituents[p].stoichiometry) {
            contents.push_back(amount / equivalents);
        }
    }
    return contents;
}

ModelSize IonSublatticeModel::size() const {
    const std::vector<std::size_t>& sizes = phase_.table.sizes();
    return {.excess_coefficients = static_cast<int>(phase_.excess.size()),
            .sublattices = 2,
            .sublattice_constituents = static_cast<int>(std::max(sizes[Cations], sizes[Anions]))};
}

std::unique_ptr<PhaseEvaluator>
IonSublatticeModel::evaluator(std::span<const Constituent> constituents,
                              std::span<const std::size_t> active) const {
    const SiteTable& table = phase_.table;
    const std::vector<char> present = table.present(active);
    std::vector<std::size_t> place(table.total(), FormProducts::None);
    std::array<std::vector<std::size_t>, 2> members;
    std::size_t count = 0;
    for (std::size_t c = 0; c < table.total(); ++c) {
        if (present[c] != 0) {
            place[c] = count++;
            members[table.sublattice_of(c)].push_back(c);
        }
    }
    FormPhase form(count);

    const std::size_t components = constituents.front().stoichiometry.size();
    const SiteContents contents =
        site_contents(table, contents_per_equivalent(phase_, constituents), components);
    form.variables.constraints = simple_constraints(count);
    std::vector<FormPart> equivalents;
    for (std::size_t s : {Cations, Anions}) {
        std::vector<FormPart> moles;
        for (std::size_t c : members[s]) {
            const double q = phase_.charges[c];
            form.variables.names.push_back(phase_.names[c]);
            form.variables.constraints.charge.push_back(s == Cations ? q : -q);
            for (std::size_t j = 0; j < components; ++j) {
                form.variables.stoichiometry.push_back(q * contents.rows[c * components + j]);
            }
            moles.push_back({place[c], 1.0});
            if (s == Cations) {
                equivalents.push_back({place[c], q});
            }
        }
        form.mixing.add_mixing(moles);
    }
    const std::size_t total = form.energy.form(equivalents);
    const std::size_t reported_total = form.reported.form(equivalents);
    for (std::size_t p : active) {
        const std::size_t a = table.running(p, Cations);
        const std::size_t x = table.running(p, Anions);
        const double share = phase_.charges[x] / phase_.cations[p];
        const Factor own[] = {{.form = place[a], .over = total}, {.form = place[x]}};
        form.energy.add(form.coefficients.add(constituents[p].gibbs), share, own);
        const Factor reported[] = {{.form = place[a], .over = reported_total}, {.form = place[x]}};
        form.reported.add(form.made_of.size(), share, reported);
        form.made_of.push_back({{place[a], phase_.cations[p]}, {place[x], phase_.anions[p]}});
    }
    for (const PolynomialTerm& term : phase_.excess) {
        const auto absent = [&](std::size_t c) { return place[c] == FormProducts::None; };
        if (absent(*term.constant) ||
            std::any_of(term.constituents.begin(), term.constituents.end(), absent)) {
            continue;
        }
        const std::size_t s = table.sublattice_of(term.constituents.front());
        const EquivalentMixture mixture{.grouping = &phase_.grouping,
                                        .members = members[s],
                                        .place = place,
                                        .share = phase_.charges,
                                        .total = total};
        const FormPart constant{place[*term.constant], phase_.charges[*term.constant]};
        const Factor more[] = {{.form = form.energy.form({constant}), .over = total}};
        add_polynomial(form.energy, form.coefficients.add(term.coefficient), term, mixture, more);
    }
    return std::make_unique<FormEvaluator>(std::move(form));
}

bool IonSublatticeModel::equals(const PhaseModel& other) const {
    const auto* same = dynamic_cast<const IonSublatticeModel*>(&other);
    return same != nullptr && same->phase_ == phase_;
}

void IonSublatticeModel::describe(Description& phase) const {
    describe_sites(phase_.table, phase_.names, phase);
    phase.set("charges", Description::list(phase_.charges));
    phase.set("cations", Description::list(phase_.cations));
    phase.set("anions", Description::list(phase_.anions));
    describe_grouping(phase_.grouping, phase);
    phase.set("polynomials", describe_polynomials(phase_.excess));
}

} // namespace tessara
