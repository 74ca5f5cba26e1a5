// Thousands of random changes of small volumes that become full and fragmented, held against a map.
#include "volume/volume_model.hpp"

#include <gtest/gtest.h>

namespace vellmark {
namespace {

using testing::Script;
using testing::VolumeModel;
using testing::VolumeShape;

constexpr std::size_t kSteps = 600;
constexpr std::size_t kStepsToCompare = 10;
constexpr std::size_t kStepsToJudge = 150;

const VolumeShape kShapes[] = {
    {"HfsTiny", false, 512, 420, 16},           {"HfsSmallBlocks", false, 512, 700, 24},
    {"HfsLargeBlocks", false, 2048, 400, 32},   {"HfsPlusTiny", true, 512, 700, 6},
    {"HfsPlusSmallBlocks", true, 512, 1100, 4}, {"HfsPlusLargeBlocks", true, 4096, 300, 5},
    {"HfsHybrid", false, 512, 700, 24, true},   {"HfsPlusHybrid", true, 2048, 700, 5, true},
};

class VolumeModelTest : public ::testing::TestWithParam<std::tuple<VolumeShape, unsigned>> {
  protected:
    const VolumeShape shape_ = std::get<0>(GetParam());
    const unsigned seed_ = std::get<1>(GetParam());

    [[nodiscard]] Script randomScript() const {
        std::mt19937 random(seed_);
        const auto& table = VolumeModel::kKinds;
        std::vector<std::size_t> kinds;
        for (std::size_t kind = 0; kind < table.size(); ++kind)
            kinds.insert(kinds.end(), table[kind].weight, kind);
        Script script;
        while (script.size() < kSteps) {
            const bool shares = shape_.hasPcSide && script.size() % 40 == 39;
            script.push_back({shares ? table.size() - 1 : kinds[random() % kinds.size()],
                              static_cast<std::uint32_t>(random())});
        }
        return script;
    }

    // What goes wrong in a script and at which step; "" when nothing does.
    std::string faultOf(const Script& script, std::size_t& at, bool judges = false) const {
        VolumeModel model(path_, shape_);
        std::string fault;
        for (at = 0; at < script.size() && fault.empty(); ++at) {
            fault = model.apply(script[at]);
            const bool isLast = at + 1 == script.size();
            if (fault.empty() && (isLast || at % kStepsToCompare == 0))
                fault = model.compare();
            if (fault.empty() && judges && !shape_.hasPcSide && (isLast || at % kStepsToJudge == 0))
                testing::ExpectReadersFindNoFault(path_);
        }
        EXPECT_TRUE(!judges || !fault.empty() || model.wasHard()) << "the script is too tame";
        return fault;
    }

    // The script without most parts of it that the fault does not need.
    Script shrunk(Script script, std::size_t at) const {
        script.resize(at);
        int tries = 150;
        for (std::size_t piece = script.size() / 2; piece > 0; piece /= 2)
            for (std::size_t from = 0; from + piece <= script.size() && --tries > 0;) {
                Script less = script;
                less.erase(less.begin() + from, less.begin() + from + piece);
                if (faultOf(less, at).empty())
                    from += piece;
                else
                    script = less;
            }
        return script;
    }

    TemporaryFolder folder_;
    const std::string path_ = folder_.path() + "/volume";
};
INSTANTIATE_TEST_SUITE_P(Shapes, VolumeModelTest,
                         ::testing::Combine(::testing::ValuesIn(kShapes),
                                            ::testing::Values(1u, 2u)),
                         [](const auto& test) {
                             return std::get<0>(test.param).name +
                                    std::to_string(std::get<1>(test.param));
                         });

TEST_P(VolumeModelTest, IsWhatTheMapIsAfterEveryTenthStep) {
    std::size_t at = 0;
    const Script script = randomScript();
    const std::string fault = faultOf(script, at, true);
    if (fault.empty())
        return;
    std::string steps;
    for (const testing::Step& step : shrunk(script, at))
        steps += fmt::format("{} {}, ", VolumeModel::kKinds[step.kind].name, step.seed);
    ADD_FAILURE() << fault << " at step " << at << ", seed " << seed_ << "; shortest: " << steps;
}

}  // namespace
}  // namespace vellmark
