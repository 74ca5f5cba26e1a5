// What commands on projects hand to the engine from their settings and their session.
#pragma once

#include <optional>
#include <string>

#include "project/project_file.hpp"
#include "project/rebuild.hpp"
#include "session/command_context.hpp"
#include "support/messages.hpp"

namespace vellmark {

/// How a project is opened that is to be saved, or may have to be.
[[nodiscard]] ProjectAccess ChangingAccess(const CommandContext& context);

/// `OpenForChange` with the mode of the name's extension.
[[nodiscard]] bool OpenForChange(const std::string& path, const CommandContext& context,
                                 Messages& messages, std::optional<ProjectFile>& project);

/// Saves a project that a command changed, and keeps the one before it, unless the settings do
/// without. False after a message.
[[nodiscard]] bool SaveWithBackup(ProjectFile& project, const CommandContext& context,
                                  Messages& messages);

/// Path of the open journal, "" for none.
[[nodiscard]] std::string JournalOf(const CommandContext& context);

/// What a rebuild gets from the session.
[[nodiscard]] RebuildRequest RebuildRequestOf(CommandContext& context, Messages& messages);

}  // namespace vellmark
