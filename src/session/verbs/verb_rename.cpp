#include <fmt/core.h>

#include <memory>

#include "session/verbs/change_run.hpp"
#include "session/verbs/verbs.hpp"
#include "support/encoding.hpp"
#include "volume/catalog_edit.hpp"

namespace vellmark {

namespace {

struct RenameOptions {
    PartitionOptions partition;
    std::string path;
    std::string name;
};

// Only some results are about the new name.
bool Judge(ChangeRun& run, EditResult result, const RenameOptions& options) {
    const bool isOfName = result == EditResult::Exists || result == EditResult::BadName;
    return run.judge(result, isOfName ? options.name : options.path);
}

int Rename(const RenameOptions& options, CommandContext& context) {
    ChangeRun run(context);
    if (!run.open(options.partition))
        return kExitFailed;
    if (const std::optional<CatalogItem> item = run.find(options.path)) {
        const std::optional<CatalogName> name = NameFromShown(run.volume(), options.name);
        if (item->id == kRootFolderId)
            run.problem(
                "The root of a volume has the volume's name, which the verb label changes.");
        else if (options.name.find('/') != std::string::npos)
            run.problem(
                fmt::format("{}: a / in a Macintosh name is typed as :.", Printable(options.name)));
        else if (!name)
            run.judge(EditResult::BadName, options.name);
        else if (Judge(run, RenameItem(run.volume(), item->parentId, item->catalogName, *name),
                       options))
            run.terminal.messages.log(2, "*ren " + item->name + "\t" + options.name);
    }
    return run.finish();
}

void SetUp(OptionSet& arguments, RunVerb& run) {
    const auto options = std::make_shared<RenameOptions>();
    AddPartitionOptions(arguments, options->partition);
    arguments.add("PATH", options->path, Sentence::kHelpItem).required();
    arguments.add("NAME", options->name, Sentence::kHelpNewName).required();
    run = [options](CommandContext& context) { return Rename(*options, context); };
}

}  // namespace

const Verb kVerbRename = {"rename", "", Sentence::kSummaryRename,
                          "vellmark rename work.img Notes/Plan \"Plan B\"", SetUp};

}  // namespace vellmark
