#include "compiler/compile.hpp"

#include <fmt/core.h>

#include <algorithm>
#include <optional>

#include "IO/redo_log.hpp"
#include "IO/sector_io.hpp"
#include "compiler/automatic_label.hpp"
#include "compiler/catalog_builder.hpp"
#include "compiler/compile_journal.hpp"
#include "compiler/disc_plan.hpp"
#include "compiler/hfs_layout.hpp"
#include "compiler/iso_descriptors.hpp"
#include "compiler/iso_layout.hpp"
#include "compiler/iso_order.hpp"
#include "compiler/iso_tables.hpp"
#include "compiler/item_copier.hpp"
#include "compiler/pc_blocks.hpp"
#include "compiler/volume_writer.hpp"
#include "containers/names.hpp"
#include "project/pc_sources.hpp"
#include "project/view_names.hpp"
#include "support/encoding.hpp"
#include "support/texts.hpp"
#include "volume/edit_result.hpp"
#include "volume/hfs_structures.hpp"

namespace vellmark {

namespace {

constexpr int kTextNoRoom = 1073;
constexpr int kTextPreliminary = 1344;
constexpr int kTextAborted = 1395;
constexpr int kTextTooLargeForDisk = 1474;
constexpr int kTextTablesFailed = 1500;
constexpr int kTextEmpty = 1550;
constexpr int kTextNoIso = 1551;
constexpr int kTextNoHfs = 1552;
constexpr int kTextEmptyIsoPlus = 1553;

/// Records of path tables tell the directory above in 16 bits.
constexpr std::size_t kMostIsoFolders = 65535;
/// Where the volume of an image without ISO tables begins, in sectors of 2048 bytes.
constexpr std::uint32_t kPureHfsStart = 16;
/// Times that a catalog which came out too small is laid out anew.
constexpr int kLayoutRounds = 8;

// One compile: first everything is settled, then everything is written.
class Compiler {
  public:
    explicit Compiler(CompileContext& context) : context_(context) {}

    CompileResult run() {
        if (!settleMode())
            return CompileResult::Empty;
        context_.projectChanged |=
            SettleLabels(context_.project.header(), context_.targetPath, context_.messages);
        JournalStep(context_, CompileStep::CreateFile);
        context_.progress.text(context_.messages.text(kTextPreliminary));
        if (const CompileResult result = plan(); result != CompileResult::Done)
            return result;
        if (const CompileResult result = layOut(); result != CompileResult::Done)
            return result;
        tellDeepFolders();
        tellLargeFolders();
        for (const auto& [item, reason] : plan_.leftOut)
            context_.messages.itemSkipped(item, reason);
        const CompileResult result = hasRoom() ? write() : CompileResult::NoRoom;
        // What was settled about the project is kept when the image is there, and not before.
        if (result == CompileResult::Done && context_.projectChanged && !saveProject())
            return CompileResult::ProjectNotSaved;
        return result;
    }

  private:
    bool settleMode();
    bool hasItems(const ProjectTotals& totals);
    bool mayLeaveRoom();
    bool saveProject();
    CompileResult plan();
    void tellDeepFolders();
    void tellLargeFolders();
    CompileResult layOut();
    TreeResult buildCatalog(std::uint32_t blockSize, std::uint32_t leaves);
    CompileResult turnToHfsPlus();
    bool hasRoom();
    CompileResult write();
    CompileResult copyFiles(PcFile& image);
    bool writeDescriptors(PcFile& image);
    CompileResult fail(CompileResult result, const std::string& message) {
        context_.messages.showMessage(message);
        return result;
    }
    CompileResult targetFailed(int error) {
        return fail(CompileResult::TargetFailed,
                    fmt::format("{} cannot be written: {}.", Printable(context_.targetPath),
                                SystemErrorText(error)));
    }

    [[nodiscard]] std::uint32_t blockSize() const {
        return HasMacintosh(context_.mode) ? hfs_.blockSize() : kDiscSectorBytes;
    }
    [[nodiscard]] std::uint64_t fileAreaByte() const {
        return HasMacintosh(context_.mode) ? hfs_.fileAreaStart * 512
                                           : std::uint64_t{iso_.fileArea} * kDiscSectorBytes;
    }
    /// Sectors of 2048 bytes, without a postgap.
    [[nodiscard]] std::uint64_t imageSectors() const {
        return HasMacintosh(context_.mode) ? hfs_.imageSectors / kBlocksPerSector
                                           : iso_.fileArea + fileBlocks_;
    }
    [[nodiscard]] std::uint64_t imageBytes() const {
        return (imageSectors() + (context_.postgap ? kPostgapSectors : 0)) * kDiscSectorBytes;
    }

    CompileContext& context_;
    DiscPlan plan_;
    IsoLayout iso_;
    HfsLayout hfs_;
    BuiltCatalog catalog_;
    std::optional<MemoryNodes> catalogNodes_;
    std::uint64_t fileBlocks_ = 0;  // allocation blocks of all files
};

// What is built. Where one side of a hybrid image would be empty it is the other alone; an image of
// one side is what was asked for, or nothing.
bool Compiler::settleMode() {
    const ProjectTotals totals = context_.project.totals();
    if (context_.project.mode() == ProjectMode::IsoPlus) {
        context_.mode = CompileMode::IsoPlus;
        if (totals.isoRecords == 0)
            context_.messages.showMessage(context_.messages.text(kTextEmptyIsoPlus));
        return totals.isoRecords != 0 && mayLeaveRoom();
    }
    if (!hasItems(totals))
        return false;
    const bool wasHfsPlus = context_.project.header().isHfsPlus();
    TurnToHfsPlusIfTooMany(context_.project, totals, context_.messages);
    const bool plus = context_.project.header().isHfsPlus();
    if (plus != wasHfsPlus)
        context_.projectChanged = true;
    ImageKind kind = context_.kind;
    if (kind == ImageKind::Hybrid && totals.isoRecords == 0) {
        context_.messages.showTimedMessage(context_.messages.text(kTextNoIso));
        kind = ImageKind::Hfs;
    } else if (kind == ImageKind::Hybrid && totals.hfsRecords == 0) {
        context_.messages.showTimedMessage(context_.messages.text(kTextNoHfs));
        kind = ImageKind::Iso;
    }
    context_.mode = kind == ImageKind::Iso ? CompileMode::PureIso
                    : kind == ImageKind::Hfs
                        ? (plus ? CompileMode::PureHfsPlus : CompileMode::PureHfs)
                        : (plus ? CompileMode::HybridHfsPlus : CompileMode::HybridHfs);
    return mayLeaveRoom();
}

bool Compiler::mayLeaveRoom() {
    if (context_.freeBytes == 0 || HasMacintosh(context_.mode))
        return true;
    context_.messages.showMessage(
        "The image has no Macintosh volume in which room could be left free.");
    return false;
}

bool Compiler::hasItems(const ProjectTotals& totals) {
    if (totals.isoRecords == 0 && totals.hfsRecords == 0)
        context_.messages.showMessage(context_.messages.text(kTextEmpty));
    else if (context_.kind == ImageKind::Iso && totals.isoRecords == 0)
        context_.messages.showMessage(
            "The project has nothing in its ISO view: an ISO 9660 image of it would be empty.");
    else if (context_.kind == ImageKind::Hfs && totals.hfsRecords == 0)
        context_.messages.showMessage(
            "The project has nothing in its HFS/HFS+ view: a Macintosh volume of it would be "
            "empty.");
    else
        return true;
    return false;
}

// A project that has no file yet, as one that is made for this image alone, gets none.
bool Compiler::saveProject() {
    const std::string& path = context_.project.path();
    if (PcFactsOf(path).kind == PcKind::Missing)
        return true;
    if (const int error = SaveRefusal(path); error != 0) {
        context_.messages.showTimedMessage(fmt::format("The project file {} stays as it is: {}.",
                                                       Printable(path), SystemErrorText(error)));
        return true;
    }
    return context_.project.save(context_.messages);
}

CompileResult Compiler::turnToHfsPlus() {
    TurnToHfsPlus(context_.project, context_.messages,
                  "HFS cannot hold this project with any allocation block size.");
    context_.mode = HasIso(context_.mode) ? CompileMode::HybridHfsPlus : CompileMode::PureHfsPlus;
    context_.projectChanged = true;
    return plan();
}

CompileResult Compiler::plan() {
    plan_ = DiscPlan{};
    const CompileResult made = MakeDiscPlan(context_, plan_);
    if (made == CompileResult::Aborted)
        return fail(made, std::string(context_.messages.text(kTextAborted)));
    if (made != CompileResult::Done)
        return made;
    const auto isoFolders = std::count_if(plan_.folders.begin(), plan_.folders.end(),
                                          [](const DiscFolder& folder) { return folder.inIso; });
    if (HasIso(context_.mode) && static_cast<std::size_t>(isoFolders) > kMostIsoFolders) {
        context_.messages.showMessage(
            fmt::format("The ISO view has {} folders, and ISO 9660 holds at most {}.", isoFolders,
                        kMostIsoFolders));
        return CompileResult::CopyFailed;
    }
    return CompileResult::Done;
}

void Compiler::tellDeepFolders() {
    const DeepFolders deep = FoldersTooDeep(plan_);
    if (plan_.strictIso && deep.count > 0)
        context_.messages.showTimedMessage(fmt::format(
            "Folders below the eighth level, which ISO 9660 does not allow: {}. The first is {}.",
            deep.count, SourceText(*deep.first->record)));
}

void Compiler::tellLargeFolders() {
    const bool isHfs = HasMacintosh(context_.mode) && !IsHfsPlusMode(context_.mode);
    if (isHfs &&
        std::any_of(plan_.folders.begin(), plan_.folders.end(), [](const DiscFolder& folder) {
            return folder.hfsChildren > kMostItemsShownInHfs;
        }))
        context_.messages.showTimedMessage(kLargeFolderRemark);
}

// The catalog is sized by an estimate; where it does not fit, all is laid out anew with more room.
CompileResult Compiler::layOut() {
    JournalStep(context_, CompileStep::ComputeIso);
    JournalStep(context_, CompileStep::ComputeHfs);
    std::uint32_t leaves = 0;
    for (int round = 0; round < kLayoutRounds; ++round) {
        leaves = round == 0 ? CountCatalogLeaves(plan_, IsHfsPlusMode(context_.mode))
                            : leaves + leaves / 4 + 4;
        std::uint32_t size = kDiscSectorBytes;
        if (HasMacintosh(context_.mode) && !IsHfsPlusMode(context_.mode)) {
            const auto chosen =
                ChooseHfsBlockSize(plan_, leaves, HasIso(context_.mode), context_.freeBytes);
            if (!chosen) {
                const CompileResult turned = turnToHfsPlus();
                return turned == CompileResult::Done ? layOut() : turned;
            }
            if (plan_.largestFork > kMostHfsForkBytes)
                return fail(CompileResult::CopyFailed,
                            fmt::format("{}: {}", plan_.largestName, kForkTooLongSentence));
            size = *chosen;
        }
        fileBlocks_ = PlaceFiles(plan_, size);
        if (HasIso(context_.mode))
            iso_ = ComputeLayout(plan_, size);
        if (!HasMacintosh(context_.mode))
            return CompileResult::Done;
        const TreeResult result = buildCatalog(size, leaves);
        if (result == TreeResult::Done && hfs_.imageSectors <= UINT32_MAX)
            return CompileResult::Done;
        if (result == TreeResult::Done)
            return fail(CompileResult::CopyFailed,
                        fmt::format("The image would have {} bytes; the partition map of a "
                                    "Macintosh volume can tell of 2 TB.",
                                    hfs_.imageSectors * 512));
        if (result != TreeResult::Full)
            break;
    }
    return fail(CompileResult::CopyFailed, "The catalog of the Macintosh volume cannot be built.");
}

TreeResult Compiler::buildCatalog(std::uint32_t blockSize, std::uint32_t leaves) {
    const bool plus = IsHfsPlusMode(context_.mode);
    const std::uint32_t step = blockSize / kDiscSectorBytes;
    const std::uint32_t first =
        HasIso(context_.mode) ? iso_.fileArea : (kPureHfsStart + step - 1) / step * step;
    const std::uint64_t start = std::uint64_t{first} * kBlocksPerSector;
    const std::size_t pcRuns = CountPcRuns(plan_);
    hfs_ =
        plus ? ComputeHfsPlusLayout(start, leaves, fileBlocks_, context_.freeBytes, pcRuns)
             : ComputeHfsLayout(start, leaves, fileBlocks_, blockSize, context_.freeBytes, pcRuns);
    catalogNodes_.emplace(NewNodeSize(plus));
    return BuildCatalog(context_, plan_, hfs_, *catalogNodes_, catalog_);
}

bool Compiler::hasRoom() {
    switch (CheckTargetRoom(FolderOf(context_.targetPath), imageBytes())) {
        case TargetRoom::Fits:
            return true;
        case TargetRoom::TooLargeForFileSystem:
            context_.messages.showMessage(context_.messages.text(kTextTooLargeForDisk));
            return false;
        case TargetRoom::NoRoom:
            context_.messages.showMessage(context_.messages.text(kTextNoRoom));
            return false;
    }
    return false;
}

CompileResult Compiler::write() {
    TargetFile target(context_.targetPath);
    if (!target.file().isOpen())
        return targetFailed(target.file().error());
    if (const int error = target.lockOlder(context_.guard.lockWaitMs); error != 0)
        return targetFailed(error);
    PcFile& image = target.file();
    JournalStep(context_, CompileStep::CreateTables);
    std::optional<TempTableSet> tables;
    if (HasIso(context_.mode)) {
        const FileArea area{static_cast<std::uint32_t>(fileAreaByte() / kDiscSectorBytes),
                            blockSize() / kDiscSectorBytes};
        tables.emplace(context_.tableFolder);
        if (!tables->isOpen() || !WriteTables(plan_, iso_, area, context_.clock, *tables))
            return fail(CompileResult::TablesFailed,
                        std::string(context_.messages.text(kTextTablesFailed)));
    }
    JournalStep(context_, CompileStep::CreateImage);
    if ((HasMacintosh(context_.mode) && !WritePartitionMap(context_, hfs_, image)) ||
        (HasIso(context_.mode) && !writeDescriptors(image)))
        return targetFailed(image.error());
    if (const CompileResult result = copyFiles(image); result != CompileResult::Done)
        return result;
    context_.progress.fileStart({}, 0, 0);
    JournalStep(context_, CompileStep::WriteVolume);
    if (HasMacintosh(context_.mode) &&
        !WriteVolume(context_, plan_, hfs_, *catalogNodes_, catalog_, image))
        return targetFailed(image.error());
    JournalStep(context_, CompileStep::WriteTables);
    if ((tables && !CopyTables(iso_, *tables, image)) || !image.setSize(imageBytes()))
        return targetFailed(image.error());
    const int error = target.publish(context_.replace, !context_.isPassing);
    if (error != 0)
        return targetFailed(error);
    RemoveRedoLogs(context_.targetPath, context_.guard);
    return CompileResult::Done;
}

bool Compiler::writeDescriptors(PcFile& image) {
    const ProjectHeader& header = context_.project.header();
    const IsoVolumeDescriptor primary = MakePrimaryDescriptor(
        header, iso_, static_cast<std::uint32_t>(imageSectors()), context_.clock);
    const auto at = [](std::uint32_t sector) { return std::uint64_t{sector} * kDiscSectorBytes; };
    return image.writeRecord(at(kIsoFirstDescriptor), primary) &&
           image.writeRecord(at(kJolietDescriptorSector),
                             MakeJolietDescriptor(primary, header, iso_)) &&
           image.writeRecord(at(kTerminatorSector), MakeTerminator());
}

CompileResult Compiler::copyFiles(PcFile& image) {
    ItemCopier copier(context_, plan_, image, fileAreaByte(), blockSize());
    switch (copier.run()) {
        case CopyResult::Done:
            return CompileResult::Done;
        case CopyResult::Stopped:
            return fail(CompileResult::Aborted, std::string(context_.messages.text(kTextAborted)));
        case CopyResult::TargetFailed:
            return targetFailed(image.error());
        case CopyResult::SourceFailed:
            break;
    }
    return fail(CompileResult::CopyFailed, copier.problem());
}

}  // namespace

CompileResult CompileProject(CompileContext& context) {
    return Compiler(context).run();
}

}  // namespace vellmark
