// Keys of the four kinds of trees, as they lie in a node (Inside Macintosh: Files, chapter 2; Apple
// Technical Note TN1150), and the rows in which the trees differ.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "containers/hfs_plus_name.hpp"
#include "volume/tree_node.hpp"

namespace vellmark {

/// Longest name of an HFS item and of an HFS volume, in MacRoman bytes.
inline constexpr std::size_t kHfsNameLimit = 31;
inline constexpr std::size_t kHfsVolumeNameLimit = 27;

inline constexpr std::uint8_t kDataFork = 0;
inline constexpr std::uint8_t kResourceFork = 0xFF;

using TreeKey = std::vector<std::uint8_t>;

/// Key of an HFS catalog record: length, reserved byte, parent, name length, MacRoman name.
[[nodiscard]] TreeKey HfsCatalogKey(std::uint32_t parentId, std::string_view name);
/// Key of an HFS+ catalog record: length, parent, name length in units, UTF-16 name.
[[nodiscard]] TreeKey HfsPlusCatalogKey(std::uint32_t parentId, std::u16string_view name);
/// Key of an extents record. `startBlock` counts the blocks of the fork before it.
[[nodiscard]] TreeKey HfsExtentsKey(std::uint32_t fileId, std::uint8_t fork,
                                    std::uint32_t startBlock);
[[nodiscard]] TreeKey HfsPlusExtentsKey(std::uint32_t fileId, std::uint8_t fork,
                                        std::uint32_t startBlock);

/// The parent id of a catalog key of either format (both keep it at byte 2); 0 when the key is too
/// short to have one.
[[nodiscard]] std::uint32_t KeyParent(ConstByteSpan key);
/// The name of an HFS catalog key in MacRoman, cut to what the key really holds.
[[nodiscard]] std::string_view HfsKeyName(ConstByteSpan key);
/// The name of an HFS+ catalog key, cut to what the key really holds.
[[nodiscard]] std::u16string HfsPlusKeyName(ConstByteSpan key);
/// Count and units of a name, as they follow a parent id in keys and threads.
void AppendHfsPlusName(std::vector<std::uint8_t>& out, std::u16string_view name);
/// The name that begins at the front of `bytes`, cut to what is there.
[[nodiscard]] std::u16string ReadHfsPlusName(ConstByteSpan bytes);

extern const TreeFormat kHfsCatalogFormat;
extern const TreeFormat kHfsExtentsFormat;
extern const TreeFormat kHfsPlusCatalogFormat;
/// HFSX volumes whose catalog compares names by binary value.
extern const TreeFormat kHfsxBinaryCatalogFormat;
extern const TreeFormat kHfsPlusExtentsFormat;

}  // namespace vellmark
