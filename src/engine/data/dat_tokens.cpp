#include "engine/data/dat_tokens.hpp"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace tessara {
namespace {

constexpr int NameWidth = 25;

bool is_digit(char c) {
    return c >= '0' && c <= '9';
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

// --- lines ---

bool DatTokens::advance() {
    if (auto* text = std::get_if<TextLines>(&source_)) {
        if (!text->next()) {
            return false;
        }
        text_ = text->line();
    } else {
        auto& lines = std::get<TdfLines>(source_);
        if (!lines.next()) {
            return false;
        }
        numbers_ = lines.has_numbers();
        text_ = lines.text();
    }
    ++line_;
    in_line_ = true;
    column_ = 0;
    ahead_ = false;
    return true;
}

void DatTokens::leave_line() {
    in_line_ = false;
    taken_ = false;
}

void DatTokens::note_commas() {
    for (; column_ < text_.size() && is_separator(text_[column_]); ++column_) {
        if (text_[column_] == ',') {
            note(line_, static_cast<int>(column_) + 1,
                 "a comma separates numbers; blanks are usual");
        }
    }
}

bool DatTokens::seek_line() {
    while (in_line_ || advance()) {
        if (numbers_) {
            if (ahead_ || numbers_left() > 0) {
                return true;
            }
        } else {
            note_commas();
            if (column_ < text_.size()) {
                return true;
            }
        }
        leave_line();
    }
    return false;
}

/// How many numbers are left in the line. Takes those of a line of numbers.
std::size_t DatTokens::drop_numbers() {
    std::size_t count = 0;
    if (numbers_) {
        for (; ahead_ || numbers_left() > 0; ++count) {
            look_ahead();
            ahead_ = false;
        }
        if (count > 0) {
            column_ = next_.end();
        }
        return count;
    }
    for (std::size_t at = skip_separators(text_, column_); at < text_.size();) {
        const std::size_t end = word_end(text_, at);
        count += parse_number(text_.substr(at, end - at)) ? 1U : 0U;
        at = skip_separators(text_, end);
    }
    return count;
}

void DatTokens::drop_rest() {
    if (!taken_) {
        return;
    }
    const std::size_t column = !numbers_ ? column_ : ahead_ ? next_.column : last_number_.end();
    if (const std::size_t count = drop_numbers(); count > 0) {
        note(line_, static_cast<int>(column) + 1,
             std::to_string(count) + (count == 1 ? " unread number" : " unread numbers") +
                 " after the record of " + context_);
    }
    leave_line();
}

const LineNumber& DatTokens::look_ahead() {
    if (!ahead_) {
        std::get<TdfLines>(source_).take_number(next_);
        ahead_ = true;
    }
    return next_;
}

std::string_view DatTokens::kept(std::string text) const {
    return texts_.emplace_back(std::move(text));
}

/// The text of a line of which no word has been taken.
std::string_view DatTokens::line_text() {
    if (!numbers_) {
        return text_;
    }
    std::string text;
    while (ahead_ || numbers_left() > 0) {
        take_line_number();
        text.resize(std::max(text.size(), last_number_.column), ' ');
        text += last_number_.text();
    }
    return kept(std::move(text));
}

std::optional<std::string_view> DatTokens::raw_line() {
    if (!in_line_ && !advance()) {
        return std::nullopt;
    }
    const std::string_view text = line_text();
    leave_line();
    return text;
}

/// Length of the line that came last, but for blanks at its end.
std::size_t DatTokens::line_length() const {
    if (!numbers_) {
        std::size_t length = text_.size();
        while (length > 0 && is_blank(text_[length - 1])) {
            --length;
        }
        return length;
    }
    // What was dropped lies behind what was taken.
    return column_ > 0 ? column_ : last_line_ == line_ ? last_number_.end() : 0;
}

// --- words and numbers ---

const Token& DatTokens::last() const {
    if (last_untold_) {
        last_ = {kept(last_number_.text()), last_line_, static_cast<int>(last_number_.column) + 1};
        last_untold_ = false;
    }
    return last_;
}

bool DatTokens::last_has_point() const {
    return numbers_ ? last_number_.has_point() : last_.text.find('.') != std::string_view::npos;
}

std::optional<Token> DatTokens::peek() {
    if (!seek_line()) {
        return std::nullopt;
    }
    if (numbers_) {
        return Token{kept(look_ahead().text()), line_, static_cast<int>(next_.column) + 1};
    }
    return Token{text_.substr(column_, word_end(text_, column_) - column_), line_,
                 static_cast<int>(column_) + 1};
}

/// Takes the word of the text that ends there.
void DatTokens::take(std::size_t end) {
    last_ = {text_.substr(column_, end - column_), line_, static_cast<int>(column_) + 1};
    last_untold_ = false;
    column_ = end;
    taken_ = true;
}

double DatTokens::take_line_number() {
    if (ahead_) {
        last_number_ = next_;
        ahead_ = false;
    } else {
        std::get<TdfLines>(source_).take_number(last_number_);
    }
    last_line_ = line_;
    last_untold_ = true;
    taken_ = true;
    return last_number_.value;
}

std::optional<double> DatTokens::take_text_number() {
    // Nearly every number has the form that the library conversion takes; what it takes is the word
    // where the word ends there too.
    const char* const begin = text_.data() + column_;
    const char* const end = text_.data() + text_.size();
    const char* const first = begin + (*begin == '-' && begin + 1 < end ? 1 : 0);
    if (is_digit(*first) || *first == '.') {
        double value = 0.0;
        const auto [rest, status] = std::from_chars(begin, end, value);
        if (status == std::errc{} && (rest == end || is_separator(*rest))) {
            take(static_cast<std::size_t>(rest - text_.data()));
            return value;
        }
    }
    take(word_end(text_, column_));
    return parse_number(last_.text);
}

Token DatTokens::word(const std::string& what) {
    const std::optional<Token> token = peek();
    if (!token) {
        fail_expected(what, token);
    }
    if (numbers_) {
        take_line_number();
        last_ = *token;
        last_untold_ = false;
    } else {
        take(column_ + token->text.size());
    }
    return last_;
}

Token DatTokens::letter(const std::string& what) {
    Token token = word(what);
    const bool number_follows = token.text.size() > 1 && parse_number(token.text.substr(1));
    if (number_follows) {
        // A line of numbers begins with no letter: whoever asked for one refuses what is told.
        column_ -= numbers_ ? 0 : token.text.size() - 1;
        token.text = token.text.substr(0, 1);
    }
    return token;
}

std::optional<double> DatTokens::next_number() {
    found_ = seek_line();
    if (!found_) {
        return std::nullopt;
    }
    return numbers_ ? take_line_number() : take_text_number();
}

std::optional<int> DatTokens::next_integer(int least, int most) {
    const std::optional<double> value = next_number();
    if (!value || *value != std::floor(*value) || *value < least || *value > most) {
        return std::nullopt;
    }
    if (last_has_point()) {
        const Token& word = last();
        note(word.line, word.column,
             quoted(word.text) + " stands for a whole number; write it without a point");
    }
    return static_cast<int>(*value);
}

std::optional<NameLine> DatTokens::next_name_line(std::string& hint) {
    drop_rest();
    found_ = seek_line();
    if (!found_) {
        return std::nullopt;
    }
    if (numbers_) {
        take_line_number();
        return std::nullopt;
    }
    const std::string_view line = text_;
    const int number = line_;
    const std::vector<Token> words = split_words(line, number);
    leave_line();
    last_ = words.front();
    last_untold_ = false;
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
        const std::string_view line = line_text();
        const int number = line_;
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
            last_untold_ = false;
            if (parse_number(word.text)) {
                fail_expected(what(names.size()), word);
            }
            names.push_back(to_utf8(word.text));
        }
        leave_line();
    }
    return names;
}

std::optional<Token> DatTokens::after_end() {
    drop_rest();
    return peek();
}

void DatTokens::fail_expected(const std::string& what, const std::optional<Token>& found,
                              const std::string& hint) const {
    std::string text =
        "expected " + what + ", found " + (found ? quoted(found->text) : "the end of the file");
    if (!context_.empty()) {
        text += " (" + context_ + ")";
    }
    if (!hint.empty()) {
        text += "; " + hint;
    }
    // Where nothing was found all lines have been walked.
    throw ReadError(file_, found ? found->line : std::max(1, line_),
                    found ? found->column : static_cast<int>(line_length()) + 1, text);
}

void DatTokens::fail(const Token& at, const std::string& text) const {
    throw ReadError(file_, at.line, at.column, text);
}

void DatTokens::note(int line, int column, std::string text, bool checked) {
    notes_.push_back({line, column, std::move(text), checked});
}

} // namespace tessara
