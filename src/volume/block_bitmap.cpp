#include "volume/block_bitmap.hpp"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <iterator>

namespace vellmark {

namespace {

bool IsUsed(std::span<const std::uint8_t> bitmap, std::uint32_t block) {
    return (bitmap[block / 8] >> (7 - block % 8) & 1) != 0;
}

// First block from `from` on whose mark differs from that of a byte filled with `passed`. Whole
// bytes are passed over at once.
std::uint32_t PassOver(std::span<const std::uint8_t> bitmap, std::uint32_t from, std::uint32_t end,
                       std::uint8_t passed) {
    std::uint32_t block = from;
    while (block < end) {
        if (block % 8 == 0) {
            const auto first = bitmap.begin() + block / 8;
            const auto last = bitmap.begin() + (end + 7) / 8;
            const auto other =
                std::find_if(first, last, [passed](std::uint8_t byte) { return byte != passed; });
            block = static_cast<std::uint32_t>(other - bitmap.begin()) * 8;
            if (block >= end)
                return end;
        }
        if (IsUsed(bitmap, block) != (passed != 0))
            return block;
        ++block;
    }
    return end;
}

using Mark = AllocationState::Mark;

void Note(AllocationState& state, BlockRun run, Mark mark) {
    if (state.hasSavepoint)
        state.sinceSavepoint.push_back({run, mark});
}

void NoteChangedBytes(AllocationState& state, BlockRun run) {
    const std::size_t from = run.startBlock / 8;
    const std::size_t end = (std::size_t{run.startBlock} + run.blockCount + 7) / 8;
    const bool isFirst = state.changedFrom == state.changedEnd;
    state.changedFrom = isFirst ? from : std::min(state.changedFrom, from);
    state.changedEnd = isFirst ? end : std::max(state.changedEnd, end);
}

}  // namespace

void MarkRun(AllocationState& state, BlockRun run, bool used) {
    if (run.blockCount == 0)
        return;
    Note(state, run, used ? Mark::Used : Mark::Free);
    NoteChangedBytes(state, run);
    std::uint32_t block = run.startBlock;
    const std::uint32_t end = run.startBlock + run.blockCount;
    while (block < end) {
        if (block % 8 == 0 && end - block >= 8) {
            const std::uint32_t bytes = (end - block) / 8;
            std::fill_n(state.bitmap.begin() + block / 8, bytes,
                        static_cast<std::uint8_t>(used ? 0xFF : 0));
            block += bytes * 8;
            continue;
        }
        const auto bit = static_cast<std::uint8_t>(0x80u >> (block % 8));
        std::uint8_t& byte = state.bitmap[block / 8];
        byte = static_cast<std::uint8_t>(used ? byte | bit : byte & ~bit);
        ++block;
    }
}

void MarkFreed(AllocationState& state, BlockRun run) {
    if (run.blockCount == 0)
        return;
    Note(state, run, Mark::Freed);
    state.freed.emplace(run.startBlock, run.blockCount);
}

void FreeWhatWasFreed(AllocationState& state) {
    for (const auto& [startBlock, blockCount] : state.freed) {
        Note(state, {startBlock, blockCount}, Mark::NotFreed);
        MarkRun(state, {startBlock, blockCount}, false);
    }
    state.freed.clear();
}

void UndoMarks(AllocationState& state) {
    state.hasSavepoint = false;
    for (auto step = state.sinceSavepoint.rbegin(); step != state.sinceSavepoint.rend(); ++step) {
        if (step->mark == Mark::Freed)
            state.freed.erase(step->run.startBlock);
        else if (step->mark == Mark::NotFreed)
            state.freed.emplace(step->run.startBlock, step->run.blockCount);
        else
            MarkRun(state, step->run, step->mark == Mark::Free);
    }
}

bool IsInUse(const AllocationState& state, BlockRun run) {
    if (run.blockCount == 0)
        return true;
    if (!IsWhollyUsed(state.bitmap, run))
        return false;
    // Runs that were given up do not overlap: the last one that begins before the end of this one
    // reaches furthest.
    const auto behind = state.freed.lower_bound(run.startBlock + run.blockCount);
    if (behind == state.freed.begin())
        return true;
    const auto& [startBlock, blockCount] = *std::prev(behind);
    return startBlock + blockCount <= run.startBlock;
}

std::uint32_t NextFreeBlock(std::span<const std::uint8_t> bitmap, std::uint32_t from,
                            std::uint32_t end) {
    return PassOver(bitmap, from, end, 0xFF);
}

std::uint32_t CountFreeBlocks(std::span<const std::uint8_t> bitmap, std::uint32_t from,
                              std::uint32_t most, std::uint32_t end) {
    const std::uint32_t limit = from + std::min(most, end - from);
    return PassOver(bitmap, from, limit, 0) - from;
}

std::uint32_t TotalFreeBlocks(std::span<const std::uint8_t> bitmap, std::uint32_t end) {
    std::uint32_t used = 0;
    for (std::size_t i = 0; i < end / 8; ++i)
        used += static_cast<std::uint32_t>(std::popcount(bitmap[i]));
    for (std::uint32_t block = end / 8 * 8; block < end; ++block)
        used += IsUsed(bitmap, block) ? 1 : 0;
    return end - used;
}

bool IsWhollyUsed(std::span<const std::uint8_t> bitmap, BlockRun run) {
    const std::uint32_t end = run.startBlock + run.blockCount;
    return PassOver(bitmap, run.startBlock, end, 0xFF) == end;
}

}  // namespace vellmark
