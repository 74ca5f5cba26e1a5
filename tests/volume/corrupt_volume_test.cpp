// Damaged volumes: whatever the bytes are, listing and changing come to an end within the image.

#include <gtest/gtest.h>

#include <random>

#include "volume/catalog_changes.hpp"
#include "volume/volume_bench.hpp"

namespace vellmark {
namespace {

using testing::Bytes;
using testing::kClock;

class CorruptVolume : public ::testing::TestWithParam<bool> {
  protected:
    const bool isHfsPlus_ = GetParam();
    const std::size_t nodeSize_ = isHfsPlus_ ? 4096 : 512;
    // Behind the allocation file of one block and the 32 blocks of the extents file in HFS+, the
    // 256 blocks of the extents file in HFS.
    const std::size_t volumeAt_ = isHfsPlus_ ? 64 * 512 : 96 * 512;
    const std::size_t extentsAt_ = volumeAt_ + (isHfsPlus_ ? 2 * 2048 : 19 * 512);
    const std::size_t catalogAt_ = extentsAt_ + (isHfsPlus_ ? 32 * 2048 : 256 * 512);

    void SetUp() override {
        FormatInput input;
        input.label = "Damaged";
        input.sizeMegabytes = 1;
        input.isHfsPlus = isHfsPlus_;
        path_ = testing::FormatImage(folder_, input);
        VolumeContext volume;
        ASSERT_TRUE(testing::Open(volume, path_));
        ASSERT_EQ(LoadAllocationState(volume), TreeResult::Done);
        std::uint32_t parent = 2;
        for (int i = 0; i < 50; ++i) {
            std::uint32_t id = 0;
            ASSERT_EQ(CreateFolder(volume, NameOf(i), parent, kClock, id), TreeResult::Done);
            if (i % 5 == 0)
                parent = id;
        }
        ASSERT_EQ(FlushVolume(volume, kClock), TreeResult::Done);
        usedNodes_ = volume.catalog.header().totalNodes - volume.catalog.header().freeNodes;
        sound_ = testing::BytesAt(path_, 0, PcFile(path_, PcFile::Mode::Read).size());
    }
    static std::string NameOf(int number) {
        return "folder " + std::to_string(number) +
               std::string(static_cast<std::size_t>(number % 7), 'x');
    }

    // One to four damages of different kinds.
    Bytes damage(std::mt19937& random) const {
        Bytes bytes = sound_;
        const auto place = [&] {
            const std::size_t kind = random() % 8;
            if (kind == 0)
                return volumeAt_ + 1024 + random() % 512;
            if (kind == 1)
                return extentsAt_ + random() % 300;
            if (kind == 2)
                return catalogAt_ + random() % 300;
            // Descriptors and offsets more often than the records between.
            const std::size_t node = catalogAt_ + random() % usedNodes_ * nodeSize_;
            if (kind == 3)
                return node + random() % 14;
            if (kind == 4)
                return node + nodeSize_ - 1 - random() % 16;
            return node + random() % nodeSize_;
        };
        for (std::size_t left = 1 + random() % 4; left > 0; --left) {
            const std::size_t at = place();
            const std::size_t action = random() % 6;
            if (action == 0) {
                // One node becomes the copy of another: circles of links and of folders.
                const std::size_t from = catalogAt_ + (1 + random() % usedNodes_) * nodeSize_;
                const std::size_t to = catalogAt_ + (1 + random() % usedNodes_) * nodeSize_;
                const Bytes node(bytes.begin() + static_cast<std::ptrdiff_t>(from),
                                 bytes.begin() + static_cast<std::ptrdiff_t>(from + nodeSize_));
                std::copy(node.begin(), node.end(),
                          bytes.begin() + static_cast<std::ptrdiff_t>(to));
            } else if (action == 1) {
                const std::uint8_t value = random() % 2 ? 0xFF : 0;
                std::fill_n(bytes.begin() + static_cast<std::ptrdiff_t>(at & ~std::size_t{3}), 4,
                            value);
            } else {
                bytes[at] = static_cast<std::uint8_t>(action == 2 ? bytes[at] ^ 1 << random() % 8
                                                                  : random());
            }
        }
        return bytes;
    }
    void expectUseEnds(VolumeContext& volume) {
        std::size_t seen = 0;
        (void)testing::WalkVolume(volume, 500, [&](const auto&, const CatalogItem& item) {
            ++seen;
            std::vector<BlockRun> runs;
            if (!item.isFolder)
                (void)testing::ReadFork(volume, item, false);
        });
        std::optional<CatalogItem> item;
        (void)FindPath(volume, "folder 0/folder 5xxxxx/folder 7", kClock, item);
        (void)VolumeName(volume);
    }

    TemporaryFolder folder_;
    std::string path_;
    Bytes sound_;
    std::uint32_t usedNodes_ = 0;
};
INSTANTIATE_TEST_SUITE_P(BothFormats, CorruptVolume, ::testing::Bool(), [](const auto& test) {
    return std::string(test.param ? "HfsPlus" : "Hfs");
});

TEST_P(CorruptVolume, ListingEnds) {
    testing::KeptMessages messages;
    VolumeContext volume;
    int mounted = 0;
    for (unsigned seed = 0; seed < 1500; ++seed) {
        SCOPED_TRACE(::testing::Message() << "seed " << seed);
        std::mt19937 random(seed);
        testing::WriteAt(path_, 0, damage(random));
        if (!OpenVolume(volume, {path_}, messages))
            continue;
        ++mounted;
        expectUseEnds(volume);
    }
    EXPECT_GT(mounted, 700);
}

TEST_P(CorruptVolume, ChangesEndWithinTheImage) {
    testing::KeptMessages messages;
    VolumeContext volume;
    int changed = 0;
    for (unsigned seed = 10'000; seed < 10'900; ++seed) {
        SCOPED_TRACE(::testing::Message() << "seed " << seed);
        std::mt19937 random(seed);
        testing::WriteAt(path_, 0, damage(random));
        if (!OpenVolume(volume, {path_}, messages) ||
            LoadAllocationState(volume) != TreeResult::Done)
            continue;
        for (int i = 0; i < 12; ++i) {
            const auto parent = static_cast<std::uint32_t>(random() % 8 ? 17 + random() % 60 : 2);
            std::uint32_t id = 0;
            if (CreateFolder(volume, NameOf(static_cast<int>(random() % 100)), parent, kClock,
                             id) == TreeResult::Done)
                ++changed;
        }
        (void)FlushVolume(volume, kClock);
        expectUseEnds(volume);
        EXPECT_EQ(volume.image->size(), sound_.size());
    }
    EXPECT_GT(changed, 700);
}

// The words that loops count by, each at its extremes.
TEST_P(CorruptVolume, CountsAtTheirExtremesDoNotMakeItHang) {
    testing::KeptMessages messages;
    VolumeContext volume;
    for (const std::size_t tree : {extentsAt_, catalogAt_})
        for (const std::size_t field : {0, 14, 16, 20, 24, 28, 32, 36, 40})
            for (const std::uint32_t value : {0u, 1u, 2u, 0x7FFFu, 0xFFFFFFFFu, 0x7FFFFFFFu}) {
                SCOPED_TRACE(::testing::Message()
                             << "byte " << field << " of " << tree << " = " << value);
                Bytes bytes = sound_;
                const int width = field == 14 || field == 32 ? 2 : 4;
                for (int i = 0; i < width; ++i)
                    bytes[tree + field + static_cast<std::size_t>(i)] =
                        static_cast<std::uint8_t>(value >> 8 * (width - 1 - i));
                // A map node that is its own successor, and the number of nodes to believe in it.
                if (field == 0 && value == 1) {
                    bytes[tree + nodeSize_ + 3] = 1;
                    bytes[tree + nodeSize_ + 8] = 2;
                    bytes[tree + 36] = 0xFF;
                }
                testing::WriteAt(path_, 0, bytes);
                if (!OpenVolume(volume, {path_}, messages))
                    continue;
                expectUseEnds(volume);
                if (LoadAllocationState(volume) != TreeResult::Done)
                    continue;
                std::uint32_t id = 0;
                (void)CreateFolder(volume, "one more", 2, kClock, id);
                (void)FlushVolume(volume, kClock);
                EXPECT_EQ(volume.image->size(), sound_.size());
            }
}

}  // namespace
}  // namespace vellmark
