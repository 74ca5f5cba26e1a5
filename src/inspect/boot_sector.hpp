// The boot sector of a FAT volume, and the fields of a GUID table's header that nothing else reads
// (UEFI specification, chapter 5; "FAT: General Overview of On-Disk Format").
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "IO/partition_structures.hpp"
#include "support/endian.hpp"

namespace vellmark {

/// Third byte of a boot sector that begins with a short jump: no operation.
inline constexpr std::uint8_t kJumpEnd = 0x90;
inline constexpr std::size_t kJumpEndOffset = 2;

/// What FAT12 and FAT16 have behind the common part, and FAT32 behind fields of its own.
struct FatIdentity {
    std::uint8_t driveNumber;
    std::uint8_t reserved;
    std::uint8_t bootSignature;  ///< 29 hexadecimal: the next three fields are there
    le32 serialNumber;
    std::array<char, 11> label;
    std::array<char, 8> systemType;
};
static_assert(sizeof(FatIdentity) == 26);

struct FatBootSector {
    std::array<std::uint8_t, 3> jump;
    std::array<char, 8> oem;
    le16 sectorBytes;
    std::uint8_t sectorsPerCluster;
    le16 reservedSectors;  ///< before the first FAT, this one included
    std::uint8_t fatCount;
    le16 rootEntries;  ///< 0 in FAT32
    le16 sectorCount16;
    std::uint8_t medium;
    le16 fatSectors16;  ///< 0 in FAT32
    le16 trackSectors;
    le16 sides;
    le32 hiddenSectors;
    le32 sectorCount32;  ///< when the count in 16 bits is 0
    FatIdentity identity;
    std::array<std::uint8_t, 448> code;
    be16 signature;
};
static_assert(sizeof(FatBootSector) == 512 && alignof(FatBootSector) == 1);
static_assert(offsetof(FatBootSector, sectorCount32) == 32);
static_assert(offsetof(FatBootSector, identity) == 36);

/// The same sector in FAT32.
struct Fat32BootSector {
    std::array<std::uint8_t, 36> common;
    le32 fatSectors32;
    le16 flags;
    le16 version;
    le32 rootCluster;  ///< 2 is the first one
    le16 infoSector;
    le16 copySector;
    std::array<std::uint8_t, 12> reserved;
    FatIdentity identity;
    std::array<std::uint8_t, 420> code;
    be16 signature;
};
static_assert(sizeof(Fat32BootSector) == 512 && alignof(Fat32BootSector) == 1);
static_assert(offsetof(Fat32BootSector, identity) == 64);

/// The header of a GUID table with all of its fields (`GptHeader` has those that lead to volumes).
struct GptHeaderFields {
    std::array<char, 8> signature;  ///< "EFI PART"
    le32 revision;                  ///< two halves
    le32 headerSize;                ///< bytes
    le32 headerCheck;               ///< CRC-32
    le32 reserved;                  ///< 0
    le64 ownSector;
    le64 otherSector;
    le64 firstUsable;
    le64 lastUsable;
    Guid disk;
    le64 entrySector;
    le32 entryCount;
    le32 entrySize;
    le32 entriesCheck;
};
static_assert(sizeof(GptHeaderFields) == sizeof(GptHeader));
static_assert(offsetof(GptHeaderFields, entrySector) == offsetof(GptHeader, entrySector));

}  // namespace vellmark
