#include "engine/conditions/condition_store.hpp"

#include "engine/text/text.hpp"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace tessara {
namespace {

using enum ConditionVariable;
using Kind = Place::Kind;

/// What the number of a condition is measured in.
enum class Measure { Pressure, Volume, Temperature, Energy, Entropy, Amount, MolarEnergy, Number };

/// The values that a condition takes.
enum class Range { Positive, NotNegative, Fraction, Any };

/// Kinds of places, to be combined.
enum Places : unsigned {
    OnSystem = 1U,
    OnComponent = 2U,
    OnPhase = 4U,
    OnConstituent = 8U,
    OnComponentInPhase = 16U
};

struct VariableDescription {
    std::string_view name;
    std::string_view what; ///< in words
    ConditionVariable variable;
    ConditionVariable shares; ///< variables with the same entry exclude each other on one place
    Measure measure;
    Range range;
    unsigned places;
    bool used; ///< by a calculation without target
};

constexpr unsigned Extensive = OnSystem | OnPhase;
constexpr unsigned Matter = OnComponent | OnConstituent;
constexpr unsigned FractionPlaces = OnConstituent | OnComponentInPhase;

// clang-format off
constexpr VariableDescription Variables[] = {
    {"P", "pressure", P, P, Measure::Pressure, Range::Positive, OnSystem, true},
    {"VT", "total volume", VT, P, Measure::Volume, Range::Positive, OnSystem, true},
    {"T", "temperature", T, T, Measure::Temperature, Range::Positive, OnSystem, true},
    {"CP", "heat capacity", CP, CP, Measure::Entropy, Range::Any, Extensive, false},
    {"H", "enthalpy", H, H, Measure::Energy, Range::Any, Extensive, false},
    {"S", "entropy", S, S, Measure::Entropy, Range::Any, Extensive, false},
    {"G", "Gibbs energy", G, G, Measure::Energy, Range::Any, Extensive, false},
    {"V", "volume", V, V, Measure::Volume, Range::Any, Extensive, false},
    {"A", "amount", A, A, Measure::Amount, Range::NotNegative, OnPhase, false},
    {"IA", "incoming amount", IA, IA, Measure::Amount, Range::Any, Matter, true},
    {"AC", "activity", AC, IA, Measure::Number, Range::Positive, Matter, true},
    {"MU", "chemical potential", MU, IA, Measure::MolarEnergy, Range::Any, Matter, true},
    {"AT", "target activity", AT, AT, Measure::Number, Range::Positive, OnConstituent, false},
    {"XT", "target mole fraction", XT, XT, Measure::Number, Range::Fraction, FractionPlaces, false},
};
// clang-format on

constexpr bool in_order_of_enumeration() {
    for (std::size_t k = 0; k < std::size(Variables); ++k) {
        if (static_cast<std::size_t>(Variables[k].variable) != k) {
            return false;
        }
    }
    return std::size(Variables) == static_cast<std::size_t>(XT) + 1;
}
static_assert(in_order_of_enumeration(), "each variable has its row");

const VariableDescription& describe(ConditionVariable variable) {
    return Variables[static_cast<std::size_t>(variable)];
}

std::string heading(const System& system, const VariableDescription& description,
                    const Place& place) {
    return std::string(description.what) + " (" + std::string(description.name) + ") of " +
           (place.kind == Kind::System ? "the system" : place_text(system, place));
}

unsigned bit_of(Kind kind) {
    switch (kind) {
    case Kind::System:
        return OnSystem;
    case Kind::Component:
        return OnComponent;
    case Kind::Phase:
        return OnPhase;
    case Kind::Constituent:
        return OnConstituent;
    case Kind::ComponentInPhase:
        return OnComponentInPhase;
    }
    return 0;
}

void check_place(const VariableDescription& description, const Place& place) {
    if ((description.places & bit_of(place.kind)) != 0) {
        return;
    }
    std::string wanted;
    for (const Kind kind :
         {Kind::System, Kind::Phase, Kind::Component, Kind::Constituent, Kind::ComponentInPhase}) {
        if ((description.places & bit_of(kind)) != 0) {
            wanted += (wanted.empty() ? "" : " or ") + std::string(kind_text(kind));
        }
    }
    throw ConditionError("the condition " + std::string(description.name) + " (" +
                         std::string(description.what) + ") cannot be placed on " +
                         kind_text(place.kind) + ", only on " + wanted);
}

/// Refuses what the system rules out for good, whatever the other conditions are.
void check_against_system(const System& system, ConditionVariable variable, const Place& place,
                          double value) {
    const VariableDescription& description = describe(variable);
    if (variable == VT && !system.has_gas()) {
        throw ConditionError("the total volume (VT) cannot be given: the data file has no gas. "
                             "Give the pressure (P)");
    }
    if (place.kind != Kind::Component) {
        return;
    }
    const Component& component = system.components[place.index];
    if (component.electron && (variable != IA || value != 0.0)) {
        throw ConditionError("the " + heading(system, description, place) +
                             " cannot be given: it counts electrons, and the charge of its phase "
                             "is always zero");
    }
    if (variable == AC) {
        TemperatureTerms terms = system.terms();
        terms.set(298.15);
        if (std::isnan(system.reference_gibbs(place.index, terms))) {
            throw ConditionError("the " + heading(system, description, place) +
                                 " cannot be given: the data file has no record made of it alone "
                                 "to refer to. Give the chemical potential (MU)");
        }
    }
}

[[noreturn]] void fail_value(const std::string& heading, double value, const std::string& unit,
                             const std::string& wanted) {
    throw ConditionError("the " + heading + " cannot be " + number_text(value) +
                         (unit.empty() ? "" : " ") + unit + ": " + wanted);
}

/// The value in the engine's units, checked.
void convert(const System& system, const Units& units, double given, Condition& condition) {
    const VariableDescription& description = describe(condition.variable);
    const auto fail = [&](const std::string& wanted) {
        fail_value(heading(system, description, condition.place), given,
                   condition_unit(units, condition), wanted);
    };
    if (!std::isfinite(given)) {
        fail("it must be a finite number");
    }
    condition.value = given;
    switch (description.measure) {
    case Measure::Pressure:
        condition.value = units.to_engine(Quantity::Pressure, given);
        break;
    case Measure::Volume:
        condition.value = units.to_engine(Quantity::Volume, given);
        break;
    case Measure::Temperature:
        condition.value = units.to_engine(Quantity::Temperature, given);
        break;
    case Measure::Energy:
    case Measure::MolarEnergy:
        condition.value = units.to_engine(Quantity::Energy, given);
        break;
    case Measure::Entropy:
        condition.value = units.entropy_to_engine(given);
        break;
    case Measure::Amount:
        if (condition.variable == IA) {
            const double molar_mass = molar_mass_of(system, condition.place);
            if (given != 0.0 && units.by_mass() && !(molar_mass > 0.0)) {
                fail("it has no molar mass. Give the amount in mol");
            }
            condition.value = given == 0.0 ? 0.0 : units.to_mol(given, molar_mass);
        } else if (given != Condition::Precipitation && units.by_mass()) {
            condition.by_mass = given != 0.0;
            condition.value = units.mass_to_gram(given);
        }
        break;
    case Measure::Number:
        break;
    }
    if (!std::isfinite(condition.value)) {
        fail("it is too large");
    }
    switch (description.range) {
    case Range::Positive:
        if (!(condition.value > 0.0)) {
            fail(condition.variable == T ? "it must be above absolute zero"
                                         : "it must be above zero");
        }
        break;
    case Range::NotNegative:
        if (condition.value < 0.0 && given != Condition::Precipitation) {
            fail("it must be an amount above zero, 0 (the phase just forms) or -1 (a further "
                 "phase just forms from it)");
        }
        break;
    case Range::Fraction:
        if (condition.value < 0.0 || condition.value > 1.0) {
            fail("a mole fraction is between 0 and 1");
        }
        break;
    case Range::Any:
        break;
    }
}

} // namespace

std::string_view condition_name(ConditionVariable variable) {
    return describe(variable).name;
}

int ConditionStore::place(const System& system, const Units& units, ConditionVariable variable,
                          const Place& place, double value) {
    check_place(describe(variable), place);
    check_against_system(system, variable, place, value);
    Condition condition{.number = 0, .variable = variable, .place = place};
    convert(system, units, value, condition);
    const auto [at, is_new] = conditions_.try_emplace(slot(variable, place));
    condition.number = is_new ? ++*last_number_ : at->second.number;
    at->second = condition;
    return condition.number;
}

bool ConditionStore::remove(int number) {
    return std::erase_if(conditions_,
                         [&](const auto& entry) { return entry.second.number == number; }) > 0;
}

void ConditionStore::remove_inputs() {
    std::erase_if(conditions_,
                  [](const auto& entry) { return describe(entry.second.variable).shares == IA; });
}

void ConditionStore::clear() {
    conditions_.clear();
    *last_number_ = 0;
}

const Condition* ConditionStore::find(ConditionVariable variable, const Place& place) const {
    const auto found = conditions_.find(slot(variable, place));
    return found != conditions_.end() && found->second.variable == variable ? &found->second
                                                                            : nullptr;
}

std::vector<Condition> ConditionStore::in_order() const {
    std::vector<Condition> list;
    list.reserve(conditions_.size());
    for (const auto& entry : conditions_) {
        list.push_back(entry.second);
    }
    std::sort(list.begin(), list.end(),
              [](const Condition& a, const Condition& b) { return a.number < b.number; });
    return list;
}

double ConditionStore::incoming_amount(const Place& place) const {
    const Condition* condition = find(IA, place);
    return condition != nullptr ? condition->value : 0.0;
}

bool ConditionStore::used_without_target(ConditionVariable variable) {
    return describe(variable).used;
}

void ConditionStore::fill(EquilibriumConditions& conditions) const {
    conditions.t = 0.0;
    conditions.p = DefaultPressure;
    conditions.amounts.clear();
    conditions.potentials.clear();
    for (const auto& entry : conditions_) {
        const Condition& condition = entry.second;
        const Place& place = condition.place;
        const std::size_t phase =
            place.kind == Kind::Constituent ? place.phase : IncomingAmount::NoPhase;
        switch (condition.variable) {
        case T:
            conditions.t = condition.value;
            break;
        case P:
            conditions.p = condition.value;
            break;
        case IA:
            conditions.amounts.push_back({phase, place.index, condition.value});
            break;
        case AC:
            conditions.potentials.push_back(
                {phase, place.index, GivenPotential::Kind::Activity, condition.value});
            break;
        case MU:
            conditions.potentials.push_back(
                {phase, place.index, GivenPotential::Kind::Potential, condition.value});
            break;
        default:
            break;
        }
    }
}

ConditionStore::Slot ConditionStore::slot(ConditionVariable variable, const Place& place) {
    return {describe(variable).shares, place};
}

std::vector<Condition> requirements(const ConditionStore& conditions) {
    std::vector<Condition> list = conditions.in_order();
    std::erase_if(list, [](const Condition& condition) {
        return ConditionStore::used_without_target(condition.variable);
    });
    return list;
}

double condition_value(const System& system, const Units& units, const Condition& condition) {
    const double value = condition.value;
    switch (describe(condition.variable).measure) {
    case Measure::Pressure:
        return units.from_engine(Quantity::Pressure, value);
    case Measure::Volume:
        return units.from_engine(Quantity::Volume, value);
    case Measure::Temperature:
        return units.from_engine(Quantity::Temperature, value);
    case Measure::Energy:
    case Measure::MolarEnergy:
        return units.from_engine(Quantity::Energy, value);
    case Measure::Entropy:
        return units.entropy_from_engine(value);
    case Measure::Amount:
        if (condition.variable == IA) {
            return units.from_engine(Amount{value, value * molar_mass_of(system, condition.place)});
        }
        return condition.by_mass && units.by_mass() ? units.from_engine(Amount{0.0, value}) : value;
    case Measure::Number:
        break;
    }
    return value;
}

std::string condition_unit(const Units& units, const Condition& condition) {
    switch (describe(condition.variable).measure) {
    case Measure::Pressure:
        return units.text(Quantity::Pressure);
    case Measure::Volume:
        return units.text(Quantity::Volume);
    case Measure::Temperature:
        return units.text(Quantity::Temperature);
    case Measure::Energy:
        return units.text(Quantity::Energy);
    case Measure::MolarEnergy:
        return units.text(Quantity::Energy) + "/mol";
    case Measure::Entropy:
        return units.entropy_text();
    case Measure::Amount:
        if (condition.variable == IA) {
            return units.text(Quantity::Amount);
        }
        if (!(condition.value > 0.0)) {
            return "";
        }
        // What a phase weighs is known only when it is there.
        return condition.by_mass ? (units.by_mass() ? units.text(Quantity::Amount) : "gram")
                                 : "mol";
    case Measure::Number:
        break;
    }
    return "";
}

bool same_fraction(const System& system, std::size_t phase, std::size_t index) {
    const std::vector<Constituent>& constituents = system.phases[phase].constituents;
    double size = 0.0;
    for (std::size_t c = 0; c < constituents.size(); ++c) {
        const std::vector<double>& a = constituents[c].stoichiometry;
        double total = 0.0;
        for (double amount : a) {
            total += amount;
        }
        size = c == 0 ? total : size;
        if (total != size || a[index] != (c == index ? total : 0.0)) {
            return false;
        }
    }
    return size > 0.0;
}

} // namespace tessara
