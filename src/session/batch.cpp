#include "session/batch.hpp"

#include <fmt/format.h>

#include <algorithm>

#include "session/batch_commands.hpp"
#include "session/instance_lock.hpp"
#include "session/verbs.hpp"
#include "support/encoding.hpp"
#include "support/pc_folder.hpp"

namespace vellmark {

namespace {

constexpr int kTextRunning = 1347;
constexpr int kTextNotManaged = 1386;

constexpr std::size_t kMostArguments = 3;

struct Row {
    char letter;
    bool takesArgument;
    BatchResult (*run)(const BatchJob& job);
};

// Each knows the second letters H (HFS alone) and I (ISO alone).
constexpr Row kRows[] = {{'C', false, BatchCompile},
                         {'F', true, BatchMakeFolders},
                         {'I', true, BatchInclude},
                         {'L', true, BatchSetLabel}};
constexpr std::string_view kSecondLetters = "HI";

std::optional<BatchSide> SideOf(char second) {
    if (second == 0)
        return BatchSide::Both;
    if (kSecondLetters.find(second) == std::string_view::npos)
        return std::nullopt;
    return second == 'H' ? BatchSide::Hfs : BatchSide::Iso;
}

BatchResult Run(const BatchOption& option, std::span<const std::string> arguments,
                CommandContext& context, Terminal& terminal) {
    const auto* row = std::find_if(std::begin(kRows), std::end(kRows),
                                   [&](const Row& r) { return r.letter == option.letter; });
    const std::optional<BatchSide> side = SideOf(option.second);
    if (row == std::end(kRows) || !side)
        return BatchResult::NotUnderstood;
    const std::size_t wanted = row->takesArgument ? 3 : 2;
    if (arguments.size() < wanted) {
        terminal.messages.showMessage(
            fmt::format("{} needs {}.", Printable(arguments[0]),
                        row->takesArgument ? "a project and an argument" : "a project"));
        return BatchResult::NotUnderstood;
    }
    // As a rule a pattern that the shell has put names in the place of: all but the first of them
    // would be lost in silence.
    if (arguments.size() > kMostArguments) {
        terminal.messages.showMessage(
            fmt::format("{} takes no more than two parameters; a pattern stands in quotes.",
                        Printable(arguments[0])));
        return BatchResult::NotUnderstood;
    }
    return row->run({*side, arguments[1], arguments.size() > 2 ? arguments[2] : std::string{},
                     context, terminal});
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
    const InstanceLock lock(context.lockFolder);
    if (lock.state() != InstanceLock::State::Taken) {
        terminal.messages.showMessage(lock.state() == InstanceLock::State::Busy
                                          ? Text(kTextRunning, context.language)
                                          : std::string_view(lock.reason()));
        return kExitFailed;
    }
    if (Run(option, arguments, context, terminal) == BatchResult::Done)
        return terminal.messages.skipped() > 0 ? kExitSkipped : kExitDone;
    terminal.messages.showMessage(
        FormatText(kTextNotManaged, context.language, Printable(arguments[0])));
    return kExitFailed;
}

}  // namespace vellmark
