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

constexpr std::uint64_t kMacNow = testing::kNow + 2082844800;

FormatInput InputOf(bool isHfsPlus, std::uint32_t megabytes, std::uint32_t blockSize = 0) {
    FormatInput input;
    input.label = "Disk \u00E9";
    input.sizeMegabytes = megabytes;
    input.isHfsPlus = isHfsPlus;
    input.blockSize = blockSize;
    return input;
}

class Formatter : public ::testing::Test {
  protected:
    void format(const FormatInput& input) {
        path_ = testing::FormatImage(folder_, input);
        ASSERT_FALSE(path_.empty());
        bytes_ = PcFile(path_, PcFile::Mode::Read).size();
        EXPECT_EQ(bytes_, FormattedBytes(input));
    }
    struct Field {
        const char* what;
        std::uint64_t offset;
        int width;
        std::uint64_t value;
    };
    void expectFields(const std::vector<Field>& fields) const {
        for (const Field& field : fields)
            EXPECT_EQ(testing::Big(path_, field.offset, field.width), field.value) << field.what;
    }
    void expectText(std::uint64_t offset, const std::string& text) const {
        const testing::Bytes bytes = BytesAt(path_, offset, text.size());
        EXPECT_EQ(std::string(bytes.begin(), bytes.end()), text);
    }
    void expectJudgesFindIt(bool isHfsPlus) const {
        testing::ExpectReadersFindNoFault(path_);
        if (!testing::IsInstalled(isHfsPlus ? "fsstat" : "hmount"))
            return;
        const testing::CommandResult judged = testing::RunCommand(
            folder_.path(), isHfsPlus ? "fsstat -o 64 -f hfs '" + path_ + "'"
                                      : "hmount '" + path_ + "' && hls -la && humount");
        EXPECT_EQ(judged.status, 0) << judged.output;
        EXPECT_NE(judged.output.find("Disk "), std::string::npos) << judged.output;
    }

    TemporaryFolder folder_;
    std::string path_;
    std::uint64_t bytes_ = 0;
};

TEST_F(Formatter, ExtentsTreeHoldsTheRunsThatItIsSizedFor) {
    for (const bool isHfsPlus : {false, true})
        for (const std::uint32_t count : {1u, 3u, 4u, 66u, 67u, 500u, 5000u, 20000u}) {
            std::vector<BlockRun> runs;
            for (std::uint32_t i = 0; i < count; ++i)
                runs.push_back({100 + 2 * i, 1});
            PcFile image(folder_.path() + "/tree", PcFile::Mode::CreateTruncate);
            const std::uint32_t bytes = ExtentsTreeNodes(count, isHfsPlus) * NewNodeSize(isHfsPlus);
            EXPECT_TRUE(WriteExtentsTree(image, 0, isHfsPlus, bytes, runs)) << count;
        }
}

// 36 MB is the smallest HFS volume with map nodes: 2,048 nodes are counted in the header, 3,936 in
// each of these. With smaller blocks the system files keep their size, up to a whole block.
TEST_F(Formatter, HfsOfEverySize) {
    const struct {
        std::uint32_t megabytes, blockSize;  // as they are asked for
        std::uint64_t blocks, blockBytes, clumpBlocks, systemBlocks, mapNodes;
    } cases[] = {{1, 0, 2048, 512, 4, 256, 0},
                 {36, 0, 8192, 9 * 512, 4, 256, 1},
                 {4096, 0, 8192, 1024 * 512, 1, 256, 67},
                 {20, 512, 40960, 512, 4, 1280, 0},
                 {100, 3584, 29257, 3584, 4, 915, 2}};
    for (const auto& c : cases) {
        SCOPED_TRACE(::testing::Message() << c.megabytes << " MB, " << c.blockSize);
        EXPECT_TRUE(c.blockSize == 0 || FitsAsBlock(c.blockSize, c.megabytes));
        format(InputOf(false, c.megabytes, c.blockSize));
        const std::uint64_t mdb = 96 * 512 + 1024;
        const std::uint64_t extents = (96 + 19) * 512;
        const std::uint64_t nodes = c.systemBlocks * c.blockBytes / 512;
        const std::uint64_t catalog = extents + nodes * 512;
        expectFields({{"sectors of the disk", 4, 4, bytes_ / 512},
                      {"partitions", 512 + 4, 4, 2},
                      {"first sector", 1024 + 8, 4, 96},
                      {"sectors", 1024 + 12, 4, 19 + c.blocks * c.blockBytes / 512 + 2},
                      {"local time", mdb + 2, 4, kMacNow + 3600},
                      {"where blocks are taken first", mdb + 16, 2, 2 * c.systemBlocks},
                      {"blocks", mdb + 18, 2, c.blocks},
                      {"block size", mdb + 20, 4, c.blockBytes},
                      {"clump", mdb + 24, 4, c.clumpBlocks * c.blockBytes},
                      {"free blocks", mdb + 34, 2, c.blocks - 2 * c.systemBlocks},
                      {"nodes for extents", extents + 36, 4, nodes},
                      {"free ones", extents + 40, 4, nodes - 1 - c.mapNodes},
                      {"key of extents", extents + 34, 2, 7},
                      {"nodes of the catalog", catalog + 36, 4, nodes},
                      {"free ones", catalog + 40, 4, nodes - 2 - c.mapNodes},
                      {"key of the catalog", catalog + 34, 2, 37}});
        expectText(512 + 16, "Vellmark " VELLMARK_VERSION);
        expectText(32769, "CD001");
        EXPECT_EQ(BytesAt(path_, bytes_ - 1024, 512), BytesAt(path_, mdb, 512)) << "the copy";
        expectJudgesFindIt(false);
    }
}

TEST_F(Formatter, HfsPlusOfEverySize) {
    const struct {
        std::uint32_t megabytes;
        std::uint64_t bitmapBlocks;
    } cases[] = {{1, 1}, {36, 3}, {4096, 256}};
    for (const auto& c : cases) {
        SCOPED_TRACE(::testing::Message() << c.megabytes << " MB");
        format(InputOf(true, c.megabytes));
        const std::uint64_t header = 64 * 512 + 1024;
        const std::uint64_t blocks = c.megabytes * 512;
        const std::uint64_t used = 1 + c.bitmapBlocks + 32 + 256;
        const std::uint64_t extents = 64 * 512 + (1 + c.bitmapBlocks) * 2048;
        const std::uint64_t catalog = extents + 32 * 2048;
        expectFields({{"sectors", 1024 + 12, 4, c.megabytes * 2048},
                      {"universal time", header + 16, 4, kMacNow},
                      {"blocks", header + 44, 4, blocks},
                      {"free blocks, and one at the end", header + 48, 4, blocks - used - 1},
                      {"where blocks are taken first", header + 52, 4, used},
                      {"nodes for extents", extents + 36, 4, 16},
                      {"key of extents", extents + 34, 2, 10},
                      {"nodes of the catalog", catalog + 36, 4, 128},
                      {"key of the catalog", catalog + 34, 2, 516},
                      {"compared without regard to case", catalog + 51, 1, 0xCF},
                      {"index keys of any length, too", catalog + 52, 4, 6}});
        expectText(1024 + 16, "Disk \x8E");
        EXPECT_EQ(BytesAt(path_, bytes_ - 1024, 512), BytesAt(path_, header, 512)) << "the copy";
        expectJudgesFindIt(true);
    }
}

TEST_F(Formatter, TheSameInputGivesTheSameBytesWithAndWithoutHoles) {
    for (const bool isHfsPlus : {false, true}) {
        FormatInput input = InputOf(isHfsPlus, 3);
        format(input);
        const testing::Bytes first = BytesAt(path_, 0, bytes_);
        input.zeroAll = true;
        format(input);
        EXPECT_TRUE(BytesAt(path_, 0, bytes_) == first);
    }
}

// A limit of the process stands for the full disk.
TEST_F(Formatter, AFullDiskAndAWishToStopAreTold) {
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    for (FormatInput input : {InputOf(false, 2), InputOf(true, 2)})
        for (const bool zeroAll : {false, true})
            for (const std::uint64_t limit : {std::uint64_t{1000}, FormattedBytes(input) - 1}) {
                input.zeroAll = zeroAll;
                PcFile image(folder_.path() + "/full", PcFile::Mode::CreateTruncate);
                Progress progress;
                const rlimit smaller{limit, before.rlim_max};
                ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &smaller), 0);
                const FormatResult result = FormatVolume(input, image, kClock, progress);
                ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
                EXPECT_EQ(result, FormatResult::WriteFailed) << limit;
                EXPECT_NE(image.error(), 0);
            }
    std::signal(SIGXFSZ, handler);
    FormatInput input = InputOf(false, 5);
    input.zeroAll = true;
    PcFile image(folder_.path() + "/stopped", PcFile::Mode::CreateNew);
    testing::StoppingProgress progress(3);
    EXPECT_EQ(FormatVolume(input, image, kClock, progress), FormatResult::Stopped);
    EXPECT_EQ(image.size(), 3u << 20);
}

}  // namespace
}  // namespace vellmark
