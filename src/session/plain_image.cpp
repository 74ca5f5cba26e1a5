#include "session/plain_image.hpp"

#include <fmt/core.h>

#include <filesystem>

#include "IO/recognition.hpp"
#include "session/targets.hpp"
#include "support/encoding.hpp"
#include "support/pc_folder.hpp"
#include "support/texts.hpp"

namespace vellmark {

namespace {

constexpr int kTextUncompress = 1502;
constexpr int kTextSave = 1503;
constexpr int kTextDecompressing = 1505;

bool IsCompressed(const std::string& path) {
    if (PcFactsOf(path).kind != PcKind::File)
        return false;
    PcFile file(path, PcFile::Mode::Read);
    if (!file.isOpen())
        return false;
    switch (ClassifyImage(file)) {
        case ImageClass::PartitionDiskImage:
        case ImageClass::Bzip2DiskImage:
        case ImageClass::ZlibDiskImage:
        case ImageClass::TrailerDiskImage:
            // A plain image can begin like a compressed one, or end in a trailer without tables.
            return HasDiskImageTrailer(file);
        case ImageClass::Plain:
        case ImageClass::SparseImage:
        case ImageClass::ProtectiveBootRecord:
        case ImageClass::MacintoshBootRecord:
            break;
    }
    return false;
}

// Where the plain image is to be kept; "" for nowhere, nothing when that cannot be.
std::optional<std::string> KeptPath(const std::string& image, Messages& messages) {
    if (!messages.askYesNo(messages.text(kTextSave)))
        return "";
    const std::string proposal = std::filesystem::path(image).replace_extension(".img").string();
    std::optional<std::string> path = messages.askFileName(proposal);
    if (!path || !MayMakeFile(*path, false, messages))
        return std::nullopt;
    return path;
}

void Tell(const ExpandResult& result, const std::string& name, Messages& messages) {
    if (!result.problem.empty())
        messages.showError(result.problem);
    else if (!result.remark.empty())
        messages.logMessage(fmt::format("{}: {}", name, result.remark));
}

}  // namespace

std::optional<PlainImage> PlainImage::Open(const std::string& named, Access access,
                                           const CommandContext& context, Terminal& terminal) {
    PlainImage image(named, named);
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
    const ExpandOptions options{.status = FormatText(kTextDecompressing, context.language, name)};
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
    Tell(result, name, messages);
    return result.problem.empty() ? std::optional(std::move(image)) : std::nullopt;
}

}  // namespace vellmark
