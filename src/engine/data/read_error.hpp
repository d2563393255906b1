#pragma once

#include <stdexcept>
#include <string>

namespace tessara {

/// A data file that cannot be read: where, what was expected there and what was found.
class ReadError : public std::runtime_error {
public:
    ReadError(std::string file, int line, int column, const std::string& text)
        : std::runtime_error(file + ", line " + std::to_string(line) + ", column " +
                             std::to_string(column) + ": " + text),
          file_(std::move(file)), line_(line), column_(column) {}

    const std::string& file() const { return file_; }
    int line() const { return line_; }
    int column() const { return column_; }

private:
    std::string file_;
    int line_;
    int column_;
};

/// Something in a data file that was accepted but that its author should know of.
struct ReadNote {
    int line;
    int column;
    std::string text;
    /// The check of systems finds it as well, and tells more.
    bool checked = false;
};

/// Line of a record in its data file. Two records that differ in nothing else are the same.
struct SourceLine {
    int number = 0;

    friend bool operator==(SourceLine, SourceLine) { return true; }
};

} // namespace tessara
