#include "support/pc_file.hpp"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>
#include <vector>

#include "support/file_lock.hpp"

namespace vellmark {

namespace {

constexpr std::uint64_t kCopyPiece = 2u << 20;
constexpr long kFatFileSystem = 0x4D44;

int OpenFlags(PcFile::Mode mode) {
    switch (mode) {
        case PcFile::Mode::Read:
            return O_RDONLY;
        case PcFile::Mode::ReadWrite:
            return O_RDWR;
        case PcFile::Mode::CreateTruncate:
            return O_RDWR | O_CREAT | O_TRUNC;
        case PcFile::Mode::CreateNew:
        case PcFile::Mode::CreatePrivate:
            return O_RDWR | O_CREAT | O_EXCL;
    }
    return O_RDONLY;
}

FileStamp StampOfFacts(const struct stat& facts) {
    const auto moment = [](const timespec& time) {
        return FileStamp::Moment{time.tv_sec, time.tv_nsec};
    };
    return {facts.st_dev,
            facts.st_ino,
            static_cast<std::uint64_t>(facts.st_size),
            moment(facts.st_mtim),
            moment(facts.st_ctim),
            static_cast<std::uint64_t>(facts.st_nlink),
            static_cast<std::uint32_t>(facts.st_mode),
            static_cast<std::uint32_t>(facts.st_uid),
            static_cast<std::uint32_t>(facts.st_gid)};
}

}  // namespace

PcFile::PcFile(std::string_view path, Mode mode) : path_(path) {
    // O_NONBLOCK: opening a pipe must not wait for its other end. It does nothing to plain files.
    descriptor_ = ::open(path_.c_str(), OpenFlags(mode) | O_CLOEXEC | O_NONBLOCK,
                         mode == Mode::CreatePrivate ? 0600 : 0666);
    if (descriptor_ < 0) {
        error_ = errno;
        return;
    }
    struct stat facts {};
    if (::fstat(descriptor_, &facts) != 0 || S_ISDIR(facts.st_mode)) {
        close();
        error_ = EISDIR;
        return;
    }
    if (mode == Mode::Read && S_ISREG(facts.st_mode))
        opened_ = stamp();
}

PcFile::~PcFile() {
    close();
}

PcFile::PcFile(PcFile&& other) noexcept
    : path_(std::move(other.path_)),
      descriptor_(std::exchange(other.descriptor_, -1)),
      error_(other.error_),
      opened_(other.opened_),
      hasLost_(other.hasLost_),
      patch_(std::move(other.patch_)) {}

PcFile& PcFile::operator=(PcFile&& other) noexcept {
    if (this != &other) {
        close();
        path_ = std::move(other.path_);
        descriptor_ = std::exchange(other.descriptor_, -1);
        error_ = other.error_;
        opened_ = other.opened_;
        hasLost_ = other.hasLost_;
        patch_ = std::move(other.patch_);
    }
    return *this;
}

void PcFile::close() {
    if (descriptor_ >= 0 && ::close(descriptor_) != 0 && error_ == 0)
        error_ = errno;
    descriptor_ = -1;
}

std::uint64_t PcFile::size() const {
    if (descriptor_ >= 0 && opened_)
        return opened_->sizeBytes;
    struct stat facts {};
    return descriptor_ >= 0 && ::fstat(descriptor_, &facts) == 0
               ? static_cast<std::uint64_t>(facts.st_size)
               : 0;
}

std::optional<FileStamp> PcFile::stamp() const {
    struct stat facts {};
    if (::fstat(descriptor_, &facts) != 0)
        return std::nullopt;
    return StampOfFacts(facts);
}

bool PcFile::hasChanged() const {
    const std::optional<FileStamp> now = opened_ ? stamp() : std::nullopt;
    if (!now)
        return false;
    const bool isTouched = now->changed != opened_->changed && now->links == opened_->links &&
                           now->mode == opened_->mode && now->user == opened_->user &&
                           now->group == opened_->group;
    return !now->isSameVersion(*opened_) || isTouched;
}

std::size_t PcFile::readAt(std::uint64_t offset, std::span<std::uint8_t> out) {
    std::size_t done = 0;
    while (done < out.size()) {
        const ssize_t got = ::pread(descriptor_, out.data() + done, out.size() - done,
                                    static_cast<off_t>(offset + done));
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0 && error_ == 0)
            error_ = errno;
        if (got <= 0)
            break;
        done += static_cast<std::size_t>(got);
    }
    if (patch_)
        patch_(offset, out.first(done));
    return done;
}

bool PcFile::writeAt(std::uint64_t offset, std::span<const std::uint8_t> bytes) {
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t put = ::pwrite(descriptor_, bytes.data() + done, bytes.size() - done,
                                     static_cast<off_t>(offset + done));
        if (put < 0 && errno == EINTR)
            continue;
        if (put <= 0) {
            if (error_ == 0)
                error_ = put < 0 ? errno : EIO;
            return false;
        }
        done += static_cast<std::size_t>(put);
    }
    return true;
}

bool PcFile::setSize(std::uint64_t sizeBytes) {
    if (::ftruncate(descriptor_, static_cast<off_t>(sizeBytes)) == 0)
        return true;
    if (error_ == 0)
        error_ = errno;
    return false;
}

bool PcFile::flush() {
    // The system reports a loss once and forgets it: a second try would seem to succeed.
    if (hasLost_)
        return false;
    // A target such as a pipe has nothing to hand over.
    if (::fsync(descriptor_) == 0 || errno == EINVAL || errno == EROFS)
        return true;
    hasLost_ = true;
    if (error_ == 0)
        error_ = errno;
    return false;
}

void PcFile::unlock() {
    (void)::flock(descriptor_, LOCK_UN);
}

bool PcFile::reserve(std::uint64_t offset, std::uint64_t count) {
    int result = 0;
    do
        result = ::fallocate(descriptor_, FALLOC_FL_KEEP_SIZE, static_cast<off_t>(offset),
                             static_cast<off_t>(count));
    while (result != 0 && errno == EINTR);
    const bool isRefused = result != 0 && (errno == ENOSPC || errno == EDQUOT || errno == EFBIG ||
                                           errno == EIO || errno == EROFS || errno == EBADF);
    if (isRefused && error_ == 0)
        error_ = errno;
    return !isRefused;
}

bool PcFile::lock(LockKind kind) {
    const int operation = kind == LockKind::Shared ? LOCK_SH : LOCK_EX;
    return ::flock(descriptor_, operation | LOCK_NB) == 0 || errno != EWOULDBLOCK;
}

bool PcFile::hasItsPath() const {
    struct stat own {};
    struct stat named {};
    return ::fstat(descriptor_, &own) == 0 && ::stat(path_.c_str(), &named) == 0 &&
           own.st_dev == named.st_dev && own.st_ino == named.st_ino;
}

void PcFile::refuse(int error) {
    close();
    error_ = error;
}

std::uint64_t PcFile::copyFrom(PcFile& source, ByteMove move) {
    std::uint64_t done = 0;
    std::vector<std::uint8_t> buffer;
    // The system copies what stands in the file, not what is to be seen there.
    if (source.patch_)
        buffer.resize(static_cast<std::size_t>(std::min(move.count, kCopyPiece)));
    while (done < move.count) {
        if (buffer.empty()) {
            off_t from = static_cast<off_t>(move.from + done);
            off_t to = static_cast<off_t>(move.to + done);
            const ssize_t moved = ::copy_file_range(source.descriptor_, &from, descriptor_, &to,
                                                    static_cast<std::size_t>(move.count - done), 0);
            if (moved > 0) {
                done += static_cast<std::uint64_t>(moved);
                continue;
            }
            // 0 is the end, or a file system that only claims to do it; a plain read shows which.
            buffer.resize(static_cast<std::size_t>(std::min(move.count - done, kCopyPiece)));
        }
        const std::size_t want =
            static_cast<std::size_t>(std::min<std::uint64_t>(move.count - done, buffer.size()));
        const std::size_t got = source.readAt(move.from + done, {buffer.data(), want});
        if (got == 0 || !writeAt(move.to + done, {buffer.data(), got}))
            break;
        done += got;
    }
    return done;
}

std::string PcFile::descriptorPath() const {
    return "/proc/self/fd/" + std::to_string(descriptor_);
}

FileStamp StampOf(const std::string& path) {
    struct stat facts {};
    if (::stat(path.c_str(), &facts) != 0)
        return {};
    return StampOfFacts(facts);
}

std::uint64_t FreeBytes(const std::string& folder) {
    struct statvfs facts {};
    if (::statvfs(folder.c_str(), &facts) != 0)
        return 0;
    return static_cast<std::uint64_t>(facts.f_bavail) * facts.f_frsize;
}

bool HoldsLargeFiles(const std::string& folder) {
    struct statfs facts {};
    return ::statfs(folder.c_str(), &facts) != 0 || facts.f_type != kFatFileSystem;
}

std::string FolderOf(const std::string& path) {
    const std::size_t slash = path.find_last_of('/');
    if (slash == std::string::npos)
        return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

}  // namespace vellmark
