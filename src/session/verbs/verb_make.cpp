#include <fmt/core.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <memory>
#include <system_error>

#include "project/inclusion.hpp"
#include "session/build_options.hpp"
#include "session/labels.hpp"
#include "session/open_project.hpp"
#include "session/output_file.hpp"
#include "session/project_rebuild.hpp"
#include "session/signature_file.hpp"
#include "session/terminal.hpp"
#include "session/user_options.hpp"
#include "session/verbs/format_choice.hpp"
#include "session/verbs/verbs.hpp"
#include "support/encoding.hpp"
#include "support/pc_file.hpp"
#include "support/pc_folder.hpp"
#include "support/targets.hpp"

namespace vellmark {

namespace {

constexpr std::string_view kName = "make";

struct MakeOptions {
    std::string folder;
    std::string label;
    FormatChoice format;
    BuildOptions build;
};

bool IsReadableFolder(const std::string& path, Messages& messages) {
    const PcKind kind = PcFactsOf(path).kind;
    if (kind == PcKind::Missing)
        messages.showMessage(fmt::format("There is no folder {}.", Printable(path)));
    else if (kind != PcKind::Folder)
        messages.showMessage(fmt::format("{} is no folder.", Printable(path)));
    else if (::access(path.c_str(), R_OK | X_OK) != 0)
        messages.showMessage(fmt::format("The folder {} cannot be read: {}.", Printable(path),
                                         SystemErrorText(errno)));
    else
        return true;
    return false;
}

// A pattern for all that is in the folder. A path that exists wins over a pattern, so that it must
// not be the name of a file by chance.
std::string ContentsOf(const std::string& folder) {
    std::string pattern = folder + "/*";
    for (PcFacts facts = PcFactsOf(pattern); facts.kind != PcKind::Missing || facts.isLink;
         facts = PcFactsOf(pattern))
        pattern += '*';
    return pattern;
}

// What an image of the folder is called where it gets no name.
std::string NameOfFolder(const std::string& folder) {
    std::error_code error;
    return std::filesystem::weakly_canonical(folder, error).filename().string() + ".iso";
}

int Make(MakeOptions& options, CommandContext& context) {
    if (options.format.contradicts())
        return UsageError(context, kName, FormatChoice::kContradiction);
    if (const std::string refusal = BuildRefusal(options.build, ProjectMode::Hybrid);
        !refusal.empty())
        return UsageError(context, kName, refusal);
    const StopSignals signals;
    Terminal terminal(context, TerminalOptionsOf(context, options.build.quiet));
    const OutputFile output(options.build.output, NameOfFolder(options.folder));
    options.build.output = output.path();
    options.build.toOutput = output.isStandardOutput();
    if (!IsReadableFolder(options.folder, terminal.messages) ||
        !output.isReady(terminal.messages) ||
        !MayMakeFile(options.build.output, options.build.force, terminal.messages))
        return kExitFailed;
    const TemporaryFolder folder;
    if (!HasTemporaryFolder(folder.path(), terminal.messages))
        return kExitFailed;
    ProjectDefaults defaults = NewProjectDefaults(context, ProjectMode::Hybrid);
    options.format.apply(defaults);
    ProjectFile project =
        ProjectFile::Create(folder.path() + "/vlpr.vlpr", ProjectMode::Hybrid, defaults);
    if (!options.label.empty() &&
        !SetLabels(project, options.label, LabelSide::Both, terminal.messages))
        return kExitFailed;
    // The folder is to look the same on both sides, so nothing is asked.
    InclusionOptions inclusion{context.clock};
    inclusion.answers = kYesToAll;
    inclusion.signatureOf = SignatureLookupOf(context, terminal.messages);
    inclusion.truncation = kShortenAll;
    inclusion.buildTells = options.build.kind != "iso";
    inclusion.excluded = OwnFiles(project, context);
    if (const PcFacts target = PcFactsOf(options.build.output); target.kind == PcKind::File)
        inclusion.excluded.push_back({target.device, target.inode});
    const InclusionResult included = Include(project, ContentsOf(options.folder), kRootFolder,
                                             inclusion, terminal.messages, terminal.progress);
    // An image without anything of what was wanted; each item has been told.
    const bool isVain = included.files + included.folders == 0 && included.skipped > 0;
    if (!IsWorthSaving(included, terminal.messages) || isVain)
        return kExitFailed;
    const int status = RunBuild(project, options.build, context, terminal);
    return status == kExitFailed || output.send(context, terminal.messages) ? status : kExitFailed;
}

void SetUp(OptionSet& arguments, RunVerb& run) {
    const auto options = std::make_shared<MakeOptions>();
    arguments.add("FOLDER", options->folder, Sentence::kHelpMakeFolder).required();
    arguments.add("-o,--output", options->build.output, Sentence::kHelpImageOutput).required();
    options->format.addTo(arguments);
    arguments.add("-l,--label", options->label, Sentence::kHelpMakeLabel);
    AddBuildOptions(arguments, options->build);
    run = [options](CommandContext& context) { return Make(*options, context); };
}

}  // namespace

const Verb kVerbMake = {kName, "mk", Sentence::kSummaryMake,
                        "vellmark make Photos -o photos.iso --label Photos", SetUp};

}  // namespace vellmark
