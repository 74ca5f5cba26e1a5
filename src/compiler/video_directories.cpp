#include "compiler/video_directories.hpp"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <vector>

#include "IO/iso_reader.hpp"

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

class DirectoryWalk {
  public:
    DirectoryWalk(ByteSource& disc, const IsoReader& reader, IsoTree tree)
        : disc_(disc), reader_(reader), tree_(tree) {}

    [[nodiscard]] std::string move(std::uint64_t first, std::uint32_t count,
                                   ChangedSectors& changed) {
        struct Level {
            IsoEntry folder;
            std::size_t level;
        };
        std::vector<Level> open = {{reader_.root(tree_), 0}};
        while (!open.empty()) {
            const Level here = std::move(open.back());
            open.pop_back();
            if (!guard_.enter(here.folder, here.level))
                continue;
            std::string problem;
            const auto entries = reader_.list(tree_, here.folder, problem);
            if (!entries)
                return problem;
            problem = moveIn(here.folder, first, count, changed);
            if (!problem.empty())
                return problem;
            for (const IsoEntry& entry : *entries)
                if (entry.isFolder)
                    open.push_back({entry, here.level + 1});
        }
        return {};
    }

  private:
    [[nodiscard]] std::string moveIn(const IsoEntry& folder, std::uint64_t first,
                                     std::uint32_t count, ChangedSectors& changed) {
        for (const IsoExtent& extent : folder.extents) {
            const std::uint64_t start = extent.offset / kIsoSectorBytes;
            const std::uint64_t sectors =
                (extent.sizeBytes + kIsoSectorBytes - 1) / kIsoSectorBytes;
            if (extent.offset % kIsoSectorBytes != 0 || start + sectors > first)
                return "A directory lies behind the first video track.";
            for (std::uint64_t sector = start; sector < start + sectors; ++sector) {
                SectorData data;
                // The two trees share their files, but no directories.
                if (changed.contains(sector) || !disc_.readExactly(sector * kIsoSectorBytes, data))
                    continue;
                if (MoveRecords(data, first, count))
                    changed.emplace(sector, data);
            }
        }
        return {};
    }

    ByteSource& disc_;
    const IsoReader& reader_;
    IsoTree tree_;
    IsoWalkGuard guard_;
};

}  // namespace

std::string MoveFilesOn(ByteSource& disc, std::uint64_t first, std::uint32_t count,
                        ChangedSectors& changed) {
    const auto reader = IsoReader::Open(disc);
    if (!reader || reader->info(IsoTree::Iso).blockSize != kIsoSectorBytes)
        return "Its volume descriptor is damaged.";
    std::string problem = DirectoryWalk(disc, *reader, IsoTree::Iso).move(first, count, changed);
    if (problem.empty() && reader->hasJoliet())
        problem = DirectoryWalk(disc, *reader, IsoTree::Joliet).move(first, count, changed);
    return problem;
}

}  // namespace vellmark
