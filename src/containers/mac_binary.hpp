// MacBinary: a Macintosh file as one PC file, a header of 128 bytes in front of the two forks
// (published as "MacBinary Transfer Format", versions I to III; big-endian).
//
// Written is the first form, which every reader takes: no checksum, version or secondary header. It
// has no place for the low byte of the Finder flags that readers agree on: a file that has some of
// them, as a colour, is written in the second form.
// Read are all three; what only the later ones have is looked at when the checksum of the header
// proves that it is one of them.
#pragma once

#include <array>
#include <cstdint>

#include "containers/fork_pair.hpp"

namespace vellmark {

struct MacBinaryHeader {
    std::uint8_t oldVersion = 0;      ///< 0
    std::uint8_t nameLength = 0;      ///< 1 to 63
    std::array<char, 63> name{};      ///< MacRoman, filled up with zeros
    std::array<char, 8> signature{};  ///< file type, then creator
    be16 finderFlags;                 ///< from version II on the low byte is 0 here
    be16 locationV;
    be16 locationH;
    std::uint8_t windowFolder[2]{};
    std::uint8_t locked = 0;
    std::uint8_t zero82 = 0;
    be32 dataLength;  ///< bytes
    be32 resourceLength;
    be32 created;  ///< seconds since 1904, local time; 0: not known
    be32 modified;
    be16 commentLength;             ///< the comment lies behind the resource fork
    std::uint8_t finderFlagsLow{};  ///< from version II on
    std::uint8_t mark[4]{};         ///< "mBIN" in version III
    std::uint8_t script = 0;
    std::uint8_t extendedFlags = 0;
    std::uint8_t unused[8]{};
    be32 unpackedLength;
    be16 secondaryLength;  ///< of a header between this one and the data fork, bytes
    std::uint8_t version = 0;
    std::uint8_t neededVersion = 0;
    be16 checksum;  ///< `Crc16` of the 124 bytes before it; from version II on
    std::uint8_t unused126[2]{};
};
static_assert(sizeof(MacBinaryHeader) == 128 && alignof(MacBinaryHeader) == 1);
static_assert(offsetof(MacBinaryHeader, signature) == 65);
static_assert(offsetof(MacBinaryHeader, finderFlags) == 73);
static_assert(offsetof(MacBinaryHeader, zero82) == 82);
static_assert(offsetof(MacBinaryHeader, dataLength) == 83);
static_assert(offsetof(MacBinaryHeader, modified) == 95);
static_assert(offsetof(MacBinaryHeader, finderFlagsLow) == 101);
static_assert(offsetof(MacBinaryHeader, secondaryLength) == 120);
static_assert(offsetof(MacBinaryHeader, checksum) == 124);

/// The recogniser. The format has no mark, so a file is MacBinary when nothing speaks against it;
/// an empty Macintosh file (both forks of length 0) is not. `fileSize` in bytes; below 1 the
/// lengths are not held against it.
[[nodiscard]] bool IsMacBinary(const MacBinaryHeader& header, std::int64_t fileSize);
/// The same for a file. Of one whose header has its checksum the lengths are not held against it.
[[nodiscard]] bool IsMacBinaryFile(ByteSource& file);

/// Reads a file as MacBinary, also one that the recogniser refuses for its signature or its empty
/// forks. Faults: `HeaderCut`, `NotThisFormat` (bytes 0 and 82), `HeaderInvalid` (length of the
/// name), `DataForkCut`, `ResourceForkCut`; the last two leave it usable.
[[nodiscard]] MacContainer ReadMacBinary(ByteSource& file);

/// Offset of the resource fork in a file without a secondary header: the first multiple of 128 that
/// is not below the end of the data fork.
[[nodiscard]] std::uint64_t MacBinaryResourceOffset(std::uint64_t dataLength);

/// A header of the first form, or of the second where the Finder flags need it: name (cut at 63
/// bytes), FInfo without its last field, lengths, creation and modification date as they stand in
/// `info`.
[[nodiscard]] MacBinaryHeader MakeMacBinaryHeader(const MacFileInfo& info);

/// Writes a file whole, with the lengths of the two forks in place of those in `info`, and the name
/// without leading blanks. The dates of the format are local time: whoever comes from HFS+ converts
/// them. Zeros fill up each fork to a multiple of 128 bytes, the last one too: readers refuse a
/// file without them, and `ReadMacBinary` does not. Faults: `HeaderInvalid` (no name),
/// `ForkTooLong`, `SourceFailed`, `TargetFailed`.
[[nodiscard]] ContainerFault WriteMacBinary(ByteSink& target, const MacFileInfo& info,
                                            ByteSource& data, ByteSource& resource);

/// A file that holds the custom icon of the folder it lies in: type and creator "ICNSMACS", a name
/// that begins with "Icon" and a carriage return, and a data fork that is not empty.
[[nodiscard]] bool IsCustomIconFile(const MacFileInfo& info);

}  // namespace vellmark
