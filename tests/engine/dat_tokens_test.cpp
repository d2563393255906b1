#include "engine/data/dat_tokens.hpp"

#include <gtest/gtest.h>

#include <string>

namespace tessara {
namespace {

struct NumberRow {
    const char* text;
    double value;
};

TEST(ParseNumber, TakesEverySpellingOfANumber) {
    const NumberRow rows[] = {
        {"7", 7.0},
        {"-7", -7.0},
        {"+7", 7.0},
        {"10000000.", 1e7},
        {".5", 0.5},
        {"-.84893408E-02", -0.0084893408},
        {".5E-3", 5e-4},
        {"0.12345679E+09", 0.12345679e9},
        {"-.12D-05", -1.2e-6},
        {"1d3", 1000.0},
        {"1e3", 1000.0},
        {"0.1-100", 1e-101},
        {"2.5+3", 2500.0},
        {"-.5-2", -0.005},
        {"7.E2", 700.0},
        {"0", 0.0},
        {"1e-400", 0.0},
        {"0e999", 0.0},
    };
    for (const NumberRow& row : rows) {
        const auto value = parse_number(row.text);
        ASSERT_TRUE(value.has_value()) << row.text;
        EXPECT_DOUBLE_EQ(*value, row.value) << row.text;
    }
}

TEST(ParseNumber, RefusesWhatIsNoNumber) {
    for (const char* text :
         {"",     "-",     "+",     ".",        "e5",   "1e",    "1e+", "1d-",   "NaN",
          "nan",  "Inf",   "-inf",  "infinity", "****", "3*0.0", "/",   "1.2.3", "1e5.5",
          "0x10", "1_000", "1e999", "-1e999",   "12a",  "--1",   "+-1", "1-",    "1e5x"}) {
        EXPECT_FALSE(parse_number(text).has_value()) << text;
    }
}

TEST(DatTokens, TakesARecordFromAsManyLinesAsItNeedsAndDropsTheRest) {
    DatTokens tokens("title\n1 2\n\n 3 rest of the line\n4\n", "x.dat");
    tokens.raw_line();
    tokens.begin_record();
    EXPECT_EQ(tokens.number("a number"), 1.0);
    EXPECT_EQ(tokens.number("a number"), 2.0);
    EXPECT_EQ(tokens.number("a number"), 3.0);
    tokens.begin_record();
    EXPECT_EQ(tokens.number("a number"), 4.0);
    EXPECT_FALSE(tokens.after_end().has_value());
}

TEST(DatTokens, TakesEveryLineEnd) {
    for (const char* text : {"t\n1\n2\n", "t\r\n1\r\n2\r\n", "t\r1\r2", "\xEF\xBB\xBFt\n1\n2"}) {
        DatTokens tokens(text, "x.dat");
        EXPECT_EQ(tokens.raw_line(), "t");
        tokens.begin_record();
        EXPECT_EQ(tokens.number("a number"), 1.0);
        EXPECT_EQ(tokens.last().line, 2);
        tokens.begin_record();
        EXPECT_EQ(tokens.number("a number"), 2.0);
        EXPECT_EQ(tokens.last().line, 3);
    }
}

TEST(DatTokens, SeparatesByBlanksTabsAndCommas) {
    DatTokens tokens(" 1\t2, 3 ,4\n", "x.dat");
    tokens.begin_record();
    for (double value : {1.0, 2.0, 3.0, 4.0}) {
        EXPECT_EQ(tokens.number("a number"), value);
    }
    EXPECT_EQ(tokens.notes().size(), 2U); // each comma is noted
}

TEST(DatTokens, SaysWhereAndWhatWasExpectedAndFound) {
    DatTokens tokens("title\n  1  two\n", "x.dat");
    tokens.raw_line();
    tokens.set_context("a context");
    tokens.begin_record();
    tokens.number("a first number");
    try {
        tokens.number("a second number");
        FAIL();
    } catch (const ReadError& error) {
        EXPECT_STREQ(error.what(), "x.dat, line 2, column 6: expected a second number, found 'two' "
                                   "(a context)");
        EXPECT_EQ(error.line(), 2);
        EXPECT_EQ(error.column(), 6);
        EXPECT_EQ(error.file(), "x.dat");
    }
}

TEST(DatTokens, NamesTheLastLineWhereTheFileEndsEarly) {
    DatTokens tokens("title\n1\n", "x.dat");
    tokens.raw_line();
    tokens.begin_record();
    tokens.number("a number");
    try {
        tokens.number("another");
        FAIL();
    } catch (const ReadError& error) {
        EXPECT_STREQ(error.what(),
                     "x.dat, line 2, column 2: expected another, found the end of the file");
    }
}

TEST(DatTokens, TakesWholeNumbersWithAPointAndNotesThem) {
    DatTokens tokens("2.0 2.5\n", "x.dat");
    tokens.begin_record();
    EXPECT_EQ(tokens.integer("a count", 0, 10), 2);
    EXPECT_EQ(tokens.notes().size(), 1U);
    EXPECT_THROW(tokens.integer("a count", 0, 10), ReadError);
}

TEST(DatTokens, RefusesWholeNumbersOutsideTheLimits) {
    for (const char* text : {"-1", "11", "1e300", "4294967297"}) {
        DatTokens tokens(text, "x.dat");
        tokens.begin_record();
        EXPECT_THROW(tokens.integer("a count", 0, 10), ReadError) << text;
    }
}

TEST(DatTokens, NotesNumbersThatARecordLeavesUnread) {
    DatTokens tokens("1 2 3\n4\n", "x.dat");
    tokens.set_context("a record");
    tokens.begin_record();
    tokens.number("a number");
    tokens.begin_record();
    ASSERT_EQ(tokens.notes().size(), 1U);
    EXPECT_EQ(tokens.notes()[0].text, "2 unread numbers after the record of a record");
}

struct NameRow {
    const char* line;
    const char* name;
    bool marked;
    std::size_t notes;
};

TEST(NameLines, KeepTheNameAndDropTheDecoration) {
    const NameRow rows[] = {
        {"Fe2O3", "Fe2O3", false, 0},
        {" Fe2O3(s)                #", "Fe2O3(s)", true, 0},
        {"Fe#", "Fe#", false, 0},
        {"X#2", "X#2", false, 0},
        {"SOLID       = MIXTURE PHASE =  2", "SOLID", false, 0},
        {"A2  0.0 0.0", "A2", false, 0},
        {"A2  0.0 1.5", "A2", false, 1},
        {"B  * 2", "B", false, 0},
        {" two words", "two words", false, 1},
        {" a name                  far behind", "a name", false, 1},
        {"caf\xC3\xA9", "caf\xC3\xA9", false, 0},
        {"caf\xE9", "caf\xC3\xA9", false, 0},
    };
    for (const NameRow& row : rows) {
        DatTokens tokens(row.line, "x.dat");
        const NameLine name = tokens.name_line("a name");
        EXPECT_EQ(name.name, row.name) << row.line;
        EXPECT_EQ(name.marked, row.marked) << row.line;
        EXPECT_EQ(tokens.notes().size(), row.notes) << row.line;
    }
}

TEST(NameLines, AreNoNumbers) {
    for (const char* text : {"6000.0000", "1E5", "-3", ".5 x"}) {
        DatTokens tokens(text, "x.dat");
        EXPECT_THROW(tokens.name_line("a name"), ReadError) << text;
    }
}

TEST(NameLines, RefuseControlCharacters) {
    const std::string text("A\0B\n", 4);
    DatTokens tokens(text, "x.dat");
    EXPECT_THROW(tokens.name_line("a name"), ReadError);
}

} // namespace
} // namespace tessara
