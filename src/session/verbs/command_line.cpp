#include <fmt/core.h>
#include <CLI/CLI.hpp>

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "session/options.hpp"
#include "session/session_state.hpp"
#include "session/verbs/parser_words.hpp"
#include "session/verbs/verbs.hpp"
#include "support/encoding.hpp"

namespace vellmark {

namespace {

// In the order in which the help lists them.
const std::array kVerbs = {&kVerbMake,      &kVerbNew,
                           &kVerbAdd,       &kVerbCheck,
                           &kVerbRebuild,   &kVerbPath,
                           &kVerbDsStore,   &kVerbBuild,
                           &kVerbInfo,      &kVerbLs,
                           &kVerbTree,      &kVerbFind,
                           &kVerbDump,      &kVerbAnalyse,
                           &kVerbResources, &kVerbAlias,
                           &kVerbGet,       &kVerbPut,
                           &kVerbMkdir,     &kVerbRm,
                           &kVerbMv,        &kVerbRename,
                           &kVerbLabel,     &kVerbAttr,
                           &kVerbSwap,      &kVerbReplaceSignature,
                           &kVerbFormat,    &kVerbExpand,
                           &kVerbJoin,      &kVerbSplit,
                           &kVerbSig,       &kVerbConfig};

// Usual in other programs, and quickly typed.
constexpr std::string_view kHelpVerb = "help";

constexpr std::string_view kLanguageOption = "--lang";
constexpr std::string_view kJournalOption = "--log";
constexpr std::string_view kLanguageEquals = "--lang=";
constexpr std::string_view kEnglish = "en";
constexpr std::string_view kFrench = "fr";

std::optional<Language> LanguageNamed(std::string_view word) {
    return word.empty() ? std::nullopt
                        : std::optional(word == kFrench ? Language::French : Language::English);
}

// The options in front of the verb.
struct ProgramOptions {
    std::string language;
    std::string journal;

    [[nodiscard]] SessionChoices choices(std::vector<std::string> files) const {
        return {LanguageNamed(language), journal, std::move(files)};
    }
};

void AddProgramOptions(OptionSet arguments, ProgramOptions& options) {
    arguments.add(kLanguageOption, options.language, Sentence::kHelpLanguage)
        .oneOf({std::string(kEnglish), std::string(kFrench)});
    arguments.add(kJournalOption, options.journal, Sentence::kHelpLog);
}

// The arguments with the language in front of the verb, which is where the parser knows it: a
// person adds `--lang fr` to what was typed before.
std::vector<std::string> WithLanguageFirst(std::span<const std::string> arguments) {
    std::vector<std::string> first;
    std::vector<std::string> others;
    for (std::size_t i = 0; i < arguments.size(); ++i)
        if (arguments[i] == "--") {
            others.insert(others.end(), arguments.begin() + static_cast<std::ptrdiff_t>(i),
                          arguments.end());
            break;
        } else if (arguments[i].starts_with(kLanguageEquals)) {
            first.push_back(arguments[i]);
        } else if (arguments[i] == kLanguageOption && i + 1 < arguments.size()) {
            first.insert(first.end(), {arguments[i], arguments[i + 1]});
            ++i;
        } else {
            others.push_back(arguments[i]);
        }
    first.insert(first.end(), others.begin(), others.end());
    return first;
}

// Where the verb stands.
std::size_t VerbPlace(std::span<const std::string> arguments) {
    std::size_t at = 0;
    while (at < arguments.size() && arguments[at].starts_with("--l"))
        at += arguments[at] == kLanguageOption || arguments[at] == kJournalOption ? 2 : 1;
    return at;
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
Reason NoVerbReason(std::span<const std::string> arguments, const CLI::ParseError& error,
                    Language language) {
    if (const std::size_t at = VerbPlace(arguments); at < arguments.size())
        return Reason(Sentence::kNoSuchVerb, Printable(arguments[at]));
    return dynamic_cast<const CLI::RequiredError*>(&error) ? Reason(Sentence::kVerbMissing)
                                                           : ParserReason(error.what(), language);
}

CLI::App* AddVerb(CLI::App& app, const Verb& verb, Language language) {
    CLI::App* added = app.add_subcommand(std::string(verb.name),
                                         std::string(SentenceText(verb.summary, language)));
    SetHelpOption(*added, language);
    if (!verb.alias.empty())
        added->alias(std::string(verb.alias));
    added->footer(Reason(Sentence::kHelpExample, verb.example).words(language));
    return added;
}

// `help VERB` means `VERB --help`.
void ReplaceHelpVerb(std::vector<std::string>& arguments) {
    const std::size_t at = VerbPlace(arguments);
    if (at >= arguments.size() || arguments[at] != kHelpVerb)
        return;
    arguments.erase(arguments.begin() + static_cast<std::ptrdiff_t>(at));
    arguments.emplace_back("--help");
}

}  // namespace

std::string TryHelp(std::string_view verb, Language language) {
    const std::string help = fmt::format("vellmark {}{}--help", verb, verb.empty() ? "" : " ");
    return Reason(Sentence::kTryHelp, help).words(language);
}

int UsageError(CommandContext& context, std::string_view verb, const Reason& reason) {
    context.errors << "vellmark: " << reason.words(context.language) << '\n'
                   << TryHelp(verb, context.language) << '\n';
    return kExitUsage;
}

std::optional<Language> ChosenLanguage(std::span<const std::string> arguments) {
    std::string_view word;
    for (std::size_t i = 0; i < arguments.size() && arguments[i] != "--"; ++i)
        if (arguments[i] == kLanguageOption && i + 1 < arguments.size())
            word = arguments[++i];
        else if (arguments[i].starts_with(kLanguageEquals))
            word = std::string_view(arguments[i]).substr(kLanguageEquals.size());
    return word == kFrench || word == kEnglish ? LanguageNamed(word) : std::nullopt;
}

bool IsVerbOrOption(std::string_view argument) {
    return argument.starts_with("--") || argument == "-h" || argument == kHelpVerb ||
           std::any_of(kVerbs.begin(), kVerbs.end(), [&](const Verb* verb) {
               return argument == verb->name || (!verb->alias.empty() && argument == verb->alias);
           });
}

int RunVerbs(std::span<const std::string> given, CommandContext& context) {
    std::vector<std::string> arguments = WithLanguageFirst(given);
    const Language language = SpokenLanguage(ChosenLanguage(arguments), context);
    context.language = language;
    CLI::App app(std::string(SentenceText(Sentence::kProgramSummary, language)), "vellmark");
    SetParserLanguage(app, language);
    app.require_subcommand(1);
    ProgramOptions program;
    AddProgramOptions(OptionSet(app, language), program);
    std::array<RunVerb, kVerbs.size()> runs;
    std::array<CLI::App*, kVerbs.size()> apps{};
    for (std::size_t i = 0; i < kVerbs.size(); ++i) {
        const Verb& verb = *kVerbs[i];
        apps[i] = AddVerb(app, verb, language);
        OptionSet options(*apps[i], language);
        verb.setUp(options, runs[i]);
    }
    ReplaceHelpVerb(arguments);
    try {
        // The parser wants the last argument first.
        std::vector<std::string> parsed(arguments.size());
        std::transform(arguments.rbegin(), arguments.rend(), parsed.begin(), ParserArgument);
        app.parse(std::move(parsed));
    } catch (const CLI::Success& wanted) {
        return app.exit(wanted, context.output, context.errors);
    } catch (const CLI::ParseError& error) {
        std::string_view name;
        for (std::size_t i = 0; i < kVerbs.size(); ++i)
            name = apps[i]->parsed() ? kVerbs[i]->name : name;
        return UsageError(context, name,
                          name.empty() ? NoVerbReason(arguments, error, language)
                                       : ParserReason(error.what(), language));
    }
    for (std::size_t i = 0; i < kVerbs.size(); ++i)
        if (apps[i]->parsed())
            return RunInSession(program.choices(FilesOf(*apps[i])), context, runs[i]);
    return kExitUsage;
}

}  // namespace vellmark
