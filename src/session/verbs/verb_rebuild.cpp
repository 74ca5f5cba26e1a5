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
    arguments.add("PROJECT", options->project, "Project file, which must be there").required();
    arguments.flag("--no-additions", options->noAdditions,
                   "Leave out what is new in the folders of the PC");
    arguments.flag("--dates", options->dates, "Also files of the same length whose date differs");
    arguments.flag(
        "--drop-missing", options->dropsMissing,
        "Also take out what came from folders that are not there at all; without it such "
        "a project is left as it is");
    arguments.flag("-q,--quiet", options->quiet, "No progress, no remarks, no result line");
    arguments.flag("-v,--verbose", options->verbose, kVerboseHelp);
    run = [options](CommandContext& context) { return RunRebuild(*options, context); };
}

}  // namespace

const Verb kVerbRebuild = {"rebuild", "", "Bring a project up to date with the disk",
                           "vellmark rebuild disc.vlpr", SetUp};

}  // namespace vellmark
