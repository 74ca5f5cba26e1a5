#include "volume/fork_reader.hpp"
#include "volume/volume_context.hpp"

namespace vellmark {

VolumeNodes::VolumeNodes(VolumeContext& volume, std::vector<BlockRun> runs, std::uint32_t nodeSize,
                         bool cached)
    : volume_(volume), runs_(std::move(runs)), nodeSize_(nodeSize) {
    if (cached)
        cache_ = std::make_unique<NodeCache>(nodeSize);
}

bool VolumeNodes::read(std::uint32_t number, ByteSpan node) {
    if (cache_ && number != 0 && cache_->fetch(number, node))
        return true;
    if (!TransferFork(volume_, runs_, kCommandRead, std::uint64_t{number} * nodeSize_, node))
        return false;
    if (cache_ && number != 0)
        cache_->offer(number, node);
    return true;
}

bool VolumeNodes::write(std::uint32_t number, ConstByteSpan node) {
    // A request has one buffer for both directions; a write does not change it.
    const ByteSpan bytes{const_cast<std::uint8_t*>(node.data()), node.size()};
    if (!TransferFork(volume_, runs_, kCommandWrite, std::uint64_t{number} * nodeSize_, bytes))
        return false;
    if (cache_ && number != 0)
        cache_->update(number, node);
    return true;
}

}  // namespace vellmark
