#include "volume/read_only.hpp"

#include <string_view>

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

struct Reason {
    ReadOnlyReason reason;
    std::string_view sentence;
};

constexpr Reason kReasons[] = {
    {ReadOnlyReason::CutImage, "The image ends before its volume does."},
    {ReadOnlyReason::File, "The image file may only be read."},
    {ReadOnlyReason::BareVolume,
     "It is a bare volume, with no partition map and no driver descriptor in front of it."},
    {ReadOnlyReason::Locked, "The volume is locked."},
    {ReadOnlyReason::NotUnmounted,
     "The volume was not unmounted cleanly, so that its records may not fit together."},
    {ReadOnlyReason::Journal,
     "The volume has a journal in which changes wait that were not carried out, or which cannot "
     "be read."},
    {ReadOnlyReason::BinaryNames,
     "The catalog of the volume (HFSX) tells upper and lower case apart, which this version "
     "cannot change."},
    {ReadOnlyReason::UnknownTree,
     "The volume's trees keep their keys in a way that this version cannot change."},
    {ReadOnlyReason::OverflowRead,
     "A file was read whose blocks go on in the extents overflow tree; until the image is opened "
     "again, the volume may only be read."},
    {ReadOnlyReason::PcSideUnknown,
     "The image has a PC side (ISO 9660) that is damaged, so that it cannot be told which blocks "
     "it "
     "shares with the Macintosh side."},
    {ReadOnlyReason::PcSideShared,
     "The volume's own structures lie where the PC side (ISO 9660) of the image has files."},
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

void SetVolumeLock(VolumeContext& volume, bool isLocked) {
    std::uint32_t attributes = AttributesOf(volume) & ~(kHardwareLock | kSoftwareLock);
    if (isLocked)
        attributes |= kSoftwareLock;
    if (volume.isHfsPlus)
        volume.vhb.attributes = attributes;
    else
        volume.mdb.attributes = static_cast<std::uint16_t>(attributes);
}

std::string ReadOnlySentence(const ReadOnlyReasons& reasons) {
    std::string text;
    for (const auto& [reason, sentence] : kReasons)
        if (reasons.has(reason))
            text.append(text.empty() ? "" : " ").append(sentence);
    return text;
}

std::string CutImageSentence() {
    ReadOnlyReasons reasons;
    reasons.add(ReadOnlyReason::CutImage);
    return ReadOnlySentence(reasons);
}

std::string VolumeRemark(const VolumeContext& volume) {
    // Emulators that are ended hard leave HFS volumes so; the format's own systems go on with them.
    const bool isRemark = !volume.isHfsPlus && (AttributesOf(volume) & kVolumeUnmounted) == 0;
    return isRemark ? "The volume was not unmounted cleanly; its bitmap of blocks is brought up to "
                      "its catalog."
                    : "";
}

}  // namespace vellmark
