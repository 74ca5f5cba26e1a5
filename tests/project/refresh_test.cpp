// A project after its tree changed on the disk in each of the ways in which a person does it: what
// the check tells, and that a rebuilt project is what a new inclusion of the tree would be.
#include "project/refresh.hpp"

#include <sys/xattr.h>
#include <unistd.h>

#include <chrono>
#include <set>
#include <sstream>

#include "project/accept.hpp"
#include "project/project_bench.hpp"
#include "project/rebuild.hpp"

namespace vellmark {
namespace {

namespace fs = std::filesystem;
using test::ByName;
using test::EmptyProject;
using test::Item;
using Lines = std::multiset<std::string>;

const auto kOneDate = std::chrono::file_clock::from_sys(
    std::chrono::sys_seconds(std::chrono::seconds(1'000'000'000)));

// All of a project but its numbers: a line an item, by its path.
std::map<std::string, std::string> Described(const ProjectFile& project, std::int32_t folder = 1,
                                             const std::string& above = {}) {
    std::map<std::string, std::string> lines;
    lines.emplace("", project.header().customIcon() ? "the volume has an icon" : "");
    for (const ProjectRecord& r : project.childrenOf(folder)) {
        const std::string path = above + std::string(r.sourceName());
        const std::string line =
            fmt::format("{} in {}, {}, {} bytes, of {}, {}", test::LineOf(project, r),
                        r.accessPath(), r.signature(), std::uint32_t{r.sourceSize},
                        r.isFolder() ? 0 : std::uint32_t{r.modified}, static_cast<int>(r.coding()));
        EXPECT_TRUE(lines.emplace(path, line).second) << path << " stands twice";
        if (r.isFolder())
            lines.merge(Described(project, r.number, path + "/"));
    }
    return lines;
}

class RefreshTest : public testing::Test {
  protected:
    RefreshTest() {
        options_.answers = kYesToAll;
        makeTree();
    }
    void makeTree() const {
        fs::remove_all(tree_);
        change("put plain.txt 12345; put other.txt abc; put pair data; fork ._pair 7; dir empty");
        change("put sub/inner.txt inner; put sub/deep/x x; box box Boxed APPLxxxx 10 20");
        change("box ghost Ghost APPLxxxx 10 0; hide ghost");
        change("box icon Icon^ ICNSMACS 9 9; box sub/icon Icon^ ICNSMACS 9 9");
    }
    /// What a person does, a command and a path of the tree each. Files are given one date, so that
    /// only what a case dates anew differs.
    void change(const std::string& script) const {
        std::istringstream in(script);
        for (std::string line; std::getline(in >> std::ws, line, ';');) {
            std::istringstream words(line);
            std::string command;
            std::string path;
            words >> command >> path >> std::ws;
            path = tree_ + path;
            std::string rest;
            if (command == "box") {
                test::BoxedFile file;
                words >> file.name >> file.signature >> file.data >> file.resource;
                std::replace(file.name.begin(), file.name.end(), '^', '\r');
                test::Write(path, test::MacBinaryFile(file));
            } else {
                std::getline(words, rest);
            }
            if (command == "rm")
                fs::remove_all(path);
            else if (command == "mv")
                fs::rename(path, tree_ + rest);
            else if (command == "link")
                fs::create_directory_symlink(rest, path);
            else if (command == "dir")
                fs::create_directories(path);
            else if (command == "put")
                test::Write(path, rest);
            else if (command == "fork")  // a companion with a resource fork alone
                test::Write(path, test::AppleFile(test::kAppleDouble,
                                                  {{2, std::string(std::stoul(rest), 'r')}}));
            else if (command == "hide")  // the Finder's flag, in MacBinary
                patch(path, 73, "\x40");
            else if (command == "date")  // created and modified, in MacBinary
                patch(path, 91, test::Big(1) + test::Big(2));
            if (fs::is_regular_file(path))
                fs::last_write_time(path, kOneDate + std::chrono::days(command == "new"));
        }
    }

    static void patch(const std::string& path, std::size_t at, const std::string& bytes) {
        test::Write(path, test::Bytes(path).replace(at, bytes.size(), bytes));
    }

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
    test::ScriptedMessages messages_;
    Progress progress_;
};

TEST_F(RefreshTest, WhatAPersonDoesIsToldAndARebuildIsANewInclusion) {
    const struct {
        std::string change;
        Lines told;
        bool dates = false;
    } cases[] = {
        {"rm plain.txt", {"D plain.txt 5"}},
        {"put plain.txt 1234567", {"M plain.txt 7"}},
        {"put sub/inner.txt", {"M sub/inner.txt 0"}},
        {"put plain.txt 54321; new plain.txt", {"M plain.txt 5"}, true},
        {"put sub/new n", {"A sub/new 1"}},
        {"put new n", {"A new 1"}},
        {"put empty/new n", {"A empty/new 1"}},
        {"put sub/made/in/it n", {"A sub/made 0"}},
        {"rm sub", {"D sub 0"}},
        {"mv plain.txt pure.txt", {"D plain.txt 5", "A pure.txt 5"}},
        {"mv plain.txt Plain.TXT", {"D plain.txt 5", "A Plain.TXT 5"}},
        {"mv sub bus", {"D sub 0", "A bus 0"}},
        {"rm plain.txt; put plain.txt/in i", {"D plain.txt 5", "A plain.txt 0"}},
        {"rm sub; put sub s", {"D sub 0", "A sub 1"}},
        {"rm plain.txt; link plain.txt nowhere", {"D plain.txt 5"}},
        {"box box Crate TEXTyyyy 200 300", {"M box 684"}},
        {"box box PLAIN.TXT APPLxxxx 300 0", {"M box 512"}},
        {"date box", {"M box 276"}, true},
        {"put box plain", {"M box 5"}},
        {"box plain.txt plain.txt APPLxxxx 1 0", {"M plain.txt 256"}},
        {"rm icon; rm sub/icon", {"D icon 265", "D sub/icon 265"}},
        {"box icon Icon^ ICNSMACS 300 9", {"M icon 521"}},
        {"put icon plain; box sub/icon Boxed APPLxxxx 1 0", {"M icon 5", "M sub/icon 256"}},
        {"box sub/deep/x Icon^ ICNSMACS 9 9", {"M sub/deep/x 265"}},
        {"box ghost Ghost APPLxxxx 200 0", {"M ghost 384"}},
        {"put ghost boo", {"M ghost 3"}},
        {"fork ._pair 9", {"M pair 4"}},
        {"rm ._pair", {"M pair 4"}},
        {"fork ._plain.txt 3", {"M plain.txt 5"}},
        {"rm sub/deep; rm other.txt; put plain.txt 1; put empty/a a",
         {"D sub/deep 0", "D other.txt 3", "M plain.txt 1", "A empty/a 1"}},
    };
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
    for (const fs::perms rights :
         {fs::perms::none, fs::perms::owner_read | fs::perms::others_read}) {
        fs::permissions(tree_ + "sub", rights);
        fs::permissions(tree_ + "plain.txt", fs::perms::none);
        ASSERT_TRUE(!isRoot || ::seteuid(65534) == 0);
        const RebuildResult result = rebuild(project);
        ASSERT_TRUE(!isRoot || ::seteuid(0) == 0);
        fs::permissions(tree_ + "sub", fs::perms::owner_all);
        EXPECT_FALSE(result.hasChanges());
        EXPECT_GE(result.skipped, 2);
        EXPECT_EQ(Described(project), before);
        EXPECT_GE(std::exchange(messages_.skipped, {}).size(), 2u) << "each is named";
    }
}

TEST_F(RefreshTest, RootTakesInWhatIsNewOnlyWhenAllItsItemsComeFromOneFolder) {
    ProjectFile project = EmptyProject();
    EXPECT_EQ(Include(project, tree_ + "sub", 1, options_, messages_, progress_).folders, 2);
    project.insert(Item(1, 90, "own", 1, 1, ".."));
    EXPECT_EQ(linesOf(check(project, false, false)), Lines{}) << "a check leaves root out";
    change("put elsewhere/e e");
    ProjectFile mixed = project;
    EXPECT_EQ(Include(mixed, tree_ + "elsewhere/e", 1, options_, messages_, progress_).files, 1);
    EXPECT_FALSE(rebuild(mixed).hasChanges());
    EXPECT_EQ(rebuild(project).folders, 2) << "empty, elsewhere";
}

TEST_F(RefreshTest, LinesAreToldInTheFormOfAReport) {
    EXPECT_EQ(ReportLine({ChangeKind::Modified, false, 18, -7, 12, "/a/", "b.txt", "/a/b.txt"}),
              "M|18|-7|12|/a/|b.txt\r\n");
    EXPECT_EQ(ReportLine({ChangeKind::Added, false, 1, 0, 0, "/a/", "b\nD|1|", ""}),
              "A|1|0|0|/a/|b?D|1|\r\n")
        << "one line, whatever the name";
    // Folders that hold each other, and an item of another system.
    ProjectFile project = EmptyProject();
    project.insert(Item(1, 18, "own", 1, 1, ".."));
    project.insert(Item(18, 19, "a"));
    project.insert(Item(19, 18, "b"));
    project.insert(Item(18, -1, "f", 1, 1, "C:\\Files\\"));
    const CheckOptions deleting{.clock = clock_, .missingRootsAreDeleted = true};
    EXPECT_EQ(Check(project, 1, deleting, messages_, progress_).changes.size(), 2u) << "a and f";
    ASSERT_EQ(messages_.skipped.size(), 1u) << "b leads back";
}

TEST_F(RefreshTest, WhatLiesBesideAFileIsLookedAtAndLinksThatAreLeftOutAreNothingNew) {
    change("link link sub; link twin sub; link sub/up ../..");
    ProjectFile project = included();
    EXPECT_EQ(std::exchange(messages_.skipped, {}).size(), 3u) << "twin, and up on two ways";
    change("fork empty/._lost 1");
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
    change("rm sub; put plain.txt 1234567; put empty/new.exe n");
    const std::vector<ProjectChange> report = check(project);
    const auto before = ByName(project, 1);
    project.findByNumber(before.at("plain.txt").number)->setSignature("USERsays");
    project.findByNumber(before.at("empty").number)->setIsoInclusion(0);
    RememberedAnswer confirm;
    messages_.remembered = {Answer::No, Answer::Yes};
    EXPECT_EQ(AcceptDeleted(project, report, confirm, messages_, progress_).items, 0);
    EXPECT_EQ(project.header().rootFolders, 2u) << "the person said no";
    EXPECT_EQ(AcceptDeleted(project, report, confirm, messages_, progress_).items, 1);
    EXPECT_EQ(project.header().rootFolders, 1u);

    EXPECT_EQ(AcceptModified(project, report, options_, messages_, progress_).items, 1);
    const ProjectRecord plain = ByName(project, 1).at("plain.txt");
    EXPECT_EQ(plain.sourceSize, 7u);
    EXPECT_EQ(plain.dataSize, 7u);
    EXPECT_EQ(plain.signature(), "USERsays") << "a plain file's type is the person's";
    EXPECT_EQ(AcceptAdded(project, report, options_, messages_, progress_).files, 1);
    EXPECT_EQ(project.countChildren(before.at("empty").number), 1u);
    EXPECT_EQ(linesOf(check(project)), Lines{});
    EXPECT_TRUE(messages_.skipped.empty());

    // A report that is out of date does nothing but tell.
    EXPECT_EQ(AcceptDeleted(project, report, confirm, messages_, progress_).items, 0);
    change("rm plain.txt");
    EXPECT_EQ(AcceptModified(project, report, options_, messages_, progress_).items, 0);
    EXPECT_EQ(messages_.skipped.size(), 2u);
}

TEST_F(RefreshTest, AMarkOfMissingGoesWhenTheItemIsThere) {
    ProjectFile project = included();
    ProjectRecord& file = *project.findByNumber(ByName(project, 1).at("plain.txt").number);
    ProjectRecord& folder = *project.findByNumber(ByName(project, 1).at("sub").number);
    file.setIsoInclusion(-1);
    folder.setHfsInclusion(-1);
    EXPECT_EQ(linesOf(check(project)), (Lines{"M plain.txt 5", "M sub 0"}));
    EXPECT_EQ(rebuild(project).modified, 2);
    EXPECT_EQ(file.isoInclusion(), 1);
    EXPECT_EQ(folder.hfsInclusion(), 1);
}

}  // namespace
}  // namespace vellmark
