// Folders of the PC: what stands behind a name, its short name, the way back to its path, what may
// be written where, and what stays when a pair of files cannot be whole.
#include "support/pc_folder.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <set>

#include "support/encoding.hpp"
#include "support/pc_file.hpp"
#include "support/pc_targets.hpp"
#include "support/sentences.hpp"

namespace vellmark {
namespace {

namespace fs = std::filesystem;

class PcFolders : public ::testing::Test {
  protected:
    std::string at(const std::string& name) { return folder_.path() + "/" + name; }
    void make(const std::string& name) {
        fs::create_directories(fs::path(at(name)).parent_path());
        ASSERT_TRUE(PcFile(at(name), PcFile::Mode::CreateNew).setSize(42)) << name;
    }
    std::vector<PcItem> list(const std::string& name = "", int wanted = 0) {
        int error = -1;
        auto items = ListPcFolder(at(name), error);
        EXPECT_EQ(error, wanted);
        return items;
    }
    TemporaryFolder folder_;
};

TEST_F(PcFolders, FactsAndEveryFormOfANameInByteOrder) {
    for (const char* name : {"b.txt", "B.txt", "\u00E9t\u00E9", "\u65E5", ".hidden", "bad\xFF"})
        make(name);
    std::string forms;
    for (const PcItem& item : list())
        forms += item.name + "=" + item.narrow + (item.hidden ? " hidden|" : "|");
    EXPECT_EQ(forms,
              ".hidden=.hidden hidden|B.txt=B.txt|b.txt=b.txt|bad\xFF=bad?|"
              "\u00E9t\u00E9=\xE9t\xE9|\u65E5=?|");
    EXPECT_TRUE(list("b.txt", ENOTDIR).empty());
    fs::create_symlink("b.txt", at("link"));
    fs::create_symlink("gone", at("dead"));
    ASSERT_EQ(::mkfifo(at("pipe").c_str(), 0600), 0);
    const std::tuple<const char*, PcKind, bool> cases[] = {{"link", PcKind::File, true},
                                                           {"dead", PcKind::Missing, true},
                                                           {"pipe", PcKind::Special, false},
                                                           {".", PcKind::Folder, false}};
    for (const auto& [name, kind, isLink] : cases) {
        const PcFacts facts = PcFactsOf(at(name));
        EXPECT_TRUE(facts.kind == kind && facts.isLink == isLink) << name;
        EXPECT_EQ(facts.sizeBytes == 42, kind == PcKind::File) << "of the file, not of the link";
        EXPECT_EQ(AreSameFile(at(name), at("b.txt")), kind == PcKind::File) << name;
    }
}

// Records of a project keep short names: they depend on the names of a folder alone.
TEST_F(PcFolders, EveryOtherNameGetsAShortOneOfItsOwn) {
    const std::set<std::string> shortNames = {"README.TXT", "a", "12345678.123", "~$!#%&'(.)-@"};
    std::set<std::string> names = {"123456789", "a.1234", ".a", "a.b.c", "a b", "caf\u00E9", "a+b"};
    for (int i = 0; i < 300; ++i)
        names.insert("a long name number " + std::to_string(i) + ".text");
    names.insert(shortNames.begin(), shortNames.end());
    std::ranges::for_each(names, [&](const auto& name) { make("one/" + name); });
    std::for_each(names.rbegin(), names.rend(), [&](const auto& name) { make("two/" + name); });
    const auto others = list("two");
    std::set<std::string> all;
    for (const PcItem& item : list("one")) {
        EXPECT_EQ(item.shortName, others.at(all.size()).shortName) << item.name;
        EXPECT_EQ(item.shortName.empty(), shortNames.count(item.name) == 1) << item.name;
        const std::string& shown = item.shortName.empty() ? item.name : item.shortName;
        EXPECT_TRUE(IsShortName(shown) && all.insert(AsciiUpper(shown)).second) << item.name;
    }
}

TEST_F(PcFolders, PathsAreFoundByTheirWholeOrShortNames) {
    make("Folder with \u65E5/inner folder/file \u672C.data");
    // The resolver takes folders in Windows-1252 with a slash at their end.
    const std::string base = Utf8ToNarrow(folder_.path()) + "/";
    const std::string real = at("Folder with \u65E5/inner folder/");
    const std::string outer = list().front().shortName + "/";
    const std::string inner = list("Folder with \u65E5").front().shortName + "/";
    const std::string file = list("Folder with \u65E5/inner folder").front().shortName;
    PcPathResolver resolver;
    EXPECT_EQ(resolver.resolve(base + outer + inner, AsciiUpper(file)), real + "file \u672C.data");
    EXPECT_EQ(resolver.resolve(base + outer, "INNER FOLDER"), "") << "whole names have a case";
    EXPECT_EQ(resolver.resolveFolder(base + outer + "inner folder/"), real);
    EXPECT_EQ(resolver.resolveFolder("/"), "/");
}

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
    const FillTarget fill = [](PcFile& file, PcFile* companion) {
        const bool isDone = file.setSize(1) && companion->setSize(1);
        return isDone ? Reason() : Reason::Plain("not written");
    };
    for (const bool isOlderThere : {true, false}) {
        const TemporaryFolder folder;
        const PcTarget target{folder.path() + "/a", folder.path() + "/._a", true, 1'000'000'000};
        if (isOlderThere)
            std::ofstream(target.companion) << "older";
        fs::create_directories(target.path + "/in the way");
        EXPECT_NE(WritePcTarget(target, fill).error, 0);
        EXPECT_EQ(PcTargets::exists(target.companion), isOlderThere);
        EXPECT_TRUE(!isOlderThere || fs::file_size(target.companion) == 5);
        fs::remove_all(target.path);
        EXPECT_FALSE(WritePcTarget(target, fill).problem);
        EXPECT_EQ(fs::file_size(target.path) + fs::file_size(target.companion), 2u);
        const fs::directory_iterator left(folder.path());
        EXPECT_EQ(std::distance(begin(left), end(left)), 2) << "no temporary file stays";
    }
}

}  // namespace
}  // namespace vellmark
