#include "inspect/data_segment.hpp"

#include <algorithm>
#include <functional>
#include <vector>

namespace vellmark {
namespace {

constexpr std::size_t kPieceBytes = 64 << 10;
static_assert(kPieceBytes % kSectorBytes == 0);

// Takes what was read, which lies at that offset of the source.
using TakePiece = std::function<bool(std::uint64_t offset, std::span<const std::uint8_t> bytes)>;

SegmentEnd EachPiece(ByteSource& source, DataSegment segment, Progress& progress,
                     const TakePiece& take) {
    if (segment.begin > segment.end || segment.end > source.size())
        return SegmentEnd::OutsideSource;
    progress.begin(segment.end - segment.begin);
    std::vector<std::uint8_t> piece(kPieceBytes);
    for (std::uint64_t offset = segment.begin; offset < segment.end;) {
        const auto count =
            static_cast<std::size_t>(std::min<std::uint64_t>(piece.size(), segment.end - offset));
        const std::span<std::uint8_t> bytes = std::span(piece).first(count);
        if (!source.readExactly(offset, bytes))
            return SegmentEnd::ReadFailed;
        if (!take(offset, bytes))
            return SegmentEnd::WriteFailed;
        offset += count;
        if (!progress.chunk(count))
            return SegmentEnd::Stopped;
    }
    return SegmentEnd::Done;
}

}  // namespace

DataSegment SegmentOfSectors(const ByteSource& source, std::uint64_t first, std::uint64_t last) {
    const std::uint64_t end = std::min(last, LastSector(source)) + 1;
    return {std::min(first, end) * kSectorBytes, std::min(end * kSectorBytes, source.size())};
}

SegmentEnd SaveSegment(ByteSource& source, DataSegment segment, ByteSink& sink, std::uint64_t at,
                       Progress& progress) {
    return EachPiece(source, segment, progress,
                     [&](std::uint64_t offset, std::span<const std::uint8_t> bytes) {
                         return sink.writeAt(at + offset - segment.begin, bytes);
                     });
}

SegmentEnd SaveSegmentAsText(ByteSource& source, DataSegment segment, PageStyle style,
                             ByteSink& sink, Progress& progress) {
    std::uint64_t written = 0;
    return EachPiece(
        source, segment, progress, [&](std::uint64_t offset, std::span<const std::uint8_t> bytes) {
            std::string text;
            for (std::size_t at = 0; at < bytes.size(); at += kLineBytes) {
                const std::size_t count = std::min(kLineBytes, bytes.size() - at);
                text += DumpLine(offset + at, bytes.subspan(at, count), style) + '\n';
                const std::uint64_t end = offset + at + count;
                if ((end - segment.begin) % kSectorBytes == 0 || end == segment.end)
                    text += '\n';
            }
            const std::uint64_t place = written;
            written += text.size();
            return sink.writeAt(place,
                                {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
        });
}

}  // namespace vellmark
