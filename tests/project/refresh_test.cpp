// A project after its tree changed on the disk in each of the ways in which a person does it: what
// the check tells, and that a rebuilt project is what a new inclusion of the tree would be.
#include "project/refresh.hpp"

#include <sys/xattr.h>
#include <unistd.h>

#include <set>

#include "project/accept.hpp"
#include "project/project_bench.hpp"
#include "project/rebuild.hpp"

namespace vellmark::test {
namespace {

namespace fs = std::filesystem;
using Lines = std::multiset<std::string>;

// All of a project but its numbers: a line an item, by its path.
std::map<std::string, std::string> Described(const ProjectFile& project, std::int32_t folder = 1,
                                             const std::string& above = {}) {
    std::map<std::string, std::string> lines;
    lines.emplace("", project.header().customIcon() ? "the volume has an icon" : "");
    for (const ProjectRecord& r : project.childrenOf(folder)) {
        const std::string path = above + std::string(r.sourceName());
        const std::string line =
            fmt::format("{} in {}, {}, {} bytes, of {}, {}", LineOf(project, r), r.accessPath(),
                        r.signature(), std::uint32_t{r.sourceSize},
                        r.isFolder() ? 0 : std::uint32_t{r.modified}, static_cast<int>(r.coding()));
        EXPECT_TRUE(lines.emplace(path, line).second) << path << " stands twice";
        if (r.isFolder())
            lines.merge(Described(project, r.number, path + "/"));
    }
    return lines;
}

class RefreshTest : public ::testing::Test {
  protected:
    RefreshTest() {
        options_.answers = kYesToAll;
        makeTree();
    }
    void makeTree() const {
        fs::remove_all(tree_);
        change("plain.txt=12345 other.txt=abc pair=data ._pair=@fork/7 empty/ sub/inner.txt=inner");
        change("sub/deep/x=x box=@Boxed/APPLxxxx/10/20 ghost=@Ghost/APPLxxxx/10/0/h");
        change("icon=@Icon/ICNSMACS/9/9 sub/icon=@Icon/ICNSMACS/9/9");
    }
    void change(const std::string& words) const { Plant(tree_, words); }

    [[nodiscard]] ProjectFile included() {
        ProjectFile project = EmptyProject();
        EXPECT_EQ(Include(project, tree_ + "*", 1, options_, messages_, progress_).status,
                  InclusionStatus::Done);
        return project;
    }
    [[nodiscard]] std::vector<ProjectChange> check(const ProjectFile& project, bool dates = false,
                                                   bool root = true) {
        return Check(project, 1, {.clock = clock_, .rootAdditions = root, .dates = dates},
                     messages_, progress_)
            .changes;
    }
    RebuildResult rebuild(ProjectFile& project, bool dates = false) {
        return Rebuild(project, {.dates = dates}, {messages_, progress_, clock_});
    }
    /// `D sub/deep 0`: kind, path in the tree, length.
    [[nodiscard]] Lines linesOf(const std::vector<ProjectChange>& changes) const {
        Lines lines;
        for (const ProjectChange& change : changes) {
            EXPECT_EQ(change.path, change.accessPath + change.name);
            EXPECT_EQ(change.number == 0, change.kind == ChangeKind::Added);
            lines.insert(fmt::format("{} {} {}", static_cast<char>(change.kind),
                                     change.path.substr(tree_.size()), change.sizeBytes));
        }
        return lines;
    }

    TemporaryFolder folder_;
    std::string tree_ = folder_.path() + "/tree/";
    FixedClock clock_{0};
    InclusionOptions options_{clock_};
    ScriptedMessages messages_;
    Progress progress_;
};

TEST_F(RefreshTest, WhatAPersonDoesIsToldAndARebuildIsANewInclusion) {
    const struct {
        std::string change;
        Lines told;
        bool dates = false;
    } cases[] = {{"-plain.txt", {"D plain.txt 5"}},
                 {"plain.txt=1234567", {"M plain.txt 7"}},
                 {"!plain.txt=54321", {"M plain.txt 5"}, true},
                 {"sub/new=n", {"A sub/new 1"}},
                 {"sub/made/in/it=n", {"A sub/made 0"}},
                 {"-sub", {"D sub 0"}},
                 {"plain.txt>Plain.TXT", {"D plain.txt 5", "A Plain.TXT 5"}},
                 {"-plain.txt plain.txt/in=i", {"D plain.txt 5", "A plain.txt 0"}},
                 {"-plain.txt plain.txt->nowhere", {"D plain.txt 5"}},
                 {"box=@Crate/TEXTyyyy/200/300", {"M box 768"}},
                 {"box=@PLAIN.TXT/APPLxxxx/300/0", {"M box 512"}},
                 {"box=@Boxed/APPLxxxx/10/20/d", {"M box 384"}, true},
                 {"plain.txt=@plain.txt/APPLxxxx/1/0", {"M plain.txt 256"}},
                 {"-icon -sub/icon", {"D icon 384", "D sub/icon 384"}},
                 {"icon=@Icon/ICNSMACS/300/9", {"M icon 640"}},
                 {"icon=@None/TEXTxxxx/300/9 sub/icon=@None/TEXTxxxx/300/9",
                  {"M icon 640", "M sub/icon 640"}},
                 {"sub/deep/x=@Icon/ICNSMACS/9/9", {"M sub/deep/x 384"}},
                 {"._pair=@fork/9", {"M pair 4"}},
                 {"._plain.txt=@fork/3", {"M plain.txt 5"}},
                 {"-sub/deep -other.txt plain.txt=1 empty/a=a",
                  {"D sub/deep 0", "D other.txt 3", "M plain.txt 1", "A empty/a 1"}}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.change);
        makeTree();
        ProjectFile project = included();
        EXPECT_EQ(linesOf(check(project, true)), Lines{}) << "nothing has changed yet";
        change(c.change);
        EXPECT_EQ(linesOf(check(project, c.dates)), c.told);
        EXPECT_EQ(linesOf(check(project)), c.dates ? Lines{} : c.told) << "without dates";
        EXPECT_TRUE(rebuild(project, c.dates).hasChanges());
        EXPECT_TRUE(messages_.skipped.empty() && messages_.shown.empty());
        EXPECT_EQ(Described(project), Described(included()));
        messages_.skipped.clear();  // a new inclusion tells of links that lead nowhere
        EXPECT_EQ(linesOf(check(project, true)), Lines{}) << "the rebuild left something";
    }
}

TEST_F(RefreshTest, WhatCannotBeLookedAtIsNoDeletion) {
    ProjectFile project = included();
    const auto before = Described(project);
    // Root may look at everything: the test is somebody else for a while.
    fs::permissions(folder_.path(), fs::perms::all);
    const bool isRoot = ::geteuid() == 0;
    fs::permissions(tree_ + "plain.txt", fs::perms::none);
    using enum fs::perms;
    for (const fs::perms rights : {none, owner_read | others_read}) {
        fs::permissions(tree_ + "sub", rights);
        ASSERT_TRUE(!isRoot || ::seteuid(65534) == 0);
        const RebuildResult result = rebuild(project);
        ASSERT_TRUE(!isRoot || ::seteuid(0) == 0);
        fs::permissions(tree_ + "sub", owner_all);
        EXPECT_EQ(Described(project), before);
        EXPECT_EQ(static_cast<std::size_t>(result.skipped), messages_.skipped.size());
        EXPECT_GE(std::exchange(messages_.skipped, {}).size(), 2u) << "each is named";
    }
}

TEST_F(RefreshTest, RootTakesInWhatIsNewOnlyWhenAllItsItemsComeFromOneFolder) {
    ProjectFile project = EmptyProject();
    EXPECT_EQ(Include(project, tree_ + "sub", 1, options_, messages_, progress_).folders, 2);
    project.insert(Item(1, 90, "own", 1, 1, ".."));
    EXPECT_EQ(linesOf(check(project, false, false)), Lines{}) << "a check leaves root out";
    ProjectFile mixed = project;
    EXPECT_EQ(Include(mixed, tree_ + "sub/deep/x", 1, options_, messages_, progress_).files, 1);
    EXPECT_FALSE(rebuild(mixed).hasChanges());
    EXPECT_EQ(rebuild(project).folders, 1) << "empty";
}

TEST_F(RefreshTest, LinesAreToldInTheFormOfAReport) {
    EXPECT_EQ(ReportLine({ChangeKind::Modified, false, 18, -7, 12, "/a/", "b\nD|1|", "/a/b"}),
              "M|18|-7|12|/a/|b?D|1|\r\n")
        << "one line, whatever the name";
    // Folders that hold each other, and an item of another system.
    ProjectFile project = EmptyProject();
    project.insert(Item(1, 18, "own", 1, 1, ".."));
    project.insert(Item(18, 19, "a"));
    project.insert(Item(19, 18, "b"));
    project.insert(Item(18, -1, "f", 1, 1, "C:\\Files\\"));
    const CheckOptions deleting{.clock = clock_, .missingRootsAreDeleted = true};
    EXPECT_EQ(Check(project, 1, deleting, messages_, progress_).changes.size(), 2u) << "a and f";
    EXPECT_EQ(Check(project, 18, deleting, messages_, progress_).changes.size(), 2u);
    EXPECT_EQ(messages_.skipped.size(), 1u) << "b leads back";
}

TEST_F(RefreshTest, WhatLiesBesideAFileIsLookedAtAndLinksThatAreLeftOutAreNothingNew) {
    change("link->sub twin->sub sub/up->../..");
    ProjectFile project = included();
    EXPECT_EQ(std::exchange(messages_.skipped, {}).size(), 3u) << "twin, and up on two ways";
    change("empty/._lost=@fork/1");
    EXPECT_EQ(linesOf(check(project)), Lines{});
    ASSERT_EQ(messages_.skipped.size(), 1u);
    EXPECT_TRUE(messages_.skipped[0].first.ends_with("._lost"));

    const std::string file = tree_ + "plain.txt";
    if (::setxattr(file.c_str(), "user.AFP_Resource", "fork", 4, 0) != 0)
        GTEST_SKIP() << "the file system keeps no named streams";
    EXPECT_EQ(linesOf(check(project)), Lines{"M plain.txt 5"});
    EXPECT_EQ(rebuild(project).modified, 1);
    EXPECT_EQ(ByName(project, 1).at("plain.txt").resourceSize, 4u);
}

TEST_F(RefreshTest, EachKindOfLineIsAcceptedOnItsOwn) {
    ProjectFile project = included();
    change("-sub plain.txt=1234567 empty/new.exe=n");
    const std::vector<ProjectChange> report = check(project);
    const std::int32_t plain = ByName(project, 1).at("plain.txt").number;
    const std::int32_t empty = ByName(project, 1).at("empty").number;
    project.findByNumber(plain)->setSignature("USERsays");
    project.findByNumber(empty)->setIsoInclusion(0);
    RememberedAnswer confirm;
    messages_.remembered = {Answer::No, Answer::Yes};
    for (const int accepted : {0, 1}) {
        EXPECT_EQ(AcceptDeleted(project, report, confirm, messages_, progress_).items, accepted);
        EXPECT_EQ(project.header().rootFolders, accepted ? 1u : 2u) << "first the person said no";
    }
    EXPECT_EQ(AcceptModified(project, report, options_, messages_, progress_).items, 1);
    EXPECT_EQ(LineOf(project, *project.findByNumber(plain)), "plain.txt IH 7/0");
    EXPECT_EQ(project.findByNumber(plain)->signature(), "USERsays") << "it is the person's";
    EXPECT_EQ(AcceptAdded(project, report, options_, messages_, progress_).files, 1);
    EXPECT_EQ(project.countChildren(empty), 1u);
    EXPECT_TRUE(check(project).empty() && messages_.skipped.empty());
    // A report that is out of date does nothing but tell.
    change("-plain.txt");
    EXPECT_EQ(AcceptDeleted(project, report, confirm, messages_, progress_).items, 0);
    EXPECT_EQ(AcceptModified(project, report, options_, messages_, progress_).items, 0);
    EXPECT_EQ(messages_.skipped.size(), 2u);
    EXPECT_EQ(AcceptAdded(project, report, options_, messages_, progress_).status,
              InclusionStatus::Conflict);
    change("more/dead->nowhere");
    EXPECT_EQ(AcceptAdded(project, check(project), options_, messages_, progress_).skipped, 1);
}

TEST_F(RefreshTest, AMarkOfMissingGoesWhenTheItemIsThere) {
    ProjectFile project = included();
    for (const char* name : {"plain.txt", "sub"})
        project.findByNumber(ByName(project, 1).at(name).number)->setIsoInclusion(-1);
    EXPECT_EQ(linesOf(check(project)), (Lines{"M plain.txt 5", "M sub 0"}));
    EXPECT_EQ(rebuild(project).modified, 2);
    EXPECT_EQ(Described(project), Described(included()));
}

}  // namespace
}  // namespace vellmark::test
