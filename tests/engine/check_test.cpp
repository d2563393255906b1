#include "engine/check/check.hpp"

#include "example_phases.hpp"
#include "support.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <regex>

namespace tessara::test {
namespace {

/// A finding in one line: "TS103 error 12 phase 'X': text".
std::string shown(const Finding& finding) {
    return std::string(description_of(finding.rule).number) + " " +
           std::string(gravity_name(finding.gravity)) + " " + std::to_string(finding.line) + " " +
           finding.subject + ": " + finding.text;
}

std::vector<std::string> check_text(const std::string& text) {
    std::vector<std::string> found;
    for (const Finding& finding : check(read(text))) {
        found.push_back(shown(finding));
    }
    return found;
}

using Lines = std::vector<std::string>;

/// Findings of the rules on parameters.
Lines parameter_findings(const std::string& text) {
    Lines found;
    for (const std::string& line : check_text(text)) {
        if (line.starts_with("TS4")) {
            found.push_back(line);
        }
    }
    return found;
}

/// A file of the components Xa and Xb, which are no elements. Its body starts in line 7.
std::string file(const std::string& counts, const std::string& body,
                 const std::string& names = "Xa Xb", const std::string& masses = "10 20") {
    return "two components\n" + counts + "\n" + names + "\n" + masses +
           "\n6 1 2 3 4 5 6\n6 1 2 3 4 5 6\n" + body;
}

/// One pure phase Q of 1 mol Xa and 1 mol Xb with these ranges, from line 9 on.
std::string pure(const std::string& ranges, int count) {
    return file("2 1 0 1", "Q\n1 " + std::to_string(count) + " 1 1\n" + ranges);
}

const std::string Plain = "6000 -1000 -40 -20 0 0 0\n";
const std::string Melt = "MELT\nRKMP\nA\n1 1 1 0\n" + Plain + "B\n1 1 0 1\n" + Plain;

TEST(Check, FindsNothingInASoundFile) {
    EXPECT_EQ(
        check_text(file("2 2 0 2 1", Melt + "2\n1 2 1\n-5000 0 0 0 0 0\n0\nQ\n1 1 1 1\n" + Plain)),
        Lines{});
}

TEST(Check, TellsTheReadersNotesWithTheirPlace) {
    const std::string text = pure("6000 -1000 -40 -20 0 0 0 7\n", 1);
    const auto system = read(text);
    ASSERT_EQ(system->notes.size(), 1U);
    const std::vector<Finding> found = check(system);
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].rule, Rule::ReaderNote);
    EXPECT_EQ(found[0].line, system->notes[0].line);
    EXPECT_EQ(found[0].column, system->notes[0].column);
    EXPECT_EQ(found[0].text, system->notes[0].text);
}

// --- ranges and their joins ---

TEST(Check, RangeBehindAHigherOneNeverApplies) {
    EXPECT_EQ(check_text(pure("3000 -1000 -40 -20 0 0 0\n1000 -1000 -40 -20 0 0 0\n" + Plain, 3)),
              Lines{"TS101 warning 10 phase 'Q': the range up to 1000 K never applies, as one "
                    "before it reaches 3000 K"});
}

TEST(Check, LastRangeBelowAnotherAppliesAboveThatOnly) {
    EXPECT_EQ(check_text(pure("3000 -1000 -40 -20 0 0 0\n1000 -1000 -40 -20 0 0 0\n", 2)),
              Lines{"TS101 warning 10 phase 'Q': the last range ends at 1000 K, below the limit "
                    "3000 K of one before it; it applies above that only"});
}

TEST(Check, LastRangeWithTheLimitBeforeItIsANote) {
    EXPECT_EQ(check_text(pure("3000 -1000 -40 -20 0 0 0\n3000 -1000 -40 -20 0 0 0\n", 2)),
              Lines{"TS101 note 10 phase 'Q': the last range has the limit 3000 K of one before "
                    "it; it applies above that only"});
}

TEST(Check, DataOfOnePhaseThatEndApartLeaveAGap) {
    EXPECT_EQ(check_text(file("2 2 0 2 0",
                              "MELT\nRKMP\nA\n1 1 1 0\n800 -1000 -40 -20 0 0 0\nB\n1 1 0 1\n" +
                                  Plain + "0\n")),
              Lines{"TS102 note 9 phase 'MELT': the data of 1 of its 2 constituents end below 6000 "
                    "K, where those of others end; the first is 'A' at 800 K"});
}

// G = -1000 - 40 T - 20 T ln T, then the same with 500 or 5 more, or with a slope that meets it.
// The phase has two atoms, so that 2 J are allowed, and 200 are grave.
TEST(Check, JumpOfTheGibbsEnergyIsGraveWhereItIsLarge) {
    EXPECT_EQ(check_text(pure("1000 -1000 -40 -20 0 0 0\n6000 -500 -40 -20 0 0 0\n", 2)),
              Lines{"TS103 error 10 phase 'Q': G jumps by 500 J/mol (allowed 2), H by 500 J/mol "
                    "and S by 0 J/(mol K) at 1000 K"});
    EXPECT_EQ(check_text(pure("1000 -1000 -40 -20 0 0 0\n6000 -995 -40 -20 0 0 0\n", 2)),
              Lines{"TS103 warning 10 phase 'Q': G jumps by 5 J/mol (allowed 2), H by 5 J/mol and "
                    "S by 0 J/(mol K) at 1000 K"});
}

TEST(Check, JumpWithinTheAllowanceIsNone) {
    EXPECT_EQ(check_text(pure("1000 -1000 -40 -20 0 0 0\n6000 -998.1 -40 -20 0 0 0\n", 2)),
              Lines{});
}

TEST(Check, JumpsOfEnthalpyAndEntropyAreATransition) {
    // 3000 J/mol more enthalpy and 3 J/(mol K) more entropy: G is the same at 1000 K.
    EXPECT_EQ(check_text(pure("1000 -1000 -40 -20 0 0 0\n6000 2000 -43 -20 0 0 0\n", 2)),
              Lines{"TS104 warning 10 phase 'Q': H by 3000 J/mol and S by 3 J/(mol K) at 1000 K "
                    "(allowed for H 40 J/mol), while G goes on"});
}

TEST(Check, RangesThatNeverApplyHaveNoJoins) {
    EXPECT_EQ(
        check_text(pure("3000 -1000 -40 -20 0 0 0\n1000 9e9 -40 -20 0 0 0\n" + Plain, 3)).size(),
        1U);
}

// --- heat capacity, entropy, missing data ---

TEST(Check, NegativeHeatCapacityIsToldWithItsRange) {
    // Cp = 20 - 0.02 T: negative above 1000 K; the samples are 39.16 K apart above 298.15 K.
    const Lines found = check_text(pure("1551.15 -1000 -40 -20 0.01 0 0\n", 1));
    ASSERT_EQ(found.size(), 1U);
    const std::regex expected(
        "TS105 warning 9 phase 'Q': the heat capacity is negative between (\\d+) K and 1551 K; the "
        "lowest value met is -11.02 J/\\(mol K\\) at 1551 K");
    std::smatch match;
    ASSERT_TRUE(std::regex_match(found[0], match, expected)) << found[0];
    EXPECT_GE(std::stoi(match[1]), 1000);
    EXPECT_LE(std::stoi(match[1]), 1040);
}

TEST(Check, HeatCapacityOfAConstituentAndOfADummyIsLookedAt) {
    const std::string bad = "6000 0 0 20 0 0 0\n"; // Cp = -20
    const Lines found =
        check_text(file("2 2 0 2 1", "MELT\nRKMP\nA\n1 1 1 0\n" + bad + "B\n1 1 0 1\n" + Plain +
                                         "0\nB(s) #\n1 1 0 1\n" + bad));
    ASSERT_EQ(found.size(), 2U);
    EXPECT_NE(found[0].find("TS105 warning 11 constituent 'A' of phase 'MELT'"), std::string::npos);
    EXPECT_NE(found[1].find("TS105 warning 18 dummy 'B(s)'"), std::string::npos);
}

TEST(Check, NegativeEntropyOfAPurePhase) {
    EXPECT_EQ(check_text(pure("6000 -1000 5 0 0 0 0\n", 1)),
              Lines{"TS106 warning 7 phase 'Q': the entropy at 298.15 K is -5 J/(mol K)"});
}

TEST(Check, RecordWithoutDataIsANote) {
    EXPECT_EQ(check_text(pure("6000 0 0 0 0 0 0\n", 1)),
              Lines{"TS304 note 7 phase 'Q': all its coefficients are zero"});
}

TEST(Check, FormThatIsNeverTheLowestIsANote) {
    EXPECT_EQ(check_text(file("2 1 0 3", "Q\n1 1 1 1\n" + Plain +
                                             "R\n1 1 2 2\n6000 -1990 -80 -40 0 0 0\n" +
                                             "S\n1 1 1 2\n6000 9000 -40 -20 0 0 0\n")),
              Lines{"TS303 note 10 phase 'R': another form of its composition has the lower Gibbs "
                    "energy at all temperatures"});
}

// --- names ---

struct MassRow {
    std::string names;
    std::string masses;
    std::string found;
};

class CheckMasses : public testing::TestWithParam<MassRow> {};

TEST_P(CheckMasses, AreComparedWithTheElements) {
    const MassRow& row = GetParam();
    EXPECT_EQ(check_text(file("2 1 0 1", "Q\n1 1 1 1\n" + Plain, row.names, row.masses)),
              row.found.empty() ? Lines{} : Lines{row.found});
}

INSTANTIATE_TEST_SUITE_P(
    Rows, CheckMasses,
    testing::Values(
        MassRow{"Fe O", "55.845 15.999", ""}, MassRow{"Fe Zn", "55.85 65.39", ""},
        MassRow{"FE O", "55.845 15.999", ""}, MassRow{"Xx O", "1 15.999", ""},
        MassRow{"Tc O", "98 15.999", ""},
        MassRow{"Fe O", "55.845 16.999",
                "TS201 warning 4 component 'O': its molar mass is 16.999 g/mol; that of the "
                "element O is 15.999"},
        MassRow{"FE O", "45 15.999",
                "TS201 warning 4 component 'FE': its molar mass is 45 g/mol; that of the element "
                "Fe is 55.845"}));

struct FormulaRow {
    std::string name;
    std::string amounts;
    bool contradicts;
};

class CheckFormulas : public testing::TestWithParam<FormulaRow> {};

TEST_P(CheckFormulas, AreComparedWithTheAmounts) {
    const FormulaRow& row = GetParam();
    Lines found = check_text(
        file("2 1 0 1", row.name + "\n1 1 " + row.amounts + "\n" + Plain, "Fe O", "55.845 15.999"));
    std::erase_if(found, [](const std::string& one) { return one.rfind("TS202", 0) != 0; });
    ASSERT_EQ(found.size(), row.contradicts ? 1U : 0U) << row.name;
    if (row.contradicts) {
        EXPECT_EQ(found[0].rfind("TS202 warning 7 phase '" + row.name + "': the name spells", 0),
                  0U);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Rows, CheckFormulas,
    testing::Values(FormulaRow{"Fe2O3", "2 3", false}, FormulaRow{"Fe2O3", "3 2", true},
                    FormulaRow{"Fe0.95O", "0.947 1", false}, FormulaRow{"Fe(L)", "1 0", false},
                    FormulaRow{"Fe(O)2", "1 2", false}, FormulaRow{"Fe(O)2", "1 1", true},
                    FormulaRow{"FeO(wustite)", "1 1", false}, FormulaRow{"FeO_b", "1 2", true},
                    FormulaRow{"FeO-beta", "1 1", false}, FormulaRow{"Fe[2+]", "1 0", false},
                    // These spell no formula of the components.
                    FormulaRow{"Wustite", "1 1", false}, FormulaRow{"SiO2", "1 1", false},
                    FormulaRow{"Fe:O", "1 2", false}, FormulaRow{"feo", "1 2", false},
                    FormulaRow{"FE2O3", "2 3", false}, FormulaRow{"((((((((((Fe", "2 3", false}));

TEST(Check, FormulasNeedElementsAsComponents) {
    EXPECT_EQ(check_text(file("2 1 0 1", "Fe2O3\n1 1 1 1\n" + Plain, "Fe2 O", "112 15.999")),
              Lines{});
}

TEST(Check, DuplicateNamesAreErrors) {
    EXPECT_EQ(
        check_text(file("2 2 0 2 2",
                        "MELT\nRKMP\nA\n1 1 1 0\n" + Plain + "A\n1 1 0 1\n" + Plain +
                            "0\nQ\n1 1 1 1\n" + Plain + "Q\n1 1 1 2\n" + Plain,
                        "Xa Xa")),
        (Lines{"TS203 error 3 component 'Xa': the name stands in line 3 already",
               "TS203 error 12 constituent 'A' of phase 'MELT': the name stands in line 9 already",
               "TS203 error 19 phase 'Q': the name stands in line 16 already"}));
}

TEST(Check, NamesThatDifferInCaseAreWarnings) {
    EXPECT_EQ(
        check_text(file("2 2 0 2 2", "MELT\nRKMP\nab\n1 1 1 0\n" + Plain + "AB\n1 1 0 1\n" + Plain +
                                         "0\nMelt\n1 1 1 1\n" + Plain + "Q\n1 1 1 2\n" + Plain)),
        (Lines{"TS204 warning 12 constituent 'AB' of phase 'MELT': the name differs only in case "
               "from 'ab' in line 9",
               "TS204 warning 16 phase 'Melt': the name differs only in case from 'MELT' in line "
               "7"}));
}

TEST(Check, CopiesAndDummiesMayShareAName) {
    EXPECT_EQ(check_text(file("2 3 0 2 2 2", Melt + "0\n" + Melt + "0\nB #\n1 1 0 1\n" + Plain +
                                                 "B #\n1 1 0 1\n" + Plain)),
              Lines{});
}

TEST(Check, FindsOfCopiesAreToldOnce) {
    const std::string bad = "MELT\nRKMP\nA\n1 1 1 0\n6000 0 0 20 0 0 0\nB\n1 1 0 1\n" + Plain;
    EXPECT_EQ(check_text(file("2 3 0 2 2 0", bad + "0\n" + bad + "0\n")).size(), 1U);
}

TEST(Check, ComponentThatNothingHolds) {
    EXPECT_EQ(check_text(file("2 1 0 1", "Q\n1 1 1 0\n" + Plain)),
              Lines{"TS302 warning 3 component 'Xb': no constituent holds it"});
}

// --- charges and parameters ---

std::string ions(const std::string& second) {
    return file("2 2 0 3 0",
                "SALT\nRKMP\nXa[+]\n1 1 1 -1\n" + Plain + second + Plain + "XaXa\n1 1 2 0\n" +
                    Plain + "2\n1 3 1\n-500 0 0 0 0 0\n0\n",
                "Xa e(SALT)", "10 0.00054858");
}

TEST(Check, IonWithoutACounterpartNeverForms) {
    EXPECT_EQ(check_text(ions("Y[+]\n1 1 1 -2\n")),
              (Lines{"TS301 warning 9 constituent 'Xa[+]' of phase 'SALT': it is charged, and "
                     "nothing with it balances the charge",
                     "TS301 warning 12 constituent 'Y[+]' of phase 'SALT': it is charged, and "
                     "nothing with it balances the charge",
                     "TS403 warning 19 the parameter on 'Xa[+]', 'XaXa' of phase 'SALT': 'Xa[+]' "
                     "can never form"}));
}

TEST(Check, IonsThatBalanceFormWell) {
    EXPECT_EQ(check_text(ions("Y[-]\n1 1 1 1\n")), Lines{});
}

TEST(Check, ParameterOfZerosRefersToNothing) {
    EXPECT_EQ(check_text(file("2 2 0 2 0", Melt + "2\n1 2 1\n0 0 0 0 0 0\n0\n")),
              Lines{"TS401 note 16 the parameter on 'A', 'B' of phase 'MELT': all its coefficients "
                    "are zero"});
}

TEST(Check, ParametersOnTheSameConstituentsAreNoted) {
    EXPECT_EQ(check_text(file("2 2 0 2 0", Melt + "2\n1 2 1\n-1 0 0 0 0 0\n2\n2 1 1\n-2 0 0 0 0 "
                                                  "0\n0\n")),
              Lines{"TS402 note 19 the parameter on 'B', 'A' of phase 'MELT': line 16 has a "
                    "parameter on the same constituents"});
}

// The parameters of other models have lines of their own; what tells them apart are their powers
// too.

TEST(Check, PolynomialParametersThatDoNothingOrStandTwiceAreNoted) {
    std::string text = polynomial_text();
    const int first = line_of(text, "1 2 1 1 -26000 7 0 0 0 0");
    EXPECT_EQ(parameter_findings(text), Lines{});
    text = with_line(text, first, "1 2 1 1 0 0 0 0 0 0\n2\n2 1 1 1 -500 0 0 0 0 0");
    EXPECT_EQ(
        parameter_findings(text),
        (Lines{"TS401 note " + std::to_string(first) +
                   " the parameter on 'Aa', 'Bb' of phase 'SLAG': all its coefficients are "
                   "zero",
               "TS402 note " + std::to_string(first + 2) +
                   " the parameter on 'Bb', 'Aa' of phase 'SLAG': line " + std::to_string(first) +
                   " has a parameter on the same constituents with the same powers"}));
    EXPECT_EQ(parameter_findings(with_line(text, first + 2, "2 1 1 2 -500 0 0 0 0 0")).size(), 1U);
}

TEST(Check, ParametersOfIonsThatDoNothingOrStandTwiceAreNoted) {
    std::string text = ion_sublattices_text();
    const int first = line_of(text, "1 2 1 1 0 4 -8000 2 0 0 0 0");
    EXPECT_EQ(parameter_findings(text), Lines{});
    text = with_line(text, first, "1 2 1 1 0 4 0 0 0 0 0 0\n3\n1 2 1 1 0 4 -500 0 0 0 0 0");
    EXPECT_EQ(
        parameter_findings(text),
        (Lines{"TS401 note " + std::to_string(first) +
                   " the parameter on 'Aa', 'Bb' of phase 'IONS': all its coefficients are "
                   "zero",
               "TS402 note " + std::to_string(first + 2) +
                   " the parameter on 'Aa', 'Bb' of phase 'IONS': line " + std::to_string(first) +
                   " has a parameter on the same constituents with the same powers"}));
    // At another constant ion it is another parameter.
    EXPECT_EQ(parameter_findings(with_line(text, first + 2, "1 2 1 1 0 5 -500 0 0 0 0 0")).size(),
              1U);
}

TEST(Check, QuadrupletParametersThatDoNothingOrStandTwiceAreNoted) {
    std::string text = quasichemical_text();
    const std::string code = "G 1 2 4 4 0 0 0 0";
    const int first = line_of(text, code);
    EXPECT_EQ(parameter_findings(text), Lines{});
    text =
        with_line(text, first + 3,
                  "0 0 0 0 0 0 0 0\n" + quasichemical_term_text("G 2 1 4 4 0 0 0 0", "0 0", "-9"));
    EXPECT_EQ(parameter_findings(text),
              (Lines{"TS401 note " + std::to_string(first) +
                         " the parameter G on Aa-Bb-Xx-Xx of phase 'SALT': all its coefficients "
                         "are zero",
                     "TS402 note " + std::to_string(first + 5) +
                         " the parameter G on Aa-Bb-Xx-Xx of phase 'SALT': line " +
                         std::to_string(first) +
                         " has a parameter on the same constituents with the same powers"}));
    EXPECT_EQ(parameter_findings(with_line(text, first + 5, "Q 1 2 4 4 0 0 0 0")).size(), 1U);
    EXPECT_EQ(parameter_findings(with_line(text, first + 5, "G 1 2 4 4 0 1 0 0")).size(), 1U);
}

TEST(Check, MagnetismNeedsBothNumbers) {
    const std::string records = "A\n13 1 1 0\n" + Plain + "900 0\nB\n13 1 0 1\n" + Plain;
    EXPECT_EQ(check_text(file("2 2 0 2 0", "MELT\nRKMPM\n0.3 0.28\n" + records +
                                               "0 2\n0\n2\n1 2 1\n-20000 0 0 0 0 0\n0\n")),
              (Lines{"TS404 note 10 constituent 'A' of phase 'MELT': it has a Curie temperature, "
                     "but no moment",
                     "TS404 note 14 constituent 'B' of phase 'MELT': it has a moment, but no Curie "
                     "temperature"}));
}

TEST(Check, MagneticModelWithoutMagnetismIsANote) {
    EXPECT_EQ(check_text(file("2 2 0 2 0", "MELT\nRKMPM\n0.3 0.28\nA\n1 1 1 0\n" + Plain +
                                               "B\n1 1 0 1\n" + Plain + "0\n0\n")),
              Lines{"TS404 note 7 phase 'MELT': the model is magnetic, but no constituent has a "
                    "Curie temperature"});
}

// --- unmixing ---

// A regular solution with L = 20 kJ/mol unmixes below L / (2 R) = 1202.7 K, symmetrically.
const std::string Unmixing = Melt + "2\n1 2 1\n20000 0 0 0 0 0\n0\n";

TEST(Check, PhaseThatUnmixesNeedsACopy) {
    const Lines found = check_text(file("2 2 0 2 0", Unmixing));
    ASSERT_EQ(found.size(), 1U);
    const std::regex expected(
        "TS501 warning 7 phase 'MELT': 'A' and 'B' do not mix in all proportions at temperatures "
        "up to (\\d+) K, there around x\\(B\\) = 0.5");
    std::smatch match;
    ASSERT_TRUE(std::regex_match(found[0], match, expected)) << found[0];
    EXPECT_NEAR(std::stod(match[1]), 1202.7, 2.0);
}

TEST(Check, PhaseThatUnmixesWithACopyIsSound) {
    EXPECT_EQ(check_text(file("2 3 0 2 2 0", Unmixing + Unmixing)), Lines{});
}

TEST(Check, UnmixingBelowAMoreStablePhaseIsANote) {
    const Lines found =
        check_text(file("2 2 0 2 1", Unmixing + "Q\n1 1 1 1\n6000 -100000 -80 -40 0 0 0\n"));
    // The compound takes all that there is of one, or the other is left over pure.
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].rfind("TS501 note 7 ", 0), 0U);
    EXPECT_NE(found[0].find("other phases of the file are more stable there"), std::string::npos);
}

TEST(Check, IonsOfDifferentChargeAreNoPair) {
    const std::string text = ions("Y[-]\n1 1 1 1\n");
    EXPECT_EQ(check_text(std::regex_replace(text, std::regex("-500 0"), "90000 0")), Lines{});
}

// --- order, rules ---

TEST(Check, TheGravestComesFirstThenTheLine) {
    const Lines found = check_text(file(
        "2 2 0 2 2", Unmixing + "Q\n1 2 1 1\n1000 -1000 -40 -20 0 0 0\n6000 9000 -40 -20 0 0 0\n" +
                         "R\n1 1 1 2\n6000 0 0 0 0 0 0\n"));
    ASSERT_EQ(found.size(), 3U);
    EXPECT_EQ(found[0].substr(0, 11), "TS103 error");
    EXPECT_EQ(found[1].substr(0, 13), "TS501 warning");
    EXPECT_EQ(found[2].substr(0, 10), "TS304 note");
}

TEST(Check, EachRuleHasANumberOfItsOwnATitleAndAdvice) {
    std::vector<std::string> numbers;
    for (const RuleDescription& rule : rules()) {
        numbers.emplace_back(rule.number);
        EXPECT_FALSE(std::string(rule.title).empty());
        EXPECT_EQ(std::string(rule.advice).back(), '.');
    }
    EXPECT_TRUE(std::is_sorted(numbers.begin(), numbers.end()));
    EXPECT_EQ(std::adjacent_find(numbers.begin(), numbers.end()), numbers.end());
}

} // namespace
} // namespace tessara::test
