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

FormatInput InputOf(bool isHfsPlus, std::uint32_t megabytes, std::uint32_t blockSize = 0) {
    FormatInput input;
    input.label = "Disk \u00E9";
    input.sizeMegabytes = megabytes;
    input.isHfsPlus = isHfsPlus;
    input.blockSize = blockSize;
    return input;
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
        FormatInput input;
        std::uint64_t sectors;  // of the volume
        std::uint64_t extents;  // where the tree lies in the volume, in sectors, and the catalog
        std::uint64_t catalog;
        std::vector<testing::Field> fields;  // of the volume's header
        std::uint64_t freeOfExtents;
        std::uint64_t freeOfCatalog;
    } cases[] = {
        // Blocks, their size, clump, free blocks.
        {InputOf(false, 1),
         2069,
         19,
         275,
         {{18, 2, 2048}, {20, 4, 512}, {24, 4, 2048}, {34, 2, 1536}},
         255,
         254},
        {InputOf(false, 36),
         73749,
         19,
         2323,
         {{18, 2, 8192}, {20, 4, 4608}, {24, 4, 18432}, {34, 2, 7680}},
         2302,
         2301},
        {InputOf(false, 4096),
         8388629,
         19,
         262163,
         {{18, 2, 8192}, {20, 4, 524288}, {24, 4, 524288}, {34, 2, 7680}},
         262076,
         262075},
        {InputOf(false, 20, 512),
         40981,
         19,
         1299,
         {{18, 2, 40960}, {20, 4, 512}, {24, 4, 2048}, {34, 2, 38400}},
         1279,
         1278},
        {InputOf(false, 100, 3584),
         204820,
         19,
         6424,
         {{18, 2, 29257}, {20, 4, 3584}, {24, 4, 14336}, {34, 2, 27427}},
         6402,
         6401},
        // Blocks, free blocks, where they are taken first.
        {InputOf(true, 1), 2048, 8, 136, {{44, 4, 512}, {48, 4, 221}, {52, 4, 290}}, 15, 126},
        {InputOf(true, 36),
         73728,
         16,
         144,
         {{44, 4, 18432}, {48, 4, 18139}, {52, 4, 292}},
         15,
         126},
        {InputOf(true, 4096),
         8388608,
         1028,
         1156,
         {{44, 4, 2097152}, {48, 4, 2096606}, {52, 4, 545}},
         15,
         126}};
    for (const auto& c : cases) {
        const bool isHfsPlus = c.input.isHfsPlus;
        SCOPED_TRACE(::testing::Message() << isHfsPlus << ", MB " << c.input.sizeMegabytes);
        const std::string path = testing::FormatImage(folder, c.input);
        ASSERT_FALSE(path.empty());
        const auto big = [&](std::uint64_t offset, int width) {
            return testing::Big(path, offset, width);
        };
        const std::uint64_t start = isHfsPlus ? 64 : 96;
        const std::uint64_t bytes = (start + c.sectors) * 512;
        EXPECT_EQ(PcFile(path, PcFile::Mode::Read).size(), bytes);
        EXPECT_EQ(FormattedBytes(c.input), bytes);
        EXPECT_EQ(big(4, 4), bytes / 512) << "of the disk";
        EXPECT_EQ(big(1024 + 12, 4), c.sectors) << "of the map";
        const std::uint64_t header = start * 512 + 1024;
        for (const testing::Field& field : c.fields)
            EXPECT_EQ(big(header + field.offset, field.width), field.value) << field.offset;
        // HFS keeps local time.
        EXPECT_EQ(big(header + (isHfsPlus ? 16 : 2), 4),
                  testing::kNow + 2082844800 + (isHfsPlus ? 0 : 3600));
        EXPECT_EQ(BytesAt(path, bytes - 1024, 512), BytesAt(path, header, 512)) << "the copy";
        const std::uint64_t extents = (start + c.extents) * 512;
        const std::uint64_t catalog = (start + c.catalog) * 512;
        EXPECT_EQ(big(extents + 40, 4), c.freeOfExtents);
        EXPECT_EQ(big(extents + 34, 2), isHfsPlus ? 10u : 7u) << "length of keys";
        EXPECT_EQ(big(catalog + 40, 4), c.freeOfCatalog);
        EXPECT_EQ(big(catalog + 34, 2), isHfsPlus ? 516u : 37u) << "length of keys";
        // Compared without regard to case, and index keys are of any length, too.
        EXPECT_EQ(big(catalog + 51, 5), isHfsPlus ? 0xCF00000006u : 0u);
        EXPECT_EQ(big(32769, 5), isHfsPlus ? 0u : 0x4344303031u) << "CD001";
        testing::ExpectReadersFindNoFault(path);
        if (!testing::IsInstalled(isHfsPlus ? "fsstat" : "hmount"))
            continue;
        const testing::CommandResult judged = testing::RunCommand(
            folder.path(), isHfsPlus ? "fsstat -o 64 -f hfs '" + path + "'"
                                     : "hmount '" + path + "' && hls -la && humount");
        EXPECT_EQ(judged.status, 0) << judged.output;
        EXPECT_NE(judged.output.find("Disk "), std::string::npos) << judged.output;
    }
}

TEST(Formatter, TheSameInputGivesTheSameBytesWithAndWithoutHoles) {
    const TemporaryFolder folder;
    for (FormatInput input : {InputOf(false, 3), InputOf(true, 3)}) {
        const std::string path = testing::FormatImage(folder, input);
        const testing::Bytes first = BytesAt(path, 0, FormattedBytes(input));
        input.zeroAll = true;
        ASSERT_EQ(testing::FormatImage(folder, input), path);
        EXPECT_TRUE(BytesAt(path, 0, first.size()) == first);
    }
}

// A limit of the process stands for the full disk.
TEST(Formatter, AFullDiskAndAWishToStopAreTold) {
    const TemporaryFolder folder;
    PcFile image(folder.path() + "/full", PcFile::Mode::CreateTruncate);
    FormatInput input = InputOf(false, 5);
    input.zeroAll = true;
    testing::StoppingProgress progress(3);
    EXPECT_EQ(FormatVolume(input, image, kClock, progress), FormatResult::Stopped);
    EXPECT_EQ(image.size(), 3u << 20);
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    for (FormatInput full : {InputOf(false, 2), InputOf(true, 2)})
        for (const bool zeroAll : {false, true}) {
            full.zeroAll = zeroAll;
            PcFile target(folder.path() + "/full", PcFile::Mode::CreateTruncate);
            const rlimit smaller{FormattedBytes(full) - 1, before.rlim_max};
            ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &smaller), 0);
            testing::StoppingProgress never;
            EXPECT_EQ(FormatVolume(full, target, kClock, never), FormatResult::WriteFailed);
            ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
        }
    std::signal(SIGXFSZ, handler);
}

}  // namespace
}  // namespace vellmark
