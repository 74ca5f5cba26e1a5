#include "session/build_options.hpp"

#include <fmt/core.h>

#include "compiler/compile.hpp"
#include "session/exit_status.hpp"
#include "session/sizes.hpp"
#include "support/encoding.hpp"
#include "support/pc_file.hpp"
#include "support/pc_folder.hpp"

namespace vellmark {

namespace {

// What the partition map of a Macintosh volume can tell.
constexpr std::uint64_t kMostFreeBytes = std::uint64_t{1} << 41;

ImageKind KindOf(const std::string& name) {
    return name == "iso" ? ImageKind::Iso : name == "hfs" ? ImageKind::Hfs : ImageKind::Hybrid;
}

std::string_view ModeName(CompileMode mode) {
    switch (mode) {
        case CompileMode::HybridHfs:
            return "ISO 9660 + Joliet + HFS";
        case CompileMode::HybridHfsPlus:
            return "ISO 9660 + Joliet + HFS+";
        case CompileMode::PureIso:
            return "ISO 9660 + Joliet";
        case CompileMode::PureHfs:
            return "HFS";
        case CompileMode::PureHfsPlus:
            return "HFS+";
        case CompileMode::IsoPlus:
            break;
    }
    return "ISO 9660 + Joliet + Apple extensions";
}

}  // namespace

void AddBuildOptions(OptionSet& arguments, BuildOptions& options) {
    arguments.add("-k,--kind", options.kind, Sentence::kHelpKind)
        .oneOf({"hybrid", "iso", "hfs"})
        .showDefault();
    arguments.flag("--postgap", options.postgap, Sentence::kHelpPostgap);
    arguments.add("--free", options.free, Sentence::kHelpFree);
    arguments.flag("--strict-iso", options.strictIso, Sentence::kHelpStrictIso);
    arguments.flag(option::kForceImage, options.force);
    arguments.flag(option::kQuiet, options.quiet);
    arguments.flag(option::kVerbose, options.verbose);
}

std::string BuildRefusal(const BuildOptions& options, ProjectMode mode) {
    if (mode == ProjectMode::IsoPlus && options.kind != kHybridKind)
        return "An ISO+ project is built into one kind of image.";
    if (options.strictIso && options.kind == "hfs")
        return "--strict-iso is for the PC side, which --kind hfs leaves out.";
    if (options.free.empty())
        return {};
    if (mode == ProjectMode::IsoPlus || options.kind == "iso")
        return "--free leaves room in a Macintosh volume, and this image has none.";
    const auto bytes = SizeOf(options.free, kMegabyte);
    return bytes && *bytes <= kMostFreeBytes
               ? std::string{}
               : fmt::format("{} is no size up to 2T, such as 500K or 100M.",
                             Printable(options.free));
}

int RunBuild(ProjectFile& project, const BuildOptions& options, CommandContext& context,
             Terminal& terminal) {
    const TemporaryFolder tables;
    if (!HasTemporaryFolder(tables.path(), terminal.messages))
        return kExitFailed;
    CompileContext compile{project,       terminal.messages, terminal.progress,
                           context.clock, options.output,    KindOf(options.kind)};
    compile.postgap = options.postgap;
    compile.strictIso = options.strictIso;
    compile.freeBytes = SizeOf(options.free, kMegabyte).value_or(0);
    compile.replace = options.force;
    compile.isPassing = options.toOutput;
    compile.guard = context.guard;
    compile.projectChanged = options.projectChanged;
    compile.tableFolder = tables.path();
    // The build settles what the names are.
    terminal.messages.forgetChangedNames();
    if (CompileProject(compile) != CompileResult::Done)
        return kExitFailed;
    terminal.progress.clear();
    terminal.messages.tellChangedNames(options.verbose);
    if (!options.quiet && !options.toOutput)
        context.output << Printable(options.output) << ": " << ModeName(compile.mode) << ", "
                       << PcFactsOf(options.output).sizeBytes << " bytes\n";
    return terminal.messages.skipped() > 0 ? kExitSkipped : kExitDone;
}

bool HasTemporaryFolder(const std::string& path, Messages& messages) {
    if (path.empty())
        messages.showMessage(
            "No temporary folder can be made; the variable TMPDIR names where such folders lie.");
    return !path.empty();
}

}  // namespace vellmark
