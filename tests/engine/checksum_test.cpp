#include "engine/data/checksum.hpp"

#include <gtest/gtest.h>

#include <string>

namespace tessara {
namespace {

TEST(Checksum, HasTheCheckValueOfItsKind) {
    // The catalogues of such codes give the value of these nine digits for CRC-64/XZ.
    EXPECT_EQ(crc64("123456789"), 0x995DC9BBDF1939FAU);
    EXPECT_EQ(crc64(""), 0U);
}

TEST(Checksum, TakesEightBytesAtOnceAsOneByOne) {
    // Bit by bit, as the polynomial has it.
    const auto slow = [](std::string_view bytes) {
        std::uint64_t remainder = ~std::uint64_t{0};
        for (const char c : bytes) {
            remainder ^= static_cast<unsigned char>(c);
            for (int bit = 0; bit < 8; ++bit) {
                remainder =
                    remainder % 2 != 0 ? remainder / 2 ^ 0xC96C5795D7870F42U : remainder / 2;
            }
        }
        return ~remainder;
    };
    std::string bytes;
    for (unsigned size = 0; size < 70; ++size) {
        EXPECT_EQ(crc64(bytes), slow(bytes)) << size;
        bytes += static_cast<char>(static_cast<unsigned char>(size * 37 + 200));
    }
}

TEST(Checksum, FindsEverySingleChange) {
    const std::string bytes = "a few bytes that something happens to";
    for (std::size_t at = 0; at < bytes.size(); ++at) {
        for (unsigned bit = 0; bit < 8; ++bit) {
            std::string changed = bytes;
            changed[at] = static_cast<char>(changed[at] ^ (1 << bit));
            EXPECT_NE(crc64(changed), crc64(bytes));
        }
    }
}

} // namespace
} // namespace tessara
