#pragma once

#include "engine/conditions/equilibrium_conditions.hpp"
#include "engine/conditions/place.hpp"
#include "engine/equilibrium/equilibrium.hpp"
#include "engine/equilibrium/properties.hpp"
#include "engine/units/units.hpp"

#include <memory>
#include <string_view>
#include <vector>

namespace tessara {

/// What can be asked of an equilibrium. Incoming amounts (`IA`) are not a result; they are listed
/// because they are asked for in the same way.
enum class ResultVariable {
    // clang-format off
    P, VT, T, A, AP, X, XP, IA, AC, MU, CP, H, S, G, V, CPM, HM, SM, GM, VM,
    // clang-format on
};

std::string_view result_name(ResultVariable variable);

/// The values of one equilibrium, in the units that are in force when they are asked for.
///
/// What has no value is nan: potentials that the stable phases leave open, values per amount of
/// what cannot form, the activity of a component without a pure record.
class Results {
public:
    explicit Results(std::shared_ptr<const System> system);

    /// Takes up a result. `equilibrium` must stay as it is until the next call; the rest is copied.
    /// The system's CP, H, S, G and V are told as changes against `input`, that of streams.
    void take(const Equilibrium& equilibrium, const EquilibriumConditions& conditions,
              const TemperatureTerms& at, const ThermalProperties& input = {});

    const Equilibrium& equilibrium() const { return *equilibrium_; }
    /// The conditions of the calculation, in the engine's units.
    const EquilibriumConditions& conditions() const { return conditions_; }

    /// Whether there is such a result on places of this kind.
    static bool has(ResultVariable variable, Place::Kind kind);

    /// The value of a variable on a place where it exists; not `IA`.
    double value(ResultVariable variable, const Place& place, const Units& units);

    /// Amount and fractions of one composition of a phase.
    struct SetValues {
        double amount = 0.0;
        std::vector<double> fractions;
    };
    /// The compositions that a present phase consists of; none for an absent one.
    std::vector<SetValues> sets(std::size_t phase, const Units& units) const;
    /// Site, pair and quadruplet fractions of each of the phase's compositions, or of that at which
    /// an absent phase comes nearest to forming; none where its model has no internal variables or
    /// it has no composition.
    std::vector<std::vector<NamedFractions>> internal_fractions(std::size_t phase) const;

private:
    /// What there is of something: of a whole, and per mole of it in gram.
    struct Size {
        double mol = 0.0;
        double molar_mass = 0.0;
        Amount amount() const { return {mol, mol == 0.0 ? 0.0 : mol * molar_mass}; }
    };

    Size size(const Place& place) const;
    double share(const Place& place, const Units& units) const;
    double activity(const Place& place);
    double potential(const Place& place) const;
    double thermal(std::size_t column, bool per_amount, const Place& place, const Units& units);

    void fill_phases();
    void fill_components();
    void fill_properties();
    void fill_activities();
    void fill_component_activities();
    bool can_never_form(std::size_t phase, std::size_t constituent) const;

    std::shared_ptr<const System> system_;
    const Equilibrium* equilibrium_ = nullptr;
    EquilibriumConditions conditions_;
    TemperatureTerms terms_;

    std::vector<char> available_; ///< whether there is anything of a component
    Amount total_;                ///< of the phases
    Amount component_total_;      ///< of the components
    /// g per mole of each phase at its composition.
    std::vector<double> phase_masses_;
    /// Moles of each component in a mole of each phase, and their sum.
    std::vector<double> phase_components_;
    std::vector<Amount> phase_component_totals_;

    // Worked out when they are first asked for.
    ThermalProperties input_;
    PropertyTable properties_;
    bool has_properties_ = false;
    std::vector<std::vector<double>> activities_;
    bool has_activities_ = false;
    std::vector<double> component_activities_;
    bool has_component_activities_ = false;
};

} // namespace tessara
