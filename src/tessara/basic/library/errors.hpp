#pragma once

#include <initializer_list>
#include <stdexcept>
#include <string>
#include <string_view>

namespace tessara::basic {

/// What can go wrong. The numbers reach users; new ones go to the end.
enum class ErrorNumber {
    WrongType = 1,
    WrongMember,
    IndexTooLarge,
    WrongValues,
    Busy,
    NoSystem,
    PhaseIndex,
    ConstituentIndex,
    ComponentIndex,
    WrongPlace,
    WrongUnit,
    ChannelNumber,
    StandardChannel,
    CannotOpen,
    NoDataFile,
    CannotRead,
    DataFile,
    ListingClosed,
    CannotWrite,
    NoTransparentFile,
    Condition,
    ConditionNumber,
    NoTemperature,
    Calculation,
    NoResult,
    FailedResult,
    OptionValue,
    NoStream,
    NoDatum,
    Internal,
    CannotPack,
    CannotWriteFile,
    StreamName,
    StreamState,
    StreamAmount,
    Requirement,
    MovedAmount,
    Range,
    NoMap,
    MapOfStreams,
    StreamCondition,
};
inline constexpr std::size_t ErrorCount = static_cast<std::size_t>(ErrorNumber::StreamCondition);

/// The text of an error; each "{}" stands for a particular.
std::string_view error_text(ErrorNumber number);

/// A failure of an operation, with its number and with its place in a data file where it has one.
class LibraryError : public std::runtime_error {
public:
    LibraryError(ErrorNumber number, std::initializer_list<std::string_view> particulars);

    LibraryError(std::string_view text, std::string file, int line, int column);

    ErrorNumber number() const { return number_; }
    /// Empty where no data file is concerned.
    const std::string& file() const { return file_; }
    int line() const { return line_; }
    int column() const { return column_; }

private:
    ErrorNumber number_;
    std::string file_;
    int line_ = 0;
    int column_ = 0;
};

} // namespace tessara::basic
