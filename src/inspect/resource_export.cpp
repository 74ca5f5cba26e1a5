#include "inspect/resource_export.hpp"

#include <fmt/core.h>

#include "inspect/data_segment.hpp"
#include "support/encoding.hpp"
#include "support/sentences.hpp"

namespace vellmark {

std::string_view ResourceExport::extensionOf(const ResourceType& type,
                                             const Resource& resource) const {
    if (form_ == ResourceForm::Hexadecimal)
        return "hex";
    if (form_ == ResourceForm::Bytes)
        return "bin";
    const ShownResource shown = ShowResource(fork_, tree_, type, resource);
    if (shown.isEmpty())
        return "bin";
    return shown.picture ? "png" : "txt";
}

// One that no other resource of the run has.
std::string ResourceExport::newPath(PcTargets& targets, const ResourceType& type,
                                    const Resource& resource) const {
    std::string name = fileName(type, resource);
    for (unsigned turn = 2; !targets.claimName(name); ++turn)
        name = fileName(type, resource, turn);
    return targets.folder() + "/" + name;
}

std::string ResourceExport::fileName(const ResourceType& type, const Resource& resource,
                                     unsigned turn) const {
    return SafePcName(fmt::format("{} 0x{:04x}{}.{}", ResourceTypeName(type), resource.id,
                                  turn == 1 ? "" : fmt::format(" {}", turn),
                                  extensionOf(type, resource)));
}

Reason ResourceExport::save(PcTargets& targets, const ResourceType& type, const Resource& resource,
                            Progress& progress) {
    const std::string path = newPath(targets, type, resource);
    const auto named = [&](const Reason& reason) {
        return Reason(Sentence::kNamedReason, Printable(path), reason);
    };
    if (Reason refusal = targets.refusalOf(path))
        return refusal;
    const bool replaces = PcTargets::exists(path);
    if (replaces && !mayReplace_)
        return Reason(Sentence::kTargetExists, Printable(path));
    if (replaces && !mayReplace_(path))
        return {};
    const PcWriting writing = targets.write({path, "", replaces, {}}, [&](PcFile& file, PcFile*) {
        return fill(file, type, resource, progress);
    });
    if (writing.problem || writing.error != 0)
        return named(writing.problem ? writing.problem : Reason(SystemError{writing.error}));
    return resource.isWhole ? Reason() : named(Sentence::kContentsCutShort);
}

Reason ResourceExport::fill(ByteSink& file, const ResourceType& type, const Resource& resource,
                            Progress& progress) const {
    if (form_ == ResourceForm::Shown) {
        const ShownResource shown = ShowResource(fork_, tree_, type, resource);
        if (shown.picture) {
            (void)file.writeAt(0, PngOf(*shown.picture));
            return {};
        }
        if (!shown.texts.empty()) {
            const std::string text = TextFileOf(shown.texts);
            (void)file.writeAt(0,
                               {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
            return {};
        }
    }
    SliceSource contents = resource.contents(fork_);
    const DataSegment all{0, contents.size()};
    const SegmentEnd end = form_ == ResourceForm::Hexadecimal
                               ? SaveSegmentAsText(contents, all, style_, file, progress)
                               : SaveSegment(contents, all, file, 0, progress);
    if (end == SegmentEnd::Stopped)
        return Sentence::kStoppedAsWished;
    return end == SegmentEnd::ReadFailed ? Reason(Sentence::kContentsCutShort) : Reason();
}

}  // namespace vellmark
