// Apple's partition map and the headers of HFS and HFS+.
#include <array>

#include "inspect/field_place.hpp"
#include "inspect/sector_links.hpp"
#include "inspect/structure_table.hpp"
#include "volume/hfs_plus_structures.hpp"

namespace vellmark {
namespace {

using Kind = FieldKind;
using Driver = DriverDescriptor;
using MapEntry = PartitionMapEntry;
using Mdb = MasterDirectoryBlock;
using Header = VolumeHeader;

constexpr Caption kNoCaption = Sentence::kNone;
constexpr std::array<Caption, 1> kOnePage = {kNoCaption};

constexpr std::array<FieldRow, 4> kDriverRows = {{
    {0, "signature", 3202, Kind::MacText, VELLMARK_FIELD(Driver, signature)},
    {0, "sectorSize", 3203, Kind::Big, VELLMARK_FIELD(Driver, blockSize)},
    {0, "sectorCount", 3204, Kind::Big, VELLMARK_FIELD(Driver, blockCount)},
    // Behind the size come type and id of the device and a word of its own.
    {0, "driverCount", 3205, Kind::Big, offsetof(Driver, drivers) + 8, sizeof(be16)},
}};

constexpr std::array<FieldRow, 6> kMapRows = {{
    {0, "signature", 3207, Kind::MacText, VELLMARK_FIELD(MapEntry, signature)},
    {0, "tableSize", 3208, Kind::Big, VELLMARK_FIELD(MapEntry, mapEntries)},
    {0, "start", 3209, Kind::Big, VELLMARK_FIELD(MapEntry, startBlock), LinkRule::MapBlock},
    {0, "length", 3210, Kind::Big, VELLMARK_FIELD(MapEntry, blockCount)},
    {0, "label", 3211, Kind::MacText, VELLMARK_FIELD(MapEntry, name)},
    {0, "type", 3212, Kind::MacText, VELLMARK_FIELD(MapEntry, type)},
}};

constexpr std::array<Caption, 5> kMdbPages = {3214, 3220, 3226, 3232, 3233};
constexpr std::size_t kEmbedded = offsetof(Mdb, embeddedExtent);

constexpr std::array<FieldRow, 17> kMdbRows = {{
    {0, "signature", 3215, Kind::MacText, VELLMARK_FIELD(Mdb, signature)},
    {0, "blockSize", 3216, Kind::Big, VELLMARK_FIELD(Mdb, blockSize)},
    {0, "blockCount", 3217, Kind::Big, VELLMARK_FIELD(Mdb, totalBlocks)},
    {0, "freeBlocks", 3218, Kind::Big, VELLMARK_FIELD(Mdb, freeBlocks)},
    {0, "label", 3219, Kind::MacString, VELLMARK_FIELD(Mdb, volumeName)},
    {1, "nextId", 3221, Kind::Big, VELLMARK_FIELD(Mdb, nextCatalogId)},
    {1, "fileCount", 3222, Kind::Big, VELLMARK_FIELD(Mdb, fileCount)},
    {1, "folderCount", 3223, Kind::Big, VELLMARK_FIELD(Mdb, folderCount)},
    {1, "rootFileCount", 3224, Kind::Big, VELLMARK_FIELD(Mdb, rootFileCount)},
    {1, "rootFolderCount", 3225, Kind::Big, VELLMARK_FIELD(Mdb, rootFolderCount)},
    {2, "extentsTreeSize", 3227, Kind::Big, VELLMARK_FIELD(Mdb, extentsFileSize)},
    {2, "extentsTree", 3228, Kind::HfsExtents, VELLMARK_FIELD(Mdb, extentsFileExtents),
     LinkRule::Block, "go_posext"},
    {3, "catalogTreeSize", 3231, Kind::Big, VELLMARK_FIELD(Mdb, catalogFileSize)},
    {3, "catalogTree", 3228, Kind::HfsExtents, VELLMARK_FIELD(Mdb, catalogFileExtents),
     LinkRule::Block, "go_poscat"},
    {4, "embeddedSignature", 3215, Kind::MacText, VELLMARK_FIELD(Mdb, embeddedSignature)},
    {4, "embeddedCount", 3229, Kind::Big, VELLMARK_FIELD_AT(kEmbedded, HfsExtent, blockCount)},
    {4, "embeddedPosition", 3230, Kind::Big, VELLMARK_FIELD_AT(kEmbedded, HfsExtent, startBlock),
     LinkRule::EmbeddedVolume},
}};

constexpr std::array<Caption, 6> kHeaderPages = {3235, 3244, 3249, 3250, 3251, 3252};

// A fork of the header on a page of its own: its size, its runs in a line, and each of them.
constexpr std::array<FieldRow, 3> ForkRows(std::uint8_t page, std::string_view size,
                                           std::string_view line, std::string_view extents,
                                           std::size_t fork, std::string_view linkName) {
    const auto extentsAt = static_cast<std::uint16_t>(fork + offsetof(ForkRecord, extents));
    return {{{page, size, 3245, Kind::Big, static_cast<std::uint16_t>(fork),
              sizeof(ForkRecord::logicalSize)},
             {page, line, 3246, Kind::ExtentsLine, extentsAt, sizeof(ForkRecord::extents)},
             {page, extents, 3246, Kind::HfsPlusExtents, extentsAt, sizeof(ForkRecord::extents),
              LinkRule::Block, linkName}}};
}
static_assert(offsetof(ForkRecord, logicalSize) == 0);

constexpr std::array<FieldRow, 8> kHeaderRows = {{
    {0, "signature", 3236, Kind::MacText, VELLMARK_FIELD(Header, signature)},
    {0, "lastDriver", 3237, Kind::MacText, VELLMARK_FIELD(Header, lastMountedVersion)},
    {0, "blockSize", 3238, Kind::Big, VELLMARK_FIELD(Header, blockSize)},
    {0, "blockCount", 3239, Kind::Big, VELLMARK_FIELD(Header, totalBlocks)},
    {0, "freeBlocks", 3240, Kind::Big, VELLMARK_FIELD(Header, freeBlocks)},
    {0, "nextId", 3241, Kind::Big, VELLMARK_FIELD(Header, nextCatalogId)},
    {0, "fileCount", 3242, Kind::Big, VELLMARK_FIELD(Header, fileCount)},
    {0, "folderCount", 3243, Kind::Big, VELLMARK_FIELD(Header, folderCount)},
}};
constexpr std::array kForkRows = {
    ForkRows(1, "allocationSize", "allocationRuns", "allocation", offsetof(Header, allocationFile),
             "go_posfat"),
    ForkRows(2, "extentsSize", "extentsRuns", "extents", offsetof(Header, extentsFile),
             "go_posext"),
    ForkRows(3, "catalogSize", "catalogRuns", "catalog", offsetof(Header, catalogFile),
             "go_poscat"),
    ForkRows(4, "attributesSize", "attributesRuns", "attributes", offsetof(Header, attributesFile),
             "go_posatt"),
    ForkRows(5, "startupSize", "startupRuns", "startup", offsetof(Header, startupFile),
             "go_posboot"),
};

constexpr auto kAllHeaderRows = [] {
    std::array<FieldRow, kHeaderRows.size() + kForkRows.size() * 3> rows{};
    std::size_t at = 0;
    for (const FieldRow& row : kHeaderRows)
        rows[at++] = row;
    for (const auto& fork : kForkRows)
        for (const FieldRow& row : fork)
            rows[at++] = row;
    return rows;
}();

// The second header of a partition's volume.
void AddPartitionAlternate(const SectorScene& scene, Analysis& analysis) {
    const auto entry = scene.at<MapEntry>(0);
    const std::uint64_t end =
        (std::uint64_t{entry.startBlock} + entry.blockCount) * scene.image.mapBlockSectors();
    if (end >= 2)
        analysis.links.push_back({"But_Altern", end - 2, StructureCode::Unknown});
}

void AddOtherHeader(const SectorScene& scene, Analysis& analysis) {
    const bool plus = analysis.code == StructureCode::HfsPlusHeader;
    analysis.links.push_back({plus ? "But_VHBaltern" : "But_MDBaltern",
                              PlaceOfHeader(scene, analysis.code).otherHeader,
                              StructureCode::Unknown});
}

constexpr std::array<StructureTable, 4> kTables = {{
    {StructureCode::DriverDescriptor, "TSectER", 3201, kOnePage, kDriverRows},
    {StructureCode::PartitionMapEntry, "TSectPM", 3206, kOnePage, kMapRows, nullptr,
     AddPartitionAlternate},
    {StructureCode::MasterDirectoryBlock, "TSectBD", 3213, kMdbPages, kMdbRows, nullptr,
     AddOtherHeader},
    {StructureCode::HfsPlusHeader, "TSectHPP", 3234, kHeaderPages, kAllHeaderRows, nullptr,
     AddOtherHeader},
}};

}  // namespace

std::span<const StructureTable> VolumeTables() {
    return kTables;
}

}  // namespace vellmark
