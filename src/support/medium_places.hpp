// Places on a medium with their unit in the type, so that a sector of 512 bytes, one of a disc and
// an allocation block are not taken for each other.
#pragma once

#include <cstdint>

namespace vellmark {

/// A place, counted in units of `UnitBytes` bytes from the start of the medium. Counts of units
/// stay plain numbers.
template <typename Number, std::uint32_t UnitBytes>
class MediumPlace {
  public:
    static constexpr std::uint32_t kUnitBytes = UnitBytes;

    constexpr MediumPlace() = default;
    constexpr explicit MediumPlace(Number number) : number_(number) {}

    [[nodiscard]] constexpr Number number() const { return number_; }
    [[nodiscard]] constexpr std::uint64_t byte() const {
        return std::uint64_t{number_} * UnitBytes;
    }

    friend constexpr MediumPlace operator+(MediumPlace place, Number units) {
        return MediumPlace(static_cast<Number>(place.number_ + units));
    }
    friend constexpr MediumPlace operator-(MediumPlace place, Number units) {
        return MediumPlace(static_cast<Number>(place.number_ - units));
    }
    /// Units from `start` to `end`.
    friend constexpr Number operator-(MediumPlace end, MediumPlace start) {
        return static_cast<Number>(end.number_ - start.number_);
    }
    friend constexpr bool operator==(MediumPlace a, MediumPlace b) {
        return a.number_ == b.number_;
    }
    friend constexpr bool operator<(MediumPlace a, MediumPlace b) { return a.number_ < b.number_; }
    friend constexpr bool operator>(MediumPlace a, MediumPlace b) { return b < a; }
    friend constexpr bool operator<=(MediumPlace a, MediumPlace b) { return !(b < a); }
    friend constexpr bool operator>=(MediumPlace a, MediumPlace b) { return !(a < b); }

  private:
    Number number_ = 0;
};

/// A sector of the Macintosh side: volumes, partition maps, boot records.
using Sector512 = MediumPlace<std::uint64_t, 512>;
/// A sector of a disc, as ISO 9660 counts.
using DiscSector = MediumPlace<std::uint32_t, 2048>;

inline constexpr std::uint32_t kSectorsPerDiscSector =
    DiscSector::kUnitBytes / Sector512::kUnitBytes;

[[nodiscard]] constexpr Sector512 ToSector512(DiscSector sector) {
    return Sector512(std::uint64_t{sector.number()} * kSectorsPerDiscSector);
}

/// An allocation block of a volume, from its first one.
struct BlockNumber {
    std::uint32_t number = 0;
};

}  // namespace vellmark
