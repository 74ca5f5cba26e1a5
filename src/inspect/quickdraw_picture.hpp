// Pictures of QuickDraw (`PICT`) that are made of bitmaps alone (Inside Macintosh: Imaging With
// QuickDraw, appendix A).
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "inspect/resource_pictures.hpp"

namespace vellmark {

/// The picture of a `PICT` of either version. Nothing when it draws anything but bitmaps in place
/// of what is there (lines, shapes and text want the fonts and the pens of the system; a clipping
/// that is no rectangle is among them), when it is not whole, and when it is larger than a screen
/// shows.
[[nodiscard]] std::optional<ResourcePicture> DecodeQuickDrawPicture(
    std::span<const std::uint8_t> bytes);

}  // namespace vellmark
