// New volumes: their headers and trees field by field, and what others find in them.
#include "volume/formatter.hpp"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>

#include "volume/volume_bench.hpp"
#include "volume/volume_headers.hpp"

namespace vellmark {
namespace {

using testing::BytesAt;
using testing::kClock;

FormatInput InputOf(bool isHfsPlus, std::uint32_t megabytes) {
    return {.label = "Disk \u00E9", .sizeMegabytes = megabytes, .isHfsPlus = isHfsPlus};
}

TEST(Formatter, ExtentsTreeHoldsTheRunsThatItIsSizedFor) {
    const TemporaryFolder folder;
    for (const bool isHfsPlus : {false, true})
        for (const std::uint32_t count : {1u, 3u, 4u, 66u, 67u, 500u, 5000u, 20000u}) {
            std::vector<BlockRun> runs;
            for (std::uint32_t i = 0; i < count; ++i)
                runs.push_back({100 + 2 * i, 1});
            PcFile image(folder.path() + "/tree", PcFile::Mode::CreateTruncate);
            const std::uint32_t bytes = ExtentsTreeNodes(count, isHfsPlus) * NewNodeSize(isHfsPlus);
            EXPECT_TRUE(WriteExtentsTree(image, 0, isHfsPlus, bytes, runs)) << count;
        }
}

// 36 MB is the smallest HFS volume with map nodes: 2,048 nodes are counted in the header, 3,936 in
// each of these. With smaller blocks the system files keep their size, up to a whole block.
TEST(Formatter, EverySizeHasItsFields) {
    const TemporaryFolder folder;
    const struct {
        bool isHfsPlus;
        std::uint32_t megabytes, askedBlock;
        std::uint64_t sectors, extents, catalog;  // of the volume; where in it the trees lie
        std::uint64_t blocks, blockBytes, free, clump;
        std::uint64_t freeOfExtents, freeOfCatalog;  // nodes
    } cases[] = {{0, 1, 0, 2069, 19, 275, 2048, 512, 1536, 2048, 255, 254},
                 {0, 36, 0, 73749, 19, 2323, 8192, 4608, 7680, 18432, 2302, 2301},
                 {0, 4096, 0, 8388629, 19, 262163, 8192, 524288, 7680, 524288, 262076, 262075},
                 {0, 100, 3584, 204820, 19, 6424, 29257, 3584, 27427, 14336, 6402, 6401},
                 {1, 1, 0, 2048, 8, 136, 512, 2048, 221, 65536, 15, 126},
                 {1, 4096, 0, 8388608, 1028, 1156, 2097152, 2048, 2096606, 65536, 15, 126}};
    for (const auto& c : cases) {
        SCOPED_TRACE(::testing::Message() << c.isHfsPlus << ", MB " << c.megabytes);
        FormatInput input = InputOf(c.isHfsPlus, c.megabytes);
        input.blockSize = c.askedBlock;
        const std::string path = testing::FormatImage(folder, input);
        ASSERT_FALSE(path.empty());
        const std::uint64_t start = (c.isHfsPlus ? 64 : 96) * 512;
        const std::uint64_t bytes = start + c.sectors * 512;
        const std::uint64_t header = start + 1024;
        const std::uint64_t extents = start + c.extents * 512;
        const std::uint64_t catalog = start + c.catalog * 512;
        EXPECT_EQ(PcFile(path, PcFile::Mode::Read).size(), bytes);
        EXPECT_EQ(FormattedBytes(input), bytes);
        EXPECT_EQ(BytesAt(path, bytes - 1024, 512), BytesAt(path, header, 512)) << "the copy";
        const auto big = [&](std::uint64_t offset, int width) {
            return testing::Big(path, offset, width);
        };
        EXPECT_EQ(big(4, 4), bytes / 512) << "of the disk";
        EXPECT_EQ(big(1024 + 12, 4), c.sectors) << "of the map";
        EXPECT_EQ(c.isHfsPlus ? big(header + 44, 4) : big(header + 18, 2), c.blocks);
        EXPECT_EQ(big(header + (c.isHfsPlus ? 40 : 20), 4), c.blockBytes);
        EXPECT_EQ(c.isHfsPlus ? big(header + 48, 4) : big(header + 34, 2), c.free);
        EXPECT_EQ(big(header + (c.isHfsPlus ? 60 : 24), 4), c.clump);
        EXPECT_EQ(big(extents + 40, 4), c.freeOfExtents);
        EXPECT_EQ(big(catalog + 40, 4), c.freeOfCatalog);
        EXPECT_EQ(big(32769, 5), c.isHfsPlus ? 0u : 0x4344303031u) << "CD001";
        // Creation and change, in the root's record the backup too; HFS keeps local time.
        const std::uint64_t now = testing::kNow + 2082844800 + (c.isHfsPlus ? 0 : 3600);
        const std::uint64_t root = catalog + (c.isHfsPlus ? 4096 + 36 : 512 + 28);
        for (const std::uint64_t date :
             {header + (c.isHfsPlus ? 16 : 2), header + (c.isHfsPlus ? 20 : 6),
              root + (c.isHfsPlus ? 12 : 10), root + (c.isHfsPlus ? 16 : 14)})
            EXPECT_EQ(big(date, 4), now);
        EXPECT_EQ(big(root + (c.isHfsPlus ? 28 : 18), 4), now + (c.isHfsPlus ? 0 : 2));
        testing::ExpectReadersFindNoFault(path);
        if (c.megabytes == 1) {
            const testing::Bytes withHoles = BytesAt(path, 0, bytes);
            input.zeroAll = true;
            ASSERT_EQ(testing::FormatImage(folder, input), path);
            EXPECT_TRUE(BytesAt(path, 0, bytes) == withHoles);
        }
    }
}

// A limit of the process stands for the full disk.
TEST(Formatter, AFullDiskAndAWishToStopAreTold) {
    const TemporaryFolder folder;
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    for (FormatInput input : {InputOf(false, 5), InputOf(true, 5)})
        for (const bool zeroAll : {false, true}) {
            input.zeroAll = zeroAll;
            const auto format = [&](int chunks) {
                PcFile image(folder.path() + "/full", PcFile::Mode::CreateTruncate);
                testing::StoppingProgress progress(chunks);
                return FormatVolume(input, image, kClock, progress);
            };
            EXPECT_EQ(format(3), zeroAll ? FormatResult::Stopped : FormatResult::Done);
            const rlimit smaller{FormattedBytes(input) - 1, before.rlim_max};
            ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &smaller), 0);
            EXPECT_EQ(format(1000), FormatResult::WriteFailed);
            ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
        }
    std::signal(SIGXFSZ, handler);
}

}  // namespace
}  // namespace vellmark
