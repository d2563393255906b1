#include "engine/data/dat_tokens.hpp"
#include "engine/data/tdf_lines.hpp"
#include "engine/data/text_lines.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <string>
#include <vector>

namespace tessara {
namespace {

std::string packed(std::string_view text) {
    TdfWriter out;
    append_lines(out, text);
    return out.bytes;
}

DatTokens tokens_of(const std::string& bytes) {
    return {TdfLines(bytes, 0, bytes.size()), "x"};
}

std::vector<std::string> lines_of(std::string_view text) {
    std::vector<std::string> lines;
    for (TextLines walk(text); walk.next();) {
        lines.emplace_back(walk.line());
    }
    return lines;
}

using Lines = std::vector<std::string>;

TEST(TextLines, EndWithEitherMarkOrBoth) {
    EXPECT_EQ(lines_of("a\nb"), (Lines{"a", "b"}));
    EXPECT_EQ(lines_of("a\nb\n"), (Lines{"a", "b"}));
    EXPECT_EQ(lines_of("a\r\nb\r\n"), (Lines{"a", "b"}));
    EXPECT_EQ(lines_of("a\rb\r"), (Lines{"a", "b"}));
    EXPECT_EQ(lines_of("a\r\r\n\n\nb"), (Lines{"a", "", "", "", "b"}));
    EXPECT_EQ(lines_of("\n"), (Lines{""}));
    EXPECT_EQ(lines_of("\n\r"), (Lines{"", ""}));
    EXPECT_EQ(lines_of(""), Lines{});
    EXPECT_EQ(lines_of("\xEF\xBB\xBFtitle\n"), (Lines{"title"}));
}

TEST(TdfLines, GiveTheTextBack) {
    const std::string text = "1 2 3\n"          // a title
                             "  1   -2.50 3\n"  // numbers
                             "\n"               // nothing
                             "Fe2O3(s)     #\n" // a name
                             "1, 2\n"           // numbers with a comma
                             "1 2 three\n"      // other words
                             " 007 .5E-03 1e5 +7. 123456789 -300 1e-400\n"
                             "70000 40000 -0.0 0 0.000\n";
    const std::string bytes = packed(text);
    DatTokens tokens = tokens_of(bytes);
    for (const std::string& line : lines_of(text)) {
        EXPECT_EQ(tokens.raw_line(), line);
    }
    EXPECT_FALSE(tokens.raw_line().has_value());
}

TEST(TdfLines, HoldNumbersBitForBit) {
    std::mt19937_64 random(7);
    std::string text = "title\n";
    std::vector<double> values;
    for (int k = 0; k < 2000; ++k) {
        const double value = std::bit_cast<double>(random());
        if (std::isfinite(value)) {
            char word[40];
            std::snprintf(word, sizeof word, "%.17g\n", value);
            text += word;
            values.push_back(parse_number(std::string_view(word, std::strlen(word) - 1)).value());
        }
    }
    const std::string bytes = packed(text);
    DatTokens tokens = tokens_of(bytes);
    tokens.raw_line();
    for (const double value : values) {
        EXPECT_EQ(std::bit_cast<std::uint64_t>(tokens.number("a number")),
                  std::bit_cast<std::uint64_t>(value));
    }
}

TEST(TdfLines, TakeLessRoomThanTheText) {
    std::string text = "title\n";
    for (int k = 0; k < 100; ++k) {
        text += "   1.00000000E+00   0.00000000E+00  2 3 4  -241826.000  12.345678901\n";
    }
    EXPECT_LT(packed(text).size(), text.size() / 2);
}

TEST(TdfLines, HoldMoreSpellingsThanTheirTableHasRoomFor) {
    std::string text = "title\n";
    for (int digits = 1; digits < 200; ++digits) {
        for (const char* before : {"", "0", "1", "+1", "300"}) {
            text += std::string(before) + "." + std::string(static_cast<std::size_t>(digits), '0') +
                    "\n";
        }
    }
    const std::string bytes = packed(text);
    DatTokens tokens = tokens_of(bytes);
    for (const std::string& line : lines_of(text)) {
        EXPECT_EQ(tokens.raw_line(), line);
    }
}

TEST(TdfLines, KeepNumbersFarToTheRightAsText) {
    const std::string line = "1" + std::string(2'000'000, ' ') + "2";
    const std::string bytes = packed("title\n" + line + "\n");
    DatTokens tokens = tokens_of(bytes);
    tokens.raw_line();
    EXPECT_EQ(tokens.number("a number"), 1.0);
    EXPECT_EQ(tokens.number("a number"), 2.0);
    EXPECT_EQ(tokens.last().column, 2'000'002);
}

// --- the same answers as from the text, whatever is asked ---

/// Text of lines with words that may stand in a data file, well placed or not.
std::string random_text(std::mt19937& random) {
    static const char* const words[] = {"1",   "2",    "300.",  "-0.5", ".25E-03", "6000.0000",
                                        "007", "1d3",  "Fe2O3", "#",    "1,",      "IDMX",
                                        "x1",  "+4.0", "=",     "0",    "2.00",    "1e-400"};
    std::string text = "title\n";
    for (auto lines = random() % 12; lines > 0; --lines) {
        const bool only_numbers = random() % 2 == 0;
        for (auto count = random() % 6; count > 0; --count) {
            text += std::string(1 + random() % 3, ' ');
            text += only_numbers ? words[random() % 6] : words[random() % std::size(words)];
        }
        text += "\n";
    }
    return text;
}

/// What a reader that asks at random is told: answers, places, notes and the last error.
std::string told(DatTokens tokens, std::mt19937 random) {
    std::string all;
    const auto tell = [&](const auto& what) { (all += what) += "|"; };
    const auto tell_token = [&](const std::optional<Token>& token) {
        if (token) {
            tell(token->text);
            tell(std::to_string(token->line) + ":" + std::to_string(token->column));
        } else {
            tell("none");
        }
    };
    try {
        tell(tokens.raw_line().value());
        for (int step = 0; step < 40; ++step) {
            switch (random() % 9) {
            case 0:
            case 1:
                tell(std::to_string(tokens.number("a number")));
                break;
            case 2:
                tell(std::to_string(tokens.integer("a count", 0, 1000)));
                break;
            case 3:
                tokens.begin_record();
                break;
            case 4:
                tell_token(tokens.peek());
                break;
            case 5:
                tell_token(tokens.word("a word"));
                break;
            case 6:
                tokens.set_context("step " + std::to_string(step));
                break;
            case 7:
                tell_token(tokens.last());
                break;
            default:
                if (random() % 4 == 0) {
                    const NameLine name = tokens.name_line("a name");
                    tell(name.name + (name.marked ? "#" : ""));
                }
            }
        }
        tell_token(tokens.after_end());
    } catch (const ReadError& error) {
        tell(error.what());
    }
    for (const ReadNote& note : tokens.notes()) {
        tell(std::to_string(note.line) + ":" + std::to_string(note.column) + " " + note.text);
    }
    return all;
}

TEST(DatTokens, TellTheSameOfATransparentFileAsOfItsText) {
    std::mt19937 random(40);
    for (int k = 0; k < 3000; ++k) {
        const std::string text = random_text(random);
        const std::string bytes = packed(text);
        const std::mt19937 asked(static_cast<unsigned>(k));
        ASSERT_EQ(told(tokens_of(bytes), asked), told(DatTokens(text, "x"), asked)) << text;
    }
}

// --- nonsense ---

class BrokenLines : public testing::TestWithParam<std::string> {};

TEST_P(BrokenLines, AreRefused) {
    const std::string bytes = GetParam();
    EXPECT_THROW(
        {
            DatTokens tokens = tokens_of(bytes);
            while (tokens.raw_line()) {
            }
        },
        TdfError);
}

const std::string OneForm("\x01\x00\x05\x00\x00\x00\x00", 7); // real numbers with their text
std::string form(char width) {
    return std::string("\x01\x00", 2) + width + std::string(4, '\0');
}

INSTANTIATE_TEST_SUITE_P(Table, BrokenLines,
                         testing::Values("", std::string("\x00\x00", 2), std::string("\x01\x01", 2),
                                         std::string("\x01\x00\x05", 3), form('\x06'),
                                         std::string("\x01\x00\x01\x00\x00x\x00", 7)));
INSTANTIATE_TEST_SUITE_P(
    Numbers, BrokenLines,
    testing::Values(OneForm + "\x02", OneForm + "\x02\x01", form(0) + "\x02\x01",
                    form(1) + std::string("\x02\x00\x00", 3),
                    form(4) + std::string("\x02\x00\x00", 3) + "1234567",
                    form(4) +
                        std::string("\x02\x00\x00\x00\x00\x00\x00\x00\x00\xF0\x7F", 11), // inf
                    form(0) + std::string("\x02\x00\xFF\xFF\xFF\xFF\x0F", 7),
                    form(0) + std::string("\xFE\xFF\xFF\xFF\x0F\x00\x00", 7)));
INSTANTIATE_TEST_SUITE_P(Text, BrokenLines,
                         testing::Values(OneForm + "\x07"
                                                   "ab",
                                         OneForm + "\xFF\xFF\xFF\xFF\xFF\xFF\xFF"));

} // namespace
} // namespace tessara
