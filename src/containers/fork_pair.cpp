#include "containers/fork_pair.hpp"

#include <algorithm>
#include <vector>

#include "support/pc_file.hpp"

namespace vellmark {
namespace {

/// A fork of gigabytes passes through a buffer of this size.
constexpr std::uint64_t kPieceBytes = 1 << 20;

}  // namespace

SliceSource::SliceSource(ByteSource& whole, std::uint64_t offset, std::uint64_t length)
    : whole_(&whole), offset_(std::min(offset, whole.size())) {
    length_ = std::min(length, whole.size() - offset_);
}

std::size_t SliceSource::readAt(std::uint64_t offset, std::span<std::uint8_t> out) {
    if (offset >= length_)
        return 0;
    const auto count =
        static_cast<std::size_t>(std::min<std::uint64_t>(out.size(), length_ - offset));
    return whole_->readAt(offset_ + offset, out.first(count));
}

std::uint64_t SliceSource::copyTo(PcFile& target, ByteMove move) {
    if (move.from >= length_)
        return 0;
    return whole_->copyTo(
        target, {offset_ + move.from, move.to, std::min(move.count, length_ - move.from)});
}

bool EndsBeyond(const ByteSource& source, std::uint64_t offset, std::uint64_t length) {
    return length > 0 && (offset > source.size() || length > source.size() - offset);
}

ContainerFault CopyFork(ByteSource& fork, ByteSink& target, std::uint64_t offset) {
    const std::uint64_t length = fork.size();
    auto* file = dynamic_cast<PcFile*>(&target);
    std::vector<std::uint8_t> buffer;
    for (std::uint64_t at = 0; at < length;) {
        if (file != nullptr && length - at >= kLeastDirectCopy) {
            const std::uint64_t copied =
                fork.copyTo(*file, {at, offset + at, std::min(length - at, kMostDirectCopy)});
            at += copied;
            if (copied != 0)
                continue;
            file = nullptr;
        }
        buffer.resize(static_cast<std::size_t>(std::min(length - at, kPieceBytes)));
        const std::span<std::uint8_t> piece(
            buffer.data(),
            static_cast<std::size_t>(std::min<std::uint64_t>(buffer.size(), length - at)));
        if (!fork.readExactly(at, piece))
            return ContainerFault::SourceFailed;
        if (!target.writeAt(offset + at, piece))
            return ContainerFault::TargetFailed;
        at += piece.size();
    }
    return ContainerFault::None;
}

}  // namespace vellmark
