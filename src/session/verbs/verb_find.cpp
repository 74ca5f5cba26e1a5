#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <vector>

#include "containers/typed_signature.hpp"
#include "project/project_search.hpp"
#include "session/file_modes.hpp"
#include "session/json_text.hpp"
#include "session/verbs/change_run.hpp"
#include "session/verbs/image_verbs.hpp"
#include "session/verbs/verbs.hpp"
#include "support/encoding.hpp"
#include "support/sentences.hpp"
#include "support/targets.hpp"
#include "volume/catalog_search.hpp"

namespace vellmark {

namespace {

constexpr std::size_t kSignatureLetters = 8;
constexpr int kTextNoAlias = 1192;

struct FindOptions {
    std::string image;
    std::optional<unsigned> partition;
    std::string pattern;
    std::string signature;
    std::string view = "hybrid";
    bool alias = false;
    bool all = false;
    bool json = false;
};

std::size_t MostHits(const FindOptions& options) {
    return options.all ? std::numeric_limits<std::size_t>::max() : kMostHits;
}

TreeResult Search(VolumeContext& volume, const FindOptions& options, std::vector<SearchHit>& hits) {
    if (options.alias)
        return FindAliases(volume, hits, MostHits(options));
    if (options.signature.empty())
        return FindByName(volume, options.pattern, hits, MostHits(options));
    const std::string signature =
        TypedMacLetters(options.signature, kSignatureLetters).value_or("");
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
        messages.showTimedMessage(Reason(Sentence::kSearchEnded, kMostHits));
}

int FindInProject(const FindOptions& options, CommandContext& context) {
    Terminal terminal(context, TerminalOptionsOf(context, false));
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
            : FindItemsBySignature(
                  searched, TypedMacLetters(options.signature, kSignatureLetters).value_or(""),
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
    if ((options.pattern.empty() ? 0 : 1) + (options.signature.empty() ? 0 : 1) +
            (options.alias ? 1 : 0) !=
        1)
        return UsageError(context, "find", Sentence::kNameOrSignature);
    if (!options.signature.empty() && !TypedMacLetters(options.signature, kSignatureLetters))
        return UsageError(context, "find",
                          Reason(Sentence::kNoSignature, Printable(options.signature)));
    const FileMode mode = FileModeOf(options.image);
    const bool isProject = mode == FileMode::Project || mode == FileMode::IsoPlus;
    if (isProject && options.alias)
        return UsageError(context, "find",
                          Reason(Sentence::kAliasesInVolumes, Printable(options.image)));
    if (isProject)
        return FindInProject(options, context);
    ReadRun run(context, false);
    if (!run.open({options.image, options.partition}))
        return kExitFailed;
    std::vector<SearchHit> hits;
    const TreeResult result = Search(run.volume(), options, hits);
    Print(run.volume(), options, hits, context);
    TellEnd(options, hits.size(), run.terminal.messages);
    if (options.alias && hits.empty() && result == TreeResult::Done)
        run.terminal.messages.showTimedMessage(Reason::Told(kTextNoAlias));
    if (const Reason problem = CatalogProblem(result, Sentence::kPlaceBehindHits))
        run.problem(problem);
    return run.finish();
}

void SetUp(OptionSet& arguments, RunVerb& run) {
    const auto options = std::make_shared<FindOptions>();
    arguments.add("IMAGE", options->image, Sentence::kHelpImageOrProject).required();
    AddPartitionNumber(arguments, options->partition);
    arguments.add("NAME", options->pattern, Sentence::kHelpFindName);
    arguments.add("-s,--signature", options->signature, Sentence::kHelpFindSignature);
    arguments.flag("--alias", options->alias, Sentence::kHelpFindAlias);
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
