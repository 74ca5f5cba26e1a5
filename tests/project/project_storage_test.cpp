// Project files as bytes: what is written, what is read back, what is refused.
#include <gtest/gtest.h>

#include <fmt/core.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>
#include <random>

#include "project/project_bench.hpp"
#include "project/view_names.hpp"

namespace vellmark {
namespace {

using test::Bytes;
using test::Item;
using test::ScriptedMessages;
using test::Write;

class ProjectStorage : public testing::Test {
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
    project.insert(Item(1, -2, "a", 1, 1));
    project.insert(Item(18, -3, "z", 0, 1));
    project.insert(Item(1, 18, "c", 1, 1));
    ASSERT_TRUE(project.save(messages_));
    const std::string bytes = Bytes(at("a.vlpr"));
    ASSERT_EQ(bytes.size(), 5u * 756u);
    EXPECT_EQ(bytes[24], 3);
    EXPECT_EQ(bytes[28], 3);
    EXPECT_EQ(bytes.substr(616, 8), std::string("\x03\0\0\0\0\0\0\0", 8));
    std::string names;
    for (std::size_t i = 1; i < 5; ++i)
        names += bytes[i * 756 + 624];
    EXPECT_EQ(names, "abcz");

    ASSERT_EQ(open("a.vlpr"), ProjectOpened::Opened);
    EXPECT_EQ(project_->childrenOf(1).size(), 3u);
    ASSERT_TRUE(project_->save(messages_));
    EXPECT_EQ(Bytes(at("a.vlpr")), bytes) << "opening and saving changes nothing";

    ProjectFile isoPlus = ProjectFile::Create(at("a.vlso"), ProjectMode::IsoPlus, {});
    isoPlus.insert(file);
    ASSERT_TRUE(isoPlus.save(messages_));
    EXPECT_EQ(Bytes(at("a.vlso"))[28], 0) << "an ISO+ project keeps no counts";
    EXPECT_EQ(Bytes(at("a.vlso"))[616], 3);
}

TEST_F(ProjectStorage, WhatIsNoProjectIsRefusedByName) {
    std::string good(756, '\0');
    good.replace(0, 4, "VLKZ");
    const struct {
        std::string bytes;
        ProjectOpened result;
        std::string_view words;
    } cases[] = {
        {"", ProjectOpened::NotAProject, "is not recognized as a project file"},
        {"VLX" + good.substr(3), ProjectOpened::NotAProject, "is not recognized"},
        {"VLKY" + good.substr(4), ProjectOpened::OlderProject, "not a correct project file"},
        {good + "x", ProjectOpened::Cut, "length of 757 bytes"},
        {good.substr(0, 700), ProjectOpened::Cut, "length of 700 bytes"},
    };
    for (const auto& c : cases) {
        Write(at("bad.vlpr"), c.bytes);
        messages_.shown.clear();
        EXPECT_EQ(open("bad.vlpr"), c.result);
        EXPECT_FALSE(project_);
        ASSERT_EQ(messages_.shown.size(), 1u);
        EXPECT_NE(messages_.shown[0].find(c.words), std::string::npos) << messages_.shown[0];
        EXPECT_NE(messages_.shown[0].find("bad.vlpr"), std::string::npos);
    }
    messages_.shown.clear();
    EXPECT_EQ(open("absent.vlpr"), ProjectOpened::CannotOpen);
    EXPECT_EQ(open("."), ProjectOpened::CannotOpen);
    EXPECT_EQ(messages_.shown.size(), 2u);
    ASSERT_EQ(::mkfifo(at("pipe").c_str(), 0600), 0);
    EXPECT_NE(open("pipe"), ProjectOpened::Opened);
    // More items than a project may have, told by the length alone: nothing of it
    // is read.
    Write(at("huge.vlpr"), good);
    std::filesystem::resize_file(at("huge.vlpr"), 756ull * (kMostProjectRecords + 2));
    EXPECT_EQ(open("huge.vlpr"), ProjectOpened::TooLarge);
}

TEST_F(ProjectStorage, AnyBytesBehindAGoodHeaderAreSafeToWorkWith) {
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    for (int round = 0; round < 20; ++round) {
        std::string bytes(756 * 60, '\0');
        for (char& c : bytes)
            c = static_cast<char>(random());
        bytes.replace(0, 4, "VLKZ");
        // Small numbers, so that they meet: items in themselves, twice, and without
        // a folder.
        for (std::size_t i = 1; i < 60; ++i) {
            bytes.replace(i * 756, 8, std::string(8, '\0'));
            bytes[i * 756] = static_cast<char>(random() % 24);
            bytes[i * 756 + 4] = static_cast<char>(random() % 24);
        }
        Write(at("wild.vlpr"), bytes);
        ASSERT_EQ(open("wild.vlpr"), ProjectOpened::Opened);
        ProjectFile& project = *project_;
        for (std::int32_t number = -1; number < 25; ++number) {
            project.setViewFlagsUp(number, 1, -1);
            project.addCounters(number, 1, 1);
            (void)project.folderView(number);
        }
        RedoNamesForHfsPlus(project);
        RedoNamesForHfs(project);
        ASSERT_TRUE(project.save(messages_));
        EXPECT_EQ(Bytes(at("wild.vlpr")).size(), bytes.size());
        for (std::int32_t parent = 0; parent < 25; ++parent)
            while (!project.childrenOf(parent).empty()) {
                const std::int32_t number = project.childrenOf(parent)[0].number;
                ASSERT_GT(project.deleteItems(parent, {&number, 1}).files + 1, 0);
            }
        EXPECT_EQ(project.countRecords(), 0u);
        EXPECT_GE(project.giveFolderNumber("n"), 0);
    }
}

TEST_F(ProjectStorage, MoreItemsThanHfsHoldsMakeAnHfsPlusProject) {
    for (const std::uint32_t count : {kMostHfsRecords, kMostHfsRecords + 1}) {
        ProjectFile project = ProjectFile::Create(at("many.vlpr"), ProjectMode::Hybrid, {});
        project.header().setHfsLabel("Caf\x8E");
        ProjectFile::Run run;
        for (std::uint32_t i = 1; i <= count; ++i)
            run.push_back(Item(1, -static_cast<std::int32_t>(i), fmt::format("{:06}", i)));
        run[0].setSourceName(std::string(40, 's'));
        run[0].setHfsName("short");
        project.mergeChildren(1, std::move(run));
        messages_.shown.clear();
        ASSERT_TRUE(project.save(messages_));
        const bool over = count > kMostHfsRecords;
        EXPECT_EQ(project.header().isHfsPlus(), over);
        EXPECT_EQ(messages_.shown.size(), over ? 1u : 0u);
        EXPECT_EQ(project.findByNumber(-1)->hfsName(), over ? std::string(40, 's') : "short");
        EXPECT_EQ(project.header().hfsLabel(), over ? "Caf\xE9" : "Caf\x8E");
        EXPECT_EQ(project.header().hfsRecords, count);
    }
}

TEST_F(ProjectStorage, ASaveThatEndsInTheMiddleLeavesTheOldFileAndNoOther) {
    ProjectFile project = ProjectFile::Create(at("a.vlpr"), ProjectMode::Hybrid, {});
    ASSERT_TRUE(project.save(messages_));
    const std::string before = Bytes(at("a.vlpr"));
    for (std::int32_t i = 1; i < 5; ++i)
        project.insert(Item(1 + i, -i, "item"));

    rlimit old{};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &old), 0);
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    for (const rlim_t room : {0u, 756u, 5u * 756u - 1u}) {
        const rlimit limit = {room, old.rlim_max};
        ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
        const bool saved = project.save(messages_);
        ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &old), 0);
        EXPECT_FALSE(saved) << room;
        EXPECT_EQ(Bytes(at("a.vlpr")), before) << room;
    }
    (void)std::signal(SIGXFSZ, handler);
    EXPECT_EQ(messages_.shown.size(), 3u);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder_.path()), {}), 1);
    EXPECT_TRUE(project.save(messages_));
    EXPECT_EQ(Bytes(at("a.vlpr")).size(), 5u * 756u);
}

TEST_F(ProjectStorage, SaveAsAsksBeforeItTakesThePlaceOfAnother) {
    ProjectFile project = ProjectFile::Create(at("vlpr.vlpr"), ProjectMode::Hybrid, {});
    project.insert(Item(1, -1, "a"));
    Write(at("other.vlpr"), "precious");
    messages_.yesNo = {false};
    EXPECT_FALSE(project.saveAs(at("other.vlpr"), messages_));
    EXPECT_EQ(Bytes(at("other.vlpr")), "precious");
    EXPECT_EQ(project.path(), at("vlpr.vlpr"));

    messages_.yesNo = {true};
    EXPECT_TRUE(project.saveAs(at("other.vlpr"), messages_));
    EXPECT_EQ(Bytes(at("other.vlpr")).size(), 2u * 756u);
    EXPECT_FALSE(std::filesystem::exists(at("vlpr.vlpr"))) << "the default name is given up";
    EXPECT_TRUE(project.saveAs(at("third.vlpr"), messages_));
    EXPECT_TRUE(std::filesystem::exists(at("other.vlpr"))) << "a name of one's own stays";
    EXPECT_TRUE(project.saveAs(at("third.vlpr"), messages_)) << "on itself: a plain save";
    EXPECT_EQ(messages_.questions.size(), 2u);
}

TEST_F(ProjectStorage, IsOnesAtATimeAndSavedOnlyOverWhatWasRead) {
    ASSERT_TRUE(ProjectFile::Create(at("a.vlpr"), ProjectMode::Hybrid, {}, {.mayReplace = false})
                    .save(messages_));
    EXPECT_FALSE(ProjectFile::Create(at("a.vlpr"), ProjectMode::Hybrid, {}, {.mayReplace = false})
                     .save(messages_));
    const auto openToSave = [this](std::optional<ProjectFile>& project) {
        return ProjectFile::Open(at("a.vlpr"), ProjectMode::Hybrid, messages_, project,
                                 {LockKind::Exclusive});
    };
    std::optional<ProjectFile> other;
    ASSERT_EQ(openToSave(other), ProjectOpened::Opened);
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(open("a.vlpr"), ProjectOpened::CannotOpen) << i;
        EXPECT_NE(messages_.shown.back().find("another process"), std::string::npos);
        EXPECT_FALSE(ProjectFile::Create(at("a.vlpr"), ProjectMode::Hybrid, {}).save(messages_));
        other->insert(Item(1, -1 - i, "a"));
        EXPECT_TRUE(other->save(messages_)) << "the lock goes over to the new file";
    }
    // A program that knows nothing of locks.
    Write(at("a.vlpr"), Bytes(at("a.vlpr")) + std::string(756, 'x'));
    EXPECT_FALSE(other->save(messages_));
    EXPECT_EQ(Bytes(at("a.vlpr")).size(), 4u * 756u);
    other.reset();
    ASSERT_EQ(open("a.vlpr"), ProjectOpened::Opened);
    EXPECT_EQ(openToSave(other), ProjectOpened::CannotOpen) << "while it is read";
}

TEST_F(ProjectStorage, TheBackupBearsTheExtensionBak) {
    Write(at("dir.x/a.vlpr"), "VLKZ new");
    Write(at("dir.x/plain"), "VLKZ");
    Write(at("dir.x/a.BAK"), "VLKZ old");
    EXPECT_EQ(BackUpProject(at("dir.x/a.vlpr")), at("dir.x/a.BAK"));
    EXPECT_EQ(Bytes(at("dir.x/a.BAK")), "VLKZ new");
    EXPECT_EQ(BackUpProject(at("dir.x/a.BAK")), at("dir.x/a.BAK.1")) << "not its own backup";
    EXPECT_EQ(BackUpProject(at("absent.vlpr")), "");
    std::filesystem::create_symlink("a.vlpr", at("dir.x/plain.BAK"));
    Write(at("dir.x/plain.BAK.1"), "VL");
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(BackUpProject(at("dir.x/plain")), at("dir.x/plain.BAK.2")) << "its own goes";
    EXPECT_EQ(Bytes(at("dir.x/plain.BAK.1")), "VL");
    EXPECT_TRUE(std::filesystem::is_symlink(at("dir.x/plain.BAK")));
}

}  // namespace
}  // namespace vellmark
