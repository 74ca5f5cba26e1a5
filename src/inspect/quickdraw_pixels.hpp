// The pixels of a bitmap in a picture of QuickDraw, unpacked.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "inspect/quickdraw.hpp"
#include "inspect/resource_pictures.hpp"

namespace vellmark {

/// What stands before the pixels of a bitmap.
struct PixelSource {
    PixelMap map;           ///< of a plain bitmap what it has of it, with a pixel of one bit
    bool isDirect = false;  ///< pixels are colours and not numbers of them
    PixelColours colours{};
};

/// Takes the pixels off the front, `isPacked` as runs row by row, and gives their colours in the
/// order of the rows. Nothing when they are not whole or of a depth that there is not.
[[nodiscard]] std::optional<ResourcePicture> TakePixels(std::span<const std::uint8_t>& rest,
                                                        const PixelSource& source, bool isPacked);

/// No bitmap and no picture has longer sides.
inline constexpr std::uint32_t kMostPictureSide = 4096;

}  // namespace vellmark
