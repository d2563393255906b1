#include "engine/data/tdf_file.hpp"

#include "engine/data/checksum.hpp"
#include "support.hpp"

#include <gtest/gtest.h>

#include <bit>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <string>

namespace tessara::test {
namespace {

const TdfAuthorship By{"packer", {1, 2, 3}, "", {2021, 3, 4, 5, 6, 7}, "a remark"};
constexpr ProgramVersion Reader = TdfHeader::LowestReader;

std::string content(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream all;
    all << file.rdbuf();
    return all.str();
}

/// A gas over a solution and a solid; with things that readers note.
std::string small_file() {
    return "  a small system  \n2 2 2 2 2\nA B\n10 20\n6 1 2 3 4 5 6\n6 1 2 3 4 5 6\nGAS\nIDMX\n"
           "A\n4 2 1 0.0\n1000.00 1 2 3 4 5 6\n2 .5 99.0 7.25E-01 -2\n900. 1 2 3 4 5 6\n0\n"
           "B\n1 1 0 1 99\n6000 -1.5 2 3 4 5 6\nMELT\nRKMP\nA\n1 1 1 0\n6000 1 2 3 4 5 6\nB\n"
           "1 1 0 1\n6000 1 2 3 4 5 6\n2\n1 2 1\n-14000.123 1 0 0 0 0\n0\nA(s)\n1 1 1 0\n"
           "6000 1, 2 3 4 5 6\nB(s)  #\n1 1 0 1.\n6000 0 0 0 0 0 0\n# the end\n";
}

std::string packed(const std::string& text = small_file()) {
    return write_tdf(text, "folder/small.dat", By);
}

std::string refusal(const std::string& bytes, const ProgramVersion& reader = Reader) {
    try {
        read_tdf(bytes, "x.tdf", reader);
    } catch (const TdfError& error) {
        return error.what();
    } catch (const ReadError& error) {
        return error.what();
    }
    return "no error";
}

// --- the same system ---

std::uint64_t bits(double value) {
    return std::bit_cast<std::uint64_t>(value);
}

void expect_same(const std::vector<double>& a, const std::vector<double>& b) {
    ASSERT_EQ(a.size(), b.size());
    for (std::size_t k = 0; k < a.size(); ++k) {
        EXPECT_EQ(bits(a[k]), bits(b[k]));
    }
}

void expect_same(const Constituent& a, const Constituent& b) {
    EXPECT_EQ(a.name, b.name);
    EXPECT_EQ(a.line, b.line);
    EXPECT_EQ(bits(a.molar_mass), bits(b.molar_mass));
    EXPECT_EQ(a.magnetic, b.magnetic);
    EXPECT_EQ(a.has_volume_data, b.has_volume_data);
    expect_same(a.stoichiometry, b.stoichiometry);
    ASSERT_EQ(a.gibbs.ranges().size(), b.gibbs.ranges().size());
    for (std::size_t r = 0; r < a.gibbs.ranges().size(); ++r) {
        const TemperatureFunction::Range& one = a.gibbs.ranges()[r];
        const TemperatureFunction::Range& other = b.gibbs.ranges()[r];
        EXPECT_EQ(bits(one.t_max), bits(other.t_max));
        expect_same({one.coefficients.begin(), one.coefficients.end()},
                    {other.coefficients.begin(), other.coefficients.end()});
        ASSERT_EQ(one.extra.size(), other.extra.size());
        for (std::size_t k = 0; k < one.extra.size(); ++k) {
            EXPECT_EQ(bits(one.extra[k].coefficient), bits(other.extra[k].coefficient));
            EXPECT_EQ(one.extra[k].place, other.extra[k].place);
        }
    }
}

void expect_same(const System& a, const System& b) {
    EXPECT_EQ(a.title, b.title);
    ASSERT_EQ(a.components.size(), b.components.size());
    for (std::size_t k = 0; k < a.components.size(); ++k) {
        EXPECT_EQ(a.components[k].name, b.components[k].name);
        EXPECT_EQ(bits(a.components[k].molar_mass), bits(b.components[k].molar_mass));
        EXPECT_EQ(a.components[k].line, b.components[k].line);
        EXPECT_EQ(a.components[k].mass_line, b.components[k].mass_line);
    }
    ASSERT_EQ(a.phases.size(), b.phases.size());
    for (std::size_t i = 0; i < a.phases.size(); ++i) {
        const Phase& one = a.phases[i];
        const Phase& other = b.phases[i];
        EXPECT_EQ(one.name, other.name);
        EXPECT_EQ(one.line, other.line);
        EXPECT_EQ(one.first_copy, other.first_copy);
        ASSERT_EQ(one.kind(), other.kind());
        EXPECT_TRUE(!one.model || one.model->equals(*other.model)) << one.name;
        ASSERT_EQ(one.constituents.size(), other.constituents.size());
        for (std::size_t k = 0; k < one.constituents.size(); ++k) {
            expect_same(one.constituents[k], other.constituents[k]);
        }
    }
    ASSERT_EQ(a.dummies.size(), b.dummies.size());
    for (std::size_t k = 0; k < a.dummies.size(); ++k) {
        expect_same(a.dummies[k], b.dummies[k]);
    }
    EXPECT_EQ(a.sizes().used, b.sizes().used);
    ASSERT_EQ(a.terms().exponent_count(), b.terms().exponent_count());
    for (std::size_t k = 0; k < a.terms().exponent_count(); ++k) {
        EXPECT_EQ(bits(a.terms().exponent(k)), bits(b.terms().exponent(k)));
    }
    EXPECT_TRUE(describe(a) == describe(b));
    ASSERT_EQ(a.notes.size(), b.notes.size());
    for (std::size_t k = 0; k < a.notes.size(); ++k) {
        EXPECT_EQ(a.notes[k].text, b.notes[k].text);
        EXPECT_EQ(a.notes[k].line, b.notes[k].line);
        EXPECT_EQ(a.notes[k].column, b.notes[k].column);
        EXPECT_EQ(a.notes[k].checked, b.notes[k].checked);
    }
}

void expect_same_packed(const std::string& text) {
    const auto from_text = System::read_dat(text, "x.dat");
    const auto from_packed = read_tdf(write_tdf(text, "x.dat", By), "x.dat", Reader).system;
    expect_same(*from_text, *from_packed);
}

TEST(TdfFile, HoldsTheSystemOfTheText) {
    expect_same_packed(small_file());
    EXPECT_FALSE(System::read_dat(small_file(), "x")->notes.empty());
}

TEST(TdfFile, HoldsTheShippedSystem) {
    expect_same_packed(content(TESSARA_DATA_DIR "/ironmaking.dat"));
}

TEST(TdfFile, HoldsWhatTheCorpusHolds) {
    int files = 0;
    for (const auto& entry : std::filesystem::directory_iterator(TESSARA_CORPUS_DIR)) {
        expect_same_packed(content(entry.path()));
        ++files;
    }
    EXPECT_GE(files, 13);
}

TEST(TdfFile, HoldsAFileWithOtherLineEnds) {
    std::string text;
    for (const char c : small_file()) {
        text += c == '\n' ? std::string("\r\n") : std::string(1, c == ' ' ? '\t' : c);
    }
    expect_same_packed(text);
}

TEST(TdfFile, GivesTheSameEquilibrium) {
    const std::string text = small_file();
    const auto solve = [](std::shared_ptr<const System> system) {
        Solver solver(system);
        return solver.solve(conditions(*system, 1100.0, 1.0, {{"A", 1.0}, {"B", 0.7}}));
    };
    const Equilibrium one = solve(System::read_dat(text, "x"));
    const Equilibrium other = solve(read_tdf(packed(text), "x", Reader).system);
    ASSERT_EQ(one.phases.size(), other.phases.size());
    for (std::size_t i = 0; i < one.phases.size(); ++i) {
        EXPECT_EQ(bits(one.phases[i].amount), bits(other.phases[i].amount));
    }
}

// --- the header ---

TEST(TdfHeader, SaysWhatAndWhoseTheFileIs) {
    const TdfHeader header = read_tdf(packed(), "x.tdf", Reader).header;
    EXPECT_EQ(header.format, 1);
    EXPECT_EQ(header.by.program, "packer");
    EXPECT_EQ(header.by.version, (ProgramVersion{1, 2, 3}));
    EXPECT_EQ(header.by.source, "small.dat");
    EXPECT_EQ(header.lowest_reader, (ProgramVersion{0, 1, 0}));
    EXPECT_EQ(header.by.created, (Timestamp{2021, 3, 4, 5, 6, 7}));
    EXPECT_EQ(header.title, "a small system");
    EXPECT_EQ(header.counts.components, 2U);
    EXPECT_EQ(header.counts.phases, 3U);
    EXPECT_EQ(header.counts.constituents, 5U);
    EXPECT_EQ(header.by.remark, "a remark");
    const std::string bytes = packed();
    EXPECT_EQ(header.checksum, crc64(bytes.substr(0, bytes.size() - 8)));
}

TEST(TdfHeader, TellsTheTitleAsOneLineOfText) {
    std::string text = small_file();
    text.replace(0, text.find('\n'), "caf\xE9\t" + std::string(100, 'x'));
    const TdfHeader header = read_tdf(packed(text), "x", Reader).header;
    EXPECT_EQ(header.title, "caf\xC3\xA9 " + std::string(75, 'x'));
}

TEST(TdfHeader, CountsCharactersAndNotBytes) {
    TdfAuthorship by = By;
    for (int k = 0; k < 80; ++k) {
        by.remark += k < 72 ? "\xC3\xA9" : "";
    }
    const TdfHeader header = read_tdf(write_tdf(small_file(), "x", by), "x", Reader).header;
    EXPECT_EQ(header.by.remark, by.remark);
    EXPECT_EQ(padded("\xC3\xA9", 3), "\xC3\xA9  ");
    EXPECT_EQ(padded("four", 3), "four");
}

struct WrongAuthorship {
    const char* name;
    TdfAuthorship by;
    const char* message;
};

class Authorship : public testing::TestWithParam<WrongAuthorship> {};

TEST_P(Authorship, IsRefused) {
    try {
        write_tdf(small_file(), "x.dat", GetParam().by);
        FAIL();
    } catch (const TdfError& error) {
        EXPECT_STREQ(error.what(), GetParam().message);
    }
}

constexpr const char* WrongDate = "the creation date must be year, month, day, hour, minute and "
                                  "second of a date that exists, from the year 1 to 9999";
TdfAuthorship at(Timestamp created) {
    return {"p", {}, "", created, ""};
}
TdfAuthorship remarking(std::string remark) {
    return {"p", {}, "", By.created, std::move(remark)};
}

INSTANTIATE_TEST_SUITE_P(
    Wrong, Authorship,
    testing::Values(
        WrongAuthorship{"long_remark", remarking(std::string(81, 'x')),
                        "the remark has 81 characters; there is room for 80"},
        WrongAuthorship{"remark_of_two_lines", remarking("a\nb"),
                        "the remark must be one line of text, without control characters"},
        WrongAuthorship{"remark_that_is_no_text", remarking("\xFF"),
                        "the remark must be one line of text, without control characters"},
        WrongAuthorship{"long_program",
                        {std::string(41, 'p'), {}, "", By.created, ""},
                        "the program's name has 41 characters; there is room for 40"},
        WrongAuthorship{"year", at({0, 1, 1, 0, 0, 0}), WrongDate},
        WrongAuthorship{"month", at({2021, 13, 1, 0, 0, 0}), WrongDate},
        WrongAuthorship{"no_month", at({2021, 0, 1, 0, 0, 0}), WrongDate},
        WrongAuthorship{"day", at({2021, 2, 29, 0, 0, 0}), WrongDate},
        WrongAuthorship{"century", at({1900, 2, 29, 0, 0, 0}), WrongDate},
        WrongAuthorship{"hour", at({2021, 1, 1, 24, 0, 0}), WrongDate},
        WrongAuthorship{"minute", at({2021, 1, 1, 0, 60, 0}), WrongDate},
        WrongAuthorship{"second", at({2021, 1, 1, 0, 0, -1}), WrongDate}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(TdfFile, TakesLeapDays) {
    EXPECT_NO_THROW(write_tdf(small_file(), "x", at({2000, 2, 29, 23, 59, 59})));
}

TEST(TdfFile, OfABrokenDataFileIsNotWritten) {
    try {
        write_tdf("title\nnothing\n", "bad.dat", By);
        FAIL();
    } catch (const ReadError& error) {
        EXPECT_EQ(error.file(), "bad.dat");
        EXPECT_EQ(error.line(), 2);
    }
}

// --- refusals ---

std::string with_byte(std::size_t place, char byte) {
    std::string bytes = packed();
    bytes[place] = byte;
    return bytes;
}

TEST(TdfRefusals, NameWhatIsNoSuchFile) {
    for (const std::string& bytes : {std::string(), std::string("x"), small_file()}) {
        EXPECT_EQ(refusal(bytes), "it is no transparent data file");
    }
}

TEST(TdfRefusals, RecogniseATransferAsText) {
    std::string bytes = packed();
    bytes.erase(4, 1); // the carriage return
    EXPECT_EQ(refusal(bytes), "it has been altered, as by a transfer that takes it for text");
}

TEST(TdfRefusals, NameATooNewFormat) {
    EXPECT_EQ(refusal(with_byte(8, '\x02')),
              "its format has the version 2, and only version 1 can be read; a newer program may "
              "do so");
}

TEST(TdfRefusals, NameATooOldProgram) {
    EXPECT_EQ(refusal(packed(), {0, 0, 9}),
              "it needs version 0.1.0 of the program or a later one; this is 0.0.9");
    EXPECT_EQ(refusal(packed(), {0, 1, 1}), "no error");
    EXPECT_EQ(refusal(packed(), {1, 0, 0}), "no error");
}

TEST(TdfRefusals, NameEveryTruncation) {
    const std::string bytes = packed();
    for (std::size_t size = 8; size < bytes.size(); ++size) {
        EXPECT_TRUE(refusal(bytes.substr(0, size)).starts_with("it is truncated: only ")) << size;
    }
    EXPECT_EQ(refusal(bytes.substr(0, 500)), "it is truncated: only 500 of its " +
                                                 std::to_string(bytes.size()) + " bytes are there");
}

TEST(TdfRefusals, NameWhatFollowsTheEnd) {
    const std::string bytes = packed();
    const std::string size = std::to_string(bytes.size());
    EXPECT_EQ(refusal(bytes + "x"), "it has been altered: it has " +
                                        std::to_string(bytes.size() + 1) + " bytes instead of " +
                                        size);
}

TEST(TdfRefusals, FindEveryAlteredByte) {
    const std::string bytes = packed();
    for (std::size_t place = 0; place < bytes.size(); ++place) {
        for (const int change : {1, 0x20, 0xFF}) {
            std::string altered = bytes;
            altered[place] = static_cast<char>(altered[place] ^ change);
            EXPECT_NE(refusal(altered), "no error") << place;
        }
    }
    EXPECT_EQ(refusal(with_byte(bytes.size() / 2, '\x7E')),
              "it has been altered: its checksum is not that of what it holds");
}

TEST(TdfRefusals, FindAHeaderThatContradictsTheData) {
    std::string bytes = packed();
    const std::size_t title = bytes.find("a small system");
    bytes[title + 14] = '\x07'; // the number of components follows the title
    seal_tdf(bytes);
    EXPECT_TRUE(refusal(bytes).starts_with("it contradicts itself"));
}

TEST(TdfRefusals, GiveLineAndColumnOfWhatDataCannotBeUsed) {
    std::string bytes = packed();
    const std::size_t word = bytes.find("IDMX");
    bytes.replace(word, 4, "IDXX");
    seal_tdf(bytes);
    EXPECT_TRUE(refusal(bytes).starts_with("x.tdf, line 8, column 1: expected phase type"));
}

// --- changes that a checksum of their own covers up ---

TEST(TdfReader, EndsWithASystemOrWordsWhateverTheBytes) {
    std::mt19937 random(2024);
    const std::string good = packed();
    int refused = 0;
    for (int k = 0; k < 20000; ++k) {
        std::string bytes = good;
        for (auto changes = 1 + random() % 3; changes > 0; --changes) {
            const std::size_t place = 20 + random() % (bytes.size() - 28);
            switch (random() % 3) {
            case 0:
                bytes[place] = static_cast<char>(random());
                break;
            case 1:
                bytes.erase(place, 1 + random() % 8);
                break;
            default:
                bytes.insert(place, 1 + random() % 8, static_cast<char>(random()));
            }
        }
        seal_tdf(bytes);
        refused += refusal(bytes) == "no error" ? 0 : 1;
    }
    EXPECT_GT(refused, 10000);
}

} // namespace
} // namespace tessara::test
