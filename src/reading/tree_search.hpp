// What a path names in the trees of an image.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <vector>

#include "reading/image_view.hpp"

namespace vellmark {

/// An entry that a path names in one of the trees.
struct FoundEntry {
    TreeView* tree = nullptr;
    ViewEntry entry;
};

struct FoundEntries {
    std::vector<FoundEntry> entries;
    bool hasFailed = false;  ///< none has it, or a tree is damaged on the way; after a message
};

/// What the path names in each of the trees that has it, in their order.
[[nodiscard]] FoundEntries FindInTrees(std::span<TreeView* const> trees, const std::string& path,
                                       Messages& messages);

/// The same in the tree that knows most about a file: the Macintosh one, Joliet, ISO 9660. No tree
/// is looked at behind the first that has it.
[[nodiscard]] FoundEntries FindInBestTree(std::span<TreeView* const> trees, const std::string& path,
                                          Messages& messages);

/// The facts of a tree, its items counted where it does not store their number.
struct WholeFacts {
    TreeFacts facts;
    bool isDamaged =
        false;  ///< a part of it cannot be read, or the image is cut short; after a message
};
[[nodiscard]] WholeFacts WholeFactsOf(const ImageView& view, TreeView& tree, Messages& messages);

}  // namespace vellmark
