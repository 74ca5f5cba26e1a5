#include "volume/new_volume.hpp"

#include "IO/redo_log.hpp"
#include "IO/sector_io.hpp"
#include "support/encoding.hpp"
#include "support/pc_folder.hpp"
#include "support/sentences.hpp"

namespace vellmark {

namespace {

constexpr int kTextNoRoom = 1073;
constexpr int kTextTooLargeForDisk = 1474;

// Why the image cannot lie there; none when it can.
Reason RoomProblem(const std::string& path, std::uint64_t bytes) {
    switch (CheckTargetRoom(FolderOf(path), bytes)) {
        case TargetRoom::Fits:
            return {};
        case TargetRoom::TooLargeForFileSystem:
            return ToldText{kTextTooLargeForDisk};
        case TargetRoom::NoRoom:
            break;
    }
    return ToldText{kTextNoRoom};
}

// Why there is no such image now; none when it is made.
Reason MakeProblem(const NewVolumeFile& file, const FormatInput& input, const Ports& ports) {
    if (Reason problem = RoomProblem(file.path, FormattedBytes(input)))
        return problem;
    TargetFile target(file.path);
    int error =
        target.file().isOpen() ? target.lockOlder(file.guard.lockWaitMs) : target.file().error();
    if (error == 0) {
        const FormatResult result = FormatVolume(input, target.file(), ports.clock, ports.progress);
        if (result == FormatResult::Stopped || !ports.progress.mayGoOn())
            return Sentence::kStoppedNothingMade;
        error = result == FormatResult::Done ? target.publish(file.replaces, true)
                                             : target.file().error();
    }
    if (error != 0)
        return Reason(Sentence::kCannotBeMade, Printable(file.path), SystemError{error});
    RemoveRedoLogs(file.path, file.guard);
    return {};
}

}  // namespace

Reason VolumeSizeRefusal(bool isHfsPlus, std::uint64_t megabytes) {
    const std::uint32_t most = isHfsPlus ? kLargestHfsPlusVolumeMb : kLargestHfsVolumeMb;
    if (megabytes >= kSmallestVolumeMb && megabytes <= most)
        return {};
    return Reason(Sentence::kNoSizeOfVolume, isHfsPlus ? "HFS+" : "HFS", kSmallestVolumeMb, most,
                  megabytes);
}

bool MakeVolumeFile(const NewVolumeFile& file, const FormatInput& input, const Ports& ports) {
    const Reason problem = MakeProblem(file, input, ports);
    if (problem)
        ports.messages.showMessage(problem);
    return !problem;
}

}  // namespace vellmark
