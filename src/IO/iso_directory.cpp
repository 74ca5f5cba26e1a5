#include "IO/iso_directory.hpp"

#include <algorithm>
#include <cstring>
#include <string_view>
#include <utility>

#include "support/encoding.hpp"
#include "support/sentences.hpp"

namespace vellmark {

namespace {

constexpr std::uint64_t kMostDirectoryBytes = 64u << 20;
constexpr std::size_t kMostRecords = 200'000;
/// Read at once, also by each folder of a walk that is not at its end.
constexpr std::uint64_t kPieceBytes = 16 * kIsoSectorBytes;

// What a directory is called in a sentence.
Reason FolderWords(const IsoEntry& folder) {
    return folder.name.empty() ? Reason(Sentence::kIsoRootDirectory)
                               : Reason(Sentence::kIsoDirectory, Printable(folder.name));
}

// The folder itself and the one above have names of one byte, 0 and 1.
bool IsSelfOrParent(std::string_view name) {
    return name == std::string_view("\0", 1) || name == "\1";
}

}  // namespace

IsoEntry IsoEntryOf(const IsoDirectoryRecord& record, std::string_view name, IsoTree tree,
                    std::uint32_t blockSize) {
    IsoEntry entry;
    entry.isFolder = (record.flags & kIsoFlagFolder) != 0;
    entry.hidden = (record.flags & kIsoFlagHidden) != 0;
    entry.associated = (record.flags & kIsoFlagAssociated) != 0;
    entry.interleaved = record.unitSize != 0 || record.gapSize != 0;
    entry.fullName = IsoTextToUtf8(name, tree);
    entry.name =
        SafeIsoName(entry.isFolder ? entry.fullName : WithoutIsoVersion(entry.fullName, tree));
    entry.modified = IsoDateToUnix(record.date);
    entry.extentSector = std::uint64_t{record.extent} + record.extendedSize;
    entry.sizeBytes = record.sizeBytes;
    entry.extents.push_back({entry.extentSector * blockSize, record.sizeBytes,
                             std::uint32_t{record.extendedSize} * blockSize});
    return entry;
}

IsoDirectory::Step IsoDirectory::next(IsoEntry& entry) {
    if (Reason fault = isChecked_ ? Reason() : faultOf())
        return fail(std::move(fault));
    isChecked_ = true;
    bool isLastPart = false;
    Step step = nextRecord(entry, isLastPart);
    while (step == Step::Entry && !isLastPart) {
        IsoEntry part;
        step = nextRecord(part, isLastPart);
        const bool isPart = step == Step::Entry && part.fullName == entry.fullName;
        if (step == Step::End || (step == Step::Entry && !isPart))
            return fail(Reason(Sentence::kIsoLacksPart, Printable(entry.name)));
        if (isPart) {
            entry.sizeBytes += part.sizeBytes;
            entry.extents.push_back(part.extents.front());
        }
    }
    return step;
}

IsoDirectory::Step IsoDirectory::nextRecord(IsoEntry& entry, bool& isLastPart) {
    while (true) {
        // Behind the last record of a sector stands a length of 0.
        if (at_ < piece_.size() && piece_[at_] == 0)
            at_ = std::min((at_ / kIsoSectorBytes + 1) * kIsoSectorBytes, piece_.size());
        if (at_ >= piece_.size()) {
            if (const Step step = readPiece(); step != Step::Entry)
                return step;
            continue;
        }
        const std::size_t inSector = at_ % kIsoSectorBytes;
        const std::size_t room = std::min(piece_.size() - at_, kIsoSectorBytes - inSector);
        const std::size_t length = piece_[at_];
        IsoDirectoryRecord record;
        if (length <= sizeof(record) || length > room)
            return fail(Reason(Sentence::kIsoRecordLength, length, inSector));
        std::memcpy(&record, piece_.data() + at_, sizeof(record));
        if (record.nameLength == 0 || record.nameLength > length - sizeof(record))
            return fail(Reason(Sentence::kIsoNameLength, record.nameLength, inSector));
        const std::string_view name(
            reinterpret_cast<const char*>(piece_.data()) + at_ + sizeof(record), record.nameLength);
        at_ += length;
        if (IsSelfOrParent(name))
            continue;
        if (++records_ > kMostRecords)
            return fail(Reason(Sentence::kIsoTooManyRecords, kMostRecords));
        entry = IsoEntryOf(record, name, tree_, blockSize_);
        isLastPart = (record.flags & kIsoFlagMultiExtent) == 0;
        return Step::Entry;
    }
}

// `Entry` when there are bytes again.
IsoDirectory::Step IsoDirectory::readPiece() {
    while (extent_ < folder_.extents.size() && done_ >= folder_.extents[extent_].sizeBytes) {
        ++extent_;
        done_ = 0;
    }
    if (extent_ == folder_.extents.size())
        return Step::End;
    const IsoExtent& extent = folder_.extents[extent_];
    piece_.resize(
        static_cast<std::size_t>(std::min<std::uint64_t>(kPieceBytes, extent.sizeBytes - done_)));
    at_ = 0;
    if (!image_.readExactly(extent.offset + done_, piece_))
        return fail(Sentence::kIsoUnreadable);
    done_ += piece_.size();
    return Step::Entry;
}

IsoDirectory::Step IsoDirectory::fail(Reason reason) {
    problem_ = Reason(Sentence::kIsoDirectoryFault, FolderWords(folder_), std::move(reason));
    return Step::Damaged;
}

// What speaks against reading it at all.
Reason IsoDirectory::faultOf() const {
    if (!folder_.isFolder)
        return Sentence::kIsoIsFile;
    if (folder_.sizeBytes > kMostDirectoryBytes)
        return Reason(Sentence::kIsoTooLarge, folder_.sizeBytes);
    const std::uint64_t imageBytes = image_.size();
    for (const IsoExtent& extent : folder_.extents)
        if (extent.offset > imageBytes || extent.sizeBytes > imageBytes - extent.offset)
            return Reason(Sentence::kIsoOutside, extent.sizeBytes, folder_.extentSector);
    return {};
}

}  // namespace vellmark
