#include "volume/file_store.hpp"

#include <fmt/core.h>

#include <algorithm>
#include <array>
#include <span>
#include <vector>

#include "volume/block_allocation.hpp"
#include "volume/block_bitmap.hpp"
#include "volume/catalog_access.hpp"
#include "volume/catalog_changes.hpp"
#include "volume/catalog_delete.hpp"
#include "volume/catalog_growth.hpp"
#include "volume/catalog_insert.hpp"
#include "volume/overflow_extents.hpp"

namespace vellmark {

namespace {

// Copied at once: large enough that the calls do not count, small enough for a processor's cache.
constexpr std::size_t kPieceBytes = 1u << 20;
constexpr std::size_t kMostChangedBytes = 64u << 20;
constexpr std::uint8_t kHfsLocked = 0x01;
constexpr std::uint16_t kHfsPlusLocked = 0x0001;

// A fork with the blocks that it got.
struct PlacedFork {
    ByteSource* source = nullptr;
    std::uint64_t sizeBytes = 0;
    std::vector<BlockRun> runs;
};

PlacedFork ForkToPlace(ByteSource* source) {
    return {source, source != nullptr ? source->size() : 0, {}};
}

StoreResult ToStoreResult(TreeResult result) {
    switch (result) {
        case TreeResult::Done:
            return StoreResult::Done;
        case TreeResult::Exists:
            return StoreResult::Exists;
        case TreeResult::Full:
            return StoreResult::NoRoom;
        case TreeResult::FolderFull:
            return StoreResult::FolderFull;
        case TreeResult::Failed:
            return StoreResult::TargetFailed;
        default:
            return StoreResult::Damaged;
    }
}

// Blocks for both forks, or for none.
bool ReserveForks(WritableVolume& volume, PlacedFork& data, PlacedFork& resource) {
    if (!ReserveBlocks(volume, data.sizeBytes, data.runs))
        return false;
    if (ReserveBlocks(volume, resource.sizeBytes, resource.runs))
        return true;
    ReturnBlocks(volume, data.runs);
    return false;
}

// Whether a fork can be read to its end.
StoreResult TryToRead(const PlacedFork& fork, Progress& progress) {
    std::vector<std::uint8_t> buffer;
    for (std::uint64_t done = 0; done < fork.sizeBytes; done += buffer.size()) {
        buffer.resize(
            static_cast<std::size_t>(std::min<std::uint64_t>(fork.sizeBytes - done, kPieceBytes)));
        if (!fork.source->readExactly(done, buffer))
            return StoreResult::SourceFailed;
        if (!progress.mayGoOn())
            return StoreResult::Stopped;
    }
    return StoreResult::Done;
}

// Whole sectors from `done` on, without our memory where the source lies in a file. Returns their
// bytes; 0 when it does not, or too little is left.
std::uint64_t CopyDirectly(WritableVolume& volume, const PlacedFork& fork, std::uint64_t done) {
    const ForkPlace place = PlaceInFork(volume, fork.runs, done);
    const std::uint64_t bytes = std::min({fork.sizeBytes - done, place.bytes, kMostDirectCopy}) /
                                kSectorBytes * kSectorBytes;
    if (bytes < kLeastDirectCopy)
        return 0;
    const std::uint64_t copied =
        fork.source->copyTo(*volume->image, {done, place.imageOffset, bytes});
    std::array<std::uint8_t, kSectorBytes> first;
    const bool isKnown =
        copied >= first.size() && volume->image->readExactly(place.imageOffset, first);
    volume->contents.note(place.imageOffset, bytes,
                          std::span(first).first(isKnown ? first.size() : 0));
    return copied / kSectorBytes * kSectorBytes;
}

StoreResult WriteFork(WritableVolume& volume, const PlacedFork& fork, bool mayStop,
                      Progress& progress) {
    std::vector<std::uint8_t> buffer;
    bool isDirect = true;
    for (std::uint64_t done = 0; done < fork.sizeBytes;) {
        if (const std::uint64_t copied = isDirect ? CopyDirectly(volume, fork, done) : 0;
            copied != 0) {
            done += copied;
            if (!progress.chunk(copied) && mayStop)
                return StoreResult::Stopped;
            continue;
        }
        isDirect = false;
        const auto bytes =
            static_cast<std::size_t>(std::min<std::uint64_t>(fork.sizeBytes - done, kPieceBytes));
        buffer.resize((bytes + kSectorBytes - 1) / kSectorBytes * kSectorBytes);
        std::fill(buffer.begin() + static_cast<std::ptrdiff_t>(bytes), buffer.end(),
                  std::uint8_t{0});
        if (!fork.source->readExactly(done, ByteSpan(buffer).first(bytes)))
            return StoreResult::SourceFailed;
        if (!TransferFork(volume, fork.runs, kCommandWrite, done, buffer))
            return StoreResult::TargetFailed;
        done += bytes;
        if (!progress.chunk(bytes) && mayStop)
            return StoreResult::Stopped;
    }
    return StoreResult::Done;
}

template <typename Record>
void CopyFacts(const NewFile& file, Record& record) {
    record.finderInfo = file.finder.first();
    record.extendedFinderInfo = file.finder.extended;
    record.backupDate = file.backedUp;
}

RecordData HfsData(const WritableVolume& volume, const NewFile& file, const FileFacts& facts,
                   const PlacedFork& data, const PlacedFork& resource) {
    RecordData bytes = HfsFileData(facts, volume->blockSize);
    auto& record = RecordIn<HfsFileRecord>(bytes);
    CopyFacts(file, record);
    record.flags = file.isLocked ? kHfsLocked : 0;
    const auto physical = [&](const PlacedFork& fork) {
        return static_cast<std::uint32_t>(BlocksFor(volume, fork.sizeBytes) * volume->blockSize);
    };
    record.dataLogicalSize = static_cast<std::uint32_t>(data.sizeBytes);
    record.dataPhysicalSize = physical(data);
    record.resourceLogicalSize = static_cast<std::uint32_t>(resource.sizeBytes);
    record.resourcePhysicalSize = physical(resource);
    for (const BlockRun& run : data.runs)
        (void)AddRun(record.dataExtents, run);
    for (const BlockRun& run : resource.runs)
        (void)AddRun(record.resourceExtents, run);
    return bytes;
}

void FillFork(const WritableVolume& volume, const PlacedFork& fork, ForkRecord& record) {
    record.logicalSize = fork.sizeBytes;
    record.totalBlocks = static_cast<std::uint32_t>(BlocksFor(volume, fork.sizeBytes));
    for (const BlockRun& run : fork.runs)
        (void)AddRun(record.extents, run);
}

RecordData HfsPlusData(const WritableVolume& volume, const NewFile& file, const FileFacts& facts,
                       const PlacedFork& data, const PlacedFork& resource) {
    RecordData bytes = HfsPlusFileData(facts);
    auto& record = RecordIn<HfsPlusFileRecord>(bytes);
    CopyFacts(file, record);
    if (file.isLocked)
        record.flags = record.flags | kHfsPlusLocked;
    FillFork(volume, data, record.dataFork);
    FillFork(volume, resource, record.resourceFork);
    return bytes;
}

TreeResult InsertRecords(WritableVolume& volume, const NewFile& file, std::uint32_t id,
                         const PlacedFork& data, const PlacedFork& resource) {
    FileFacts facts;
    facts.id = id;
    facts.created = file.created;
    facts.modified = file.modified;
    const TreeKey key = ItemKey(volume, file.parentId, file.name);
    if (!volume->isHfsPlus)
        return InsertTreeRecord(volume->catalog, key, HfsData(volume, file, facts, data, resource));
    const TreeResult result =
        InsertTreeRecord(volume->catalog, key, HfsPlusData(volume, file, facts, data, resource));
    return result != TreeResult::Done
               ? result
               : InsertTreeRecord(volume->catalog, ThreadKey(volume, facts.id),
                                  HfsPlusThreadData(CatalogRecordType::FileThread, file.parentId,
                                                    file.name.hfsPlus));
}

StoreResult DeleteReplaced(WritableVolume& volume, const NewFile& file) {
    switch (DeleteFile(volume, file.replaced->parentId, file.replaced->catalogName)) {
        case EditResult::Done:
            return StoreResult::Done;
        case EditResult::Failed:
            return StoreResult::TargetFailed;
        case EditResult::Protected:
            return StoreResult::Protected;
        case EditResult::Attributes:
            return StoreResult::Attributes;
        default:
            return StoreResult::Damaged;
    }
}

// What HFS+ got for a fork of the blocks that it still wanted, run by run.
void LogRuns(const WritableVolume& volume, const NewFile& file, const PlacedFork& fork,
             Progress& progress) {
    if (!volume->isHfsPlus)
        return;
    std::uint64_t wanted = BlocksFor(volume, fork.sizeBytes);
    for (const BlockRun& run : fork.runs) {
        progress.journal(2, fmt::format("{}\t{}\t{}\t{}", ShownName(volume, file.name), wanted,
                                        run.startBlock, run.blockCount));
        wanted -= run.blockCount;
    }
}

/// When a file that is replaced goes.
enum class Replacing {
    Last,  ///< when the new one is wholly there
    First  ///< before, as its blocks are needed
};

bool HasSourceChanged(const NewFile& file) {
    return file.hasSourceChanged && file.hasSourceChanged();
}

/// One file on its way into the volume.
class FileStore {
  public:
    FileStore(WritableVolume& volume, const NewFile& file, Replacing replacing, Progress& progress)
        : volume_(volume),
          file_(file),
          goesFirst_(replacing == Replacing::First),
          progress_(progress) {}
    StoreResult run();

  private:
    ChangeTry change();
    StoreResult place();
    StoreResult write();

    WritableVolume& volume_;
    const NewFile& file_;
    const bool goesFirst_;
    Progress& progress_;
    PlacedFork data_;
    PlacedFork resource_;
    StoreResult result_ = StoreResult::Done;
};

// Takes blocks for the forks; the file that is replaced goes before or after that.
StoreResult FileStore::place() {
    data_ = ForkToPlace(file_.data);
    resource_ = ForkToPlace(file_.resource);
    StoreResult result = StoreResult::Done;
    if (goesFirst_) {
        result = DeleteReplaced(volume_, file_);
        FreeWhatWasFreed(volume_.allocation());
    }
    if (result == StoreResult::Done && !ReserveForks(volume_, data_, resource_))
        result = StoreResult::NoRoom;
    const bool isLeft = file_.replaced && !goesFirst_;
    return result == StoreResult::Done && isLeft ? DeleteReplaced(volume_, file_) : result;
}

// Writes the forks. What is in the blocks of a file that went first cannot be brought back once
// they are written to: the new file is read once before, and its writing is not stopped.
StoreResult FileStore::write() {
    StoreResult result = StoreResult::Done;
    for (const PlacedFork* fork : {&data_, &resource_})
        if (goesFirst_ && result == StoreResult::Done)
            result = TryToRead(*fork, progress_);
    if (goesFirst_ && result == StoreResult::Done && HasSourceChanged(file_))
        result = StoreResult::SourceChanged;
    for (const PlacedFork* fork : {&data_, &resource_})
        if (result == StoreResult::Done)
            result = WriteFork(volume_, *fork, !goesFirst_, progress_);
    if (!goesFirst_ && result == StoreResult::Done && HasSourceChanged(file_))
        result = StoreResult::SourceChanged;
    for (const PlacedFork* fork : {&data_, &resource_})
        if (result == StoreResult::Done)
            LogRuns(volume_, file_, *fork, progress_);
    return result;
}

// The records come first: where the catalog has to grow for them no byte is written twice.
ChangeTry FileStore::change() {
    result_ = place();
    if (result_ != StoreResult::Done)
        return result_ == StoreResult::NoRoom ? ChangeTry::NoRoom : ChangeTry::Refused;
    const std::uint32_t id = NextCatalogId(volume_);
    TreeResult result = AddOverflow(volume_, id, kDataFork, data_.runs);
    if (result == TreeResult::Done)
        result = AddOverflow(volume_, id, kResourceFork, resource_.runs);
    if (result == TreeResult::Full) {
        result_ = StoreResult::TooFragmented;
        return ChangeTry::NoRoom;
    }
    if (result == TreeResult::Done)
        result = InsertRecords(volume_, file_, id, data_, resource_);
    if (result == TreeResult::Done && !file_.replaced)
        result = AddToValence(volume_, 1, file_.parentId);
    result_ = ToStoreResult(result);
    if (result != TreeResult::Done)
        return result == TreeResult::Exists ? ChangeTry::Refused : ToChangeTry(result);
    CountItem(volume_, file_.parentId, false, 1);
    result_ = write();
    return result_ == StoreResult::Done ? ChangeTry::Done : ChangeTry::Refused;
}

StoreResult FileStore::run() {
    // The file, its thread, and what taking out a replaced one may split.
    constexpr unsigned kRecords = 4;
    switch (ChangeCatalog(volume_, kRecords, [this] { return change(); })) {
        case ChangeTry::Damaged:
            return StoreResult::Damaged;
        case ChangeTry::Failed:
            return StoreResult::TargetFailed;
        case ChangeTry::Done:
        case ChangeTry::Refused:
            return result_;
        default:
            return result_ == StoreResult::TooFragmented ? result_ : StoreResult::NoRoom;
    }
}

StoreResult TryToAdd(WritableVolume& volume, const NewFile& file, Replacing replacing,
                     Progress& progress) {
    return FileStore(volume, file, replacing, progress).run();
}

bool NeedsRoom(StoreResult result) {
    return result == StoreResult::NoRoom || result == StoreResult::TooFragmented;
}

bool IsTooLong(const WritableVolume& volume, const NewFile& file) {
    const auto isTooLong = [](const ByteSource* fork) {
        return fork != nullptr && fork->size() > kMostHfsForkBytes;
    };
    return !volume->isHfsPlus && (isTooLong(file.data) || isTooLong(file.resource));
}

}  // namespace

StoreResult AddFileToCatalog(WritableVolume& volume, const NewFile& file, const Clock& clock,
                             Progress& progress) {
    if (IsTooLong(volume, file))
        return StoreResult::ForkTooLong;
    const std::uint32_t replacedId = file.replaced ? file.replaced->id : 0;
    if (const TreeResult result = CheckNewItem(volume, file.name, file.parentId, replacedId);
        result != TreeResult::Done)
        return ToStoreResult(result);
    // A batch of any length takes no more memory than this for what it has changed.
    if (volume->catalogNodes->changedBytes() > kMostChangedBytes &&
        volume.flush(clock) != TreeResult::Done)
        return StoreResult::TargetFailed;
    StoreResult result = TryToAdd(volume, file, Replacing::Last, progress);
    if (NeedsRoom(result) && !volume.allocation().freed.empty()) {
        if (volume.flush(clock) != TreeResult::Done)
            return StoreResult::TargetFailed;
        result = TryToAdd(volume, file, Replacing::Last, progress);
    }
    if (NeedsRoom(result) && file.replaced)
        result = TryToAdd(volume, file, Replacing::First, progress);
    return result;
}

}  // namespace vellmark
