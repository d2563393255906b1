// libFuzzer target: whatever the bytes, reading ends in a system or in words. A mutator of its own
// sets size and checksum right, or no change would come behind them.

#include "engine/data/tdf_file.hpp"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

using namespace tessara;

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t most);

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t most, unsigned seed) {
    size = LLVMFuzzerMutate(data, size, most);
    if (seed % 8 != 0) {
        std::string bytes(reinterpret_cast<const char*>(data), size);
        seal_tdf(bytes);
        std::memcpy(data, bytes.data(), size);
    }
    return size;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    try {
        read_tdf(bytes, "fuzz.tdf", TdfHeader::LowestReader);
    } catch (const ReadError&) {
    } catch (const TdfError&) {
    }
    return 0;
}
