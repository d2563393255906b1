#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace tessara {

/// How a number is written down, apart from its value: with how many decimals, with which kind of
/// exponent. With the value it gives back the text: ".50E-03", "300.", "1.2d3".
struct NumberSpelling {
    enum Mark : std::uint8_t {
        Point = 1,        ///< has a decimal point
        Zero = 2,         ///< the zero before the point of a number below one is written
        Plus = 4,         ///< has a sign also where it is positive
        Scientific = 8,   ///< has an exponent
        BelowOne = 16,    ///< what stands before the exponent is below one: 0.12E+01
        ExponentPlus = 32 ///< the exponent has a sign also where it is positive
    };

    std::uint8_t marks = 0;
    std::uint8_t decimals = 0;        ///< digits after the point
    char letter = '\0';               ///< before the exponent; none where its sign starts it
    std::uint8_t exponent_digits = 0; ///< fewest digits of the exponent

    bool has(Mark mark) const { return (marks & mark) != 0; }

    /// The spelling of a number that `parse_number` takes.
    static NumberSpelling of(std::string_view text);
    std::string text(double value) const;

    friend bool operator==(const NumberSpelling&, const NumberSpelling&) = default;
    friend auto operator<=>(const NumberSpelling&, const NumberSpelling&) = default;
};

} // namespace tessara
