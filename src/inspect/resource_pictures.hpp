// Resources that are pictures, as plain pixels (Inside Macintosh: Macintosh Toolbox Essentials,
// "Finder Interface"; Imaging With QuickDraw).
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace vellmark {

/// A picture row by row from the top, a pixel 32 bits: red in the lowest byte, then green, blue and
/// how far it covers what is behind it (0 or 255).
struct ResourcePicture {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::vector<std::uint32_t> pixels;
};

/// The picture in a resource of one of the types `ICON`, `ICN#`, `ics#`, `icl4`, `icl8`, `ics4`,
/// `ics8`, `cicn` and `PICT` (as far as inspect/quickdraw_picture.hpp draws it); nothing for
/// another type and for bytes that do not hold one. Icons of `icl` and `ics` with colours keep
/// their mask in a resource of another type: `mask` is that of `ICN#` or `ics#` with the same id,
/// empty for none.
[[nodiscard]] std::optional<ResourcePicture> DecodePicture(std::string_view type,
                                                           std::span<const std::uint8_t> bytes,
                                                           std::span<const std::uint8_t> mask = {});

}  // namespace vellmark
