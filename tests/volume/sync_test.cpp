// What is on the device before what: the calls of the system are listed as they come.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "volume/catalog_changes.hpp"
#include "volume/opened_volume.hpp"
#include "volume/volume_bench.hpp"

namespace {

std::vector<std::string> gCalls;

void Note(const char* call, int descriptor) {
    std::error_code error;
    const std::string link = "/proc/self/fd/" + std::to_string(descriptor);
    gCalls.push_back(call + std::filesystem::read_symlink(link, error).filename().string());
}

}  // namespace

// In place of those of the C library, for this program.
extern "C" {
int fsync(int descriptor) {
    Note("sync ", descriptor);
    return static_cast<int>(::syscall(SYS_fsync, descriptor));
}
ssize_t pwrite64(int descriptor, const void* bytes, std::size_t count, off64_t offset) {
    Note("write ", descriptor);
    return ::syscall(SYS_pwrite64, descriptor, bytes, count, offset);
}
int unlink(const char* path) noexcept {
    gCalls.emplace_back("unlink");
    return static_cast<int>(::syscall(SYS_unlinkat, AT_FDCWD, path, 0));
}
}

namespace vellmark {
namespace {

TEST(Sync, AChangeIsOnTheDeviceBeforeItsRedoLogGoesAndWhenItsImageIsClosed) {
    const TemporaryFolder folder;
    testing::KeptMessages messages;
    const auto opened = ChangedVolume::Open({testing::FormatSmall(folder, false)}, {}, messages);
    ASSERT_TRUE(opened);
    std::uint32_t id = 0;
    ASSERT_EQ(CreateFolder(opened->volume(), "new", kRootFolderId, testing::kClock, id),
              TreeResult::Done);
    gCalls.clear();
    EXPECT_FALSE(opened->close(testing::kClock));
    const auto gone = std::ranges::find(gCalls, "unlink");
    ASSERT_NE(gone, gCalls.end()) << "the redo log";
    EXPECT_GT(std::count(gCalls.begin(), gone, "write volume"), 1);
    EXPECT_EQ(*std::prev(gone), "sync volume");
    EXPECT_NE(std::find(gone, gCalls.end(), "sync volume"), gCalls.end());
}

}  // namespace
}  // namespace vellmark
