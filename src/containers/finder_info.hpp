// What the Finder keeps of a file, in catalogs and containers alike: FInfo and FXInfo (Inside
// Macintosh: Macintosh Toolbox Essentials, Finder Interface; big-endian).
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "support/endian.hpp"

namespace vellmark {

/// Finder flags of files and folders.
inline constexpr std::uint16_t kFinderAlias = 0x8000;
inline constexpr std::uint16_t kFinderInvisible = 0x4000;
inline constexpr std::uint16_t kFinderHasBundle = 0x2000;  ///< icons are looked for in the file
inline constexpr std::uint16_t kFinderNameLocked = 0x1000;
inline constexpr std::uint16_t kFinderStationery = 0x0800;
inline constexpr std::uint16_t kFinderCustomIcon = 0x0400;
inline constexpr std::uint16_t kFinderInited = 0x0100;  ///< the Finder has placed the icon
inline constexpr std::uint16_t kFinderNoInits = 0x0080;
inline constexpr std::uint16_t kFinderShared = 0x0040;
inline constexpr std::uint16_t kFinderHidesExtension = 0x0010;

/// FInfo: the first 16 bytes, which an HFS record keeps apart from the others.
struct FileFinderInfo {
    std::array<char, 8> signature{};  ///< file type, then creator, MacRoman; zeros: none
    be16 flags;
    be16 locationV;  ///< of the icon in its window
    be16 locationH;
    be16 windowFolder;
};
static_assert(sizeof(FileFinderInfo) == 16 && alignof(FileFinderInfo) == 1);

/// FInfo and FXInfo, one behind the other.
struct FinderInfo {
    std::array<char, 8> signature{};
    be16 flags;
    be16 locationV;
    be16 locationH;
    be16 windowFolder;
    std::array<std::uint8_t, 16> extended{};

    [[nodiscard]] constexpr FileFinderInfo first() const {
        return {signature, flags, locationV, locationH, windowFolder};
    }
};
static_assert(sizeof(FinderInfo) == 32 && alignof(FinderInfo) == 1);
static_assert(offsetof(FinderInfo, windowFolder) == offsetof(FileFinderInfo, windowFolder));

}  // namespace vellmark
