// Sectors that are written together: all of them, or in the end none, whatever ends the process.
#pragma once

#include <cstdint>
#include <vector>

#include "IO/redo_log.hpp"
#include "IO/sector_io.hpp"

namespace vellmark {

enum class CommitResult {
    Done,
    NotBegun,    ///< nothing of the image has been overwritten
    Interrupted  ///< what is missing stands in the redo log
};

/// Takes up what is written through the slot of a record, until it is committed in one piece.
class SectorBatch {
  public:
    /// While it lives, writes through the slot go into the batch. Reads go to the image: what
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
    };

    /// Writes all sectors in rising order through the slot. What was written to the image
    /// before is on the device first, then the file system has room for all that is to come, then
    /// there is a redo log, and then come the sectors; without a log none. `mark` is one of them in
    /// the form that it has meanwhile. When not all could be written, the batch keeps everything
    /// for another try. It is empty afterwards otherwise, and an empty one does nothing.
    [[nodiscard]] CommitResult commit(MediumContext& context, const RedoMark& mark);
    /// Why the last commit was not done, as a part of a sentence; none when it was.
    [[nodiscard]] const Reason& problem() const { return problem_; }
    /// How the last commit ended.
    [[nodiscard]] CommitResult result() const { return result_; }
    [[nodiscard]] bool isEmpty() const { return runs_.empty(); }

  private:
    struct Run {
        Sector512 sector;
        std::size_t start = 0;  ///< in `bytes_`
        std::size_t size = 0;   ///< bytes
    };

    void add(const SectorRequest& request);
    void joinRuns();
    [[nodiscard]] CommitResult write(MediumContext& context, const RedoMark& mark);

    std::vector<Run> runs_;
    std::vector<std::uint8_t> bytes_;
    Reason problem_;
    CommitResult result_ = CommitResult::Done;
};

}  // namespace vellmark
