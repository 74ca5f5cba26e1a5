#include "IO/expanded_image.hpp"

#include "support/encoding.hpp"
#include "support/sentences.hpp"

namespace vellmark {

std::unique_ptr<ExpandedImage> ExpandedImage::Open(const std::string& path, Progress& progress,
                                                   ExpandResult& result,
                                                   const ExpandOptions& options) {
    result = {.end = ExpandEnd::NotBegun};
    const auto fail = [&](Reason reason) {
        result.problem = Reason(Sentence::kNamedReason, Printable(path), std::move(reason));
        return nullptr;
    };
    PcFile source(path, PcFile::Mode::Read);
    if (!source.isOpen())
        return fail(Reason(Sentence::kImageNotOpened, source.failure()));
    std::unique_ptr<ExpandedImage> image(new ExpandedImage);
    image->file_ = UnnamedTemporaryFile();
    if (!image->file_.isOpen())
        return fail(Reason(Sentence::kNoTemporaryImage, image->file_.failure()));
    image->path_ = image->file_.descriptorPath();
    result = ExpandImage(source, image->file_, progress, options);
    return result.end == ExpandEnd::Done ? std::move(image) : fail(result.problem);
}

}  // namespace vellmark
