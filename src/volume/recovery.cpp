#include "volume/recovery.hpp"

#include <fmt/core.h>

#include <algorithm>

#include "IO/redo_log.hpp"
#include "support/encoding.hpp"
#include "support/pc_folder.hpp"
#include "volume/block_bitmap.hpp"
#include "volume/catalog_access.hpp"
#include "volume/fork_reader.hpp"

namespace vellmark {

namespace {

// Runs that lie outside the volume are left alone: nothing is ever written there.
void MarkAsUsed(VolumeContext& volume, const std::vector<BlockRun>& runs) {
    for (const BlockRun& run : runs)
        if (std::uint64_t{run.startBlock} + run.blockCount <= volume.totalBlocks() &&
            !IsWhollyUsed(volume.allocation.bitmap, run))
            MarkRun(volume.allocation, run, true);
}

// Marks a record's extents. Returns the number of the item.
std::uint32_t CatchUpWithRecord(VolumeContext& volume, ConstByteSpan key, ByteSpan data) {
    switch (RecordTypeOf(volume, data).value_or(CatalogRecordType{})) {
        case CatalogRecordType::Folder:
            return RecordIn<HfsFolderRecord>(data).folderId;
        case CatalogRecordType::File: {
            const auto& file = RecordIn<HfsFileRecord>(data);
            MarkAsUsed(volume, RunsOf(file.dataExtents));
            MarkAsUsed(volume, RunsOf(file.resourceExtents));
            return file.fileId;
        }
        default:
            return KeyParent(key);
    }
}

}  // namespace

bool CompleteInterruptedChange(VolumeContext& volume, Access access, Messages& messages) {
    const std::string log = RedoLogPath(volume.imagePath);
    if (PcFactsOf(log).kind != PcKind::File)
        return true;
    PcFile own;
    if (access == Access::Read) {
        own = PcFile(volume.imagePath, PcFile::Mode::ReadWrite);
        // Where another process is in the middle of its change the log is that one's.
        if (own.isOpen() && !own.lock())
            return true;
    }
    PcFile& image = access == Access::Read ? own : *volume.image;
    const std::string name = Printable(volume.imagePath);
    switch (image.isOpen() ? ReplayRedoLog(image, volume.imagePath) : RedoResult::Failed) {
        case RedoResult::None:
            return true;
        case RedoResult::Completed:
            messages.showTimedMessage(
                fmt::format("{}: a change that was interrupted has been completed.", name));
            return true;
        case RedoResult::Foreign:
            messages.showTimedMessage(fmt::format(
                "{}: a change was interrupted, and cannot be completed any more, as something "
                "else has changed the image since.",
                name));
            return true;
        case RedoResult::Failed:
            break;
    }
    messages.showMessage(fmt::format(
        "{}: a change was interrupted. What is missing lies in {}, and cannot be written: {}.",
        name, Printable(log), image.errorText()));
    return access == Access::Read;
}

TreeResult CatchUpWithCatalog(VolumeContext& volume) {
    MasterDirectoryBlock& mdb = volume.mdb;
    MarkAsUsed(volume, volume.catalogNodes->runs());
    MarkAsUsed(volume, volume.extentsNodes->runs());
    const TreeResult extents = ForEachLeaf(volume.extents, [&](NodeView leaf) {
        for (std::size_t i = 0; i < leaf.count(); ++i)
            MarkAsUsed(volume, RunsIn<HfsExtentRecord>(leaf.data(i)));
        return TreeResult::Done;
    });
    if (extents != TreeResult::Done)
        return extents;
    std::uint32_t highest = 0;
    const TreeResult catalog = ForEachLeaf(volume.catalog, [&](NodeView leaf) {
        for (std::size_t i = 0; i < leaf.count(); ++i)
            highest = std::max(highest, CatchUpWithRecord(volume, leaf.key(i), leaf.data(i)));
        return TreeResult::Done;
    });
    if (catalog == TreeResult::Done && highest >= mdb.nextCatalogId &&
        highest != std::numeric_limits<std::uint32_t>::max())
        mdb.nextCatalogId = highest + 1;
    return catalog;
}

}  // namespace vellmark
