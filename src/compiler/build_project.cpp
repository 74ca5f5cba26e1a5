#include "compiler/build_project.hpp"

#include "IO/redo_log.hpp"
#include "IO/sector_io.hpp"
#include "compiler/compile_journal.hpp"
#include "compiler/iso_descriptors.hpp"
#include "compiler/iso_tables.hpp"
#include "compiler/item_copier.hpp"
#include "compiler/volume_writer.hpp"
#include "containers/names.hpp"
#include "project/open_project.hpp"
#include "support/encoding.hpp"
#include "support/pc_file.hpp"
#include "support/pc_folder.hpp"
#include "support/sentences.hpp"

namespace vellmark {

namespace {

constexpr int kTextNoRoom = 1073;
constexpr int kTextAborted = 1395;
constexpr int kTextTooLargeForDisk = 1474;
constexpr int kTextTablesFailed = 1500;

void Count(const DiscPlan& plan, BuildSummary& summary) {
    for (const DiscFolder& folder : plan.folders)
        for (const DiscItem& item : folder.items) {
            if (item.inIso)
                ++(item.isFolder() ? summary.iso.folders : summary.iso.files);
            if (item.inHfs)
                ++(item.isFolder() ? summary.macintosh.folders : summary.macintosh.files);
        }
}

}  // namespace

Build::Build(ProjectFile& project, const BuildRequest& request, const Ports& ports)
    : ports_(ports),
      request_(request),
      context_{project, request_, ports.messages, ports.progress, ports.clock} {}

CompileResult Build::prepare() {
    if (const Reason refusal = TargetRefusal(context_.project, request_.targetPath))
        return fail(CompileResult::TargetFailed, refusal);
    if (!rebuild())
        return CompileResult::NotRebuilt;
    const CompileResult result = PrepareImage(context_, image_, settled_);
    skipped_ += static_cast<std::int64_t>(image_.plan.leftOut.size());
    return result;
}

bool Build::rebuild() {
    ProjectFile& project = context_.project;
    if (!request_.rebuilds)
        return true;
    RebuildRequest request = request_.rebuild;
    request.target = request_.targetPath;
    request.buildTellsNames = true;
    const RebuildResult result = Rebuild(project, request, ports_);
    skipped_ += result.skipped;
    settled_.isRebuilt = result.hasChanges();
    if (!result.isWhole() || !settled_.isRebuilt)
        return result.isWhole();
    if (request_.backsUp && SaveRefusal(project.path()) == 0)
        BackUpBeforeChange(project, ports_.messages);
    ports_.messages.showTimedMessage(RebuildSummary(project, result));
    return true;
}

BuildSummary Build::summary() const {
    const ProjectHeader& header = context_.project.header();
    BuildSummary summary;
    summary.mode = image_.mode;
    summary.imageBytes = image_.sizeBytes();
    summary.sourceBytes = image_.plan.sourceBytes;
    summary.blockBytes = image_.blockSize();
    if (HasIso(image_.mode))
        summary.isoLabel = NarrowToUtf8(header.isoLabel());
    if (HasMacintosh(image_.mode))
        summary.macLabel = header.isHfsPlus() ? NarrowToUtf8(header.hfsLabel())
                                              : WideToUtf8(MacNameToWide(header.hfsLabel()));
    Count(image_.plan, summary);
    summary.leftOut = image_.plan.leftOut.size();
    return summary;
}

CompileResult Build::write() {
    if (!hasRoom())
        return CompileResult::NoRoom;
    std::optional<TemporaryFolder> own;
    if (request_.tableFolder.empty() && own.emplace().path().empty())
        return fail(CompileResult::TablesFailed, Sentence::kNoTemporaryFolder);
    TargetFile target(request_.targetPath);
    if (!target.file().isOpen())
        return targetFailed(target.file().error());
    if (const int error = target.lockOlder(request_.guard.lockWaitMs); error != 0)
        return targetFailed(error);
    const CompileResult result = writeTo(target, own ? own->path() : request_.tableFolder);
    if (result != CompileResult::Done)
        return result;
    const int error = target.publish(request_.replace, !request_.isPassing);
    if (error != 0)
        return targetFailed(error);
    RemoveRedoLogs(request_.targetPath, request_.guard);
    return CompileResult::Done;
}

bool Build::hasRoom() {
    switch (CheckTargetRoom(FolderOf(request_.targetPath), image_.sizeBytes())) {
        case TargetRoom::Fits:
            return true;
        case TargetRoom::TooLargeForFileSystem:
            ports_.messages.showMessage(ToldText{kTextTooLargeForDisk});
            return false;
        case TargetRoom::NoRoom:
            ports_.messages.showMessage(ToldText{kTextNoRoom});
            return false;
    }
    return false;
}

CompileResult Build::writeTo(TargetFile& target, const std::string& tableFolder) {
    PcFile& image = target.file();
    JournalStep(context_, CompileStep::CreateTables);
    std::optional<TempTableSet> tables;
    if (HasIso(image_.mode)) {
        tables.emplace(tableFolder);
        if (!tables->isOpen() ||
            !WriteTables(image_.plan, image_.iso, image_.fileArea(), ports_.clock, *tables))
            return fail(CompileResult::TablesFailed, ToldText{kTextTablesFailed});
    }
    JournalStep(context_, CompileStep::CreateImage);
    if ((HasMacintosh(image_.mode) && !WritePartitionMap(context_, image_.hfs, image)) ||
        (HasIso(image_.mode) && !writeDescriptors(image)))
        return targetFailed(image.error());
    if (const CompileResult result = copyFiles(image); result != CompileResult::Done)
        return result;
    ports_.progress.fileStart({}, 0, 0);
    JournalStep(context_, CompileStep::WriteVolume);
    if (HasMacintosh(image_.mode) && !WriteVolume(context_, image_.plan, image_.hfs,
                                                  *image_.catalogNodes, image_.catalog, image))
        return targetFailed(image.error());
    JournalStep(context_, CompileStep::WriteTables);
    if ((tables && !CopyTables(image_.iso, *tables, image)) || !image.setSize(image_.sizeBytes()))
        return targetFailed(image.error());
    return CompileResult::Done;
}

bool Build::writeDescriptors(PcFile& image) {
    const ProjectHeader& header = context_.project.header();
    const IsoVolumeDescriptor primary = MakePrimaryDescriptor(
        header, image_.iso, static_cast<std::uint32_t>(image_.sectors()), ports_.clock);
    return image.writeRecord(kPrimaryDescriptorSector.byte(), primary) &&
           image.writeRecord(kJolietDescriptorSector.byte(),
                             MakeJolietDescriptor(primary, header, image_.iso)) &&
           image.writeRecord(kTerminatorSector.byte(), MakeTerminator());
}

CompileResult Build::copyFiles(PcFile& image) {
    ItemCopier copier(context_, image_.plan, image, image_.fileArea());
    switch (copier.run()) {
        case CopyResult::Done:
            return CompileResult::Done;
        case CopyResult::Stopped:
            return fail(CompileResult::Aborted, ToldText{kTextAborted});
        case CopyResult::TargetFailed:
            return targetFailed(image.error());
        case CopyResult::SourceFailed:
        case CopyResult::PlaceTaken:
            break;
    }
    return fail(CompileResult::CopyFailed, copier.problem());
}

CompileResult Build::fail(CompileResult result, const Reason& reason) {
    ports_.messages.showMessage(reason);
    return result;
}

CompileResult Build::targetFailed(int error) {
    return fail(
        CompileResult::TargetFailed,
        Reason(Sentence::kCannotBeWritten, Printable(request_.targetPath), SystemError{error}));
}

BuildOutcome BuildProject(ProjectFile& project, const BuildRequest& request, const Ports& ports) {
    Build build(project, request, ports);
    BuildOutcome outcome;
    outcome.result = build.prepare();
    if (outcome.result == CompileResult::Done)
        outcome.result = build.write();
    if (outcome.result == CompileResult::Done)
        outcome.summary = build.summary();
    outcome.settled = build.settled();
    outcome.skipped = build.skipped();
    return outcome;
}

Reason TargetRefusal(const ProjectFile& project, const std::string& targetPath) {
    if (project.hasFile() && AreSameFile(targetPath, project.path()))
        return Reason(Sentence::kImageIsProject, Printable(targetPath));
    return {};
}

}  // namespace vellmark
