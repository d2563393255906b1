#pragma once

#include "engine/conditions/equilibrium_conditions.hpp"
#include "engine/conditions/place.hpp"
#include "engine/units/units.hpp"

#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <vector>

namespace tessara {

/// A condition that cannot be placed: what was asked, what is wrong and what to do.
class ConditionError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// What a condition is placed on.
enum class ConditionVariable { P, VT, T, CP, H, S, G, V, A, IA, AC, MU, AT, XT };

std::string_view condition_name(ConditionVariable variable);

/// A condition as it was placed. It keeps its meaning when the units change.
struct Condition {
    /// Value of the condition `A` that asks for a further phase to form from the one it is on;
    /// 0.0 asks for the phase itself to form.
    static constexpr double Precipitation = -1.0;

    int number = 0;
    ConditionVariable variable = ConditionVariable::T;
    Place place;
    double value = 0.0; ///< in the engine's units
    /// The amount of a phase was given as a mass, `value` is in gram. Its moles depend on what the
    /// phase will be made of.
    bool by_mass = false;
};

/// The conditions in force, each under its number.
///
/// Conditions that exclude each other share a number: P and VT; IA, AC and MU of one component or
/// constituent; the forms of A of one phase. Placing one replaces the other. Numbers count from 1
/// and are not given again until all conditions are cleared.
class ConditionStore {
public:
    /// A store that shares its numbers with others made with the same counter.
    explicit ConditionStore(std::shared_ptr<int> last_number = std::make_shared<int>(0))
        : last_number_(std::move(last_number)) {}

    /// The pressure of a calculation for which none is placed, Pa.
    static constexpr double DefaultPressure = 1.0e5;

    /// Places a condition, its value in the units given, and returns its number. Throws
    /// `ConditionError` where variable, place and value do not go together; nothing changes then.
    int place(const System& system, const Units& units, ConditionVariable variable,
              const Place& place, double value);

    /// Removes the condition with the number; says whether there was one.
    bool remove(int number);
    /// Removes all conditions on incoming amounts, given activities and given potentials.
    void remove_inputs();
    /// Removes all conditions; numbers start again, of all stores that share them.
    void clear();

    /// The condition on the variable, if it is the one in force on its place.
    const Condition* find(ConditionVariable variable, const Place& place) const;
    /// All conditions by rising number.
    std::vector<Condition> in_order() const;

    /// The incoming amount placed on a component or constituent, mol; 0.0 where there is none.
    double incoming_amount(const Place& place) const;

    /// Whether a calculation without target makes use of conditions on the variable.
    static bool used_without_target(ConditionVariable variable);

    /// Puts temperature, pressure, amounts and potentials into `conditions`. Where none is placed
    /// the temperature is 0 and the pressure the default.
    void fill(EquilibriumConditions& conditions) const;

private:
    /// Conditions in one slot exclude each other.
    struct Slot {
        ConditionVariable shares; ///< stands for all variables that share a place
        Place place;
        friend auto operator<=>(const Slot&, const Slot&) = default;
    };
    static Slot slot(ConditionVariable variable, const Place& place);

    // Sorted by place, so that a calculation does not depend on the order of placing.
    std::map<Slot, Condition> conditions_;
    std::shared_ptr<int> last_number_;
};

/// The conditions that a search can be asked to meet: all but what is placed from outside.
std::vector<Condition> requirements(const ConditionStore& conditions);

/// The value of a condition in the units given.
double condition_value(const System& system, const Units& units, const Condition& condition);
/// The unit of that value, empty for numbers without unit.
std::string condition_unit(const Units& units, const Condition& condition);

/// Whether the index of a target fraction means the same number read as that of a constituent of
/// the phase and as that of a component: the constituent is the only one that holds the component,
/// and it is made of it alone.
bool same_fraction(const System& system, std::size_t phase, std::size_t index);

} // namespace tessara
