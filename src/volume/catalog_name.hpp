// Names of items in the form of their volume's format, and the keys that are made of them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "volume/catalog_keys.hpp"
#include "volume/volume_context.hpp"

namespace vellmark {

/// Name of an item as its key has it. Only the one of the volume's format is used.
struct CatalogName {
    std::string hfs;         ///< MacRoman, 1 to 31 bytes
    std::u16string hfsPlus;  ///< decomposed, 1 to 255 units

    friend bool operator==(const CatalogName&, const CatalogName&) = default;
};

/// The name that a person typed: UTF-8, a slash of the Macintosh written `:`. Nothing when the
/// volume cannot have such a name: it is empty, too long, or has characters that MacRoman lacks.
[[nodiscard]] std::optional<CatalogName> NameFromShown(const VolumeContext& volume,
                                                       std::string_view shown);
/// The name of a volume that a person typed, by the same rules; at most 27 bytes on HFS.
[[nodiscard]] std::optional<CatalogName> LabelFromShown(bool isHfsPlus, std::string_view shown);
/// A MacRoman name, as containers keep it. Nothing when it is empty, longer than the volume takes
/// or has a `:`.
[[nodiscard]] std::optional<CatalogName> NameFromMacRoman(const VolumeContext& volume,
                                                          std::string_view macName);
/// A name as it is shown and typed.
[[nodiscard]] std::string ShownName(const VolumeContext& volume, const CatalogName& name);
[[nodiscard]] std::string ShownHfsName(std::string_view macName);
[[nodiscard]] std::string ShownHfsPlusName(std::u16string_view name);

/// Key of a folder's or file's record.
[[nodiscard]] TreeKey ItemKey(const VolumeContext& volume, std::uint32_t parentId,
                              const CatalogName& name);
/// Key of the thread of an item.
[[nodiscard]] TreeKey ThreadKey(const VolumeContext& volume, std::uint32_t id);
/// Name of a record's key, cut to what the key really holds.
[[nodiscard]] CatalogName NameOfKey(const VolumeContext& volume, ConstByteSpan key);

}  // namespace vellmark
