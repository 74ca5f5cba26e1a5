#include "inspect/resource_export.hpp"

#include <fmt/core.h>

#include "inspect/data_segment.hpp"
#include "support/encoding.hpp"
#include "support/sentences.hpp"

namespace vellmark {

namespace {

std::string StemOf(const ResourceType& type, const Resource& resource) {
    return fmt::format("{} 0x{:04x}", ResourceTypeName(type), resource.id);
}

std::string NameOf(std::string_view stem, std::string_view extension) {
    return SafePcName(fmt::format("{}.{}", stem, extension));
}

}  // namespace

ShownResource ResourceExport::look(const ResourceType& type, const Resource& resource) const {
    return form_ == ResourceForm::Shown ? ShowResource(fork_, tree_, type, resource)
                                        : ShownResource();
}

std::string_view ResourceExport::extensionOf(const ShownResource& shown) const {
    if (form_ == ResourceForm::Hexadecimal)
        return "hex";
    if (shown.isEmpty())
        return "bin";
    return shown.picture ? "png" : "txt";
}

std::string ResourceExport::fileName(const ResourceType& type, const Resource& resource) const {
    return NameOf(StemOf(type, resource), extensionOf(look(type, resource)));
}

// One that no other resource of the run has: a damaged map may list thousands with one number.
std::string ResourceExport::newPath(PcTargets& targets, const std::string& stem,
                                    std::string_view extension) {
    unsigned& turn = turns_[NameOf(stem, extension)];
    std::string name;
    do {
        ++turn;
        name = NameOf(turn == 1 ? stem : fmt::format("{} {}", stem, turn), extension);
    } while (!targets.claimName(name));
    return targets.folder() + "/" + name;
}

Reason ResourceExport::save(PcTargets& targets, const ResourceType& type, const Resource& resource,
                            Progress& progress) {
    const ShownResource shown = look(type, resource);
    const std::string path = newPath(targets, StemOf(type, resource), extensionOf(shown));
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
        return write(file, resource, shown, progress);
    });
    if (writing.problem || writing.error != 0)
        return named(writing.problem ? writing.problem : Reason(SystemError{writing.error}));
    return resource.isWhole ? Reason() : named(Sentence::kContentsCutShort);
}

Reason ResourceExport::fill(ByteSink& file, const ResourceType& type, const Resource& resource,
                            Progress& progress) const {
    return write(file, resource, look(type, resource), progress);
}

Reason ResourceExport::write(ByteSink& file, const Resource& resource, const ShownResource& shown,
                             Progress& progress) const {
    if (shown.picture) {
        (void)file.writeAt(0, PngOf(*shown.picture));
        return {};
    }
    if (!shown.texts.empty()) {
        const std::string text = TextFileOf(shown.texts);
        (void)file.writeAt(0, {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
        return {};
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
