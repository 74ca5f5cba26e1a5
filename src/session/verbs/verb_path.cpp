#include <memory>

#include "project/access_path.hpp"
#include "session/project_options.hpp"
#include "session/terminal.hpp"
#include "session/verbs/verbs.hpp"
#include "support/encoding.hpp"
#include "support/texts.hpp"

namespace vellmark {

namespace {

constexpr std::string_view kName = "path";
constexpr int kTextPathsChanged = 1408;

struct PathOptions {
    std::string project;
    std::string oldPath;
    std::string newPath;
    bool quiet = false;
};

int RunPath(const PathOptions& options, CommandContext& context) {
    const StopSignals signals;
    Terminal terminal(context, TerminalOptionsOf(context, options.quiet));
    Messages& messages = terminal.messages;
    const std::string oldPath = OldRecordPathOf(options.oldPath);
    const std::string newPath = RecordPathOf(options.newPath);
    if (oldPath.empty() || newPath.empty()) {
        messages.showMessage(
            Reason(Sentence::kPathUnusable,
                   Printable(oldPath.empty() ? options.oldPath : options.newPath)));
        return kExitFailed;
    }
    if (oldPath == newPath)
        return UsageError(context, kName, Sentence::kPathsAreSame);
    std::optional<ProjectFile> project;
    if (!OpenForChange(options.project, context, messages, project))
        return kExitFailed;
    const PathsChanged changed = ChangeAccessPath(*project, oldPath, newPath, messages);
    if (changed.items == 0 && changed.skipped == 0) {
        messages.showMessage(Reason(Sentence::kNothingComesFrom, Printable(options.project),
                                    Printable(NarrowToUtf8(oldPath))));
        return kExitFailed;
    }
    if (changed.items > 0 && !SaveWithBackup(*project, context, messages))
        return kExitFailed;
    if (!options.quiet)
        context.output << messages.words(Reason::Told(kTextPathsChanged, changed.items)) << '\n';
    return changed.skipped > 0 ? kExitSkipped : kExitDone;
}

void SetUp(OptionSet& arguments, RunVerb& run) {
    const auto options = std::make_shared<PathOptions>();
    arguments.add(option::kExistingProject, options->project).required();
    arguments.add("OLD", options->oldPath, Sentence::kHelpOldPath).required();
    arguments.add("NEW", options->newPath, Sentence::kHelpNewPath).required();
    arguments.flag(option::kQuietRemarks, options->quiet);
    run = [options](CommandContext& context) { return RunPath(*options, context); };
}

}  // namespace

const Verb kVerbPath = {kName, "", Sentence::kSummaryPath,
                        "vellmark path disc.vlpr /home/me/Photos /mnt/Archive/Photos", SetUp};

}  // namespace vellmark
