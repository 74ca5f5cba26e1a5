// The sequence of records in memory: order, numbers, counters, views, and
// records that no honest program wrote.
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

std::int64_t Delete(ProjectFile& project, std::int32_t parent, std::int32_t number) {
    const RemovedItems removed = project.deleteItems(parent, {&number, 1});
    return removed.folders + removed.files;
}

std::vector<std::int32_t> NumbersOf(const Model& model) {
    std::vector<std::int32_t> numbers;
    for (const auto& [key, number] : model)
        numbers.push_back(number);
    return numbers;
}

// Bytes above 7F are greater than letters; an equal name goes before those that
// are there.
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
            // Names that differ from each other: the order of equals inside a batch
            // is its own.
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
            ASSERT_EQ(Delete(project, victim->first.first, victim->second), 1);
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
    ASSERT_EQ(Delete(project, 1, 19), 1);
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

TEST(ProjectFile, ViewFlagsGoUpToAllAbove) {
    ProjectFile project = EmptyProject();
    project.insert(Item(1, 18, "top", 1, 0));
    project.insert(Item(18, 19, "middle", 0, 0));
    project.insert(Item(19, -1, "file", 0, 1));
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
}

TEST(ProjectFile, TotalsCountWholeSectorsAndContainersOfTheIsoView) {
    ProjectFile project = EmptyProject();
    ProjectRecord file = Item(1, -1, "a");
    file.dataSize = 2049;
    file.resourceSize = 1;
    file.sourceSize = 4096;
    std::uint64_t sectors = 0;
    for (const int more : {3, 5, 3}) {
        project.insert(file);
        sectors += static_cast<std::uint64_t>(more);
        EXPECT_EQ(project.totals().sectors, sectors);
        file.number = file.number - 1;
        file.setBinHex(true);
        file.setIsoInclusion(file.number == -2);  // a container of the ISO view counts twice
    }
    ProjectRecord folder = Item(1, 18, "f", -1, 0);
    folder.dataSize = 0xFFFFFFFF;  // a counter that is not 0 counts as length
    project.insert(folder);
    EXPECT_EQ(project.totals().sectors, sectors + 0x200000u);
    EXPECT_EQ(project.totals().isoRecords, 3u);
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
    EXPECT_EQ(project.findByNumber(19)->isoInclusion(), 1);
    EXPECT_EQ(Delete(project, 20, 20), 1);
    EXPECT_EQ(Delete(project, 18, 19), 1);
    EXPECT_EQ(NumbersOf(project), std::vector<std::int32_t>{-1});
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
        (void)Delete(oneByOne, 1, number);
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
