#include "basic/members.hpp"

#include "basic/python/objects.hpp"
#include "engine/conditions/condition_store.hpp"
#include "engine/models/model.hpp"
#include "engine/results/results.hpp"
#include "engine/units/units.hpp"

#include <stdexcept>

namespace tessara::basic {
namespace {

using Names = std::vector<std::string>;

/// Names in the order of the enumerators, from the function that gives the name of each.
template <class Enumerator, class Name>
Names names_up_to(Enumerator last, const Name& name) {
    Names names;
    for (int k = 0; k <= static_cast<int>(last); ++k) {
        names.emplace_back(name(static_cast<Enumerator>(k)));
    }
    return names;
}

struct EnumerationDescription {
    Enumeration enumeration;
    const char* name;
    int first; ///< number of the first member
    Names members;
};

EnumerationDescription units_of(Enumeration enumeration, const char* name, Quantity quantity) {
    EnumerationDescription description{enumeration, name, -1, {}};
    for (const UnitDescription& unit : unit_table()) {
        if (unit.quantity == quantity) {
            if (description.first < 0) {
                description.first = static_cast<int>(unit.unit);
            }
            description.members.emplace_back(unit.name);
        }
    }
    return description;
}

std::vector<EnumerationDescription> enumerations() {
    std::vector<EnumerationDescription> list;
    list.push_back({Enumeration::IoOption, "IoOption", 0, {"ERROR", "LIST"}});
    list.push_back({Enumeration::Quantity,
                    "Quantity",
                    0,
                    {"Pressure", "Volume", "Temperature", "Energy", "Amount"}});
    list.push_back(units_of(Enumeration::PressureUnit, "PressureUnit", Quantity::Pressure));
    list.push_back(units_of(Enumeration::VolumeUnit, "VolumeUnit", Quantity::Volume));
    list.push_back(
        units_of(Enumeration::TemperatureUnit, "TemperatureUnit", Quantity::Temperature));
    list.push_back(units_of(Enumeration::EnergyUnit, "EnergyUnit", Quantity::Energy));
    list.push_back(units_of(Enumeration::AmountUnit, "AmountUnit", Quantity::Amount));
    list.push_back({Enumeration::Status, "Status", 0, {"ENTERED", "DORMANT", "ELIMINATED"}});
    list.push_back(
        {Enumeration::SolutionModel, "SolutionModel", 0, names_up_to(ModelKind::SUBQ, model_name)});
    list.push_back({Enumeration::ConditionVariable, "ConditionVariable", 0,
                    names_up_to(ConditionVariable::XT, condition_name)});
    list.push_back({Enumeration::TargetVariable,
                    "TargetVariable",
                    0,
                    {"NoTarget", "P", "V", "T", "IA0", "IA"}});
    list.push_back({Enumeration::PhaseMapVariable,
                    "PhaseMapVariable",
                    0,
                    {"TF", "TN", "PF", "PN", "IA0", "IAF", "IAN"}});
    list.push_back({Enumeration::ResultVariable, "ResultVariable", 0,
                    names_up_to(ResultVariable::VM, result_name)});
    list.push_back({Enumeration::StreamVariable, "StreamVariable", 0, {"CP", "H", "S", "G", "V"}});
    list.push_back({Enumeration::ConfigurationOption,
                    "ConfigurationOption",
                    0,
                    {"ITERATION_LIMIT", "COMPOSITION_SETS", "SAMPLING"}});
    list.push_back({Enumeration::PhaseConstituentData,
                    "PhaseConstituentData",
                    0,
                    {"CP", "H", "S", "G", "H298", "S298", "TC", "BETA", "T_MAX"}});
    return list;
}

} // namespace

const char* enumeration_name(Enumeration enumeration) {
    static const std::vector<EnumerationDescription> list = enumerations();
    return list[static_cast<std::size_t>(enumeration)].name;
}

void Members::load(const Ref& core) {
    members_.clear();
    owned_.clear();
    table_.fill(-1);
    for (const EnumerationDescription& description : enumerations()) {
        const Ref enumeration = attribute(core, description.name);
        int number = description.first;
        offsets_[static_cast<std::size_t>(description.enumeration)] =
            static_cast<std::ptrdiff_t>(members_.size()) - number;
        for (const std::string& name : description.members) {
            Ref object = attribute(enumeration, name.c_str());
            members_.push_back({object.get(), description.enumeration, number++, name});
            owned_.push_back(std::move(object));
        }
    }
    if (2 * members_.size() > Places) {
        throw std::length_error("the table of members is too small");
    }
    for (std::size_t k = 0; k < members_.size(); ++k) {
        std::size_t at = place(members_[k].object);
        while (table_[at] >= 0) {
            at = (at + 1) % Places;
        }
        table_[at] = static_cast<int>(k);
    }
}

Ref Members::object(Enumeration enumeration, int number) const {
    const std::ptrdiff_t at = offsets_[static_cast<std::size_t>(enumeration)] + number;
    return Ref::borrow(members_[static_cast<std::size_t>(at)].object);
}

} // namespace tessara::basic
