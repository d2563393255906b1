#include "engine/data/description.hpp"

#include "support.hpp"

#include <gtest/gtest.h>

namespace tessara::test {
namespace {

bool truth(const Description& value) {
    return std::get<bool>(value.value());
}

std::vector<double> numbers(const Description& list) {
    std::vector<double> found;
    for (const Description& item : list.items()) {
        found.push_back(item.number());
    }
    return found;
}

using Numbers = std::vector<double>;

TEST(Description, KeepsValuesAsTheyAre) {
    Description table = Description::Table{{"a", 1.5}, {"b", "words"}, {"c", true}};
    table.set("d", Description::List{1, 2.5});
    table.set("e", Description());
    EXPECT_EQ(table["a"].number(), 1.5);
    EXPECT_EQ(table["b"].text(), "words");
    EXPECT_TRUE(truth(table["c"]));
    EXPECT_EQ(numbers(table["d"]), (Numbers{1.0, 2.5}));
    EXPECT_TRUE(std::holds_alternative<long long>(table["d"].items()[0].value()));
    EXPECT_TRUE(std::holds_alternative<std::monostate>(table["e"].value()));
}

TEST(Description, GivesNothingForWhatIsNotThere) {
    const Description table = Description::Table{{"a", 1}};
    EXPECT_TRUE(std::holds_alternative<std::monostate>(table["b"].value()));
    EXPECT_TRUE(table["a"].items().empty());
    EXPECT_TRUE(std::holds_alternative<std::monostate>(table["a"]["b"].value()));
    EXPECT_EQ(table.number(), 0.0);
    EXPECT_EQ(table["a"].text(), "");
}

// Line numbers stand beside the lines.
const char* const File = "a system of two\n"                                            // 1
                         "2 3 1 2 2 2\n"                                                // 2
                         "Xa Xb\n"                                                      // 3
                         "10 20\n"                                                      // 4
                         "6 1 2 3 4 5 6\n"                                              // 5
                         "7 1 2 3 4 5 6 7\n"                                            // 6
                         "GAS\nIDMX\n"                                                  // 7
                         "Xa\n3 1 1 0\n6000 1 2 3 4 5 6\n"                              // 9
                         "1 2 3 4 5 6 7 8 9 10 11\n"                                    // 12
                         "MELT\nRKMP\n"                                                 // 13
                         "A\n4 2 1 0\n900 1 2 3 4 5 6\n1 -3 0.5\n2000 1 2 3 4 5 6\n0\n" // 15
                         "B\n1 1 0 1\n6000 1 2 3 4 5 6\n"                               // 21
                         "2\n2 1 1\n1 2 3 4 5 6 7\n0\n"                                 // 24
                         "SOLID\nRKMPM\n0.25 0.5\n"                                     // 28
                         "A\n13 1 1 0\n6000 1 2 3 4 5 6\n1000 2\n"                      // 31
                         "B\n1 1 0 1\n6000 1 2 3 4 5 6\n"                               // 35
                         "2\n1 2 1\n30 0.5\n0\n0\n"                                     // 38
                         "Q\n13 1 1 1\n6000 1 2 3 4 5 6\n1043 2.2 1 0.4\n"              // 43
                         "B #\n1 1 0 1\n6000 0 0 0 0 0 0\n"                             // 47
                         "### the end\n";                                               // 50

class DescribedFile : public testing::Test {
protected:
    Description all = describe(*read(File));
    const Description& phase(std::size_t k) const { return all["phases"].items()[k]; }
    const Description& species(std::size_t p, std::size_t k) const {
        return phase(p)["constituents"].items()[k];
    }
};

TEST_F(DescribedFile, TellsTitleComponentsAndWhereTheCommentBegins) {
    EXPECT_EQ(all["title"].text(), "a system of two");
    ASSERT_EQ(all["components"].items().size(), 2U);
    EXPECT_EQ(all["components"].items()[1]["name"].text(), "Xb");
    EXPECT_EQ(all["components"].items()[1]["molar_mass"].number(), 20.0);
    EXPECT_EQ(all["comment_line"].number(), 50.0);
}

TEST_F(DescribedFile, TellsPhasesInTheOrderOfTheFile) {
    const std::vector<std::string> names{"GAS", "MELT", "SOLID", "Q"};
    const std::vector<std::string> models{"IDMX", "RKMP", "RKMPM", "PURE"};
    const Numbers lines{7, 13, 28, 43};
    ASSERT_EQ(all["phases"].items().size(), names.size());
    for (std::size_t k = 0; k < names.size(); ++k) {
        EXPECT_EQ(phase(k)["name"].text(), names[k]);
        EXPECT_EQ(phase(k)["model"].text(), models[k]);
        EXPECT_EQ(phase(k)["line"].number(), lines[k]);
        EXPECT_EQ(truth(phase(k)["gas"]), k == 0);
    }
}

TEST_F(DescribedFile, TellsASpeciesWithItsRanges) {
    const Description& one = species(1, 0);
    EXPECT_EQ(one["name"].text(), "A");
    EXPECT_EQ(one["line"].number(), 15.0);
    EXPECT_EQ(numbers(one["amounts"]), (Numbers{1, 0}));
    ASSERT_EQ(one["ranges"].items().size(), 2U);
    const Description& range = one["ranges"].items()[0];
    EXPECT_EQ(range["upper"].number(), 900.0);
    EXPECT_EQ(numbers(range["coefficients"]), (Numbers{1, 2, 3, 4, 5, 6}));
    ASSERT_EQ(range["extra"].items().size(), 1U);
    EXPECT_EQ(numbers(range["extra"].items()[0]), (Numbers{-3, 0.5}));
    EXPECT_TRUE(one["ranges"].items()[1]["extra"].items().empty());
    EXPECT_FALSE(truth(one["volume_data"]));
    EXPECT_TRUE(truth(species(0, 0)["volume_data"]));
}

TEST_F(DescribedFile, TellsParametersWithTheirLines) {
    ASSERT_EQ(phase(1)["interactions"].items().size(), 1U);
    const Description& term = phase(1)["interactions"].items()[0];
    EXPECT_EQ(numbers(term["constituents"]), (Numbers{1, 0}));
    EXPECT_EQ(term["line"].number(), 25.0);
    ASSERT_EQ(term["sets"].items().size(), 1U);
    EXPECT_EQ(numbers(term["sets"].items()[0]), (Numbers{1, 2, 3, 4, 5, 6, 7, 0}));
}

TEST_F(DescribedFile, TellsMagnetismOfMixturesAndPurePhases) {
    EXPECT_EQ(numbers(phase(2)["lattice"]), (Numbers{0.25, 0.5}));
    EXPECT_EQ(numbers(phase(2)["moments"].items()[0]), (Numbers{1000, 2}));
    EXPECT_EQ(numbers(phase(2)["moments"].items()[1]), (Numbers{0, 0}));
    const Description& term = phase(2)["magnetic_interactions"].items()[0];
    EXPECT_EQ(numbers(term["sets"].items()[0]), (Numbers{30, 0.5}));
    EXPECT_TRUE(phase(2)["interactions"].items().empty());
    EXPECT_EQ(numbers(species(3, 0)["magnetic"]), (Numbers{1043, 2.2, 1, 0.4}));
    EXPECT_TRUE(species(1, 0)["magnetic"].items().empty());
}

TEST_F(DescribedFile, TellsDummiesApart) {
    ASSERT_EQ(all["dummies"].items().size(), 1U);
    EXPECT_EQ(all["dummies"].items()[0]["name"].text(), "B");
    EXPECT_EQ(all["dummies"].items()[0]["line"].number(), 47.0);
}

} // namespace
} // namespace tessara::test
