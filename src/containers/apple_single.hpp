// AppleSingle and AppleDouble (RFC 1740; big-endian): a Macintosh file as one PC file, or as the PC
// file of its data fork with a companion `._NAME` beside it for all the rest.
//
// One peculiarity is kept on purpose: the dates are written as the volume has them, in seconds
// since 1904, where the published format counts from 2000. Nothing here reads them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "containers/fork_pair.hpp"

namespace vellmark {

inline constexpr std::uint32_t kAppleSingleMagic = 0x00051600;
inline constexpr std::uint32_t kAppleDoubleMagic = 0x00051607;
inline constexpr std::uint32_t kAppleFileVersion = 0x00020000;

/// What an entry holds, as far as it matters here.
enum class AppleEntryId : std::uint32_t {
    DataFork = 1,
    ResourceFork = 2,
    FileDates = 8,
    FinderInfo = 9,
};

struct AppleFileHeader {
    be32 magic;
    be32 version;
    std::uint8_t filler[16]{};  ///< zeros, or the name of the system that wrote it
    be16 entryCount;
};
static_assert(sizeof(AppleFileHeader) == 26);

struct AppleFileEntry {
    be32 id;      ///< AppleEntryId
    be32 offset;  ///< bytes from the start of the file
    be32 length;  ///< bytes
};
static_assert(sizeof(AppleFileEntry) == 12);

/// Seconds since 1904 in the time of the volume.
struct AppleFileDates {
    be32 created;
    be32 modified;
    be32 accessed;  ///< 80000000: not known, as on HFS
    be32 backedUp;
};
static_assert(sizeof(AppleFileDates) == 16);

/// The file begins with the magic of AppleSingle.
[[nodiscard]] bool IsAppleSingleFile(ByteSource& file);
/// The file begins with the magic of AppleDouble: it is a companion, if it has a companion's name.
[[nodiscard]] bool IsAppleDoubleFile(ByteSource& file);

/// The path of the companion: `._` before the last name of the path.
[[nodiscard]] std::string CompanionPath(std::string_view path);
/// The path has a companion, a plain file, that begins with the magic of AppleDouble.
[[nodiscard]] bool IsAppleDoublePair(std::string_view path);

/// The forks and the Finder information of an AppleSingle file. A fork without an entry is empty;
/// of two entries for one thing the first counts. Faults: `NotThisFormat`, `HeaderCut`,
/// `EntryOverlapsHeader`, `DataForkCut`, `ResourceForkCut`, `FinderInfoCut`; all but the first two
/// leave it usable.
[[nodiscard]] MacContainer ReadSingleForks(ByteSource& file);
/// The same of a companion; its data fork is the other file, and an entry for it is not looked at.
/// One whose table is cut short is usable too, with nothing in it.
[[nodiscard]] MacContainer ReadDoubleResource(ByteSource& companion);

/// Writes an AppleSingle file whole: 74 bytes of header, dates, Finder information, resource fork,
/// data fork. Name and lengths of `info` are not looked at. Faults: `ForkTooLong`, `SourceFailed`,
/// `TargetFailed`.
[[nodiscard]] ContainerFault WriteAppleSingle(ByteSink& target, const MacFileInfo& info,
                                              ByteSource& data, ByteSource& resource);
/// Writes the companion (62 bytes of header, dates, Finder information, resource fork), then the
/// data fork to `target`. The same faults.
[[nodiscard]] ContainerFault WriteAppleDouble(ByteSink& target, ByteSink& companion,
                                              const MacFileInfo& info, ByteSource& data,
                                              ByteSource& resource);

}  // namespace vellmark
