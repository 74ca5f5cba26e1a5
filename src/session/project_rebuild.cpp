#include "session/project_rebuild.hpp"

#include <fmt/format.h>
#include <unistd.h>

#include "session/file_modes.hpp"
#include "session/session_state.hpp"
#include "session/signature_file.hpp"
#include "support/encoding.hpp"
#include "support/pc_folder.hpp"

namespace vellmark {

std::vector<PcIdentity> NeverItems(const ProjectFile& project, const std::string& target,
                                   const CommandContext& context) {
    const std::string journal = context.session ? context.session->journal.path() : std::string{};
    std::vector<PcIdentity> items;
    for (const std::string& path :
         {project.path(), WithExtension(project.path(), "BAK"), target, journal})
        if (const PcFacts facts = PcFactsOf(path); facts.kind != PcKind::Missing)
            items.push_back({facts.device, facts.inode});
    return items;
}

bool RebuildInMemory(ProjectFile& project, const ProjectRebuild& what, CommandContext& context,
                     Terminal& terminal, RebuildResult& result) {
    InclusionOptions inclusion{context.clock};
    inclusion.signatureOf = SignatureLookupOf(context, terminal.messages);
    inclusion.excluded = NeverItems(project, what.target, context);
    result = Rebuild(project, {inclusion, what.additions, what.dates}, terminal.messages,
                     terminal.progress);
    if (result.isStopped || StopSignals::requested())
        terminal.messages.showMessage("Stopped as you wished; nothing was changed.");
    return !result.isStopped && !StopSignals::requested();
}

bool RebuildBeforeBuild(ProjectFile& project, bool wanted, const std::string& target,
                        CommandContext& context, Terminal& terminal) {
    if (!wanted && !project.header().rebuildBeforeCompile())
        return true;
    RebuildResult result;
    if (!RebuildInMemory(project, {.target = target}, context, terminal, result))
        return false;
    if (!result.hasChanges())
        return true;
    if (::access(project.path().c_str(), W_OK) == 0)
        return project.save(terminal.messages);
    terminal.messages.showTimedMessage(
        fmt::format("The project file {} may not be changed: it stays as it is, and the image has "
                    "what is on the disk now.",
                    Printable(project.path())));
    return true;
}

}  // namespace vellmark
