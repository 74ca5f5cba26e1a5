#include <memory>
#include <vector>

#include "project/include_contents.hpp"
#include "project/rebuild.hpp"
#include "session/file_modes.hpp"
#include "session/project_options.hpp"
#include "session/signature_file.hpp"
#include "session/terminal.hpp"
#include "session/user_options.hpp"
#include "session/verbs/verbs.hpp"
#include "support/encoding.hpp"

namespace vellmark {

namespace {

constexpr std::string_view kName = "add";

struct AddOptions {
    std::string project;
    std::vector<std::string> paths;
    std::string to;
    std::string view = "hybrid";
    std::string containersInIso = "ask";
    std::string exeInHfs = "ask";
    std::string truncate;  ///< empty: as the settings say
    bool quiet = false;
    bool verbose = false;
};

ProjectView ViewOf(const std::string& name) {
    return name == "iso"   ? ProjectView::Iso
           : name == "hfs" ? ProjectView::Hfs
                           : ProjectView::Hybrid;
}

// The answer to a question that an option gives in advance.
RememberedAnswer AnswerOf(const std::string& word, Remembered yes) {
    return {word == "yes" ? yes : word == "no" ? Remembered::NoToAll : Remembered::Ask};
}

InclusionAnswers AnswersOf(const AddOptions& options, bool asks) {
    const RememberedAnswer containers = AnswerOf(options.containersInIso, Remembered::YesToAll);
    // "Yes to all" would keep executables out of the HFS view that they are added to: only a person
    // may say so.
    const std::string& exe = options.exeInHfs == "ask" && !asks ? "yes" : options.exeInHfs;
    return {containers, containers, AnswerOf(exe, Remembered::YesToEach)};
}

int Add(const AddOptions& options, CommandContext& context) {
    const StopSignals signals;
    Terminal terminal(context, TerminalOptionsOf(context, options.quiet));
    Messages& messages = terminal.messages;
    if (ProjectModeOf(options.project) == ProjectMode::IsoPlus &&
        ViewOf(options.view) == ProjectView::Hfs)
        return UsageError(context, kName, Sentence::kIsoPlusHasNoHfs);
    std::optional<ProjectFile> project;
    if (!OpenForChange(options.project, context, messages, project))
        return kExitFailed;
    InclusionOptions inclusion{context.clock, ViewOf(options.view)};
    if (options.truncate == "auto")
        inclusion.truncation = kShortenAll;
    else if (options.truncate.empty())
        inclusion.truncation = OptionsOf(context).shortenInViews;
    inclusion.answers = AnswersOf(options, context.asks);
    inclusion.excluded = OwnFiles(*project, JournalOf(context));
    inclusion.signatureOf = SignatureLookupOf(context, messages);
    const InclusionResult included =
        IncludeContents(*project, {.paths = options.paths, .target = options.to}, inclusion,
                        {messages, terminal.progress, context.clock});
    if (included.status != InclusionStatus::Done)
        return kExitFailed;
    if (included.files + included.folders > 0 && !SaveWithBackup(*project, context, messages))
        return kExitFailed;
    terminal.progress.clear();
    terminal.messages.tellChangedNames(options.verbose);
    if (!options.quiet)
        context.output << messages.words(Reason(Sentence::kItemsAdded, Printable(options.project),
                                                included.folders, included.files))
                       << '\n';
    return included.skipped > 0 ? kExitSkipped : kExitDone;
}

void SetUp(OptionSet& arguments, RunVerb& run) {
    const auto options = std::make_shared<AddOptions>();
    arguments.add(option::kExistingProject, options->project).required();
    arguments.add("PATH", options->paths, Sentence::kHelpAddPaths).required();
    arguments.add("-t,--to", options->to, Sentence::kHelpAddTo);
    arguments.add("--view", options->view, Sentence::kHelpAddView)
        .oneOf({"iso", "hybrid", "hfs"})
        .showDefault();
    arguments.add("--containers-in-iso", options->containersInIso, Sentence::kHelpContainersInIso)
        .oneOf({"ask", "yes", "no"})
        .showDefault();
    arguments.add("--exe-in-hfs", options->exeInHfs, Sentence::kHelpExeInHfs)
        .oneOf({"ask", "yes", "no"})
        .showDefault();
    arguments.add("--truncate", options->truncate, Sentence::kHelpAddTruncate)
        .oneOf({"auto", "ask"});
    arguments.flag(option::kQuiet, options->quiet);
    arguments.flag(option::kVerbose, options->verbose);
    run = [options](CommandContext& context) { return Add(*options, context); };
}

}  // namespace

const Verb kVerbAdd = {kName, "", Sentence::kSummaryAdd,
                       "vellmark add disc.vlpr Photos readme.txt --to \"For everyone\"", SetUp};

}  // namespace vellmark
