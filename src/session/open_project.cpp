#include "session/open_project.hpp"

#include <fmt/core.h>

#include "session/file_modes.hpp"
#include "session/terminal.hpp"
#include "session/user_options.hpp"
#include "support/backup_path.hpp"
#include "support/encoding.hpp"
#include "support/pc_file.hpp"
#include "support/targets.hpp"

namespace vellmark {

ProjectAccess ChangingAccess(const CommandContext& context) {
    return {LockKind::Exclusive, context.guard.lockWaitMs};
}

bool OpenForChange(const std::string& path, const CommandContext& context, Messages& messages,
                   std::optional<ProjectFile>& project) {
    const std::string real = FollowLink(path);
    if (ProjectFile::Open(real, ProjectModeOf(path), messages, project, ChangingAccess(context)) !=
        ProjectOpened::Opened)
        return false;
    const int error = SaveRefusal(real);
    if (error == 0)
        return true;
    messages.showMessage(fmt::format("The project file {} cannot be changed: {}.", Printable(path),
                                     SystemErrorText(error)));
    project.reset();
    return false;
}

void BackUpBeforeChange(const ProjectFile& project, const CommandContext& context,
                        Messages& messages) {
    if (!OptionsOf(context).backsUpProjects)
        return;
    const std::string usual = WithExtension(project.path(), "BAK");
    const std::string backup = BackUpProject(project.path());
    if (backup.empty())
        messages.showTimedMessage(fmt::format("No backup copy of {} could be made beside it.",
                                              Printable(project.path())));
    else if (backup != usual)
        messages.showTimedMessage(fmt::format("The backup copy is {}, as {} is no such copy.",
                                              Printable(backup), Printable(usual)));
}

bool IsWorthSaving(const InclusionResult& included, Messages& messages) {
    if (included.status == InclusionStatus::Stopped || StopSignals::requested()) {
        messages.showMessage("Stopped as you wished; nothing was changed.");
        return false;
    }
    return included.status == InclusionStatus::Done;
}

}  // namespace vellmark
