// Long work beside the window: one job at a time, in a thread of its own.
#pragma once

#include <functional>
#include <memory>

#include "workbench/jobs/job_progress.hpp"

namespace vellmark {

enum class JobKind {
    Work,     ///< changes or reads what is open: nobody else may meanwhile
    Compile,  ///< only reads the open project, which can be looked at
    Look      ///< only reads bytes of the open image, which the window has listed already
};

class JobRunner {
  public:
    /// `changed` is called in the window's thread when a job begins and when it ends.
    JobRunner(JobProgress::JournalLine journal, std::function<void()> changed)
        : journal_(std::move(journal)), changed_(std::move(changed)) {}

    [[nodiscard]] bool isRunning() const { return progress_ != nullptr; }
    /// A job runs that what is open must not be looked at beside.
    [[nodiscard]] bool isExclusive() const { return isRunning() && kind_ == JobKind::Work; }
    [[nodiscard]] bool isCompile() const { return isRunning() && kind_ == JobKind::Compile; }
    /// Of the running job; null when none runs.
    [[nodiscard]] JobProgress* progress() { return progress_.get(); }
    void stop();

    /// Runs the work and returns when it has ended; the window goes on living meanwhile. What the
    /// work throws comes out here. Does nothing while another job runs, and returns false.
    bool run(JobKind kind, const std::function<void(Progress& progress)>& work);

  private:
    JobProgress::JournalLine journal_;
    std::function<void()> changed_;
    std::unique_ptr<JobProgress> progress_;
    JobKind kind_ = JobKind::Work;
};

}  // namespace vellmark
