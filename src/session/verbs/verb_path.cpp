#include <fmt/core.h>

#include <filesystem>
#include <memory>
#include <system_error>

#include "project/access_path.hpp"
#include "project/pc_sources.hpp"
#include "session/open_project.hpp"
#include "session/terminal.hpp"
#include "session/verbs/verbs.hpp"
#include "support/encoding.hpp"
#include "support/texts.hpp"

namespace vellmark {

namespace {

constexpr std::string_view kName = "path";
constexpr int kTextPathsChanged = 1408;

struct PathOptions {
    std::string project;
    std::string oldPath;
    std::string newPath;
    bool quiet = false;
};

// The path of a folder as records have it; empty when no record can hold it.
std::string RecordPathOf(const std::string& typed) {
    if (typed.empty())
        return {};
    std::error_code error;
    std::string path = std::filesystem::absolute(typed, error).lexically_normal().string();
    if (error)
        return {};
    if (!path.ends_with('/'))
        path += '/';
    // Of a folder that is there, components that Windows-1252 lacks have their 8.3 names.
    return PcListings().accessPathOf(path);
}

// A path with `\` alone comes from another system and stays as it is.
std::string OldRecordPathOf(const std::string& typed) {
    const bool isForeign =
        typed.find('/') == std::string::npos && typed.find('\\') != std::string::npos;
    return isForeign ? Utf8ToNarrow(typed) : RecordPathOf(typed);
}

int RunPath(const PathOptions& options, CommandContext& context) {
    const StopSignals signals;
    Terminal terminal(context, TerminalOptionsOf(context, options.quiet));
    const std::string oldPath = OldRecordPathOf(options.oldPath);
    const std::string newPath = RecordPathOf(options.newPath);
    if (oldPath.empty() || newPath.empty()) {
        terminal.messages.showMessage(
            fmt::format("The path \"{}\" is empty or has a name that a project cannot hold.",
                        Printable(oldPath.empty() ? options.oldPath : options.newPath)));
        return kExitFailed;
    }
    if (oldPath == newPath)
        return UsageError(context, kName, "The old and the new path are the same.");
    std::optional<ProjectFile> project;
    if (!OpenForChange(options.project, context, terminal.messages, project))
        return kExitFailed;
    const std::int64_t count = ChangeAccessPath(*project, oldPath, newPath, terminal.messages);
    if (count == 0 && terminal.messages.skipped() == 0) {
        terminal.messages.showMessage(fmt::format("No item of {} comes from {}.",
                                                  Printable(options.project),
                                                  Printable(NarrowToUtf8(oldPath))));
        return kExitFailed;
    }
    if (count > 0) {
        BackUpBeforeChange(*project, context, terminal.messages);
        if (!project->save(terminal.messages))
            return kExitFailed;
    }
    if (!options.quiet)
        context.output << FormatText(kTextPathsChanged, context.language, count) << '\n';
    return terminal.messages.skipped() > 0 ? kExitSkipped : kExitDone;
}

void SetUp(OptionSet& arguments, RunVerb& run) {
    const auto options = std::make_shared<PathOptions>();
    arguments.add(option::kExistingProject, options->project).required();
    arguments.add("OLD", options->oldPath, Sentence::kHelpOldPath).required();
    arguments.add("NEW", options->newPath, Sentence::kHelpNewPath).required();
    arguments.flag(option::kQuietRemarks, options->quiet);
    run = [options](CommandContext& context) { return RunPath(*options, context); };
}

}  // namespace

const Verb kVerbPath = {kName, "", Sentence::kSummaryPath,
                        "vellmark path disc.vlpr /home/me/Photos /mnt/Archive/Photos", SetUp};

}  // namespace vellmark
