#include "join/video_directories.hpp"

#include <cstddef>
#include <cstring>
#include <vector>

#include "join/iso_folders.hpp"
#include "support/sentences.hpp"

namespace vellmark {

namespace {

// Moves the records of one sector; whether there were any to be moved.
bool MoveRecords(SectorData& sector, std::uint64_t first, std::uint32_t count) {
    bool hasChanged = false;
    std::size_t at = 0;
    while (at + sizeof(IsoDirectoryRecord) <= sector.size() &&
           sector[at] >= sizeof(IsoDirectoryRecord)) {
        IsoDirectoryRecord record;
        std::memcpy(&record, sector.data() + at, sizeof record);
        if (record.extent >= first && record.extent <= UINT32_MAX - count) {
            record.extent = record.extent + count;
            std::memcpy(sector.data() + at, &record, sizeof record);
            hasChanged = true;
        }
        at += record.length;
    }
    return hasChanged;
}

// Moves the records of one folder; a reason when it cannot be done.
Reason MoveIn(ByteSource& disc, const IsoEntry& folder, std::uint64_t first, std::uint32_t count,
              ChangedSectors& changed) {
    for (const IsoExtent& extent : folder.extents) {
        const std::uint64_t start = extent.offset / kIsoSectorBytes;
        const std::uint64_t sectors = (extent.sizeBytes + kIsoSectorBytes - 1) / kIsoSectorBytes;
        if (extent.offset % kIsoSectorBytes != 0 || start + sectors > first)
            return Sentence::kDirectoryBehindVideo;
        for (std::uint64_t sector = start; sector < start + sectors; ++sector) {
            SectorData data;
            // The two trees share their files, but no directories.
            if (!changed.contains(sector) && disc.readExactly(sector * kIsoSectorBytes, data) &&
                MoveRecords(data, first, count))
                changed.emplace(sector, data);
        }
    }
    return {};
}

}  // namespace

Reason MoveFilesOn(ByteSource& disc, std::uint64_t first, std::uint32_t count,
                   ChangedSectors& changed) {
    const auto reader = IsoReader::Open(disc);
    if (!reader || reader->info(IsoTree::Iso).blockSize != kIsoSectorBytes)
        return Sentence::kDescriptorDamaged;
    Reason problem;
    const auto visit = [&](const IsoEntry& folder, const std::vector<IsoEntry>&) {
        problem = MoveIn(disc, folder, first, count, changed);
        return !problem;
    };
    for (const IsoTree tree : {IsoTree::Iso, IsoTree::Joliet}) {
        if (tree == IsoTree::Joliet && !reader->hasJoliet())
            continue;
        if (Reason damage = ForEachIsoFolder(*reader, tree, visit))
            return damage;
        if (problem)
            return problem;
    }
    return {};
}

}  // namespace vellmark
