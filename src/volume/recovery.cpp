#include "volume/recovery.hpp"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <limits>

#include "IO/redo_log.hpp"
#include "support/encoding.hpp"
#include "support/sentences.hpp"
#include "volume/block_bitmap.hpp"
#include "volume/catalog_access.hpp"
#include "volume/fork_reader.hpp"

namespace vellmark {

namespace {

// Runs that lie outside the volume are left alone: nothing is ever written there.
void MarkAsUsed(WritableVolume& volume, const std::vector<BlockRun>& runs) {
    for (const BlockRun& run : runs)
        if (std::uint64_t{run.startBlock} + run.blockCount <= volume->totalBlocks() &&
            !IsWhollyUsed(volume.allocation().bitmap, run))
            MarkRun(volume.allocation(), run, true);
}

// Marks a record's extents. Returns the number of the item.
std::uint32_t CatchUpWithRecord(WritableVolume& volume, ConstByteSpan key, ByteSpan data) {
    switch (RecordTypeOf(volume, data).value_or(CatalogRecordType{})) {
        case CatalogRecordType::Folder:
            return RecordIn<HfsFolderRecord>(data).folderId;
        case CatalogRecordType::File: {
            for (const std::vector<BlockRun>& fork : RunsOfForks(volume, data))
                MarkAsUsed(volume, fork);
            return RecordIn<HfsFileRecord>(data).fileId;
        }
        default:
            return KeyParent(key);
    }
}

constexpr int kMostLogs = 8;

struct InterruptedChange {
    PcFile& image;
    std::string name;
    const FoundRedoLog& found;
    Messages& messages;
};

void Tell(const InterruptedChange& change, Sentence sentence) {
    change.messages.showTimedMessage(
        Reason(sentence, change.name, Printable(change.found.path), change.found.problem));
}

// An image that is only read.
void ShowInterrupted(const InterruptedChange& change) {
    switch (change.found.state) {
        case RedoState::Pending:
            change.image.seeThrough(ShownThrough(change.found.log));
            Tell(change, Sentence::kInterruptedShown);
            break;
        case RedoState::Foreign:
            Tell(change, Sentence::kInterruptedForeign);
            break;
        default:
            Tell(change, Sentence::kInterruptedUnknown);
            break;
    }
}

bool Complete(const InterruptedChange& change) {
    PcFile& image = change.image;
    const RedoLog& log = *change.found.log;
    const auto write = [&image](std::uint64_t offset, std::span<const std::uint8_t> bytes) {
        return image.writeAt(offset, bytes);
    };
    if (CarryOut(log.pieces, log.mark, image, write) && ::unlink(change.found.path.c_str()) == 0) {
        Tell(change, Sentence::kInterruptedCompleted);
        return true;
    }
    const int error = image.error() != 0 ? image.error() : errno;
    change.messages.showMessage(Reason(Sentence::kInterruptedNotCompleted, change.name,
                                       Printable(change.found.path), SystemError{error}));
    return false;
}

// Before an image is changed. False after a message when it must not be.
bool Settle(const InterruptedChange& change) {
    const std::string log = Printable(change.found.path);
    if (change.found.state == RedoState::Pending)
        return Complete(change);
    if (change.found.state == RedoState::Unusable) {
        change.messages.showMessage(
            Reason(Sentence::kRedoLogUnusable, change.name, log, change.found.problem));
        return false;
    }
    const std::string aside = PutRedoLogAside(change.found.path);
    if (aside.empty()) {
        change.messages.showMessage(
            Reason(Sentence::kRedoLogInTheWay, change.name, log, SystemError{errno}));
        return false;
    }
    change.messages.showTimedMessage(
        Reason(Sentence::kRedoLogPutAside, change.name, Printable(aside)));
    return true;
}

}  // namespace

bool CompleteInterruptedChange(PcFile& image, const std::string& path, const FileGuard& guard,
                               Access access, Messages& messages) {
    // One log in each place, and what takes their places meanwhile.
    for (int round = 0; round < kMostLogs; ++round) {
        const FoundRedoLog found = FindRedoLog(image, path, guard);
        if (found.state == RedoState::None)
            return true;
        const InterruptedChange change{image, Printable(path), found, messages};
        if (access == Access::Read) {
            ShowInterrupted(change);
            return true;
        }
        if (!Settle(change))
            return false;
    }
    return false;
}

TreeResult CatchUpWithCatalog(WritableVolume& volume) {
    MasterDirectoryBlock& mdb = volume->mdb;
    MarkAsUsed(volume, volume->catalogNodes->runs());
    MarkAsUsed(volume, volume->extentsNodes->runs());
    const TreeResult extents = ForEachLeaf(volume->extents, [&](NodeView leaf) {
        for (std::size_t i = 0; i < leaf.count(); ++i)
            MarkAsUsed(volume, RunsIn<HfsExtentRecord>(leaf.data(i)));
        return TreeResult::Done;
    });
    if (extents != TreeResult::Done)
        return extents;
    std::uint32_t highest = 0;
    const TreeResult catalog = ForEachLeaf(volume->catalog, [&](NodeView leaf) {
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
