#include <array>
#include <iterator>
#include <string>

#include "friendly/information/information.hpp"
#include "friendly/library/binding.hpp"
#include "friendly/shapes.hpp"

// The units are the library's. What is derived from the loaded system depends on them, so each
// change of units has it rebuilt.

namespace tessara::friendly::information {

namespace {

/// A quantity that has a unit.
struct Unit {
    const Name& key;         ///< in the dict, and as a parameter of `set`
    const Name& quantity;    ///< member of `Quantity`
    const Name& enumeration; ///< of its units
    const Name& standard;    ///< the unit that `set` takes unless told otherwise
    const char* setter;
    const char* getter;
    const char* line; ///< of the listing
    const char* word;
};

constexpr Unit units_of_quantities[] = {
    {names::P, names::Pressure, names::PressureUnit, names::atm, "set_P_unit", "get_P_unit",
     "Pressure:    %s\n", "pressure"},
    {names::V, names::Volume, names::VolumeUnit, names::m3, "set_V_unit", "get_V_unit",
     "Volume:      %s\n", "volume"},
    {names::T, names::Temperature, names::TemperatureUnit, names::C, "set_T_unit", "get_T_unit",
     "Temperature: %s\n", "temperature"},
    {names::E, names::Energy, names::EnergyUnit, names::kWh, "set_E_unit", "get_E_unit",
     "Energy:      %s\n", "energy"},
    {names::A, names::Amount, names::AmountUnit, names::kg, "set_A_unit", "get_A_unit",
     "Amount:      %s\n", "amount"},
};
constexpr std::size_t UnitCount = std::size(units_of_quantities);

void change(const Name& quantity, PyObject* unit) {
    call_operation(names::hxcsu, Member{names::Quantity, quantity}, unit);
}

Ref in_force(const Name& quantity) {
    return call_operation(names::hxgsu, Member{names::Quantity, quantity});
}

void refresh_system() {
    call_method(global(names::ThermochemicalSystem), names::_update);
}

constexpr const char* set_text = R"(Sets all five units.

A parameter that is left out sets its quantity to the default and does not leave it as it is; to
change one unit alone there is a setter for each. What is derived from the loaded system is rebuilt,
once. Loading a data file puts the units back to bar, dm3, K, J and mol.

Parameters:
    P: member of `PressureUnit`.
    V: member of `VolumeUnit`.
    T: member of `TemperatureUnit`.
    E: member of `EnergyUnit`.
    A: member of `AmountUnit`.

Raises:
    TessaraError: the library refuses a unit. Those before it in this order are changed then, and
        nothing is rebuilt.)";

/// All units first, so that the system is rebuilt once and not five times.
Ref set(PyObject*, PyObject* P, PyObject* V, PyObject* T, PyObject* E, PyObject* A) {
    const std::array<PyObject*, UnitCount> given{P, V, T, E, A};
    for (std::size_t i = 0; i < UnitCount; ++i) {
        change(units_of_quantities[i].quantity, given[i]);
    }
    refresh_system();
    return none();
}

Ref use_tessara_defaults(PyObject* cls) {
    const Ref callee = attribute(cls, names::set);
    std::array<Ref, UnitCount> standard;
    for (std::size_t i = 0; i < UnitCount; ++i) {
        const Unit& unit = units_of_quantities[i];
        standard[i] = evaluated(Member{unit.enumeration, unit.standard});
    }
    const auto& [P, V, T, E, A] = standard;
    call_with_keywords(callee, Keyword{names::P, P}, Keyword{names::V, V}, Keyword{names::T, T},
                       Keyword{names::E, E}, Keyword{names::A, A});
    return none();
}

Ref set_unit(const Name& quantity, PyObject*, PyObject* unit) {
    change(quantity, unit);
    refresh_system();
    return none();
}

std::string setter_description(const Unit& unit) {
    return std::string("Sets the unit of ") + unit.word +
           ".\n\nThe other units stay. What is derived from the loaded system is rebuilt.\n\n"
           "Parameters:\n    unit: member of `" +
           unit.enumeration.text() +
           "`.\n\nRaises:\n    TessaraError: the library refuses the unit; nothing is rebuilt "
           "then.";
}

constexpr const char* get_text = R"(The units in force.

Returns:
    A new dict with the keys "P", "V", "T", "E" and "A", in this order: members of `PressureUnit`,
    `VolumeUnit`, `TemperatureUnit`, `EnergyUnit` and `AmountUnit`. A later change of units does not
    alter it.)";

Ref get(PyObject*) {
    Ref result = new_dict();
    for (const Unit& unit : units_of_quantities) {
        set_item(result, unit.key, in_force(unit.quantity));
    }
    return result;
}

Ref get_unit(const Name& quantity, PyObject*) {
    return in_force(quantity);
}

std::string getter_description(const Unit& unit) {
    return std::string("The unit of ") + unit.word + " in force.\n\nReturns:\n    A member of `" +
           unit.enumeration.text() + "`.";
}

constexpr const char* get_str_text = R"(The units in force as a listing.

Returns:
    A `str` of seven lines: heading, underline, and a line for pressure, volume, temperature, energy
    and amount each, with the name of the unit.)";

Ref get_str(PyObject*) {
    Ref listing = text("Units Currently Used by Tessara\n"
                       "===============================\n");
    for (const Unit& unit : units_of_quantities) {
        append_text(listing, percent(unit.line, attribute(in_force(unit.quantity), names::name)));
    }
    return listing;
}

} // namespace

ClassDefinition units() {
    ClassDefinition definition{
        "Units",
        nullptr,
        R"(Static class: units of measure.

Gives access to functions that perform tasks related to the units of measure in which the library
takes and gives numbers. All methods are class methods, and the class need not be instantiated.)",
        {},
        {
            method<shapes::cls_P_V_T_E_A, set>("set", set_text),
            method<shapes::cls, use_tessara_defaults>("use_tessara_defaults", ""),
        }};
    std::vector<Method>& methods = definition.methods;
    for (const Unit& unit : units_of_quantities) {
        methods.push_back(method<shapes::cls_unit, set_unit>(unit.setter, setter_description(unit),
                                                             &unit.quantity));
    }
    methods.push_back(method<shapes::cls, get>("get", get_text));
    for (const Unit& unit : units_of_quantities) {
        methods.push_back(
            method<shapes::cls, get_unit>(unit.getter, getter_description(unit), &unit.quantity));
    }
    methods.push_back(method<shapes::cls, get_str>("get_str", get_str_text));
    return definition;
}

} // namespace tessara::friendly::information
