#include "IO/content_samples.hpp"

#include <zlib.h>

namespace vellmark {

void ContentSamples::note(std::uint64_t offset, std::uint64_t count,
                          std::span<const std::uint8_t> firstSector) {
    sums_.erase(sums_.lower_bound(offset), sums_.lower_bound(offset + count));
    if (!firstSector.empty() && sums_.size() < kMostContentSamples)
        sums_[offset] =
            static_cast<std::uint32_t>(::crc32_z(0, firstSector.data(), firstSector.size()));
}

}  // namespace vellmark
