#include "session/open_project.hpp"

#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>

#include "session/file_modes.hpp"
#include "session/targets.hpp"
#include "session/terminal.hpp"
#include "support/encoding.hpp"
#include "support/pc_file.hpp"

namespace vellmark {

bool OpenForChange(const std::string& path, Messages& messages,
                   std::optional<ProjectFile>& project) {
    const std::string real = FollowLink(path);
    if (ProjectFile::Open(real, ProjectModeOf(path), messages, project) != ProjectOpened::Opened)
        return false;
    if (::access(real.c_str(), W_OK) == 0)
        return true;
    messages.showMessage(fmt::format("The project file {} cannot be changed: {}.", Printable(path),
                                     SystemErrorText(errno)));
    project.reset();
    return false;
}

void BackUpBeforeChange(const ProjectFile& project, Messages& messages) {
    if (!BackUpProject(project.path()))
        messages.showTimedMessage(fmt::format("No backup copy of {} could be made beside it.",
                                              Printable(project.path())));
}

bool IsWorthSaving(const InclusionResult& included, Messages& messages) {
    if (included.status == InclusionStatus::Stopped || StopSignals::requested()) {
        messages.showMessage("Stopped as you wished; nothing was changed.");
        return false;
    }
    // All that was named was left out, and each item has been told.
    const bool nothing = included.files + included.folders == 0 && included.skipped > 0;
    return included.status == InclusionStatus::Done && !nothing;
}

}  // namespace vellmark
