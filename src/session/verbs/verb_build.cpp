#include <fmt/core.h>

#include <memory>
#include <optional>

#include "session/build_options.hpp"
#include "session/file_modes.hpp"
#include "session/open_project.hpp"
#include "session/output_file.hpp"
#include "session/project_rebuild.hpp"
#include "session/terminal.hpp"
#include "session/verbs/verbs.hpp"
#include "support/backup_path.hpp"
#include "support/encoding.hpp"
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

int Build(BuildVerbOptions& options, CommandContext& context) {
    const ProjectMode mode = ProjectModeOf(options.project);
    if (const std::string refusal = BuildRefusal(options.build, mode); !refusal.empty())
        return UsageError(context, kName, refusal);
    const StopSignals signals;
    Terminal terminal(context, TerminalOptionsOf(context, options.build.quiet));
    BuildOptions& build = options.build;
    if (build.output.empty())
        build.output = WithExtension(options.project, build.kind == "hfs" ? "dmg" : "iso");
    const OutputFile output(
        build.output,
        PcNameOfPath(WithExtension(options.project, build.kind == "hfs" ? "dmg" : "iso")));
    if (!output.isReady(terminal.messages))
        return kExitFailed;
    build.output = output.path();
    build.toOutput = output.isStandardOutput();
    if (AreSameFile(options.project, build.output)) {
        terminal.messages.showMessage(
            fmt::format("The image {} would replace its own project.", Printable(build.output)));
        return kExitFailed;
    }
    std::optional<ProjectFile> project;
    if (ProjectFile::Open(FollowLink(options.project), mode, terminal.messages, project,
                          ChangingAccess(context)) != ProjectOpened::Opened ||
        !MayMakeFile(build.output, build.force, terminal.messages) ||
        !RebuildBeforeBuild(*project, options.rebuild, build.output, context, terminal,
                            build.projectChanged))
        return kExitFailed;
    const int status = RunBuild(*project, build, context, terminal);
    return status == kExitFailed || output.send(context, terminal.messages) ? status : kExitFailed;
}

void SetUp(OptionSet& arguments, RunVerb& run) {
    const auto options = std::make_shared<BuildVerbOptions>();
    arguments.add(option::kProject, options->project).required();
    arguments.add("-o,--output", options->build.output, Sentence::kHelpBuildOutput);
    arguments.flag("--rebuild", options->rebuild, Sentence::kHelpRebuildFirst);
    AddBuildOptions(arguments, options->build);
    run = [options](CommandContext& context) { return Build(*options, context); };
}

}  // namespace

const Verb kVerbBuild = {kName, "", Sentence::kSummaryBuild, "vellmark build disc.vlpr -o disc.iso",
                         SetUp};

}  // namespace vellmark
