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
    if (const auto found = changed_.find(number); found != changed_.end()) {
        std::copy(found->second.begin(), found->second.end(), node.begin());
        return true;
    }
    if (cache_ && number != 0 && cache_->fetch(number, node))
        return true;
    if (!TransferFork(volume_, runs_, kCommandRead, std::uint64_t{number} * nodeSize_, node))
        return false;
    if (cache_ && number != 0)
        cache_->offer(number, node);
    return true;
}

bool VolumeNodes::write(std::uint32_t number, ConstByteSpan node) {
    const auto [place, isNew] = changed_.try_emplace(number);
    if (hasSavepoint_) {
        const auto [before, first] = before_.try_emplace(number);
        if (first && !isNew)
            before->second = std::move(place->second);
    }
    place->second.assign(node.begin(), node.end());
    return true;
}

bool VolumeNodes::flush() {
    for (auto& [number, node] : changed_) {
        if (!TransferFork(volume_, runs_, kCommandWrite, std::uint64_t{number} * nodeSize_, node))
            return false;
        if (cache_ && number != 0)
            cache_->update(number, node);
    }
    changed_.clear();
    return true;
}

void VolumeNodes::setSavepoint() {
    hasSavepoint_ = true;
    before_.clear();
    runsBefore_ = runs_.size();
}

void VolumeNodes::rollBack() {
    for (auto& [number, node] : before_) {
        if (node.empty())
            changed_.erase(number);
        else
            changed_[number] = std::move(node);
    }
    runs_.resize(runsBefore_);
    keep();
}

void VolumeNodes::keep() {
    hasSavepoint_ = false;
    before_.clear();
}

}  // namespace vellmark
