// Where the ISO and Joliet tables of an image lie.
#pragma once

#include <cstdint>
#include <vector>

#include "IO/iso_structures.hpp"
#include "IO/iso_text.hpp"
#include "compiler/disc_plan.hpp"
#include "support/medium_places.hpp"

namespace vellmark {

/// Place and size of every directory of one tree, in the order of the plan's folders.
struct IsoTreeLayout {
    std::uint32_t pathTableBytes = 0;
    DiscSector pathTableL;
    DiscSector pathTableM;
    DiscSector rootDirectory;            ///< the first of the directories
    std::uint32_t directorySectors = 0;  ///< what they fill, without the reserve
    std::vector<DiscSector> sectorOf;    ///< of each folder, 0 where it is not in the tree
    std::vector<std::uint32_t> sectorsOf;
};

/// Fixed places of the descriptors, and where the tables begin.
inline constexpr DiscSector kPrimaryDescriptorSector(kIsoFirstDescriptor);
inline constexpr DiscSector kJolietDescriptorSector(kIsoFirstDescriptor + 1);
inline constexpr DiscSector kTerminatorSector(kIsoFirstDescriptor + 2);
inline constexpr DiscSector kFirstTableSector(kIsoFirstDescriptor + 3);

/// Length of the records of a directory itself and of the one above it.
inline constexpr std::uint32_t kDotRecordLength = 34;

struct IsoLayout {
    IsoTreeLayout iso;
    IsoTreeLayout joliet;
    DiscSector fileArea;  ///< behind the tables
};

/// Identifier of an item as a directory record holds it: with its version, most significant byte
/// first in Joliet.
[[nodiscard]] std::string IsoIdentifier(const DiscItem& item, IsoTree tree);

/// Bytes of a directory record for an identifier of that length, without a system use area.
[[nodiscard]] constexpr std::uint32_t IsoRecordLength(std::size_t nameLength) {
    return static_cast<std::uint32_t>((33 + nameLength + 1) & ~std::size_t{1});
}

/// The item has an associated file in front of its own: its resource fork.
[[nodiscard]] inline bool HasAssociatedFile(const DiscPlan& plan, const DiscItem& item) {
    return plan.appleExtension && item.run(RunKind::Resource).sizeBytes > 0;
}

/// Measures both trees and lays them out from sector 19 on: two path tables and the directories of
/// ISO, the same of Joliet, each directory area with a reserve (a tenth, at least 2 and 4 sectors).
/// In images with the Apple extension these 2 and 4 sectors are all there is, as long as the
/// directories find room in them and each path table in one.
/// The file area begins behind them, at a multiple of the allocation block size.
[[nodiscard]] IsoLayout ComputeLayout(const DiscPlan& plan, std::uint32_t blockSize);

}  // namespace vellmark
