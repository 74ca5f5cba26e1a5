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
    Bytes headers = testing::BytesAt(path, 0, 5 * 512);
    // Nor the bitmap of the bad blocks, which follow the trees of 8 and 40 nodes.
    headers[3 * 512 + 48 / 8] = 0;
    const auto putNine = [&](const std::string& name, std::uint8_t byte) {
        for (char digit = '1'; digit <= '9'; ++digit)
            ASSERT_EQ(volume.put(name + digit, Bytes(3000, byte), Bytes(3000, byte)),
                      StoreResult::Done);
        ASSERT_EQ(volume.flush(), TreeResult::Done);
    };
    const std::uint64_t free = volume->freeBlocks() + 2;
    putNine("old", 1);
    const std::uint64_t nextId = volume->mdb.nextCatalogId;
    // Not unmounted, and a wrong number of free blocks; then a header behind by one item alone.
    constexpr std::size_t kMdb = 2 * 512;
    headers = testing::WithFields(
        headers, {{kMdb + 10, 2, 0}, {kMdb + 12, 2, 9}, {kMdb + 34, 2, free}, {kMdb + 84, 4, 9}});
    for (const bool isNearlyRight : {false, true}) {
        if (isNearlyRight)
            headers = testing::WithFields(headers, {{kMdb + 30, 4, nextId - 1}});
        ASSERT_TRUE(PcFile(path, PcFile::Mode::ReadWrite).writeAt(0, headers));
        ASSERT_TRUE(volume.open(path));
        EXPECT_EQ(volume->mdb.nextCatalogId, nextId);
    }
    putNine("new", 2);
    ASSERT_TRUE(volume.open(path));
    EXPECT_EQ(testing::FaultOfBlocks(volume), "");
    for (char digit = '1'; digit <= '9'; ++digit) {
        EXPECT_EQ(volume.contents(std::string("old") + digit), Bytes(3000, 1));
        EXPECT_EQ(volume.contents(std::string("new") + digit, true), Bytes(3000, 2));
    }
}

}  // namespace
}  // namespace vellmark
