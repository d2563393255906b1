#include "basic/library/library.hpp"

#include "engine/text/text.hpp"

#include <cmath>

// Streams, and the conditions of calculations with them.

namespace tessara::basic {
namespace {

void check_state(const char* what, const std::string& name, double given, double value) {
    if (!(value > 0.0) || !std::isfinite(value)) {
        throw LibraryError(ErrorNumber::StreamState, {what, name, number_text(given)});
    }
}

} // namespace

void Library::make_stream(const std::string& name, double t, double p) {
    Loaded& of = loaded();
    if (name.empty()) {
        throw LibraryError(ErrorNumber::StreamName, {});
    }
    const double kelvin = units_.to_engine(Quantity::Temperature, t);
    const double pascal = units_.to_engine(Quantity::Pressure, p);
    check_state("temperature", name, t, kelvin);
    check_state("pressure", name, p, pascal);
    touch();
    of.with_streams = true;
    of.streams.make(name, kelvin, pascal);
}

void Library::remove_stream(const std::string& name) {
    touch();
    if (name.empty()) {
        if (loaded_) {
            loaded_->with_streams = true;
            loaded_->streams.clear();
        }
        return;
    }
    if (!loaded_ || !loaded_->streams.remove(name)) {
        throw LibraryError(ErrorNumber::NoStream, {name});
    }
    loaded_->with_streams = true;
}

void Library::set_stream_amount(const std::string& name, int i_ph, int i_pc, double value) {
    const Constituent& of = constituent(i_ph, i_pc);
    if (loaded_->streams.find(name) == nullptr) {
        throw LibraryError(ErrorNumber::NoStream, {name});
    }
    const auto fail = [&](const char* why) {
        throw LibraryError(ErrorNumber::StreamAmount, {of.name, name, number_text(value), why});
    };
    if (!std::isfinite(value)) {
        fail("it must be a finite number");
    }
    const Place place =
        Place::constituent(static_cast<std::size_t>(i_ph), static_cast<std::size_t>(i_pc));
    const std::optional<double> mol = mol_of(value, place);
    if (!mol) {
        fail("it has no molar mass. Give the amount in mol");
    }
    touch();
    loaded_->with_streams = true;
    loaded_->streams.set_amount(name, place.phase, place.index, *mol);
}

int Library::set_stream_condition(ConditionVariable variable, int i_ph, double value) {
    warnings_.clear();
    check_phase_or_none(i_ph);
    switch (variable) {
    case ConditionVariable::IA:
    case ConditionVariable::AC:
    case ConditionVariable::MU:
    case ConditionVariable::AT:
    case ConditionVariable::XT:
        throw LibraryError(ErrorNumber::StreamCondition, {condition_name(variable)});
    default:
        break;
    }
    const Place place =
        i_ph == None ? Place::system() : Place::of_phase(static_cast<std::size_t>(i_ph));
    touch();
    loaded_->with_streams = true;
    try {
        return loaded_->stream_conditions.place(system(), units_, variable, place, value);
    } catch (const ConditionError& error) {
        throw LibraryError(ErrorNumber::Condition, {error.what()});
    }
}

double Library::stream_property(const std::string& name, StreamVariable variable) {
    const Stream* stream = loaded().streams.find(name);
    if (stream == nullptr) {
        throw LibraryError(ErrorNumber::NoStream, {name});
    }
    ThermalProperties of;
    try {
        of = stream_properties(loaded_->system, *stream);
    } catch (const SolveError& error) {
        throw LibraryError(ErrorNumber::Calculation, {error.what()});
    }
    switch (variable) {
    case StreamVariable::CP:
        return units_.entropy_from_engine(of.cp);
    case StreamVariable::S:
        return units_.entropy_from_engine(of.s);
    case StreamVariable::H:
        return units_.from_engine(Quantity::Energy, of.h);
    case StreamVariable::G:
        return units_.from_engine(Quantity::Energy, of.g);
    default:
        return units_.from_engine(Quantity::Volume, of.v);
    }
}

} // namespace tessara::basic
