#include "IO/disk_image.hpp"

#include <fmt/core.h>

#include "IO/disk_image_expansion.hpp"
#include "IO/redo_log.hpp"
#include "support/encoding.hpp"

namespace vellmark {

namespace {

ExpandResult NotExpanded(std::int64_t code, std::string problem) {
    return {.code = code, .problem = std::move(problem)};
}

// Why an image of a class is not expanded; a code of 0 when it is.
ExpandResult ClassResult(ImageClass imageClass, const std::string& name) {
    switch (imageClass) {
        case ImageClass::Plain:
            return NotExpanded(kFileNotExpanded,
                               fmt::format("{} is no compressed disk image.", name));
        case ImageClass::SparseImage:
            return NotExpanded(kExpansionFailed,
                               fmt::format("{}: {}", name, ClassRefusal(imageClass)));
        case ImageClass::ProtectiveBootRecord:
        case ImageClass::MacintoshBootRecord:
            return NotExpanded(static_cast<int>(imageClass),
                               fmt::format("{} is a plain disk with a boot record, which needs no "
                                           "expanding.",
                                           name));
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
    if (!ReadTrailer(file, trailer).empty())
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
    return IsCompressedClass(ClassifyDiskImage(file)) && ReadTrailer(file, trailer).empty() &&
           trailer.listLength != 0;
}

std::string ImageRefusal(ByteSource& file) {
    const ImageClass imageClass = ClassifyDiskImage(file);
    if (!IsCompressedClass(imageClass))
        return std::string(ClassRefusal(imageClass));
    DiskImageTrailer trailer{};
    if (std::string problem = ReadTrailer(file, trailer); !problem.empty())
        return trailer.signature == kTrailerSignature
                   ? problem
                   : "It begins like a compressed disk image, and does not end in the trailer of "
                     "one.";
    if (trailer.listLength == 0)
        return "It ends in the trailer of a compressed disk image, which tells of no block table.";
    return std::string(ClassRefusal(imageClass));
}

ExpandResult ExpandImage(ByteSource& source, PcFile& target, Progress& progress,
                         const ExpandOptions& options) {
    DiskImageTrailer trailer;
    if (std::string problem = ReadTrailer(source, trailer); !problem.empty())
        return NotExpanded(kExpansionFailed, std::move(problem));
    return Expansion(source, target, progress, options, trailer).run();
}

ExpandResult ExpandImageFile(const std::string& inPath, const std::string& outPath,
                             Progress& progress, const ExpandOptions& options) {
    if (inPath.empty())
        return NotExpanded(kFileNotExpanded, "The image to expand needs a name.");
    const std::string name = Printable(inPath);
    PcFile source(inPath, PcFile::Mode::Read);
    if (!source.isOpen())
        return NotExpanded(kFileNotExpanded,
                           fmt::format("{} cannot be opened: {}.", name, source.errorText()));
    if (ExpandResult result = ClassResult(ClassifyDiskImage(source), name); result.code != 0)
        return result;
    const auto notMade = [&outPath](std::int64_t code, int error) {
        return NotExpanded(code, fmt::format("{} cannot be made: {}.", Printable(outPath),
                                             SystemErrorText(error)));
    };
    TargetFile target(outPath);
    if (!target.file().isOpen())
        return notMade(kFileNotExpanded, target.file().error());
    if (const int error = target.lockOlder(options.guard.lockWaitMs); error != 0)
        return notMade(kFileNotExpanded, error);
    ExpandResult result = ExpandImage(source, target.file(), progress, options);
    if (result.code != 0) {
        result.problem = fmt::format("{}: {}", name, result.problem);
        return result;
    }
    if (const int error = target.publish(true, !options.isPassing); error != 0)
        return notMade(kExpansionFailed, error);
    RemoveRedoLogs(outPath, options.guard);
    result.code = kFileExpanded;
    return result;
}

}  // namespace vellmark
