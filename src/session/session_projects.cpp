// The projects of a session: opened, made, saved and left.
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "session/session.hpp"
#include "session/user_options.hpp"
#include "support/encoding.hpp"
#include "support/pc_folder.hpp"
#include "support/sentences.hpp"
#include "support/targets.hpp"
#include "support/texts.hpp"

namespace vellmark {

namespace {

constexpr int kTextBackingUp = 1313;
constexpr int kTextNewProject = 1350;
constexpr int kTextSaveProject = 1352;
constexpr int kTextNewIsoPlus = 1363;
constexpr int kTextSaveIsoPlus = 1364;
constexpr int kTextNotSaved = 1384;
constexpr int kTextOpening = 1471;

constexpr std::string_view kUntitledProject = "vlpr.vlpr";
constexpr std::string_view kUntitledIsoPlus = "vlso.vlso";

// So that nothing of what an earlier session left there is lost.
void KeepLeftover(const std::string& path) {
    if (PcFactsOf(path).sizeBytes > kProjectRecordBytes)
        (void)BackUpProject(path);
}

bool MakeFolder(const std::string& folder) {
    std::error_code error;
    std::filesystem::create_directories(std::filesystem::path(folder).parent_path(), error);
    return ::mkdir(folder.c_str(), 0700) == 0 || PcFactsOf(folder).kind == PcKind::Folder;
}

}  // namespace

std::string Session::untitledPath() const {
    return ports_.dataFolder + "/" +
           std::string(documents_.mode == FileMode::IsoPlus ? kUntitledIsoPlus : kUntitledProject);
}

bool Session::isUntitledPath(const std::string& path) const {
    return !ports_.dataFolder.empty() && AreSameFile(path, untitledPath());
}

ProjectAccess Session::access() const {
    return {LockKind::Exclusive, ports_.guard.lockWaitMs};
}

bool Session::createProject(const std::string& path, bool isUntitled) {
    const ProjectMode mode =
        documents_.mode == FileMode::IsoPlus ? ProjectMode::IsoPlus : ProjectMode::Hybrid;
    ProjectDefaults defaults = OptionsOf(state_.settings, ports_.messages.language()).newProject;
    defaults.isHfsPlus = defaults.isHfsPlus && mode == ProjectMode::Hybrid;
    ProjectFile file = ProjectFile::Create(path, mode, defaults, access());
    if (!file.save(ports_.messages))
        return false;
    ProjectDocument& document = *documents_.projectOfMode();
    document = ProjectDocument{};
    document.file.emplace(std::move(file));
    document.isUntitled = isUntitled;
    if (mode == ProjectMode::Hybrid)
        documents_.isHfsPlus = defaults.isHfsPlus;
    return true;
}

void Session::makeUntitled() {
    const std::string path = untitledPath();
    if (ports_.dataFolder.empty() || !MakeFolder(ports_.dataFolder)) {
        ports_.messages.showMessage(Reason(Sentence::kNoDataFolder, Printable(ports_.dataFolder)));
        return;
    }
    KeepLeftover(path);
    (void)createProject(path, true);
}

bool Session::openLeftover() {
    const std::string path = untitledPath();
    return !ports_.dataFolder.empty() && PcFactsOf(path).sizeBytes > kProjectRecordBytes &&
           ports_.messages.askYesNo(Reason(Sentence::kAskLeftover)) && openProjectFile(path);
}

bool Session::makeProject() {
    leave();
    const bool isIsoPlus = documents_.mode == FileMode::IsoPlus;
    const std::optional<std::string> path =
        askPath(isIsoPlus ? kTextNewIsoPlus : kTextNewProject, documentFolder());
    if (!path)
        return false;
    const std::string target = FollowLink(*path);
    if (!mayReplace(target) || !MayMakeFile(target, true, ports_.messages) ||
        !createProject(target, false))
        return false;
    noteDocument(*path);
    return true;
}

bool Session::openProjectFile(const std::string& path) {
    ProjectDocument& document = *documents_.projectOfMode();
    const bool isHybrid = documents_.mode == FileMode::Project;
    const std::string real = FollowLink(path);
    std::optional<ProjectFile> file;
    if (ProjectFile::Open(real, isHybrid ? ProjectMode::Hybrid : ProjectMode::IsoPlus,
                          ports_.messages, file, access()) != ProjectOpened::Opened)
        return false;
    if (const int error = SaveRefusal(real); error != 0) {
        FileOpenError(ports_.messages, path, Reason(SystemError{error}));
        return false;
    }
    document = ProjectDocument{};
    if (!state_.settings.has(kVlNoBackup)) {
        if (isHybrid)
            ports_.progress.text(ports_.messages.text(kTextBackingUp));
        document.backupPath = BackUpProject(real);
    }
    ports_.progress.text(ports_.messages.words(Reason::Told(kTextOpening, Printable(path))));
    document.isUntitled = isUntitledPath(real);
    if (isHybrid)
        documents_.isHfsPlus = file->header().isHfsPlus();
    document.file.emplace(std::move(*file));
    return true;
}

bool Session::saveProjectAs(ProjectDocument& document) {
    const int title = documents_.mode == FileMode::IsoPlus ? kTextSaveIsoPlus : kTextSaveProject;
    const std::optional<std::string> path =
        askNewPath(title, document.isUntitled ? documentFolder() : document.file->path());
    if (!path)
        return false;
    const std::string target = FollowLink(*path);
    if (!document.file->moveTo(target, ports_.messages))
        return false;
    document.isUntitled = isUntitledPath(target);
    document.isUnsaved = false;
    noteDocument(*path);
    return true;
}

void Session::leaveProject(ProjectDocument& document) {
    if (!document.file)
        return;
    const bool isOffered = document.isUntitled
                               ? document.file->countRecords() > 0
                               : document.isUnsaved && !keep() &&
                                     ports_.messages.askYesNo(Reason::Told(
                                         kTextNotSaved, Printable(document.file->path())));
    if (isOffered)
        (void)saveProjectAs(document);
    dropProject(document);
}

void Session::dropProject(ProjectDocument& document) {
    if (!document.file)
        return;
    if (document.isUntitled && document.file->countRecords() == 0)
        ::unlink(document.file->path().c_str());
    document = ProjectDocument{};
    documents_.isHfsPlus = state_.settings.has(kVlStartHfsPlus);
}

ProjectFile* Session::openProject() {
    ProjectDocument* document = documents_.projectOfMode();
    if (!document || (!document->file && !makeDocument()))
        return nullptr;
    return &*document->file;
}

bool Session::isReplaced() const {
    if (const ProjectDocument* document = documents_.projectOfMode())
        return document->file && document->file->isReplaced();
    return documents_.partition && documents_.partition->isReplaced();
}

bool Session::revert() {
    ProjectDocument* document = documents_.projectOfMode();
    if (!document || !document->file)
        return false;
    const std::string path = document->file->path();
    const ProjectMode mode = document->file->mode();
    // A file can be locked once.
    document->file.reset();
    if (ProjectFile::Open(path, mode, ports_.messages, document->file, access()) !=
        ProjectOpened::Opened) {
        *document = ProjectDocument{};
        return false;
    }
    if (!document->file->isFolder(document->folder))
        document->folder = kRootFolder;
    return true;
}

bool Session::keep() {
    ProjectDocument* document = documents_.projectOfMode();
    if (!document || !document->file)
        return false;
    if (!document->file->isFolder(document->folder))
        document->folder = kRootFolder;
    document->isUnsaved = !document->file->save(ports_.messages);
    if (documents_.mode == FileMode::Project)
        documents_.isHfsPlus = document->file->header().isHfsPlus();
    return !document->isUnsaved;
}

}  // namespace vellmark
