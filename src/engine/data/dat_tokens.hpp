#pragma once

#include "engine/data/read_error.hpp"
#include "engine/data/tdf_lines.hpp"
#include "engine/data/text_lines.hpp"

#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <variant>
#include <vector>

namespace tessara {

/// A word of a data file with its place; lines and columns count from 1.
struct Token {
    std::string_view text;
    int line;
    int column;
};

/// A name line taken apart.
struct NameLine {
    std::string name;
    int line;
    int column;
    bool marked; ///< carries the separate mark "#" of a dummy
};

/// Reads the number in `text`: decimal point optional, exponent by E or D or a bare sign.
/// Nothing where the text is no number or exceeds the range of a double.
std::optional<double> parse_number(std::string_view text);

/// Well-formed UTF-8 stays; other bytes are read as Latin-1, so that every name is valid text.
std::string to_utf8(std::string_view bytes);

/// Walks the records of a data file, whether its lines are text or come from a transparent file.
///
/// Each record starts on a new line and takes as many lines as it needs; what is left of its last
/// line is dropped. Blank lines are skipped. The text must outlive the reader.
class DatTokens {
public:
    /// `file` is the name that messages show.
    DatTokens(std::string_view text, std::string file)
        : file_(std::move(file)), source_(TextLines(text)) {}
    DatTokens(TdfLines lines, std::string file)
        : file_(std::move(file)), source_(std::move(lines)) {}

    /// The whole of the next physical line, blank or not, or nothing at the end of the file.
    std::optional<std::string_view> raw_line();

    /// What is being read, for the end of messages: "melt 'MELT'".
    void set_context(std::string context) {
        drop_rest(); // what is left belongs to what was read before
        context_ = std::move(context);
    }

    /// Starts a record: the rest of the current line is dropped.
    void begin_record() { drop_rest(); }

    /// The next number of the record. `what` says what was expected: a text, or a function that
    /// gives it, which is called only where the number fails.
    template <class What>
    double number(const What& what) {
        if (const std::optional<double> value = next_number()) {
            return *value;
        }
        fail_expected(said(what), found());
    }

    /// The next number, which must be a whole one between the limits.
    template <class What>
    int integer(const What& what, int least, int most) {
        if (const std::optional<int> value = next_integer(least, most)) {
            return *value;
        }
        fail_expected(said(what), found());
    }

    /// The next word of the record, whatever it is.
    Token word(const std::string& what);

    /// The next line as a name line. Starts a record of its own.
    template <class What>
    NameLine name_line(const What& what) {
        std::string hint;
        if (std::optional<NameLine> name = next_name_line(hint)) {
            return std::move(*name);
        }
        fail_expected(said(what), found(), hint);
    }

    /// The letter that the next word begins with; a number may follow it without a blank.
    Token letter(const std::string& what);

    /// A list of names from a new line on, three to a line in fields of 25 columns as is usual.
    /// `what(k)` says which name is asked for. Takes whole lines.
    std::vector<std::string> name_list(const std::function<std::string(std::size_t)>& what,
                                       std::size_t count);

    /// The next word of the record without taking it; nothing at the end of the file.
    std::optional<Token> peek();

    /// The line of that word, or 0 at the end of the file. It is not spelled for that.
    int next_line() { return seek_line() ? line_ : 0; }

    /// Ends the last record and says whether anything but blank lines is left; the token shows it.
    std::optional<Token> after_end();

    [[noreturn]] void fail_expected(const std::string& what, const std::optional<Token>& found,
                                    const std::string& hint = {}) const;
    [[noreturn]] void fail(const Token& at, const std::string& text) const;

    void note(int line, int column, std::string text, bool checked = false);
    const std::vector<ReadNote>& notes() const { return notes_; }
    std::vector<ReadNote> take_notes() { return std::move(notes_); }

    /// The word taken last; messages about its meaning point at it.
    const Token& last() const;
    /// Its line; a number is not spelled for that.
    int last_line() const { return last_untold_ ? last_line_ : last_.line; }
    const std::string& file() const { return file_; }

private:
    template <class What>
    static std::string said(const What& what) {
        if constexpr (std::is_invocable_v<const What&>) {
            return what();
        } else {
            return std::string(what);
        }
    }

    bool advance();
    void leave_line();
    bool seek_line();
    void note_commas();
    void drop_rest();
    std::size_t drop_numbers();
    std::size_t numbers_left() const { return std::get<TdfLines>(source_).numbers_left(); }
    const LineNumber& look_ahead();
    std::string_view kept(std::string text) const;
    std::string_view line_text();
    std::size_t line_length() const;

    std::optional<double> next_number();
    double take_line_number();
    std::optional<double> take_text_number();
    std::optional<int> next_integer(int least, int most);
    std::optional<NameLine> next_name_line(std::string& hint);
    void take(std::size_t end);
    bool last_has_point() const;

    /// The word that was asked for last, unless the file ended before it.
    std::optional<Token> found() const { return found_ ? std::optional(last()) : std::nullopt; }

    std::string file_;
    std::variant<TextLines, TdfLines> source_;

    // The current line, which either is text or holds nothing but numbers that are known already.
    int line_ = 0;         ///< its number
    bool in_line_ = false; ///< there is one
    bool taken_ = false;   ///< a word of it has been taken
    bool numbers_ = false;
    std::string_view text_;
    std::size_t column_ = 0; ///< offset of the first character of the text not yet taken
    LineNumber next_;        ///< the number to be taken next
    bool ahead_ = false;     ///< ... is known

    // The word taken last; one that came as a value becomes a word where it is asked for.
    mutable Token last_{};
    mutable bool last_untold_ = false;
    LineNumber last_number_;
    int last_line_ = 0;
    bool found_ = false; ///< what was asked for last is there, right or wrong
    mutable std::deque<std::string> texts_;

    std::string context_;
    std::vector<ReadNote> notes_;
};

} // namespace tessara
