#include <memory>

#include "session/verbs/change_run.hpp"
#include "session/verbs/verbs.hpp"
#include "support/encoding.hpp"
#include "volume/catalog_edit.hpp"
#include "volume/mount.hpp"

namespace vellmark {

namespace {

struct LabelOptions {
    PartitionOptions partition;
    std::string label;
};

int ShowLabel(const LabelOptions& options, CommandContext& context) {
    Terminal terminal(context, TerminalOptionsOf(context, true));
    const auto partition = Partition::Open(options.partition, context, terminal, Access::Read);
    if (!partition)
        return kExitFailed;
    context.output << Printable(VolumeName(partition->volume())) << '\n';
    return partition->close(terminal.messages) ? kExitDone : kExitFailed;
}

int Label(const LabelOptions& options, CommandContext& context) {
    if (options.label.empty())
        return ShowLabel(options, context);
    ChangeRun run(context);
    if (!run.open(options.partition))
        return kExitFailed;
    if (run.judge(RenameVolume(run.volume(), options.label), options.label))
        run.terminal.messages.log(2, "*label " + options.label);
    return run.finish();
}

void SetUp(OptionSet& arguments, RunVerb& run) {
    const auto options = std::make_shared<LabelOptions>();
    AddPartitionOptions(arguments, options->partition);
    arguments.add("LABEL", options->label, Sentence::kHelpNewLabel);
    run = [options](CommandContext& context) { return Label(*options, context); };
}

}  // namespace

const Verb kVerbLabel = {"label", "", Sentence::kSummaryLabel,
                         "vellmark label work.img \"My Disk\"", SetUp};

}  // namespace vellmark
