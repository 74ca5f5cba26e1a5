// Thousands of random changes of small volumes that become full and fragmented, held against a map.
#include "volume/volume_model.hpp"

#include <fmt/core.h>
#include <gtest/gtest.h>

namespace vellmark {
namespace {

using testing::Step;
using testing::VolumeModel;
using testing::VolumeShape;
using Script = std::vector<Step>;

constexpr int kSteps = 600;
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
    {"HfsPlusInWrapper", true, 512, 700, 6, false, VolumeShape::InWrapper},
    {"HfsBehindBootRecord", false, 512, 420, 16, false, VolumeShape::BehindBootRecord},
    {"HfsPlusInGuidTable", true, 4096, 300, 5, false, VolumeShape::InGuidTable},
    {"HfsxFoldingCase", true, 512, 1100, 4, false, VolumeShape::WholeImage, true},
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
        EXPECT_TRUE(!judges || !fault.empty() ||
                    (model.refusals() > 0 && model.catalogNodes() > GetParam().shape.catalogNodes))
            << "the script is too tame: " << model.refusals() << " refusals, "
            << model.catalogNodes();
        EXPECT_TRUE(!judges || !fault.empty() || GetParam().shape.isHfsPlus || model.overflow() > 0)
            << "no file in many pieces";
        return fault;
    }

    // The script without most parts of it that the fault does not need.
    Script shrunk(Script script) const {
        std::size_t at = 0;
        (void)faultOf(script, at);
        script.resize(at);
        int tries = 150;
        for (std::size_t piece = script.size() / 2; piece > 0; piece /= 2)
            for (std::size_t from = 0; from + piece <= script.size() && --tries > 0;) {
                Script less = script;
                const auto first = less.begin() + static_cast<std::ptrdiff_t>(from);
                less.erase(first, first + static_cast<std::ptrdiff_t>(piece));
                if (faultOf(less, at).empty())
                    from += piece;
                else
                    script = less;
            }
        return script;
    }

    void askOtherProgram() const {
        const VolumeShape& shape = GetParam().shape;
        const bool isHfsPlus = shape.isHfsPlus;
        // hfsutils refuse volumes of less than 800 KiB.
        const bool isLargeEnough = isHfsPlus || shape.totalBlocks * shape.blockSize >= 800 * 1024;
        if (!isLargeEnough || !shape.isPlain() || !testing::IsInstalled(isHfsPlus ? "7zz" : "hls"))
            return;
        const std::string command =
            isHfsPlus ? "7zz t '" + path_ + "'" : "hmount '" + path_ + "' && hls -aR && humount";
        const testing::CommandResult judged = testing::RunCommand(folder_.path(), command);
        EXPECT_EQ(judged.status, 0) << judged.output;
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

Script RandomScript(unsigned seed, bool hasPcSide) {
    std::mt19937 random(seed);
    // New files and folders outweigh deletions, so that the volume is mostly nearly full.
    constexpr Step::Kind kKinds[] = {
        Step::Folder, Step::Folder, Step::File,    Step::File,   Step::File,    Step::File,
        Step::File,   Step::File,   Step::File,    Step::File,   Step::Replace, Step::Replace,
        Step::Delete, Step::Delete, Step::Delete,  Step::Rename, Step::Rename,  Step::Recase,
        Step::Move,   Step::Move,   Step::Relabel, Step::Swap,   Step::Mark};
    Script script;
    while (script.size() < kSteps) {
        const Step::Kind kind = kKinds[random() % std::size(kKinds)];
        const bool shares = hasPcSide && script.size() % 40 == 39;
        script.push_back({shares ? Step::Share : kind, static_cast<std::uint32_t>(random())});
    }
    return script;
}

TEST_P(VolumeModelTest, IsWhatTheMapIsAfterEveryTenthStep) {
    std::size_t at = 0;
    const Script script = RandomScript(GetParam().seed, GetParam().shape.hasPcSide);
    const std::string fault = faultOf(script, at, true);
    if (fault.empty()) {
        askOtherProgram();
        return;
    }
    std::string steps;
    for (const Step& step : shrunk(script))
        steps += NameOf(step) + ", ";
    ADD_FAILURE() << fault << " at step " << at << ", seed " << GetParam().seed
                  << "; shortest: " << steps;
}

}  // namespace
}  // namespace vellmark
