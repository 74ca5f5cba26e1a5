#include "inspect/sector_links.hpp"

#include <algorithm>

#include "volume/hfs_plus_structures.hpp"
#include "volume/hfs_structures.hpp"
#include "volume/tree_node.hpp"

namespace vellmark {
namespace {

/// From the start of a volume to its header, and from the second header to the end of HFS+.
constexpr std::uint64_t kHeaderSectors = 1024 / kSectorBytes;

SectorLink Link(std::string_view name, std::uint64_t sector) {
    return {std::string(name), sector, StructureCode::Unknown};
}

// The volume in a wrapper: its block counts in one of two units, and where a volume is known to
// begin, that one is meant.
std::uint64_t EmbeddedStart(const SectorScene& scene, std::uint64_t block) {
    const auto mdb = scene.at<MasterDirectoryBlock>(0);
    const HeaderPlace place = PlaceOfHeader(scene, StructureCode::MasterDirectoryBlock);
    for (const std::uint32_t unit : {std::uint32_t{mdb.clumpSize}, std::uint32_t{mdb.blockSize}}) {
        const std::uint64_t start = place.blocksStart + block * unit / kSectorBytes;
        for (const InspectedVolume& volume : scene.image.volumes())
            if (volume.start.number() == start)
                return start;
    }
    return place.blocksStart + block * place.sectorsPerBlock;
}

// A node of the tree that the scene's node belongs to. A header that no volume names is taken for
// the first node of a tree that goes on behind it in what is inspected.
std::optional<std::uint64_t> NodeOfTree(const SectorScene& scene, StructureCode code,
                                        std::uint64_t number) {
    const NodeAt here = scene.image.nodeAt(scene.imageSector);
    if (here.tree != nullptr)
        return InspectedImage::NodeSector(*here.volume, *here.tree,
                                          static_cast<std::uint32_t>(number));
    if (code != StructureCode::TreeHeader)
        return std::nullopt;
    const auto header = scene.at<TreeHeaderRecord>(kNodeDescriptorSize);
    return scene.inspected.imageSector(scene.sector + number * header.nodeSize / kSectorBytes);
}

std::vector<SectorLink> BlockLinks(const SectorScene& scene, StructureCode code,
                                   std::string_view name, std::uint64_t block) {
    const HeaderPlace place = PlaceOfHeader(scene, code);
    if (place.sectorsPerBlock == 0)
        return {};
    return {Link(name, place.blocksStart + block * place.sectorsPerBlock)};
}

std::vector<SectorLink> EmbeddedLinks(const SectorScene& scene, std::uint64_t block) {
    // The field has another meaning in a volume that is no wrapper.
    if (!IsHfsPlusSignature(scene.at<MasterDirectoryBlock>(0).embeddedSignature))
        return {};
    const std::uint64_t start = EmbeddedStart(scene, block);
    return {Link("go_hpp", start), Link("Go_hpp2", start + kHeaderSectors)};
}

}  // namespace

HeaderPlace PlaceOfHeader(const SectorScene& scene, StructureCode code) {
    HeaderPlace place;
    const InspectedVolume* volume = scene.image.volumeOfHeader(scene.imageSector);
    place.start = volume != nullptr
                      ? volume->start.number()
                      : scene.imageSector - std::min(scene.imageSector, kHeaderSectors);
    std::uint64_t otherHeader = 0;
    if (code == StructureCode::HfsPlusHeader) {
        const auto header = scene.at<VolumeHeader>(0);
        place.blocksStart = place.start;
        place.sectorsPerBlock = header.blockSize / kSectorBytes;
        const std::uint64_t sectors = header.totalBlocks * place.sectorsPerBlock;
        otherHeader = place.start + sectors - std::min(sectors, kHeaderSectors);
    } else {
        const auto mdb = scene.at<MasterDirectoryBlock>(0);
        place.blocksStart = place.start + mdb.allocationStartSector;
        place.sectorsPerBlock = mdb.blockSize / kSectorBytes;
        otherHeader = place.blocksStart + mdb.totalBlocks * place.sectorsPerBlock;
    }
    if (const std::uint64_t end = scene.image.partitionEnd(place.start); end > kHeaderSectors)
        otherHeader = end - kHeaderSectors;
    if (volume != nullptr && volume->alternate != 0)
        otherHeader = volume->alternate;
    place.otherHeader =
        otherHeader == scene.imageSector ? place.start + kHeaderSectors : otherHeader;
    return place;
}

std::vector<SectorLink> LinksOf(const SectorScene& scene, StructureCode code, LinkRule rule,
                                std::string_view name, std::uint64_t number) {
    switch (rule) {
        case LinkRule::None:
            return {};
        case LinkRule::Sector:
            return {Link(name, number)};
        case LinkRule::MapBlock: {
            const std::uint64_t start = number * scene.image.mapBlockSectors();
            return {Link("Go", start), Link("Go2", start + kHeaderSectors)};
        }
        case LinkRule::Block:
            return BlockLinks(scene, code, name, number);
        case LinkRule::EmbeddedVolume:
            return EmbeddedLinks(scene, number);
        case LinkRule::Node:
            // No link of a node leads to the header: 0 stands for none.
            if (const auto sector = NodeOfTree(scene, code, number); sector && number != 0)
                return {Link(name, *sector)};
            return {};
        case LinkRule::DiscBlock:
            return {Link(name, number * scene.image.discBlockSectors())};
        case LinkRule::OwnByte:
            if (const auto offset =
                    scene.inspected.imageOffset(scene.sector * kSectorBytes + number))
                return {Link(name, *offset / kSectorBytes)};
            return {};
        case LinkRule::GptHeader:
            return {{std::string(name), number, StructureCode::GptHeader}};
        case LinkRule::GptArray:
            return {{std::string(name), number, StructureCode::GptEntries}};
    }
    return {};
}

}  // namespace vellmark
