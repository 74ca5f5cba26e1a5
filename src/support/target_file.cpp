// New files that appear under their names when they are whole, and files for a while.
#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>
#include <system_error>
#include <utility>

#include "support/file_lock.hpp"
#include "support/pc_file.hpp"

namespace vellmark {

namespace {

constexpr std::string_view kTemporaryPrefix = ".vellmark-";
constexpr std::string_view kTemporarySuffix = ".tmp";
/// In the place of the number: an older file, kept until the new one stands (support/pc_targets).
constexpr std::string_view kKeptWord = "kept";

bool HasName(const std::string& path) {
    struct stat facts {};
    return ::lstat(path.c_str(), &facts) == 0;
}

bool IsNumber(std::string_view text) {
    return !text.empty() && text.size() < 10 &&
           std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

/// The name of a temporary file, `.vellmark-PROCESS-NUMBER.tmp`, taken apart.
struct TemporaryName {
    pid_t process = 0;
    bool isKept = false;
};

std::optional<TemporaryName> ParseTemporaryName(std::string_view name) {
    if (!name.starts_with(kTemporaryPrefix) || !name.ends_with(kTemporarySuffix))
        return std::nullopt;
    name.remove_prefix(kTemporaryPrefix.size());
    name.remove_suffix(std::min(name.size(), kTemporarySuffix.size()));
    const std::size_t dash = std::min(name.find('-'), name.size());
    const std::string_view process = name.substr(0, dash);
    const std::string_view number = name.substr(std::min(dash + 1, name.size()));
    if (!IsNumber(process) || (!IsNumber(number) && number != kKeptWord))
        return std::nullopt;
    return TemporaryName{static_cast<pid_t>(std::stol(std::string(process))), number == kKeptWord};
}

// Whether nobody works with a temporary file any more. Who writes one holds it locked; where locks
// are not known, and for a file that is only kept, the process counts.
bool IsAbandoned(int folder, const char* name, const TemporaryName& parts) {
    const int descriptor = ::openat(folder, name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (descriptor < 0)
        return false;
    struct stat facts {};
    const bool isOurs =
        ::fstat(descriptor, &facts) == 0 && S_ISREG(facts.st_mode) && facts.st_uid == ::geteuid();
    const bool isLocked = ::flock(descriptor, LOCK_EX | LOCK_NB) != 0;
    const bool isLockKnown = !isLocked || errno == EWOULDBLOCK;
    ::close(descriptor);
    if (!isOurs || (isLocked && isLockKnown))
        return false;
    return (isLockKnown && !parts.isKept) || (::kill(parts.process, 0) != 0 && errno == ESRCH);
}

}  // namespace

int FlushFolder(const std::string& folder) {
    const int descriptor = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0)
        return errno == EACCES || errno == EPERM ? 0 : errno;
    const int error = ::fsync(descriptor) == 0 ? 0 : errno;
    ::close(descriptor);
    return error == EINVAL || error == EROFS ? 0 : error;
}

TargetFile::TargetFile(std::string path, const std::string& rightsOf, Sweep sweep)
    : path_(std::move(path)) {
    const std::string folder = FolderOf(path_);
    if (sweep == Sweep::Yes)
        RemoveAbandonedTargets(folder);
    struct stat facts {};
    if (::stat((rightsOf.empty() ? path_ : rightsOf).c_str(), &facts) == 0 &&
        S_ISREG(facts.st_mode))
        rights_ = {facts.st_mode & (S_IRWXU | S_IRWXG | S_IRWXO), facts.st_uid, facts.st_gid};
    const PcFile::Mode mode = rights_ ? PcFile::Mode::CreatePrivate : PcFile::Mode::CreateNew;
    // The name is short whatever the target's is, so that a long name does not make it too long.
    for (int attempt = 0; attempt < 100; ++attempt) {
        temporaryPath_ = folder + "/" + std::string(kTemporaryPrefix) + std::to_string(::getpid()) +
                         "-" + std::to_string(attempt) + std::string(kTemporarySuffix);
        file_ = PcFile(temporaryPath_, mode);
        // One that another process took for abandoned before the lock stood is gone.
        if (file_.isOpen() ? file_.lock(LockKind::Exclusive) && HasName(temporaryPath_)
                           : file_.error() != EEXIST)
            break;
        file_.close();
    }
    if (!file_.isOpen())
        temporaryPath_.clear();
}

TargetFile::~TargetFile() {
    if (!published_ && !temporaryPath_.empty()) {
        file_.close();
        ::unlink(temporaryPath_.c_str());
    }
}

int TargetFile::lockOlder(unsigned waitMs) {
    older_ = OpenLocked([this] { return PcFile(path_, PcFile::Mode::Read); }, LockKind::Exclusive,
                        waitMs);
    return older_.error() == EWOULDBLOCK ? EWOULDBLOCK : 0;
}

// Owner and permissions, as far as this user may give them. Where the group cannot be kept, the
// other one may do what anybody may.
void TargetFile::giveRights() {
    struct stat own {};
    if (!rights_ || ::fstat(file_.descriptor_, &own) != 0)
        return;
    mode_t mode = rights_->mode;
    const bool differs = own.st_uid != rights_->owner || own.st_gid != rights_->group;
    if (differs && ::fchown(file_.descriptor_, rights_->owner, rights_->group) != 0 &&
        own.st_gid != rights_->group &&
        ::fchown(file_.descriptor_, static_cast<uid_t>(-1), rights_->group) != 0)
        mode = (mode & ~static_cast<mode_t>(S_IRWXG)) | ((mode & S_IRWXO) << 3);
    (void)::fchmod(file_.descriptor_, mode);
}

int TargetFile::giveName(bool replace) {
    const int result = replace ? ::rename(temporaryPath_.c_str(), path_.c_str())
                               : ::link(temporaryPath_.c_str(), path_.c_str());
    // File systems without hard links refuse the exclusive way; then the name is looked at first.
    if (result != 0 && !replace && (errno == EPERM || errno == EOPNOTSUPP || errno == ENOSYS))
        return ::access(path_.c_str(), F_OK) == 0 ? EEXIST : giveName(true);
    if (result != 0)
        return errno;
    if (!replace)
        ::unlink(temporaryPath_.c_str());
    return 0;
}

int TargetFile::publish(bool replace, bool durable) {
    struct stat older {};
    const bool isKept = durable || (replace && ::lstat(path_.c_str(), &older) == 0);
    giveRights();
    // A transfer that failed before leaves a file that is not whole.
    if (file_.error() != 0 || (isKept && !file_.flush()))
        return file_.error();
    if (const int error = giveName(replace); error != 0)
        return error;
    published_ = true;
    return durable ? FlushFolder(FolderOf(path_)) : 0;
}

int WriteWholeFile(const std::string& path, std::span<const std::uint8_t> bytes) {
    TargetFile target(path);
    if (!target.file().isOpen())
        return target.file().error();
    // What fails here is what publishing refuses.
    (void)target.file().writeAt(0, bytes);
    return target.publish(true, false);
}

void RemoveAbandonedTargets(const std::string& folder) {
    const std::unique_ptr<DIR, int (*)(DIR*)> names(::opendir(folder.c_str()), ::closedir);
    if (!names)
        return;
    const int descriptor = ::dirfd(names.get());
    while (const dirent* entry = ::readdir(names.get()))
        if (const auto parts = ParseTemporaryName(entry->d_name);
            parts && IsAbandoned(descriptor, entry->d_name, *parts))
            (void)::unlinkat(descriptor, entry->d_name, 0);
}

TemporaryFolder::TemporaryFolder() {
    std::error_code error;
    std::string pattern = std::filesystem::temp_directory_path(error).string() + "/vellmark-XXXXXX";
    if (!error && ::mkdtemp(pattern.data()))
        path_ = pattern;
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    if (!path_.empty())
        std::filesystem::remove_all(path_, ignored);
}

PcFile UnnamedTemporaryFile() {
    std::error_code error;
    const std::string folder = std::filesystem::temp_directory_path(error).string();
    // Without such a folder the empty path gives the reason.
    if (error)
        return {"", PcFile::Mode::Read};
    TargetFile target(folder + "/image");
    target.file().unlock();
    return std::move(target.file());
}

}  // namespace vellmark
