#include "engine/units/units.hpp"

namespace tessara {
namespace {

using enum Quantity;

// The bar, the atmosphere, the torr, the calorie (thermochemical), the kilowatt-hour, the pound,
// the inch and what follows from them (foot, BTU of the International Table, psi) are defined by
// numbers of SI units; none of them is a measured value. The psi and the BTU are given to the
// digits that are usual.
constexpr std::array Table{
    UnitDescription{Unit::bar, "bar", Pressure, 1e5},
    UnitDescription{Unit::Pa, "Pa", Pressure, 1.0},
    UnitDescription{Unit::kPa, "kPa", Pressure, 1e3},
    UnitDescription{Unit::MPa, "MPa", Pressure, 1e6},
    UnitDescription{Unit::atm, "atm", Pressure, 101325.0},
    UnitDescription{Unit::psi, "psi", Pressure, 6894.757293168},
    UnitDescription{Unit::torr, "torr", Pressure, 101325.0, 760.0},
    UnitDescription{Unit::dm3, "dm3", Volume, 1.0, 1e3},
    UnitDescription{Unit::m3, "m3", Volume, 1.0},
    UnitDescription{Unit::cm3, "cm3", Volume, 1.0, 1e6},
    UnitDescription{Unit::ft3, "ft3", Volume, 28.316846592, 1e3},
    UnitDescription{Unit::in3, "in3", Volume, 16.387064, 1e6},
    UnitDescription{Unit::K, "K", Temperature, 1.0},
    UnitDescription{Unit::C, "C", Temperature, 1.0, 1.0, 273.15},
    UnitDescription{Unit::F, "F", Temperature, 5.0, 9.0, 459.67},
    UnitDescription{Unit::J, "J", Energy, 1.0},
    UnitDescription{Unit::kJ, "kJ", Energy, 1e3},
    UnitDescription{Unit::MJ, "MJ", Energy, 1e6},
    UnitDescription{Unit::cal, "cal", Energy, 4.184},
    UnitDescription{Unit::kcal, "kcal", Energy, 4184.0},
    UnitDescription{Unit::BTU, "BTU", Energy, 1055.05585262},
    UnitDescription{Unit::kWh, "kWh", Energy, 3.6e6},
    UnitDescription{Unit::mol, "mol", Quantity::Amount, 1.0},
    UnitDescription{Unit::gram, "gram", Quantity::Amount, 1.0},
    UnitDescription{Unit::kg, "kg", Quantity::Amount, 1e3},
    UnitDescription{Unit::tonne, "tonne", Quantity::Amount, 1e6},
    UnitDescription{Unit::pound, "pound", Quantity::Amount, 453.59237},
};

constexpr bool in_order() {
    for (std::size_t k = 0; k < Table.size(); ++k) {
        if (static_cast<std::size_t>(Table[k].unit) != k) {
            return false;
        }
    }
    return Table.back().unit == Unit::pound;
}
static_assert(in_order(), "each unit has its row");

} // namespace

std::span<const UnitDescription> unit_table() {
    return Table;
}

const UnitDescription& describe(Unit unit) {
    return Table[static_cast<std::size_t>(unit)];
}

std::string_view quantity_name(Quantity quantity) {
    static constexpr std::array<std::string_view, QuantityCount> names{
        "pressure", "volume", "temperature", "energy", "amount"};
    return names[static_cast<std::size_t>(quantity)];
}

double Units::to_engine(Quantity quantity, double value) const {
    const UnitDescription& unit = describe(of(quantity));
    return (value + unit.shift) * unit.numerator / unit.denominator;
}

double Units::from_engine(Quantity quantity, double value) const {
    const UnitDescription& unit = describe(of(quantity));
    return value * unit.denominator / unit.numerator - unit.shift;
}

double Units::entropy_to_engine(double value) const {
    const UnitDescription& degree = describe(of(Temperature));
    return to_engine(Energy, value) * degree.denominator / degree.numerator;
}

double Units::entropy_from_engine(double value) const {
    const UnitDescription& degree = describe(of(Temperature));
    return from_engine(Energy, value) * degree.numerator / degree.denominator;
}

double Units::to_mol(double amount, double molar_mass) const {
    return by_mass() ? mass_to_gram(amount) / molar_mass : amount;
}

double Units::mass_to_gram(double mass) const {
    return mass * describe(of(Quantity::Amount)).numerator;
}

double Units::from_engine(const tessara::Amount& amount) const {
    return by_mass() ? amount.gram / describe(of(Quantity::Amount)).numerator : amount.mol;
}

double Units::molar_mass(double gram_per_mol) const {
    return gram_per_mol / describe(of(Quantity::Amount)).numerator;
}

std::string Units::text(Quantity quantity) const {
    return std::string(describe(of(quantity)).name);
}

std::string Units::entropy_text() const {
    return text(Energy) + "/" + text(Temperature);
}

std::string Units::molar_mass_text() const {
    return (by_mass() ? text(Quantity::Amount) : "gram") + "/mol";
}

} // namespace tessara
