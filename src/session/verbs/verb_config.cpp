#include <fmt/format.h>

#include <algorithm>
#include <bit>
#include <filesystem>
#include <memory>

#include "session/session_state.hpp"
#include "session/signature_file.hpp"
#include "session/verbs/image_verbs.hpp"
#include "session/verbs/verbs.hpp"
#include "support/encoding.hpp"
#include "support/pc_folder.hpp"

namespace vellmark {

namespace {

constexpr std::string_view kName = "config";

// A word for a value as it is kept.
struct Word {
    std::string_view word;
    std::uint32_t value;
};
constexpr Word kOnOff[] = {{"off", 0}, {"on", 1}};
constexpr Word kLanguages[] = {{"en", 0}, {"fr", 1}};
constexpr Word kOffOn[] = {{"on", 0}, {"off", 1}};  // bits that forbid what their names say
constexpr Word kModes[] = {{"project", 0}, {"partition", 1}, {"isoplus", 2}};
// 0 stands for the first of them too, with nothing chosen.
constexpr Word kNamings[] = {{"extension", 1}, {"ask", 2}, {"catalog", 4}, {"append", 6}};

enum class Kind { Words, Bits, Extension, JournalPath, SignaturePath };

struct Row {
    std::string_view name;
    Kind kind;
    std::string_view key;
    std::uint32_t mask;           // of Bits
    std::span<const Word> words;  // of Words and Bits
    std::string_view summary;
};

constexpr Row kRows[] = {
    {"language", Kind::Words, setting::kLanguage, 0, kLanguages, "language of the messages"},
    {"extension", Kind::Extension, setting::kExtension, 0, {}, "what unidentified files get"},
    {"naming", Kind::Bits, setting::kOptions, kOptionNamingMask, kNamings,
     "names of files that are copied to the PC; get keeps them until this is set"},
    {"shorten-names", Kind::Bits, setting::kOptions, kOptionShortenImported, kOnOff,
     "shorten long names on a volume without asking"},
    {"added-crc", Kind::Bits, setting::kOptions, kOptionAddedCrc, kOnOff,
     "a checksum where a shortened name is taken"},
    {"extend-unknown", Kind::Bits, setting::kOptions, kOptionExtendUnknown, kOnOff,
     "files of an unknown type get the generic extension"},
    {"tool-bar", Kind::Bits, setting::kOptions, kOptionHideToolBar, kOffOn,
     "show the window's tool bar"},
    {"show-hidden", Kind::Bits, setting::kOptions, kOptionShowHidden, kOnOff,
     "show hidden files of the PC in the window"},
    {"delete-silently", Kind::Bits, setting::kOptions, kOptionDeleteSilently, kOnOff,
     "delete folders that are not empty without asking"},
    {"keep-mode", Kind::Bits, setting::kVlOptions, kVlKeepMode, kOnOff,
     "the window starts in its last working mode"},
    {"last-mode", Kind::Bits, setting::kVlOptions, kVlModeMask, kModes, "that mode"},
    {"shorten-views", Kind::Bits, setting::kVlOptions, kVlShortenNames, kOnOff,
     "shorten long names in a project without asking"},
    {"backup", Kind::Bits, setting::kVlOptions, kVlNoBackup, kOffOn,
     "keep a backup copy of a project that changes"},
    {"open-root", Kind::Bits, setting::kVlOptions, kVlOpenRoot, kOnOff,
     "new projects and joined discs open their root's window on a Macintosh"},
    {"new-hfsplus", Kind::Bits, setting::kVlOptions, kVlNewHfsPlus, kOnOff,
     "new projects and images are HFS+"},
    {"start-hfsplus", Kind::Bits, setting::kVlOptions, kVlStartHfsPlus, kOnOff,
     "the window takes HFS+ for meant before anything is open"},
    {"new-rebuild", Kind::Bits, setting::kVlOptions, kVlRebuild, kOnOff,
     "new projects are brought up to date before each build"},
    {"journal", Kind::JournalPath, setting::kJournal, 0, {}, "path of the journal"},
    {"open-journal", Kind::Bits, setting::kVlOptions, kVlOpenJournal, kOnOff,
     "add to the journal in every run"},
    {"signatures", Kind::SignaturePath, setting::kSignatures, 0, {}, "path of the signature table"},
};

std::uint32_t BitsOf(const Row& row, const Settings& settings) {
    const std::uint32_t all = row.key == setting::kOptions ? settings.options : settings.vlOptions;
    return (all & row.mask) >> std::countr_zero(row.mask);
}

std::string WordOf(const Row& row, std::uint32_t value) {
    const auto word = std::ranges::find(row.words, value, &Word::value);
    return std::string((word == row.words.end() ? row.words.front() : *word).word);
}

std::string ValueOf(const Row& row, const SessionState& state) {
    switch (row.kind) {
        case Kind::Words:
            return state.settings.language
                       ? WordOf(row, *state.settings.language == Language::French ? 1 : 0)
                       : "";
        case Kind::Bits:
            return WordOf(row, BitsOf(row, state.settings));
        case Kind::Extension:
            return state.settings.extension;
        case Kind::JournalPath:
            return state.settings.journal;
        case Kind::SignaturePath:
            break;
    }
    return OpenRegisteredSigFile(state.store);
}

struct ConfigOptions {
    std::string action = "list";
    std::string name;
    std::string value;
    bool hasName = false;
    bool hasValue = false;
};

std::string NamesOf(std::span<const Word> words) {
    std::string names;
    for (const Word& word : words)
        names.append(names.empty() ? "" : ", ").append(word.word);
    return names;
}

// The value as it is kept, or why it cannot be one.
struct Checked {
    std::string text;
    std::string refusal;
};

Checked CheckWord(const Row& row, const std::string& value, const Settings& settings) {
    const auto word = std::ranges::find(row.words, value, &Word::word);
    if (word == row.words.end())
        return {{},
                fmt::format("{} is no value of {}; it can be: {}.", Printable(value), row.name,
                            NamesOf(row.words))};
    if (row.kind == Kind::Words)
        return {fmt::to_string(word->value), {}};
    const std::uint32_t all = row.key == setting::kOptions ? settings.options : settings.vlOptions;
    return {fmt::to_string((all & ~row.mask) | (word->value << std::countr_zero(row.mask))), {}};
}

// The current folder is another one in the next run.
Checked CheckPath(const Row& row, const std::string& value) {
    if (value.empty())
        return {};
    std::string reason;
    if (row.kind == Kind::SignaturePath && !ReadSigFile(value, reason))
        return {
            {},
            fmt::format("{} cannot be read as a signature table: {}.", Printable(value), reason)};
    const PcKind kind = PcFactsOf(value).kind;
    if (kind == PcKind::Folder || kind == PcKind::Special)
        return {{}, fmt::format("{} is no file.", Printable(value))};
    std::error_code error;
    const std::string full = std::filesystem::absolute(value, error).string();
    return {full, error ? error.message() : ""};
}

Checked Check(const Row& row, const std::string& value, const Settings& settings) {
    switch (row.kind) {
        case Kind::Words:
        case Kind::Bits:
            return CheckWord(row, value, settings);
        case Kind::Extension:
            break;
        case Kind::JournalPath:
        case Kind::SignaturePath:
            return CheckPath(row, value);
    }
    if (value.empty() || CutExtension(value) != value || value.find('/') != std::string::npos)
        return {{},
                fmt::format("{} is no extension: it has one to four characters, and no /.",
                            value.empty() ? "An empty text" : Printable(value))};
    return {value, {}};
}

const Row* RowNamed(std::string_view name) {
    const auto* row = std::ranges::find(kRows, name, &Row::name);
    return row == std::end(kRows) ? nullptr : row;
}

std::string UnknownName(const std::string& name) {
    std::string names;
    for (const Row& row : kRows)
        names.append(names.empty() ? "" : ", ").append(row.name);
    return fmt::format("{} is no setting; there are: {}.", Printable(name), names);
}

int List(ViewRun& run) {
    for (const Row& row : kRows)
        if (!run.put(fmt::format("{:<15}  {:<9}  {}\n", row.name,
                                 Printable(ValueOf(row, *run.context.session)), row.summary)))
            break;
    return run.exitStatus();
}

int Set(ViewRun& run, const Row& row, const std::string& value) {
    SessionState& state = *run.context.session;
    const Checked checked = Check(row, value, state.settings);
    if (!checked.refusal.empty())
        return UsageError(run.context, kName, checked.refusal);
    if (const std::string reason = state.store.write(row.key, checked.text); !reason.empty())
        run.problem(fmt::format("The setting cannot be kept: {}.", reason));
    return run.exitStatus();
}

int Config(const ConfigOptions& options, CommandContext& context) {
    const StopSignals signals;
    ViewRun run(context, false);
    const bool set = options.action == "set";
    if (options.hasName != (options.action != "list") || options.hasValue != set)
        return UsageError(context, kName,
                          fmt::format("{} takes {}.", options.action,
                                      set                        ? "a name and a value"
                                      : options.action == "list" ? "no name"
                                                                 : "a name alone"));
    if (options.action == "list")
        return List(run);
    const Row* row = RowNamed(options.name);
    if (!row)
        return UsageError(context, kName, UnknownName(options.name));
    if (set)
        return Set(run, *row, options.value);
    (void)run.put(Printable(ValueOf(*row, *context.session)) + "\n");
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
