#include "session/build_options.hpp"

#include <fmt/format.h>

#include <iostream>

#include "compiler/compile.hpp"
#include "containers/names.hpp"
#include "project/view_names.hpp"
#include "session/verbs.hpp"
#include "support/encoding.hpp"
#include "support/pc_file.hpp"
#include "support/pc_folder.hpp"

namespace vellmark {

namespace {

constexpr std::size_t kHfsPlusLabelLimit = 61;

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

void AddBuildOptions(CLI::App& app, BuildOptions& options) {
    app.add_option("-k,--kind", options.kind, "hybrid, iso (no Macintosh side) or hfs (no PC side)")
        ->check(CLI::IsMember({"hybrid", "iso", "hfs"}))
        ->capture_default_str();
    app.add_flag("--postgap", options.postgap, "Add 150 empty sectors behind the data");
    app.add_flag("-f,--force", options.force, "Replace an existing image");
    app.add_flag("-q,--quiet", options.quiet, "No progress and no remarks");
}

int RunBuild(ProjectFile& project, const BuildOptions& options, Messages& messages,
             Progress& progress, const Clock& clock) {
    if (!options.force && PcFactsOf(options.output).kind != PcKind::Missing) {
        messages.showMessage(
            fmt::format("{} exists already; --force replaces it.", Printable(options.output)));
        return kExitFailed;
    }
    const TemporaryFolder tables;
    CompileContext context{project, messages,       progress,
                           clock,   options.output, KindOf(options.kind)};
    context.postgap = options.postgap;
    context.replace = options.force;
    context.tableFolder = tables.path();
    if (CompileProject(context) != CompileResult::Done)
        return kExitFailed;
    if (!options.quiet)
        std::cout << Printable(options.output) << ": " << ModeName(context.mode) << ", "
                  << PcFactsOf(options.output).sizeBytes << " bytes\n";
    return kExitDone;
}

bool SetLabels(ProjectFile& project, const std::string& label, Messages& messages) {
    const std::string narrow = Utf8ToNarrow(label);
    const bool plus = project.header().isHfsPlus();
    const std::size_t limit = plus ? kHfsPlusLabelLimit : kHfsLabelLimit;
    if (NarrowToUtf8(narrow) != label) {
        messages.showMessage(fmt::format(
            "The label {} has a character outside Western European letters.", Printable(label)));
        return false;
    }
    if (narrow.empty() || narrow.size() > limit) {
        messages.showMessage(fmt::format("The label {} has {} letters; {} takes 1 to {}.", label,
                                         narrow.size(), plus ? "HFS+" : "HFS", limit));
        return false;
    }
    project.header().setIsoLabel(narrow);
    project.header().setHfsLabel(plus ? narrow : AnsiToMacName(narrow));
    return true;
}

}  // namespace vellmark
