// How a change of a volume's catalog ended, and what is said of it.
#pragma once

#include <string_view>

#include "support/reason.hpp"
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

[[nodiscard]] EditResult ToEditResult(TreeResult result);

/// Why nothing was changed. `item` is a path or name, fit to be shown. None when it was changed,
/// and when the user did not want it.
[[nodiscard]] Reason EditProblem(EditResult result, std::string_view item);

}  // namespace vellmark
