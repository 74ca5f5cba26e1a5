#include "volume/open_fork.hpp"

#include <utility>
#include <vector>

#include "support/sentences.hpp"

namespace vellmark {

namespace {

std::uint64_t BytesOf(const VolumeContext& volume, const std::vector<BlockRun>& runs) {
    std::uint64_t blocks = 0;
    for (const BlockRun& run : runs)
        blocks += run.blockCount;
    return blocks * volume.blockSize;
}

}  // namespace

Result<std::unique_ptr<ByteSource>> OpenFork(VolumeContext& volume, const CatalogItem& file,
                                             bool resource) {
    if (file.linkReference != 0)
        return Failed(Sentence::kDanglingHardLink);
    const ForkInfo& fork = resource ? file.resource : file.data;
    std::vector<BlockRun> runs;
    if (Reason problem =
            CatalogProblem(ForkRuns(volume, file, resource, runs), Sentence::kPlaceOfBlocks))
        return Failed(std::move(problem));
    if (BytesOf(volume, runs) < fork.sizeBytes)
        return Failed(Sentence::kContentsCutShort);
    if (volume.isHfsPlus && runs.size() > fork.runs.size())
        volume.readOnlyReasons.add(ReadOnlyReason::OverflowRead);
    return std::make_unique<ForkSource>(volume, std::move(runs), fork.sizeBytes);
}

}  // namespace vellmark
