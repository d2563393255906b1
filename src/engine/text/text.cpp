#include "engine/text/text.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <iomanip>
#include <locale>
#include <ostream>
#include <sstream>

namespace tessara {
namespace {

/// First cells wider than this stand on a line of their own.
constexpr std::size_t WidestName = 40;
constexpr std::size_t LineWidth = 96;
constexpr std::size_t Gap = 2;

std::string escape(char mark, std::size_t digits, unsigned long code) {
    static constexpr std::string_view hex = "0123456789abcdef";
    std::string text(digits + 2, '0');
    text[0] = '\\';
    text[1] = mark;
    for (std::size_t k = digits + 1; k > 1; --k) {
        text[k] = hex[code % 16];
        code /= 16;
    }
    return text;
}

/// The character that starts the text and the number of its bytes; no bytes where the text is not
/// well-formed UTF-8.
struct Decoded {
    unsigned long code = 0;
    std::size_t bytes = 0;
};

Decoded decode(std::string_view text) {
    const auto byte = [&](std::size_t k) {
        return static_cast<unsigned long>(static_cast<unsigned char>(text[k]));
    };
    const unsigned long lead = byte(0);
    const std::size_t bytes = lead >= 0xf0 ? 4 : lead >= 0xe0 ? 3 : 2;
    static constexpr std::array<unsigned long, 5> least{0, 0, 0x80, 0x800, 0x10000};
    if (lead < 0xc0 || lead >= 0xf8 || text.size() < bytes) {
        return {};
    }
    unsigned long code = lead & (0xffUL >> (bytes + 1));
    for (std::size_t k = 1; k < bytes; ++k) {
        if ((byte(k) & 0xc0UL) != 0x80) {
            return {};
        }
        code = code * 64 + (byte(k) & 0x3fUL);
    }
    const bool surrogate = code >= 0xd800 && code < 0xe000;
    return code < least[bytes] || code > 0x10ffff || surrogate ? Decoded{} : Decoded{code, bytes};
}

std::ostringstream plain_stream() {
    std::ostringstream out;
    out.imbue(std::locale::classic());
    return out;
}

std::string special(double value) {
    return std::isnan(value) ? "-" : value > 0.0 ? "inf" : "-inf";
}

} // namespace

std::string ascii(std::string_view utf8) {
    std::string text;
    for (std::size_t at = 0; at < utf8.size();) {
        const auto c = static_cast<unsigned char>(utf8[at]);
        if (c >= 0x20 && c < 0x7f) {
            text += utf8[at++];
            continue;
        }
        const Decoded decoded = c < 0x80 ? Decoded{c, 1} : decode(utf8.substr(at));
        if (decoded.bytes == 0) {
            text += escape('x', 2, c);
            ++at;
            continue;
        }
        text += decoded.code < 0x100     ? escape('x', 2, decoded.code)
                : decoded.code < 0x10000 ? escape('u', 4, decoded.code)
                                         : escape('U', 8, decoded.code);
        at += decoded.bytes;
    }
    return text;
}

std::string number_text(double value, int digits) {
    if (!std::isfinite(value)) {
        return special(value);
    }
    std::ostringstream out = plain_stream();
    out << std::setprecision(digits) << value;
    return out.str();
}

std::string quoted_number(double value) {
    return std::isnan(value) ? "nan" : number_text(value);
}

std::string column_text(double value) {
    if (!std::isfinite(value)) {
        return special(value);
    }
    if (value == 0.0) {
        return "0";
    }
    const double size = std::abs(value);
    std::ostringstream out = plain_stream();
    // The limits are such that rounding does not carry a number across them.
    if (size >= 0.01 && size < 999999.0) {
        out << std::fixed << std::setprecision(6) << value;
    } else {
        out << std::scientific << std::setprecision(5) << value;
    }
    return out.str();
}

TextTable::TextTable(std::vector<std::string> head) : left_(head.size(), 0) {
    left_.front() = 1;
    rows_.push_back(std::move(head));
}

void TextTable::head(std::vector<std::string> cells) {
    rows_.insert(rows_.begin() + static_cast<std::ptrdiff_t>(head_rows_), std::move(cells));
    ++head_rows_;
}

void TextTable::row(std::vector<std::string> cells) {
    rows_.push_back(std::move(cells));
}

void TextTable::flush_left(std::size_t column) {
    left_[column] = 1;
}

void TextTable::print(std::ostream& out) const {
    std::vector<std::size_t> widths(left_.size(), 0);
    for (const std::vector<std::string>& row : rows_) {
        for (std::size_t k = 0; k < row.size(); ++k) {
            if (k > 0 || row[k].size() <= WidestName) {
                widths[k] = std::max(widths[k], row[k].size());
            }
        }
    }
    for (const std::vector<std::string>& row : rows_) {
        std::string line(Gap, ' ');
        for (std::size_t k = 0; k < row.size(); ++k) {
            const std::string& cell = row[k];
            if (k == 0 && cell.size() > widths[0]) {
                out << line << cell << '\n';
                line.append(widths[0], ' ');
                continue;
            }
            line.append(k > 0 ? Gap : 0, ' ');
            const std::string blanks(widths[k] > cell.size() ? widths[k] - cell.size() : 0, ' ');
            line += left_[k] != 0 ? cell + blanks : blanks + cell;
        }
        line.erase(line.find_last_not_of(' ') + 1);
        out << line << '\n';
    }
}

void print_heading(std::ostream& out, std::string_view text, char mark) {
    out << '\n' << text << '\n' << std::string(text.size(), mark) << '\n';
}

void print_paragraph(std::ostream& out, std::string_view text, std::size_t indent) {
    std::string line(Gap, ' ');
    bool begun = false;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(' '), text.size());
        const std::string_view word = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        if (begun && line.size() + 1 + word.size() > LineWidth) {
            out << line << '\n';
            line.assign(Gap + indent, ' ');
            begun = false;
        }
        line += (begun ? " " : "") + std::string(word);
        begun = true;
    }
    out << line << '\n';
}

} // namespace tessara
