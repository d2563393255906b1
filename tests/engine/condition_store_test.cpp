#include "engine/conditions/condition_store.hpp"

#include "engine/units/constants.hpp"
#include "support.hpp"

#include <gtest/gtest.h>

#include <limits>

namespace tessara::test {
namespace {

using V = ConditionVariable;

/// Components A (10 g/mol), B (20 g/mol), Q (30 g/mol, in no pure record) and electrons of ION.
class ConditionStoreTest : public testing::Test {
protected:
    std::shared_ptr<const System> system =
        DatText({"A", "B", "Q", "e(ION)"})
            .gas("GAS", {{"A", {1, 0, 0, 0}, {}}, {"AB", {1, 1, 0, 0}, {}}})
            .ideal("ION",
                   {{"AQ+", {1, 0, 1, -1}, {}}, {"B-", {0, 1, 0, 1}, {}}, {"AB", {1, 1, 0, 0}, {}}})
            .pure({"B(s)", {0, 1, 0, 0}, {}})
            .read();
    Units units;
    ConditionStore store;

    const Place whole = Place::system();
    const Place gas = Place::of_phase(0);
    const Place gas_a = Place::constituent(0, 0);
    const Place gas_ab = Place::constituent(0, 1);
    const Place a = Place::component(0);
    const Place b = Place::component(1);
    const Place q = Place::component(2);
    const Place electron = Place::component(3);

    int place(V variable, const Place& where, double value) {
        return store.place(*system, units, variable, where, value);
    }
    std::string refusal(V variable, const Place& where, double value) {
        try {
            place(variable, where, value);
        } catch (const ConditionError& error) {
            return error.what();
        }
        return "accepted";
    }
    EquilibriumConditions filled() const {
        EquilibriumConditions conditions;
        store.fill(conditions);
        return conditions;
    }
};

TEST_F(ConditionStoreTest, NumbersConditionsFromOne) {
    EXPECT_EQ(place(V::T, whole, 1000.0), 1);
    EXPECT_EQ(place(V::P, whole, 2.0), 2);
    EXPECT_EQ(place(V::IA, a, 1.0), 3);
}

TEST_F(ConditionStoreTest, KeepsTheNumberOfAPlace) {
    place(V::T, whole, 1000.0);
    EXPECT_EQ(place(V::IA, a, 1.0), 2);
    EXPECT_EQ(place(V::IA, a, 3.0), 2);
    EXPECT_EQ(store.incoming_amount(a), 3.0);
    EXPECT_EQ(store.in_order().size(), 2U);
}

TEST_F(ConditionStoreTest, LetsPressureAndTotalVolumeShareAPlace) {
    EXPECT_EQ(place(V::P, whole, 2.0), 1);
    EXPECT_EQ(place(V::VT, whole, 5.0), 1);
    EXPECT_EQ(store.find(V::P, whole), nullptr);
    ASSERT_NE(store.find(V::VT, whole), nullptr);
    EXPECT_DOUBLE_EQ(store.find(V::VT, whole)->value, 0.005);
}

TEST_F(ConditionStoreTest, LetsAmountActivityAndPotentialShareAPlace) {
    for (const Place& where : {b, gas_a}) {
        const int number = place(V::IA, where, 1.0);
        EXPECT_EQ(place(V::AC, where, 0.5), number);
        EXPECT_EQ(store.incoming_amount(where), 0.0);
        EXPECT_EQ(place(V::MU, where, -1000.0), number);
        EXPECT_EQ(store.find(V::AC, where), nullptr);
        EXPECT_EQ(place(V::IA, where, 2.0), number);
        EXPECT_EQ(store.incoming_amount(where), 2.0);
    }
}

TEST_F(ConditionStoreTest, KeepsTargetsBesideInputsOfOneConstituent) {
    EXPECT_EQ(place(V::IA, gas_a, 1.0), 1);
    EXPECT_EQ(place(V::AT, gas_a, 0.5), 2);
    EXPECT_EQ(place(V::XT, gas_a, 0.5), 3);
    EXPECT_EQ(place(V::XT, Place::component_in_phase(0, 0), 0.5), 4);
}

TEST_F(ConditionStoreTest, RemovesByNumberOnce) {
    place(V::T, whole, 1000.0);
    EXPECT_TRUE(store.remove(1));
    EXPECT_FALSE(store.remove(1));
    EXPECT_TRUE(store.in_order().empty());
}

TEST_F(ConditionStoreTest, DoesNotGiveARemovedNumberAgain) {
    place(V::T, whole, 1000.0);
    store.remove(1);
    EXPECT_EQ(place(V::T, whole, 1000.0), 2);
    store.remove_inputs();
    EXPECT_EQ(place(V::P, whole, 1.0), 3);
}

TEST_F(ConditionStoreTest, RemovesInputsAndGivenPotentialsTogether) {
    place(V::T, whole, 1000.0);
    place(V::IA, a, 1.0);
    place(V::AC, b, 1.0);
    place(V::MU, gas_ab, 1.0);
    place(V::AT, gas_ab, 1.0);
    place(V::A, gas, 0.0);
    store.remove_inputs();
    const std::vector<Condition> left = store.in_order();
    ASSERT_EQ(left.size(), 3U);
    EXPECT_EQ(left[0].variable, V::T);
    EXPECT_EQ(left[1].variable, V::AT);
    EXPECT_EQ(left[2].variable, V::A);
}

TEST_F(ConditionStoreTest, StartsNumbersAgainWhenCleared) {
    place(V::T, whole, 1000.0);
    place(V::P, whole, 1.0);
    store.clear();
    EXPECT_TRUE(store.in_order().empty());
    EXPECT_EQ(place(V::P, whole, 1.0), 1);
}

TEST_F(ConditionStoreTest, KeepsTheStateWhenUnitsChange) {
    units.set(Unit::C);
    units.set(Unit::atm);
    units.set(Unit::kg);
    place(V::T, whole, 726.85);
    place(V::P, whole, 2.0);
    place(V::IA, gas_ab, 0.06); // AB has 30 g/mol
    units = Units();
    EXPECT_DOUBLE_EQ(filled().t, 1000.0);
    EXPECT_DOUBLE_EQ(filled().p, 202650.0);
    EXPECT_DOUBLE_EQ(store.incoming_amount(gas_ab), 2.0);
    EXPECT_DOUBLE_EQ(condition_value(*system, units, *store.find(V::IA, gas_ab)), 2.0);
    EXPECT_EQ(condition_unit(units, *store.find(V::IA, gas_ab)), "mol");
}

TEST_F(ConditionStoreTest, ConvertsEachVariableByItsOwnUnit) {
    units.set(Unit::kJ);
    units.set(Unit::F);
    units.set(Unit::cm3);
    const auto value = [&](V variable, const Place& where, double given) {
        place(variable, where, given);
        return store.find(variable, where)->value;
    };
    EXPECT_DOUBLE_EQ(value(V::H, whole, 2.0), 2000.0);
    EXPECT_DOUBLE_EQ(value(V::G, gas, -2.0), -2000.0);
    EXPECT_DOUBLE_EQ(value(V::S, whole, 1.0), 1800.0);
    EXPECT_DOUBLE_EQ(value(V::CP, gas, 1.0), 1800.0);
    EXPECT_DOUBLE_EQ(value(V::V, gas, 5.0), 5e-6);
    EXPECT_DOUBLE_EQ(value(V::MU, a, 2.0), 2000.0);
    EXPECT_DOUBLE_EQ(value(V::AC, b, 2.0), 2.0);
    EXPECT_DOUBLE_EQ(value(V::XT, gas_a, 0.5), 0.5);
    for (const Condition& condition : store.in_order()) {
        EXPECT_NEAR(condition_value(*system, units, condition),
                    condition.variable == V::V                                  ? 5.0
                    : condition.variable == V::G                                ? -2.0
                    : condition.variable == V::XT                               ? 0.5
                    : condition.variable == V::S || condition.variable == V::CP ? 1.0
                                                                                : 2.0,
                    1e-14);
    }
}

TEST_F(ConditionStoreTest, KeepsTheMassOfAPhaseAsAMass) {
    units.set(Unit::kg);
    place(V::A, gas, 2.0);
    const Condition condition = *store.find(V::A, gas);
    EXPECT_TRUE(condition.by_mass);
    EXPECT_EQ(condition.value, 2000.0);
    EXPECT_EQ(condition_value(*system, units, condition), 2.0);
    EXPECT_EQ(condition_unit(units, condition), "kg");
    EXPECT_EQ(condition_unit(Units(), condition), "gram");
    EXPECT_EQ(condition_value(*system, Units(), condition), 2000.0);
}

TEST_F(ConditionStoreTest, TakesFormationAndPrecipitationWithoutUnit) {
    units.set(Unit::kg);
    place(V::A, gas, -1.0);
    EXPECT_EQ(store.find(V::A, gas)->value, Condition::Precipitation);
    EXPECT_FALSE(store.find(V::A, gas)->by_mass);
    place(V::A, gas, 0.0);
    EXPECT_EQ(store.find(V::A, gas)->value, 0.0);
    EXPECT_FALSE(store.find(V::A, gas)->by_mass);
    EXPECT_EQ(condition_unit(units, *store.find(V::A, gas)), "");
}

TEST_F(ConditionStoreTest, FillsConditionsOfACalculation) {
    place(V::T, whole, 900.0);
    place(V::IA, a, 1.0);
    place(V::IA, gas_a, 2.0);
    place(V::AC, b, 0.5);
    place(V::MU, gas_ab, -1e5);
    place(V::H, whole, 1.0);
    const EquilibriumConditions conditions = filled();
    EXPECT_EQ(conditions.t, 900.0);
    EXPECT_EQ(conditions.p, 1e5); // 1 bar where none is given
    ASSERT_EQ(conditions.amounts.size(), 2U);
    EXPECT_EQ(conditions.amounts[0].phase, IncomingAmount::NoPhase);
    EXPECT_EQ(conditions.amounts[0].index, 0U);
    EXPECT_EQ(conditions.amounts[0].amount, 1.0);
    EXPECT_EQ(conditions.amounts[1].phase, 0U);
    EXPECT_EQ(conditions.amounts[1].amount, 2.0);
    ASSERT_EQ(conditions.potentials.size(), 2U);
    EXPECT_EQ(conditions.potentials[0].kind, GivenPotential::Kind::Activity);
    EXPECT_EQ(conditions.potentials[0].index, 1U);
    EXPECT_EQ(conditions.potentials[1].kind, GivenPotential::Kind::Potential);
    EXPECT_EQ(conditions.potentials[1].phase, 0U);
    EXPECT_EQ(conditions.potentials[1].value, -1e5);
}

TEST_F(ConditionStoreTest, HasNoTemperatureOfItsOwn) {
    EXPECT_EQ(filled().t, 0.0);
}

TEST_F(ConditionStoreTest, SaysWhichConditionsACalculationWithoutTargetUses) {
    for (const V variable : {V::P, V::VT, V::T, V::IA, V::AC, V::MU}) {
        EXPECT_TRUE(ConditionStore::used_without_target(variable)) << condition_name(variable);
    }
    for (const V variable : {V::CP, V::H, V::S, V::G, V::V, V::A, V::AT, V::XT}) {
        EXPECT_FALSE(ConditionStore::used_without_target(variable)) << condition_name(variable);
    }
}

TEST_F(ConditionStoreTest, RefusesPlacesWhereAVariableHasNoMeaning) {
    EXPECT_EQ(refusal(V::T, gas, 1000.0),
              "the condition T (temperature) cannot be placed on a phase, only on the system");
    EXPECT_EQ(refusal(V::A, whole, 1.0),
              "the condition A (amount) cannot be placed on the system, only on a phase");
    EXPECT_EQ(refusal(V::H, a, 1.0), "the condition H (enthalpy) cannot be placed on a system "
                                     "component, only on the system or a phase");
    EXPECT_NE(refusal(V::IA, whole, 1.0), "accepted");
    EXPECT_NE(refusal(V::AC, gas, 1.0), "accepted");
    EXPECT_NE(refusal(V::MU, Place::component_in_phase(0, 0), 1.0), "accepted");
    EXPECT_NE(refusal(V::AT, a, 1.0), "accepted");
    EXPECT_NE(refusal(V::XT, a, 0.5), "accepted");
    EXPECT_NE(refusal(V::VT, gas, 1.0), "accepted");
}

TEST_F(ConditionStoreTest, RefusesValuesThatCannotBe) {
    units.set(Unit::C);
    EXPECT_EQ(refusal(V::T, whole, -300.0),
              "the temperature (T) of the system cannot be -300 C: it must be above absolute zero");
    EXPECT_NE(refusal(V::T, whole, -273.15), "accepted");
    EXPECT_EQ(refusal(V::P, whole, 0.0),
              "the pressure (P) of the system cannot be 0 bar: it must be above zero");
    EXPECT_NE(refusal(V::VT, whole, -1.0), "accepted");
    EXPECT_EQ(refusal(V::AC, b, 0.0),
              "the activity (AC) of component B cannot be 0: it must be above zero");
    EXPECT_NE(refusal(V::AT, gas_a, -0.1), "accepted");
    EXPECT_EQ(refusal(V::XT, gas_a, 1.5), "the target mole fraction (XT) of GAS : A cannot be "
                                          "1.5: a mole fraction is between 0 and 1");
    EXPECT_NE(refusal(V::A, gas, -0.5), "accepted");
    EXPECT_EQ(refusal(V::XT, gas_a, 0.0), "accepted");
    EXPECT_EQ(refusal(V::IA, gas_a, -0.5), "accepted");
}

TEST_F(ConditionStoreTest, RefusesWhatIsNotFinite) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double infinity = std::numeric_limits<double>::infinity();
    for (const double value : {nan, infinity, -infinity}) {
        EXPECT_NE(refusal(V::T, whole, value), "accepted");
        EXPECT_NE(refusal(V::IA, a, value), "accepted");
        EXPECT_NE(refusal(V::H, gas, value), "accepted");
        EXPECT_NE(refusal(V::A, gas, value), "accepted");
        EXPECT_NE(refusal(V::MU, a, value), "accepted");
    }
    units.set(Unit::MPa);
    EXPECT_NE(refusal(V::P, whole, 1e305), "accepted"); // beyond the range of Pa
}

TEST_F(ConditionStoreTest, LeavesEverythingAsItWasWhenItRefuses) {
    place(V::P, whole, 2.0);
    refusal(V::P, whole, -1.0);
    refusal(V::T, whole, -1.0);
    EXPECT_DOUBLE_EQ(filled().p, 2e5);
    EXPECT_EQ(place(V::T, whole, 1000.0), 2);
}

TEST_F(ConditionStoreTest, RefusesTotalVolumeWithoutGas) {
    system = DatText({"A"}).pure({"A(s)", {1}, {}}).read();
    EXPECT_EQ(refusal(V::VT, whole, 1.0), "the total volume (VT) cannot be given: the data file "
                                          "has no gas. Give the pressure (P)");
}

TEST_F(ConditionStoreTest, RefusesActivityOfAComponentWithoutPureRecord) {
    EXPECT_NE(refusal(V::AC, q, 1.0).find("no record made of it alone"), std::string::npos);
    EXPECT_EQ(refusal(V::MU, q, 1.0), "accepted");
    EXPECT_EQ(refusal(V::AC, a, 1.0), "accepted");
}

TEST_F(ConditionStoreTest, TakesOnlyNoElectrons) {
    EXPECT_EQ(refusal(V::IA, electron, 0.0), "accepted");
    EXPECT_NE(refusal(V::IA, electron, 1.0), "accepted");
    EXPECT_NE(refusal(V::MU, electron, 1.0), "accepted");
    EXPECT_NE(refusal(V::AC, electron, 1.0), "accepted");
}

TEST_F(ConditionStoreTest, RefusesAMassOfWhatHasNone) {
    system = DatText({"A", "B"}).pure({"Va", {0, 0}, {}}).pure({"A(s)", {1, 0}, {}}).read();
    units.set(Unit::gram);
    const Place vacancy = Place::constituent(0, 0);
    EXPECT_NE(refusal(V::IA, vacancy, 1.0).find("no molar mass"), std::string::npos);
    EXPECT_EQ(refusal(V::IA, vacancy, 0.0), "accepted");
    units.set(Unit::mol);
    EXPECT_EQ(refusal(V::IA, vacancy, 1.0), "accepted");
}

TEST(SameFraction, HoldsWhereTheConstituentIsTheComponent) {
    // In an alloy of atoms the fractions agree; in a gas with a compound, or where the order
    // differs, they don't.
    const auto system = DatText({"A", "B"})
                            .gas("GAS", {{"A", {1, 0}, {}}, {"AB", {1, 1}, {}}})
                            .ideal("ALLOY", {{"A", {1, 0}, {}}, {"B", {0, 1}, {}}})
                            .ideal("SWAPPED", {{"B", {0, 1}, {}}, {"A", {1, 0}, {}}})
                            .ideal("MOLECULES", {{"A2", {2, 0}, {}}, {"B2", {0, 2}, {}}})
                            .ideal("UNEVEN", {{"A2", {2, 0}, {}}, {"B", {0, 1}, {}}})
                            .read();
    EXPECT_FALSE(same_fraction(*system, 0, 0));
    EXPECT_FALSE(same_fraction(*system, 0, 1));
    EXPECT_TRUE(same_fraction(*system, 1, 0));
    EXPECT_TRUE(same_fraction(*system, 1, 1));
    EXPECT_FALSE(same_fraction(*system, 2, 0));
    EXPECT_TRUE(same_fraction(*system, 3, 1));
    EXPECT_FALSE(same_fraction(*system, 4, 0));
}

TEST(PlaceText, UsesTheNamesOfTheSystem) {
    const auto system = DatText({"A", "B"}).gas("GAS", {{"AB", {1, 1}, {}}}).read();
    EXPECT_EQ(place_text(*system, Place::system()), "system");
    EXPECT_EQ(place_text(*system, Place::component(1)), "component B");
    EXPECT_EQ(place_text(*system, Place::of_phase(0)), "phase GAS");
    EXPECT_EQ(place_text(*system, Place::constituent(0, 0)), "GAS : AB");
    EXPECT_EQ(place_text(*system, Place::component_in_phase(0, 1)), "component B in GAS");
}

} // namespace
} // namespace tessara::test
