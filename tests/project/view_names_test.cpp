// Names in the views: limits, questions, character sets, names that would meet in one folder, what
// becomes of them in a project of the other format; and paths that others take the place of.
#include "project/view_names.hpp"

#include "project/access_path.hpp"
#include "project/project_bench.hpp"
#include "project/project_properties.hpp"

namespace vellmark::test {
namespace {

TEST(ProjectProperties, HfsHoldsSoManyItems) {
    ProjectFile project = EmptyProject(true);
    ProjectFile::Run folders;
    for (std::int32_t i = 0; i < 65'536; ++i)
        folders.push_back(Item(kRootFolder, 18 + i, std::to_string(i), 1, 1, ".."));
    project.mergeChildren(kRootFolder, std::move(folders));
    EXPECT_FALSE(ChangeProject(project, {.isHfsPlus = false}).isNone());
    EXPECT_TRUE(project.header().isHfsPlus());
    project.findByNumber(18)->setHfsInclusion(0);
    EXPECT_TRUE(ChangeProject(project, {.isHfsPlus = false}).isNone());
    EXPECT_FALSE(project.header().isHfsPlus());
}

// Access path and source name of an item.
std::string PathOf(const ProjectRecord& record) {
    return std::string(record.accessPath()).append(record.sourceName());
}

TEST(AccessPath, OnePathTakesThePlaceOfAnother) {
    const std::string longest = "/" + std::string(253, 'x');
    const struct {
        const char *path, *name;
        bool isFolder;
        std::string oldPath, newPath, expected;  // "" for no change
    } cases[] = {{"/a/b/c/", "f", false, "/a/b/", "/x/y/", "/x/y/c/f"},
                 {"/a/bc/", "f", false, "/a/b", "/x", ""},
                 // The folder that the old path names, and one that only begins like it.
                 {"/a/", "b", true, "/a/b", "/x/y", "/x/y"},
                 {"/a/", "b", false, "/a/b", "/x/y", ""},
                 {"..", "b", true, "..", "/x", ""},
                 // A project that was made on another system.
                 {"C:\\Data\\Sub\\", "f", false, "C:\\Data", "/d", "/d/Sub/f"},
                 // All that a record holds, and a byte more: it stays and is named.
                 {"/pc/", "f", false, "/pc", longest, longest + "/f"},
                 {"/pc/", "f", false, "/pc", longest + "x", ""}};
    for (const auto& c : cases) {
        ProjectFile project = EmptyProject();
        project.insert(Item(1, c.isFolder ? 18 : -1, c.name, 1, 1, c.path));
        ScriptedMessages messages;
        const PathsChanged changed = ChangeAccessPath(project, c.oldPath, c.newPath, messages);
        EXPECT_EQ(changed.items, !c.expected.empty());
        EXPECT_EQ(messages.skipped.size(), c.newPath.size() > longest.size());
        const ProjectRecord& after = project.childrenOf(1)[0];
        EXPECT_EQ(PathOf(after), c.expected.empty() ? std::string(c.path) + c.name : c.expected);
        EXPECT_EQ(after.isoName(), c.name) << "names in the views stay";
    }
}

std::string X(std::size_t count) {
    return std::string(count, 'x');
}

// What a person may answer, and the names that one item of an empty folder gets.
TEST(ViewNames, NamesThatAreTooLongAreAskedAbout) {
    const std::string longName = X(62) + ".txt";
    const TruncationAnswer refused{false, false, ""};
    const TruncationAnswer proposed{true, false, ""};
    const struct {
        std::string name;
        bool isHfsPlus;
        std::deque<TruncationAnswer> answers;
        std::string iso;
        std::string hfs;
        const char* marks;
    } rows[] = {
        {"a:\xE9\xDE", false, {}, "a:\xE9\xDE", "a/\x8E_", "IH"},
        {"a:\xE9\xDE", true, {}, "a:\xE9\xDE", "a/\xE9\xDE", "IH"},
        {longName, false, {{true, false, "mine"}, proposed}, "mine", X(27) + ".txt", "IH"},
        // The field of an HFS+ project is shorter than its names: nobody is asked about a copy.
        {longName, true, {{true, false, X(200)}}, X(62), X(58) + ".txt", "IHu"},
        {X(70), false, {refused, proposed}, "~", X(31), "H"},
        {X(40), false, {refused}, X(40), "~", "I"},
        // An answer for all names is one for its view.
        {longName, false, {{true, true, "a"}, {true, true, "b"}}, "a", "b", "IH"}};
    for (const auto& row : rows) {
        const ProjectFile project = EmptyProject(row.isHfsPlus);
        TruncationAnswers answers;
        ScriptedMessages messages;
        messages.truncations = row.answers;
        const auto named = [&] {
            SiblingNames siblings({}, row.isHfsPlus);
            ProjectRecord record = Item(1, -1, row.name);
            ViewNames(record, NarrowToWide(row.name), project, siblings, answers, messages);
            return record;
        };
        const ProjectRecord record = named();
        EXPECT_EQ(record.isoName(), row.iso);
        EXPECT_EQ(record.hfsName(), row.hfs);
        EXPECT_EQ(MarksOf(record), row.marks) << row.name;
        EXPECT_TRUE(messages.truncations.empty());
        if (row.name == longName) {
            EXPECT_EQ(messages.truncationQuestions[0], std::pair(longName, X(58) + ".txt"));
        }
        if (row.iso == "a") {
            EXPECT_EQ(named().isoName(), X(58) + ".txt") << "from now on nobody is asked";
        }
    }
}

TEST(RedoNames, AProjectThatHfsCannotHoldIsOneOfHfsPlus) {
    for (const std::uint32_t records : {65'535u, 65'536u})
        for (const ProjectMode mode : {ProjectMode::Hybrid, ProjectMode::IsoPlus}) {
            ProjectFile project = EmptyProject(false, mode);
            ScriptedMessages messages;
            TurnToHfsPlusIfTooMany(project, {.hfsRecords = records}, messages);
            const bool isTurned = records > 65'535 && mode == ProjectMode::Hybrid;
            EXPECT_EQ(project.header().isHfsPlus(), isTurned) << records;
            EXPECT_EQ(messages.shown.size(), isTurned ? 1u : 0u);
        }
}

// Names of a project that becomes one of the other format: from the source, from a container or as
// the person gave them.
TEST(RedoNames, AreCutMappedAndKeptApart) {
    ProjectFile project = EmptyProject();
    project.header().setHfsLabel("\x8E");
    ProjectRecord locked = Item(1, -2, "Icon.bin");
    locked.setHfsName("Ic\x8En");
    locked.setHfsNameLocked(true);
    ProjectRecord boxed = Item(1, -3, "file.hqx");
    boxed.setHfsName("In\x8E\xB6");  // Windows-1252 lacks the last of it
    boxed.setBinHex(true);
    for (const ProjectRecord& record :
         {Item(1, -1, X(31) + "\xE8"), locked, boxed, Item(1, -4, X(31) + "\xE9")})
        project.insert(record);
    const auto names = [&] {
        std::string all(project.header().hfsLabel());
        for (std::int32_t number = -1; number >= -4; --number)
            all += "," + std::string(project.findByNumber(number)->hfsName());
        return all;
    };
    // Case is folded in the character set of the project.
    SiblingNames taken(project.childrenOf(1), false);
    EXPECT_NE(taken.takeHfs("IN\x83\xB6", "b", u"b"), "IN\x83\xB6") << "E acute";
    EXPECT_EQ(taken.takeIso("FILE.HQX", "c"), "FILE.HQX") << "but not of ISO names";
    RedoNamesForHfsPlus(project);
    EXPECT_EQ(names(), "\xE9," + X(31) + "\xE8,Ic\xE9n,In\xE9_," + X(31) + "\xE9");
    EXPECT_EQ(MarksOf(*project.findByNumber(-3)), "IHuB") << "the field has a copy";
    project.header().setHfsLabel(X(40));
    RedoNamesForHfs(project);
    const std::string apart(project.findByNumber(-4)->hfsName());
    EXPECT_EQ(apart.substr(0, 27), X(26) + "-") << "the other one has the name";
    EXPECT_EQ(names(), X(27) + "," + X(31) + ",Ic\x8En,In\x8E_," + apart);
}

}  // namespace
}  // namespace vellmark::test
