#include "session/build_options.hpp"

#include "project/open_project.hpp"
#include "session/exit_status.hpp"
#include "session/sizes.hpp"
#include "support/encoding.hpp"
#include "support/sentences.hpp"

namespace vellmark {

namespace {

// What the partition map of a Macintosh volume can store.
constexpr std::uint64_t kMostFreeBytes = std::uint64_t{1} << 41;

ImageKind KindOf(const std::string& name) {
    return name == "iso" ? ImageKind::Iso : name == "hfs" ? ImageKind::Hfs : ImageKind::Hybrid;
}

Operand ModeName(CompileMode mode) {
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
    return Sentence::kIsoPlusKind;
}

Reason ResultLine(const OutputFile& output, const BuildSummary& summary) {
    const std::string name = output.isStandardOutput() ? "-" : Printable(output.path());
    return Reason(Sentence::kImageBuilt, name, ModeName(summary.mode), summary.imageBytes);
}

// What each side of the image would show, and under which name.
void TellSummary(const OutputFile& output, const BuildSummary& summary, CommandContext& context,
                 const Messages& messages) {
    const auto line = [&](const Reason& reason) {
        context.output << messages.words(reason) << '\n';
    };
    line(ResultLine(output, summary));
    if (HasIso(summary.mode))
        line(Reason(Sentence::kIsoSideWouldBe, Printable(summary.isoLabel), summary.iso.files,
                    summary.iso.folders));
    if (HasMacintosh(summary.mode))
        line(Reason(Sentence::kMacSideWouldBe, Printable(summary.macLabel), summary.macintosh.files,
                    summary.macintosh.folders, summary.blockBytes));
    if (summary.leftOut > 0)
        line(Reason(Sentence::kWouldBeLeftOut, summary.leftOut));
}

// Everything up to the first byte of the image.
int LookAt(ProjectFile& project, BuildRequest request, const BuildOptions& options,
           const OutputFile& output, CommandContext& context, Terminal& terminal) {
    request.backsUp = false;
    Build build(project, request, {terminal.messages, terminal.progress, context.clock});
    if (build.prepare() != CompileResult::Done)
        return kExitFailed;
    terminal.progress.clear();
    terminal.messages.tellChangedNames(options.verbose);
    if (!options.quiet)
        TellSummary(output, build.summary(), context, terminal.messages);
    return build.skipped() > 0 ? kExitSkipped : kExitDone;
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
    arguments.flag("-n,--dry-run", options.dryRun, Sentence::kHelpDryRun);
    arguments.flag(option::kQuiet, options.quiet);
    arguments.flag(option::kVerbose, options.verbose);
}

Reason BuildRefusal(const BuildOptions& options, ProjectMode mode) {
    if (mode == ProjectMode::IsoPlus && options.kind != kHybridKind)
        return Sentence::kOneKindOfImage;
    if (options.strictIso && options.kind == "hfs")
        return Sentence::kStrictIsoWithoutIso;
    if (options.free.empty())
        return {};
    if (mode == ProjectMode::IsoPlus || options.kind == "iso")
        return Sentence::kFreeWithoutVolume;
    const auto bytes = SizeOf(options.free, kMegabyte);
    return bytes && *bytes <= kMostFreeBytes
               ? Reason()
               : Reason(Sentence::kNoFreeSize, Printable(options.free));
}

BuildRequest RequestOf(const BuildOptions& options, const OutputFile& output,
                       const CommandContext& context) {
    BuildRequest request;
    request.targetPath = output.path();
    request.kind = KindOf(options.kind);
    request.postgap = options.postgap;
    request.strictIso = options.strictIso;
    request.freeBytes = SizeOf(options.free, kMegabyte).value_or(0);
    request.replace = options.force;
    request.isPassing = output.isStandardOutput();
    request.guard = context.guard;
    return request;
}

int BuildAndTell(ProjectFile& project, const BuildRequest& request, const BuildOptions& options,
                 const OutputFile& output, CommandContext& context, Terminal& terminal) {
    if (options.dryRun)
        return LookAt(project, request, options, output, context, terminal);
    Messages& messages = terminal.messages;
    const BuildOutcome outcome =
        BuildProject(project, request, {messages, terminal.progress, context.clock});
    if (outcome.result != CompileResult::Done)
        return kExitFailed;
    if (outcome.settled.any() && project.hasFile() && !SaveAfterBuild(project, messages))
        return kExitFailed;
    terminal.progress.clear();
    terminal.messages.tellChangedNames(options.verbose);
    if (!options.quiet && !output.isStandardOutput())
        context.output << messages.words(ResultLine(output, outcome.summary)) << '\n';
    if (!output.send(context, messages))
        return kExitFailed;
    return outcome.skipped > 0 ? kExitSkipped : kExitDone;
}

}  // namespace vellmark
