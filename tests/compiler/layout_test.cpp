// Where things go in an image: the reserves of the ISO side, and the sizes of the volumes.
#include <array>
#include <random>
#include <ranges>

#include "compiler/compiler_bench.hpp"
#include "compiler/hfs_layout.hpp"
#include "compiler/iso_layout.hpp"
#include "compiler/iso_tables.hpp"

namespace vellmark {
namespace {

// A plan with one folder of so many files of one size.
DiscPlan PlanOf(std::size_t files, std::uint32_t sizeBytes, bool appleExtension = false) {
    DiscPlan plan;
    plan.appleExtension = plan.strictIso = appleExtension;
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

TEST(IsoLayout, ADirectoryIsMeasuredAsItIsWritten) {
    // Records of 34 + n bytes fill sectors unevenly: measure and writer must agree on each.
    const TemporaryFolder folder;
    for (const std::size_t i : std::views::iota(0u, 16u)) {
        const std::size_t files = std::array{0, 1, 40, 41, 42, 43, 500, 1999}[i / 2];
        DiscPlan plan = PlanOf(files, 10, i % 2 == 1);
        std::vector<ProjectRecord> records(files);
        for (std::size_t item = 0; item < files; ++item) {
            plan.folders[0].items[item].record = &records[item];
            plan.folders[0].items[item].run(RunKind::Resource).sizeBytes = item % 3 == 0;
        }
        const IsoLayout layout = ComputeLayout(plan, 2048);
        TempTableSet tables(folder.path());
        ASSERT_TRUE(WriteTables(plan, layout, {}, FixedClock(0), tables));
        EXPECT_EQ(tables.file(2).size(), layout.iso.directorySectors * 2048u) << files;
        EXPECT_EQ(tables.file(5).size(), layout.joliet.directorySectors * 2048u) << files;
        EXPECT_EQ(tables.file(0).size(), layout.iso.pathTableBytes);
        EXPECT_EQ(tables.file(4).size(), layout.joliet.pathTableBytes);
    }
}

// What every layout must keep, whatever it was computed from.
TEST(VolumeLayouts, HoldTheirRulesOverManySizes) {
    std::mt19937 random(20201);
    for (int i = 0; i < 1600; ++i) {
        const std::uint32_t size = 2048 * (1 + i % 31);
        const std::uint32_t b = size / 512;
        const Sector512 start(std::uint64_t{1 + random() % 500} * b);
        const auto leaves = static_cast<std::uint32_t>(random() % 3000);
        const std::uint64_t blocks = random() % 60000;
        const std::uint64_t free = i % 2 * (random() % 5000) * 1000;
        SCOPED_TRACE(fmt::format("block {}, start {}, blocks {}", size, start.number(), blocks));
        const HfsLayout hfs = ComputeHfsLayout(start, {leaves, blocks, free}, size);
        EXPECT_EQ(hfs.fileAreaStart.number() % b, 0u);
        EXPECT_EQ(hfs.imageEnd.number() % 4, 0u);
        EXPECT_EQ(hfs.totalBlocks, hfs.systemBlocks + blocks + BlocksFor(free, size) + 1)
            << "no file has the last block";
        EXPECT_GE(hfs.bitmapSectors * 4096u, hfs.totalBlocks);
        // The last block ends before the second header, 2048 bytes before the end of the image.
        EXPECT_LE(hfs.sectorOf(BlockNumber{hfs.totalBlocks}), hfs.imageEnd - 4);
        EXPECT_GE(hfs.partitionSectors, 1600u);

        const HfsLayout plus = ComputeHfsPlusLayout(start, {leaves, 50 * blocks, 2048 * free});
        EXPECT_GE(std::uint64_t{plus.bitmapSectors} * 4096, plus.totalBlocks);
        EXPECT_EQ(plus.usedBlocks, plus.systemBlocks + 50 * blocks + 1);
        EXPECT_EQ(plus.totalBlocks, plus.usedBlocks + free);
        EXPECT_EQ(plus.imageEnd, plus.partitionStart + std::uint64_t{plus.totalBlocks} * 4);
    }
}

TEST(HfsBlockSize, IsTheSmallestThatKeepsEverythingWithin65535Blocks) {
    const struct {
        std::size_t files;
        std::uint32_t sizeBytes;
        bool isHybrid;
        std::uint64_t free;
        std::uint32_t expected;  // 0: HFS+ is needed
    } rows[] = {
        {1, 2048u * 32767, true, 0, 4096},
        {10000, 100'000, true, 0, 18432},  // six blocks a file; with 16384 there would be seven
        {1, 3'000'000'000u, true, 0, 0},   // 47,252 of the largest blocks are too many for a fork
        {1, 1, true, 2048u * 65535, 4096},
        {1, 2048u * 60000, true, 0, 4096},
        {1, 2048u * 60000, false, 0, 2048},  // alone, HFS has no limit on its largest fork
    };
    for (const auto& row : rows) {
        const DiscPlan plan = PlanOf(row.files, row.sizeBytes);
        const std::uint32_t leaves = CountCatalogLeaves(plan, false);
        const auto chosen = ChooseHfsBlockSize(plan, leaves, row.isHybrid, row.free);
        EXPECT_EQ(chosen.value_or(0), row.expected) << row.files << " files of " << row.sizeBytes;
    }
}

}  // namespace
}  // namespace vellmark
