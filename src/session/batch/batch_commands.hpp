// What the batch commands do, each one function.
#pragma once

#include <string>

#include "session/command_context.hpp"
#include "session/terminal.hpp"

namespace vellmark {

enum class BatchResult : int {
    Done = 0,
    DoneAndOpen = 2,  ///< done; what opens next is said as for a command that failed
    NotUnderstood = 1,
    NotOpened = -1,   ///< the project cannot be opened, made or saved
    NotCreated = -2,  ///< the target cannot be created
    NotFound = -3,    ///< what is to be included does not exist, or cannot be included
    NoRoom = -4       ///< the target's disk is too small
};

/// What the second letter of a command says.
enum class BatchSide { Both, Iso, Hfs };

struct BatchJob {
    BatchSide side;
    std::string project;
    std::string argument;
    CommandContext& context;
    Terminal& terminal;
    bool opensLog = false;  ///< the argument is the path of a log
};

/// The image of a project: the project's path with the extension `ISO`, whatever the kind. An image
/// of that name is replaced.
[[nodiscard]] BatchResult BatchCompile(const BatchJob& job);

// The following change a project, which is made when it is not there, but for a rebuild. What does
// not end in Done leaves it as it was.

/// The folders of a path in the project, `/` or `\` between them.
[[nodiscard]] BatchResult BatchMakeFolders(const BatchJob& job);
/// A file, a folder with its contents, or what fits a pattern (`FOLDER/*` is all that is in one);
/// `$` and the path of a list stand for all that its lines name. What a list names in vain is left
/// out and reported, while the rest is done.
[[nodiscard]] BatchResult BatchInclude(const BatchJob& job);
/// What changed on the disk. The log is opened first when none is open.
[[nodiscard]] BatchResult BatchRebuild(const BatchJob& job);
/// A compressed image, `project`, becomes the plain one whose path is the argument. Nothing else is
/// changed.
[[nodiscard]] BatchResult BatchExpand(const BatchJob& job);
/// The Macintosh partition of an image, `project`, is joined to the ISO 9660 image whose path is
/// the argument; what that one has where the map goes gives way.
[[nodiscard]] BatchResult BatchJoin(const BatchJob& job);
/// A hybrid image, `project`, without its Macintosh side.
[[nodiscard]] BatchResult BatchSplit(const BatchJob& job);
/// One label or both.
[[nodiscard]] BatchResult BatchSetLabel(const BatchJob& job);

}  // namespace vellmark
