// Runs of free blocks found, taken and given back. The counts of free blocks in the header follow.
#pragma once

#include <cstdint>
#include <vector>

#include "volume/fork_reader.hpp"
#include "volume/writable_volume.hpp"

namespace vellmark {

/// Takes one run of free blocks, from the header's hint on and not around the end: all that is
/// wanted, or at least 10 blocks of it. The hint moves behind it. False when there is none.
[[nodiscard]] bool AllocateRunHfs(WritableVolume& volume, std::uint32_t wanted, BlockRun& run);
/// The same for HFS+: all that is wanted, or more than an eighth of it. The hint moves only when
/// the first run that was looked at served.
[[nodiscard]] bool AllocateRunHfsPlus(WritableVolume& volume, std::uint32_t wanted, BlockRun& run);
[[nodiscard]] bool AllocateRun(WritableVolume& volume, std::uint32_t wanted, BlockRun& run);
/// Takes the free blocks right behind a run, at most `wanted`. The hint stays.
[[nodiscard]] bool AllocateBehind(WritableVolume& volume, BlockRun before, std::uint32_t wanted,
                                  BlockRun& run);
/// Takes the longest run of free blocks, or what is wanted of it. The hint stays.
[[nodiscard]] bool AllocateLongestRun(WritableVolume& volume, std::uint32_t wanted, BlockRun& run);
/// First block that no new file may have: the volume's end, and in HFS the last block, as a file
/// there is damage to a checker.
[[nodiscard]] std::uint32_t AllocationEnd(const WritableVolume& volume);
/// Lets the next search begin at block 0.
void RestartAllocation(WritableVolume& volume);

/// Takes blocks for a whole fork, in as many runs as a catalog record holds. When that fails from
/// the hint on, all is tried once more from block 0, and then with the longest free runs, as many
/// as it takes: those beyond the catalog record go into the extents tree
/// (volume/overflow_extents.hpp). False when there are too few free blocks; nothing is taken then.
[[nodiscard]] bool ReserveBlocks(WritableVolume& volume, std::uint64_t bytes,
                                 std::vector<BlockRun>& runs);

/// Gives up runs that the volume on the medium may refer to; all of them must be in use. Blocks
/// that the PC side of the image needs (volume/pc_side.hpp) stay in use. The others count as free,
/// but are taken again only after the next flush: whatever ends the process before it, no file has
/// lost its contents. The hint goes back: to 0 in HFS, to the lowest of the runs in HFS+.
void FreeExtents(WritableVolume& volume, const std::vector<BlockRun>& runs);
/// Gives back runs that were only just taken, and that nothing refers to.
void ReturnBlocks(WritableVolume& volume, const std::vector<BlockRun>& runs);

/// Blocks of a length.
[[nodiscard]] std::uint64_t BlocksFor(const WritableVolume& volume, std::uint64_t bytes);

}  // namespace vellmark
