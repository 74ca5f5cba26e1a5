// Rebuilding a project as commands do it.
#pragma once

#include <string>
#include <string_view>
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
    bool dropsMissing = false;
    std::string target = {};  ///< path of an image that is to be made, never an item of its project
};

/// The project, its backup copy and the journal, which are no items of their project.
[[nodiscard]] std::vector<PcIdentity> OwnFiles(const ProjectFile& project,
                                               const CommandContext& context);

/// The files that are never new items: the project's own, `target`, and the images that builds of
/// the project make as a rule.
[[nodiscard]] std::vector<PcIdentity> NeverItems(const ProjectFile& project,
                                                 const std::string& target,
                                                 const CommandContext& context);

/// Says which folders that items of the project come from are not there, and how the project is
/// told where they lie now.
void TellMissingRoots(const ProjectFile& project, const std::vector<std::string>& roots,
                      Messages& messages);

/// Rebuilds in memory. False when the user stopped it, or what the project is made of is not there;
/// that has been shown, and the project should not be saved.
[[nodiscard]] bool RebuildInMemory(ProjectFile& project, const ProjectRebuild& what,
                                   CommandContext& context, Terminal& terminal,
                                   RebuildResult& result);

/// "deleted", "modified" or "added".
[[nodiscard]] std::string_view WordOf(ChangeKind kind);
/// A change as a line for the person, without an end; a folder has `/` behind its path.
[[nodiscard]] std::string ChangeLine(const ProjectChange& change);

/// What a rebuild did, for the person.
[[nodiscard]] std::string RebuildSentence(const ProjectFile& project, const RebuildResult& result);

/// The rebuild before a build, in memory: when it is asked for here or in the project itself. Of a
/// project that changed, a backup copy is made, and `changed` is set: it is to be saved when the
/// image is there, as a disk that is not mounted must not empty a project. False after a message.
[[nodiscard]] bool RebuildBeforeBuild(ProjectFile& project, bool wanted, const std::string& target,
                                      CommandContext& context, Terminal& terminal, bool& changed);

}  // namespace vellmark
