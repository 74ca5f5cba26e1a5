#include "inspect/inspected_bytes.hpp"

#include <algorithm>
#include <utility>
#include <variant>
#include <vector>

#include "support/sentences.hpp"
#include "volume/fork_reader.hpp"

namespace vellmark {
namespace {

std::optional<std::uint64_t> PlaceInExtents(const std::vector<IsoExtent>& extents,
                                            std::uint64_t offset) {
    for (const IsoExtent& extent : extents) {
        if (offset < extent.sizeBytes)
            return extent.offset + offset;
        offset -= extent.sizeBytes;
    }
    return std::nullopt;
}

InspectedBytes InspectIsoFile(TreeView& tree, const ViewEntry& file) {
    InspectedBytes bytes;
    Result<std::unique_ptr<ByteSource>> opened = tree.open(file);
    if (!opened) {
        bytes.problem = opened.error();
        return bytes;
    }
    bytes.source = std::move(*opened);
    bytes.imageOffset = [extents = std::get<IsoEntry>(file.record).extents](std::uint64_t offset) {
        return PlaceInExtents(extents, offset);
    };
    return bytes;
}

}  // namespace

std::optional<std::uint64_t> InspectedBytes::imageSector(std::uint64_t sector) const {
    if (!imageOffset || sector > ~std::uint64_t{0} / kSectorBytes)
        return std::nullopt;
    const auto offset = imageOffset(sector * kSectorBytes);
    return offset ? std::optional(*offset / kSectorBytes) : std::nullopt;
}

InspectedBytes InspectWhole(std::shared_ptr<ByteSource> image) {
    return {std::move(image), [](std::uint64_t offset) { return std::optional(offset); }, {}};
}

InspectedBytes InspectFork(VolumeContext& volume, const CatalogItem& file, bool resource) {
    InspectedBytes bytes;
    if (file.linkReference != 0) {
        bytes.problem = Sentence::kDanglingHardLink;
        return bytes;
    }
    std::vector<BlockRun> runs;
    bytes.problem =
        CatalogProblem(ForkRuns(volume, file, resource, runs), Sentence::kPlaceOfBlocks);
    const std::uint64_t size = resource ? file.resource.sizeBytes : file.data.sizeBytes;
    const std::uint64_t found = std::uint64_t{BlocksOf(runs)} * volume.blockSize;
    if (found < size && !bytes.problem)
        bytes.problem = Sentence::kContentsCutShort;
    bytes.imageOffset = [&volume, runs](std::uint64_t offset) {
        const ForkPlace place = PlaceInFork(volume, runs, offset);
        return place.bytes > 0 ? std::optional(place.imageOffset) : std::nullopt;
    };
    bytes.source = std::make_shared<ForkSource>(volume, std::move(runs), std::min(size, found));
    return bytes;
}

InspectedBytes InspectEntry(ImageView& view, TreeView& tree, const ViewEntry& file, bool resource) {
    if (const auto* item = std::get_if<CatalogItem>(&file.record))
        return InspectFork(view.volume(), *item, resource);
    return InspectIsoFile(tree, file);
}

}  // namespace vellmark
