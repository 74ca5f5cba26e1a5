#include "session/program.hpp"

#include <cerrno>
#include <exception>
#include <new>
#include <optional>

#include "session/batch/batch.hpp"
#include "session/file_modes.hpp"
#include "session/session_state.hpp"
#include "session/terminal.hpp"
#include "session/verbs/verbs.hpp"
#include "support/encoding.hpp"
#include "support/sentences.hpp"

namespace vellmark {

namespace {

constexpr int kTextNotManaged = 1386;

// There is no window to open.
int TellNoWindow(const std::string& path, CommandContext& context) {
    Terminal terminal(context, {});
    terminal.messages.showMessage(path.empty() ? Reason(Sentence::kNoWindow)
                                  : FileModeOf(path) == FileMode::Unknown
                                      ? Reason::Told(kTextNotManaged, Printable(path))
                                      : Reason(Sentence::kNoWindowFor, Printable(path)));
    context.errors << TryHelp({}, context.language) << '\n';
    return kExitFailed;
}

// The path of a file without a verb is opened in a window.
bool IsForWindow(std::span<const std::string> arguments) {
    return arguments.empty() ||
           (!IsVerbOrOption(arguments.front()) && !ParseBatchOption(arguments.front()) &&
            !arguments.front().starts_with('-'));
}

int Run(std::span<const std::string> arguments, CommandContext& context) {
    if (context.becomeWindow && IsForWindow(arguments))
        (void)context.becomeWindow(arguments.empty() ? std::string() : arguments.front());
    if (arguments.empty())
        return RunInSession({}, context, [](CommandContext& c) { return TellNoWindow({}, c); });
    const std::string& first = arguments.front();
    if (IsVerbOrOption(first))
        return RunVerbs(arguments, context);
    if (const auto option = ParseBatchOption(first))
        return RunInSession({.files = {arguments.begin() + 1, arguments.end()}}, context,
                            [&](CommandContext& c) { return RunBatch(*option, arguments, c); });
    if (first.starts_with('-'))
        return RunVerbs(arguments, context);
    return RunInSession({.language = ChosenLanguage(arguments)}, context,
                        [&](CommandContext& c) { return TellNoWindow(first, c); });
}

void TellFailure(const Reason& reason, CommandContext& context) {
    context.errors << "vellmark: " << reason.words(context.language) << '\n';
}

// The engine throws nothing, the libraries below it do where the system refuses memory. What was
// begun is taken back on the way here, as after any failure.
int RunToItsEnd(std::span<const std::string> arguments, CommandContext& context) {
    try {
        return Run(arguments, context);
    } catch (const std::bad_alloc&) {
        TellFailure(Sentence::kNoMemory, context);
    } catch (const std::exception& problem) {
        TellFailure(Reason(Sentence::kNotDone, Printable(problem.what())), context);
    }
    return kExitFailed;
}

}  // namespace

int RunProgram(std::span<const std::string> arguments, CommandContext& context) {
    context.language = SpokenLanguage(std::nullopt, context);
    int status = RunToItsEnd(arguments, context);
    if (status == kExitDone && context.readIncomplete)
        status = kExitSkipped;
    errno = 0;
    if (context.output.flush())
        return status;
    const int error = context.outputError != 0 ? context.outputError : errno;
    // A reader that has seen enough, such as a pager, is no failure that wants a word.
    if (error != EPIPE)
        TellFailure(error != 0 ? Reason(Sentence::kOutputNotWrittenAs, SystemError{error})
                               : Reason(Sentence::kOutputNotWritten),
                    context);
    return kExitFailed;
}

}  // namespace vellmark
