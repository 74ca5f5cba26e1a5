// What the settings say about the work at hand. This is the one place that turns their bits into
// options; what works takes them as values.
#pragma once

#include <string_view>

#include "project/project_file.hpp"
#include "project/view_names.hpp"
#include "session/command_context.hpp"
#include "session/settings.hpp"
#include "transfer/copy_in.hpp"
#include "transfer/copy_out.hpp"
#include "transfer/pc_target_name.hpp"

namespace vellmark {

struct UserOptions {
    /// Flags and labels of projects that are made, the labels in the language of the person.
    ProjectDefaults newProject;
    /// Names that are too long for a view of a project.
    TruncationAnswers shortenInViews;
    bool backsUpProjects = true;
    /// Names that are too long for a volume, and what becomes of one whose short form is taken.
    bool shortensImported = false;
    bool addsCrc = false;
    /// Names of files that are copied to the PC.
    PcNaming naming;
    /// Without it the policy is the one that a window has; the verb keeps names then.
    bool choseNaming = false;
    bool deletesSilently = false;
    bool opensRoot = false;  ///< of discs that are joined; new projects have their own
};

[[nodiscard]] UserOptions OptionsOf(const Settings& settings, Language language);
/// Those of the running session; outside of one every setting has its default.
[[nodiscard]] UserOptions OptionsOf(const CommandContext& context);

/// What happens to a file whose name another one is to have: nobody may be there to say that it may
/// be lost.
[[nodiscard]] ExistingFiles ExistingFilesOf(bool force, const CommandContext& context);
/// What `ask`, `yes` or `no` means for fonts, `ask` where the word is empty: where nobody can be
/// asked, fonts are files like others.
[[nodiscard]] FontPolicy FontPolicyOf(std::string_view word, const CommandContext& context);
/// Copies out of a volume as the settings want them, names as in the catalog unless the settings
/// choose others that need nobody to be asked; and into one. A command line stands above them.
[[nodiscard]] CopyOutOptions CopyOutOptionsOf(const CommandContext& context);
[[nodiscard]] CopyInOptions CopyInOptionsOf(const CommandContext& context);
/// Keeps the number of the next font, where a batch has given some.
void KeepFontIds(const CopyIn& batch, const CommandContext& context);

/// What a new project of that kind begins with: an ISO+ project has no Macintosh volume.
[[nodiscard]] ProjectDefaults NewProjectDefaults(const CommandContext& context, ProjectMode mode);

}  // namespace vellmark
