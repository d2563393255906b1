#pragma once

#include "engine/data/number_spelling.hpp"
#include "engine/data/tdf_bytes.hpp"

#include <string>
#include <string_view>
#include <vector>

namespace tessara {

/// How the numbers of one form stand in a transparent data file: the bytes of the value, and what
/// gives the text back.
struct NumberForm {
    enum class Width : std::uint8_t {
        None,    ///< the value is zero
        Byte,    ///< a whole number
        Two,     ///< the same
        Four,    ///< the same
        Real,    ///< a double
        RealText ///< a double, and the text itself
    };

    Width width = Width::RealText;
    NumberSpelling spelling;

    friend auto operator<=>(const NumberForm&, const NumberForm&) = default;
};

/// A number of a line of numbers.
struct LineNumber {
    double value = 0.0;
    std::size_t column = 0; ///< offset of its first character in the line
    const NumberForm* form = nullptr;
    std::string_view own_text{}; ///< of a `RealText`

    bool has_point() const;
    std::string text() const;
    /// Offset of the end of its text.
    std::size_t end() const { return column + text().size(); }
};

/// Appends the lines of a data file's text in their compact form: a line of numbers as their
/// values, any other one as its text.
void append_lines(TdfWriter& out, std::string_view text);

/// Walks lines in that form. Throws `TdfError` where they make no sense.
class TdfLines {
public:
    /// `bytes` is the whole file, which must outlive this; the lines start at `begin` and end at
    /// `end`.
    TdfLines(std::string_view bytes, std::size_t begin, std::size_t end);

    /// Goes to the next line, if there is one.
    bool next();
    /// Whether the line is one of numbers; else it is text.
    bool has_numbers() const { return numbers_; }
    std::string_view text() const { return text_; }

    /// How many numbers of the line have not been taken.
    std::size_t numbers_left() const { return left_; }
    /// Takes the next number of the line, of which some must be left.
    void take_number(LineNumber& number);

private:
    TdfReader in_;
    std::vector<NumberForm> forms_;
    bool numbers_ = false;
    std::string_view text_;
    std::size_t left_ = 0;
    std::size_t column_ = 0;
};

} // namespace tessara
