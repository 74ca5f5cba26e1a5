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
    bool automatic = false;        ///< no question is asked; also set when a person says so
    bool addsCrc = false;          ///< a short name that is taken gets four digits of a checksum
    bool asks = true;              ///< a person can be asked when the name with digits is taken too
    bool replaces = false;         ///< a new item may replace an older one that has its short name
    std::uint32_t firstNewId = 0;  ///< items from this number on are of the same batch
    std::set<std::uint32_t> given = {};  ///< older items that another one replaces already
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
/// 255 units on HFS+) is cut at the limit (containers/short_name.hpp). Nothing when a person was
/// asked and gave no shorter one. The result may be a name that an older item of the folder has.
/// When items are replaced, that is the older item which the same PC name led to: the one whose
/// name has the digits of that PC name, else the one with the plain short name. A name that
/// another item of the same batch has got already gets digits.
[[nodiscard]] std::optional<ImportedName> ImportName(VolumeContext& volume, std::string_view pcName,
                                                     std::uint32_t folderId,
                                                     ImportTruncation& truncation,
                                                     Messages& messages, const Clock& clock);

/// The same for a file whose container holds the MacRoman name `stored`; where nothing is left of
/// it, the name on the PC counts.
[[nodiscard]] std::optional<ImportedName> ImportContainerName(
    VolumeContext& volume, std::string_view stored, std::string_view pcName, std::uint32_t folderId,
    ImportTruncation& truncation, Messages& messages, const Clock& clock);

}  // namespace vellmark
