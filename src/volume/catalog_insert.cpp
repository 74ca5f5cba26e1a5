#include "volume/catalog_insert.hpp"

#include "volume/catalog_keys.hpp"

namespace vellmark {

TreeResult InsertFolder(TreeCursor& catalog, std::uint32_t parentId, std::string_view name,
                        const FolderFacts& facts) {
    const TreeResult result =
        InsertTreeRecord(catalog, HfsCatalogKey(parentId, name), HfsFolderData(facts));
    return result != TreeResult::Done
               ? result
               : InsertTreeRecord(catalog, HfsCatalogKey(facts.id, {}),
                                  HfsThreadData(CatalogRecordType::FolderThread, parentId, name));
}

TreeResult InsertFolder(TreeCursor& catalog, std::uint32_t parentId, std::u16string_view name,
                        const FolderFacts& facts) {
    const TreeResult result =
        InsertTreeRecord(catalog, HfsPlusCatalogKey(parentId, name), HfsPlusFolderData(facts));
    return result != TreeResult::Done
               ? result
               : InsertTreeRecord(
                     catalog, HfsPlusCatalogKey(facts.id, {}),
                     HfsPlusThreadData(CatalogRecordType::FolderThread, parentId, name));
}

TreeResult InsertFile(TreeCursor& catalog, std::uint32_t parentId, std::string_view name,
                      const FileFacts& facts, std::uint32_t blockSize) {
    return InsertTreeRecord(catalog, HfsCatalogKey(parentId, name), HfsFileData(facts, blockSize));
}

TreeResult InsertFile(TreeCursor& catalog, std::uint32_t parentId, std::u16string_view name,
                      const FileFacts& facts) {
    const TreeResult result =
        InsertTreeRecord(catalog, HfsPlusCatalogKey(parentId, name), HfsPlusFileData(facts));
    return result != TreeResult::Done
               ? result
               : InsertTreeRecord(catalog, HfsPlusCatalogKey(facts.id, {}),
                                  HfsPlusThreadData(CatalogRecordType::FileThread, parentId, name));
}

}  // namespace vellmark
