#include "engine/listing/input_listing.hpp"
#include "engine/listing/result_listing.hpp"
#include "engine/text/text.hpp"
#include "engine/units/constants.hpp"
#include "support.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <sstream>

namespace tessara::test {
namespace {

TEST(Ascii, LeavesPlainTextAlone) {
    EXPECT_EQ(ascii("Fe2O3 (hematite) \\ ~"), "Fe2O3 (hematite) \\ ~");
}

TEST(Ascii, EscapesOtherCharacters) {
    EXPECT_EQ(ascii("caf\xc3\xa9"), "caf\\xe9");
    EXPECT_EQ(ascii("\xce\xb1-Fe"), "\\u03b1-Fe");
    EXPECT_EQ(ascii("\xf0\x9f\x94\xa5"), "\\U0001f525");
    EXPECT_EQ(ascii("a\tb\x1b\x7f"), "a\\x09b\\x1b\\x7f");
}

TEST(Ascii, EscapesBytesThatAreNoText) {
    EXPECT_EQ(ascii("caf\xe9!"), "caf\\xe9!");           // another encoding
    EXPECT_EQ(ascii("\xc3"), "\\xc3");                   // cut off
    EXPECT_EQ(ascii("\xc0\xaf"), "\\xc0\\xaf");          // overlong
    EXPECT_EQ(ascii("\xed\xa0\x80"), "\\xed\\xa0\\x80"); // surrogate
    EXPECT_EQ(ascii("\xf4\x90\x80\x80"), "\\xf4\\x90\\x80\\x80");
}

TEST(ColumnText, ShowsDigitsThatCount) {
    EXPECT_EQ(column_text(0.0), "0");
    EXPECT_EQ(column_text(1.0), "1.000000");
    EXPECT_EQ(column_text(-0.25), "-0.250000");
    EXPECT_EQ(column_text(0.00125), "1.25000e-03");
    EXPECT_EQ(column_text(1e-300), "1.00000e-300");
    EXPECT_EQ(column_text(123456.789), "123456.789000");
    EXPECT_EQ(column_text(-1234567.0), "-1.23457e+06");
}

TEST(ColumnText, ShowsWhatIsNoNumber) {
    const double infinity = std::numeric_limits<double>::infinity();
    EXPECT_EQ(column_text(std::numeric_limits<double>::quiet_NaN()), "-");
    EXPECT_EQ(column_text(infinity), "inf");
    EXPECT_EQ(column_text(-infinity), "-inf");
}

TEST(TextTable, AlignsItsColumns) {
    TextTable table({"name", "amount", "unit"});
    table.flush_left(2);
    table.row({"A", "1.5", "mol"});
    table.row({"longer name", "12.5", "m"});
    std::ostringstream out;
    table.print(out);
    EXPECT_EQ(out.str(), "  name         amount  unit\n"
                         "  A               1.5  mol\n"
                         "  longer name    12.5  m\n");
}

TEST(TextTable, GivesAVeryLongNameALineOfItsOwn) {
    TextTable table({"name", "amount"});
    const std::string name(60, 'x');
    table.row({name, "1"});
    table.row({"short", "2"});
    std::ostringstream out;
    table.print(out);
    EXPECT_EQ(out.str(), "  name   amount\n"
                         "  " +
                             name +
                             "\n"
                             "              1\n"
                             "  short       2\n");
}

TEST(Paragraph, BreaksLongLinesAndIndentsThem) {
    std::string words;
    for (int k = 0; k < 60; ++k) {
        words += (k > 0 ? " w" : "w") + std::to_string(k);
    }
    std::ostringstream out;
    print_paragraph(out, words, 4);
    std::istringstream lines(out.str());
    std::string line;
    std::string joined;
    for (int k = 0; std::getline(lines, line); ++k) {
        EXPECT_LE(line.size(), 96U);
        const std::size_t indent = k == 0 ? 2 : 6;
        EXPECT_EQ(line.find_first_not_of(' '), indent);
        joined += (k > 0 ? " " : "") + line.substr(indent);
    }
    EXPECT_EQ(joined, words);
}

/// A system with closed forms: species A in an ideal gas over its own solid, an inert gas, and a
/// second solid that does not form. Components weigh 10 and 20 g/mol.
class ListingTest : public testing::Test {
protected:
    static constexpr double T = 1000.0;
    static constexpr double Solid = -20000.0; // G of A(s) under that of the gas

    std::shared_ptr<const System> system =
        DatText({"A", "Q"})
            .gas("GAS", {{"A", {1, 0}, {0.0, -100.0}}, {"Q", {0, 1}, {0.0, -100.0}}})
            .pure({"A(s)", {1, 0}, {Solid, -100.0}})
            .pure({"A(other)", {1, 0}, {Solid + 1000.0, -100.0}})
            .pure({"Q(s)", {0, 1}, {90000.0, 0.0}})
            .read();
    Units units;
    ConditionStore store;
    Statuses statuses{*system};
    Solver solver{system};
    Results results{system};

    void place(ConditionVariable variable, const Place& where, double value) {
        store.place(*system, units, variable, where, value);
    }
    Inputs inputs() const { return {*system, units, store, statuses}; }
    std::string input_listing() const {
        std::ostringstream out;
        const Inputs all = inputs();
        list_inputs(out, units, &all);
        return out.str();
    }
    std::string result_listing() {
        EquilibriumConditions conditions;
        store.fill(conditions);
        statuses.fill(conditions);
        results.take(solver.solve(conditions), conditions, solver.terms());
        std::ostringstream out;
        list_results(out, inputs(), results);
        return out.str();
    }
};

bool is_plain(const std::string& text) {
    for (const char c : text) {
        if (c != '\n' && (c < ' ' || c > '~')) {
            return false;
        }
    }
    return true;
}

TEST_F(ListingTest, ShowsInputsWithTheirNumbers) {
    units.set(Unit::C);
    units.set(Unit::kJ);
    place(ConditionVariable::T, Place::system(), 726.85);
    place(ConditionVariable::IA, Place::component(0), 2.0);
    place(ConditionVariable::AC, Place::constituent(0, 1), 0.25);
    place(ConditionVariable::A, Place::of_phase(1), 0.0);
    place(ConditionVariable::A, Place::of_phase(0), -1.0);
    place(ConditionVariable::H, Place::system(), -5.5);
    place(ConditionVariable::XT, Place::constituent(0, 0), 0.5);
    statuses.set_phase(3, Participation::Dormant);
    statuses.set_constituent(0, 1, Participation::Eliminated);
    EXPECT_EQ(input_listing(), R"(
Inputs
======
  System  a test file
  Units   bar, dm3, C, kJ, mol

Conditions
----------
  condition        number                               value  unit
  T of the system       1                              726.85  C
  AC of GAS : Q         3                                0.25
  A of phase A(s)       4                          just forms
  A of phase GAS        5  a further phase just forms from it
  H of the system       6                                -5.5  kJ
  XT of GAS : A         7                                 0.5
  P is not given: 1 bar is taken.

Incoming amounts
----------------
  incoming amount of  number  mol
  component A              2    2

Statuses
--------
  status other than ENTERED
  GAS : Q                    ELIMINATED
  phase Q(s)                 DORMANT
)");
}

TEST_F(ListingTest, ShowsThatNothingIsGiven) {
    const std::string text = input_listing();
    EXPECT_NE(text.find("T is not given."), std::string::npos);
    EXPECT_NE(text.find("P is not given: 1 bar is taken."), std::string::npos);
    EXPECT_NE(text.find("Incoming amounts\n----------------\n  None.\n"), std::string::npos);
    EXPECT_EQ(text.find("Statuses"), std::string::npos);
}

TEST_F(ListingTest, ShowsUnitsWithoutASystem) {
    std::ostringstream out;
    list_inputs(out, units, nullptr);
    EXPECT_EQ(out.str(), "\nInputs\n======\n  No data file is loaded.\n"
                         "  Units   bar, dm3, K, J, mol\n");
}

TEST_F(ListingTest, ShowsAResultInFull) {
    place(ConditionVariable::T, Place::system(), T);
    place(ConditionVariable::IA, Place::component(0), 1.0);
    place(ConditionVariable::IA, Place::component(1), 0.5);
    place(ConditionVariable::G, Place::system(), 1.0);
    const std::string text = result_listing();

    // The solid fixes p(A); the gas holds n(Q) p(A) / (1 - p(A)) of it.
    const double rt = GasConstant * T;
    const double p = std::exp(Solid / rt);
    const double in_gas = 0.5 * p / (1.0 - p);
    const double gas = in_gas + 0.5;
    const double solid = 1.0 - in_gas;
    const double all = gas + solid;
    const auto line = [](const std::string& name, const std::vector<double>& values) {
        std::string result = name;
        for (const double value : values) {
            result += " " + column_text(value);
        }
        return result;
    };
    // The frame is compared without runs of blanks, numbers by the closed form.
    const auto squeezed = [](const std::string& long_text) {
        std::string result;
        for (const char c : long_text) {
            if (c != ' ' || (!result.empty() && result.back() != ' ' && result.back() != '\n')) {
                result += c;
            }
        }
        return result;
    };
    const std::string found = squeezed(text);
    const auto expect = [&](const std::string& part) {
        EXPECT_NE(found.find(squeezed(part)), std::string::npos) << part << "\nin\n" << text;
    };
    expect("Equilibrium\n===========\nSystem a test file\nT 1000 K\nP 1 bar\n");
    expect("Not used, as the calculation has no target variable: G of the system (4).\n");
    expect("Phases\n------\n phase amount fraction activity\n constituent mol mol/mol\n" +
           line("A(s)", {solid, solid / all, 1.0}) + "\n" + line("GAS", {gas, gas / all, 1.0}) +
           "\n" + line("Q", {0.5, 1.0 - p, 1.0 - p}) + "\n" + line("A", {in_gas, p, p}) + "\n");
    expect("Absent phases\n-------------\n absent phase activity\n" +
           line("A(other)", {std::exp(-1000.0 / rt)}) + "\n");
    const double mu_a = Solid - 100.0 * T;
    const double mu_q = -100.0 * T + rt * std::log(1.0 - p);
    expect("component amount fraction activity potential\n mol mol/mol J/mol\n" +
           line("A", {1.0, 1.0 / 1.5, 1.0, mu_a}) + "\n" +
           line("Q", {0.5, 0.5 / 1.5, 1.0 - p, mu_q}) + "\n");
    expect("Totals\n------\n system total unit per mol\n");
    const double h = solid * Solid;
    expect("H enthalpy " + column_text(h) + " J " + column_text(h / all) + "\n");
    const double g = mu_a + 0.5 * mu_q;
    expect("G Gibbs energy " + column_text(g) + " J " + column_text(g / all) + "\n");
    const double v = gas * rt / 1e5 * 1e3;
    expect("V volume " + column_text(v) + " dm3 " + column_text(v / all) + "\n");
    expect("A amount " + column_text(all) + " mol\n");
    expect("Check\n-----\n residual largest allowed\n mass balances, relative");
    expect("Nearest to forming: A(other), driving force " + number_text(-1000.0 / rt, 5) + " RT\n");
    EXPECT_EQ(found.find("leave the potentials"), std::string::npos);
}

TEST_F(ListingTest, KeepsColumnsAndLinesInShape) {
    place(ConditionVariable::T, Place::system(), T);
    place(ConditionVariable::IA, Place::component(0), 1.0);
    place(ConditionVariable::IA, Place::component(1), 0.5);
    std::istringstream lines(result_listing());
    std::string line;
    bool in_phases = false;
    std::size_t width = 0;
    for (; std::getline(lines, line);) {
        EXPECT_LE(line.size(), 100U) << line;
        EXPECT_TRUE(line.empty() || line.back() != ' ') << line;
        if (line == "Phases") {
            in_phases = true;
            width = 0;
        } else if (line.empty()) {
            in_phases = false;
        } else if (in_phases && line.front() == ' ' && line.find("mol/mol") == std::string::npos) {
            EXPECT_TRUE(width == 0 || line.size() == width) << line;
            width = line.size();
        }
    }
}

TEST_F(ListingTest, NamesWhatTheStablePhasesLeaveOpen) {
    system = DatText({"A", "B"})
                 .gas("GAS", {{"A", {1, 0}, {}}, {"B", {0, 1}, {}}})
                 .pure({"A2B", {2, 1}, {-200000.0}})
                 .read();
    store = ConditionStore();
    Statuses all(*system);
    Solver own(system);
    Results of(system);
    place(ConditionVariable::T, Place::system(), T);
    place(ConditionVariable::IA, Place::component(0), 2.0);
    place(ConditionVariable::IA, Place::component(1), 1.0);
    EquilibriumConditions conditions;
    store.fill(conditions);
    of.take(own.solve(conditions), conditions, own.terms());
    std::ostringstream out;
    list_results(out, {*system, units, store, all}, of);
    const std::string text = out.str();
    EXPECT_NE(text.find("The stable phases leave the potentials of these combinations of "
                        "components open:"),
              std::string::npos)
        << text;
    EXPECT_TRUE(is_plain(text));
}

TEST_F(ListingTest, ShowsCompositionSetsApart) {
    // Strong repulsion splits the solution in two; the file lists it once.
    system = DatText({"A", "B"})
                 .redlich_kister("SOLUTION", {{"A", {1, 0}, {}}, {"B", {0, 1}, {}}},
                                 {{{1, 2}, {{3.0 * GasConstant * T}}}})
                 .read();
    store = ConditionStore();
    Statuses all(*system);
    Solver own(system);
    Results of(system);
    place(ConditionVariable::T, Place::system(), T);
    place(ConditionVariable::IA, Place::component(0), 1.0);
    place(ConditionVariable::IA, Place::component(1), 1.0);
    EquilibriumConditions conditions;
    store.fill(conditions);
    of.take(own.solve(conditions), conditions, own.terms());
    std::ostringstream out;
    list_results(out, {*system, units, store, all}, of);
    const std::string text = out.str();
    // ln(x / (1-x)) = 3 (2x - 1) has the root 0.929279...: bisection.
    double low = 0.6;
    double high = 0.999;
    for (int k = 0; k < 200; ++k) {
        const double x = 0.5 * (low + high);
        (std::log(x / (1.0 - x)) < 3.0 * (2.0 * x - 1.0) ? low : high) = x;
    }
    const std::string much = column_text(low);
    const std::string little = column_text(1.0 - low);
    EXPECT_NE(text.find("Composition sets of SOLUTION\n"), std::string::npos) << text;
    EXPECT_NE(text.find("  amount, mol    1.000000  1.000000\n"), std::string::npos) << text;
    EXPECT_NE(text.find("  fraction of A  " + much + "  " + little + "\n"), std::string::npos)
        << text;
    EXPECT_NE(text.find("  fraction of B  " + little + "  " + much + "\n"), std::string::npos)
        << text;
}

TEST_F(ListingTest, IsPlainAsciiWhateverTheNames) {
    system = System::read_dat("caf\xc3\xa9 \xff title\n1 1 0 1\nA\n10.0\n6 1 2 3 4 5 6\n"
                              "6 1 2 3 4 5 6\nA(\xce\xb1)\n1 1 1.0\n6000.0 0 0 0 0 0 0\n",
                              "names.dat");
    store = ConditionStore();
    Statuses all(*system);
    Solver own(system);
    Results of(system);
    place(ConditionVariable::T, Place::system(), T);
    place(ConditionVariable::IA, Place::constituent(0, 0), 2.0);
    EquilibriumConditions conditions;
    store.fill(conditions);
    of.take(own.solve(conditions), conditions, own.terms());
    std::ostringstream out;
    const Inputs in{*system, units, store, all};
    list_inputs(out, units, &in);
    list_results(out, in, of);
    EXPECT_TRUE(is_plain(out.str()));
    EXPECT_NE(out.str().find("System  caf\\xe9 \\xff title"), std::string::npos) << out.str();
    EXPECT_NE(out.str().find("A(\\u03b1)"), std::string::npos);
}

} // namespace
} // namespace tessara::test
