#include "volume/allocation.hpp"

#include <gtest/gtest.h>

#include "volume/volume_bench.hpp"

namespace vellmark {
namespace {

using testing::Big;
using testing::Bytes;
using testing::BytesAt;
using testing::kClock;

class Allocation : public ::testing::TestWithParam<bool> {
  protected:
    const bool isHfsPlus_ = GetParam();
    const std::uint64_t volumeAt_ = isHfsPlus_ ? 64 * 512 : 96 * 512;
    void SetUp() override {
        path_ = testing::FormatSmall(folder_, isHfsPlus_);
        size_ = PcFile(path_, PcFile::Mode::Read).size();
    }
    void resize(std::uint64_t bytes) const {
        ASSERT_TRUE(PcFile(path_, PcFile::Mode::ReadWrite).setSize(bytes));
    }
    void putBig(std::uint64_t offset, std::uint32_t value) const {
        const be32 word = value;
        const auto bytes = AsBytes(word);
        testing::WriteAt(path_, offset, {bytes.begin(), bytes.end()});
    }
    // Partition and image go on for some sectors.
    void lengthen(std::uint32_t sectors) const {
        resize(size_ + sectors * 512);
        const std::uint64_t count = 2 * 512 + 12;
        putBig(count, static_cast<std::uint32_t>(Big(path_, count, 4)) + sectors);
    }

    TemporaryFolder folder_;
    std::string path_;
    std::uint64_t size_ = 0;
    VolumeContext volume_;
};
INSTANTIATE_TEST_SUITE_P(BothFormats, Allocation, ::testing::Bool(), [](const auto& test) {
    return std::string(test.param ? "HfsPlus" : "Hfs");
});

TEST_P(Allocation, TheBitmapIsReadAsItLies) {
    ASSERT_TRUE(testing::Open(volume_, path_));
    ASSERT_EQ(LoadAllocationState(volume_), TreeResult::Done);
    const std::uint64_t at = volumeAt_ + (isHfsPlus_ ? 2048 : 3 * 512);
    EXPECT_EQ(volume_.allocation.bitmap, BytesAt(path_, at, volume_.bitmapSectors * 512));
    EXPECT_EQ(volume_.freeBlocks(), isHfsPlus_ ? 1024u - 291 : 4096u - 512);
    ReleaseAllocationState(volume_);
    EXPECT_TRUE(volume_.allocation.bitmap.empty());
}

// A partition that is no multiple of the block size: the copy of an HFS+ header then stands behind
// the last whole block, which may belong to a file. One that goes on for longer is another matter.
TEST_P(Allocation, TheCopyOfTheHeaderStandsAtTheEndOfThePartition) {
    for (const std::uint32_t more : {0u, 1u, 3u, 4u, 40u}) {
        SCOPED_TRACE(more);
        SetUp();
        lengthen(more);
        ASSERT_TRUE(testing::Open(volume_, path_));
        ASSERT_EQ(LoadAllocationState(volume_), TreeResult::Done);
        const std::uint64_t end = size_ + (!isHfsPlus_ || more < 4 ? more * 512 : 0);
        const Bytes mark(512, 0x77);
        for (std::uint64_t at = size_ - 4 * 512; at < size_ + more * 512; at += 512)
            testing::WriteAt(path_, at, mark);
        ASSERT_EQ(FlushVolume(volume_, kClock), TreeResult::Done);
        EXPECT_EQ(BytesAt(path_, end - 1024, 512), BytesAt(path_, volumeAt_ + 1024, 512));
        for (std::uint64_t at = size_ - 4 * 512; at < size_ + more * 512; at += 512)
            EXPECT_TRUE(at == end - 1024 || BytesAt(path_, at, 512) == mark) << at;
        EXPECT_EQ(volume_.image->size(), size_ + more * 512);
    }
}

TEST_P(Allocation, AnImageThatEndsBeforeItsVolumeIsNotChanged) {
    for (const std::uint64_t cut : {512u, 1024u, 2048u, 4096u, 100'000u}) {
        SCOPED_TRACE(cut);
        SetUp();
        resize(size_ - cut);
        ASSERT_TRUE(testing::Open(volume_, path_)) << "reading goes on";
        // In HFS the very last sector is none of the volume's.
        const bool whole = !isHfsPlus_ && cut == 512;
        EXPECT_EQ(volume_.readOnlyReasons.has(ReadOnlyReason::CutImage), !whole);
        EXPECT_EQ(LoadAllocationState(volume_), whole ? TreeResult::Done : TreeResult::Failed);
        EXPECT_EQ(FlushVolume(volume_, kClock), TreeResult::Done);
        EXPECT_EQ(volume_.image->size(), size_ - cut);
    }
}

class AllocationFile : public Allocation {};
INSTANTIATE_TEST_SUITE_P(HfsPlus, AllocationFile, ::testing::Values(true));

TEST_P(AllocationFile, DamageIsSeen) {
    const std::uint64_t fork = volumeAt_ + 1024 + 112;
    struct Case {
        const char* what;
        std::uint64_t field;
        std::uint32_t value;
    };
    for (const Case c : {Case{"no blocks", fork + 12, 0}, Case{"first extent empty", fork + 20, 0},
                         Case{"outside the volume", fork + 16, 1024},
                         Case{"far outside", fork + 16, 0xFFFFFFFF}}) {
        SetUp();
        putBig(c.field, c.value);
        ASSERT_TRUE(testing::Open(volume_, path_)) << c.what;
        EXPECT_EQ(LoadAllocationState(volume_), TreeResult::Damaged) << c.what;
        EXPECT_TRUE(volume_.allocation.bitmap.empty()) << c.what;
    }
}

}  // namespace
}  // namespace vellmark
