// The sequence of records in memory: order, numbers, counters, views, and records that no honest
// program wrote.
#include "project/project_file.hpp"

#include "project/project_bench.hpp"

namespace vellmark {
namespace {

using test::EmptyProject;
using test::Item;

RemovedItems Delete(ProjectFile& project, std::int32_t parent, std::int32_t number) {
    return project.deleteItems(parent, {&number, 1});
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
    EXPECT_EQ(Delete(project, 1, 19).folders, 1);
    EXPECT_EQ(project.giveFolderNumber("c"), 22);
    project.insert(Item(23, -9, "orphan"));
    EXPECT_EQ(project.giveFolderNumber("d"), 24) << "a new folder adopts no orphan";
    for (const std::int32_t last : {0x7FFFFFFF, -5}) {
        project.header().lastFolder = last;
        project.header().lastFile = last;
        EXPECT_EQ(project.giveFolderNumber("e"), last < 0 ? 18 : 0);
        EXPECT_EQ(project.giveFileNumber(), last < 0 ? -1 : 0);
    }
}

TEST(ProjectFile, ViewFlagsGoUpToAllAbove) {
    ProjectFile project = EmptyProject();
    project.insert(Item(1, 18, "top", 1, 0));
    project.insert(Item(18, 19, "middle", 0, 0));
    project.insert(Item(19, -1, "file", 0, 1));
    const auto marks = [&] {
        std::string all;
        for (const std::int32_t number : {18, 19, -1})
            all += test::MarksOf(*project.findByNumber(number)) + " ";
        return all;
    };
    EXPECT_EQ(project.folderView(18), ProjectView::Iso);
    EXPECT_EQ(project.folderView(kRootFolder), ProjectView::Hybrid);
    project.setViewFlagsUp(19, -1, 1);
    EXPECT_EQ(marks(), "IH iH H ") << "what is set stays";
    EXPECT_EQ(project.folderView(18), ProjectView::Hybrid);
    project.findByNumber(18)->setHfsInclusion(0);
    project.setViewFlagsUp(19, -1, 1);
    EXPECT_EQ(marks(), "IH iH H ") << "raised again";
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
    EXPECT_EQ(Delete(project, 20, 20).folders, 1);
    EXPECT_EQ(Delete(project, 18, 19).folders, 1);
    EXPECT_EQ(project.countRecords(), 1u) << "the file";
}

}  // namespace
}  // namespace vellmark
