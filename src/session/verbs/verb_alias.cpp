#include <memory>

#include "reading/alias_target.hpp"
#include "session/verbs/inspect_run.hpp"
#include "session/verbs/verbs.hpp"
#include "support/encoding.hpp"
#include "support/sentences.hpp"

namespace vellmark {

namespace {

constexpr std::string_view kName = "alias";

constexpr int kTextAccessPath = 1184;
constexpr int kTextTargetFile = 1185;
constexpr int kTextTargetFolder = 1186;
constexpr int kTextTargetVolume = 1187;
constexpr int kTextNotLoaded = 1194;

struct AliasOptions {
    InspectOptions inspect;
    bool json = false;
};

std::string PathOf(const AliasTarget& target) {
    return target.path.empty() ? "/" : target.path;
}

void PutJson(ViewRun& run, const AliasRecord& alias, const AliasTarget& target) {
    const auto told = [](const std::string& text) {
        return text.empty() ? nlohmann::ordered_json() : nlohmann::ordered_json(text);
    };
    run.putJson({{"volume", alias.volumeName},
                 {"name", alias.targetName},
                 {"folder", told(alias.parentName)},
                 {"path", told(alias.macPath)},
                 {"isFolder", alias.isFolder},
                 {"folderId", alias.parentId},
                 {"id", alias.targetId},
                 {"onThisVolume", target.isOnVolume},
                 {"target", target.item ? told(PathOf(target)) : nlohmann::ordered_json()}});
}

void PutText(ViewRun& run, const AliasRecord& alias, const AliasTarget& target) {
    const Messages& messages = run.terminal.messages;
    const auto line = [&](std::string_view key, const std::string& value) {
        if (!value.empty())
            (void)run.put(messages.words(Reason(Sentence::kNamedReason, std::string(key), value)) +
                          "\n");
    };
    line(messages.text(kTextTargetVolume), Printable(alias.volumeName));
    line(messages.text(kTextTargetFolder), Printable(alias.parentName));
    line(messages.text(kTextTargetFile), Printable(alias.targetName));
    line(messages.text(kTextAccessPath), Printable(alias.macPath));
    line(messages.words(Sentence::kAliasHere), target.item ? Printable(PathOf(target))
                                               : target.isOnVolume
                                                   ? messages.words(Sentence::kAliasTargetGone)
                                                   : messages.words(Sentence::kAliasElsewhere));
}

int Alias(const AliasOptions& options, CommandContext& context) {
    // What a shell makes of a variable that is not set is no file.
    if (options.inspect.path.empty())
        return UsageError(context, kName, Sentence::kGetPathIsEmpty);
    InspectRun inspect(context);
    if (!inspect.open(options.inspect, true))
        return kExitFailed;
    ViewRun& run = inspect.run;
    const auto problem = [&](const Reason& reason) {
        run.problem(Reason(Sentence::kNamedReason, Printable(options.inspect.path), reason));
    };
    const Result<AliasRecord> alias = LoadAliasRecord(*inspect.bytes.source);
    if (!alias) {
        problem(Reason::Joined({ToldText{kTextNotLoaded}, alias.error()}, " "));
        return run.exitStatus();
    }
    if (alias->problem)
        problem(alias->problem);
    const AliasTarget target = FindAliasTarget(
        run.view->volume(), run.view->tree(TreeKind::Hfs)->facts().label, *alias, context.clock);
    if (target.problem)
        problem(target.problem);
    if (options.json)
        PutJson(run, *alias, target);
    else
        PutText(run, *alias, target);
    return run.exitStatus();
}

void SetUp(OptionSet& arguments, RunVerb& run) {
    const auto options = std::make_shared<AliasOptions>();
    arguments.add(option::kImage, options->inspect.view.image).required();
    arguments.add("PATH", options->inspect.path, Sentence::kHelpAliasPath).required();
    arguments.add(option::kPartition, options->inspect.view.partition);
    arguments.flag(option::kJson, options->json);
    run = [options](CommandContext& context) { return Alias(*options, context); };
}

}  // namespace

const Verb kVerbAlias = {kName, "", Sentence::kSummaryAlias,
                         "vellmark alias work.img \"Desktop Folder/Letters alias\"", SetUp};

}  // namespace vellmark
