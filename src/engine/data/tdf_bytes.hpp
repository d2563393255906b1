#pragma once

#include <bit>
#include <concepts>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>
#include <string_view>

namespace tessara {

/// A transparent data file that is none, or is damaged, or is too new.
class TdfError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Writes the primitive values of a transparent data file: whole numbers with the lowest byte
/// first, whatever the machine.
class TdfWriter {
public:
    template <std::unsigned_integral Number>
    void number(Number value) {
        for (std::size_t k = 0; k < sizeof(Number); ++k) {
            bytes.push_back(static_cast<char>(static_cast<std::uint8_t>(value >> (8 * k))));
        }
    }

    void real(double value) { number(std::bit_cast<std::uint64_t>(value)); }

    /// A count of any size: seven bits in each byte, lowest first; the top bit says that more
    /// follow.
    void count(std::size_t value) {
        for (; value >= 0x80U; value >>= 7U) {
            bytes.push_back(static_cast<char>(static_cast<std::uint8_t>(value | 0x80U)));
        }
        bytes.push_back(static_cast<char>(value));
    }

    void text(std::string_view utf8) {
        count(utf8.size());
        bytes += utf8;
    }

    std::string bytes;
};

/// Reads what `TdfWriter` wrote. Throws `TdfError` where the bytes end or tell nonsense.
class TdfReader {
public:
    explicit TdfReader(std::string_view bytes, std::size_t at = 0) : bytes_(bytes), at_(at) {}

    std::size_t position() const { return at_; }
    bool at_end() const { return at_ == bytes_.size(); }

    template <std::unsigned_integral Number>
    Number number() {
        require(sizeof(Number));
        Number value; // NOLINT(cppcoreguidelines-init-variables)
        std::memcpy(&value, bytes_.data() + at_, sizeof(Number));
        if constexpr (std::endian::native != std::endian::little) {
            value = reversed(value);
        }
        at_ += sizeof(Number);
        return value;
    }

    double real() { return std::bit_cast<double>(number<std::uint64_t>()); }

    std::size_t count() {
        std::uint64_t value = number<std::uint8_t>();
        if (value < 0x80U) [[likely]] {
            return static_cast<std::size_t>(value);
        }
        value &= 0x7FU;
        // Four bytes more hold any count in a file of the size that is read.
        for (unsigned shift = 7; shift <= 28; shift += 7) {
            const std::uint64_t byte = number<std::uint8_t>();
            value |= (byte & 0x7FU) << shift;
            if (byte < 0x80U) {
                return static_cast<std::size_t>(value);
            }
        }
        fail();
    }

    std::string_view text() { return take(count()); }

    std::string_view take(std::size_t size) {
        require(size);
        const std::string_view part = bytes_.substr(at_, size);
        at_ += size;
        return part;
    }

    [[noreturn]] void fail() const {
        throw TdfError("what stands at byte " + std::to_string(at_) + " makes no sense");
    }

private:
    template <class Number>
    static Number reversed(Number value) {
        Number result = 0;
        for (std::size_t k = 0; k < sizeof(Number); ++k) {
            const Number byte = static_cast<std::uint8_t>(value >> (8 * k));
            result = static_cast<Number>(result | byte << (8 * (sizeof(Number) - 1 - k)));
        }
        return result;
    }

    void require(std::size_t size) const {
        if (bytes_.size() - at_ < size) {
            fail();
        }
    }

    std::string_view bytes_;
    std::size_t at_;
};

} // namespace tessara
