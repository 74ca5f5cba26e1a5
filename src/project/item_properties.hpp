// What is known of one item of a project, and what of it a person may change.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>

#include "project/item_views.hpp"
#include "project/project_file.hpp"
#include "support/mac_dates.hpp"
#include "support/reason.hpp"

namespace vellmark {

struct ItemProperties {
    std::int32_t number = 0;
    std::int32_t folder = 0;  ///< number of the folder that it lies in
    bool isFolder = false;
    bool isMadeHere = false;  ///< a folder that exists in the project only
    bool isMissing = false;   ///< marked as missing on the PC in one of its views
    ViewChoice views;
    std::string accessPath;  ///< UTF-8; empty for a folder that exists in the project only
    std::string sourceName;  ///< UTF-8
    std::string isoName;     ///< UTF-8; empty where its shortening was refused
    std::string hfsName;     ///< the same, as it is shown
    ForkCoding coding = ForkCoding::None;
    std::uint32_t dataBytes = 0;  ///< of a file, and so the next two
    std::uint32_t resourceBytes = 0;
    std::uint32_t sourceBytes = 0;  ///< with its container
    std::uint32_t folders = 0;      ///< directly in a folder, and so the next one
    std::uint32_t files = 0;
    std::array<char, 8> signature{};  ///< type and creator of a file, MacRoman
    MacSeconds created = 0;           ///< local time
    MacSeconds modified = 0;
    bool isHiddenInIso = false;
    bool isHiddenInHfs = false;
    bool hidesExtension = false;
    bool hasCustomIcon = false;
    bool isRefreshed = false;  ///< of a folder of the PC: looked at again in refreshes
};

/// Nothing when there is no such item; root has the properties of its project.
[[nodiscard]] std::optional<ItemProperties> PropertiesOf(const ProjectFile& project,
                                                         std::int32_t number);

/// What is to change: only what is given. Names and views have operations of their own.
struct ItemChanges {
    std::optional<std::array<char, 4>> type = {};  ///< MacRoman, and so the creator
    std::optional<std::array<char, 4>> creator = {};
    std::optional<MacSeconds> created = {};
    std::optional<MacSeconds> modified = {};
    std::optional<bool> isHiddenInIso = {};
    std::optional<bool> isHiddenInHfs = {};
    std::optional<bool> hidesExtension = {};
    std::optional<bool> hasCustomIcon = {};
    std::optional<bool> isRefreshed = {};
};

/// Changes the record of an item. A date of creation behind the one of the last change becomes that
/// one. An icon file that is of another type now gives up the mark of its folder. Nothing when it
/// was done; else nothing has changed: there is no such item, a folder was given a type or creator,
/// or something other than a folder of the PC a place in refreshes.
[[nodiscard]] Reason ChangeItem(ProjectFile& project, std::int32_t number,
                                const ItemChanges& changes);

/// Hides the extension of every item in the HFS view. Returns how many are marked now that were
/// not.
std::int64_t HideExtensions(ProjectFile& project);

}  // namespace vellmark
