// The sequence of records in memory: order, numbers, counters, views, and records that no honest
// program wrote.
#include "project/project_file.hpp"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <set>

#include "project/project_bench.hpp"

namespace vellmark {
namespace {

using test::EmptyProject;
using test::Item;

using Model = std::multimap<std::pair<std::int32_t, std::string>, std::int32_t>;

std::vector<std::int32_t> NumbersOf(const ProjectFile& project) {
    std::vector<std::int32_t> numbers;
    project.forEachRecord([&](const ProjectRecord& record) { numbers.push_back(record.number); });
    return numbers;
}

std::vector<std::int32_t> NumbersOf(const Model& model) {
    std::vector<std::int32_t> numbers;
    for (const auto& [key, number] : model)
        numbers.push_back(number);
    return numbers;
}

// Bytes above 7F are greater than letters; an equal name goes before those that are there.
void ModelInsert(Model& model, std::int32_t parent, const std::string& name, std::int32_t number) {
    const std::pair<std::int32_t, std::string> key{parent, name};
    model.emplace_hint(model.lower_bound(key), key, number);
}

std::string RandomName(std::mt19937& random) {
    static constexpr std::string_view kLetters = "aAbZ_\xE9\xFF.";
    std::string name;
    for (auto length = 1 + random() % 4; length > 0; --length)
        name += kLetters[random() % kLetters.size()];
    return name;
}

TEST(ProjectFile, OrderSurvivesEveryInsertionAndDeletion) {
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    ProjectFile project = EmptyProject();
    Model model;
    std::int32_t last = 0;
    for (int step = 0; step < 1500; ++step) {
        const auto parent = static_cast<std::int32_t>(random() % 5 + 1000);
        const auto action = random() % 10;
        if (action < 7) {
            const std::string name = RandomName(random);
            project.insert(Item(parent, --last, name));
            ModelInsert(model, parent, name, last);
        } else if (action < 8) {
            // Names that differ from each other: the order of equals inside a batch is its own.
            ProjectFile::Run batch;
            std::set<std::string> names;
            for (int i = 0; i < 6; ++i)
                names.insert(RandomName(random));
            for (const std::string& name : names) {
                batch.insert(batch.begin(), Item(parent, --last, name));
                ModelInsert(model, parent, name, last);
            }
            project.mergeChildren(parent, std::move(batch));
        } else if (!model.empty()) {
            const auto victim =
                std::next(model.begin(), static_cast<std::ptrdiff_t>(random() % model.size()));
            ASSERT_TRUE(project.deleteItem(victim->first.first, victim->second));
            model.erase(victim);
        }
    }
    ASSERT_EQ(NumbersOf(project), NumbersOf(model));
    for (const auto& [key, number] : model) {
        const ProjectRecord* record = project.findByNumber(number);
        ASSERT_NE(record, nullptr);
        EXPECT_EQ(record->number, number);
        EXPECT_EQ(project.parentOf(number), key.first);
        EXPECT_EQ(record->isoName(), key.second);
    }
    EXPECT_EQ(project.countRecords(), model.size());
}

TEST(ProjectFile, FindsItemsByNumberAndByTheNamesOfTheView) {
    ProjectFile project = EmptyProject();
    ProjectRecord record = Item(1, -1, "source", 1, 0);
    record.setIsoName("iso");
    record.setHfsName("hfs");
    project.insert(record);
    EXPECT_TRUE(project.findByName(1, "source", ProjectView::Hybrid));
    EXPECT_TRUE(project.findByName(1, "iso", ProjectView::Iso));
    EXPECT_FALSE(project.findByName(1, "ISO", ProjectView::Iso)) << "case counts";
    EXPECT_FALSE(project.findByName(1, "hfs", ProjectView::Hfs)) << "it is not in that view";
    EXPECT_TRUE(project.findByHfsName(1, "hfs")) << "any record of the folder";
    EXPECT_FALSE(project.findByHfsName(2, "hfs"));
    EXPECT_TRUE(project.findChild(1, -1));
    EXPECT_FALSE(project.findChild(18, -1));
    EXPECT_EQ(project.parentOf(-2), 0);
    EXPECT_EQ(project.countChildren(1), 1u);
    EXPECT_EQ(project.countChildren(7), 0u);
    EXPECT_TRUE(project.isFolder(kRootFolder));
    EXPECT_FALSE(project.isFolder(-1));
}

TEST(ProjectFile, NumbersBeginBehindTheReservedOnesAndAreNeverReused) {
    ProjectFile project = EmptyProject();
    EXPECT_EQ(project.giveFolderNumber("a"), 18);
    EXPECT_EQ(project.giveFileNumber(), -1);
    project.insert(Item(1, 19, "there"));
    EXPECT_EQ(project.giveFolderNumber("b"), 20) << "a number that stands in the project";
    EXPECT_EQ(project.giveFolderNumber(".!Background"), 17);
    EXPECT_EQ(project.header().lastFolder, 20) << "17 uses up no number";
    project.insert(Item(1, 17, ".!Background"));
    EXPECT_EQ(project.giveFolderNumber(".!Background"), 21) << "a second one would share children";
    ASSERT_TRUE(project.deleteItem(1, 19));
    EXPECT_EQ(project.giveFolderNumber("c"), 22);
    project.insert(Item(23, -9, "orphan"));
    EXPECT_EQ(project.giveFolderNumber("d"), 24) << "a new folder adopts no orphan";

    project.header().lastFolder = 0x7FFFFFFF;
    project.header().lastFile = 0x7FFFFFFF;
    EXPECT_EQ(project.giveFolderNumber("e"), 0);
    EXPECT_EQ(project.giveFileNumber(), 0);
    project.header().lastFolder = -5;
    project.header().lastFile = -5;
    EXPECT_EQ(project.giveFolderNumber("f"), 18);
    EXPECT_EQ(project.giveFileNumber(), -1);
}

TEST(ProjectFile, CountersStopAtTheirBounds) {
    ProjectFile project = EmptyProject();
    project.insert(Item(1, 18, "folder"));
    project.addCounters(1, 2, 3);
    project.addCounters(18, 4, 5);
    project.addCounters(18, -1, -9);
    project.addCounters(99, 1, 1);
    EXPECT_EQ(project.header().rootFolders, 2u);
    EXPECT_EQ(project.header().rootFiles, 3u);
    EXPECT_EQ(project.findByNumber(18)->dataSize, 3u);
    EXPECT_EQ(project.findByNumber(18)->resourceSize, 0u);
    project.addCounters(18, INT64_MAX, INT64_MIN);
    EXPECT_EQ(project.findByNumber(18)->dataSize, 0xFFFFFFFFu);
}

TEST(ProjectFile, ViewFlagsGoDownToAllBelowAndUpToAllAbove) {
    ProjectFile project = EmptyProject();
    project.insert(Item(1, 18, "top", 1, 0));
    project.insert(Item(18, 19, "middle", 0, 0));
    project.insert(Item(19, -1, "file", 0, 1));
    project.insert(Item(1, -2, "aside", 0, 1));
    EXPECT_EQ(project.folderView(18), ProjectView::Iso);
    EXPECT_EQ(project.folderView(kRootFolder), ProjectView::Hybrid);

    project.setViewFlagsUp(19, -1, 1);
    EXPECT_EQ(project.findByNumber(19)->isoInclusion(), -1);
    EXPECT_EQ(project.findByNumber(19)->hfsInclusion(), 1);
    EXPECT_EQ(project.findByNumber(18)->isoInclusion(), 1) << "what is set stays";
    EXPECT_EQ(project.findByNumber(18)->hfsInclusion(), 1);
    EXPECT_EQ(project.findByNumber(-1)->isoInclusion(), 0);
    EXPECT_EQ(project.folderView(18), ProjectView::Hybrid);
    project.findByNumber(18)->setHfsInclusion(0);
    project.setViewFlagsUp(19, -1, 1);
    EXPECT_EQ(project.folderView(18), ProjectView::Hybrid) << "raised again";

    project.setViewFlagsDown(18, 0, -1);
    EXPECT_EQ(project.findByNumber(18)->isoInclusion(), 1) << "the folder itself is not below it";
    EXPECT_EQ(project.findByNumber(19)->isoInclusion(), 0);
    EXPECT_EQ(project.findByNumber(-1)->hfsInclusion(), -1);
    EXPECT_EQ(project.findByNumber(-2)->hfsInclusion(), 1);
    EXPECT_EQ(project.folderView(19), ProjectView::Hfs);
}

TEST(ProjectFile, DeletionTakesAllThatLiesBelow) {
    ProjectFile project = EmptyProject();
    project.insert(Item(1, 18, "a"));
    project.insert(Item(18, 19, "b"));
    project.insert(Item(19, -1, "c"));
    project.insert(Item(1, -2, "d"));
    EXPECT_FALSE(project.deleteItem(1, 19)) << "it lies in another folder";
    EXPECT_TRUE(project.deleteItem(1, 18));
    EXPECT_EQ(NumbersOf(project), std::vector<std::int32_t>{-2});
    EXPECT_EQ(project.findByNumber(-1), nullptr);
    EXPECT_FALSE(project.deleteItem(1, 18));
}

TEST(ProjectFile, TotalsCountWholeSectorsAndContainersOfTheIsoView) {
    ProjectFile project = EmptyProject();
    ProjectRecord file = Item(1, -1, "a");
    file.dataSize = 2049;
    file.resourceSize = 1;
    file.sourceSize = 4096;
    project.insert(file);
    EXPECT_EQ(project.totals().sectors, 3u);
    file.number = -2;
    file.setBinHex(true);
    project.insert(file);
    EXPECT_EQ(project.totals().sectors, 3u + 5u);
    file.number = -3;
    file.setIsoInclusion(0);
    project.insert(file);
    EXPECT_EQ(project.totals().sectors, 3u + 5u + 3u);
    ProjectRecord folder = Item(1, 18, "f", -1, 0);
    folder.dataSize = 3;
    project.insert(folder);
    EXPECT_EQ(project.totals().sectors, 12u) << "a counter that is not 0 counts as a sector";
    folder.number = 19;
    folder.dataSize = 0xFFFFFFFF;
    project.insert(folder);
    EXPECT_EQ(project.totals().sectors, 12u + 0x200000u);
    EXPECT_EQ(project.totals().isoRecords, 4u);
    EXPECT_EQ(project.totals().hfsRecords, 3u);
}

TEST(ProjectFile, FoldersThatHoldEachOtherEndEveryWalk) {
    ProjectFile project = EmptyProject();
    project.insert(Item(19, 18, "a", 0, 0));
    project.insert(Item(18, 19, "b", 0, 0));
    project.insert(Item(20, 20, "itself", 0, 0));
    project.insert(Item(18, 1, "root", 0, 0));
    project.insert(Item(1, -1, "file", 0, 0));
    project.setViewFlagsUp(18, 1, 0);
    project.setViewFlagsUp(20, 1, 0);
    project.setViewFlagsDown(18, 0, 1);
    EXPECT_EQ(project.findByNumber(18)->hfsInclusion(), 1);
    EXPECT_EQ(project.findByNumber(-1)->hfsInclusion(), 0) << "root lies below no folder";
    EXPECT_TRUE(project.deleteItem(20, 20));
    EXPECT_TRUE(project.deleteItem(18, 19));
    EXPECT_EQ(NumbersOf(project), std::vector<std::int32_t>{-1});
}

TEST(ProjectFile, ANumberThatStandsTwiceStaysConsistent) {
    ProjectFile project = EmptyProject();
    project.insert(Item(1, -1, "b"));
    project.insert(Item(1, -1, "a"));
    project.insert(Item(18, -1, "c"));
    project.insert(Item(1, 0, "zero"));
    EXPECT_EQ(project.findByNumber(0), nullptr);
    EXPECT_EQ(project.findByNumber(-1)->isoName(), "a") << "the first of the folder";
    EXPECT_TRUE(project.deleteItem(1, -1));
    EXPECT_EQ(project.findByNumber(-1)->isoName(), "b");
    EXPECT_TRUE(project.deleteItem(1, -1));
    EXPECT_TRUE(project.deleteItem(18, -1));
    EXPECT_EQ(project.findByNumber(-1), nullptr);
    EXPECT_TRUE(project.deleteItem(1, 0));
    EXPECT_EQ(project.countRecords(), 0u);
}

TEST(ProjectFile, ManyItemsLeaveAtOnceAsTheyWouldOneByOne) {
    ProjectFile together = EmptyProject();
    for (std::int32_t i = 1; i <= 60; ++i)
        together.insert(Item(1, i % 5 ? -i : 100 + i, "n" + std::to_string(i * 37 % 60)));
    together.insert(Item(105, -500, "below a folder that leaves"));
    together.insert(Item(110, -501, "below a folder that stays"));
    ProjectFile oneByOne = together;
    const std::vector<std::int32_t> leaving = {-1, 105, -59, -31, 160, -777, -500, -1};
    const RemovedItems removed = together.deleteItems(1, leaving);
    EXPECT_EQ(removed.folders, 2);
    EXPECT_EQ(removed.files, 3) << "a number that is not there, and one that lies elsewhere";
    for (std::int32_t number : leaving)
        oneByOne.deleteItem(1, number);
    for (std::int32_t number = -501; number <= 160; ++number) {
        const ProjectRecord* record = together.findByNumber(number);
        ASSERT_EQ(record != nullptr, oneByOne.findByNumber(number) != nullptr) << number;
        EXPECT_TRUE(!record || record->number == number) << number << " has an old place";
    }
    EXPECT_EQ(together.countRecords(), 56u);
    EXPECT_EQ(together.findByNumber(-500), nullptr);
}

}  // namespace
}  // namespace vellmark
