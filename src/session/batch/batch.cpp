#include "session/batch/batch.hpp"

#include <algorithm>

#include "session/batch/batch_commands.hpp"
#include "session/exit_status.hpp"
#include "session/instance_lock.hpp"
#include "support/encoding.hpp"
#include "support/pc_folder.hpp"
#include "support/sentences.hpp"

namespace vellmark {

namespace {

constexpr int kTextRunning = 1347;
constexpr int kTextNotManaged = 1386;

constexpr std::size_t kMostArguments = 3;

struct Row {
    char letter;
    std::string_view seconds;  ///< the letters that may follow
    bool takesArgument;
    BatchResult (*run)(const BatchJob& job);
    bool needsSecond = false;  ///< one of them must

    [[nodiscard]] bool fits(const BatchOption& option) const {
        return letter == option.letter &&
               (option.second == 0 ? !needsSecond : seconds.find(option.second) != seconds.npos);
    }
};

// H: HFS alone, I: ISO alone, J: with a journal, whose path is an argument.
constexpr Row kRows[] = {{'C', "HI", false, BatchCompile},    {'D', "C", true, BatchExpand, true},
                         {'D', "H", false, BatchSplit, true}, {'F', "HI", true, BatchMakeFolders},
                         {'H', "", true, BatchJoin},          {'I', "HI", true, BatchInclude},
                         {'L', "HI", true, BatchSetLabel},    {'R', "J", false, BatchRebuild}};
constexpr char kWithJournal = 'J';

BatchSide SideOf(char second) {
    return second == 'H' ? BatchSide::Hfs : second == 'I' ? BatchSide::Iso : BatchSide::Both;
}

BatchResult Run(const BatchOption& option, std::span<const std::string> arguments,
                CommandContext& context, Terminal& terminal) {
    const auto* row = std::find_if(std::begin(kRows), std::end(kRows),
                                   [&](const Row& r) { return r.fits(option); });
    if (row == std::end(kRows))
        return BatchResult::NotUnderstood;
    Messages& messages = terminal.messages;
    const bool opensLog = option.second == kWithJournal;
    const bool takesArgument = row->takesArgument || opensLog;
    const std::size_t wanted = takesArgument ? 3 : 2;
    if (arguments.size() < wanted) {
        messages.showMessage(
            Reason(takesArgument ? Sentence::kBatchNeedsArgument : Sentence::kBatchNeedsProject,
                   Printable(arguments[0])));
        return BatchResult::NotUnderstood;
    }
    // As a rule a pattern that the shell has put names in the place of: all but the first of them
    // would be lost in silence.
    if (arguments.size() > kMostArguments) {
        messages.showMessage(Reason(Sentence::kBatchTooManyArguments, Printable(arguments[0])));
        return BatchResult::NotUnderstood;
    }
    return row->run({SideOf(option.second), arguments[1],
                     arguments.size() > 2 ? arguments[2] : std::string{}, context, terminal,
                     opensLog});
}

}  // namespace

std::optional<BatchOption> ParseBatchOption(std::string_view first) {
    if (first.size() < 2 || first.size() > 3)
        return std::nullopt;
    const char sign = first[0];
    if ((sign != '/' && sign != '-' && sign != '\\') || first[1] == sign)
        return std::nullopt;
    const PcFacts facts = PcFactsOf(std::string(first));
    if (sign != '-' && (facts.kind != PcKind::Missing || facts.isLink))
        return std::nullopt;
    const std::string letters = AsciiUpper(first.substr(1));
    return BatchOption{letters[0], letters.size() > 1 ? letters[1] : '\0'};
}

int RunBatch(const BatchOption& option, std::span<const std::string> arguments,
             CommandContext& context) {
    const StopSignals signals;
    Terminal terminal(context, {.quiet = true});
    Messages& messages = terminal.messages;
    const InstanceLock lock(context.lockFolder);
    if (lock.state() != InstanceLock::State::Taken) {
        messages.showMessage(lock.state() == InstanceLock::State::Busy ? Reason::Told(kTextRunning)
                                                                       : lock.reason());
        return kExitFailed;
    }
    const BatchResult result = Run(option, arguments, context, terminal);
    // Some commands go on to the start with a window, which does not know them, when they are done.
    if (result != BatchResult::Done)
        messages.showMessage(Reason::Told(kTextNotManaged, Printable(arguments[0])));
    if (result != BatchResult::Done && result != BatchResult::DoneAndOpen)
        return kExitFailed;
    return terminal.messages.skipped() > 0 ? kExitSkipped : kExitDone;
}

}  // namespace vellmark
