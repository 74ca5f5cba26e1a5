// Paths put in the place of others, and items that are found again.
#include "project/access_path.hpp"

#include "project/project_bench.hpp"

namespace vellmark {
namespace {

namespace fs = std::filesystem;
using test::EmptyProject;
using test::Item;
using test::ScriptedMessages;
using test::Write;

TEST(AccessPath, OnePathTakesThePlaceOfAnother) {
    const struct {
        const char* path;
        const char* name;
        bool isFolder;
        const char* oldPath;
        const char* newPath;
        const char* expected;  // access path and source name; "" for no change
    } cases[] = {
        {"/a/b/", "f", false, "/a/b", "/x", "/x/f"},
        {"/a/b/", "f", false, "/a/b/", "/x/y/", "/x/y/f"},
        {"/a/b/c/", "f", false, "/a/b", "/x", "/x/c/f"},
        {"/a/bc/", "f", false, "/a/b", "/x", ""},
        {"/A/b/", "f", false, "/a/b", "/x", ""},
        {"/x/a/b/", "f", false, "/a/b", "/y", ""},
        // The folder that the old path names, and one that only begins like it.
        {"/a/", "b", true, "/a/b", "/x/y", "/x/y"},
        {"/a/", "b", true, "/a/b", "/y", "/y"},
        {"/a/", "b", false, "/a/b", "/x/y", ""},
        {"/a/", "bb", true, "/a/b", "/x/y", ""},
        {"/", "a", true, "/a/b", "/x/y", ""},
        {"..", "b", true, "/a/b", "/x", ""},
        {"..", "b", true, "..", "/x", ""},
        // A project that was made on another system.
        {"C:\\Data\\Sub\\", "f", false, "C:\\Data", "/d", "/d/Sub/f"},
        {"C:\\", "Data", true, "C:\\Data\\", "/d/e", "/d/e"},
    };
    for (const auto& c : cases) {
        ProjectFile project = EmptyProject();
        ProjectRecord record = Item(1, c.isFolder ? 18 : -1, c.name);
        record.setAccessPath(c.path);
        project.insert(record);
        ScriptedMessages messages;
        const bool changes = *c.expected != '\0';
        EXPECT_EQ(ChangeAccessPath(project, c.oldPath, c.newPath, messages).items, changes)
            << c.path << c.name << " from " << c.oldPath;
        const ProjectRecord& after = project.childrenOf(1)[0];
        EXPECT_EQ(std::string(after.accessPath()).append(after.sourceName()),
                  changes ? c.expected : std::string(c.path) + c.name);
        EXPECT_EQ(after.isoName(), c.name) << "names in the views stay";
        EXPECT_TRUE(messages.skipped.empty());
    }
}

TEST(AccessPath, WhatARecordCannotHoldStaysAndIsNamed) {
    ProjectFile project = EmptyProject();
    project.insert(Item(1, -1, "f"));
    ScriptedMessages messages;
    const std::string longPath = "/" + std::string(254, 'x');
    EXPECT_EQ(ChangeAccessPath(project, "/pc", longPath, messages).skipped, 1);
    EXPECT_EQ(project.childrenOf(1)[0].accessPath(), "/pc/");
    EXPECT_EQ(messages.skipped.size(), 1u);
    EXPECT_EQ(ChangeAccessPath(project, "/pc", longPath.substr(0, 254), messages).items, 1);
}

TEST(AccessPath, AMissingItemIsFoundByItsNameAndComesFromThere) {
    const TemporaryFolder folder;
    const std::string top = folder.path() + "/";
    Write(top + "one/Photos/a.jpg");
    Write(top + "one/deep/er/PHOTOS/sub/b.jpg");
    Write(top + "two/photos");
    fs::create_directory_symlink("..", top + "one/deep/back");
    const std::vector<std::string> places = {top + "one", top + "two/", top + "one/deep"};
    Progress progress;
    using Paths = std::vector<std::string>;
    EXPECT_EQ(Locate(places, "photos", true, progress),
              (Paths{top + "one/Photos", top + "one/deep/er/PHOTOS"}));
    EXPECT_EQ(Locate(places, "photos", false, progress), (Paths{top + "two/photos"}));
    EXPECT_EQ(Locate(places, "none", true, progress), Paths{});

    ProjectFile project = EmptyProject();
    project.insert(Item(1, 18, "Photos"));
    project.insert(Item(18, 19, "sub"));
    project.insert(Item(19, -1, "b.jpg"));
    project.insert(Item(1, -2, "other"));
    project.findByNumber(19)->setAccessPath("/pc/Photos/");
    project.findByNumber(-1)->setAccessPath("/pc/Photos/sub/");
    project.findByNumber(-2)->setAccessPath("/pc/Photos/");
    ScriptedMessages messages;
    const std::string found = top + "one/deep/er/PHOTOS";
    ASSERT_TRUE(ReplaceSource(project, 18, found, messages));
    EXPECT_EQ(project.findByNumber(18)->accessPath(), top + "one/deep/er/");
    EXPECT_EQ(project.findByNumber(18)->sourceName(), "PHOTOS");
    EXPECT_EQ(project.findByNumber(19)->accessPath(), found + "/");
    EXPECT_EQ(project.findByNumber(-1)->accessPath(), found + "/sub/");
    EXPECT_EQ(project.findByNumber(-2)->accessPath(), "/pc/Photos/") << "not below the folder";

    EXPECT_FALSE(ReplaceSource(project, -1, found, messages)) << "a folder for a file";
    EXPECT_FALSE(ReplaceSource(project, 18, top + "nowhere", messages));
    EXPECT_FALSE(ReplaceSource(project, 77, found, messages));
    EXPECT_EQ(messages.shown.size(), 3u);
}

}  // namespace
}  // namespace vellmark
