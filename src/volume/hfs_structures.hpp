// What lies on an HFS volume (Inside Macintosh: Files, chapter 2). All fields are big-endian and
// stay so in memory, so that a header is written back as it was read.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "IO/partition_structures.hpp"
#include "containers/finder_info.hpp"
#include "support/endian.hpp"

namespace vellmark {

inline constexpr std::uint32_t kRootParentId = 1;
inline constexpr std::uint32_t kRootFolderId = 2;
inline constexpr std::uint32_t kExtentsFileId = 3;
inline constexpr std::uint32_t kCatalogFileId = 4;
/// Has no record in the catalog: its blocks are those that no file may have.
inline constexpr std::uint32_t kBadBlockFileId = 5;
inline constexpr std::uint32_t kFirstUserId = 16;

/// Largest number of allocation blocks, files or folders that 16-bit fields can count.
inline constexpr std::uint32_t kHfsLimit = 65535;
/// Items of an HFS folder beyond which systems that count them with a sign show no more.
inline constexpr std::uint32_t kMostItemsShownInHfs = 32767;

/// A run of allocation blocks; a count of 0 ends a record of extents.
struct HfsExtent {
    be16 startBlock;
    be16 blockCount;
};

using HfsExtentRecord = std::array<HfsExtent, 3>;

/// Master directory block, at byte 1024 of the volume.
struct MasterDirectoryBlock {
    be16 signature;     ///< "BD"
    be32 creationDate;  ///< local time
    be32 modificationDate;
    be16 attributes;  ///< bit 8 unmounted cleanly, bit 15 locked by software
    be16 rootFileCount;
    be16 bitmapStartSector;  ///< from the start of the volume
    be16 nextAllocation;     ///< block where the search for free blocks begins
    be16 totalBlocks;
    be32 blockSize;              ///< bytes, a multiple of 512
    be32 clumpSize;              ///< bytes
    be16 allocationStartSector;  ///< first sector of allocation block 0
    be32 nextCatalogId;
    be16 freeBlocks;
    std::array<std::uint8_t, 28> volumeName;  ///< length, then at most 27 MacRoman bytes
    be32 backupDate;
    be16 backupSequence;
    be32 writeCount;
    be32 extentsClumpSize;
    be32 catalogClumpSize;
    be16 rootFolderCount;
    be32 fileCount;
    be32 folderCount;
    std::array<be32, 8> finderInfo;  ///< word 2: folder to open at mount; words 6, 7: volume id
    be16 embeddedSignature;  ///< "H+" in a wrapper, else 0 (volume cache size of old systems)
    HfsExtent embeddedExtent;
    be32 extentsFileSize;  ///< bytes
    HfsExtentRecord extentsFileExtents;
    be32 catalogFileSize;  ///< bytes
    HfsExtentRecord catalogFileExtents;
    std::array<std::uint8_t, 350> unused;
};
static_assert(sizeof(MasterDirectoryBlock) == 512);
static_assert(offsetof(MasterDirectoryBlock, blockSize) == 20);
static_assert(offsetof(MasterDirectoryBlock, volumeName) == 36);
static_assert(offsetof(MasterDirectoryBlock, fileCount) == 84);
static_assert(offsetof(MasterDirectoryBlock, embeddedSignature) == 124);
static_assert(offsetof(MasterDirectoryBlock, extentsFileExtents) == 134);
static_assert(offsetof(MasterDirectoryBlock, catalogFileExtents) == 150);

/// Bytes of a fork at most: its lengths are signed numbers to the format's own systems.
inline constexpr std::uint64_t kMostHfsForkBytes = 0x7FFFFFFF;

/// Kinds of catalog records, in both formats.
enum class CatalogRecordType : std::uint8_t {
    Folder = 1,
    File = 2,
    FolderThread = 3,
    FileThread = 4
};

/// First 16 bytes of the Finder's information of a folder.
struct FolderFinderInfo {
    be16 windowTop;
    be16 windowLeft;
    be16 windowBottom;
    be16 windowRight;
    be16 flags;
    be16 locationV;
    be16 locationH;
    be16 view;
};
static_assert(sizeof(FolderFinderInfo) == 16);

struct HfsFolderRecord {
    std::uint8_t type;
    std::uint8_t reserved;
    be16 flags;
    be16 valence;
    be32 folderId;
    be32 creationDate;
    be32 modificationDate;
    be32 backupDate;
    FolderFinderInfo finderInfo;
    std::array<std::uint8_t, 16> extendedFinderInfo;
    std::array<be32, 4> reserved2;
};
static_assert(sizeof(HfsFolderRecord) == 70);
static_assert(offsetof(HfsFolderRecord, folderId) == 6);
static_assert(offsetof(HfsFolderRecord, finderInfo) == 22);

struct HfsFileRecord {
    std::uint8_t type;
    std::uint8_t reserved;
    std::uint8_t flags;     ///< bit 0 locked
    std::uint8_t fileType;  ///< 0
    FileFinderInfo finderInfo;
    be32 fileId;
    be16 dataStartBlock;  ///< always 0: strict readers take anything else for damage
    be32 dataLogicalSize;
    be32 dataPhysicalSize;
    be16 resourceStartBlock;  ///< always 0
    be32 resourceLogicalSize;
    be32 resourcePhysicalSize;
    be32 creationDate;
    be32 modificationDate;
    be32 backupDate;
    std::array<std::uint8_t, 16> extendedFinderInfo;
    be16 clumpSize;
    HfsExtentRecord dataExtents;
    HfsExtentRecord resourceExtents;
    be32 reserved2;
};
static_assert(sizeof(HfsFileRecord) == 102);
static_assert(offsetof(HfsFileRecord, fileId) == 20);
static_assert(offsetof(HfsFileRecord, dataLogicalSize) == 26);
static_assert(offsetof(HfsFileRecord, resourceLogicalSize) == 36);
static_assert(offsetof(HfsFileRecord, creationDate) == 44);
static_assert(offsetof(HfsFileRecord, dataExtents) == 74);
static_assert(offsetof(HfsFileRecord, resourceExtents) == 86);

struct HfsThreadRecord {
    std::uint8_t type;
    std::uint8_t reserved;
    std::array<be32, 2> reserved2;
    be32 parentId;
    std::array<std::uint8_t, 32> name;  ///< length, then at most 31 MacRoman bytes
};
static_assert(sizeof(HfsThreadRecord) == 46);
static_assert(offsetof(HfsThreadRecord, parentId) == 10);
static_assert(offsetof(HfsThreadRecord, name) == 14);

}  // namespace vellmark
