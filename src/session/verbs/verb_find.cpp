#include <fmt/core.h>

#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <vector>

#include "containers/names.hpp"
#include "project/project_search.hpp"
#include "session/file_modes.hpp"
#include "session/json_text.hpp"
#include "session/verbs/change_run.hpp"
#include "session/verbs/image_verbs.hpp"
#include "session/verbs/verbs.hpp"
#include "support/encoding.hpp"
#include "support/targets.hpp"
#include "volume/catalog_search.hpp"

namespace vellmark {

namespace {

struct FindOptions {
    std::string image;
    std::optional<unsigned> partition;
    std::string pattern;
    std::string signature;
    std::string view = "hybrid";
    bool all = false;
    bool json = false;
};

std::size_t MostHits(const FindOptions& options) {
    return options.all ? std::numeric_limits<std::size_t>::max() : kMostHits;
}

TreeResult Search(VolumeContext& volume, const FindOptions& options, std::vector<SearchHit>& hits) {
    if (options.signature.empty())
        return FindByName(volume, options.pattern, hits, MostHits(options));
    const std::string signature = WideToMacRomanExact(Utf8ToWide(options.signature)).value_or("");
    return FindBySignature(volume, signature, hits, MostHits(options));
}

void Print(VolumeContext& volume, const FindOptions& options, const std::vector<SearchHit>& hits,
           CommandContext& context) {
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (const SearchHit& hit : hits) {
        const std::string path = PathOf(volume, hit);
        if (options.json)
            list.push_back({{"path", path}, {"kind", hit.isFolder ? "folder" : "file"}});
        else
            context.output << Printable(path) << (hit.isFolder ? "/\n" : "\n");
    }
    if (options.json)
        context.output << JsonText(list) << '\n';
}

void TellEnd(const FindOptions& options, std::size_t hits, Messages& messages) {
    if (!options.all && hits == kMostHits)
        messages.showTimedMessage(
            fmt::format("The search ended after {} hits; --all goes on.", kMostHits));
}

int FindInProject(const FindOptions& options, CommandContext& context, Terminal& terminal) {
    std::optional<ProjectFile> project;
    if (ProjectFile::Open(FollowLink(options.image), ProjectModeOf(options.image),
                          terminal.messages, project) != ProjectOpened::Opened)
        return kExitFailed;
    const ProjectFile& searched = *project;
    const ProjectView view = options.view == "iso"   ? ProjectView::Iso
                             : options.view == "hfs" ? ProjectView::Hfs
                                                     : ProjectView::Hybrid;
    const std::vector<std::int32_t> hits =
        options.signature.empty()
            ? FindItemsByName(searched, Utf8ToNarrow(options.pattern), view, MostHits(options))
            : FindItemsBySignature(searched,
                                   WideToMacRomanExact(Utf8ToWide(options.signature)).value_or(""),
                                   MostHits(options));
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (const std::int32_t number : hits) {
        const ProjectRecord* record = searched.findByNumber(number);
        if (record == nullptr)
            continue;
        const std::string path = ItemPath(searched, record->parent, record->sourceName());
        if (options.json)
            list.push_back({{"path", path},
                            {"kind", record->isFolder() ? "folder" : "file"},
                            {"number", number}});
        else
            context.output << Printable(path) << (record->isFolder() ? "/\n" : "\n");
    }
    if (options.json)
        context.output << JsonText(list) << '\n';
    TellEnd(options, hits.size(), terminal.messages);
    return kExitDone;
}

int Find(const FindOptions& options, CommandContext& context) {
    const std::size_t letters = Utf8ToWide(options.signature).size();
    if (options.pattern.empty() == options.signature.empty())
        return UsageError(context, "find", "Either a NAME or --signature is needed.");
    if (letters > 8 || (letters > 0 && !WideToMacRomanExact(Utf8ToWide(options.signature))))
        return UsageError(context, "find",
                          fmt::format("--signature takes up to eight characters of the Macintosh, "
                                      "and {} is not that.",
                                      Printable(options.signature)));
    Terminal terminal(context, TerminalOptionsOf(context, false));
    const FileMode mode = FileModeOf(options.image);
    if (mode == FileMode::Project || mode == FileMode::IsoPlus)
        return FindInProject(options, context, terminal);
    const auto partition =
        Partition::Open({options.image, options.partition}, context, terminal, Access::Read);
    if (!partition)
        return kExitFailed;
    std::vector<SearchHit> hits;
    const TreeResult result = Search(partition->volume(), options, hits);
    Print(partition->volume(), options, hits, context);
    TellEnd(options, hits.size(), terminal.messages);
    if (result != TreeResult::Done)
        terminal.messages.showMessage(CatalogProblem(result, "behind what was found"));
    const bool isClosed = partition->close(terminal.messages);
    return result == TreeResult::Done && isClosed ? kExitDone : kExitFailed;
}

void SetUp(OptionSet& arguments, RunVerb& run) {
    const auto options = std::make_shared<FindOptions>();
    arguments.add("IMAGE", options->image, Sentence::kHelpImageOrProject).required();
    AddPartitionNumber(arguments, options->partition);
    arguments.add("NAME", options->pattern, Sentence::kHelpFindName);
    arguments.add("-s,--signature", options->signature, Sentence::kHelpFindSignature);
    arguments.add("--view", options->view, Sentence::kHelpFindView)
        .oneOf({"iso", "hybrid", "hfs"})
        .showDefault();
    arguments.flag("-a,--all", options->all, Reason(Sentence::kHelpFindAll, kMostHits));
    arguments.flag(option::kJson, options->json);
    run = [options](CommandContext& context) { return Find(*options, context); };
}

}  // namespace

const Verb kVerbFind = {"find", "", Sentence::kSummaryFind,
                        "vellmark find work.img --signature TEXT", SetUp};

}  // namespace vellmark
