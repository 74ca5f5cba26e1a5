#include "IO/disk_image_pieces.hpp"

#include <algorithm>
#include <cstring>

#include "IO/disk_image_crc.hpp"
#include "IO/disk_image_list.hpp"
#include "support/sentences.hpp"

namespace vellmark {

namespace {

constexpr std::size_t kPieceBytes = 256 << 10;

// Of the stored blocks, as they lie in the file.
std::uint32_t DataCrc(ByteSource& source, const DiskImageTrailer& trailer, Progress& progress,
                      TrailerComparison& result) {
    RunningCrc crc;
    SourcePieces pieces(source, trailer.dataStart, trailer.dataLength);
    for (auto piece = pieces.next(); !piece.empty() && !result.isStopped; piece = pieces.next()) {
        crc.add(piece);
        result.isStopped = !progress.mayGoOn();
    }
    if (pieces.failed())
        result.problem = Sentence::kExpandUnreadable;
    return crc.value();
}

// Of the values that all tables have, one behind the other.
std::uint32_t TablesCrc(ByteSource& source, const DiskImageTrailer& trailer, Progress& progress,
                        TrailerComparison& result) {
    RunningCrc crc;
    DataSections sections(source, trailer.listOffset, trailer.listLength, progress);
    BlockTableHeader header;
    while (sections.next())
        if (sections.read({reinterpret_cast<std::uint8_t*>(&header), sizeof header}) ==
                sizeof header &&
            header.signature == kBlockTableSignature && header.checksum.isCrc32())
            crc.add(AsBytes(header.checksum.value));
    result.isStopped = result.isStopped || sections.isStopped();
    return crc.value();
}

void Compare(Sentence what, const DiskImageChecksum& expected, std::uint32_t found,
             TrailerComparison& result) {
    ++result.compared;
    if (!result.problem && found != expected.value)
        result.problem =
            Reason(Sentence::kChecksumDiffers, what, found, std::uint32_t{expected.value});
}

bool IsCompared(const DiskImageChecksum& expected, TrailerComparison& result) {
    if (expected.isCrc32())
        return true;
    result.unknown += expected.kind == 0 ? 0 : 1;
    return false;
}

}  // namespace

std::span<const std::uint8_t> SourcePieces::next() {
    const auto want = static_cast<std::size_t>(std::min<std::uint64_t>(kPieceBytes, end_ - at_));
    if (failed_ || want == 0)
        return {};
    buffer_.resize(kPieceBytes);
    const std::size_t got = source_.readAt(at_, {buffer_.data(), want});
    failed_ = got < want;
    at_ += got;
    return {buffer_.data(), got};
}

std::span<std::uint8_t> TargetPieces::room() {
    buffer_.resize(kPieceBytes);
    return {buffer_.data(), static_cast<std::size_t>(std::min<std::uint64_t>(kPieceBytes, left_))};
}

bool TargetPieces::put(std::size_t count) {
    const bool taken = take_(offset_, {buffer_.data(), count});
    offset_ += count;
    left_ -= count;
    return taken;
}

BlockEnd CopyPieces(StoredPieces& stored, PlainPieces& plain) {
    for (auto piece = stored.next(); !piece.empty(); piece = stored.next())
        while (!piece.empty()) {
            const std::span<std::uint8_t> room = plain.room();
            const std::size_t count = std::min(room.size(), piece.size());
            if (count == 0)
                return BlockEnd::TooLong;
            std::memcpy(room.data(), piece.data(), count);
            piece = piece.subspan(count);
            if (!plain.put(count))
                return BlockEnd::Stopped;
        }
    return BlockEnd::Done;
}

TrailerComparison CompareTrailer(ByteSource& source, const DiskImageTrailer& trailer,
                                 Progress& progress) {
    TrailerComparison result;
    if (IsCompared(trailer.dataChecksum, result)) {
        const std::uint64_t size = source.size();
        if (trailer.dataStart > size || trailer.dataLength > size - trailer.dataStart)
            result.problem = Sentence::kTrailerDataOutside;
        else
            Compare(Sentence::kOfStoredData, trailer.dataChecksum,
                    DataCrc(source, trailer, progress, result), result);
    }
    if (IsCompared(trailer.tableChecksum, result))
        Compare(Sentence::kOfTableChecksums, trailer.tableChecksum,
                TablesCrc(source, trailer, progress, result), result);
    return result;
}

}  // namespace vellmark
