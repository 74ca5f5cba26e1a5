#include "support/pc_folder.hpp"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <set>

#include "support/encoding.hpp"
#include "support/pc_file.hpp"

namespace vellmark {
namespace {

class PcFolders : public ::testing::Test {
  protected:
    std::string at(const std::string& name) { return folder_.path() + "/" + name; }
    void make(const std::string& name) {
        std::filesystem::create_directories(std::filesystem::path(at(name)).parent_path());
        ASSERT_TRUE(PcFile(at(name), PcFile::Mode::CreateNew).isOpen()) << name;
    }
    std::vector<PcItem> list() {
        int error = -1;
        auto items = ListPcFolder(folder_.path(), error);
        EXPECT_EQ(error, 0);
        return items;
    }
    // The resolver takes folders in Windows-1252 with a slash at their end.
    std::string base() { return Utf8ToNarrow(folder_.path()) + "/"; }
    TemporaryFolder folder_;
};

TEST(ShortNames, HaveEightAndThreeOfTheirCharacters) {
    struct Case {
        std::string_view name;
        bool isShort;
    };
    for (const Case c :
         {Case{"README.TXT", true}, Case{"a", true}, Case{"12345678.123", true},
          Case{"~$!#%&'(.)-@", true}, Case{"123456789", false}, Case{"a.1234", false},
          Case{"a.", false}, Case{".a", false}, Case{"a.b.c", false}, Case{"a b", false},
          Case{"", false}, Case{"caf\u00E9", false}, Case{"a+b", false}})
        EXPECT_EQ(IsShortName(c.name), c.isShort) << c.name;
}

TEST_F(PcFolders, FactsTellWhatStandsBehindAName) {
    PcFile file(at("file"), PcFile::Mode::CreateNew);
    ASSERT_TRUE(file.writeAt(0, std::vector<std::uint8_t>(42)));
    const timespec times[2] = {{1'000'000'007, 0}, {1'000'000'007, 0}};
    ASSERT_EQ(::utimensat(AT_FDCWD, at("file").c_str(), times, 0), 0);
    ASSERT_EQ(::symlink("file", at("link").c_str()), 0);
    ASSERT_EQ(::symlink("gone", at("dead").c_str()), 0);
    ASSERT_EQ(::symlink("loop", at("loop").c_str()), 0);
    ASSERT_EQ(::mkfifo(at("pipe").c_str(), 0600), 0);

    const PcFacts facts = PcFactsOf(at("file"));
    EXPECT_EQ(facts.kind, PcKind::File);
    EXPECT_FALSE(facts.isLink);
    EXPECT_EQ(facts.sizeBytes, 42u);
    EXPECT_EQ(facts.modified, 1'000'000'007);
    const PcFacts link = PcFactsOf(at("link"));
    EXPECT_EQ(link.kind, PcKind::File);
    EXPECT_TRUE(link.isLink);
    EXPECT_EQ(link.sizeBytes, 42u) << "of the file, not of the link";
    EXPECT_EQ(link.inode, facts.inode);
    EXPECT_EQ(link.device, facts.device);
    for (const char* name : {"dead", "loop"}) {
        EXPECT_EQ(PcFactsOf(at(name)).kind, PcKind::Missing);
        EXPECT_TRUE(PcFactsOf(at(name)).isLink);
    }
    EXPECT_EQ(PcFactsOf(at("none")).kind, PcKind::Missing);
    EXPECT_FALSE(PcFactsOf(at("none")).isLink);
    EXPECT_EQ(PcFactsOf(at("pipe")).kind, PcKind::Special);
    EXPECT_EQ(PcFactsOf(folder_.path()).kind, PcKind::Folder);
}

TEST_F(PcFolders, AFileThatMayNotBeReadSaysSo) {
    if (::geteuid() == 0)
        GTEST_SKIP() << "the superuser may read everything";
    make("secret");
    ASSERT_EQ(::chmod(at("secret").c_str(), 0), 0);
    EXPECT_EQ(ReadRefusal(at("secret")), EACCES);
}

TEST_F(PcFolders, EntriesComeInByteOrderWithEveryForm) {
    for (const char* name : {"b.txt", "B.txt", "\u00E9t\u00E9", "\u65E5", ".hidden", "bad\xFF"})
        make(name);
    std::filesystem::create_directory(at("a folder"));
    const auto items = list();
    std::vector<std::string> names;
    names.reserve(items.size());
    for (const PcItem& item : items)
        names.push_back(item.name);
    EXPECT_EQ(names, (std::vector<std::string>{".hidden", "B.txt", "a folder", "b.txt", "bad\xFF",
                                               "\u00E9t\u00E9", "\u65E5"}));
    EXPECT_TRUE(items[0].hidden);
    EXPECT_FALSE(items[1].hidden);
    EXPECT_EQ(items[2].facts.kind, PcKind::Folder);
    EXPECT_EQ(items[4].narrow, "bad?");
    EXPECT_EQ(items[5].narrow, "\xE9t\xE9");
    EXPECT_EQ(items[6].narrow, "?");
}

TEST_F(PcFolders, AFolderThatCannotBeReadGivesTheReason) {
    int error = 0;
    EXPECT_TRUE(ListPcFolder(at("none"), error).empty());
    EXPECT_EQ(error, ENOENT);
    make("file");
    EXPECT_TRUE(ListPcFolder(at("file"), error).empty());
    EXPECT_EQ(error, ENOTDIR);
}

TEST_F(PcFolders, EveryOtherNameGetsAShortOneOfItsOwn) {
    for (int i = 0; i < 300; ++i)
        make("a long name number " + std::to_string(i) + ".text");
    for (const char* name : {"SHORT.TXT", "x.html", ".profile", "\u65E5\u672C", "end.", "a b"})
        make(name);
    const auto items = list();
    std::set<std::string> all;
    for (const PcItem& item : items) {
        if (IsShortName(item.name)) {
            EXPECT_EQ(item.shortName, "") << item.name;
            all.insert(AsciiUpper(item.name));
            continue;
        }
        EXPECT_TRUE(IsShortName(item.shortName)) << item.name << " " << item.shortName;
        EXPECT_EQ(item.shortName, AsciiUpper(item.shortName));
        all.insert(item.shortName);
        if (item.name.ends_with(".text")) {
            EXPECT_EQ(item.shortName.substr(0, 2), "AL");
            EXPECT_TRUE(item.shortName.ends_with(".TEX"));
        }
    }
    EXPECT_EQ(all.size(), items.size()) << "no two are the same";
}

// Two folders with the same names must give the same short names, whatever order the system lists
// them in: records of a project keep them.
TEST_F(PcFolders, ShortNamesDependOnTheNamesAlone) {
    const std::vector<std::string> names = {"some long name", "another long name", "third long n"};
    for (const auto& name : names)
        make("one/" + name);
    for (auto name = names.rbegin(); name != names.rend(); ++name)
        make("two/" + *name);
    int error = 0;
    const auto one = ListPcFolder(at("one"), error);
    const auto two = ListPcFolder(at("two"), error);
    ASSERT_EQ(one.size(), two.size());
    for (std::size_t i = 0; i < one.size(); ++i)
        EXPECT_EQ(one[i].shortName, two[i].shortName) << one[i].name;
}

TEST_F(PcFolders, PathsAreFoundByTheirWholeOrShortNames) {
    make("Folder with \u65E5/inner folder/file \u672C.data");
    make("Folder with \u65E5/plain.txt");
    make("caf\u00E9");
    const auto shortOf = [](const std::string& folder) {
        int error = 0;
        return ListPcFolder(folder, error).front().shortName;
    };
    std::string outer;
    for (const PcItem& item : list())
        if (item.facts.kind == PcKind::Folder)
            outer = item.shortName;
    const std::string realOuter = at("Folder with \u65E5");
    const std::string inner = shortOf(realOuter);
    const std::string file = shortOf(realOuter + "/inner folder");

    PcPathResolver resolver;
    EXPECT_EQ(resolver.resolve(base(), "caf\xE9"), at("caf\u00E9")) << "a Windows-1252 name";
    EXPECT_EQ(resolver.resolve(base(), outer), realOuter);
    EXPECT_EQ(resolver.resolve(base() + outer + "/", "plain.txt"), realOuter + "/plain.txt");
    EXPECT_EQ(resolver.resolve(base() + outer + "/", "PLAIN.TXT"), realOuter + "/plain.txt")
        << "short names have no case";
    EXPECT_EQ(resolver.resolve(base() + outer + "/inner folder/", file),
              realOuter + "/inner folder/file \u672C.data");
    EXPECT_EQ(resolver.resolve(base() + outer + "/" + inner + "/", file),
              realOuter + "/inner folder/file \u672C.data");
    EXPECT_EQ(resolver.resolveFolder(base() + outer + "/" + inner + "/"),
              realOuter + "/inner folder/");
    EXPECT_EQ(resolver.resolve(base() + outer + "/", "none"), "");
    EXPECT_EQ(resolver.resolve(base() + "none/", "plain.txt"), "");
    EXPECT_EQ(resolver.resolveFolder(base() + "none/deeper/"), "");
    EXPECT_EQ(resolver.resolveFolder("/"), "/");
}

TEST_F(PcFolders, MoreFoldersThanAreRememberedStillResolve) {
    for (int i = 0; i < 70; ++i)
        make("folder " + std::to_string(i) + "/file");
    PcPathResolver resolver;
    for (int round = 0; round < 2; ++round)
        for (int i = 0; i < 70; ++i) {
            const std::string folder = base() + "folder " + std::to_string(i) + "/";
            EXPECT_EQ(resolver.resolve(folder, "file"), folder + "file");
        }
}

}  // namespace
}  // namespace vellmark
