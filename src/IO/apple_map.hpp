// The partition map of an Apple disk (Inside Macintosh: Devices, "SCSI Manager"), and whether a
// Macintosh volume lies at a place.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "IO/partition_structures.hpp"
#include "support/byte_source.hpp"

namespace vellmark {

struct AppleMap {
    DriverDescriptor descriptor{};  ///< all zero where there is none
    /// Bytes of a block: the entries are one block apart, and count in blocks.
    std::uint32_t blockBytes = 512;
    std::uint64_t offset = 0;                ///< byte of the first entry
    std::vector<PartitionMapEntry> entries;  ///< the first at least
};

/// Most entries that are read, whatever count the map holds.
inline constexpr std::uint32_t kMostMapEntries = 1024;

/// Reads the map as far as its first entry says that it goes, or up to the first block that is no
/// entry. It stands one block of the driver descriptor behind it, or at byte 512 where nothing of
/// it stands there or what stands there is not its first entry; without a descriptor in the first
/// sector, or behind it where that is something else. Nothing where there is no map.
[[nodiscard]] std::optional<AppleMap> ReadAppleMap(ByteSource& disk);

/// Text of at most 32 bytes, up to its first zero.
[[nodiscard]] std::string_view MapText(const std::array<char, 32>& field);
/// The partition is to hold HFS, HFS+ or HFSX. A type that is the beginning of "Apple_HFS" counts,
/// the empty one as well.
[[nodiscard]] bool IsHfsEntry(const PartitionMapEntry& entry);

/// The signature of a Macintosh volume that begins at byte `start`: `BD`, `H+` or `HX`; 0 where
/// none does.
[[nodiscard]] std::uint16_t VolumeSignatureAt(ByteSource& disk, std::uint64_t start);

}  // namespace vellmark
