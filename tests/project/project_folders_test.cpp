// Folders that exist in the project only.
#include "project/project_folders.hpp"

#include <gtest/gtest.h>

#include "project/project_bench.hpp"

namespace vellmark {
namespace {

using test::EmptyProject;
using test::Item;
using test::ScriptedMessages;

class ProjectFolders : public testing::Test {
  protected:
    ScriptedMessages messages_;
    FixedClock clock_{1'000'000'000, 3600};
    NewFolderOptions options_{clock_};
};

TEST_F(ProjectFolders, ANewFolderHasNowForItsDatesAndTheViewsOfTheView) {
    const struct {
        ProjectView view;
        ProjectMode mode;
        int iso;
        int hfs;
    } cases[] = {{ProjectView::Iso, ProjectMode::Hybrid, 1, 0},
                 {ProjectView::Hybrid, ProjectMode::Hybrid, 1, 1},
                 {ProjectView::Hfs, ProjectMode::Hybrid, 0, 1},
                 {ProjectView::Hybrid, ProjectMode::IsoPlus, 1, 0}};
    for (const auto& c : cases) {
        ProjectFile project = EmptyProject(false, c.mode);
        options_.view = c.view;
        ASSERT_EQ(NewFolder(project, "\xC3\xA9t\xC3\xA9", 1, options_, messages_), 18);
        const ProjectRecord& record = *project.findByNumber(18);
        EXPECT_EQ(record.isoInclusion(), c.iso);
        EXPECT_EQ(record.hfsInclusion(), c.hfs);
        EXPECT_EQ(record.accessPath(), "..");
        EXPECT_EQ(record.sourceName(), "\xE9t\xE9");
        EXPECT_EQ(record.isoName(), "\xE9t\xE9");
        EXPECT_EQ(record.hfsName(), c.mode == ProjectMode::Hybrid ? "\x8Et\x8E" : "");
        // 2001-09-09 01:46:40 GMT, an hour later in this zone, since 1904.
        EXPECT_EQ(record.created, 1'000'000'000u + 2'082'844'800u + 3600u);
        EXPECT_EQ(record.modified, record.created);
        EXPECT_EQ(project.header().rootFolders, 1u);
    }
}

TEST_F(ProjectFolders, NamesThatNoFolderCanHaveAreRefusedByName) {
    ProjectFile project = EmptyProject();
    for (const std::string& name : {std::string(), std::string(".."), std::string("a/b"),
                                    std::string("\xE6\x97\xA5"), std::string(244, 'x')}) {
        messages_.shown.clear();
        EXPECT_EQ(NewFolder(project, name, 1, options_, messages_), 0) << name;
        ASSERT_EQ(messages_.shown.size(), 1u);
        EXPECT_NE(messages_.shown[0].find("\"" + name + "\""), std::string::npos);
    }
    EXPECT_EQ(NewFolder(project, "x", 99, options_, messages_), 0) << "no folder 99";
    project.insert(Item(1, -1, "Taken"));
    EXPECT_EQ(NewFolder(project, "taken", 1, options_, messages_), 0);
    EXPECT_EQ(project.countRecords(), 1u);
    EXPECT_EQ(project.header().rootFolders, 0u);
}

TEST_F(ProjectFolders, APathMakesOnlyWhatIsMissing) {
    ProjectFile project = EmptyProject();
    options_.view = ProjectView::Iso;
    EXPECT_EQ(NewPathFolder(project, "\\one\\two", options_, messages_), 19);
    EXPECT_EQ(NewPathFolder(project, "one/./two//three/", options_, messages_), 20);
    EXPECT_EQ(NewPathFolder(project, "one/two", options_, messages_), 19);
    EXPECT_EQ(project.countRecords(), 3u);
    EXPECT_EQ(project.findByNumber(18)->dataSize, 1u) << "folders directly in it";
    EXPECT_EQ(project.header().rootFolders, 1u);
    EXPECT_EQ(FindFolderByPath(project, "/one/two/three"), 20);
    EXPECT_EQ(FindFolderByPath(project, ""), 1);
    EXPECT_EQ(FindFolderByPath(project, "one/Two"), 0);
    EXPECT_EQ(NewPathFolder(project, "", options_, messages_), 1);

    options_.view = ProjectView::Hfs;
    EXPECT_EQ(NewPathFolder(project, "one/two", options_, messages_), 19);
    EXPECT_EQ(project.folderView(18), ProjectView::Hybrid) << "taken into the view";
    EXPECT_EQ(project.folderView(19), ProjectView::Hybrid);
    EXPECT_EQ(project.folderView(20), ProjectView::Iso);

    EXPECT_EQ(NewPathFolder(project, ".!Background", options_, messages_), 17);
    EXPECT_TRUE(messages_.shown.empty());
    project.insert(Item(1, -1, "file"));
    EXPECT_EQ(NewPathFolder(project, "file/x", options_, messages_), 0) << "a file is no folder";
    EXPECT_EQ(NewPathFolder(project, "new/../x", options_, messages_), 0);
    EXPECT_EQ(FindFolderByPath(project, "new"), 0) << "names are looked at before any is made";
    EXPECT_EQ(messages_.shown.size(), 2u);
}

}  // namespace
}  // namespace vellmark
