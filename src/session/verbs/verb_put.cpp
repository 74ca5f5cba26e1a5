#include <algorithm>
#include <memory>
#include <optional>
#include <vector>

#include "containers/typed_signature.hpp"
#include "session/session_state.hpp"
#include "session/signature_file.hpp"
#include "session/user_options.hpp"
#include "session/verbs/change_run.hpp"
#include "session/verbs/verbs.hpp"
#include "support/encoding.hpp"
#include "support/pc_folder.hpp"
#include "support/sentences.hpp"
#include "transfer/copy_all_in.hpp"

namespace vellmark {

namespace {

constexpr std::string_view kName = "put";

struct PutOptions {
    VolumeOptions volume;
    std::vector<std::string> paths;
    std::string to;
    bool makesFolder = false;
    std::string type;
    std::string creator;
    std::string replace = "ask";
    bool force = false;
    std::string containers = "ask";
    std::string fonts;  ///< empty: asked where somebody can answer
    std::string mode = "data";
    std::string truncate;  ///< empty: as the settings say
    bool quiet = false;
    bool verbose = false;
};

// What is wrong with the options.
Reason Contradiction(const PutOptions& options) {
    const std::pair<std::string_view, const std::string&> codes[] = {
        {"--type", options.type}, {"--creator", options.creator}};
    for (const auto& [name, typed] : codes)
        if (!typed.empty() && !TypedCode(typed))
            return Reason(Sentence::kNoCode, name, Printable(typed));
    if (options.mode == "macbinary" && options.containers == "no")
        return Sentence::kMacBinaryNeedsContainers;
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
    copy.fonts = FontPolicyOf(options.fonts, context);
    copy.existing = options.replace == "no" && !options.force
                        ? ExistingFiles::Keep
                        : ExistingFilesOf(options.force || options.replace == "yes", context);
    if (!options.truncate.empty())
        copy.truncation.automatic = options.truncate == "yes";
    if (options.truncate == "yes")
        copy.truncation.addsCrc = true;
    if (!options.type.empty())
        copy.type = TypedCode(options.type);
    if (!options.creator.empty())
        copy.creator = TypedCode(options.creator);
    copy.imagePath = options.volume.image;
    if (context.session != nullptr)
        copy.journalPath = context.session->journal.path();
    return copy;
}

// A path of the volume as messages show it: without slashes that no name stands between.
std::string Tidied(std::string_view path) {
    std::string tidy;
    for (const char c : path)
        if (c != '/' || (!tidy.empty() && tidy.back() != '/'))
            tidy += c;
    if (tidy.ends_with('/'))
        tidy.pop_back();
    return tidy;
}

// Why the folder that `--to` names cannot take the items; none when it can.
Reason TargetProblem(const FolderWay& way) {
    const std::string shown = Printable(way.path);
    switch (way.result) {
        case EditResult::Done:
            return {};
        case EditResult::Exists:
            return Reason(Sentence::kFileNotFolder, shown);
        case EditResult::Missing:
            return Reason(Sentence::kNoFolderParents, shown);
        case EditResult::BadName:
            return Reason(Sentence::kNoFolderNameOfVolume,
                          Printable(way.path.substr(way.path.rfind('/') + 1)));
        case EditResult::FolderFull:
            return Reason(Sentence::kNamed, shown, Sentence::kFolderFull);
        case EditResult::Full:
            return Reason(Sentence::kNoRoomForFolder, shown);
        default:
            break;
    }
    if (Reason problem = way.searchProblem())
        return problem;
    return CatalogProblem(
        way.result == EditResult::Failed ? TreeResult::Failed : TreeResult::Damaged,
        Reason(Sentence::kPlaceWhereGoes, shown));
}

// Whether none of the items is there, so that no folder is to be made for them.
bool NothingIsThere(const PutOptions& options) {
    return std::all_of(options.paths.begin(), options.paths.end(), [](const std::string& path) {
        return PcFactsOf(path).kind == PcKind::Missing;
    });
}

int Put(const PutOptions& options, CommandContext& context) {
    if (const Reason wrong = Contradiction(options))
        return UsageError(context, kName, wrong);
    ChangeRun run(context, options.quiet);
    if (!run.open(options.volume))
        return kExitFailed;
    const std::string image = Printable(options.volume.image);
    // Items that are all missing are named without a folder.
    const FolderWay target =
        NothingIsThere(options)
            ? FolderWay{EditResult::Done, kRootFolderId}
            : WalkToFolder(run.volume(), Tidied(options.to),
                           options.makesFolder ? MissingFolders::Make : MissingFolders::Refuse,
                           context.clock);
    // The volume is let go as it was.
    if (const Reason problem = TargetProblem(target)) {
        run.problem(Reason(Sentence::kNamed, image, problem));
        return kExitFailed;
    }
    CopyIn batch(run.volume(), CopyOptionsOf(options, context),
                 SignaturesOf(context, run.terminal.messages), run.terminal.messages,
                 run.terminal.progress, context.clock);
    run.failed = !CopyAllIn(batch, options.paths, target.id) || run.failed;
    KeepFontIds(batch, context);
    const int status = run.finish();
    run.terminal.progress.clear();
    if (run.isWritten)
        run.terminal.messages.tellChangedNames(options.verbose);
    if (!options.quiet && run.isWritten)
        context.output << image << CopiedText(batch).words(context.language) << '\n';
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
    AddVolumeOptions(arguments, options->volume);
    arguments.add("FILE", options->paths, Sentence::kHelpPutFiles).required();
    arguments.add("-t,--to", options->to, Sentence::kHelpPutTo);
    arguments.flag("--parents", options->makesFolder, Sentence::kHelpPutParents);
    arguments.add("--type", options->type, Sentence::kHelpPutType);
    arguments.add("--creator", options->creator, Sentence::kHelpPutCreator);
    words("--replace", options->replace, Sentence::kHelpReplace, {"ask", "yes", "no"});
    arguments.flag("-f,--force", options->force, Sentence::kHelpReplaceAll);
    words("--containers", options->containers, Sentence::kHelpContainers, {"ask", "yes", "no"});
    words("--fonts", options->fonts, Sentence::kHelpPutFonts, {"ask", "yes", "no"});
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
