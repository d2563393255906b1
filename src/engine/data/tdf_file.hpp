#pragma once

#include "engine/data/read_error.hpp"
#include "engine/data/system.hpp"
#include "engine/data/tdf_bytes.hpp"

#include <array>
#include <compare>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

/// Transparent data files: the lines of an ASCII data file in a compact form that needs no parsing
/// of numbers, behind a header that says what and whose they are, and closed by a checksum.
/// `docs/transparent-files.md` tells of them byte by byte.
namespace tessara {

struct ProgramVersion {
    int major = 0;
    int minor = 0;
    int patch = 0;

    std::string text() const;
    friend auto operator<=>(const ProgramVersion&, const ProgramVersion&) = default;
};

/// Year, month, day, hour, minute, second.
using Timestamp = std::array<int, 6>;

/// What is said of a file by whoever packs it.
struct TdfAuthorship {
    std::string program; ///< at most 40 characters
    ProgramVersion version;
    std::string source; ///< name of the ASCII data file, without folders
    Timestamp created{};
    std::string remark; ///< one line of at most 80 characters
};

struct TdfHeader {
    static constexpr int Version = 1;
    /// The oldest program that reads files of this version.
    static constexpr ProgramVersion LowestReader{0, 1, 0};
    static constexpr std::size_t ProgramWidth = 40;
    static constexpr std::size_t RemarkWidth = 80;

    /// How much of a system there is.
    struct Counts {
        std::uint32_t components = 0;
        std::uint32_t phases = 0;
        std::uint32_t constituents = 0;

        explicit Counts(const System& system);
        Counts() = default;
        friend bool operator==(const Counts&, const Counts&) = default;
    };

    int format = Version;
    TdfAuthorship by;
    ProgramVersion lowest_reader = LowestReader;
    std::string title; ///< of the data file, at most 80 characters
    Counts counts;
    std::uint64_t checksum = 0;
};

struct TdfFile {
    TdfHeader header;
    std::shared_ptr<const System> system;
};

/// The bytes of a transparent file with the system of an ASCII data file. Throws `ReadError` where
/// `text` is none (`file` is its name for messages), `TdfError` where the authorship is wrong.
std::string write_tdf(std::string_view text, const std::string& file, const TdfAuthorship& by);

/// Whether the bytes begin as those of a transparent file do.
bool is_tdf(std::string_view bytes);

/// Reads a transparent file for a program of that version. Throws `TdfError` where it is none, is
/// truncated, altered or too new, and `ReadError` where the data in it cannot be used.
TdfFile read_tdf(std::string_view bytes, const std::string& file, const ProgramVersion& reader);

/// The text, filled up with blanks to so many characters.
std::string padded(std::string utf8, std::size_t width);

/// Sets size and checksum of a transparent file as they have to be for what else it holds; for
/// programs that change such files on purpose. Does nothing where the file is too short.
void seal_tdf(std::string& bytes);

} // namespace tessara
