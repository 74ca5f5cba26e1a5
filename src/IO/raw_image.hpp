// How the sectors of a disc image lie in its file: 2,048 bytes of data each, or raw, with what a
// drive reads around them.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "IO/iso_structures.hpp"
#include "IO/raw_sector.hpp"
#include "support/byte_source.hpp"

namespace vellmark {

struct DiscForm {
    std::uint32_t sectorBytes = kIsoSectorBytes;
    std::uint32_t dataOffset = 0;  ///< of the 2,048 bytes of data in a sector

    [[nodiscard]] bool isRaw() const { return sectorBytes == kRawSectorBytes; }
    /// Of a raw image: what its sectors are.
    [[nodiscard]] RawKind kind() const {
        return dataOffset == kRawMode1DataOffset ? RawKind::Mode1 : RawKind::Mode2Form1;
    }
    bool operator==(const DiscForm&) const = default;
};

/// Finds the first volume descriptor of an ISO 9660 image: its mark "CD001" at byte 32,769 of a
/// plain image, at 37,649 of a raw one in mode 1 and at 37,657 in mode 2. A mark at 37,320 or
/// 37,321, where older tools looked for it, stands for mode 2 too. Nothing when it is nowhere.
[[nodiscard]] std::optional<DiscForm> FindDiscForm(ByteSource& image);

/// The data of a raw image, 2,048 bytes a sector. The image must outlive it.
class RawDataSource final : public ByteSource {
  public:
    RawDataSource(ByteSource& image, DiscForm form) : image_(image), form_(form) {}
    [[nodiscard]] std::uint64_t size() const override {
        return image_.size() / kRawSectorBytes * kIsoSectorBytes;
    }
    [[nodiscard]] std::size_t readAt(std::uint64_t offset, std::span<std::uint8_t> out) override;

  private:
    ByteSource& image_;
    DiscForm form_;
};

/// Whether a raw image of this form has its first volume descriptor where ISO 9660 wants it. A mark
/// where older tools looked for it can stand in a file of any kind.
[[nodiscard]] bool IsRawIso(ByteSource& image, DiscForm form);

}  // namespace vellmark
