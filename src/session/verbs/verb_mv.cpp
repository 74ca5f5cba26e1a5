#include <memory>
#include <vector>

#include "session/verbs/change_run.hpp"
#include "session/verbs/verbs.hpp"
#include "support/canonical_form.hpp"
#include "support/encoding.hpp"
#include "volume/catalog_edit.hpp"

namespace vellmark {

namespace {

constexpr int kTextExistsInTarget = 1152;
constexpr std::size_t kMessageUnits = 45;

struct MvOptions {
    PartitionOptions partition;
    std::vector<std::string> paths;
    std::string target;
};

// So much of a name as the text has room for.
std::string NameForMessage(const std::string& name) {
    std::u16string wide = Utf8ToWide(Printable(name));
    CutAtLetter(wide, kMessageUnits);
    return WideToUtf8(wide);
}

void MoveOne(ChangeRun& run, const std::string& path, std::uint32_t targetId, Language language) {
    const std::optional<CatalogItem> item = run.find(path);
    if (!item)
        return;
    if (item->id == kRootFolderId) {
        run.problem("The root of a volume cannot be moved.");
        return;
    }
    // In its own folder it stands in its own way.
    const EditResult result = item->parentId == targetId ? EditResult::Exists
                                                         : MoveItem(run.volume(), item->catalogName,
                                                                    item->parentId, targetId);
    if (result == EditResult::Exists)
        run.problem(FormatText(kTextExistsInTarget, language, NameForMessage(item->name)));
    else
        run.judge(result, path);
}

int Mv(const MvOptions& options, CommandContext& context) {
    ChangeRun run(context);
    if (!run.open(options.partition))
        return kExitFailed;
    if (const std::optional<CatalogItem> target = run.findFolder(options.target))
        for (const std::string& path : options.paths)
            MoveOne(run, path, target->id, context.language);
    return run.finish();
}

void SetUp(OptionSet& arguments, RunVerb& run) {
    const auto options = std::make_shared<MvOptions>();
    AddPartitionOptions(arguments, options->partition);
    arguments.add("PATH", options->paths, Sentence::kHelpMvPaths).required();
    arguments.add("-t,--to", options->target, Sentence::kHelpMvTo).required();
    run = [options](CommandContext& context) { return Mv(*options, context); };
}

}  // namespace

const Verb kVerbMv = {"mv", "", Sentence::kSummaryMv,
                      "vellmark mv work.img Drafts/Plan Notes --to Archive", SetUp};

}  // namespace vellmark
