#include <fmt/core.h>

#include <algorithm>
#include <memory>

#include "inspect/structure_reader.hpp"
#include "inspect/tree_listing.hpp"
#include "session/json_text.hpp"
#include "session/verbs/inspect_run.hpp"
#include "session/verbs/verbs.hpp"
#include "support/encoding.hpp"
#include "support/sentences.hpp"

namespace vellmark {

namespace {

constexpr std::string_view kName = "analyse";
/// Nodes that are listed between two looks at whether to stop.
constexpr std::size_t kNodesOfPage = 256;

struct AnalyseOptions {
    InspectOptions inspect;
    std::string structure;
    bool tree = false;
    bool json = false;
};

using Json = nlohmann::ordered_json;

// What scripts read is the same whatever a person speaks.
constexpr Language kScriptLanguage = Language::English;

Json LinkJson(const SectorLink& link) {
    Json json = {{"name", link.name}, {"sector", link.sector}};
    if (link.as != StructureCode::Unknown)
        json["as"] = static_cast<unsigned>(link.as);
    return json;
}

Json FieldJson(const AnalysedField& field) {
    Json json = {{"key", field.key},
                 {"caption", field.caption.words(kScriptLanguage)},
                 {"value", field.number ? Json(*field.number) : Json(field.value)},
                 {"text", field.value},
                 {"offset", field.bytes.offset},
                 {"length", field.bytes.length}};
    if (!field.links.empty()) {
        json["links"] = Json::array();
        for (const SectorLink& link : field.links)
            json["links"].push_back(LinkJson(link));
    }
    return json;
}

Json ListJson(const AnalysedList& list) {
    Json json = {{"columns", Json::array()}, {"rows", Json::array()}};
    for (const Reason& column : list.columns)
        json["columns"].push_back(column.words(kScriptLanguage));
    for (const AnalysedRow& row : list.rows) {
        Json one = {
            {"cells", row.cells}, {"offset", row.bytes.offset}, {"length", row.bytes.length}};
        if (row.link)
            one["link"] = LinkJson(*row.link);
        json["rows"].push_back(std::move(one));
    }
    return json;
}

Json AnalysisJson(const Analysis& analysis) {
    Json json = {{"sector", analysis.sector}, {"code", static_cast<unsigned>(analysis.code)},
                 {"form", analysis.form},     {"title", analysis.title.words(kScriptLanguage)},
                 {"pages", Json::array()},    {"links", Json::array()}};
    for (const AnalysedPage& page : analysis.pages) {
        Json one = {{"caption", page.caption.words(kScriptLanguage)}, {"fields", Json::array()}};
        for (const AnalysedField& field : page.fields)
            one["fields"].push_back(FieldJson(field));
        if (page.list)
            one["list"] = ListJson(*page.list);
        json["pages"].push_back(std::move(one));
    }
    for (const SectorLink& link : analysis.links)
        json["links"].push_back(LinkJson(link));
    if (analysis.problem)
        json["problem"] = analysis.problem.words(kScriptLanguage);
    return json;
}

std::string LinkText(const SectorLink& link) {
    return fmt::format("  -> {}", link.sector);
}

std::string FieldText(const AnalysedField& field, const Messages& messages, std::size_t width) {
    std::string text =
        fmt::format("    {:<{}}  {}", messages.words(field.caption), width, Printable(field.value));
    for (const SectorLink& link : field.links)
        text += LinkText(link);
    return text + "\n";
}

std::size_t CaptionWidth(const AnalysedPage& page, const Messages& messages) {
    std::size_t width = 0;
    for (const AnalysedField& field : page.fields)
        if (!field.isUnused)
            width = std::max(width, Utf8ToWide(messages.words(field.caption)).size());
    return width;
}

std::size_t ColumnsOf(const std::string& text) {
    return Utf8ToWide(text).size();
}

// The cells of a line, each as wide as its column.
std::string RowText(const std::vector<std::string>& cells, const std::vector<std::size_t>& widths) {
    std::string text = "  ";
    for (std::size_t i = 0; i < cells.size(); ++i)
        text += "  " + cells[i] + std::string(widths[i] - ColumnsOf(cells[i]), ' ');
    return text;
}

std::string ListText(const AnalysedList& list, const Messages& messages) {
    std::vector<std::string> captions;
    std::vector<std::size_t> widths;
    for (const Reason& column : list.columns) {
        captions.push_back(messages.words(column));
        widths.push_back(ColumnsOf(captions.back()));
    }
    for (const AnalysedRow& row : list.rows)
        for (std::size_t i = 0; i < row.cells.size(); ++i)
            widths[i] = std::max(widths[i], ColumnsOf(row.cells[i]));
    std::string text = RowText(captions, widths) + "\n";
    for (const AnalysedRow& row : list.rows)
        text += RowText(row.cells, widths) + (row.link ? LinkText(*row.link) : "") + "\n";
    return text;
}

void PutText(ViewRun& run, const Analysis& analysis) {
    const Messages& messages = run.terminal.messages;
    (void)run.put(fmt::format("{} ({})\n", messages.words(analysis.title), analysis.form));
    for (const AnalysedPage& page : analysis.pages) {
        if (page.caption)
            (void)run.put(fmt::format("  {}\n", messages.words(page.caption)));
        const std::size_t width = CaptionWidth(page, messages);
        for (const AnalysedField& field : page.fields)
            if (!field.isUnused)
                (void)run.put(FieldText(field, messages, width));
        if (page.list)
            (void)run.put(ListText(*page.list, messages));
    }
    for (const SectorLink& link : analysis.links)
        (void)run.put(fmt::format("  {}{}\n", link.name, LinkText(link)));
}

Json NodeJson(const ListedNode& node) {
    Json json = {{"node", node.number}, {"depth", node.depth}, {"kind", node.kind}};
    json["sector"] = node.sector ? Json(*node.sector) : Json(nullptr);
    json["keys"] = node.keys;
    if (node.problem)
        json["problem"] = node.problem.words(kScriptLanguage);
    return json;
}

// All nodes, as they are read; what is wrong with one makes the run fail at its end.
void PutTree(InspectRun& inspect, TreeListing& listing, bool json) {
    ViewRun& run = inspect.run;
    bool isFirst = true;
    bool goesOn = !json || run.put("{\n  \"nodes\": [");
    while (goesOn) {
        const std::vector<ListedNode> nodes = listing.next(kNodesOfPage);
        if (nodes.empty())
            break;
        for (const ListedNode& node : nodes) {
            run.failed = run.failed || node.problem;
            const std::string line =
                json ? fmt::format("{}\n    {}", isFirst ? "" : ",", JsonText(NodeJson(node), 4))
                     : fmt::format("{:{}}{}\n", "", node.indent(),
                                   run.terminal.messages.words(node.line()));
            isFirst = false;
            goesOn = goesOn && run.put(line);
        }
    }
    if (goesOn && json)
        (void)run.put("\n  ]\n}\n");
}

int AnalyseTree(InspectRun& inspect, const AnalyseOptions& options, std::uint64_t sector) {
    auto listing = TreeListing::Open(inspect.surroundings(), inspect.bytes, sector);
    if (!listing) {
        inspect.run.problem(listing.error());
        return kExitFailed;
    }
    PutTree(inspect, *listing, options.json);
    return inspect.run.exitStatus();
}

int Analyse(const AnalyseOptions& options, CommandContext& context) {
    const auto structure =
        options.structure.empty() ? StructureCode::Unknown : StructureNamed(options.structure);
    if (!structure)
        return UsageError(
            context, kName,
            Reason(Sentence::kNoSuchStructure, Printable(options.structure), kStructureCodes - 1));
    const StopSignals signals;
    InspectRun inspect(context);
    if (!inspect.open(options.inspect, false))
        return kExitFailed;
    const auto sector = inspect.sectorOf(options.inspect.sector);
    if (!sector)
        return kExitFailed;
    if (options.tree)
        return AnalyseTree(inspect, options, *sector);
    const auto analysis =
        AnalyseSector(inspect.surroundings(), inspect.bytes,
                      {*sector, *structure, options.json ? kScriptLanguage : context.language});
    if (!analysis) {
        inspect.run.problem(analysis.error());
        return kExitFailed;
    }
    if (options.json)
        inspect.run.putJson(AnalysisJson(*analysis));
    else
        PutText(inspect.run, *analysis);
    if (analysis->problem)
        inspect.run.problem(analysis->problem);
    return inspect.run.exitStatus();
}

void SetUp(OptionSet& arguments, RunVerb& run) {
    const auto options = std::make_shared<AnalyseOptions>();
    const Option path = AddInspectOptions(arguments, options->inspect, Sentence::kHelpInspectPath);
    arguments.add("-s,--sector", options->inspect.sector, Sentence::kHelpSector).showDefault();
    arguments.add("-a,--as", options->structure, Sentence::kHelpStructure);
    arguments.flag("-t,--tree", options->tree, Sentence::kHelpListTree);
    arguments.flag(option::kJson, options->json);
    run = [options, path](CommandContext& context) {
        options->inspect.hasPath = path.wasGiven();
        return Analyse(*options, context);
    };
}

}  // namespace

const Verb kVerbAnalyse = {kName, "analyze", Sentence::kSummaryAnalyse,
                           "vellmark analyse photos.iso --sector 64", SetUp};

}  // namespace vellmark
