#include "transfer/import_folder.hpp"

#include "volume/catalog_access.hpp"

namespace vellmark {

namespace {

// The fields of a folder's record that this room changes.
struct FolderFields {
    be16& flags;
    be32& created;
    be32& modified;
};

template <typename Change>
TreeResult ChangeFolder(WritableVolume& volume, std::uint32_t folderId, Change change) {
    bool found = false;
    if (const TreeResult result = StandOnFolder(volume, folderId, found);
        result != TreeResult::Done || !found)
        return result == TreeResult::Done ? TreeResult::Missing : result;
    const ByteSpan data = CurrentData(volume);
    if (volume->isHfsPlus) {
        auto& record = RecordIn<HfsPlusFolderRecord>(data);
        change({record.finderInfo.flags, record.creationDate, record.contentModificationDate});
    } else {
        auto& record = RecordIn<HfsFolderRecord>(data);
        change({record.finderInfo.flags, record.creationDate, record.modificationDate});
    }
    return StoreCurrentNode(volume);
}

}  // namespace

MacSeconds VolumeDate(const VolumeContext& volume, UnixSeconds at, const Clock& clock) {
    return volume.isHfsPlus ? ToMacGmt(at) : ToMacLocal(at, clock);
}

TreeResult SetFolderFacts(WritableVolume& volume, std::uint32_t folderId, const PcFacts& facts,
                          bool hidden, const Clock& clock) {
    const MacSeconds date = VolumeDate(volume, facts.modified, clock);
    return ChangeFolder(volume, folderId, [&](const FolderFields& fields) {
        fields.created = date;
        fields.modified = date;
        if (hidden)
            fields.flags = static_cast<std::uint16_t>(fields.flags | kFinderInvisible);
    });
}

TreeResult MarkCustomIcon(WritableVolume& volume, std::uint32_t folderId) {
    return ChangeFolder(volume, folderId, [](const FolderFields& fields) {
        fields.flags =
            static_cast<std::uint16_t>((fields.flags | kFinderCustomIcon) & ~kFinderInited);
    });
}

}  // namespace vellmark
