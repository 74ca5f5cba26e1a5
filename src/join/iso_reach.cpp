#include "join/iso_reach.hpp"

#include <algorithm>
#include <optional>
#include <vector>

#include "IO/boot_areas.hpp"
#include "join/iso_folders.hpp"

namespace vellmark {

namespace {

bool GoesBehind(const IsoEntry& entry, std::uint64_t limit) {
    return std::any_of(entry.extents.begin(), entry.extents.end(), [&](const IsoExtent& extent) {
        return extent.sizeBytes != 0 && extent.offset + extent.sizeBytes > limit;
    });
}

IsoReach TreeReach(const IsoReader& reader, IsoTree tree, std::uint64_t limit) {
    bool isBehind = GoesBehind(reader.root(tree), limit);
    const auto visit = [&](const IsoEntry&, const std::vector<IsoEntry>& entries) {
        isBehind = isBehind || std::any_of(entries.begin(), entries.end(),
                                           [&](const IsoEntry& e) { return GoesBehind(e, limit); });
        return !isBehind;
    };
    const bool isDamaged = !ForEachIsoFolder(reader, tree, visit).isNone();
    return isBehind ? IsoReach::Behind : isDamaged ? IsoReach::Unknown : IsoReach::Within;
}

}  // namespace

IsoReach TreesReach(const IsoReader& reader, std::uint64_t limit) {
    IsoReach reach = TreeReach(reader, IsoTree::Iso, limit);
    if (reader.hasJoliet() && reach != IsoReach::Behind)
        if (const IsoReach joliet = TreeReach(reader, IsoTree::Joliet, limit);
            joliet != IsoReach::Within)
            reach = joliet;
    return reach;
}

bool BootImagesReach(ByteSource& disc, std::uint64_t limit) {
    const std::optional<std::vector<BootArea>> areas = FindBootAreas(disc);
    return !areas || std::any_of(areas->begin(), areas->end(),
                                 [&](const BootArea& area) { return area.offset >= limit; });
}

}  // namespace vellmark
