// Items taken out of a project. Files and folders of the PC stay.
#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "project/project_file.hpp"
#include "support/messages.hpp"
#include "support/progress.hpp"
#include "support/reason.hpp"

namespace vellmark {

/// Gathers the items that are to go, one after the other, and takes them out all at once: the
/// records of a folder are moved once. The counters of the folders that they lie in and the marks
/// of icon files are brought up to date.
class ItemDeletion {
  public:
    /// `confirm` keeps the answer to the question about folders that hold something; one that is
    /// yes to all from the start asks nothing.
    ItemDeletion(ProjectFile& project, RememberedAnswer& confirm, Messages& messages)
        : project_(project), confirm_(confirm), messages_(messages) {}

    /// Whether the item, or a folder that it lies in, was added before.
    [[nodiscard]] bool isGoing(const ProjectRecord& record) const;
    /// Whether the item goes: a folder that the project has something in only after a question,
    /// which names it `shownName`.
    [[nodiscard]] bool add(const ProjectRecord& record, std::string_view shownName);
    /// Returns how many items were added.
    std::int64_t finish();

  private:
    ProjectFile& project_;
    RememberedAnswer& confirm_;
    Messages& messages_;
    std::map<std::int32_t, std::vector<std::int32_t>> byFolder_;
    std::unordered_set<std::int32_t> going_;
    std::unordered_set<std::int32_t> iconFolders_;
};

struct DeletionResult {
    std::int64_t deleted = 0;  ///< items of those given, not counting what lay below a folder
    std::int64_t kept = 0;     ///< folders that the person wanted to keep
    Reason refusal = {};       ///< nothing was deleted then
};

/// Deletes items, folders with all that is below them, in the order given. An empty folder and a
/// file go without a question. Refused: an item that is not there, and root.
[[nodiscard]] DeletionResult DeleteItems(ProjectFile& project,
                                         std::span<const std::int32_t> numbers,
                                         RememberedAnswer& confirm, Messages& messages,
                                         Progress& progress);

}  // namespace vellmark
