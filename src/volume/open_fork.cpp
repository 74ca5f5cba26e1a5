#include "volume/open_fork.hpp"

#include <vector>

namespace vellmark {

namespace {

std::uint64_t BytesOf(const VolumeContext& volume, const std::vector<BlockRun>& runs) {
    std::uint64_t blocks = 0;
    for (const BlockRun& run : runs)
        blocks += run.blockCount;
    return blocks * volume.blockSize;
}

}  // namespace

std::unique_ptr<ByteSource> OpenFork(VolumeContext& volume, const CatalogItem& file, bool resource,
                                     std::string& problem) {
    const ForkInfo& fork = resource ? file.resource : file.data;
    std::vector<BlockRun> runs;
    problem = file.linkReference != 0 ? "It is a hard link to a file that is not there."
                                      : CatalogProblem(ForkRuns(volume, file, resource, runs),
                                                       "where it lists the blocks");
    if (problem.empty() && BytesOf(volume, runs) < fork.sizeBytes)
        problem = kContentsCutShort;
    if (!problem.empty())
        return nullptr;
    if (volume.isHfsPlus && runs.size() > fork.runs.size())
        volume.readOnlyReasons.add(ReadOnlyReason::OverflowRead);
    return std::make_unique<ForkSource>(volume, std::move(runs), fork.sizeBytes);
}

}  // namespace vellmark
