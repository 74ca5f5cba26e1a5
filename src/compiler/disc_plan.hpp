// What an image will hold, settled before its first byte is written: the folders in the order of
// the folder pass, each item with its names, its size on the PC and its place among the blocks.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "compiler/compile_context.hpp"
#include "support/pc_folder.hpp"

namespace vellmark {

inline constexpr std::int32_t kNoFolder = -1;

/// One file or folder of the image.
struct DiscItem {
    const ProjectRecord* record = nullptr;  ///< the project's
    std::int32_t folder = kNoFolder;        ///< index of the folder it is, or `kNoFolder`
    bool inIso = false;
    bool inHfs = false;
    std::uint32_t sizeBytes = 0;   ///< of the file on the PC
    UnixSeconds modified = 0;      ///< of the item on the PC
    std::uint32_t startBlock = 0;  ///< allocation blocks from the start of the file area
    std::string isoName;           ///< identifier without version
    std::u16string jolietName;     ///< identifier without version
    std::string hfsName;           ///< MacRoman, in HFS images
    std::u16string hfsPlusName;    ///< decomposed, in HFS+ images

    [[nodiscard]] bool isFolder() const { return folder != kNoFolder; }
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
    std::uint64_t sourceBytes = 0;  ///< of all files
    std::uint32_t largestFork = 0;  ///< bytes, of the files in the HFS view

    [[nodiscard]] const DiscItem* itemOf(const DiscFolder& folder) const {
        return folder.parent == kNoFolder ? nullptr
                                          : &folders[folder.parent].items[folder.parentItem];
    }
};

/// Reads the project and looks every item up on the PC. Items that `mode` does not show are left
/// out. False, after a message that names the item, when one is missing, cannot be read, or is of a
/// kind that cannot be built.
[[nodiscard]] bool MakeDiscPlan(CompileContext& context, DiscPlan& plan);

/// Gives every file its place: one after the other, each beginning on an allocation block. Returns
/// the blocks used.
std::uint64_t PlaceFiles(DiscPlan& plan, std::uint32_t blockSize);

/// Blocks of `blockSize` bytes that so many bytes fill.
[[nodiscard]] constexpr std::uint64_t BlocksFor(std::uint64_t bytes, std::uint32_t blockSize) {
    return (bytes + blockSize - 1) / blockSize;
}

}  // namespace vellmark
