// The progress port of the session: what it does in a job is shown as that job.
#pragma once

#include "workbench/jobs/job_runner.hpp"

namespace vellmark {

class SessionProgress final : public Progress {
  public:
    explicit SessionProgress(JobRunner& jobs) : jobs_(jobs) {}

    void begin(std::uint64_t totalBytes) override {
        if (Progress* const job = jobs_.progress())
            job->begin(totalBytes);
    }
    void fileStart(std::string_view name, std::uint64_t sizeBytes, int chunks) override {
        if (Progress* const job = jobs_.progress())
            job->fileStart(name, sizeBytes, chunks);
    }
    [[nodiscard]] bool chunk(std::uint64_t bytes) override {
        Progress* const job = jobs_.progress();
        return !job || job->chunk(bytes);
    }
    [[nodiscard]] bool fileEnd(std::uint64_t bytes) override {
        Progress* const job = jobs_.progress();
        return !job || job->fileEnd(bytes);
    }
    void journal(int level, std::string_view line) override {
        if (Progress* const job = jobs_.progress())
            job->journal(level, line);
    }
    void text(std::string_view status) override {
        if (Progress* const job = jobs_.progress())
            job->text(status);
    }

  private:
    JobRunner& jobs_;
};

}  // namespace vellmark
