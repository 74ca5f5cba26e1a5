#include "session/plain_image.hpp"

#include <fmt/core.h>

#include <filesystem>

#include "session/targets.hpp"
#include "support/encoding.hpp"
#include "support/pc_folder.hpp"
#include "support/texts.hpp"

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

// Whether the plain image may be kept there, after a question where a file is.
bool MayKeep(const std::string& path, const std::string& image, Messages& messages) {
    if (AreSameFile(image, path)) {
        messages.showMessage(fmt::format("{} is the compressed image itself.", Printable(path)));
        return false;
    }
    if (!MayMakeFile(path, true, messages))
        return false;
    const PcFacts facts = PcFactsOf(path);
    return (facts.kind == PcKind::Missing && !facts.isLink) ||
           messages.askYesNo(FormatText(kTextOverwrite, messages.language(), Printable(path)));
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

void TellExpansion(const ExpandResult& result, const std::string& name, Messages& messages) {
    if (!result.problem.empty())
        messages.showError(result.problem);
    else if (result.isIncomplete)
        messages.showError(fmt::format("{}: {}", name, result.remark));
    else if (!result.remark.empty())
        messages.logMessage(fmt::format("{}: {}", name, result.remark));
}

std::optional<PlainImage> PlainImage::Open(const std::string& named, Access access,
                                           CommandContext& context, Terminal& terminal) {
    PlainImage image(named, context.guard);
    Messages& messages = terminal.messages;
    if ((access == Access::Change && !context.asks) || !IsCompressed(named))
        return image;
    const std::string name = Printable(named);
    std::string kept;
    if (context.asks) {
        if (!messages.askYesNo(FormatText(kTextUncompress, context.language, name)))
            return std::nullopt;
        const std::optional<std::string> path = KeptPath(named, messages);
        if (!path || (path->empty() && access == Access::Change))
            return path ? std::optional(std::move(image)) : std::nullopt;
        kept = *path;
    }
    const ExpandOptions options{.status = FormatText(kTextDecompressing, context.language, name),
                                .guard = context.guard};
    const StopSignals signals;
    ExpandResult result;
    if (kept.empty()) {
        image.expanded_ = ExpandedImage::Open(named, terminal.progress, result, options);
        if (image.expanded_)
            image.path_ = image.expanded_->path();
    } else {
        result = ExpandImageFile(named, kept, terminal.progress, options);
        image.path_ = kept;
    }
    terminal.progress.clear();
    TellExpansion(result, name, messages);
    context.readIncomplete = context.readIncomplete || result.isIncomplete;
    return result.problem.empty() ? std::optional(std::move(image)) : std::nullopt;
}

}  // namespace vellmark
