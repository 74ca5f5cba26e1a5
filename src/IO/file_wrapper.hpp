// A PC file with a position: the stream view of a file, for scanning text, moving ranges inside a
// file and copying runs between files. All offsets and sizes are bytes in 64 bits.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string_view>

#include "support/pc_file.hpp"
#include "support/progress.hpp"

namespace vellmark {

/// How a copy of a run of bytes ended. Everything but `Done` means that the target is not whole.
enum class StreamResult {
    Done,
    ShortRead,   ///< the source ended or failed before the last byte asked for
    ShortWrite,  ///< the target did not take everything
    Stopped,     ///< the `Progress` asked to stop
};

/// One open file and its one position. It is passed by reference, so that reading, writing and
/// seeking always share that position.
class FileHandle {
  public:
    explicit FileHandle(std::shared_ptr<PcFile> file) : file_(std::move(file)) {}
    FileHandle(FileHandle&&) = default;
    FileHandle& operator=(FileHandle&&) = default;
    FileHandle(const FileHandle&) = delete;
    FileHandle& operator=(const FileHandle&) = delete;
    ~FileHandle() = default;

    [[nodiscard]] bool isOpen() const { return file_ && file_->isOpen(); }
    /// The file behind the handle; only while `isOpen`.
    [[nodiscard]] PcFile& file() { return *file_; }
    /// Offset of the next byte that is read or written.
    std::uint64_t position = 0;

  private:
    std::shared_ptr<PcFile> file_;
};

enum class SeekOrigin { Start, Current, End };

/// Moves the position, also past the end. Returns the new one, or -1 (and moves nothing) when it
/// would lie before the start or the handle is closed.
std::int64_t FileSeek64(FileHandle& handle, std::int64_t offset, SeekOrigin origin);
/// The position, -1 when the handle is closed.
[[nodiscard]] std::int64_t FileTell64(const FileHandle& handle);
void FileRewind(FileHandle& handle);
/// Length of the file, -1 when the handle is closed.
[[nodiscard]] std::int64_t FileSize64(FileHandle& handle);

/// Reads `size` times `count` bytes in one call and returns the bytes read divided by `count`:
/// with a count of 1 that is the number of bytes, with a count of n it is `size` on full success
/// and never a number of elements. A buffer that is too small reads nothing.
[[nodiscard]] std::size_t FileRead(std::span<std::uint8_t> buffer, std::size_t size,
                                   std::size_t count, FileHandle& handle);
/// Writes, with the same odd result; 0 when the file did not take everything.
[[nodiscard]] std::size_t FileWrite(std::span<const std::uint8_t> buffer, std::size_t size,
                                    std::size_t count, FileHandle& handle);
/// Hands everything to the device.
[[nodiscard]] bool FileFlush(FileHandle& handle);
/// Cuts or lengthens the file. The position stays where it was when it lies before the new end,
/// else it becomes the new end. Returns whether the system did it.
[[nodiscard]] bool FileSetSize64(FileHandle& handle, std::uint64_t sizeBytes);

/// The next byte, -1 at the end.
[[nodiscard]] int FileReadByte(FileHandle& handle);
/// The next line with its ending, at most `buffer.size() - 1` bytes, NUL-terminated in `buffer` (at
/// least 2 bytes). CR LF and LF CR are one ending of two bytes; CR or LF alone ends a line as well.
/// Nothing at the end of the file.
[[nodiscard]] std::optional<std::string_view> FileReadLine(std::span<char> buffer,
                                                           FileHandle& handle);
/// Writes the text without a terminator. Returns the bytes written.
[[nodiscard]] std::size_t FileWriteString(std::string_view text, FileHandle& handle);
/// Finds the next occurrence at or after the position. Returns its offset and leaves the position
/// on it; -1 with the position at the end of the file when there is none.
[[nodiscard]] std::int64_t FileFindString(FileHandle& handle, std::string_view text);

/// Copies everything from `sourceOffset` to the end of the file onto `targetOffset`, whichever way
/// the two ranges overlap. The position ends behind the last byte written. False when a transfer
/// failed.
[[nodiscard]] bool FileMoveWithin(FileHandle& handle, std::uint64_t targetOffset,
                                  std::uint64_t sourceOffset);
/// Copies `totalBytes` from position to position. A total of more than ten pieces is told to
/// `progress` as a file of total / piece + 1 chunks, any other as one without chunks.
[[nodiscard]] StreamResult FileCopyStream(FileHandle& source, FileHandle& target,
                                          std::uint64_t totalBytes, Progress& progress);

/// The piece that `FileCopyStream` moves at a time: 256 KiB to 3 MiB, by the total.
[[nodiscard]] constexpr std::size_t CopyPieceBytes(std::uint64_t totalBytes) {
    constexpr std::size_t kUnit = 2048;
    if (totalBytes <= 524'288)
        return 128 * kUnit;
    if (totalBytes <= 1'048'576)
        return 256 * kUnit;
    if (totalBytes <= 4'194'304)
        return 512 * kUnit;
    if (totalBytes <= 8'388'608)
        return 1024 * kUnit;
    return 1536 * kUnit;
}

}  // namespace vellmark
