// What is open in a session: at most one document of each mode, and only that of the mode worked
// in.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "project/project_file.hpp"
#include "session/file_modes.hpp"
#include "session/partition_document.hpp"
#include "transfer/copy_form.hpp"
#include "volume/hfs_structures.hpp"

namespace vellmark {

/// The project of a mode.
struct ProjectDocument {
    std::optional<ProjectFile> file;  ///< nothing when none is open
    bool isUntitled = false;          ///< it lies in the user's data folder, and has no name yet
    bool isUnsaved = false;           ///< what was changed last could not be written
    std::string backupPath;           ///< of the copy that its opening made; "" for none
    std::int32_t folder = kRootFolder;
};

enum class CompileState : int { Stopped = -1, Runs = 0, Idle = 1 };

struct Documents {
    FileMode mode = FileMode::Unknown;  ///< until the settings were read
    ProjectView view = ProjectView::Hybrid;
    ProjectDocument project;
    ProjectDocument isoPlus;
    std::unique_ptr<PartitionDocument> partition;  ///< null when none is open
    std::uint32_t partitionFolder = kRootFolderId;
    CopyMode copyMode = CopyMode::DataFork;
    /// The format of the Macintosh side of what is open, and the one meant before anything is.
    bool isHfsPlus = false;
    CompileState compile = CompileState::Idle;
    bool listHasFocus = false;  ///< commands act on the list and not on the tree

    /// The project of the mode, open or not; null in Partition mode.
    [[nodiscard]] ProjectDocument* projectOfMode() {
        return mode == FileMode::Project   ? &project
               : mode == FileMode::IsoPlus ? &isoPlus
                                           : nullptr;
    }
    [[nodiscard]] const ProjectDocument* projectOfMode() const {
        return const_cast<Documents*>(this)->projectOfMode();
    }
    /// The view through which the project of the mode is looked at: an ISO+ project has one alone.
    [[nodiscard]] ProjectView shownView() const {
        return mode == FileMode::IsoPlus ? ProjectView::Iso : view;
    }
    /// Path of what is open in the mode, "" when nothing is.
    [[nodiscard]] std::string path() const;
    [[nodiscard]] bool isOpen() const { return !path().empty(); }
};

/// The title of the window: `disc.vlpr [Vellmark]`.
[[nodiscard]] std::string WindowTitle(const Documents& documents);

}  // namespace vellmark
