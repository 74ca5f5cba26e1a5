#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <random>
#include <ranges>

#include "compiler/hfs_layout.hpp"
#include "compiler/iso_layout.hpp"
#include "compiler/iso_tables.hpp"

namespace vellmark {
namespace {

// A plan with one folder of so many files of one size.
DiscPlan PlanOf(std::size_t files, std::uint32_t sizeBytes) {
    DiscPlan plan;
    plan.folders.emplace_back().number = kRootFolder;
    for (std::size_t i = 0; i < files; ++i) {
        DiscItem item;
        item.inIso = item.inHfs = true;
        item.run(RunKind::File).sizeBytes = sizeBytes;
        item.isoName = "F" + std::to_string(i);
        item.jolietName = u"file number " + std::u16string(i % 40, u'n');
        item.hfsName = std::string(10 + i % 20, 'n');
        item.hfsPlusName = item.jolietName;
        plan.folders[0].items.push_back(item);
    }
    plan.largestFork = files ? sizeBytes : 0;
    return plan;
}

TEST(IsoLayout, SmallestImageHasTheReservesOfTheFormat) {
    const IsoLayout layout = ComputeLayout(PlanOf(1, 10), 2048);
    EXPECT_EQ(layout.iso.pathTableL, 19u);
    EXPECT_EQ(layout.iso.rootDirectory, 21u);
    EXPECT_EQ(layout.joliet.pathTableL, 24u);  // one sector and a reserve of two
    EXPECT_EQ(layout.joliet.rootDirectory, 26u);
    EXPECT_EQ(layout.fileArea, 31u);  // one sector and a reserve of four
}

TEST(IsoLayout, AnImageWithTheAppleExtensionHasNoMoreThanTheReservesUntilTheyAreFull) {
    DiscPlan plan = PlanOf(1, 10);
    plan.appleExtension = true;
    const IsoLayout least = ComputeLayout(plan, 2048);
    EXPECT_EQ(least.joliet.pathTableL, 23u);
    EXPECT_EQ(least.joliet.rootDirectory, 25u);
    EXPECT_EQ(least.fileArea, 29u);
    std::size_t files = 2;
    while (ComputeLayout(plan, 2048).fileArea == 29) {
        plan = PlanOf(++files, 10);
        plan.appleExtension = true;
        ASSERT_LT(files, 1000u);
    }
    const IsoLayout next = ComputeLayout(plan, 2048);
    EXPECT_TRUE(next.iso.directorySectors == 3 || next.joliet.directorySectors == 5);
    EXPECT_EQ(next.fileArea, 29 + next.iso.directorySectors + next.joliet.directorySectors);
}

TEST(IsoLayout, ADirectoryIsMeasuredAsItIsWritten) {
    // Records of 34 + n bytes fill sectors unevenly: measure and writer must agree on each.
    const TemporaryFolder folder;
    for (const std::size_t i : std::views::iota(0u, 16u)) {
        const std::size_t files = std::array{0, 1, 40, 41, 42, 43, 500, 1999}[i / 2];
        DiscPlan plan = PlanOf(files, 10);
        plan.appleExtension = plan.strictIso = i % 2 == 1;
        for (std::size_t item = 0; item < files; item += 3)
            plan.folders[0].items[item].run(RunKind::Resource).sizeBytes = 1;
        std::vector<ProjectRecord> records(files);
        for (std::size_t item = 0; item < files; ++item)
            plan.folders[0].items[item].record = &records[item];
        const IsoLayout layout = ComputeLayout(plan, 2048);
        TempTableSet tables(folder.path());
        ASSERT_TRUE(tables.isOpen());
        ASSERT_TRUE(WriteTables(plan, layout, {}, FixedClock(0), tables));
        EXPECT_EQ(tables.file(2).size(), layout.iso.directorySectors * 2048u) << files;
        EXPECT_EQ(tables.file(5).size(), layout.joliet.directorySectors * 2048u) << files;
        EXPECT_EQ(tables.file(0).size(), layout.iso.pathTableBytes);
        EXPECT_EQ(tables.file(4).size(), layout.joliet.pathTableBytes);
    }
}

TEST(IsoDates, YearsThatAByteCannotTellBecomeTheNearest) {
    EXPECT_EQ(ToIsoDate(-3'000'000'000).year, 0);
    EXPECT_EQ(ToIsoDate(9'000'000'000).year, 255);
    const IsoShortDate date = ToIsoDate(951'827'696);  // 2000-02-29 12:34:56 UTC
    const std::uint8_t expected[] = {100, 2, 29, 12, 34, 56, 0};
    EXPECT_EQ(std::memcmp(&date, expected, sizeof expected), 0);
}

// What every HFS layout must keep, whatever it was computed from.
void CheckHfs(const HfsLayout& layout, std::uint64_t fileBlocks, std::uint64_t freeBytes) {
    SCOPED_TRACE(testing::Message() << "block " << layout.blockSize() << ", " << fileBlocks
                                    << " file blocks, start " << layout.partitionStart);
    const std::uint32_t b = layout.sectorsPerBlock;
    EXPECT_EQ(layout.fileAreaStart % b, 0u);
    EXPECT_EQ(layout.imageSectors % 4, 0u);
    EXPECT_EQ(layout.usedBlocks, layout.systemBlocks + fileBlocks);
    EXPECT_EQ(layout.totalBlocks, layout.usedBlocks + BlocksFor(freeBytes, layout.blockSize()) + 1)
        << "no file has the last block";
    EXPECT_GE(layout.bitmapSectors * 4096u, layout.totalBlocks);
    EXPECT_EQ(layout.allocationStart, layout.bitmapSectors + 3);
    // The last block ends before the second header, 2048 bytes before the end of the image.
    EXPECT_LE(layout.sectorOf(layout.totalBlocks), layout.alternateHeader());
    EXPECT_EQ(layout.alternateHeader(), layout.imageSectors - 4);
    EXPECT_GE(layout.partitionSectors, 1600u);
    EXPECT_EQ(layout.extentsFile.blockCount + layout.catalogFile.blockCount, layout.systemBlocks);
}

TEST(HfsLayout, HoldsItsRulesOverManySizes) {
    std::mt19937 random(20201);
    for (std::uint32_t size = 2048; size <= 63488; size += 2048)
        for (int i = 0; i < 40; ++i) {
            const std::uint32_t b = size / 512;
            const std::uint64_t start = std::uint64_t{1 + random() % 500} * b;
            const std::uint64_t blocks = random() % 60000;
            const std::uint64_t free = i % 2 * (random() % 5000) * 1000;
            CheckHfs(ComputeHfsLayout(start, static_cast<std::uint32_t>(random() % 3000), blocks,
                                      size, free),
                     blocks, free);
        }
}

TEST(HfsPlusLayout, EveryBlockHasABitAndTheLastHoldsTheSecondHeader) {
    std::mt19937 random(20202);
    for (int i = 0; i < 500; ++i) {
        const std::uint64_t blocks = random() % 3'000'000;
        const std::uint64_t free = i % 2 * (random() % 3'000'000);
        const HfsLayout layout =
            ComputeHfsPlusLayout(4 * (random() % 1000), static_cast<std::uint32_t>(random() % 9000),
                                 blocks, 2048 * free);
        EXPECT_GE(std::uint64_t{layout.bitmapSectors} * 4096, layout.totalBlocks);
        EXPECT_EQ(layout.usedBlocks, layout.systemBlocks + blocks + 1);
        EXPECT_EQ(layout.totalBlocks, layout.usedBlocks + free);
        EXPECT_EQ(layout.imageSectors,
                  layout.partitionStart + std::uint64_t{layout.totalBlocks} * 4);
        EXPECT_EQ(layout.alternateHeader(), layout.imageSectors - 2);
        EXPECT_EQ(layout.allocationFile.startBlock, 1u);
    }
}

TEST(HfsBlockSize, IsTheSmallestThatKeepsEverythingWithin65535Blocks) {
    struct Row {
        std::size_t files;
        std::uint32_t sizeBytes;
        std::uint32_t expected;  // 0: HFS+ is needed
    };
    const std::vector<Row> rows = {
        {0, 0, 2048},
        {100, 2048, 2048},
        {1, 2048u * 32766, 2048},  // the largest fork takes just fewer than 32,767 blocks
        {1, 2048u * 32767, 4096},
        {10000, 100'000, 18432},  // six blocks a file; with 16384 there would be seven
        {1, 3'000'000'000u, 0},   // 47,252 of the largest blocks are too many for one fork
        {70000, 1, 0},            // more files than blocks
    };
    for (const Row& row : rows) {
        const DiscPlan plan = PlanOf(row.files, row.sizeBytes);
        const std::uint32_t leaves = CountCatalogLeaves(plan, false);
        const auto chosen = ChooseHfsBlockSize(plan, leaves, true);
        SCOPED_TRACE(testing::Message() << row.files << " files of " << row.sizeBytes);
        if (row.expected == 0) {
            EXPECT_FALSE(chosen);
            continue;
        }
        ASSERT_TRUE(chosen);
        const std::uint64_t blocks = row.files * BlocksFor(row.sizeBytes, *chosen);
        EXPECT_LE(ComputeHfsLayout(0, leaves, blocks, *chosen).totalBlocks, kHfsLimit);
        EXPECT_EQ(*chosen, row.expected);
    }
}

TEST(HfsBlockSize, FreeRoomCountsAndAPureHfsImageHasNoLimitOnItsLargestFork) {
    EXPECT_EQ(ChooseHfsBlockSize(PlanOf(1, 1), 1, true, 130'000'000), 2048u);
    EXPECT_EQ(ChooseHfsBlockSize(PlanOf(1, 1), 1, true, 2048u * 65535), 4096u);
    EXPECT_FALSE(ChooseHfsBlockSize(PlanOf(1, 1), 1, true, 5'000'000'000));
    const DiscPlan plan = PlanOf(1, 2048u * 60000);
    EXPECT_EQ(ChooseHfsBlockSize(plan, 1, false), 2048u);
    EXPECT_EQ(ChooseHfsBlockSize(plan, 1, true), 4096u);
}

}  // namespace
}  // namespace vellmark
