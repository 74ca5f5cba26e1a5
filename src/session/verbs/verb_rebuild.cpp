#include <memory>

#include "session/open_project.hpp"
#include "session/project_rebuild.hpp"
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
    std::optional<ProjectFile> project;
    if (!OpenForChange(options.project, context, terminal.messages, project))
        return kExitFailed;
    RebuildResult result;
    if (!RebuildInMemory(*project,
                         {.additions = !options.noAdditions,
                          .dates = options.dates,
                          .dropsMissing = options.dropsMissing},
                         context, terminal, result))
        return kExitFailed;
    if (result.hasChanges()) {
        BackUpBeforeChange(*project, context, terminal.messages);
        if (!project->save(terminal.messages))
            return kExitFailed;
    }
    terminal.progress.clear();
    terminal.messages.tellChangedNames(options.verbose);
    if (options.quiet)
        return terminal.messages.skipped() > 0 ? kExitSkipped : kExitDone;
    for (const ProjectChange& change : result.changes)
        context.output << ChangeLine(change) << '\n';
    context.output << RebuildSentence(*project, result) << '\n';
    return terminal.messages.skipped() > 0 ? kExitSkipped : kExitDone;
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
