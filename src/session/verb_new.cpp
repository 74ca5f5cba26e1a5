#include <memory>

#include "session/file_modes.hpp"
#include "session/labels.hpp"
#include "session/targets.hpp"
#include "session/terminal.hpp"
#include "session/verbs.hpp"
#include "support/encoding.hpp"

namespace vellmark {

namespace {

constexpr std::string_view kName = "new";

struct NewOptions {
    std::string path;
    std::string label;
    bool hfsPlus = false;
    bool rebuild = false;
    bool force = false;
    bool quiet = false;
};

int New(const NewOptions& options, CommandContext& context) {
    const StopSignals signals;
    Terminal terminal(context, TerminalOptionsOf(context, options.quiet));
    const ProjectMode mode = ProjectModeOf(options.path);
    if (mode == ProjectMode::IsoPlus && options.hfsPlus)
        return UsageError(context, kName, "An ISO+ project has no HFS+ side.");
    const std::string path = FollowLink(options.path);
    if (!MayMakeFile(path, options.force, terminal.messages))
        return kExitFailed;
    ProjectDefaults defaults;
    defaults.isHfsPlus = options.hfsPlus;
    defaults.rebuild = options.rebuild;
    ProjectFile project = ProjectFile::Create(path, mode, defaults);
    if (!options.label.empty() &&
        !SetLabels(project, options.label, LabelSide::Both, terminal.messages))
        return kExitFailed;
    if (!project.save(terminal.messages))
        return kExitFailed;
    if (!options.quiet)
        context.output << Printable(options.path) << ": new "
                       << (mode == ProjectMode::IsoPlus ? "ISO+"
                           : options.hfsPlus            ? "hybrid HFS+"
                                                        : "hybrid HFS")
                       << " project\n";
    return kExitDone;
}

void SetUp(OptionSet& arguments, RunVerb& run) {
    const auto options = std::make_shared<NewOptions>();
    arguments
        .add("PROJECT", options->path,
             "Project file to make: .vlpr for a hybrid project, .vlso for an ISO+ one")
        .required();
    arguments.flag("--hfsplus", options->hfsPlus, "HFS+ on the Macintosh side instead of HFS");
    arguments.add("-l,--label", options->label,
                  "Name of the volume; without it, the name of the image when it is built");
    arguments.flag("--rebuild", options->rebuild,
                   "Bring the project up to date with the disk before each build");
    arguments.flag("-f,--force", options->force, "Replace an existing file");
    arguments.flag("-q,--quiet", options->quiet, "No result line");
    run = [options](CommandContext& context) { return New(*options, context); };
}

}  // namespace

const Verb kVerbNew = {kName, "", "Make an empty project",
                       "vellmark new disc.vlpr --label \"My disc\"", SetUp};

}  // namespace vellmark
