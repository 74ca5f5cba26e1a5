#include <memory>

#include "project/inclusion.hpp"
#include "session/build_options.hpp"
#include "session/terminal.hpp"
#include "session/verbs.hpp"
#include "support/pc_file.hpp"
#include "support/pc_folder.hpp"

namespace vellmark {

namespace {

struct MakeOptions {
    std::string folder;
    std::string label;
    bool hfsPlus = false;
    BuildOptions build;
};

int Make(const MakeOptions& options) {
    const StopSignals signals;
    const TerminalOptions terminal = TerminalOptionsNow(options.build.quiet);
    TerminalMessages messages(terminal);
    TerminalProgress progress(terminal);
    const SystemClock clock;
    if (PcFactsOf(options.folder).kind != PcKind::Folder) {
        messages.showMessage(options.folder + " is no folder.");
        return kExitFailed;
    }
    const TemporaryFolder folder;
    ProjectDefaults defaults;
    defaults.isHfsPlus = options.hfsPlus;
    ProjectFile project =
        ProjectFile::Create(folder.path() + "/vlpr.vlpr", ProjectMode::Hybrid, defaults);
    if (!options.label.empty() && !SetLabels(project, options.label, messages))
        return kExitFailed;
    InclusionOptions inclusion{clock};
    inclusion.truncation = {true, true, true};
    if (const PcFacts target = PcFactsOf(options.build.output); target.kind == PcKind::File)
        inclusion.excluded.push_back({target.device, target.inode});
    const InclusionResult included =
        Include(project, options.folder + "/*", kRootFolder, inclusion, messages, progress);
    if (included.status == InclusionStatus::Stopped)
        return kExitFailed;
    const int status = RunBuild(project, options.build, messages, progress, clock);
    return status == kExitDone && messages.skipped() > 0 ? static_cast<int>(kExitSkipped) : status;
}

void SetUp(CLI::App& app, RunVerb& run) {
    const auto options = std::make_shared<MakeOptions>();
    app.add_option("FOLDER", options->folder, "Folder whose contents go into the image")
        ->required();
    app.add_option("-o,--output", options->build.output, "Image to make")->required();
    app.add_flag("--hfsplus", options->hfsPlus, "HFS+ on the Macintosh side instead of HFS");
    app.add_option("-l,--label", options->label,
                   "Name of the volume; without it, the name of the image");
    AddBuildOptions(app, options->build);
    run = [options] { return Make(*options); };
}

}  // namespace

const Verb kVerbMake = {"make", "mk", "Make one image from a folder",
                        "vellmark make Photos -o photos.iso --label Photos", SetUp};

}  // namespace vellmark
