#include "support.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <sstream>

namespace tessara::test {
namespace {

// A file with one of each: gas, ideal and Redlich-Kister phases, magnetism, compounds, a dummy. The
// broken files below are made from it by changing one line.
const std::vector<std::string> Lines = {
    /* 1 */ "a system of two",
    /* 2 */ "2 3 1 2 2 3",
    /* 3 */ "Aa Bb",
    /* 4 */ "10 20",
    /* 5 */ "6 1 2 3 4 5 6",
    /* 6 */ "6 1 2 3 4 5 6",
    /* 7 */ "GAS",
    /* 8 */ "IDMX",
    /* 9 */ "Aa",
    /* 10 */ "1 1 1 0",
    /* 11 */ "6000 1 2 3 4 5 6",
    /* 12 */ "MELT",
    /* 13 */ "RKMP",
    /* 14 */ "Aa",
    /* 15 */ "4 2 1 0",
    /* 16 */ "1000 1 2 3 4 5 6",
    /* 17 */ "1 -3 0.5",
    /* 18 */ "2000 1 2 3 4 5 6",
    /* 19 */ "0",
    /* 20 */ "Bb",
    /* 21 */ "1 1 0 1",
    /* 22 */ "6000 1 2 3 4 5 6",
    /* 23 */ "2",
    /* 24 */ "1 2 1",
    /* 25 */ "-14000 1 0 0 0 0",
    /* 26 */ "0",
    /* 27 */ "SOLID",
    /* 28 */ "RKMPM",
    /* 29 */ "0.3 0.28",
    /* 30 */ "Aa",
    /* 31 */ "13 1 1 0",
    /* 32 */ "6000 1 2 3 4 5 6",
    /* 33 */ "1000 2",
    /* 34 */ "Bb",
    /* 35 */ "1 1 0 1",
    /* 36 */ "6000 1 2 3 4 5 6",
    /* 37 */ "0",
    /* 38 */ "0",
    /* 39 */ "AaBb",
    /* 40 */ "1 1 1 1",
    /* 41 */ "6000 1 2 3 4 5 6",
    /* 42 */ "Fer",
    /* 43 */ "13 1 1 0",
    /* 44 */ "6000 1 2 3 4 5 6",
    /* 45 */ "1043 2.2 1 0.4",
    /* 46 */ "Bb(s) #",
    /* 47 */ "1 1 0 1",
    /* 48 */ "6000 0 0 0 0 0 0",
};

std::string file(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines) {
        text += line + "\n";
    }
    return text;
}

std::string with_line(std::size_t number, const std::string& line) {
    std::vector<std::string> lines = Lines;
    lines[number - 1] = line;
    return file(lines);
}

std::string without_line(std::size_t number) {
    std::vector<std::string> lines = Lines;
    lines.erase(lines.begin() + static_cast<std::ptrdiff_t>(number) - 1);
    return file(lines);
}

std::string message(const std::string& text) {
    try {
        read(text);
    } catch (const ReadError& error) {
        return error.what();
    }
    return "no error";
}

TEST(DatReader, ReadsEveryKindOfRecord) {
    const auto system = read(file(Lines));
    EXPECT_EQ(system->title, "a system of two");
    ASSERT_EQ(system->components.size(), 2U);
    EXPECT_EQ(system->components[1].name, "Bb");
    EXPECT_EQ(system->components[1].molar_mass, 20.0);
    ASSERT_EQ(system->phases.size(), 5U);
    EXPECT_TRUE(system->has_gas());
    EXPECT_EQ(system->phases[0].kind(), ModelKind::IDMX);
    EXPECT_EQ(system->phases[1].kind(), ModelKind::RKMP);
    EXPECT_EQ(system->phases[2].kind(), ModelKind::RKMPM);
    EXPECT_EQ(system->phases[3].kind(), ModelKind::Pure);
    EXPECT_EQ(system->phases[3].constituents[0].molar_mass, 30.0);
    ASSERT_TRUE(system->phases[4].constituents[0].magnetic.has_value());
    EXPECT_EQ(system->phases[4].constituents[0].magnetic->numbers.tc, 1043.0);
    ASSERT_EQ(system->dummies.size(), 1U);
    EXPECT_EQ(system->dummies[0].name, "Bb(s)");
    EXPECT_FALSE(system->dummies[0].has_data());
    EXPECT_TRUE(system->notes.empty());
    const auto ranges = system->phases[1].constituents[0].gibbs.ranges();
    ASSERT_EQ(ranges.size(), 2U);
    EXPECT_EQ(ranges[0].extra.size(), 1U);
    EXPECT_EQ(ranges[0].coefficients[5], 6.0);
}

TEST(DatReader, CountsItsArrays) {
    const std::array<int, ArraySizes::Count> expected = {7, 2, 3, 1, 0, 0, 0, 0, 2, 8, 0};
    EXPECT_EQ(read(file(Lines))->sizes().used, expected);
}

TEST(DatReader, TakesTheLayoutWithShortLines) {
    // The same numbers, wrapped after each fourth one, with names in a field of 25 columns.
    std::string wrapped;
    int count = 0;
    for (std::size_t k = 0; k < Lines.size(); ++k) {
        std::istringstream words(Lines[k]);
        std::string word;
        count = 0;
        while (words >> word) {
            wrapped += " " + word + (++count % 4 == 0 && k > 0 ? "\n" : "");
        }
        wrapped += "\n";
    }
    const auto system = read(wrapped);
    EXPECT_EQ(system->phases.size(), 5U);
    EXPECT_EQ(system->phases[1].constituents[0].gibbs.ranges()[1].coefficients[5], 6.0);
}

TEST(DatReader, HonoursTheListsOfTerms) {
    std::vector<std::string> lines = {
        "t",    "1 2 0 2 1", "A",     "1",        "2 6 1", "3 2 1 7", "MIX",
        "RKMP", "A",         "1 1 1", "6000 5 7", "B",     "1 1 1",   "6000 1 2",
        "2",    "1 2 1",     "3 4 5", "0",        "A(s)",  "1 1 1",   "6000 8 9"};
    const auto system = read(file(lines));
    const auto& c = system->phases[0].constituents[0].gibbs.ranges()[0].coefficients;
    EXPECT_EQ(c[5], 5.0); // 1/T comes first in this file
    EXPECT_EQ(c[0], 7.0);
    EXPECT_EQ(c[1], 0.0);
    const std::size_t all[] = {0, 1};
    const auto evaluator = system->phases[0].model->evaluator(system->phases[0].constituents, all);
    TemperatureTerms terms = system->terms();
    terms.set(100.0);
    const double x[] = {0.5, 0.5};
    std::vector<ThermalValue> partial(2);
    const double log_x[] = {std::log(0.5), std::log(0.5)};
    evaluator->set_state(terms, 2.0);
    const double ideal = 8.314462618 * 100.0 * std::log(0.5);
    EXPECT_NEAR(evaluator->mixing_thermal(x, log_x, partial).value - ideal,
                0.25 * (3.0 * 100.0 + 4.0 + 5.0 * 2.0), 1e-9);
}

TEST(DatReader, NumbersCopiesOfAPhaseAndSharesTheirModel) {
    std::vector<std::string> lines(Lines.begin(), Lines.begin() + 26);
    lines.insert(lines.end(), Lines.begin() + 11, Lines.begin() + 26);
    lines[1] = "2 3 1 2 2 0";
    const auto system = read(file(lines));
    ASSERT_EQ(system->phases.size(), 3U);
    EXPECT_EQ(system->phases[1].name, "MELT#1");
    EXPECT_EQ(system->phases[2].name, "MELT#2");
    EXPECT_EQ(system->phases[2].first_copy, 1U);
    EXPECT_EQ(system->phases[2].model, system->phases[1].model);
    EXPECT_TRUE(system->notes.empty());
}

TEST(DatReader, NotesCopiesThatDiffer) {
    std::vector<std::string> lines(Lines.begin(), Lines.begin() + 26);
    lines.insert(lines.end(), Lines.begin() + 11, Lines.begin() + 26);
    lines[1] = "2 3 1 2 2 0";
    lines.at(lines.size() - 2) = "-14001 1 0 0 0 0";
    const auto system = read(file(lines));
    EXPECT_EQ(system->phases[2].first_copy, 2U);
    ASSERT_EQ(system->notes.size(), 1U);
    EXPECT_EQ(system->notes[0].text, "copies of phase 'MELT' differ");
}

TEST(DatReader, ReadsDuplicateNamesAsTheyStand) {
    const auto components = read(with_line(3, "Aa Aa"));
    EXPECT_EQ(components->components[1].name, "Aa");
    EXPECT_EQ(components->notes.size(), 1U);
    const auto constituents = read(with_line(20, "Aa"));
    EXPECT_EQ(constituents->phases[1].constituents[1].name, "Aa");
    EXPECT_EQ(constituents->notes.size(), 1U);
    EXPECT_EQ(read(with_line(42, "AaBb"))->phases[4].name, "AaBb");
}

TEST(DatReader, TakesAFileWithoutSolutions) {
    for (const char* counts : {"2 1 0 1", "2 0 1"}) {
        std::vector<std::string> lines(Lines.begin(), Lines.begin() + 6);
        lines[1] = counts;
        lines.insert(lines.end(), Lines.begin() + 38, Lines.begin() + 41);
        const auto system = read(file(lines));
        EXPECT_EQ(system->phases.size(), 1U);
        EXPECT_FALSE(system->has_gas());
    }
}

TEST(DatReader, IgnoresCommentsBehindTheEnd) {
    for (const char* comment : {"######\n : a comment", ": text", "! text", "\n\n"}) {
        EXPECT_TRUE(read(file(Lines) + comment + "\n")->notes.empty()) << comment;
    }
    EXPECT_EQ(read(file(Lines) + "Bb2\n1 1 0 2\n")->notes.size(), 1U);
}

TEST(DatReader, ReadsVolumeDataAndMarksThem) {
    std::vector<std::string> lines = Lines;
    lines[39] = "3 1 1 1";
    lines.insert(lines.begin() + 41, "1 2 3 4 5 6\n7 8 9 10 11");
    const auto system = read(file(lines));
    EXPECT_TRUE(system->phases[3].constituents[0].has_volume_data);
    EXPECT_EQ(system->sizes().used.back(), 1);
}

struct Fault {
    const char* what;
    std::string text;
    const char* message;
};

TEST(DatReader, NamesLineColumnAndMistakeOfEachFault) {
    const Fault faults[] = {
        {"empty file", "",
         "test.dat, line 1, column 1: expected a title line, found the end of the file; the file "
         "is "
         "empty"},
        {"header only", "title\n",
         "test.dat, line 1, column 6: expected a positive number of components, found the end of "
         "the file (header)"},
        {"title missing", without_line(1),
         "test.dat, line 2, column 1: expected the number of components, found 'Aa' (header); line "
         "1 is always the title"},
        {"too few counts", with_line(2, "2 3 1 2"),
         "test.dat, line 3, column 1: expected the count of constituents of solution phase 3 of 3, "
         "found 'Aa' (header)"},
        {"negative count", with_line(2, "2 3 1 -2 2 3"),
         "test.dat, line 2, column 7: expected the count of constituents of solution phase 2 of 3, "
         "found '-2' (header)"},
        {"negative number of solutions", with_line(2, "2 -1 1 2 2 3"),
         "test.dat, line 2, column 3: expected the number of solution phases, found '-1' (header)"},
        {"number of compounds missing", with_line(2, "2 3 1 2 2"),
         "test.dat, line 3, column 1: expected the number of pure condensed phases, found 'Aa' "
         "(header)"},
        {"too many excess terms", with_line(6, "9 1 2 3 4 5 6"),
         "test.dat, line 6, column 1: expected the number of excess term indexes, found '9' "
         "(header)"},
        {"excess term twice", with_line(6, "6 1 2 3 4 5 5"),
         "test.dat, line 6, column 13: excess term index 5 occurs twice"},
        {"numeric phase name", with_line(12, "12"),
         "test.dat, line 12, column 1: expected the name of solution phase 2 of 3, found '12' "
         "(header)"},
        {"no components", with_line(2, "0 3 1 2 2 3"),
         "test.dat, line 2, column 1: expected a positive number of components, found '0' "
         "(header)"},
        {"huge count", with_line(2, "2 3 99999 2 2 3"),
         "test.dat, line 2, column 11: more than 99999 constituents in all"},
        {"too many component names", with_line(3, "Aa Bb\nCc"),
         "test.dat, line 4, column 1: expected the molar mass of component 'Aa', found 'Cc' "
         "(header)"},
        {"too few component names", with_line(3, "Aa"),
         "test.dat, line 4, column 1: expected name of component 2 of 2, found '10' (header)"},
        {"negative molar mass", with_line(4, "10 -20"),
         "test.dat, line 4, column 4: expected the molar mass of component 'Bb', found '-20' "
         "(header); a molar mass is not negative"},
        {"molar mass no number", with_line(4, "10 x"),
         "test.dat, line 4, column 4: expected the molar mass of component 'Bb', found 'x' "
         "(header)"},
        {"unknown Gibbs term", with_line(5, "6 1 2 3 4 5 9"),
         "test.dat, line 5, column 13: expected Gibbs term index 1 to 6, found '9' (header)"},
        {"Gibbs term twice", with_line(5, "6 1 2 3 4 5 5"),
         "test.dat, line 5, column 13: Gibbs term index 5 occurs twice"},
        {"too few Gibbs terms", with_line(5, "7 1 2 3 4 5 6"),
         "test.dat, line 5, column 1: expected the number of Gibbs term indexes, found '7' "
         "(header)"},
        {"unknown excess term", with_line(6, "6 1 2 3 4 5 9"),
         "test.dat, line 6, column 13: expected excess term index 1 to 8, found '9' (header)"},
        {"gas slot forgotten", with_line(2, "2 2 2 2 3"),
         "test.dat, line 13, column 1: expected type code 1 to 24 of 'MELT', found 'RKMP' (phase "
         "'GAS')"},
        {"unknown phase type", with_line(13, "RKMQ"),
         "test.dat, line 13, column 1: expected phase type (IDMX, RKMP, RKMPM, QKTO, SUBL, SUBLM, "
         "SUBM, SUBI, SUBG, "
         "SUBQ), found 'RKMQ' "
         "(phase "
         "'MELT')"},
        {"number for a phase type", with_line(8, "1"),
         "test.dat, line 8, column 1: expected phase type (IDMX, RKMP, RKMPM, QKTO, SUBL, SUBLM, "
         "SUBM, SUBI, SUBG, "
         "SUBQ), found '1' (phase "
         "'GAS'); the gas is always counted, as the first solution phase, also where its count is "
         "0"},
        {"model without rule", with_line(13, "PITZ"),
         "test.dat, line 13, column 1: phase 'MELT' has the model PITZ, which is not supported "
         "(supported: IDMX, RKMP, RKMPM, QKTO, SUBL, SUBLM, SUBM, SUBI, SUBG, SUBQ)"},
        {"gas that is not ideal", with_line(8, "RKMP"),
         "test.dat, line 8, column 1: the gas phase 'GAS' has the model RKMP; a gas can only be "
         "ideal (IDMX)"},
        {"numeric species name", with_line(20, "6000.0000"),
         "test.dat, line 20, column 1: expected species name (2 of 2 in MELT), found '6000.0000' "
         "(phase 'MELT')"},
        {"type code 0", with_line(10, "0 1 1 0"),
         "test.dat, line 10, column 1: expected type code 1 to 24 of 'Aa', found '0' (phase "
         "'GAS')"},
        {"type with constant volume", with_line(10, "2 1 1 0"),
         "test.dat, line 10, column 1: type 2 of 'Aa' is not supported: the layout of its constant "
         "volume is not known"},
        {"heat capacity record", with_line(10, "7 1 1 0"),
         "test.dat, line 10, column 1: heat capacity record (type 7) of 'Aa' is not supported"},
        {"magnetic heat capacity record", with_line(10, "19 1 1 0"),
         "test.dat, line 10, column 1: heat capacity record (type 19) of 'Aa' is not supported"},
        {"no ranges", with_line(10, "1 0 1 0"),
         "test.dat, line 10, column 3: expected number of temperature ranges of 'Aa', found '0' "
         "(phase 'GAS')"},
        {"stoichiometry too short", with_line(10, "1 1 1\nx"),
         "test.dat, line 11, column 1: expected stoichiometry of 'Aa' for component 'Bb' (2 of 2), "
         "found 'x' (phase 'GAS')"},
        {"negative stoichiometry", with_line(10, "1 1 1 -1"),
         "test.dat, line 10, column 7: stoichiometry of 'Aa' for component 'Bb' is negative"},
        {"temperature limit not positive", with_line(11, "0 1 2 3 4 5 6"),
         "test.dat, line 11, column 1: temperature limit of range 1 of 'Aa' is not positive"},
        {"coefficient missing", with_line(11, "6000 1 2 3 4 5"),
         "test.dat, line 12, column 1: expected coefficient 6 of range 1 of 'Aa', found 'MELT' "
         "(phase 'GAS')"},
        {"coefficient overflowed", with_line(11, "6000 1 **** 3 4 5 6"),
         "test.dat, line 11, column 8: expected coefficient 2 of range 1 of 'Aa', found '****' "
         "(phase 'GAS')"},
        {"number of extra terms no whole number", with_line(17, "0.5 3"),
         "test.dat, line 17, column 1: expected number of extra terms of range 1 of 'Aa', found "
         "'0.5' (phase 'MELT')"},
        {"extra term without coefficient", with_line(17, "1\nx"),
         "test.dat, line 18, column 1: expected coefficient of extra term 1 of range 1 of 'Aa', "
         "found 'x' (phase 'MELT')"},
        {"volume numbers missing", with_line(10, "3 1 1 0"),
         "test.dat, line 12, column 1: expected volume number 1 of range 1 of 'Aa', found 'MELT' "
         "(phase 'GAS')"},
        {"extra term without exponent", with_line(17, "1 -3\nx"),
         "test.dat, line 18, column 1: expected exponent of extra term 1 of range 1 of 'Aa', found "
         "'x' (phase 'MELT')"},
        {"magnetic factors missing", without_line(29),
         "test.dat, line 29, column 1: expected magnetic factors of phase 'SOLID', found 'Aa' "
         "(phase 'SOLID')"},
        {"antiferromagnetic factor not positive", with_line(29, "-1 0.28"),
         "test.dat, line 29, column 1: magnetic factor f of phase 'SOLID' must be positive"},
        {"structure factor out of range", with_line(29, "1 1.5"),
         "test.dat, line 29, column 3: structure factor p of phase 'SOLID' must be between 0 and "
         "1"},
        {"structure factor missing", with_line(29, "0.3"),
         "test.dat, line 30, column 1: expected structure factor p of phase 'SOLID', found 'Aa' "
         "(phase 'SOLID')"},
        {"moment missing", with_line(33, "1000"),
         "test.dat, line 34, column 1: expected beta of 'Aa', found 'Bb' (phase 'SOLID')"},
        {"magnetic set of a parameter cut short", with_line(37, "2\n1 2 1\n100\nx"),
         "test.dat, line 40, column 1: expected beta of magnetic set 1, found 'x' (phase "
         "'SOLID')"},
        {"magnetic numbers missing", without_line(33),
         "test.dat, line 33, column 1: expected Tc and beta of 'Aa', found 'Bb' (phase 'SOLID')"},
        {"magnetic numbers of a compound", with_line(45, "1043 2.2"),
         "test.dat, line 46, column 1: expected magnetic factors of 'Fer' (4 numbers), found "
         "'Bb(s)' (pure condensed phases)"},
        {"list without end", without_line(26),
         "test.dat, line 26, column 1: expected number of interacting constituents (2, 3 or 4), or "
         "0 at the end of the list, found 'SOLID' (phase 'MELT')"},
        {"interaction of five", with_line(23, "5"),
         "test.dat, line 23, column 1: expected number of interacting constituents (2, 3 or 4), or "
         "0 at the end of the list, found '5' (phase 'MELT')"},
        {"interaction of one", with_line(23, "1"),
         "test.dat, line 23, column 1: expected number of interacting constituents (2, 3 or 4), or "
         "0 at the end of the list, found '1' (phase 'MELT')"},
        {"override lines", with_line(26, "-1"),
         "test.dat, line 26, column 1: expected 0, found '-1' (phase 'MELT'); only polynomial and "
         "quasichemical phases have override lines"},
        {"constituent number too large", with_line(24, "1 3 1"),
         "test.dat, line 24, column 3: constituent number 3 in phase 'MELT' with 2 constituents"},
        {"constituent number 0", with_line(24, "0 2 1"),
         "test.dat, line 24, column 1: constituent number 0 in phase 'MELT' with 2 constituents"},
        {"constituent number no whole number", with_line(24, "1 1.5 1"),
         "test.dat, line 24, column 3: expected number of a constituent, 1 to 2, found '1.5' "
         "(phase 'MELT')"},
        {"constituent twice", with_line(24, "1 1 1"),
         "test.dat, line 24, column 3: constituent number 1 occurs twice in an interaction of "
         "phase "
         "'MELT'"},
        {"number of sets missing", with_line(24, "1 2\n-14000.5"),
         "test.dat, line 25, column 1: expected number of coefficient sets, found '-14000.5' "
         "(phase "
         "'MELT')"},
        {"no sets", with_line(24, "1 2 0"),
         "test.dat, line 24, column 5: expected number of coefficient sets, found '0' (phase "
         "'MELT')"},
        {"coefficient of a set missing", with_line(25, "1 2 3 4 5\nx"),
         "test.dat, line 26, column 1: expected coefficient 6 of set 1, found 'x' (phase 'MELT')"},
        {"fewer compounds", with_line(2, "2 3 1 2 2 4"),
         "test.dat, line 48, column 17: expected the name of compound 4 of 4, found the end of the "
         "file (pure condensed phases)"},
        {"not a number", with_line(11, "6000 NaN 2 3 4 5 6"),
         "test.dat, line 11, column 6: expected coefficient 1 of range 1 of 'Aa', found 'NaN' "
         "(phase 'GAS')"},
        {"repeat count", with_line(11, "6000 6*0.0"),
         "test.dat, line 11, column 6: expected coefficient 1 of range 1 of 'Aa', found '6*0.0' "
         "(phase 'GAS')"},
    };
    for (const Fault& fault : faults) {
        EXPECT_EQ(message(fault.text), fault.message) << fault.what;
    }
}

TEST(DatReader, RefusesATernaryParameterOfTwoSets) {
    std::vector<std::string> lines = {
        "t", "1 2 0 3 0", "A", "1", "6 1 2 3 4 5 6", "6 1 2 3 4 5 6", "MIX", "RKMP"};
    for (const char* name : {"A", "B", "C"}) {
        lines.insert(lines.end(), {name, "1 1 1", "6000 0 0 0 0 0 0"});
    }
    lines.insert(lines.end(), {"3", "1 2 3 2"});
    EXPECT_EQ(message(file(lines)),
              "test.dat, line 19, column 7: expected 1 or 3 coefficient sets, "
              "found '2' (phase 'MIX')");
}

TEST(DatReader, NotesSetsOfParametersThatMayNotBeMeant) {
    std::vector<std::string> lines = {
        "t", "1 2 0 4 0", "A", "1", "6 1 2 3 4 5 6", "6 1 2 3 4 5 6", "MIX", "RKMP"};
    for (const char* name : {"A", "B", "C", "D"}) {
        lines.insert(lines.end(), {name, "1 1 1", "6000 0 0 0 0 0 0"});
    }
    const std::string set = "100 0 0 0 0 0";
    lines.insert(lines.end(), {"3", "1 2 3 1", set, "4", "1 2 3 4 2", set, set, "0"});
    const auto system = read(file(lines));
    ASSERT_EQ(system->notes.size(), 2U);
    EXPECT_EQ(system->notes[0].text,
              "a ternary parameter with one set is taken as independent of composition");
    EXPECT_EQ(system->notes[0].line, 22);
    EXPECT_EQ(system->notes[1].text, "only the first set of a quaternary parameter has a meaning");
    EXPECT_EQ(system->notes[1].line, 25);
}

TEST(DatReader, NotesWhatLooksSuspicious) {
    const auto note = [](const std::string& text) {
        const auto system = read(text);
        return system->notes.empty() ? std::string() : system->notes[0].text;
    };
    EXPECT_EQ(note(with_line(18, "900 1 2 3 4 5 6")),
              "temperature limit 900 of 'Aa' is below the previous limit");
    EXPECT_EQ(note(with_line(17, "1 -3 12")), "exponent 12 of range 1 of 'Aa' is unusually large");
    EXPECT_EQ(note(with_line(11, "6000 1 2 3 4 5 6 7 8")),
              "2 unread numbers after the record of phase 'GAS'");
    EXPECT_EQ(note(file(Lines) + "Bb2\n1 1 0 2\n"),
              "text that looks like a record follows the end of the data; is the number of pure "
              "condensed phases right?");
    std::vector<std::string> lines = Lines;
    lines[20] = "13 1 0 1";
    lines[21] += "\n100 2";
    EXPECT_EQ(note(file(lines)),
              "magnetic numbers of 'Bb' have no effect: phase 'MELT' is not magnetic");
}

TEST(DatReader, EndsInASystemOrAnErrorForRandomDamage) {
    std::mt19937 random(5);
    const std::string good = file(Lines);
    const std::string bytes = " 0123456789.-+eE#=*\n\t,ABa\x80\xff";
    int errors = 0;
    for (int trial = 0; trial < 20000; ++trial) {
        std::string text = good;
        const int changes = 1 + static_cast<int>(random() % 4);
        for (int k = 0; k < changes; ++k) {
            const std::size_t at = random() % text.size();
            switch (random() % 4) {
            case 0:
                text[at] = bytes[random() % bytes.size()];
                break;
            case 1:
                text.erase(at, 1 + random() % 20);
                break;
            case 2:
                text.insert(at, 1, bytes[random() % bytes.size()]);
                break;
            default:
                text.insert(at, text.substr(random() % text.size(), random() % 30));
            }
            if (text.empty()) {
                text.assign(1, ' ');
            }
        }
        try {
            read(text);
        } catch (const ReadError& error) {
            ++errors;
            EXPECT_GE(error.line(), 1);
        }
    }
    EXPECT_GT(errors, 1000);
}

TEST(DatReader, DoesNotBelieveCountsBeforeTheDataAreThere) {
    // Claims 99999 components and as many compounds; must fail at once, in little memory.
    EXPECT_NE(message("t\n99999 0 99999\nA\n").find("name of component 2 of 99999"),
              std::string::npos);
}

TEST(DatReader, RefusesMoreCoefficientsThanTheirColumnHolds) {
    std::vector<std::string> lines = Lines;
    lines[23] = "1 2 99999";
    lines.insert(lines.begin() + 25, 99998, "0 0 0 0 0 0");
    EXPECT_EQ(message(file(lines)), "no error");
    const auto end = lines.begin() + 24 + 99999;
    ASSERT_EQ(*end, "0");
    lines.insert(end, {"2", "1 2 1", "0 0 0 0 0 0"});
    EXPECT_EQ(message(file(lines)), "test.dat, line 100026, column 11: more than 99999 "
                                    "coefficients in phase 'MELT'");
}

} // namespace
} // namespace tessara::test
