// Names that files and folders of the PC get on a volume.
#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <string_view>

#include "support/messages.hpp"
#include "volume/catalog.hpp"

namespace vellmark {

/// How names that are too long are shortened.
struct ImportTruncation {
    bool automatic = false;  ///< without a question; also set when a person says so
    bool addsCrc = false;    ///< where the short name is taken, four digits make it another one
    bool asks = true;        ///< a person can be asked where both are taken
    bool replaces = false;   ///< an item that is there may give its short name to the new one
    std::uint32_t firstNewId = 0;        ///< but not one from here on: the batch made it
    std::set<std::uint32_t> given = {};  ///< nor one of these, whose names were given already
};

/// The name of the volume's format for a PC name (UTF-8). A character as the catalog shows it gives
/// that character again, `:` a slash among them; a private code gives what it stands for. On HFS a
/// character that MacRoman lacks gives `_`, or vanishes above U+F02A, and so does a zero byte.
/// The result may be too long; it is empty for an empty name.
[[nodiscard]] CatalogName NameFromPc(const VolumeContext& volume, std::string_view pcName);

/// The same on HFS, as MacRoman, without a volume.
[[nodiscard]] std::string HfsNameFromPc(std::string_view pcName);

/// A MacRoman name of a container, cut to what the volume takes, `_` for a colon; empty when
/// nothing is left of it.
[[nodiscard]] CatalogName NameFromContainer(const VolumeContext& volume, std::string_view macName);

[[nodiscard]] bool IsEmptyName(const VolumeContext& volume, const CatalogName& name);

/// The name that an item of the PC gets in a folder. One that is too long (over 31 bytes on HFS,
/// 255 units on HFS+) is cut at the limit, without blanks at its end. Nothing when a person gave it
/// no shorter one. A short name may be one that the folder has. Where items are replaced, the item
/// that came from a long name before is found again: under the name with the digits when that is
/// there, else under the short one.
[[nodiscard]] std::optional<CatalogName> ImportName(VolumeContext& volume, std::string_view pcName,
                                                    std::uint32_t folderId,
                                                    ImportTruncation& truncation,
                                                    Messages& messages, const Clock& clock);

}  // namespace vellmark
