#include <algorithm>
#include <array>
#include <memory>

#include "reading/take_out.hpp"
#include "session/reading_ports.hpp"
#include "session/signature_file.hpp"
#include "session/user_options.hpp"
#include "session/verbs/image_verbs.hpp"
#include "session/verbs/verbs.hpp"
#include "support/encoding.hpp"
#include "support/pc_folder.hpp"
#include "support/sentences.hpp"

namespace vellmark {

namespace {

constexpr std::string_view kStandardOutput = "-";

struct GetOptions {
    ViewOptions view;
    std::vector<std::string> paths;
    std::string target = ".";
    std::string mode = "data";
    std::string naming;  ///< empty: as the settings say
    std::string fonts;   ///< empty: asked where somebody can answer
    bool force = false;
    bool quiet = false;

    [[nodiscard]] bool toOutput() const { return target == kStandardOutput; }
};

template <typename Value>
struct Keyword {
    std::string_view word;
    Value value;
};

constexpr std::array<Keyword<CopyMode>, 5> kModes = {{{"data", CopyMode::DataFork},
                                                      {"resource", CopyMode::ResourceFork},
                                                      {"macbinary", CopyMode::MacBinary},
                                                      {"appledouble", CopyMode::AppleDouble},
                                                      {"applesingle", CopyMode::AppleSingle}}};
constexpr std::array<Keyword<NamingPolicy>, 4> kNamings = {
    {{"catalog", NamingPolicy::Catalog},
     {"extension", NamingPolicy::OwnExtension},
     {"append", NamingPolicy::Append},
     {"ask", NamingPolicy::Ask}}};

template <typename Table>
std::vector<std::string> WordsOf(const Table& table) {
    std::vector<std::string> words;
    words.reserve(table.size());
    for (const auto& row : table)
        words.emplace_back(row.word);
    return words;
}

template <typename Table>
auto ValueOf(const Table& table, std::string_view word) {
    const auto row = std::find_if(table.begin(), table.end(),
                                  [word](const auto& each) { return each.word == word; });
    return row == table.end() ? table.front().value : row->value;
}

// The standard output as a target that is written from its start to its end.
class OutputSink final : public ByteSink {
  public:
    explicit OutputSink(ViewRun& run) : run_(run) {}
    [[nodiscard]] bool writeAt(std::uint64_t, std::span<const std::uint8_t> bytes) override {
        return run_.put({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
    }

  private:
    ViewRun& run_;
};

CopyOutOptions CopyOptionsOf(const GetOptions& options, const CommandContext& context) {
    CopyOutOptions copy = CopyOutOptionsOf(context);
    copy.mode = ValueOf(kModes, options.mode);
    if (!options.naming.empty())
        copy.naming.policy = ValueOf(kNamings, options.naming);
    copy.fonts = FontPolicyOf(options.fonts, context);
    copy.existing = ExistingFilesOf(options.force, context);
    copy.imagePath = options.view.image;
    return copy;
}

// Whether the target is a folder that takes the items in; nothing, after a message, when it has
// to be one and is not.
std::optional<bool> IsIntoFolder(ViewRun& run, const GetOptions& options) {
    if (options.toOutput())
        return false;
    const bool isFolder = PcFactsOf(options.target).kind == PcKind::Folder;
    if (isFolder || (options.paths.size() == 1 && !options.target.ends_with('/')))
        return isFolder;
    run.problem(Reason(Sentence::kThereIsNoFolder, Printable(options.target)));
    return std::nullopt;
}

// The option that only the files of a Macintosh volume can follow; empty for none.
std::string MacintoshOption(const GetOptions& options) {
    if (options.mode != "data")
        return "--mode " + options.mode;
    if (options.fonts == "yes")
        return "--fonts yes";
    return options.naming.empty() || options.naming == "catalog" ? std::string{}
                                                                 : "--naming " + options.naming;
}

// What is wrong with options that do not go together.
Reason Contradiction(const GetOptions& options, const CommandContext& context) {
    // What a shell makes of a variable that is not set would be the whole tree.
    if (std::find(options.paths.begin(), options.paths.end(), "") != options.paths.end())
        return Sentence::kGetPathIsEmpty;
    if (options.mode == "appledouble" && options.toOutput())
        return Sentence::kGetTwoFiles;
    if (options.fonts == "yes" && options.toOutput())
        return Sentence::kGetFontsToOutput;
    if (options.naming == "ask" && !context.asks)
        return Sentence::kGetNamingAsk;
    const std::string option = MacintoshOption(options);
    if (option.empty() || options.view.as.empty() || options.view.as == "hfs")
        return {};
    return Reason(Sentence::kGetNotOfThatTree, option);
}

int Get(const GetOptions& options, CommandContext& context) {
    if (const Reason reason = Contradiction(options, context))
        return UsageError(context, "get", reason);
    const StopSignals signals;
    ViewRun run(context, options.quiet);
    const std::optional<bool> intoFolder = IsIntoFolder(run, options);
    if (!intoFolder || !run.open(options.view))
        return kExitFailed;
    if (const std::string option = MacintoshOption(options); !option.empty()) {
        if (run.view->tree(TreeKind::Hfs) == nullptr)
            return UsageError(
                context, "get",
                Reason(Sentence::kGetNoVolume, option, Printable(options.view.image)));
        run.trees = {run.view->tree(TreeKind::Hfs)};
    }
    // Looking for the table of the user is for names alone that need it.
    const NamingPolicy naming = CopyOptionsOf(options, context).naming.policy;
    const bool needsTable = naming == NamingPolicy::OwnExtension || naming == NamingPolicy::Append;
    const SignatureTable none;
    OutputSink output(run);
    const TakeOutOutcome outcome =
        TakeOut(*run.view, run.trees,
                {.paths = options.paths,
                 .target = options.target,
                 .intoFolder = *intoFolder,
                 .copy = CopyOptionsOf(options, context)},
                needsTable ? SignaturesOf(context, run.terminal.messages) : none,
                PortsOf(context, run.terminal), options.toOutput() ? &output : nullptr);
    run.failed = run.failed || outcome.hasFailed;
    run.leftOut = outcome.hasLeftOut;
    if (StopSignals::requested())
        run.problem(Sentence::kStoppedWrittenStays);
    return run.exitStatus();
}

void SetUp(OptionSet& arguments, RunVerb& run) {
    const auto options = std::make_shared<GetOptions>();
    AddViewOptions(arguments, options->view, Sentence::kHelpGetTree);
    arguments.add("PATH", options->paths, Sentence::kHelpGetPaths).required();
    arguments.add("-o,--output", options->target, Sentence::kHelpGetOutput).showDefault();
    arguments.add("-m,--mode", options->mode, Sentence::kHelpGetMode)
        .oneOf(WordsOf(kModes))
        .showDefault();
    arguments.add("-n,--naming", options->naming, Sentence::kHelpNaming).oneOf(WordsOf(kNamings));
    arguments.add("--fonts", options->fonts, Sentence::kHelpGetFonts).oneOf({"ask", "yes", "no"});
    arguments.flag("-f,--force", options->force, Sentence::kHelpForceUnasked);
    arguments.flag(option::kQuietProgress, options->quiet);
    run = [options](CommandContext& context) { return Get(*options, context); };
}

}  // namespace

const Verb kVerbGet = {"get", "cp", Sentence::kSummaryGet,
                       "vellmark get photos.iso \"Holiday/Day 1\" -o Pictures", SetUp};

}  // namespace vellmark
