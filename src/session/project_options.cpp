#include "session/project_options.hpp"

#include "project/open_project.hpp"
#include "session/file_modes.hpp"
#include "session/session_state.hpp"
#include "session/signature_file.hpp"
#include "session/user_options.hpp"

namespace vellmark {

ProjectAccess ChangingAccess(const CommandContext& context) {
    return {LockKind::Exclusive, context.guard.lockWaitMs};
}

bool OpenForChange(const std::string& path, const CommandContext& context, Messages& messages,
                   std::optional<ProjectFile>& project) {
    return OpenForChange(path, ProjectModeOf(path), context.guard.lockWaitMs, messages, project);
}

bool SaveWithBackup(ProjectFile& project, const CommandContext& context, Messages& messages) {
    if (OptionsOf(context).backsUpProjects)
        BackUpBeforeChange(project, messages);
    return project.save(messages);
}

std::string JournalOf(const CommandContext& context) {
    return context.session ? context.session->journal.path() : std::string{};
}

RebuildRequest RebuildRequestOf(CommandContext& context, Messages& messages) {
    RebuildRequest request;
    request.journal = JournalOf(context);
    request.signatureOf = SignatureLookupOf(context, messages);
    return request;
}

}  // namespace vellmark
