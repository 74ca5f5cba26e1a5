// The session of a person who works in a window: which document is open in which mode, and how one
// comes to another. It knows no window: it speaks through ports, so that a script can be its
// person.
#pragma once

#include <optional>
#include <string>

#include "project/drop.hpp"
#include "session/session_state.hpp"
#include "support/file_lock.hpp"
#include "support/messages.hpp"
#include "support/progress.hpp"
#include "volume/formatter.hpp"

namespace vellmark {

/// A path that a session asks for.
struct PathRequest {
    int title = 0;          ///< number of the text over the question
    std::string extension;  ///< added to a name without one, with its dot
    std::string proposal;   ///< a path, or a folder that ends in `/`
};

/// What a session asks beside what `Messages` has questions for.
class DocumentDialogs {
  public:
    virtual ~DocumentDialogs() = default;
    /// Where a project is to be kept; nothing when the person gives up.
    [[nodiscard]] virtual std::optional<std::string> askPath(const PathRequest& request) = 0;
    /// What a new volume is to be like; nothing when the person gives up.
    [[nodiscard]] virtual std::optional<FormatInput> askNewVolume() = 0;
};

/// What a session is handed. All of it outlives the session.
struct SessionPorts {
    Messages& messages;
    Progress& progress;
    DocumentDialogs& dialogs;
    const Clock& clock;
    FileGuard guard = {};
    std::string dataFolder = {};  ///< where projects without a name are kept; "" for nowhere
    std::string documents = {};   ///< folder that questions begin in the first time
};

/// Leaving a document asks nothing about one that has a name, as it is written after each
/// operation, unless the last writing failed. A project without a name that holds something is
/// offered to be saved under one; when the person gives none it stays where it is, and the next
/// project without a name keeps it as its backup. All that goes wrong has been shown.
class Session final : public DropTarget {
  public:
    Session(SessionState& state, SessionPorts ports)
        : state_(state), documents_(state.documents), ports_(std::move(ports)) {}

    /// Begins in the mode of the settings; with the document of `path`, when one is given, in its
    /// mode. Without a document that could be opened a project mode begins with one without a name:
    /// that of an earlier session which ended before it got one, if the person wants it, else a new
    /// one.
    void start(const std::string& path = {});
    /// Leaves what is open, and keeps the settings.
    void end();

    /// Makes a mode the one worked in. Neither closes nor opens anything.
    void switchMode(FileMode mode);
    /// Leaves what is open and goes to another mode; nothing in the mode that is worked in.
    void chooseMode(FileMode mode);
    /// The one after it, and behind the last the first.
    void chooseNextMode();

    /// Leaves what is open and opens the file in the mode of its extension, the root folder
    /// first. A project is backed up as the settings say. A disk image that may not be changed is
    /// open for reading. False when nothing is open then.
    [[nodiscard]] bool open(const std::string& path);
    /// Leaves what is open and makes a document of the mode at a path that the person is asked for:
    /// a project, or an image with an empty volume, whose properties are asked for too. False when
    /// they gave none, wanted an older file to stay, or it could not be made.
    [[nodiscard]] bool makeDocument();
    /// Writes what is open, its totals brought up to date. Not a project without a name.
    [[nodiscard]] bool save();
    /// Keeps the document under a path that the person is asked for, again and again as long as
    /// they want another file of that name to stay. Of a disk image a copy is made, which is the
    /// document then. False when they gave up, or it could not be written: the document is the one
    /// that it was.
    [[nodiscard]] bool saveAs();
    /// Closes what is open, and the mode has nothing open then. A hybrid project without a name
    /// that holds something is offered to be saved first; an ISO+ one is not.
    void close();

    /// The open project of the mode, which is made when there is none; null when that failed.
    [[nodiscard]] ProjectFile* openProject() override;
    /// Writes what an operation changed in the project. The current folder, if it is gone, gives
    /// way to root. False when it could not be written: leaving asks about it then.
    bool keep();
    /// Whether another program put another file, or none, in the place of the one that is open.
    [[nodiscard]] bool isReplaced() const;
    /// Takes back what an operation that was stopped has changed in the project: it is read again
    /// as its file has it. False, and nothing is open, when that cannot be.
    bool revert();

    /// Shows a folder of what is open. False when it has no such folder in the view.
    [[nodiscard]] bool enterFolder(std::int32_t folder);
    /// Shows the folder that holds the current one; nothing on root.
    void enterParent();
    /// Shows a project through another view, and the nearest folder that is in it.
    void setView(ProjectView view);
    /// Chooses how files are copied, after a question for each but the plain way. False when the
    /// person did not want it.
    [[nodiscard]] bool setCopyMode(CopyMode mode);

  private:
    void leave();
    void leaveProject(ProjectDocument& document);
    void dropProject(ProjectDocument& document);
    void closePartition();
    [[nodiscard]] bool openProjectFile(const std::string& path);
    [[nodiscard]] bool openPartition(const std::string& path);
    [[nodiscard]] bool makeProject();
    [[nodiscard]] bool makePartition();
    [[nodiscard]] bool saveProjectAs(ProjectDocument& document);
    [[nodiscard]] bool savePartitionAs();
    [[nodiscard]] ReadingPorts readingPorts() const;
    [[nodiscard]] std::string documentFolder();
    [[nodiscard]] std::optional<std::string> askNewPath(int title, const std::string& proposal);
    void makeUntitled();
    [[nodiscard]] bool openLeftover();
    [[nodiscard]] bool createProject(const std::string& path, bool isUntitled);
    [[nodiscard]] std::optional<std::string> askPath(int title, const std::string& proposal);
    [[nodiscard]] bool mayReplace(const std::string& path);
    [[nodiscard]] std::string untitledPath() const;
    [[nodiscard]] bool isUntitledPath(const std::string& path) const;
    [[nodiscard]] ProjectAccess access() const;
    void noteDocument(const std::string& path);

    SessionState& state_;
    Documents& documents_;
    SessionPorts ports_;
};

}  // namespace vellmark
