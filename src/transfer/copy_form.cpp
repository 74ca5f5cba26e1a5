#include "transfer/copy_form.hpp"

#include <cstring>
#include <utility>

#include "containers/apple_single.hpp"
#include "containers/mac_binary.hpp"
#include "containers/pc_name.hpp"
#include "support/sentences.hpp"
#include "volume/open_fork.hpp"

namespace vellmark {

namespace {

/// The bits of the word that name a form.
constexpr std::uint32_t kFormBits = 47;

// MacRoman, as far as it has the characters.
std::string MacRomanName(const VolumeContext& volume, const CatalogName& name) {
    if (!volume.isHfsPlus)
        return name.hfs;
    return PcToMacName(HfsPlusNameToWide(name.hfsPlus)).bytes;
}

MacSeconds LocalDate(MacSeconds gmt, const Clock& clock) {
    return gmt == 0 ? 0 : ToMacLocal(FromMacGmt(gmt), clock);
}

}  // namespace

CopyMode CopyModeOf(std::uint32_t copyMode) {
    switch (const auto mode = static_cast<CopyMode>(copyMode & kFormBits)) {
        case CopyMode::DataFork:
        case CopyMode::ResourceFork:
        case CopyMode::MacBinary:
        case CopyMode::AppleDouble:
        case CopyMode::AppleSingle:
            return mode;
    }
    return CopyMode::DataFork;
}

bool HasDataFork(CopyMode mode) {
    return mode != CopyMode::ResourceFork;
}

bool HasResourceFork(CopyMode mode) {
    return mode != CopyMode::DataFork;
}

MacFileInfo MacFileInfoOf(const VolumeContext& volume, const CatalogItem& file, CopyMode mode,
                          const Clock& clock) {
    MacFileInfo info;
    info.name = MacRomanName(volume, file.catalogName);
    static_assert(sizeof info.finder == sizeof file.finderInfo);
    std::memcpy(&info.finder, file.finderInfo.data(), sizeof info.finder);
    info.created = file.dates.created;
    info.modified = file.dates.modified;
    info.backedUp = file.dates.backedUp;
    info.accessed = file.dates.accessed;
    if (mode == CopyMode::MacBinary && volume.isHfsPlus) {
        info.created = LocalDate(info.created, clock);
        info.modified = LocalDate(info.modified, clock);
    }
    return info;
}

Result<OpenForks> OpenFormForks(VolumeContext& volume, const CatalogItem& file, CopyMode mode) {
    OpenForks forks = {std::make_unique<MemoryBytes>(), std::make_unique<MemoryBytes>()};
    for (const bool resource : {false, true}) {
        if (!(resource ? HasResourceFork(mode) : HasDataFork(mode)))
            continue;
        Result<std::unique_ptr<ByteSource>> fork = OpenFork(volume, file, resource);
        if (!fork)
            return Failed(std::move(fork.error()));
        (resource ? forks.resource : forks.data) = std::move(*fork);
    }
    return forks;
}

ContainerFault WriteForm(CopyMode mode, const MacFileInfo& info, ByteSource& data,
                         ByteSource& resource, ByteSink& target, ByteSink* companion) {
    switch (mode) {
        case CopyMode::ResourceFork:
            return CopyFork(resource, target, 0);
        case CopyMode::MacBinary:
            return WriteMacBinary(target, info, data, resource);
        case CopyMode::AppleSingle:
            return WriteAppleSingle(target, info, data, resource);
        case CopyMode::AppleDouble:
            if (companion != nullptr)
                return WriteAppleDouble(target, *companion, info, data, resource);
            break;
        case CopyMode::DataFork:
            break;
    }
    return CopyFork(data, target, 0);
}

Reason FormProblem(ContainerFault fault) {
    switch (fault) {
        case ContainerFault::None:
        case ContainerFault::TargetFailed:
            return {};
        case ContainerFault::ForkTooLong:
            return Sentence::kFormTooLong;
        case ContainerFault::HeaderInvalid:
            return Sentence::kNoMacBinaryName;
        default:
            return Sentence::kContentsCutShort;
    }
}

}  // namespace vellmark
