#include "join/join_job.hpp"

#include <algorithm>
#include <cstring>
#include <vector>

#include "IO/sector_io.hpp"

namespace vellmark {

namespace {

constexpr int kTextNoRoom = 1073;
constexpr int kTextTooLargeForDisk = 1474;
constexpr std::size_t kPieceBytes = 1 << 20;
/// Raw sectors that are made at a time.
constexpr std::size_t kRawPiece = 64;

}  // namespace

std::uint32_t JoinJob::partitionSectors() const {
    return static_cast<std::uint32_t>(source.size() / kIsoSectorBytes);
}

HybridMap JoinJob::map(DiscSector start, DiscSector end) const {
    return MakeHybridMap(source.partition(), ToSector512(start),
                         static_cast<std::uint32_t>(source.partitionBlocks()), ToSector512(end));
}

bool JoinJob::hasRoom(std::uint64_t more, std::uint64_t whole) const {
    const std::string folder = FolderOf(path);
    if (JudgeTargetRoom(whole, whole, HoldsLargeFiles(folder)) != TargetRoom::Fits) {
        messages.showMessage(Reason(ToldText{kTextTooLargeForDisk}));
        return false;
    }
    if (more <= FreeBytes(folder))
        return true;
    messages.showMessage(Reason(ToldText{kTextNoRoom}));
    return false;
}

HybridationResult JoinJob::writingEnded(const PcFile& target) const {
    if (target.error() != 0)
        return refuse(HybridationResult::NotWritten, Sentence::kDiscCannotBeWritten,
                      SystemError{target.error()});
    if (disc.error() != 0)
        return refuse(HybridationResult::NotWritten, Sentence::kDiscReadFailed,
                      SystemError{disc.error()});
    if (!source.isWhole()) {
        messages.showError(
            Reason(Sentence::kVolumeNotReadWhole, Printable(source.path()), Printable(name)));
        return HybridationResult::NotWritten;
    }
    messages.showMessage(Reason(Sentence::kStoppedDiscAsItWas));
    return HybridationResult::Stopped;
}

HybridationResult JoinJob::notPublished(int error) const {
    return refuse(HybridationResult::NotWritten, Sentence::kDiscCannotBeReplaced,
                  SystemError{error});
}

bool CopyWatched(ByteSource& source, PcFile& target, ByteMove move, Progress& progress) {
    std::vector<std::uint8_t> piece;
    for (std::uint64_t done = 0; done < move.count;) {
        std::uint64_t bytes =
            source.copyTo(target, {move.from + done, move.to + done,
                                   std::min<std::uint64_t>(move.count - done, kMostDirectCopy)});
        if (bytes == 0) {
            piece.resize(kPieceBytes);
            const std::size_t want =
                static_cast<std::size_t>(std::min<std::uint64_t>(move.count - done, piece.size()));
            bytes = source.readAt(move.from + done, std::span(piece).first(want));
            if (bytes == 0 || !target.writeAt(move.to + done, std::span(piece).first(
                                                                  static_cast<std::size_t>(bytes))))
                return false;
        }
        done += bytes;
        if (!progress.chunk(bytes))
            return false;
    }
    return true;
}

bool WriteRawSectors(ByteSource& data, PcFile& target, std::uint32_t number, RawKind kind,
                     std::uint8_t submode, Progress& progress) {
    const std::uint64_t count = data.size() / kIsoSectorBytes;
    std::vector<std::uint8_t> blocks(kRawPiece * kIsoSectorBytes);
    std::vector<std::uint8_t> raw(kRawPiece * kRawSectorBytes);
    const std::size_t dataOffset =
        kind == RawKind::Mode1 ? kRawMode1DataOffset : kRawMode2DataOffset;
    for (std::uint64_t done = 0; done < count;) {
        const std::size_t piece =
            static_cast<std::size_t>(std::min<std::uint64_t>(count - done, kRawPiece));
        if (!data.readExactly(done * kIsoSectorBytes,
                              std::span(blocks).first(piece * kIsoSectorBytes)))
            return false;
        const std::uint32_t first = number + static_cast<std::uint32_t>(done);
        for (std::size_t i = 0; i < piece; ++i) {
            const RawSector sector =
                std::span(raw).subspan(i * kRawSectorBytes).first<kRawSectorBytes>();
            std::fill(sector.begin(), sector.end(), std::uint8_t{0});
            std::memcpy(sector.data() + dataOffset, blocks.data() + i * kIsoSectorBytes,
                        kIsoSectorBytes);
            if (kind != RawKind::Mode1) {
                sector[kRawSubmodeOffset] = submode;
                sector[kRawSubmodeOffset + kRawSubheaderBytes] = submode;
            }
            SetRawHeader(sector, first + static_cast<std::uint32_t>(i), kind);
            SetRawChecks(sector, kind);
        }
        if (!target.writeAt(std::uint64_t{first} * kRawSectorBytes,
                            std::span(raw).first(piece * kRawSectorBytes)))
            return false;
        done += piece;
        if (!progress.chunk(piece * kIsoSectorBytes))
            return false;
    }
    return true;
}

}  // namespace vellmark
