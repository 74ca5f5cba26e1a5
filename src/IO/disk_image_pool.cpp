#include "IO/disk_image_pool.hpp"

#include <algorithm>
#include <cstring>
#include <exception>
#include <system_error>
#include <utility>

#include "IO/disk_image_crc.hpp"

namespace vellmark {

namespace {

std::span<const std::uint8_t> StoredOf(const BlockJob& job) {
    return {job.stored.data(), static_cast<std::size_t>(job.place.storedBytes)};
}

std::span<std::uint8_t> PlainOf(BlockJob& job) {
    return {job.plain.data(), static_cast<std::size_t>(job.place.sizeBytes)};
}

std::uint32_t CrcOf(std::span<const std::uint8_t> bytes) {
    RunningCrc crc;
    crc.add(bytes);
    return crc.value();
}

class OnePiece final : public StoredPieces {
  public:
    explicit OnePiece(std::span<const std::uint8_t> piece) : piece_(piece) {}
    [[nodiscard]] std::span<const std::uint8_t> next() override {
        return std::exchange(piece_, {});
    }

  private:
    std::span<const std::uint8_t> piece_;
};

class MemoryPieces final : public PlainPieces {
  public:
    explicit MemoryPieces(std::span<std::uint8_t> room) : room_(room) {}
    [[nodiscard]] std::span<std::uint8_t> room() override { return room_; }
    [[nodiscard]] bool put(std::size_t count) override {
        room_ = room_.subspan(count);
        return true;
    }

  private:
    std::span<std::uint8_t> room_;
};

void ExpandStreamJob(BlockJob& job) {
    OnePiece stored(StoredOf(job));
    MemoryPieces plain(PlainOf(job));
    job.end = ExpandStream(job.place.type, stored, plain);
    job.length = job.place.sizeBytes - plain.room().size();
}

void ExpandAdcJob(BlockJob& job, AdcMatch match) {
    const AdcResult result = ExpandAdc(StoredOf(job), PlainOf(job), match);
    job.end = result.end;
    job.length = result.length;
    job.isAmbiguous = result.isAmbiguous;
}

void ClearRest(BlockJob& job) {
    const std::span<std::uint8_t> rest = PlainOf(job).subspan(static_cast<std::size_t>(job.length));
    std::fill(rest.begin(), rest.end(), std::uint8_t{0});
}

// Both readings of an ambiguous block are expanded; the first one stays.
void TakeCrc(BlockJob& job) {
    job.crc = CrcOf(PlainOf(job));
    job.patternCrc = job.crc;
    if (!job.isAmbiguous)
        return;
    ExpandPattern(job);
    job.patternCrc = CrcOf(PlainOf(job));
    ExpandJob(job);
}

// What a library throws, where the system refuses memory, goes to the thread that waits for the
// block.
void Finish(BlockJob& job) {
    try {
        ExpandJob(job);
        if (job.wantsCrc && job.end == BlockEnd::Done)
            TakeCrc(job);
    } catch (...) {
        job.failure = std::current_exception();
    }
}

}  // namespace

void ExpandJob(BlockJob& job) {
    job.isAmbiguous = false;
    if (IsStreamType(job.place.type)) {
        ExpandStreamJob(job);
    } else if (job.place.type == BlockType::Adc) {
        ExpandAdcJob(job, AdcMatch::Fill);
    } else {
        job.plain.swap(job.stored);
        job.end = BlockEnd::Done;
        job.length = job.place.sizeBytes;
    }
    ClearRest(job);
}

void ExpandPattern(BlockJob& job) {
    ExpandAdcJob(job, AdcMatch::Pattern);
    ClearRest(job);
}

BlockPool::BlockPool(unsigned threads) {
    try {
        for (unsigned i = 0; i < threads; ++i)
            workers_.emplace_back([this](const std::stop_token& stop) { work(stop); });
    } catch (const std::system_error&) {
        // The system gives no more threads: those that there are do the work.
    }
}

BlockPool::~BlockPool() {
    for (std::jthread& worker : workers_)
        worker.request_stop();
}

void BlockPool::submit(BlockJob& job) {
    if (workers_.empty()) {
        Finish(job);
        return;
    }
    {
        const std::lock_guard lock(mutex_);
        job.isDone = false;
        waiting_.push_back(&job);
    }
    submitted_.notify_one();
}

void BlockPool::await(BlockJob& job) {
    std::unique_lock lock(mutex_);
    done_.wait(lock, [&] { return job.isDone; });
    if (job.failure)
        std::rethrow_exception(std::exchange(job.failure, nullptr));
}

void BlockPool::work(const std::stop_token& stop) {
    while (true) {
        BlockJob* job = nullptr;
        {
            std::unique_lock lock(mutex_);
            if (!submitted_.wait(lock, stop, [&] { return !waiting_.empty(); }))
                return;
            job = waiting_.front();
            waiting_.pop_front();
        }
        Finish(*job);
        {
            const std::lock_guard lock(mutex_);
            job->isDone = true;
        }
        done_.notify_all();
    }
}

}  // namespace vellmark
