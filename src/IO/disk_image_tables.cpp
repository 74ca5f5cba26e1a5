#include "IO/disk_image_tables.hpp"

#include <iterator>

#include "IO/disk_image_codecs.hpp"
#include "support/sentences.hpp"

namespace vellmark {

namespace {

constexpr std::uint64_t kSector = 512;
/// So that bytes, and sums of two of them, fit 64 bits with a sign.
constexpr std::uint64_t kMostSectors = std::uint64_t{1} << 52;
/// Enough for the blocks of a disk of hundreds of gigabytes.
constexpr std::uint64_t kMostListMegabytes = 64;
/// Blocks that go by in their order are one run for each part of the disk.
constexpr std::size_t kMostRuns = std::size_t{1} << 16;

template <typename Record>
bool ReadRecord(DataSections& sections, Record& record) {
    return sections.read({reinterpret_cast<std::uint8_t*>(&record), sizeof record}) ==
           sizeof record;
}

bool IsKnown(BlockType type) {
    switch (type) {
        case BlockType::Zero:
        case BlockType::Raw:
        case BlockType::Ignored:
        case BlockType::Comment:
        case BlockType::Adc:
        case BlockType::Zlib:
        case BlockType::Bzip2:
        case BlockType::Lzma:
        case BlockType::End:
            return true;
        case BlockType::Lzfse:
            break;
    }
    return false;
}

// Nothing that stands for nothing, where a stream would have at least its head.
bool IsEmptyStream(const BlockEntry& entry) {
    return IsStreamType(static_cast<BlockType>(std::uint32_t{entry.type})) &&
           entry.sectorCount == 0 && entry.storedLength == 0;
}

// How messages call a type; none for one that is not known at all.
Reason BlockTypeName(BlockType type) {
    switch (type) {
        case BlockType::Zero:
        case BlockType::Ignored:
            return Sentence::kBlockOfZeros;
        case BlockType::Raw:
            return Sentence::kBlockRaw;
        case BlockType::Adc:
            return Reason::Plain("Apple Data Compression");
        case BlockType::Zlib:
            return Reason::Plain("zlib");
        case BlockType::Bzip2:
            return Reason::Plain("bzip2");
        case BlockType::Lzfse:
            return Reason::Plain("LZFSE");
        case BlockType::Lzma:
            return Reason::Plain("LZMA");
        case BlockType::Comment:
        case BlockType::End:
            break;
    }
    return {};
}

Reason UnknownType(const BlockPlace& block) {
    if (const Reason name = BlockTypeName(block.type))
        return Reason(Sentence::kBlockTypeNotExpanded, block.number, block.table, name);
    return Reason(Sentence::kBlockTypeUnknown, block.number, block.table,
                  static_cast<std::uint32_t>(block.type));
}

}  // namespace

Reason ReadTrailer(ByteSource& source, DiskImageTrailer& trailer) {
    const std::uint64_t size = source.size();
    if (size < sizeof trailer || !source.readRecord(size - sizeof trailer, trailer) ||
        trailer.signature != kTrailerSignature)
        return Sentence::kTrailerMissing;
    if (trailer.dataLength != trailer.listOffset)
        return Sentence::kTrailerListApart;
    if (trailer.listOffset > size || trailer.listLength > size - trailer.listOffset)
        return Sentence::kTrailerListOutside;
    if (trailer.listLength > kMostListMegabytes << 20)
        return Reason(Sentence::kTrailerListTooLong, kMostListMegabytes);
    if (trailer.sectorCount > kMostSectors)
        return Sentence::kTrailerTooManySectors;
    return {};
}

Reason SectorRuns::add(std::uint64_t first, std::uint64_t count) {
    if (count == 0)
        return {};
    const std::uint64_t end = first + count;
    const auto next = runs_.lower_bound(first);
    const auto before = next == runs_.begin() ? runs_.end() : std::prev(next);
    if ((next != runs_.end() && next->first < end) ||
        (before != runs_.end() && before->second > first))
        return Sentence::kBlockOverEarlier;
    const bool touchesNext = next != runs_.end() && next->first == end;
    const std::uint64_t wholeEnd = touchesNext ? next->second : end;
    if (touchesNext)
        runs_.erase(next);
    if (before != runs_.end() && before->second == first)
        before->second = wholeEnd;
    else if (runs_.size() < kMostRuns)
        runs_.emplace(first, wholeEnd);
    else
        return Sentence::kBlocksScattered;
    return {};
}

Reason BlockName(const BlockPlace& block) {
    const Reason name = BlockTypeName(block.type);
    return name ? Reason(Sentence::kBlockNameWithKind, block.number, block.table, name)
                : Reason(Sentence::kBlockName, block.number, block.table);
}

BlockTables::BlockTables(ByteSource& source, const DiskImageTrailer& trailer, Progress& progress)
    : source_(source),
      sections_(source, trailer.listOffset, trailer.listLength, progress),
      sectorCount_(trailer.sectorCount),
      mostTables_(trailer.version),
      allTables_(trailer.tableChecksum) {}

BlockTables::Next BlockTables::fail(Reason problem) {
    problem_ = std::move(problem);
    return Next::Failed;
}

BlockTables::Next BlockTables::nextTable() {
    while (isSized() ? covered_ < sectorCount_ : table_ < mostTables_) {
        if (!sections_.next() || (!isSized() && sections_.isEmpty()))
            return isStopped() ? Next::Failed : Next::End;
        if (ReadRecord(sections_, header_) && header_.signature == kBlockTableSignature) {
            ++table_;
            if (header_.checksum.isCrc32())
                tablesCrc_.add(AsBytes(header_.checksum.value));
            block_ = 0;
            isAgain_ = false;
            coveredThen_ = covered_;
            return Next::Found;
        }
        if (isStopped())
            return Next::Failed;
        // Other resources have such sections too: a whole image has them between its tables and
        // behind them. Without a count, the checksum of all tables shows that these were all.
        if (!isSized() && sawAllTables())
            return Next::End;
        if (!isSized())
            return fail(Reason(Sentence::kSectionIsNoTable, table_ + 1));
    }
    return Next::End;
}

void BlockTables::rewindTable() {
    sections_.rewind();
    BlockTableHeader again;
    (void)ReadRecord(sections_, again);
    block_ = 0;
    isAgain_ = true;
    covered_ = coveredThen_;
}

BlockTables::Next BlockTables::nextBlock(BlockPlace& block) {
    BlockEntry entry;
    do {
        ++block_;
        if (!ReadRecord(sections_, entry))
            return fail(Reason(Sentence::kTableWithoutEnd, table_, block_ - 1));
        block = BlockPlace{.type = static_cast<BlockType>(std::uint32_t{entry.type}),
                           .table = table_,
                           .number = block_};
        if (block.type == BlockType::End)
            return Next::End;
    } while (block.type == BlockType::Comment || IsEmptyStream(entry));
    if (!IsKnown(block.type))
        return fail(UnknownType(block));
    if (const Reason problem = place(entry, block))
        return fail(Reason(Sentence::kWrongBlock, BlockName(block), problem));
    return Next::Found;
}

// Where a block goes, or why it cannot go there.
Reason BlockTables::place(const BlockEntry& entry, BlockPlace& block) {
    const std::uint64_t count = entry.sectorCount;
    std::uint64_t first = covered_;
    if (isSized()) {
        const std::uint64_t base = header_.firstSector;
        const std::uint64_t offset = entry.firstSector;
        if (base > sectorCount_ || offset > sectorCount_ - base ||
            count > sectorCount_ - base - offset)
            return Reason(Sentence::kBlockBeyondImage, sectorCount_);
        first = base + offset;
        if (Reason problem = isAgain_ ? Reason() : runs_.add(first, count))
            return problem;
    } else if (count > kMostSectors - covered_) {
        return Sentence::kBlocksTooManySectors;
    }
    covered_ += count;
    block.position = first * kSector;
    block.sizeBytes = count * kSector;
    return block.isZeros() ? Reason() : placeStored(entry, block);
}

// Where its stored bytes lie, which of a raw block are as many as it stands for.
Reason BlockTables::placeStored(const BlockEntry& entry, BlockPlace& block) const {
    block.storedOffset = entry.storedOffset;
    block.storedBytes =
        block.type == BlockType::Raw ? block.sizeBytes : std::uint64_t{entry.storedLength};
    const std::uint64_t size = source_.size();
    return block.storedOffset > size || block.storedBytes > size - block.storedOffset
               ? Reason(Sentence::kBlockDataOutside)
               : Reason();
}

}  // namespace vellmark
