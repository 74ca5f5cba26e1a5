#include "volume/opened_volume.hpp"

#include "IO/sector_batch.hpp"
#include "support/encoding.hpp"
#include "support/sentences.hpp"
#include "volume/read_only.hpp"

namespace vellmark {

namespace {

std::string NameOf(const OpenRequest& request) {
    return Printable(request.name.empty() ? request.path : request.name);
}

// Why not all of the image came through; none when it did.
Reason TransferProblem(const VolumeContext& volume) {
    if (volume.image->error() != 0)
        return SystemError{volume.image->error()};
    return volume.transferFailed ? Sentence::kPartMissing : Reason();
}

// Why the volume cannot be changed although it could be mounted; none when it can.
Reason RefusalOf(const VolumeContext& volume, const std::string& name) {
    if (Reason refusal = ChangeRefusal(volume.readOnlyReasons))
        return Reason(Sentence::kCannotBeChanged, name, std::move(refusal));
    return {};
}

// Changes are written whole or not at all, so that the volume is sound in every case.
Reason NotWritten(const std::string& name, Reason problem, CommitResult commit) {
    return Reason(commit == CommitResult::NotBegun ? Sentence::kImageAsBeforeLastChange
                                                   : Sentence::kImageNotWrittenWhole,
                  name, std::move(problem));
}

}  // namespace

std::unique_ptr<ReadVolume> ReadVolume::Open(OpenRequest request, const FileGuard& guard,
                                             Messages& messages) {
    request.access = Access::Read;
    auto opened = std::make_unique<ReadVolume>();
    opened->name_ = NameOf(request);
    opened->volume_.guard = guard;
    return OpenVolume(opened->volume_, request, messages) ? std::move(opened) : nullptr;
}

Reason ReadVolume::close() {
    Reason problem = TransferProblem(volume_);
    CloseImage(volume_);
    return problem ? Reason(Sentence::kImageNotReadWhole, name_, std::move(problem)) : Reason();
}

std::unique_ptr<ChangedVolume> ChangedVolume::Open(OpenRequest request, const FileGuard& guard,
                                                   Messages& messages) {
    request.access = Access::Change;
    auto opened = std::make_unique<ChangedVolume>();
    VolumeContext& volume = opened->context_;
    opened->name_ = NameOf(request);
    volume.guard = guard;
    if (!OpenVolume(volume, request, messages))
        return nullptr;
    if (const Reason refusal = RefusalOf(volume, opened->name_)) {
        messages.showMessage(refusal);
        return nullptr;
    }
    if (Reason remark = VolumeRemark(volume))
        messages.logMessage(Reason(Sentence::kNamed, opened->name_, std::move(remark)));
    auto writable = WritableVolume::Load(volume);
    if (!writable) {
        messages.showMessage(Reason(Sentence::kMapsUnusable, Printable(request.path)));
        return nullptr;
    }
    opened->writable_.emplace(std::move(*writable));
    return opened;
}

Reason ChangedVolume::write(const Clock& clock) {
    const TreeResult flushed = writable_->flush(clock);
    if (const Reason& problem = writable_->unfinished().problem())
        return problem;
    const bool onDevice = context_.image->flush();
    if (Reason problem = TransferProblem(context_);
        problem && (context_.image->error() != 0 || flushed != TreeResult::Damaged))
        return problem;
    if (flushed == TreeResult::Damaged)
        return Sentence::kItsCatalogDamaged;
    return flushed != TreeResult::Done || !onDevice ? Sentence::kPartMissing : Reason();
}

Reason ChangedVolume::close(const Clock& clock) {
    Reason problem = write(clock);
    const CommitResult commit = writable_->unfinished().result();
    CloseImage(context_);
    if (problem)
        return NotWritten(name_, std::move(problem), commit);
    return writable_->hasLargeFolder
               ? Reason(Sentence::kNamed, name_, Sentence::kLargeFolderRemark).as(Severity::Remark)
               : Reason();
}

}  // namespace vellmark
