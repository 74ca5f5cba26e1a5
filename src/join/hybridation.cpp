#include "join/hybridation.hpp"

#include <algorithm>
#include <array>
#include <cstring>
#include <filesystem>
#include <limits>
#include <optional>
#include <span>
#include <string_view>
#include <system_error>

#include "IO/apple_map.hpp"
#include "IO/sector_io.hpp"
#include "join/disc_opening.hpp"
#include "join/iso_reach.hpp"
#include "join/join_forms.hpp"
#include "join/video_cd.hpp"
#include "support/encoding.hpp"
#include "support/pc_folder.hpp"
#include "support/sentences.hpp"

namespace vellmark {

namespace {

constexpr int kTextLargerThanDisc = 1077;
constexpr int kTextHasPartition = 1078;
constexpr int kTextNotIso = 1079;
/// What a CD holds, in bytes.
constexpr std::uint64_t kDiscBytes = 660'000'000;

// The path of the file that a link leads to, so that what is replaced is the file.
std::string RealPath(const std::string& path) {
    std::error_code error;
    const std::filesystem::path real = std::filesystem::canonical(path, error);
    return error ? path : real.string();
}

using MapArea = std::array<std::uint8_t, kHybridMapBytes>;

bool HasDescriptor(const MapArea& area) {
    return area[0] == 'E' && area[1] == 'R';
}

// Discs without a map can have a Macintosh side too: a volume whose header lies where one of a
// whole disk does, and which shares the bytes of the disc.
bool HasVolume(const JoinJob& job) {
    return VolumeSignatureAt(job.disc, job.form.dataOffset) != 0;
}

// Whether a map that leads to a Macintosh partition stands behind a boot record.
bool HasMapBehindBootRecord(ByteSource& data) {
    const auto map = ReadAppleMap(data);
    return map && map->descriptor.signature != kDriverDescriptorSignature &&
           std::any_of(map->entries.begin(), map->entries.end(), IsHfsEntry);
}

// What is left of a join that a power cut ended while it wrote the map: some of its three blocks.
// It leads nowhere, and the join can be done again.
enum class TornMap {
    No,
    OverZeros,  ///< in the places of the others is nothing
    OverOther   ///< there is something of what the disc had before
};

TornMap FindTornMap(const JoinJob& job, const MapArea& area) {
    // A join writes a descriptor with blocks of 512 bytes.
    constexpr std::array<std::string_view, 3> kMarks = {std::string_view("ER\2\0", 4), "PM", "PM"};
    std::size_t present = 0;
    bool hasOther = false;
    for (std::size_t i = 0; i < kMarks.size(); ++i) {
        const auto block = std::span(area).subspan(i * kSectorBytes, kSectorBytes);
        if (std::equal(kMarks[i].begin(), kMarks[i].end(), block.begin()))
            ++present;
        else if (!std::all_of(block.begin(), block.end(), [](std::uint8_t b) { return b == 0; }))
            hasOther = true;
    }
    RawDataSource raw(job.disc, job.form);
    ByteSource& data = job.form.isRaw() ? static_cast<ByteSource&>(raw) : job.disc;
    if (present == 0 || present == kMarks.size() || !FindHfsPartitions(data).empty())
        return TornMap::No;
    if (!hasOther)
        return TornMap::OverZeros;
    // The descriptor of another disc is recognised by its size: what a join appends is on the
    // device before the descriptor is.
    DriverDescriptor descriptor;
    std::memcpy(&descriptor, area.data(), sizeof descriptor);
    const bool isOfJoin = descriptor.signature == kDriverDescriptorSignature &&
                          descriptor.blockSize == kSectorBytes &&
                          std::uint64_t{descriptor.blockCount} * kSectorBytes == data.size();
    return isOfJoin ? TornMap::OverOther : TornMap::No;
}

// What stands where the map goes; false when the file is too short to have it.
bool ReadMapArea(PcFile& disc, DiscForm form, MapArea& area) {
    return disc.readExactly(form.dataOffset, area);
}

HybridationResult RefuseSecondSide(const JoinJob& job) {
    return job.refuse(HybridationResult::HasMap, Sentence::kDiscCannotBeJoined,
                      ToldText{kTextHasPartition});
}

HybridationResult AskForOtherDisc(const JoinJob& job) {
    if (!job.options.asks)
        return job.refuse(HybridationResult::NotIso, Sentence::kDiscNotIso);
    return job.messages.askYesNo(Reason(ToldText{kTextNotIso})) ? HybridationResult::Done
                                                                : HybridationResult::Stopped;
}

HybridForm FormOf(const JoinJob& job) {
    if (!job.form.isRaw())
        return HybridForm::Plain;
    if (job.form.kind() != RawKind::Mode1 && IsVideoCd(job.disc))
        return HybridForm::VideoCd;
    const bool hasBinName =
        AsciiUpper(std::filesystem::path(job.path).extension().string()) == ".BIN";
    return hasBinName ? HybridForm::Raw : HybridForm::Repacked;
}

// A disc whose last files are missing would get the partition in their place.
HybridationResult CheckLength(const JoinJob& job) {
    RawDataSource raw(job.disc, job.form);
    ByteSource& data = job.form.isRaw() ? static_cast<ByteSource&>(raw) : job.disc;
    const auto reader = IsoReader::Open(data);
    if (!reader || TreesReach(*reader, data.size()) != IsoReach::Behind)
        return HybridationResult::Done;
    return job.refuse(HybridationResult::NotIso, Sentence::kDiscCutShort, data.size());
}

// Looks at the disc and settles its form. Nothing but `Done` goes on.
HybridationResult Recognise(JoinJob& job) {
    MapArea area;
    if (!job.disc.readExactly(0, area))
        return job.refuse(HybridationResult::NotIso, Sentence::kDiscTooShort);
    if (HasDescriptor(area) && FindTornMap(job, area) == TornMap::No)
        return RefuseSecondSide(job);
    const std::optional<DiscForm> form = FindDiscForm(job.disc);
    if (!form || (form->isRaw() && !IsRawIso(job.disc, *form)))
        return HasVolume(job) ? RefuseSecondSide(job) : AskForOtherDisc(job);
    job.form = *form;
    if (job.form.isRaw() && job.disc.size() % kRawSectorBytes != 0 &&
        (FormOf(job) != HybridForm::Raw || !EndsInTornJoin(job)))
        return job.refuse(HybridationResult::NotIso, Sentence::kDiscNoWholeSectors, job.disc.size(),
                          kRawSectorBytes);
    if (!ReadMapArea(job.disc, job.form, area))
        return job.refuse(HybridationResult::NotIso, Sentence::kDiscCannotBeRead);
    RawDataSource raw(job.disc, job.form);
    ByteSource& data = job.form.isRaw() ? static_cast<ByteSource&>(raw) : job.disc;
    const bool hasMap = (HasDescriptor(area) || HasMapBehindBootRecord(data)) &&
                        FindTornMap(job, area) == TornMap::No;
    return hasMap || HasVolume(job) ? RefuseSecondSide(job) : CheckLength(job);
}

// Whether the person, or `force`, lets go of what stands where the map goes.
HybridationResult AskForMapArea(const JoinJob& job, HybridationOutcome& outcome) {
    MapArea area;
    if (!ReadMapArea(job.disc, job.form, area))
        return job.refuse(HybridationResult::NotIso, Sentence::kDiscCannotBeRead);
    const bool isEmpty =
        std::all_of(area.begin(), area.end(), [](std::uint8_t byte) { return byte == 0; });
    if (isEmpty || FindTornMap(job, area) == TornMap::OverZeros || job.options.force ||
        job.messages.askYesNo(
            Reason(Sentence::kAskForMapArea, Printable(job.name), kHybridMapBytes)))
        return HybridationResult::Done;
    outcome.needsForce = true;
    return HybridationResult::Stopped;
}

HybridationResult ResultOf(JoinSourceResult result) {
    switch (result) {
        case JoinSourceResult::Found:
            return HybridationResult::Done;
        case JoinSourceResult::Stopped:
            return HybridationResult::Stopped;
        case JoinSourceResult::NoPartition:
            return HybridationResult::PartitionNotOpened;
        case JoinSourceResult::Refused:
            return HybridationResult::ImageRefused;
        case JoinSourceResult::NoTemporaryFile:
            break;
    }
    return HybridationResult::NoTemporaryFile;
}

HybridationResult AskForSize(const JoinJob& job) {
    const std::uint64_t partition = job.source.size();
    if (!job.options.asks || job.disc.size() + partition <= kDiscBytes ||
        job.messages.askYesNo(Reason::Told(kTextLargerThanDisc, job.disc.size(), partition)))
        return HybridationResult::Done;
    return HybridationResult::Stopped;
}

// The map counts blocks in 32 bits, and the header of a raw sector up to 100 minutes.
HybridationResult CheckLimits(const JoinJob& job, HybridForm form) {
    const std::uint64_t sectors =
        (job.disc.size() + job.form.sectorBytes - 1) / job.form.sectorBytes +
        job.source.size() / kIsoSectorBytes + kVideoGapSectors;
    const bool staysRaw = form == HybridForm::Raw || form == HybridForm::VideoCd;
    const std::uint64_t most =
        staysRaw ? kMostRawSectors
                 : std::numeric_limits<std::uint32_t>::max() / (kIsoSectorBytes / kSectorBytes);
    if (sectors <= most)
        return HybridationResult::Done;
    return job.refuse(HybridationResult::NotWritten, Sentence::kDiscTooManySectors, sectors, most);
}

HybridationResult Join(JoinJob& job, HybridationOutcome& outcome) {
    outcome.form = FormOf(job);
    if (const HybridationResult result = CheckLimits(job, outcome.form);
        result != HybridationResult::Done)
        return result;
    switch (outcome.form) {
        case HybridForm::Plain:
            return JoinPlain(job);
        case HybridForm::Repacked:
            return JoinRepacked(job);
        case HybridForm::Raw:
            return JoinRaw(job);
        case HybridForm::VideoCd:
            break;
    }
    return JoinVideoCd(job);
}

// All steps up to the first change, and the join.
HybridationResult Run(JoinJob& job, const JoinPartition& partition, HybridationOutcome& outcome) {
    if (!job.source.open(partition, job.options.guard, job.messages))
        return HybridationResult::PartitionNotOpened;
    HybridationResult result = Recognise(job);
    if (result == HybridationResult::Done)
        result = AskForMapArea(job, outcome);
    if (result == HybridationResult::Done)
        result = ResultOf(job.source.prepare(job.options.opensRoot, job.messages, job.progress));
    if (result == HybridationResult::Done)
        result = AskForSize(job);
    return result == HybridationResult::Done ? Join(job, outcome) : result;
}

}  // namespace

HybridationOutcome Hybridate(const std::string& discPath, const JoinPartition& partition,
                             const HybridationOptions& options, Messages& messages,
                             Progress& progress) {
    HybridationOutcome outcome;
    const std::string path = RealPath(discPath);
    PcFile disc;
    if (!OpenDiscToChange(discPath, options.guard, disc, messages)) {
        outcome.result = HybridationResult::DiscNotOpened;
        return outcome;
    }
    if (AreSameFile(path, partition.path)) {
        messages.showError(Reason(Sentence::kJoinedToItself, Printable(discPath)));
        outcome.result = HybridationResult::PartitionNotOpened;
        return outcome;
    }
    JoinSource source;
    JoinJob job{discPath, path, disc, source, options, messages, progress, {}};
    outcome.result = Run(job, partition, outcome);
    outcome.isHfsPlus = source.isHfsPlus();
    outcome.sizeBytes = job.sizeBytes;
    return outcome;
}

}  // namespace vellmark
