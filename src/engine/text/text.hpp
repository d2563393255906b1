#pragma once

#include <iosfwd>
#include <string>
#include <string_view>
#include <vector>

namespace tessara {

/// The text in plain ASCII: control and other characters become backslash escapes, as "\xe9" or
/// "\u20ac".
std::string ascii(std::string_view utf8);

/// A number to read, with `digits` digits that count: "0.25", "1e-20"; "-" for nan. Never in the
/// fashion of a locale.
std::string number_text(double value, int digits = 6);

/// A number as a sentence quotes it: the same, but nan is "nan".
std::string quoted_number(double value);

/// A number for a column of a table: six decimals where they show enough digits, an exponent
/// elsewhere; "-" for nan.
std::string column_text(double value);

/// A table of text: the first column flush left, the others flush right, each as wide as its
/// widest cell. A first cell that is very long stands on a line of its own.
class TextTable {
public:
    explicit TextTable(std::vector<std::string> head);

    /// A further line of the head, as for units.
    void head(std::vector<std::string> cells);
    void row(std::vector<std::string> cells);
    bool empty() const { return rows_.size() == head_rows_; }

    /// Makes a column flush left.
    void flush_left(std::size_t column);

    /// Writes the table, indented by two blanks.
    void print(std::ostream& out) const;

private:
    std::vector<std::vector<std::string>> rows_;
    std::size_t head_rows_ = 1;
    std::vector<char> left_;
};

/// A heading with a line of dashes or other marks below it, after a blank line.
void print_heading(std::ostream& out, std::string_view text, char mark = '-');

/// Words, broken into lines where they get long; further lines are indented.
void print_paragraph(std::ostream& out, std::string_view text, std::size_t indent);

} // namespace tessara
