#include "volume/formatter.hpp"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>

#include "volume/volume_bench.hpp"
#include "volume/volume_headers.hpp"

namespace vellmark {
namespace {

using testing::Big;
using testing::Bytes;
using testing::BytesAt;
using testing::kClock;

constexpr std::uint64_t kMacNow = testing::kNow + 2082844800;

struct Case {
    std::uint32_t megabytes;
    std::uint32_t hfsSectorsPerBlock;
    std::uint32_t hfsBlocks;
    std::uint32_t hfsMapNodes;  ///< of each tree: 2,048 nodes in the header, 3,936 in each
    std::uint32_t hfsPlusBitmapBlocks;
    std::uint32_t hfsClumpBlocks = 4;
    std::uint32_t hfsSystemBlocks = 256;
    std::uint32_t hfsBlockSize = 0;  ///< as it is asked for
};
// 36 MB is the smallest HFS volume with map nodes. With smaller blocks the system files keep their
// size, up to a whole block.
constexpr Case kCases[] = {
    {1, 1, 2048, 0, 1},
    {36, 9, 8192, 1, 3},
    {4096, 1024, 8192, 67, 256, 1},
    {20, 1, 40960, 0, 2, 4, 1280, 512},
    {100, 7, 29257, 2, 7, 4, 915, 3584},
};

class Formatter : public ::testing::Test {
  protected:
    void format(const FormatInput& input) {
        path_ = testing::FormatImage(folder_, input);
        ASSERT_FALSE(path_.empty());
        bytes_ = PcFile(path_, PcFile::Mode::Read).size();
        EXPECT_EQ(bytes_, FormattedBytes(input));
    }
    void formatSized(std::uint32_t megabytes, bool isHfsPlus, std::uint32_t blockSize = 0) {
        FormatInput input;
        input.blockSize = blockSize;
        input.label = "Disk \u00E9";
        input.sizeMegabytes = megabytes;
        input.isHfsPlus = isHfsPlus;
        format(input);
    }
    std::uint64_t big(std::uint64_t offset, int width) const { return Big(path_, offset, width); }
    std::string text(std::uint64_t offset, std::size_t most) const {
        const Bytes bytes = BytesAt(path_, offset, most);
        return {bytes.begin(), std::find(bytes.begin(), bytes.end(), 0)};
    }
    // Clear bits among the first `blocks` of a bitmap.
    std::uint32_t clearBits(std::uint64_t offset, std::uint32_t blocks) const {
        const Bytes bitmap = BytesAt(path_, offset, (blocks + 7) / 8);
        std::uint32_t clear = 0;
        for (std::uint32_t block = 0; block < blocks; ++block)
            clear += bitmap[block / 8] << block % 8 & 0x80 ? 0u : 1u;
        return clear;
    }
    void expectMap(std::uint32_t start, std::uint64_t sectors, std::uint32_t mapCount,
                   const std::string& name) const {
        EXPECT_EQ(text(0, 2), "ER");
        EXPECT_EQ(big(2, 2), 512u);
        EXPECT_EQ(big(4, 4), bytes_ / 512);
        EXPECT_EQ(bytes_, (start + sectors) * 512);
        struct Entry {
            std::uint64_t start, count;
            std::string name, type;
        };
        int sector = 0;
        for (const Entry& entry :
             {Entry{1, mapCount, "Vellmark " VELLMARK_VERSION, "Apple_partition_map"},
              Entry{start, sectors, name, "Apple_HFS"}}) {
            const std::uint64_t at = static_cast<std::uint64_t>(++sector) * 512;
            EXPECT_EQ(text(at, 2), "PM");
            EXPECT_EQ(big(at + 4, 4), 2u);
            EXPECT_EQ(big(at + 8, 4), entry.start);
            EXPECT_EQ(big(at + 12, 4), entry.count);
            EXPECT_EQ(text(at + 16, 32), entry.name);
            EXPECT_EQ(text(at + 48, 32), entry.type);
            EXPECT_EQ(big(at + 84, 4), entry.count);
        }
    }
    // Header node of a new tree: `used` of `total` nodes.
    void expectTree(std::uint64_t at, std::uint32_t nodeSize, std::uint32_t total,
                    std::uint32_t used, std::uint32_t maxKey, bool isCatalog) const {
        EXPECT_EQ(big(at + 20, 4), isCatalog ? 2u : 0u) << "leaf records";
        EXPECT_EQ(big(at + 32, 2), nodeSize);
        EXPECT_EQ(big(at + 34, 2), maxKey);
        EXPECT_EQ(big(at + 36, 4), total);
        EXPECT_EQ(big(at + 40, 4), total - used);
        EXPECT_EQ(clearBits(at + 248, std::min(total, (nodeSize - 256) * 8)),
                  std::min(total, (nodeSize - 256) * 8) - used);
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

TEST_F(Formatter, HfsOfEverySize) {
    for (const Case& c : kCases) {
        SCOPED_TRACE(::testing::Message() << c.megabytes << " MB, " << c.hfsBlockSize);
        EXPECT_TRUE(c.hfsBlockSize == 0 || FitsAsBlock(c.hfsBlockSize, c.megabytes));
        formatSized(c.megabytes, false, c.hfsBlockSize);
        const std::uint32_t used = 2 * c.hfsSystemBlocks;
        const std::uint64_t blockBytes = c.hfsSectorsPerBlock * 512;
        const std::uint64_t volume = 96 * 512;
        const std::uint64_t mdb = volume + 1024;
        expectMap(96, 19 + std::uint64_t{c.hfsBlocks} * c.hfsSectorsPerBlock + 2, 2, "MacOS");
        EXPECT_EQ(text(32769, 5), "CD001");
        EXPECT_EQ(big(mdb + 2, 4), kMacNow + 3600) << "local time";
        EXPECT_EQ(big(mdb + 16, 2), used);
        EXPECT_EQ(big(mdb + 18, 2), c.hfsBlocks);
        EXPECT_EQ(big(mdb + 20, 4), blockBytes);
        EXPECT_EQ(big(mdb + 24, 4), c.hfsClumpBlocks * blockBytes);
        EXPECT_EQ(big(mdb + 34, 2), c.hfsBlocks - used);
        EXPECT_EQ(text(mdb + 37, 27), "Disk \x8E");
        EXPECT_EQ(BytesAt(path_, bytes_ - 1024, 512), BytesAt(path_, mdb, 512)) << "the copy";
        EXPECT_EQ(clearBits(volume + 3 * 512, c.hfsBlocks), c.hfsBlocks - used);
        const std::uint64_t extents = volume + 19 * 512;
        const std::uint32_t nodes = c.hfsSystemBlocks * c.hfsSectorsPerBlock;
        // The map nodes follow: their bits lie in the header node's own map.
        expectTree(extents, 512, nodes, 1 + c.hfsMapNodes, 7, false);
        expectTree(extents + nodes * 512, 512, nodes, 2 + c.hfsMapNodes, 37, true);
        testing::ExpectReadersFindNoFault(path_);
    }
}

TEST_F(Formatter, HfsPlusOfEverySize) {
    for (const Case& c : kCases) {
        if (c.hfsBlockSize != 0)
            continue;
        SCOPED_TRACE(::testing::Message() << c.megabytes << " MB");
        formatSized(c.megabytes, true);
        const std::uint64_t volume = 64 * 512;
        const std::uint64_t header = volume + 1024;
        const std::uint32_t blocks = c.megabytes * 512;
        const std::uint32_t used = 1 + c.hfsPlusBitmapBlocks + 32 + 256;
        expectMap(64, std::uint64_t{c.megabytes} * 2048, 63, "Disk \x8E");
        EXPECT_EQ(text(header + 8, 4), "QRMf");
        EXPECT_EQ(big(header + 16, 4), kMacNow);
        EXPECT_EQ(big(header + 44, 4), blocks);
        EXPECT_EQ(big(header + 48, 4), blocks - used - 1);
        EXPECT_EQ(big(header + 52, 4), used);
        EXPECT_EQ(BytesAt(path_, bytes_ - 1024, 512), BytesAt(path_, header, 512)) << "the copy";
        EXPECT_EQ(clearBits(volume + 2048, blocks), blocks - used - 1);
        EXPECT_EQ(clearBits(volume + 2048, blocks - 1), blocks - used - 1) << "the last is in use";
        const std::uint64_t extents = volume + (1 + c.hfsPlusBitmapBlocks) * 2048;
        const std::uint64_t catalog = extents + 32 * 2048;
        expectTree(extents, 4096, 16, 1, 10, false);
        expectTree(catalog, 4096, 128, 2, 516, true);
        EXPECT_EQ(big(catalog + 51, 1), 0xCFu) << "compared without regard to case";
        EXPECT_EQ(big(catalog + 52, 4), 6u) << "attributes: index keys of any length, too";
        testing::ExpectReadersFindNoFault(path_);
    }
}

TEST_F(Formatter, OtherProgramsReadTheVolumes) {
    const bool hfsutils = testing::IsInstalled("hmount");
    const bool sleuthkit = testing::IsInstalled("fsstat") && testing::IsInstalled("fls");
    if (!hfsutils && !sleuthkit)
        GTEST_SKIP() << "neither hfsutils nor sleuthkit is installed";
    for (const Case& c : kCases) {
        SCOPED_TRACE(::testing::Message() << c.megabytes << " MB");
        if (hfsutils) {
            formatSized(c.megabytes, false);
            const testing::CommandResult judged =
                testing::RunCommand(folder_.path(), "hmount '" + path_ + "' && hls -la && humount");
            EXPECT_EQ(judged.status, 0) << judged.output;
            EXPECT_NE(judged.output.find("Disk "), std::string::npos) << judged.output;
        }
        if (sleuthkit) {
            formatSized(c.megabytes, true);
            const testing::CommandResult judged =
                testing::RunCommand(folder_.path(), "fsstat -o 64 -f hfs '" + path_ +
                                                        "' && fls -o 64 -f hfs '" + path_ + "'");
            EXPECT_EQ(judged.status, 0) << judged.output;
            EXPECT_NE(judged.output.find("Disk "), std::string::npos) << judged.output;
        }
    }
}

TEST_F(Formatter, TheSameInputGivesTheSameBytesWithAndWithoutHoles) {
    for (const bool isHfsPlus : {false, true}) {
        FormatInput input;
        input.label = "Same";
        input.sizeMegabytes = 3;
        input.isHfsPlus = isHfsPlus;
        format(input);
        const Bytes first = BytesAt(path_, 0, bytes_);
        input.zeroAll = true;
        format(input);
        EXPECT_TRUE(BytesAt(path_, 0, bytes_) == first);
    }
}

class StopAt final : public Progress {
  public:
    explicit StopAt(int chunks) : left_(chunks) {}
    [[nodiscard]] bool chunk(std::uint64_t) override { return --left_ > 0; }

  private:
    int left_;
};

TEST_F(Formatter, StopsWhenItIsAsked) {
    FormatInput input;
    input.sizeMegabytes = 5;
    input.zeroAll = true;
    PcFile image(folder_.path() + "/stopped", PcFile::Mode::CreateNew);
    StopAt progress(3);
    EXPECT_EQ(FormatVolume(input, image, kClock, progress), FormatResult::Stopped);
    EXPECT_EQ(image.size(), 3u << 20);
}

// A limit of the process stands for the full disk.
TEST_F(Formatter, AFullDiskIsTold) {
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    for (const bool isHfsPlus : {false, true})
        for (const bool zeroAll : {false, true}) {
            FormatInput input;
            input.sizeMegabytes = 2;
            input.isHfsPlus = isHfsPlus;
            input.zeroAll = zeroAll;
            for (const std::uint64_t limit : {std::uint64_t{0}, std::uint64_t{1000},
                                              std::uint64_t{1} << 20, FormattedBytes(input) - 1}) {
                PcFile image(folder_.path() + "/full", PcFile::Mode::CreateTruncate);
                Progress progress;
                const rlimit smaller{limit, before.rlim_max};
                ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &smaller), 0);
                const FormatResult result = FormatVolume(input, image, kClock, progress);
                ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
                EXPECT_EQ(result, FormatResult::WriteFailed) << limit;
                EXPECT_NE(image.error(), 0);
            }
        }
    std::signal(SIGXFSZ, handler);
}

}  // namespace
}  // namespace vellmark
