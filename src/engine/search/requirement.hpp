#pragma once

#include "engine/conditions/condition_store.hpp"
#include "engine/equilibrium/properties.hpp"
#include "engine/search/path_solver.hpp"

#include <memory>
#include <string>

namespace tessara {

/// What a search is to reach: a target, or a value of CP, H, S, G, V or of the amount of a phase.
class Requirement {
public:
    /// `base` is what the system's CP, H, S, G and V are counted from, the input of streams.
    Requirement(const System& system, const Condition& condition,
                const ThermalProperties& base = {});

    const Condition& condition() const { return condition_; }

    /// A phase that just forms, or from which another just forms: what is searched for is a change
    /// of phases, not a value.
    bool is_transition() const;
    /// Whether it is a property of a closed system that rises with the temperature whatever reacts:
    /// its heat capacity at given pressure is never below zero.
    bool rises_with_temperature() const;
    /// Whether a change of phases is the one wanted, and at which of its two limits.
    enum class Limit { None, Below, Above };
    Limit limit_wanted(const Transition& transition) const;

    /// How far a state is from the value wanted, with a sign; nan where it has no such value.
    double measure(const Equilibrium& equilibrium, const TemperatureTerms& at);
    /// The value that a measure stands for, in the engine's units.
    double value_at(double measure) const;

private:
    double property(const Equilibrium& equilibrium, const TemperatureTerms& at);
    double log_activity(const Equilibrium& equilibrium, const TemperatureTerms& at) const;
    double fraction(const Equilibrium& equilibrium) const;
    double amount(const PhaseResult& phase) const;

    const System* system_;
    Condition condition_;
    ThermalProperties base_;
    std::unique_ptr<PropertyTable> properties_;
};

} // namespace tessara
