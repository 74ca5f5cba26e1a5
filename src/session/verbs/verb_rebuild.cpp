#include <memory>

#include "session/project_options.hpp"
#include "session/terminal.hpp"
#include "session/verbs/verbs.hpp"

namespace vellmark {

namespace {

struct RebuildVerbOptions {
    std::string project;
    bool noAdditions = false;
    bool dates = false;
    bool dropsMissing = false;
    bool quiet = false;
    bool verbose = false;
};

int RunRebuild(const RebuildVerbOptions& options, CommandContext& context) {
    const StopSignals signals;
    Terminal terminal(context, TerminalOptionsOf(context, options.quiet));
    Messages& messages = terminal.messages;
    std::optional<ProjectFile> project;
    if (!OpenForChange(options.project, context, messages, project))
        return kExitFailed;
    RebuildRequest request = RebuildRequestOf(context, messages);
    request.additions = !options.noAdditions;
    request.dates = options.dates;
    request.dropsMissing = options.dropsMissing;
    const RebuildResult result =
        Rebuild(*project, request, {messages, terminal.progress, context.clock});
    if (!result.isWhole() || (result.hasChanges() && !SaveWithBackup(*project, context, messages)))
        return kExitFailed;
    terminal.progress.clear();
    terminal.messages.tellChangedNames(options.verbose);
    if (!options.quiet) {
        for (const ProjectChange& change : result.changes)
            context.output << messages.words(ChangeLine(change)) << '\n';
        context.output << messages.words(RebuildSummary(*project, result)) << '\n';
    }
    return result.skipped > 0 ? kExitSkipped : kExitDone;
}

void SetUp(OptionSet& arguments, RunVerb& run) {
    const auto options = std::make_shared<RebuildVerbOptions>();
    arguments.add(option::kExistingProject, options->project).required();
    arguments.flag(option::kNoAdditions, options->noAdditions);
    arguments.flag(option::kDates, options->dates);
    arguments.flag("--drop-missing", options->dropsMissing, Sentence::kHelpDropMissing);
    arguments.flag(option::kQuiet, options->quiet);
    arguments.flag(option::kVerbose, options->verbose);
    run = [options](CommandContext& context) { return RunRebuild(*options, context); };
}

}  // namespace

const Verb kVerbRebuild = {"rebuild", "", Sentence::kSummaryRebuild, "vellmark rebuild disc.vlpr",
                           SetUp};

}  // namespace vellmark
