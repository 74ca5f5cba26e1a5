// The bitmap of allocation blocks in memory: a set bit is a block in use, most significant first.
#pragma once

#include <cstdint>
#include <span>

#include "volume/writable_volume.hpp"

namespace vellmark {

/// Marks the blocks of a run as used or free.
void MarkRun(AllocationState& state, BlockRun run, bool used);
/// Notes a run in use as given up: it becomes free with the next flush.
void MarkFreed(AllocationState& state, BlockRun run);
/// All that was given up is free from here on.
void FreeWhatWasFreed(AllocationState& state);
/// Takes back what was marked since the savepoint.
void UndoMarks(AllocationState& state);
/// Whether all blocks of a run are in use, and none of them was given up.
[[nodiscard]] bool IsInUse(const AllocationState& state, BlockRun run);

/// First free block from `from` on; `end` when there is none before it.
[[nodiscard]] std::uint32_t NextFreeBlock(std::span<const std::uint8_t> bitmap, std::uint32_t from,
                                          std::uint32_t end);
/// Free blocks in a row from `from` on, at most `most`, none from `end` on.
[[nodiscard]] std::uint32_t CountFreeBlocks(std::span<const std::uint8_t> bitmap,
                                            std::uint32_t from, std::uint32_t most,
                                            std::uint32_t end);
/// All free blocks before `end`.
[[nodiscard]] std::uint32_t TotalFreeBlocks(std::span<const std::uint8_t> bitmap,
                                            std::uint32_t end);
/// Whether all blocks of a run are marked as used.
[[nodiscard]] bool IsWhollyUsed(std::span<const std::uint8_t> bitmap, BlockRun run);

}  // namespace vellmark
