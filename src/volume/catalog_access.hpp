// Records of the catalog in place, for what changes them. The catalog's cursor stands on the record
// that was found last.
#pragma once

#include <array>
#include <cstdint>
#include <cstring>
#include <optional>
#include <vector>

#include "volume/catalog_name.hpp"
#include "volume/hfs_plus_structures.hpp"
#include "volume/hfs_structures.hpp"
#include "volume/volume_context.hpp"

namespace vellmark {

/// The type of a record; nothing when the bytes are too few to be one of that type.
[[nodiscard]] std::optional<CatalogRecordType> RecordTypeOf(const VolumeContext& volume,
                                                            ConstByteSpan data);

/// Bytes of the record that the cursor stands on.
[[nodiscard]] inline ByteSpan CurrentData(VolumeContext& volume) {
    return volume.catalog.view().data(volume.catalog.index);
}
/// The record as the structure of its type, which `RecordTypeOf` has confirmed.
template <typename Record>
[[nodiscard]] Record& RecordIn(ByteSpan data) {
    return *reinterpret_cast<Record*>(data.data());
}

/// The runs that a file record holds, of the data fork and of the resource fork.
[[nodiscard]] std::array<std::vector<BlockRun>, 2> RunsOfForks(const VolumeContext& volume,
                                                               ByteSpan data);

/// The id in the current folder or file record; 0 when it is neither.
[[nodiscard]] std::uint32_t CurrentItemId(VolumeContext& volume);

/// Stands on the record of an item. False when there is none, or one that is no file or folder.
[[nodiscard]] TreeResult StandOnItem(VolumeContext& volume, const TreeKey& key, bool& found);
/// Stands on the record of a folder, by its thread.
[[nodiscard]] TreeResult StandOnFolder(VolumeContext& volume, std::uint32_t folderId, bool& found);
/// Writes the node of the record after a change that keeps its length.
[[nodiscard]] TreeResult StoreCurrentNode(VolumeContext& volume);

/// What a thread stores.
struct ThreadFacts {
    CatalogRecordType type = CatalogRecordType::FolderThread;
    std::uint32_t parentId = 0;
    CatalogName name;
};
/// The thread of an item; nothing when there is none.
[[nodiscard]] TreeResult ReadThread(VolumeContext& volume, std::uint32_t id,
                                    std::optional<ThreadFacts>& thread);

}  // namespace vellmark
