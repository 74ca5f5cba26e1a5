// Integers as they lie on a disk: byte arrays of alignment 1 with a fixed byte order, so that a
// packed record can be read, changed and written back without a conversion step.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace vellmark {

/// Reverses the bytes of a 16-bit value.
constexpr std::uint16_t Swap16(std::uint16_t v) {
    return static_cast<std::uint16_t>((v >> 8) | (v << 8));
}

/// Reverses the bytes of a 32-bit value.
constexpr std::uint32_t Swap32(std::uint32_t v) {
    return (v >> 24) | ((v >> 8) & 0xFF00u) | ((v << 8) & 0xFF0000u) | (v << 24);
}

/// Most significant byte first.
template <typename T>
class BigEndian {
  public:
    constexpr BigEndian() = default;
    constexpr BigEndian(T value) { *this = value; }

    constexpr BigEndian& operator=(T value) {
        auto rest = static_cast<std::make_unsigned_t<T>>(value);
        for (std::size_t i = sizeof(T); i-- > 0;) {
            bytes_[i] = static_cast<std::uint8_t>(rest & 0xFF);
            if constexpr (sizeof(T) > 1)
                rest = static_cast<std::make_unsigned_t<T>>(rest >> 8);
        }
        return *this;
    }

    constexpr operator T() const {
        std::make_unsigned_t<T> value = 0;
        for (std::uint8_t byte : bytes_)
            value = static_cast<std::make_unsigned_t<T>>((value << 8) | byte);
        return static_cast<T>(value);
    }

  private:
    std::array<std::uint8_t, sizeof(T)> bytes_{};
};

/// Least significant byte first.
template <typename T>
class LittleEndian {
  public:
    constexpr LittleEndian() = default;
    constexpr LittleEndian(T value) { *this = value; }

    constexpr LittleEndian& operator=(T value) {
        auto rest = static_cast<std::make_unsigned_t<T>>(value);
        for (std::uint8_t& byte : bytes_) {
            byte = static_cast<std::uint8_t>(rest & 0xFF);
            rest = static_cast<std::make_unsigned_t<T>>(rest >> 8);
        }
        return *this;
    }

    constexpr operator T() const {
        std::make_unsigned_t<T> value = 0;
        for (std::size_t i = sizeof(T); i-- > 0;)
            value = static_cast<std::make_unsigned_t<T>>((value << 8) | bytes_[i]);
        return static_cast<T>(value);
    }

  private:
    std::array<std::uint8_t, sizeof(T)> bytes_{};
};

/// ISO 9660 keeps some numbers twice: least, then most significant byte first (ECMA-119, 7.2.3
/// and 7.3.3). Reading takes the little-endian half.
template <typename T>
class BothEndian {
  public:
    constexpr BothEndian() = default;
    constexpr BothEndian(T value) { *this = value; }
    constexpr BothEndian& operator=(T value) {
        little_ = value;
        big_ = value;
        return *this;
    }
    constexpr operator T() const { return little_; }

  private:
    LittleEndian<T> little_;
    BigEndian<T> big_;
};

using be16 = BigEndian<std::uint16_t>;
using be32 = BigEndian<std::uint32_t>;
using be64 = BigEndian<std::uint64_t>;
using le16 = LittleEndian<std::uint16_t>;
using le32 = LittleEndian<std::uint32_t>;
using le64 = LittleEndian<std::uint64_t>;
using sle32 = LittleEndian<std::int32_t>;
using both16 = BothEndian<std::uint16_t>;
using both32 = BothEndian<std::uint32_t>;

static_assert(sizeof(be32) == 4 && alignof(be32) == 1);
static_assert(sizeof(le16) == 2 && alignof(le16) == 1);
static_assert(sizeof(both32) == 8 && alignof(both32) == 1);

}  // namespace vellmark
