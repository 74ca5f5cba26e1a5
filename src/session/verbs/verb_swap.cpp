#include <memory>
#include <vector>

#include "session/verbs/change_run.hpp"
#include "session/verbs/verbs.hpp"

namespace vellmark {

namespace {

struct SwapOptions {
    VolumeOptions volume;
    std::vector<std::string> paths;
};

int Swap(const SwapOptions& options, CommandContext& context) {
    ChangeRun run(context);
    if (!run.open(options.volume))
        return kExitFailed;
    for (const std::string& path : options.paths)
        run.judge(SwapForksAt(run.volume(), path, context.clock));
    return run.finish();
}

void SetUp(OptionSet& arguments, RunVerb& run) {
    const auto options = std::make_shared<SwapOptions>();
    AddVolumeOptions(arguments, options->volume);
    arguments.add("PATH", options->paths, Sentence::kHelpSwapPaths).required();
    run = [options](CommandContext& context) { return Swap(*options, context); };
}

}  // namespace

const Verb kVerbSwap = {"swap", "", Sentence::kSummarySwap,
                        "vellmark swap work.img \"Font Suitcase\"", SetUp};

}  // namespace vellmark
