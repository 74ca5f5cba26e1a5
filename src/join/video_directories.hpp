// The ISO 9660 directories of a disc whose last files have moved.
#pragma once

#include <array>
#include <cstdint>
#include <map>

#include "IO/iso_structures.hpp"
#include "support/byte_source.hpp"
#include "support/reason.hpp"

namespace vellmark {

using SectorData = std::array<std::uint8_t, kIsoSectorBytes>;
/// New data of sectors, by number.
using ChangedSectors = std::map<std::uint64_t, SectorData>;

/// Finds the sectors of directories with records of files at sector `first` or behind it, and moves
/// those files on by `count` sectors in them. A reason when a directory is damaged or lies there
/// itself.
[[nodiscard]] Reason MoveFilesOn(ByteSource& disc, std::uint64_t first, std::uint32_t count,
                                 ChangedSectors& changed);

}  // namespace vellmark
