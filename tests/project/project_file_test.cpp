// Records of a project and their sequence in memory, and project files as bytes: what is written,
// what is read back, what is refused.
#include "project/project_file.hpp"

#include <sys/stat.h>

#include <random>

#include "project/project_bench.hpp"
#include "project/project_folders.hpp"
#include "project/view_names.hpp"

namespace vellmark::test {
namespace {

template <typename Record>
std::string BytesOf(const Record& record, std::size_t from, std::size_t count) {
    return {reinterpret_cast<const char*>(&record) + from, count};
}

TEST(ProjectRecord, EachMarkHasItsBitAndEachTextItsLimit) {
    ProjectRecord record = Item(0x04030201, -2, std::string(300, 's'), 1, -1);
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
    EXPECT_EQ(BytesOf(record, 102, 10), "TYPEcrea" + Zeros(2));
    EXPECT_EQ(BytesOf(record, 112, 256), std::string(255, 'p') + Zeros(1));
    EXPECT_EQ(BytesOf(record, 368, 256), std::string(243, 's') + '\0' + std::string(12, 's'));
    EXPECT_EQ(MarksOf(record), "IhlukSMm");

    record = Item(1, -2, "x", 1, 0);
    record.setAppleDouble(true);
    record.setHiddenExtension(true);
    record.setHiddenInIso(true);
    record.setHfsNameLocked(true);
    record.setRefresh(true);
    record.setBinHex(true);
    record.setShortNameFlag(true);
    record.setCoding(ForkCoding::NamedStreams);
    EXPECT_EQ(BytesOf(record, 12, 4), "\x01\x28\xA2\x19");
    EXPECT_EQ(MarksOf(record), "ILDBpx");
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

class ProjectFolders : public ::testing::Test {
  protected:
    ScriptedMessages messages_;
    FixedClock clock_{1'000'000'000, 3600};
    NewFolderOptions options_{clock_};
};

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
    for (const std::string& name : {std::string(), std::string(".."), std::string("a/b"),
                                    std::string("日"), std::string(kSourceNameLimit + 1, 'n')})
        EXPECT_EQ(NewFolder(project, name, 1, options_, messages_), 0) << name;
    const ProjectRecord& one = *project.findByNumber(18);
    EXPECT_EQ(LineOf(project, one), "one I 1/0");
    EXPECT_EQ(one.accessPath(), "..");
    // 2001-09-09 01:46:40 GMT, an hour later in this zone, since 1904.
    EXPECT_EQ(one.created, 1'000'000'000u + 2'082'844'800u + 3600u);
    EXPECT_EQ(one.modified, one.created);
    options_.view = ProjectView::Hfs;
    EXPECT_EQ(NewPathFolder(project, "one/two", options_, messages_), 19) << "taken into the view";
    EXPECT_EQ(MarksOf(*project.findByNumber(18)), "IH");
    EXPECT_EQ(MarksOf(*project.findByNumber(20)), "I");
    // What comes into a view brings all folders above it.
    options_.view = ProjectView::Iso;
    ASSERT_EQ(NewPathFolder(project, "a/b/c", options_, messages_), 23);
    project.setViewFlagsUp(23, 0, 1);
    for (const std::int32_t number : {21, 22, 23})
        EXPECT_EQ(MarksOf(*project.findByNumber(number)), "IH") << number;
}

class ProjectStorage : public ::testing::Test {
  protected:
    [[nodiscard]] std::string at(std::string_view name) const {
        return folder_.path() + "/" + std::string(name);
    }
    ProjectOpened open(std::string_view name) {
        return ProjectFile::Open(at(name), ProjectMode::Hybrid, messages_, project_);
    }

    TemporaryFolder folder_;
    ScriptedMessages messages_;
    std::optional<ProjectFile> project_;
};

TEST_F(ProjectStorage, SavingBringsTotalsAndCountsUpToDate) {
    ProjectFile project = ProjectFile::Create(at("a.vlpr"), ProjectMode::Hybrid, {});
    ProjectRecord file = Item(1, -1, "b", 1, 0);
    file.dataSize = 5000;
    project.insert(file);
    ProjectRecord box = Item(1, -2, "a", 1, 1);  // a container of the ISO view counts twice
    box.dataSize = 2049;
    box.resourceSize = 1;
    box.sourceSize = 4096;
    box.setBinHex(true);
    project.insert(box);
    project.insert(Item(18, -3, "z", 0, 1));
    project.insert(Item(1, 18, "c", 1, 1));
    ASSERT_TRUE(project.save(messages_));
    const std::string bytes = Bytes(at("a.vlpr"));
    ASSERT_EQ(bytes.size(), 5u * 756u);
    EXPECT_EQ(bytes.substr(24, 8), Zeros(8).replace(0, 1, "\3").replace(4, 1, "\3"));
    EXPECT_EQ(bytes.substr(616, 8), '\10' + Zeros(7)) << "sectors: 3 and 2 + 1 + 2";
    std::string names;
    for (std::size_t record = 756; record < bytes.size(); record += 756)
        names += bytes[record + 624];
    EXPECT_EQ(names, "abcz");
    ASSERT_EQ(open("a.vlpr"), ProjectOpened::Opened);
    ASSERT_TRUE(project_->save(messages_));
    EXPECT_EQ(Bytes(at("a.vlpr")), bytes) << "opening and saving changes nothing";
    for (int i = 0; i < 2; ++i)  // the second one replaces the first
        EXPECT_EQ(Bytes(BackUpProject(at("a.vlpr"))), bytes);
}

TEST_F(ProjectStorage, WhatIsNoProjectIsRefusedByName) {
    const std::string good = "VLKZ" + Zeros(752);
    Write(at("huge"), good);
    std::filesystem::resize_file(at("huge"), 756ull * (kMostProjectRecords + 2));
    Write(at("empty"), "");
    Write(at("older"), "VLKY" + good.substr(4));
    Write(at("shorter"), good.substr(0, 700));
    const std::tuple<const char*, ProjectOpened, const char*> rows[] = {
        {"empty", ProjectOpened::NotAProject, "is not recognized as a project file"},
        {"older", ProjectOpened::OlderProject, "not a correct project file"},
        {"shorter", ProjectOpened::Cut, "length of 700 bytes"},
        {"huge", ProjectOpened::TooLarge, "items"},  // told by its length: nothing is read
        {"absent", ProjectOpened::CannotOpen, ""},
        {".", ProjectOpened::CannotOpen, ""}};
    for (const auto& [name, result, words] : rows) {
        messages_.shown.clear();
        EXPECT_EQ(open(name), result) << name;
        EXPECT_FALSE(project_);
        ASSERT_EQ(messages_.shown.size(), 1u);
        EXPECT_NE(messages_.shown[0].find(words), std::string::npos) << messages_.shown[0];
        EXPECT_NE(messages_.shown[0].find(at(name)), std::string::npos);
    }
    ASSERT_EQ(::mkfifo(at("pipe").c_str(), 0600), 0);
    EXPECT_NE(open("pipe"), ProjectOpened::Opened) << "nor is it waited for";
}

TEST_F(ProjectStorage, AnyBytesBehindAGoodHeaderAreSafeToWorkWith) {
    std::mt19937 random(756);
    for (int round = 0; round < 20; ++round) {
        std::string bytes(756 * 60, '\0');
        for (char& c : bytes)
            c = static_cast<char>(random());
        bytes.replace(0, 4, "VLKZ");
        // Small numbers, so that they meet: items in themselves, twice, and without a folder.
        for (std::size_t at = 756; at < bytes.size(); at += 756)
            for (const std::size_t field : {0, 4})
                bytes.replace(at + field, 4, static_cast<char>(random() % 24) + Zeros(3));
        Write(at("wild.vlpr"), bytes);
        ASSERT_EQ(open("wild.vlpr"), ProjectOpened::Opened);
        RedoNamesForHfsPlus(*project_);
        RedoNamesForHfs(*project_);
        ASSERT_TRUE(project_->save(messages_));
        for (std::int32_t parent = 0; parent < 25; ++parent) {
            project_->setViewFlagsUp(parent, 1, -1);
            project_->addCounters(parent, 1, 1);
            (void)project_->folderView(parent);
            while (!project_->childrenOf(parent).empty()) {
                const std::int32_t number = project_->childrenOf(parent)[0].number;
                (void)project_->deleteItems(parent, {&number, 1});
            }
        }
        EXPECT_EQ(project_->countRecords(), 0u);
    }
}

TEST_F(ProjectStorage, IsOnesAtATimeAndSavedOnlyOverWhatWasRead) {
    ASSERT_TRUE(ProjectFile::Create(at("a.vlpr"), ProjectMode::Hybrid, {}).save(messages_));
    EXPECT_FALSE(ProjectFile::Create(at("a.vlpr"), ProjectMode::Hybrid, {}, {.mayReplace = false})
                     .save(messages_));
    EXPECT_FALSE(ProjectFile::Create("/sys/a.vlpr", ProjectMode::Hybrid, {}).save(messages_));
    std::optional<ProjectFile> held;
    ASSERT_EQ(ProjectFile::Open(at("a.vlpr"), ProjectMode::Hybrid, messages_, held,
                                {LockKind::Exclusive}),
              ProjectOpened::Opened);
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(open("a.vlpr"), ProjectOpened::CannotOpen) << i;
        EXPECT_FALSE(ProjectFile::Create(at("a.vlpr"), ProjectMode::Hybrid, {}).save(messages_));
        EXPECT_TRUE(held->save(messages_)) << "the lock goes over to the new file";
    }
    // A program that knows nothing of locks.
    Write(at("a.vlpr"), Bytes(at("a.vlpr")) + std::string(756, 'x'));
    EXPECT_FALSE(held->save(messages_));
    EXPECT_EQ(Bytes(at("a.vlpr")).size(), 2u * 756u);
}

}  // namespace
}  // namespace vellmark::test
