#include "support/pc_folder.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

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
    std::vector<PcItem> list(const std::string& name = "") {
        int error = -1;
        auto items = ListPcFolder(at(name), error);
        EXPECT_EQ(error, 0);
        return items;
    }
    // The resolver takes folders in Windows-1252 with a slash at their end.
    std::string base() { return Utf8ToNarrow(folder_.path()) + "/"; }
    TemporaryFolder folder_;
};

TEST_F(PcFolders, FactsTellWhatStandsBehindAName) {
    ASSERT_TRUE(PcFile(at("file"), PcFile::Mode::CreateNew).setSize(42));
    for (const auto& [target, name] :
         {std::pair{"file", "link"}, std::pair{"gone", "dead"}, std::pair{"loop", "loop"}})
        ASSERT_EQ(::symlink(target, at(name).c_str()), 0);
    ASSERT_EQ(::mkfifo(at("pipe").c_str(), 0600), 0);
    const struct {
        const char* name;
        PcKind kind;
        bool isLink;
    } cases[] = {{"file", PcKind::File, false},    {"link", PcKind::File, true},
                 {"dead", PcKind::Missing, true},  {"loop", PcKind::Missing, true},
                 {"none", PcKind::Missing, false}, {"pipe", PcKind::Special, false},
                 {".", PcKind::Folder, false}};
    for (const auto& c : cases) {
        const PcFacts facts = PcFactsOf(at(c.name));
        EXPECT_EQ(facts.kind, c.kind) << c.name;
        EXPECT_EQ(facts.isLink, c.isLink) << c.name;
        EXPECT_EQ(facts.sizeBytes == 42, c.kind == PcKind::File) << "of the file, not of the link";
        EXPECT_EQ(facts.inode == PcFactsOf(at("file")).inode, c.kind == PcKind::File) << c.name;
    }
}

TEST_F(PcFolders, EntriesComeInByteOrderWithEveryForm) {
    for (const char* name : {"b.txt", "B.txt", "\u00E9t\u00E9", "\u65E5", ".hidden", "bad\xFF"})
        make(name);
    std::filesystem::create_directory(at("a folder"));
    std::string names;
    std::string narrow;
    for (const PcItem& item : list()) {
        names += item.name + "|";
        narrow += item.narrow + "|";
        EXPECT_EQ(item.hidden, item.name == ".hidden");
    }
    EXPECT_EQ(names, ".hidden|B.txt|a folder|b.txt|bad\xFF|\u00E9t\u00E9|\u65E5|");
    EXPECT_EQ(narrow, ".hidden|B.txt|a folder|b.txt|bad?|\xE9t\xE9|?|");
    int error = 0;
    EXPECT_TRUE(ListPcFolder(at("none"), error).empty());
    EXPECT_EQ(error, ENOENT);
    EXPECT_TRUE(ListPcFolder(at("b.txt"), error).empty());
    EXPECT_EQ(error, ENOTDIR);
}

// Records of a project keep short names: they depend on the names of a folder alone.
TEST_F(PcFolders, EveryOtherNameGetsAShortOneOfItsOwn) {
    const std::vector<std::string> shortNames = {"README.TXT", "a", "12345678.123", "~$!#%&'(.)-@"};
    std::vector<std::string> names = {"123456789", "a.1234",    "a.",  ".a",          "a.b.c",
                                      "a b",       "caf\u00E9", "a+b", "\u65E5\u672C"};
    for (int i = 0; i < 300; ++i)
        names.push_back("a long name number " + std::to_string(i) + ".text");
    names.insert(names.end(), shortNames.begin(), shortNames.end());
    for (const std::string& name : names)
        make("one/" + name);
    for (auto name = names.rbegin(); name != names.rend(); ++name)
        make("two/" + *name);
    const auto items = list("one");
    const auto others = list("two");
    std::set<std::string> all;
    for (std::size_t i = 0; i < items.size(); ++i) {
        const PcItem& item = items[i];
        EXPECT_EQ(item.shortName, others.at(i).shortName) << item.name;
        const bool isShort =
            std::find(shortNames.begin(), shortNames.end(), item.name) != shortNames.end();
        EXPECT_EQ(item.shortName.empty(), isShort) << item.name;
        EXPECT_TRUE(isShort || IsShortName(item.shortName)) << item.name;
        EXPECT_TRUE(all.insert(AsciiUpper(isShort ? item.name : item.shortName)).second);
        if (item.name.ends_with(".text")) {
            EXPECT_TRUE(item.shortName.starts_with("AL") && item.shortName.ends_with(".TEX"));
        }
    }
}

TEST_F(PcFolders, PathsAreFoundByTheirWholeOrShortNames) {
    make("Folder with \u65E5/inner folder/file \u672C.data");
    make("Folder with \u65E5/plain.txt");
    make("caf\u00E9");
    const std::string real = at("Folder with \u65E5");
    const std::string outer = list().front().shortName;
    const std::string inner = list("Folder with \u65E5").front().shortName;
    const std::string file = list("Folder with \u65E5/inner folder").front().shortName;
    const std::tuple<std::string, std::string, std::string> cases[] = {
        {"", "caf\xE9", at("caf\u00E9")},
        {"", outer, real},
        {outer + "/", "plain.txt", real + "/plain.txt"},
        {outer + "/", "PLAIN.TXT", real + "/plain.txt"},  // short names have no case
        {outer + "/inner folder/", file, real + "/inner folder/file \u672C.data"},
        {outer + "/" + inner + "/", file, real + "/inner folder/file \u672C.data"},
        {outer + "/", "none", ""},
        {"none/", "plain.txt", ""}};
    PcPathResolver resolver;
    for (const auto& [folder, name, path] : cases)
        EXPECT_EQ(resolver.resolve(base() + folder, name), path) << folder << name;
    EXPECT_EQ(resolver.resolveFolder(base() + outer + "/" + inner + "/"), real + "/inner folder/");
    EXPECT_EQ(resolver.resolveFolder(base() + "none/deeper/"), "");
    EXPECT_EQ(resolver.resolveFolder("/"), "/");
    // More folders than are remembered.
    for (int i = 0; i < 140; ++i) {
        const std::string folder = "folder " + std::to_string(i % 70) + "/";
        if (i < 70)
            make(folder + "file");
        EXPECT_EQ(resolver.resolve(base() + folder, "file"), base() + folder + "file");
    }
}

}  // namespace
}  // namespace vellmark
