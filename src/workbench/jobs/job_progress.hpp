// The progress of a job: written by the thread that works, read by the one that shows it. Work is
// never held up by being shown, as whoever shows it comes and looks.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "support/progress.hpp"

namespace vellmark {

/// How far a job is.
struct JobState {
    enum class What { Status, File, SmallFiles, Tables };

    What what = What::Status;
    std::string status;  ///< what the work says of itself
    std::string file;    ///< the one that is copied
    std::uint64_t fileBytes = 0;
    int chunks = 0;  ///< of that file, 0 for a small one
    int chunksDone = 0;
    std::uint64_t totalBytes = 0;  ///< 0 when it is not known
    std::uint64_t doneBytes = 0;
    std::int64_t files = 0;  ///< finished
};

/// Seconds that the rest will take at the speed so far; nothing before two seconds have gone, or
/// when nobody knows how much there is to do.
[[nodiscard]] std::optional<int> RestSeconds(const JobState& state, double seconds);

class JobProgress final : public Progress {
  public:
    /// `journal` takes the lines for the journal, from the thread that works; it may be empty.
    using JournalLine = std::function<void(int level, std::string_view line)>;
    explicit JobProgress(JournalLine journal) : journal_(std::move(journal)) {}

    /// To be called from any thread, as the next three.
    [[nodiscard]] JobState state() const;
    [[nodiscard]] double seconds() const;
    void stop() { stopped_ = true; }
    [[nodiscard]] bool isStopped() const { return stopped_; }

    void begin(std::uint64_t totalBytes) override;
    void fileStart(std::string_view name, std::uint64_t sizeBytes, int chunks) override;
    [[nodiscard]] bool chunk(std::uint64_t bytes) override;
    [[nodiscard]] bool fileEnd(std::uint64_t bytes) override;
    void journal(int level, std::string_view line) override;
    void text(std::string_view status) override;

  private:
    mutable std::mutex mutex_;
    JobState state_;
    std::chrono::steady_clock::time_point begun_ = std::chrono::steady_clock::now();
    std::atomic<bool> stopped_ = false;
    JournalLine journal_;
};

}  // namespace vellmark
