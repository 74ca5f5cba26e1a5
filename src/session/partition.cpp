#include "session/partition.hpp"

#include <fmt/core.h>

#include "IO/sector_batch.hpp"
#include "session/reading_ports.hpp"
#include "support/encoding.hpp"
#include "volume/allocation.hpp"
#include "volume/edit_result.hpp"
#include "volume/read_only.hpp"

namespace vellmark {

namespace {

// Changes are written whole or not at all, so that the volume is sound in every case.
std::string ClosingSentence(const std::string& image, const std::string& problem, Access access,
                            CommitResult commit) {
    const std::string name = Printable(image);
    if (access == Access::Read)
        return fmt::format("{} could not be read whole: {}.", name, problem);
    if (commit == CommitResult::NotBegun)
        return fmt::format("{} is as it was before the change that was to be written last: {}.",
                           name, problem);
    return fmt::format("{} was not read and written whole: {}.", name, problem);
}

}  // namespace

void AddPartitionNumber(OptionSet& arguments, std::optional<unsigned>& partition) {
    arguments.add(option::kPartition, partition);
}

void AddPartitionOptions(OptionSet& arguments, PartitionOptions& options) {
    arguments.add(option::kImage, options.image).required();
    AddPartitionNumber(arguments, options.partition);
    arguments.flag("-w,--writable", options.writable, Sentence::kHelpWritable);
}

std::string ChangeRefusal(const ReadOnlyReasons& reasons) {
    std::string text = ReadOnlySentence(reasons);
    ReadOnlyReasons others = reasons;
    others.remove(ReadOnlyReason::BareVolume);
    others.remove(ReadOnlyReason::Locked);
    if (!text.empty() && !others.any())
        text += " With --writable it is changed all the same.";
    return text;
}

std::unique_ptr<Partition> Partition::Open(const PartitionOptions& options, CommandContext& context,
                                           Terminal& terminal, Access access) {
    Messages& messages = terminal.messages;
    std::optional<PlainImage> image = OpenPlainImage(options.image, access, context, terminal);
    if (!image)
        return nullptr;
    std::unique_ptr<Partition> partition(new Partition(context.clock, std::move(*image)));
    partition->access_ = access;
    VolumeContext& volume = partition->volume_;
    volume.guard = context.guard;
    const PlainImage& plain = partition->image_;
    const std::string name = Printable(plain.name());
    if (!OpenVolume(volume,
                    {plain.path(), options.writable, options.partition, access, options.unlocks,
                     plain.name()},
                    messages))
        return nullptr;
    if (access == Access::Read)
        return partition;
    if (const std::string refusal = ChangeRefusal(volume.readOnlyReasons); !refusal.empty()) {
        messages.showMessage(fmt::format("{} cannot be changed. {}", name, refusal));
        return nullptr;
    }
    if (const std::string remark = VolumeRemark(volume); !remark.empty())
        messages.logMessage(fmt::format("{}: {}", name, remark));
    return partition;
}

std::string Partition::closingProblem() {
    const TreeResult flushed = FlushVolume(volume_, clock_);
    if (const Reason& problem = volume_.allocation.unfinished.problem())
        return problem.words(Language::English);
    const bool onDevice = access_ == Access::Read || volume_.image->flush();
    if (volume_.image->error() != 0)
        return volume_.image->errorText();
    if (flushed == TreeResult::Damaged)
        return "its catalog is damaged";
    return flushed != TreeResult::Done || !onDevice || volume_.transferFailed
               ? "a part of it is not there"
               : std::string{};
}

bool Partition::close(Messages& messages) {
    const std::string problem = closingProblem();
    const CommitResult commit = volume_.allocation.unfinished.result();
    ReleaseAllocationState(volume_);
    CloseImage(volume_);
    if (!problem.empty())
        messages.showMessage(ClosingSentence(image_.name(), problem, access_, commit));
    else if (volume_.hasLargeFolder)
        messages.showTimedMessage(
            fmt::format("{}: {}", Printable(image_.name()), kLargeFolderRemark));
    return problem.empty();
}

}  // namespace vellmark
