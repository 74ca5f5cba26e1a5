// Items of a volume renamed, moved and relabelled in place. Every change happens wholly or
// not at all.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

#include "volume/catalog.hpp"
#include "volume/edit_result.hpp"
#include "volume/writable_volume.hpp"

namespace vellmark {

/// Gives an item another name in its folder. A name that differs only in case, or in what the
/// catalog's comparison passes over, is a change too.
[[nodiscard]] EditResult RenameItem(WritableVolume& volume, std::uint32_t parentId,
                                    const CatalogName& oldName, const CatalogName& newName);

/// Moves an item into another folder under its name.
[[nodiscard]] EditResult MoveItem(WritableVolume& volume, const CatalogName& name,
                                  std::uint32_t sourceId, std::uint32_t targetId);

/// Gives the volume another name, in the form that a person typed.
[[nodiscard]] EditResult RenameVolume(WritableVolume& volume, std::string_view label);

/// What of an item's record is to be changed; the rest stays.
struct AttributeChange {
    std::optional<std::array<char, 4>> type;     ///< files
    std::optional<std::array<char, 4>> creator;  ///< files
    std::uint16_t setFlags = 0;                  ///< Finder flags
    std::uint16_t clearFlags = 0;
    std::optional<UnixSeconds> created;
    std::optional<UnixSeconds> modified;
    std::optional<bool> isLocked;  ///< files

    [[nodiscard]] bool isEmpty() const {
        return !type && !creator && !created && !modified && !isLocked && setFlags == 0 &&
               clearFlags == 0;
    }
};
[[nodiscard]] EditResult ChangeAttributes(WritableVolume& volume, std::uint32_t parentId,
                                          const CatalogName& name, const AttributeChange& change,
                                          const Clock& clock);

/// Results of `SwapForks`.
enum class SwapResult {
    Done = 0,
    NotFound = 1,
    ResourceForkOverflows = 2,  ///< it goes on in the extents overflow tree
    DataForkOverflows = 3,
    Protected,  ///< a hard link or a compressed file
    Failed
};
/// Exchanges the data and the resource fork of a file.
[[nodiscard]] SwapResult SwapForks(WritableVolume& volume, const CatalogName& name,
                                   std::uint32_t parentId);

}  // namespace vellmark
