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

Bytes Contents(const std::string& path) {
    PcFile file(path, PcFile::Mode::Read);
    Bytes bytes(file.size() + 1);
    bytes.resize(file.readAt(0, bytes));
    return bytes;
}

class PcFiles : public ::testing::Test {
  protected:
    std::string at(const std::string& name) { return folder_.path() + "/" + name; }
    std::string make(const std::string& name, std::size_t size) {
        EXPECT_TRUE(PcFile(at(name), PcFile::Mode::CreateTruncate).writeAt(0, Bytes(size, 'x')));
        return at(name);
    }
    // Names in the folder, hidden ones included.
    std::size_t count() {
        const fs::directory_iterator all(folder_.path());
        return static_cast<std::size_t>(std::distance(begin(all), end(all)));
    }
    TemporaryFolder folder_;
};

TEST_F(PcFiles, BytesAtAnyOffsetAndTheFirstFailure) {
    PcFile file(make("a", 100), PcFile::Mode::ReadWrite);
    Bytes ten(10);
    EXPECT_EQ(file.readAt(95, ten), 5u) << "the end is no failure";
    EXPECT_EQ(file.error(), 0);
    EXPECT_TRUE(file.writeAt(5'000'000'000, Bytes{7}));
    EXPECT_TRUE(file.readExactly(4'999'999'991, ten));
    EXPECT_EQ(ten, (Bytes{0, 0, 0, 0, 0, 0, 0, 0, 0, 7}));
    EXPECT_TRUE(file.setSize(3) && file.setSize(5) && file.flush());
    EXPECT_EQ(Contents(at("a")), (Bytes{'x', 'x', 'x', 0, 0}));
    // What the system cannot copy by itself.
    PcFile zeros("/dev/zero", PcFile::Mode::Read);
    EXPECT_EQ(file.copyFrom(zeros, {0, 1, 3'000'000}), 3'000'000u);
    Bytes expected(3'000'001);
    expected[0] = 'x';
    EXPECT_TRUE(Contents(at("a")) == expected);

    PcFile readOnly(at("a"), PcFile::Mode::Read);
    EXPECT_FALSE(readOnly.writeAt(0, ten) || readOnly.setSize(1));
    EXPECT_EQ(readOnly.readAt(0, ten), 10u);
    EXPECT_EQ(readOnly.error(), EBADF) << "a later success or failure does not replace it";
    EXPECT_FALSE(readOnly.hasChanged());
    fs::resize_file(at("a"), 1);
    EXPECT_TRUE(readOnly.hasChanged()) << "behind its reader";
    PcFile full("/dev/full", PcFile::Mode::ReadWrite);
    EXPECT_FALSE(full.writeAt(0, ten));
    EXPECT_EQ(full.error(), ENOSPC);
}

// Whatever fails before, an older file stays as it was, and nobody may read more of it meanwhile
// than before. Where an older file goes, or the new one is to last, the bytes are on the device
// before their name; a new name that is to last comes there too.
TEST_F(PcFiles, ATargetTakesItsNameWholeWithTheRightsOfTheOlderFile) {
    const auto modeOf = [](const std::string& path) {
        struct stat facts {};
        return ::stat(path.c_str(), &facts) == 0 ? facts.st_mode & 0777u : 0u;
    };
    const struct {
        mode_t older;  // rights of the older file, 0 for none
        bool replaces, isDurable, isTorn;
        int result;
        const char* handed;  // b: the bytes, n: the name
    } cases[] = {{0600, false, false, false, EEXIST, ""}, {0646, true, false, true, EINVAL, ""},
                 {0646, true, false, false, 0, "b"},      {0404, true, true, false, 0, "bn"},
                 {0, false, false, false, 0, ""},         {0, true, true, false, 0, "bn"}};
    const std::string path = at(std::string(255, 'n'));
    for (const auto& c : cases) {
        fs::remove(path);
        if (c.older != 0) {
            fs::rename(make("older", 5), path);
            fs::permissions(path, fs::perms{c.older});
        }
        handedOver.clear();
        std::string temporary;
        {
            TargetFile target(path);
            temporary = target.file().path();
            EXPECT_TRUE(c.older == 0 || modeOf(temporary) == 0600u);
            EXPECT_TRUE(target.file().setSize(9));
            EXPECT_NE(c.isTorn, target.file().setSize(c.isTorn ? ~std::uint64_t{0} : 9));
            EXPECT_EQ(target.publish(c.replaces, c.isDurable), c.result);
        }
        EXPECT_EQ(fs::exists(path) ? fs::file_size(path) : 0, c.result == 0 ? 9u : 5u);
        EXPECT_TRUE(c.older == 0 || modeOf(path) == c.older);
        EXPECT_EQ(count(), 1u) << "what was not published is removed";
        std::vector<std::string> expected = {temporary, folder_.path()};
        expected.resize(std::string_view(c.handed).size());
        EXPECT_EQ(handedOver, expected);
    }
    TargetFile target(at("a"));
    TargetFile other(at("a"), path);
    EXPECT_EQ(target.publish(false, false), 0);
    EXPECT_EQ(other.publish(false, false), EEXIST) << "the second of two writers";
    EXPECT_EQ(TargetFile(at("no/new")).publish(true, false), ENOENT);
}

// 999999999 is above any process.
TEST_F(PcFiles, WhatKilledRunsLeftIsRemovedAndNothingElse) {
    for (const char* name : {".vellmark-999999999-0.tmp", ".vellmark-1-3.tmp", "mine.tmp",
                             ".vellmark-999999999-kept.tmp", ".vellmark-1-x.tmp"})
        make(name, 1);
    fs::create_directory(at(".vellmark-2-0.tmp"));
    TargetFile inWork(at("a"));
    EXPECT_EQ(count(), 4u) << "what another process left goes, by its lock and not by its number";
    TargetFile other(at("b"));
    EXPECT_EQ(count(), 5u) << "what is locked stays";
}

TEST_F(PcFiles, WhoWaitedForAnOlderFileComesToTheNewOne) {
    make("a", 5);
    int openings = 0;
    const auto open = [&] {
        PcFile file(at("a"), PcFile::Mode::Read);
        if (++openings == 1)
            fs::rename(make("b", 7), at("a"));
        return file;
    };
    PcFile reader = OpenLocked(open, LockKind::Shared, 0);
    EXPECT_EQ(reader.size(), 7u);
    EXPECT_TRUE(OpenLocked(open, LockKind::Shared, 0).isOpen());
    EXPECT_EQ(OpenLocked(open, LockKind::Exclusive, 0).error(), EWOULDBLOCK);
    EXPECT_EQ(TargetFile(at("a")).lockOlder(0), EWOULDBLOCK);
    reader.close();
    TargetFile target(at("a"));
    EXPECT_EQ(target.lockOlder(0), 0);
    EXPECT_EQ(OpenLocked(open, LockKind::Shared, 0).error(), EWOULDBLOCK);
}

TEST(TemporaryFolders, GoAwayWithWhatIsInThem) {
    std::string path;
    {
        const TemporaryFolder folder;
        path = folder.path();
        fs::create_directories(path + "/a/b");
    }
    EXPECT_FALSE(fs::exists(path));
    EXPECT_EQ(FreeBytes(path), 0u);
    EXPECT_TRUE(HoldsLargeFiles(path)) << "unknown is no reason to refuse";
}

}  // namespace
}  // namespace vellmark
