#pragma once

#include "engine/data/system.hpp"
#include "engine/equilibrium/equilibrium.hpp"
#include "engine/equilibrium/relaxed_thermal.hpp"

#include <memory>
#include <vector>

namespace tessara {

/// Heat capacity J/K, enthalpy J, entropy J/K, Gibbs energy J and volume m^3, of a mole or in all.
struct ThermalProperties {
    double cp = 0.0;
    double h = 0.0;
    double s = 0.0;
    double g = 0.0;
    double v = 0.0;

    ThermalProperties& operator+=(const ThermalProperties& other);
    friend ThermalProperties operator*(double factor, const ThermalProperties& of);
};

/// The thermal properties of an equilibrium.
///
/// Those of a constituent are its partial quantities, derivatives of its potential at fixed amounts
/// of all constituents of the phase: h = -T^2 d(mu/T)/dT, s = -d(mu)/dT, cp = dh/dT, v = d(mu)/dP;
/// weighted with the amounts they sum to the phase's. Heat capacities are those at fixed amounts
/// of all phases and constituents; what these leave open in a phase (see `RelaxedThermal`) follows
/// its own equilibrium. An absent phase has the properties of the composition that comes
/// nearest to forming; what cannot form has nan throughout.
class PropertyTable {
public:
    explicit PropertyTable(const System& system);

    /// Works the properties out. `at` must be set to the temperature of the equilibrium.
    void fill(const Equilibrium& equilibrium, const TemperatureTerms& at);

    /// Of the whole system, in all.
    const ThermalProperties& system() const { return total_; }
    /// Sum of the phases' amounts, mol.
    double amount() const { return amount_; }
    /// Of one mole of a phase.
    const ThermalProperties& phase(std::size_t i) const { return phases_[i].molar; }
    /// Partial ones of a constituent, per mole.
    const ThermalProperties& constituent(std::size_t i, std::size_t c) const {
        return phases_[i].constituents[c];
    }

private:
    struct OfPhase {
        ThermalProperties molar;
        std::vector<ThermalProperties> constituents;
        std::vector<std::size_t> active; ///< the constituents that the evaluator was made for
        std::unique_ptr<PhaseEvaluator> evaluator;
    };

    void fill_pure(std::size_t i, const TemperatureTerms& at);
    void fill_mixture(std::size_t i, const Equilibrium& equilibrium, const TemperatureTerms& at);
    void add_set(std::size_t i, double amount, std::span<const double> x,
                 std::span<const double> log_x, const TemperatureTerms& at);
    void add_internal_set(std::size_t i, double amount, std::span<const double> y,
                          std::span<const double> log_y, const TemperatureTerms& at,
                          double pressure);
    void add_constituent(std::size_t i, std::size_t k, double amount,
                         const ThermalProperties& partial);
    void add_whole(std::size_t i, double amount, const ThermalProperties& molar);

    const System* system_;
    std::vector<OfPhase> phases_;
    ThermalProperties total_;
    double amount_ = 0.0;
    double set_amount_ = 0.0;
    std::vector<double> x_, log_x_, volumes_, constituent_amounts_;
    std::vector<ThermalValue> partial_, of_constituents_;
    RelaxedThermal relaxed_;
};

} // namespace tessara
