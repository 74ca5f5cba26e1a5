#include <fmt/format.h>

#include <memory>

#include "session/session_state.hpp"
#include "session/setting_rows.hpp"
#include "session/verbs/image_verbs.hpp"
#include "session/verbs/verbs.hpp"
#include "support/encoding.hpp"

namespace vellmark {

namespace {

constexpr std::string_view kName = "config";

struct ConfigOptions {
    std::string action = "list";
    std::string name;
    std::string value;
    bool hasName = false;
    bool hasValue = false;
};

// What speaks against the arguments.
Reason Refusal(const ConfigOptions& options) {
    const bool set = options.action == "set";
    const bool list = options.action == "list";
    if (options.hasName != !list || options.hasValue != set)
        return Reason(set    ? Sentence::kConfigNameAndValue
                      : list ? Sentence::kConfigNoName
                             : Sentence::kConfigNameAlone,
                      options.action);
    if (list || SettingRowOf(options.name))
        return {};
    std::string names;
    for (const SettingRow& row : SettingRows())
        names.append(names.empty() ? "" : ", ").append(row.name);
    return Reason(Sentence::kConfigNoSetting, Printable(options.name), names);
}

std::string ShownValue(const SettingRow& row, const SessionState& state) {
    return Printable(SettingValue(row, state.settings, state.store));
}

int List(ViewRun& run) {
    for (const SettingRow& row : SettingRows())
        if (!run.put(fmt::format("{:<15}  {:<9}  {}\n", row.name,
                                 ShownValue(row, *run.context.session),
                                 SentenceText(row.summary, run.context.language))))
            break;
    return run.exitStatus();
}

int Set(ViewRun& run, const SettingRow& row, const std::string& value) {
    SessionState& state = *run.context.session;
    const Result<std::string> text = SettingText(row, value, state.settings);
    if (!text)
        return UsageError(run.context, kName, text.error());
    if (const Reason reason = state.store.write(row.key, *text))
        run.problem(Reason(Sentence::kSettingNotKept, reason));
    return run.exitStatus();
}

int Config(const ConfigOptions& options, CommandContext& context) {
    const StopSignals signals;
    ViewRun run(context, false);
    if (const Reason refusal = Refusal(options))
        return UsageError(context, kName, refusal);
    if (options.action == "list")
        return List(run);
    const SettingRow& row = *SettingRowOf(options.name);
    if (options.action == "set")
        return Set(run, row, options.value);
    (void)run.put(ShownValue(row, *context.session) + "\n");
    return run.exitStatus();
}

void SetUp(OptionSet& arguments, RunVerb& run) {
    const auto options = std::make_shared<ConfigOptions>();
    arguments.add("ACTION", options->action, Sentence::kHelpConfigAction)
        .oneOf({"list", "get", "set"});
    const Option name = arguments.add("NAME", options->name, Sentence::kHelpConfigName);
    const Option value = arguments.add("VALUE", options->value, Sentence::kHelpConfigValue);
    run = [options, name, value](CommandContext& context) {
        options->hasName = name.wasGiven();
        options->hasValue = value.wasGiven();
        return Config(*options, context);
    };
}

}  // namespace

const Verb kVerbConfig = {kName, "", Sentence::kSummaryConfig, "vellmark config set language fr",
                          SetUp};

}  // namespace vellmark
