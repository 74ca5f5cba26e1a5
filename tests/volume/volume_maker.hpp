// Small volumes of any shape, and what must be true of their blocks.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "volume/volume_bench.hpp"

namespace vellmark::testing {

/// A small volume that fills the whole image, with a catalog that soon becomes full.
struct VolumeShape {
    std::string name;
    bool isHfsPlus;
    std::uint32_t blockSize;
    std::uint32_t totalBlocks;
    std::uint32_t catalogNodes;
    bool isHfsx = false;  // that folds case all the same
};
inline std::ostream& operator<<(std::ostream& out, const VolumeShape& shape) {
    return out << shape.name;
}
/// Makes the image; false when a write failed.
[[nodiscard]] bool MakeVolume(const std::string& path, const VolumeShape& shape);
/// All that an operation which fails must leave as it was: headers, bitmap, nodes and node maps.
[[nodiscard]] std::vector<Bytes> StateOf(WritableVolume& volume);

/// What is wrong with the blocks: used twice, used and not marked, or marked for nothing; or "".
[[nodiscard]] std::string FaultOfBlocks(WritableVolume& volume);

/// A fork that may end before the length that it tells.
class CutSource final : public ByteSource {
  public:
    explicit CutSource(const Bytes& bytes, bool isCut = false)
        : bytes_(bytes), end_(isCut ? bytes.size() / 2 : bytes.size()) {}
    [[nodiscard]] std::uint64_t size() const override { return bytes_.size(); }
    [[nodiscard]] std::size_t readAt(std::uint64_t offset, std::span<std::uint8_t> out) override {
        const std::size_t count = offset >= end_ ? 0 : std::min(out.size(), end_ - offset);
        std::copy_n(bytes_.data() + offset, count, out.begin());
        return count;
    }

  private:
    const Bytes& bytes_;
    std::size_t end_;
};

}  // namespace vellmark::testing
