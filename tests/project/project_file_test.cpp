// Records and their sequence in memory: bits and limits, numbers, counters, views, folders of the
// project alone, and records that no honest program wrote.
#include "project/project_file.hpp"

#include "project/project_bench.hpp"
#include "project/project_folders.hpp"

namespace vellmark {
namespace {

using test::EmptyProject;
using test::Item;
using test::LineOf;

template <typename Record>
std::string BytesOf(const Record& record, std::size_t from, std::size_t count) {
    return {reinterpret_cast<const char*>(&record) + from, count};
}

TEST(ProjectRecord, EachMarkHasItsBitAndEachTextItsLimit) {
    ProjectRecord record = test::Item(0x04030201, -2, std::string(300, 's'), 1, -1);
    record.setUnicodeOnDisk(true);
    record.setAppleSingle(true);
    record.setMacBinary(true);
    record.setHiddenInHfs(true);
    record.setIsoNameLocked(true);
    record.setCustomIcon(true);
    record.setCoding(ForkCoding::BinHex);
    record.setSignature("TYPEcrea!");
    record.setAccessPath(std::string(300, 'p'));
    EXPECT_EQ(BytesOf(record, 0, 8), "\1\2\3\4\xFE\xFF\xFF\xFF");
    EXPECT_EQ(BytesOf(record, 12, 4), "\x01\x17\x49\x44");
    EXPECT_EQ(BytesOf(record, 102, 10), "TYPEcrea" + test::Zeros(2));
    EXPECT_EQ(BytesOf(record, 112, 256), std::string(255, 'p') + test::Zeros(1));
    EXPECT_EQ(BytesOf(record, 368, 256), std::string(243, 's') + '\0' + std::string(12, 's'));
    EXPECT_EQ(test::MarksOf(record), "IhlukSMm");

    record = test::Item(1, -2, "x", 1, 0);
    record.setAppleDouble(true);
    record.setHiddenExtension(true);
    record.setHiddenInIso(true);
    record.setHfsNameLocked(true);
    record.setRefresh(true);
    record.setBinHex(true);
    record.setShortNameFlag(true);
    record.setCoding(ForkCoding::NamedStreams);
    EXPECT_EQ(BytesOf(record, 12, 4), "\x01\x28\xA2\x19");
    EXPECT_EQ(test::MarksOf(record), "ILDBpx");
    // A field without an end, as a damaged file may hold it.
    std::fill_n(reinterpret_cast<char*>(&record), sizeof record, 'y');
    EXPECT_EQ(record.hfsName().size(), 64u);
    EXPECT_EQ(record.signature().size(), 8u);

    ProjectHeader header;
    header.setHfsPlus(true);
    header.setOpenRoot(true);
    header.setRebuildBeforeCompile(true);
    header.setCustomIcon(true);
    EXPECT_EQ(BytesOf(header, 13, 3), "\x01\x21\x04");
}

TEST(ProjectFile, NumbersBeginBehindTheReservedOnesAndAreNeverReused) {
    ProjectFile project = EmptyProject();
    EXPECT_EQ(project.giveFolderNumber("a"), 18);
    EXPECT_EQ(project.giveFileNumber(), -1);
    project.insert(Item(1, 19, "there"));
    EXPECT_EQ(project.giveFolderNumber("b"), 20) << "a number that stands in the project";
    EXPECT_EQ(project.giveFolderNumber(".!Background"), 17);
    project.insert(Item(1, 17, ".!Background"));
    EXPECT_EQ(project.giveFolderNumber(".!Background"), 21) << "a second one would share children";
    project.insert(Item(22, -9, "orphan"));
    EXPECT_EQ(project.giveFolderNumber("d"), 23) << "a new folder adopts no orphan";
    for (const std::int32_t last : {0x7FFFFFFF, -5}) {
        project.header().lastFolder = last;
        project.header().lastFile = last;
        EXPECT_EQ(project.giveFolderNumber("e"), last < 0 ? 18 : 0);
        EXPECT_EQ(project.giveFileNumber(), last < 0 ? -1 : 0);
    }
}

class ProjectFolders : public testing::Test {
  protected:
    test::ScriptedMessages messages_;
    FixedClock clock_{1'000'000'000, 3600};
    NewFolderOptions options_{clock_};
};

TEST_F(ProjectFolders, ANewFolderHasNowForItsDatesAndTheViewsOfTheView) {
    const std::tuple<ProjectView, ProjectMode, const char*> rows[] = {
        {ProjectView::Iso, ProjectMode::Hybrid, "été I 0/0"},
        {ProjectView::Hybrid, ProjectMode::Hybrid, "été IH 0/0"},
        {ProjectView::Hfs, ProjectMode::Hybrid, "été H 0/0"},
        {ProjectView::Hybrid, ProjectMode::IsoPlus, "été I 0/0"}};
    for (const auto& [view, mode, line] : rows) {
        ProjectFile project = EmptyProject(false, mode);
        options_.view = view;
        ASSERT_EQ(NewFolder(project, "été", 1, options_, messages_), 18);
        const ProjectRecord& record = *project.findByNumber(18);
        EXPECT_EQ(LineOf(project, record), line);
        EXPECT_EQ(record.accessPath(), "..");
        // 2001-09-09 01:46:40 GMT, an hour later in this zone, since 1904.
        EXPECT_EQ(record.created, 1'000'000'000u + 2'082'844'800u + 3600u);
        EXPECT_EQ(record.modified, record.created);
        for (const std::string& name : {std::string(), std::string(".."), std::string("a/b"),
                                        std::string("日"), std::string("été")})
            EXPECT_EQ(NewFolder(project, name, 1, options_, messages_), 0) << name;
        EXPECT_EQ(std::exchange(messages_.shown, {}).size(), 5u);
    }
}

TEST_F(ProjectFolders, APathMakesOnlyWhatIsMissing) {
    ProjectFile project = EmptyProject();
    project.insert(Item(1, -1, "file"));
    options_.view = ProjectView::Iso;
    // Names are looked at before any is made, and a file is no folder.
    const std::pair<const char*, std::int32_t> made[] = {
        {"\\one\\two", 19},   {"one/./two//three/", 20}, {"one/two", 19}, {"", 1},
        {".!Background", 17}, {"new/../x", 0},           {"file/x", 0}};
    for (const auto& [path, number] : made)
        EXPECT_EQ(NewPathFolder(project, path, options_, messages_), number) << path;
    EXPECT_EQ(messages_.shown.size(), 2u);
    const std::pair<const char*, std::int32_t> there[] = {
        {"/one/two/three", 20}, {"", 1}, {"one/Two", 0}, {"new", 0}, {"file", 0}};
    for (const auto& [path, number] : there)
        EXPECT_EQ(FindFolderByPath(project, path), number) << path;
    options_.view = ProjectView::Hfs;
    EXPECT_EQ(NewPathFolder(project, "one/two", options_, messages_), 19) << "taken into the view";
    EXPECT_EQ(test::MarksOf(*project.findByNumber(18)), "IH");
    EXPECT_EQ(test::MarksOf(*project.findByNumber(20)), "I");
    // What comes into a view brings all folders above it.
    options_.view = ProjectView::Iso;
    ASSERT_EQ(NewPathFolder(project, "a/b/c", options_, messages_), 23);
    project.setViewFlagsUp(23, 0, 1);
    for (const std::int32_t number : {21, 22, 23})
        EXPECT_EQ(test::MarksOf(*project.findByNumber(number)), "IH") << number;
}

}  // namespace
}  // namespace vellmark
