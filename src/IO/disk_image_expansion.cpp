#include "IO/disk_image_expansion.hpp"

#include <algorithm>
#include <thread>

#include "IO/disk_image_pieces.hpp"
#include "support/encoding.hpp"
#include "support/sentences.hpp"

namespace vellmark {

namespace {

/// Each block on its way takes up to twice `kMostPooledBytes`.
constexpr unsigned kMostThreads = 4;
/// Blocks that wait while every thread has one: the files are read and written meanwhile.
constexpr unsigned kWaitingBlocks = 3;
constexpr std::uint64_t kSector = 512;
/// 8 TiB: a trailer that claims more is taken to be wrong where the blocks end before.
constexpr std::uint64_t kMostFilledSectors = std::uint64_t{1} << 34;

unsigned ThreadsOf(const ExpandOptions& options) {
    const unsigned wanted =
        options.threads > 0 ? options.threads : std::thread::hardware_concurrency();
    return std::clamp(wanted, 1U, kMostThreads);
}

bool IsPooled(const BlockPlace& place) {
    return place.isZeros() ||
           (place.sizeBytes <= kMostPooledBytes && place.storedBytes <= kMostPooledBytes);
}

// Buffers grow and never shrink: what is in them is not cleared for each block anew.
void Hold(std::vector<std::uint8_t>& buffer, std::uint64_t bytes) {
    if (buffer.size() < bytes)
        buffer.resize(static_cast<std::size_t>(bytes));
}

}  // namespace

Expansion::Expansion(ByteSource& source, PcFile& target, Progress& progress,
                     const ExpandOptions& options, const DiskImageTrailer& trailer)
    : source_(source),
      target_(target),
      progress_(progress),
      options_(options),
      trailer_(trailer),
      tables_(source, trailer, progress),
      ring_(ThreadsOf(options) + kWaitingBlocks),
      pool_(ThreadsOf(options)) {}

bool Expansion::fail(Reason problem) {
    if (!hasFailed()) {
        result_.end = ExpandEnd::Failed;
        result_.problem = std::move(problem);
    }
    return false;
}

bool Expansion::failRead() {
    return fail(Sentence::kExpandUnreadable);
}

bool Expansion::failWrite() {
    return fail(Reason(Sentence::kExpandUnwritable, target_.failure()));
}

bool Expansion::failTables() {
    return tables_.isStopped() ? stop() : fail(tables_.problem());
}

bool Expansion::stop() {
    if (!hasFailed()) {
        result_.end = ExpandEnd::Stopped;
        result_.problem = Sentence::kStoppedAsWished;
    }
    return false;
}

ExpandResult Expansion::run() {
    BlockTables::Next next = BlockTables::Next::End;
    if (plan())
        while ((next = tables_.nextTable()) == BlockTables::Next::Found && expandTable()) {
        }
    if (next == BlockTables::Next::Failed)
        (void)failTables();
    if (!hasFailed() && tables_.number() == 0)
        fail(trailer_.sectorCount == 0 && trailer_.version == 0 ? Sentence::kTrailerAllowsNoTable
                                                                : Sentence::kListHasNoTable);
    // Sectors behind the last block are missing too, and zeros stand for them.
    if (const std::uint64_t told = trailer_.sectorCount; told <= kMostFilledSectors)
        result_.sizeBytes = std::max(result_.sizeBytes, told * kSector);
    if (!hasFailed() && target_.size() < result_.sizeBytes && !target_.setSize(result_.sizeBytes))
        failWrite();
    if (!hasFailed() && options_.verify)
        (void)compareTrailer();
    if (!hasFailed())
        addRemarks();
    return result_;
}

// What is to be done, as far as the tables can be followed: where they cannot, the run itself comes
// to the same place, unless it fails before.
bool Expansion::plan() {
    BlockTables tables(source_, trailer_, progress_);
    std::uint64_t total = 0;
    bool hasAdc = false;
    BlockPlace place;
    while (tables.nextTable() == BlockTables::Next::Found) {
        BlockTables::Next next = BlockTables::Next::End;
        while ((next = tables.nextBlock(place)) == BlockTables::Next::Found) {
            total += place.isZeros() ? 0 : place.sizeBytes;
            hasAdc = hasAdc || place.type == BlockType::Adc;
        }
        if (next == BlockTables::Next::Failed)
            break;
    }
    if (tables.isStopped())
        return stop();
    takesCrc_ = options_.verify || hasAdc;
    progress_.begin(total);
    if (!options_.status.empty())
        progress_.text(options_.status);
    const std::string folder = FolderOf(target_.path());
    const std::uint64_t room = FreeBytes(folder);
    return room == 0 || total <= room ||
           fail(Reason(Sentence::kExpandNoRoom, total, room, Printable(folder)));
}

bool Expansion::expandTable() {
    crc_ = patternCrc_ = {};
    isAmbiguous_ = false;
    BlockPlace place;
    BlockTables::Next next = BlockTables::Next::End;
    while ((next = tables_.nextBlock(place)) == BlockTables::Next::Found)
        if (!takeBlock(place))
            return false;
    // A block before it that is damaged comes first.
    if (!drain())
        return false;
    if (next == BlockTables::Next::Failed)
        return failTables();
    return finishTable();
}

bool Expansion::takeBlock(const BlockPlace& place) {
    if (IsPooled(place))
        return submit(place);
    return drain() && expandLarge(place);
}

bool Expansion::submit(const BlockPlace& place) {
    if (inFlight_ == ring_.size() && !retireOldest())
        return false;
    BlockJob& job = ring_[(oldest_ + inFlight_) % ring_.size()];
    job.place = place;
    job.wantsCrc = takesCrc_;
    job.end = BlockEnd::Done;
    job.isDone = true;
    if (!place.isZeros()) {
        if (!readStored(job))
            return drain() && failRead();
        Hold(job.plain, place.sizeBytes);
        pool_.submit(job);
    }
    ++inFlight_;
    return true;
}

bool Expansion::readStored(BlockJob& job) {
    Hold(job.stored, std::max(job.place.storedBytes, std::uint64_t{1}));
    return source_.readExactly(
        job.place.storedOffset,
        {job.stored.data(), static_cast<std::size_t>(job.place.storedBytes)});
}

bool Expansion::drain() {
    while (inFlight_ > 0)
        if (!retireOldest())
            return false;
    return true;
}

bool Expansion::retireOldest() {
    BlockJob& job = ring_[oldest_];
    const BlockPlace& place = job.place;
    pool_.await(job);
    oldest_ = (oldest_ + 1) % ring_.size();
    --inFlight_;
    if (place.isZeros()) {
        // The target is empty where nothing was written.
        noteEnd(place);
        // Free sectors do not count in the checksum of a table, zeros of the volume do.
        if (takesCrc_ && place.type == BlockType::Zero) {
            crc_.addZeros(place.sizeBytes);
            patternCrc_.addZeros(place.sizeBytes);
        }
        return progress_.mayGoOn() || stop();
    }
    if (job.end != BlockEnd::Done)
        return fail(Reason(Sentence::kWrongBlock, BlockName(place), BlockEndSentence(job.end)));
    if (job.length < place.sizeBytes)
        noteShort(place);
    if (takesCrc_) {
        crc_.addPiece(job.crc, place.sizeBytes);
        patternCrc_.addPiece(job.patternCrc, place.sizeBytes);
        isAmbiguous_ = isAmbiguous_ || job.isAmbiguous;
    }
    noteEnd(place);
    return write(place.position, {job.plain.data(), static_cast<std::size_t>(place.sizeBytes)});
}

bool Expansion::write(std::uint64_t position, std::span<const std::uint8_t> bytes) {
    if (!target_.writeAt(position, bytes))
        return failWrite();
    return progress_.chunk(bytes.size()) || stop();
}

// A block that is too long for the memory: piece by piece, on this thread.
bool Expansion::expandLarge(const BlockPlace& place) {
    if (place.type == BlockType::Adc)
        return fail(Reason(Sentence::kWrongBlock, BlockName(place), Sentence::kBlockTooLong));
    SourcePieces stored(source_, place.storedOffset, place.storedBytes);
    TargetPieces plain(place.sizeBytes, [&](std::uint64_t offset, auto bytes) {
        if (takesCrc_)
            crc_.add(bytes);
        return write(place.position + offset, bytes);
    });
    const BlockEnd end = IsStreamType(place.type) ? ExpandStream(place.type, stored, plain)
                                                  : CopyPieces(stored, plain);
    if (hasFailed())
        return false;
    if (stored.failed())
        return failRead();
    if (end != BlockEnd::Done)
        return fail(Reason(Sentence::kWrongBlock, BlockName(place), BlockEndSentence(end)));
    if (plain.left() > 0)
        noteShort(place);
    crc_.addZeros(plain.left());
    patternCrc_ = crc_;
    noteEnd(place);
    return true;
}

void Expansion::noteEnd(const BlockPlace& place) {
    result_.sizeBytes = std::max(result_.sizeBytes, place.position + place.sizeBytes);
}

void Expansion::noteShort(const BlockPlace& place) {
    if (shortBlocks_++ == 0)
        firstShort_ = BlockName(place);
}

// The table's checksum shows which reading of its overlapping matches is the right one.
bool Expansion::finishTable() {
    const DiskImageChecksum& expected = tables_.checksum();
    if (!expected.isCrc32()) {
        unknownChecksums_ += expected.kind == 0 ? 0 : 1;
        return true;
    }
    if (isAmbiguous_ && crc_.value() != expected.value && patternCrc_.value() == expected.value) {
        crc_ = patternCrc_;
        if (!rewriteWithPatterns())
            return false;
    }
    if (!options_.verify)
        return true;
    ++result_.checksumsCompared;
    return crc_.value() == expected.value ||
           fail(Reason(Sentence::kTableChecksumDiffers, tables_.number(),
                       std::uint32_t{expected.value}, crc_.value()));
}

bool Expansion::rewriteWithPatterns() {
    tables_.rewindTable();
    BlockJob& job = ring_.front();
    while (tables_.nextBlock(job.place) == BlockTables::Next::Found) {
        if (job.place.type != BlockType::Adc)
            continue;
        if (!readStored(job))
            return failRead();
        Hold(job.plain, job.place.sizeBytes);
        ExpandPattern(job);
        if (!target_.writeAt(job.place.position,
                             {job.plain.data(), static_cast<std::size_t>(job.place.sizeBytes)}))
            return failWrite();
        if (!progress_.mayGoOn())
            return stop();
    }
    return !tables_.isStopped() || stop();
}

bool Expansion::compareTrailer() {
    const TrailerComparison compared = CompareTrailer(source_, trailer_, progress_);
    if (compared.isStopped)
        return stop();
    result_.checksumsCompared += compared.compared;
    unknownChecksums_ += compared.unknown;
    return !compared.problem || fail(compared.problem);
}

void Expansion::addRemarks() {
    std::vector<Reason> remarks;
    if (shortBlocks_ > 0)
        remarks.emplace_back(Sentence::kExpandShortBlocks, shortBlocks_, firstShort_);
    if (const std::uint64_t missing = tables_.missingSectors(); missing > 0)
        remarks.emplace_back(Sentence::kExpandMissingSectors, missing,
                             std::uint64_t{trailer_.sectorCount});
    result_.isIncomplete = !remarks.empty();
    if (options_.verify && unknownChecksums_ > 0)
        remarks.emplace_back(Sentence::kExpandOtherChecksums, unknownChecksums_);
    else if (options_.verify && result_.checksumsCompared == 0)
        remarks.emplace_back(Sentence::kExpandNoChecksums);
    result_.remark = Reason::Joined(std::move(remarks), " ");
}

}  // namespace vellmark
