#include "volume/room_remark.hpp"

#include <fmt/core.h>

#include "volume/catalog_access.hpp"
#include "volume/fork_reader.hpp"

namespace vellmark {

namespace {

// Bytes of all forks, without what is left of their last blocks.
TreeResult BytesInFiles(VolumeContext& volume, std::uint64_t& bytes) {
    return ForEachLeaf(volume.catalog, [&](NodeView leaf) {
        for (std::size_t i = 0; i < leaf.count(); ++i) {
            const ByteSpan data = leaf.data(i);
            if (RecordTypeOf(volume, data) != CatalogRecordType::File)
                continue;
            const auto& file = RecordIn<HfsFileRecord>(data);
            bytes += std::uint64_t{file.dataLogicalSize} + file.resourceLogicalSize;
        }
        return TreeResult::Done;
    });
}

}  // namespace

std::string RoomRemark(VolumeContext& volume, std::uint64_t wantedBytes) {
    const std::uint64_t size = std::uint64_t{volume.totalBlocks()} * volume.blockSize;
    const bool canBeSmaller = !volume.isHfsPlus && volume.blockSize > kSectorBytes &&
                              size / (volume.blockSize - kSectorBytes) <= kHfsLimit;
    std::uint64_t bytes = 0;
    if (!canBeSmaller || BytesInFiles(volume, bytes) != TreeResult::Done)
        return {};
    const std::uint64_t trees = (std::uint64_t{BlocksOf(volume.catalogNodes->runs())} +
                                 BlocksOf(volume.extentsNodes->runs())) *
                                volume.blockSize;
    if (trees + bytes + wantedBytes > size)
        return {};
    return fmt::format(
        "What is used up are its blocks, {} of {} bytes, and not its bytes: the files have {} of "
        "them. A volume made with format --block-size takes more files.",
        volume.totalBlocks(), volume.blockSize, bytes);
}

}  // namespace vellmark
