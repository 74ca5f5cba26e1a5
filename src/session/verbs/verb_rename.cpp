#include <memory>
#include <string>

#include "session/verbs/change_run.hpp"
#include "session/verbs/verbs.hpp"

namespace vellmark {

namespace {

struct RenameOptions {
    VolumeOptions volume;
    std::string path;
    std::string name;
};

int Rename(const RenameOptions& options, CommandContext& context) {
    ChangeRun run(context);
    if (!run.open(options.volume))
        return kExitFailed;
    run.judge(
        RenameAt(run.volume(), options.path, options.name, run.terminal.messages, context.clock));
    return run.finish();
}

void SetUp(OptionSet& arguments, RunVerb& run) {
    const auto options = std::make_shared<RenameOptions>();
    AddVolumeOptions(arguments, options->volume);
    arguments.add("PATH", options->path, Sentence::kHelpItem).required();
    arguments.add("NAME", options->name, Sentence::kHelpNewName).required();
    run = [options](CommandContext& context) { return Rename(*options, context); };
}

}  // namespace

const Verb kVerbRename = {"rename", "", Sentence::kSummaryRename,
                          "vellmark rename work.img Notes/Plan \"Plan B\"", SetUp};

}  // namespace vellmark
