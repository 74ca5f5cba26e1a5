#include "IO/disk_image_tables.hpp"

#include <fmt/core.h>

#include <iterator>

#include "IO/disk_image.hpp"
#include "IO/disk_image_codecs.hpp"

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

std::string UnknownSentence(BlockType type) {
    const std::string_view name = BlockTypeName(type);
    return name.empty() ? fmt::format("is of a type that is not known ({:08X})",
                                      static_cast<std::uint32_t>(type))
                        : fmt::format("is compressed with {}, which cannot be expanded", name);
}

}  // namespace

std::string ReadTrailer(ByteSource& source, DiskImageTrailer& trailer) {
    const std::uint64_t size = source.size();
    if (size < sizeof trailer || !source.readRecord(size - sizeof trailer, trailer) ||
        trailer.signature != kTrailerSignature)
        return "It does not end in the trailer of a disk image.";
    if (trailer.dataLength != trailer.listOffset)
        return "Its property list does not stand directly behind its data.";
    if (trailer.listOffset > size || trailer.listLength > size - trailer.listOffset)
        return "Its trailer tells of a property list outside the file.";
    if (trailer.listLength > kMostListMegabytes << 20)
        return fmt::format("Its property list is longer than {} MiB.", kMostListMegabytes);
    if (trailer.sectorCount > kMostSectors)
        return "Its trailer tells of more sectors than any disk has.";
    return {};
}

std::string SectorRuns::add(std::uint64_t first, std::uint64_t count) {
    if (count == 0)
        return {};
    const std::uint64_t end = first + count;
    const auto next = runs_.lower_bound(first);
    const auto before = next == runs_.begin() ? runs_.end() : std::prev(next);
    if ((next != runs_.end() && next->first < end) ||
        (before != runs_.end() && before->second > first))
        return "it goes where an earlier block went";
    const bool touchesNext = next != runs_.end() && next->first == end;
    const std::uint64_t wholeEnd = touchesNext ? next->second : end;
    if (touchesNext)
        runs_.erase(next);
    if (before != runs_.end() && before->second == first)
        before->second = wholeEnd;
    else if (runs_.size() < kMostRuns)
        runs_.emplace(first, wholeEnd);
    else
        return "the blocks go to too many separate places";
    return {};
}

std::string BlockName(const BlockPlace& block) {
    const std::string_view name = BlockTypeName(block.type);
    return fmt::format("block {} of table {}{}", block.number, block.table,
                       name.empty() ? std::string{} : fmt::format(" ({})", name));
}

BlockTables::BlockTables(ByteSource& source, const DiskImageTrailer& trailer, Progress& progress)
    : source_(source),
      sections_(source, trailer.listOffset, trailer.listLength, progress),
      sectorCount_(trailer.sectorCount),
      mostTables_(trailer.version),
      allTables_(trailer.tableChecksum) {}

BlockTables::Next BlockTables::fail(std::int64_t code, std::string problem) {
    code_ = code;
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
        // behind them. Without a count, the checksum of all tables tells that these were all.
        if (!isSized() && sawAllTables())
            return Next::End;
        if (!isSized())
            return fail(
                kExpansionFailed,
                fmt::format("Section {} of its property list is no block table.", table_ + 1));
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
            return fail(kExpansionFailed,
                        fmt::format("Table {} ends without an end mark, behind {} blocks.", table_,
                                    block_ - 1));
        block = BlockPlace{.type = static_cast<BlockType>(std::uint32_t{entry.type}),
                           .table = table_,
                           .number = block_};
        if (block.type == BlockType::End)
            return Next::End;
    } while (block.type == BlockType::Comment || IsEmptyStream(entry));
    if (!IsKnown(block.type))
        return fail(std::uint32_t{entry.type}, fmt::format("Block {} of table {} {}.", block_,
                                                           table_, UnknownSentence(block.type)));
    if (const std::string problem = place(entry, block); !problem.empty())
        return fail(kExpansionFailed, fmt::format("Wrong {}: {}.", BlockName(block), problem));
    return Next::Found;
}

// Where a block goes; "" or why it cannot go there.
std::string BlockTables::place(const BlockEntry& entry, BlockPlace& block) {
    const std::uint64_t count = entry.sectorCount;
    std::uint64_t first = covered_;
    if (isSized()) {
        const std::uint64_t base = header_.firstSector;
        const std::uint64_t offset = entry.firstSector;
        if (base > sectorCount_ || offset > sectorCount_ - base ||
            count > sectorCount_ - base - offset)
            return fmt::format("it goes beyond the {} sectors of the image", sectorCount_);
        first = base + offset;
        if (std::string problem = isAgain_ ? "" : runs_.add(first, count); !problem.empty())
            return problem;
    } else if (count > kMostSectors - covered_) {
        return "the image would have more sectors than any disk has";
    }
    covered_ += count;
    block.position = first * kSector;
    block.sizeBytes = count * kSector;
    return block.isZeros() ? std::string{} : placeStored(entry, block);
}

// Where its stored bytes lie, which of a raw block are as many as it stands for.
std::string BlockTables::placeStored(const BlockEntry& entry, BlockPlace& block) const {
    block.storedOffset = entry.storedOffset;
    block.storedBytes =
        block.type == BlockType::Raw ? block.sizeBytes : std::uint64_t{entry.storedLength};
    const std::uint64_t size = source_.size();
    return block.storedOffset > size || block.storedBytes > size - block.storedOffset
               ? "its data lies outside the file"
               : std::string{};
}

}  // namespace vellmark
