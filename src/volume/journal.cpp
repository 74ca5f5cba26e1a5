#include "volume/journal.hpp"

#include <array>
#include <cstddef>
#include <cstring>

namespace vellmark {

namespace {

constexpr std::uint32_t kInFileSystem = 1;
constexpr std::uint32_t kNeedsInit = 4;  // nothing was ever written to it

// Big-endian, at the start of the block that the volume header names.
struct JournalInfoBlock {
    be32 flags;
    std::array<be32, 8> deviceSignature;
    be64 offset;  // bytes, from the start of the volume
    be64 size;    // bytes, header included
};
static_assert(sizeof(JournalInfoBlock) == 52);
static_assert(offsetof(JournalInfoBlock, offset) == 36);

// In the byte order of the machine that wrote it, which `endian` shows.
template <typename Word, typename Long>
struct JournalHeader {
    static constexpr std::uint32_t kMagic = 0x4A4E4C78;  // "JNLx"
    static constexpr std::uint32_t kEndian = 0x12345678;

    Word magic;
    Word endian;
    Long start;  // bytes from the start of the journal: the oldest change
    Long end;    // the same: where the next one goes
    Long size;
    Word blockListHeaderSize;
    Word checksum;
    Word headerSize;

    [[nodiscard]] bool isEmpty() const {
        return magic == kMagic && endian == kEndian && start == end;
    }
};
using BigJournalHeader = JournalHeader<be32, be64>;
using LittleJournalHeader = JournalHeader<le32, le64>;
static_assert(sizeof(BigJournalHeader) == 44 && sizeof(LittleJournalHeader) == 44);
static_assert(offsetof(BigJournalHeader, start) == 8);

template <typename Record>
bool ReadAtSector(VolumeContext& volume, Sector512 sector, Record& record) {
    std::array<std::uint8_t, kSectorBytes> bytes{};
    if (ReadSectors(volume.transferSlot, sector, bytes) != 0)
        return false;
    std::memcpy(&record, bytes.data(), sizeof record);
    return true;
}

}  // namespace

bool JournalHoldsChanges(VolumeContext& volume) {
    const VolumeHeader& header = volume.vhb;
    if (!volume.isHfsPlus || (header.attributes & kVolumeJournaled) == 0)
        return false;
    JournalInfoBlock info{};
    if (header.journalInfoBlock == 0 || header.journalInfoBlock >= header.totalBlocks ||
        !ReadAtSector(volume, BlockToSector(volume, BlockNumber{header.journalInfoBlock}), info))
        return true;
    if ((info.flags & kNeedsInit) != 0)
        return false;
    const std::uint64_t volumeBytes = std::uint64_t{header.totalBlocks} * header.blockSize;
    if ((info.flags & kInFileSystem) == 0 || info.offset % kSectorBytes != 0 ||
        info.offset >= volumeBytes)
        return true;
    std::array<std::uint8_t, sizeof(BigJournalHeader)> bytes{};
    if (!ReadAtSector(volume, volume.partitionStart + info.offset / kSectorBytes, bytes))
        return true;
    BigJournalHeader big{};
    LittleJournalHeader little{};
    std::memcpy(&big, bytes.data(), sizeof big);
    std::memcpy(&little, bytes.data(), sizeof little);
    return !big.isEmpty() && !little.isEmpty();
}

}  // namespace vellmark
