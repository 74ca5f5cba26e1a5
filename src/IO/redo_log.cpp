#include "IO/redo_log.hpp"

#include <fmt/core.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <optional>

#include "IO/redo_places.hpp"
#include "support/endian.hpp"
#include "support/sentences.hpp"

namespace vellmark {

namespace {

constexpr std::array<char, 8> kMagic = {'V', 'L', 'M', 'K', 'R', 'E', 'D', 'O'};
constexpr std::uint32_t kVersion = 2;
constexpr int kMostAsideNames = 1000;

struct Header {
    std::array<char, 8> magic{};
    be32 version = 0;
    be32 checksum = 0;    ///< CRC-32 of header and pieces, with 0 here
    be64 logBytes = 0;    ///< of the whole file
    be64 imageBytes = 0;  ///< of the image
    be64 markOffset = 0;  ///< of the sector that marks the change
    be64 contentCount = 0;
    be64 pieceCount = 0;
    std::array<std::uint8_t, kRedoSectorBytes> mark{};  ///< that sector meanwhile
};
static_assert(sizeof(Header) == 568);

struct ContentSum {
    be64 offset = 0;
    be32 sum = 0;
};
static_assert(sizeof(ContentSum) == 12);

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

bool Covers(const RedoPiece& piece, std::uint64_t offset) {
    return offset >= piece.offset && offset - piece.offset < piece.bytes.size();
}

// Whether one of the pieces, which are in rising order, covers the sector.
bool IsCovered(std::span<const RedoPiece> pieces, std::uint64_t offset) {
    const auto piece = std::upper_bound(
        pieces.begin(), pieces.end(), offset,
        [](std::uint64_t at, const RedoPiece& p) { return at < p.offset + p.bytes.size(); });
    return piece != pieces.end() && Covers(*piece, offset);
}

// Appends the sums of what stands under a piece now. False when it cannot be read.
bool AppendSums(PcFile& image, const RedoPiece& piece, std::vector<std::uint8_t>& log) {
    std::vector<std::uint8_t> now(piece.bytes.size());
    if (!image.readExactly(piece.offset, now))
        return false;
    for (std::size_t at = 0; at < now.size(); at += kRedoSectorBytes) {
        const be32 sum = AddToChecksum(0, std::span(now).subspan(at, kRedoSectorBytes));
        log.insert(log.end(), BytesOf(sum).begin(), BytesOf(sum).end());
    }
    return true;
}

// Nothing when what stands under the pieces cannot be read.
std::optional<std::vector<std::uint8_t>> Serialized(PcFile& image,
                                                    std::span<const RedoPiece> pieces,
                                                    const RedoMark& mark,
                                                    const ContentSamples& contents) {
    std::vector<ContentSum> sums;
    for (const auto& [offset, sum] : contents.sums())
        if (!IsCovered(pieces, offset))
            sums.push_back({offset, sum});
    Header header;
    header.magic = kMagic;
    header.version = kVersion;
    header.imageBytes = image.size();
    header.markOffset = mark.offset;
    header.contentCount = sums.size();
    header.pieceCount = pieces.size();
    header.mark = mark.bytes;
    std::size_t size = sizeof header + sums.size() * sizeof(ContentSum);
    for (const RedoPiece& piece : pieces)
        size += sizeof(PieceHeader) + piece.bytes.size() +
                piece.bytes.size() / kRedoSectorBytes * sizeof(be32);
    header.logBytes = size;
    std::vector<std::uint8_t> log;
    log.reserve(size);
    const auto append = [&log](std::span<const std::uint8_t> bytes) {
        log.insert(log.end(), bytes.begin(), bytes.end());
    };
    append(BytesOf(header));
    for (const ContentSum& sum : sums)
        append(BytesOf(sum));
    for (const RedoPiece& piece : pieces) {
        append(BytesOf(PieceHeader{piece.offset, piece.bytes.size()}));
        if (!AppendSums(image, piece, log))
            return std::nullopt;
        append(piece.bytes);
    }
    header.checksum = AddToChecksum(0, log);
    std::memcpy(log.data(), &header, sizeof header);
    return log;
}

RedoWriting WriteAt(const std::string& path, const std::string& imagePath,
                    std::span<const std::uint8_t> log) {
    TargetFile target(path, imagePath);
    if (!target.file().isOpen())
        return {path, target.file().error()};
    int error = target.file().writeAt(0, log) ? 0 : target.file().error();
    if (error == 0 && (error = target.publish(true, true)) != 0)
        // One whose name may be gone after a power cut is none to rely on.
        ::unlink(path.c_str());
    return {path, error};
}

// The sums of contents of a log whose checksum is right. False when they do not fit.
bool FindContents(RedoLog& log, std::uint64_t count) {
    if (count > kMostContentSamples ||
        count * sizeof(ContentSum) > log.bytes.size() - sizeof(Header))
        return false;
    for (std::size_t i = 0; i < count; ++i) {
        ContentSum sum;
        std::memcpy(&sum, log.bytes.data() + sizeof(Header) + i * sizeof sum, sizeof sum);
        log.contents.emplace(sum.offset, sum.sum);
    }
    return true;
}

// The pieces of a log whose checksum is right. False when they do not fit themselves or the image.
bool FindPieces(RedoLog& log, std::size_t at, std::uint64_t pieceCount) {
    const std::span<const std::uint8_t> bytes = log.bytes;
    std::uint64_t end = 0;
    bool isMarked = false;
    while (bytes.size() - at >= sizeof(PieceHeader)) {
        PieceHeader header;
        std::memcpy(&header, bytes.data() + at, sizeof header);
        at += sizeof header;
        const std::uint64_t offset = header.offset;
        const std::uint64_t length = header.length;
        if (offset < end || offset > log.imageBytes || length > log.imageBytes - offset ||
            length == 0 || length % kRedoSectorBytes != 0 || length > bytes.size() - at)
            return false;
        const std::size_t sums = static_cast<std::size_t>(length) / kRedoSectorBytes;
        if (bytes.size() - at - length < sums * sizeof(be32))
            return false;
        std::vector<std::uint32_t>& before = log.before.emplace_back();
        for (std::size_t i = 0; i < sums; ++i, at += sizeof(be32)) {
            be32 sum;
            std::memcpy(&sum, bytes.data() + at, sizeof sum);
            before.push_back(sum);
        }
        log.pieces.push_back({offset, bytes.subspan(at, static_cast<std::size_t>(length))});
        isMarked = isMarked || (Covers(log.pieces.back(), log.mark.offset) &&
                                (log.mark.offset - offset) % kRedoSectorBytes == 0);
        at += static_cast<std::size_t>(length);
        end = offset + length;
    }
    return isMarked && at == bytes.size() && log.pieces.size() == pieceCount;
}

// A log of an image takes no more than the image, with a header and a sum for each sector.
constexpr std::uint64_t MostLogBytes(std::uint64_t imageBytes) {
    return sizeof(Header) + kMostContentSamples * sizeof(ContentSum) + imageBytes +
           imageBytes / kRedoSectorBytes * (sizeof(PieceHeader) + sizeof(be32));
}

// Reads a log; none, or why it cannot be used.
Reason ReadLog(PcFile& file, RedoLog& log) {
    Header header;
    if (!file.readRecord(0, header) || header.magic != kMagic)
        return file.error() != 0 ? file.failure() : Sentence::kLogIsNone;
    if (header.version != kVersion)
        return Sentence::kLogOfOtherVersion;
    if (header.logBytes != file.size() || file.size() > MostLogBytes(header.imageBytes))
        return Sentence::kLogDamaged;
    log.imageBytes = header.imageBytes;
    log.mark = {header.markOffset, header.mark};
    log.bytes.resize(static_cast<std::size_t>(file.size()));
    if (!file.readExactly(0, log.bytes))
        return file.error() != 0 ? file.failure() : Sentence::kLogDamaged;
    Header unsummed = header;
    unsummed.checksum = 0;
    std::uint32_t checksum = AddToChecksum(0, BytesOf(unsummed));
    checksum = AddToChecksum(checksum, std::span(log.bytes).subspan(sizeof(Header)));
    return checksum == header.checksum && FindContents(log, header.contentCount) &&
                   FindPieces(log, sizeof(Header) + log.contents.size() * sizeof(ContentSum),
                              header.pieceCount)
               ? Reason()
               : Reason(Sentence::kLogDamaged);
}

// Whether each sector of a piece is as it was before the change, as it is to be, or marked.
bool IsBeforeOrAfter(const RedoLog& log, std::size_t number, std::span<const std::uint8_t> now) {
    const RedoPiece& piece = log.pieces[number];
    for (std::size_t at = 0; at < now.size(); at += kRedoSectorBytes) {
        const auto sector = now.subspan(at, kRedoSectorBytes);
        const auto after = piece.bytes.subspan(at, kRedoSectorBytes);
        const bool isMark = piece.offset + at == log.mark.offset &&
                            std::equal(sector.begin(), sector.end(), log.mark.bytes.begin());
        if (!isMark && !std::equal(sector.begin(), sector.end(), after.begin()) &&
            AddToChecksum(0, sector) != log.before[number][at / kRedoSectorBytes])
            return false;
    }
    return true;
}

// Whether the image is the one of the log, before, during or after its change.
RedoState StateOf(PcFile& image, const RedoLog& log, Reason& problem) {
    if (image.size() != log.imageBytes)
        return RedoState::Foreign;
    std::vector<std::uint8_t> now(kRedoSectorBytes);
    const auto cannotRead = [&] {
        problem = Reason(Sentence::kLogImageUnreadable, image.failure());
        return RedoState::Unusable;
    };
    for (const auto& [offset, sum] : log.contents) {
        if (!image.readExactly(offset, now))
            return cannotRead();
        if (AddToChecksum(0, now) != sum)
            return RedoState::Foreign;
    }
    for (std::size_t i = 0; i < log.pieces.size(); ++i) {
        now.resize(log.pieces[i].bytes.size());
        if (!image.readExactly(log.pieces[i].offset, now))
            return cannotRead();
        if (!IsBeforeOrAfter(log, i, now))
            return RedoState::Foreign;
    }
    return RedoState::Pending;
}

// What lies at one place.
FoundRedoLog LookAt(const std::string& path, PcFile& image) {
    FoundRedoLog found{RedoState::Unusable, path, {}, {}};
    PcFile file(path, PcFile::Mode::Read);
    if (file.error() == ENOENT || file.error() == ENOTDIR)
        return {};
    const auto log = std::make_shared<RedoLog>();
    found.problem = file.isOpen() ? ReadLog(file, *log) : file.failure();
    if (!found.problem)
        found.state = StateOf(image, *log, found.problem);
    if (found.state == RedoState::Pending)
        found.log = log;
    return found;
}

// Which of two findings counts: what cannot be judged stands against every change.
bool CountsMore(RedoState one, RedoState other) {
    const auto rank = [](RedoState state) {
        return state == RedoState::Unusable  ? 3
               : state == RedoState::Pending ? 2
               : state == RedoState::Foreign ? 1
                                             : 0;
    };
    return rank(one) > rank(other);
}

}  // namespace

RedoWriting WriteRedoLog(PcFile& image, const std::string& imagePath, const FileGuard& guard,
                         std::span<const RedoPiece> pieces, const RedoMark& mark,
                         const ContentSamples& contents) {
    const std::string path = RedoLogPath(imagePath);
    const auto log = Serialized(image, pieces, mark, contents);
    if (!log)
        return {path, image.error() != 0 ? image.error() : EIO};
    RedoWriting writing = WriteAt(path, imagePath, *log);
    const bool isClosed =
        writing.error == EACCES || writing.error == EPERM || writing.error == EROFS;
    if (!isClosed || guard.logFolder.empty())
        return writing;
    if (const int error = MakePrivateFolder(guard.logFolder); error != 0)
        return {guard.logFolder, error};
    return WriteAt(KeptLogPath(image, imagePath, guard), imagePath, *log);
}

void RemoveRedoLogs(const std::string& imagePath, const FileGuard& guard) {
    std::vector<KeptLog> places;
    (void)FindKeptLogs({}, imagePath, guard, places);
    places.push_back({RedoLogPath(imagePath), true});
    for (const KeptLog& place : places) {
        std::array<char, 8> magic;
        if (PcFile(place.path, PcFile::Mode::Read).readRecord(0, magic) && magic == kMagic)
            ::unlink(place.path.c_str());
    }
}

FoundRedoLog FindRedoLog(PcFile& image, const std::string& imagePath, const FileGuard& guard) {
    FoundRedoLog best = LookAt(RedoLogPath(imagePath), image);
    std::vector<KeptLog> kept;
    if (const int error = FindKeptLogs(InodeOf(image), imagePath, guard, kept); error != 0)
        return {RedoState::Unusable, guard.logFolder, SystemError{error}, {}};
    for (const KeptLog& place : kept) {
        FoundRedoLog found = LookAt(place.path, image);
        // One that was made under another path is this image's only when it fits.
        if (!place.hasItsPath && found.state != RedoState::Pending)
            continue;
        if (CountsMore(found.state, best.state))
            best = std::move(found);
    }
    return best;
}

bool CarryOut(std::span<const RedoPiece> pieces, const RedoMark& mark, PcFile& image,
              const WriteBytes& write) {
    if (!write(mark.offset, mark.bytes) || !image.flush())
        return false;
    std::span<const std::uint8_t> last;
    for (const RedoPiece& piece : pieces) {
        if (!Covers(piece, mark.offset)) {
            if (!write(piece.offset, piece.bytes))
                return false;
            continue;
        }
        const auto before = piece.bytes.first(static_cast<std::size_t>(mark.offset - piece.offset));
        const auto behind = piece.bytes.subspan(before.size() + kRedoSectorBytes);
        last = piece.bytes.subspan(before.size(), kRedoSectorBytes);
        if ((!before.empty() && !write(piece.offset, before)) ||
            (!behind.empty() && !write(mark.offset + kRedoSectorBytes, behind)))
            return false;
    }
    return !last.empty() && image.flush() && write(mark.offset, last) && image.flush();
}

ReadPatch ShownThrough(std::shared_ptr<const RedoLog> log) {
    return [log = std::move(log)](std::uint64_t offset, std::span<std::uint8_t> bytes) {
        const std::uint64_t end = offset + bytes.size();
        // The pieces are in rising order, and a read meets few of them.
        auto piece = std::upper_bound(
            log->pieces.begin(), log->pieces.end(), offset,
            [](std::uint64_t at, const RedoPiece& p) { return at < p.offset + p.bytes.size(); });
        for (; piece != log->pieces.end() && piece->offset < end; ++piece) {
            const std::uint64_t from = std::max(offset, piece->offset);
            const std::uint64_t to = std::min(end, piece->offset + piece->bytes.size());
            const auto shown = piece->bytes.subspan(static_cast<std::size_t>(from - piece->offset),
                                                    static_cast<std::size_t>(to - from));
            std::copy(shown.begin(), shown.end(),
                      bytes.begin() + static_cast<std::ptrdiff_t>(from - offset));
        }
    };
}

std::string PutRedoLogAside(const std::string& path) {
    for (int number = 1; number <= kMostAsideNames; ++number) {
        std::string aside = fmt::format("{}-{}", path, number);
        if (::access(aside.c_str(), F_OK) == 0)
            continue;
        return ::rename(path.c_str(), aside.c_str()) == 0 ? aside : std::string{};
    }
    return {};
}

}  // namespace vellmark
