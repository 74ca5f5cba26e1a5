#include "volume/read_only.hpp"

#include <utility>
#include <vector>

#include "support/sentences.hpp"
#include "volume/journal.hpp"

namespace vellmark {

namespace {

// Volume attributes, the same bits in both formats but for the last one.
constexpr std::uint32_t kHardwareLock = 1u << 7;
constexpr std::uint32_t kSoftwareLock = 1u << 15;
constexpr std::uint32_t kInconsistent = 1u << 11;  // HFS+

// Attributes of a tree.
constexpr std::uint32_t kBigKeys = 2;
constexpr std::uint32_t kVariableIndexKeys = 4;

constexpr std::uint8_t kCompareBinary = 0xBC;
constexpr std::uint8_t kCompareFoldingCase = 0xCF;

constexpr std::pair<ReadOnlyReason, Sentence> kReasons[] = {
    {ReadOnlyReason::CutImage, Sentence::kImageEndsBeforeVolume},
    {ReadOnlyReason::File, Sentence::kImageFileReadOnly},
    {ReadOnlyReason::BareVolume, Sentence::kBareVolume},
    {ReadOnlyReason::Locked, Sentence::kVolumeLocked},
    {ReadOnlyReason::NotUnmounted, Sentence::kVolumeNotUnmounted},
    {ReadOnlyReason::Journal, Sentence::kJournalHoldsChanges},
    {ReadOnlyReason::BinaryNames, Sentence::kBinaryNames},
    {ReadOnlyReason::UnknownTree, Sentence::kUnknownTree},
    {ReadOnlyReason::OverflowRead, Sentence::kOverflowFileRead},
    {ReadOnlyReason::PcSideUnknown, Sentence::kPcSideUnknown},
    {ReadOnlyReason::PcSideShared, Sentence::kPcSideShared},
};

std::uint32_t AttributesOf(const VolumeContext& volume) {
    // In a wrapper it is the volume inside that counts: a wrapper is locked as a rule.
    return volume.isHfsPlus ? std::uint32_t{volume.vhb.attributes}
                            : std::uint32_t{volume.mdb.attributes};
}

void JudgeTrees(VolumeContext& volume) {
    const TreeHeaderRecord& catalog = volume.catalog.header();
    if (volume.vhb.signature == kHfsxSignature) {
        if (catalog.keyCompareType == kCompareBinary)
            volume.readOnlyReasons.add(ReadOnlyReason::BinaryNames);
        else if (catalog.keyCompareType != kCompareFoldingCase)
            volume.readOnlyReasons.add(ReadOnlyReason::UnknownTree);
    }
    constexpr std::uint32_t kCatalogShape = kBigKeys | kVariableIndexKeys;
    if ((catalog.attributes & kCatalogShape) != kCatalogShape ||
        (volume.extents.header().attributes & kBigKeys) == 0)
        volume.readOnlyReasons.add(ReadOnlyReason::UnknownTree);
}

}  // namespace

void JudgeVolume(VolumeContext& volume) {
    const std::uint32_t attributes = AttributesOf(volume);
    if (IsVolumeLocked(volume))
        volume.readOnlyReasons.add(ReadOnlyReason::Locked);
    if (!volume.isHfsPlus)
        return;
    if ((attributes & kVolumeUnmounted) == 0 || (attributes & kInconsistent) != 0)
        volume.readOnlyReasons.add(ReadOnlyReason::NotUnmounted);
    // A journal that is empty after a clean unmount has nothing to replay, and keeps nothing of
    // what is changed now from being right. That it is not written to does no harm later: every
    // flush puts a mark of its own into `lastMountedVersion`, and who knows journals replays only
    // those of volumes that have the mark "HFSJ" there and begins a new journal on all others.
    if (JournalHoldsChanges(volume))
        volume.readOnlyReasons.add(ReadOnlyReason::Journal);
    JudgeTrees(volume);
}

bool IsVolumeLocked(const VolumeContext& volume) {
    return (AttributesOf(volume) & (kHardwareLock | kSoftwareLock)) != 0;
}

void SetVolumeLock(WritableVolume& volume, bool isLocked) {
    std::uint32_t attributes = AttributesOf(volume) & ~(kHardwareLock | kSoftwareLock);
    if (isLocked)
        attributes |= kSoftwareLock;
    if (volume->isHfsPlus)
        volume->vhb.attributes = attributes;
    else
        volume->mdb.attributes = static_cast<std::uint16_t>(attributes);
}

Reason ChangeRefusal(const ReadOnlyReasons& reasons) {
    std::vector<Reason> parts;
    for (const auto& [reason, sentence] : kReasons)
        if (reasons.has(reason))
            parts.emplace_back(sentence);
    ReadOnlyReasons others = reasons;
    others.remove(ReadOnlyReason::BareVolume);
    others.remove(ReadOnlyReason::Locked);
    if (!parts.empty() && !others.any())
        parts.emplace_back(Sentence::kWritableHelps);
    return Reason::Joined(std::move(parts), " ");
}

Reason VolumeRemark(const VolumeContext& volume) {
    // Emulators that are ended hard leave HFS volumes so; the format's own systems go on with them.
    const bool isRemark = !volume.isHfsPlus && (AttributesOf(volume) & kVolumeUnmounted) == 0;
    return isRemark ? Reason(Sentence::kBitmapCaughtUp).as(Severity::Remark) : Reason();
}

}  // namespace vellmark
