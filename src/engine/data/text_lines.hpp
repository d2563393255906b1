#pragma once

#include <cstddef>
#include <string_view>

namespace tessara {

inline bool is_blank(char c) {
    return c == ' ' || c == '\t' || c == '\f' || c == '\v';
}
/// What stands between the words of a record.
inline bool is_separator(char c) {
    return is_blank(c) || c == ',';
}

/// Offset of the first character from `at` on that is no separator; the size where none is left.
inline std::size_t skip_separators(std::string_view line, std::size_t at) {
    while (at < line.size() && is_separator(line[at])) {
        ++at;
    }
    return at;
}
/// Offset of the end of the word that starts at `at`.
inline std::size_t word_end(std::string_view line, std::size_t at) {
    while (at < line.size() && !is_separator(line[at])) {
        ++at;
    }
    return at;
}

/// Walks the lines of a text. A line ends with a line feed, a carriage return, or both.
class TextLines {
public:
    explicit TextLines(std::string_view text);

    /// Goes to the next line, if there is one.
    bool next();
    std::string_view line() const { return line_; }

private:
    std::size_t find(char mark) const;

    std::string_view text_;
    std::size_t begin_ = 0; ///< of the next line
    std::size_t feed_;      ///< the next of each mark at or behind `begin_`
    std::size_t carriage_;
    std::string_view line_;
};

} // namespace tessara
