#include "inspect/inspected_image.hpp"

#include <algorithm>
#include <cstring>
#include <utility>

#include "IO/apple_map.hpp"
#include "IO/recognition.hpp"
#include "volume/fork_reader.hpp"
#include "volume/mount.hpp"

namespace vellmark {
namespace {

/// Of a volume's header, and of the second one before the end of an HFS+ volume.
constexpr std::uint64_t kHeaderSectors = 2;
/// Sectors before the end of the blocks in which the second header is looked for.
constexpr std::uint64_t kMostBefore = 16;
/// A map with more partitions is none that a disc has.
constexpr std::size_t kMostVolumes = 64;
/// Volume descriptors that are looked at.
constexpr std::uint32_t kMostDescriptors = 32;
constexpr std::uint32_t kUsualBlockSectors = kIsoSectorBytes / kSectorBytes;

std::uint64_t BytesOfNodes(const InspectedVolume& volume, const InspectedTree& tree) {
    return std::uint64_t{BlocksOf(tree.runs)} * volume.sectorsPerBlock * kSectorBytes;
}

// A tree whose header record can be read; one without a usable node size is left out.
void AddTree(InspectedVolume& volume, TreeRole role, std::vector<BlockRun> runs) {
    if (runs.empty())
        return;
    std::array<std::uint8_t, kSectorBytes> sector{};
    if (!TransferFork(*volume.context, runs, kCommandRead, 0, sector))
        return;
    TreeHeaderRecord header;
    std::memcpy(&header, sector.data() + kNodeDescriptorSize, sizeof header);
    const std::uint32_t nodeSize = header.nodeSize;
    if (nodeSize >= kSectorBytes && nodeSize % kSectorBytes == 0)
        volume.trees.push_back({role, nodeSize, std::move(runs)});
}

void AddTrees(InspectedVolume& volume) {
    VolumeContext& context = *volume.context;
    const bool opened = OpenTrees(context);
    const auto runsOf = [&](const std::unique_ptr<VolumeNodes>& nodes, const auto& first) {
        return opened ? nodes->runs() : RunsOf(first);
    };
    if (volume.isHfsPlus) {
        AddTree(volume, TreeRole::Catalog,
                runsOf(context.catalogNodes, context.vhb.catalogFile.extents));
        AddTree(volume, TreeRole::Extents,
                runsOf(context.extentsNodes, context.vhb.extentsFile.extents));
        AddTree(volume, TreeRole::Attributes, RunsOf(context.vhb.attributesFile.extents));
    } else {
        AddTree(volume, TreeRole::Catalog,
                runsOf(context.catalogNodes, context.mdb.catalogFileExtents));
        AddTree(volume, TreeRole::Extents,
                runsOf(context.extentsNodes, context.mdb.extentsFileExtents));
    }
}

}  // namespace

InspectedImage::InspectedImage(std::shared_ptr<PcFile> image) : image_(std::move(image)) {
    if (const auto map = ReadAppleMap(*image_))
        mapBlockSectors_ = std::max<std::uint32_t>(1, map->blockBytes / kSectorBytes);
    MediumContext medium;
    medium.image = image_;
    std::vector<PartitionEntry> found;
    (void)ScanMedium(medium, found);
    for (const PartitionEntry& entry : found)
        parts_.push_back({entry.startSector, entry.endSector});
    const Sector512 imageEnd(image_->size() / kSectorBytes);
    for (const Part& part : parts_)
        addVolume(part.start, std::min(part.end, imageEnd));
    addVolume(medium.partitionStart, imageEnd);
    addVolume(Sector512(0), imageEnd);
    readDescriptors();
}

void InspectedImage::addVolume(Sector512 start, Sector512 end) {
    const auto isKnown = [&](const InspectedVolume& volume) { return volume.start == start; };
    if (volumes_.size() >= kMostVolumes || std::any_of(volumes_.begin(), volumes_.end(), isKnown) ||
        VolumeSignatureAt(*image_, start.byte()) == 0)
        return;
    auto context = std::make_unique<VolumeContext>();
    context->image = image_;
    context->partitionStart = start;
    context->partitionSectors = end - std::min(start, end);
    if (!ReadVolumeHeader(*context))
        return;
    if (!(context->partitionStart == start))
        addWrapper(context->mdb, start, end);
    InspectedVolume volume;
    volume.start = context->partitionStart;
    volume.blocksStart = context->blocksStart;
    volume.sectorsPerBlock = context->sectorsPerBlock;
    volume.isHfsPlus = context->isHfsPlus;
    const std::uint64_t blocksEnd = volume.blocksStart.number() +
                                    std::uint64_t{context->totalBlocks()} * volume.sectorsPerBlock;
    const std::uint64_t byBlocks = volume.isHfsPlus ? blocksEnd - kHeaderSectors : blocksEnd;
    volume.sectors = byBlocks + kHeaderSectors - volume.start.number();
    const std::uint16_t signature =
        volume.isHfsPlus ? context->vhb.signature : context->mdb.signature;
    volume.alternate =
        findAlternate(signature, byBlocks, volume.start == start ? end : Sector512(0));
    volume.context = std::move(context);
    AddTrees(volume);
    volumes_.push_back(std::move(volume));
}

// The outer volume of an embedded one, of which the blocks alone matter.
void InspectedImage::addWrapper(const MasterDirectoryBlock& mdb, Sector512 start, Sector512 end) {
    InspectedVolume wrapper;
    wrapper.start = start;
    wrapper.blocksStart = start + mdb.allocationStartSector;
    wrapper.sectorsPerBlock = mdb.blockSize / kSectorBytes;
    const std::uint64_t blocksEnd =
        wrapper.blocksStart.number() + std::uint64_t{mdb.totalBlocks} * wrapper.sectorsPerBlock;
    wrapper.sectors = blocksEnd + kHeaderSectors - start.number();
    wrapper.alternate = findAlternate(mdb.signature, blocksEnd, end);
    volumes_.push_back(std::move(wrapper));
}

// The second header stands where the blocks end, or at the end of the partition; discs of some
// makers have it a little before that.
std::uint64_t InspectedImage::findAlternate(std::uint16_t signature, std::uint64_t byBlocks,
                                            Sector512 end) {
    const std::uint64_t byEnd = end.number() - std::min(end.number(), kHeaderSectors);
    std::vector<std::uint64_t> places = {byEnd, byBlocks};
    for (std::uint64_t back = 1; back <= std::min(byBlocks, kMostBefore); ++back)
        places.push_back(byBlocks - back);
    for (const std::uint64_t sector : places) {
        be16 there;
        if (sector > kHeaderSectors && image_->readRecord(sector * kSectorBytes, there) &&
            there == signature)
            return sector;
    }
    return 0;
}

void InspectedImage::readDescriptors() {
    for (std::uint32_t i = 0; i < kMostDescriptors; ++i) {
        IsoVolumeDescriptor found;
        if (!image_->readRecord(std::uint64_t{kIsoFirstDescriptor + i} * kIsoSectorBytes, found) ||
            std::string_view(found.standard.data(), found.standard.size()) != "CD001" ||
            found.type == kIsoDescriptorTerminator)
            return;
        const bool joliet = found.type == kIsoDescriptorSupplementary;
        if ((joliet || found.type == kIsoDescriptorPrimary) && !descriptors_[joliet ? 1 : 0])
            descriptors_[joliet ? 1 : 0] = found;
    }
}

const InspectedVolume* InspectedImage::volumeAt(std::uint64_t sector) const {
    const InspectedVolume* innermost = nullptr;
    for (const InspectedVolume& volume : volumes_)
        if (volume.holds(sector) && (innermost == nullptr || volume.start > innermost->start))
            innermost = &volume;
    return innermost;
}

const InspectedVolume* InspectedImage::volumeOfHeader(std::uint64_t sector) const {
    const auto found = std::find_if(volumes_.begin(), volumes_.end(), [&](const auto& volume) {
        return volume.headerSector() == sector ||
               (volume.alternate != 0 && volume.alternate == sector);
    });
    return found == volumes_.end() ? nullptr : &*found;
}

NodeAt InspectedImage::nodeAt(std::uint64_t sector) const {
    for (const InspectedVolume& volume : volumes_)
        for (const InspectedTree& tree : volume.trees) {
            std::uint64_t before = 0;  // sectors of the tree
            for (const BlockRun& run : tree.runs) {
                const std::uint64_t start = volume.blocksStart.number() +
                                            std::uint64_t{run.startBlock} * volume.sectorsPerBlock;
                const std::uint64_t count = std::uint64_t{run.blockCount} * volume.sectorsPerBlock;
                if (sector >= start && sector - start < count) {
                    const std::uint64_t byte = (before + sector - start) * kSectorBytes;
                    return {&volume, &tree, static_cast<std::uint32_t>(byte / tree.nodeSize),
                            byte % tree.nodeSize == 0};
                }
                before += count;
            }
        }
    return {};
}

std::optional<std::uint64_t> InspectedImage::NodeSector(const InspectedVolume& volume,
                                                        const InspectedTree& tree,
                                                        std::uint32_t number) {
    const std::uint64_t offset = std::uint64_t{number} * tree.nodeSize;
    if (offset >= BytesOfNodes(volume, tree))
        return std::nullopt;
    return PlaceInFork(*volume.context, tree.runs, offset).imageOffset / kSectorBytes;
}

std::uint64_t InspectedImage::partitionEnd(std::uint64_t start) const {
    const auto found = std::find_if(parts_.begin(), parts_.end(),
                                    [&](const Part& part) { return part.start.number() == start; });
    return found == parts_.end() ? 0 : found->end.number();
}

std::uint32_t InspectedImage::discBlockSectors() const {
    for (const auto& descriptor : descriptors_)
        if (descriptor) {
            const std::uint32_t bytes = descriptor->blockSize;
            if (bytes == 512 || bytes == 1024 || bytes == 2048)
                return bytes / kSectorBytes;
        }
    return kUsualBlockSectors;
}

}  // namespace vellmark
