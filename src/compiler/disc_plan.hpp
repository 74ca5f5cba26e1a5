// What an image will hold, settled before its first byte is written: the folders in the order of
// the folder pass, each item with its names, its size on the PC and its place among the blocks.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "IO/iso_structures.hpp"
#include "compiler/compile_context.hpp"
#include "support/medium_places.hpp"
#include "support/pc_folder.hpp"
#include "transfer/import_class.hpp"

namespace vellmark {

class ImportSource;

inline constexpr std::int32_t kNoFolder = -1;

/// Bytes of an item that lie in the image in one piece.
struct DiscRun {
    std::uint32_t sizeBytes = 0;
    std::uint32_t startBlock = 0;  ///< allocation blocks from the start of the file area
};

/// Where the data of all files lies in the image.
struct FileArea {
    DiscSector start;
    std::uint32_t sectorsPerBlock = 1;  ///< of 2048 bytes

    [[nodiscard]] DiscSector sectorOf(const DiscRun& run) const {
        return start + run.startBlock * sectorsPerBlock;
    }
};

/// The pieces of an item. A piece without bytes takes no block.
enum class RunKind : std::size_t {
    File,     ///< what the ISO trees show as the file; the data fork too, unless there is one
    Data,     ///< the data fork of a file whose container is what the ISO trees show
    Resource  ///< the resource fork
};
inline constexpr std::size_t kRunKinds = 3;

/// One file or folder of the image.
struct DiscItem {
    const ProjectRecord* record = nullptr;  ///< the project's
    std::int32_t folder = kNoFolder;        ///< index of the folder it is, or `kNoFolder`
    bool inIso = false;
    bool inHfs = false;
    ImportClass source = ImportClass::Plain;  ///< where the forks are
    bool dataIsFile = true;                   ///< the data fork is the piece `File`, else `Data`
    std::uint16_t finderFlags = 0;            ///< in Macintosh volumes
    std::string containerName;                ///< MacRoman: of a container that stores one
    std::array<DiscRun, kRunKinds> runs;
    /// BinHex that was decoded for its lengths and is kept until it is copied; null where it is to
    /// be decoded again.
    std::shared_ptr<ImportSource> decoded;
    UnixSeconds modified = 0;    ///< of the item on the PC
    MacSeconds created = 0;      ///< local; of a container that stores one behind the modification
    std::string isoName;         ///< identifier without version
    std::u16string jolietName;   ///< identifier without version
    std::string hfsName;         ///< MacRoman, in HFS images
    std::u16string hfsPlusName;  ///< decomposed, in HFS+ images

    [[nodiscard]] bool isFolder() const { return folder != kNoFolder; }
    [[nodiscard]] DiscRun& run(RunKind kind) { return runs[static_cast<std::size_t>(kind)]; }
    [[nodiscard]] const DiscRun& run(RunKind kind) const {
        return runs[static_cast<std::size_t>(kind)];
    }
    [[nodiscard]] const DiscRun& dataFork() const {
        return run(dataIsFile ? RunKind::File : RunKind::Data);
    }
};

/// One folder: its items in the order of the project's records, and where its tables will lie.
struct DiscFolder {
    std::int32_t number = 0;          ///< the project's
    std::int32_t parent = kNoFolder;  ///< index of the folder that holds it
    std::size_t parentItem = 0;       ///< its item in there
    bool inIso = true;
    bool inHfs = true;
    std::vector<DiscItem> items;
    std::uint32_t hfsChildren = 0;  ///< items of the HFS view directly inside
};

/// Folders stand in the order of the pass: a folder, then each of its subfolders with all that is
/// in them. The files of a folder are laid out before those of its subfolders.
struct DiscPlan {
    std::vector<DiscFolder> folders;
    std::uint64_t sourceBytes = 0;  ///< of all pieces
    std::uint32_t largestFork = 0;  ///< bytes, of the files in the HFS view
    std::string largestName;        ///< of its file, as a person calls it
    /// Files of the ISO trees carry type and creator, and their resource fork as an associated
    /// file.
    bool appleExtension = false;
    /// Directories and path tables are sorted as ECMA-119 asks, not as the project's records are.
    bool strictIso = false;
    /// What is not, or not wholly, in the image, and why; for `Messages::itemSkipped`.
    std::vector<std::pair<std::string, Reason>> leftOut;

    [[nodiscard]] const DiscItem* itemOf(const DiscFolder& folder) const {
        return folder.parent == kNoFolder ? nullptr
                                          : &folders[folder.parent].items[folder.parentItem];
    }
};

/// The order in which the pieces of an item lie: behind an associated file comes its file.
[[nodiscard]] constexpr std::array<RunKind, kRunKinds> RunOrder(bool appleExtension) {
    return appleExtension ? std::array{RunKind::Resource, RunKind::File, RunKind::Data}
                          : std::array{RunKind::File, RunKind::Data, RunKind::Resource};
}

/// Reads the project and looks every item up on the PC: sizes are those that files and containers
/// have now. Items that `mode` does not show are left out, and so are, by name in
/// `DiscPlan::leftOut`, those that it cannot hold and those whose folder is not in the project.
/// `CopyFailed`, after a message that names the item, when one is missing or cannot be read;
/// `Aborted` when the user stopped the work.
[[nodiscard]] CompileResult MakeDiscPlan(CompileContext& context, DiscPlan& plan);

/// Gives every piece its place: one after the other, each beginning on an allocation block. Returns
/// the blocks used.
std::uint64_t PlaceFiles(DiscPlan& plan, std::uint32_t blockSize);

/// "Decoding BinHex file", for the status line.
inline constexpr int kTextDecodingBinHex = 1222;

/// Blocks of `blockSize` bytes that so many bytes fill.
[[nodiscard]] constexpr std::uint64_t BlocksFor(std::uint64_t bytes, std::uint32_t blockSize) {
    return (bytes + blockSize - 1) / blockSize;
}

}  // namespace vellmark
