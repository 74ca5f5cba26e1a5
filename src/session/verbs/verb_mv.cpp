#include <memory>
#include <vector>

#include "session/verbs/change_run.hpp"
#include "session/verbs/verbs.hpp"

namespace vellmark {

namespace {

struct MvOptions {
    VolumeOptions volume;
    std::vector<std::string> paths;
    std::string target;
};

int Mv(const MvOptions& options, CommandContext& context) {
    ChangeRun run(context);
    if (!run.open(options.volume))
        return kExitFailed;
    const Result<CatalogItem> target = FolderAt(run.volume(), options.target, context.clock);
    if (!target)
        run.problem(target.error());
    else
        for (const std::string& path : options.paths)
            run.judge(MoveAt(run.volume(), path, target->id, context.clock));
    return run.finish();
}

void SetUp(OptionSet& arguments, RunVerb& run) {
    const auto options = std::make_shared<MvOptions>();
    AddVolumeOptions(arguments, options->volume);
    arguments.add("PATH", options->paths, Sentence::kHelpMvPaths).required();
    arguments.add("-t,--to", options->target, Sentence::kHelpMvTo).required();
    run = [options](CommandContext& context) { return Mv(*options, context); };
}

}  // namespace

const Verb kVerbMv = {"mv", "", Sentence::kSummaryMv,
                      "vellmark mv work.img Drafts/Plan Notes --to Archive", SetUp};

}  // namespace vellmark
