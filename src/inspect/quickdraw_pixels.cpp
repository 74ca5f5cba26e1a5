#include "inspect/quickdraw_pixels.hpp"

#include <algorithm>

namespace vellmark {

namespace {

using Bytes = std::span<const std::uint8_t>;

/// Shorter rows are never packed.
constexpr std::uint32_t kLeastPackedRow = 8;
/// Rows from this length on have a count of two bytes in front.
constexpr std::uint32_t kLongRow = 251;

/// How pixels that are colours lie in the bytes.
enum class DirectPacking : std::uint8_t { None = 1, NoPad = 2, Words = 3, Components = 4 };

// A row of runs: a count below 128 and as many units and one, or above 128 one unit that many
// times. All of the room is filled from all of the bytes, or it is no such row.
bool Unpack(Bytes packed, std::size_t unit, std::span<std::uint8_t> row) {
    std::size_t at = 0;
    while (!packed.empty()) {
        const std::uint8_t count = packed[0];
        packed = packed.subspan(1);
        if (count == 128)
            continue;
        const std::size_t units = count < 128 ? std::size_t{count} + 1 : 257 - std::size_t{count};
        const auto taken = Take(packed, count < 128 ? units * unit : unit);
        if (!taken || units * unit > row.size() - at)
            return false;
        for (std::size_t i = 0; i < units; ++i)
            std::ranges::copy(count < 128 ? taken->subspan(i * unit, unit) : *taken,
                              row.begin() + static_cast<std::ptrdiff_t>(at + i * unit));
        at += units * unit;
    }
    return at == row.size();
}

std::optional<Bytes> TakePackedRow(Bytes& rest, std::uint32_t rowBytes) {
    const auto count = Take(rest, rowBytes < kLongRow ? 1 : 2);
    if (!count)
        return std::nullopt;
    std::size_t bytes = 0;
    for (const std::uint8_t each : *count)
        bytes = bytes << 8 | each;
    return Take(rest, bytes);
}

/// The bytes of rows as they are unpacked, and what a pixel is in them.
class RowReader {
  public:
    RowReader(const PixelSource& source, bool isPacked)
        : source_(source),
          width_(source.map.bounds.width()),
          rowBytes_(source.map.rowBytes & kRowBytesMask),
          depth_(source.map.pixelSize),
          packing_(packingOf(isPacked)) {}

    // False when there are no such rows.
    [[nodiscard]] bool begin() {
        const bool isDepth = source_.isDirect ? depth_ == 16 || depth_ == 32
                                              : std::ranges::count(kDepths, depth_) != 0;
        if (!isDepth || std::size_t{width_} * depth_ > std::size_t{rowBytes_} * 8 ||
            (packing_ == DirectPacking::NoPad && depth_ != 32) ||
            (isComponents() && components() != 3 && components() != 4))
            return false;
        row_.resize(unpackedBytes());
        return true;
    }

    // False when the row is not whole.
    bool next(Bytes& rest) {
        if (packing_ == DirectPacking::None || packing_ == DirectPacking::NoPad) {
            const auto taken = Take(rest, row_.size());
            if (taken)
                std::ranges::copy(*taken, row_.begin());
            return taken.has_value();
        }
        const auto packed = TakePackedRow(rest, rowBytes_);
        const bool areWords = source_.isDirect && depth_ == 16;
        return packed && Unpack(*packed, areWords ? 2 : 1, row_);
    }

    [[nodiscard]] std::uint32_t at(std::uint32_t x) const {
        if (!source_.isDirect)
            return source_.colours[PixelRows{row_, 0, depth_}.at(x, 0)];
        if (depth_ == 16) {
            const unsigned pixel = unsigned{row_[2 * x]} << 8 | row_[2 * x + 1];
            return Rgb(five(pixel >> 10), five(pixel >> 5), five(pixel));
        }
        if (isComponents()) {
            const std::uint8_t* const red = &row_[x + (components() - 3) * std::size_t{width_}];
            return Rgb(red[0], red[width_], red[2 * std::size_t{width_}]);
        }
        const std::uint8_t* const pixel =
            &row_[packing_ == DirectPacking::NoPad ? 3 * std::size_t{x} : 4 * std::size_t{x} + 1];
        return Rgb(pixel[0], pixel[1], pixel[2]);
    }

  private:
    static constexpr std::uint32_t kDepths[] = {1, 2, 4, 8};

    static unsigned five(unsigned bits) { return (bits & 31) << 3 | (bits & 31) >> 2; }

    [[nodiscard]] DirectPacking packingOf(bool isPacked) const {
        if (!isPacked || rowBytes_ < kLeastPackedRow)
            return DirectPacking::None;
        if (!source_.isDirect)
            return DirectPacking::Words;
        switch (source_.map.packType) {
            case 1:
                return DirectPacking::None;
            case 2:
                return DirectPacking::NoPad;
            default:
                return depth_ == 16 ? DirectPacking::Words : DirectPacking::Components;
        }
    }
    [[nodiscard]] bool isComponents() const { return packing_ == DirectPacking::Components; }
    [[nodiscard]] std::uint32_t components() const { return source_.map.components; }
    [[nodiscard]] std::size_t unpackedBytes() const {
        if (isComponents())
            return std::size_t{width_} * components();
        return packing_ == DirectPacking::NoPad ? std::size_t{width_} * 3 : rowBytes_;
    }

    const PixelSource& source_;
    std::uint32_t width_;
    std::uint32_t rowBytes_;
    std::uint32_t depth_;
    DirectPacking packing_;
    std::vector<std::uint8_t> row_;
};

}  // namespace

std::optional<ResourcePicture> TakePixels(Bytes& rest, const PixelSource& source, bool isPacked) {
    const std::uint32_t width = source.map.bounds.width();
    const std::uint32_t height = source.map.bounds.height();
    if (width == 0 || height == 0 || width > kMostPictureSide || height > kMostPictureSide)
        return std::nullopt;
    RowReader rows(source, isPacked);
    if (!rows.begin())
        return std::nullopt;
    ResourcePicture picture{width, height, {}};
    picture.pixels.reserve(std::size_t{width} * height);
    for (std::uint32_t y = 0; y < height; ++y) {
        if (!rows.next(rest))
            return std::nullopt;
        for (std::uint32_t x = 0; x < width; ++x)
            picture.pixels.push_back(rows.at(x));
    }
    return picture;
}

}  // namespace vellmark
