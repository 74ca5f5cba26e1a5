// Thousands of random changes of small volumes that become full and fragmented, held against a map.
#include "volume/volume_model.hpp"

#include <fmt/core.h>
#include <gtest/gtest.h>

namespace vellmark {
namespace {

using testing::Script;
using testing::VolumeModel;
using testing::VolumeShape;

constexpr std::size_t kSteps = 600;
constexpr std::size_t kStepsToCompare = 10;
constexpr std::size_t kStepsToJudge = 150;

constexpr VolumeShape kShapes[] = {
    {"HfsTiny", false, 512, 420, 16},
    {"HfsSmallBlocks", false, 512, 700, 24},
    {"HfsLargeBlocks", false, 2048, 400, 32},
    {"HfsPlusTiny", true, 512, 700, 6},
    {"HfsPlusSmallBlocks", true, 512, 1100, 4},
    {"HfsPlusLargeBlocks", true, 4096, 300, 5},
    {"HfsHybrid", false, 512, 700, 24, true},
    {"HfsPlusHybrid", true, 2048, 700, 5, true},
    {"HfsPlusInWrapper", true, 512, 700, 6, false, true},
    {"HfsxFoldingCase", true, 512, 1100, 4, false, false, true},
};

struct Case {
    VolumeShape shape;
    unsigned seed;
};
std::ostream& operator<<(std::ostream& out, const Case& c) {
    return out << c.shape << ", seed " << c.seed;
}

class VolumeModelTest : public ::testing::TestWithParam<Case> {
  protected:
    // What goes wrong in a script and at which step; "" when nothing does.
    std::string faultOf(const Script& script, std::size_t& at, bool judges = false) const {
        VolumeModel model(path_, GetParam().shape);
        std::string fault;
        for (at = 0; at < script.size() && fault.empty(); ++at) {
            fault = model.apply(script[at]);
            const bool isLast = at + 1 == script.size();
            if (fault.empty() && (isLast || at % kStepsToCompare == 0))
                fault = model.compare();
            if (fault.empty() && judges && GetParam().shape.isPlain() &&
                (isLast || at % kStepsToJudge == 0))
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
                Script less(script.begin(), script.begin() + static_cast<std::ptrdiff_t>(from));
                less.insert(less.end(), script.data() + from + piece,
                            script.data() + script.size());
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

std::vector<Case> Cases() {
    std::vector<Case> cases;
    for (const VolumeShape& shape : kShapes)
        for (const unsigned seed : {1u, 2u})
            if (seed == 1 || shape.isPlain() || shape.hasPcSide)
                cases.push_back({shape, seed});
    return cases;
}
INSTANTIATE_TEST_SUITE_P(Shapes, VolumeModelTest, ::testing::ValuesIn(Cases()),
                         [](const auto& test) {
                             return fmt::format("{}{}", test.param.shape.name, test.param.seed);
                         });

TEST_P(VolumeModelTest, IsWhatTheMapIsAfterEveryTenthStep) {
    std::size_t at = 0;
    const Script script =
        testing::RandomScript(GetParam().seed, kSteps, GetParam().shape.hasPcSide);
    const std::string fault = faultOf(script, at, true);
    if (fault.empty())
        return;
    std::string steps;
    for (const testing::Step& step : shrunk(script, at))
        steps += NameOf(step) + ", ";
    ADD_FAILURE() << fault << " at step " << at << ", seed " << GetParam().seed
                  << "; shortest: " << steps;
}

}  // namespace
}  // namespace vellmark
