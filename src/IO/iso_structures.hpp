// The records of ISO 9660 (ECMA-119) and of its Joliet tree, as they lie on a disc.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "support/endian.hpp"

namespace vellmark {

/// A sector of a disc, in bytes.
inline constexpr std::uint32_t kIsoSectorBytes = 2048;
/// Where the volume descriptors begin.
inline constexpr std::uint32_t kIsoFirstDescriptor = 16;

inline constexpr std::uint8_t kIsoDescriptorPrimary = 1;
inline constexpr std::uint8_t kIsoDescriptorSupplementary = 2;
inline constexpr std::uint8_t kIsoDescriptorTerminator = 255;

inline constexpr std::uint8_t kIsoFlagHidden = 0x01;
inline constexpr std::uint8_t kIsoFlagFolder = 0x02;
inline constexpr std::uint8_t kIsoFlagAssociated = 0x04;
inline constexpr std::uint8_t kIsoFlagMultiExtent = 0x80;

/// Date of a directory record (ECMA-119, 9.1.5).
struct IsoShortDate {
    std::uint8_t year;   ///< since 1900
    std::uint8_t month;  ///< 1 to 12
    std::uint8_t day;    ///< 1 to 31
    std::uint8_t hour;
    std::uint8_t minute;
    std::uint8_t second;
    std::int8_t zone;  ///< quarters of an hour east of Greenwich, -48 to 52
};
static_assert(sizeof(IsoShortDate) == 7 && alignof(IsoShortDate) == 1);

/// Date of a volume descriptor (ECMA-119, 8.4.26.1): digits, all "0" when it is not given.
struct IsoLongDate {
    std::array<char, 4> year;
    std::array<char, 2> month;
    std::array<char, 2> day;
    std::array<char, 2> hour;
    std::array<char, 2> minute;
    std::array<char, 2> second;
    std::array<char, 2> hundredths;
    std::int8_t zone;  ///< quarters of an hour east of Greenwich
};
static_assert(sizeof(IsoLongDate) == 17 && alignof(IsoLongDate) == 1);

/// Fixed part of a directory record (ECMA-119, 9.1); `nameLength` bytes of name follow, then a
/// padding byte when that is needed for an even length.
struct IsoDirectoryRecord {
    std::uint8_t length;        ///< of the whole record; 0: no more records in this sector
    std::uint8_t extendedSize;  ///< logical blocks of extended attributes before the contents
    both32 extent;              ///< first logical block
    both32 sizeBytes;           ///< of the contents
    IsoShortDate date;
    std::uint8_t flags;
    std::uint8_t unitSize;  ///< of an interleaved file, else 0
    std::uint8_t gapSize;   ///< of an interleaved file, else 0
    both16 volumeSequence;
    std::uint8_t nameLength;
};
static_assert(sizeof(IsoDirectoryRecord) == 33 && alignof(IsoDirectoryRecord) == 1);
static_assert(offsetof(IsoDirectoryRecord, extent) == 2);
static_assert(offsetof(IsoDirectoryRecord, date) == 18);
static_assert(offsetof(IsoDirectoryRecord, flags) == 25);

/// Apple's extension of a directory record, in its system use area (Apple Technical Note FL 36,
/// "Apple Extensions to ISO 9660"): what a Macintosh must know of a file.
struct IsoAppleExtension {
    std::array<char, 2> signature;      ///< "AA"
    std::uint8_t length;                ///< 14
    std::uint8_t version;               ///< 2
    std::array<char, 8> fileSignature;  ///< file type, then creator, MacRoman
    be16 finderFlags;                   ///< 0
};
static_assert(sizeof(IsoAppleExtension) == 14 && alignof(IsoAppleExtension) == 1);
static_assert(offsetof(IsoAppleExtension, fileSignature) == 4);

/// Fixed part of a path table record in the order of the L table (ECMA-119, 9.4); the identifier
/// follows, padded to an even length. The M table has the same in big-endian numbers.
struct IsoPathRecord {
    std::uint8_t nameLength;
    std::uint8_t extendedSize;
    le32 extent;  ///< logical block
    le16 parent;  ///< number of the record of the directory above; the root is 1
};
static_assert(sizeof(IsoPathRecord) == 8 && alignof(IsoPathRecord) == 1);

/// Primary and supplementary volume descriptor (ECMA-119, 8.4 and 8.5): one sector.
struct IsoVolumeDescriptor {
    std::uint8_t type;
    std::array<char, 5> standard;  ///< "CD001"
    std::uint8_t version;          ///< 1
    std::uint8_t volumeFlags;
    std::array<char, 32> systemId;
    std::array<char, 32> volumeId;
    std::array<std::uint8_t, 8> unused;
    both32 spaceSize;              ///< logical blocks of the volume
    std::array<char, 32> escapes;  ///< character set of a supplementary tree
    both16 setSize;
    both16 sequenceNumber;
    both16 blockSize;  ///< bytes of a logical block
    both32 pathTableBytes;
    le32 pathTableL;          ///< logical block
    le32 optionalPathTableL;  ///< logical block, 0: none
    be32 pathTableM;          ///< logical block
    be32 optionalPathTableM;  ///< logical block, 0: none
    IsoDirectoryRecord root;
    char rootName;  ///< 0
    std::array<char, 128> volumeSetId;
    std::array<char, 128> publisher;
    std::array<char, 128> preparer;
    std::array<char, 128> application;
    std::array<char, 37> copyrightFile;
    std::array<char, 37> abstractFile;
    std::array<char, 37> bibliographicFile;
    IsoLongDate created;
    IsoLongDate modified;
    IsoLongDate expires;
    IsoLongDate effective;
    std::uint8_t fileStructureVersion;  ///< 1
    std::array<std::uint8_t, 1166> rest;
};
static_assert(sizeof(IsoVolumeDescriptor) == kIsoSectorBytes);
static_assert(alignof(IsoVolumeDescriptor) == 1);
static_assert(offsetof(IsoVolumeDescriptor, spaceSize) == 80);
static_assert(offsetof(IsoVolumeDescriptor, escapes) == 88);
static_assert(offsetof(IsoVolumeDescriptor, blockSize) == 128);
static_assert(offsetof(IsoVolumeDescriptor, pathTableL) == 140);
static_assert(offsetof(IsoVolumeDescriptor, pathTableM) == 148);
static_assert(offsetof(IsoVolumeDescriptor, root) == 156);
static_assert(offsetof(IsoVolumeDescriptor, volumeSetId) == 190);
static_assert(offsetof(IsoVolumeDescriptor, copyrightFile) == 702);
static_assert(offsetof(IsoVolumeDescriptor, created) == 813);
static_assert(offsetof(IsoVolumeDescriptor, fileStructureVersion) == 881);

}  // namespace vellmark
