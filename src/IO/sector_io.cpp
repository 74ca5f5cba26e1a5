#include "IO/sector_io.hpp"

#include <algorithm>
#include <cerrno>
#include <limits>
#include <vector>

#include "support/pc_folder.hpp"

namespace vellmark {

namespace {

// The last sector whose byte offset the system still takes.
constexpr std::uint64_t kLastSector = std::numeric_limits<std::int64_t>::max() / kSectorBytes -
                                      std::numeric_limits<std::uint32_t>::max();

void UseImageSlots(MediumContext& context) {
    const TransferSlot slot = [&context](const SectorRequest& request) {
        return TransferSectors(context, request);
    };
    context.transferSlot = slot;
    context.transferSlot2 = slot;
    context.mediumKind = MediumKind::FileImage;
}

void ForgetMedium(MediumContext& context) {
    CloseImage(context);
    UseImageSlots(context);
    context.contents.clear();
    context.sectorSize = kSectorBytes;
    context.maxTransferSectors = kStreamSectors;
    context.totalSectors = 0;
    context.driverBlockSize = 0;
    context.partitionCount = 0;
    context.volumeOffset = 0;
    context.partitionStart = 0;
    context.blockSize = 0;
    context.sectorsPerBlock = 0;
    context.readOnlyReasons = {};
    context.transferFailed = false;
}

ImageOpening OpenAs(MediumContext& context, const std::string& path, PcFile::Mode mode) {
    const LockKind kind = mode == PcFile::Mode::Read ? LockKind::Shared : LockKind::Exclusive;
    auto file = std::make_shared<PcFile>(
        OpenLocked([&] { return PcFile(path, mode); }, kind, context.guard.lockWaitMs));
    if (!file->isOpen())
        return {OpenResult::Failed, file->error()};
    context.image = std::move(file);
    context.imagePath = path;
    return {OpenResult::Opened, 0};
}

bool ReadRun(PcFile& image, const SectorRequest& request, std::span<std::uint8_t> buffer) {
    std::size_t got = 0;
    if (request.startSector <= kLastSector)
        got = image.readAt(request.startSector * kSectorBytes, buffer);
    std::fill(buffer.begin() + static_cast<std::ptrdiff_t>(got), buffer.end(), std::uint8_t{0});
    return got == buffer.size();
}

bool WriteRun(PcFile& image, const SectorRequest& request, std::span<const std::uint8_t> buffer) {
    return request.startSector <= kLastSector &&
           image.writeAt(request.startSector * kSectorBytes, buffer);
}

// One stream as the person sees it: a bar when it is longer than one round.
class StreamBar {
  public:
    StreamBar(Progress& progress, std::uint64_t sectors, std::uint64_t bytes)
        : progress_(progress), untold_(bytes), inChunks_(sectors > kStreamSectors) {
        const std::uint64_t steps = inChunks_ ? sectors / kStreamSectors + 1 : 0;
        progress_.fileStart(
            {}, bytes,
            static_cast<int>(std::min<std::uint64_t>(steps, std::numeric_limits<int>::max())));
    }
    [[nodiscard]] bool step(std::uint64_t bytes) {
        if (!inChunks_)
            return true;
        untold_ -= std::min(bytes, untold_);
        return progress_.chunk(bytes);
    }
    [[nodiscard]] StreamResult end() {
        return progress_.fileEnd(untold_) ? StreamResult::Done : StreamResult::Stopped;
    }

  private:
    Progress& progress_;
    std::uint64_t untold_;
    bool inChunks_;
};

// Fills a round from the source; what lies behind the source's end is zero. False when the source
// gave less than its size promises.
bool FillRound(ByteSource& in, std::uint64_t offset, std::span<std::uint8_t> round) {
    const std::uint64_t size = in.size();
    const std::size_t there = static_cast<std::size_t>(
        std::min<std::uint64_t>(round.size(), offset < size ? size - offset : 0));
    std::fill(round.begin() + static_cast<std::ptrdiff_t>(there), round.end(), std::uint8_t{0});
    return in.readAt(offset, round.first(there)) == there;
}

}  // namespace

MediumContext::MediumContext() {
    UseImageSlots(*this);
}

ImageOpening OpenImage(MediumContext& context, const std::string& path) {
    ForgetMedium(context);
    const ImageOpening opening = OpenAs(context, path, PcFile::Mode::ReadWrite);
    return opening.result == OpenResult::Opened || opening.systemError == EWOULDBLOCK
               ? opening
               : OpenImageForReading(context, path);
}

ImageOpening OpenImageForReading(MediumContext& context, const std::string& path) {
    ForgetMedium(context);
    ImageOpening opening = OpenAs(context, path, PcFile::Mode::Read);
    if (opening.result == OpenResult::Opened) {
        opening.result = OpenResult::OpenedReadOnly;
        context.readOnlyReasons.add(ReadOnlyReason::File);
    }
    return opening;
}

ImageOpening CreateImage(MediumContext& context, const std::string& path) {
    ForgetMedium(context);
    return OpenAs(context, path, PcFile::Mode::CreateTruncate);
}

void CloseImage(MediumContext& context) {
    context.image.reset();
    context.imagePath.clear();
}

int TransferSectors(MediumContext& context, const SectorRequest& request) {
    if (!context.image) {
        context.transferFailed = true;
        return -1;
    }
    if (request.command != kCommandRead && request.command != kCommandWrite)
        return 0;
    const std::uint64_t bytes = std::uint64_t{request.count} * kSectorBytes;
    bool whole = false;
    if (bytes <= request.buffer.size()) {
        const std::span<std::uint8_t> buffer =
            request.buffer.first(static_cast<std::size_t>(bytes));
        whole = request.command == kCommandRead ? ReadRun(*context.image, request, buffer)
                                                : WriteRun(*context.image, request, buffer);
    }
    context.transferFailed = context.transferFailed || !whole;
    if (request.command == kCommandWrite)
        context.contents.note(request.startSector * kSectorBytes, bytes,
                              request.buffer.first(whole && request.count != 0 ? kSectorBytes : 0));
    return whole ? 0 : 1;
}

int ReadSectors(const TransferSlot& slot, std::uint64_t startSector,
                std::span<std::uint8_t> buffer) {
    return slot({kCommandRead, static_cast<std::uint32_t>(buffer.size() / kSectorBytes),
                 startSector, buffer});
}

int WriteSectors(const TransferSlot& slot, std::uint64_t startSector,
                 std::span<const std::uint8_t> bytes) {
    // One request serves both ways, so its buffer is not const; a write only reads it.
    return slot({kCommandWrite,
                 static_cast<std::uint32_t>(bytes.size() / kSectorBytes),
                 startSector,
                 {const_cast<std::uint8_t*>(bytes.data()), bytes.size()}});
}

std::uint64_t BlockToSector(const MediumContext& context, std::uint32_t block) {
    if (context.mediumKind != MediumKind::FileImage)
        return block;
    return std::uint64_t{block} * context.sectorsPerBlock + context.volumeOffset;
}

std::uint64_t BlockCountToSectors(const MediumContext& context, std::uint64_t blocks) {
    return blocks * context.blockSize / context.sectorSize;
}

StreamResult StreamSectorsToFile(MediumContext& context, ByteSink& out, std::uint64_t outOffset,
                                 std::uint64_t firstSector, std::uint64_t bytes,
                                 Progress& progress) {
    std::uint64_t sectors = bytes / kSectorBytes + (bytes % kSectorBytes != 0 ? 1 : 0);
    StreamBar bar(progress, sectors, bytes);
    std::vector<std::uint8_t> buffer(
        static_cast<std::size_t>(std::min<std::uint64_t>(sectors, kStreamSectors)) * kSectorBytes);
    while (sectors > 0) {
        const std::uint64_t round = std::min<std::uint64_t>(sectors, kStreamSectors);
        const std::span<std::uint8_t> read(buffer.data(),
                                           static_cast<std::size_t>(round * kSectorBytes));
        const int result = ReadSectors(context.transferSlot, firstSector, read);
        const std::uint64_t wanted = std::min<std::uint64_t>(read.size(), bytes);
        if (result < 0)
            return StreamResult::ShortRead;
        if (!out.writeAt(outOffset, read.first(static_cast<std::size_t>(wanted))))
            return StreamResult::ShortWrite;
        if (result != 0)
            return StreamResult::ShortRead;
        sectors -= round;
        firstSector += round;
        outOffset += wanted;
        bytes -= wanted;
        if (!bar.step(wanted))
            return StreamResult::Stopped;
    }
    return bar.end();
}

StreamResult StreamFileToSectors(MediumContext& context, ByteSource& in, std::uint64_t inOffset,
                                 std::uint64_t firstSector, std::uint64_t sectors,
                                 Progress& progress) {
    StreamBar bar(progress, sectors, sectors * kSectorBytes);
    std::vector<std::uint8_t> buffer(
        static_cast<std::size_t>(std::min<std::uint64_t>(sectors, kStreamSectors)) * kSectorBytes);
    while (sectors > 0) {
        const std::uint64_t round = std::min<std::uint64_t>(sectors, kStreamSectors);
        const std::span<std::uint8_t> piece(buffer.data(),
                                            static_cast<std::size_t>(round * kSectorBytes));
        if (!FillRound(in, inOffset, piece))
            return StreamResult::ShortRead;
        if (WriteSectors(context.transferSlot, firstSector, piece) != 0)
            return StreamResult::ShortWrite;
        sectors -= round;
        firstSector += round;
        inOffset += piece.size();
        if (!bar.step(piece.size()))
            return StreamResult::Stopped;
    }
    return bar.end();
}

TargetRoom CheckTargetRoom(const std::string& folder, std::uint64_t bytes) {
    if (PcFactsOf(folder).kind != PcKind::Folder)
        return TargetRoom::Fits;
    return JudgeTargetRoom(bytes, FreeBytes(folder), HoldsLargeFiles(folder));
}

}  // namespace vellmark
