// Sectors that are written together: all of them, or in the end none, whatever ends the process.
#pragma once

#include <cstdint>
#include <vector>

#include "IO/sector_io.hpp"

namespace vellmark {

/// Takes up what is written through the slots of a record, until it is committed in one piece.
class SectorBatch {
  public:
    /// While it lives, writes through both slots go into the batch. Reads go to the image: what
    /// has been taken up is not seen by them.
    class Recording {
      public:
        Recording(MediumContext& context, SectorBatch& batch);
        ~Recording();
        Recording(const Recording&) = delete;
        Recording& operator=(const Recording&) = delete;

      private:
        MediumContext& context_;
        TransferSlot slot_;
        TransferSlot slot2_;
    };

    /// Writes all sectors in rising order through `transferSlot2`. What was written to the image
    /// before is on the device first, then a redo log, then the sectors; where no log can be
    /// written, as in a folder that is read-only, the sectors alone. `witnessSector` is one that
    /// every change of the image changes. False when not all could be written; the batch then keeps
    /// everything for another try. It is empty afterwards otherwise, and an empty one does nothing.
    [[nodiscard]] bool commit(MediumContext& context, std::uint64_t witnessSector);

  private:
    struct Run {
        std::uint64_t sector = 0;
        std::size_t start = 0;  ///< in `bytes_`
        std::size_t size = 0;   ///< bytes
    };

    void add(const SectorRequest& request);
    void joinRuns();

    std::vector<Run> runs_;
    std::vector<std::uint8_t> bytes_;
};

}  // namespace vellmark
