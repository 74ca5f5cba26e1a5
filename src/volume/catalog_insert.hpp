// Items put into a catalog together with the threads that belong to them: HFS folders and all items
// of HFS+ have one.
#pragma once

#include <cstdint>
#include <string_view>

#include "volume/btree.hpp"
#include "volume/catalog_records.hpp"

namespace vellmark {

/// HFS: a folder and its thread; the name in MacRoman.
[[nodiscard]] TreeResult InsertFolder(TreeCursor& catalog, std::uint32_t parentId,
                                      std::string_view name, const FolderFacts& facts);
/// HFS+: a folder and its thread; the name decomposed.
[[nodiscard]] TreeResult InsertFolder(TreeCursor& catalog, std::uint32_t parentId,
                                      std::u16string_view name, const FolderFacts& facts);
/// HFS: a file; `blockSize` in bytes gives the physical sizes of its forks.
[[nodiscard]] TreeResult InsertFile(TreeCursor& catalog, std::uint32_t parentId,
                                    std::string_view name, const FileFacts& facts,
                                    std::uint32_t blockSize);
/// HFS+: a file and its thread.
[[nodiscard]] TreeResult InsertFile(TreeCursor& catalog, std::uint32_t parentId,
                                    std::u16string_view name, const FileFacts& facts);

}  // namespace vellmark
