// What lies on an HFS+ volume (Apple Technical Note TN1150). All fields are big-endian.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "support/endian.hpp"
#include "volume/hfs_structures.hpp"

namespace vellmark {

struct HfsPlusExtent {
    be32 startBlock;
    be32 blockCount;
};

using HfsPlusExtentRecord = std::array<HfsPlusExtent, 8>;

struct ForkRecord {
    be64 logicalSize;  ///< bytes
    be32 clumpSize;    ///< bytes
    be32 totalBlocks;  ///< of the whole fork, overflow extents included
    HfsPlusExtentRecord extents;
};
static_assert(sizeof(ForkRecord) == 80);

/// Volume attributes.
inline constexpr std::uint32_t kVolumeUnmounted = 0x00000100;
/// The extents tree has records of the bad block file.
inline constexpr std::uint32_t kVolumeSparedBlocks = 0x00000200;
inline constexpr std::uint32_t kVolumeJournaled = 0x00002000;

inline constexpr std::uint16_t kHfsPlusVersion = 4;
inline constexpr std::uint32_t kAllocationFileId = 6;

/// At byte 1024 of the volume, and again 1024 bytes before its end.
struct VolumeHeader {
    be16 signature;  ///< "H+" or "HX"
    be16 version;    ///< 4, 5 with "HX"
    be32 attributes;
    be32 lastMountedVersion;  ///< four letters of the program that wrote last
    be32 journalInfoBlock;
    be32 creationDate;      ///< GMT here; local time where others have written it
    be32 modificationDate;  ///< GMT
    be32 backupDate;
    be32 checkedDate;
    be32 fileCount;
    be32 folderCount;  ///< without the root
    be32 blockSize;    ///< bytes, a power of two from 512 on
    be32 totalBlocks;
    be32 freeBlocks;
    be32 nextAllocation;
    be32 resourceClumpSize;
    be32 dataClumpSize;
    be32 nextCatalogId;
    be32 writeCount;
    be64 encodingsBitmap;
    std::array<be32, 8> finderInfo;  ///< word 2: folder to open at mount; words 6, 7: volume id
    ForkRecord allocationFile;
    ForkRecord extentsFile;
    ForkRecord catalogFile;
    ForkRecord attributesFile;
    ForkRecord startupFile;
};
static_assert(sizeof(VolumeHeader) == 512);
static_assert(offsetof(VolumeHeader, blockSize) == 40);
static_assert(offsetof(VolumeHeader, nextCatalogId) == 64);
static_assert(offsetof(VolumeHeader, allocationFile) == 112);
static_assert(offsetof(VolumeHeader, extentsFile) == 192);
static_assert(offsetof(VolumeHeader, catalogFile) == 272);

/// Owner and permissions. A mode of 0 makes some readers hide the file.
struct HfsPlusPermissions {
    be32 owner;
    be32 group;
    std::uint8_t adminFlags;
    std::uint8_t ownerFlags;
    be16 mode;
    be32 special;
};
static_assert(sizeof(HfsPlusPermissions) == 16);

/// Bits of a mode that store the kind of file; all 0 where the permissions were never filled in.
inline constexpr std::uint16_t kFileKindMask = 0170000;
/// Owner flag: the contents are stored compressed, and the data fork is empty.
inline constexpr std::uint8_t kOwnerCompressed = 0x20;

inline constexpr std::uint16_t kFileMode = 0100644;
inline constexpr std::uint16_t kFolderMode = 040755;
/// File record flag: the file has a thread record.
inline constexpr std::uint16_t kThreadExists = 0x0002;

struct HfsPlusFolderRecord {
    be16 type;
    be16 flags;
    be32 valence;
    be32 folderId;
    be32 creationDate;
    be32 contentModificationDate;
    be32 attributeModificationDate;
    be32 accessDate;
    be32 backupDate;
    HfsPlusPermissions permissions;
    FolderFinderInfo finderInfo;
    std::array<std::uint8_t, 16> extendedFinderInfo;
    be32 textEncoding;
    be32 reserved;
};
static_assert(sizeof(HfsPlusFolderRecord) == 88);
static_assert(offsetof(HfsPlusFolderRecord, folderId) == 8);
static_assert(offsetof(HfsPlusFolderRecord, finderInfo) == 48);

struct HfsPlusFileRecord {
    be16 type;
    be16 flags;
    be32 reserved;
    be32 fileId;
    be32 creationDate;
    be32 contentModificationDate;
    be32 attributeModificationDate;
    be32 accessDate;
    be32 backupDate;
    HfsPlusPermissions permissions;
    FileFinderInfo finderInfo;
    std::array<std::uint8_t, 16> extendedFinderInfo;
    be32 textEncoding;
    be32 reserved2;
    ForkRecord dataFork;
    ForkRecord resourceFork;
};
static_assert(sizeof(HfsPlusFileRecord) == 248);
static_assert(offsetof(HfsPlusFileRecord, fileId) == 8);
static_assert(offsetof(HfsPlusFileRecord, finderInfo) == 48);
static_assert(offsetof(HfsPlusFileRecord, dataFork) == 88);
static_assert(offsetof(HfsPlusFileRecord, resourceFork) == 168);

/// The fixed part of a thread record; the name (count and units) follows at once.
struct HfsPlusThreadHead {
    be16 type;
    be16 reserved;
    be32 parentId;
};
static_assert(sizeof(HfsPlusThreadHead) == 8);

}  // namespace vellmark
