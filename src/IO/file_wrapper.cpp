#include "IO/file_wrapper.hpp"

#include <algorithm>
#include <array>
#include <limits>
#include <string>
#include <vector>

namespace vellmark {

namespace {

constexpr std::size_t kLinePiece = 256;
constexpr std::size_t kSearchPiece = 64u << 10;
constexpr std::size_t kMovePiece = 1u << 20;
constexpr std::uint64_t kMostChunks = std::numeric_limits<int>::max();
constexpr std::uint64_t kLastPosition = std::numeric_limits<std::int64_t>::max();

// The bytes of a transfer of `size` times `count`, or 0 when the buffer cannot hold them.
std::size_t TransferBytes(std::size_t bufferBytes, std::size_t size, std::size_t count) {
    if (count == 0 || size > bufferBytes / count)
        return 0;
    return size * count;
}

bool IsLineEnd(char c) {
    return c == '\r' || c == '\n';
}

// Length of the line at the start of `text` with its ending, 0 when its end cannot be told without
// the bytes behind `text`.
std::size_t WholeLine(std::string_view text) {
    const auto end = std::find_if(text.begin(), text.end(), IsLineEnd);
    const std::size_t at = static_cast<std::size_t>(end - text.begin());
    if (at + 1 >= text.size())
        return 0;
    return at + (IsLineEnd(text[at + 1]) && text[at + 1] != text[at] ? 2 : 1);
}

bool MovePiece(FileHandle& handle, std::vector<std::uint8_t>& buffer, std::uint64_t target,
               std::uint64_t source, std::uint64_t bytes) {
    const std::span<std::uint8_t> piece(buffer.data(), static_cast<std::size_t>(bytes));
    if (!handle.file().readExactly(source, piece) || !handle.file().writeAt(target, piece))
        return false;
    handle.position = target + bytes;
    return true;
}

}  // namespace

std::int64_t FileSeek64(FileHandle& handle, std::int64_t offset, SeekOrigin origin) {
    if (!handle.isOpen())
        return -1;
    std::uint64_t base = 0;
    if (origin == SeekOrigin::Current)
        base = handle.position;
    else if (origin == SeekOrigin::End)
        base = handle.file().size();
    // Modulo 2^64 a step back below 0 and a step past the last position both become too large.
    const std::uint64_t target = base + static_cast<std::uint64_t>(offset);
    if (target > kLastPosition)
        return -1;
    handle.position = target;
    return static_cast<std::int64_t>(target);
}

std::int64_t FileTell64(const FileHandle& handle) {
    return handle.isOpen() ? static_cast<std::int64_t>(handle.position) : -1;
}

void FileRewind(FileHandle& handle) {
    handle.position = 0;
}

std::int64_t FileSize64(FileHandle& handle) {
    return handle.isOpen() ? static_cast<std::int64_t>(handle.file().size()) : -1;
}

std::size_t FileRead(std::span<std::uint8_t> buffer, std::size_t size, std::size_t count,
                     FileHandle& handle) {
    const std::size_t bytes = TransferBytes(buffer.size(), size, count);
    if (bytes == 0 || !handle.isOpen())
        return 0;
    const std::size_t got = handle.file().readAt(handle.position, buffer.first(bytes));
    handle.position += got;
    return got / count;
}

std::size_t FileWrite(std::span<const std::uint8_t> buffer, std::size_t size, std::size_t count,
                      FileHandle& handle) {
    const std::size_t bytes = TransferBytes(buffer.size(), size, count);
    if (bytes == 0 || !handle.isOpen() ||
        !handle.file().writeAt(handle.position, buffer.first(bytes)))
        return 0;
    handle.position += bytes;
    return size;
}

bool FileFlush(FileHandle& handle) {
    return handle.isOpen() && handle.file().flush();
}

bool FileSetSize64(FileHandle& handle, std::uint64_t sizeBytes) {
    if (!handle.isOpen() || sizeBytes > kLastPosition || !handle.file().setSize(sizeBytes))
        return false;
    handle.position = std::min(handle.position, sizeBytes);
    return true;
}

int FileReadByte(FileHandle& handle) {
    std::array<std::uint8_t, 1> byte{};
    return FileRead(byte, 1, 1, handle) == 1 ? byte[0] : -1;
}

std::optional<std::string_view> FileReadLine(std::span<char> buffer, FileHandle& handle) {
    if (!handle.isOpen() || buffer.size() < 2)
        return std::nullopt;
    const std::size_t most = buffer.size() - 1;
    std::size_t length = 0;
    bool ended = false;
    while (!ended && length < most) {
        const std::size_t want = std::min(kLinePiece, most - length);
        const std::size_t got =
            handle.file().readAt(handle.position + length,
                                 {reinterpret_cast<std::uint8_t*>(buffer.data()) + length, want});
        length += got;
        const std::size_t line = WholeLine({buffer.data(), length});
        ended = line != 0 || got < want;
        if (line != 0)
            length = line;
    }
    if (length == 0)
        return std::nullopt;
    handle.position += length;
    buffer[length] = '\0';
    return std::string_view(buffer.data(), length);
}

std::size_t FileWriteString(std::string_view text, FileHandle& handle) {
    return FileWrite({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()}, text.size(),
                     1, handle);
}

std::int64_t FileFindString(FileHandle& handle, std::string_view text) {
    if (!handle.isOpen())
        return -1;
    // Each piece begins with the last bytes of the one before, where an occurrence may begin.
    const std::size_t overlap = text.empty() ? 0 : text.size() - 1;
    std::string piece(kSearchPiece + overlap, '\0');
    std::uint64_t at = handle.position;
    for (;;) {
        const std::size_t got =
            handle.file().readAt(at, {reinterpret_cast<std::uint8_t*>(piece.data()), piece.size()});
        const std::size_t found = std::string_view(piece.data(), got).find(text);
        if (found != std::string_view::npos) {
            handle.position = at + found;
            return static_cast<std::int64_t>(handle.position);
        }
        if (got < piece.size()) {
            handle.position = std::max(handle.position, at + got);
            return -1;
        }
        at += kSearchPiece;
    }
}

bool FileMoveWithin(FileHandle& handle, std::uint64_t targetOffset, std::uint64_t sourceOffset) {
    if (!handle.isOpen())
        return false;
    // The length is taken once: writing behind the end must not give more to copy.
    const std::uint64_t size = handle.file().size();
    const std::uint64_t total = sourceOffset < size ? size - sourceOffset : 0;
    if (targetOffset > kLastPosition - total)
        return false;
    std::vector<std::uint8_t> buffer(
        static_cast<std::size_t>(std::min<std::uint64_t>(total, kMovePiece)));
    // Towards the end of the file the last piece goes first, or it would be overwritten unread.
    const bool backwards = targetOffset > sourceOffset;
    for (std::uint64_t done = 0; done < total;) {
        const std::uint64_t bytes = std::min<std::uint64_t>(total - done, kMovePiece);
        const std::uint64_t at = backwards ? total - done - bytes : done;
        if (!MovePiece(handle, buffer, targetOffset + at, sourceOffset + at, bytes))
            return false;
        done += bytes;
    }
    handle.position = targetOffset + total;
    return true;
}

StreamResult FileCopyStream(FileHandle& source, FileHandle& target, std::uint64_t totalBytes,
                            Progress& progress) {
    std::size_t piece = CopyPieceBytes(totalBytes);
    const bool inChunks = totalBytes > std::uint64_t{piece} * 10;
    const std::uint64_t chunks = inChunks ? totalBytes / piece + 1 : 0;
    progress.fileStart({}, totalBytes,
                       static_cast<int>(std::min<std::uint64_t>(chunks, kMostChunks)));
    std::vector<std::uint8_t> buffer(
        static_cast<std::size_t>(std::min<std::uint64_t>(totalBytes, piece)));
    std::uint64_t done = 0;
    while (done < totalBytes) {
        const std::size_t want =
            static_cast<std::size_t>(std::min<std::uint64_t>(totalBytes - done, piece));
        const std::size_t got = FileRead(buffer, want, 1, source);
        if (got == 0)
            return StreamResult::ShortRead;
        if (FileWrite(buffer, got, 1, target) != got)
            return StreamResult::ShortWrite;
        done += got;
        piece = got < want ? got : piece;
        if (inChunks && !progress.chunk(got))
            return StreamResult::Stopped;
    }
    return progress.fileEnd(inChunks ? 0 : totalBytes) ? StreamResult::Done : StreamResult::Stopped;
}

}  // namespace vellmark
