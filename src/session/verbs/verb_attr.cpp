#include <fmt/chrono.h>
#include <fmt/core.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <ctime>
#include <memory>
#include <vector>

#include "containers/finder_info.hpp"
#include "session/verbs/change_run.hpp"
#include "session/verbs/image_verbs.hpp"
#include "session/verbs/verbs.hpp"
#include "support/encoding.hpp"
#include "volume/catalog_edit.hpp"
#include "volume/read_only.hpp"

namespace vellmark {

namespace {

constexpr std::string_view kName = "attr";

// Finder flags by the names that are used for them.
struct FlagName {
    std::string_view name;
    std::uint16_t bit;
};
constexpr std::array kFlags = {FlagName{"invisible", kFinderInvisible},
                               FlagName{"bundle", kFinderHasBundle},
                               FlagName{"name-locked", kFinderNameLocked},
                               FlagName{"stationery", kFinderStationery},
                               FlagName{"custom-icon", kFinderCustomIcon},
                               FlagName{"no-inits", kFinderNoInits},
                               FlagName{"inited", kFinderInited},
                               FlagName{"shared", kFinderShared},
                               FlagName{"alias", kFinderAlias}};

struct AttrOptions {
    PartitionOptions partition;
    std::vector<std::string> paths;
    std::string type;
    std::string creator;
    std::vector<std::string> set;
    std::vector<std::string> clear;
    std::string created;
    std::string modified;
    std::string locked;
};

// `2026-11-21T10:46:05Z`, with a blank for the T, or without time or seconds; in UTC.
std::optional<UnixSeconds> DateOf(const std::string& typed) {
    for (const char* form : {"%Y-%m-%dT%H:%M:%SZ", "%Y-%m-%dT%H:%M:%S", "%Y-%m-%d %H:%M:%S",
                             "%Y-%m-%dT%H:%M", "%Y-%m-%d %H:%M", "%Y-%m-%d"}) {
        std::tm parts{};
        const char* end = ::strptime(typed.c_str(), form, &parts);
        if (end == nullptr || *end != '\0')
            continue;
        // 31 February would become a day of March.
        std::tm counted = parts;
        const UnixSeconds date = ::timegm(&counted);
        return counted.tm_mday == parts.tm_mday && counted.tm_sec == parts.tm_sec
                   ? std::optional(date)
                   : std::nullopt;
    }
    return std::nullopt;
}

bool AddFlags(const std::vector<std::string>& names, std::uint16_t& bits) {
    for (const std::string& name : names) {
        const auto* found = std::find_if(kFlags.begin(), kFlags.end(),
                                         [&](const FlagName& flag) { return flag.name == name; });
        if (found == kFlags.end())
            return false;
        bits = static_cast<std::uint16_t>(bits | found->bit);
    }
    return true;
}

// Every date that a volume can keep lies between these.
bool IsMacDate(UnixSeconds date) {
    return FromMacGmt(ToMacGmt(date)) == date;
}

// The change that the options ask for; a sentence in `wrong` when one of them cannot be meant.
AttributeChange ChangeOf(const AttrOptions& options, std::string& wrong) {
    AttributeChange change;
    const auto code = [&](const std::string& typed, std::string_view option) {
        const auto letters = FourLetterCode(typed);
        if (!typed.empty() && !letters)
            wrong = fmt::format(
                "--{} takes up to four characters of the Macintosh, and {} is not "
                "that.",
                option, Printable(typed));
        return letters;
    };
    const auto date = [&](const std::string& typed, std::string_view option) {
        const auto seconds = typed.empty() ? std::nullopt : DateOf(typed);
        if (!typed.empty() && (!seconds || !IsMacDate(*seconds)))
            wrong = fmt::format(
                "--{} takes a date from 1904 to 2040 such as 1999-12-31T23:59:00Z, "
                "and {} is not that.",
                option, Printable(typed));
        return seconds;
    };
    change.type = code(options.type, "type");
    change.creator = code(options.creator, "creator");
    change.created = date(options.created, "created");
    change.modified = date(options.modified, "modified");
    if (!options.locked.empty())
        change.isLocked = options.locked == "yes";
    // The names were checked when the options were read.
    (void)AddFlags(options.set, change.setFlags);
    (void)AddFlags(options.clear, change.clearFlags);
    return change;
}

bool IsEmpty(const AttributeChange& change) {
    return !change.type && !change.creator && !change.created && !change.modified &&
           !change.isLocked && change.setFlags == 0 && change.clearFlags == 0;
}

std::string Letters(const std::array<char, 8>& signature, std::size_t at) {
    return Printable(ShownHfsName(std::string_view(signature.data() + at, 4)));
}

std::string FlagText(std::uint16_t flags) {
    std::string text;
    for (const FlagName& flag : kFlags)
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
    Terminal terminal(context, TerminalOptionsOf(context, true));
    const auto partition = Partition::Open(options.partition, context, terminal, Access::Read);
    if (!partition)
        return kExitFailed;
    bool failed = false;
    for (const std::string& path : options.paths) {
        std::optional<CatalogItem> item;
        const TreeResult result = FindPath(partition->volume(), path, context.clock, item);
        if (result != TreeResult::Done || !item) {
            failed = true;
            terminal.messages.showMessage(
                result != TreeResult::Done
                    ? CatalogProblem(result, "on the way to " + Printable(path))
                    : EditSentence(EditResult::Missing, Printable(path), context.language));
            continue;
        }
        context.output << fmt::format(
            "{}\n  type      {}\n  creator   {}\n  flags     {}\n  locked    {}\n  created   {}\n"
            "  modified  {}\n",
            Printable(path), item->isFolder ? "-" : Letters(item->signature, 0),
            item->isFolder ? "-" : Letters(item->signature, 4), FlagText(item->finderFlags),
            LockText(partition->volume(), *item), DateText(item->created),
            DateText(item->modified));
    }
    return partition->close(terminal.messages) && !failed ? kExitDone : kExitFailed;
}

int Attr(const AttrOptions& options, CommandContext& context) {
    std::string wrong;
    const AttributeChange change = ChangeOf(options, wrong);
    if (!wrong.empty())
        return UsageError(context, kName, wrong);
    if (IsEmpty(change))
        return Show(options, context);
    ChangeRun run(context);
    // Who unlocks a volume need not say that a locked one may be changed.
    PartitionOptions partition = options.partition;
    partition.unlocks = change.isLocked == false &&
                        std::any_of(options.paths.begin(), options.paths.end(), IsRootPath);
    if (!run.open(partition))
        return kExitFailed;
    for (const std::string& path : options.paths) {
        const std::optional<CatalogItem> item = run.find(path);
        if (!item)
            continue;
        const bool isRoot = item->id == kRootFolderId;
        if (item->isFolder && (change.type || change.creator || (change.isLocked && !isRoot))) {
            run.problem(fmt::format(
                "{} is a folder, which has neither type and creator nor a lock.", Printable(path)));
            continue;
        }
        AttributeChange ofRecord = change;
        if (isRoot && change.isLocked) {
            SetVolumeLock(run.volume(), *change.isLocked);
            ofRecord.isLocked.reset();
        }
        if (!IsEmpty(ofRecord))
            run.judge(ChangeAttributes(run.volume(), item->parentId, item->catalogName, ofRecord,
                                       context.clock),
                      path);
    }
    return run.finish();
}

void SetUp(OptionSet& arguments, RunVerb& run) {
    const auto options = std::make_shared<AttrOptions>();
    std::vector<std::string> names;
    names.reserve(std::size(kFlags));
    for (const FlagName& flag : kFlags)
        names.emplace_back(flag.name);
    AddPartitionOptions(arguments, options->partition);
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
