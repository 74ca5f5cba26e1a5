// How a project comes from its file and goes back into it.
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

#include "containers/names.hpp"
#include "project/project_file.hpp"
#include "project/view_names.hpp"
#include "support/backup_path.hpp"
#include "support/encoding.hpp"
#include "support/pc_file.hpp"
#include "support/pc_folder.hpp"
#include "support/sentences.hpp"

namespace vellmark {

namespace {

constexpr std::string_view kMagic = "VLK";
constexpr char kVersion = 'Z';
constexpr std::size_t kRecordsPerRead = 512;
constexpr std::string_view kDefaultNames[] = {"vlpr.vlpr", "vlso.vlso"};

constexpr int kTextOverwrite = 1061;
constexpr int kTextNotAProject = 1062;
constexpr int kTextOlderProject = 1063;

std::string FileNameOf(const std::string& path) {
    return path.substr(path.find_last_of('/') + 1);
}

ProjectOpened CheckHeader(const ProjectHeader& header, std::uint64_t bytesRead,
                          std::uint64_t sizeBytes) {
    if (bytesRead < kMagic.size() + 1 || std::string_view(header.magic, kMagic.size()) != kMagic)
        return ProjectOpened::NotAProject;
    if (header.version != kVersion)
        return ProjectOpened::OlderProject;
    if (sizeBytes % kProjectRecordBytes != 0)
        return ProjectOpened::Cut;
    return sizeBytes / kProjectRecordBytes > kMostProjectRecords + 1 ? ProjectOpened::TooLarge
                                                                     : ProjectOpened::Opened;
}

void ShowRefusal(ProjectOpened result, const PcFile& file, Messages& messages) {
    const std::string path = Printable(file.path());
    switch (result) {
        case ProjectOpened::Opened:
            break;
        case ProjectOpened::CannotOpen:
            FileOpenError(messages, file.path(), file.failure());
            break;
        case ProjectOpened::NotAProject:
            messages.showMessage(Reason::Told(kTextNotAProject, path));
            break;
        case ProjectOpened::OlderProject:
            messages.showMessage(Reason::Told(kTextOlderProject, path));
            break;
        case ProjectOpened::Cut:
            messages.showMessage(
                Reason(Sentence::kProjectCut, path, file.size(), kProjectRecordBytes));
            break;
        case ProjectOpened::TooLarge:
            messages.showMessage(Reason(Sentence::kProjectTooLarge, path, kMostProjectRecords));
            break;
    }
}

bool ReadRecords(PcFile& file, std::map<std::int32_t, ProjectFile::Run>& children) {
    const std::uint64_t sizeBytes = file.size();
    std::vector<ProjectRecord> piece(kRecordsPerRead);
    for (std::uint64_t offset = kProjectRecordBytes; offset < sizeBytes;) {
        const auto want = static_cast<std::size_t>(
            std::min<std::uint64_t>(sizeBytes - offset, kRecordsPerRead * kProjectRecordBytes));
        if (!file.readExactly(offset, {reinterpret_cast<std::uint8_t*>(piece.data()), want}))
            return false;
        for (std::size_t i = 0; i < want / kProjectRecordBytes; ++i)
            children[piece[i].parent].push_back(piece[i]);
        offset += want;
    }
    return true;
}

// Of whatever version.
bool IsProject(const std::string& path) {
    const PcFacts facts = PcFactsOf(path);
    if (facts.kind != PcKind::File || facts.isLink)
        return false;
    PcFile file(path, PcFile::Mode::Read);
    std::array<char, kMagic.size()> magic{};
    return file.readRecord(0, magic) && std::string_view(magic.data(), magic.size()) == kMagic;
}

std::span<const std::uint8_t> BytesOf(const ProjectFile::Run& run) {
    return {reinterpret_cast<const std::uint8_t*>(run.data()), run.size() * kProjectRecordBytes};
}

}  // namespace

ProjectFile ProjectFile::Create(std::string path, ProjectMode mode, const ProjectDefaults& defaults,
                                const ProjectAccess& access) {
    ProjectFile project(std::move(path), mode, access);
    ProjectHeader& header = project.header_;
    std::memcpy(header.magic, kMagic.data(), kMagic.size());
    header.version = kVersion;
    header.rootNumber = kRootFolder;
    header.lastFolder = kBackgroundFolder;
    header.setOpenRoot(defaults.openRoot);
    header.setRebuildBeforeCompile(defaults.rebuild);
    header.setHfsPlus(defaults.isHfsPlus);
    header.setIsoLabel(defaults.label);
    header.setHfsLabel(defaults.isHfsPlus ? defaults.label : AnsiToMacName(defaults.label));
    return project;
}

ProjectOpened ProjectFile::Open(const std::string& path, ProjectMode mode, Messages& messages,
                                std::optional<ProjectFile>& project, const ProjectAccess& access) {
    project.reset();
    const auto held = std::make_shared<PcFile>(OpenLocked(
        [&path] { return PcFile(path, PcFile::Mode::Read); }, access.lock, access.waitMs));
    PcFile& file = *held;
    ProjectFile opened(path, mode, access);
    opened.held_ = held;
    opened.stamp_ = StampOf(path);
    ProjectOpened result = ProjectOpened::CannotOpen;
    if (file.isOpen()) {
        const std::size_t got = file.readAt(
            0, {reinterpret_cast<std::uint8_t*>(&opened.header_), sizeof(opened.header_)});
        if (file.error() == 0)
            result = CheckHeader(opened.header_, got, file.size());
    }
    std::map<std::int32_t, Run> children;
    if (result == ProjectOpened::Opened && !ReadRecords(file, children))
        result = file.error() ? ProjectOpened::CannotOpen : ProjectOpened::Cut;
    if (result != ProjectOpened::Opened) {
        ShowRefusal(result, file, messages);
        return result;
    }
    opened.header_.lastFolder =
        std::max<std::int32_t>(opened.header_.lastFolder, kBackgroundFolder);
    opened.takeOver(std::move(children));
    project.emplace(std::move(opened));
    return result;
}

void ProjectFile::bringHeaderUpToDate(Messages& messages) {
    ProjectTotals sums = totals();
    TurnToHfsPlusIfTooMany(*this, sums, messages);
    const bool counted = mode_ == ProjectMode::Hybrid;
    header_.hfsRecords = counted ? sums.hfsRecords : 0;
    header_.isoRecords = counted ? sums.isoRecords : 0;
    header_.totalSectors = static_cast<std::uint32_t>(sums.sectors);
    header_.zero620 = 0;
}

bool ProjectFile::save(Messages& messages) {
    bringHeaderUpToDate(messages);
    return writeTo(path_, messages);
}

bool ProjectFile::saveAs(const std::string& newPath, Messages& messages) {
    if (!save(messages))
        return false;
    const PcFacts target = PcFactsOf(newPath);
    if (target.kind != PcKind::Missing && !AreSameFile(newPath, path_) &&
        !messages.askYesNo(Reason::Told(kTextOverwrite, Printable(newPath))))
        return false;
    return moveTo(newPath, messages);
}

bool ProjectFile::moveTo(const std::string& newPath, Messages& messages) {
    bringHeaderUpToDate(messages);
    if (AreSameFile(newPath, path_))
        return writeTo(path_, messages);
    const std::string oldPath = path_;
    if (!writeTo(newPath, messages))
        return false;
    path_ = newPath;
    const std::string oldName = FileNameOf(oldPath);
    if (std::find(std::begin(kDefaultNames), std::end(kDefaultNames), oldName) !=
        std::end(kDefaultNames))
        ::unlink(oldPath.c_str());
    return true;
}

bool ProjectFile::isReplaced() const {
    return held_ && !StampOf(path_).isSameVersion(stamp_);
}

bool ProjectFile::writeTo(const std::string& path, Messages& messages) {
    const auto show = [&](const Reason& reason) {
        messages.showMessage(Reason(Sentence::kProjectNotWritten, Printable(path), reason));
        return false;
    };
    if (countRecords() > kMostProjectRecords)
        return show(Reason(Sentence::kTooManyItems, kMostProjectRecords));
    const bool isOwn = held_ && path == path_;
    if (isOwn && isReplaced())
        return show(Sentence::kChangedSinceRead);
    TargetFile target(path);
    PcFile& file = target.file();
    if (!file.isOpen())
        return show(SystemError{file.error()});
    if (const int error = isOwn ? 0 : target.lockOlder(access_.waitMs); error != 0)
        return show(SystemError{error});
    bool written = file.writeRecord(0, header_);
    std::uint64_t offset = kProjectRecordBytes;
    for (const auto& [parent, run] : children_) {
        written = written && file.writeAt(offset, BytesOf(run));
        offset += run.size() * kProjectRecordBytes;
    }
    if (!written)
        return show(SystemError{file.error()});
    // The lock passes on to the new file before anybody else can have it.
    (void)file.lock(access_.lock);
    if (const int error = target.publish(held_ || access_.mayReplace, true); error != 0)
        return show(SystemError{error});
    stamp_ = StampOf(path);
    held_ = std::make_shared<PcFile>(std::move(file));
    return true;
}

std::string ProjectBackupPath(const std::string& path) {
    const BackedUpFile project{path, "BAK"};
    const std::vector<std::string> paths = BackupPaths({&project, 1}, [&path](const auto& other) {
        return IsProject(other) && !AreSameFile(other, path);
    });
    return paths.empty() ? std::string{} : paths.front();
}

std::string BackUpProject(const std::string& path) {
    PcFile source(path, PcFile::Mode::Read);
    std::string backupPath = source.isOpen() ? ProjectBackupPath(path) : std::string{};
    if (backupPath.empty())
        return {};
    TargetFile backup(backupPath, path);
    const bool replaces = PcFactsOf(backupPath).kind == PcKind::File;
    const std::uint64_t sizeBytes = source.size();
    const bool isWhole =
        backup.file().isOpen() && backup.file().copyFrom(source, {0, 0, sizeBytes}) == sizeBytes;
    return isWhole && backup.publish(replaces, true) == 0 ? backupPath : std::string{};
}

int SaveRefusal(const std::string& path) {
    // A new file takes the place of the old one, which needs the folder, but a file that is
    // protected is meant to stay.
    if (::access(path.c_str(), W_OK) != 0 || ::access(FolderOf(path).c_str(), W_OK | X_OK) != 0)
        return errno;
    return 0;
}

}  // namespace vellmark
