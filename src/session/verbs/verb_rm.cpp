#include <memory>
#include <vector>

#include "session/user_options.hpp"
#include "session/verbs/change_run.hpp"
#include "session/verbs/verbs.hpp"
#include "support/encoding.hpp"
#include "support/sentences.hpp"

namespace vellmark {

namespace {

struct RmOptions {
    VolumeOptions volume;
    std::vector<std::string> paths;
    bool force = false;
    bool quiet = false;
};

// A folder that is not empty goes without a question when the user said so, here or in the
// settings. Where nobody can be asked it stays.
int Rm(const RmOptions& options, CommandContext& context) {
    ChangeRun run(context, options.quiet);
    if (!run.open(options.volume))
        return kExitFailed;
    RememberedAnswer answer;
    const bool isSettled = options.force || OptionsOf(context).deletesSilently;
    if (!isSettled && !context.asks)
        answer.kept = Remembered::NoToAll;
    DeleteContext deletion{run.terminal.messages, run.terminal.progress, context.clock, answer,
                           !isSettled};
    for (const std::string& path : options.paths) {
        const PathChange change = DeleteAt(run.volume(), path, deletion);
        // A signal ends a question too.
        if (change.result == EditResult::Stopped ||
            (change.result == EditResult::Declined && StopSignals::requested())) {
            run.problem(Reason(Sentence::kStaysStopped, Printable(path)));
            break;
        }
        if (change.result == EditResult::Declined && !context.asks)
            run.problem(Reason(Sentence::kFolderNotEmptyForce, Printable(path)));
        else if (change.result == EditResult::Declined)
            run.terminal.messages.itemSkipped(Printable(path), Sentence::kWishedToKeep);
        else
            run.judge(change);
    }
    return run.finish();
}

void SetUp(OptionSet& arguments, RunVerb& run) {
    const auto options = std::make_shared<RmOptions>();
    AddVolumeOptions(arguments, options->volume);
    arguments.add("PATH", options->paths, Sentence::kHelpRmPaths).required();
    arguments.flag("-f,--force", options->force, Sentence::kHelpRmForce);
    arguments.flag(option::kQuietProgress, options->quiet);
    run = [options](CommandContext& context) { return Rm(*options, context); };
}

}  // namespace

const Verb kVerbRm = {"rm", "", Sentence::kSummaryRm, "vellmark rm work.img Drafts \"Read Me\"",
                      SetUp};

}  // namespace vellmark
