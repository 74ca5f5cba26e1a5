#include "project/open_project.hpp"

#include "support/backup_path.hpp"
#include "support/encoding.hpp"
#include "support/sentences.hpp"
#include "support/targets.hpp"

namespace vellmark {

bool OpenForChange(const std::string& path, ProjectMode mode, unsigned lockWaitMs,
                   Messages& messages, std::optional<ProjectFile>& project) {
    const std::string real = FollowLink(path);
    if (ProjectFile::Open(real, mode, messages, project, {LockKind::Exclusive, lockWaitMs}) !=
        ProjectOpened::Opened)
        return false;
    const int error = SaveRefusal(real);
    if (error == 0)
        return true;
    messages.showMessage(Reason(Sentence::kProjectProtected, Printable(path), SystemError{error}));
    project.reset();
    return false;
}

void BackUpBeforeChange(const ProjectFile& project, Messages& messages) {
    const std::string usual = WithExtension(project.path(), "BAK");
    const std::string backup = BackUpProject(project.path());
    if (backup.empty())
        messages.showTimedMessage(Reason(Sentence::kNoBackup, Printable(project.path())));
    else if (backup != usual)
        messages.showTimedMessage(
            Reason(Sentence::kBackupElsewhere, Printable(backup), Printable(usual)));
}

bool SaveAfterBuild(ProjectFile& project, Messages& messages) {
    if (const int error = SaveRefusal(project.path()); error != 0) {
        messages.showTimedMessage(
            Reason(Sentence::kProjectStays, Printable(project.path()), SystemError{error}));
        return true;
    }
    return project.save(messages);
}

}  // namespace vellmark
