// Volumes whose headers were left behind by a system that was ended hard.
#include "volume/recovery.hpp"

#include <gtest/gtest.h>

#include "volume/catalog_changes.hpp"
#include "volume/file_store.hpp"
#include "volume/volume_model.hpp"

namespace vellmark {
namespace {

using testing::Bytes;
using testing::kClock;

StoreResult Put(WritableVolume& volume, const std::string& name, const Bytes& bytes) {
    MemoryBytes data(bytes);
    Progress progress;
    NewFile file;
    file.parentId = kRootFolderId;
    file.name = testing::NameOf(volume, name);
    file.data = &data;
    file.resource = &data;
    return AddFileToCatalog(volume, file, kClock, progress);
}

Bytes Contents(VolumeContext& volume, const std::string& name, bool resource) {
    std::optional<CatalogItem> item;
    EXPECT_EQ(FindItem(volume, kRootFolderId, name, kClock, item), TreeResult::Done);
    return item ? testing::ReadFork(volume, *item, resource) : Bytes{};
}

// The system had written the catalog, but neither the bitmap nor the header.
TEST(Recovery, ABitmapBehindTheCatalogCostsNoFile) {
    const TemporaryFolder folder;
    const std::string path = folder.path() + "/volume";
    ASSERT_TRUE(testing::MakeVolume(path, {"", false, 512, 2000, 40}));
    testing::TestVolume volume;
    ASSERT_TRUE(volume.open(path));
    Bytes headers(5 * kSectorBytes);
    {
        PcFile image(path, PcFile::Mode::Read);
        ASSERT_TRUE(image.readExactly(0, headers));
    }
    // Nor the bitmap of the bad blocks, which follow the trees of 8 and 40 nodes.
    headers[3 * kSectorBytes + 48 / 8] = 0;
    for (int i = 0; i < 9; ++i)
        ASSERT_EQ(Put(volume, "old " + std::to_string(i), Bytes(3000, 1)), StoreResult::Done);
    std::uint32_t folderId = 0;
    ASSERT_EQ(CreateFolder(volume, "folder", kRootFolderId, kClock, folderId), TreeResult::Done);
    ASSERT_EQ(volume.flush(), TreeResult::Done);
    MasterDirectoryBlock mdb;
    std::memcpy(&mdb, headers.data() + 2 * kSectorBytes, sizeof mdb);
    mdb.attributes = static_cast<std::uint16_t>(mdb.attributes & ~kVolumeUnmounted);
    mdb.freeBlocks = static_cast<std::uint16_t>(mdb.freeBlocks + 2);
    mdb.fileCount = 9;
    mdb.rootFileCount = 9;
    mdb.folderCount = 1;
    mdb.rootFolderCount = 1;
    std::memcpy(headers.data() + 2 * kSectorBytes, &mdb, sizeof mdb);
    {
        PcFile image(path, PcFile::Mode::ReadWrite);
        ASSERT_TRUE(image.writeAt(0, headers));
    }
    ASSERT_TRUE(volume.open(path));
    EXPECT_EQ(volume->mdb.nextCatalogId, folderId + 1);
    // A header that is behind by that one item alone.
    mdb.nextCatalogId = folderId;
    {
        PcFile image(path, PcFile::Mode::ReadWrite);
        ASSERT_TRUE(image.writeRecord(2 * kSectorBytes, mdb));
    }
    ASSERT_TRUE(volume.open(path));
    EXPECT_EQ(volume->mdb.nextCatalogId, folderId + 1);
    for (int i = 0; i < 9; ++i)
        ASSERT_EQ(Put(volume, "new " + std::to_string(i), Bytes(3000, 2)), StoreResult::Done);
    ASSERT_EQ(volume.flush(), TreeResult::Done);
    ASSERT_TRUE(volume.open(path));
    EXPECT_EQ(testing::FaultOfBlocks(volume), "");
    for (int i = 0; i < 9; ++i) {
        EXPECT_EQ(Contents(volume, "old " + std::to_string(i), i % 2 == 0), Bytes(3000, 1));
        EXPECT_EQ(Contents(volume, "new " + std::to_string(i), i % 2 == 0), Bytes(3000, 2));
    }
}

}  // namespace
}  // namespace vellmark
