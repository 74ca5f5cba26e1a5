#include "volume/catalog_growth.hpp"

#include <algorithm>

#include "volume/tree_growth.hpp"
#include "volume/volume_change.hpp"

namespace vellmark {

namespace {

class Growing {
  public:
    Growing(WritableVolume& volume, const std::function<ChangeTry()>& change)
        : volume_(volume), change_(change) {}

    // One try, after the catalog has grown by some blocks.
    ChangeTry once(std::uint32_t blocks, bool isLast = false) {
        VolumeChange change(volume_);
        if (blocks != 0)
            if (const TreeResult grown = ExtendCatalog(volume_, blocks); grown != TreeResult::Done)
                return grown == TreeResult::Full ? ChangeTry::NoRoom : ToChangeTry(grown);
        volume_->catalog.keptOldKey = false;
        const ChangeTry result = change_();
        // Searches would find everything, but other systems want each key where it belongs.
        if (result == ChangeTry::Done && volume_->catalog.keptOldKey && !isLast)
            return ChangeTry::NoNodes;
        if (result == ChangeTry::Done)
            change.keep();
        return result;
    }

  private:
    WritableVolume& volume_;
    const std::function<ChangeTry()>& change_;
};

bool LacksRoom(ChangeTry result) {
    return result == ChangeTry::NoNodes || result == ChangeTry::NoRoom;
}

}  // namespace

ChangeTry ToChangeTry(TreeResult result) {
    switch (result) {
        case TreeResult::Done:
            return ChangeTry::Done;
        case TreeResult::Full:
            return ChangeTry::NoNodes;
        case TreeResult::Failed:
            return ChangeTry::Failed;
        default:
            return ChangeTry::Damaged;
    }
}

ChangeTry ChangeCatalog(WritableVolume& volume, unsigned records,
                        const std::function<ChangeTry()>& change) {
    Growing growing(volume, change);
    ChangeTry result = growing.once(0);
    if (result != ChangeTry::NoNodes)
        return result;
    const std::uint32_t unit = GrowthUnit(volume, volume->catalog);
    const std::uint32_t modest = ModestGrowth(volume, true);
    const std::uint32_t most =
        modest + NodesForInsertions(volume->catalog.header().depth, records) * unit;
    result = growing.once(modest);
    for (std::uint32_t blocks = modest; result == ChangeTry::NoNodes && blocks < most;)
        result = growing.once(blocks += unit);
    // A file may need for itself what the catalog took beyond its need.
    ChangeTry least = ChangeTry::NoNodes;
    if (result == ChangeTry::NoRoom)
        for (std::uint32_t blocks = unit; least == ChangeTry::NoNodes && blocks < modest;
             blocks += unit)
            least = growing.once(blocks);
    if (!LacksRoom(least))
        return least;
    return LacksRoom(result) ? growing.once(0, true) : result;
}

TreeResult ChangeTrees(WritableVolume& volume, unsigned records,
                       const std::function<TreeResult()>& change) {
    TreeResult kept = TreeResult::Done;
    switch (ChangeCatalog(volume, records, [&] {
        kept = change();
        return kept == TreeResult::Exists || kept == TreeResult::Missing ? ChangeTry::Refused
                                                                         : ToChangeTry(kept);
    })) {
        case ChangeTry::Done:
            return TreeResult::Done;
        case ChangeTry::Refused:
            return kept;
        case ChangeTry::Damaged:
            return TreeResult::Damaged;
        case ChangeTry::Failed:
            return TreeResult::Failed;
        default:
            return TreeResult::Full;
    }
}

}  // namespace vellmark
