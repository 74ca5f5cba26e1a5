// A project after its tree changed on the disk in each of the ways in which a
// person does it: what the check tells, and that a rebuilt project is what a
// new inclusion of the tree would be.
#include "project/refresh.hpp"

#include <sys/xattr.h>
#include <unistd.h>

#include <chrono>
#include <functional>
#include <set>

#include "project/accept.hpp"
#include "project/project_bench.hpp"
#include "project/rebuild.hpp"

namespace vellmark {
namespace {

namespace fs = std::filesystem;
using test::ByName;
using test::Bytes;
using test::EmptyProject;
using test::Item;
using test::ScriptedMessages;
using test::Write;
using Lines = std::multiset<std::string>;

/// High byte of the Finder flags.
constexpr char kInvisible = 0x40;

std::string Big(std::size_t value) {
    return {static_cast<char>(value >> 24), static_cast<char>(value >> 16),
            static_cast<char>(value >> 8), static_cast<char>(value)};
}

// A MacBinary file, laid out by hand: name at 1, type and creator at 65,
// lengths at 83, dates at 91.
std::string MacBinaryFile(const std::string& name, const std::string& signature, std::size_t data,
                          std::size_t resource, std::uint32_t date = 2'900'000'000,
                          char flags = 0) {
    std::string file(128, '\0');
    file[1] = static_cast<char>(name.size());
    file.replace(2, name.size(), name);
    file.replace(65, 8, signature);
    file[73] = flags;
    file.replace(83, 16, Big(data) + Big(resource) + Big(date) + Big(date));
    const auto padded = [](std::size_t bytes) { return (bytes + 127) / 128 * 128; };
    return file + std::string(padded(data), 'd') + std::string(padded(resource), 'r');
}

// A companion of RFC 1740 with a resource fork alone.
std::string Companion(std::size_t resource) {
    std::string file("\0\x05\x16\x07\0\x02\0\0", 8);
    file += std::string(16, '\0') + std::string("\0\x01", 2) + Big(2) + Big(38) + Big(resource);
    return file + std::string(resource, 'r');
}

// All of a project but its numbers: a line an item, by its path.
std::map<std::string, std::string> Described(const ProjectFile& project, std::int32_t folder = 1,
                                             const std::string& above = {}) {
    std::map<std::string, std::string> lines;
    if (folder == 1 && project.header().customIcon())
        lines.emplace("", "the volume has an icon");
    for (const ProjectRecord& r : project.childrenOf(folder)) {
        const std::string path = above + std::string(r.sourceName());
        std::string line = std::string(r.accessPath()) + " " + std::string(r.isoName()) + " " +
                           std::string(r.hfsName()) + " " + std::string(r.signature());
        for (std::uint32_t value : {r.isoInclusion() + 1u, r.hfsInclusion() + 1u, +r.dataSize,
                                    +r.resourceSize, +r.sourceSize, r.isFolder() ? 0 : +r.modified,
                                    static_cast<std::uint32_t>(r.coding())})
            line += " " + std::to_string(value);
        line += r.customIcon() ? " icon" : "";
        line += r.hiddenInHfs() ? " hidden" : "";
        line += r.hfsNameLocked() ? " locked" : "";
        EXPECT_TRUE(lines.emplace(path, line).second) << path << " stands twice";
        if (r.isFolder())
            lines.merge(Described(project, r.number, path + "/"));
    }
    return lines;
}

class RefreshTest : public testing::Test {
  protected:
    RefreshTest() {
        put("plain.txt", "12345");
        put("other.txt", "abc");
        put("box", MacBinaryFile("Boxed", "APPLxxxx", 10, 20));
        put("ghost", MacBinaryFile("Ghost", "APPLxxxx", 10, 0, 2'900'000'000, kInvisible));
        put("pair", "data");
        put("._pair", Companion(7));
        put("sub/inner.txt", "inner");
        put("sub/deep/x", "x");
        put("sub/icon", MacBinaryFile("Icon\r", "ICNSMACS", 9, 9));
        put("icon", MacBinaryFile("Icon\r", "ICNSMACS", 9, 9));
        fs::create_directories(tree_ + "empty");
        options_.answers = kYesToAll;
    }
    /// Files are given one date, so that only what a case dates anew differs.
    void put(const std::string& name, const std::string& bytes, int day = 0) const {
        Write(tree_ + name, bytes);
        const std::chrono::sys_seconds first{std::chrono::seconds(1'000'000'000)};
        fs::last_write_time(tree_ + name,
                            std::chrono::time_point_cast<fs::file_time_type::duration>(
                                std::chrono::file_clock::from_sys(first + std::chrono::days(day))));
    }
    void remove(const std::string& name) const { fs::remove_all(tree_ + name); }

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
            lines.insert(std::string(1, static_cast<char>(change.kind)) + " " +
                         change.path.substr(tree_.size()) + " " + std::to_string(change.sizeBytes));
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
        const char* what;
        std::function<void()> change;
        Lines told;
        bool dates = false;
    } cases[] = {
        {"nothing", [] {}, {}},
        {"delete a file", [&] { remove("plain.txt"); }, {"D plain.txt 5"}},
        {"grow", [&] { put("plain.txt", "1234567"); }, {"M plain.txt 7"}},
        {"shrink to nothing", [&] { put("sub/inner.txt", ""); }, {"M sub/inner.txt 0"}},
        {"other contents, same length, other date",
         [&] { put("plain.txt", "54321", 1); },
         {"M plain.txt 5"},
         true},
        {"add a file", [&] { put("sub/new", "n"); }, {"A sub/new 1"}},
        {"add a file at the top", [&] { put("new", "n"); }, {"A new 1"}},
        {"add to a folder that was empty", [&] { put("empty/new", "n"); }, {"A empty/new 1"}},
        {"add a folder", [&] { put("sub/made/in/it", "n"); }, {"A sub/made 0"}},
        {"delete a folder", [&] { remove("sub"); }, {"D sub 0"}},
        {"rename a file",
         [&] { fs::rename(tree_ + "plain.txt", tree_ + "pure.txt"); },
         {"D plain.txt 5", "A pure.txt 5"}},
        {"rename in case alone",
         [&] { fs::rename(tree_ + "plain.txt", tree_ + "Plain.TXT"); },
         {"D plain.txt 5", "A Plain.TXT 5"}},
        {"rename a folder",
         [&] { fs::rename(tree_ + "sub", tree_ + "bus"); },
         {"D sub 0", "A bus 0"}},
        {"a folder in the place of a file",
         [&] {
             remove("plain.txt");
             put("plain.txt/in", "i");
         },
         {"D plain.txt 5", "A plain.txt 0"}},
        {"a file in the place of a folder",
         [&] {
             remove("sub");
             put("sub", "s");
         },
         {"D sub 0", "A sub 1"}},
        {"a link that leads nowhere in the place of a file",
         [&] {
             remove("plain.txt");
             fs::create_symlink("nowhere", tree_ + "plain.txt");
         },
         {"D plain.txt 5"}},
        {"a container with longer forks and another type and name",
         [&] { put("box", MacBinaryFile("Crate", "TEXTyyyy", 200, 300)); },
         {"M box 768"}},
        {"a container of the same length with other dates",
         [&] { put("box", MacBinaryFile("Boxed", "APPLxxxx", 10, 20, 2'950'000'000)); },
         {"M box 384"},
         true},
        {"the icons of a folder and of the volume go",
         [&] {
             remove("icon");
             remove("sub/icon");
         },
         {"D icon 384", "D sub/icon 384"}},
        {"the icon of the volume changes",
         [&] { put("icon", MacBinaryFile("Icon\r", "ICNSMACS", 300, 9)); },
         {"M icon 640"}},
        {"icons that are other files now",
         [&] {
             put("icon", "plain");
             put("sub/icon", MacBinaryFile("Boxed", "APPLxxxx", 1, 0));
         },
         {"M icon 5", "M sub/icon 256"}},
        {"a file that is the icon of its folder now",
         [&] { put("sub/deep/x", MacBinaryFile("Icon\r", "ICNSMACS", 9, 9)); },
         {"M sub/deep/x 384"}},
        {"hidden containers that show themselves",
         [&] { put("ghost", MacBinaryFile("Ghost", "APPLxxxx", 200, 0)); },
         {"M ghost 384"}},
        {"a hidden container that is a plain file now",
         [&] { put("ghost", "boo"); },
         {"M ghost 3"}},
        {"a container that is a plain file now", [&] { put("box", "plain"); }, {"M box 5"}},
        {"a plain file that is a container now",
         [&] { put("plain.txt", MacBinaryFile("plain.txt", "APPLxxxx", 1, 0)); },
         {"M plain.txt 256"}},
        {"a companion alone grows", [&] { put("._pair", Companion(9)); }, {"M pair 4"}},
        {"a companion goes", [&] { remove("._pair"); }, {"M pair 4"}},
        {"a companion comes", [&] { put("._plain.txt", Companion(3)); }, {"M plain.txt 5"}},
        {"several of them",
         [&] {
             remove("sub/deep");
             remove("other.txt");
             put("plain.txt", "1");
             put("empty/a", "a");
         },
         {"D sub/deep 0", "D other.txt 3", "M plain.txt 1", "A empty/a 1"}},
    };
    const std::string kept = folder_.path() + "/kept";
    fs::copy(tree_, kept, fs::copy_options::recursive);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        fs::remove_all(tree_);
        for (const auto& entry : fs::recursive_directory_iterator(kept))
            if (entry.is_directory())
                fs::create_directories(tree_ + fs::relative(entry.path(), kept).string());
            else
                put(fs::relative(entry.path(), kept).string(), Bytes(entry.path()));
        ProjectFile project = included();
        EXPECT_EQ(linesOf(check(project, true)), Lines{}) << "nothing has changed yet";
        c.change();
        EXPECT_EQ(linesOf(check(project, c.dates)), c.told);
        EXPECT_EQ(linesOf(check(project)), c.dates ? Lines{} : c.told) << "without dates";
        EXPECT_EQ(rebuild(project, c.dates).hasChanges(), !c.told.empty());
        EXPECT_TRUE(messages_.skipped.empty() && messages_.shown.empty());
        EXPECT_EQ(Described(project), Described(included()));
        messages_.skipped.clear();  // a new inclusion tells of links that lead nowhere
        EXPECT_EQ(linesOf(check(project, true)), Lines{}) << "the rebuild left something";
    }
}

TEST_F(RefreshTest, WhatCannotBeLookedAtIsNoDeletion) {
    ProjectFile project = included();
    const auto before = Described(project);
    const auto allow = [&](const char* name, fs::perms rights) {
        fs::permissions(tree_ + name, rights);
    };
    // Root may look at everything: the test is somebody else for a while.
    fs::permissions(folder_.path(), fs::perms::all);
    const bool isRoot = ::geteuid() == 0;
    for (const fs::perms rights :
         {fs::perms::none, fs::perms::owner_read | fs::perms::others_read}) {
        allow("sub", rights);
        allow("plain.txt", fs::perms::none);
        ASSERT_TRUE(!isRoot || ::seteuid(65534) == 0);
        const RebuildResult result = rebuild(project);
        ASSERT_TRUE(!isRoot || ::seteuid(0) == 0);
        EXPECT_FALSE(result.hasChanges());
        EXPECT_GE(result.skipped, 2);
        allow("sub", fs::perms::owner_all);
        allow("plain.txt", fs::perms::owner_all);
        EXPECT_EQ(Described(project), before);
        EXPECT_GE(std::exchange(messages_.skipped, {}).size(), 2u) << "each is named";
    }
}

TEST_F(RefreshTest, RootTakesInWhatIsNewOnlyWhenAllItsItemsComeFromOneFolder) {
    ProjectFile project = EmptyProject();
    EXPECT_EQ(Include(project, tree_ + "sub", 1, options_, messages_, progress_).folders, 2);
    ProjectRecord own = Item(1, 90, "own");
    own.setAccessPath("..");
    project.insert(own);
    EXPECT_EQ(linesOf(check(project, false, false)), Lines{}) << "a check leaves root out";
    put("elsewhere/e", "e");
    ProjectFile mixed = project;
    EXPECT_EQ(Include(mixed, tree_ + "elsewhere/e", 1, options_, messages_, progress_).files, 1);
    EXPECT_FALSE(rebuild(mixed).hasChanges());
    EXPECT_EQ(rebuild(project).folders, 2) << "empty, elsewhere";
}

TEST_F(RefreshTest, LinesAreToldInTheFormOfAReport) {
    EXPECT_EQ(ReportLine({ChangeKind::Modified, false, 18, -7, 12, "/a/", "b.txt", "/a/b.txt"}),
              "M|18|-7|12|/a/|b.txt\r\n");
    ProjectFile project = EmptyProject();
    ProjectRecord own = Item(1, 18, "own");
    own.setAccessPath("..");
    project.insert(own);
    // Folders that hold each other, and an item of another system.
    project.insert(Item(18, 19, "a"));
    project.insert(Item(19, 18, "b"));
    ProjectRecord foreign = Item(18, -1, "f");
    foreign.setAccessPath("C:\\Files\\");
    project.insert(foreign);
    const CheckOptions deleting{.clock = clock_, .missingRootsAreDeleted = true};
    EXPECT_EQ(Check(project, 1, deleting, messages_, progress_).changes.size(), 2u) << "a and f";
    ASSERT_EQ(messages_.skipped.size(), 1u) << "b leads back";
    EXPECT_EQ(ReportLine({ChangeKind::Added, false, 1, 0, 0, "/a/", "b\nD|1|", ""}),
              "A|1|0|0|/a/|b?D|1|\r\n")
        << "one line, whatever the name";
}

TEST_F(RefreshTest, WhatLiesBesideAFileIsLookedAt) {
    ProjectFile project = included();
    put("empty/._lost", Companion(1));
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
    remove("sub");
    put("plain.txt", "1234567");
    put("empty/new.exe", "n");
    const std::vector<ProjectChange> report = check(project);
    project.findByNumber(ByName(project, 1).at("plain.txt").number)->setSignature("USERsays");
    project.findByNumber(ByName(project, 1).at("empty").number)->setIsoInclusion(0);
    RememberedAnswer confirm;
    messages_.remembered = {Answer::No, Answer::Yes};
    EXPECT_EQ(AcceptDeleted(project, report, confirm, messages_, progress_).items, 0);
    EXPECT_TRUE(ByName(project, 1).contains("sub")) << "the person said no";
    EXPECT_EQ(AcceptDeleted(project, report, confirm, messages_, progress_).items, 1);
    EXPECT_EQ(project.header().rootFolders, 1u);
    EXPECT_EQ(messages_.questions.size(), 2u);

    EXPECT_EQ(AcceptModified(project, report, options_, messages_, progress_).items, 1);
    const ProjectRecord plain = ByName(project, 1).at("plain.txt");
    EXPECT_EQ(plain.sourceSize, 7u);
    EXPECT_EQ(plain.dataSize, 7u);
    EXPECT_EQ(plain.signature(), "USERsays") << "a plain file's type is the person's";

    EXPECT_EQ(AcceptAdded(project, report, options_, messages_, progress_).files, 1);
    EXPECT_EQ(project.countChildren(ByName(project, 1).at("empty").number), 1u);
    EXPECT_EQ(linesOf(check(project)), Lines{});
    EXPECT_TRUE(messages_.skipped.empty());

    // A report that is out of date does nothing but tell.
    EXPECT_EQ(AcceptDeleted(project, report, confirm, messages_, progress_).items, 0);
    remove("plain.txt");
    EXPECT_EQ(AcceptModified(project, report, options_, messages_, progress_).items, 0);
    EXPECT_EQ(messages_.skipped.size(), 2u);
}

TEST_F(RefreshTest, AMarkOfMissingGoesWhenTheItemIsThere) {
    ProjectFile project = included();
    const std::int32_t file = ByName(project, 1).at("plain.txt").number;
    const std::int32_t folder = ByName(project, 1).at("sub").number;
    project.findByNumber(file)->setIsoInclusion(-1);
    project.findByNumber(folder)->setHfsInclusion(-1);
    EXPECT_EQ(linesOf(check(project)), (Lines{"M plain.txt 5", "M sub 0"}));
    EXPECT_EQ(rebuild(project).modified, 2);
    EXPECT_EQ(project.findByNumber(file)->isoInclusion(), 1);
    EXPECT_EQ(project.findByNumber(folder)->hfsInclusion(), 1);
}

TEST_F(RefreshTest, TheNameOfAContainerGivesWayToOneThatIsTaken) {
    ProjectFile project = included();
    put("box", MacBinaryFile("PLAIN.TXT", "APPLxxxx", 300, 0));
    EXPECT_EQ(rebuild(project).modified, 1);
    const auto items = ByName(project, 1);
    EXPECT_EQ(items.at("plain.txt").hfsName(), "plain.txt");
    EXPECT_NE(items.at("box").hfsName(), "PLAIN.TXT") << "a catalog would hold the name twice";
    EXPECT_NE(items.at("box").hfsName(), "Boxed");
}

TEST_F(RefreshTest, LinksThatAnInclusionLeavesOutAreNothingNew) {
    fs::create_directory_symlink("sub", tree_ + "link");
    fs::create_directory_symlink("sub", tree_ + "twin");
    fs::create_directory_symlink("../..", tree_ + "sub/up");
    ProjectFile project = included();
    EXPECT_EQ(std::exchange(messages_.skipped, {}).size(), 3u) << "twin, and up on two ways";
    EXPECT_EQ(linesOf(check(project)), Lines{});
}

}  // namespace
}  // namespace vellmark
