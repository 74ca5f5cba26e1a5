#include <fmt/core.h>

#include <memory>
#include <vector>

#include "session/verbs/change_run.hpp"
#include "session/verbs/verbs.hpp"
#include "support/encoding.hpp"
#include "volume/catalog_edit.hpp"

namespace vellmark {

namespace {

constexpr int kTextCannotSwap = 1172;

struct SwapOptions {
    PartitionOptions partition;
    std::vector<std::string> paths;
};

void SwapOne(ChangeRun& run, const std::string& path, Language language) {
    const std::optional<CatalogItem> item = run.find(path);
    if (!item)
        return;
    const std::string shown = Printable(path);
    switch (SwapForks(run.volume(), item->catalogName, item->parentId)) {
        case SwapResult::Done:
            break;
        case SwapResult::NotFound:
            run.problem(fmt::format("{} is a folder, which has no forks.", shown));
            break;
        case SwapResult::ResourceForkOverflows:
        case SwapResult::DataForkOverflows:
            run.problem(fmt::format("{}: {}", shown, Text(kTextCannotSwap, language)));
            break;
        case SwapResult::Protected:
            run.judge(EditResult::Protected, path);
            break;
        case SwapResult::Failed:
            run.judge(EditResult::Failed, path);
            break;
    }
}

int Swap(const SwapOptions& options, CommandContext& context) {
    ChangeRun run(context);
    if (!run.open(options.partition))
        return kExitFailed;
    for (const std::string& path : options.paths)
        SwapOne(run, path, context.language);
    return run.finish();
}

void SetUp(OptionSet& arguments, RunVerb& run) {
    const auto options = std::make_shared<SwapOptions>();
    AddPartitionOptions(arguments, options->partition);
    arguments.add("PATH", options->paths, Sentence::kHelpSwapPaths).required();
    run = [options](CommandContext& context) { return Swap(*options, context); };
}

}  // namespace

const Verb kVerbSwap = {"swap", "", Sentence::kSummarySwap,
                        "vellmark swap work.img \"Font Suitcase\"", SetUp};

}  // namespace vellmark
