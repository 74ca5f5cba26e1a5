// Volumes whose headers were left behind by a system that was ended hard.
#include "volume/recovery.hpp"

#include <gtest/gtest.h>

#include "volume/catalog_changes.hpp"
#include "volume/volume_maker.hpp"

namespace vellmark {
namespace {

using testing::Bytes;

// The system had written the catalog, but neither the bitmap nor the header.
TEST(Recovery, ABitmapBehindTheCatalogCostsNoFile) {
    const TemporaryFolder folder;
    const std::string path = folder.path() + "/volume";
    ASSERT_TRUE(testing::MakeVolume(path, {"", false, 512, 2000, 40}));
    testing::TestVolume volume;
    ASSERT_TRUE(volume.open(path));
    Bytes headers = testing::BytesAt(path, 0, 5 * kSectorBytes);
    // Nor the bitmap of the bad blocks, which follow the trees of 8 and 40 nodes.
    headers[3 * kSectorBytes + 48 / 8] = 0;
    for (int i = 0; i < 9; ++i)
        ASSERT_EQ(volume.put("old " + std::to_string(i), Bytes(3000, 1), Bytes(3000, 1)),
                  StoreResult::Done);
    std::uint32_t folderId = 0;
    ASSERT_EQ(CreateFolder(volume, "folder", kRootFolderId, testing::kClock, folderId),
              TreeResult::Done);
    ASSERT_EQ(volume.flush(), TreeResult::Done);
    // The last one a header that is behind by one item alone.
    for (const bool isCatchingUp : {false, true}) {
        MasterDirectoryBlock mdb;
        std::memcpy(&mdb, headers.data() + 2 * kSectorBytes, sizeof mdb);
        mdb.attributes = static_cast<std::uint16_t>(mdb.attributes & ~kVolumeUnmounted);
        mdb.freeBlocks = static_cast<std::uint16_t>(mdb.freeBlocks + 2);
        mdb.fileCount = mdb.rootFileCount = 9;
        mdb.folderCount = mdb.rootFolderCount = 1;
        if (isCatchingUp)
            mdb.nextCatalogId = folderId;
        const auto bytes = AsBytes(mdb);
        std::copy(bytes.begin(), bytes.end(), headers.begin() + 2 * kSectorBytes);
        testing::WriteAt(path, 0, headers);
        ASSERT_TRUE(volume.open(path));
        EXPECT_EQ(volume->mdb.nextCatalogId, folderId + 1);
    }
    for (int i = 0; i < 9; ++i)
        ASSERT_EQ(volume.put("new " + std::to_string(i), Bytes(3000, 2), Bytes(3000, 2)),
                  StoreResult::Done);
    ASSERT_EQ(volume.flush(), TreeResult::Done);
    ASSERT_TRUE(volume.open(path));
    EXPECT_EQ(testing::FaultOfBlocks(volume), "");
    for (int i = 0; i < 9; ++i) {
        EXPECT_EQ(volume.contents("old " + std::to_string(i), i % 2 == 0), Bytes(3000, 1));
        EXPECT_EQ(volume.contents("new " + std::to_string(i), i % 2 == 0), Bytes(3000, 2));
    }
}

}  // namespace
}  // namespace vellmark
