#include <memory>

#include "project/labels.hpp"
#include "session/file_modes.hpp"
#include "session/project_options.hpp"
#include "session/terminal.hpp"
#include "session/user_options.hpp"
#include "session/verbs/format_choice.hpp"
#include "session/verbs/verbs.hpp"
#include "support/encoding.hpp"
#include "support/sentences.hpp"
#include "support/targets.hpp"

namespace vellmark {

namespace {

constexpr std::string_view kName = "new";

struct NewOptions {
    std::string path;
    std::string label;
    FormatChoice format;
    bool rebuild = false;
    bool force = false;
    bool quiet = false;
};

int New(const NewOptions& options, CommandContext& context) {
    if (options.format.contradicts())
        return UsageError(context, kName, Sentence::kHfsOrHfsPlus);
    const StopSignals signals;
    Terminal terminal(context, TerminalOptionsOf(context, options.quiet));
    const ProjectMode mode = ProjectModeOf(options.path);
    if (mode == ProjectMode::IsoPlus && options.format.isHfsPlus)
        return UsageError(context, kName, Sentence::kIsoPlusHasNoHfsPlus);
    const std::string path = FollowLink(options.path);
    if (!MayMakeFile(path, options.force, terminal.messages))
        return kExitFailed;
    ProjectDefaults defaults = NewProjectDefaults(context, mode);
    options.format.apply(defaults);
    defaults.rebuild = defaults.rebuild || options.rebuild;
    ProjectAccess access = ChangingAccess(context);
    access.mayReplace = options.force;
    ProjectFile project = ProjectFile::Create(path, mode, defaults, access);
    Messages& messages = terminal.messages;
    if (!options.label.empty())
        if (const Reason refusal = SetLabels(project, options.label, LabelSide::Both)) {
            messages.showMessage(refusal);
            return kExitFailed;
        }
    if (!project.save(messages))
        return kExitFailed;
    const std::string shown = Printable(options.path);
    if (!options.quiet)
        context.output << messages.words(mode == ProjectMode::IsoPlus
                                             ? Reason(Sentence::kNewIsoPlusProject, shown)
                                             : Reason(Sentence::kNewHybridProject, shown,
                                                      defaults.isHfsPlus ? "HFS+" : "HFS"))
                       << '\n';
    return kExitDone;
}

void SetUp(OptionSet& arguments, RunVerb& run) {
    const auto options = std::make_shared<NewOptions>();
    arguments.add("PROJECT", options->path, Sentence::kHelpNewProject).required();
    options->format.addTo(arguments);
    arguments.add("-l,--label", options->label, Sentence::kHelpProjectLabel);
    arguments.flag("--rebuild", options->rebuild, Sentence::kHelpRebuildEach);
    arguments.flag(option::kForceFile, options->force);
    arguments.flag(option::kQuietResult, options->quiet);
    run = [options](CommandContext& context) { return New(*options, context); };
}

}  // namespace

const Verb kVerbNew = {kName, "", Sentence::kSummaryNew,
                       "vellmark new disc.vlpr --label \"My disc\"", SetUp};

}  // namespace vellmark
