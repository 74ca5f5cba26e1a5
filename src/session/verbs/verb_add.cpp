#include <fmt/core.h>

#include <memory>
#include <vector>

#include "project/project_folders.hpp"
#include "session/file_modes.hpp"
#include "session/open_project.hpp"
#include "session/project_rebuild.hpp"
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

// Items of a folder are in the views of the folder: say so when that is not what was asked for.
void TellView(const ProjectFile& project, std::int32_t folder, const AddOptions& options,
              Messages& messages) {
    if (folder == kRootFolder || project.mode() == ProjectMode::IsoPlus ||
        project.folderView(folder) == ViewOf(options.view))
        return;
    const ProjectView view = project.folderView(folder);
    messages.showTimedMessage(fmt::format(
        "The folder {} is in {}: what is added to it is there too.", Printable(options.to),
        view == ProjectView::Iso   ? "the ISO view alone"
        : view == ProjectView::Hfs ? "the HFS view alone"
                                   : "both views"));
}

InclusionResult AddAll(ProjectFile& project, const AddOptions& options, CommandContext& context,
                       Terminal& terminal) {
    const ProjectView view = ViewOf(options.view);
    NewFolderOptions folders{.clock = context.clock, .view = view, .widens = false};
    if (options.truncate == "auto")
        folders.truncation = kShortenAll;
    else if (options.truncate.empty())
        folders.truncation = OptionsOf(context).shortenInViews;
    const std::int32_t folder = NewPathFolder(project, options.to, folders, terminal.messages);
    if (folder == 0)
        return {0, 0, 0, InclusionStatus::NoSuchFolder};
    TellView(project, folder, options, terminal.messages);
    InclusionOptions inclusion{context.clock, view};
    inclusion.truncation = folders.truncation;
    inclusion.answers = AnswersOf(options, context.asks);
    inclusion.excluded = OwnFiles(project, context);
    inclusion.signatureOf = SignatureLookupOf(context, terminal.messages);
    return Include(project, options.paths, folder, inclusion, terminal.messages, terminal.progress);
}

int Add(const AddOptions& options, CommandContext& context) {
    const StopSignals signals;
    Terminal terminal(context, TerminalOptionsOf(context, options.quiet));
    if (ProjectModeOf(options.project) == ProjectMode::IsoPlus &&
        ViewOf(options.view) == ProjectView::Hfs)
        return UsageError(context, kName, "An ISO+ project has no HFS view.");
    std::optional<ProjectFile> project;
    if (!OpenForChange(options.project, context, terminal.messages, project))
        return kExitFailed;
    const InclusionResult included = AddAll(*project, options, context, terminal);
    if (!IsWorthSaving(included, terminal.messages))
        return kExitFailed;
    if (included.files + included.folders > 0) {
        BackUpBeforeChange(*project, context, terminal.messages);
        if (!project->save(terminal.messages))
            return kExitFailed;
    }
    terminal.progress.clear();
    terminal.messages.tellChangedNames(options.verbose);
    if (!options.quiet)
        context.output << fmt::format("{}: {} folders and {} files added\n",
                                      Printable(options.project), included.folders, included.files);
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
