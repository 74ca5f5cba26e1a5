// One run through all blocks of a disk image.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "IO/disk_image.hpp"
#include "IO/disk_image_crc.hpp"
#include "IO/disk_image_pool.hpp"
#include "IO/disk_image_tables.hpp"

namespace vellmark {

class Expansion {
  public:
    /// All must outlive it.
    Expansion(ByteSource& source, PcFile& target, Progress& progress, const ExpandOptions& options,
              const DiskImageTrailer& trailer);

    [[nodiscard]] ExpandResult run();

  private:
    // Each says false when the run has failed; the first failure is the result.
    [[nodiscard]] bool plan();
    [[nodiscard]] bool expandTable();
    [[nodiscard]] bool takeBlock(const BlockPlace& place);
    [[nodiscard]] bool submit(const BlockPlace& place);
    [[nodiscard]] bool retireOldest();
    [[nodiscard]] bool drain();
    [[nodiscard]] bool expandLarge(const BlockPlace& place);
    [[nodiscard]] bool finishTable();
    [[nodiscard]] bool rewriteWithPatterns();
    [[nodiscard]] bool compareTrailer();
    [[nodiscard]] bool readStored(BlockJob& job);
    [[nodiscard]] bool write(std::uint64_t position, std::span<const std::uint8_t> bytes);

    [[nodiscard]] bool hasFailed() const { return result_.end != ExpandEnd::Done; }
    bool fail(Reason problem);
    bool failRead();
    bool failTables();
    bool failWrite();
    bool stop();
    void noteEnd(const BlockPlace& place);
    void noteShort(const BlockPlace& place);
    void addRemarks();

    ByteSource& source_;
    PcFile& target_;
    Progress& progress_;
    const ExpandOptions& options_;
    const DiskImageTrailer& trailer_;
    BlockTables tables_;
    ExpandResult result_;

    bool takesCrc_ = false;
    RunningCrc crc_;         ///< of the table so far
    RunningCrc patternCrc_;  ///< the same with `AdcMatch::Pattern`
    bool isAmbiguous_ = false;
    std::uint64_t unknownChecksums_ = 0;
    std::uint64_t shortBlocks_ = 0;
    Reason firstShort_;

    std::vector<BlockJob> ring_;
    std::size_t oldest_ = 0;
    std::size_t inFlight_ = 0;
    BlockPool pool_;  ///< last: its threads use the ring
};

}  // namespace vellmark
