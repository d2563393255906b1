#include "basic/library/errors.hpp"

#include <array>

namespace tessara::basic {
namespace {

using enum ErrorNumber;

struct ErrorDescription {
    ErrorNumber number;
    std::string_view text;
};

constexpr std::array Errors{
    ErrorDescription{WrongType, "argument {} ({}) must be {}, not {}"},
    ErrorDescription{WrongMember, "argument {} ({}) must be {}, not {}"},
    ErrorDescription{IndexTooLarge, "argument {} ({}) is a whole number beyond all limits"},
    ErrorDescription{WrongValues, "argument {} ({}) must be a list of two numbers, not {}"},
    ErrorDescription{Busy, "another operation is still running; operations cannot be called from "
                           "within one another, as from a warning filter or from a method of an "
                           "argument"},
    ErrorDescription{NoSystem, "no data file is loaded; open one with hxopna and read it with "
                               "hxrfil"},
    ErrorDescription{PhaseIndex, "there is no phase with the index {}; the system has {} phases, "
                                 "counted from 0"},
    ErrorDescription{ConstituentIndex, "there is no constituent with the index {} in phase {}, "
                                       "which has {}, counted from 0"},
    ErrorDescription{ComponentIndex, "there is no system component with the index {}; the system "
                                     "has {}, counted from 0"},
    ErrorDescription{WrongPlace, "{} is not defined for {} (indexes {}, {})"},
    ErrorDescription{WrongUnit, "{} is not a unit of {}; use one of {}"},
    ErrorDescription{ChannelNumber, "{} is not a channel number for a file; use 1 to {}, but not "
                                    "6, which is the standard output"},
    ErrorDescription{StandardChannel, "channel 6 is the standard output, which is always open and "
                                      "cannot be opened or closed"},
    ErrorDescription{CannotOpen, "the file {} cannot be opened: {}"},
    ErrorDescription{NoDataFile, "no {} is open; open one with {}"},
    ErrorDescription{CannotRead, "the file {} cannot be read: {}"},
    ErrorDescription{DataFile, "{}"},
    ErrorDescription{ListingClosed, "listings go to channel {}, which is not open for output; "
                                    "open it with hxopen, or choose another with hxcio"},
    ErrorDescription{CannotWrite, "the listing cannot be written to channel {}: {}"},
    ErrorDescription{NoTransparentFile, "no transparent data file is loaded, so there is no "
                                        "header to show"},
    ErrorDescription{Condition, "{}"},
    ErrorDescription{ConditionNumber, "there is no condition with the number {}; use the number "
                                      "that hxsetc gave, 0 for all incoming amounts, or -2 for all "
                                      "conditions"},
    ErrorDescription{NoTemperature, "the temperature is not given; place a condition on T"},
    ErrorDescription{Calculation, "{}"},
    ErrorDescription{NoResult, "there is no result of {} to give: nothing has been calculated yet; "
                               "calculate with hxce first"},
    ErrorDescription{FailedResult, "there is no result of {} to give: the last calculation "
                                   "failed"},
    ErrorDescription{OptionValue, "the configuration option {} must be {}, not {}"},
    ErrorDescription{NoStream, "there is no stream named '{}'"},
    ErrorDescription{NoDatum, "{}"},
    ErrorDescription{Internal, "unexpected failure inside the library: {}"},
    ErrorDescription{CannotPack, "the file {} cannot be packed: {}"},
    ErrorDescription{CannotWriteFile, "the file {} cannot be written: {}"},
    ErrorDescription{StreamName, "a stream must have a name; the empty one stands for all streams"},
    ErrorDescription{StreamState, "the {} of the stream '{}' cannot be {}: it must be a finite "
                                  "number above zero"},
    ErrorDescription{StreamAmount, "the amount of {} in the stream '{}' cannot be {}: {}"},
    ErrorDescription{Requirement,
                     "a search on {} needs exactly one condition to meet (a target, or "
                     "one on H, S, G, V, CP or A), and there {}"},
    ErrorDescription{MovedAmount, "the incoming amount of {} cannot be moved: {}"},
    ErrorDescription{Range, "the range of {} from {} to {} cannot be searched: {}"},
    ErrorDescription{NoMap, "there is no map over {} to go on with; open one with {} first, and "
                            "change nothing until it is finished"},
    ErrorDescription{MapOfStreams, "phase maps are made of absolute calculations, and streams are "
                                   "in force; place a condition with hxsetc to leave them"},
    ErrorDescription{StreamCondition, "the condition {} cannot be placed on a calculation with "
                                      "streams; use P, VT, T, CP, H, S, G, V or A"},
};

constexpr bool complete() {
    for (std::size_t k = 0; k < Errors.size(); ++k) {
        if (static_cast<std::size_t>(Errors[k].number) != k + 1 || Errors[k].text.empty()) {
            return false;
        }
    }
    return Errors.size() == ErrorCount;
}
static_assert(complete(), "each error number has one text, in order");

/// Null characters would end the text of an exception.
void append(std::string& text, std::string_view particular) {
    for (const char c : particular) {
        if (c == '\0') {
            text += "\\x00";
        } else {
            text += c;
        }
    }
}

std::string fill_in(std::string_view text, std::initializer_list<std::string_view> particulars) {
    std::string result;
    auto next = particulars.begin();
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t gap = std::min(text.find("{}", at), text.size());
        result += text.substr(at, gap - at);
        if (gap < text.size() && next != particulars.end()) {
            append(result, *next++);
        }
        at = gap + 2;
    }
    return result;
}

} // namespace

std::string_view error_text(ErrorNumber number) {
    return Errors[static_cast<std::size_t>(number) - 1].text;
}

LibraryError::LibraryError(ErrorNumber number, std::initializer_list<std::string_view> particulars)
    : std::runtime_error(fill_in(error_text(number), particulars)), number_(number) {}

LibraryError::LibraryError(std::string_view text, std::string file, int line, int column)
    : std::runtime_error(fill_in(error_text(DataFile), {text})), number_(DataFile),
      file_(std::move(file)), line_(line), column_(column) {}

} // namespace tessara::basic
