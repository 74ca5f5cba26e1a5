#include "join/join_source.hpp"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <vector>

#include "IO/apple_map.hpp"
#include "IO/iso_structures.hpp"
#include "IO/recognition.hpp"
#include "support/encoding.hpp"
#include "support/sentences.hpp"
#include "volume/hfs_plus_structures.hpp"
#include "volume/hfs_structures.hpp"
#include "volume/mount.hpp"

namespace vellmark {

namespace {

constexpr std::uint64_t kHeaderOffset = 1024;
constexpr std::uint64_t kHeaderBytes = 512;
/// From the second header to the end of the partition.
constexpr std::uint64_t kAlternateBytes = 1024;
/// Word 2 of the Finder's information.
constexpr std::size_t kFolderToOpen = 2 * sizeof(be32);
/// A boot area, a header and its copy.
constexpr std::uint64_t kLeastPartitionBytes = 4096;

// Bytes that the volume itself claims; 0 when there is no header, or one without blocks.
std::uint64_t VolumeBytes(ByteSource& disk, std::uint64_t partition) {
    const std::uint16_t signature = VolumeSignatureAt(disk, partition);
    MasterDirectoryBlock mdb;
    if (signature == kHfsSignature && disk.readRecord(partition + kHeaderOffset, mdb) &&
        mdb.totalBlocks != 0 && mdb.blockSize != 0)
        return std::uint64_t{mdb.allocationStartSector} * kSectorBytes +
               std::uint64_t{mdb.totalBlocks} * mdb.blockSize + 2 * kSectorBytes;
    VolumeHeader header;
    if (IsHfsPlusSignature(signature) && disk.readRecord(partition + kHeaderOffset, header))
        return std::uint64_t{header.totalBlocks} * header.blockSize;
    return 0;
}

}  // namespace

bool JoinSource::open(const JoinPartition& image, const FileGuard& guard, Messages& messages) {
    path_ = image.path;
    image_.guard = guard;
    if (image.open == nullptr && !OpenImageFile(image_, path_, Access::Read, messages))
        return false;
    disk_ = image.open != nullptr ? image.open : image_.image.get();
    return true;
}

JoinSourceResult JoinSource::prepare(bool opensRoot, Messages& messages, Progress& progress) {
    if (const JoinSourceResult result = expand(messages, progress);
        result != JoinSourceResult::Found)
        return result;
    const std::vector<FoundPartition> found = FindHfsPartitions(*disk_);
    // One that is damaged does not hide a sound one behind it.
    const auto sound =
        std::find_if(found.begin(), found.end(), [this](const FoundPartition& partition) {
            const std::uint64_t volume = VolumeBytes(*disk_, partition.offset);
            return volume != 0 && volume <= disk_->size() - partition.offset;
        });
    const auto chosen = sound != found.end() ? sound : found.begin();
    if (chosen == found.end() || chosen->offset + kLeastPartitionBytes > disk_->size()) {
        messages.showError(Reason(Sentence::kNoMappedVolume, Printable(path_)));
        return JoinSourceResult::NoPartition;
    }
    partition_ = *chosen;
    if (const JoinSourceResult result = checkVolume(messages); result != JoinSourceResult::Found)
        return result;
    measure();
    if (opensRoot)
        findRootWord();
    return JoinSourceResult::Found;
}

// A compressed image gives way to what it holds.
JoinSourceResult JoinSource::expand(Messages& messages, Progress& progress) {
    const auto refuse = [&](const Operand& reason, JoinSourceResult result) {
        messages.showError(Reason(Sentence::kJoined, Printable(path_), ": ", reason));
        return result;
    };
    ImageClass imageClass = ClassifyImage(*disk_);
    if (imageClass >= ImageClass::PartitionDiskImage &&
        imageClass <= ImageClass::TrailerDiskImage) {
        ExpandResult result;
        expanded_ = ExpandedImage::Open(path_, progress, result);
        if (!expanded_ && result.end == ExpandEnd::Stopped) {
            messages.showMessage(Reason(Sentence::kStoppedDiscAsItWas));
            return JoinSourceResult::Stopped;
        }
        if (!expanded_) {
            messages.showError(result.problem);
            return result.end == ExpandEnd::NotBegun ? JoinSourceResult::NoTemporaryFile
                                                     : JoinSourceResult::Refused;
        }
        // Zeros in a volume are no loss of one file alone.
        if (result.isIncomplete)
            return refuse(result.remark, JoinSourceResult::Refused);
        disk_ = &expanded_->file();
        imageClass = ClassifyImage(*disk_);
    }
    if (imageClass == ImageClass::Plain)
        return JoinSourceResult::Found;
    if (imageClass == ImageClass::SparseImage)
        return refuse(Sentence::kSparseImage, JoinSourceResult::Refused);
    return refuse(Sentence::kBootRecordNotJoined, JoinSourceResult::Refused);
}

// A partition that promises a volume and lacks it, or the end of it, is not worth a disc.
JoinSourceResult JoinSource::checkVolume(Messages& messages) const {
    const std::uint64_t volume = VolumeBytes(*disk_, partition_.offset);
    const std::uint64_t rest = disk_->size() - partition_.offset;
    if (volume == 0) {
        messages.showError(Reason(Sentence::kPartitionWithoutVolume, Printable(path_)));
        return JoinSourceResult::NoPartition;
    }
    if (volume <= rest)
        return JoinSourceResult::Found;
    messages.showError(Reason(Sentence::kVolumeCutShort, Printable(path_), volume, rest));
    return JoinSourceResult::Refused;
}

// The partition reaches as far as its entry says. One that is wrong, or shorter than the volume in
// it, goes on to the end of the image. Where that end has no second header, and the volume has one
// straight behind its blocks, the size in its header counts.
void JoinSource::measure() {
    const std::uint64_t rest = disk_->size() - partition_.offset;
    const std::uint64_t volume = VolumeBytes(*disk_, partition_.offset);
    const bool isWhole = partition_.sizeBytes <= rest &&
                         partition_.sizeBytes >= kLeastPartitionBytes &&
                         partition_.sizeBytes >= volume;
    stored_ = isWhole ? partition_.sizeBytes : rest;
    const std::uint16_t signature = VolumeSignatureAt(*disk_, partition_.offset);
    isHfsPlus_ = IsHfsPlusSignature(signature);
    const auto endsAt = [&](std::uint64_t bytes) {
        be16 alternate;
        return disk_->readRecord(partition_.offset + bytes - kAlternateBytes, alternate) &&
               alternate == signature;
    };
    if (volume >= kLeastPartitionBytes && !endsAt(stored_) && endsAt(volume))
        stored_ = volume;
    size_ = (stored_ + kIsoSectorBytes - 1) / kIsoSectorBytes * kIsoSectorBytes;
}

void JoinSource::findRootWord() {
    const std::size_t finderInfo = isHfsPlus_ ? offsetof(VolumeHeader, finderInfo)
                                              : offsetof(MasterDirectoryBlock, finderInfo);
    rootWordAt_ = kHeaderOffset + finderInfo + kFolderToOpen;
}

std::size_t JoinSource::readAt(std::uint64_t offset, std::span<std::uint8_t> out) {
    if (offset >= size_)
        return 0;
    out = out.first(static_cast<std::size_t>(std::min<std::uint64_t>(out.size(), size_ - offset)));
    const std::size_t inside = static_cast<std::size_t>(
        offset < stored_ ? std::min<std::uint64_t>(out.size(), stored_ - offset) : 0);
    const std::size_t got = disk_->readAt(partition_.offset + offset, out.first(inside));
    if (got < inside) {
        isWhole_ = false;
        return got;
    }
    std::fill(out.begin() + static_cast<std::ptrdiff_t>(inside), out.end(), std::uint8_t{0});
    const be32 root = kRootFolderId;
    for (std::size_t i = 0; rootWordAt_ != 0 && i < sizeof root; ++i)
        if (rootWordAt_ + i >= offset && rootWordAt_ + i - offset < out.size())
            out[static_cast<std::size_t>(rootWordAt_ + i - offset)] = AsBytes(root)[i];
    return out.size();
}

std::uint64_t JoinSource::copyTo(PcFile& target, ByteMove move) {
    // The header, which may be changed on the way, and the end, which may lie in zeros, are read.
    if (move.from < kHeaderOffset + kHeaderBytes || move.from >= stored_)
        return 0;
    return disk_->copyTo(target, {partition_.offset + move.from, move.to,
                                  std::min(move.count, stored_ - move.from)});
}

}  // namespace vellmark
