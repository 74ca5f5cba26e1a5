#include <fmt/format.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "reading/image_walk.hpp"
#include "session/json_text.hpp"
#include "session/verbs/image_verbs.hpp"
#include "session/verbs/verbs.hpp"
#include "support/encoding.hpp"

namespace vellmark {

namespace {

struct LsOptions {
    ViewOptions view;
    std::string path;
    bool json = false;
    bool details = false;
    bool recursive = false;
};

using TakeListed = std::function<bool(const ViewEntry& entry)>;

// Hands on everything below a folder.
class Lister final : public TreeWalker {
  public:
    Lister(ViewRun& run, const TakeListed& take, bool tells)
        : run_(run), take_(take), tells_(tells) {}

  protected:
    [[nodiscard]] Next visit(const ViewEntry& entry, std::size_t) override {
        return take_(entry) ? Next::GoOn : Next::Stop;
    }
    void problem(const Reason& reason) override {
        if (tells_)
            run_.problem(reason);
    }

  private:
    ViewRun& run_;
    const TakeListed& take_;
    bool tells_;
};

// Hands on what is listed for a path, a file itself, or what is in a folder, one entry after the
// other, as a listing can be longer than memory. Messages name what is damaged when `tells`.
void EachListed(ViewRun& run, const FoundEntry& found, bool recursive, bool tells,
                const TakeListed& take) {
    if (!found.entry.isFolder) {
        (void)take(found.entry);
        return;
    }
    if (recursive) {
        (void)Lister(run, take, tells).walk(*found.tree, found.entry);
        return;
    }
    const Reason damage =
        found.tree->each(found.entry, [&](ViewEntry&& entry) { return take(entry); });
    if (tells && damage)
        run.problem(damage);
}

nlohmann::ordered_json LettersJson(const std::string& letters) {
    return letters.empty() ? nlohmann::ordered_json(nullptr) : nlohmann::ordered_json(letters);
}

nlohmann::ordered_json EntryJson(const ViewEntry& entry, TreeKind kind) {
    return {{"name", entry.name},
            {"path", entry.path},
            {"kind", entry.isFolder ? "folder" : "file"},
            {"size", entry.sizeBytes},
            {"resourceSize", entry.resourceBytes},
            {"modified", DateJson(entry.modified)},
            {"created", DateJson(entry.created)},
            {"type", LettersJson(entry.type)},
            {"creator", LettersJson(entry.creator)},
            {"hidden", entry.isHidden},
            {"locked", entry.isLocked},
            {kind == TreeKind::Hfs ? "id" : "sector", entry.id}};
}

// `TEXT/ttxt`, or `-` for an entry without.
std::string LettersText(const ViewEntry& entry) {
    return entry.type.empty() && entry.creator.empty()
               ? "-"
               : Printable(fmt::format("{:4}/{:4}", entry.type, entry.creator));
}

/// Of the columns of numbers, in characters.
struct Widths {
    std::size_t size = 1;
    std::size_t resource = 1;
};

// The columns fit the longest of their numbers: the listing is gone through once for them.
Widths WidthsOf(ViewRun& run, const FoundEntry& found, bool recursive) {
    Widths widths;
    EachListed(run, found, recursive, false, [&](const ViewEntry& entry) {
        widths.size = std::max(widths.size, fmt::formatted_size("{}", entry.sizeBytes));
        widths.resource = std::max(widths.resource, fmt::formatted_size("{}", entry.resourceBytes));
        return !StopSignals::requested();
    });
    return widths;
}

std::string LineOf(const ViewEntry& entry, const LsOptions& options, const Widths& widths) {
    std::string line;
    if (options.details)
        line = fmt::format("{:<6}  {:>{}}  {:>{}}  {:>16}  {:<9}  ",
                           entry.isFolder ? "folder" : "file",
                           entry.isFolder ? "-" : fmt::to_string(entry.sizeBytes), widths.size,
                           entry.isFolder ? "-" : fmt::to_string(entry.resourceBytes),
                           widths.resource, DateText(entry.modified), LettersText(entry));
    return line + Printable(options.recursive ? entry.path : entry.name) + '\n';
}

bool PutLines(ViewRun& run, const FoundEntry& found, const LsOptions& options) {
    const Widths widths = options.details ? WidthsOf(run, found, options.recursive) : Widths{};
    bool goesOn = true;
    EachListed(run, found, options.recursive, true, [&](const ViewEntry& entry) {
        goesOn = run.put(LineOf(entry, options, widths));
        return goesOn;
    });
    return goesOn;
}

// One tree; its entries are written as they are read.
bool PutJsonOf(ViewRun& run, const FoundEntry& found, bool recursive) {
    constexpr unsigned kTreeIndent = 4;
    constexpr unsigned kEntryIndent = 8;
    nlohmann::ordered_json json = TreeJson(found.tree->facts());
    json["path"] = found.entry.path;
    json["entries"] = nlohmann::ordered_json::array();
    std::string head = JsonText(json, kTreeIndent);
    head.resize(head.rfind(']'));
    bool goesOn = run.put(head);
    bool isFirst = true;
    EachListed(run, found, recursive, true, [&](const ViewEntry& entry) {
        goesOn = goesOn && run.put(fmt::format(
                               "{}\n{:{}}{}", isFirst ? "" : ",", "", kEntryIndent,
                               JsonText(EntryJson(entry, found.tree->facts().kind), kEntryIndent)));
        isFirst = false;
        return goesOn;
    });
    return goesOn && run.put(isFirst ? "]\n    }" : "\n      ]\n    }");
}

void PutJson(ViewRun& run, const std::vector<FoundEntry>& found, bool recursive) {
    bool goesOn = run.put("{\n  \"trees\": [");
    for (std::size_t i = 0; goesOn && i < found.size(); ++i)
        goesOn = run.put(i == 0 ? "\n    " : ",\n    ") && PutJsonOf(run, found[i], recursive);
    if (goesOn)
        (void)run.put(found.empty() ? "]\n}\n" : "\n  ]\n}\n");
}

void PutText(ViewRun& run, const std::vector<FoundEntry>& found, const LsOptions& options) {
    for (const FoundEntry& place : found) {
        if (run.trees.size() > 1 &&
            !run.put(fmt::format("{}{}\n", &place == &found.front() ? "" : "\n",
                                 TreeHeading(place.tree->facts()))))
            return;
        if (!PutLines(run, place, options))
            return;
    }
}

int Ls(const LsOptions& options, CommandContext& context) {
    ViewRun run(context, false);
    if (!run.open(options.view))
        return kExitFailed;
    const std::vector<FoundEntry> found = run.find(options.path);
    if (options.json)
        PutJson(run, found, options.recursive);
    else
        PutText(run, found, options);
    return run.exitStatus();
}

void SetUp(OptionSet& arguments, RunVerb& run) {
    const auto options = std::make_shared<LsOptions>();
    AddViewOptions(arguments, options->view, Sentence::kHelpAnyTree);
    arguments.add("PATH", options->path, Sentence::kHelpLsPath);
    arguments.flag(option::kJsonDates, options->json);
    arguments.flag("-l,--long", options->details, Sentence::kHelpLong);
    arguments.flag("-R,--recursive", options->recursive, Sentence::kHelpRecursive);
    run = [options](CommandContext& context) { return Ls(*options, context); };
}

}  // namespace

const Verb kVerbLs = {"ls", "dir", Sentence::kSummaryLs,
                      "vellmark ls photos.iso \"Holiday/Day 1\" --as hfs -l", SetUp};

}  // namespace vellmark
