// How the Finder shows the root of a disc: its window, the sizes of icons and texts, the picture
// behind them and the place of each icon.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "layout/ds_store.hpp"

namespace vellmark {

inline constexpr std::array<int, 8> kIconSizes = {16, 32, 48, 64, 80, 96, 112, 128};  ///< pixels
inline constexpr std::array<int, 4> kTextSizes = {10, 12, 14, 16};                    ///< points
inline constexpr std::array<int, 8> kSpacings = {1, 15, 29, 44, 58, 72, 86, 100};

struct PlacedItem {
    std::u16string name;  ///< as the Macintosh has it, decomposed
    bool isFolder = false;
    int x = 0;  ///< of the icon's middle, in pixels from the left of the window's contents
    int y = 0;
};

struct DsStoreLayout {
    int left = 100;
    int top = 100;
    int right = 450;
    int bottom = 400;
    std::size_t iconSize = 4;  ///< in `kIconSizes`
    std::size_t textSize = 2;  ///< in `kTextSizes`
    std::size_t spacing = 6;   ///< in `kSpacings`
    std::vector<PlacedItem> items;

    [[nodiscard]] int width() const { return right - left; }
    [[nodiscard]] int height() const { return bottom - top; }
    void setWidth(int width) { right = left + width; }
    void setHeight(int height) { bottom = top + height; }
};

/// Places of icons in rows: where the first stands, and how far the next.
struct IconGrid {
    int startX = 0;
    int stepX = 0;
    int startY = 0;
    int stepY = 0;
};
/// The grid for sizes and a spacing, all as indices.
[[nodiscard]] IconGrid GridOf(std::size_t textSize, std::size_t iconSize, std::size_t spacing);

/// Puts the items into rows that are as wide as the window, in their order.
void PlaceIcons(DsStoreLayout& layout);

/// Lets two items change their turn: the places stay, and each item has the other's.
void SwapItems(DsStoreLayout& layout, std::size_t one, std::size_t other);

/// The records of a layout; the picture's alias may be empty.
[[nodiscard]] std::vector<StoreRecord> RecordsOf(const DsStoreLayout& layout,
                                                 std::span<const std::uint8_t> background);

/// What records say of a layout; what they do not say is as it is by default. Of what newer systems
/// say the nearest is taken.
struct StoredLayout {
    DsStoreLayout layout;
    std::vector<std::uint8_t> background;  ///< alias of the picture, none for none
    bool hasWindow = false;                ///< the edges were there
    bool hasIconSize = false;              ///< the size of icons was there, exactly
    bool hasSpacing = false;               ///< their spacing, exactly
    bool hasTexts = false;                 ///< the size of texts, exactly
};
[[nodiscard]] StoredLayout LayoutOf(std::span<const StoreRecord> records);

}  // namespace vellmark
