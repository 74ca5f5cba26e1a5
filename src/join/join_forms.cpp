#include "join/join_forms.hpp"

#include <algorithm>
#include <array>
#include <cstring>
#include <functional>
#include <optional>
#include <vector>

#include "IO/iso_reader.hpp"
#include "IO/sector_io.hpp"
#include "join/cue_sheet.hpp"
#include "support/endian.hpp"

namespace vellmark {

namespace {

constexpr int kTextHybridating = 1094;
constexpr int kTextRepacking = 1095;
/// Raw sectors that are repacked at a time.
constexpr std::size_t kRepackPiece = 64;

// The first sector behind so many bytes.
DiscSector EndOf(std::uint64_t bytes) {
    return DiscSector(static_cast<std::uint32_t>((bytes + kIsoSectorBytes - 1) / kIsoSectorBytes));
}

void Begin(const JoinJob& job, int status, std::uint64_t bytes) {
    job.progress.begin(bytes);
    job.progress.text(job.messages.text(status));
}

// Empty sectors of form 2 stand in the gaps of discs of form 1, and lose nothing.
bool IsOfKind(ConstRawSector sector, RawKind kind) {
    const bool isMode1 = kind == RawKind::Mode1;
    if (!HasRawSync(sector) || RawModeOf(sector) != (isMode1 ? 1 : 2))
        return false;
    return isMode1 || (sector[kRawSubmodeOffset] & kSubmodeForm2) == 0 ||
           std::all_of(sector.begin() + kRawMode2DataOffset, sector.end() - sizeof(le32),
                       [](std::uint8_t byte) { return byte == 0; });
}

// Appends to the open image and puts its first bytes last, in one write: until then the image is
// what it was, with something behind it that nothing leads to, and a failure cuts that off again.
// What is appended is on the device before the map that leads to it is written.
HybridationResult AppendThenHead(JoinJob& job, std::uint64_t oldBytes,
                                 const std::function<bool()>& append,
                                 std::span<const std::uint8_t> head) {
    std::vector<std::uint8_t> oldHead(head.size());
    if (!job.disc.readExactly(0, oldHead))
        return job.refuse(HybridationResult::NotIso, Sentence::kDiscCannotBeRead);
    const bool isAppended = append() && job.disc.flush();
    if (isAppended && job.disc.writeAt(0, head) && job.disc.flush()) {
        job.sizeBytes = job.disc.size();
        return HybridationResult::Done;
    }
    const bool isBack = (!isAppended || job.disc.writeAt(0, oldHead)) && job.disc.setSize(oldBytes);
    return isBack ? job.writingEnded(job.disc)
                  : job.refuse(HybridationResult::NotWritten, Sentence::kDiscNotBroughtBack,
                               oldBytes, SystemError{job.disc.error()});
}

// Only a disc of one track of data can have more data behind it.
bool HasOneDataTrack(const JoinJob& job) {
    const std::string sheet = CueSheetOf(job.path);
    if (!sheet.empty() && TracksOfCueSheet(sheet) > 1)
        return false;
    std::array<std::uint8_t, kRawSectorBytes> last;
    const bool isWhole = job.disc.size() % last.size() == 0;
    return (isWhole && job.disc.readExactly(job.disc.size() - last.size(), last) &&
            HasRawSync(last)) ||
           EndsInTornJoin(job);
}

// Whether a sector, or as much of it as the file has, can be one of a join that was torn: devices
// take blocks of 512 bytes whole or not at all, and the first that it touches has either its header
// in it or zeros.
bool CanBeTorn(std::span<const std::uint8_t> sector, std::uint32_t number, RawKind kind) {
    std::array<std::uint8_t, kRawSectorBytes> header{};
    SetRawHeader(header, number, kind);
    const std::size_t inBlock =
        kSectorBytes - std::uint64_t{number} * kRawSectorBytes % kSectorBytes;
    const auto first = sector.first(std::min(sector.size(), inBlock));
    const auto told = first.first(std::min<std::size_t>(first.size(), kRawMode1DataOffset));
    return std::equal(told.begin(), told.end(), header.begin()) ||
           std::all_of(first.begin(), first.end(), [](std::uint8_t byte) { return byte == 0; });
}

// The data of a raw image into `target`. `wrong` becomes the number of a sector that is not like
// the others. An image whose first sector has no synchronisation was written without any.
bool Repack(const JoinJob& job, PcFile& target, std::optional<std::uint64_t>& wrong) {
    const std::uint64_t count = job.disc.size() / kRawSectorBytes;
    std::vector<std::uint8_t> raw(kRepackPiece * kRawSectorBytes);
    std::vector<std::uint8_t> data(kRepackPiece * kIsoSectorBytes);
    bool hasSync = false;
    for (std::uint64_t done = 0; done < count;) {
        const std::size_t piece =
            static_cast<std::size_t>(std::min<std::uint64_t>(count - done, kRepackPiece));
        if (!job.disc.readExactly(done * kRawSectorBytes,
                                  std::span(raw).first(piece * kRawSectorBytes)))
            return false;
        for (std::size_t i = 0; i < piece; ++i) {
            const ConstRawSector sector =
                std::span(raw).subspan(i * kRawSectorBytes).first<kRawSectorBytes>();
            hasSync = hasSync || (done + i == 0 && HasRawSync(sector));
            if (hasSync && !IsOfKind(sector, job.form.kind())) {
                wrong = done + i;
                return false;
            }
            std::memcpy(data.data() + i * kIsoSectorBytes, sector.data() + job.form.dataOffset,
                        kIsoSectorBytes);
        }
        if (!target.writeAt(done * kIsoSectorBytes, std::span(data).first(piece * kIsoSectorBytes)))
            return false;
        done += piece;
        if (!job.progress.chunk(piece * kIsoSectorBytes))
            return false;
    }
    return true;
}

}  // namespace

bool EndsInTornJoin(const JoinJob& job) {
    RawDataSource data(job.disc, job.form);
    const auto reader = IsoReader::Open(data);
    const std::uint64_t size = job.disc.size();
    if (!reader || size / kRawSectorBytes >= kMostRawSectors)
        return false;
    const IsoVolumeInfo& told = reader->info(IsoTree::Iso);
    const std::uint64_t volumeBytes = std::uint64_t{told.spaceSize} * told.blockSize;
    if (volumeBytes == 0 || volumeBytes > size)
        return false;
    std::uint32_t number = EndOf(volumeBytes).number();
    std::uint64_t at = std::uint64_t{number} * kRawSectorBytes;
    if (at >= size)
        return false;
    std::vector<std::uint8_t> raw(kRepackPiece * kRawSectorBytes);
    for (; at < size; at += raw.size()) {
        const auto piece = std::span(raw).first(
            static_cast<std::size_t>(std::min<std::uint64_t>(size - at, raw.size())));
        if (!job.disc.readExactly(at, piece))
            return false;
        for (std::size_t i = 0; i < piece.size(); i += kRawSectorBytes, ++number)
            if (!CanBeTorn(
                    piece.subspan(i, std::min<std::size_t>(piece.size() - i, kRawSectorBytes)),
                    number, job.form.kind()))
                return false;
    }
    return true;
}

HybridationResult JoinPlain(JoinJob& job) {
    const std::uint64_t oldBytes = job.disc.size();
    const DiscSector start = EndOf(oldBytes);
    const DiscSector end = start + job.partitionSectors();
    if (!job.hasRoom(end.byte() - oldBytes, end.byte()))
        return HybridationResult::NotWritten;
    Begin(job, kTextHybridating, job.source.size());
    const auto append = [&] {
        return (start.byte() == oldBytes || job.disc.setSize(start.byte())) &&
               CopyWatched(job.source, job.disc, {0, start.byte(), job.source.size()},
                           job.progress);
    };
    const HybridMap map = job.map(start, end);
    return AppendThenHead(job, oldBytes, append, AsBytes(map));
}

HybridationResult JoinRaw(JoinJob& job) {
    const std::uint64_t oldBytes = job.disc.size();
    const auto start =
        static_cast<std::uint32_t>((oldBytes + kRawSectorBytes - 1) / kRawSectorBytes);
    const std::uint32_t total = start + job.partitionSectors();
    if (!HasOneDataTrack(job))
        return job.refuse(HybridationResult::NotIso, Sentence::kDiscOfSeveralTracks);
    const std::uint64_t newBytes = std::uint64_t{total} * kRawSectorBytes;
    if (!job.hasRoom(newBytes - oldBytes, newBytes))
        return HybridationResult::NotWritten;
    const RawKind kind = job.form.kind();
    const HybridMap map = job.map(DiscSector(start), DiscSector(total));
    std::array<std::uint8_t, kRawSectorBytes> head;
    if (!job.disc.readExactly(0, head))
        return job.refuse(HybridationResult::NotIso, Sentence::kDiscCannotBeRead);
    std::memcpy(head.data() + job.form.dataOffset, &map, sizeof map);
    SetRawHeader(head, 0, kind);
    SetRawChecks(head, kind);
    Begin(job, kTextHybridating, job.source.size());
    const auto append = [&] {
        const std::uint64_t behind = std::uint64_t{start} * kRawSectorBytes;
        return (behind == oldBytes || job.disc.setSize(behind)) &&
               WriteRawSectors(job.source, job.disc, start, kind, 0, job.progress);
    };
    return AppendThenHead(job, oldBytes, append, head);
}

HybridationResult JoinRepacked(JoinJob& job) {
    const DiscSector start(static_cast<std::uint32_t>(job.disc.size() / kRawSectorBytes));
    const DiscSector end = start + job.partitionSectors();
    // The raw image is there until the new one is whole.
    if (!job.hasRoom(end.byte(), end.byte()))
        return HybridationResult::NotWritten;
    TargetFile target(job.path);
    PcFile& file = target.file();
    if (!file.isOpen())
        return job.writingEnded(file);
    Begin(job, kTextRepacking, end.byte());
    std::optional<std::uint64_t> wrong;
    bool isWhole = Repack(job, file, wrong);
    if (wrong)
        return job.refuse(HybridationResult::NotIso, Sentence::kDiscOfSeveralKinds, *wrong);
    job.progress.text(job.messages.text(kTextHybridating));
    isWhole = isWhole &&
              CopyWatched(job.source, file, {0, start.byte(), job.source.size()}, job.progress);
    if (!isWhole || !file.writeRecord(0, job.map(start, end)))
        return job.writingEnded(file);
    if (const int error = target.publish(true, true); error != 0)
        return job.notPublished(error);
    job.sizeBytes = end.byte();
    return HybridationResult::Done;
}

}  // namespace vellmark
