// Changes of a volume whose items are named by their paths: names with `/` between them, a slash of
// a name written `:`, the root "" or "/". Each refusal is a value that names the item.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "support/messages.hpp"
#include "support/result.hpp"
#include "volume/catalog_delete.hpp"
#include "volume/catalog_edit.hpp"
#include "volume/edit_result.hpp"
#include "volume/writable_volume.hpp"

namespace vellmark {

/// The item of a path.
[[nodiscard]] Result<CatalogItem> ItemAt(VolumeContext& volume, std::string_view path,
                                         const Clock& clock);
/// The same for a folder.
[[nodiscard]] Result<CatalogItem> FolderAt(VolumeContext& volume, std::string_view path,
                                           const Clock& clock);

/// How a change ended.
struct PathChange {
    EditResult result = EditResult::Done;
    /// Why nothing was changed; none when it was, and for `Declined` and `Stopped`.
    Reason problem = {};

    [[nodiscard]] bool isDone() const { return result == EditResult::Done; }
};

/// Deletes an item (volume/catalog_delete.hpp); the root never goes.
[[nodiscard]] PathChange DeleteAt(WritableVolume& volume, std::string_view path,
                                  DeleteContext& context);
/// Moves an item into a folder. In its own folder it stands in its own way.
[[nodiscard]] PathChange MoveAt(WritableVolume& volume, std::string_view path,
                                std::uint32_t targetId, const Clock& clock);
/// Gives an item another name, as a person typed it. The root has that of the volume.
[[nodiscard]] PathChange RenameAt(WritableVolume& volume, std::string_view path,
                                  std::string_view name, Messages& messages, const Clock& clock);
/// Gives the volume another name, as a person typed it.
[[nodiscard]] PathChange Relabel(WritableVolume& volume, std::string_view label,
                                 Messages& messages);
/// Exchanges the forks of a file.
[[nodiscard]] PathChange SwapForksAt(WritableVolume& volume, std::string_view path,
                                     const Clock& clock);
/// Changes type, creator, flags, dates and lock of an item. The lock of the root is the volume's.
[[nodiscard]] PathChange ChangeAttributesAt(WritableVolume& volume, std::string_view path,
                                            const AttributeChange& change, const Clock& clock);

/// Where the way to a folder of the volume ended.
struct FolderWay {
    EditResult result = EditResult::Done;  ///< `Exists`: a file stands in the way
    std::uint32_t id = 0;                  ///< the folder when it is `Done`
    std::string path = {};                 ///< the part of the path at which it ended
    bool isMaking = false;                 ///< what failed was not the search but the new folder

    /// Why the search failed; none when it was something else that ended the way.
    [[nodiscard]] Reason searchProblem() const;
};
enum class MissingFolders { Refuse, Make };
/// Goes from the root to the folder of a path. `Missing`: there is no such folder, and none is to
/// be made.
[[nodiscard]] FolderWay WalkToFolder(WritableVolume& volume, std::string_view path,
                                     MissingFolders missing, const Clock& clock);

/// Makes the folder of a path; with `Make` also those on the way to it, and one that is there is
/// done.
[[nodiscard]] PathChange MakeFolderAt(WritableVolume& volume, std::string_view path,
                                      MissingFolders missing, const Clock& clock);

}  // namespace vellmark
