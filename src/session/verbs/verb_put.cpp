#include <fmt/core.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "session/session_state.hpp"
#include "session/signature_file.hpp"
#include "session/user_options.hpp"
#include "session/verbs/change_run.hpp"
#include "session/verbs/verbs.hpp"
#include "support/encoding.hpp"
#include "support/pc_folder.hpp"
#include "transfer/copy_in.hpp"
#include "volume/catalog_changes.hpp"
#include "volume/edit_result.hpp"

namespace vellmark {

namespace {

constexpr std::string_view kName = "put";

struct PutOptions {
    PartitionOptions partition;
    std::vector<std::string> paths;
    std::string to;
    bool makesFolder = false;
    std::string type;
    std::string creator;
    std::string replace = "ask";
    bool force = false;
    std::string containers = "ask";
    std::string mode = "data";
    std::string truncate;  ///< empty: as the settings say
    bool quiet = false;
    bool verbose = false;
};

// What is wrong with the options; empty for nothing.
std::string Contradiction(const PutOptions& options) {
    const std::pair<std::string_view, const std::string&> codes[] = {{"type", options.type},
                                                                     {"creator", options.creator}};
    for (const auto& [name, typed] : codes)
        if (!typed.empty() && !FourLetterCode(typed))
            return fmt::format(
                "--{} takes up to four characters of the Macintosh, and {} is not "
                "that.",
                name, Printable(typed));
    if (options.mode == "macbinary" && options.containers == "no")
        return "--mode macbinary takes containers apart, and --containers no does not.";
    return {};
}

CopyInOptions CopyOptionsOf(const PutOptions& options, const CommandContext& context) {
    CopyInOptions copy = CopyInOptionsOf(context);
    copy.mode = options.mode == "resource"    ? CopyMode::ResourceFork
                : options.mode == "macbinary" ? CopyMode::MacBinary
                                              : CopyMode::DataFork;
    copy.containers = options.containers == "yes"  ? ContainerPolicy::Always
                      : options.containers == "no" ? ContainerPolicy::Never
                                                   : ContainerPolicy::Ask;
    copy.existing = options.replace == "no" && !options.force
                        ? ExistingFiles::Keep
                        : ExistingFilesOf(options.force || options.replace == "yes", context);
    if (!options.truncate.empty())
        copy.truncation.automatic = options.truncate == "yes";
    if (options.truncate == "yes")
        copy.truncation.addsCrc = true;
    if (!options.type.empty())
        copy.type = FourLetterCode(options.type);
    if (!options.creator.empty())
        copy.creator = FourLetterCode(options.creator);
    copy.imagePath = options.partition.image;
    if (context.session != nullptr)
        copy.journalPath = context.session->journal.path();
    return copy;
}

/// The folder of the volume that `--to` names.
class TargetFolder {
  public:
    TargetFolder(VolumeContext& volume, const PutOptions& options, const Clock& clock)
        : volume_(volume), options_(options), clock_(clock) {}

    /// Finds it, or makes what is missing of it. A sentence when that fails, else "".
    [[nodiscard]] std::string find();
    [[nodiscard]] std::uint32_t id() const { return id_; }

  private:
    [[nodiscard]] std::string step(const std::string& name, const std::string& path);

    VolumeContext& volume_;
    const PutOptions& options_;
    const Clock& clock_;
    std::uint32_t id_ = kRootFolderId;
};

std::string TargetFolder::find() {
    std::string_view rest = options_.to;
    std::string path;
    while (!rest.empty()) {
        const std::size_t slash = rest.find('/');
        const std::string name(rest.substr(0, slash));
        rest = slash == std::string_view::npos ? std::string_view{} : rest.substr(slash + 1);
        if (name.empty())
            continue;
        path += (path.empty() ? "" : "/") + name;
        if (std::string problem = step(name, path); !problem.empty())
            return problem;
    }
    return {};
}

std::string TargetFolder::step(const std::string& name, const std::string& path) {
    const std::string shown = Printable(path);
    std::optional<CatalogItem> there;
    const TreeResult found = FindItem(volume_, id_, name, clock_, there);
    if (found != TreeResult::Done)
        return CatalogProblem(found, "on the way to " + shown);
    if (there && !there->isFolder)
        return fmt::format("{} is a file of the volume, not a folder.", shown);
    if (there) {
        id_ = there->id;
        return {};
    }
    if (!options_.makesFolder)
        return fmt::format("The volume has no folder {}; --parents makes it.", shown);
    if (!NameFromShown(volume_, name))
        return fmt::format("No folder of the volume can be called {}.", Printable(name));
    const TreeResult made = CreateFolder(volume_, name, id_, clock_, id_);
    if (made == TreeResult::FolderFull)
        return fmt::format("{}: {}", shown, kFolderFullSentence);
    return made == TreeResult::Done   ? std::string{}
           : made == TreeResult::Full ? fmt::format("There is no room for the folder {}.", shown)
                                      : CatalogProblem(made, "where " + shown + " would go");
}

// What the run did not come to, as a sentence; "" for nothing.
std::string NotReached(std::span<const std::string> paths) {
    if (paths.size() < 2)
        return paths.empty() ? std::string{}
                             : fmt::format("{} was not reached.", Printable(paths.front()));
    return fmt::format("{} of the items were not reached: {} and those behind it.", paths.size(),
                       Printable(paths.front()));
}

// What was asked for by its name and is not there now makes the whole run fail.
void PutAll(const PutOptions& options, std::uint32_t folderId, CopyIn& batch, ChangeRun& run) {
    std::span<const std::string> paths = options.paths;
    while (!paths.empty()) {
        const std::string& path = paths.front();
        paths = paths.subspan(1);
        const CopyInResult result = CopyItemIn(batch, path, folderId);
        run.failed = run.failed || result != CopyInResult::Done;
        if (result == CopyInResult::Stopped)
            run.problem("Stopped as you wished; what was copied before stays.");
        if (result != CopyInResult::Stopped && result != CopyInResult::BatchEnds)
            continue;
        if (PcFactsOf(path).kind == PcKind::Folder)
            run.problem(fmt::format("The rest of {} was not copied.", Printable(path)));
        if (const std::string sentence = NotReached(paths); !sentence.empty())
            run.problem(sentence);
        return;
    }
}

// Whether none of the items is there, so that no folder is to be made for them.
bool NothingIsThere(const PutOptions& options) {
    return std::all_of(options.paths.begin(), options.paths.end(), [](const std::string& path) {
        return PcFactsOf(path).kind == PcKind::Missing;
    });
}

int Put(const PutOptions& options, CommandContext& context) {
    if (const std::string sentence = Contradiction(options); !sentence.empty())
        return UsageError(context, kName, sentence);
    ChangeRun run(context, options.quiet);
    if (!run.open(options.partition))
        return kExitFailed;
    const std::string image = Printable(options.partition.image);
    TargetFolder target(run.volume(), options, context.clock);
    // The volume is let go as it was. Items that are all missing are named without a folder.
    if (const std::string problem = NothingIsThere(options) ? std::string{} : target.find();
        !problem.empty()) {
        run.problem(fmt::format("{}: {}", image, problem));
        return kExitFailed;
    }
    CopyIn batch(run.volume(), CopyOptionsOf(options, context),
                 SignaturesOf(context, run.terminal.messages), run.terminal.messages,
                 run.terminal.progress, context.clock);
    PutAll(options, target.id(), batch, run);
    const int status = run.finish();
    run.terminal.progress.clear();
    if (run.isWritten)
        run.terminal.messages.tellChangedNames(options.verbose);
    if (!options.quiet && run.isWritten)
        context.output << image << CopiedText(batch) << '\n';
    // What a person wanted to keep was not named again.
    return status == kExitDone && batch.itemsLeftOut > 0 ? static_cast<int>(kExitSkipped) : status;
}

void SetUp(OptionSet& arguments, RunVerb& run) {
    const auto options = std::make_shared<PutOptions>();
    const auto words = [&arguments](const std::string& name, std::string& word, Sentence help,
                                    const std::vector<std::string>& choices) {
        Option option = arguments.add(name, word, help).oneOf(choices);
        if (!word.empty())
            option.showDefault();
    };
    AddPartitionOptions(arguments, options->partition);
    arguments.add("FILE", options->paths, Sentence::kHelpPutFiles).required();
    arguments.add("-t,--to", options->to, Sentence::kHelpPutTo);
    arguments.flag("--parents", options->makesFolder, Sentence::kHelpPutParents);
    arguments.add("--type", options->type, Sentence::kHelpPutType);
    arguments.add("--creator", options->creator, Sentence::kHelpPutCreator);
    words("--replace", options->replace, Sentence::kHelpReplace, {"ask", "yes", "no"});
    arguments.flag("-f,--force", options->force, Sentence::kHelpReplaceAll);
    words("--containers", options->containers, Sentence::kHelpContainers, {"ask", "yes", "no"});
    words("-m,--mode", options->mode, Sentence::kHelpPutMode, {"data", "resource", "macbinary"});
    words("--truncate", options->truncate, Sentence::kHelpPutTruncate, {"ask", "yes"});
    arguments.flag(option::kQuiet, options->quiet);
    arguments.flag(option::kVerbose, options->verbose);
    run = [options](CommandContext& context) { return Put(*options, context); };
}

}  // namespace

const Verb kVerbPut = {kName, "", Sentence::kSummaryPut,
                       "vellmark put work.img Letters \"Read me.txt\" --to Documents", SetUp};

}  // namespace vellmark
