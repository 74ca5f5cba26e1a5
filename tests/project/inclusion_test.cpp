// Inclusion of trees that the tests make: names, links, what is left out, order
// and counters.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <set>

#include "project/inclusion_bench.hpp"
#include "support/pc_folder.hpp"

namespace vellmark {
namespace {

namespace fs = std::filesystem;
using test::ByName;
using test::EmptyProject;
using test::InclusionTest;
using test::Write;

constexpr UnixSeconds kModified = 1'000'000'000;  // 2001-09-09 01:46:40 GMT
constexpr std::uint32_t kModifiedMac = 3'082'844'800 + 7200;

TEST_F(InclusionTest, AFolderComesWithAllThatIsInIt) {
    Write(tree_ + "b.txt", "12345");
    Write(tree_ + "sub/c.txt", "123");
    Write(tree_ + "sub/deep/d.txt");
    fs::create_directory(tree_ + "empty");
    const timespec times[] = {{kModified, 0}, {kModified, 0}};
    ASSERT_EQ(::utimensat(AT_FDCWD, (tree_ + "b.txt").c_str(), times, 0), 0);
    options_.signatureOf = [](std::string_view name) {
        return std::string(name == "b.txt" ? "ABCDefgh" : "TEXTttxt");
    };

    const InclusionResult result = include(base_ + "tree");
    EXPECT_EQ(result.status, InclusionStatus::Done);
    EXPECT_EQ(result.folders, 4);
    EXPECT_EQ(result.files, 3);
    EXPECT_EQ(result.skipped, 0);
    const ProjectRecord& top = project_.childrenOf(1)[0];
    EXPECT_EQ(top.accessPath(), base_);
    EXPECT_EQ(top.number, 18);
    EXPECT_EQ(top.dataSize, 2u) << "folders directly in it";
    EXPECT_EQ(top.resourceSize, 1u) << "files directly in it";
    EXPECT_EQ(top.sourceSize, 0u);
    auto items = ByName(project_, 18);
    ASSERT_EQ(items.size(), 3u);
    const ProjectRecord& file = items["b.txt"];
    EXPECT_EQ(file.number, -1);
    EXPECT_EQ(file.accessPath(), tree_);
    EXPECT_EQ(file.shortName(), "b.txt");
    EXPECT_EQ(file.sourceSize, 5u);
    EXPECT_EQ(file.modified, kModifiedMac) << "local time";
    EXPECT_EQ(file.signature(), "ABCDefgh");
    const auto below = ByName(project_, items["sub"].number);
    EXPECT_EQ(below.at("c.txt").accessPath(), tree_ + "sub/");
    EXPECT_EQ(project_.childrenOf(below.at("deep").number).size(), 1u);
}

TEST_F(InclusionTest, APatternTakesWhatFitsInAFolder) {
    for (const char* name : {"a.txt", "b.txt", "c.dat", ".hidden.txt", "._a.txt", "sub.txt/in"})
        Write(tree_ + name);
    EXPECT_EQ(include(tree_ + "?.txt").files, 2);
    EXPECT_EQ(include(tree_ + "*.none").status, InclusionStatus::NotFound);
    EXPECT_EQ(include(base_ + "absent").status, InclusionStatus::NotFound);
    ASSERT_EQ(messages_.shown.size(), 2u);
    EXPECT_NE(messages_.shown[1].find(base_ + "absent"), std::string::npos);

    const InclusionResult rest = include(tree_ + "*");
    EXPECT_EQ(rest.files, 3) << "what is there already is passed over, and companions are";
    EXPECT_EQ(rest.folders, 1);
    EXPECT_EQ(rest.skipped, 0);
    auto items = ByName(project_, 1);
    EXPECT_EQ(items.size(), 5u);
    EXPECT_TRUE(items[".hidden.txt"].hiddenInIso());
    EXPECT_TRUE(items[".hidden.txt"].hiddenInHfs());
    EXPECT_EQ(project_.header().rootFiles, 4u);
    EXPECT_EQ(include(tree_ + "*").files, 0) << "a second time there is nothing to add";
    EXPECT_EQ(include(base_ + "tree", 99).status, InclusionStatus::NoSuchFolder);
    fs::create_directory(base_ + "void");
    EXPECT_EQ(include(base_ + "void/*").status, InclusionStatus::Done);
}

TEST_F(InclusionTest, TheTestForConflictsLooksAtPathNameAndView) {
    Write(tree_ + "File");
    Write(base_ + "other/fILE");
    options_.view = ProjectView::Iso;
    ASSERT_EQ(include(tree_ + "File").files, 1);
    EXPECT_EQ(include(tree_ + "File").status, InclusionStatus::Conflict);
    EXPECT_NE(messages_.shown.back().find("already exists in the same folder"), std::string::npos);
    EXPECT_EQ(include(base_ + "other/fILE").status, InclusionStatus::Conflict);
    EXPECT_NE(messages_.shown.back().find("only be included in different views"),
              std::string::npos);
    options_.view = ProjectView::Hybrid;
    EXPECT_EQ(include(base_ + "other/fILE").status, InclusionStatus::Conflict);
    EXPECT_EQ(include(base_ + "other/*").skipped, 1) << "inside a folder it is named";
    options_.view = ProjectView::Hfs;
    EXPECT_EQ(include(base_ + "other/fILE").files, 1) << "in another view it may stand";
    EXPECT_EQ(project_.header().rootFiles, 2u);

    project_ = EmptyProject(false, ProjectMode::IsoPlus);
    messages_.shown.clear();
    messages_.skipped.clear();
    EXPECT_EQ(include(tree_ + "File").files, 1);
    EXPECT_EQ(project_.childrenOf(1)[0].hfsInclusion(), 0);
    EXPECT_EQ(include(tree_ + "File").skipped, 0);
    EXPECT_EQ(include(base_ + "other/fILE").skipped, 1);
    EXPECT_TRUE(messages_.shown.empty()) << "an ISO+ project shows neither message";
}

TEST_F(InclusionTest, CaseTwinsOfOneFolderAreTwoItemsWithNamesApart) {
    Write(tree_ + "README");
    Write(tree_ + "readme");
    EXPECT_EQ(include(base_ + "tree").files, 2);
    auto items = ByName(project_, 18);
    EXPECT_EQ(items["README"].hfsName(), "README");
    EXPECT_EQ(items["readme"].hfsName(), "readme-FEDD") << "HFS does not tell them apart";
    EXPECT_EQ(items["readme"].isoName(), "readme");
    EXPECT_EQ(include(tree_ + "*", 18).files, 0) << "both are there";
    EXPECT_EQ(project_.childrenOf(18).size(), 2u);
}

TEST_F(InclusionTest, NamesInAndOutsideTheCharacterSet) {
    const std::string accents = "\xC3\xA9t\xC3\xA9 \xE2\x82\xAC.txt";  // all in Windows-1252
    const std::string outside = "\xE6\x97\xA5\xE6\x9C\xAC.text";       // Japanese
    const std::string decomposed = "e\xCC\x81";                        // e, combining acute
    const std::string invalid = "bad\xFF\xC3";                         // no UTF-8
    const std::string question = "what?";
    for (const std::string& name : {accents, outside, decomposed, invalid, question})
        Write(tree_ + name);
    Write(tree_ + "\xCE\xA9/in");
    EXPECT_EQ(include(base_ + "tree").files, 6);
    EXPECT_TRUE(messages_.skipped.empty());

    PcPathResolver resolver;
    std::set<std::string> found;
    project_.forEachRecord([&](const ProjectRecord& record) {
        EXPECT_EQ(record.shortNameFlag(), record.sourceName() == record.shortName() &&
                                              record.sourceName() != "in" &&
                                              record.sourceName() != "tree");
        found.insert(resolver.resolve(record.accessPath(), record.sourceName()));
    });
    EXPECT_EQ(ByName(project_, 18)["what?"].hfsName(), "what?");
    EXPECT_EQ(ByName(project_, 18)["\xE9"].hfsName(), "\x8E") << "joined";
    EXPECT_EQ(found, (std::set<std::string>{base_ + "tree", tree_ + accents, tree_ + outside,
                                            tree_ + decomposed, tree_ + invalid, tree_ + question,
                                            tree_ + "\xCE\xA9", tree_ + "\xCE\xA9/in"}))
        << "each record leads back to its file";
    const auto items = ByName(project_, 18);
    EXPECT_EQ(items.at("\xE9t\xE9 \x80.txt").hfsName(), "\x8Et\x8E \xDB.txt");
}

TEST_F(InclusionTest, LongNamesAreShortenedAndKeptApart) {
    const std::string head(70, 'n');
    for (const char* tail : {"1.txt", "2.txt", "3.txt"})
        Write(tree_ + head + tail);
    Write(tree_ + std::string(27, 'n') + ".txt");
    Write(tree_ + std::string(243, 'm'));
    Write(tree_ + std::string(244, 'm'));
    options_.truncation = {true, true, true};
    const InclusionResult result = include(base_ + "tree");
    EXPECT_EQ(result.files, 5);
    EXPECT_EQ(result.skipped, 1);
    EXPECT_EQ(skippedNames(), std::set<std::string>{std::string(244, 'm')});
    std::set<std::string> isoNames;
    std::set<std::string> hfsNames;
    for (const ProjectRecord& record : project_.childrenOf(18)) {
        EXPECT_LE(record.isoName().size(), 62u);
        EXPECT_LE(record.hfsName().size(), 31u);
        isoNames.emplace(record.isoName());
        hfsNames.emplace(record.hfsName());
    }
    EXPECT_EQ(isoNames.size(), 5u);
    EXPECT_EQ(hfsNames.size(), 5u);
    EXPECT_EQ(ByName(project_, 18).at(std::string(27, 'n') + ".txt").hfsName(),
              std::string(27, 'n') + ".txt")
        << "a name that fits is not taken by one that was cut";
}

TEST_F(InclusionTest, PathsTooLongForARecordAreNamedAndTheRestGoesOn) {
    std::string deep = tree_;
    while (deep.size() <= kAccessPathLimit)
        deep += std::string(40, 'd') + "/";
    Write(deep + "lost");
    Write(deep + "gone/never");
    options_.truncation = {true, true, true};
    Write(tree_ + "z");
    const InclusionResult result = include(base_ + "tree");
    EXPECT_EQ(skippedNames(), (std::set<std::string>{"lost", "gone"}));
    EXPECT_EQ(result.skipped, 2);
    EXPECT_EQ(result.files, 1);
    EXPECT_EQ(ByName(project_, 18).count("z"), 1u);
}

TEST_F(InclusionTest, LinksAreFollowedButNeverInACircle) {
    Write(tree_ + "real/file");
    Write(base_ + "out/thing");
    fs::create_directory_symlink(tree_ + "real", tree_ + "again");
    fs::create_directory_symlink(base_ + "out", tree_ + "out1");
    fs::create_directory_symlink(base_ + "out", tree_ + "out2");
    fs::create_directory_symlink(tree_, tree_ + "real/self");
    fs::create_directory_symlink("/", tree_ + "real/slash");
    fs::create_directory_symlink(base_ + "out", base_ + "out/circle");
    fs::create_symlink(tree_ + "real/file", tree_ + "linked");
    fs::create_symlink(tree_ + "nowhere", tree_ + "broken");
    const InclusionResult result = include(base_ + "tree");
    EXPECT_EQ(skippedNames(), (std::set<std::string>{"out2", "self", "slash", "circle", "broken"}));
    EXPECT_EQ(result.skipped, 7) << "self and slash lie in two folders";
    EXPECT_EQ(result.files, 4);
    EXPECT_EQ(result.folders, 4);
    EXPECT_EQ(ByName(project_, 18).at("linked").dataSize, 1u);
}

TEST_F(InclusionTest, PipesLargeFilesAndUnreadableOnesAreNamed) {
    Write(tree_ + "good");
    ASSERT_EQ(::mkfifo((tree_ + "pipe").c_str(), 0600), 0);
    Write(tree_ + "large");
    Write(tree_ + "largest");
    fs::resize_file(tree_ + "large", 1ull << 32);
    fs::resize_file(tree_ + "largest", (1ull << 32) - 1);
    std::set<std::string> expected = {"pipe", "large"};
    Write(tree_ + "locked");
    Write(tree_ + "closed/in");
    if (::geteuid() != 0) {
        fs::permissions(tree_ + "locked", fs::perms::none);
        fs::permissions(tree_ + "closed", fs::perms::none);
        expected.insert({"locked", "closed"});
    }
    const InclusionResult result = include(base_ + "tree");
    fs::permissions(tree_ + "closed", fs::perms::owner_all);
    EXPECT_EQ(skippedNames(), expected);
    EXPECT_EQ(result.skipped, static_cast<std::int64_t>(expected.size()));
    EXPECT_EQ(ByName(project_, 18).at("largest").dataSize, 0xFFFFFFFFu);
    EXPECT_TRUE(
        std::any_of(messages_.skipped.begin(), messages_.skipped.end(), [](const auto& told) {
            return told.first.ends_with("large") &&
                   told.second.find("4294967296") != std::string::npos;
        }));
}

TEST_F(InclusionTest, ItemsGoInTheViewOfTheirFolder) {
    Write(tree_ + "a");
    Write(tree_ + "sub/setup.exe");
    options_.view = ProjectView::Hfs;
    options_.answers.executable.kept = Remembered::YesToAll;
    EXPECT_EQ(include(base_ + "tree").files, 2);
    auto items = ByName(project_, 18);
    EXPECT_EQ(items["a"].isoInclusion(), 0);
    const std::int32_t sub = items["sub"].number;
    EXPECT_EQ(project_.childrenOf(sub)[0].isoInclusion(), 1);
    EXPECT_EQ(project_.childrenOf(sub)[0].hfsInclusion(), 0);
    EXPECT_EQ(project_.folderView(sub), ProjectView::Hybrid)
        << "an executable of the ISO view needs its folders there";
    EXPECT_EQ(project_.folderView(18), ProjectView::Hybrid);

    Write(base_ + "later");
    options_.view = ProjectView::Iso;
    EXPECT_EQ(include(base_ + "later", sub).files, 1);
    EXPECT_EQ(ByName(project_, sub).at("later").hfsInclusion(), 1) << "the folder's view counts";
}

TEST_F(InclusionTest, ARefusedNameLeavesTheItemOutOfThatView) {
    Write(tree_ + std::string(40, 'x'));
    Write(tree_ + std::string(65, 'f') + "/in");
    messages_.truncations = {{false, false, ""}, {false, false, ""}, {false, false, ""}};
    EXPECT_EQ(include(tree_ + "*").files, 1);
    auto items = ByName(project_, 1);
    EXPECT_EQ(items[std::string(40, 'x')].hfsName(), "~");
    EXPECT_EQ(items[std::string(40, 'x')].isoInclusion(), 1);
    const ProjectRecord& folder = items[std::string(65, 'f')];
    EXPECT_FALSE(folder.isIn(ProjectView::Hybrid));
    EXPECT_TRUE(project_.childrenOf(folder.number).empty()) << "nothing lies below it";
}

TEST_F(InclusionTest, AStopLeavesAProjectWhoseCountersAreRight) {
    for (int folder = 0; folder < 4; ++folder)
        for (int file = 0; file < 4; ++file)
            Write(tree_ + std::to_string(folder) + "/" + std::to_string(file));
    class Stopper final : public Progress {
      public:
        int left = 0;
        bool chunk(std::uint64_t) override { return left-- > 0; }
    };
    for (int steps = 0;; ++steps) {
        project_ = EmptyProject();
        Stopper stopper;
        stopper.left = steps;
        const InclusionResult result =
            Include(project_, tree_ + "*", kRootFolder, options_, messages_, stopper);
        EXPECT_EQ(project_.header().rootFolders, project_.countChildren(1));
        for (const ProjectRecord& folder : project_.childrenOf(1))
            EXPECT_EQ(folder.resourceSize, project_.countChildren(folder.number));
        if (result.status == InclusionStatus::Done)
            break;
        ASSERT_EQ(result.status, InclusionStatus::Stopped);
        ASSERT_LT(steps, 100) << "it never ended";
    }
    EXPECT_EQ(project_.countRecords(), 20u);
}

}  // namespace
}  // namespace vellmark
