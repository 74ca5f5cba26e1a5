// The one record of a running program: its settings, its language, its journal, its tables.
#pragma once

#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "containers/signatures.hpp"
#include "session/command_context.hpp"
#include "session/documents.hpp"
#include "session/journal.hpp"
#include "session/settings.hpp"

namespace vellmark {

struct SessionState {
    SessionState(SettingsStore& settingsStore, const Clock& clock)
        : store(settingsStore), journal(clock) {}

    SettingsStore& store;
    Settings settings;
    Journal journal;
    /// Empty until something needs it, see `SignaturesOf`.
    std::optional<SignatureTable> signatures;
    /// What is open, and how it is looked at: `Session` sees to it.
    Documents documents;
};

/// What a command line asks for in place of the settings.
struct SessionChoices {
    std::optional<Language> language = {};
    std::string journal = {};             ///< path, "" for none
    std::vector<std::string> files = {};  ///< what the command reads or makes, never the journal
};

/// Opens a journal, unless its path leads to one of `files`, which the command works on. False
/// after a message.
[[nodiscard]] bool OpenJournal(const std::string& path, std::span<const std::string> files,
                               SessionState& state, CommandContext& context);

/// The language of a locale's name, such as `fr_FR.UTF-8`.
[[nodiscard]] Language LanguageOf(std::string_view locale);

/// The language to speak: the choice, else that of the settings, else that of the locale.
[[nodiscard]] Language SpokenLanguage(std::optional<Language> choice,
                                      const CommandContext& context);

/// Runs something in a session: settles the language, reads the settings, opens the journal that
/// was chosen or that the settings want opened, and closes it afterwards. The first run writes the
/// generic extension; nothing else is saved. A journal that was chosen and cannot be opened ends
/// the run with a message, one of the settings is reported and done without.
[[nodiscard]] int RunInSession(const SessionChoices& choices, CommandContext& context,
                               const std::function<int(CommandContext& context)>& run);

}  // namespace vellmark
