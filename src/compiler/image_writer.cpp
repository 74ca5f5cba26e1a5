#include "compiler/image_writer.hpp"

#include <algorithm>

namespace vellmark {

namespace {

constexpr std::uint32_t kMegabyte = 1u << 20;
constexpr std::size_t kBufferBytes = 2 * kMegabyte;
/// A file of fewer chunks than this is a small one, counted when it is done.
constexpr std::uint32_t kChunksOfLarge = 4;

std::uint32_t ChunkFor(std::uint32_t sizeBytes) {
    if (sizeBytes < 0x280000)
        return kMegabyte / 2;
    return sizeBytes < 2 * 0x280000 ? kMegabyte : 2 * kMegabyte;
}

}  // namespace

ImageWriter::ImageWriter(PcFile& image, Progress& progress)
    : image_(image), progress_(progress), buffer_(kBufferBytes) {}

CopyResult ImageWriter::copyFile(PcFile& source, std::string_view name, std::uint64_t place,
                                 std::uint32_t sizeBytes) {
    return copy(source, name, place, sizeBytes, [&](std::uint32_t done, std::uint32_t piece) {
        if (image_.copyFrom(source, {done, offset_, piece}) == piece)
            return CopyResult::Done;
        return image_.error() ? CopyResult::TargetFailed : CopyResult::SourceFailed;
    });
}

CopyResult ImageWriter::copyFork(ByteSource& fork, std::string_view name, std::uint64_t place,
                                 std::uint32_t sizeBytes) {
    return copy(fork, name, place, sizeBytes, [&](std::uint32_t done, std::uint32_t piece) {
        const std::span<std::uint8_t> bytes(buffer_.data(), piece);
        if (!fork.readExactly(done, bytes))
            return CopyResult::SourceFailed;
        return image_.writeAt(offset_, bytes) ? CopyResult::Done : CopyResult::TargetFailed;
    });
}

template <typename CopyPiece>
CopyResult ImageWriter::copy(ByteSource& source, std::string_view name, std::uint64_t place,
                             std::uint32_t sizeBytes, CopyPiece copyPiece) {
    if (const CopyResult result = goTo(place); result != CopyResult::Done)
        return result;
    const std::uint32_t chunk = ChunkFor(sizeBytes);
    if (sizeBytes < kChunksOfLarge * chunk) {
        progress_.fileStart(name, sizeBytes, 0);
        const CopyResult result = copySmall(source, sizeBytes);
        if (result != CopyResult::Done)
            return result;
        return progress_.fileEnd(sizeBytes) ? CopyResult::Done : CopyResult::Stopped;
    }
    progress_.fileStart(name, sizeBytes, static_cast<int>((sizeBytes + chunk - 1) / chunk));
    if (const CopyResult result = finish(); result != CopyResult::Done)
        return result;
    for (std::uint32_t done = 0; done < sizeBytes;) {
        const std::uint32_t piece = std::min(chunk, sizeBytes - done);
        if (const CopyResult result = copyPiece(done, piece); result != CopyResult::Done)
            return result;
        done += piece;
        offset_ += piece;
        if (!progress_.chunk(piece))
            return CopyResult::Stopped;
    }
    return progress_.fileEnd(0) ? CopyResult::Done : CopyResult::Stopped;
}

// Small gaps are filled in the buffer, so that the files around them go out in one piece.
CopyResult ImageWriter::goTo(std::uint64_t place) {
    if (place < offset_ + filled_)
        return CopyResult::PlaceTaken;
    const std::uint64_t gap = place - offset_ - filled_;
    if (filled_ == 0 || gap > buffer_.size() - filled_) {
        if (const CopyResult result = finish(); result != CopyResult::Done)
            return result;
        offset_ = place;
        return CopyResult::Done;
    }
    std::fill_n(buffer_.begin() + static_cast<std::ptrdiff_t>(filled_), gap, std::uint8_t{0});
    filled_ += static_cast<std::size_t>(gap);
    return CopyResult::Done;
}

CopyResult ImageWriter::copySmall(ByteSource& source, std::uint32_t sizeBytes) {
    for (std::uint32_t done = 0; done < sizeBytes;) {
        if (filled_ == buffer_.size())
            if (const CopyResult result = finish(); result != CopyResult::Done)
                return result;
        const std::size_t piece = std::min<std::size_t>(sizeBytes - done, buffer_.size() - filled_);
        if (!source.readExactly(done, {buffer_.data() + filled_, piece}))
            return CopyResult::SourceFailed;
        filled_ += piece;
        done += static_cast<std::uint32_t>(piece);
    }
    return CopyResult::Done;
}

CopyResult ImageWriter::finish() {
    if (filled_ > 0 && !image_.writeAt(offset_, {buffer_.data(), filled_}))
        return CopyResult::TargetFailed;
    offset_ += filled_;
    filled_ = 0;
    return CopyResult::Done;
}

}  // namespace vellmark
