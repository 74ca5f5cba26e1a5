#include "session/partition_document.hpp"

#include <cerrno>
#include <utility>

#include "IO/recognition.hpp"
#include "IO/redo_log.hpp"
#include "support/encoding.hpp"
#include "support/pc_folder.hpp"
#include "support/sentences.hpp"
#include "support/texts.hpp"
#include "volume/catalog.hpp"
#include "volume/mount.hpp"
#include "volume/read_only.hpp"

namespace vellmark {

namespace {

constexpr int kTextAnalyzing = 1303;
constexpr int kTextNullLength = 1409;
constexpr int kTextOpening = 1471;

}  // namespace

std::unique_ptr<PartitionDocument> PartitionDocument::Open(const std::string& path,
                                                           const ReadingPorts& ports) {
    const PcFacts facts = PcFactsOf(path);
    if (facts.kind == PcKind::File && facts.sizeBytes == 0) {
        ports.messages.showTimedMessage(ports.messages.text(kTextNullLength));
        return nullptr;
    }
    std::optional<PlainImage> image = PlainImage::Choose(path, Access::Read, ports);
    if (!image || !image->expand(ports))
        return nullptr;
    ports.progress.text(ports.messages.words(Reason::Told(kTextOpening, Printable(path))));
    std::unique_ptr<PartitionDocument> document(new PartitionDocument(std::move(*image)));
    const PlainImage& plain = document->image_;
    VolumeContext& volume = document->volume_;
    volume.guard = plain.guard();
    ports.progress.text(ports.messages.text(kTextAnalyzing));
    const Access access = plain.isTemporary() ? Access::Read : Access::Change;
    if (!OpenVolume(volume, {.path = plain.path(), .access = access, .name = plain.name()},
                    ports.messages))
        return nullptr;
    // Whoever opens a volume without a map in front of it in a window means to work on it.
    volume.readOnlyReasons.remove(ReadOnlyReason::BareVolume);
    document->isReadOnly_ = access == Access::Read || volume.readOnlyReasons.any();
    const ImageClass imageClass = ClassifyImage(*volume.image);
    document->identity_ = IdentityOf(PcFactsOf(plain.path()));
    document->isJoinable_ = imageClass != ImageClass::ProtectiveBootRecord &&
                            imageClass != ImageClass::MacintoshBootRecord;
    return document;
}

bool PartitionDocument::isReplaced() const {
    return IdentityOf(PcFactsOf(image_.path())) != identity_;
}

Reason PartitionDocument::readOnlyReason() const {
    if (image_.isTemporary())
        return Sentence::kExpandedIsTemporary;
    return isReadOnly_ ? ChangeRefusal(volume_.readOnlyReasons) : Reason();
}

PartitionDocument::~PartitionDocument() {
    writable_.reset();
    CloseImage(volume_);
}

WritableVolume* PartitionDocument::writable() {
    if (!isReadOnly_ && !writable_)
        if (auto loaded = WritableVolume::Load(volume_))
            writable_.emplace(std::move(*loaded));
    return writable_ ? &*writable_ : nullptr;
}

std::uint32_t PartitionDocument::parentOf(std::uint32_t folder) {
    const std::uint32_t parent = folder == kRootFolderId ? 0 : ParentOf(volume_, folder);
    return parent < kRootFolderId ? kRootFolderId : parent;
}

bool PartitionDocument::copyTo(const std::string& target, const Clock& clock, Messages& messages) {
    if (!save(clock, messages))
        return false;
    PcFile& image = *volume_.image;
    TargetFile copy(target);
    int error =
        copy.file().isOpen() ? copy.lockOlder(volume_.guard.lockWaitMs) : copy.file().error();
    const std::uint64_t size = image.size();
    if (error == 0 && copy.file().copyFrom(image, {0, 0, size}) != size) {
        error = copy.file().error() != 0 ? copy.file().error() : image.error();
        error = error != 0 ? error : EIO;
    }
    if (error == 0)
        error = copy.publish(true, true);
    if (error == 0)
        RemoveRedoLogs(target, volume_.guard);
    else
        messages.showError(Reason(Sentence::kCannotBeMade, Printable(target), SystemError{error}));
    return error == 0;
}

bool PartitionDocument::save(const Clock& clock, Messages& messages) {
    if (isReadOnly_)
        return true;
    const bool isFlushed = !writable_ || writable_->flush(clock) == TreeResult::Done;
    const bool isWritten = isFlushed && volume_.image->flush() && !volume_.transferFailed;
    if (!isWritten)
        messages.showError(Reason(Sentence::kPartitionNotSaved, Printable(path()),
                                  SystemError{volume_.image->error()}));
    return isWritten;
}

}  // namespace vellmark
