#include "engine/data/dat_tokens.hpp"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace tessara {
namespace {

constexpr int NameWidth = 25;

bool is_blank(char c) {
    return c == ' ' || c == '\t' || c == '\f' || c == '\v';
}
bool is_separator(char c) {
    return is_blank(c) || c == ',';
}
bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

std::vector<std::string_view> split_lines(std::string_view text) {
    std::vector<std::string_view> lines;
    std::size_t begin = 0;
    for (std::size_t k = 0; k < text.size(); ++k) {
        if (text[k] == '\n' || text[k] == '\r') {
            lines.push_back(text.substr(begin, k - begin));
            if (text[k] == '\r' && k + 1 < text.size() && text[k + 1] == '\n') {
                ++k;
            }
            begin = k + 1;
        }
    }
    if (begin < text.size()) {
        lines.push_back(text.substr(begin));
    }
    return lines;
}

/// The words of a line between blanks.
std::vector<Token> split_words(std::string_view line, int number) {
    std::vector<Token> words;
    for (std::size_t at = 0; at < line.size();) {
        while (at < line.size() && is_blank(line[at])) {
            ++at;
        }
        const std::size_t begin = at;
        while (at < line.size() && !is_blank(line[at])) {
            ++at;
        }
        if (begin < at) {
            words.push_back({line.substr(begin, at - begin), number, static_cast<int>(begin) + 1});
        }
    }
    return words;
}

/// Quotes what was found, cut to a length that keeps the message on one line.
std::string quoted(std::string_view text) {
    constexpr std::size_t most = 40;
    std::string shown = "'";
    for (char c : text.substr(0, most)) {
        const bool printable = c >= ' ' && c != '\x7f';
        shown += printable ? c : '?';
    }
    if (text.size() > most) {
        shown += "...";
    }
    return shown + "'";
}

/// Well-formed UTF-8 stays; other bytes are read as Latin-1, so that every name is valid text.
std::string to_utf8(std::string_view bytes) {
    const auto continuation = [&](std::size_t k) {
        return k < bytes.size() && (static_cast<unsigned char>(bytes[k]) & 0xC0U) == 0x80U;
    };
    std::string text;
    for (std::size_t k = 0; k < bytes.size();) {
        const auto lead = static_cast<unsigned char>(bytes[k]);
        std::size_t length = 0;
        if (lead < 0x80U) {
            length = 1;
        } else if (lead >= 0xC2U && lead < 0xE0U && continuation(k + 1)) {
            length = 2;
        } else if (lead >= 0xE0U && lead < 0xF0U && continuation(k + 1) && continuation(k + 2)) {
            const auto second = static_cast<unsigned char>(bytes[k + 1]);
            const bool overlong = lead == 0xE0U && second < 0xA0U;
            const bool surrogate = lead == 0xEDU && second >= 0xA0U;
            length = overlong || surrogate ? 0 : 3;
        } else if (lead >= 0xF0U && lead < 0xF5U && continuation(k + 1) && continuation(k + 2) &&
                   continuation(k + 3)) {
            const auto second = static_cast<unsigned char>(bytes[k + 1]);
            const bool overlong = lead == 0xF0U && second < 0x90U;
            const bool beyond = lead == 0xF4U && second >= 0x90U;
            length = overlong || beyond ? 0 : 4;
        }
        if (length == 0) {
            text += static_cast<char>(0xC0U | (lead >> 6U));
            text += static_cast<char>(0x80U | (lead & 0x3FU));
            ++k;
        } else {
            text += bytes.substr(k, length);
            k += length;
        }
    }
    return text;
}

std::string_view trim(std::string_view text) {
    while (!text.empty() && is_blank(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && is_blank(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

} // namespace

std::optional<double> parse_number(std::string_view text) {
    // Nearly every number has the form that the library conversion takes.
    const std::size_t sign = !text.empty() && text.front() == '-' ? 1 : 0;
    if (sign < text.size() && (is_digit(text[sign]) || text[sign] == '.')) {
        double value = 0.0;
        const char* end = text.data() + text.size();
        const auto [rest, status] = std::from_chars(text.data(), end, value);
        if (status == std::errc{} && rest == end) {
            return value;
        }
    }
    // The others are spelled anew for it.
    std::string spelled;
    spelled.reserve(text.size() + 1);
    std::size_t k = 0;
    if (k < text.size() && (text[k] == '+' || text[k] == '-')) {
        if (text[k] == '-') {
            spelled += '-';
        }
        ++k;
    }
    std::size_t digits = 0;
    bool nonzero = false;
    const auto take_digits = [&] {
        while (k < text.size() && is_digit(text[k])) {
            nonzero = nonzero || text[k] != '0';
            spelled += text[k++];
            ++digits;
        }
    };
    take_digits();
    if (k < text.size() && text[k] == '.') {
        if (digits == 0) {
            spelled += '0';
        }
        spelled += text[k++];
        take_digits();
    }
    if (digits == 0) {
        return std::nullopt;
    }
    if (k < text.size()) {
        const char mark = text[k];
        const bool letter = mark == 'e' || mark == 'E' || mark == 'd' || mark == 'D';
        if (letter) {
            ++k;
        } else if (mark != '+' && mark != '-') {
            return std::nullopt;
        }
        if (spelled.back() == '.') {
            spelled += '0';
        }
        spelled += 'e';
        if (k < text.size() && (text[k] == '+' || text[k] == '-')) {
            if (text[k] == '-') {
                spelled += '-';
            }
            ++k;
        }
        const std::size_t first = k;
        while (k < text.size() && is_digit(text[k])) {
            spelled += text[k++];
        }
        if (k == first || k != text.size()) {
            return std::nullopt;
        }
    }
    if (spelled.back() == '.') {
        spelled += '0';
    }
    double value = 0.0;
    const char* end = spelled.data() + spelled.size();
    const auto [rest, status] = std::from_chars(spelled.data(), end, value);
    if (status == std::errc::result_out_of_range) {
        // Too small reads as zero, too large is no number.
        const std::size_t e = spelled.find('e');
        const bool small = e != std::string::npos && spelled[e + 1] == '-';
        if (!small && nonzero) {
            return std::nullopt;
        }
        return 0.0;
    }
    if (status != std::errc{} || rest != end || !std::isfinite(value)) {
        return std::nullopt;
    }
    return value;
}

DatTokens::DatTokens(std::string_view text, std::string file) : file_(std::move(file)) {
    if (text.substr(0, 3) == "\xEF\xBB\xBF") {
        text.remove_prefix(3);
    }
    lines_ = split_lines(text);
}

std::optional<std::string_view> DatTokens::raw_line() {
    if (line_ >= lines_.size()) {
        return std::nullopt;
    }
    column_ = 0;
    taken_ = false;
    return lines_[line_++];
}

void DatTokens::drop_rest() {
    if (!taken_ || line_ >= lines_.size()) {
        return;
    }
    taken_ = false;
    const std::string_view line = lines_[line_];
    int numbers = 0;
    std::size_t at = column_;
    while (at < line.size()) {
        while (at < line.size() && is_separator(line[at])) {
            ++at;
        }
        const std::size_t begin = at;
        while (at < line.size() && !is_separator(line[at])) {
            ++at;
        }
        if (begin < at && parse_number(line.substr(begin, at - begin))) {
            ++numbers;
        }
    }
    if (numbers > 0) {
        note(static_cast<int>(line_) + 1, static_cast<int>(column_) + 1,
             std::to_string(numbers) + (numbers == 1 ? " unread number" : " unread numbers") +
                 " after the record of " + context_);
    }
    ++line_;
    column_ = 0;
}

bool DatTokens::seek_line() {
    while (line_ < lines_.size()) {
        const std::string_view line = lines_[line_];
        while (column_ < line.size() && is_separator(line[column_])) {
            if (line[column_] == ',') {
                note(static_cast<int>(line_) + 1, static_cast<int>(column_) + 1,
                     "a comma separates numbers; blanks are usual");
            }
            ++column_;
        }
        if (column_ < line.size()) {
            return true;
        }
        ++line_;
        column_ = 0;
        taken_ = false;
    }
    return false;
}

std::optional<Token> DatTokens::peek() {
    if (!seek_line()) {
        return std::nullopt;
    }
    const std::string_view line = lines_[line_];
    std::size_t end = column_;
    while (end < line.size() && !is_separator(line[end])) {
        ++end;
    }
    return Token{line.substr(column_, end - column_), static_cast<int>(line_) + 1,
                 static_cast<int>(column_) + 1};
}

std::optional<Token> DatTokens::next_in_record() {
    const std::optional<Token> token = peek();
    if (token) {
        column_ += token->text.size();
        taken_ = true;
        last_ = *token;
    }
    return token;
}

Token DatTokens::word(const std::string& what) {
    const std::optional<Token> token = next_in_record();
    if (!token) {
        fail_expected(what, token);
    }
    return *token;
}

Token DatTokens::letter(const std::string& what) {
    Token token = word(what);
    const bool number_follows = token.text.size() > 1 && parse_number(token.text.substr(1));
    if (number_follows) {
        column_ -= token.text.size() - 1;
        token.text = token.text.substr(0, 1);
    }
    return token;
}

std::optional<double> DatTokens::next_number() {
    failed_ = next_in_record();
    return failed_ ? parse_number(failed_->text) : std::nullopt;
}

std::optional<int> DatTokens::next_integer(int least, int most) {
    const std::optional<double> value = next_number();
    if (!value || *value != std::floor(*value) || *value < least || *value > most) {
        return std::nullopt;
    }
    if (failed_->text.find('.') != std::string_view::npos) {
        note(failed_->line, failed_->column,
             quoted(failed_->text) + " stands for a whole number; write it without a point");
    }
    return static_cast<int>(*value);
}

std::optional<NameLine> DatTokens::next_name_line(std::string& hint) {
    drop_rest();
    failed_.reset();
    if (!seek_line()) {
        return std::nullopt;
    }
    const std::string_view line = lines_[line_];
    const int number = static_cast<int>(line_) + 1;
    const std::vector<Token> words = split_words(line, number);
    ++line_;
    column_ = 0;
    taken_ = false;

    last_ = words.front();
    failed_ = words.front();
    if (parse_number(words[0].text)) {
        return std::nullopt;
    }
    for (char c : line) {
        if (static_cast<unsigned char>(c) < 0x20U && !is_blank(c)) {
            hint = "the line holds a control character";
            return std::nullopt;
        }
    }
    NameLine result{to_utf8(words[0].text), number, words[0].column, false};
    std::size_t next = 1;
    const bool decoration = words.size() < 2 || words[1].text == "#" ||
                            words[1].text.front() == '=' || words[1].text.front() == '*' ||
                            parse_number(words[1].text).has_value();
    if (!decoration && words[1].column <= NameWidth) {
        // No decoration explains the second word, so the name holds a blank: its field decides.
        const std::string_view field =
            trim(line.substr(0, std::min<std::size_t>(line.size(), NameWidth)));
        result.name = to_utf8(field);
        while (next < words.size() && words[next].column <= NameWidth) {
            ++next;
        }
        note(number, words[1].column, "the name " + quoted(field) + " holds a blank");
    }
    for (; next < words.size(); ++next) {
        const std::optional<double> value = parse_number(words[next].text);
        if (words[next].text == "#") {
            result.marked = true;
        } else if (value && *value != 0.0 && words[1].text.front() != '=' &&
                   words[1].text.front() != '*') {
            note(number, words[next].column,
                 "the number " + quoted(words[next].text) + " after the name '" + result.name +
                     "' has no meaning here");
        }
    }
    return result;
}

std::vector<std::string> DatTokens::name_list(const std::function<std::string(std::size_t)>& what,
                                              std::size_t count) {
    constexpr std::size_t per_line = 3;
    drop_rest();
    std::vector<std::string> names;
    while (names.size() < count) {
        if (!seek_line()) {
            fail_expected(what(names.size()), std::nullopt);
        }
        const std::string_view line = lines_[line_];
        const int number = static_cast<int>(line_) + 1;
        std::vector<Token> words = split_words(line, number);
        const std::size_t expected = std::min(per_line, count - names.size());
        if (words.size() > expected) {
            // Names that hold blanks: their fields decide, if each has one.
            std::vector<Token> fields;
            for (std::size_t k = 0; k < expected && k * NameWidth < line.size(); ++k) {
                const std::string_view field = trim(line.substr(k * NameWidth, NameWidth));
                if (!field.empty()) {
                    fields.push_back(
                        {field, number, static_cast<int>(field.data() - line.data()) + 1});
                }
            }
            if (fields.size() == expected) {
                words = std::move(fields);
            } else {
                words.resize(expected);
            }
            note(number, words.back().column,
                 "more words than the " + std::to_string(expected) + " names of this line");
        }
        for (const Token& word : words) {
            last_ = word;
            if (parse_number(word.text)) {
                fail_expected(what(names.size()), word);
            }
            names.push_back(to_utf8(word.text));
        }
        ++line_;
        column_ = 0;
        taken_ = false;
    }
    return names;
}

std::optional<Token> DatTokens::after_end() {
    drop_rest();
    return peek();
}

void DatTokens::fail_expected(const std::string& what, const std::optional<Token>& found,
                              const std::string& hint) const {
    const int last_line = std::max<int>(1, static_cast<int>(lines_.size()));
    std::string text =
        "expected " + what + ", found " + (found ? quoted(found->text) : "the end of the file");
    if (!context_.empty()) {
        text += " (" + context_ + ")";
    }
    if (!hint.empty()) {
        text += "; " + hint;
    }
    const int end_column = lines_.empty() ? 1 : static_cast<int>(lines_.back().size()) + 1;
    throw ReadError(file_, found ? found->line : last_line, found ? found->column : end_column,
                    text);
}

void DatTokens::fail(const Token& at, const std::string& text) const {
    throw ReadError(file_, at.line, at.column, text);
}

void DatTokens::note(int line, int column, std::string text, bool checked) {
    notes_.push_back({line, column, std::move(text), checked});
}

} // namespace tessara
