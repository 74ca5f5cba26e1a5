#include <fmt/format.h>

#include <array>
#include <memory>

#include "session/extraction.hpp"
#include "session/image_verbs.hpp"
#include "session/targets.hpp"
#include "session/verbs.hpp"
#include "support/encoding.hpp"
#include "support/pc_folder.hpp"

namespace vellmark {

namespace {

constexpr std::string_view kStandardOutput = "-";

struct GetOptions {
    ViewOptions view;
    std::vector<std::string> paths;
    std::string target = ".";
    bool force = false;
    bool quiet = false;
};

// The tree that knows most about a file comes first.
constexpr std::array kPreference = {TreeKind::Hfs, TreeKind::Joliet, TreeKind::Iso};

// The item of the first tree that has the path; damage on the way is told.
std::optional<FoundEntry> FindPreferred(ViewRun& run, const std::string& path) {
    for (const TreeKind kind : kPreference)
        for (TreeView* tree : run.trees) {
            if (tree->facts().kind != kind)
                continue;
            std::string sentence;
            std::optional<ViewEntry> entry = tree->find(path, sentence);
            if (!sentence.empty())
                run.problem(sentence);
            if (entry)
                return FoundEntry{tree, std::move(*entry)};
        }
    run.problem(fmt::format("The image has no {}.", Printable(path)));
    return std::nullopt;
}

// What the item is called on the PC; the root is called like the volume.
std::string PcNameOf(const FoundEntry& found) {
    return SafePcName(found.entry.path.empty() ? found.tree->facts().label : found.entry.name);
}

// The path of a name in a folder, as a person would write it.
std::string InFolder(const std::string& folder, const std::string& name) {
    return folder == "." ? name : folder + (folder.ends_with('/') ? "" : "/") + name;
}

// False when the user stopped the run.
bool GetOne(ViewRun& run, Extractor& extractor, const GetOptions& options, const std::string& path,
            bool intoFolder) {
    const std::optional<FoundEntry> found = FindPreferred(run, path);
    if (!found)
        return true;
    Extraction result = Extraction::Done;
    if (options.target != kStandardOutput) {
        const std::string target =
            intoFolder ? InFolder(options.target, PcNameOf(*found)) : FollowLink(options.target);
        result = extractor.take(*found->tree, found->entry, target);
    } else if (found->entry.isFolder) {
        run.problem(fmt::format("{} is a folder, which cannot go to the standard output.",
                                Printable(path)));
    } else {
        result = extractor.takeTo(*found->tree, found->entry,
                                  [&](std::string_view piece) { return run.put(piece); });
    }
    // What was asked for by its name and is not there now makes the whole run fail.
    run.failed = run.failed || result != Extraction::Done;
    return result != Extraction::Stopped;
}

// Whether the target is a folder that takes the items in; nothing, after a message, when it has
// to be one and is not.
std::optional<bool> IsIntoFolder(ViewRun& run, const GetOptions& options) {
    if (options.target == kStandardOutput)
        return false;
    const bool isFolder = PcFactsOf(options.target).kind == PcKind::Folder;
    if (isFolder || (options.paths.size() == 1 && !options.target.ends_with('/')))
        return isFolder;
    run.problem(fmt::format("There is no folder {}.", Printable(options.target)));
    return std::nullopt;
}

int Get(const GetOptions& options, CommandContext& context) {
    const StopSignals signals;
    ViewRun run(context, options.quiet);
    const std::optional<bool> intoFolder = IsIntoFolder(run, options);
    if (!intoFolder || !run.open(options.view))
        return kExitFailed;
    Extractor extractor({options.view.image, options.force}, run.terminal.messages,
                        run.terminal.progress);
    for (const std::string& path : options.paths)
        if (!GetOne(run, extractor, options, path, *intoFolder))
            break;
    run.failed = run.failed || extractor.foundDamage();
    if (StopSignals::requested())
        run.problem("Stopped as you wished; what was written before stays.");
    return run.exitStatus();
}

void SetUp(CLI::App& app, RunVerb& run) {
    const auto options = std::make_shared<GetOptions>();
    AddViewOptions(app, options->view,
                   "without it, the first of hfs, joliet and iso that has the path");
    app.add_option("PATH", options->paths,
                   "Files, or folders with all that is in them, / between the names (a / in a "
                   "Macintosh name is written :); / alone is the whole tree")
        ->required();
    app.add_option("-o,--output", options->target,
                   "Folder to write to, or a new name when there is one PATH; - for the standard "
                   "output")
        ->capture_default_str();
    app.add_flag("-f,--force", options->force, "Replace existing files");
    app.add_flag("-q,--quiet", options->quiet, "No progress");
    run = [options](CommandContext& context) { return Get(*options, context); };
}

}  // namespace

const Verb kVerbGet = {"get", "cp", "Take files and folders out of an image",
                       "vellmark get photos.iso \"Holiday/Day 1\" -o Pictures", SetUp};

}  // namespace vellmark
