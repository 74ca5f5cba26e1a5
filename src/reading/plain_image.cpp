#include "reading/plain_image.hpp"

#include <filesystem>

#include "support/encoding.hpp"
#include "support/pc_folder.hpp"
#include "support/sentences.hpp"
#include "support/targets.hpp"

namespace vellmark {

namespace {

constexpr int kTextOverwrite = 1061;
constexpr int kTextUncompress = 1502;
constexpr int kTextSave = 1503;
constexpr int kTextDecompressing = 1505;

/// So often a name is asked for.
constexpr int kMostTries = 10;

bool IsCompressed(const std::string& path) {
    if (PcFactsOf(path).kind != PcKind::File)
        return false;
    PcFile file(path, PcFile::Mode::Read);
    return file.isOpen() && IsCompressedImage(file);
}

ExpandOptions OptionsFor(const std::string& image, const ReadingPorts& ports) {
    return {.status = ports.messages.words(Reason::Told(kTextDecompressing, Printable(image))),
            .guard = ports.guard};
}

// Why an image was not expanded, or what is odd about it when it was: where something is missing,
// even to somebody who wants no remarks.
void TellExpansion(const ExpandResult& result, const std::string& image, Messages& messages) {
    const Reason remark(Sentence::kNamedReason, Printable(image), result.remark);
    if (result.problem)
        messages.showError(result.problem);
    else if (result.isIncomplete)
        messages.showError(remark);
    else if (result.remark)
        messages.logMessage(remark);
}

// A target that is the image itself is refused; the message has the name that the person gave it.
bool IsOther(const std::string& image, const std::string& target, const std::string& named,
             Messages& messages) {
    if (!AreSameFile(image, target))
        return true;
    messages.showMessage(Reason(Sentence::kIsCompressedImage, Printable(named)));
    return false;
}

// Whether the plain image may be kept there, after a question where a file is.
bool MayKeep(const std::string& path, const std::string& image, Messages& messages) {
    if (!IsOther(image, path, path, messages) || !MayMakeFile(path, true, messages))
        return false;
    const PcFacts facts = PcFactsOf(path);
    return (facts.kind == PcKind::Missing && !facts.isLink) ||
           messages.askYesNo(Reason::Told(kTextOverwrite, Printable(path)));
}

// Where the plain image is to be kept; "" for nowhere, nothing when no name was given for it.
std::optional<std::string> KeptPath(const std::string& image, Messages& messages) {
    if (!messages.askYesNo(messages.text(kTextSave)))
        return "";
    const std::string proposal = std::filesystem::path(image).replace_extension(".img").string();
    for (int tries = 0; tries < kMostTries; ++tries) {
        const std::optional<std::string> path = messages.askFileName(proposal);
        if (!path)
            break;
        if (std::string target = FollowLink(*path); MayKeep(target, image, messages))
            return target;
    }
    return std::nullopt;
}

}  // namespace

ExpandResult ExpandToFile(const ExpandRequest& request, const ReadingPorts& ports) {
    ExpandResult result;
    result.end = ExpandEnd::NotBegun;
    if (!IsOther(request.image, request.target,
                 request.named.empty() ? request.target : request.named, ports.messages) ||
        !MayMakeFile(request.target, request.replace, ports.messages))
        return result;
    ExpandOptions options = OptionsFor(request.image, ports);
    options.verify = request.verify;
    options.isPassing = request.isPassing;
    result = ExpandImageFile(request.image, request.target, ports.progress, options);
    TellExpansion(result, request.image, ports.messages);
    return result;
}

std::optional<PlainImage> PlainImage::Choose(const std::string& named, Access access,
                                             const ReadingPorts& ports) {
    PlainImage image(named, ports.guard);
    if ((access == Access::Change && !ports.asks) || !IsCompressed(named))
        return image;
    std::optional<std::string> kept = "";
    if (ports.asks) {
        if (!ports.messages.askYesNo(Reason::Told(kTextUncompress, Printable(named))))
            return std::nullopt;
        kept = KeptPath(named, ports.messages);
        if (!kept)
            return std::nullopt;
    }
    if (!kept->empty() || access == Access::Read)
        image.kept_ = std::move(kept);
    return image;
}

bool PlainImage::expand(const ReadingPorts& ports) {
    if (!kept_)
        return true;
    ExpandResult result;
    if (kept_->empty()) {
        expanded_ = ExpandedImage::Open(named_, ports.progress, result, OptionsFor(named_, ports));
        TellExpansion(result, named_, ports.messages);
        path_ = expanded_ ? expanded_->path() : named_;
    } else {
        result = ExpandToFile({.image = named_, .target = *kept_, .replace = true}, ports);
        path_ = *kept_;
    }
    isIncomplete_ = result.isIncomplete;
    return result.end == ExpandEnd::Done;
}

}  // namespace vellmark
