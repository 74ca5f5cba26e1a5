// JPEG pictures at half their size, by libjpeg.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "support/progress.hpp"
#include "workbench/layout/background_picture.hpp"

namespace vellmark {

/// Nothing for bytes that are no whole JPEG picture, for one of more than `mostPixels`, and when
/// the progress said to stop.
[[nodiscard]] std::optional<BackgroundPicture> ReadJpeg(std::span<const std::uint8_t> bytes,
                                                        std::int64_t mostPixels,
                                                        Progress& progress);

}  // namespace vellmark
