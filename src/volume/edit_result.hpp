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
    Full,        ///< the catalog has no room and cannot be extended
    Damaged,     ///< something on the volume cannot be right
    Failed       ///< the image cannot be read or written
};

[[nodiscard]] EditResult ToEditResult(TreeResult result);

/// Why nothing was changed, as a sentence that names the item.
[[nodiscard]] std::string EditSentence(EditResult result, std::string_view item, Language language);

}  // namespace vellmark
