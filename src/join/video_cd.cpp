#include "join/video_cd.hpp"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <optional>
#include <vector>

#include "join/cue_sheet.hpp"
#include "join/video_directories.hpp"
#include "support/backup_path.hpp"
#include "support/encoding.hpp"
#include "support/endian.hpp"
#include "support/pc_folder.hpp"

namespace vellmark {

namespace {

constexpr int kTextPleaseWait = 1059;
constexpr int kTextHybridating = 1094;
constexpr int kTextCopyingIso = 1345;
constexpr int kTextCopyingVideo = 1346;

constexpr std::uint64_t kEntriesSector = 151;
constexpr std::string_view kEntriesMark = "ENTRYVCD";
constexpr std::size_t kMostEntries = 500;
/// Raw sectors that are copied at a time.
constexpr std::size_t kPiece = 64;

/// One entry of the table: where a part of the video begins.
struct VideoEntry {
    std::uint8_t track;  ///< two decimal digits
    std::uint8_t minute;
    std::uint8_t second;
    std::uint8_t frame;
};

/// The table of entries, one sector of data (White Book, "ENTRIES.VCD").
struct EntryTable {
    std::array<char, 8> mark;  ///< "ENTRYVCD"
    std::array<std::uint8_t, 2> version;
    be16 count;
    std::array<VideoEntry, kMostEntries> entries;
    std::array<std::uint8_t, 36> rest;
};
static_assert(sizeof(EntryTable) == kIsoSectorBytes && alignof(EntryTable) == 1);
static_assert(offsetof(EntryTable, count) == 10 && offsetof(EntryTable, entries) == 12);

// The sector that an entry names; nothing when its digits are none.
std::optional<std::uint32_t> SectorOf(const VideoEntry& entry) {
    const int minute = FromBcd(entry.minute);
    const int second = FromBcd(entry.second);
    const int frame = FromBcd(entry.frame);
    const int frames = minute * static_cast<int>(kFramesPerMinute) +
                       second * static_cast<int>(kFramesPerSecond) + frame;
    if (minute < 0 || second < 0 || second >= 60 || frame < 0 ||
        frame >= static_cast<int>(kFramesPerSecond) || frames < static_cast<int>(kRawLeadFrames))
        return std::nullopt;
    return static_cast<std::uint32_t>(frames) - kRawLeadFrames;
}

void SetSector(VideoEntry& entry, std::uint32_t sector) {
    const std::uint32_t frames = sector + kRawLeadFrames;
    entry.minute = ToBcd(frames / kFramesPerMinute);
    entry.second = ToBcd(frames % kFramesPerMinute / kFramesPerSecond);
    entry.frame = ToBcd(frames % kFramesPerSecond);
}

bool ReadTable(ByteSource& image, EntryTable& table) {
    return image.readRecord(kEntriesSector * kRawSectorBytes + kRawMode2DataOffset, table) &&
           std::string_view(table.mark.data(), table.mark.size()) == kEntriesMark;
}

/// What is to be done, settled before the first byte is written.
struct Plan {
    std::uint32_t videoSector = 0;  ///< the first one of the video, and then of the partition
    std::uint32_t oldSectors = 0;
    std::uint32_t added = 0;  ///< partition and gap
    ChangedSectors changed;   ///< of the ISO track
    std::string sheetPath;    ///< "" for none
    std::string sheet;
    std::string imageBackup;
    std::string sheetBackup;

    [[nodiscard]] std::uint32_t sectors() const { return oldSectors + added; }
};

// Moves the entries on; nothing, or what is wrong with them.
Reason PlanEntries(ByteSource& image, Plan& plan) {
    EntryTable table;
    if (!ReadTable(image, table) || table.count == 0 || table.count > kMostEntries)
        return Sentence::kEntriesDamaged;
    const auto first = SectorOf(table.entries[0]);
    if (!first || *first <= kEntriesSector || *first >= plan.oldSectors)
        return Sentence::kFirstEntryOutside;
    plan.videoSector = *first;
    for (std::size_t i = 0; i < table.count; ++i) {
        const auto sector = SectorOf(table.entries[i]);
        if (!sector || *sector < *first || *sector >= plan.oldSectors)
            return Reason(Sentence::kEntryOutside, i + 1);
        SetSector(table.entries[i], *sector + plan.added);
    }
    std::memcpy(plan.changed[kEntriesSector].data(), &table, sizeof table);
    return {};
}

// Map, volume descriptor and directories; nothing, or what is wrong with them.
Reason PlanIsoTrack(const JoinJob& job, ByteSource& data, Plan& plan) {
    if (Reason problem = MoveFilesOn(data, plan.videoSector, plan.added, plan.changed))
        return problem;
    SectorData& head = plan.changed[0];
    SectorData& descriptor = plan.changed[kIsoFirstDescriptor];
    if (!data.readExactly(0, head) ||
        !data.readExactly(std::uint64_t{kIsoFirstDescriptor} * kIsoSectorBytes, descriptor))
        return Sentence::kItCannotBeRead;
    const HybridMap map = job.map(DiscSector(plan.videoSector), DiscSector(plan.sectors()));
    std::memcpy(head.data(), &map, sizeof map);
    const both32 spaceSize = plan.sectors();
    std::memcpy(descriptor.data() + offsetof(IsoVolumeDescriptor, spaceSize), &spaceSize,
                sizeof spaceSize);
    return {};
}

Reason PlanSheet(const JoinJob& job, Plan& plan) {
    plan.sheetPath = CueSheetPath(job.path);
    if (plan.sheetPath.empty())
        return {};
    const auto sheet = MoveTracks(CueSheetOf(job.path), plan.videoSector, plan.added);
    if (!sheet)
        return Reason(Sentence::kSheetOfAnother, Printable(plan.sheetPath));
    plan.sheet = *sheet;
    return {};
}

// The names that the old files get, which nothing has; a reason where there are none.
Reason PlanBackups(const JoinJob& job, Plan& plan) {
    std::vector<BackedUpFile> files = {{job.path, "BAK"}};
    if (!plan.sheetPath.empty())
        files.push_back({plan.sheetPath, "BAC"});
    const auto paths = BackupPaths(files, [](const std::string&) { return false; });
    if (paths.empty())
        return Sentence::kNoNameForBackup;
    plan.imageBackup = paths.front();
    plan.sheetBackup = plan.sheetPath.empty() ? std::string{} : paths.back();
    return {};
}

// Copies sectors `first` to `end` of the old image, `moved` sectors on. Those of the plan get their
// new data, those that have moved their new headers.
bool CopySectors(const JoinJob& job, const Plan& plan, PcFile& target, std::uint32_t first,
                 std::uint32_t end, std::uint32_t moved) {
    std::vector<std::uint8_t> raw(kPiece * kRawSectorBytes);
    for (std::uint32_t at = first; at < end;) {
        const std::uint32_t count = std::min<std::uint32_t>(end - at, kPiece);
        const auto piece = std::span(raw).first(count * kRawSectorBytes);
        if (!job.disc.readExactly(std::uint64_t{at} * kRawSectorBytes, piece))
            return false;
        for (std::uint32_t i = 0; i < count; ++i) {
            const RawSector sector = piece.subspan(i * kRawSectorBytes).first<kRawSectorBytes>();
            const auto changed = plan.changed.find(at + i);
            if (moved != 0 && HasRawSync(sector))
                SetRawHeader(sector, at + i + moved, RawKind::Mode2Form1);
            if (changed == plan.changed.end())
                continue;
            std::copy(changed->second.begin(), changed->second.end(),
                      sector.begin() + kRawMode2DataOffset);
            for (const std::size_t copy : {std::size_t{0}, std::size_t{kRawSubheaderBytes}})
                if (at + i == kEntriesSector)
                    sector[kRawSubmodeOffset + copy] |= kSubmodeData | kSubmodeEndOfFile;
            SetRawHeader(sector, at + i, RawKind::Mode2Form1);
            SetRawChecks(sector, RawKind::Mode2Form1);
        }
        if (!target.writeAt((std::uint64_t{at} + moved) * kRawSectorBytes, piece) ||
            !job.progress.chunk(count * std::uint64_t{kIsoSectorBytes}))
            return false;
        at += count;
    }
    return true;
}

bool WriteImage(const JoinJob& job, const Plan& plan, PcFile& target) {
    job.progress.begin(std::uint64_t{plan.sectors()} * kIsoSectorBytes);
    job.progress.text(job.messages.text(kTextPleaseWait));
    job.progress.text(job.messages.text(kTextCopyingIso));
    if (!CopySectors(job, plan, target, 0, plan.videoSector, 0))
        return false;
    job.progress.text(job.messages.text(kTextHybridating));
    MemoryBytes gap(std::vector<std::uint8_t>(kVideoGapSectors * kIsoSectorBytes));
    const std::uint32_t partitionSectors = job.partitionSectors();
    if (!WriteRawSectors(job.source, target, plan.videoSector, RawKind::Mode2Form1, kSubmodeData,
                         job.progress) ||
        !WriteRawSectors(gap, target, plan.videoSector + partitionSectors, RawKind::Mode2Form1, 0,
                         job.progress))
        return false;
    job.progress.text(job.messages.text(kTextCopyingVideo));
    return CopySectors(job, plan, target, plan.videoSector, plan.oldSectors, plan.added);
}

// A file whose place a new one takes, kept under a second name that nothing has.
class ReplacedFile {
  public:
    ReplacedFile(std::string path, std::string backup)
        : path_(std::move(path)), backup_(std::move(backup)) {}

    /// 0 or the system's error number.
    [[nodiscard]] int keep() {
        isKept_ = ::link(path_.c_str(), backup_.c_str()) == 0;
        if (isKept_ || errno == EEXIST)
            return isKept_ ? 0 : errno;
        // A file system without hard links: for a moment nothing has the old name.
        isKept_ = ::rename(path_.c_str(), backup_.c_str()) == 0;
        return isKept_ ? 0 : errno;
    }
    void restore() {
        if (isKept_ && AreSameFile(path_, backup_))
            ::unlink(backup_.c_str());
        else if (isKept_)
            (void)::rename(backup_.c_str(), path_.c_str());
    }

  private:
    std::string path_;
    std::string backup_;
    bool isKept_ = false;
};

// Both files get their names, or neither. Whatever ends the process in between leaves the old files
// under the names of their backups.
int Publish(const JoinJob& job, const Plan& plan, TargetFile& image, TargetFile* sheet) {
    ReplacedFile oldImage(job.path, plan.imageBackup);
    ReplacedFile oldSheet(plan.sheetPath, plan.sheetBackup);
    int error = oldImage.keep();
    if (error == 0 && sheet)
        error = oldSheet.keep();
    if (error == 0)
        error = image.publish(true, true);
    if (error == 0 && sheet)
        error = sheet->publish(true, true);
    if (error != 0) {
        oldImage.restore();
        oldSheet.restore();
    }
    return error;
}

void TellBackup(const JoinJob& job, const Plan& plan) {
    if (plan.imageBackup == WithExtension(job.path, "BAK"))
        return;
    job.messages.showTimedMessage(Reason(Sentence::kDiscKeptAs, Printable(plan.imageBackup)));
}

HybridationResult Write(JoinJob& job, const Plan& plan) {
    TargetFile image(job.path);
    if (!image.file().isOpen() || !WriteImage(job, plan, image.file()))
        return job.writingEnded(image.file());
    std::optional<TargetFile> sheet;
    if (!plan.sheetPath.empty()) {
        sheet.emplace(plan.sheetPath);
        const auto* text = reinterpret_cast<const std::uint8_t*>(plan.sheet.data());
        if (!sheet->file().isOpen() || !sheet->file().writeAt(0, {text, plan.sheet.size()}))
            return job.writingEnded(sheet->file());
    }
    if (const int error = Publish(job, plan, image, sheet ? &*sheet : nullptr); error != 0)
        return job.notPublished(error);
    TellBackup(job, plan);
    job.sizeBytes = std::uint64_t{plan.sectors()} * kRawSectorBytes;
    return HybridationResult::Done;
}

}  // namespace

bool IsVideoCd(ByteSource& image) {
    EntryTable table;
    return ReadTable(image, table);
}

HybridationResult JoinVideoCd(JoinJob& job) {
    Plan plan;
    plan.oldSectors = static_cast<std::uint32_t>(job.disc.size() / kRawSectorBytes);
    plan.added = job.partitionSectors() + kVideoGapSectors;
    RawDataSource data(job.disc, job.form);
    Reason problem = PlanEntries(job.disc, plan);
    if (!problem)
        problem = PlanIsoTrack(job, data, plan);
    if (!problem)
        problem = PlanSheet(job, plan);
    if (problem)
        return job.refuse(HybridationResult::NotIso, Sentence::kVideoCdNotJoined, problem);
    if (const Reason noName = PlanBackups(job, plan))
        return job.refuse(HybridationResult::NotWritten, Sentence::kJoinRefused, noName);
    const std::uint64_t bytes = std::uint64_t{plan.sectors()} * kRawSectorBytes;
    return job.hasRoom(bytes, bytes) ? Write(job, plan) : HybridationResult::NotWritten;
}

}  // namespace vellmark
