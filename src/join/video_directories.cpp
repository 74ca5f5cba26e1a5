#include "join/video_directories.hpp"

#include <cstddef>
#include <cstring>
#include <vector>

#include "join/iso_folders.hpp"

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

// Moves the records of one folder; "" or why it cannot be done.
std::string MoveIn(ByteSource& disc, const IsoEntry& folder, std::uint64_t first,
                   std::uint32_t count, ChangedSectors& changed) {
    for (const IsoExtent& extent : folder.extents) {
        const std::uint64_t start = extent.offset / kIsoSectorBytes;
        const std::uint64_t sectors = (extent.sizeBytes + kIsoSectorBytes - 1) / kIsoSectorBytes;
        if (extent.offset % kIsoSectorBytes != 0 || start + sectors > first)
            return "A directory lies behind the first video track.";
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

std::string MoveFilesOn(ByteSource& disc, std::uint64_t first, std::uint32_t count,
                        ChangedSectors& changed) {
    const auto reader = IsoReader::Open(disc);
    if (!reader || reader->info(IsoTree::Iso).blockSize != kIsoSectorBytes)
        return "Its volume descriptor is damaged.";
    std::string problem;
    const auto visit = [&](const IsoEntry& folder, const std::vector<IsoEntry>&) {
        problem = MoveIn(disc, folder, first, count, changed);
        return problem.empty();
    };
    for (const IsoTree tree : {IsoTree::Iso, IsoTree::Joliet}) {
        if (tree == IsoTree::Joliet && !reader->hasJoliet())
            continue;
        const std::string damage = ForEachIsoFolder(*reader, tree, visit);
        if (!damage.empty() || !problem.empty())
            return damage.empty() ? problem : damage;
    }
    return {};
}

}  // namespace vellmark
