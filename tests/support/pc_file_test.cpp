// Files of the PC: what a failure leaves behind, what takes an older file's place and when, and who
// else is kept out meanwhile.
#include "support/pc_file.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "support/file_lock.hpp"

namespace {
// Paths of what was handed to the device, in this order.
std::vector<std::string> handedOver;
}  // namespace

// Stands in front of the system's call, whose effect nothing but a power cut shows.
extern "C" int fsync(int descriptor) {
    handedOver.push_back(
        std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(descriptor)).string());
    return static_cast<int>(::syscall(SYS_fsync, descriptor));
}

namespace vellmark {
namespace {

namespace fs = std::filesystem;
using Bytes = std::vector<std::uint8_t>;

Bytes Ramp(std::size_t size) {
    Bytes bytes(size);
    for (std::size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<std::uint8_t>(i * 31 + i / 256);
    return bytes;
}

Bytes Contents(const std::string& path) {
    PcFile file(path, PcFile::Mode::Read);
    Bytes bytes(file.size() + 1);
    bytes.resize(file.readAt(0, bytes));
    return bytes;
}

class PcFiles : public ::testing::Test {
  protected:
    std::string at(const std::string& name) { return folder_.path() + "/" + name; }
    std::string make(const std::string& name, const Bytes& bytes) {
        EXPECT_TRUE(PcFile(at(name), PcFile::Mode::CreateTruncate).writeAt(0, bytes));
        return at(name);
    }
    // Names in the folder, hidden ones included.
    std::size_t count() {
        const fs::directory_iterator all(folder_.path());
        return static_cast<std::size_t>(std::distance(begin(all), end(all)));
    }
    TemporaryFolder folder_;
};

TEST_F(PcFiles, ReadsAndWritesAtAnyOffset) {
    PcFile file(make("a", Ramp(100)), PcFile::Mode::ReadWrite);
    Bytes ten(10);
    EXPECT_EQ(file.readAt(95, ten), 5u) << "the end is no failure";
    EXPECT_EQ(file.readAt(1ull << 40, ten), 0u);
    EXPECT_EQ(file.error(), 0);
    EXPECT_TRUE(file.writeAt(5'000'000'000, Bytes{7}));
    EXPECT_TRUE(file.readExactly(4'999'999'991, ten));
    EXPECT_EQ(ten, (Bytes{0, 0, 0, 0, 0, 0, 0, 0, 0, 7}));
    EXPECT_TRUE(file.setSize(3) && file.setSize(5) && file.flush());
    Bytes expected = Ramp(3);
    expected.resize(5);
    EXPECT_EQ(Contents(at("a")), expected);
}

TEST_F(PcFiles, TheFirstFailureIsKept) {
    PcFile file(make("a", Ramp(10)), PcFile::Mode::Read);
    EXPECT_FALSE(file.writeAt(0, Bytes{1}));
    EXPECT_FALSE(file.setSize(1));
    Bytes byte(1);
    EXPECT_EQ(file.readAt(9, byte), 1u);
    EXPECT_EQ(file.error(), EBADF) << "a later success or failure does not replace it";
    EXPECT_EQ(file.failure().words(Language::English), "Bad file descriptor");
    PcFile closed;
    EXPECT_FALSE(closed.writeAt(0, byte));
    EXPECT_NE(closed.error(), 0);
    PcFile full("/dev/full", PcFile::Mode::ReadWrite);
    EXPECT_FALSE(full.writeAt(0, Bytes(10)));
    EXPECT_EQ(full.error(), ENOSPC);
}

TEST_F(PcFiles, CopiesRangesAndSaysHowFarItCame) {
    constexpr std::size_t kSize = 5'000'000;
    PcFile from(make("from", Ramp(kSize)), PcFile::Mode::Read);
    PcFile to(make("to", Ramp(4)), PcFile::Mode::ReadWrite);
    EXPECT_EQ(to.copyFrom(from, 1000, 4, kSize), kSize - 1000) << "the source ends first";
    Bytes expected = Ramp(4);
    const Bytes all = Ramp(kSize);
    expected.insert(expected.end(), all.begin() + 1000, all.end());
    EXPECT_TRUE(Contents(at("to")) == expected);
    // What the system cannot copy by itself.
    PcFile zeros("/dev/zero", PcFile::Mode::Read);
    EXPECT_EQ(to.copyFrom(zeros, 0, 8, 3'000'000), 3'000'000u);
    std::fill_n(expected.begin() + 8, 3'000'000, std::uint8_t{0});
    EXPECT_TRUE(Contents(at("to")) == expected);
    PcFile readOnly(at("to"), PcFile::Mode::Read);
    EXPECT_EQ(readOnly.copyFrom(from, 0, 0, 10), 0u);
    EXPECT_NE(readOnly.error(), 0);
    EXPECT_EQ(from.error(), 0);
}

TEST_F(PcFiles, ATargetAppearsOnlyWhenItIsPublished) {
    make("old", Ramp(5));
    {
        TargetFile target(at("old"));
        EXPECT_TRUE(target.file().writeAt(0, Ramp(9)));
        EXPECT_EQ(target.publish(false, false), EEXIST);
        EXPECT_EQ(Contents(at("old")), Ramp(5));
    }
    EXPECT_EQ(count(), 1u) << "what was not published is removed";
    {
        TargetFile target(at("old"));
        ASSERT_FALSE(target.file().setSize(~std::uint64_t{0}));
        EXPECT_TRUE(target.file().writeAt(0, Ramp(9)));
        EXPECT_EQ(target.publish(true, false), target.file().error()) << "a transfer failed";
        EXPECT_EQ(Contents(at("old")), Ramp(5));
    }
    {
        TargetFile target(at("old"));
        EXPECT_TRUE(target.file().writeAt(0, Ramp(9)));
        EXPECT_EQ(target.publish(true, false), 0);
    }
    EXPECT_EQ(Contents(at("old")), Ramp(9));
    const std::string longest(255, 'n');
    TargetFile target(at(longest));
    TargetFile other(at(longest));
    EXPECT_EQ(target.publish(false, false), 0);
    EXPECT_EQ(other.publish(false, false), EEXIST) << "the second of two writers";
    EXPECT_EQ(TargetFile(at("no/new")).publish(true, false), ENOENT);
}

// Where an older file goes, or the new one is to last: the bytes before their name, then the name.
TEST_F(PcFiles, WhatIsPublishedIsOnTheDeviceBeforeItsName) {
    for (const bool exists : {false, true})
        for (const bool durable : {false, true}) {
            const std::string path = at(exists ? "old" : durable ? "new" : "passing");
            if (exists)
                make("old", Ramp(5));
            TargetFile target(path);
            const std::string temporary = target.file().path();
            handedOver.clear();
            EXPECT_EQ(target.publish(exists, durable), 0);
            std::vector<std::string> expected;
            if (exists || durable)
                expected.push_back(temporary);
            if (durable)
                expected.push_back(folder_.path());
            EXPECT_EQ(handedOver, expected) << exists << durable;
        }
}

// 999999999 is above any process.
TEST_F(PcFiles, WhatKilledRunsLeftIsRemovedAndNothingElse) {
    for (const char* name : {".vellmark-999999999-0.tmp", ".vellmark-1-3.tmp", "mine.tmp",
                             ".vellmark-999999999-kept.tmp", ".vellmark-1-kept.tmp",
                             ".vellmark-1-x.tmp", ".vellmark--1.tmp"})
        make(name, Ramp(1));
    fs::create_directory(at(".vellmark-2-0.tmp"));
    TargetFile inWork(at("a"));
    EXPECT_EQ(count(), 6u) << "what another process left goes, by its lock and not by its number";
    TargetFile other(at("b"));
    EXPECT_EQ(count(), 7u) << "what is locked stays";
}

TEST_F(PcFiles, AFileThatChangesBehindAReaderIsNoticed) {
    const std::string path = make("a", Ramp(9));
    const auto changes = [&](const auto& change) {
        PcFile file(path, PcFile::Mode::Read);
        const auto date = fs::last_write_time(path);
        // The dates of a file move in steps of the system's clock.
        for (PcFile tick(at("tick"), PcFile::Mode::CreateTruncate);
             fs::last_write_time(at("tick")) <= date;)
            EXPECT_TRUE(tick.writeAt(0, Ramp(1)));
        change(date);
        return file.hasChanged();
    };
    EXPECT_FALSE(changes([](auto) {}));
    EXPECT_FALSE(changes([&](auto) { fs::permissions(path, fs::perms{0600}); }));
    EXPECT_TRUE(changes([&](auto) { fs::resize_file(path, 20); }));
    EXPECT_TRUE(changes([&](auto) { make("a", Ramp(20)); }));
    EXPECT_TRUE(changes([&](auto date) {
        make("a", Ramp(20));
        fs::last_write_time(path, date);
    })) << "the date was set back";
}

TEST_F(PcFiles, ATargetIsNoMoreOpenThanWhatItReplaces) {
    const auto modeOf = [](const std::string& path) {
        struct stat facts {};
        EXPECT_EQ(::stat(path.c_str(), &facts), 0);
        return facts.st_mode & 0777u;
    };
    for (const mode_t mode : {0600u, 0646u, 0404u}) {
        make("old", Ramp(5));
        ASSERT_EQ(::chmod(at("old").c_str(), mode), 0);
        TargetFile target(at("old"));
        TargetFile copy(at("copy"), at("old"));
        EXPECT_EQ(modeOf(target.file().path()), 0600u) << "while it is written";
        EXPECT_EQ(target.publish(true, false), 0);
        EXPECT_EQ(copy.publish(true, false), 0);
        EXPECT_EQ(modeOf(at("old")), mode);
        EXPECT_EQ(modeOf(at("copy")), mode);
    }
}

TEST_F(PcFiles, ReadersShareAFileAndWritersHaveItAlone) {
    make("a", Ramp(5));
    const auto open = [this] { return PcFile(at("a"), PcFile::Mode::Read); };
    {
        const PcFile reader = OpenLocked(open, LockKind::Shared, 0);
        EXPECT_TRUE(OpenLocked(open, LockKind::Shared, 0).isOpen());
        EXPECT_EQ(OpenLocked(open, LockKind::Exclusive, 0).error(), EWOULDBLOCK);
        EXPECT_EQ(TargetFile(at("a")).lockOlder(0), EWOULDBLOCK);
    }
    {
        TargetFile target(at("a"));
        EXPECT_EQ(target.lockOlder(0), 0);
        EXPECT_EQ(OpenLocked(open, LockKind::Shared, 0).error(), EWOULDBLOCK);
    }
    // Who came to the older file waits in vain and comes to the new one.
    int openings = 0;
    const PcFile late = OpenLocked(
        [&] {
            PcFile file = open();
            if (++openings == 1)
                fs::rename(make("b", Ramp(7)), at("a"));
            return file;
        },
        LockKind::Shared, 0);
    EXPECT_EQ(openings, 2);
    EXPECT_EQ(late.size(), 7u);
}

TEST(TemporaryFolders, GoAwayWithWhatIsInThem) {
    std::string path;
    {
        const TemporaryFolder folder;
        path = folder.path();
        fs::create_directories(path + "/a/b");
        PcFile(path + "/a/b/c", PcFile::Mode::CreateNew).close();
        EXPECT_GT(FreeBytes(path), 0u);
    }
    EXPECT_FALSE(fs::exists(path));
    EXPECT_EQ(FreeBytes(path), 0u);
    EXPECT_TRUE(HoldsLargeFiles(path)) << "unknown is no reason to refuse";
}

}  // namespace
}  // namespace vellmark
