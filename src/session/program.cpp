#include "session/program.hpp"

#include <fmt/core.h>

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
#include "support/pc_file.hpp"

namespace vellmark {

namespace {

constexpr int kTextNotManaged = 1386;

// Where the window would open.
int TellNoWindow(const std::string& path, CommandContext& context) {
    Terminal terminal(context, {});
    terminal.messages.showMessage(
        path.empty() ? "This build has no window to open."
        : FileModeOf(path) == FileMode::Unknown
            ? FormatText(kTextNotManaged, context.language, Printable(path))
            : fmt::format("This build has no window to open {} in.", Printable(path)));
    context.errors << "Try: vellmark --help\n";
    return kExitFailed;
}

int Run(std::span<const std::string> arguments, CommandContext& context) {
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

// The engine throws nothing, the libraries below it do where the system refuses memory. What was
// begun is taken back on the way here, as after any failure.
int RunToItsEnd(std::span<const std::string> arguments, CommandContext& context) {
    try {
        return Run(arguments, context);
    } catch (const std::bad_alloc&) {
        context.errors << "vellmark: The system does not give the memory that this needs.\n";
    } catch (const std::exception& problem) {
        context.errors << "vellmark: It could not be done: " << Printable(problem.what()) << ".\n";
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
        context.errors << "vellmark: The result cannot be written to standard output"
                       << (error != 0 ? ": " + SystemErrorText(error) : "") << ".\n";
    return kExitFailed;
}

}  // namespace vellmark
