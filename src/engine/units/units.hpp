#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <string>
#include <string_view>

namespace tessara {

/// A kind of quantity that has a unit.
enum class Quantity { Pressure, Volume, Temperature, Energy, Amount };
inline constexpr std::size_t QuantityCount = 5;

/// All units, quantity after quantity.
enum class Unit {
    // clang-format off
    bar, Pa, kPa, MPa, atm, psi, torr,
    dm3, m3, cm3, ft3, in3,
    K, C, F,
    J, kJ, MJ, cal, kcal, BTU, kWh,
    mol, gram, kg, tonne, pound,
    // clang-format on
};

/// A unit over the one that the engine computes in: `engine = (value + shift) * numerator /
/// denominator`. A ratio of two numbers keeps exact what is exact.
///
/// The engine's units are Pa, m3, K, J, and mol or, for the units of mass, gram.
struct UnitDescription {
    Unit unit;
    std::string_view name;
    Quantity quantity;
    double numerator;
    double denominator = 1.0;
    double shift = 0.0; ///< temperatures only
};

/// All units in the order of `Unit`.
std::span<const UnitDescription> unit_table();

const UnitDescription& describe(Unit unit);
std::string_view quantity_name(Quantity quantity);

/// An amount of something, counted and weighed.
struct Amount {
    double mol = 0.0;
    double gram = 0.0;
};

/// The units in force, and the conversion of numbers between them and the engine's units.
class Units {
public:
    Unit of(Quantity quantity) const { return units_[static_cast<std::size_t>(quantity)]; }

    /// Puts a unit in force for its quantity.
    void set(Unit unit) { units_[static_cast<std::size_t>(describe(unit).quantity)] = unit; }

    /// Pressures, volumes, temperatures on their scale, and energies.
    double to_engine(Quantity quantity, double value) const;
    double from_engine(Quantity quantity, double value) const;

    /// Entropies and heat capacities: energy per degree of the temperature unit. A difference of
    /// temperature has no offset.
    double entropy_to_engine(double value) const;
    double entropy_from_engine(double value) const;

    /// Whether amounts are masses.
    bool by_mass() const { return of(Quantity::Amount) != Unit::mol; }
    /// Moles of an amount in the unit in force; `molar_mass` in g/mol. Infinite or nan where a mass
    /// of something without mass is asked for.
    double to_mol(double amount, double molar_mass) const;
    double mass_to_gram(double mass) const;
    double from_engine(const Amount& amount) const;
    /// A molar mass, from g/mol: in g/mol under moles, else in the unit of mass per mole.
    double molar_mass(double gram_per_mol) const;

    /// For the heads of tables: "bar", "J/K", "g/mol".
    std::string text(Quantity quantity) const;
    std::string entropy_text() const;
    std::string molar_mass_text() const;

    friend bool operator==(const Units&, const Units&) = default;

private:
    std::array<Unit, QuantityCount> units_{Unit::bar, Unit::dm3, Unit::K, Unit::J, Unit::mol};
};

} // namespace tessara
