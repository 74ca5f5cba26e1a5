#include <memory>
#include <vector>

#include "session/verbs/change_run.hpp"
#include "session/verbs/verbs.hpp"

namespace vellmark {

namespace {

struct MkdirOptions {
    VolumeOptions volume;
    std::vector<std::string> paths;
    bool parents = false;
};

int Mkdir(const MkdirOptions& options, CommandContext& context) {
    ChangeRun run(context);
    if (!run.open(options.volume))
        return kExitFailed;
    const auto missing = options.parents ? MissingFolders::Make : MissingFolders::Refuse;
    for (const std::string& path : options.paths)
        run.judge(MakeFolderAt(run.volume(), path, missing, context.clock));
    return run.finish();
}

void SetUp(OptionSet& arguments, RunVerb& run) {
    const auto options = std::make_shared<MkdirOptions>();
    AddVolumeOptions(arguments, options->volume);
    arguments.add("FOLDER", options->paths, Sentence::kHelpNewFolders).required();
    arguments.flag("--parents", options->parents, Sentence::kHelpParents);
    run = [options](CommandContext& context) { return Mkdir(*options, context); };
}

}  // namespace

const Verb kVerbMkdir = {"mkdir", "", Sentence::kSummaryMkdir,
                         "vellmark mkdir work.img --parents Letters/2026", SetUp};

}  // namespace vellmark
