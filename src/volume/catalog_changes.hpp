// New folders, and the counts that every change of the catalog keeps right.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "volume/catalog.hpp"
#include "volume/writable_volume.hpp"

namespace vellmark {

/// The next free id, which is then used up.
[[nodiscard]] std::uint32_t NextCatalogId(WritableVolume& volume);
/// Items of a folder as its record counts them; nothing when there is no such folder.
[[nodiscard]] std::optional<std::uint32_t> ReadValence(WritableVolume& volume,
                                                       std::uint32_t folderId);
/// Adds to the number of items that a folder's record stores.
[[nodiscard]] TreeResult AddToValence(WritableVolume& volume, std::int32_t delta,
                                      std::uint32_t folderId);

/// Makes a folder and gives its id in `id`. The name is a shown one. `Exists` when the parent has
/// an item of that name, `Damaged` when the parent is not there, the name cannot be a name or the
/// next id is in use, `Full` when the catalog has no room for it, `FolderFull` when the parent
/// takes no more; nothing is changed then.
[[nodiscard]] TreeResult CreateFolder(WritableVolume& volume, std::string_view name,
                                      std::uint32_t parentId, const Clock& clock,
                                      std::uint32_t& id);
/// The same with a name in the volume's own form.
[[nodiscard]] TreeResult CreateFolder(WritableVolume& volume, const CatalogName& name,
                                      std::uint32_t parentId, const Clock& clock,
                                      std::uint32_t& id);
/// Whether the next id of the header can be given to a new item: `Damaged` when it cannot.
[[nodiscard]] TreeResult CheckNextId(WritableVolume& volume);
/// Whether a new item of that name can stand in the folder: `Exists` when it has one already (other
/// than the item `replacedId`), `FolderFull` when it takes no more, `Damaged` when the folder is
/// not there or the next id cannot be given.
[[nodiscard]] TreeResult CheckNewItem(WritableVolume& volume, const CatalogName& name,
                                      std::uint32_t parentId, std::uint32_t replacedId);
/// Adds to the volume's count of files or folders, and to that of its root.
void CountItem(WritableVolume& volume, std::uint32_t parentId, bool isFolder, std::int32_t delta);

}  // namespace vellmark
