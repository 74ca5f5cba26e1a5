#include "IO/expanded_image.hpp"

#include <fmt/core.h>

#include "support/encoding.hpp"

namespace vellmark {

std::unique_ptr<ExpandedImage> ExpandedImage::Open(const std::string& path, Progress& progress,
                                                   ExpandResult& result,
                                                   const ExpandOptions& options) {
    result = {.code = kFileNotExpanded};
    const auto fail = [&](std::string_view reason) {
        result.problem = fmt::format("{}: {}", Printable(path), reason);
        return nullptr;
    };
    PcFile source(path, PcFile::Mode::Read);
    if (!source.isOpen())
        return fail(fmt::format("It cannot be opened: {}.", source.errorText()));
    std::unique_ptr<ExpandedImage> image(new ExpandedImage);
    image->file_ = UnnamedTemporaryFile();
    if (!image->file_.isOpen())
        return fail(fmt::format("A temporary file for its plain image cannot be made: {}.",
                                image->file_.errorText()));
    image->path_ = image->file_.descriptorPath();
    result = ExpandImage(source, image->file_, progress, options);
    return result.code == 0 ? std::move(image) : fail(result.problem);
}

}  // namespace vellmark
