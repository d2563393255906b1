#include "engine/data/dat_tokens.hpp"
#include "engine/data/number_spelling.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <random>
#include <string>

namespace tessara {
namespace {

class Spelled : public testing::TestWithParam<const char*> {};

TEST_P(Spelled, ComesBackFromItsValue) {
    const std::string text = GetParam();
    const double value = parse_number(text).value();
    EXPECT_EQ(NumberSpelling::of(text).text(value), text);
}

INSTANTIATE_TEST_SUITE_P(Plain, Spelled,
                         testing::Values("0", "-0", "7", "+7", "-7", "300.", "0.", "-0.0", "0.50",
                                         ".5", "-.5", "+.5", ".0", "6000.0000", "-241826.400",
                                         "123456789012", "10000000000", "0.1234567890123456"));
INSTANTIATE_TEST_SUITE_P(WithExponent, Spelled,
                         testing::Values("1e5", "1e-5", "1.5E+03", "-8.4893408E-03", "1.E5", "1d3",
                                         "2.5D-12", "1.5-3", "1.5+03", "0.0E+00", "0.000E+00",
                                         "1e-300", "1.7976931348623157e+308", "5e-324"));
INSTANTIATE_TEST_SUITE_P(WithMantissaBelowOne, Spelled,
                         testing::Values("0.12345679E+09", "-.84893408E-02", ".50E+00",
                                         ".00000000E+00", "-.12D-05", "0.1-100"));

TEST(NumberSpelling, TellsNumbersOfOneValueApart) {
    const NumberSpelling first = NumberSpelling::of("1.50");
    for (const char* other : {"1.5", "+1.50", "1.50E0", "1.50e0", "0.15E1"}) {
        EXPECT_NE(first, NumberSpelling::of(other)) << other;
    }
}

TEST(NumberSpelling, OfStrangeSpellingsDoesNotComeBack) {
    // Which is why these are kept as text.
    for (const char* text :
         {"007", "0.05E+3", "12.5E+1", "1e-400", "0e999", "0.10000000000000000000000000000001"}) {
        const double value = parse_number(text).value();
        EXPECT_NE(NumberSpelling::of(text).text(value), text) << text;
    }
}

TEST(NumberSpelling, RoundsAsTheLibraryDoes) {
    std::mt19937_64 random(52);
    for (int k = 0; k < 20000; ++k) {
        const int decimals = static_cast<int>(random() % 20);
        const double scale = std::pow(10.0, static_cast<int>(random() % 30) - 12);
        double value = scale * (static_cast<double>(random()) / 0x1p64);
        if (k % 2 == 0) { // a decimal fraction
            char word[80];
            std::snprintf(word, sizeof word, "%.*f", decimals, value);
            value = parse_number(word).value();
        }
        char expected[80];
        std::snprintf(expected, sizeof expected, "%.*f", decimals, value);
        EXPECT_EQ(NumberSpelling::of(expected).text(value), expected);
    }
}

TEST(NumberSpelling, WritesSomethingForEverySetOfMarks) {
    for (unsigned marks = 0; marks < 256; ++marks) {
        for (const int decimals : {0, 1, 255}) {
            for (const double value : {0.0, -1.5, 1e-300, 1.7976931348623157e308}) {
                NumberSpelling spelling;
                spelling.marks = static_cast<std::uint8_t>(marks);
                spelling.decimals = static_cast<std::uint8_t>(decimals);
                spelling.letter = 'E';
                spelling.exponent_digits = 255;
                EXPECT_LT(spelling.text(value).size(), 1000U);
            }
        }
    }
}

} // namespace
} // namespace tessara
