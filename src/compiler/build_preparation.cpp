#include "compiler/build_preparation.hpp"

#include <algorithm>
#include <optional>
#include <string>

#include "compiler/automatic_label.hpp"
#include "compiler/catalog_growth.hpp"
#include "compiler/compile_journal.hpp"
#include "compiler/iso_order.hpp"
#include "compiler/pc_blocks.hpp"
#include "project/pc_sources.hpp"
#include "project/view_names.hpp"
#include "support/sentences.hpp"
#include "volume/edit_result.hpp"
#include "volume/hfs_structures.hpp"

namespace vellmark {

namespace {

constexpr int kTextPreliminary = 1344;
constexpr int kTextAborted = 1395;
constexpr int kTextEmpty = 1550;
constexpr int kTextNoIso = 1551;
constexpr int kTextNoHfs = 1552;
constexpr int kTextEmptyIsoPlus = 1553;

/// Records of path tables have the number of the directory above in 16 bits.
constexpr std::size_t kMostIsoFolders = 65535;
/// Where the volume of an image without ISO tables begins, in sectors of 2048 bytes.
constexpr std::uint32_t kPureHfsStart = 16;

class Preparation {
  public:
    Preparation(CompileContext& context, PreparedImage& image, SettledProject& settled)
        : context_(context), image_(image), plan_(image.plan), settled_(settled) {}

    CompileResult run();

  private:
    bool settleMode();
    bool hasItems(const ProjectTotals& totals);
    bool mayLeaveRoom();
    CompileResult plan();
    CompileResult layOut();
    void place(std::uint32_t blockSize);
    TreeResult buildCatalog(std::uint32_t blockSize, std::uint32_t leaves);
    CompileResult turnToHfsPlus();
    void tellDeepFolders();
    void tellLargeFolders();
    CompileResult fail(CompileResult result, const Reason& reason) {
        context_.messages.showMessage(reason);
        return result;
    }

    CompileContext& context_;
    PreparedImage& image_;
    DiscPlan& plan_;
    SettledProject& settled_;
};

CompileResult Preparation::run() {
    if (!settleMode())
        return CompileResult::Empty;
    settled_.isLabelled =
        SettleLabels(context_.project.header(), context_.request.targetPath, context_.messages);
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
    return CompileResult::Done;
}

// What is built. Where one side of a hybrid image would be empty it is the other alone; an image of
// one side is what was asked for, or nothing.
bool Preparation::settleMode() {
    const ProjectTotals totals = context_.project.totals();
    if (context_.project.mode() == ProjectMode::IsoPlus) {
        context_.mode = CompileMode::IsoPlus;
        if (totals.isoRecords == 0)
            context_.messages.showMessage(ToldText{kTextEmptyIsoPlus});
        return totals.isoRecords != 0 && mayLeaveRoom();
    }
    if (!hasItems(totals))
        return false;
    const bool wasHfsPlus = context_.project.header().isHfsPlus();
    TurnToHfsPlusIfTooMany(context_.project, totals, context_.messages);
    const bool plus = context_.project.header().isHfsPlus();
    settled_.becameHfsPlus = plus != wasHfsPlus;
    ImageKind kind = context_.request.kind;
    if (kind == ImageKind::Hybrid && totals.isoRecords == 0) {
        context_.messages.showTimedMessage(ToldText{kTextNoIso});
        kind = ImageKind::Hfs;
    } else if (kind == ImageKind::Hybrid && totals.hfsRecords == 0) {
        context_.messages.showTimedMessage(ToldText{kTextNoHfs});
        kind = ImageKind::Iso;
    }
    context_.mode = kind == ImageKind::Iso ? CompileMode::PureIso
                    : kind == ImageKind::Hfs
                        ? (plus ? CompileMode::PureHfsPlus : CompileMode::PureHfs)
                        : (plus ? CompileMode::HybridHfsPlus : CompileMode::HybridHfs);
    return mayLeaveRoom();
}

bool Preparation::mayLeaveRoom() {
    if (context_.request.freeBytes == 0 || HasMacintosh(context_.mode))
        return true;
    context_.messages.showMessage(Sentence::kNoRoomWithoutVolume);
    return false;
}

bool Preparation::hasItems(const ProjectTotals& totals) {
    Reason refusal;
    if (totals.isoRecords == 0 && totals.hfsRecords == 0)
        refusal = ToldText{kTextEmpty};
    else if (context_.request.kind == ImageKind::Iso && totals.isoRecords == 0)
        refusal = Sentence::kEmptyIsoView;
    else if (context_.request.kind == ImageKind::Hfs && totals.hfsRecords == 0)
        refusal = Sentence::kEmptyHfsView;
    if (refusal)
        context_.messages.showMessage(refusal);
    return refusal.isNone();
}

CompileResult Preparation::turnToHfsPlus() {
    TurnToHfsPlus(context_.project, context_.messages, Sentence::kNoBlockSizeForHfs);
    context_.mode = HasIso(context_.mode) ? CompileMode::HybridHfsPlus : CompileMode::PureHfsPlus;
    settled_.becameHfsPlus = true;
    return plan();
}

CompileResult Preparation::plan() {
    plan_ = DiscPlan{};
    const CompileResult made = MakeDiscPlan(context_, plan_);
    if (made == CompileResult::Aborted)
        return fail(made, ToldText{kTextAborted});
    if (made != CompileResult::Done)
        return made;
    const auto isoFolders = std::count_if(plan_.folders.begin(), plan_.folders.end(),
                                          [](const DiscFolder& folder) { return folder.inIso; });
    if (HasIso(context_.mode) && static_cast<std::size_t>(isoFolders) > kMostIsoFolders)
        return fail(CompileResult::CopyFailed,
                    Reason(Sentence::kTooManyIsoFolders, isoFolders, kMostIsoFolders));
    return CompileResult::Done;
}

void Preparation::tellDeepFolders() {
    const DeepFolders deep = FoldersTooDeep(plan_);
    if (plan_.strictIso && deep.count > 0)
        context_.messages.showTimedMessage(
            Reason(Sentence::kDeepFolders, deep.count, SourceText(*deep.first->record)));
}

void Preparation::tellLargeFolders() {
    const bool isHfs = HasMacintosh(context_.mode) && !IsHfsPlusMode(context_.mode);
    if (isHfs &&
        std::any_of(plan_.folders.begin(), plan_.folders.end(), [](const DiscFolder& folder) {
            return folder.hfsChildren > kMostItemsShownInHfs;
        }))
        context_.messages.showTimedMessage(Reason(Sentence::kLargeFolderRemark));
}

CompileResult Preparation::layOut() {
    image_.mode = context_.mode;
    image_.postgap = context_.request.postgap;
    JournalStep(context_, CompileStep::ComputeIso);
    JournalStep(context_, CompileStep::ComputeHfs);
    if (!HasMacintosh(context_.mode)) {
        place(kIsoSectorBytes);
        return image_.sectors() <= UINT32_MAX
                   ? CompileResult::Done
                   : fail(CompileResult::CopyFailed,
                          Reason(Sentence::kImageBeyondIso, image_.sizeBytes()));
    }
    const bool plus = IsHfsPlusMode(context_.mode);
    bool isTooMuch = false;
    const TreeResult built =
        GrowUntilItFits(CountCatalogLeaves(plan_, plus), [&](std::uint32_t leaves) {
            const auto size = plus ? std::optional(kIsoSectorBytes)
                                   : ChooseHfsBlockSize(plan_, leaves, HasIso(context_.mode),
                                                        context_.request.freeBytes);
            isTooMuch = !size;
            if (isTooMuch || (!plus && plan_.largestFork > kMostHfsForkBytes))
                return TreeResult::Done;
            place(*size);
            return buildCatalog(*size, leaves);
        });
    if (isTooMuch) {
        const CompileResult turned = turnToHfsPlus();
        return turned == CompileResult::Done ? layOut() : turned;
    }
    if (!plus && plan_.largestFork > kMostHfsForkBytes)
        return fail(CompileResult::CopyFailed, Reason(Sentence::kNamedReason, plan_.largestName,
                                                      Sentence::kForkTooLongForHfs));
    if (built != TreeResult::Done)
        return fail(CompileResult::CopyFailed, Sentence::kCatalogNotBuilt);
    if (image_.hfs.imageEnd.number() > UINT32_MAX)
        return fail(CompileResult::CopyFailed,
                    Reason(Sentence::kImageTooLarge, image_.hfs.imageEnd.byte()));
    return CompileResult::Done;
}

void Preparation::place(std::uint32_t blockSize) {
    image_.fileBlocks = PlaceFiles(plan_, blockSize);
    if (HasIso(context_.mode))
        image_.iso = ComputeLayout(plan_, blockSize);
}

TreeResult Preparation::buildCatalog(std::uint32_t blockSize, std::uint32_t leaves) {
    const bool plus = IsHfsPlusMode(context_.mode);
    const std::uint32_t step = blockSize / kIsoSectorBytes;
    const Sector512 start =
        ToSector512(HasIso(context_.mode) ? image_.iso.fileArea
                                          : DiscSector((kPureHfsStart + step - 1) / step * step));
    const HfsContents contents{leaves, image_.fileBlocks, context_.request.freeBytes,
                               CountPcRuns(plan_)};
    image_.hfs =
        plus ? ComputeHfsPlusLayout(start, contents) : ComputeHfsLayout(start, contents, blockSize);
    image_.catalogNodes.emplace(NewNodeSize(plus));
    return BuildCatalog(context_, plan_, image_.hfs, *image_.catalogNodes, image_.catalog);
}

}  // namespace

CompileResult PrepareImage(CompileContext& context, PreparedImage& image, SettledProject& settled) {
    return Preparation(context, image, settled).run();
}

}  // namespace vellmark
