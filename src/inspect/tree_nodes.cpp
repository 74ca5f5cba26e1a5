#include "inspect/tree_nodes.hpp"

#include <algorithm>
#include <cstring>

#include "volume/catalog_keys.hpp"
#include "volume/catalog_name.hpp"
#include "volume/fork_reader.hpp"

namespace vellmark {
namespace {

/// Shortest key of an HFS catalog, without its length; keys of HFS+ have a 0 to 2 there.
constexpr std::uint8_t kShortestHfsKey = 6;
/// Key of an extents tree of HFS, without its length.
constexpr std::uint8_t kHfsExtentsKey = 7;

template <typename Field>
Field At(ConstByteSpan bytes, std::size_t offset) {
    Field field{};
    if (offset <= bytes.size() && sizeof field <= bytes.size() - offset)
        std::memcpy(&field, bytes.data() + offset, sizeof field);
    return field;
}

// Where record `index` begins; for the count, where free space does.
std::size_t OffsetOf(ConstByteSpan node, std::size_t index) {
    const std::size_t back = 2 * (index + 1);
    return back <= node.size() ? std::size_t{At<be16>(node, node.size() - back)} : 0;
}

bool HasOffsets(ConstByteSpan node) {
    const std::size_t count = At<NodeDescriptor>(node, 0).recordCount;
    if (2 * (count + 1) + kNodeDescriptorSize > node.size() ||
        OffsetOf(node, 0) != kNodeDescriptorSize)
        return false;
    for (std::size_t i = 0; i < count; ++i)
        if (OffsetOf(node, i) >= OffsetOf(node, i + 1))
            return false;
    return OffsetOf(node, count) <= node.size() - 2 * (count + 1);
}

// The smallest size with offsets of records at its end.
std::vector<std::uint8_t> ReadBySize(const SectorScene& scene) {
    const auto header = scene.at<TreeHeaderRecord>(kNodeDescriptorSize);
    if (scene.at<NodeDescriptor>(0).kind == static_cast<std::uint8_t>(NodeKind::Header) &&
        header.nodeSize >= kSectorBytes && header.nodeSize <= kLargestNode)
        return scene.readOn(header.nodeSize);
    const std::vector<std::uint8_t> most = scene.readOn(kLargestNode);
    for (std::size_t size = kSectorBytes; size <= most.size(); size *= 2)
        if (const ConstByteSpan node = ConstByteSpan(most).first(size); HasOffsets(node))
            return {node.begin(), node.end()};
    return scene.bytes;
}

}  // namespace

NodeForm FormByKey(ConstByteSpan node) {
    const ConstByteSpan key = node.subspan(std::min(kNodeDescriptorSize, node.size()));
    const std::uint8_t length = At<std::uint8_t>(key, 0);
    NodeForm form;
    form.isHfsPlus = length < kShortestHfsKey;
    // Of an extents tree of HFS a resource fork can be told from a catalog's reserved byte.
    if (length == kHfsExtentsKey && At<std::uint8_t>(key, 1) == kResourceFork)
        form.role = TreeRole::Extents;
    return form;
}

NodeForm FormOfNode(const SectorScene& scene) {
    const NodeAt here = scene.image.nodeAt(scene.imageSector);
    if (here.tree != nullptr)
        return {here.volume->isHfsPlus, here.tree->role};
    return FormByKey(scene.bytes);
}

NodeRecords RecordsOf(ConstByteSpan node, const NodeForm& form) {
    NodeRecords found;
    const std::size_t count = At<NodeDescriptor>(node, 0).recordCount;
    const std::size_t lengthBytes = form.isHfsPlus ? 2 : 1;
    const std::size_t possible = std::min(count, node.size() / 2);
    found.missing = count - possible;
    for (std::size_t i = 0; i < possible; ++i) {
        const std::size_t start = OffsetOf(node, i);
        const std::size_t end = OffsetOf(node, i + 1);
        if (start < kNodeDescriptorSize || start + lengthBytes > end || end > node.size()) {
            ++found.missing;
            continue;
        }
        const ConstByteSpan record = node.subspan(start, end - start);
        const std::size_t told = lengthBytes + (form.isHfsPlus ? std::size_t{At<be16>(record, 0)}
                                                               : std::size_t{record[0]});
        const std::size_t keySize = std::min(told, record.size());
        found.records.push_back({static_cast<std::uint32_t>(start), record.first(keySize),
                                 record.subspan(std::min(keySize + keySize % 2, record.size()))});
    }
    return found;
}

std::uint32_t KeyNumber(ConstByteSpan key, const NodeForm& form) {
    const bool behindFork = form.isHfsPlus && form.role != TreeRole::Catalog;
    return At<be32>(key, behindFork ? 4 : 2);
}

std::string KeyName(ConstByteSpan key, const NodeForm& form) {
    return form.isHfsPlus ? ShownHfsPlusName(HfsPlusKeyName(key)) : ShownHfsName(HfsKeyName(key));
}

std::vector<std::uint8_t> ReadWholeNode(const SectorScene& scene) {
    const NodeAt here = scene.image.nodeAt(scene.imageSector);
    if (here.tree == nullptr || !here.isStart)
        return ReadBySize(scene);
    std::vector<std::uint8_t> node(here.tree->nodeSize);
    const std::uint64_t offset = std::uint64_t{here.number} * here.tree->nodeSize;
    if (!TransferFork(*here.volume->context, here.tree->runs, kCommandRead, offset, node))
        return scene.bytes;
    return node;
}

}  // namespace vellmark
