#include <memory>
#include <vector>

#include "session/user_options.hpp"
#include "session/verbs/change_run.hpp"
#include "session/verbs/verbs.hpp"
#include "support/encoding.hpp"
#include "volume/catalog_delete.hpp"

namespace vellmark {

namespace {

struct RmOptions {
    PartitionOptions partition;
    std::vector<std::string> paths;
    bool force = false;
    bool quiet = false;
};

// A folder that is not empty goes without a question when the user said so, here or in the
// settings. Where nobody can be asked it stays.
int Rm(const RmOptions& options, CommandContext& context) {
    ChangeRun run(context, options.quiet);
    if (!run.open(options.partition))
        return kExitFailed;
    RememberedAnswer answer;
    const bool isSettled = options.force || OptionsOf(context).deletesSilently;
    if (!isSettled && !context.asks)
        answer.kept = Remembered::NoToAll;
    DeleteContext deletion{run.terminal.messages, run.terminal.progress, context.clock, answer,
                           !isSettled};
    for (const std::string& path : options.paths) {
        const std::optional<CatalogItem> item = run.find(path);
        if (!item)
            continue;
        if (item->id == kRootFolderId) {
            run.problem("The root of a volume cannot be deleted.");
            continue;
        }
        const EditResult result =
            DeleteItemByName(run.volume(), item->catalogName, item->parentId, deletion);
        // A signal ends a question too.
        if (result == EditResult::Stopped ||
            (result == EditResult::Declined && StopSignals::requested())) {
            run.problem(Printable(path) + " stays: stopped as you wished.");
            break;
        }
        if (result == EditResult::Declined && !context.asks)
            run.problem(Printable(path) + " is a folder that is not empty; --force deletes it.");
        else if (result == EditResult::Declined)
            run.terminal.messages.itemSkipped(Printable(path), "You wished to keep it.");
        else
            run.judge(result, deletion.obstacle.empty() ? path : path + "/" + deletion.obstacle);
    }
    return run.finish();
}

void SetUp(OptionSet& arguments, RunVerb& run) {
    const auto options = std::make_shared<RmOptions>();
    AddPartitionOptions(arguments, options->partition);
    arguments.add("PATH", options->paths, Sentence::kHelpRmPaths).required();
    arguments.flag("-f,--force", options->force, Sentence::kHelpRmForce);
    arguments.flag(option::kQuietProgress, options->quiet);
    run = [options](CommandContext& context) { return Rm(*options, context); };
}

}  // namespace

const Verb kVerbRm = {"rm", "", Sentence::kSummaryRm, "vellmark rm work.img Drafts \"Read Me\"",
                      SetUp};

}  // namespace vellmark
