#include "basic/library/library.hpp"

#include "engine/units/constants.hpp"
#include "support.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <sstream>

namespace tessara::basic {
namespace {

using test::DatText;
using C = ConditionVariable;
using R = ResultVariable;

constexpr int None = Library::None;

std::string content(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream all;
    all << file.rdbuf();
    return all.str();
}

/// An ideal gas of A and B with a solid of A.
std::string small_system() {
    return DatText({"A", "B"})
        .gas("GAS", {{"A", {1, 0}, {0.0, -100.0}}, {"B", {0, 1}, {0.0, -100.0}}})
        .pure({"A(s)", {1, 0}, {-20000.0, -100.0}})
        .text();
}

class LibraryTest : public testing::Test {
protected:
    Library library;
    std::filesystem::path directory = std::filesystem::path(testing::TempDir()) /
                                      testing::UnitTest::GetInstance()->current_test_info()->name();

    void SetUp() override { std::filesystem::create_directories(directory); }
    void TearDown() override {
        library.initialise();
        std::filesystem::remove_all(directory);
    }

    void load(const std::string& text) {
        library.open_data(10, {"test.dat", text});
        library.read_data();
        library.close(10);
    }
    void calculate(bool listing = false) {
        library.calculate(TargetVariable::NoTarget, None, None, {0.0, 0.0}, false, listing);
    }
    void calculate_small_system() {
        load(small_system());
        library.set_condition(C::T, None, None, 1000.0);
        library.set_condition(C::IA, None, 0, 1.0);
        library.set_condition(C::IA, None, 1, 0.5);
        calculate();
    }
    double system_value(R variable) { return library.result(variable, None, None); }

    template <class Body>
    ErrorNumber failure(const Body& body) {
        try {
            body();
        } catch (const LibraryError& error) {
            words = error.what();
            return error.number();
        }
        ADD_FAILURE() << "no failure";
        return ErrorNumber::Internal;
    }
    std::string words;
};

TEST(ErrorTexts, AreThereForEachNumber) {
    for (std::size_t k = 1; k <= ErrorCount; ++k) {
        EXPECT_FALSE(error_text(static_cast<ErrorNumber>(k)).empty());
    }
    const LibraryError error(ErrorNumber::PhaseIndex, {"7", "3"});
    EXPECT_STREQ(error.what(),
                 "there is no phase with the index 7; the system has 3 phases, counted from 0");
}

TEST_F(LibraryTest, IsEmptyAtFirst) {
    EXPECT_EQ(library.phase_count(), 0U);
    EXPECT_EQ(library.component_count(), 0U);
    EXPECT_EQ(library.channel(IoOption::List), 6);
    EXPECT_EQ(library.channel(IoOption::Error), 0);
    EXPECT_EQ(failure([&] { library.phase(0); }), ErrorNumber::NoSystem);
    EXPECT_EQ(failure([&] { library.result(R::T, None, None); }), ErrorNumber::NoSystem);
    EXPECT_EQ(failure([&] { calculate(); }), ErrorNumber::NoSystem);
    EXPECT_EQ(failure([&] { library.read_data(); }), ErrorNumber::NoDataFile);
}

TEST_F(LibraryTest, ReadsTheFileThatWasOpenedLast) {
    library.open_data(10, {"a.dat", DatText({"A"}).pure({"A(s)", {1}, {}}).text()});
    library.open_data(11, {"b.dat", DatText({"B"}).pure({"B(s)", {1}, {}}).text()});
    library.read_data();
    EXPECT_EQ(library.phase(0).name, "B(s)");
    library.close(11);
    EXPECT_EQ(failure([&] { library.read_data(); }), ErrorNumber::NoDataFile);
    EXPECT_EQ(library.phase_count(), 1U);
}

TEST_F(LibraryTest, IsEmptyAfterAReadThatFails) {
    calculate_small_system();
    library.open_data(10, {"bad.dat", "title\nnot a number\n"});
    try {
        library.read_data();
        FAIL();
    } catch (const LibraryError& error) {
        EXPECT_EQ(error.number(), ErrorNumber::DataFile);
        EXPECT_EQ(error.file(), "bad.dat");
        EXPECT_EQ(error.line(), 2);
        EXPECT_EQ(error.column(), 1);
    }
    EXPECT_EQ(library.phase_count(), 0U);
    EXPECT_EQ(library.component_count(), 0U);
    EXPECT_EQ(library.sizes_used()[0], 0);
}

TEST_F(LibraryTest, ForgetsConditionsAndResultsWhenAFileIsRead) {
    calculate_small_system();
    library.set_status(1, Participation::Dormant);
    load(small_system());
    EXPECT_EQ(library.status(1), Participation::Entered);
    EXPECT_EQ(library.result(R::IA, None, 0), 0.0);
    EXPECT_EQ(failure([&] { system_value(R::T); }), ErrorNumber::NoResult);
    EXPECT_EQ(library.set_condition(C::T, None, None, 1000.0), 1);
}

TEST_F(LibraryTest, CalculatesWithTheConditionsInForce) {
    calculate_small_system();
    const double p = std::exp(-20000.0 / (GasConstant * 1000.0));
    EXPECT_NEAR(library.result(R::AC, 0, 0), p, 1e-13);
    EXPECT_NEAR(library.result(R::A, 0, None), 0.5 / (1.0 - p), 1e-13);
    EXPECT_EQ(library.result(R::A, None, 1), 0.5);
    EXPECT_EQ(system_value(R::T), 1000.0);
    EXPECT_EQ(system_value(R::P), 1.0);
    EXPECT_TRUE(library.certificate().holds());
}

TEST_F(LibraryTest, GivesNanForTheExtensiveValuesOfAFailedCalculation) {
    calculate_small_system();
    library.remove_conditions(Library::AllInputs);
    EXPECT_EQ(failure([&] { calculate(); }), ErrorNumber::Calculation);
    for (const R variable : {R::CP, R::H, R::S, R::G, R::V}) {
        EXPECT_TRUE(std::isnan(system_value(variable)));
    }
    for (const R variable : {R::T, R::P, R::A, R::HM, R::VT}) {
        EXPECT_EQ(failure([&] { system_value(variable); }), ErrorNumber::FailedResult);
    }
    EXPECT_EQ(failure([&] { library.result(R::H, 0, None); }), ErrorNumber::FailedResult);
    EXPECT_EQ(failure([&] { static_cast<void>(library.certificate()); }),
              ErrorNumber::FailedResult);
    EXPECT_EQ(library.result(R::IA, None, 0), 0.0);
}

TEST_F(LibraryTest, RefusesACalculationWithoutTemperature) {
    load(small_system());
    library.set_condition(C::IA, None, 0, 1.0);
    EXPECT_EQ(failure([&] { calculate(); }), ErrorNumber::NoTemperature);
    EXPECT_TRUE(std::isnan(system_value(R::H)));
}

TEST_F(LibraryTest, RefusesAListingWithoutAChannelBeforeItCalculates) {
    calculate_small_system();
    library.set_condition(C::T, None, None, 1100.0);
    library.set_channel(IoOption::List, 33);
    EXPECT_EQ(failure([&] { calculate(true); }), ErrorNumber::ListingClosed);
    EXPECT_EQ(system_value(R::T), 1000.0);
    EXPECT_EQ(failure([&] { library.list_inputs(); }), ErrorNumber::ListingClosed);
    library.open_data(33, {"test.dat", ""});
    EXPECT_EQ(failure([&] { library.list_inputs(); }), ErrorNumber::ListingClosed);
}

TEST_F(LibraryTest, ListsToAFile) {
    const std::filesystem::path path = directory / "list.txt";
    calculate_small_system();
    library.open_output(21, path, "list.txt");
    library.set_channel(IoOption::List, 21);
    library.list_inputs();
    EXPECT_EQ(content(path).find("\nInputs\n"), 0U); // there before the channel is closed
    calculate(true);
    library.close(21);
    EXPECT_NE(content(path).find("\nEquilibrium\n"), std::string::npos);
    EXPECT_EQ(content(path).find('\r'), std::string::npos);
}

TEST_F(LibraryTest, ListsToTheStandardOutput) {
    testing::internal::CaptureStdout();
    library.list_inputs();
    EXPECT_EQ(testing::internal::GetCapturedStdout().find("\nInputs\n"), 0U);
}

TEST_F(LibraryTest, EmptiesAFileThatIsOpenedAgain) {
    const std::filesystem::path path = directory / "list.txt";
    library.set_channel(IoOption::List, 21);
    library.open_output(21, path, "list.txt");
    library.list_inputs();
    library.open_output(21, path, "list.txt");
    library.close(21);
    EXPECT_EQ(content(path), "");
}

TEST_F(LibraryTest, RefusesChannelsThatCannotBe) {
    for (const int number : {0, -1, 1000}) {
        EXPECT_EQ(failure([&] { library.open_output(number, directory / "x", "x"); }),
                  ErrorNumber::ChannelNumber);
    }
    EXPECT_EQ(failure([&] { library.open_output(6, directory / "x", "x"); }),
              ErrorNumber::StandardChannel);
    EXPECT_EQ(failure([&] { library.close(6); }), ErrorNumber::StandardChannel);
    EXPECT_EQ(failure([&] { library.open_output(21, directory, "dir"); }), ErrorNumber::CannotOpen);
    library.close(77); // not open: nothing happens
}

TEST_F(LibraryTest, ClosesAllChannelsWhenInitialised) {
    const std::filesystem::path path = directory / "list.txt";
    library.open_output(21, path, "list.txt");
    library.set_channel(IoOption::List, 21);
    library.set_unit(Quantity::Amount, Unit::kg);
    library.set_option(ConfigurationOption::Sampling, 3);
    library.initialise();
    EXPECT_EQ(library.channel(IoOption::List), 6);
    library.set_channel(IoOption::List, 21);
    EXPECT_EQ(failure([&] { library.list_inputs(); }), ErrorNumber::ListingClosed);
    EXPECT_EQ(library.unit(Quantity::Amount), Unit::mol);
    EXPECT_EQ(library.option(ConfigurationOption::Sampling), 1);
}

TEST_F(LibraryTest, WritesErrorsOnlyWhereAChannelIsGiven) {
    const std::filesystem::path path = directory / "errors.txt";
    testing::internal::CaptureStdout();
    library.report_error("not to be seen");
    library.set_channel(IoOption::Error, 6);
    library.report_error("seen");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "seen\n");
    library.set_channel(IoOption::Error, 22);
    library.report_error("lost, as the channel is closed");
    library.open_output(22, path, "errors.txt");
    library.report_error("caf\xc3\xa9");
    library.close(22);
    EXPECT_EQ(content(path), "caf\\xe9\n");
}

TEST_F(LibraryTest, StopsAtACheckpoint) {
    struct Stop : std::exception {};
    load(small_system());
    library.set_condition(C::T, None, None, 1000.0);
    library.set_condition(C::IA, None, 0, 1.0);
    library.set_checkpoint([] { throw Stop{}; });
    EXPECT_THROW(calculate(), Stop);
    library.set_checkpoint(nullptr);
    EXPECT_EQ(failure([&] { system_value(R::T); }), ErrorNumber::FailedResult);
    calculate();
    EXPECT_EQ(system_value(R::T), 1000.0);
}

TEST_F(LibraryTest, WarnsOfASplitPhaseOncePerFile) {
    const std::string text = DatText({"A", "B"})
                                 .redlich_kister("SOLUTION", {{"A", {1, 0}, {}}, {"B", {0, 1}, {}}},
                                                 {{{1, 2}, {{3.0 * GasConstant * 1000.0}}}})
                                 .text();
    for (int file = 0; file < 2; ++file) {
        load(text);
        library.set_condition(C::T, None, None, 1000.0);
        library.set_condition(C::IA, None, 0, 1.0);
        library.set_condition(C::IA, None, 1, 1.0);
        calculate();
        EXPECT_TRUE(library.has_warnings());
        EXPECT_EQ(library.take_warnings().size(), 1U);
        EXPECT_EQ(library.composition_sets(0).size(), 2U);
        calculate();
        EXPECT_FALSE(library.has_warnings());
    }
    library.set_option(ConfigurationOption::CompositionSets, 0);
    library.remove_conditions(Library::AllConditions);
    EXPECT_EQ(library.option(ConfigurationOption::CompositionSets), 1);
}

TEST_F(LibraryTest, ReadsTheIndexOfATargetFractionAsAConstituentFirst) {
    load(small_system()); // in the gas both readings agree: constituents are atoms in the order
    library.set_condition(C::XT, 0, 0, 0.5);
    EXPECT_FALSE(library.has_warnings());
    load(DatText({"A", "B", "D"}).gas("GAS", {{"AB", {1, 1, 0}, {}}, {"D", {0, 0, 1}, {}}}).text());
    library.set_condition(C::XT, 0, 0, 0.5);
    const std::vector<Library::Warning> warnings = library.take_warnings();
    ASSERT_EQ(warnings.size(), 1U);
    EXPECT_EQ(warnings[0].kind, Library::Warning::Kind::TargetReading);
    EXPECT_NE(warnings[0].text.find("GAS : AB"), std::string::npos);
    EXPECT_NE(warnings[0].text.find("component A in GAS"), std::string::npos);
    library.set_condition(C::XT, 0, 2, 0.5); // the gas has no third constituent
    EXPECT_FALSE(library.has_warnings());
    EXPECT_EQ(failure([&] { library.set_condition(C::XT, 0, 3, 0.5); }),
              ErrorNumber::ConstituentIndex);
}

TEST_F(LibraryTest, KnowsItsVersion) {
    EXPECT_EQ(Library::program_id().find("tessara "), 0U);
    std::istringstream text(Library::program_id().substr(8));
    int major = 0;
    int minor = 0;
    int patch = 0;
    char dot = 0;
    text >> major >> dot >> minor >> dot >> patch;
    EXPECT_EQ(Library::version(), 10000 * major + 100 * minor + patch);
}

} // namespace
} // namespace tessara::basic
