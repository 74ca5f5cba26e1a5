// Paths put in the place of others, and items that are found again.
#include "project/access_path.hpp"

#include "project/project_bench.hpp"

namespace vellmark {
namespace {

using test::EmptyProject;
using test::Item;
using test::ScriptedMessages;
using test::Write;

// Access path and source name of an item.
std::string PathOf(const ProjectRecord& record) {
    return std::string(record.accessPath()).append(record.sourceName());
}

TEST(AccessPath, OnePathTakesThePlaceOfAnother) {
    const std::string longest = "/" + std::string(253, 'x');
    const struct {
        const char* path;
        const char* name;
        bool isFolder;
        const char* oldPath;
        std::string newPath;
        std::string expected;  // "" for no change
    } cases[] = {
        {"/a/b/", "f", false, "/a/b", "/x", "/x/f"},
        {"/a/b/c/", "f", false, "/a/b/", "/x/y/", "/x/y/c/f"},
        {"/a/bc/", "f", false, "/a/b", "/x", ""},
        // The folder that the old path names, and one that only begins like it.
        {"/a/", "b", true, "/a/b", "/x/y", "/x/y"},
        {"/a/", "b", false, "/a/b", "/x/y", ""},
        {"..", "b", true, "..", "/x", ""},
        // A project that was made on another system.
        {"C:\\Data\\Sub\\", "f", false, "C:\\Data", "/d", "/d/Sub/f"},
        {"C:\\", "Data", true, "C:\\Data\\", "/d/e", "/d/e"},
        // All that a record holds, and a byte more: it stays and is named.
        {"/pc/", "f", false, "/pc", longest, longest + "/f"},
        {"/pc/", "f", false, "/pc", longest + "x", ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.path) + c.name + " from " + c.oldPath);
        ProjectFile project = EmptyProject();
        project.insert(Item(1, c.isFolder ? 18 : -1, c.name, 1, 1, c.path));
        ScriptedMessages messages;
        const PathsChanged changed = ChangeAccessPath(project, c.oldPath, c.newPath, messages);
        EXPECT_EQ(changed.items, !c.expected.empty());
        EXPECT_EQ(changed.skipped, c.newPath.size() > longest.size());
        EXPECT_EQ(messages.skipped.size(), c.newPath.size() > longest.size());
        const ProjectRecord& after = project.childrenOf(1)[0];
        EXPECT_EQ(PathOf(after), c.expected.empty() ? std::string(c.path) + c.name : c.expected);
        EXPECT_EQ(after.isoName(), c.name) << "names in the views stay";
    }
}

TEST(AccessPath, AMissingItemIsFoundByItsNameAndComesFromThere) {
    const TemporaryFolder folder;
    const std::string top = folder.path() + "/";
    Write(top + "one/Photos/a.jpg");
    Write(top + "one/deep/er/PHOTOS/sub/b.jpg");
    Write(top + "two/photos");
    std::filesystem::create_directory_symlink("..", top + "one/deep/back");
    const std::vector<std::string> places = {top + "one", top + "two/", top + "one/deep"};
    Progress progress;
    using Paths = std::vector<std::string>;
    const std::string found = top + "one/deep/er/PHOTOS";
    EXPECT_EQ(Locate(places, "photos", true, progress), (Paths{top + "one/Photos", found}));
    EXPECT_EQ(Locate(places, "photos", false, progress), (Paths{top + "two/photos"}));
    EXPECT_EQ(Locate(places, "none", true, progress), Paths{});

    ProjectFile project = EmptyProject();
    project.insert(Item(1, 18, "Photos"));
    project.insert(Item(18, 19, "sub", 1, 1, "/pc/Photos/"));
    project.insert(Item(19, -1, "b.jpg", 1, 1, "/pc/Photos/sub/"));
    project.insert(Item(1, -2, "other", 1, 1, "/pc/Photos/"));  // not below the folder
    ScriptedMessages messages;
    ASSERT_TRUE(ReplaceSource(project, 18, found, messages));
    const std::pair<std::int32_t, std::string> expected[] = {
        {18, found}, {19, found + "/sub"}, {-1, found + "/sub/b.jpg"}, {-2, "/pc/Photos/other"}};
    for (const auto& [number, path] : expected)
        EXPECT_EQ(PathOf(*project.findByNumber(number)), path);
    EXPECT_FALSE(ReplaceSource(project, -1, found, messages)) << "a folder for a file";
    EXPECT_FALSE(ReplaceSource(project, 18, top + "nowhere", messages));
    EXPECT_FALSE(ReplaceSource(project, 77, found, messages));
    EXPECT_EQ(messages.shown.size(), 3u);
}

}  // namespace
}  // namespace vellmark
