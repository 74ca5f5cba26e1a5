#include <fmt/format.h>

#include <algorithm>
#include <memory>

#include "session/image_verbs.hpp"
#include "session/image_walk.hpp"
#include "session/verbs.hpp"
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

class Collector final : public TreeWalker {
  public:
    Collector(ViewRun& run, std::vector<ViewEntry>& entries) : run_(run), entries_(entries) {}

  protected:
    [[nodiscard]] Next visit(const ViewEntry& entry, std::size_t) override {
        entries_.push_back(entry);
        return Next::GoOn;
    }
    void problem(const std::string& sentence) override { run_.problem(sentence); }

  private:
    ViewRun& run_;
    std::vector<ViewEntry>& entries_;
};

// What is listed for a path: a file itself, or what is in a folder.
std::vector<ViewEntry> EntriesOf(ViewRun& run, const FoundEntry& found, bool recursive) {
    if (!found.entry.isFolder)
        return {found.entry};
    std::vector<ViewEntry> entries;
    if (recursive) {
        Collector collector(run, entries);
        (void)collector.walk(*found.tree, found.entry);
        return entries;
    }
    std::string sentence;
    entries = found.tree->list(found.entry, sentence);
    if (!sentence.empty())
        run.problem(sentence);
    return entries;
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

bool PutLines(ViewRun& run, const std::vector<ViewEntry>& entries, const LsOptions& options) {
    std::size_t sizeWidth = 1;
    std::size_t resourceWidth = 1;
    for (const ViewEntry& entry : entries) {
        sizeWidth = std::max(sizeWidth, fmt::formatted_size("{}", entry.sizeBytes));
        resourceWidth = std::max(resourceWidth, fmt::formatted_size("{}", entry.resourceBytes));
    }
    for (const ViewEntry& entry : entries) {
        std::string line;
        if (options.details)
            line = fmt::format("{:<6}  {:>{}}  {:>{}}  {:>16}  {:<9}  ",
                               entry.isFolder ? "folder" : "file",
                               entry.isFolder ? "-" : fmt::to_string(entry.sizeBytes), sizeWidth,
                               entry.isFolder ? "-" : fmt::to_string(entry.resourceBytes),
                               resourceWidth, DateText(entry.modified), LettersText(entry));
        line += Printable(options.recursive ? entry.path : entry.name);
        line += '\n';
        if (!run.put(line))
            return false;
    }
    return true;
}

void PutJson(ViewRun& run, const std::vector<FoundEntry>& found, bool recursive) {
    nlohmann::ordered_json trees = nlohmann::ordered_json::array();
    for (const FoundEntry& place : found) {
        nlohmann::ordered_json json = TreeJson(place.tree->facts());
        json["path"] = place.entry.path;
        json["entries"] = nlohmann::ordered_json::array();
        for (const ViewEntry& entry : EntriesOf(run, place, recursive))
            json["entries"].push_back(EntryJson(entry, place.tree->facts().kind));
        trees.push_back(std::move(json));
    }
    run.putJson({{"trees", std::move(trees)}});
}

void PutText(ViewRun& run, const std::vector<FoundEntry>& found, const LsOptions& options) {
    for (const FoundEntry& place : found) {
        if (run.trees.size() > 1 &&
            !run.put(fmt::format("{}{}\n", &place == &found.front() ? "" : "\n",
                                 TreeHeading(place.tree->facts()))))
            return;
        if (!PutLines(run, EntriesOf(run, place, options.recursive), options))
            return;
    }
}

int Ls(const LsOptions& options, CommandContext& context) {
    ViewRun run(context, false);
    if (!run.open(options.view))
        return kExitFailed;
    const std::vector<FoundEntry> found = FindInTrees(run, options.path);
    if (options.json)
        PutJson(run, found, options.recursive);
    else
        PutText(run, found, options);
    return run.exitStatus();
}

void SetUp(OptionSet& arguments, RunVerb& run) {
    const auto options = std::make_shared<LsOptions>();
    AddViewOptions(arguments, options->view, "without it, all that are there");
    arguments.add("PATH", options->path,
                  "Folder or file, / between the names (a / in a Macintosh name is written :); "
                  "without it, the root");
    arguments.flag("-j,--json", options->json, "As JSON, dates in UTC");
    arguments.flag("-l,--long", options->details,
                   "Kind, size, size of the resource fork, date in UTC, type and creator, name");
    arguments.flag("-R,--recursive", options->recursive,
                   "Everything below the folder too, with paths from the root");
    run = [options](CommandContext& context) { return Ls(*options, context); };
}

}  // namespace

const Verb kVerbLs = {"ls", "dir", "List a folder of an image",
                      "vellmark ls photos.iso \"Holiday/Day 1\" --as hfs -l", SetUp};

}  // namespace vellmark
