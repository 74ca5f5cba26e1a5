#include <filesystem>
#include <memory>
#include <system_error>

#include "project/include_contents.hpp"
#include "project/labels.hpp"
#include "project/rebuild.hpp"
#include "session/build_options.hpp"
#include "session/project_options.hpp"
#include "session/signature_file.hpp"
#include "session/terminal.hpp"
#include "session/user_options.hpp"
#include "session/verbs/format_choice.hpp"
#include "session/verbs/verbs.hpp"
#include "support/pc_folder.hpp"
#include "support/sentences.hpp"
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

// What an image of the folder is called where it gets no name.
std::string NameOfFolder(const std::string& folder) {
    std::error_code error;
    return std::filesystem::weakly_canonical(folder, error).filename().string() + ".iso";
}

// Fills the project with all that is in the folder; a status that is not done ends the verb.
int Fill(ProjectFile& project, const MakeOptions& options, const BuildRequest& request,
         CommandContext& context, Terminal& terminal) {
    // The folder is to look the same on both sides, so nothing is asked.
    InclusionOptions inclusion{context.clock};
    inclusion.answers = kYesToAll;
    inclusion.signatureOf = SignatureLookupOf(context, terminal.messages);
    inclusion.truncation = kShortenAll;
    inclusion.buildTellsForks = request.kind != ImageKind::Iso;
    inclusion.buildTellsNames = true;
    inclusion.excluded = OwnFiles(project, JournalOf(context));
    if (const PcFacts target = PcFactsOf(request.targetPath); target.kind == PcKind::File)
        inclusion.excluded.push_back(IdentityOf(target));
    const InclusionResult included =
        IncludeContents(project, {.allOf = options.folder}, inclusion,
                        {terminal.messages, terminal.progress, context.clock});
    // An image without anything of what was wanted; each item has been reported.
    if (included.status != InclusionStatus::Done || included.isVain())
        return kExitFailed;
    return included.skipped > 0 ? kExitSkipped : kExitDone;
}

int Make(const MakeOptions& options, CommandContext& context) {
    const BuildOptions& build = options.build;
    if (options.format.contradicts())
        return UsageError(context, kName, Sentence::kHfsOrHfsPlus);
    if (const Reason refusal = BuildRefusal(build, ProjectMode::Hybrid))
        return UsageError(context, kName, refusal);
    const StopSignals signals;
    Terminal terminal(context, TerminalOptionsOf(context, build.quiet));
    Messages& messages = terminal.messages;
    const OutputFile output(build.output, NameOfFolder(options.folder));
    if (const Reason refusal = SourceFolderRefusal(options.folder)) {
        messages.showMessage(refusal);
        return kExitFailed;
    }
    if (!output.isReady(messages) ||
        (!build.dryRun && !MayMakeFile(output.path(), build.force, messages)))
        return kExitFailed;
    ProjectDefaults defaults = NewProjectDefaults(context, ProjectMode::Hybrid);
    options.format.apply(defaults);
    ProjectFile project = ProjectFile::Create({}, ProjectMode::Hybrid, defaults);
    if (!options.label.empty())
        if (const Reason refusal = SetLabels(project, options.label, LabelSide::Both)) {
            messages.showMessage(refusal);
            return kExitFailed;
        }
    const BuildRequest request = RequestOf(build, output, context);
    const int filled = Fill(project, options, request, context, terminal);
    if (filled == kExitFailed)
        return filled;
    const int built = BuildAndTell(project, request, build, output, context, terminal);
    return built == kExitDone ? filled : built;
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
