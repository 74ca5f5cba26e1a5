#include "volume/node_cache.hpp"

#include <algorithm>
#include <cstring>
#include <utility>

namespace vellmark {

NodeCache::NodeCache(std::size_t nodeSize) : nodeSize_(nodeSize), bytes_(kHot * nodeSize) {}

std::size_t NodeCache::findHot(std::uint32_t number) const {
    const auto found = std::find_if(hot_.begin(), hot_.end(),
                                    [&](const Entry& entry) { return entry.number == number; });
    return static_cast<std::size_t>(found - hot_.begin());
}

bool NodeCache::fetch(std::uint32_t number, ByteSpan node) {
    const std::size_t index = findHot(number);
    if (index == kHot)
        return false;
    ++hot_[index].count;
    std::memcpy(node.data(), slot(index).data(), nodeSize_);
    return true;
}

void NodeCache::update(std::uint32_t number, ConstByteSpan node) {
    const std::size_t index = findHot(number);
    if (index == kHot)
        return;
    ++hot_[index].count;
    std::memcpy(slot(index).data(), node.data(), nodeSize_);
}

void NodeCache::offer(std::uint32_t number, ConstByteSpan node) {
    const auto sameNumber = [](std::uint32_t wanted) {
        return [wanted](const Entry& entry) { return entry.number == wanted; };
    };
    const auto known = std::find_if(candidates_.begin(), candidates_.end(), sameNumber(number));
    if (known != candidates_.end()) {
        ++known->count;
        promote(*known, node);
        return;
    }
    if (const std::size_t empty = findHot(0); empty < kHot) {
        hot_[empty] = {number, 1};
        std::memcpy(slot(empty).data(), node.data(), nodeSize_);
        return;
    }
    const auto place = std::find_if(candidates_.begin(), candidates_.end(), sameNumber(0));
    if (place != candidates_.end())
        *place = {number, 1};
    else
        forgetRareCandidates();
}

// The candidate changes places with the most often hit node among those hit less often than it was
// missed.
void NodeCache::promote(Entry& candidate, ConstByteSpan node) {
    std::size_t best = kHot;
    for (std::size_t i = 0; i < kHot; ++i)
        if (hot_[i].count < candidate.count && (best == kHot || hot_[i].count > hot_[best].count))
            best = i;
    if (best == kHot)
        return;
    std::swap(hot_[best], candidate);
    std::memcpy(slot(best).data(), node.data(), nodeSize_);
}

void NodeCache::forgetRareCandidates() {
    std::sort(candidates_.begin(), candidates_.end(),
              [](const Entry& a, const Entry& b) { return a.count > b.count; });
    std::fill(candidates_.begin() + kCandidates / 2, candidates_.end(), Entry{});
}

}  // namespace vellmark
