// The records of an Apple disk image (UDIF) as they lie in the file. Apple never published the
// format; the fields are those that its images show.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "support/endian.hpp"

namespace vellmark {

inline constexpr std::uint32_t kTrailerSignature = 0x6B6F6C79;     // koly
inline constexpr std::uint32_t kBlockTableSignature = 0x6D697368;  // mish
inline constexpr std::uint32_t kChecksumCrc32 = 2;
inline constexpr std::uint32_t kCrc32Bits = 32;

/// A checksum with its kind.
struct DiskImageChecksum {
    be32 kind;   ///< 0: none; `kChecksumCrc32`; 4: MD5
    be32 bits;   ///< of the value
    be32 value;  ///< a CRC-32 is here
    std::array<std::uint8_t, 124> rest;

    [[nodiscard]] bool isCrc32() const { return kind == kChecksumCrc32 && bits == kCrc32Bits; }
};
static_assert(sizeof(DiskImageChecksum) == 136 && alignof(DiskImageChecksum) == 1);

/// Last 512 bytes of the file.
struct DiskImageTrailer {
    be32 signature;  ///< `kTrailerSignature`
    be32 version;    ///< of the format; without a sector count the cap on the tables
    std::array<std::uint8_t, 16> headerAndFlags;
    be64 dataStart;   ///< of the stored blocks; their offsets count from the start of the file
    be64 dataLength;  ///< bytes; the property list begins there
    std::array<std::uint8_t, 40> segments;
    DiskImageChecksum dataChecksum;  ///< of the stored blocks as they lie in the file
    be64 listOffset;                 ///< of the property list, from the start of the file
    be64 listLength;                 ///< bytes
    std::array<std::uint8_t, 120> reserved;
    DiskImageChecksum tableChecksum;  ///< of the values of the tables' checksums, one by one
    be32 variant;
    be64 sectorCount;  ///< of the plain image; 0: not known
    std::array<std::uint8_t, 12> rest;
};
static_assert(sizeof(DiskImageTrailer) == 512 && alignof(DiskImageTrailer) == 1);
static_assert(offsetof(DiskImageTrailer, dataLength) == 32);
static_assert(offsetof(DiskImageTrailer, dataChecksum) == 80);
static_assert(offsetof(DiskImageTrailer, listOffset) == 216);
static_assert(offsetof(DiskImageTrailer, listLength) == 224);
static_assert(offsetof(DiskImageTrailer, tableChecksum) == 352);
static_assert(offsetof(DiskImageTrailer, sectorCount) == 492);

/// Start of a block table; its entries follow.
struct BlockTableHeader {
    be32 signature;  ///< `kBlockTableSignature`
    be32 version;
    be64 firstSector;  ///< of the plain image; the entries count from here
    be64 sectorCount;
    be64 dataStart;
    std::array<std::uint8_t, 32> buffersAndReserved;
    DiskImageChecksum checksum;  ///< of what the table expands to
    be32 entryCount;             ///< not used: an end mark closes the table
};
static_assert(sizeof(BlockTableHeader) == 204 && alignof(BlockTableHeader) == 1);
static_assert(offsetof(BlockTableHeader, checksum) == 64);

/// One run of sectors.
struct BlockEntry {
    be32 type;  ///< see `BlockType`
    be32 comment;
    be64 firstSector;  ///< from the first of the table
    be64 sectorCount;
    be64 storedOffset;  ///< from the start of the file
    be64 storedLength;  ///< bytes
};
static_assert(sizeof(BlockEntry) == 40 && alignof(BlockEntry) == 1);

enum class BlockType : std::uint32_t {
    Zero = 0x00000000,
    Raw = 0x00000001,
    Ignored = 0x00000002,  ///< free sectors of a volume; zeros
    Comment = 0x7FFFFFFE,
    Adc = 0x80000004,  ///< Apple Data Compression
    Zlib = 0x80000005,
    Bzip2 = 0x80000006,
    Lzfse = 0x80000007,  ///< known by its name only
    Lzma = 0x80000008,   ///< an xz stream
    End = 0xFFFFFFFF     ///< of the table
};

}  // namespace vellmark
