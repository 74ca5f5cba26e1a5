// The records that divide a disk into partitions, as they lie on it: driver descriptor and
// partition map (Inside Macintosh: Devices, "SCSI Manager"), master boot record, GUID partition
// table (UEFI, chapter 5). Only the fields that are read or written have names.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "support/endian.hpp"

namespace vellmark {

/// Signatures as the big-endian words that two letters make.
inline constexpr std::uint16_t kDriverDescriptorSignature = 0x4552;  // ER
inline constexpr std::uint16_t kPartitionMapSignature = 0x504D;      // PM
inline constexpr std::uint16_t kOldPartitionMapSignature = 0x5453;   // TS
inline constexpr std::uint16_t kHfsSignature = 0x4244;               // BD
inline constexpr std::uint16_t kHfsPlusSignature = 0x482B;           // H+
inline constexpr std::uint16_t kHfsxSignature = 0x4858;              // HX
inline constexpr std::uint16_t kBootRecordSignature = 0x55AA;

/// Both formats of the header.
[[nodiscard]] constexpr bool IsHfsPlusSignature(std::uint16_t signature) {
    return signature == kHfsPlusSignature || signature == kHfsxSignature;
}

/// Types of partitions in an Apple map.
inline constexpr std::string_view kMapPartitionType = "Apple_partition_map";
inline constexpr std::string_view kHfsPartitionType = "Apple_HFS";
inline constexpr std::string_view kHfsxPartitionType = "Apple_HFSX";

inline constexpr std::uint8_t kMbrTypeMacintosh = 0xAF;
inline constexpr std::uint8_t kMbrTypeProtective = 0xEE;
inline constexpr std::size_t kMbrEntryCount = 4;

/// First block of an Apple disk.
struct DriverDescriptor {
    be16 signature;   ///< `kDriverDescriptorSignature`
    be16 blockSize;   ///< bytes
    be32 blockCount;  ///< blocks of the device
    std::array<std::uint8_t, 504> drivers;
};
static_assert(sizeof(DriverDescriptor) == 512 && alignof(DriverDescriptor) == 1);
static_assert(offsetof(DriverDescriptor, blockCount) == 4);

/// One block of the Apple partition map.
struct PartitionMapEntry {
    be16 signature;  ///< `kPartitionMapSignature`
    be16 reserved;
    be32 mapEntries;            ///< entries of the whole map
    be32 startBlock;            ///< in blocks of the driver descriptor
    be32 blockCount;            ///< in the same blocks
    std::array<char, 32> name;  ///< MacRoman, NUL-terminated when shorter
    std::array<char, 32> type;  ///< "Apple_HFS" and others, NUL-terminated when shorter
    be32 dataStart;             ///< first block of the data, from the start of the partition
    be32 dataCount;             ///< blocks of data
    be32 status;                ///< flags
    std::array<std::uint8_t, 420> rest;
};
static_assert(sizeof(PartitionMapEntry) == 512 && alignof(PartitionMapEntry) == 1);
static_assert(offsetof(PartitionMapEntry, startBlock) == 8);
static_assert(offsetof(PartitionMapEntry, name) == 16);
static_assert(offsetof(PartitionMapEntry, type) == 48);
static_assert(offsetof(PartitionMapEntry, dataCount) == 84);
static_assert(offsetof(PartitionMapEntry, status) == 88);

struct MbrEntry {
    std::array<std::uint8_t, 4> bootAndFirst;
    std::uint8_t type;  ///< 0: no entry
    std::array<std::uint8_t, 3> last;
    le32 firstSector;
    le32 sectorCount;
};
static_assert(sizeof(MbrEntry) == 16 && alignof(MbrEntry) == 1);
static_assert(offsetof(MbrEntry, type) == 4 && offsetof(MbrEntry, firstSector) == 8);

/// First sector of a PC disk.
struct MasterBootRecord {
    std::array<std::uint8_t, 446> code;
    std::array<MbrEntry, kMbrEntryCount> entries;
    be16 signature;  ///< `kBootRecordSignature`
};
static_assert(sizeof(MasterBootRecord) == 512);
static_assert(offsetof(MasterBootRecord, entries) == 446);

struct Guid {
    le32 a;
    le16 b;
    le16 c;
    std::array<std::uint8_t, 8> d;
};
static_assert(sizeof(Guid) == 16 && alignof(Guid) == 1);

/// Sector behind the protective boot record.
struct GptHeader {
    std::array<char, 8> signature;  ///< "EFI PART"
    std::array<std::uint8_t, 12> versionAndCheck;
    le32 reserved;  ///< 0
    std::array<std::uint8_t, 48> placesAndDiskGuid;
    le64 entrySector;  ///< first sector of the entry array
    le32 entryCount;
    le32 entrySize;  ///< bytes, 128 or more
    le32 entriesCheck;
};
static_assert(sizeof(GptHeader) == 92 && alignof(GptHeader) == 1);
static_assert(offsetof(GptHeader, reserved) == 20);
static_assert(offsetof(GptHeader, entrySector) == 72);
static_assert(offsetof(GptHeader, entryCount) == 80 && offsetof(GptHeader, entrySize) == 84);

struct GptEntry {
    Guid type;  ///< all zero: no entry
    Guid id;
    le64 firstSector;
    le64 lastSector;
    le64 attributes;
    std::array<le16, 36> name;  ///< UTF-16, ended by 0 when shorter
};
static_assert(sizeof(GptEntry) == 128 && alignof(GptEntry) == 1);
static_assert(offsetof(GptEntry, firstSector) == 32 && offsetof(GptEntry, name) == 56);

}  // namespace vellmark
