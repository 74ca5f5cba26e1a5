// The extents overflow tree: where a file lies beyond the runs that its catalog record holds
// (Inside Macintosh: Files, chapter 2; Apple Technical Note TN1150). Changes stand within a
// `VolumeChange`.
#pragma once

#include <cstdint>
#include <vector>

#include "volume/catalog_keys.hpp"
#include "volume/catalog_records.hpp"
#include "volume/fork_reader.hpp"
#include "volume/writable_volume.hpp"

namespace vellmark {

/// Runs that a record holds, in the catalog as in the tree.
[[nodiscard]] constexpr std::size_t RunsPerRecord(bool isHfsPlus) {
    return isHfsPlus ? std::tuple_size_v<HfsPlusExtentRecord> : std::tuple_size_v<HfsExtentRecord>;
}

/// A record of the extents tree.
struct OverflowRecord {
    TreeKey key;
    std::vector<BlockRun> runs;
};

/// The records of a fork whose first `heldRuns` runs stand elsewhere, as its catalog record.
[[nodiscard]] std::vector<OverflowRecord> OverflowRecords(bool isHfsPlus, std::uint32_t fileId,
                                                          std::uint8_t fork,
                                                          const std::vector<BlockRun>& runs,
                                                          std::size_t heldRuns);

/// The bytes behind the key.
[[nodiscard]] RecordData OverflowData(bool isHfsPlus, const OverflowRecord& record);

/// All records that a fork has in the tree; `fork` is 0 for data, 255 for the resource fork.
[[nodiscard]] TreeResult OverflowOf(WritableVolume& volume, std::uint32_t fileId, std::uint8_t fork,
                                    std::vector<OverflowRecord>& records);

/// Adds one record. The tree grows where it has to: `Full` when there is no room for that.
[[nodiscard]] TreeResult AddOverflowRecord(WritableVolume& volume, const OverflowRecord& record);

/// Writes down those of a new fork's runs that its catalog record does not hold.
[[nodiscard]] TreeResult AddOverflow(WritableVolume& volume, std::uint32_t fileId,
                                     std::uint8_t fork, const std::vector<BlockRun>& runs);

/// Writes down a further run of the catalog's file, whose header has `inHeader` of its `oldBlocks`:
/// behind the last record that it has in the tree, as long as that one has room, else in a record
/// of its own.
[[nodiscard]] TreeResult AddCatalogOverflow(WritableVolume& volume, std::uint32_t inHeader,
                                            std::uint32_t oldBlocks, BlockRun run);

}  // namespace vellmark
