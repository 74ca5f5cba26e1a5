// Macintosh files that a file server left on the PC: the data fork is the file, and two named
// streams hold the rest. Linux keeps such streams as extended attributes of the user, under the
// names of the streams or under names with a prefix that names where a stream came from.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "containers/fork_pair.hpp"

namespace vellmark {

/// The stream AFP_AfpInfo. Big-endian.
struct AfpInfo {
    be32 signature;  ///< "AFP" and a zero byte
    be32 version;    ///< 00010000
    be32 fileId;
    be32 backupDate;
    FinderInfo finder;
    std::uint8_t proDosInfo[6]{};
    std::uint8_t reserved[6]{};
};
static_assert(sizeof(AfpInfo) == 60 && alignof(AfpInfo) == 1);
static_assert(offsetof(AfpInfo, finder) == 16);

inline constexpr std::uint32_t kAfpInfoSignature = 0x41465000;

/// The file has one of the two streams.
[[nodiscard]] bool HasNamedStreams(const std::string& path);

/// The Finder's information of the stream AFP_AfpInfo; nothing without that stream, or when it does
/// not begin with its signature or ends before the Finder's flags do; what is missing behind them
/// is zero. Type and creator are eight zeros when the file has none of its
/// own: "TEXTLMAN" is what a server writes for a file that never was on a Macintosh.
[[nodiscard]] std::optional<FinderInfo> ReadAfpInfo(const std::string& path);

/// Reads the stream AFP_Resource whole, empty when there is none; an attribute has 64 KiB at most.
/// Some servers store one zero byte more than a stream has: where the length of AFP_AfpInfo, which
/// is fixed, shows that, or the fork's own header without it, that byte is left out. Returns the
/// system's error number, 0 for none.
[[nodiscard]] int ReadResourceStream(const std::string& path, MemoryBytes& fork);

}  // namespace vellmark
