// Whatever a file holds, reading it ends in a system or in words with a place: the corpus of the
// fuzz targets with changes drawn at random, through both readers.

#include "engine/check/check.hpp"
#include "engine/data/dat_tokens.hpp"
#include "engine/data/tdf_file.hpp"
#include "support.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace tessara::test {
namespace {

constexpr int ChangedTexts = 400;
constexpr int ChangedBytes = 400;
const TdfAuthorship By{"packer", {1, 2, 3}, "", {2021, 3, 4, 5, 6, 7}, "a remark"};

std::vector<std::filesystem::path> corpus() {
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(TESSARA_CORPUS_DIR)) {
        files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

std::string content(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream all;
    all << file.rdbuf();
    return all.str();
}

/// Draws changes of files, the same in each run.
class Changes {
public:
    explicit Changes(unsigned seed) : random_(seed) {}

    std::size_t below(std::size_t count) { return random_() % count; }

    /// A text with one to four changes: of a word, a line, a byte, or cut off.
    std::string of_text(const std::string& text) {
        std::vector<std::string> lines = split(text);
        for (std::size_t k = 1 + below(4); k > 0; --k) {
            const std::size_t at = below(lines.size());
            switch (below(8)) {
            case 0:
                lines.erase(lines.begin() + static_cast<std::ptrdiff_t>(at));
                break;
            case 1:
                lines.insert(lines.begin() + static_cast<std::ptrdiff_t>(below(lines.size())),
                             std::string(lines[at]));
                break;
            case 2:
                lines.resize(at);
                break;
            case 3:
                lines[at] = of_bytes(lines[at]);
                break;
            default:
                change_word(lines[at]);
            }
            if (lines.empty()) {
                return "";
            }
        }
        std::string changed;
        for (const std::string& line : lines) {
            changed += line + "\n";
        }
        return changed;
    }

    /// Bytes with one to four of them replaced, inserted or removed.
    std::string of_bytes(std::string bytes) {
        for (std::size_t k = 1 + below(4); k > 0 && !bytes.empty(); --k) {
            const std::size_t at = below(bytes.size());
            switch (below(4)) {
            case 0:
                bytes.erase(at, 1 + below(4));
                break;
            case 1:
                bytes.insert(at, 1, static_cast<char>(below(256)));
                break;
            case 2:
                bytes[at] = static_cast<char>(bytes[at] ^ (1 << below(8)));
                break;
            default:
                bytes[at] = static_cast<char>(below(256));
            }
        }
        return bytes;
    }

private:
    static std::vector<std::string> split(const std::string& text) {
        std::istringstream in(text);
        std::vector<std::string> lines;
        for (std::string line; std::getline(in, line);) {
            lines.push_back(line);
        }
        return lines;
    }

    void change_word(std::string& line) {
        static const char* const words[] = {"0",     "-1",    "1",   "2",  "3",      "4",
                                            "99999", "1e9",   "-3",  "7",  "1e308",  "-1e-308",
                                            "0.5",   "Va",    "#",   "G",  "1e999",  "13",
                                            "K",     "99 99", "nan", "e-", "1 2 3T", "SUBG"};
        std::istringstream in(line);
        std::vector<std::string> found;
        for (std::string word; in >> word;) {
            found.push_back(word);
        }
        if (!found.empty()) {
            found[below(found.size())] = words[below(std::size(words))];
        }
        line.clear();
        for (const std::string& word : found) {
            line += (line.empty() ? "" : " ") + word;
        }
    }

    std::mt19937 random_;
};

/// What reading ends in: a system, or words.
struct Outcome {
    std::shared_ptr<const System> system;
    std::string refusal;
};

template <class Read>
Outcome outcome(const Read& read) {
    try {
        return {read(), ""};
    } catch (const ReadError& error) {
        EXPECT_GE(error.line(), 1) << error.what();
        EXPECT_GE(error.column(), 1) << error.what();
        return {nullptr, error.what()};
    } catch (const TdfError& error) {
        return {nullptr, error.what()};
    }
}

class HostileFiles : public testing::TestWithParam<std::filesystem::path> {
protected:
    std::string text_ = content(GetParam());
    Changes changes_{20240501U};
};

TEST_P(HostileFiles, EndInASystemOrInWordsAndTheSameFromEitherSourceOfLines) {
    int read = 0;
    for (int k = 0; k < ChangedTexts; ++k) {
        const std::string text = changes_.of_text(text_);
        const Outcome plain = outcome([&] { return System::read_dat(text, "x"); });
        const Outcome packed = outcome([&] {
            TdfWriter lines;
            append_lines(lines, text);
            return System::read_records(
                DatTokens(TdfLines(lines.bytes, 0, lines.bytes.size()), "x"));
        });
        ASSERT_EQ(packed.refusal, plain.refusal) << text;
        ASSERT_EQ(packed.system == nullptr, plain.system == nullptr) << text;
        if (plain.system) {
            ++read;
            ASSERT_TRUE(describe(*packed.system) == describe(*plain.system)) << text;
            check(plain.system);
        }
    }
    EXPECT_GT(read, 0);
    EXPECT_LT(read, ChangedTexts);
}

TEST_P(HostileFiles, EndInASystemOrInWordsWherePackedBytesChange) {
    const std::string good = write_tdf(text_, "x.dat", By);
    for (int k = 0; k < ChangedBytes; ++k) {
        std::string bytes = changes_.of_bytes(good);
        if (k % 8 != 0) {
            seal_tdf(bytes); // or no change would come behind size and checksum
        }
        outcome([&] { return read_tdf(bytes, "x.tdf", TdfHeader::LowestReader).system; });
    }
}

INSTANTIATE_TEST_SUITE_P(Corpus, HostileFiles, testing::ValuesIn(corpus()),
                         [](const auto& info) { return info.param.stem().string(); });

} // namespace
} // namespace tessara::test
