// A piece of a fork saved as it is, or as the lines of its pages.
#pragma once

#include <cstdint>

#include "inspect/fork_page.hpp"
#include "support/byte_source.hpp"
#include "support/progress.hpp"

namespace vellmark {

struct DataSegment {
    std::uint64_t begin = 0;  ///< first byte
    std::uint64_t end = 0;    ///< first byte behind it
};

/// From sector `first` to sector `last`, both included, as far as the source goes.
[[nodiscard]] DataSegment SegmentOfSectors(const ByteSource& source, std::uint64_t first,
                                           std::uint64_t last);

enum class SegmentEnd : std::uint8_t { Done, OutsideSource, Stopped, ReadFailed, WriteFailed };

/// Writes the bytes of the segment to the sink from byte `at` on.
[[nodiscard]] SegmentEnd SaveSegment(ByteSource& source, DataSegment segment, ByteSink& sink,
                                     std::uint64_t at, Progress& progress);
/// The same as text: each sixteen bytes a line of a page, and an empty line behind each sector.
[[nodiscard]] SegmentEnd SaveSegmentAsText(ByteSource& source, DataSegment segment, PageStyle style,
                                           ByteSink& sink, Progress& progress);

}  // namespace vellmark
