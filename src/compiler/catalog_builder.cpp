#include "compiler/catalog_builder.hpp"

#include <algorithm>

#include "containers/pc_name.hpp"
#include "support/encoding.hpp"
#include "volume/catalog_insert.hpp"
#include "volume/catalog_keys.hpp"

namespace vellmark {

namespace {

constexpr std::uint32_t kFirstHfsId = 17;
constexpr std::uint32_t kFirstHfsPlusId = 18;
constexpr std::size_t kHfsPlusLabelLimit = 61;
constexpr std::uint16_t kRootLocationV = 112;
constexpr std::uint16_t kRootLocationH = 584;

class Builder {
  public:
    Builder(const CompileContext& context, const DiscPlan& plan, const HfsLayout& layout,
            BuiltCatalog& catalog)
        : context_(context),
          plan_(plan),
          layout_(layout),
          catalog_(catalog),
          now_(MacDateNow(context.clock, layout.isHfsPlus)),
          ids_(plan.folders.size()) {}

    TreeResult run() {
        catalog_.nextCatalogId = layout_.isHfsPlus ? kFirstHfsPlusId : kFirstHfsId;
        if (const TreeResult result = addRoot(); result != TreeResult::Done)
            return result;
        for (std::size_t i = 0; i < plan_.folders.size(); ++i) {
            if (!plan_.folders[i].inHfs)
                continue;
            if (i > 0)
                if (const TreeResult result = addFolder(i); result != TreeResult::Done)
                    return result;
            for (const DiscItem& item : plan_.folders[i].items)
                if (item.inHfs && !item.isFolder())
                    if (const TreeResult result = addFile(item, ids_[i]);
                        result != TreeResult::Done)
                        return result;
        }
        return FlushTree(catalog_.tree);
    }

  private:
    TreeResult addRoot() {
        const ProjectHeader& header = context_.project.header();
        ids_[0] = kRootFolderId;
        FolderFacts facts;
        facts.id = kRootFolderId;
        facts.valence = plan_.folders[0].hfsChildren;
        facts.created = facts.modified = now_;
        facts.backedUp = now_;
        facts.finderFlags = FolderFlags(header.customIcon(), false);
        facts.locationV = kRootLocationV;
        facts.locationH = kRootLocationH;
        return layout_.isHfsPlus
                   ? InsertFolder(catalog_.tree, kRootParentId, HfsPlusLabel(header), facts)
                   : InsertFolder(catalog_.tree, kRootParentId, HfsLabel(header), facts);
    }

    TreeResult addFolder(std::size_t index) {
        const DiscFolder& folder = plan_.folders[index];
        const DiscItem& item = *plan_.itemOf(folder);
        ids_[index] = folderId(folder);
        FolderFacts facts;
        facts.id = ids_[index];
        facts.valence = folder.hfsChildren;
        facts.created = facts.modified = now_;
        facts.finderFlags = FolderFlags(item.record->customIcon(), item.record->hiddenInHfs());
        ++catalog_.folderCount;
        catalog_.rootFolderCount += folder.parent == 0 ? 1 : 0;
        const std::uint32_t parentId = ids_[static_cast<std::size_t>(folder.parent)];
        return layout_.isHfsPlus ? InsertFolder(catalog_.tree, parentId, item.hfsPlusName, facts)
                                 : InsertFolder(catalog_.tree, parentId, item.hfsName, facts);
    }

    // The background folder of a layout keeps its number in HFS+.
    std::uint32_t folderId(const DiscFolder& folder) {
        if (layout_.isHfsPlus && folder.number == kBackgroundFolder)
            return static_cast<std::uint32_t>(kBackgroundFolder);
        return catalog_.nextCatalogId++;
    }

    TreeResult addFile(const DiscItem& item, std::uint32_t parentId) {
        const ProjectRecord& record = *item.record;
        FileFacts facts;
        facts.id = catalog_.nextCatalogId++;
        std::copy(std::begin(record.signature_), std::end(record.signature_),
                  facts.signature.begin());
        facts.finderFlags = item.finderFlags;
        facts.created = dateOf(item.created != 0 ? item.created : MacSeconds{record.created}, item);
        facts.modified = dateOf(record.modified, item);
        facts.data = forkOf(item.dataFork());
        facts.resource = forkOf(item.run(RunKind::Resource));
        ++catalog_.fileCount;
        catalog_.rootFileCount += parentId == kRootFolderId ? 1 : 0;
        return layout_.isHfsPlus
                   ? InsertFile(catalog_.tree, parentId, item.hfsPlusName, facts)
                   : InsertFile(catalog_.tree, parentId, item.hfsName, facts, layout_.blockSize());
    }

    [[nodiscard]] ForkFacts forkOf(const DiscRun& run) const {
        const auto blocks =
            static_cast<std::uint32_t>(BlocksFor(run.sizeBytes, layout_.blockSize()));
        return {run.sizeBytes, blocks ? layout_.systemBlocks + run.startBlock : 0, blocks};
    }

    // Records hold local time. Where it still is the file's own date, the date itself is taken: it
    // has no doubtful hour.
    MacSeconds dateOf(MacSeconds local, const DiscItem& item) const {
        if (!layout_.isHfsPlus)
            return local;
        const bool same = local == ToMacLocal(item.modified, context_.clock);
        return ToMacGmt(same ? item.modified : FromMacLocal(local, context_.clock));
    }

    const CompileContext& context_;
    const DiscPlan& plan_;
    const HfsLayout& layout_;
    BuiltCatalog& catalog_;
    MacSeconds now_;
    std::vector<std::uint32_t> ids_;  // catalog id of each folder of the plan
};

}  // namespace

TreeResult BuildCatalog(const CompileContext& context, const DiscPlan& plan,
                        const HfsLayout& layout, NodeStore& nodes, BuiltCatalog& catalog) {
    const std::uint64_t bytes = std::uint64_t{layout.catalogFile.blockCount} * layout.blockSize();
    const auto totalNodes = static_cast<std::uint32_t>(bytes / NewNodeSize(layout.isHfsPlus));
    catalog = BuiltCatalog{};
    if (!BuildCatalogTree(catalog.tree, nodes, layout.isHfsPlus, totalNodes))
        return TreeResult::Full;
    return Builder(context, plan, layout, catalog).run();
}

std::string HfsLabel(const ProjectHeader& header) {
    std::string label(header.hfsLabel());
    std::replace(label.begin(), label.end(), ':', '_');
    return label.substr(0, kHfsVolumeNameLimit);
}

std::u16string HfsPlusLabel(const ProjectHeader& header) {
    const std::string_view label = header.hfsLabel().substr(0, kHfsPlusLabelLimit);
    return PcToHfsPlusName(NarrowToWide(label)).units;
}

}  // namespace vellmark
