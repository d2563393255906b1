#include "engine/data/tdf_lines.hpp"

#include "engine/data/dat_tokens.hpp"
#include "engine/data/text_lines.hpp"

#include <cmath>
#include <limits>
#include <map>

namespace tessara {
namespace {

using Width = NumberForm::Width;

/// Most forms that a file has, as a byte names each; the first is for numbers of all other ones.
constexpr std::size_t MostForms = 256;
/// Numbers behind that column are left in the text; so no line of numbers is long.
constexpr std::size_t LastColumn = 1'000'000;
constexpr std::string_view ExponentLetters{"\0eEdD", 5};

template <class Whole>
bool fits(double value) {
    // A zero with a sign is no whole number.
    return value >= std::numeric_limits<Whole>::min() &&
           value <= std::numeric_limits<Whole>::max() && value == std::floor(value) &&
           !(value == 0.0 && std::signbit(value));
}

Width width_of(double value) {
    if (fits<std::int8_t>(value)) {
        return value == 0.0 ? Width::None : Width::Byte;
    }
    return fits<std::int16_t>(value)   ? Width::Two
           : fits<std::int32_t>(value) ? Width::Four
                                       : Width::Real;
}

struct Word {
    std::size_t column;
    std::string_view text;
    double value;
};

/// The numbers of a line, if it holds nothing else.
bool take_numbers(std::string_view line, std::vector<Word>& numbers) {
    numbers.clear();
    std::size_t at = 0;
    for (;;) {
        while (at < line.size() && is_blank(line[at])) {
            ++at;
        }
        if (at == line.size()) {
            return true;
        }
        const std::size_t end = word_end(line, at);
        const std::string_view text = line.substr(at, end - at);
        const std::optional<double> value = parse_number(text);
        if (!value || end > LastColumn || (end < line.size() && line[end] == ',')) {
            return false;
        }
        numbers.push_back({at, text, *value});
        at = end;
    }
}

class LineWriter {
public:
    void add_text(std::string_view line) {
        lines_.count(line.size() << 1U | 1U);
        lines_.bytes += line;
    }

    void add_numbers(const std::vector<Word>& numbers) {
        lines_.count(numbers.size() << 1U);
        std::size_t column = 0;
        for (const Word& number : numbers) {
            const std::uint8_t index = form_of(number);
            lines_.number(index);
            lines_.count(number.column - column);
            add_value(number, index == 0 ? Width::RealText : width_of(number.value));
            column = number.column;
        }
    }

    void finish(TdfWriter& out) const {
        std::vector<NumberForm> table(forms_.size() + 1);
        for (const auto& [form, index] : forms_) {
            table[index] = form;
        }
        out.number(static_cast<std::uint16_t>(table.size()));
        for (const NumberForm& form : table) {
            out.number(static_cast<std::uint8_t>(form.width));
            out.number(form.spelling.marks);
            out.number(form.spelling.decimals);
            out.number(static_cast<std::uint8_t>(form.spelling.letter));
            out.number(form.spelling.exponent_digits);
        }
        out.bytes += lines_.bytes;
    }

private:
    std::uint8_t form_of(const Word& number) {
        const NumberForm form{width_of(number.value), NumberSpelling::of(number.text)};
        if (form.spelling.text(number.value) != number.text) {
            return 0;
        }
        const auto found = forms_.find(form);
        if (found != forms_.end()) {
            return found->second;
        }
        if (forms_.size() + 1 == MostForms) {
            return 0;
        }
        const auto index = static_cast<std::uint8_t>(forms_.size() + 1);
        forms_.emplace(form, index);
        return index;
    }

    void add_value(const Word& number, Width width) {
        switch (width) {
        case Width::None:
            break;
        case Width::Byte:
            lines_.number(static_cast<std::uint8_t>(static_cast<std::int8_t>(number.value)));
            break;
        case Width::Two:
            lines_.number(static_cast<std::uint16_t>(static_cast<std::int16_t>(number.value)));
            break;
        case Width::Four:
            lines_.number(static_cast<std::uint32_t>(static_cast<std::int32_t>(number.value)));
            break;
        case Width::Real:
            lines_.real(number.value);
            break;
        case Width::RealText:
            lines_.real(number.value);
            lines_.text(number.text);
            break;
        }
    }

    std::map<NumberForm, std::uint8_t> forms_; ///< with their places in the table
    TdfWriter lines_;
};

double take_real(TdfReader& in) {
    const double value = in.real();
    if (!std::isfinite(value)) {
        in.fail();
    }
    return value;
}

} // namespace

bool LineNumber::has_point() const {
    return form->width == Width::RealText ? own_text.find('.') != std::string_view::npos
                                          : form->spelling.has(NumberSpelling::Point);
}

std::string LineNumber::text() const {
    return form->width == Width::RealText ? std::string(own_text) : form->spelling.text(value);
}

void append_lines(TdfWriter& out, std::string_view text) {
    LineWriter writer;
    std::vector<Word> numbers;
    TextLines lines(text);
    // The title is text whatever it looks like.
    for (bool title = true; lines.next(); title = false) {
        if (!title && take_numbers(lines.line(), numbers)) {
            writer.add_numbers(numbers);
        } else {
            writer.add_text(lines.line());
        }
    }
    writer.finish(out);
}

TdfLines::TdfLines(std::string_view bytes, std::size_t begin, std::size_t end)
    : in_(bytes.substr(0, end), begin) {
    const auto count = in_.number<std::uint16_t>();
    if (count == 0 || count > MostForms) {
        in_.fail();
    }
    for (int k = 0; k < count; ++k) {
        NumberForm form;
        const auto width = in_.number<std::uint8_t>();
        form.width = static_cast<Width>(width);
        form.spelling.marks = in_.number<std::uint8_t>();
        form.spelling.decimals = in_.number<std::uint8_t>();
        form.spelling.letter = static_cast<char>(in_.number<std::uint8_t>());
        form.spelling.exponent_digits = in_.number<std::uint8_t>();
        if (width > static_cast<std::uint8_t>(Width::RealText) ||
            ExponentLetters.find(form.spelling.letter) == std::string_view::npos) {
            in_.fail();
        }
        forms_.push_back(form);
    }
}

bool TdfLines::next() {
    for (LineNumber dropped; left_ > 0;) {
        take_number(dropped);
    }
    if (in_.at_end()) {
        return false;
    }
    const std::size_t head = in_.count();
    numbers_ = (head & 1U) == 0;
    left_ = numbers_ ? head >> 1U : 0;
    text_ = numbers_ ? std::string_view() : in_.take(head >> 1U);
    column_ = 0;
    return true;
}

void TdfLines::take_number(LineNumber& number) {
    const auto index = in_.number<std::uint8_t>();
    if (index >= forms_.size()) {
        in_.fail();
    }
    const NumberForm& form = forms_[index];
    column_ += in_.count();
    --left_;
    if (column_ > LastColumn) {
        in_.fail();
    }
    number.column = column_;
    number.form = &form;
    switch (form.width) {
    case Width::None:
        number.value = 0.0;
        break;
    case Width::Byte:
        number.value = static_cast<std::int8_t>(in_.number<std::uint8_t>());
        break;
    case Width::Two:
        number.value = static_cast<std::int16_t>(in_.number<std::uint16_t>());
        break;
    case Width::Four:
        number.value = static_cast<std::int32_t>(in_.number<std::uint32_t>());
        break;
    case Width::Real:
        number.value = take_real(in_);
        break;
    case Width::RealText:
        number.value = take_real(in_);
        number.own_text = in_.text();
        break;
    }
}

} // namespace tessara
