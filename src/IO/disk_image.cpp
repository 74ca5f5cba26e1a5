#include "IO/disk_image.hpp"

#include "IO/disk_image_expansion.hpp"
#include "IO/redo_log.hpp"
#include "support/encoding.hpp"
#include "support/sentences.hpp"

namespace vellmark {

namespace {

ExpandResult NotExpanded(ExpandEnd end, Reason problem) {
    return {.end = end, .problem = std::move(problem)};
}

// Why an image of a class is not expanded; `Done` when it is.
ExpandResult ClassResult(ImageClass imageClass, const std::string& name) {
    switch (imageClass) {
        case ImageClass::Plain:
            return NotExpanded(ExpandEnd::NotBegun, Reason(Sentence::kNotCompressed, name));
        case ImageClass::SparseImage:
            return NotExpanded(ExpandEnd::Failed,
                               Reason(Sentence::kNamedReason, name, ClassRefusal(imageClass)));
        case ImageClass::ProtectiveBootRecord:
        case ImageClass::MacintoshBootRecord:
            return NotExpanded(ExpandEnd::Failed, Reason(Sentence::kPlainDisk, name));
        case ImageClass::PartitionDiskImage:
        case ImageClass::Bzip2DiskImage:
        case ImageClass::ZlibDiskImage:
        case ImageClass::TrailerDiskImage:
            break;
    }
    return {};
}

bool IsCompressedClass(ImageClass imageClass) {
    return imageClass >= ImageClass::PartitionDiskImage &&
           imageClass <= ImageClass::TrailerDiskImage;
}

bool HasBlockTable(ByteSource& file) {
    DiskImageTrailer trailer;
    if (ReadTrailer(file, trailer))
        return false;
    Progress unseen;
    return BlockTables(file, trailer, unseen).nextTable() == BlockTables::Next::Found;
}

}  // namespace

ImageClass ClassifyDiskImage(ByteSource& file) {
    const ImageClass imageClass = ClassifyImage(file);
    const bool hasBootRecord = imageClass == ImageClass::ProtectiveBootRecord ||
                               imageClass == ImageClass::MacintoshBootRecord;
    return hasBootRecord && HasBlockTable(file) ? ImageClass::TrailerDiskImage : imageClass;
}

bool IsCompressedImage(ByteSource& file) {
    DiskImageTrailer trailer;
    return IsCompressedClass(ClassifyDiskImage(file)) && !ReadTrailer(file, trailer) &&
           trailer.listLength != 0;
}

Reason ImageRefusal(ByteSource& file) {
    const ImageClass imageClass = ClassifyDiskImage(file);
    if (!IsCompressedClass(imageClass))
        return ClassRefusal(imageClass);
    DiskImageTrailer trailer{};
    if (Reason problem = ReadTrailer(file, trailer))
        return trailer.signature == kTrailerSignature ? problem : Sentence::kOnlyBeginsCompressed;
    return trailer.listLength == 0 ? Sentence::kTrailerWithoutList : ClassRefusal(imageClass);
}

ExpandResult ExpandImage(ByteSource& source, PcFile& target, Progress& progress,
                         const ExpandOptions& options) {
    DiskImageTrailer trailer;
    if (Reason problem = ReadTrailer(source, trailer))
        return NotExpanded(ExpandEnd::Failed, std::move(problem));
    return Expansion(source, target, progress, options, trailer).run();
}

ExpandResult ExpandImageFile(const std::string& inPath, const std::string& outPath,
                             Progress& progress, const ExpandOptions& options) {
    if (inPath.empty())
        return NotExpanded(ExpandEnd::NotBegun, Sentence::kImageNameless);
    const std::string name = Printable(inPath);
    PcFile source(inPath, PcFile::Mode::Read);
    if (!source.isOpen())
        return NotExpanded(ExpandEnd::NotBegun,
                           Reason(Sentence::kCannotBeOpened, name, source.failure()));
    if (ExpandResult result = ClassResult(ClassifyDiskImage(source), name);
        result.end != ExpandEnd::Done)
        return result;
    const auto notMade = [&outPath](ExpandEnd end, int error) {
        return NotExpanded(end,
                           Reason(Sentence::kCannotBeMade, Printable(outPath), SystemError{error}));
    };
    TargetFile target(outPath);
    if (!target.file().isOpen())
        return notMade(ExpandEnd::NotBegun, target.file().error());
    if (const int error = target.lockOlder(options.guard.lockWaitMs); error != 0)
        return notMade(ExpandEnd::NotBegun, error);
    ExpandResult result = ExpandImage(source, target.file(), progress, options);
    if (result.end != ExpandEnd::Done) {
        result.problem = Reason(Sentence::kNamedReason, name, std::move(result.problem));
        return result;
    }
    if (const int error = target.publish(true, !options.isPassing); error != 0)
        return notMade(ExpandEnd::Failed, error);
    RemoveRedoLogs(outPath, options.guard);
    return result;
}

}  // namespace vellmark
