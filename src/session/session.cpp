#include "session/session.hpp"

#include <filesystem>

#include "project/item_views.hpp"
#include "session/settings.hpp"
#include "support/encoding.hpp"
#include "support/pc_folder.hpp"
#include "support/targets.hpp"
#include "support/texts.hpp"

namespace vellmark {

namespace {

constexpr int kTextOverwrite = 1061;
constexpr int kTextMacBinary = 1140;
constexpr int kTextResource = 1141;
constexpr int kTextAppleDouble = 1142;
constexpr int kTextAppleSingle = 1143;
constexpr int kTextNotManaged = 1386;

constexpr std::string_view kProgram = "Vellmark";

/// The question before a way of copying; 0 for none.
int QuestionOf(CopyMode mode) {
    switch (mode) {
        case CopyMode::ResourceFork:
            return kTextResource;
        case CopyMode::MacBinary:
            return kTextMacBinary;
        case CopyMode::AppleDouble:
            return kTextAppleDouble;
        case CopyMode::AppleSingle:
            return kTextAppleSingle;
        case CopyMode::DataFork:
            break;
    }
    return 0;
}

}  // namespace

std::string Documents::path() const {
    if (const ProjectDocument* document = projectOfMode())
        return document->file ? document->file->path() : std::string{};
    return partition ? partition->path() : std::string{};
}

std::string WindowTitle(const Documents& documents) {
    const std::string path = documents.path();
    if (path.empty())
        return std::string(kProgram);
    return Printable(path.substr(path.find_last_of('/') + 1)) + " [" + std::string(kProgram) + "]";
}

void Session::start(const std::string& path) {
    documents_.isHfsPlus = state_.settings.has(kVlStartHfsPlus);
    switchMode(state_.settings.startMode());
    if (path.empty() || !open(path))
        if (documents_.projectOfMode() && !openLeftover())
            makeUntitled();
}

void Session::end() {
    leave();
    SaveSettings(state_.settings, documents_.mode, state_.store);
}

void Session::switchMode(FileMode mode) {
    documents_.mode = mode;
    documents_.listHasFocus = false;
}

void Session::chooseMode(FileMode mode) {
    if (mode == documents_.mode || mode == FileMode::Unknown)
        return;
    leave();
    switchMode(mode);
}

void Session::chooseNextMode() {
    chooseMode(documents_.mode == FileMode::IsoPlus
                   ? FileMode::Project
                   : static_cast<FileMode>(static_cast<int>(documents_.mode) + 1));
}

bool Session::open(const std::string& path) {
    const FileMode mode = FileModeOf(path);
    if (mode == FileMode::Unknown) {
        ports_.messages.showMessage(Reason::Told(kTextNotManaged, Printable(path)));
        return documents_.isOpen();
    }
    leave();
    switchMode(mode);
    const bool isOpen = mode == FileMode::Partition ? openPartition(path) : openProjectFile(path);
    if (isOpen)
        noteDocument(path);
    return isOpen;
}

void Session::leave() {
    if (ProjectDocument* document = documents_.projectOfMode())
        leaveProject(*document);
    else
        closePartition();
}

void Session::close() {
    ProjectDocument* document = documents_.projectOfMode();
    if (!document) {
        closePartition();
        return;
    }
    // Its totals are brought up to date.
    document->isUnsaved = document->isUnsaved || !document->isUntitled;
    if (documents_.mode == FileMode::IsoPlus && document->isUntitled)
        dropProject(*document);
    else
        leaveProject(*document);
}

bool Session::save() {
    if (const ProjectDocument* document = documents_.projectOfMode())
        return document->file && !document->isUntitled && keep();
    return documents_.partition && documents_.partition->save(ports_.clock, ports_.messages);
}

bool Session::enterFolder(std::int32_t folder) {
    ProjectDocument* document = documents_.projectOfMode();
    if (!document) {
        documents_.partitionFolder = static_cast<std::uint32_t>(folder);
        return documents_.partition != nullptr;
    }
    if (!document->file || !document->file->isFolder(folder) ||
        NearestFolderIn(*document->file, folder, documents_.shownView()) != folder)
        return false;
    document->folder = folder;
    return true;
}

void Session::enterParent() {
    ProjectDocument* document = documents_.projectOfMode();
    if (!document) {
        if (documents_.partition)
            documents_.partitionFolder = documents_.partition->parentOf(documents_.partitionFolder);
        return;
    }
    if (document->file && document->folder != kRootFolder)
        document->folder = NearestFolderIn(
            *document->file, document->file->parentOf(document->folder), documents_.shownView());
}

void Session::setView(ProjectView view) {
    documents_.view = view;
    if (ProjectDocument& document = documents_.project; document.file)
        document.folder = NearestFolderIn(*document.file, document.folder, view);
}

bool Session::setCopyMode(CopyMode mode) {
    const int question = mode == documents_.copyMode ? 0 : QuestionOf(mode);
    if (question != 0 && !ports_.messages.askYesNo(ports_.messages.text(question)))
        return false;
    documents_.copyMode = mode;
    return true;
}

bool Session::makeDocument() {
    return documents_.projectOfMode() ? makeProject() : makePartition();
}

bool Session::saveAs() {
    if (ProjectDocument* document = documents_.projectOfMode())
        return document->file && saveProjectAs(*document);
    return documents_.partition && savePartitionAs();
}

std::string Session::documentFolder() {
    return KeptFolder(state_.store, setting::kDocumentFolder, ports_.documents);
}

std::optional<std::string> Session::askPath(int title, const std::string& proposal) {
    const std::string extension = documents_.mode == FileMode::IsoPlus     ? ".vlso"
                                  : documents_.mode == FileMode::Partition ? ".hfs"
                                                                           : ".vlpr";
    std::optional<std::string> path = ports_.dialogs.askPath({title, extension, proposal});
    if (!path || path->empty())
        return std::nullopt;
    if (std::filesystem::path(*path).extension().empty())
        *path += extension;
    return path;
}

bool Session::mayReplace(const std::string& path) {
    const PcFacts facts = PcFactsOf(path);
    return (facts.kind == PcKind::Missing && !facts.isLink) ||
           ports_.messages.askYesNo(Reason::Told(kTextOverwrite, Printable(path)));
}

std::optional<std::string> Session::askNewPath(int title, const std::string& proposal) {
    for (;;) {
        std::optional<std::string> path = askPath(title, proposal);
        if (!path)
            return std::nullopt;
        const std::string target = FollowLink(*path);
        if ((AreSameFile(target, documents_.path()) || mayReplace(target)) &&
            MayMakeFile(target, true, ports_.messages))
            return path;
    }
}

void Session::noteDocument(const std::string& path) {
    NoteRecentFile(path, documents_.mode, state_.store);
    KeepFolderOf(path, setting::kDocumentFolder, state_.store);
}

}  // namespace vellmark
