#include "compiler/iso_layout.hpp"

#include <algorithm>

#include "compiler/iso_order.hpp"

namespace vellmark {

namespace {

constexpr std::uint32_t kIsoReserve = 2;
constexpr std::uint32_t kJolietReserve = 4;
constexpr std::size_t kPathRecordHead = 8;

std::uint32_t SectorsFor(std::uint32_t bytes) {
    return (bytes + kIsoSectorBytes - 1) / kIsoSectorBytes;
}

// Sectors of one directory: a record never crosses the end of a sector.
std::uint32_t MeasureDirectory(const DiscPlan& plan, const DiscFolder& folder, IsoTree tree) {
    std::uint32_t sectors = 1;
    std::uint32_t fill = 2 * kDotRecordLength;
    for (const DiscItem* item : RecordOrder(plan, folder, tree)) {
        std::uint32_t length = IsoRecordLength(IsoIdentifier(*item, tree).size());
        if (plan.appleExtension && !item->isFolder())
            length += sizeof(IsoAppleExtension);
        for (int records = HasAssociatedFile(plan, *item) ? 2 : 1; records > 0; --records) {
            if (fill + length > kIsoSectorBytes) {
                ++sectors;
                fill = 0;
            }
            fill += length;
        }
    }
    return sectors;
}

IsoTreeLayout MeasureTree(const DiscPlan& plan, IsoTree tree) {
    IsoTreeLayout layout;
    layout.sectorsOf.reserve(plan.folders.size());
    for (const DiscFolder& folder : plan.folders) {
        const std::uint32_t sectors = folder.inIso ? MeasureDirectory(plan, folder, tree) : 0;
        layout.sectorsOf.push_back(sectors);
        layout.directorySectors += sectors;
        if (!folder.inIso)
            continue;
        const DiscItem* item = plan.itemOf(folder);
        const std::size_t nameLength = item ? IsoIdentifier(*item, tree).size() : 1;
        layout.pathTableBytes +=
            static_cast<std::uint32_t>(kPathRecordHead + nameLength + (nameLength & 1));
    }
    return layout;
}

// Gives the tables their sectors from `next` on; returns the first sector behind them, with
// `areaSectors` for the directories.
DiscSector PlaceTree(IsoTreeLayout& layout, DiscSector next, std::uint32_t areaSectors) {
    const std::uint32_t pathSectors = SectorsFor(layout.pathTableBytes);
    layout.pathTableL = next;
    layout.pathTableM = next + pathSectors;
    layout.rootDirectory = next + 2 * pathSectors;
    DiscSector sector = layout.rootDirectory;
    for (const std::uint32_t sectors : layout.sectorsOf) {
        layout.sectorOf.push_back(sectors ? sector : DiscSector{});
        sector = sector + sectors;
    }
    return layout.rootDirectory + areaSectors;
}

bool FitsInto(const IsoTreeLayout& layout, std::uint32_t areaSectors) {
    return layout.pathTableBytes <= kIsoSectorBytes && layout.directorySectors <= areaSectors;
}

std::uint32_t WithReserve(const IsoTreeLayout& layout, std::uint32_t smallestReserve) {
    return layout.directorySectors + std::max(smallestReserve, layout.directorySectors / 10);
}

}  // namespace

std::string IsoIdentifier(const DiscItem& item, IsoTree tree) {
    if (tree == IsoTree::Iso)
        return item.isFolder() ? item.isoName : item.isoName + ";1";
    std::string bytes;
    bytes.reserve(2 * item.jolietName.size() + 4);
    for (const char16_t unit : item.jolietName) {
        bytes += static_cast<char>(unit >> 8);
        bytes += static_cast<char>(unit & 0xFF);
    }
    if (!item.isFolder())
        bytes.append("\0;\0001", 4);
    return bytes;
}

IsoLayout ComputeLayout(const DiscPlan& plan, std::uint32_t blockSize) {
    IsoLayout layout{MeasureTree(plan, IsoTree::Iso), MeasureTree(plan, IsoTree::Joliet), {}};
    const bool isSmallest = plan.appleExtension && FitsInto(layout.iso, kIsoReserve) &&
                            FitsInto(layout.joliet, kJolietReserve);
    const DiscSector behindIso =
        PlaceTree(layout.iso, kFirstTableSector,
                  isSmallest ? kIsoReserve : WithReserve(layout.iso, kIsoReserve));
    const DiscSector behindJoliet =
        PlaceTree(layout.joliet, behindIso,
                  isSmallest ? kJolietReserve : WithReserve(layout.joliet, kJolietReserve));
    const std::uint32_t step = blockSize / kIsoSectorBytes;
    layout.fileArea = DiscSector((behindJoliet.number() + step - 1) / step * step);
    return layout;
}

}  // namespace vellmark
