// Which bytes of an image its ISO 9660 side needs: on a hybrid disc the Macintosh side must leave
// them alone.
#pragma once

#include <cstdint>
#include <vector>

#include "support/byte_source.hpp"

namespace vellmark {

/// Bytes of an image, from its start; `end` is the first one behind them.
struct ByteRange {
    std::uint64_t offset = 0;
    std::uint64_t end = 0;
};

struct IsoCoverage {
    std::vector<ByteRange> ranges;  ///< in rising order, apart from each other
    /// False when a directory or boot catalog is damaged, or a file is written with gaps: then more
    /// bytes than these may be needed.
    bool isWhole = true;
};

/// Volume descriptors, path tables, directories, files with all their extents and attributes, boot
/// catalogs and boot images, of every tree that a primary or supplementary descriptor leads to. All
/// is empty where no primary descriptor stands at sector 16 or behind it. What lies behind the end
/// of the image is left out.
[[nodiscard]] IsoCoverage CoverIso(ByteSource& image);

}  // namespace vellmark
