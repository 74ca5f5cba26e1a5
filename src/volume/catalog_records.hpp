// The records that this program writes into catalogs, made in one place for the engine, the
// formatter and the compiler.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>
#include <vector>

#include "support/mac_dates.hpp"
#include "volume/hfs_plus_structures.hpp"
#include "volume/hfs_structures.hpp"
#include "volume/tree_node.hpp"

namespace vellmark {

using RecordData = std::vector<std::uint8_t>;

/// What a folder record stores.
struct FolderFacts {
    std::uint32_t id = 0;
    std::uint32_t valence = 0;  ///< items directly inside
    MacSeconds created = 0;     ///< in the time of the format
    MacSeconds modified = 0;
    MacSeconds backedUp = 0;
    std::uint16_t finderFlags = 0;
    std::uint16_t locationV = 0;  ///< of the icon in its window
    std::uint16_t locationH = 0;
};

/// One fork, in one run of allocation blocks.
struct ForkFacts {
    std::uint64_t sizeBytes = 0;
    std::uint32_t startBlock = 0;
    std::uint32_t blockCount = 0;  ///< 0: the fork is empty
};

/// What a file record stores.
struct FileFacts {
    std::uint32_t id = 0;
    std::array<char, 8> signature{};  ///< type, then creator
    std::uint16_t finderFlags = 0;
    MacSeconds created = 0;
    MacSeconds modified = 0;
    ForkFacts data;
    ForkFacts resource;
};

/// Flags of a visible folder: with a custom icon the Finder must look again at what it holds.
[[nodiscard]] std::uint16_t FolderFlags(bool customIcon, bool hidden);

[[nodiscard]] RecordData HfsFolderData(const FolderFacts& facts);
[[nodiscard]] RecordData HfsPlusFolderData(const FolderFacts& facts);
/// `blockSize` in bytes gives the forks' physical sizes.
[[nodiscard]] RecordData HfsFileData(const FileFacts& facts, std::uint32_t blockSize);
[[nodiscard]] RecordData HfsPlusFileData(const FileFacts& facts);
[[nodiscard]] RecordData HfsThreadData(CatalogRecordType type, std::uint32_t parentId,
                                       std::string_view name);
[[nodiscard]] RecordData HfsPlusThreadData(CatalogRecordType type, std::uint32_t parentId,
                                           std::u16string_view name);

}  // namespace vellmark
