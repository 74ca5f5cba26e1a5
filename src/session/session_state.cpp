#include "session/session_state.hpp"

#include "session/terminal.hpp"
#include "session/verbs.hpp"

namespace vellmark {

namespace {

// False after a message.
bool OpenJournal(const std::string& path, SessionState& state, CommandContext& context) {
    const std::string reason = state.journal.open(path);
    if (reason.empty())
        return true;
    Terminal terminal(context, {});
    FileOpenError(terminal.messages, path, reason);
    return false;
}

void ReadSettings(const SessionChoices& choices, SessionState& state, CommandContext& context) {
    if (state.store.read(setting::kExtension).value_or("").empty())
        state.store.write(setting::kExtension, Settings{}.extension);
    state.settings = LoadSettings(state.store);
    context.language =
        choices.language.value_or(state.settings.language.value_or(LanguageOf(context.locale)));
}

}  // namespace

Language LanguageOf(std::string_view locale) {
    return locale.starts_with("fr") ? Language::French : Language::English;
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
            (void)OpenJournal(state.settings.journal, state, context);
        status = run(context);
    } else if (OpenJournal(choices.journal, state, context)) {
        state.journal.mark();
        status = run(context);
    }
    state.journal.close();
    context.session = nullptr;
    return status;
}

}  // namespace vellmark
