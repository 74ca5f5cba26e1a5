// The structures that a sector can hold, and how one is known by its bytes.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "support/reason.hpp"

namespace vellmark {

/// The numbers are those by which a structure can be asked for.
enum class StructureCode : std::uint8_t {
    Unknown = 0,
    HfsPlusHeader = 1,
    MasterDirectoryBlock = 2,
    DriverDescriptor = 3,
    PartitionMapEntry = 4,
    TreeHeader = 5,
    LeafNode = 6,
    IsoDescriptor = 7,
    IsoPathTable = 8,
    IsoDirectory = 9,
    MasterBootRecord = 10,
    BootSector = 11,
    MacBinary = 12,
    AppleSingle = 13,
    AppleDouble = 14,
    IndexNode = 15,
    GptHeader = 16,
    GptEntries = 17  ///< shown from the header, or when asked for
};
inline constexpr unsigned kStructureCodes = 18;

/// The structure of a sector by its bytes; `sector` is its number in what is looked at. The first
/// of twelve tests decides, so a leaf stands before a path table that has its bytes. Containers and
/// GUID tables are never found, only asked for. Fewer than 512 bytes are `Unknown`.
[[nodiscard]] StructureCode IdentifySector(std::span<const std::uint8_t> bytes,
                                           std::uint64_t sector);

/// What a structure that is known is called.
[[nodiscard]] Reason TitleOf(StructureCode code);

/// The code of a number from 1 on, or of the name of a form, without regard to case; nothing for
/// another.
[[nodiscard]] std::optional<StructureCode> StructureNamed(std::string_view name);

}  // namespace vellmark
