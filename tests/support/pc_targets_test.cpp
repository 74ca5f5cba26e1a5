// What may be written where on the PC, and what stays when a pair of files cannot be whole.
#include "support/pc_targets.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "support/sentences.hpp"

namespace vellmark {
namespace {

namespace fs = std::filesystem;

TEST(SafePcName, NoNameLeavesItsFolder) {
    const std::pair<std::string, std::string> cases[] = {
        {"", "_"},
        {"..", "__"},
        {"../../etc/passwd", ".._.._etc_passwd"},
        {std::string("\0\x1B[\x7F\u0085", 6), "_\uF01B[__"},
        {"gpj\u202Eexe.\u200B", "gpj_exe._"},
        {"\xE2\x80\xFF", "\xE2\x80\xFF"},
        {"\u2764\uFE0F a\u200D:b", "\u2764\uFE0F a_:b"}};
    for (const auto& [name, safe] : cases)
        EXPECT_EQ(SafePcName(name), safe) << name;
}

// A second name that the folder takes for the first one: hard links stand for it here.
TEST(PcTargets, OneRunReplacesNothingThatItBroughtAndFollowsNoLinks) {
    const TemporaryFolder outer;
    const std::string folder = outer.path() + "/new";
    const FillTarget fill = [](PcFile&, PcFile*) { return Reason(); };
    PcTargets targets("");
    ASSERT_FALSE(targets.enter(folder));
    ASSERT_FALSE(targets.write({folder + "/a", folder + "/._a", true, {}}, fill).problem);
    fs::create_hard_link(folder + "/a", folder + "/A");
    fs::create_hard_link(folder + "/._a", folder + "/._A");
    std::ofstream(folder + "/b") << "older";
    fs::create_directory_symlink("/", folder + "/link");
    for (const auto& [name, isRefused] : {std::pair{"/A", true}, std::pair{"/._A", true},
                                          std::pair{"/b", false}, std::pair{"/c", false}})
        EXPECT_EQ(!targets.refusalOf(folder + name).isNone(), isRefused) << name;
    EXPECT_EQ(targets.enter(folder + "/link").sentence(), Sentence::kPcTargetIsLink);
    ASSERT_FALSE(targets.enter(folder + "/sub") || targets.leave({}));
    EXPECT_TRUE(targets.enter(folder + "/sub")) << "it came from another item";
}

// A pair of files whose second one cannot get its name leaves the first as it was.
TEST(WritePcTarget, APairAppearsAsAWholeOrNotAtAll) {
    const FillTarget fill = [](PcFile& file, PcFile* sidecar) {
        const bool isDone = file.setSize(1) && sidecar->setSize(1);
        return isDone ? Reason() : Reason::Plain("not written");
    };
    for (const bool isOlderThere : {true, false}) {
        const TemporaryFolder folder;
        const PcTarget target{folder.path() + "/a", folder.path() + "/._a", true, 1'000'000'000};
        if (isOlderThere)
            std::ofstream(target.sidecar) << "older";
        fs::create_directories(target.path + "/in the way");
        EXPECT_NE(WritePcTarget(target, fill).error, 0);
        EXPECT_EQ(PcTargets::exists(target.sidecar), isOlderThere);
        EXPECT_TRUE(!isOlderThere || fs::file_size(target.sidecar) == 5);
        fs::remove_all(target.path);
        EXPECT_FALSE(WritePcTarget(target, fill).problem);
        EXPECT_EQ(fs::file_size(target.path) + fs::file_size(target.sidecar), 2u);
        const fs::directory_iterator left(folder.path());
        EXPECT_EQ(std::distance(begin(left), end(left)), 2) << "no temporary file stays";
    }
}

}  // namespace
}  // namespace vellmark
