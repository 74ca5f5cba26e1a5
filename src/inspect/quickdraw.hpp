// Records of QuickDraw that pictures in resources share (Inside Macintosh: Imaging With QuickDraw,
// chapters 3 and 4). Numbers are big-endian.
#pragma once

#include <array>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>

#include "support/endian.hpp"

namespace vellmark {

constexpr std::uint32_t Rgb(unsigned red, unsigned green, unsigned blue) {
    return 0xFF000000 | blue << 16 | green << 8 | red;
}
inline constexpr std::uint32_t kWhite = Rgb(255, 255, 255);
inline constexpr std::uint32_t kBlack = Rgb(0, 0, 0);

struct PixelBounds {
    be16 top, left, bottom, right;

    [[nodiscard]] std::uint32_t width() const { return static_cast<std::uint16_t>(right - left); }
    [[nodiscard]] std::uint32_t height() const { return static_cast<std::uint16_t>(bottom - top); }
};
/// Without the address in front, which a picture has in some operations only.
struct PixelMap {
    be16 rowBytes;  ///< the highest bit says that it is no plain bitmap
    PixelBounds bounds;
    be16 version;
    be16 packType;
    std::array<std::uint8_t, 14> packSizeAndScale;
    be16 pixelSize;   ///< bits
    be16 components;  ///< parts of a pixel
    std::array<std::uint8_t, 14> rest;
};
struct BitMap {
    be16 rowBytes;
    PixelBounds bounds;
};
static_assert(sizeof(PixelMap) == 46 && sizeof(BitMap) == 10);

inline constexpr std::uint16_t kPixelMapFlag = 0x8000;
inline constexpr std::uint16_t kRowBytesMask = 0x3FFF;

/// Pixels of one to eight bits as they lie in memory, most significant first.
struct PixelRows {
    std::span<const std::uint8_t> bytes;
    std::uint32_t rowBytes = 0;
    std::uint32_t depth = 1;  ///< bits of a pixel: 1, 2, 4 or 8

    [[nodiscard]] unsigned at(std::uint32_t x, std::uint32_t y) const {
        const std::size_t bit = std::size_t{x} * depth;
        const std::uint8_t byte = bytes[std::size_t{y} * rowBytes + bit / 8];
        return byte >> (8 - depth - bit % 8) & ((1U << depth) - 1);
    }
};

/// Takes `count` bytes off the front; nothing when they are not there.
[[nodiscard]] inline std::optional<std::span<const std::uint8_t>> Take(
    std::span<const std::uint8_t>& rest, std::size_t count) {
    if (count > rest.size())
        return std::nullopt;
    const auto taken = rest.first(count);
    rest = rest.subspan(count);
    return taken;
}

template <typename Record>
[[nodiscard]] std::optional<Record> TakeRecord(std::span<const std::uint8_t>& rest) {
    const auto bytes = Take(rest, sizeof(Record));
    if (!bytes)
        return std::nullopt;
    Record record;
    std::memcpy(&record, bytes->data(), sizeof record);
    return record;
}

/// By pixel value; black where the table has none.
using PixelColours = std::array<std::uint32_t, 256>;
/// Takes a colour table off the front.
[[nodiscard]] std::optional<PixelColours> TakeColours(std::span<const std::uint8_t>& rest);

}  // namespace vellmark
