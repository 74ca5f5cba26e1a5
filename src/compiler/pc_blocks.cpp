#include "compiler/pc_blocks.hpp"

namespace vellmark {

namespace {

bool IsFork(const DiscItem& item, RunKind kind) {
    return item.inHfs &&
           (kind == RunKind::Resource || kind == (item.dataIsFile ? RunKind::File : RunKind::Data));
}

// Calls `visit` with each piece that takes blocks, in the order in which they lie.
template <typename Visit>
void ForEachPiece(const DiscPlan& plan, const Visit& visit) {
    for (const DiscFolder& folder : plan.folders)
        for (const DiscItem& item : folder.items)
            for (const RunKind kind : RunOrder(plan.appleExtension))
                if (!item.isFolder() && item.run(kind).sizeBytes != 0)
                    visit(item.run(kind), IsFork(item, kind));
}

}  // namespace

std::size_t CountPcRuns(const DiscPlan& plan) {
    std::size_t runs = 0;
    bool wasFork = true;
    ForEachPiece(plan, [&](const DiscRun&, bool isFork) {
        runs += wasFork && !isFork ? 1 : 0;
        wasFork = isFork;
    });
    return runs;
}

std::vector<BlockRun> PcBlocks(const DiscPlan& plan, std::uint32_t blockSize,
                               BlockNumber firstBlock) {
    std::vector<BlockRun> blocks;
    bool wasFork = true;
    ForEachPiece(plan, [&](const DiscRun& piece, bool isFork) {
        const auto count = static_cast<std::uint32_t>(BlocksFor(piece.sizeBytes, blockSize));
        if (!isFork && wasFork)
            blocks.push_back({firstBlock.number + piece.startBlock, count});
        else if (!isFork)
            blocks.back().blockCount += count;
        wasFork = isFork;
    });
    return blocks;
}

}  // namespace vellmark
