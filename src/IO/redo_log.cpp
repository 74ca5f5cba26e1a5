#include "IO/redo_log.hpp"

#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <filesystem>
#include <optional>
#include <system_error>

#include "support/endian.hpp"

namespace vellmark {

namespace {

constexpr std::array<char, 8> kMagic = {'V', 'L', 'M', 'K', 'R', 'E', 'D', 'O'};
constexpr std::uint32_t kVersion = 1;
constexpr std::size_t kWitnessBytes = 512;

struct Header {
    std::array<char, 8> magic{};
    be32 version = 0;
    be32 checksum = 0;       ///< CRC-32 of header and pieces, with 0 here
    be64 logBytes = 0;       ///< of the whole file
    be64 imageBytes = 0;     ///< of the image
    be64 witnessOffset = 0;  ///< of a sector
    be64 pieceCount = 0;
    std::array<std::uint8_t, kWitnessBytes> witness{};  ///< that sector before the change
};
static_assert(sizeof(Header) == 560);

struct PieceHeader {
    be64 offset = 0;
    be64 length = 0;
};
static_assert(sizeof(PieceHeader) == 16);

template <typename Record>
std::span<const std::uint8_t> BytesOf(const Record& record) {
    return {reinterpret_cast<const std::uint8_t*>(&record), sizeof record};
}

std::uint32_t AddToChecksum(std::uint32_t checksum, std::span<const std::uint8_t> bytes) {
    return static_cast<std::uint32_t>(::crc32_z(checksum, bytes.data(), bytes.size()));
}

std::vector<std::uint8_t> Serialized(Header header, std::span<const RedoPiece> pieces) {
    std::size_t size = sizeof header;
    for (const RedoPiece& piece : pieces)
        size += sizeof(PieceHeader) + piece.bytes.size();
    header.logBytes = size;
    std::vector<std::uint8_t> log;
    log.reserve(size);
    const auto append = [&log](std::span<const std::uint8_t> bytes) {
        log.insert(log.end(), bytes.begin(), bytes.end());
    };
    append(BytesOf(header));
    for (const RedoPiece& piece : pieces) {
        append(BytesOf(PieceHeader{piece.offset, piece.bytes.size()}));
        append(piece.bytes);
    }
    header.checksum = AddToChecksum(0, log);
    std::memcpy(log.data(), &header, sizeof header);
    return log;
}

/// A whole log in memory.
struct Log {
    Header header;
    std::vector<std::uint8_t> bytes;
    std::vector<RedoPiece> pieces;
};

// The pieces of a log whose checksum is right; nothing when their lengths do not fit all the same.
bool FindPieces(Log& log) {
    std::size_t at = sizeof(Header);
    while (log.bytes.size() - at >= sizeof(PieceHeader)) {
        PieceHeader piece;
        std::memcpy(&piece, log.bytes.data() + at, sizeof piece);
        at += sizeof piece;
        if (piece.length > log.bytes.size() - at)
            return false;
        const auto length = static_cast<std::size_t>(piece.length);
        log.pieces.push_back({piece.offset, std::span(log.bytes).subspan(at, length)});
        at += length;
    }
    return at == log.bytes.size() && log.pieces.size() == log.header.pieceCount;
}

bool HasMagic(PcFile& file) {
    std::array<char, 8> magic;
    return file.readRecord(0, magic) && magic == kMagic;
}

// Nothing when the log is not whole.
std::optional<Log> ReadLog(PcFile& file) {
    Log log;
    if (!file.readRecord(0, log.header) || log.header.version != kVersion ||
        log.header.logBytes != file.size())
        return std::nullopt;
    log.bytes.resize(static_cast<std::size_t>(file.size()));
    if (!file.readExactly(0, log.bytes))
        return std::nullopt;
    Header unsummed = log.header;
    unsummed.checksum = 0;
    std::uint32_t checksum = AddToChecksum(0, BytesOf(unsummed));
    checksum = AddToChecksum(checksum, std::span(log.bytes).subspan(sizeof(Header)));
    if (checksum != log.header.checksum || !FindPieces(log))
        return std::nullopt;
    return log;
}

// Whether the image is the one of the log, before, during or after its change.
bool IsOfImage(PcFile& image, const Log& log) {
    std::array<std::uint8_t, kWitnessBytes> now;
    const std::uint64_t offset = log.header.witnessOffset;
    if (image.size() != log.header.imageBytes || !image.readExactly(offset, now))
        return false;
    if (now == log.header.witness)
        return true;
    return std::any_of(log.pieces.begin(), log.pieces.end(), [&](const RedoPiece& piece) {
        if (offset < piece.offset || offset - piece.offset > piece.bytes.size() ||
            piece.bytes.size() - (offset - piece.offset) < now.size())
            return false;
        const auto after = piece.bytes.subspan(static_cast<std::size_t>(offset - piece.offset));
        return std::equal(now.begin(), now.end(), after.begin());
    });
}

}  // namespace

std::string RedoLogPath(const std::string& imagePath) {
    std::error_code error;
    const std::filesystem::path real = std::filesystem::canonical(imagePath, error);
    return (error ? imagePath : real.string()) + ".vellmark-redo";
}

bool WriteRedoLog(PcFile& image, const std::string& imagePath, std::span<const RedoPiece> pieces,
                  std::uint64_t witnessOffset) {
    Header header;
    header.magic = kMagic;
    header.version = kVersion;
    header.imageBytes = image.size();
    header.witnessOffset = witnessOffset;
    header.pieceCount = pieces.size();
    if (!image.readExactly(witnessOffset, header.witness))
        return false;
    TargetFile target(RedoLogPath(imagePath));
    return target.file().isOpen() && target.file().writeAt(0, Serialized(header, pieces)) &&
           target.publish(true, true) == 0;
}

void RemoveRedoLog(const std::string& imagePath) {
    ::unlink(RedoLogPath(imagePath).c_str());
}

RedoResult ReplayRedoLog(PcFile& image, const std::string& imagePath) {
    PcFile file(RedoLogPath(imagePath), PcFile::Mode::Read);
    if (!file.isOpen() || !HasMagic(file))
        return RedoResult::None;
    const std::optional<Log> log = ReadLog(file);
    if (!log || !IsOfImage(image, *log)) {
        RemoveRedoLog(imagePath);
        return RedoResult::Foreign;
    }
    for (const RedoPiece& piece : log->pieces)
        if (!image.writeAt(piece.offset, piece.bytes))
            return RedoResult::Failed;
    if (!image.flush())
        return RedoResult::Failed;
    RemoveRedoLog(imagePath);
    return RedoResult::Completed;
}

}  // namespace vellmark
