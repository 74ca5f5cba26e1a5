// The formats of pictures behind icons, by the names of their files.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace vellmark {

enum class PictureFormat : std::uint8_t { Jpeg, Png, Tiff, Bmp };

/// The format that a file of the PC has by its extension, without regard to case; nothing for
/// another extension.
[[nodiscard]] std::optional<PictureFormat> PictureFormatOf(std::string_view path);

}  // namespace vellmark
