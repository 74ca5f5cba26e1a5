#include <nlohmann/json.hpp>

#include <memory>

#include "project/project_search.hpp"
#include "project/rebuild.hpp"
#include "session/file_modes.hpp"
#include "session/json_text.hpp"
#include "session/project_options.hpp"
#include "session/terminal.hpp"
#include "session/verbs/verbs.hpp"
#include "support/encoding.hpp"
#include "support/targets.hpp"

namespace vellmark {

namespace {

constexpr std::string_view kName = "check";
constexpr int kTextNoDifference = 1338;

struct CheckVerbOptions {
    std::string project;
    bool json = false;
    bool lines = false;
    bool noAdditions = false;
    bool dates = false;
};

// The word of a change for a script, whatever the language.
std::string_view KeyOf(ChangeKind kind) {
    return kind == ChangeKind::Deleted    ? "deleted"
           : kind == ChangeKind::Modified ? "modified"
                                          : "added";
}

void PutJson(const ProjectFile& project, const std::vector<ProjectChange>& changes,
             CommandContext& context) {
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (const ProjectChange& change : changes)
        list.push_back({{"change", KeyOf(change.kind)},
                        {"kind", change.isFolder ? "folder" : "file"},
                        {"item", ItemPath(project, change.parent, change.name)},
                        {"path", change.path},
                        {"sizeBytes", change.sizeBytes},
                        {"folder", change.parent},
                        {"number", change.number}});
    context.output << JsonText(list) << '\n';
}

void PutText(const std::vector<ProjectChange>& changes, const CheckVerbOptions& options,
             bool isWhole, CommandContext& context) {
    for (const ProjectChange& change : changes)
        if (options.lines)
            context.output << NarrowToUtf8(ReportLine(change));
        else
            context.output << ChangeLine(change).words(context.language) << '\n';
    if (changes.empty() && isWhole && !options.lines)
        context.output << Text(kTextNoDifference, context.language) << '\n';
}

int RunCheck(const CheckVerbOptions& options, CommandContext& context) {
    if (options.json && options.lines)
        return UsageError(context, kName, Sentence::kJsonOrLines);
    const StopSignals signals;
    Terminal terminal(context, TerminalOptionsOf(context, false));
    Messages& messages = terminal.messages;
    std::optional<ProjectFile> project;
    if (ProjectFile::Open(FollowLink(options.project), ProjectModeOf(options.project), messages,
                          project,
                          {LockKind::Shared, context.guard.lockWaitMs}) != ProjectOpened::Opened)
        return kExitFailed;
    const std::vector<PcIdentity> never = NeverItems(*project, {}, JournalOf(context));
    const CheckResult result = Check(*project, kRootFolder,
                                     {.clock = context.clock,
                                      .additions = !options.noAdditions,
                                      .rootAdditions = !options.noAdditions,
                                      .dates = options.dates,
                                      .excluded = never},
                                     messages, terminal.progress);
    terminal.progress.clear();
    if (result.isStopped) {
        messages.showMessage(Sentence::kStoppedUntold);
        return kExitFailed;
    }
    TellMissingRoots(*project, result.missingRoots, messages);
    if (options.json)
        PutJson(*project, result.changes, context);
    else
        PutText(result.changes, options, result.isWhole(), context);
    return result.foundNothing() ? kExitDone : kExitSkipped;
}

void SetUp(OptionSet& arguments, RunVerb& run) {
    const auto options = std::make_shared<CheckVerbOptions>();
    arguments.add(option::kProject, options->project).required();
    arguments.flag(option::kNoAdditions, options->noAdditions);
    arguments.flag(option::kDates, options->dates);
    arguments.flag(option::kJson, options->json);
    arguments.flag("--lines", options->lines, Sentence::kHelpLines);
    run = [options](CommandContext& context) { return RunCheck(*options, context); };
}

}  // namespace

const Verb kVerbCheck = {kName, "", Sentence::kSummaryCheck, "vellmark check disc.vlpr", SetUp};

}  // namespace vellmark
