#include "volume/catalog_search.hpp"

#include <algorithm>

#include "containers/name_order.hpp"
#include "containers/names.hpp"
#include "containers/pc_name.hpp"
#include "support/encoding.hpp"
#include "volume/catalog_access.hpp"
#include "volume/catalog_protection.hpp"
#include "volume/volume_change.hpp"

namespace vellmark {

namespace {

constexpr unsigned kMostLevels = 4096;

enum class Visit { GoOn, Changed, Stop };

// All folders and files in the order of the tree. A leaf in which something was changed is written
// once, when the walk leaves it.
template <typename Use>
TreeResult ForEachItem(VolumeContext& volume, Use use) {
    TreeCursor& catalog = volume.catalog;
    if (catalog.header().depth == 0)
        return TreeResult::Done;
    std::uint32_t leaf = catalog.header().firstLeaf;
    for (std::uint32_t leaves = 0; leaf != 0; ++leaves) {
        if (leaves > catalog.header().totalNodes)
            return TreeResult::Damaged;
        if (const TreeResult result = ReadNode(catalog, leaf); result != TreeResult::Done)
            return result;
        const NodeView node = catalog.view();
        if (node.kind() != NodeKind::Leaf)
            return TreeResult::Damaged;
        Visit last = Visit::GoOn;
        bool isChanged = false;
        for (std::size_t i = 0; i < node.count() && last != Visit::Stop; ++i) {
            const auto type = RecordTypeOf(volume, node.data(i));
            if (type != CatalogRecordType::Folder && type != CatalogRecordType::File)
                continue;
            catalog.index = i;
            last = use(*type, node.key(i), node.data(i));
            isChanged = isChanged || last == Visit::Changed;
        }
        if (isChanged)
            if (const TreeResult result = StoreCurrentNode(volume); result != TreeResult::Done)
                return result;
        leaf = last == Visit::Stop ? 0 : std::uint32_t{node.descriptor().forwardLink};
    }
    return TreeResult::Done;
}

SearchHit HitOf(const VolumeContext& volume, CatalogRecordType type, ConstByteSpan key) {
    return {KeyParent(key), NameOfKey(volume, key), type == CatalogRecordType::Folder};
}

FileFinderInfo& FinderInfoIn(const VolumeContext& volume, ByteSpan data) {
    return volume.isHfsPlus ? RecordIn<HfsPlusFileRecord>(data).finderInfo
                            : RecordIn<HfsFileRecord>(data).finderInfo;
}

// What a person typed as the search of the format: wildcards of HFS are sought in small letters.
CatalogName SearchName(const VolumeContext& volume, std::string_view pattern) {
    CatalogName search;
    std::u16string wide = Utf8ToWide(pattern);
    std::replace(wide.begin(), wide.end(), u':', u'/');
    if (volume.isHfsPlus)
        search.hfsPlus = WideToHfsPlusName(wide);
    else
        search.hfs = PcToMacName(wide).bytes;
    if (search.hfs.find('*') != std::string::npos)
        search.hfs = FoldMacRomanLower(search.hfs);
    return search;
}

// The files for which that holds of what the Finder keeps of them.
template <typename Holds>
TreeResult FindFiles(VolumeContext& volume, std::vector<SearchHit>& hits, std::size_t most,
                     Holds holds) {
    return ForEachItem(volume, [&](CatalogRecordType type, ConstByteSpan key, ByteSpan data) {
        if (type == CatalogRecordType::File && holds(FinderInfoIn(volume, data)))
            hits.push_back(HitOf(volume, type, key));
        return hits.size() >= most ? Visit::Stop : Visit::GoOn;
    });
}

bool Matches(std::string_view wanted, const std::array<char, 8>& signature) {
    const std::string_view whole(signature.data(), signature.size());
    if (wanted.size() > 4)
        return whole.starts_with(wanted);
    return whole.starts_with(wanted) || whole.substr(4).starts_with(wanted);
}

}  // namespace

TreeResult FindByName(VolumeContext& volume, std::string_view pattern, std::vector<SearchHit>& hits,
                      std::size_t most) {
    const CatalogName search = SearchName(volume, pattern);
    return ForEachItem(volume, [&](CatalogRecordType type, ConstByteSpan key, ByteSpan) {
        // The root's record stands under a parent that is no folder.
        if (KeyParent(key) == kRootParentId)
            return Visit::GoOn;
        const int order = volume.isHfsPlus
                              ? CompareHfsPlusSearch(search.hfsPlus, HfsPlusKeyName(key))
                              : CompareName(search.hfs, HfsKeyName(key));
        if (order == 0)
            hits.push_back(HitOf(volume, type, key));
        return hits.size() >= most ? Visit::Stop : Visit::GoOn;
    });
}

TreeResult FindBySignature(VolumeContext& volume, std::string_view signature,
                           std::vector<SearchHit>& hits, std::size_t most) {
    return FindFiles(volume, hits, most, [&](const FileFinderInfo& info) {
        return Matches(signature, info.signature);
    });
}

TreeResult FindAliases(VolumeContext& volume, std::vector<SearchHit>& hits, std::size_t most) {
    return FindFiles(volume, hits, most,
                     [](const FileFinderInfo& info) { return (info.flags & kFinderAlias) != 0; });
}

TreeResult ReplaceSignature(WritableVolume& volume, const std::array<char, 8>& oldSignature,
                            const std::array<char, 8>& newSignature, Replaced& replaced,
                            const std::function<bool(const SearchHit&)>& agrees) {
    replaced = {};
    VolumeChange change(volume);
    return change.end(ForEachItem(volume, [&](CatalogRecordType type, ConstByteSpan key,
                                              ByteSpan data) {
        if (type != CatalogRecordType::File || FinderInfoIn(volume, data).signature != oldSignature)
            return Visit::GoOn;
        if (RefuseChange(volume) != EditResult::Done) {
            replaced.refused.push_back(HitOf(volume, type, key));
            return Visit::GoOn;
        }
        if (agrees && !agrees(HitOf(volume, type, key)))
            return Visit::GoOn;
        FinderInfoIn(volume, data).signature = newSignature;
        ++replaced.count;
        return Visit::Changed;
    }));
}

std::string PathOf(VolumeContext& volume, const SearchHit& hit) {
    std::string path = ShownName(volume, hit.name);
    std::uint32_t folder = hit.parentId;
    for (unsigned level = 0; folder != kRootFolderId && level < kMostLevels; ++level) {
        std::optional<ThreadFacts> thread;
        if (ReadThread(volume, folder, thread) != TreeResult::Done || !thread)
            break;
        path.insert(0, ShownName(volume, thread->name).append("/"));
        folder = thread->parentId;
    }
    return path;
}

}  // namespace vellmark
