// The open volume joined to a finished disc, and a joined disc taken apart.
#include "session/join_words.hpp"
#include "session/user_options.hpp"
#include "support/sentences.hpp"
#include "workbench/commands/handlers.hpp"
#include "workbench/dialogs/file_choice.hpp"
#include "workbench/main_window/main_window.hpp"

namespace vellmark {

namespace {

HybridationOutcome Join(TVellmark& window, const std::string& disc, bool force) {
    HybridationOutcome outcome;
    window.runJob(JobKind::Work, [&](Progress& progress) {
        PartitionDocument& partition = *window.documents().partition;
        if (!partition.isReadOnly() && !partition.save(window.context().clock, window.messages()))
            return;
        HybridationOptions options;
        options.opensRoot = OptionsOf(window.state().settings, window.language()).opensRoot;
        options.force = force;
        options.asks = true;
        options.guard = window.context().guard;
        outcome = Hybridate(disc, {partition.path(), partition.openFile()}, options,
                            window.messages(), progress);
    });
    return outcome;
}

}  // namespace

void JoinVolume(TVellmark& window) {
    const std::optional<std::string> disc = AskIsoImage(window);
    if (!disc)
        return;
    HybridationOutcome outcome = Join(window, *disc, false);
    if (outcome.needsForce && window.messages().askYesNo(Reason(Sentence::kJoinAnyway)))
        outcome = Join(window, *disc, true);
    if (outcome.result == HybridationResult::Done)
        window.messages().showMessage(JoinWords(*disc, outcome));
}

void SplitImage(TVellmark& window) {
    const std::optional<std::string> disc = AskIsoImage(window);
    if (!disc)
        return;
    DeshybridationOutcome outcome;
    window.runJob(JobKind::Work, [&](Progress&) {
        outcome = Deshybridate(*disc, window.messages(), window.context().guard);
    });
    if (outcome.result == DeshybridationResult::Done)
        window.messages().showMessage(SplitWords(*disc, outcome));
}

}  // namespace vellmark
