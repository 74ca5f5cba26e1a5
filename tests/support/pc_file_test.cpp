// Files of the PC: what a failure leaves behind, what takes an older file's place and when, and who
// else is kept out meanwhile.
#include "support/pc_file.hpp"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <optional>

#include "support/file_lock.hpp"

// Paths of what was handed to the device, in this order.
static std::vector<std::string> handedOver;

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
    Bytes four(4);
    EXPECT_EQ(file.readAt(98, four), 2u);
    EXPECT_EQ(file.error(), 0) << "the end is no failure";
    EXPECT_TRUE(file.writeAt(5'000'000'000, Bytes{7}));
    EXPECT_TRUE(file.readExactly(4'999'999'997, four));
    EXPECT_EQ(four, (Bytes{0, 0, 0, 7}));
    // What the system cannot copy by itself.
    PcFile zeros("/dev/zero", PcFile::Mode::Read);
    EXPECT_EQ(file.copyFrom(zeros, {0, 1, 3'000'000}), 3'000'000u);
    PcFile readOnly(at("a"), PcFile::Mode::Read);
    EXPECT_FALSE(readOnly.writeAt(0, four) || readOnly.setSize(1));
    EXPECT_TRUE(readOnly.readExactly(0, four));
    EXPECT_EQ(four, (Bytes{'x', 0, 0, 0}));
    EXPECT_EQ(readOnly.error(), EBADF) << "a later success or failure does not replace it";
    EXPECT_FALSE(readOnly.hasChanged());
    EXPECT_TRUE(file.setSize(3) && readOnly.hasChanged()) << "behind its reader";
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
    } cases[] = {{0600, false, false, false, EEXIST, ""},
                 {0646, true, false, true, EINVAL, ""},
                 {0646, true, false, false, 0, "b"},
                 {0404, true, true, false, 0, "bn"},
                 {0, false, false, false, 0, ""}};
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
    EXPECT_EQ(TargetFile(at("no/new")).publish(true, false), ENOENT);
}

// What the system says once, of bytes that did not come to the device, counts from then on. A
// descriptor without a file behind it stands for such a device.
TEST_F(PcFiles, ALossIsNotForgotten) {
    const auto lose = [&](const PcFile& file) {
        const int descriptor = std::stoi(fs::path(file.descriptorPath()).filename());
        const int hollow = ::open(folder_.path().c_str(), O_PATH);
        EXPECT_EQ(::dup2(hollow, descriptor), descriptor);
        ::close(hollow);
        return descriptor;
    };
    PcFile file(make("a", 5), PcFile::Mode::ReadWrite);
    const int whole = ::dup(std::stoi(fs::path(file.descriptorPath()).filename()));
    const int descriptor = lose(file);
    EXPECT_FALSE(file.flush());
    EXPECT_EQ(::dup2(whole, descriptor), descriptor);
    EXPECT_FALSE(file.flush());
    EXPECT_EQ(file.error(), EBADF);
    TargetFile target(at("new"));
    (void)lose(target.file());
    EXPECT_EQ(target.publish(false, true), EBADF);
    EXPECT_FALSE(fs::exists(at("new")));
    PcFile closed(at("a"), PcFile::Mode::ReadWrite);
    ::close(std::stoi(fs::path(closed.descriptorPath()).filename()));
    closed.close();
    EXPECT_EQ(closed.error(), EBADF);
    ::close(whole);
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
    const PcFile reader = OpenLocked(open, LockKind::Shared, 0);
    EXPECT_EQ(reader.size(), 7u);
    EXPECT_TRUE(OpenLocked(open, LockKind::Shared, 0).isOpen());
    EXPECT_EQ(OpenLocked(open, LockKind::Exclusive, 0).error(), EWOULDBLOCK);
    EXPECT_EQ(TargetFile(at("a")).lockOlder(0), EWOULDBLOCK);
    const auto openAlwaysOlder = [&] {
        PcFile file(make("c", 5), PcFile::Mode::Read);
        fs::rename(make("b", 7), at("c"));
        return file;
    };
    EXPECT_EQ(OpenLocked(openAlwaysOlder, LockKind::Shared, 0).error(), EWOULDBLOCK) << "it ends";
}

TEST(TemporaryFolders, GoAwayWithWhatIsInThem) {
    std::optional<TemporaryFolder> folder(std::in_place);
    const std::string path = folder->path();
    fs::create_directories(path + "/a/b");
    folder.reset();
    EXPECT_FALSE(fs::exists(path));
}

}  // namespace
}  // namespace vellmark
