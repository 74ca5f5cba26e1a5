#include "session/session_state.hpp"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "session/exit_status.hpp"
#include "session/terminal.hpp"
#include "support/pc_folder.hpp"
#include "support/sentences.hpp"

namespace vellmark {

namespace {

// Whether two paths lead to the same file, be it there or still to be made.
bool AreSamePath(const std::string& a, const std::string& b) {
    std::error_code error;
    return AreSameFile(a, b) || std::filesystem::absolute(a, error).lexically_normal() ==
                                    std::filesystem::absolute(b, error).lexically_normal();
}

void ReadSettings(const SessionChoices& choices, SessionState& state, CommandContext& context) {
    if (state.store.read(setting::kExtension).value_or("").empty())
        state.store.write(setting::kExtension, Settings{}.extension);
    state.settings = LoadSettings(state.store);
    context.language = SpokenLanguage(choices.language, context);
}

}  // namespace

bool OpenJournal(const std::string& path, std::span<const std::string> files, SessionState& state,
                 CommandContext& context) {
    const bool isTaken = std::any_of(files.begin(), files.end(), [&](const std::string& file) {
        return AreSamePath(file, path);
    });
    const Reason reason = isTaken ? Reason(Sentence::kJournalIsWorkedOn) : state.journal.open(path);
    if (!reason)
        return true;
    Terminal terminal(context, {});
    FileOpenError(terminal.messages, path, reason);
    return false;
}

Language LanguageOf(std::string_view locale) {
    constexpr std::string_view kFrench = "fr";
    // `frr` and `frp` are other languages.
    return locale.starts_with(kFrench) &&
                   (locale.size() == kFrench.size() ||
                    std::string_view("_.@-").find(locale[kFrench.size()]) != std::string_view::npos)
               ? Language::French
               : Language::English;
}

Language SpokenLanguage(std::optional<Language> choice, const CommandContext& context) {
    if (!choice && context.settings)
        choice = LoadSettings(*context.settings).language;
    return choice.value_or(LanguageOf(context.locale));
}

int RunInSession(const SessionChoices& choices, CommandContext& context,
                 const std::function<int(CommandContext& context)>& run) {
    MemorySettings none;
    SessionState state(context.settings ? *context.settings : none, context.clock);
    ReadSettings(choices, state, context);
    context.session = &state;
    int status = kExitFailed;
    if (choices.journal.empty()) {
        if (state.settings.has(kVlOpenJournal) && !state.settings.journal.empty())
            (void)OpenJournal(state.settings.journal, choices.files, state, context);
        status = run(context);
    } else if (OpenJournal(choices.journal, choices.files, state, context)) {
        state.journal.mark();
        status = run(context);
    }
    state.journal.close();
    context.session = nullptr;
    return status;
}

}  // namespace vellmark
