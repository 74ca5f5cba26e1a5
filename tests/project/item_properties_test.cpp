// Properties of items and projects, their names in the views, what these show, and where items come
// from.
#include "project/item_properties.hpp"

#include "project/access_path.hpp"
#include "project/project_bench.hpp"
#include "project/project_properties.hpp"
#include "project/view_names.hpp"

namespace vellmark {
namespace {

using test::EmptyProject;
using test::Item;
using test::ScriptedMessages;
using test::Write;

std::string Words(const Reason& reason) {
    return reason.words(Language::English);
}

std::string Counts(const ItemCounts& counts) {
    return fmt::format("{}/{}", counts.folders, counts.files);
}

TEST(ItemProperties, WhatIsGivenChangesAndNothingElse) {
    ProjectFile project = EmptyProject();
    project.insert(Item(1, 18, "Docs"));
    project.insert(Item(1, 19, "Made", 1, 1, ".."));
    project.insert(Item(18, -1, "icon", -1, 1, "/pc/Docs/"));
    project.insert(Item(1, -2, "pc.txt", 1, 0));
    project.addCounters(18, 0, 1);
    ProjectRecord& file = *project.findByNumber(-1);
    file.setSignature("ICNSMACS");
    file.setHfsName("Icon\r");
    file.setIsoName("~");
    file.created = 100;
    file.modified = 200;
    file.dataSize = 7;
    project.findByNumber(18)->setCustomIcon(true);
    const struct {
        std::int32_t number;
        ItemChanges changes;
        const char* expected;  // marks and signature, dates; or what is said
    } rows[] = {{-1, {.created = 300}, "iH ICNSMACS 200 200"},  // never behind the last change
                {-1, {.isHiddenInIso = true, .hidesExtension = true}, "iHpx ICNSMACS 200 200"},
                {18, {.isHiddenInHfs = true, .isRefreshed = true}, "IHkm  0 0"},
                {-1, {.creator = {{'R', '*', 'c', 'h'}}}, "iHpx ICNSR*ch 200 200"},
                {18, {.hidesExtension = false}, "IHm  0 0"},  // an icon of another type is no icon
                {19, {.isRefreshed = false}, "IH  0 0"},
                {19,
                 {.isRefreshed = true},
                 "Made is no folder of the PC, whose contents could be refreshed."},
                {18,
                 {.type = {{'A', 'P', 'P', 'L'}}, .isRefreshed = false},
                 "/pc/Docs is a folder, which has neither type nor creator."},
                {99, {}, "The project has no item with the number 99."}};
    for (const auto& row : rows) {
        std::string said = Words(ChangeItem(project, row.number, row.changes));
        if (const ProjectRecord* now = project.findByNumber(row.number); said.empty())
            said = fmt::format("{} {} {} {}", test::MarksOf(*now), now->signature(),
                               std::uint32_t{now->created}, std::uint32_t{now->modified});
        EXPECT_EQ(said, row.expected);
    }
    const ItemProperties item = *PropertiesOf(project, -1);
    EXPECT_TRUE(item.folder == 18 && item.isMissing && item.views.iso && !item.isFolder);
    EXPECT_TRUE(item.isoName.empty() && item.dataBytes == 7) << "its ISO name was refused";
    const ItemProperties folder = *PropertiesOf(project, 18);
    EXPECT_TRUE(folder.files == 1 && folder.dataBytes == 0) << "counters are no length";
    EXPECT_TRUE(folder.isRefreshed && folder.isHiddenInHfs && !folder.hasCustomIcon);
    EXPECT_EQ(HideExtensions(project), 2) << "those of the HFS view that are shown";
    EXPECT_EQ(test::MarksOf(*project.findByNumber(-2)), "I");
    EXPECT_EQ(test::MarksOf(*project.findByNumber(19)), "IHx");
}

TEST(ItemProperties, TheViewsShowTheirOwnPicturesFoldersAndCounts) {
    const int icons[][3] = {{1, 1, 0},   {1, 0, 1},  {0, 1, 2},  {0, 0, 3}, {-1, 1, 4},
                            {-1, -1, 4}, {1, -1, 0}, {-1, 0, 5}, {0, -1, 6}};
    for (const auto& [iso, hfs, icon] : icons)
        EXPECT_EQ(static_cast<int>(IconOf(Item(1, -1, "x", iso, hfs))), icon);
    ProjectFile project = EmptyProject();
    project.insert(Item(1, 18, "Iso", 1, 0));
    project.insert(Item(18, 19, "Deep", 1, 0));
    project.insert(Item(18, -1, "file"));
    project.findByNumber(-1)->dataSize = 1000;
    project.findByNumber(-1)->resourceSize = 24;
    const ProjectCounts counts = CountItems(project);
    EXPECT_EQ(Counts(counts.all) + " " + Counts(counts.iso) + " " + Counts(counts.hfs),
              "2/1 2/1 0/1");
    EXPECT_EQ(Counts(ContentsOf(project, 18, ProjectView::Hfs).items), "0/1");
    EXPECT_EQ(ContentsOf(project, 18, ProjectView::Iso).bytes, 1024u);
}

TEST(ProjectProperties, TheTextsOfTheDescriptorFillTheirFieldsAndNoMore) {
    ProjectHeader header{};
    const std::string longest(128, 'x');
    const DescriptorTexts texts = {std::string(32, 's'), longest,        "É diteur",    "", longest,
                                   "COPYRIGH.TXT",       "ABSTRACT.TXT", "BIBLIOGR.TXT"};
    EXPECT_TRUE(SetDescriptorTexts(header, texts).isNone());
    EXPECT_EQ(DescriptorTextsOf(header), texts);
    EXPECT_EQ(std::string(header.publisher, 9), std::string("\xC9 diteur\0", 9));
    const std::pair<std::string, const char*> wrong[] = {
        {longest + "x", "Publisher: it has 129 characters, and the ISO descriptor holds 128."},
        {"a\tb", "Publisher: it holds a control character or one outside Windows-1252."}};
    for (const auto& [text, said] : wrong) {
        DescriptorTexts other;
        other.publisher = text;
        EXPECT_EQ(Words(SetDescriptorTexts(header, other)), said);
    }
    EXPECT_EQ(DescriptorTextsOf(header), texts) << "nothing changes";
}

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
    } cases[] = {
        {"/a/b/c/", "f", false, "/a/b/", "/x/y/", "/x/y/c/f"},
        {"/a/bc/", "f", false, "/a/b", "/x", ""},
        // The folder that the old path names, and one that only begins like it.
        {"/a/", "b", true, "/a/b", "/x/y", "/x/y"},
        {"/a/", "b", false, "/a/b", "/x/y", ""},
        {"..", "b", true, "..", "/x", ""},
        // A project that was made on another system.
        {"C:\\Data\\Sub\\", "f", false, "C:\\Data", "/d", "/d/Sub/f"},
        // All that a record holds, and a byte more: it stays and is named.
        {"/pc/", "f", false, "/pc", longest, longest + "/f"},
        {"/pc/", "f", false, "/pc", longest + "x", ""},
    };
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

    ProjectFile project = EmptyProject();
    project.insert(Item(1, 18, "Photos"));
    project.insert(Item(18, -1, "b.jpg", 1, 1, "/pc/Photos/sub/"));
    project.insert(Item(1, -2, "other", 1, 1, "/pc/Photos/"));  // not below the folder
    ScriptedMessages messages;
    EXPECT_FALSE(ReplaceSource(project, -1, found, messages)) << "a folder for a file";
    EXPECT_FALSE(ReplaceSource(project, 18, top + "nowhere", messages));
    EXPECT_FALSE(ReplaceSource(project, 18, top + "one/Phot*", messages));
    EXPECT_EQ(messages.shown.size(), 3u);
    ASSERT_TRUE(ReplaceSource(project, 18, found, messages));
    const std::pair<std::int32_t, std::string> expected[] = {
        {18, found}, {-1, found + "/sub/b.jpg"}, {-2, "/pc/Photos/other"}};
    for (const auto& [number, path] : expected)
        EXPECT_EQ(PathOf(*project.findByNumber(number)), path);
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
        {longName, false, {{true, true, "a"}, {true, true, "b"}}, "a", "b", "IH"},
    };
    for (const auto& row : rows) {
        const ProjectFile project = EmptyProject(row.isHfsPlus);
        TruncationAnswers answers;
        test::ScriptedMessages messages;
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
        EXPECT_EQ(test::MarksOf(record), row.marks) << row.name;
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
            test::ScriptedMessages messages;
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
    EXPECT_EQ(test::MarksOf(*project.findByNumber(-3)), "IHuB") << "the field has a copy";
    project.header().setHfsLabel(X(40));
    RedoNamesForHfs(project);
    const std::string apart(project.findByNumber(-4)->hfsName());
    EXPECT_EQ(apart.substr(0, 27), X(26) + "-") << "the other one has the name";
    EXPECT_EQ(names(), X(27) + "," + X(31) + ",Ic\x8En,In\x8E_," + apart);
}

}  // namespace
}  // namespace vellmark
