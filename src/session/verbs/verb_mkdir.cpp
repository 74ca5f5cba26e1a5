#include <memory>
#include <vector>

#include "session/verbs/change_run.hpp"
#include "session/verbs/verbs.hpp"
#include "support/encoding.hpp"
#include "volume/catalog_changes.hpp"

namespace vellmark {

namespace {

struct MkdirOptions {
    PartitionOptions partition;
    std::vector<std::string> paths;
    bool parents = false;
};

EditResult ResultOf(TreeResult result, ChangeRun& run, const std::string& name) {
    const bool isBadName = result == TreeResult::Damaged && !NameFromShown(run.volume(), name);
    return isBadName ? EditResult::BadName : ToEditResult(result);
}

// Makes one folder, and with `parents` those on the way to it that are missing. False after a
// message.
bool MakeFolder(ChangeRun& run, const std::string& path, bool parents) {
    const SplitPath split = SplitVolumePath(path);
    std::optional<CatalogItem> there;
    if (parents && !path.empty() &&
        FindPath(run.volume(), path, run.clock(), there) == TreeResult::Done && there &&
        there->isFolder)
        return true;
    if (split.name.empty()) {
        run.problem(path.empty() ? "The folder to make needs a name."
                                 : "The root of a volume is there already.");
        return false;
    }
    if (parents && !split.folder.empty() && !MakeFolder(run, split.folder, true))
        return false;
    const std::optional<CatalogItem> folder = run.findFolder(split.folder);
    std::uint32_t id = 0;
    return folder &&
           run.judge(ResultOf(CreateFolder(run.volume(), split.name, folder->id, run.clock(), id),
                              run, split.name),
                     path);
}

int Mkdir(const MkdirOptions& options, CommandContext& context) {
    ChangeRun run(context);
    if (!run.open(options.partition))
        return kExitFailed;
    for (const std::string& path : options.paths)
        (void)MakeFolder(run, path, options.parents);
    return run.finish();
}

void SetUp(OptionSet& arguments, RunVerb& run) {
    const auto options = std::make_shared<MkdirOptions>();
    AddPartitionOptions(arguments, options->partition);
    arguments.add("FOLDER", options->paths, Sentence::kHelpNewFolders).required();
    arguments.flag("--parents", options->parents, Sentence::kHelpParents);
    run = [options](CommandContext& context) { return Mkdir(*options, context); };
}

}  // namespace

const Verb kVerbMkdir = {"mkdir", "", Sentence::kSummaryMkdir,
                         "vellmark mkdir work.img --parents Letters/2026", SetUp};

}  // namespace vellmark
