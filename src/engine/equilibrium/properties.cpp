#include "engine/equilibrium/properties.hpp"

#include "engine/units/constants.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

namespace tessara {
namespace {

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();
constexpr ThermalProperties None{NaN, NaN, NaN, NaN, NaN};
constexpr double LeastWeight = 1e-250;

ThermalProperties from_gibbs(const ThermalValue& g, double t, double volume) {
    return {.cp = -t * g.d_tt, .h = g.value - t * g.d_t, .s = -g.d_t, .g = g.value, .v = volume};
}

} // namespace

ThermalProperties& ThermalProperties::operator+=(const ThermalProperties& other) {
    cp += other.cp;
    h += other.h;
    s += other.s;
    g += other.g;
    v += other.v;
    return *this;
}

ThermalProperties operator*(double factor, const ThermalProperties& of) {
    return {factor * of.cp, factor * of.h, factor * of.s, factor * of.g, factor * of.v};
}

PropertyTable::PropertyTable(const System& system)
    : system_(&system), phases_(system.phases.size()) {}

void PropertyTable::fill(const Equilibrium& equilibrium, const TemperatureTerms& at) {
    total_ = {};
    amount_ = 0.0;
    for (std::size_t i = 0; i < phases_.size(); ++i) {
        const PhaseResult& phase = equilibrium.phases[i];
        OfPhase& own = phases_[i];
        own.molar = None;
        own.constituents.assign(system_->phases[i].constituents.size(), None);
        if (!phase.can_form) {
            continue;
        }
        if (system_->phases[i].model) {
            fill_mixture(i, equilibrium, at);
        } else {
            fill_pure(i, at);
        }
        if (phase.amount > 0.0) {
            total_ += phase.amount * own.molar;
            amount_ += phase.amount;
        }
    }
}

void PropertyTable::fill_pure(std::size_t i, const TemperatureTerms& at) {
    const Constituent& constituent = system_->phases[i].constituents.front();
    phases_[i].molar = from_gibbs(System::standard_thermal(constituent, at), at.t, 0.0);
    phases_[i].constituents.front() = phases_[i].molar;
}

void PropertyTable::fill_mixture(std::size_t i, const Equilibrium& equilibrium,
                                 const TemperatureTerms& at) {
    const PhaseResult& phase = equilibrium.phases[i];
    OfPhase& own = phases_[i];
    std::vector<std::size_t> active;
    for (std::size_t c = 0; c < phase.constituent_can_form.size(); ++c) {
        if (phase.constituent_can_form[c] != 0) {
            active.push_back(c);
        }
    }
    if (!own.evaluator || active != own.active) {
        own.active = active;
        const Phase& of = system_->phases[i];
        own.evaluator = of.model->evaluator(of.constituents, active);
    }
    own.evaluator->set_state(at, equilibrium.p / ReferencePressure);
    const std::size_t n = own.active.size();
    const bool internal = own.evaluator->variables() != nullptr;
    const std::size_t size = own.evaluator->size();
    x_.resize(size);
    log_x_.resize(size);
    volumes_.resize(size);
    partial_.resize(size);
    of_constituents_.resize(n);
    constituent_amounts_.assign(n, 0.0);
    set_amount_ = 0.0;
    const double pressure = equilibrium.p / ReferencePressure;

    const bool folded = std::find(equilibrium.folded.begin(), equilibrium.folded.end(), i) !=
                        equilibrium.folded.end();
    if (folded) {
        // The phase is several compositions in one; each has properties of its own.
        for (const CompositionSet& set : equilibrium.sets) {
            if (set.phase != i) {
                continue;
            }
            if (internal) {
                add_internal_set(i, set.amount, set.internal, set.log_internal, at, pressure);
                continue;
            }
            for (std::size_t k = 0; k < n; ++k) {
                x_[k] = set.fractions[own.active[k]];
                log_x_[k] = std::log(x_[k]);
            }
            add_set(i, set.amount, x_, log_x_, at);
        }
    } else if (internal) {
        add_internal_set(i, 1.0, phase.internal, phase.log_internal, at, pressure);
    } else {
        for (std::size_t k = 0; k < n; ++k) {
            x_[k] = phase.fractions[own.active[k]];
            log_x_[k] = phase.log_fractions[own.active[k]];
        }
        add_set(i, 1.0, x_, log_x_, at);
    }
    own.molar = (1.0 / set_amount_) * own.molar;
    for (std::size_t k = 0; k < n; ++k) {
        ThermalProperties& of = own.constituents[own.active[k]];
        of = (1.0 / constituent_amounts_[k]) * of;
    }
}

/// Adds one composition set's properties: the phase's by the set's amount, those of the
/// constituents by their amounts in it.
void PropertyTable::add_set(std::size_t i, double amount, std::span<const double> x,
                            std::span<const double> log_x, const TemperatureTerms& at) {
    OfPhase& own = phases_[i];
    const ThermalValue mixing = own.evaluator->mixing_thermal(x, log_x, partial_);
    const double volume = own.evaluator->volume(x, volumes_);
    ThermalValue g = mixing;
    for (std::size_t k = 0; k < x.size(); ++k) {
        const std::size_t c = own.active[k];
        const ThermalValue pure = System::standard_thermal(system_->phases[i].constituents[c], at);
        if (x[k] > 0.0) {
            g += {x[k] * pure.value, x[k] * pure.d_t, x[k] * pure.d_tt};
        }
        ThermalValue partial = pure;
        partial += partial_[k];
        add_constituent(i, k, amount * x[k], from_gibbs(partial, at.t, volumes_[k]));
    }
    add_whole(i, amount, from_gibbs(g, at.t, volume));
}

/// The same of a phase with internal variables, where all energy is in the model and the
/// constituents' share in it follows from that of the variables.
void PropertyTable::add_internal_set(std::size_t i, double amount, std::span<const double> y,
                                     std::span<const double> log_y, const TemperatureTerms& at,
                                     double pressure) {
    OfPhase& own = phases_[i];
    PhaseEvaluator& evaluator = *own.evaluator;
    const std::size_t n = own.active.size();
    if (std::isnan(y.front())) {
        set_amount_ = amount; // a phase without a composition of its own
        return;
    }
    ThermalValue g;
    if (RelaxedThermal::applies(evaluator, n)) {
        g = relaxed_.evaluate(evaluator, at, pressure, y, log_y, of_constituents_);
    } else {
        g = evaluator.mixing_thermal(y, log_y, partial_);
        evaluator.reported_partials(y, partial_, of_constituents_);
    }
    const double volume = evaluator.volume(y, volumes_);
    for (std::size_t v = 0; v < y.size(); ++v) {
        partial_[v] = {.value = volumes_[v], .d_t = 0.0, .d_tt = 0.0};
    }
    std::vector<ThermalValue> volumes(n);
    evaluator.reported_partials(y, partial_, volumes);
    std::vector<double> amounts(n);
    evaluator.reported(y, amounts);
    const double units = std::accumulate(amounts.begin(), amounts.end(), 0.0);
    for (std::size_t k = 0; k < n; ++k) {
        add_constituent(i, k, amount * amounts[k] / units,
                        from_gibbs(of_constituents_[k], at.t, volumes[k].value));
    }
    add_whole(i, amount, (1.0 / units) * from_gibbs(g, at.t, volume));
}

/// Adds the properties of a mole of constituent k of a set, weighted with its amount there.
void PropertyTable::add_constituent(std::size_t i, std::size_t k, double amount,
                                    const ThermalProperties& partial) {
    ThermalProperties& into = phases_[i].constituents[phases_[i].active[k]];
    // A fraction below the range of doubles weighs alike in all sets.
    const double weight = amount + LeastWeight;
    if (set_amount_ == 0.0) {
        into = weight * partial;
    } else {
        into += weight * partial;
    }
    constituent_amounts_[k] += weight;
}

void PropertyTable::add_whole(std::size_t i, double amount, const ThermalProperties& molar) {
    if (set_amount_ == 0.0) {
        phases_[i].molar = amount * molar;
    } else {
        phases_[i].molar += amount * molar;
    }
    set_amount_ += amount;
}

} // namespace tessara
