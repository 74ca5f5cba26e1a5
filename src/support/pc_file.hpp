// Files of the PC: a handle that closes itself, targets that appear only when they are whole, and
// folders for temporary files that go away.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "support/byte_source.hpp"
#include "support/clock.hpp"
#include "support/reason.hpp"

namespace vellmark {

/// What a lock of a file lets others do: readers share one, and who changes or replaces has it
/// alone.
enum class LockKind { Shared, Exclusive };

/// What a file was at some time, by which it is known to be the one that it was.
struct FileStamp {
    struct Moment {
        UnixSeconds seconds = 0;
        std::int64_t nanoseconds = 0;
        bool operator==(const Moment&) const = default;
    };
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::uint64_t sizeBytes = 0;
    Moment modified;  ///< its contents
    Moment changed;   ///< anything about it
    std::uint64_t links = 0;
    std::uint32_t mode = 0;
    std::uint32_t user = 0;
    std::uint32_t group = 0;

    /// The same file, of the same length, whose bytes were changed last at the same time.
    [[nodiscard]] bool isSameVersion(const FileStamp& other) const {
        return device == other.device && inode == other.inode && sizeBytes == other.sizeBytes &&
               modified == other.modified;
    }
};
/// All zero when there is no such file.
[[nodiscard]] FileStamp StampOf(const std::string& path);

/// Changes bytes that were read at an offset to what is to be seen there.
using ReadPatch = std::function<void(std::uint64_t offset, std::span<std::uint8_t> bytes)>;

/// One open file. The first failure of a transfer is kept in `error`, so that a command can ask at
/// its end whether anything was lost. Paths are the system's bytes (UTF-8 as a rule).
class PcFile final : public ByteSource, public ByteSink {
  public:
    enum class Mode {
        Read,
        ReadWrite,       ///< the file must exist
        CreateTruncate,  ///< read and write; an existing file is emptied
        CreateNew,       ///< read and write; an existing file is a failure
        CreatePrivate    ///< the same, for this user alone
    };

    PcFile() = default;
    PcFile(std::string_view path, Mode mode);
    ~PcFile() override;
    PcFile(PcFile&& other) noexcept;
    PcFile& operator=(PcFile&& other) noexcept;
    PcFile(const PcFile&) = delete;
    PcFile& operator=(const PcFile&) = delete;

    [[nodiscard]] bool isOpen() const { return descriptor_ >= 0; }
    void close();

    [[nodiscard]] std::uint64_t size() const override;
    [[nodiscard]] std::size_t readAt(std::uint64_t offset, std::span<std::uint8_t> out) override;
    [[nodiscard]] bool writeAt(std::uint64_t offset, std::span<const std::uint8_t> bytes) override;
    [[nodiscard]] std::uint64_t copyTo(PcFile& target, ByteMove move) override {
        return target.copyFrom(*this, move);
    }
    /// Cuts or lengthens the file (with zeros).
    [[nodiscard]] bool setSize(std::uint64_t sizeBytes);
    /// Hands everything to the device. Once that failed it fails for ever.
    [[nodiscard]] bool flush();
    /// Asks for the room of a range within the file that has none yet, so that writing there cannot
    /// run out of it. What the range holds stays. A file system that cannot do it promises nothing.
    [[nodiscard]] bool reserve(std::uint64_t offset, std::uint64_t count);
    /// Locks the file until it is closed, against other processes and other openings in this one.
    /// Does not wait: false when a lock stands against it. A file system that knows no locks
    /// refuses nobody.
    [[nodiscard]] bool lock(LockKind kind);
    /// Whether `path` still leads to this very file, and not to one that took its place since.
    [[nodiscard]] bool hasItsPath() const;
    /// Closes the file; `error` has the reason from then on.
    void refuse(int error);
    /// What is read from now on is seen through `patch`.
    void seeThrough(ReadPatch patch) { patch_ = std::move(patch); }
    /// Gives the lock up.
    void unlock();
    /// Copies bytes of `source` into this file, by the system where it can do so without our
    /// memory. Returns the bytes copied; fewer means that one side ended or failed (see `error` of
    /// both files).
    [[nodiscard]] std::uint64_t copyFrom(PcFile& source, ByteMove move);

    /// The system's number of the first failure, of opening or of a transfer; 0 when all went well.
    [[nodiscard]] int error() const { return error_; }
    /// That failure as a reason, none when there was none.
    [[nodiscard]] Reason failure() const { return SystemError{error_}; }
    [[nodiscard]] const std::string& path() const { return path_; }
    /// Of a file that is only read: whether it is another than when it was opened. Its size and the
    /// date of its last change show that, and the date of its inode where rights, owner and links
    /// are the same, as a date can be set back.
    [[nodiscard]] bool hasChanged() const;
    /// Date of the last change when it was opened; 0 for a file that is not only read.
    [[nodiscard]] UnixSeconds openedDate() const { return opened_ ? opened_->modified.seconds : 0; }
    /// A path by which this process opens the file again, also one that has no name any more.
    [[nodiscard]] std::string descriptorPath() const;

  private:
    [[nodiscard]] std::optional<FileStamp> stamp() const;

    std::string path_;
    int descriptor_ = -1;
    int error_ = 0;
    /// Of a file that is only read: it counts with the length that it had when it was opened.
    std::optional<FileStamp> opened_;
    bool hasLost_ = false;  ///< what was written did not come to the device
    ReadPatch patch_;

    friend class TargetFile;
};

/// A target that is written under a temporary name beside its own and takes its place only when it
/// is whole: whatever fails before, an older file of that name stays as it was. It gets the owner
/// and the permissions of the older file where that can be done, and is never more open than that
/// one, nor is its temporary file.
class TargetFile {
  public:
    /// Whether the folder is looked through for what killed processes left there.
    enum class Sweep { Yes, No };

    /// Opens the temporary file in the folder of `path`; see `file().isOpen()`. With `rightsOf`
    /// that file's owner and permissions are the ones that count, in place of the older file's.
    /// It is locked while it is open, so that others see that it is in work; who takes `file` over
    /// when it has its name takes the lock along.
    explicit TargetFile(std::string path, const std::string& rightsOf = {},
                        Sweep sweep = Sweep::Yes);
    /// Removes what was not published.
    ~TargetFile();
    TargetFile(const TargetFile&) = delete;
    TargetFile& operator=(const TargetFile&) = delete;

    [[nodiscard]] PcFile& file() { return file_; }
    /// Keeps everybody else out of the older file until this object goes, waiting for at most
    /// `waitMs` milliseconds. EWOULDBLOCK when others keep it, else 0, also without an older file.
    [[nodiscard]] int lockOlder(unsigned waitMs);
    /// Gives the file its name. With `replace` false an existing file of that name is a failure
    /// (EEXIST). Where it takes the place of an older file, or with `durable`, the bytes are on the
    /// device before the name is given, so that a power cut leaves the old file or the new one.
    /// With `durable` the name is there too before this returns, else see `FlushFolder`. A file
    /// with a failed transfer is not given its name. Returns 0 or the system's error number; one
    /// that comes from handing over the name leaves the new file in its place.
    [[nodiscard]] int publish(bool replace, bool durable);

  private:
    struct Rights {
        mode_t mode = 0;
        uid_t owner = 0;
        gid_t group = 0;
    };

    [[nodiscard]] int giveName(bool replace);
    void giveRights();

    std::string path_;
    std::string temporaryPath_;
    std::optional<Rights> rights_;  ///< nothing for those of any new file
    PcFile older_;
    PcFile file_;
    bool published_ = false;
};

/// Writes a whole file, in the place of an older one. 0, or the system's error number; an older
/// file is then as it was.
[[nodiscard]] int WriteWholeFile(const std::string& path, std::span<const std::uint8_t> bytes);

/// Removes the temporary files of `TargetFile` that processes left in a folder which were killed:
/// those of this user that nobody holds locked. What cannot be removed stays.
void RemoveAbandonedTargets(const std::string& folder);

/// Hands the names in a folder to the device. 0, or the system's error number; a file system that
/// cannot do it keeps its own order, and a folder that may not be read hands over nothing.
[[nodiscard]] int FlushFolder(const std::string& folder);

/// A private folder under the system's temporary folder, removed with everything in it.
class TemporaryFolder {
  public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    /// Empty when the folder could not be made.
    [[nodiscard]] const std::string& path() const { return path_; }

  private:
    std::string path_;
};

/// A new file in the system's folder for temporary files. It has no name there any more, and goes
/// when it is closed, with the process at the latest; its `path` is the one that it had.
[[nodiscard]] PcFile UnnamedTemporaryFile();

/// Bytes that the file system of `folder` still has room for, for this user; 0 when unknown.
[[nodiscard]] std::uint64_t FreeBytes(const std::string& folder);

/// Whether the file system of `folder` can hold a file of 4 GiB or more.
[[nodiscard]] bool HoldsLargeFiles(const std::string& folder);

/// The folder part of a path, "." when it names none, without a slash at its end.
[[nodiscard]] std::string FolderOf(const std::string& path);

}  // namespace vellmark
