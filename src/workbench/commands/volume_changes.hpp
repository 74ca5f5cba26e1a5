// Changes of the open volume: each is one operation of the engine, written and shown afterwards.
#pragma once

#include <QString>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "transfer/copy_out.hpp"
#include "volume/catalog.hpp"

namespace vellmark {

class TVellmark;

/// The items of a selection, those of the list or the folder of the tree.
[[nodiscard]] std::vector<CatalogItem> SelectedVolumeItems(TVellmark& window);
[[nodiscard]] std::vector<std::string> SelectedVolumePaths(TVellmark& window);
/// The items of the shown folder that have these numbers.
[[nodiscard]] std::vector<CatalogItem> VolumeItemsOf(TVellmark& window,
                                                     const std::vector<std::int32_t>& numbers);
/// The record of a folder; nothing when there is no such folder.
[[nodiscard]] std::optional<CatalogItem> VolumeFolder(TVellmark& window, std::int32_t folder);
[[nodiscard]] std::string VolumePathOf(TVellmark& window, const CatalogItem& item);

/// Copies items to a folder of the PC. False when one of them is not wholly there.
bool CopyItemsOut(TVellmark& window, const std::vector<CatalogItem>& items,
                  const std::string& folder, ExistingFiles existing);
void CopyIntoVolume(TVellmark& window, const std::vector<std::string>& paths);
/// Items are named by their paths, as a change of one takes the numbers of others away.
void DeleteFromVolume(TVellmark& window, const std::vector<std::string>& paths);
/// Into the folder that is shown.
void MoveInVolume(TVellmark& window, const std::vector<std::string>& paths);
void RenameInVolume(TVellmark& window, const CatalogItem& item, const QString& name);
void MakeVolumeFolder(TVellmark& window, const std::string& name);

/// Writes what was changed in the volume, and shows it.
void KeepVolume(TVellmark& window);

}  // namespace vellmark
