#include "engine/listing/input_listing.hpp"

#include "engine/text/text.hpp"

#include <ostream>

namespace tessara {
namespace {

constexpr int ConditionDigits = 10;

bool is_input(const Condition& condition) {
    return condition.variable == ConditionVariable::IA;
}

std::string value_text(const Inputs& inputs, const Condition& condition) {
    if (condition.variable == ConditionVariable::A && condition.value == 0.0) {
        return "just forms";
    }
    if (condition.variable == ConditionVariable::A && condition.value == Condition::Precipitation) {
        return "a further phase just forms from it";
    }
    return number_text(condition_value(inputs.system, inputs.units, condition), ConditionDigits);
}

const char* status_text(Participation part) {
    switch (part) {
    case Participation::Entered:
        return "ENTERED";
    case Participation::Dormant:
        return "DORMANT";
    case Participation::Eliminated:
        return "ELIMINATED";
    }
    return "";
}

void list_statuses(std::ostream& out, const Inputs& inputs) {
    TextTable table({"status other than ENTERED", ""});
    table.flush_left(1);
    for (std::size_t i = 0; i < inputs.system.phases.size(); ++i) {
        if (inputs.statuses.of_phase(i) != Participation::Entered) {
            table.row({ascii(place_text(inputs.system, Place::of_phase(i))),
                       status_text(inputs.statuses.of_phase(i))});
        }
        for (std::size_t c = 0; c < inputs.system.phases[i].constituents.size(); ++c) {
            if (inputs.statuses.of_constituent(i, c) != Participation::Entered) {
                table.row({ascii(place_text(inputs.system, Place::constituent(i, c))),
                           status_text(inputs.statuses.of_constituent(i, c))});
            }
        }
    }
    if (!table.empty()) {
        print_heading(out, "Statuses");
        table.print(out);
    }
}

void list_streams(std::ostream& out, const Inputs& inputs) {
    print_heading(out, "Streams");
    const Units& units = inputs.units;
    TextTable table({"stream", units.text(Quantity::Temperature), units.text(Quantity::Pressure),
                     units.text(Quantity::Amount)});
    for (const Stream& stream : inputs.streams->all()) {
        table.row({ascii(stream.name),
                   number_text(units.from_engine(Quantity::Temperature, stream.t), ConditionDigits),
                   number_text(units.from_engine(Quantity::Pressure, stream.p), ConditionDigits),
                   ""});
        for (const IncomingAmount& amount : stream.amounts) {
            const Constituent& of = inputs.system.phases[amount.phase].constituents[amount.index];
            const double value =
                units.from_engine(Amount{amount.amount, amount.amount * of.molar_mass});
            table.row({"  " + ascii(place_text(inputs.system,
                                               Place::constituent(amount.phase, amount.index))),
                       "", "", number_text(value, ConditionDigits)});
        }
    }
    if (table.empty()) {
        out << "  None.\n";
    } else {
        table.print(out);
    }
}

} // namespace

std::string condition_text(const System& system, const Condition& condition) {
    const Place& place = condition.place;
    std::string text = std::string(condition_name(condition.variable)) + " of " +
                       (place.kind == Place::Kind::System ? "the " : "") +
                       ascii(place_text(system, place));
    if (condition.variable == ConditionVariable::XT && place.kind == Place::Kind::Constituent &&
        place.index < system.components.size() &&
        !same_fraction(system, place.phase, place.index)) {
        text += ", read as a constituent";
    }
    return text;
}

void list_conditions(std::ostream& out, const Inputs& inputs) {
    TextTable conditions({"condition", "number", "value", "unit"});
    conditions.flush_left(3);
    TextTable amounts({"incoming amount of", "number", inputs.units.text(Quantity::Amount)});
    bool has_t = false;
    bool has_p = false;
    for (const Condition& condition : inputs.conditions.in_order()) {
        const std::string number = std::to_string(condition.number);
        if (is_input(condition)) {
            amounts.row({ascii(place_text(inputs.system, condition.place)), number,
                         value_text(inputs, condition)});
            continue;
        }
        has_t = has_t || condition.variable == ConditionVariable::T;
        has_p = has_p || condition.variable == ConditionVariable::P ||
                condition.variable == ConditionVariable::VT;
        conditions.row({condition_text(inputs.system, condition), number,
                        value_text(inputs, condition), condition_unit(inputs.units, condition)});
    }
    print_heading(out, inputs.streams == nullptr ? "Conditions" : "Conditions with streams");
    if (!conditions.empty()) {
        conditions.print(out);
    }
    if (!has_t) {
        out << "  T is not given.\n";
    }
    if (!has_p) {
        const double p =
            inputs.units.from_engine(Quantity::Pressure, ConditionStore::DefaultPressure);
        out << "  P is not given: " << number_text(p, ConditionDigits) << ' '
            << inputs.units.text(Quantity::Pressure) << " is taken.\n";
    }
    if (inputs.streams != nullptr) {
        list_streams(out, inputs);
        return;
    }
    print_heading(out, "Incoming amounts");
    if (amounts.empty()) {
        out << "  None.\n";
    } else {
        amounts.print(out);
    }
}

void list_inputs(std::ostream& out, const Units& units, const Inputs* inputs) {
    print_heading(out, "Inputs", '=');
    if (inputs != nullptr) {
        print_paragraph(out, "System  " + ascii(inputs->system.title), 8);
    } else {
        out << "  No data file is loaded.\n";
    }
    out << "  Units   " << units.text(Quantity::Pressure) << ", " << units.text(Quantity::Volume)
        << ", " << units.text(Quantity::Temperature) << ", " << units.text(Quantity::Energy) << ", "
        << units.text(Quantity::Amount) << '\n';
    if (inputs != nullptr) {
        list_conditions(out, *inputs);
        list_statuses(out, *inputs);
    }
}

} // namespace tessara
