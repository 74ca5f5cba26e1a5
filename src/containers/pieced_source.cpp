#include "containers/pieced_source.hpp"

#include <algorithm>

namespace vellmark {

std::size_t PiecedSource::readAt(std::uint64_t offset, std::span<std::uint8_t> out) {
    auto piece = std::upper_bound(pieces_.begin(), pieces_.end(), offset,
                                  [](std::uint64_t at, const Piece& p) { return at < p.offset; });
    std::size_t done = 0;
    for (piece = piece == pieces_.begin() ? piece : piece - 1;
         piece != pieces_.end() && done < out.size(); ++piece) {
        ByteSource& bytes = piece->bytes.size() > 0 ? static_cast<ByteSource&>(piece->bytes)
                                                    : static_cast<ByteSource&>(piece->slice);
        const std::uint64_t within = offset + done - piece->offset;
        if (within >= bytes.size())
            continue;
        const auto wanted = static_cast<std::size_t>(
            std::min<std::uint64_t>(out.size() - done, bytes.size() - within));
        const std::size_t got = bytes.readAt(within, out.subspan(done, wanted));
        done += got;
        if (got < wanted)
            break;
    }
    return done;
}

void PiecedSource::addBytes(std::vector<std::uint8_t> bytes) {
    const std::size_t count = bytes.size();
    pieces_.push_back({size_, MemoryBytes(std::move(bytes)), {}});
    size_ += count;
}

void PiecedSource::addSlice(SliceSource slice) {
    const std::uint64_t count = slice.size();
    pieces_.push_back({size_, {}, slice});
    size_ += count;
}

}  // namespace vellmark
