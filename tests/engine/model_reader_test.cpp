#include "example_phases.hpp"
#include "support.hpp"

#include <gtest/gtest.h>

// Blocks of phases with sublattices, ions and groups: what is refused, what is noted, how liberal
// their layout may be. Each broken file differs from a good one by one line.

namespace tessara::test {
namespace {

struct Fault {
    const char* what;
    std::string text;    ///< of the good file
    const char* line;    ///< the line that is changed
    int from;            ///< look for it from here
    const char* changed; ///< to this; nothing: left out
    int offset;          ///< of the line that the message names, from the changed one
    const char* message; ///< behind the line
};

std::string broken(const Fault& fault) {
    const int line = line_of(fault.text, fault.line, fault.from);
    return fault.changed == nullptr ? without_line(fault.text, line)
                                    : with_line(fault.text, line, fault.changed);
}

std::string message_of(const std::string& text) {
    try {
        read(text);
    } catch (const ReadError& error) {
        return error.what();
    }
    return "no error";
}

void expect_faults(std::span<const Fault> faults) {
    for (const Fault& fault : faults) {
        const int line = line_of(fault.text, fault.line, fault.from) + fault.offset;
        EXPECT_EQ(message_of(broken(fault)),
                  "test.dat, line " + std::to_string(line) + ", column " + fault.message)
            << fault.what;
    }
}

void expect_notes(std::span<const Fault> faults) {
    for (const Fault& fault : faults) {
        EXPECT_TRUE(read(fault.text)->notes.empty()) << fault.what;
        const auto system = read(broken(fault));
        const int line = line_of(fault.text, fault.line, fault.from) + fault.offset;
        ASSERT_FALSE(system->notes.empty()) << fault.what;
        EXPECT_EQ(system->notes[0].text, fault.message) << fault.what;
        EXPECT_EQ(system->notes[0].line, line) << fault.what;
    }
}

TEST(SublatticeReader, RefusesWhatIsBroken) {
    const std::string good = sublattice_text();
    const std::string magnetic = antiferromagnetic_text();
    const Fault faults[] = {
        {"no sublattices", good, "2", 30, "0", 0,
         "1: expected number of sublattices of 'ETA', found '0' (phase 'ETA')"},
        {"sites not positive", good, "2 1", 1, "2 0.0", 0,
         "3: expected site number of sublattice 2 of 2, found '0.0' (phase 'ETA'); a number of "
         "sites is positive"},
        {"sites missing", good, "2 1", 1, "2\nx", 1,
         "1: expected site number of sublattice 2 of 2, found 'x' (phase 'ETA')"},
        {"no constituents", good, "3 3", 1, "3 0", 0,
         "3: expected number of constituents of sublattice 2, found '0' (phase 'ETA')"},
        {"number of a pair of sizes missing", good, "3 3", 1, "3\nx", 1,
         "1: expected number of constituents of sublattice 2, found 'x' (phase 'ETA')"},
        {"product and header differ", good, "4 2 0 9 4", 1, "4 2 0 8 4", 34,
         "1: expected number of sublattices of 'ETA', found 'Cc:Va' (phase 'ETA')"},
        {"product and sizes differ", good, "3 3", 1, "2 3", 0,
         "3: 6 end members (2 x 3) in phase 'ETA', but the header says 9"},
        {"too few names", good, "Aa Bb Cc", 1, "Aa Bb", 2,
         "1: expected constituent 1 of sublattice 2, found '1' (phase 'ETA')"},
        {"table with running numbers", good, "1 2 3 1 2 3 1 2 3", 1, "4 5 6 4 5 6 4 5 6", 0,
         "1: expected constituent number 1 to 3 on sublattice 2 for end member 1, found '4' "
         "(phase 'ETA'); tables use local numbers"},
        {"table with an end member twice", good, "1 2 3 1 2 3 1 2 3", 1, "1 2 2 1 2 3 1 2 3", 0,
         "17: end member (Aa, Va) missing; (Aa, Cc) occurs twice"},
        {"stoichiometry that is no sum", good, "1 1 0 2 1 0", 1, "1 1 0 2 2 0", -1,
         "1: stoichiometry of end member 'Bb:Cc' is not the sum of what its constituents hold in "
         "the other end members"},
        {"too few constituents", good, "3", 45, "2", 0,
         "1: expected at least 3 constituents, one per sublattice, found '2' (phase 'ETA')"},
        {"constituent out of range", good, "1 2 4 2", 1, "1 2 7 2", 0,
         "5: expected constituent number 1 to 6, found '7' (phase 'ETA')"},
        {"constituent twice", good, "1 2 4 2", 1, "1 1 4 2", 0,
         "3: constituent number 1 occurs twice in an interaction of phase 'ETA'"},
        {"sublattice without constituent", good, "1 2 4 2", 1, "1 2 3 2", 0,
         "5: sublattice 2 has no constituent in the record"},
        {"no coefficient sets", good, "1 2 4 2", 1, "1 2 4 0", 0,
         "7: expected number of coefficient sets, found '0' (phase 'ETA')"},
        {"ternary with two sets", good, "1 2 3 6 3", 1, "1 2 3 6 2", 0,
         "9: expected 1 or 3 coefficient sets, found '2' (phase 'ETA')"},
        {"override lines", good, "0", 60, "-1", 0,
         "1: expected 0, found '-1' (phase 'ETA'); only polynomial and quasichemical phases have "
         "override lines"},
        {"magnetic factors of a phase without magnetism", good, "SUBL", 1, "SUBL\n1.0 0.4", 1,
         "1: expected species name (1 of 9 in ETA), found '1.0' (phase 'ETA')"},
        {"magnetic factors missing", magnetic, "0.333333 0.28", 1, nullptr, 0,
         "1: expected magnetic factors of phase 'ANTIFERRO', found 'Aa:Xx' (phase 'ANTIFERRO')"},
    };
    expect_faults(faults);
}

TEST(SublatticeReader, RefusesManySetsWhereThereIsNoRule) {
    std::string text = sublattice_text();
    const int record = line_of(text, "1 2 3 4 1");
    text = with_line(with_line(text, record, "1 2 3 4 5 2"), record - 1, "5");
    EXPECT_EQ(message_of(text), "test.dat, line " + std::to_string(record) +
                                    ", column 11: constituents that mix as 3 + 2 on the "
                                    "sublattices have one coefficient set only");
}

TEST(SublatticeReader, SaysThatAMagneticPhaseHasTwoLists) {
    std::string text = antiferromagnetic_text();
    const int first = line_of(text, "1 2 4 2") - 1;
    for (int k = 0; k < 5; ++k) {
        text = without_line(text, first);
    }
    EXPECT_EQ(message_of(text),
              "test.dat, line " + std::to_string(line_of(text, "Aa(pure)")) +
                  ", column 1: expected number of interacting constituents, or 0 at the end of the "
                  "list, found 'Aa(pure)' (phase 'ANTIFERRO'); SUBLM has two lists, each with its "
                  "closing 0");
}

TEST(SublatticeReader, NotesWhatIsSuspicious) {
    const std::string good = sublattice_text();
    const Fault faults[] = {
        {"name twice", good, "Aa Bb Cc", 1, "Aa Bb Bb", 0,
         "constituent 'Bb' occurs twice on sublattice 1 of phase 'ETA'"},
        {"number after a colon", good, "ETA", 1, "ETA:30", 0,
         "the number after a colon in the name 'ETA:30' has no meaning here"},
        {"many reciprocal sets", reciprocal_text(), "1 2 3 4 3", 1, "1 2 3 4 4\n1 0 0 0 0 0", 0,
         "a reciprocal parameter with more than 3 coefficient sets"},
        {"sites that contents contradict", good, "2 1", 1, "3 1", -31,
         "'Aa:Xx' has 2 of Aa, its sites give 3"},
    };
    expect_notes(faults);
}

TEST(SublatticeReader, TakesAnyLayout) {
    const std::string good = sublattice_text();
    const auto expected = read(good);
    std::string text = good;
    text = with_line(text, line_of(text, "2 1"), "  2.0\n\t1.0");
    text = with_line(text, line_of(text, "Aa Bb Cc"),
                     " Aa                       Bb                       Cc");
    text = with_line(text, line_of(text, "1 2 3 1 2 3 1 2 3"), "1,2,3,1\n\n2 3 1 2 3");
    text = with_line(text, line_of(text, "-12000 3 0 0 0 0"), "-.12D+05 3. 0 0 0\n0.0");
    // Constituents of a record in any order across the sublattices.
    text = with_line(text, line_of(text, "1 2 4 2"), "4 1 2 2");
    text = with_line(text, line_of(text, "SUBL"), "subl");
    const auto system = read(text);
    EXPECT_TRUE(system->phases[0].model->equals(*expected->phases[0].model));
}

TEST(SublatticeReader, TakesNamesWithBlanksByTheirFields) {
    std::string text = sublattice_text();
    text = with_line(text, line_of(text, "Xx Cc Va"),
                     "Xx                       C c                      Va");
    EXPECT_EQ(read(text)->phases[0].model->size().sublattice_constituents, 3);
}

TEST(SublatticeReader, CountsSizes) {
    const auto system = read(antiferromagnetic_text());
    const ModelSize size = system->phases[0].model->size();
    EXPECT_EQ(size.excess_coefficients, 2);
    EXPECT_EQ(size.magnetic_coefficients, 2);
    EXPECT_EQ(size.sublattices, 2);
    EXPECT_EQ(size.sublattice_constituents, 2);
    EXPECT_EQ(system->sizes().used[5], 2);
    EXPECT_EQ(system->sizes().used[6], 2);
    EXPECT_EQ(read(quasichemical_text())->sizes().used[7], 6);
}

TEST(SublatticeReader, CopiesShareTheirModel) {
    const std::string one = sublattice_text();
    const std::string head = file_head({"Aa", "Bb", "Cc", "Xx"}, 9);
    const std::string pure = pure_phases({"Aa", "Bb", "Cc", "Xx"});
    const std::string block = one.substr(head.size(), one.size() - head.size() - pure.size());
    const auto system = read(with_line(head, 2, "4 3 0 9 9 4") + block + block + pure);
    EXPECT_EQ(system->phases[1].name, "ETA#2");
    EXPECT_EQ(system->phases[1].model, system->phases[0].model);
    EXPECT_EQ(system->phases[1].first_copy, 0U);
}

TEST(IonicLiquidReader, RefusesWhatIsBroken) {
    const std::string good = ionic_liquid_text();
    const int sites = line_of(good, "BbXx3/2");
    const Fault faults[] = {
        {"number of sublattices missing", good, "2", sites, nullptr, 1,
         "1: expected positive charge of cation 'Aa+2', found '-2' (phase 'LIQUID')"},
        {"three sublattices", good, "2", sites, "3", 0,
         "1: expected 2 (number of sublattices), found '3' (phase 'LIQUID')"},
        {"negative cation", good, "2 3", sites, "2 -3", 0,
         "3: expected positive charge of cation 'Bb+3', found '-3' (phase 'LIQUID')"},
        {"positive anion", good, "-2 -1 0 0", 1, "2 -1 0 0", 0,
         "1: expected charge of 'Xx-2' on sublattice 2, negative or 0, found '2' (phase 'LIQUID')"},
        {"two vacancies", good, "Xx-2 Va Nn", 1, "va Va Nn", 4, "4: two vacancies on sublattice 2"},
        {"formula that is reduced", good, "1 1 2 0 2 0", 1, "1 1 1 0 1 0", 14,
         "1: stoichiometry of 'Bb+3:Va' is not what as many ions as their charges ask for hold "
         "in the other species"},
        {"combination without rule", good, "1 2 4 5 3", 1, "1 2 5 6 3", 0,
         "9: there is no rule for how Aa+2, Bb+3 : Nn, BbXx3/2 mix"},
        {"three fractions with two sets", good, "1 2 4 5 3", 1, "1 2 4 5 2", 0,
         "9: expected 1 or 3 coefficient sets, found '2' (phase 'LIQUID')"},
        {"override lines", good, "0", sites, "-1", 0,
         "1: expected 0, found '-1' (phase 'LIQUID'); only polynomial and quasichemical phases "
         "have override lines"},
    };
    expect_faults(faults);
}

TEST(IonicLiquidReader, NotesWhatIsSuspicious) {
    const std::string good = ionic_liquid_text();
    const Fault faults[] = {
        {"vacancy with a charge of zero", good, "-2 -1 0 0", 1, "-2 0 0 0", 0,
         "the vacancy 'Va' has the charge 0; negative ones are usual"},
        {"neutrals that differ", good, "6000 180000 270 -72 0 0 0", 1, "6000 180001 270 -72 0 0 0",
         -2, "the records of the neutral 'Nn' differ; the first one counts"},
    };
    expect_notes(faults);
}

TEST(IonicLiquidReader, NotesNeutralsThatMixUnderTwoCations) {
    const std::string good = ionic_liquid_text();
    const auto system =
        read(with_line(good, line_of(good, "1 5 6 1"), "1 5 6 1\n100 0 0 0 0 0\n3\n2 6 5 1"));
    ASSERT_EQ(system->notes.size(), 1U);
    EXPECT_EQ(system->notes[0].text, "several parameters among the neutrals Nn and BbXx3/2; they "
                                     "add, whatever cations they name");
}

TEST(IonicLiquidReader, KeepsEachNeutralOncePerMole) {
    const auto system = read(ionic_liquid_text());
    const auto& constituents = system->phases[0].constituents;
    ASSERT_EQ(constituents.size(), 6U);
    EXPECT_EQ(constituents[2].name, "Nn");
    EXPECT_EQ(constituents[2].stoichiometry, (std::vector<double>{0, 0, 0, 1}));
    EXPECT_EQ(constituents[2].molar_mass, 40.0);
    EXPECT_EQ(constituents[3].stoichiometry, (std::vector<double>{0, 1, 1.5, 0}));
}

TEST(IonicLiquidReader, KnowsAVacancyByItsNameAlone) {
    std::string text = ionic_liquid_text();
    const auto expected = read(text);
    text = with_line(text, line_of(text, "-2 -1 0 0"), "-2 1 0 0");
    EXPECT_TRUE(read(text)->phases[0].model->equals(*expected->phases[0].model));
}

TEST(IonSublatticeReader, RefusesWhatIsBroken) {
    const std::string good = ion_sublattices_text();
    const int sites = line_of(good, "Aa Bb Cc");
    const Fault faults[] = {
        {"moles of ions missing", good, "2 1", 1, nullptr, 0,
         "1: expected moles of cation and of anion of 'Aa2Yy', found 'Bb2Yy' (phase 'IONS')"},
        {"moles of ions zero", good, "2 1", 1, "2 0", 0,
         "3: expected moles of cation and of anion of 'Aa2Yy', found '0' (phase 'IONS'); they are "
         "positive"},
        {"charge zero", good, "1 1 2", sites, "1 0 2", 0,
         "3: expected charge of cation 'Bb', found '0' (phase 'IONS'); a charge is not zero"},
        {"pair that is not neutral", good, "1 2", 1, "1 1", -3,
         "1: pair 'CcXx2' is not neutral: 2 charges of Cc, 1 of Xx"},
        {"stoichiometry that is no sum", good, "1 1 0 0 1 0 1", 1, "1 1 0 0 2 0 1", -1,
         "1: stoichiometry of pair 'CcYy' is not the sum of what its ions hold in the other pairs"},
        {"kind", good, "3", sites, "2", 0,
         "1: expected 3, 4, 0 or -K with K override lines, found '2' (phase 'IONS')"},
        {"ions of both sublattices", good, "1 2 1 1 0 4 -8000 2 0 0 0 0", 1,
         "1 4 1 1 0 4 -8000 2 0 0 0 0", 0, "3: constituents that mix must be on one sublattice"},
        {"constant ion of the same sublattice", good, "1 2 1 1 0 4 -8000 2 0 0 0 0", 1,
         "1 2 1 1 0 3 -8000 2 0 0 0 0", 0,
         "11: expected constituent number 4 to 5, found '3' (phase 'IONS'); running numbers count "
         "through all sublattices"},
        {"negative exponent", good, "1 2 1 1 0 4 -8000 2 0 0 0 0", 1,
         "1 2 -1 1 0 4 -8000 2 0 0 0 0", 0,
         "5: expected exponent, a whole number of 0 or more, found '-1' (phase 'IONS')"},
    };
    expect_faults(faults);
    const Fault note[] = {{"exponent of the constant ion", good, "1 2 1 1 0 4 -8000 2 0 0 0 0", 1,
                           "1 2 1 1 2 4 -8000 2 0 0 0 0", 0,
                           "the exponent 2 of the constant constituent has no effect"}};
    expect_notes(note);
}

TEST(PolynomialReader, RefusesWhatIsBroken) {
    const std::string good = polynomial_text();
    const std::string one = "1 2 1 1 -26000 7 0 0 0 0";
    const Fault faults[] = {
        {"equivalents missing", good, "1 1", 1, nullptr, 0,
         "1: expected equivalents and group of 'Aa', found 'Bb' (phase 'SLAG')"},
        {"group no whole number", good, "1 1", 1, "1 1.5", 0,
         "3: expected equivalents and group of 'Aa', found '1.5' (phase 'SLAG')"},
        {"equivalents not positive", good, "1 1", 1, "0 1", 0,
         "1: expected equivalents and group of 'Aa', found '0' (phase 'SLAG'); equivalents are "
         "positive"},
        {"kind", good, "3", 1, "4", 0,
         "1: expected 2, 3, 0 or -K with K override lines, found '4' (phase 'SLAG')"},
        {"one constituent", good, "3", 1, "1", 0,
         "1: expected 2, 3, 0 or -K with K override lines, found '1' (phase 'SLAG')"},
        {"constituent out of range", good, one.c_str(), 1, "1 4 1 1 -26000 7 0 0 0 0", 0,
         "3: expected constituent number 1 to 3, found '4' (phase 'SLAG')"},
        {"constituent twice", good, one.c_str(), 1, "1 1 1 1 -26000 7 0 0 0 0", 0,
         "3: constituent number 1 occurs twice in an interaction of phase 'SLAG'"},
        {"exponent no whole number", good, one.c_str(), 1, "1 2 1.5 1 -26000 7 0 0 0 0", 0,
         "5: expected exponent, a whole number of 0 or more, found '1.5' (phase 'SLAG')"},
        {"list without end", good, "0", 1, nullptr, 0,
         "1: expected 2, 3, 0 or -K with K override lines, found 'Aa(pure)' (phase 'SLAG')"},
    };
    expect_faults(faults);
}

TEST(PolynomialReader, RefusesBrokenOverrideLines) {
    const auto with = [](const char* line) { return polynomial_text("1 1 1", line); };
    const struct {
        const char* end;
        int offset;
        const char* message;
    } faults[] = {
        {"-1\n1 2 3X1 1 2K 1 3T3 2 3 0\n", 1, "6: expected K or T, found 'X' (phase 'SLAG')"},
        {"-1\n1 2 4T1 1 2K 1 3T3 2 3 0\n", 1,
         "5: expected constituent number 1 to 3, found '4' (phase 'SLAG')"},
        {"-1\n1 2 3T3 1 2K 1 3T3 2 3 0\n", 1,
         "7: expected a constituent of the pair that follows, found '3' (phase 'SLAG')"},
        {"-1\n1 2 3T1 1 3K 1 3T3 2 3 0\n", 1,
         "11: expected the pair 1 2 of the triple, found '3' (phase 'SLAG')"},
        {"-2\n1 2 3K 1 2K 1 3K 2 3 0\n", 2,
         "1: expected override line 2 of 2, found 'Aa(pure)' (phase 'SLAG')"},
    };
    for (const auto& fault : faults) {
        const std::string text = with(fault.end);
        const int line = line_of(text, std::string(fault.end).substr(0, 2)) + fault.offset;
        EXPECT_EQ(message_of(text),
                  "test.dat, line " + std::to_string(line) + ", column " + fault.message);
    }
}

TEST(PolynomialReader, IgnoresOverrideLinesWithoutMeaning) {
    const auto plain = read(polynomial_text("1 2 2"));
    for (const char* line : {"-1\n1 2 3T1 1 2K 1 3K 2 3 0\n", "-1\n1 2 3T1 1 2T1 1 3T3 2 3 0\n",
                             "-1\n1 2 3T1 1 2T1 1 3K 2 3 0\n"}) {
        const auto system = read(polynomial_text("1 2 2", line));
        ASSERT_EQ(system->notes.size(), 1U);
        EXPECT_NE(system->notes[0].text.find("is ignored"), std::string::npos);
        EXPECT_TRUE(system->phases[0].model->equals(*plain->phases[0].model));
    }
}

TEST(PolynomialReader, NotesAConstantConstituentWhereThereIsNoOtherSublattice) {
    const auto system = read(polynomial_text("1 1 1", "-1\n1 2 3T1 1 2K 1 3T3 2 3 2\n"));
    ASSERT_EQ(system->notes.size(), 1U);
    EXPECT_EQ(system->notes[0].text, "override lines of a phase without sublattices end with 0");
    const auto plain = read(polynomial_text("1 1 1", "-1\n1 2 3T1 1 2K 1 3T3 2 3 0\n"));
    EXPECT_TRUE(system->phases[0].model->equals(*plain->phases[0].model));
}

TEST(PolynomialReader, TakesOverrideLinesWithAnyBlanks) {
    const auto one = read(polynomial_text("1 1 1", "-1\n1 2 3T1 1 2K 1 3T3 2 3 0\n"));
    const auto other =
        read(polynomial_text("1 1 1", "-1\n  1   2   3 T 1   1  2 K  1 3 t3  2  3  0\n"));
    EXPECT_TRUE(one->phases[0].model->equals(*other->phases[0].model));
    EXPECT_FALSE(one->phases[0].model->equals(*read(polynomial_text("1 1 1"))->phases[0].model));
}

TEST(QuasichemicalReader, RefusesWhatIsBroken) {
    const std::string good = quasichemical_text();
    const std::string half = quasichemical_half_text();
    const int list = line_of(good, "3", 50);
    const int first = line_of(good, "G 1 2 4 4 0 0 0 0");
    const Fault faults[] = {
        {"zeta missing", good, "2.4", 1, "SALT", 0,
         "1: expected zeta of phase 'SALT', found 'SALT' (phase 'SALT')"},
        {"zeta zero", good, "2.4", 1, "0", 0,
         "1: expected zeta of phase 'SALT', found '0' (phase 'SALT'); zeta is positive"},
        {"zeta of a pair missing", half, "1.4", 1, nullptr, 0,
         "1: expected zeta of pair 'AaXx', found 'AaYy2' (phase 'SLAG')"},
        {"zeta for each pair where one is for all", good, "1 1 0 0 0", 1, "1 1 0 0 0\n2.4", 1,
         "1: expected species name (2 of 6 in SALT), found '2.4' (phase 'SALT')"},
        {"number of lines missing", good, "6 7", 1, "6\nx", 1,
         "1: expected number of lines of coordination numbers, found 'x' (phase 'SALT')"},
        {"charge zero", good, "1 1 2", 1, "1 0 2", 0,
         "3: expected charge of cation 'Bb', found '0' (phase 'SALT'); a charge is not zero"},
        {"number of pairs", good, "3 2", 1, "2 2", -25,
         "1: expected 4 pairs (2 x 2), found '6' (phase 'SALT')"},
        {"fewer than five numbers", good, "1 1 0 0 0", 1, "1 1\n", 2,
         "1: expected coefficient 3 of 5 of pair 'AaXx', found 'BbXx' (phase 'SALT')"},
        {"moles not positive", good, "1 1 0 0 0", 1, "0 1 0 0 0", 0,
         "1: expected coefficient 1 of 5 of pair 'AaXx', found '0' (phase 'SALT'); moles of ions "
         "are positive"},
        {"anion table with running numbers", good, "1 1 1 2 2 2", 1, "4 4 4 5 5 5", 0,
         "1: expected constituent number 1 to 2 on sublattice 2 for pair 1, found '4' (phase "
         "'SALT'); tables use local numbers"},
        {"pure quadruplet missing", good, "1 1 5 5 5 5 10 10", 1, "1 2 4 4 6 5 5.454545 5.454545",
         4, "1: expected coordination numbers of Aa-Aa-Yy-Yy, found '3' (phase 'SALT')"},
        {"coordination number zero", good, "1 1 4 4 6 6 6 6", 1, "1 1 4 4 6 0 6 6", 0,
         "11: expected a positive coordination number of Aa-Aa-Xx-Xx, found '0' (phase 'SALT')"},
        {"charges out of balance", good, "1 1 4 4 6 6 6 6", 1, "1 1 4 4 3 3 4 4", 0,
         "7: q/Z of Aa-Aa-Xx-Xx: cations 0.667, anions 0.5"},
        {"quadruplet twice", good, "1 3 4 4 3 6 3 3", 1, "1 1 4 4 6 6 6 6", 0,
         "7: quadruplet Aa-Aa-Xx-Xx is listed twice"},
        {"local anion number", good, "1 1 4 4 6 6 6 6", 1, "1 1 1 1 6 6 6 6", 0,
         "5: expected anion number 4 to 5, found '1' (phase 'SALT'); running numbers count through "
         "all sublattices"},
        {"kind", good, "3", list, "2", 0,
         "1: expected 3, 4, 0 or -K with K override lines, found '2' (phase 'SALT')"},
        {"code", good, "G 1 2 4 4 0 0 0 0", 1, "H 1 2 4 4 0 0 0 0", 0,
         "1: expected G, Q, B or R, found 'H' (phase 'SALT')"},
        {"nothing mixes", good, "G 1 2 4 4 0 0 0 0", 1, "G 1 1 4 4 0 0 0 0", 0,
         "9: nothing mixes in a parameter on Aa-Aa-Xx-Xx"},
        {"four ions with exponents", good, "G 1 2 4 4 0 0 0 0", 1, "G 1 2 4 5 1 0 0 0", 0,
         "9: a parameter of code G on Aa-Bb-Xx-Yy with exponents other than 0 is not supported"},
        {"code R with exponents", good, "G 1 2 4 4 0 0 0 0", 1, "R 1 2 4 5 1 0 0 0", 0,
         "9: a parameter of code R on Aa-Bb-Xx-Yy with exponents other than 0 is not supported"},
        {"code R on three ions", good, "G 1 2 4 4 0 0 0 0", 1, "R 1 2 4 4 0 0 0 0", 0,
         "9: a parameter of code R is on a quadruplet of four ions, not on Aa-Bb-Xx-Xx"},
        {"exponent no whole number", good, "G 1 2 4 4 0 0 0 0", 1, "G 1 2 4 4 0.5 0 0 0", 0,
         "11: expected exponent, a whole number of 0 or more, found '0.5' (phase 'SALT')"},
        {"anion of the first sublattice", good, "G 1 2 4 4 0 0 0 0", 1, "G 1 2 1 1 0 0 0 0", 0,
         "7: expected anion number 4 to 5, found '1' (phase 'SALT'); running numbers count through "
         "all sublattices"},
        {"additional cation and anion", good, "0 0 -5000 2 0 0 0 0", first, "3 5 -5000 2 0 0 0 0",
         0, "3: a parameter has an additional cation and an additional anion"},
        {"additional anion where cations mix", good, "0 0 -5000 2 0 0 0 0", first,
         "0 5 -5000 2 0 0 0 0", 0,
         "3: the additional anion 'Yy' is not on the sublattice that mixes"},
        {"additional cation that mixes", good, "0 0 -5000 2 0 0 0 0", first, "2 0 -5000 2 0 0 0 0",
         0, "1: the additional cation 'Bb' is one of the two that mix"},
        {"additional cation out of range", good, "0 0 -5000 2 0 0 0 0", first,
         "4 0 -5000 2 0 0 0 0", 0,
         "1: expected number of an additional cation, 1 to 3, or 0, found '4' (phase 'SALT')"},
        {"void numbers missing", good, "0 1 0 1 0 1", first, nullptr, 3,
         "1: expected number of an additional anion, 4 to 5, or 0, found 'G' (phase 'SALT')"},
        {"override lines missing", good, "0", list, "-9\n1 2 3K 1 2K 1 3K 2 3 4", 2,
         "1: expected override line 2 of 9, found 'Aa(pure)' (phase 'SALT')"},
    };
    expect_faults(faults);
}

/// 446 cations make 99,681 quadruplets with one anion, 447 one too many.
TEST(QuasichemicalReader, RefusesMoreQuadrupletsThanTheirColumnHolds) {
    const auto text = [](int cations) {
        std::string pairs;
        std::string names;
        std::string ones;
        std::string numbers;
        std::string anions;
        std::string coordination;
        const std::string count = std::to_string(cations);
        for (int k = 1; k <= cations; ++k) {
            const std::string number = std::to_string(k);
            const std::string anion = std::to_string(cations + 1);
            pairs += species_text("C" + number + "X", "1 1", "-1000") + "1 1 0 0 0\n";
            names += "C" + number + "\n";
            ones += "1 ";
            numbers += number + " ";
            anions += "1 ";
            for (const std::string& of : {number, number, anion, anion}) {
                coordination += of + " ";
            }
            coordination += "6 6 6 6\n";
        }
        return file_head({"Cc", "Xx"}, cations) + "MANY\nSUBG\n2.4\n" + count + " " + count + "\n" +
               pairs + count + " 1\n" + names + "X\n" + ones + "\n" + ones + "\n1\n1\n" + numbers +
               "\n" + anions + "\n" + coordination + "0\n" + pure_phases({"Cc", "Xx"});
    };
    EXPECT_EQ(message_of(text(447)),
              "test.dat, line 10, column 1: more than 99999 quadruplets in phase 'MANY'");
    EXPECT_EQ(message_of(text(446)), "no error");
}

TEST(QuasichemicalReader, NotesWhatIsSuspicious) {
    const std::string good = quasichemical_text();
    const int first = line_of(good, "G 1 2 4 4 0 0 0 0");
    const Fault faults[] = {
        {"count of quadruplets", good, "5 2 0 18 5", 1, "5 2 0 6 5", 5,
         "phase 'SALT' has 18 quadruplets, but the header says 6"},
        {"other numbers of a pair", good, "1 1 0 0 0", 1, "1 1 0 2 0", 0,
         "coefficient 4 of 5 of pair 'AaXx' has no meaning here"},
        {"pair that is not neutral", good, "1 1 0 0 0", 1, "1 2 0 0 0", -3,
         "pair 'AaXx': 1 x 1 of cation Aa against 2 x 1 of Xx; are the tables of the pairs "
         "exchanged?"},
        {"charges slightly out of balance", good, "1 1 4 4 6 6 6 6", 1, "1 1 4 4 6 6 6 6.01", 0,
         "q/Z of Aa-Aa-Xx-Xx: cations 0.333, anions 0.333"},
        {"ions not in their order", good, "1 3 4 4 3 6 3 3", 1, "3 1 4 4 6 3 3 3", 0,
         "the ions of quadruplet Aa-Cc-Xx-Xx are not in their order"},
        {"void number", good, "0 1 0 1 0 1", first, "0 1 0 2 0 1", 0,
         "the number 2 has no meaning here; 0 and 1 are usual"},
    };
    expect_notes(faults);
}

TEST(QuasichemicalReader, IonsMayStandInAnyOrder) {
    const std::string good = quasichemical_text();
    const auto expected = read(good);
    for (const auto& [line, changed] : {std::pair{"1 3 4 4 3 6 3 3", "3 1 4 4 6 3 3 3"},
                                        std::pair{"G 1 3 4 4 0 2 0 0", "G 3 1 4 4 2 0 0 0"},
                                        std::pair{"G 1 1 4 5 0 0 0 0", "G 1 1 5 4 0 0 0 0"},
                                        std::pair{"G 1 2 4 4 0 0 0 0", "G1 2 4 4 0 0 0 0"}}) {
        const auto system = read(with_line(good, line_of(good, line), changed));
        EXPECT_TRUE(system->phases[0].model->equals(*expected->phases[0].model)) << changed;
    }
    EXPECT_TRUE(read(with_line(good, line_of(good, "3", 50), "4"))
                    ->phases[0]
                    .model->equals(*expected->phases[0].model));
}

TEST(QuasichemicalReader, KeepsThePairsOfATermInTwoPairs) {
    const std::string good = quasichemical_pairs_text();
    const auto same =
        read(with_line(good, line_of(good, "B 1 2 3 4 0 0 0 0"), "B 2 1 4 3 0 0 0 0"));
    const auto other =
        read(with_line(good, line_of(good, "B 1 2 3 4 0 0 0 0"), "B 2 1 3 4 0 0 0 0"));
    const auto gibbs = [](const System& system) {
        const Phase& phase = system.phases[0];
        const std::size_t all[] = {0, 1, 2, 3};
        const auto evaluator = phase.model->evaluator(phase.constituents, all);
        TemperatureTerms terms = system.terms();
        terms.set(1000.0);
        evaluator->set_state(terms, 1.0);
        const std::vector<double> y = {1, 3, 5, 2, 4, 1, 3, 5, 2};
        std::vector<double> log_y;
        for (double value : y) {
            log_y.push_back(std::log(value));
        }
        return evaluator->mixing(y, log_y);
    };
    EXPECT_EQ(gibbs(*read(good)), gibbs(*same));
    EXPECT_NE(gibbs(*read(good)), gibbs(*other));
}

TEST(ModelReader, RefusesModelsThatAreNotEvaluated) {
    for (const char* word : {"IDVD", "IDWZ", "PITZ", "WAGN", "QKTOM", "SUBMM", "SUBGM", "SUBQM"}) {
        const std::string text = with_line(sublattice_text(), 8, word);
        EXPECT_EQ(message_of(text),
                  "test.dat, line 8, column 1: phase 'ETA' has the model " + std::string(word) +
                      ", which is not supported (supported: IDMX, RKMP, RKMPM, QKTO, SUBL, SUBLM, "
                      "SUBM, SUBI, SUBG, SUBQ)");
    }
}

TEST(ModelReader, EachCutOfAFileIsRefusedWithALine) {
    for (const std::string& text :
         {sublattice_text(), antiferromagnetic_text(), ionic_liquid_text(), ion_sublattices_text(),
          quasichemical_text(), quasichemical_half_text(), polynomial_text()}) {
        for (std::size_t length = 0; length + 1 < text.size(); length += 7) {
            try {
                read(text.substr(0, length));
            } catch (const ReadError& error) {
                EXPECT_GE(error.line(), 1);
            }
        }
    }
}

} // namespace
} // namespace tessara::test
