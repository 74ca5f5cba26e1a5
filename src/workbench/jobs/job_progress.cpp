#include "workbench/jobs/job_progress.hpp"

#include <cmath>

namespace vellmark {

namespace {

// Before that a speed says little.
constexpr double kFirstEstimateSeconds = 2;

}  // namespace

std::optional<int> RestSeconds(const JobState& state, double seconds) {
    if (seconds < kFirstEstimateSeconds || state.doneBytes == 0 ||
        state.totalBytes <= state.doneBytes)
        return std::nullopt;
    const auto rest = static_cast<double>(state.totalBytes - state.doneBytes);
    return static_cast<int>(std::lround(seconds * rest / static_cast<double>(state.doneBytes)));
}

JobState JobProgress::state() const {
    const std::lock_guard lock(mutex_);
    return state_;
}

double JobProgress::seconds() const {
    const std::lock_guard lock(mutex_);
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begun_).count();
}

void JobProgress::begin(std::uint64_t totalBytes) {
    const std::lock_guard lock(mutex_);
    state_.totalBytes = totalBytes;
    state_.doneBytes = 0;
    begun_ = std::chrono::steady_clock::now();
}

void JobProgress::fileStart(std::string_view name, std::uint64_t sizeBytes, int chunks) {
    const std::lock_guard lock(mutex_);
    state_.what = name.empty()  ? JobState::What::Tables
                  : chunks == 0 ? JobState::What::SmallFiles
                                : JobState::What::File;
    state_.file = name;
    state_.fileBytes = sizeBytes;
    state_.chunks = chunks;
    state_.chunksDone = 0;
}

bool JobProgress::chunk(std::uint64_t bytes) {
    if (bytes != 0) {
        const std::lock_guard lock(mutex_);
        state_.doneBytes += bytes;
        ++state_.chunksDone;
    }
    return !stopped_;
}

bool JobProgress::fileEnd(std::uint64_t bytes) {
    const std::lock_guard lock(mutex_);
    state_.doneBytes += bytes;
    ++state_.files;
    return !stopped_;
}

void JobProgress::journal(int level, std::string_view line) {
    if (journal_)
        journal_(level, line);
}

void JobProgress::text(std::string_view status) {
    const std::lock_guard lock(mutex_);
    state_.what = JobState::What::Status;
    state_.status = status;
    state_.chunksDone = 0;
}

}  // namespace vellmark
