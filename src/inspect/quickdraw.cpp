#include "inspect/quickdraw.hpp"

namespace vellmark {

namespace {

struct ColourTable {
    be32 seed;
    be16 flags;
    be16 last;  ///< number of entries, less one
};
struct ColourEntry {
    be16 value, red, green, blue;
};

constexpr std::uint16_t kDeviceTable = 0x8000;

}  // namespace

std::optional<PixelColours> TakeColours(std::span<const std::uint8_t>& rest) {
    const auto table = TakeRecord<ColourTable>(rest);
    if (!table)
        return std::nullopt;
    PixelColours colours{};
    colours.fill(kBlack);
    for (std::uint32_t i = 0; i <= table->last; ++i) {
        const auto entry = TakeRecord<ColourEntry>(rest);
        if (!entry)
            return std::nullopt;
        // The table of a device is in order, whatever the values say.
        const std::size_t value =
            (table->flags & kDeviceTable) != 0 ? i : std::size_t{entry->value};
        if (value < colours.size())
            colours[value] = Rgb(entry->red >> 8, entry->green >> 8, entry->blue >> 8);
    }
    return colours;
}

}  // namespace vellmark
