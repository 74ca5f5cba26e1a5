#include "join/deshybridation.hpp"

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "IO/apple_map.hpp"
#include "IO/raw_image.hpp"
#include "IO/sector_io.hpp"
#include "join/disc_opening.hpp"
#include "join/iso_reach.hpp"
#include "support/encoding.hpp"
#include "support/pc_file.hpp"
#include "support/result.hpp"
#include "support/sentences.hpp"

namespace vellmark {

namespace {

/// Descriptor and map entry, and three blocks more, as longer maps have.
constexpr std::uint64_t kZeroedBytes = 2560;
constexpr std::uint64_t kZeroedSectors = 2;
static_assert(kZeroedBytes <= kZeroedSectors * kIsoSectorBytes);

/// What is zeroed of a disc's data: bytes from its start.
struct ZeroedRange {
    std::uint64_t begin = 0;
    std::uint64_t end = kZeroedBytes;
};

bool BootRecordReaches(ByteSource& disc, std::uint64_t offset) {
    MasterBootRecord record;
    return disc.readRecord(0, record) && record.signature == kBootRecordSignature &&
           std::any_of(record.entries.begin(), record.entries.end(), [&](const MbrEntry& entry) {
               return entry.type != 0 &&
                      (std::uint64_t{entry.firstSector} + entry.sectorCount) * kSectorBytes >
                          offset;
           });
}

// Whether a partition that begins there must stay.
PartitionKept KeptBehind(ByteSource& disc, const IsoReader& reader, std::uint64_t offset) {
    switch (TreesReach(reader, offset)) {
        case IsoReach::Behind:
            return PartitionKept::HoldsIsoFiles;
        case IsoReach::Unknown:
            return PartitionKept::IsoDamaged;
        case IsoReach::Within:
            break;
    }
    return BootImagesReach(disc, offset) ? PartitionKept::HoldsIsoFiles : PartitionKept::No;
}

/// A hybrid image that was looked at.
struct HybridDisc {
    DiscForm form;
    PartitionKept kept = PartitionKept::HoldsIsoFiles;
    std::uint64_t cutAt = 0;  ///< bytes of the file; its length when nothing is cut off
    ZeroedRange zeroed = {};
};

// The first bytes of the file, in their form, with zeros in place of the map.
std::vector<std::uint8_t> WithoutMap(const std::vector<std::uint8_t>& head,
                                     const HybridDisc& disc) {
    const DiscForm form = disc.form;
    std::vector<std::uint8_t> cleared = head;
    for (std::uint64_t i = 0; i < kZeroedSectors; ++i) {
        const auto at = static_cast<std::ptrdiff_t>(i * form.sectorBytes);
        const std::uint64_t start = i * kIsoSectorBytes;
        const std::uint64_t begin = std::max(disc.zeroed.begin, start);
        const std::uint64_t end = std::min(disc.zeroed.end, start + kIsoSectorBytes);
        if (begin >= end)
            continue;
        std::fill_n(
            cleared.begin() + at + form.dataOffset + static_cast<std::ptrdiff_t>(begin - start),
            end - begin, std::uint8_t{0});
        if (form.isRaw())
            SetRawChecks(
                std::span(cleared).subspan(static_cast<std::size_t>(at)).first<kRawSectorBytes>(),
                form.kind());
    }
    return cleared;
}

/// A Macintosh partition of a disc.
struct MappedPartition {
    std::uint64_t offset = 0;  ///< bytes
    std::uint64_t sizeBytes = 0;
    bool hasDescriptor = false;
    ZeroedRange zeroed = {};  ///< of its map
};

// The first of them on the disc. Behind a boot record only what leads to a volume is a map: some
// other code could begin as an entry does. The record stays, and so does what follows the map.
std::optional<MappedPartition> FindFirstPartition(ByteSource& disc) {
    const std::optional<AppleMap> map = ReadAppleMap(disc);
    if (!map)
        return std::nullopt;
    const bool hasDescriptor = map->descriptor.signature == kDriverDescriptorSignature;
    std::optional<MappedPartition> first;
    for (const PartitionMapEntry& entry : map->entries) {
        const std::uint64_t offset = std::uint64_t{entry.startBlock} * map->blockBytes;
        if (IsHfsEntry(entry) && (!first || offset < first->offset) &&
            (hasDescriptor || VolumeSignatureAt(disc, offset) != 0))
            first = {offset, std::uint64_t{entry.blockCount} * map->blockBytes, hasDescriptor};
    }
    if (first && !hasDescriptor)
        first->zeroed = {map->offset,
                         std::min(map->offset + map->entries.size() * kSectorBytes, kZeroedBytes)};
    return first;
}

// The hybrid, or the sentence that says what the image lacks to be one.
tl::expected<HybridDisc, Sentence> Examine(PcFile& file) {
    const DiscForm form = FindDiscForm(file).value_or(DiscForm{});
    RawDataSource raw(file, form);
    ByteSource& disc = form.isRaw() ? static_cast<ByteSource&>(raw) : file;
    const std::optional<MappedPartition> partition = FindFirstPartition(disc);
    if (!partition)
        return tl::unexpected(Sentence::kNoMappedPartition);
    if (partition->offset >= disc.size() || partition->sizeBytes > disc.size() - partition->offset)
        return tl::unexpected(Sentence::kHybridCutShort);
    // The volume of a disk without an ISO 9660 side would be lost with its map.
    const auto reader = IsoReader::Open(disc);
    if (!reader)
        return tl::unexpected(Sentence::kNoIsoSide);
    HybridDisc hybrid{form, PartitionKept::HoldsIsoFiles, file.size(), partition->zeroed};
    if (partition->offset >= kZeroedSectors * kIsoSectorBytes &&
        (!form.isRaw() || partition->offset % kIsoSectorBytes == 0))
        hybrid.kept = KeptBehind(disc, *reader, partition->offset);
    if (hybrid.kept == PartitionKept::No && !partition->hasDescriptor &&
        BootRecordReaches(disc, partition->offset))
        hybrid.kept = PartitionKept::InBootRecord;
    if (hybrid.kept == PartitionKept::No)
        hybrid.cutAt = form.isRaw() ? partition->offset / kIsoSectorBytes * kRawSectorBytes
                                    : partition->offset;
    return hybrid;
}

// One block of 512 bytes after the other, each on the device before the next, as devices may take
// one and lose another: without the first the map is whole all the same and split again, as behind
// a boot record, and without its first entry no map is there.
bool Clear(PcFile& file, std::span<const std::uint8_t> cleared) {
    for (std::size_t at = 0; at < cleared.size();) {
        const std::size_t bytes = at < 2 * kSectorBytes ? kSectorBytes : cleared.size() - at;
        if (!file.writeAt(at, cleared.subspan(at, bytes)) || !file.flush())
            return false;
        at += bytes;
    }
    return true;
}

// First the map goes, then the partition: a power cut in between leaves a plain image with
// something behind it that nothing leads to. The other way round it would leave a map that points
// outside the file.
enum class Changed { Wholly, NotAtAll, CutAndUnsure, NotBack };

Changed Change(PcFile& file, const HybridDisc& disc) {
    std::vector<std::uint8_t> head(
        static_cast<std::size_t>(kZeroedSectors * disc.form.sectorBytes));
    if (!file.readExactly(0, head))
        return Changed::NotAtAll;
    const std::uint64_t oldBytes = file.size();
    const bool isCleared = Clear(file, WithoutMap(head, disc));
    if (isCleared && (disc.cutAt == oldBytes || (file.setSize(disc.cutAt) && file.flush())))
        return Changed::Wholly;
    // The map leads to a partition that is all there, or it does not come back.
    if (file.size() != oldBytes)
        return Changed::CutAndUnsure;
    return file.writeAt(0, head) && file.flush() ? Changed::NotAtAll : Changed::NotBack;
}

// What is left of a disc on which not all could be done.
Sentence Left(Changed changed) {
    switch (changed) {
        case Changed::CutAndUnsure:
            return Sentence::kMapAndPartitionGone;
        case Changed::NotBack:
            return Sentence::kMapGoneOrDamaged;
        case Changed::NotAtAll:
        case Changed::Wholly:
            break;
    }
    return Sentence::kItIsAsItWas;
}

}  // namespace

DeshybridationOutcome Deshybridate(const std::string& path, Messages& messages,
                                   const FileGuard& guard) {
    PcFile file;
    if (!OpenDiscToChange(path, guard, file, messages))
        return {DeshybridationResult::NotOpened};
    const auto disc = Examine(file);
    if (!disc) {
        messages.showError(Reason(disc.error(), Printable(path)));
        return {DeshybridationResult::NoPartition};
    }
    const Changed changed = Change(file, *disc);
    if (changed == Changed::Wholly)
        return {DeshybridationResult::Done, disc->kept, disc->cutAt};
    const Reason why =
        file.error() != 0 ? Reason(SystemError{file.error()}) : Reason(Sentence::kItIsCutShort);
    messages.showError(
        Reason(Sentence::kHybridNotChanged, Printable(path), why, Reason(Left(changed))));
    return {DeshybridationResult::NotWritten};
}

}  // namespace vellmark
