#include "reading/alias_target.hpp"

#include <algorithm>
#include <utility>

#include "support/sentences.hpp"
#include "volume/catalog_access.hpp"

namespace vellmark {
namespace {

/// Folders within each other; a catalog whose threads go in a ring has no end.
constexpr unsigned kMostLevels = 1000;

bool NamesVolume(const VolumeContext& volume, const std::string& label, const AliasRecord& alias) {
    const MacSeconds created = volume.isHfsPlus ? volume.vhb.creationDate : volume.mdb.creationDate;
    return alias.volumeName == label || (created != 0 && alias.volumeCreated == created);
}

class Finder {
  public:
    Finder(VolumeContext& volume, const AliasRecord& alias, const Clock& clock)
        : volume_(volume), alias_(alias), clock_(clock) {}

    void find(AliasTarget& target) {
        if (!byFolder() && !byNumber())
            byPath();
        target.item = std::move(item_);
        if (target.item && !placeOf(*target.item, target.path))
            note(TreeResult::Damaged);
        target.problem = std::move(problem_);
    }

  private:
    void note(TreeResult result) {
        if (result != TreeResult::Done && !problem_)
            problem_ = CatalogProblem(result, Sentence::kPlaceOnTheWayToTarget);
    }
    // What has the name and is a file in place of a folder is another item.
    [[nodiscard]] bool take(TreeResult result) {
        note(result);
        if (item_ && item_->isFolder != alias_.isFolder)
            item_.reset();
        return item_.has_value();
    }
    [[nodiscard]] bool byFolder() {
        return take(FindItem(volume_, alias_.parentId, alias_.targetName, clock_, item_));
    }
    [[nodiscard]] bool byNumber() {
        std::optional<ThreadFacts> thread;
        note(ReadThread(volume_, alias_.targetId, thread));
        return thread && take(FindNamed(volume_, thread->parentId, thread->name, clock_, item_)) &&
               item_->id == alias_.targetId;
    }
    void byPath() {
        item_.reset();
        // The first name is that of the volume.
        const std::size_t start = alias_.macPath.find(':');
        if (start == std::string::npos)
            return;
        std::string path = alias_.macPath.substr(start + 1);
        for (char& c : path)
            c = c == ':' ? '/' : c == '/' ? ':' : c;
        (void)take(FindPath(volume_, path, clock_, item_));
    }
    [[nodiscard]] bool placeOf(const CatalogItem& item, std::string& path) {
        if (item.id == kRootFolderId)
            return true;
        path = item.name;
        std::uint32_t folder = item.parentId;
        for (unsigned level = 0; folder != kRootFolderId; ++level) {
            std::optional<ThreadFacts> thread;
            const TreeResult result = ReadThread(volume_, folder, thread);
            note(result);
            if (!thread || level == kMostLevels)
                return false;
            path.insert(0, ShownName(volume_, thread->name).append("/"));
            folder = thread->parentId;
        }
        return true;
    }

    VolumeContext& volume_;
    const AliasRecord& alias_;
    const Clock& clock_;
    std::optional<CatalogItem> item_;
    Reason problem_;
};

}  // namespace

AliasTarget FindAliasTarget(VolumeContext& volume, const std::string& label,
                            const AliasRecord& alias, const Clock& clock) {
    AliasTarget target;
    target.isOnVolume = NamesVolume(volume, label, alias);
    if (target.isOnVolume)
        Finder(volume, alias, clock).find(target);
    return target;
}

}  // namespace vellmark
