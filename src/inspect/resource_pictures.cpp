#include "inspect/resource_pictures.hpp"

#include <algorithm>
#include <array>

#include "inspect/quickdraw.hpp"
#include "inspect/quickdraw_picture.hpp"

namespace vellmark {
namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr std::uint32_t kLargeIcon = 32;
constexpr std::uint32_t kSmallIcon = 16;

/// The standard 16 colours of the system.
constexpr std::array<std::uint32_t, 16> kSixteenColours = {
    Rgb(0xFF, 0xFF, 0xFF), Rgb(0xFC, 0xF3, 0x05), Rgb(0xFF, 0x64, 0x02), Rgb(0xDD, 0x08, 0x06),
    Rgb(0xF2, 0x08, 0x84), Rgb(0x46, 0x00, 0xA5), Rgb(0x00, 0x00, 0xD4), Rgb(0x02, 0xAB, 0xEA),
    Rgb(0x1F, 0xB7, 0x14), Rgb(0x00, 0x64, 0x11), Rgb(0x56, 0x2C, 0x05), Rgb(0x90, 0x71, 0x3A),
    Rgb(0xC0, 0xC0, 0xC0), Rgb(0x80, 0x80, 0x80), Rgb(0x40, 0x40, 0x40), Rgb(0x00, 0x00, 0x00)};

// The standard 256 colours: a cube of six shades from white on, without its black, then ramps of
// red, green, blue and grey with the ten shades that the cube has not.
constexpr std::array<std::uint32_t, 256> MakeColours() {
    constexpr std::array<unsigned, 10> kRamp = {0xEE, 0xDD, 0xBB, 0xAA, 0x88,
                                                0x77, 0x55, 0x44, 0x22, 0x11};
    constexpr unsigned kShades = 6;
    constexpr unsigned kStep = 0x33;
    std::array<std::uint32_t, 256> colours{};
    for (unsigned i = 0; i < kShades * kShades * kShades - 1; ++i)
        colours[i] = Rgb(255 - i / (kShades * kShades) * kStep, 255 - i / kShades % kShades * kStep,
                         255 - i % kShades * kStep);
    for (unsigned i = 0; i < kRamp.size(); ++i) {
        colours[215 + i] = Rgb(kRamp[i], 0, 0);
        colours[225 + i] = Rgb(0, kRamp[i], 0);
        colours[235 + i] = Rgb(0, 0, kRamp[i]);
        colours[245 + i] = Rgb(kRamp[i], kRamp[i], kRamp[i]);
    }
    colours[255] = kBlack;
    return colours;
}
constexpr std::array<std::uint32_t, 256> k256Colours = MakeColours();

PixelRows IconRows(Bytes bytes, std::uint32_t side, std::uint32_t depth) {
    return {bytes, side * depth / 8, depth};
}

// `colourOf` gives the colour of a value, `covers` says whether a pixel is part of the picture.
template <typename ColourOf, typename Covers>
ResourcePicture Draw(std::uint32_t width, std::uint32_t height, const PixelRows& rows,
                     ColourOf colourOf, Covers covers) {
    ResourcePicture picture{width, height, std::vector<std::uint32_t>(std::size_t{width} * height)};
    for (std::uint32_t y = 0; y < height; ++y)
        for (std::uint32_t x = 0; x < width; ++x)
            if (covers(x, y))
                picture.pixels[std::size_t{y} * width + x] = colourOf(rows.at(x, y));
    return picture;
}

std::uint32_t BlackOrWhite(unsigned value) {
    return value != 0 ? kBlack : kWhite;
}

// One bit a pixel; `mask` has as many bytes, or none where all of it shows.
std::optional<ResourcePicture> PlainIcon(Bytes bytes, std::uint32_t side, bool hasMask) {
    const std::size_t size = std::size_t{side} * side / 8;
    if (bytes.size() < size * (hasMask ? 2 : 1))
        return std::nullopt;
    const PixelRows mask = IconRows(bytes.subspan(hasMask ? size : 0), side, 1);
    return Draw(side, side, IconRows(bytes, side, 1), BlackOrWhite,
                [&](auto x, auto y) { return !hasMask || mask.at(x, y) != 0; });
}

std::optional<ResourcePicture> ColourIcon(Bytes bytes, Bytes icon, std::uint32_t side,
                                          std::uint32_t depth) {
    const std::size_t maskSize = std::size_t{side} * side / 8;
    if (bytes.size() < maskSize * depth)
        return std::nullopt;
    const bool hasMask = icon.size() >= 2 * maskSize;
    const PixelRows mask = IconRows(hasMask ? icon.subspan(maskSize) : bytes, side, 1);
    return Draw(
        side, side, IconRows(bytes, side, depth),
        [&](unsigned value) { return depth == 4 ? kSixteenColours[value] : k256Colours[value]; },
        [&](auto x, auto y) { return !hasMask || mask.at(x, y) != 0; });
}

/// Head of a `cicn`: mask, bitmap, colour table and pixels follow.
struct ColourIconHead {
    be32 pixelAddress;
    PixelMap pixels;
    be32 maskAddress;
    BitMap mask;
    be32 bitmapAddress;
    BitMap bitmap;
    be32 data;
};
static_assert(sizeof(ColourIconHead) == 82);

/// No icon is larger.
constexpr std::uint32_t kMostSide = 1024;

std::optional<ResourcePicture> DecodeCicn(Bytes rest) {
    const auto head = TakeRecord<ColourIconHead>(rest);
    if (!head)
        return std::nullopt;
    const std::uint32_t width = head->pixels.bounds.width();
    const std::uint32_t height = head->pixels.bounds.height();
    const std::uint32_t depth = head->pixels.pixelSize;
    const std::uint32_t rowBytes = head->pixels.rowBytes & kRowBytesMask;
    const bool isDepth = depth == 1 || depth == 2 || depth == 4 || depth == 8;
    if (!isDepth || width == 0 || height == 0 || width > kMostSide || height > kMostSide ||
        std::size_t{width} * depth > std::size_t{rowBytes} * 8 ||
        head->mask.bounds.width() < width || head->mask.bounds.height() < height ||
        width > std::uint32_t{head->mask.rowBytes} * 8)
        return std::nullopt;
    const auto mask = Take(rest, std::size_t{head->mask.rowBytes} * head->mask.bounds.height());
    if (!mask || !Take(rest, std::size_t{head->bitmap.rowBytes} * head->bitmap.bounds.height()))
        return std::nullopt;
    const auto colours = TakeColours(rest);
    const auto pixels = Take(rest, std::size_t{rowBytes} * height);
    if (!colours || !pixels)
        return std::nullopt;
    const PixelRows maskRows{*mask, head->mask.rowBytes, 1};
    return Draw(
        width, height, PixelRows{*pixels, rowBytes, depth},
        [&](unsigned value) { return (*colours)[value]; },
        [&](auto x, auto y) { return maskRows.at(x, y) != 0; });
}

}  // namespace

std::optional<ResourcePicture> DecodePicture(std::string_view type, Bytes bytes, Bytes mask) {
    if (type == "ICON")
        return PlainIcon(bytes, kLargeIcon, false);
    if (type == "ICN#")
        return PlainIcon(bytes, kLargeIcon, true);
    if (type == "ics#")
        return PlainIcon(bytes, kSmallIcon, true);
    if (type == "icl4")
        return ColourIcon(bytes, mask, kLargeIcon, 4);
    if (type == "icl8")
        return ColourIcon(bytes, mask, kLargeIcon, 8);
    if (type == "ics4")
        return ColourIcon(bytes, mask, kSmallIcon, 4);
    if (type == "ics8")
        return ColourIcon(bytes, mask, kSmallIcon, 8);
    if (type == "PICT")
        return DecodeQuickDrawPicture(bytes);
    return type == "cicn" ? DecodeCicn(bytes) : std::nullopt;
}

}  // namespace vellmark
