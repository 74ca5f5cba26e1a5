// How a change of a volume's catalog ended, and the sentence for it.
#pragma once

#include <string>
#include <string_view>

#include "support/texts.hpp"
#include "volume/btree.hpp"

namespace vellmark {

enum class EditResult {
    Done,
    Missing,     ///< there is no such item
    Exists,      ///< the folder has an item of that name
    IntoItself,  ///< a folder would go into itself or into a folder inside it
    BadName,     ///< the volume cannot have such a name
    Protected,   ///< a hard link, or a file that a later system has compressed
    Attributes,  ///< a file whose extended attributes would be left without it
    Overflow,    ///< a fork goes on in the extents overflow tree
    Declined,    ///< the user said no
    Stopped,     ///< the user ended it
    FolderFull,  ///< the folder of an HFS volume takes no more items
    Full,        ///< the catalog has no room and cannot be extended
    Damaged,     ///< something on the volume cannot be right
    Failed       ///< the image cannot be read or written
};

/// Why a folder of an HFS volume takes no more: its record counts them in 16 bits.
inline constexpr std::string_view kFolderFullSentence =
    "The folder has 65,535 items, and a folder of an HFS volume holds no more.";
/// Why an HFS volume takes no fork longer than `kMostHfsForkBytes`.
inline constexpr std::string_view kForkTooLongSentence =
    "A fork of 2 GiB or more is too long for an HFS volume.";
/// What a person should know of a folder with more than `kMostItemsShownInHfs`.
inline constexpr std::string_view kLargeFolderRemark =
    "A folder of the HFS volume has more than 32,767 items, and some Macintosh systems show no "
    "more.";

[[nodiscard]] EditResult ToEditResult(TreeResult result);

/// Why nothing was changed, as a sentence that names the item.
[[nodiscard]] std::string EditSentence(EditResult result, std::string_view item, Language language);

}  // namespace vellmark
