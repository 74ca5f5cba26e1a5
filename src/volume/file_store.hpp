// Whole files put into a volume: blocks reserved, forks written, records added.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>

#include "containers/fork_pair.hpp"
#include "support/progress.hpp"
#include "volume/catalog.hpp"
#include "volume/writable_volume.hpp"

namespace vellmark {

/// A file that is to be put into a folder of the volume.
struct NewFile {
    std::uint32_t parentId = 0;
    CatalogName name;
    FinderInfo finder;
    MacSeconds created = 0;  ///< in the time of the volume, as the other dates
    MacSeconds modified = 0;
    MacSeconds backedUp = 0;
    bool isLocked = false;
    ByteSource* data = nullptr;      ///< null: an empty fork
    ByteSource* resource = nullptr;  ///< null: an empty fork
    /// Asked when the forks were read, where they can change meanwhile; such a file is not added.
    /// One whose blocks a replaced file had to give is: what was there is lost by then.
    std::function<bool()> hasSourceChanged;
    /// The file that it takes the place of. It goes only when the new one is wholly there, unless
    /// there is room for the new one nowhere but in its blocks: an image that cannot be written, or
    /// a power cut, then costs both.
    std::optional<CatalogItem> replaced;
};

enum class StoreResult {
    Done,
    Exists,         ///< the folder has an item of that name
    NoRoom,         ///< too few free blocks, for it or for the catalog
    TooFragmented,  ///< there is no room to write down in how many runs it would lie
    FolderFull,     ///< the folder of an HFS volume takes no more items
    ForkTooLong,    ///< HFS keeps 31 bits of a fork's length
    SourceFailed,   ///< a fork ended before its length, or could not be read
    SourceChanged,  ///< see `NewFile::hasSourceChanged`
    TargetFailed,   ///< the image did not take everything
    Protected,      ///< the file to be replaced is a hard link or a compressed one
    Attributes,     ///< the file to be replaced has extended attributes
    Damaged,        ///< the catalog cannot be used where the file would go
    Stopped         ///< by the user
};

/// Adds a file. Unless it is `Done` the volume is as it was, but for bytes of free blocks. What was
/// changed before is flushed where that makes room.
[[nodiscard]] StoreResult AddFileToCatalog(WritableVolume& volume, const NewFile& file,
                                           const Clock& clock, Progress& progress);

}  // namespace vellmark
