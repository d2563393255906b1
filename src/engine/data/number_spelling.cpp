#include "engine/data/number_spelling.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

namespace tessara {
namespace {

/// Wide enough for the largest number with 255 decimals.
using Buffer = std::array<char, 768>;

bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

/// Takes the digits at the front off and tells how many they are.
std::size_t take_digits(std::string_view& text) {
    std::size_t count = 0;
    while (count < text.size() && is_digit(text[count])) {
        ++count;
    }
    text.remove_prefix(count);
    return count;
}

std::string digits(double value, std::chars_format format, int decimals) {
    Buffer buffer; // NOLINT(cppcoreguidelines-pro-type-member-init)
    const auto [end, status] =
        std::to_chars(buffer.data(), buffer.data() + buffer.size(), value, format, decimals);
    return {buffer.data(), status == std::errc{} ? end : buffer.data()};
}

/// Writes a number that is not negative without an exponent, if it is the double next to a decimal
/// fraction of few digits, as nearly all in data files are. With less than 2^52 units of the last
/// digit it is nearer to that fraction than to any other one, so that its digits are those that the
/// library would find, but sooner. Returns the end, or null.
char* write_fraction(double size, std::size_t decimals, char* begin, char* limit) {
    static constexpr std::array powers{1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                       1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
    if (decimals >= powers.size() || size >= 0x1p52 / powers[decimals]) {
        return nullptr;
    }
    const double units = std::nearbyint(size * powers[decimals]);
    if (units >= 0x1p52 || units / powers[decimals] != size) {
        return nullptr;
    }
    const auto whole = static_cast<std::int64_t>(units);
    char* digits = begin;
    for (std::size_t left = decimals; left > 0 && units < powers[left]; --left) {
        *digits++ = '0'; // before the point and behind it
    }
    char* end = whole == 0 && decimals > 0 ? digits : std::to_chars(digits, limit, whole).ptr;
    if (whole == 0 && decimals > 0) {
        *end++ = '0';
    }
    if (decimals > 0) {
        char* const point = end - decimals;
        std::copy_backward(point, end, end + 1);
        *point = '.';
        ++end;
    }
    return end;
}

/// A number with an exponent, taken apart.
struct Decimal {
    std::string digits; ///< without a point
    int exponent;       ///< where the first digit stands before the point
};

Decimal decimal(double value, int digit_count) {
    std::string text = digits(value, std::chars_format::scientific, digit_count - 1);
    const std::size_t mark = text.find('e');
    Decimal result{text.substr(0, mark), 0};
    std::size_t sign = mark + 1;
    sign += sign < text.size() && text[sign] == '+' ? 1 : 0; // which the conversion refuses
    if (mark != std::string::npos) {
        std::from_chars(text.data() + sign, text.data() + text.size(), result.exponent);
    }
    if (result.digits.size() > 1) {
        result.digits.erase(1, 1);
    }
    return result;
}

} // namespace

NumberSpelling NumberSpelling::of(std::string_view text) {
    NumberSpelling spelling;
    const auto mark = [&](Mark which, bool set) {
        spelling.marks = static_cast<std::uint8_t>(spelling.marks | (set ? which : 0));
    };
    mark(Plus, text.starts_with('+'));
    if (text.starts_with('+') || text.starts_with('-')) {
        text.remove_prefix(1);
    }
    const bool below_one = text.empty() || !is_digit(text.front()) || text.front() == '0';
    const std::size_t before = take_digits(text);
    mark(Zero, before > 0);
    if (text.starts_with('.')) {
        mark(Point, true);
        text.remove_prefix(1);
        const std::size_t after = take_digits(text);
        spelling.decimals = static_cast<std::uint8_t>(std::min<std::size_t>(after, 255));
    }
    if (!text.empty()) {
        mark(Scientific, true);
        mark(BelowOne, below_one);
        if (text.front() != '+' && text.front() != '-') {
            spelling.letter = text.front();
            text.remove_prefix(1);
        }
        mark(ExponentPlus, text.starts_with('+'));
        if (text.starts_with('+') || text.starts_with('-')) {
            // A negative exponent doesn't tell; the usual way is a sign in both cases.
            mark(ExponentPlus, true);
            text.remove_prefix(1);
        }
        spelling.exponent_digits =
            static_cast<std::uint8_t>(std::min<std::size_t>(text.size(), 255));
    }
    return spelling;
}

std::string NumberSpelling::text(double value) const {
    const double size = std::abs(value);
    if (marks == (decimals > 0 ? Zero | Point : Zero)) {
        std::array<char, 32> buffer; // NOLINT(cppcoreguidelines-pro-type-member-init)
        char* begin = buffer.data();
        if (std::signbit(value)) {
            *begin++ = '-';
        }
        if (char* end = write_fraction(size, decimals, begin, buffer.data() + buffer.size())) {
            return {buffer.data(), end};
        }
    }
    std::string before;
    std::string after;
    int exponent = 0;
    if (!has(Scientific)) {
        before = digits(size, std::chars_format::fixed, decimals);
        if (const std::size_t point = before.find('.'); point != std::string::npos) {
            after = before.substr(point + 1);
            before.resize(point);
        }
    } else if (has(BelowOne)) {
        const Decimal of = decimal(size, std::max<int>(1, decimals));
        before.assign(1, '0');
        after = of.digits;
        exponent = size == 0.0 ? of.exponent : of.exponent + 1;
    } else {
        const Decimal of = decimal(size, 1 + decimals);
        before = of.digits.substr(0, 1);
        after = of.digits.substr(1);
        exponent = of.exponent;
    }

    std::string text = std::signbit(value) ? "-" : has(Plus) ? "+" : "";
    if (before != "0" || has(Zero)) {
        text += before;
    }
    if (has(Point)) {
        text += '.';
    }
    text += after;
    if (has(Scientific)) {
        if (letter != '\0') {
            text += letter;
        }
        if (exponent < 0 || has(ExponentPlus)) {
            text += exponent < 0 ? '-' : '+';
        }
        const std::string power = std::to_string(std::abs(exponent));
        text.append(exponent_digits > power.size() ? exponent_digits - power.size() : 0, '0');
        text += power;
    }
    return text;
}

} // namespace tessara
