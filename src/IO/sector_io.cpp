#include "IO/sector_io.hpp"

#include <algorithm>
#include <cerrno>
#include <limits>

#include "support/pc_folder.hpp"

namespace vellmark {

namespace {

// The last sector whose byte offset the system still takes.
constexpr Sector512 kLastSector(std::numeric_limits<std::int64_t>::max() / kSectorBytes -
                                std::numeric_limits<std::uint32_t>::max());

void UseImageSlot(MediumContext& context) {
    context.transferSlot = [&context](const SectorRequest& request) {
        return TransferSectors(context, request);
    };
}

void ForgetMedium(MediumContext& context) {
    CloseImage(context);
    UseImageSlot(context);
    context.contents.clear();
    context.totalSectors = 0;
    context.driverBlockSize = 0;
    context.partitionCount = 0;
    context.partitionStart = {};
    context.blocksStart = {};
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
        got = image.readAt(request.startSector.byte(), buffer);
    std::fill(buffer.begin() + static_cast<std::ptrdiff_t>(got), buffer.end(), std::uint8_t{0});
    return got == buffer.size();
}

bool WriteRun(PcFile& image, const SectorRequest& request, std::span<const std::uint8_t> buffer) {
    return request.startSector <= kLastSector && image.writeAt(request.startSector.byte(), buffer);
}

}  // namespace

MediumContext::MediumContext() {
    UseImageSlot(*this);
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
        context.contents.note(request.startSector.byte(), bytes,
                              request.buffer.first(whole && request.count != 0 ? kSectorBytes : 0));
    return whole ? 0 : 1;
}

int ReadSectors(const TransferSlot& slot, Sector512 startSector, std::span<std::uint8_t> buffer) {
    return slot({kCommandRead, static_cast<std::uint32_t>(buffer.size() / kSectorBytes),
                 startSector, buffer});
}

int WriteSectors(const TransferSlot& slot, Sector512 startSector,
                 std::span<const std::uint8_t> bytes) {
    // One request serves both ways, so its buffer is not const; a write only reads it.
    return slot({kCommandWrite,
                 static_cast<std::uint32_t>(bytes.size() / kSectorBytes),
                 startSector,
                 {const_cast<std::uint8_t*>(bytes.data()), bytes.size()}});
}

Sector512 BlockToSector(const MediumContext& context, BlockNumber block) {
    return context.blocksStart + std::uint64_t{block.number} * context.sectorsPerBlock;
}

TargetRoom CheckTargetRoom(const std::string& folder, std::uint64_t bytes) {
    if (PcFactsOf(folder).kind != PcKind::Folder)
        return TargetRoom::Fits;
    return JudgeTargetRoom(bytes, FreeBytes(folder), HoldsLargeFiles(folder));
}

}  // namespace vellmark
