// What a flush writes beside the trees: the header and its copy. Which blocks are given out is told
// by volume_model_test.
#include <gtest/gtest.h>

#include "volume/volume_bench.hpp"

namespace vellmark {
namespace {

using testing::Big;
using testing::Bytes;
using testing::BytesAt;

class Headers : public ::testing::TestWithParam<bool> {};
INSTANTIATE_TEST_SUITE_P(BothFormats, Headers, ::testing::Bool(), testing::FormatName);

// A partition that is no multiple of the block size: the copy of an HFS+ header then stands behind
// the last whole block, which may belong to a file. One that goes on for longer is another matter.
TEST_P(Headers, AreWrittenWithTheCopyAtTheEndOfThePartition) {
    const bool isHfsPlus = GetParam();
    for (const std::uint32_t more : {0u, 3u, 4u, 40u}) {
        SCOPED_TRACE(more);
        const TemporaryFolder folder;
        const std::string path = testing::FormatSmall(folder, isHfsPlus);
        const std::uint64_t header = (isHfsPlus ? 64 : 96) * 512 + 1024;
        const std::uint64_t size = PcFile(path, PcFile::Mode::Read).size();
        const std::uint64_t writes = header + (isHfsPlus ? 68 : 70);
        const std::uint64_t before = Big(path, writes, 4);
        // Partition and image go on for some sectors, all of which are marked.
        const auto sectors = static_cast<std::uint32_t>(Big(path, 2 * 512 + 12, 4)) + more;
        PcFile image(path, PcFile::Mode::ReadWrite);
        ASSERT_TRUE(image.writeRecord(2 * 512 + 12, static_cast<be32>(sectors)) &&
                    image.setSize(size + more * 512));
        testing::TestVolume volume;
        ASSERT_TRUE(volume.open(path));
        Bytes tail(std::size_t{4 + more} * 512, 0x77);
        ASSERT_TRUE(image.writeAt(size - 2048, tail));
        ASSERT_EQ(volume.flush(FixedClock(testing::kNow + 1000, 3600)), TreeResult::Done);
        EXPECT_EQ(Big(path, writes, 4), before + 1);
        // HFS keeps local time.
        EXPECT_EQ(Big(path, header + (isHfsPlus ? 20 : 6), 4),
                  testing::kNow + 1000 + 2082844800 + (isHfsPlus ? 0 : 3600));
        const std::size_t end = 2048 + (!isHfsPlus || more < 4 ? more * 512 : 0);
        const Bytes copy = BytesAt(path, header, 512);
        std::copy(copy.begin(), copy.end(), tail.begin() + end - 1024);
        EXPECT_TRUE(BytesAt(path, size - 2048, tail.size()) == tail);
    }
}

}  // namespace
}  // namespace vellmark
