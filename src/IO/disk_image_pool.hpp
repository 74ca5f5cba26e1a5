// Blocks of a disk image that several threads expand in memory at once.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

#include "IO/disk_image_codecs.hpp"
#include "IO/disk_image_tables.hpp"

namespace vellmark {

/// Blocks that are longer than this, stored or expanded, are not expanded in memory.
inline constexpr std::uint64_t kMostPooledBytes = 2 << 20;

/// One block on its way. It belongs to the pool from `submit` until `await`.
struct BlockJob {
    BlockPlace place;
    bool wantsCrc = false;
    std::vector<std::uint8_t> stored;  ///< its first `place.storedBytes` bytes
    std::vector<std::uint8_t> plain;   ///< its first `place.sizeBytes` bytes; empty for zeros

    // What came of it.
    BlockEnd end = BlockEnd::Done;
    std::uint64_t length = 0;      ///< bytes that it really expanded to; the rest are zeros
    std::uint32_t crc = 0;         ///< with `wantsCrc`: of the plain bytes
    std::uint32_t patternCrc = 0;  ///< the same with `AdcMatch::Pattern`
    bool isAmbiguous = false;      ///< see `AdcResult`

    bool isDone = true;          ///< the pool's own
    std::exception_ptr failure;  ///< the same: what `await` throws
};

/// Expands a block in memory, with `AdcMatch::Fill`. Its CRC is not taken.
void ExpandJob(BlockJob& job);
/// Expands a block of Apple Data Compression with `AdcMatch::Pattern` over what was expanded.
void ExpandPattern(BlockJob& job);

class BlockPool {
  public:
    /// With no thread at all, the blocks are expanded by who submits them.
    explicit BlockPool(unsigned threads);
    ~BlockPool();
    BlockPool(const BlockPool&) = delete;
    BlockPool& operator=(const BlockPool&) = delete;

    void submit(BlockJob& job);
    /// Throws what a library threw while the block was expanded (`std::bad_alloc`).
    void await(BlockJob& job);

  private:
    void work(const std::stop_token& stop);

    std::mutex mutex_;
    std::condition_variable_any submitted_;
    std::condition_variable done_;
    std::deque<BlockJob*> waiting_;
    std::vector<std::jthread> workers_;  ///< last: they use the members above
};

}  // namespace vellmark
