#include <fmt/core.h>

#include <algorithm>
#include <array>
#include <memory>
#include <vector>

#include "containers/typed_signature.hpp"
#include "session/verbs/change_run.hpp"
#include "session/verbs/image_verbs.hpp"
#include "session/verbs/verbs.hpp"
#include "support/encoding.hpp"
#include "support/sentences.hpp"
#include "volume/read_only.hpp"
#include "volume/typed_attributes.hpp"

namespace vellmark {

namespace {

constexpr std::string_view kName = "attr";

struct AttrOptions {
    VolumeOptions volume;
    std::vector<std::string> paths;
    std::string type;
    std::string creator;
    std::vector<std::string> set;
    std::vector<std::string> clear;
    std::string created;
    std::string modified;
    std::string locked;
};

// The change that the options ask for; the reason in `wrong` when one of them cannot be meant.
AttributeChange ChangeOf(const AttrOptions& options, Reason& wrong) {
    AttributeChange change;
    const auto code = [&](const std::string& typed, std::string_view option) {
        const auto letters = TypedCode(typed);
        if (!typed.empty() && !letters)
            wrong = Reason(Sentence::kNoCode, "--" + std::string(option), Printable(typed));
        return letters;
    };
    const auto date = [&](const std::string& typed, std::string_view option) {
        const auto seconds = typed.empty() ? std::nullopt : TypedDate(typed);
        if (!typed.empty() && !seconds)
            wrong = Reason(Sentence::kNoMacDate, option, Printable(typed));
        return seconds;
    };
    change.type = code(options.type, "type");
    change.creator = code(options.creator, "creator");
    change.created = date(options.created, "created");
    change.modified = date(options.modified, "modified");
    if (!options.locked.empty())
        change.isLocked = options.locked == "yes";
    change.setFlags = FinderFlagsOf(options.set);
    change.clearFlags = FinderFlagsOf(options.clear);
    return change;
}

std::string Letters(const std::array<char, 8>& signature, std::size_t at) {
    return Printable(ShownHfsName(std::string_view(signature.data() + at, 4)));
}

std::string FlagText(std::uint16_t flags) {
    std::string text;
    for (const FinderFlag& flag : kFinderFlags)
        if ((flags & flag.bit) != 0)
            text += (text.empty() ? "" : ",") + std::string(flag.name);
    return text.empty() ? "-" : text;
}

// The lock of the root is the volume's.
std::string_view LockText(const VolumeContext& volume, const CatalogItem& item) {
    if (item.isFolder && item.id != kRootFolderId)
        return "-";
    return (item.isFolder ? IsVolumeLocked(volume) : item.isLocked) ? "yes" : "no";
}

bool IsRootPath(const std::string& path) {
    return path.find_first_not_of('/') == std::string::npos;
}

int Show(const AttrOptions& options, CommandContext& context) {
    ReadRun run(context, true);
    if (!run.open(options.volume))
        return kExitFailed;
    for (const std::string& path : options.paths) {
        const Result<CatalogItem> item = ItemAt(run.volume(), path, context.clock);
        if (!item) {
            run.problem(item.error());
            continue;
        }
        context.output << fmt::format(
            "{}\n  type      {}\n  creator   {}\n  flags     {}\n  locked    {}\n  created   {}\n"
            "  modified  {}\n",
            Printable(path), item->isFolder ? "-" : Letters(item->signature, 0),
            item->isFolder ? "-" : Letters(item->signature, 4), FlagText(item->finderFlags),
            LockText(run.volume(), *item), DateText(item->created), DateText(item->modified));
    }
    return run.finish();
}

int Attr(const AttrOptions& options, CommandContext& context) {
    Reason wrong;
    const AttributeChange change = ChangeOf(options, wrong);
    if (wrong)
        return UsageError(context, kName, wrong);
    if (change.isEmpty())
        return Show(options, context);
    ChangeRun run(context);
    // Who unlocks a volume need not say that a locked one may be changed.
    VolumeOptions volume = options.volume;
    volume.unlocks = change.isLocked == false &&
                     std::any_of(options.paths.begin(), options.paths.end(), IsRootPath);
    if (!run.open(volume))
        return kExitFailed;
    for (const std::string& path : options.paths)
        run.judge(ChangeAttributesAt(run.volume(), path, change, context.clock));
    return run.finish();
}

void SetUp(OptionSet& arguments, RunVerb& run) {
    const auto options = std::make_shared<AttrOptions>();
    std::vector<std::string> names;
    names.reserve(std::size(kFinderFlags));
    for (const FinderFlag& flag : kFinderFlags)
        names.emplace_back(flag.name);
    AddVolumeOptions(arguments, options->volume);
    arguments.add("PATH", options->paths, Sentence::kHelpItems).required();
    arguments.add("--type", options->type, Sentence::kHelpNewType);
    arguments.add("--creator", options->creator, Sentence::kHelpNewCreator);
    arguments.add("--set", options->set, Sentence::kHelpSetFlags).separatedBy(',').oneOf(names);
    arguments.add("--clear", options->clear, Sentence::kHelpClearFlags)
        .separatedBy(',')
        .oneOf(names);
    arguments.add("--created", options->created, Sentence::kHelpCreated);
    arguments.add("--modified", options->modified, Sentence::kHelpModified);
    arguments.add("--locked", options->locked, Sentence::kHelpLocked).oneOf({"yes", "no"});
    run = [options](CommandContext& context) { return Attr(*options, context); };
}

}  // namespace

const Verb kVerbAttr = {
    kName, "", Sentence::kSummaryAttr,
    "vellmark attr work.img \"Read Me\" --type TEXT --creator ttxt --set invisible", SetUp};

}  // namespace vellmark
