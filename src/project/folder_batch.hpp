// The items that one command adds to one folder of a project: tested against what is there and
// against each other, named, and put in their places all at once.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "project/project_file.hpp"
#include "project/view_names.hpp"

namespace vellmark {

/// Whether an item may be added.
enum class Conflict {
    None,
    AlreadyThere,  ///< the same file or folder of the PC
    SameName       ///< another one of that name, in the view
};

class FolderBatch {
  public:
    /// `view` is the one that new items of the folder go in.
    FolderBatch(const ProjectFile& project, std::int32_t parent, ProjectView view);

    [[nodiscard]] std::int32_t parent() const { return parent_; }
    [[nodiscard]] ProjectView view() const { return view_; }

    /// Names are compared without regard to case, as one folder of a disc holds them only once; yet
    /// two names of one PC folder that differ in case only are two items. Independent of the number
    /// of items.
    [[nodiscard]] Conflict conflictOf(std::string_view accessPath,
                                      std::string_view sourceName) const;

    /// An item that is about to leave the folder is no conflict any more.
    void forget(const ProjectRecord& record);

    [[nodiscard]] SiblingNames& names() { return names_; }

    /// Takes an item, whose names are made and whose parent number is the folder's.
    void add(const ProjectRecord& record);

    /// Hands all items to the project: counters of the folder, and the view flags of the folder and
    /// those above it where an item is in a view that they are not in.
    void mergeInto(ProjectFile& project);

  private:
    [[nodiscard]] const ProjectRecord& known(std::size_t index) const;

    const ProjectFile::Run& existing_;
    std::int32_t parent_;
    ProjectView view_;
    SiblingNames names_;
    ProjectFile::Run records_;
    /// Folded source name to index: into `existing_`, and behind its end into `records_`.
    std::unordered_multimap<std::string, std::size_t> bySourceName_;
};

}  // namespace vellmark
