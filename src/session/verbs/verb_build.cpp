#include <memory>
#include <optional>

#include "session/build_options.hpp"
#include "session/file_modes.hpp"
#include "session/project_options.hpp"
#include "session/terminal.hpp"
#include "session/user_options.hpp"
#include "session/verbs/verbs.hpp"
#include "support/backup_path.hpp"
#include "support/pc_folder.hpp"
#include "support/targets.hpp"
#include "transfer/import_batch.hpp"

namespace vellmark {

namespace {

constexpr std::string_view kName = "build";

struct BuildVerbOptions {
    std::string project;
    BuildOptions build;
    bool rebuild = false;
};

int RunBuild(const BuildVerbOptions& options, CommandContext& context) {
    const BuildOptions& build = options.build;
    const ProjectMode mode = ProjectModeOf(options.project);
    if (const Reason refusal = BuildRefusal(build, mode))
        return UsageError(context, kName, refusal);
    const StopSignals signals;
    Terminal terminal(context, TerminalOptionsOf(context, build.quiet));
    Messages& messages = terminal.messages;
    const std::string usual = WithExtension(options.project, build.kind == "hfs" ? "dmg" : "iso");
    const OutputFile output(build.output.empty() ? usual : build.output, PcNameOfPath(usual));
    if (!output.isReady(messages))
        return kExitFailed;
    std::optional<ProjectFile> project;
    if (ProjectFile::Open(FollowLink(options.project), mode, messages, project,
                          ChangingAccess(context)) != ProjectOpened::Opened)
        return kExitFailed;
    if (const Reason refusal = TargetRefusal(*project, output.path())) {
        messages.showMessage(refusal);
        return kExitFailed;
    }
    if (!build.dryRun && !MayMakeFile(output.path(), build.force, messages))
        return kExitFailed;
    BuildRequest request = RequestOf(build, output, context);
    request.rebuilds = options.rebuild || project->header().rebuildBeforeCompile();
    if (request.rebuilds)
        request.rebuild = RebuildRequestOf(context, messages);
    request.backsUp = OptionsOf(context).backsUpProjects;
    return BuildAndTell(*project, request, build, output, context, terminal);
}

void SetUp(OptionSet& arguments, RunVerb& run) {
    const auto options = std::make_shared<BuildVerbOptions>();
    arguments.add(option::kProject, options->project).required();
    arguments.add("-o,--output", options->build.output, Sentence::kHelpBuildOutput);
    arguments.flag("--rebuild", options->rebuild, Sentence::kHelpRebuildFirst);
    AddBuildOptions(arguments, options->build);
    run = [options](CommandContext& context) { return RunBuild(*options, context); };
}

}  // namespace

const Verb kVerbBuild = {kName, "", Sentence::kSummaryBuild, "vellmark build disc.vlpr -o disc.iso",
                         SetUp};

}  // namespace vellmark
