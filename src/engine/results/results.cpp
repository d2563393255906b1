#include "engine/results/results.hpp"

#include "engine/units/constants.hpp"

#include <array>
#include <cmath>
#include <limits>

namespace tessara {
namespace {

using Kind = Place::Kind;
using enum ResultVariable;

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();

/// Where each variable exists.
struct Existence {
    ResultVariable variable;
    std::string_view name;
    bool system, component, phase, constituent, component_in_phase;
};

constexpr std::array Existences{
    Existence{P, "P", true, false, false, false, false},
    Existence{VT, "VT", true, false, false, false, false},
    Existence{T, "T", true, false, false, false, false},
    Existence{A, "A", true, true, true, true, false},
    Existence{AP, "AP", false, false, false, false, true},
    Existence{X, "X", false, true, true, true, false},
    Existence{XP, "XP", false, false, false, false, true},
    Existence{IA, "IA", false, true, false, true, false},
    Existence{AC, "AC", false, true, true, true, false},
    Existence{MU, "MU", false, true, true, true, false},
    Existence{CP, "CP", true, false, true, true, false},
    Existence{H, "H", true, false, true, true, false},
    Existence{S, "S", true, false, true, true, false},
    Existence{G, "G", true, false, true, true, false},
    Existence{V, "V", true, false, true, true, false},
    Existence{CPM, "CPM", true, false, true, true, false},
    Existence{HM, "HM", true, false, true, true, false},
    Existence{SM, "SM", true, false, true, true, false},
    Existence{GM, "GM", true, false, true, true, false},
    Existence{VM, "VM", true, false, true, true, false},
};

constexpr bool in_order_of_enumeration() {
    for (std::size_t k = 0; k < Existences.size(); ++k) {
        if (static_cast<std::size_t>(Existences[k].variable) != k) {
            return false;
        }
    }
    return Existences.back().variable == VM;
}
static_assert(in_order_of_enumeration(), "each variable has its row");

/// The thermal properties in the order of the variables CP to V and CPM to VM.
constexpr std::array Columns{&ThermalProperties::cp, &ThermalProperties::h, &ThermalProperties::s,
                             &ThermalProperties::g, &ThermalProperties::v};

double in_units(std::size_t column, double value, const Units& units) {
    switch (column) {
    case 0:
    case 2:
        return units.entropy_from_engine(value);
    case 4:
        return units.from_engine(Quantity::Volume, value);
    default:
        return units.from_engine(Quantity::Energy, value);
    }
}

/// Amounts below this are nothing: doubles lose their digits there.
constexpr double LeastAmount = 1e-300;

double cut(double mol) {
    return std::abs(mol) < LeastAmount ? 0.0 : mol;
}

/// A part of a whole; nan where there is no whole.
double ratio(double part, double whole) {
    return whole == 0.0 ? NaN : part / whole;
}

} // namespace

std::string_view result_name(ResultVariable variable) {
    return Existences[static_cast<std::size_t>(variable)].name;
}

Results::Results(std::shared_ptr<const System> system)
    : system_(std::move(system)), properties_(*system_) {}

bool Results::has(ResultVariable variable, Kind kind) {
    const Existence& row = Existences[static_cast<std::size_t>(variable)];
    switch (kind) {
    case Kind::System:
        return row.system;
    case Kind::Component:
        return row.component;
    case Kind::Phase:
        return row.phase;
    case Kind::Constituent:
        return row.constituent;
    case Kind::ComponentInPhase:
        return row.component_in_phase;
    }
    return false;
}

void Results::take(const Equilibrium& equilibrium, const EquilibriumConditions& conditions,
                   const TemperatureTerms& at, const ThermalProperties& input) {
    equilibrium_ = &equilibrium;
    input_ = input;
    conditions_ = conditions;
    terms_ = at;
    has_properties_ = false;
    has_activities_ = false;
    has_component_activities_ = false;
    fill_phases();
    fill_components();
}

void Results::fill_phases() {
    const std::size_t nc = system_->components.size();
    phase_masses_.assign(system_->phases.size(), NaN);
    phase_components_.assign(system_->phases.size() * nc, NaN);
    phase_component_totals_.assign(system_->phases.size(), {NaN, NaN});
    total_ = {};
    for (std::size_t i = 0; i < system_->phases.size(); ++i) {
        const PhaseResult& phase = equilibrium_->phases[i];
        if (!phase.can_form) {
            continue;
        }
        const std::vector<Constituent>& constituents = system_->phases[i].constituents;
        double* components = &phase_components_[i * nc];
        std::fill(components, components + nc, 0.0);
        double mass = 0.0;
        for (std::size_t c = 0; c < constituents.size(); ++c) {
            const double x = phase.fractions[c];
            mass += x * constituents[c].molar_mass;
            for (std::size_t j = 0; j < nc; ++j) {
                components[j] += x * constituents[c].stoichiometry[j];
            }
        }
        phase_masses_[i] = mass;
        Amount sum;
        for (std::size_t j = 0; j < nc; ++j) {
            if (system_->components[j].electron) {
                components[j] = 0.0; // a phase has no charge
            }
            sum.mol += components[j];
            sum.gram += components[j] * system_->components[j].molar_mass;
        }
        phase_component_totals_[i] = sum;
        if (phase.amount > 0.0) {
            total_.mol += phase.amount;
            total_.gram += phase.amount * mass;
        }
    }
}

void Results::fill_components() {
    const std::size_t nc = system_->components.size();
    component_total_ = {};
    available_.assign(nc, 0);
    for (std::size_t j = 0; j < nc; ++j) {
        const double amount = equilibrium_->amounts[j];
        component_total_.mol += amount;
        component_total_.gram += amount * system_->components[j].molar_mass;
        available_[j] = system_->components[j].electron || amount != 0.0 ? 1 : 0;
    }
    for (const GivenPotential& given : conditions_.potentials) {
        if (given.phase == IncomingAmount::NoPhase) {
            available_[given.index] = 1;
            continue;
        }
        const Constituent& constituent = system_->phases[given.phase].constituents[given.index];
        for (std::size_t j = 0; j < nc; ++j) {
            if (constituent.stoichiometry[j] != 0.0) {
                available_[j] = 1;
            }
        }
    }
}

void Results::fill_properties() {
    if (!has_properties_) {
        properties_.fill(*equilibrium_, terms_);
        has_properties_ = true;
    }
}

/// Whether a constituent is eliminated, in a phase that is, or lacks a component.
bool Results::can_never_form(std::size_t phase, std::size_t constituent) const {
    if (conditions_.of_phase(phase) == Participation::Eliminated ||
        conditions_.of_constituent(phase, constituent) == Participation::Eliminated) {
        return true;
    }
    const std::vector<double>& a = system_->phases[phase].constituents[constituent].stoichiometry;
    for (std::size_t j = 0; j < a.size(); ++j) {
        if (a[j] != 0.0 && available_[j] == 0) {
            return true;
        }
    }
    return false;
}

void Results::fill_activities() {
    if (has_activities_) {
        return;
    }
    const double rt = GasConstant * equilibrium_->t;
    activities_.resize(system_->phases.size());
    for (std::size_t i = 0; i < system_->phases.size(); ++i) {
        const std::vector<Constituent>& constituents = system_->phases[i].constituents;
        activities_[i].assign(constituents.size(), 0.0);
        for (std::size_t c = 0; c < constituents.size(); ++c) {
            const double mu = equilibrium_->constituent_potentials[i][c];
            if (!std::isnan(mu)) {
                const double g = system_->pure_thermal(i, c, terms_).value;
                activities_[i][c] = std::exp((mu - g) / rt);
            } else if (!can_never_form(i, c)) {
                // Left open by the stable phases, or without room in what the amounts put in.
                const bool entered = conditions_.of_constituent(i, c) == Participation::Entered;
                const bool has_room = equilibrium_->phases[i].constituent_can_form[c] != 0;
                activities_[i][c] = entered && !has_room ? 0.0 : NaN;
            }
        }
    }
    has_activities_ = true;
}

void Results::fill_component_activities() {
    if (has_component_activities_) {
        return;
    }
    const double rt = GasConstant * equilibrium_->t;
    component_activities_.assign(system_->components.size(), NaN);
    for (std::size_t j = 0; j < component_activities_.size(); ++j) {
        const double mu = equilibrium_->potentials[j];
        if (!std::isnan(mu)) {
            const double g = system_->reference_gibbs(j, terms_);
            component_activities_[j] = std::exp((mu - g) / rt);
        }
    }
    has_component_activities_ = true;
}

Results::Size Results::size(const Place& place) const {
    const PhaseResult* phase = nullptr;
    switch (place.kind) {
    case Kind::System:
        return {total_.mol, ratio(total_.gram, total_.mol)};
    case Kind::Component:
        return {equilibrium_->amounts[place.index], system_->components[place.index].molar_mass};
    case Kind::Phase:
        return {cut(equilibrium_->phases[place.phase].amount), phase_masses_[place.phase]};
    case Kind::Constituent:
        phase = &equilibrium_->phases[place.phase];
        return {phase->amount > 0.0 ? cut(phase->amount * phase->fractions[place.index]) : 0.0,
                system_->phases[place.phase].constituents[place.index].molar_mass};
    case Kind::ComponentInPhase: {
        phase = &equilibrium_->phases[place.phase];
        const std::size_t nc = system_->components.size();
        return {phase->amount > 0.0
                    ? cut(phase->amount * phase_components_[place.phase * nc + place.index])
                    : 0.0,
                system_->components[place.index].molar_mass};
    }
    }
    return {};
}

double Results::share(const Place& place, const Units& units) const {
    double mol = NaN;
    double molar_mass = NaN;
    Amount whole{NaN, NaN};
    switch (place.kind) {
    case Kind::System:
        return NaN;
    case Kind::Phase: {
        const Amount part = size(place).amount();
        return units.by_mass() ? ratio(part.gram, total_.gram) : ratio(part.mol, total_.mol);
    }
    case Kind::Component:
        mol = equilibrium_->amounts[place.index];
        molar_mass = system_->components[place.index].molar_mass;
        whole = component_total_;
        break;
    case Kind::Constituent: {
        const PhaseResult& phase = equilibrium_->phases[place.phase];
        if (!phase.can_form) {
            return NaN;
        }
        mol = phase.fractions[place.index];
        molar_mass = system_->phases[place.phase].constituents[place.index].molar_mass;
        whole = {1.0, phase_masses_[place.phase]};
        break;
    }
    case Kind::ComponentInPhase:
        mol = phase_components_[place.phase * system_->components.size() + place.index];
        molar_mass = system_->components[place.index].molar_mass;
        whole = phase_component_totals_[place.phase];
        break;
    }
    return units.by_mass() ? ratio(mol * molar_mass, whole.gram) : ratio(mol, whole.mol);
}

double Results::activity(const Place& place) {
    switch (place.kind) {
    case Kind::Component:
        fill_component_activities();
        return component_activities_[place.index];
    case Kind::Phase: {
        const PhaseResult& phase = equilibrium_->phases[place.phase];
        return phase.can_form ? std::exp(phase.driving_force) : 0.0;
    }
    case Kind::Constituent:
        fill_activities();
        return activities_[place.phase][place.index];
    default:
        return NaN;
    }
}

/// The chemical potential, J/mol; of a phase, the tangent plane at its composition.
double Results::potential(const Place& place) const {
    switch (place.kind) {
    case Kind::Component:
        return equilibrium_->potentials[place.index];
    case Kind::Constituent:
        return equilibrium_->constituent_potentials[place.phase][place.index];
    case Kind::Phase: {
        const PhaseResult& phase = equilibrium_->phases[place.phase];
        if (!phase.can_form) {
            return NaN;
        }
        double sum = 0.0;
        for (std::size_t c = 0; c < phase.fractions.size(); ++c) {
            // What is not there has no say, whatever its potential.
            if (phase.fractions[c] != 0.0) {
                sum += phase.fractions[c] * equilibrium_->constituent_potentials[place.phase][c];
            }
        }
        return sum;
    }
    default:
        return NaN;
    }
}

double Results::thermal(std::size_t column, bool per_amount, const Place& place,
                        const Units& units) {
    fill_properties();
    const Size what = size(place);
    double value = NaN; // of all for the system, else of a mole
    switch (place.kind) {
    case Kind::System:
        value = properties_.system().*Columns[column];
        if (per_amount) {
            return ratio(in_units(column, value, units), units.from_engine(total_));
        }
        return in_units(column, value - input_.*Columns[column], units);
    case Kind::Phase:
        value = properties_.phase(place.phase).*Columns[column];
        break;
    case Kind::Constituent:
        value = properties_.constituent(place.phase, place.index).*Columns[column];
        break;
    default:
        return NaN;
    }
    if (!per_amount) {
        // What is not there has none of it, also where a mole would have no value.
        return what.mol == 0.0 ? 0.0 : in_units(column, what.mol * value, units);
    }
    return ratio(in_units(column, value, units), units.from_engine(Amount{1.0, what.molar_mass}));
}

double Results::value(ResultVariable variable, const Place& place, const Units& units) {
    switch (variable) {
    case P:
        return units.from_engine(Quantity::Pressure, equilibrium_->p);
    case T:
        return units.from_engine(Quantity::Temperature, equilibrium_->t);
    case VT:
        fill_properties();
        return units.from_engine(Quantity::Volume, properties_.system().v);
    case A:
    case AP:
        return units.from_engine(size(place).amount());
    case X:
    case XP:
        return share(place, units);
    case AC:
        return activity(place);
    case MU:
        return units.from_engine(Quantity::Energy, potential(place));
    case IA:
        return NaN;
    default:
        break;
    }
    const bool per_amount = variable >= CPM;
    const auto column =
        static_cast<std::size_t>(variable) - static_cast<std::size_t>(per_amount ? CPM : CP);
    return thermal(column, per_amount, place, units);
}

std::vector<Results::SetValues> Results::sets(std::size_t phase, const Units& units) const {
    const auto values = [&](double amount, const std::vector<double>& fractions) {
        SetValues set;
        double mass = 0.0;
        const std::vector<Constituent>& constituents = system_->phases[phase].constituents;
        for (std::size_t c = 0; c < fractions.size(); ++c) {
            mass += fractions[c] * constituents[c].molar_mass;
        }
        for (std::size_t c = 0; c < fractions.size(); ++c) {
            set.fractions.push_back(units.by_mass()
                                        ? ratio(fractions[c] * constituents[c].molar_mass, mass)
                                        : fractions[c]);
        }
        set.amount = units.from_engine(Amount{amount, amount * mass});
        return set;
    };
    std::vector<SetValues> list;
    for (const CompositionSet& set : equilibrium_->sets) {
        if (set.phase == phase) {
            list.push_back(values(set.amount, set.fractions));
        }
    }
    const PhaseResult& result = equilibrium_->phases[phase];
    if (list.empty() && result.amount > 0.0) {
        list.push_back(values(result.amount, result.fractions));
    }
    return list;
}

std::vector<std::vector<NamedFractions>> Results::internal_fractions(std::size_t i) const {
    const PhaseResult& result = equilibrium_->phases[i];
    std::vector<std::vector<NamedFractions>> list;
    if (result.internal.empty() || std::isnan(result.internal.front())) {
        return list;
    }
    const Phase& phase = system_->phases[i];
    std::vector<std::size_t> active;
    for (std::size_t c = 0; c < result.constituent_can_form.size(); ++c) {
        if (result.constituent_can_form[c] != 0) {
            active.push_back(c);
        }
    }
    const auto evaluator = phase.model->evaluator(phase.constituents, active);
    const auto add = [&](std::span<const double> y) {
        list.push_back(phase.model->fractions(active, *evaluator->variables(), y));
    };
    for (const CompositionSet& set : equilibrium_->sets) {
        if (set.phase == i) {
            add(set.internal);
        }
    }
    if (list.empty()) {
        add(result.internal);
    }
    return list;
}

} // namespace tessara
