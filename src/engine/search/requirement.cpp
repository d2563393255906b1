#include "engine/search/requirement.hpp"

#include "engine/units/constants.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

namespace tessara {
namespace {

using enum ConditionVariable;

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();

double member(const ThermalProperties& of, ConditionVariable variable) {
    switch (variable) {
    case CP:
        return of.cp;
    case H:
        return of.h;
    case S:
        return of.s;
    case G:
        return of.g;
    default:
        return of.v;
    }
}

} // namespace

Requirement::Requirement(const System& system, const Condition& condition,
                         const ThermalProperties& base)
    : system_(&system), condition_(condition), base_(base),
      properties_(std::make_unique<PropertyTable>(system)) {}

bool Requirement::is_transition() const {
    return condition_.variable == A &&
           (condition_.value == 0.0 || condition_.value == Condition::Precipitation);
}

bool Requirement::rises_with_temperature() const {
    return condition_.place.kind == Place::Kind::System &&
           (condition_.variable == H || condition_.variable == S);
}

/// The limit at which the phase that joins or leaves has the amount zero.
Requirement::Limit Requirement::limit_wanted(const Transition& transition) const {
    const std::size_t i = condition_.place.phase;
    const PathState& below = transition.below;
    const PathState& above = transition.above;
    if (condition_.value == 0.0) {
        if (below.has(i) == above.has(i)) {
            return Limit::None;
        }
        return below.has(i) ? Limit::Above : Limit::Below;
    }
    const auto joins = [](const PathState& without, const PathState& with) {
        return !std::includes(without.present.begin(), without.present.end(), with.present.begin(),
                              with.present.end());
    };
    if (below.has(i) && joins(below, above)) {
        return Limit::Below;
    }
    return above.has(i) && joins(above, below) ? Limit::Above : Limit::None;
}

double Requirement::property(const Equilibrium& equilibrium, const TemperatureTerms& at) {
    properties_->fill(equilibrium, at);
    const ConditionVariable variable = condition_.variable;
    if (condition_.place.kind == Place::Kind::System) {
        return member(properties_->system(), variable) - member(base_, variable);
    }
    const std::size_t i = condition_.place.phase;
    const double amount = equilibrium.phases[i].amount;
    return amount > 0.0 ? amount * member(properties_->phase(i), variable) : 0.0;
}

double Requirement::log_activity(const Equilibrium& equilibrium, const TemperatureTerms& at) const {
    const std::size_t i = condition_.place.phase;
    const std::size_t c = condition_.place.index;
    const double mu = equilibrium.constituent_potentials[i][c];
    return (mu - system_->pure_thermal(i, c, at).value) / (GasConstant * equilibrium.t);
}

double Requirement::fraction(const Equilibrium& equilibrium) const {
    const std::size_t i = condition_.place.phase;
    const PhaseResult& phase = equilibrium.phases[i];
    if (!(phase.amount > 0.0)) {
        return NaN;
    }
    if (condition_.place.kind == Place::Kind::Constituent) {
        return phase.fractions[condition_.place.index];
    }
    double part = 0.0;
    double sum = 0.0;
    for (std::size_t c = 0; c < phase.fractions.size(); ++c) {
        const std::vector<double>& a = system_->phases[i].constituents[c].stoichiometry;
        for (std::size_t j = 0; j < a.size(); ++j) {
            const double term = phase.fractions[c] * a[j];
            sum += term;
            part += j == condition_.place.index ? term : 0.0;
        }
    }
    return part / sum;
}

double Requirement::amount(const PhaseResult& phase) const {
    if (!(phase.amount > 0.0)) {
        return 0.0;
    }
    double molar_mass = 1.0;
    if (condition_.by_mass) {
        molar_mass = 0.0;
        const Phase& of = system_->phases[condition_.place.phase];
        for (std::size_t c = 0; c < phase.fractions.size(); ++c) {
            molar_mass += phase.fractions[c] * of.constituents[c].molar_mass;
        }
    }
    return phase.amount * molar_mass;
}

double Requirement::measure(const Equilibrium& equilibrium, const TemperatureTerms& at) {
    switch (condition_.variable) {
    case AT:
        return log_activity(equilibrium, at) - std::log(condition_.value);
    case XT:
        return fraction(equilibrium) - condition_.value;
    case A:
        return amount(equilibrium.phases[condition_.place.phase]) - condition_.value;
    default:
        return property(equilibrium, at) - condition_.value;
    }
}

double Requirement::value_at(double measure) const {
    return condition_.variable == AT ? condition_.value * std::exp(measure)
                                     : condition_.value + measure;
}

} // namespace tessara
