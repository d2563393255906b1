#pragma once

#include "engine/data/read_error.hpp"

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
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

/// Walks the records of a data file.
///
/// Each record starts on a new line and takes as many lines as it needs; what is left of its last
/// line is dropped. Blank lines are skipped. The text must outlive the reader.
class DatTokens {
public:
    /// `file` is the name that messages show.
    DatTokens(std::string_view text, std::string file);

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
        fail_expected(said(what), failed_);
    }

    /// The next number, which must be a whole one between the limits.
    template <class What>
    int integer(const What& what, int least, int most) {
        if (const std::optional<int> value = next_integer(least, most)) {
            return *value;
        }
        fail_expected(said(what), failed_);
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
        fail_expected(said(what), failed_, hint);
    }

    /// The letter that the next word begins with; a number may follow it without a blank.
    Token letter(const std::string& what);

    /// A list of names from a new line on, three to a line in fields of 25 columns as is usual.
    /// `what(k)` says which name is asked for. Takes whole lines.
    std::vector<std::string> name_list(const std::function<std::string(std::size_t)>& what,
                                       std::size_t count);

    /// The next word of the record without taking it; nothing at the end of the file.
    std::optional<Token> peek();

    /// Ends the last record and says whether anything but blank lines is left; the token shows it.
    std::optional<Token> after_end();

    [[noreturn]] void fail_expected(const std::string& what, const std::optional<Token>& found,
                                    const std::string& hint = {}) const;
    [[noreturn]] void fail(const Token& at, const std::string& text) const;

    void note(int line, int column, std::string text, bool checked = false);
    const std::vector<ReadNote>& notes() const { return notes_; }
    std::vector<ReadNote> take_notes() { return std::move(notes_); }

    /// The word taken last; messages about its meaning point at it.
    const Token& last() const { return last_; }
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

    std::optional<Token> next_in_record();
    std::optional<double> next_number();
    std::optional<int> next_integer(int least, int most);
    std::optional<NameLine> next_name_line(std::string& hint);
    void drop_rest();
    bool seek_line();

    std::string file_;
    std::vector<std::string_view> lines_;
    std::size_t line_ = 0;   ///< index of the current line
    std::size_t column_ = 0; ///< offset of the first character not yet taken
    bool taken_ = false;     ///< a word of the current line has been taken
    std::string context_;
    Token last_{};
    std::optional<Token> failed_; ///< the word that was not what was asked for
    std::vector<ReadNote> notes_;
};

} // namespace tessara
