// What is known again of the contents that a change wrote into free sectors, before it is
// committed: an image that has the old catalog, but not these, was restored from a copy.
#pragma once

#include <cstdint>
#include <map>
#include <span>

namespace vellmark {

class ContentSamples {
  public:
    /// Notes that whole sectors were written at an offset, in place of what was noted there before.
    /// The CRC-32 of the first one is kept, of some thousand transfers at most; none when it is not
    /// known.
    void note(std::uint64_t offset, std::uint64_t count, std::span<const std::uint8_t> firstSector);
    void clear() { sums_.clear(); }
    /// CRC-32 of sectors, by their offsets in bytes.
    [[nodiscard]] const std::map<std::uint64_t, std::uint32_t>& sums() const { return sums_; }

  private:
    std::map<std::uint64_t, std::uint32_t> sums_;
};

/// Most sectors of which a sum is kept.
inline constexpr std::size_t kMostContentSamples = 4096;

}  // namespace vellmark
