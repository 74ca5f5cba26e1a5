#include <fmt/core.h>
#include <CLI/CLI.hpp>

#include <algorithm>
#include <array>
#include <vector>

#include "session/session_state.hpp"
#include "session/verbs/verbs.hpp"
#include "support/encoding.hpp"

namespace vellmark {

namespace {

// In the order in which the help lists them.
const std::array kVerbs = {&kVerbMake,   &kVerbNew,     &kVerbAdd,
                           &kVerbCheck,  &kVerbRebuild, &kVerbPath,
                           &kVerbBuild,  &kVerbInfo,    &kVerbLs,
                           &kVerbTree,   &kVerbFind,    &kVerbGet,
                           &kVerbPut,    &kVerbMkdir,   &kVerbRm,
                           &kVerbMv,     &kVerbRename,  &kVerbLabel,
                           &kVerbAttr,   &kVerbSwap,    &kVerbReplaceSignature,
                           &kVerbFormat, &kVerbExpand,  &kVerbJoin,
                           &kVerbSplit,  &kVerbSig,     &kVerbConfig};

// Usual in other programs, and quickly typed.
constexpr std::string_view kHelpVerb = "help";

constexpr std::string_view kFrench = "fr";

// The options in front of the verb.
struct ProgramOptions {
    std::string language;
    std::string journal;

    [[nodiscard]] SessionChoices choices(std::vector<std::string> files) const {
        return {language.empty()
                    ? std::nullopt
                    : std::optional(language == kFrench ? Language::French : Language::English),
                journal, std::move(files)};
    }
};

void AddProgramOptions(CLI::App& app, ProgramOptions& options) {
    app.add_option("--lang", options.language, "Language of the messages: en or fr")
        ->check(CLI::IsMember(std::vector<std::string>{"en", std::string(kFrench)}));
    app.add_option("--log", options.journal, "File that messages and steps are added to");
}

// The files that a verb works on, under the names that verbs have for them.
std::vector<std::string> FilesOf(CLI::App& app) {
    std::vector<std::string> files;
    for (const char* name : {"IMAGE", "PROJECT", "TARGET", "VOLUME", "--output"})
        if (const CLI::Option* option = app.get_option_no_throw(name);
            option && option->count() > 0)
            files.push_back(option->as<std::string>());
    return files;
}

// What is wrong where no verb was understood.
std::string NoVerbSentence(std::span<const std::string> arguments, const CLI::ParseError& error) {
    std::size_t at = 0;
    while (at < arguments.size() && arguments[at].starts_with("--l"))
        at += arguments[at] == "--lang" || arguments[at] == "--log" ? 2 : 1;
    if (at < arguments.size())
        return fmt::format("{} is no verb and no option.", Printable(arguments[at]));
    return dynamic_cast<const CLI::RequiredError*>(&error) ? "A verb is missing." : error.what();
}

}  // namespace

int UsageError(CommandContext& context, std::string_view verb, std::string_view sentence) {
    context.errors << "vellmark: " << sentence << "\nTry: vellmark " << verb
                   << (verb.empty() ? "" : " ") << "--help\n";
    return kExitUsage;
}

bool IsVerbOrOption(std::string_view argument) {
    return argument.starts_with("--") || argument == "-h" || argument == kHelpVerb ||
           std::any_of(kVerbs.begin(), kVerbs.end(), [&](const Verb* verb) {
               return argument == verb->name || (!verb->alias.empty() && argument == verb->alias);
           });
}

int RunVerbs(std::span<const std::string> arguments, CommandContext& context) {
    CLI::App app("Builds and edits Macintosh and hybrid CD-ROM images.", "vellmark");
    app.set_version_flag("--version", "vellmark " VELLMARK_VERSION);
    app.require_subcommand(1);
    ProgramOptions program;
    AddProgramOptions(app, program);
    std::array<RunVerb, kVerbs.size()> runs;
    std::array<CLI::App*, kVerbs.size()> apps{};
    for (std::size_t i = 0; i < kVerbs.size(); ++i) {
        const Verb& verb = *kVerbs[i];
        apps[i] = app.add_subcommand(std::string(verb.name), std::string(verb.summary));
        if (!verb.alias.empty())
            apps[i]->alias(std::string(verb.alias));
        apps[i]->footer("Example:\n  " + std::string(verb.example));
        OptionSet options(*apps[i]);
        verb.setUp(options, runs[i]);
    }
    // The parser wants the last argument first.
    std::vector<std::string> reversed(arguments.rbegin(), arguments.rend());
    if (!reversed.empty() && reversed.back() == kHelpVerb) {
        reversed.pop_back();
        reversed.insert(reversed.begin(), "--help");
    }
    try {
        app.parse(reversed);
    } catch (const CLI::Success& wanted) {
        return app.exit(wanted, context.output, context.errors);
    } catch (const CLI::ParseError& error) {
        std::string_view name;
        for (std::size_t i = 0; i < kVerbs.size(); ++i)
            name = apps[i]->parsed() ? kVerbs[i]->name : name;
        return UsageError(
            context, name,
            name.empty() ? NoVerbSentence(arguments, error) : std::string(error.what()));
    }
    for (std::size_t i = 0; i < kVerbs.size(); ++i)
        if (apps[i]->parsed())
            return RunInSession(program.choices(FilesOf(*apps[i])), context, runs[i]);
    return kExitUsage;
}

}  // namespace vellmark
