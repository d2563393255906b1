#include "engine/data/checksum.hpp"

#include <array>
#include <cstddef>

namespace tessara {
namespace {

constexpr std::uint64_t ReversedPolynomial = 0xC96C5795D7870F42U;

/// The remainder of each byte, and of each byte that some more zero bytes follow: so eight bytes
/// are taken in one step.
using Tables = std::array<std::array<std::uint64_t, 256>, 8>;

constexpr Tables make_tables() {
    Tables tables{};
    for (std::uint64_t byte = 0; byte < 256; ++byte) {
        std::uint64_t remainder = byte;
        for (int bit = 0; bit < 8; ++bit) {
            remainder = (remainder >> 1U) ^ ((remainder & 1U) != 0 ? ReversedPolynomial : 0);
        }
        tables[0][byte] = remainder;
    }
    for (std::size_t zeros = 1; zeros < tables.size(); ++zeros) {
        for (std::size_t byte = 0; byte < 256; ++byte) {
            const std::uint64_t before = tables[zeros - 1][byte];
            tables[zeros][byte] = (before >> 8U) ^ tables[0][before & 0xFFU];
        }
    }
    return tables;
}

constexpr Tables tables = make_tables();

std::uint64_t byte_at(std::string_view bytes, std::size_t at) {
    return static_cast<unsigned char>(bytes[at]);
}

} // namespace

std::uint64_t crc64(std::string_view bytes) {
    std::uint64_t remainder = ~std::uint64_t{0};
    std::size_t at = 0;
    for (; bytes.size() - at >= 8; at += 8) {
        std::uint64_t eight = 0;
        for (std::size_t k = 0; k < 8; ++k) {
            eight |= byte_at(bytes, at + k) << (8 * k);
        }
        eight ^= remainder;
        remainder = 0;
        for (std::size_t k = 0; k < 8; ++k) {
            remainder ^= tables[7 - k][(eight >> (8 * k)) & 0xFFU];
        }
    }
    for (; at < bytes.size(); ++at) {
        remainder = (remainder >> 8U) ^ tables[0][(remainder ^ byte_at(bytes, at)) & 0xFFU];
    }
    return ~remainder;
}

} // namespace tessara
