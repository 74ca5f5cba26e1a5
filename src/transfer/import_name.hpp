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

/// A name that an item gets.
struct ImportedName {
    CatalogName name;
    bool isChanged = false;  ///< it is not the whole name that the item had
};

/// The name of the volume's format for a PC name (UTF-8), by containers/pc_name.hpp. On HFS it may
/// be too long; it is empty for an empty name.
[[nodiscard]] CatalogName NameFromPc(const VolumeContext& volume, std::string_view pcName);

/// Whether the volume can hold a PC name whole.
[[nodiscard]] bool IsHeldAsItIs(const VolumeContext& volume, std::string_view pcName);

[[nodiscard]] bool IsEmptyName(const VolumeContext& volume, const CatalogName& name);

/// The name that an item of the PC gets in a folder. One that is too long (over 31 bytes on HFS,
/// 255 units on HFS+) is cut at the limit (containers/short_name.hpp). Nothing when a person gave
/// it no shorter one. A short name may be one that the folder has. Where items are replaced, the
/// item that came from a name that was changed is found again: under the name with the digits when
/// that is there, else under the other one. A name that an item of the same batch has already, from
/// another name of the PC, gets digits.
[[nodiscard]] std::optional<ImportedName> ImportName(VolumeContext& volume, std::string_view pcName,
                                                     std::uint32_t folderId,
                                                     ImportTruncation& truncation,
                                                     Messages& messages, const Clock& clock);

/// The same for a file whose container tells a MacRoman name; where nothing is left of that, the
/// name on the PC counts.
[[nodiscard]] std::optional<ImportedName> ImportContainerName(
    VolumeContext& volume, std::string_view told, std::string_view pcName, std::uint32_t folderId,
    ImportTruncation& truncation, Messages& messages, const Clock& clock);

}  // namespace vellmark
