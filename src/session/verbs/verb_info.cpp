#include <fmt/core.h>

#include <algorithm>
#include <memory>

#include "reading/tree_search.hpp"
#include "session/verbs/image_verbs.hpp"
#include "session/verbs/verbs.hpp"
#include "support/encoding.hpp"
#include "support/sentences.hpp"
#include "volume/partition_choice.hpp"
#include "volume/read_only.hpp"

namespace vellmark {

namespace {

struct InfoOptions {
    ViewOptions view;
    bool json = false;
};

TreeFacts FactsOf(ViewRun& run, TreeView& tree) {
    WholeFacts whole = WholeFactsOf(*run.view, tree, run.terminal.messages);
    run.failed = run.failed || whole.isDamaged;
    return std::move(whole.facts);
}

// Why the Macintosh volume cannot be changed; none when it can.
Reason RefusalOf(const ImageView& view) {
    return view.imageRefusal() ? view.imageRefusal() : ChangeRefusal(view.changeReasons());
}

nlohmann::ordered_json TreeInfo(const TreeFacts& facts, const std::string& changeRefusal) {
    nlohmann::ordered_json json = TreeJson(facts);
    json["sizeBytes"] = facts.sizeBytes();
    json["blockSize"] = facts.blockSize;
    json["blocks"] = facts.blockCount;
    json["freeBlocks"] = nullptr;
    json["freeBytes"] = nullptr;
    if (facts.freeBlocks) {
        json["freeBlocks"] = *facts.freeBlocks;
        json["freeBytes"] = *facts.freeBlocks * facts.blockSize;
    }
    json["files"] = *facts.fileCount;
    json["folders"] = *facts.folderCount;
    json["created"] = DateJson(facts.created);
    json["modified"] = DateJson(facts.modified);
    for (const auto& [key, text] : facts.texts)
        json[std::string(key)] = text;
    if (facts.kind == TreeKind::Hfs) {
        json["changeable"] = changeRefusal.empty();
        json["changeRefusal"] = nullptr;
        if (!changeRefusal.empty())
            json["changeRefusal"] = changeRefusal;
    }
    return json;
}

void PutJson(ViewRun& run, const std::string& image) {
    nlohmann::ordered_json json;
    json["image"] = image;
    json["sizeBytes"] = run.view->sizeBytes();
    json["partitions"] = nlohmann::ordered_json::array();
    for (const PartitionEntry& partition : run.view->partitions())
        json["partitions"].push_back({{"number", json["partitions"].size() + 1},
                                      {"name", PartitionName(partition)},
                                      {"startSector", partition.startSector.number()},
                                      {"sectorCount", partition.sectorCount}});
    json["trees"] = nlohmann::ordered_json::array();
    for (TreeView* tree : run.trees)
        json["trees"].push_back(
            TreeInfo(FactsOf(run, *tree), run.terminal.messages.words(RefusalOf(*run.view))));
    run.putJson(json);
}

void PutTree(ViewRun& run, const TreeFacts& facts) {
    const Messages& messages = run.terminal.messages;
    const auto line = [&](std::string_view key, std::string_view value) {
        (void)run.put(fmt::format("  {:<12} {}\n", key, value));
    };
    const auto named = [&](Sentence key, const Reason& value) {
        line(messages.words(key), messages.words(value));
    };
    (void)run.put(fmt::format("\n{}\n", TreeHeading(facts)));
    named(Sentence::kInfoSize,
          Reason(Sentence::kInfoSizeText, facts.sizeBytes(), facts.blockCount, facts.blockSize));
    if (facts.freeBlocks)
        named(Sentence::kInfoFree,
              Reason(Sentence::kInfoFreeText, *facts.freeBlocks * facts.blockSize));
    named(Sentence::kInfoFiles, Reason(Sentence::kOnlyOperand, *facts.fileCount));
    named(Sentence::kInfoFolders, Reason(Sentence::kOnlyOperand, *facts.folderCount));
    named(Sentence::kInfoCreated, Reason::Plain(DateText(facts.created)));
    named(Sentence::kInfoModified, Reason::Plain(DateText(facts.modified)));
    for (const auto& [key, text] : facts.texts)
        line(key, Printable(text));
    if (facts.kind == TreeKind::Hfs) {
        const Reason refusal = RefusalOf(*run.view);
        named(Sentence::kInfoChanges, refusal ? refusal : Reason(Sentence::kInfoPossible));
    }
}

void PutText(ViewRun& run, const std::string& image) {
    const Messages& messages = run.terminal.messages;
    const auto line = [&](const Reason& reason) { (void)run.put(messages.words(reason) + '\n'); };
    line(Reason(Sentence::kInfoBytes, Printable(image), run.view->sizeBytes()));
    unsigned number = 0;
    for (const PartitionEntry& partition : run.view->partitions())
        line(Reason(Sentence::kInfoPartition, PartitionLine(++number, partition),
                    partition.startSector.number(), partition.sectorCount));
    for (TreeView* tree : run.trees)
        PutTree(run, FactsOf(run, *tree));
}

int Info(const InfoOptions& options, CommandContext& context) {
    ViewRun run(context, false);
    if (!run.open(options.view))
        return kExitFailed;
    if (options.json)
        PutJson(run, options.view.image);
    else
        PutText(run, options.view.image);
    return run.exitStatus();
}

void SetUp(OptionSet& arguments, RunVerb& run) {
    const auto options = std::make_shared<InfoOptions>();
    AddViewOptions(arguments, options->view, Sentence::kHelpAnyTree);
    arguments.flag(option::kJsonDates, options->json);
    run = [options](CommandContext& context) { return Info(*options, context); };
}

}  // namespace

const Verb kVerbInfo = {"info", "", Sentence::kSummaryInfo, "vellmark info photos.iso", SetUp};

}  // namespace vellmark
