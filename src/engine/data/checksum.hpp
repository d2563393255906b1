#pragma once

#include <cstdint>
#include <string_view>

namespace tessara {

/// The cyclic redundancy check of 64 bits known as CRC-64/XZ: polynomial 0x42F0E1EBA9EA3693, lowest
/// bit first, all bits set at the start and inverted at the end. It finds each change within 64
/// bits, and leaves one in 2^64 of all others unfound.
std::uint64_t crc64(std::string_view bytes);

} // namespace tessara
