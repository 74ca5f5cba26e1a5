// The picture behind the icons of a layout, as far as its preview needs it.
#pragma once

#include <QImage>
#include <QSize>
#include <string>

#include "support/progress.hpp"
#include "support/result.hpp"

namespace vellmark {

struct BackgroundPicture {
    QImage image;  ///< may be smaller than the picture itself
    QSize size;    ///< of the picture itself, in pixels
};

/// Reads a picture of the PC, as its extension says: JPEG, PNG, TIFF or BMP. The reason when it
/// cannot be shown. May take long; ends early, with a reason, when the progress says so.
[[nodiscard]] Result<BackgroundPicture> ReadBackground(const std::string& path, Progress& progress);

}  // namespace vellmark
