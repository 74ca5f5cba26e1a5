// Thousands of random changes of small volumes that become full and fragmented, held against a map.
#include "volume/volume_model.hpp"

#include <gtest/gtest.h>

namespace vellmark {
namespace {

using testing::VolumeShape;

const VolumeShape kShapes[] = {
    {"HfsTiny", false, 512, 420, 16},
    {"HfsSmallBlocks", false, 512, 700, 24},
    {"HfsLargeBlocks", false, 2048, 400, 32},
    {"HfsPlusTiny", true, 512, 700, 6},
    {"HfsxSmallBlocks", true, 512, 1100, 4, true},
    {"HfsPlusLargeBlocks", true, 4096, 300, 5},
};

class VolumeModelTest : public ::testing::TestWithParam<VolumeShape> {};
INSTANTIATE_TEST_SUITE_P(Shapes, VolumeModelTest, ::testing::ValuesIn(kShapes),
                         [](const auto& test) { return test.param.name; });

TEST_P(VolumeModelTest, IsWhatTheMapIsAfterEveryTenthStep) {
    const TemporaryFolder folder;
    bool wasHard = false;
    for (const unsigned seed : {1u, 2u}) {
        testing::VolumeModel model(folder.path() + "/volume", GetParam());
        std::mt19937 random(seed);
        for (int step = 1; step <= 600; ++step) {
            SCOPED_TRACE(::testing::Message() << "seed " << seed << ", step " << step);
            ASSERT_EQ(model.change(random), "");
            if (step % 10 == 0) {
                ASSERT_EQ(model.compare(), "");
            }
            if (step % 150 == 0)
                testing::ExpectReadersFindNoFault(folder.path() + "/volume");
        }
        wasHard = wasHard || model.wasHard();
    }
    EXPECT_TRUE(wasHard) << "the changes are too tame";
}

}  // namespace
}  // namespace vellmark
