#include "volume/block_bitmap.hpp"

#include <algorithm>
#include <bit>
#include <cstddef>

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

}  // namespace

void MarkRun(AllocationState& state, BlockRun run, bool used) {
    if (state.hasSavepoint)
        state.sinceSavepoint.push_back({run, used});
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
