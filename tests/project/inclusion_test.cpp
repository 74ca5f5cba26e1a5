// Inclusion of trees that the tests make: names, links, containers, counters, questions and drops,
// and what is left out.
#include "project/inclusion.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <set>

#include "project/project_bench.hpp"
#include "support/pc_folder.hpp"

namespace vellmark::test {
namespace {

namespace fs = std::filesystem;

// Files of the formats of Macintosh files, whole and damaged.
std::string ForksOf(const std::string& what) {
    const std::string finder = "TYPEcrea\x44\x10" + Zeros(22);  // invisible, icon, no extension
    const std::map<std::string, std::string> files = {
        {"double", AppleFile(false, {{9, finder}, {3, "a name"}, {2, "resource"}})},
        {"blank", AppleFile(false, {{9, Zeros(32)}})},
        {"single", AppleFile(true, {{1, "data"}, {2, "resource"}, {9, finder}})},
        {"hqx", TextOf(testing::BinHexOf(
                    {"Te\x8Et", "TYPEcrea", 0x4400, testing::Pattern(70), testing::Pattern(30)}))},
        {"cut", FileOf("Icon/ICNSMACS/5/0").substr(0, 132)},
        {"quote", "(This file must be converted with BinHex 4.0) :said the manual"},
        {"lie", AppleFile(true, {{1, Zeros(4096)}}).substr(0, 38)},
        {"short", Big(0x00051607)}};
    return files.contains(what) ? files.at(what) : FileOf(what);
}

class InclusionTest : public ::testing::Test {
  protected:
    InclusionResult include(const std::string& path, std::int32_t parent = kRootFolder) {
        return Include(project_, base_ + path, parent, options_, messages_, progress_);
    }
    // The names of the items that were left out, without their folder.
    [[nodiscard]] std::multiset<std::string> skipped() const {
        std::multiset<std::string> names;
        for (const auto& [item, reason] : messages_.skipped)
            names.insert(item.substr(item.find_last_of('/') + 1));
        return names;
    }
    // The items of the project; type and creator where they are not the default.
    [[nodiscard]] std::string listed(std::int32_t folder = 1, const std::string& above = {}) const {
        std::string lines;
        for (const ProjectRecord& record : project_.childrenOf(folder)) {
            lines += "; " + above + LineOf(project_, record);
            if (!record.isFolder() && record.signature() != kDefaultSignature)
                lines += " " + std::string(record.signature());
            if (record.isFolder())
                lines += listed(record.number, above + std::string(record.sourceName()) + "/");
        }
        return lines;
    }

    TemporaryFolder scratch_;
    std::string base_ = fs::canonical(scratch_.path()).string() + "/";
    ProjectFile project_ = EmptyProject();
    ScriptedMessages messages_;
    Progress progress_;
    FixedClock clock_{0, 7200};
    InclusionOptions options_{clock_, ProjectView::Hybrid, kYesToAll, kShortenAll};
};

// Folders and files that came, what was left out, and the project.
TEST_F(InclusionTest, ATreeBecomesItems) {
    const struct {
        const char* tree;
        const char* path;
        const char* expected;
        ProjectView view = ProjectView::Hybrid;
        Remembered containers = Remembered::YesToAll;
    } rows[] = {
        {"tree/b.txt=12345 tree/sub/deep/d.txt tree/empty/ tree/.dot", "tree",
         "4/3; tree IH 2/2; tree/.dot IHpm 1/0; tree/b.txt IH 5/0; tree/empty IH 0/0; "
         "tree/sub IH 1/0; tree/sub/deep IH 0/1; tree/sub/deep/d.txt IH 1/0"},
        {"a.txt b.txt c.dat .hidden.txt ._a.txt sub.txt/in", "?.txt",
         "0/2; a.txt IH 1/0; b.txt IH 1/0"},
        {"t/real/file out/thing t/again->real t/out1->../out t/out2->../out t/real/self->.. "
         "t/real/slash->/ out/circle->../out t/linked->real/file t/broken->nowhere",
         "t",
         "4/4 -broken -circle -out2 -self -self -slash -slash; t IH 3/1; t/again IH 0/1; "
         "t/again/file IH 1/0; t/linked IH 1/0; t/out1 IH 0/1; t/out1/thing IH 1/0; "
         "t/real IH 0/1; t/real/file IH 1/0"},
        {"a sub/setup.exe", "*", "1/2; a H 1/0; sub IH 0/1; sub/setup.exe I 1/0", ProjectView::Hfs},
        {"a=data ._a=@double sub/b=data sub/._b=@blank ._sub=@double ._lost=@double sub/._=@double",
         "*", "1/2 -._ -._lost; a IHkDmx 4/8 TYPEcrea; sub IH 0/1; sub/b IHD 4/0"},
        {"cut=@cut quote=@quote single=@lie pair=data ._pair=@short", "*",
         "0/4 -cut -pair -quote -single; cut IH 132/0; pair IHD 4/0; quote IH 62/0; "
         "single IHS 38/0",
         ProjectView::Hybrid, Remembered::NoToAll},
        {"single=@single both=@single ._both=@blank box=@Na:\x8Es/TYPEcrea/5/3 text=@hqx "
         "none=12345 ._none=text",
         "*",
         "0/5; both IHkDSmx 4/8 TYPEcrea; box|box|Na_és IHM 5/3 TYPEcrea; none IH 5/0; "
         "single IHkSmx 4/8 TYPEcrea; text|text|Teét IHBm 70/30 TYPEcrea"},
        {"sub/Icon.bin=@Icon/ICNSMACS/5/0 Icon.bin=@Icon/ICNSMACS/5/0 Other.bin=@Icon/ICNSMACS/5/0",
         "*",
         "1/3 icon; Icon.bin|Icon.bin|.VolumeIcon.icns HLM 5/0 ICNSMACS; "
         "Other.bin|Other.bin|Icon\r IHM 5/0 ICNSMACS; sub IHk 0/1; "
         "sub/Icon.bin|Icon.bin|Icon\r IHM 5/0 ICNSMACS"},
        {"Icon.bin=@Icon/ICNSMACS/0/5", "*",  // no picture in it
         "0/1; Icon.bin|Icon.bin|Icon\r IHM 0/5 ICNSMACS"},
        {"sub/box=@B/TYPEcrea/5/3", "*", "1/1; sub IH 0/1; sub/box|box|B HM 5/3 TYPEcrea",
         ProjectView::Iso, Remembered::NoToAll}};
    for (const auto& row : rows) {
        for (const auto& entry : fs::directory_iterator(base_))
            fs::remove_all(entry);
        Plant(base_, row.tree, ForksOf);
        project_ = EmptyProject();
        messages_.skipped.clear();
        options_.view = row.view;
        options_.answers.macContainer = {row.containers};
        options_.answers.appleContainer = {row.containers};
        const InclusionResult result = include(row.path);
        std::string told = fmt::format("{}/{}", result.folders, result.files);
        for (const std::string& name : skipped())
            told += " -" + name;
        told += project_.header().customIcon() ? " icon" : "";
        EXPECT_EQ(told + listed(), row.expected) << row.tree;
        EXPECT_EQ(result.skipped, static_cast<std::int64_t>(messages_.skipped.size()));
        EXPECT_EQ(project_.header().rootFolders + project_.header().rootFiles,
                  project_.countChildren(1));
        EXPECT_TRUE(messages_.shown.empty());
    }
}

TEST_F(InclusionTest, ARecordTellsWhereItsFileLies) {
    Plant(base_, "tree/b.txt=12345 box=@Box/TYPEcrea/5/3", ForksOf);
    const timespec times[] = {{1'000'000'000, 0}, {1'000'000'000, 0}};  // 2001-09-09 01:46:40 GMT
    ASSERT_EQ(::utimensat(AT_FDCWD, (base_ + "tree/b.txt").c_str(), times, 0), 0);
    options_.signatureOf = [](std::string_view name) { return std::string(name) + "ABC"; };
    EXPECT_EQ(include("*").files, 2);
    const ProjectRecord file = ByName(project_, 18).at("b.txt");
    EXPECT_EQ(file.accessPath(), base_ + "tree/");
    EXPECT_EQ(file.shortName(), "b.txt");
    EXPECT_EQ(file.sourceSize, 5u);
    EXPECT_EQ(file.modified, 3'082'844'800u + 7200) << "local time";
    EXPECT_EQ(file.signature(), "b.txtABC");
    EXPECT_EQ(ByName(project_, 1).at("box").created, 2'899'999'940u);
    // Links stay in a path, but for those that it steps up behind.
    Plant(base_, "tree/sub/c.txt link->tree/sub", ForksOf);
    for (const auto& [path, folder] :
         {std::pair{"link/c.txt", "link/"}, std::pair{"link/../b.txt", "tree/"}}) {
        project_ = EmptyProject();
        EXPECT_EQ(include(path).files, 1);
        EXPECT_EQ(project_.childrenOf(1)[0].accessPath(), base_ + folder);
    }

    // What a server keeps beside a file in streams.
    Plant(base_, "box=12345", ForksOf);
    if (::setxattr((base_ + "box").c_str(), "user.AFP_Resource", "resource", 8, 0) != 0)
        GTEST_SKIP() << "the file system keeps no attributes of users";
    project_ = EmptyProject(true);
    EXPECT_EQ(include("box").files, 1);
    EXPECT_EQ(listed(), "; box IHu 5/8 boxABC");
    Plant(base_, "._box=@double", ForksOf);
    project_ = EmptyProject(true);
    EXPECT_EQ(include("box").files, 1);
    EXPECT_EQ(listed(), "; box IHkDmx 5/8 TYPEcrea") << "a companion comes first";
}

TEST_F(InclusionTest, WithoutAVolumeASecondItemOfANameIsNamed) {
    Plant(base_, "tree/File other/fILE");
    project_ = EmptyProject(false, ProjectMode::IsoPlus);
    EXPECT_EQ(include("tree/File").files, 1);
    EXPECT_EQ(include("other/fILE").skipped, 1);
    EXPECT_EQ(listed(), "; File I 1/0");
}

TEST_F(InclusionTest, NamesLeadBackToTheirFilesWhateverTheirCharactersAndLength) {
    const std::string head(70, 'n');
    const std::string fits = std::string(27, 'n') + ".txt";
    std::set<std::string> expected;
    for (const std::string& name :
         {std::string("été €.txt"), std::string("日本.text"), std::string("e\u0301"),
          std::string("bad\xFF\xC3"), std::string("what?"), head + "1.txt", head + "2.txt",
          std::string(243, 'm'), fits})
        Write(*expected.insert(base_ + name).first);
    Write(*expected.insert(base_ + "\u03A9/in").first);
    Write(base_ + std::string(244, 'm'));
    std::string deep = base_;
    while (deep.size() <= kAccessPathLimit)
        deep += std::string(40, 'd') + "/";
    Write(deep + "lost");
    EXPECT_EQ(include("*").skipped, 2);
    EXPECT_EQ(skipped(), (std::multiset<std::string>{"lost", std::string(244, 'm')}));
    PcPathResolver resolver;
    project_.forEachRecord([&](const ProjectRecord& record) {
        expected.erase(resolver.resolve(record.accessPath(), record.sourceName()));
    });
    EXPECT_EQ(expected, std::set<std::string>{});
    EXPECT_EQ(ByName(project_, 1).at("\xE9").hfsName(), "\x8E") << "joined";
    EXPECT_EQ(ByName(project_, 1)["\xE9t\xE9 \x80.txt"].hfsName(), "\x8Et\x8E \xDB.txt");
}

// A letter for each answer: no, no to all, yes, yes to all (B: both views); one without a question.
TEST(InclusionRules, EachRowWithEachAnswer) {
    constexpr Answer kAnswers[] = {Answer::No, Answer::NoToAll, Answer::Yes, Answer::YesToAll};
    ProjectRecord box = Item(1, -1, "x.exe", 0, 0);
    box.setMacBinary(true);
    ProjectRecord apple = Item(1, -1, "x.exe", 0, 0);
    apple.setAppleSingle(true);
    const ProjectRecord program = Item(1, -1, "a.exe.txt", 0, 0);
    const ProjectRecord plain = Item(1, -1, "A.EXE", 0, 0);
    using enum ProjectView;
    const std::tuple<ProjectRecord, ProjectView, std::string_view> rows[] = {
        {box, Iso, "HHII"},     {box, Hybrid, "HHBB"}, {box, Hfs, "H"},
        {apple, Iso, "HHII"},   {program, Iso, "I"},   {program, Hybrid, "IIBB"},
        {program, Hfs, "IIHI"}, {plain, Iso, "I"},     {plain, Hybrid, "B"},
        {plain, Hfs, "H"}};
    for (const auto& [item, view, views] : rows)
        for (std::size_t i = 0; i < views.size(); ++i) {
            const bool isKept = kAnswers[i] == Answer::NoToAll || kAnswers[i] == Answer::YesToAll;
            ScriptedMessages messages;
            messages.remembered.assign(views.size() == 1 ? 0 : isKept ? 1 : 2, kAnswers[i]);
            InclusionAnswers answers;
            for (int again = 0; again < 2; ++again) {
                ProjectRecord record = item;
                DecideViews(record, view, "/p/file", answers, messages);
                EXPECT_EQ(record.isIn(Iso), views[i] != 'H') << item.sourceName() << i;
                EXPECT_EQ(record.isIn(Hfs), views[i] != 'I') << item.sourceName() << i;
            }
            EXPECT_TRUE(messages.remembered.empty()) << "an answer to all is kept";
        }
}

TEST_F(InclusionTest, PipesLargeFilesAndUnreadableOnesAreNamed) {
    Plant(base_, "tree/good tree/large tree/largest tree/locked tree/closed/in tree/pair");
    Plant(base_, "tree/._pair=@double", ForksOf);
    ASSERT_EQ(::mkfifo((base_ + "tree/pipe").c_str(), 0600), 0);
    fs::resize_file(base_ + "tree/large", 1ull << 32);
    fs::resize_file(base_ + "tree/largest", (1ull << 32) - 1);
    for (const char* name : {"locked", "closed", "._pair"})
        fs::permissions(base_ + "tree/" + name, fs::perms::none);
    // Root may read everything: the test is somebody else for a while.
    fs::permissions(base_, fs::perms::all);
    const bool isRoot = ::geteuid() == 0;
    ASSERT_TRUE(!isRoot || ::seteuid(65534) == 0);
    EXPECT_EQ(include("tree").skipped, 5);
    ASSERT_TRUE(!isRoot || ::seteuid(0) == 0);
    fs::permissions(base_ + "tree/closed", fs::perms::owner_all);
    EXPECT_EQ(skipped(), (std::multiset<std::string>{"closed", "large", "locked", "pair", "pipe"}));
    EXPECT_EQ(ByName(project_, 18).at("largest").dataSize, 0xFFFFFFFFu);
    EXPECT_EQ(ByName(project_, 18).at("pair").coding(), ForkCoding::AppleFiles) << "and incomplete";
}

}  // namespace
}  // namespace vellmark::test
