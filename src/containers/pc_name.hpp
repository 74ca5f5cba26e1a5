// Names of the PC on their way into a Macintosh catalog: the one conversion for images that are
// built, volumes that are changed, containers and labels.
//
// A character that the catalog can hold is that character. A colon, which parts folders on a
// Macintosh, gives the slash that it is shown for. A private code (containers/name_tables.hpp)
// gives what it stands for.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "containers/hfs_plus_name.hpp"

namespace vellmark {

/// A name in MacRoman, as long as it may be.
struct MacName {
    std::string bytes;
    bool isExact = true;  ///< every character is the one of the PC
};

/// By Apple's published mapping, letters and marks joined first. What MacRoman lacks is replaced as
/// `kPcToMacTable` says, and by `_` where it does not: nothing ends a name or vanishes from it. A 0
/// ends it.
[[nodiscard]] MacName PcToMacName(std::u16string_view pcName);

/// The same for HFS+, decomposed. It is exact but for what is no character and for what is cut
/// behind 255 units.
struct MacUnicodeName {
    HfsPlusName units;
    bool isExact = true;
};
[[nodiscard]] MacUnicodeName PcToHfsPlusName(std::u16string_view pcName);

/// The MacRoman name that a container holds, `_` for a colon; a 0 ends it.
[[nodiscard]] std::string ContainerMacName(std::string_view told);
/// A MacRoman name for HFS+; nothing of it is lost.
[[nodiscard]] HfsPlusName MacRomanToHfsPlusName(std::string_view macName);

/// The CRC for `DigitsTail` of a PC name on HFS: of the whole name in MacRoman, or where that does
/// not hold it, and names that differ may agree in it, of the name in UTF-8.
[[nodiscard]] std::uint16_t MacNameCrc(std::u16string_view pcName);
/// The same on HFS+: of the name in UTF-8.
[[nodiscard]] std::uint16_t PcNameCrc(std::u16string_view pcName);

}  // namespace vellmark
