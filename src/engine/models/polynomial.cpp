#include "engine/models/polynomial.hpp"

#include "engine/models/form_evaluator.hpp"

#include <algorithm>

namespace tessara {

std::unique_ptr<PhaseEvaluator>
PolynomialModel::evaluator(std::span<const Constituent>,
                           std::span<const std::size_t> active) const {
    FormPhase form(active.size());
    std::vector<std::size_t> place(phase_.equivalents.size(), FormProducts::None);
    std::vector<FormPart> total;
    for (std::size_t k = 0; k < active.size(); ++k) {
        place[active[k]] = k;
        total.push_back({k, phase_.equivalents[active[k]]});
        form.mixing.add(1.0, k);
    }
    // Fractions sum to one, so that equivalents that are all alike have a constant sum.
    const bool alike = std::all_of(total.begin(), total.end(), [&](const FormPart& part) {
        return part.factor == total.front().factor;
    });
    const EquivalentMixture mixture{.grouping = &phase_.grouping,
                                    .members = {active.begin(), active.end()},
                                    .place = place,
                                    .share = phase_.equivalents,
                                    .total = alike ? FormProducts::None : form.energy.form(total),
                                    .constant_total = total.front().factor};
    for (const PolynomialTerm& term : phase_.excess) {
        if (std::all_of(term.constituents.begin(), term.constituents.end(),
                        [&](std::size_t c) { return place[c] != FormProducts::None; })) {
            add_polynomial(form.energy, form.coefficients.add(term.coefficient), term, mixture);
        }
    }
    return std::make_unique<FormEvaluator>(std::move(form));
}

ThermalValue PolynomialModel::pure_mixing(std::size_t constituent,
                                          const TemperatureTerms& at) const {
    ThermalValue sum;
    for (const PolynomialTerm& term : phase_.excess) {
        bool named = false;
        bool alone = true;
        for (std::size_t k = 0; k < term.constituents.size(); ++k) {
            const bool own = term.constituents[k] == constituent;
            named = named || own;
            alone = alone && (own || term.powers[k] == 0);
        }
        if (named && alone) {
            const double s = phase_.equivalents[constituent];
            ThermalValue l = evaluate_six_with_derivatives(term.coefficient.thermal, at);
            l.value += term.coefficient.p + term.coefficient.p2; // at 1 bar
            sum += {s * l.value, s * l.d_t, s * l.d_tt};
        }
    }
    return sum;
}

bool PolynomialModel::equals(const PhaseModel& other) const {
    const auto* same = dynamic_cast<const PolynomialModel*>(&other);
    return same != nullptr && same->phase_ == phase_;
}

void PolynomialModel::describe(Description& phase) const {
    phase.set("equivalents", Description::list(phase_.equivalents));
    describe_grouping(phase_.grouping, phase);
    phase.set("polynomials", describe_polynomials(phase_.excess));
}

} // namespace tessara
