// Folders that exist in the project only.
#include "project/project_folders.hpp"

#include "project/project_bench.hpp"

namespace vellmark {
namespace {

using test::EmptyProject;
using test::Item;
using test::LineOf;

class ProjectFolders : public testing::Test {
  protected:
    test::ScriptedMessages messages_;
    FixedClock clock_{1'000'000'000, 3600};
    NewFolderOptions options_{clock_};
};

TEST_F(ProjectFolders, ANewFolderHasNowForItsDatesAndTheViewsOfTheView) {
    const struct {
        ProjectView view;
        ProjectMode mode;
        const char* line;
    } cases[] = {{ProjectView::Iso, ProjectMode::Hybrid, "été I 0/0"},
                 {ProjectView::Hybrid, ProjectMode::Hybrid, "été IH 0/0"},
                 {ProjectView::Hfs, ProjectMode::Hybrid, "été H 0/0"},
                 {ProjectView::Hybrid, ProjectMode::IsoPlus, "été I 0/0"}};
    for (const auto& c : cases) {
        ProjectFile project = EmptyProject(false, c.mode);
        options_.view = c.view;
        ASSERT_EQ(NewFolder(project, "été", 1, options_, messages_), 18);
        const ProjectRecord& record = *project.findByNumber(18);
        EXPECT_EQ(LineOf(project, record), c.line);
        EXPECT_EQ(record.accessPath(), "..");
        // 2001-09-09 01:46:40 GMT, an hour later in this zone, since 1904.
        EXPECT_EQ(record.created, 1'000'000'000u + 2'082'844'800u + 3600u);
        EXPECT_EQ(record.modified, record.created);
        EXPECT_EQ(project.header().rootFolders, 1u);
    }
}

TEST_F(ProjectFolders, NamesThatNoFolderCanHaveAreRefusedByName) {
    ProjectFile project = EmptyProject();
    project.insert(Item(1, -1, "Taken"));
    for (const std::string& name :
         {std::string(), std::string(".."), std::string("a/b"), std::string("日"),
          std::string(244, 'x'), std::string("taken")}) {
        messages_.shown.clear();
        EXPECT_EQ(NewFolder(project, name, 1, options_, messages_), 0) << name;
        ASSERT_EQ(messages_.shown.size(), 1u);
        EXPECT_NE(messages_.shown[0].find(name), std::string::npos);
    }
    EXPECT_EQ(NewFolder(project, "x", 99, options_, messages_), 0) << "no folder 99";
    EXPECT_EQ(project.countRecords(), 1u);
    EXPECT_EQ(project.header().rootFolders, 0u);
}

TEST_F(ProjectFolders, APathMakesOnlyWhatIsMissing) {
    ProjectFile project = EmptyProject();
    project.insert(Item(1, -1, "file"));
    // A file is no folder, and names are looked at before any is made.
    const std::pair<const char*, std::int32_t> iso[] = {
        {"\\one\\two", 19},   {"one/./two//three/", 20},
        {"one/two", 19},      {"", 1},
        {".!Background", 17}, {"new/../x", 0}};
    const std::pair<const char*, std::int32_t> there[] = {
        {"/one/two/three", 20}, {"", 1}, {"one/Two", 0}, {"new", 0}, {"file", 0}};
    options_.view = ProjectView::Iso;
    for (const auto& [path, number] : iso)
        EXPECT_EQ(NewPathFolder(project, path, options_, messages_), number) << path;
    for (const auto& [path, number] : there)
        EXPECT_EQ(FindFolderByPath(project, path), number) << path;
    EXPECT_EQ(messages_.shown.size(), 1u);
    EXPECT_EQ(NewPathFolder(project, "file/x", options_, messages_), 0);
    EXPECT_EQ(project.header().rootFolders, 2u);
    options_.view = ProjectView::Hfs;
    EXPECT_EQ(NewPathFolder(project, "one/two", options_, messages_), 19) << "taken into the view";
    EXPECT_EQ(LineOf(project, *project.findByNumber(18)), "one IH 1/0");
    EXPECT_EQ(LineOf(project, *project.findByNumber(19)), "two IH 1/0");
    EXPECT_EQ(LineOf(project, *project.findByNumber(20)), "three I 0/0");
}

}  // namespace
}  // namespace vellmark
