// A source that reports each read to a `Progress`: long copies show how far they are, and end
// within one piece when they are to stop.
#pragma once

#include "support/byte_source.hpp"
#include "support/progress.hpp"

namespace vellmark {

class WatchedSource final : public ByteSource {
  public:
    /// Both must outlive it.
    WatchedSource(ByteSource& source, Progress& progress) : source_(source), progress_(progress) {}

    [[nodiscard]] std::uint64_t size() const override { return source_.size(); }
    /// Reads nothing once the work is to stop.
    [[nodiscard]] std::size_t readAt(std::uint64_t offset, std::span<std::uint8_t> out) override {
        if (stopped_)
            return 0;
        const std::size_t got = source_.readAt(offset, out);
        stopped_ = !progress_.chunk(got);
        return stopped_ ? 0 : got;
    }
    [[nodiscard]] std::uint64_t copyTo(PcFile& target, ByteMove move) override {
        if (stopped_)
            return 0;
        const std::uint64_t copied = source_.copyTo(target, move);
        stopped_ = copied > 0 && !progress_.chunk(copied);
        return copied;
    }
    [[nodiscard]] bool stopped() const { return stopped_; }

  private:
    ByteSource& source_;
    Progress& progress_;
    bool stopped_ = false;
};

}  // namespace vellmark
