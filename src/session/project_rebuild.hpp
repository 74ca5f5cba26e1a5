// Rebuilding a project as commands do it.
#pragma once

#include <string>
#include <vector>

#include "project/project_file.hpp"
#include "project/rebuild.hpp"
#include "session/command_context.hpp"
#include "session/terminal.hpp"

namespace vellmark {

/// What a command says of a rebuild.
struct ProjectRebuild {
    bool additions = true;
    bool dates = false;
    std::string target = {};  ///< path of an image that is to be made, never an item of its project
};

/// The files that are never new items of a project: the project, its backup copy, the journal, and
/// what is to be made from it.
[[nodiscard]] std::vector<PcIdentity> NeverItems(const ProjectFile& project,
                                                 const std::string& target,
                                                 const CommandContext& context);

/// Rebuilds in memory. False when the user stopped it; that has been shown, and the project should
/// not be saved.
[[nodiscard]] bool RebuildInMemory(ProjectFile& project, const ProjectRebuild& what,
                                   CommandContext& context, Terminal& terminal,
                                   RebuildResult& result);

/// The rebuild before a build: when it is asked for here or in the project itself. A project that
/// changed is saved where its file may be changed; where not, the image has what is new all the
/// same, and the user is told. False after a message.
[[nodiscard]] bool RebuildBeforeBuild(ProjectFile& project, bool wanted, const std::string& target,
                                      CommandContext& context, Terminal& terminal);

}  // namespace vellmark
