// The command line: one verb a job, each in a file of its own with its options, help, example and
// run function.
#pragma once

#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "session/command_context.hpp"
#include "session/exit_status.hpp"
#include "session/options.hpp"
#include "support/sentences.hpp"

namespace vellmark {

/// What a verb does once its options are read; an exit status.
using RunVerb = std::function<int(CommandContext& context)>;

struct Verb {
    std::string_view name;
    std::string_view alias;    ///< a shorter or more familiar name, "" for none
    Sentence summary;          ///< one line of help
    std::string_view example;  ///< a command line
    /// Declares the options and hands over what to run.
    void (*setUp)(OptionSet& arguments, RunVerb& run);
};

extern const Verb kVerbAdd;
extern const Verb kVerbAlias;
extern const Verb kVerbAnalyse;
extern const Verb kVerbAttr;
extern const Verb kVerbBuild;
extern const Verb kVerbCheck;
extern const Verb kVerbConfig;
extern const Verb kVerbDsStore;
extern const Verb kVerbDump;
extern const Verb kVerbExpand;
extern const Verb kVerbFind;
extern const Verb kVerbFormat;
extern const Verb kVerbGet;
extern const Verb kVerbInfo;
extern const Verb kVerbJoin;
extern const Verb kVerbLabel;
extern const Verb kVerbLs;
extern const Verb kVerbMake;
extern const Verb kVerbMkdir;
extern const Verb kVerbMv;
extern const Verb kVerbNew;
extern const Verb kVerbPath;
extern const Verb kVerbPut;
extern const Verb kVerbRebuild;
extern const Verb kVerbRename;
extern const Verb kVerbReplaceSignature;
extern const Verb kVerbResources;
extern const Verb kVerbRm;
extern const Verb kVerbSig;
extern const Verb kVerbSplit;
extern const Verb kVerbSwap;
extern const Verb kVerbTree;

/// Whether the first argument is for `RunVerbs`: a verb, or an option that none of them owns.
[[nodiscard]] bool IsVerbOrOption(std::string_view argument);

/// The language that `--lang` names, wherever it stands; nothing without it or for an unknown one.
[[nodiscard]] std::optional<Language> ChosenLanguage(std::span<const std::string> arguments);

/// Runs a command line of verbs and options; `arguments` without the program's name.
[[nodiscard]] int RunVerbs(std::span<const std::string> arguments, CommandContext& context);

/// Where the help of a verb ("" for all of them) is found, as a line without its end.
[[nodiscard]] std::string TryHelp(std::string_view verb, Language language);

/// Tells on standard error what is wrong with the usage of a verb ("" for all), and where help is
/// found. Returns the exit status for it.
int UsageError(CommandContext& context, std::string_view verb, const Reason& reason);

}  // namespace vellmark
