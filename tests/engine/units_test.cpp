#include "engine/units/units.hpp"

#include <gtest/gtest.h>

#include <cmath>

namespace tessara {
namespace {

/// A number in a unit and the same in the engine's unit.
struct Equivalent {
    Unit unit;
    double value;
    double engine;
};

void PrintTo(const Equivalent& equivalent, std::ostream* out) {
    *out << describe(equivalent.unit).name;
}

class UnitConversion : public testing::TestWithParam<Equivalent> {};

TEST_P(UnitConversion, GoesBothWays) {
    const auto& [unit, value, engine] = GetParam();
    const Quantity quantity = describe(unit).quantity;
    Units units;
    units.set(unit);
    EXPECT_DOUBLE_EQ(units.to_engine(quantity, value), engine);
    EXPECT_NEAR(units.from_engine(quantity, engine), value, 4e-16 * std::abs(engine) + 1e-15);
}

// Definitions: 1 atm = 101325 Pa = 760 torr, 1 in = 2.54 cm, 1 ft = 12 in,
// 0 C = 273.15 K, 0 F = 459.67 F above absolute zero with 5/9 K each, thermochemical calorie.
INSTANTIATE_TEST_SUITE_P(
    Definitions, UnitConversion,
    testing::Values(Equivalent{Unit::bar, 1.01325, 101325.0}, Equivalent{Unit::Pa, 7.0, 7.0},
                    Equivalent{Unit::kPa, 101.325, 101325.0},
                    Equivalent{Unit::MPa, 0.101325, 101325.0}, Equivalent{Unit::atm, 2.0, 202650.0},
                    Equivalent{Unit::torr, 760.0, 101325.0},
                    Equivalent{Unit::psi, 1.0, 6894.757293168}, Equivalent{Unit::dm3, 1000.0, 1.0},
                    Equivalent{Unit::m3, 3.0, 3.0}, Equivalent{Unit::cm3, 1e6, 1.0},
                    Equivalent{Unit::ft3, 1.0, std::pow(12 * 0.0254, 3)},
                    Equivalent{Unit::in3, 1.0, std::pow(0.0254, 3)},
                    Equivalent{Unit::K, 298.15, 298.15}, Equivalent{Unit::C, 25.0, 298.15},
                    Equivalent{Unit::F, 212.0, 373.15}, Equivalent{Unit::F, -459.67, 0.0},
                    Equivalent{Unit::J, 5.0, 5.0}, Equivalent{Unit::kJ, 5.0, 5000.0},
                    Equivalent{Unit::MJ, 5.0, 5e6}, Equivalent{Unit::cal, 1.0, 4.184},
                    Equivalent{Unit::kcal, 1.0, 4184.0},
                    // 4.1868 J/g of water, per pound and degree Fahrenheit.
                    Equivalent{Unit::BTU, 1.0, 4186.8 * 0.45359237 * 5.0 / 9.0},
                    Equivalent{Unit::kWh, 1.0, 3600.0 * 1000.0}));

TEST(Units, GiveThePsiToTheUsualDigits) {
    Units units;
    units.set(Unit::psi);
    const double definition = 0.45359237 * 9.80665 / (0.0254 * 0.0254); // lbf over square inch
    EXPECT_NEAR(units.to_engine(Quantity::Pressure, 1.0), definition, 1e-9);
}

class UnitOfMass : public testing::TestWithParam<Equivalent> {};

TEST_P(UnitOfMass, TakesAndGivesMolesByTheMolarMass) {
    const auto& [unit, mass, gram] = GetParam();
    Units units;
    units.set(unit);
    const double molar_mass = 55.845;
    EXPECT_TRUE(units.by_mass());
    EXPECT_DOUBLE_EQ(units.to_mol(mass, molar_mass), gram / molar_mass);
    EXPECT_DOUBLE_EQ(units.from_engine(Amount{gram / molar_mass, gram}), mass);
    EXPECT_DOUBLE_EQ(units.molar_mass(molar_mass), molar_mass * mass / gram);
}

INSTANTIATE_TEST_SUITE_P(Definitions, UnitOfMass,
                         testing::Values(Equivalent{Unit::gram, 3.0, 3.0},
                                         Equivalent{Unit::kg, 3.0, 3000.0},
                                         Equivalent{Unit::tonne, 3.0, 3e6},
                                         Equivalent{Unit::pound, 1.0, 453.59237}));

TEST(Units, StartWithBarCubicDecimetreKelvinJouleAndMole) {
    const Units units;
    EXPECT_EQ(units.of(Quantity::Pressure), Unit::bar);
    EXPECT_EQ(units.of(Quantity::Volume), Unit::dm3);
    EXPECT_EQ(units.of(Quantity::Temperature), Unit::K);
    EXPECT_EQ(units.of(Quantity::Energy), Unit::J);
    EXPECT_EQ(units.of(Quantity::Amount), Unit::mol);
}

TEST(Units, LeaveMolesAndGramPerMoleAlone) {
    const Units units;
    EXPECT_FALSE(units.by_mass());
    EXPECT_EQ(units.to_mol(2.5, 55.845), 2.5);
    EXPECT_EQ(units.from_engine(Amount{2.5, 139.6}), 2.5);
    EXPECT_EQ(units.molar_mass(55.845), 55.845);
}

TEST(Units, GiveEntropiesPerDegreeWithoutOffset) {
    Units units;
    units.set(Unit::C);
    EXPECT_DOUBLE_EQ(units.entropy_from_engine(100.0), 100.0);
    units.set(Unit::F);
    EXPECT_DOUBLE_EQ(units.entropy_from_engine(90.0), 50.0);
    EXPECT_DOUBLE_EQ(units.entropy_to_engine(50.0), 90.0);
    units.set(Unit::kJ);
    EXPECT_DOUBLE_EQ(units.entropy_from_engine(90.0), 0.05);
}

TEST(Units, ChangeOneQuantityAtATime) {
    Units units;
    units.set(Unit::atm);
    units.set(Unit::kg);
    EXPECT_EQ(units.of(Quantity::Pressure), Unit::atm);
    EXPECT_EQ(units.of(Quantity::Volume), Unit::dm3);
    EXPECT_EQ(units.of(Quantity::Amount), Unit::kg);
}

TEST(Units, NameThemselvesForHeadsOfTables) {
    Units units;
    EXPECT_EQ(units.text(Quantity::Volume), "dm3");
    EXPECT_EQ(units.entropy_text(), "J/K");
    EXPECT_EQ(units.molar_mass_text(), "gram/mol");
    units.set(Unit::kg);
    units.set(Unit::F);
    units.set(Unit::kWh);
    EXPECT_EQ(units.entropy_text(), "kWh/F");
    EXPECT_EQ(units.molar_mass_text(), "kg/mol");
}

TEST(UnitTable, HasEachNameOncePerQuantity) {
    for (const UnitDescription& a : unit_table()) {
        EXPECT_FALSE(a.name.empty());
        for (const UnitDescription& b : unit_table()) {
            EXPECT_TRUE(&a == &b || a.quantity != b.quantity || a.name != b.name) << a.name;
        }
    }
}

} // namespace
} // namespace tessara
