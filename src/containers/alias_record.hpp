// Alias records as the Alias Manager of the Macintosh keeps them, version 2: in the `alis` resource
// of an alias file, and in other files that point at one. A head of fixed length, then entries with
// a tag each. Nothing of it is believed unseen: lengths that lie are told, and the rest is read.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

#include "support/byte_source.hpp"
#include "support/endian.hpp"
#include "support/mac_dates.hpp"
#include "support/reason.hpp"
#include "support/result.hpp"

namespace vellmark {

struct AliasHead {
    std::array<char, 4> owner{};  ///< of whoever made it
    be16 recordSize;              ///< bytes, the entries included
    be16 version;                 ///< `kAliasVersion`
    be16 kind;                    ///< `kAliasOfFolder`, or 0
    std::uint8_t volumeNameLength = 0;
    std::array<char, 27> volumeName{};  ///< MacRoman, as is the next
    be32 volumeCreated;                 ///< seconds since 1904
    std::array<char, 2> volumeSignature{};
    be16 driveType;
    be32 parentId;
    std::uint8_t targetNameLength = 0;
    std::array<char, 63> targetName{};
    be32 targetId;
    be32 targetCreated;  ///< seconds since 1904
    std::array<char, 4> type{};
    std::array<char, 4> creator{};
    be16 levelsFrom;  ///< from the alias up to a folder that both lie in; FFFF: not known
    be16 levelsTo;    ///< from there down to the target
    be32 volumeAttributes;
    std::array<char, 2> fileSystem{};
    std::uint8_t reserved[10]{};
};
static_assert(sizeof(AliasHead) == 150 && alignof(AliasHead) == 1);
static_assert(offsetof(AliasHead, volumeNameLength) == 10);
static_assert(offsetof(AliasHead, parentId) == 46);
static_assert(offsetof(AliasHead, targetNameLength) == 50);
static_assert(offsetof(AliasHead, targetId) == 114);

/// An entry; its bytes follow, and one more when their number is odd.
struct AliasEntry {
    be16 tag;
    be16 length;  ///< bytes
};
static_assert(sizeof(AliasEntry) == 4);

enum class AliasTag : std::uint16_t {
    ParentName = 0,
    ParentNumbers = 1,   ///< of the folders around the target, 4 bytes each, the nearest first
    MacPath = 2,         ///< MacRoman, a colon between the names
    UnicodeTarget = 14,  ///< count of units, then UTF-16
    UnicodeVolume = 15,  ///< the same
    PosixPath = 18,      ///< from the root of the volume on, UTF-8
    MountPoint = 19,     ///< of the volume
    End = 0xFFFF
};

inline constexpr std::uint16_t kAliasVersion = 2;
inline constexpr std::uint16_t kAliasOfFolder = 1;
inline constexpr std::uint16_t kAliasLevelsUnknown = 0xFFFF;
/// A longer record is not read.
inline constexpr std::uint32_t kMostAliasBytes = 1000;

/// What a record says. Texts are UTF-8, names with a slash in them as `:`.
struct AliasRecord {
    bool isFolder = false;
    std::string volumeName;
    MacSeconds volumeCreated = 0;
    std::string targetName;
    std::string parentName;  ///< empty when it is not told, as is the next
    std::string macPath;     ///< as the Macintosh writes it: a colon between the names
    std::uint32_t parentId = 0;
    std::uint32_t targetId = 0;
    Reason problem;  ///< what is wrong with the record; the rest of it is here
};

/// Reads a record from its first byte on. A reason when it has no head, or one of another version.
[[nodiscard]] Result<AliasRecord> ReadAliasRecord(ByteSource& record);

/// Reads the record of an alias file from its resource fork: the first resource `alis`, of the last
/// such type where a map has several. A reason when there is none or it is too long.
[[nodiscard]] Result<AliasRecord> LoadAliasRecord(ByteSource& fork);

}  // namespace vellmark
