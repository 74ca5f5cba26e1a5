// What a mounted volume holds: folders listed, and items found by path, name and id.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "support/mac_dates.hpp"
#include "support/reason.hpp"
#include "volume/catalog_name.hpp"
#include "volume/fork_reader.hpp"
#include "volume/volume_context.hpp"

namespace vellmark {

/// Dates as a record has them: local time in HFS, GMT in HFS+; 0 for none.
struct CatalogDates {
    MacSeconds created = 0;
    MacSeconds modified = 0;
    MacSeconds backedUp = 0;
    std::optional<MacSeconds> accessed;  ///< nothing in HFS, which keeps none
};

/// One file or folder of a volume.
struct CatalogItem {
    std::uint32_t parentId = 0;
    std::uint32_t id = 0;
    bool isFolder = false;
    std::string name;                 ///< to be shown: UTF-8, a slash of the name as `:`
    CatalogName catalogName;          ///< as the key has it
    std::uint32_t valence = 0;        ///< folders: items directly inside, as the record counts
    std::array<char, 8> signature{};  ///< files: type, then creator
    /// HFS+: number of the file that holds the contents of this hard link; 0 for other files.
    std::uint32_t linkReference = 0;
    /// HFS+ of later systems: the contents lie compressed in the resource fork or in an attribute.
    bool isCompressed = false;
    bool isLocked = false;  ///< files
    std::uint16_t finderFlags = 0;
    std::array<std::uint8_t, 32> finderInfo{};  ///< both halves, as the record has them
    UnixSeconds created = 0;
    UnixSeconds modified = 0;
    CatalogDates dates;
    ForkInfo data;      ///< files
    ForkInfo resource;  ///< files
};

/// What is wrong with the catalog at a place (`Sentence::kPlaceInRootFolder`); none for `Done`.
[[nodiscard]] Reason CatalogProblem(TreeResult result, Reason place);

/// The items of a folder, in the order of the catalog. Items before a damaged place are kept.
[[nodiscard]] TreeResult ListFolder(VolumeContext& volume, std::uint32_t folderId,
                                    const Clock& clock, std::vector<CatalogItem>& items);

/// The item of that shown name in a folder, by the catalog's own comparison; nothing when there is
/// none.
[[nodiscard]] TreeResult FindItem(VolumeContext& volume, std::uint32_t folderId,
                                  std::string_view name, const Clock& clock,
                                  std::optional<CatalogItem>& item);

/// The same for a name in the volume's own form.
[[nodiscard]] TreeResult FindNamed(VolumeContext& volume, std::uint32_t folderId,
                                   const CatalogName& name, const Clock& clock,
                                   std::optional<CatalogItem>& item);

/// The item of a path with `/` between the names; the root folder for an empty path.
[[nodiscard]] TreeResult FindPath(VolumeContext& volume, std::string_view path, const Clock& clock,
                                  std::optional<CatalogItem>& item);

/// All runs of a file's fork, those of the overflow tree included.
[[nodiscard]] TreeResult ForkRuns(VolumeContext& volume, const CatalogItem& item, bool resource,
                                  std::vector<BlockRun>& runs);

/// Parent of a folder, by its thread; 0 when there is none.
[[nodiscard]] std::uint32_t ParentOf(VolumeContext& volume, std::uint32_t folderId);

}  // namespace vellmark
