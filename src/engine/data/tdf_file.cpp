#include "engine/data/tdf_file.hpp"

#include "engine/data/checksum.hpp"
#include "engine/data/dat_tokens.hpp"
#include "engine/data/tdf_lines.hpp"

#include <algorithm>
#include <iterator>

namespace tessara {
namespace {

/// The first byte is no text, the line ends show a transfer that changed them.
constexpr std::string_view Magic{"\x89TDF\r\n\x1A\n", 8};
constexpr std::size_t SizePlace = Magic.size() + sizeof(std::uint32_t);
constexpr std::size_t FixedSize = SizePlace + sizeof(std::uint64_t);
constexpr std::size_t ChecksumSize = sizeof(std::uint64_t);

// --- texts ---

bool continues(char c) {
    return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U;
}

std::size_t characters(std::string_view utf8) {
    return utf8.size() -
           static_cast<std::size_t>(std::count_if(utf8.begin(), utf8.end(), continues));
}

/// As many whole characters as fit.
std::string cut(std::string utf8, std::size_t width) {
    std::size_t end = 0;
    for (std::size_t count = 0; end < utf8.size(); ++end) {
        if (!continues(utf8[end]) && count++ == width) {
            break;
        }
    }
    utf8.resize(end);
    return utf8;
}

bool is_one_line(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char c) {
        return static_cast<unsigned char>(c) >= 0x20U && c != '\x7F';
    });
}

void check_text(const char* what, const std::string& text, std::size_t width) {
    if (characters(text) > width) {
        throw TdfError("the " + std::string(what) + " has " + std::to_string(characters(text)) +
                       " characters; there is room for " + std::to_string(width));
    }
    if (!is_one_line(text) || to_utf8(text) != text) {
        throw TdfError("the " + std::string(what) +
                       " must be one line of text, without control characters");
    }
}

/// The title of a data file, for a header.
std::string title_line(const std::string& title) {
    std::string text = to_utf8(title);
    std::replace_if(text.begin(), text.end(), [](char c) { return !is_one_line({&c, 1}); }, ' ');
    const std::size_t begin = std::min(text.find_first_not_of(' '), text.size());
    text = cut(text.substr(begin), TdfHeader::RemarkWidth);
    text.resize(text.find_last_not_of(' ') + 1);
    return text;
}

// --- dates ---

void check_date(const Timestamp& at) {
    const bool leap = at[0] % 4 == 0 && (at[0] % 100 != 0 || at[0] % 400 == 0);
    const std::array days{31, leap ? 29 : 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    const auto within = [&](std::size_t k, int least, int most) {
        return at[k] >= least && at[k] <= most;
    };
    if (!within(0, 1, 9999) || !within(1, 1, 12) ||
        !within(2, 1, days[static_cast<std::size_t>(at[1] - 1)]) || !within(3, 0, 23) ||
        !within(4, 0, 59) || !within(5, 0, 59)) {
        throw TdfError("the creation date must be year, month, day, hour, minute and second of a "
                       "date that exists, from the year 1 to 9999");
    }
}

// --- the header ---

void check(const TdfAuthorship& by) {
    check_text("program's name", by.program, TdfHeader::ProgramWidth);
    check_text("source file's name", by.source, 255);
    check_text("remark", by.remark, TdfHeader::RemarkWidth);
    check_date(by.created);
}

void put(TdfWriter& out, const ProgramVersion& version) {
    for (const int part : {version.major, version.minor, version.patch}) {
        out.number(static_cast<std::uint16_t>(part));
    }
}

ProgramVersion take_version(TdfReader& in) {
    ProgramVersion version;
    for (int* part : {&version.major, &version.minor, &version.patch}) {
        *part = in.number<std::uint16_t>();
    }
    return version;
}

void put(TdfWriter& out, const TdfHeader& header) {
    out.text(header.by.program);
    put(out, header.by.version);
    out.text(header.by.source);
    put(out, header.lowest_reader);
    out.number(static_cast<std::uint16_t>(header.by.created[0]));
    for (std::size_t k = 1; k < header.by.created.size(); ++k) {
        out.number(static_cast<std::uint8_t>(header.by.created[k]));
    }
    out.text(header.title);
    out.number(header.counts.components);
    out.number(header.counts.phases);
    out.number(header.counts.constituents);
    out.text(header.by.remark);
}

TdfHeader take_header(TdfReader& in) {
    TdfHeader header;
    header.by.program = in.text();
    header.by.version = take_version(in);
    header.by.source = in.text();
    header.lowest_reader = take_version(in);
    header.by.created[0] = in.number<std::uint16_t>();
    for (std::size_t k = 1; k < header.by.created.size(); ++k) {
        header.by.created[k] = in.number<std::uint8_t>();
    }
    header.title = in.text();
    header.counts.components = in.number<std::uint32_t>();
    header.counts.phases = in.number<std::uint32_t>();
    header.counts.constituents = in.number<std::uint32_t>();
    header.by.remark = in.text();
    check(header.by);
    check_text("title", header.title, TdfHeader::RemarkWidth);
    return header;
}

// --- the frame ---

template <class Number>
Number number_at(std::string_view bytes, std::size_t at) {
    return TdfReader(bytes, at).number<Number>();
}

std::uint64_t checksum_of(std::string_view bytes) {
    return crc64(bytes.substr(0, bytes.size() - ChecksumSize));
}

/// Magic, format, size and checksum.
void check_frame(std::string_view bytes) {
    if (!is_tdf(bytes)) {
        const bool changed = bytes.substr(0, 4) == Magic.substr(0, 4) && bytes.size() > 8;
        throw TdfError(changed ? "it has been altered, as by a transfer that takes it for text"
                               : "it is no transparent data file");
    }
    const std::string there = std::to_string(bytes.size());
    if (bytes.size() < FixedSize + ChecksumSize) {
        throw TdfError("it is truncated: only " + there + " bytes of it are there");
    }
    const auto format = number_at<std::uint32_t>(bytes, Magic.size());
    if (format != TdfHeader::Version) {
        throw TdfError("its format has the version " + std::to_string(format) +
                       ", and only version " + std::to_string(TdfHeader::Version) +
                       " can be read; a newer program may do so");
    }
    const auto size = number_at<std::uint64_t>(bytes, SizePlace);
    if (bytes.size() < size) {
        throw TdfError("it is truncated: only " + there + " of its " + std::to_string(size) +
                       " bytes are there");
    }
    if (bytes.size() > size) {
        throw TdfError("it has been altered: it has " + there + " bytes instead of " +
                       std::to_string(size));
    }
    if (number_at<std::uint64_t>(bytes, bytes.size() - ChecksumSize) != checksum_of(bytes)) {
        throw TdfError("it has been altered: its checksum is not that of what it holds");
    }
}

std::string file_name(const std::string& path) {
    const std::size_t separator = path.find_last_of("/\\");
    return separator == std::string::npos ? path : path.substr(separator + 1);
}

} // namespace

std::string ProgramVersion::text() const {
    return std::to_string(major) + "." + std::to_string(minor) + "." + std::to_string(patch);
}

TdfHeader::Counts::Counts(const System& system)
    : components(static_cast<std::uint32_t>(system.components.size())),
      phases(static_cast<std::uint32_t>(system.phases.size())) {
    for (const Phase& phase : system.phases) {
        constituents += static_cast<std::uint32_t>(phase.constituents.size());
    }
}

std::string write_tdf(std::string_view text, const std::string& file, const TdfAuthorship& by) {
    TdfHeader header;
    header.by = by;
    if (header.by.source.empty()) {
        header.by.source = cut(file_name(file), 255);
    }
    check(header.by);
    const std::shared_ptr<const System> system = System::read_dat(text, file);
    header.title = title_line(system->title);
    header.counts = TdfHeader::Counts(*system);

    TdfWriter out;
    out.bytes = Magic;
    out.number(std::uint32_t{TdfHeader::Version});
    out.number(std::uint64_t{0});
    put(out, header);
    append_lines(out, text);
    out.number(std::uint64_t{0});
    seal_tdf(out.bytes);
    return std::move(out.bytes);
}

bool is_tdf(std::string_view bytes) {
    return bytes.starts_with(Magic);
}

TdfFile read_tdf(std::string_view bytes, const std::string& file, const ProgramVersion& reader) {
    check_frame(bytes);
    TdfReader in(bytes, FixedSize);
    TdfFile result{take_header(in), nullptr};
    TdfHeader& header = result.header;
    const std::size_t end = bytes.size() - ChecksumSize;
    header.checksum = number_at<std::uint64_t>(bytes, end);
    if (reader < header.lowest_reader) {
        throw TdfError("it needs version " + header.lowest_reader.text() +
                       " of the program or a later one; this is " + reader.text());
    }
    result.system = System::read_records(DatTokens(TdfLines(bytes, in.position(), end), file));
    if (header.counts != TdfHeader::Counts(*result.system)) {
        throw TdfError("it contradicts itself: its header tells of another number of components, "
                       "phases or constituents than it holds");
    }
    return result;
}

std::string padded(std::string utf8, std::size_t width) {
    utf8.append(width - std::min(width, characters(utf8)), ' ');
    return utf8;
}

void seal_tdf(std::string& bytes) {
    if (bytes.size() < FixedSize + ChecksumSize) {
        return;
    }
    TdfWriter size;
    size.number(std::uint64_t{bytes.size()});
    bytes.replace(SizePlace, size.bytes.size(), size.bytes);
    TdfWriter checksum;
    checksum.number(checksum_of(bytes));
    bytes.replace(bytes.size() - ChecksumSize, ChecksumSize, checksum.bytes);
}

} // namespace tessara
