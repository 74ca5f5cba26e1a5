#include "layout/picture_format.hpp"

#include <string>

#include "support/encoding.hpp"

namespace vellmark {

namespace {

constexpr struct {
    std::string_view extension;
    PictureFormat format;
} kExtensions[] = {{".JPG", PictureFormat::Jpeg},  {".JPEG", PictureFormat::Jpeg},
                   {".PNG", PictureFormat::Png},   {".TIF", PictureFormat::Tiff},
                   {".TIFF", PictureFormat::Tiff}, {".BMP", PictureFormat::Bmp}};

}  // namespace

std::optional<PictureFormat> PictureFormatOf(std::string_view path) {
    const std::string upper = AsciiUpper(path);
    for (const auto& each : kExtensions)
        if (upper.ends_with(each.extension))
            return each.format;
    return std::nullopt;
}

}  // namespace vellmark
