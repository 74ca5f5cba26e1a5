#include <memory>

#include "session/verbs/change_run.hpp"
#include "session/verbs/verbs.hpp"
#include "support/encoding.hpp"
#include "volume/mount.hpp"

namespace vellmark {

namespace {

struct LabelOptions {
    VolumeOptions volume;
    std::string label;
};

int ShowLabel(const LabelOptions& options, CommandContext& context) {
    ReadRun run(context, true);
    if (!run.open(options.volume))
        return kExitFailed;
    context.output << Printable(VolumeName(run.volume())) << '\n';
    return run.finish();
}

int Label(const LabelOptions& options, CommandContext& context) {
    if (options.label.empty())
        return ShowLabel(options, context);
    ChangeRun run(context);
    if (!run.open(options.volume))
        return kExitFailed;
    run.judge(Relabel(run.volume(), options.label, run.terminal.messages));
    return run.finish();
}

void SetUp(OptionSet& arguments, RunVerb& run) {
    const auto options = std::make_shared<LabelOptions>();
    AddVolumeOptions(arguments, options->volume);
    arguments.add("LABEL", options->label, Sentence::kHelpNewLabel);
    run = [options](CommandContext& context) { return Label(*options, context); };
}

}  // namespace

const Verb kVerbLabel = {"label", "", Sentence::kSummaryLabel,
                         "vellmark label work.img \"My Disk\"", SetUp};

}  // namespace vellmark
