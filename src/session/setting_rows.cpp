#include "session/setting_rows.hpp"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <cerrno>
#include <filesystem>
#include <iterator>
#include <system_error>

#include "session/signature_file.hpp"
#include "support/encoding.hpp"
#include "support/pc_folder.hpp"

namespace vellmark {

namespace {

constexpr SettingWord kOnOff[] = {{"off", 0}, {"on", 1}};
constexpr SettingWord kLanguages[] = {{"en", 0}, {"fr", 1}};
constexpr SettingWord kOffOn[] = {{"on", 0}, {"off", 1}};  // bits that forbid what their names say
constexpr SettingWord kModes[] = {{"project", 0}, {"partition", 1}, {"isoplus", 2}};
// 0 stands for the first of them too, with nothing chosen.
constexpr SettingWord kNamings[] = {{"extension", 1}, {"ask", 2}, {"catalog", 4}, {"append", 6}};

constexpr SettingRow kRows[] = {
    {"language", SettingKind::Words, setting::kLanguage, 0, kLanguages, Sentence::kSettingLanguage},
    {"extension", SettingKind::Extension, setting::kExtension, 0, {}, Sentence::kSettingExtension},
    {"naming", SettingKind::Bits, setting::kOptions, kOptionNamingMask, kNamings,
     Sentence::kSettingNaming},
    {"shorten-names", SettingKind::Bits, setting::kOptions, kOptionShortenImported, kOnOff,
     Sentence::kSettingShortenNames},
    {"added-crc", SettingKind::Bits, setting::kOptions, kOptionAddedCrc, kOnOff,
     Sentence::kSettingAddedCrc},
    {"extend-unknown", SettingKind::Bits, setting::kOptions, kOptionExtendUnknown, kOnOff,
     Sentence::kSettingExtendUnknown},
    {"tool-bar", SettingKind::Bits, setting::kOptions, kOptionHideToolBar, kOffOn,
     Sentence::kSettingToolBar},
    {"show-hidden", SettingKind::Bits, setting::kOptions, kOptionShowHidden, kOnOff,
     Sentence::kSettingShowHidden},
    {"delete-silently", SettingKind::Bits, setting::kOptions, kOptionDeleteSilently, kOnOff,
     Sentence::kSettingDeleteSilently},
    {"keep-mode", SettingKind::Bits, setting::kVlOptions, kVlKeepMode, kOnOff,
     Sentence::kSettingKeepMode},
    {"last-mode", SettingKind::Bits, setting::kVlOptions, kVlModeMask, kModes,
     Sentence::kSettingLastMode},
    {"shorten-views", SettingKind::Bits, setting::kVlOptions, kVlShortenNames, kOnOff,
     Sentence::kSettingShortenViews},
    {"backup", SettingKind::Bits, setting::kVlOptions, kVlNoBackup, kOffOn,
     Sentence::kSettingBackup},
    {"open-root", SettingKind::Bits, setting::kVlOptions, kVlOpenRoot, kOnOff,
     Sentence::kSettingOpenRoot},
    {"new-hfsplus", SettingKind::Bits, setting::kVlOptions, kVlNewHfsPlus, kOnOff,
     Sentence::kSettingNewHfsPlus},
    {"start-hfsplus", SettingKind::Bits, setting::kVlOptions, kVlStartHfsPlus, kOnOff,
     Sentence::kSettingStartHfsPlus},
    {"new-rebuild", SettingKind::Bits, setting::kVlOptions, kVlRebuild, kOnOff,
     Sentence::kSettingNewRebuild},
    {"journal", SettingKind::JournalPath, setting::kJournal, 0, {}, Sentence::kSettingJournal},
    {"open-journal", SettingKind::Bits, setting::kVlOptions, kVlOpenJournal, kOnOff,
     Sentence::kSettingOpenJournal},
    {"signatures",
     SettingKind::SignaturePath,
     setting::kSignatures,
     0,
     {},
     Sentence::kSettingSignatures},
    {"icon-composer",
     SettingKind::ProgramPath,
     setting::kIconComposer,
     0,
     {},
     Sentence::kSettingIconComposer},
};

std::uint32_t BitsOf(const SettingRow& row, const Settings& settings) {
    return row.key == setting::kOptions ? settings.options : settings.vlOptions;
}

std::string WordOf(const SettingRow& row, std::uint32_t value) {
    const auto word = std::ranges::find(row.words, value, &SettingWord::value);
    return std::string((word == row.words.end() ? row.words.front() : *word).word);
}

std::string NamesOf(std::span<const SettingWord> words) {
    std::string names;
    for (const SettingWord& word : words)
        names.append(names.empty() ? "" : ", ").append(word.word);
    return names;
}

Result<std::string> TextOfWord(const SettingRow& row, const std::string& value,
                               const Settings& settings) {
    const auto word = std::ranges::find(row.words, value, &SettingWord::word);
    if (word == row.words.end())
        return Failed(Sentence::kSettingNoValue, Printable(value), row.name, NamesOf(row.words));
    if (row.kind == SettingKind::Words)
        return fmt::to_string(word->value);
    return fmt::to_string((BitsOf(row, settings) & ~row.mask) |
                          (word->value << std::countr_zero(row.mask)));
}

// The current folder is another one in the next run.
Result<std::string> TextOfPath(const SettingRow& row, const std::string& value) {
    if (value.empty())
        return value;
    if (row.kind == SettingKind::SignaturePath)
        if (const Result<std::string> bytes = ReadSigFile(value); !bytes)
            return Failed(Sentence::kSettingNoTable, Printable(value), bytes.error());
    if (row.kind == SettingKind::ProgramPath && ::access(value.c_str(), X_OK) != 0)
        return Failed(Sentence::kSettingNoProgram, Printable(value), SystemError{errno});
    const PcKind kind = PcFactsOf(value).kind;
    if (kind == PcKind::Folder || kind == PcKind::Special)
        return Failed(Sentence::kSettingNoFile, Printable(value));
    std::error_code error;
    std::string full = std::filesystem::absolute(value, error).string();
    if (error)
        return Failed(SystemError{error.value()});
    return full;
}

}  // namespace

std::span<const SettingRow> SettingRows() {
    return kRows;
}

const SettingRow* SettingRowOf(std::string_view name) {
    const auto* row = std::ranges::find(kRows, name, &SettingRow::name);
    return row == std::end(kRows) ? nullptr : row;
}

std::string SettingValue(const SettingRow& row, const Settings& settings,
                         const SettingsStore& store) {
    switch (row.kind) {
        case SettingKind::Words:
            return settings.language ? WordOf(row, *settings.language == Language::French ? 1 : 0)
                                     : "";
        case SettingKind::Bits:
            return WordOf(row, (BitsOf(row, settings) & row.mask) >> std::countr_zero(row.mask));
        case SettingKind::Extension:
            return settings.extension;
        case SettingKind::JournalPath:
            return settings.journal;
        case SettingKind::ProgramPath:
            return settings.iconComposer;
        case SettingKind::SignaturePath:
            break;
    }
    return OpenRegisteredSigFile(store);
}

Result<std::string> SettingText(const SettingRow& row, const std::string& value,
                                const Settings& settings) {
    switch (row.kind) {
        case SettingKind::Words:
        case SettingKind::Bits:
            return TextOfWord(row, value, settings);
        case SettingKind::Extension:
            break;
        case SettingKind::JournalPath:
        case SettingKind::ProgramPath:
        case SettingKind::SignaturePath:
            return TextOfPath(row, value);
    }
    if (value.empty())
        return Failed(Sentence::kSettingEmptyExtension);
    if (CutExtension(value) != value || value.find('/') != std::string::npos)
        return Failed(Sentence::kSettingNoExtension, Printable(value));
    return value;
}

}  // namespace vellmark
