#include "compiler/disc_plan.hpp"

#include <algorithm>
#include <unordered_set>
#include <utility>

#include "compiler/disc_names.hpp"
#include "compiler/item_forks.hpp"
#include "project/pc_sources.hpp"
#include "project/stray_records.hpp"
#include "support/encoding.hpp"
#include "support/sentences.hpp"

namespace vellmark {

namespace {

constexpr std::uint64_t kLargestFile = 0xFFFFFFFF;

class PlanMaker {
  public:
    PlanMaker(CompileContext& context, DiscPlan& plan)
        : context_(context),
          plan_(plan),
          target_(PcFactsOf(context.request.targetPath)),
          forks_(context, plan) {}

    CompileResult run() {
        plan_.appleExtension = context_.mode == CompileMode::IsoPlus;
        plan_.strictIso = context_.request.strictIso;
        plan_.folders.emplace_back().number = kRootFolder;
        entered_.insert(kRootFolder);
        std::vector<std::pair<std::int32_t, std::size_t>>
            waiting;  // folder and item, last one next
        for (std::int32_t index = 0;;) {
            if (const CompileResult result = fill(index, waiting); result != CompileResult::Done)
                return result;
            if (waiting.empty()) {
                tellStrayRecords();
                return CompileResult::Done;
            }
            const auto [parent, item] = waiting.back();
            waiting.pop_back();
            index = static_cast<std::int32_t>(plan_.folders.size());
            open(parent, item, index);
        }
    }

  private:
    // Turns an item into the folder that it is.
    void open(std::int32_t parent, std::size_t item, std::int32_t index) {
        DiscFolder folder;
        DiscItem& entry = plan_.folders[parent].items[item];
        entry.folder = index;
        folder.number = entry.record->number;
        folder.parent = parent;
        folder.parentItem = item;
        folder.inIso = entry.inIso;
        folder.inHfs = entry.inHfs;
        plan_.folders.push_back(std::move(folder));
    }

    CompileResult fill(std::int32_t index,
                       std::vector<std::pair<std::int32_t, std::size_t>>& waiting) {
        const std::size_t firstWaiting = waiting.size();
        // Items are gathered aside: the folder's own place moves when folders are added.
        std::vector<DiscItem> items;
        const DiscFolder& folder = plan_.folders[index];
        std::vector<std::u16string> diskNames;
        for (const ProjectRecord& record : context_.project.childrenOf(folder.number)) {
            DiscItem item;
            item.record = &record;
            item.inIso = HasIso(context_.mode) && folder.inIso && record.isoInclusion() != 0;
            item.inHfs = HasMacintosh(context_.mode) && folder.inHfs && record.hfsInclusion() != 0;
            if (!item.inIso && !item.inHfs)
                continue;
            // A record that names a folder twice, or a circle, is followed once.
            if (record.isFolder() && !entered_.insert(record.number).second)
                continue;
            std::u16string diskName;
            const Found found = lookUp(item, diskName);
            if (found == Found::Refused || found == Found::Stopped)
                return found == Found::Refused ? CompileResult::CopyFailed : CompileResult::Aborted;
            if (found == Found::LeftOut)
                continue;
            if (record.isFolder())
                waiting.emplace_back(index, items.size());
            items.push_back(std::move(item));
            diskNames.push_back(std::move(diskName));
        }
        AssignNames(items, diskNames, context_.mode, context_.messages);
        std::reverse(waiting.begin() + static_cast<std::ptrdiff_t>(firstWaiting), waiting.end());
        DiscFolder& target = plan_.folders[index];
        target.hfsChildren = static_cast<std::uint32_t>(std::count_if(
            items.begin(), items.end(), [](const DiscItem& item) { return item.inHfs; }));
        target.items = std::move(items);
        return CompileResult::Done;
    }

    void tellStrayRecords() {
        FindStrayRecords(context_.project,
                         [this](const ProjectRecord& record, const Reason& reason) {
                             if ((HasIso(context_.mode) && record.isoInclusion() != 0) ||
                                 (HasMacintosh(context_.mode) && record.hfsInclusion() != 0))
                                 plan_.leftOut.emplace_back(SourceText(record), reason);
                         });
    }

    enum class Found { Here, LeftOut, Refused, Stopped };

    // Finds the item on the PC: its size, its date and its true name.
    Found lookUp(DiscItem& item, std::u16string& diskName) {
        const ProjectRecord& record = *item.record;
        diskName = NarrowToWide(record.sourceName());
        if (record.isFolder() && record.accessPath() == kProjectOnlyPath) {
            item.modified = FromMacLocal(record.modified, context_.clock);
            return Found::Here;
        }
        PcFacts facts;
        const std::string path = resolver_.resolve(record.accessPath(), record.sourceName(), facts);
        if (facts.kind == PcKind::Missing)
            return refuse(record, Sentence::kPlanGone);
        if (facts.kind != (record.isFolder() ? PcKind::Folder : PcKind::File))
            return refuse(record,
                          record.isFolder() ? Sentence::kPlanNoFolder : Sentence::kPlanNoFile);
        diskName = Utf8ToWide(path.substr(path.find_last_of('/') + 1));
        item.modified = facts.modified;
        if (record.isFolder())
            return Found::Here;
        // The image that is being replaced is not part of itself.
        if (target_.kind == PcKind::File && target_.inode == facts.inode &&
            target_.device == facts.device) {
            plan_.leftOut.emplace_back(SourceText(record), Sentence::kPlanIsImage);
            return Found::LeftOut;
        }
        if (facts.sizeBytes > kLargestFile)
            return refuse(record, Sentence::kPlanTooLarge);
        switch (forks_.measure(item, path, static_cast<std::uint32_t>(facts.sizeBytes))) {
            case ForkPlanner::Result::Stopped:
                return Found::Stopped;
            case ForkPlanner::Result::LeftOut:
                return Found::LeftOut;
            case ForkPlanner::Result::Refused:
                return Found::Refused;
            case ForkPlanner::Result::Planned:
                break;
        }
        for (const DiscRun& run : item.runs)
            plan_.sourceBytes += run.sizeBytes;
        const std::uint32_t fork =
            std::max(item.dataFork().sizeBytes, item.run(RunKind::Resource).sizeBytes);
        if (item.inHfs && fork > plan_.largestFork) {
            plan_.largestFork = fork;
            plan_.largestName = SourceText(record);
        }
        return Found::Here;
    }

    Found refuse(const ProjectRecord& record, Sentence sentence) {
        context_.messages.showMessage(Reason(sentence, SourceText(record)));
        return Found::Refused;
    }

    CompileContext& context_;
    DiscPlan& plan_;
    PcFacts target_;
    PcPathResolver resolver_;
    ForkPlanner forks_;
    std::unordered_set<std::int32_t> entered_;
};

}  // namespace

CompileResult MakeDiscPlan(CompileContext& context, DiscPlan& plan) {
    return PlanMaker(context, plan).run();
}

std::uint64_t PlaceFiles(DiscPlan& plan, std::uint32_t blockSize) {
    std::uint64_t next = 0;
    for (DiscFolder& folder : plan.folders)
        for (DiscItem& item : folder.items) {
            if (item.isFolder())
                continue;
            for (const RunKind kind : RunOrder(plan.appleExtension)) {
                DiscRun& run = item.run(kind);
                run.startBlock = static_cast<std::uint32_t>(next);
                next += BlocksFor(run.sizeBytes, blockSize);
            }
        }
    return next;
}

}  // namespace vellmark
