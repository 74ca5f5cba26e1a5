#include "inspect/tree_listing.hpp"

#include <fmt/core.h>

#include <algorithm>
#include <cstring>

#include "support/sentences.hpp"
#include "volume/fork_reader.hpp"

namespace vellmark {
namespace {

Reason KindWords(std::uint8_t kind) {
    switch (static_cast<NodeKind>(kind)) {
        case NodeKind::Index:
            return Sentence::kNodeIndex;
        case NodeKind::Header:
            return Sentence::kNodeHeader;
        case NodeKind::Map:
            return Sentence::kNodeMap;
        case NodeKind::Leaf:
            return Sentence::kNodeLeaf;
    }
    return Reason(Sentence::kNodeOther, unsigned{kind});
}

}  // namespace

Reason ListedNode::line() const {
    const Reason key = Reason::Plain(keys.empty() ? "" : fmt::format(" [{:08x}]", keys.front()));
    const Reason wrong = problem ? Reason::Joined({Reason::Plain(" -"), problem}, " ") : Reason();
    return Reason(Sentence::kNodeLine, number, Reason::Joined({KindWords(kind), key, wrong}, ""));
}

Result<TreeListing> TreeListing::Open(const InspectedImage& image, const InspectedBytes& inspected,
                                      std::uint64_t sector) {
    constexpr std::uint64_t kMostSector = ~std::uint64_t{0} / kSectorBytes;
    TreeListing listing(inspected);
    std::array<std::uint8_t, kNodeDescriptorSize + sizeof(TreeHeaderRecord)> head{};
    if (sector > kMostSector || !inspected.source ||
        !inspected.source->readExactly(sector * kSectorBytes, head))
        return Failed(Sentence::kSectorNotThere, sector);
    NodeDescriptor descriptor;
    TreeHeaderRecord header;
    std::memcpy(&descriptor, head.data(), sizeof descriptor);
    std::memcpy(&header, head.data() + kNodeDescriptorSize, sizeof header);
    listing.headerByte_ = sector * kSectorBytes;
    if (const NodeAt place = image.nodeAt(inspected.imageSector(sector).value_or(sector));
        place.tree != nullptr && place.number == 0 && place.isStart)
        listing.place_ = place;
    listing.nodeSize_ = listing.place_.tree != nullptr ? listing.place_.tree->nodeSize
                                                       : std::uint32_t{header.nodeSize};
    if (descriptor.kind != static_cast<std::uint8_t>(NodeKind::Header) ||
        listing.nodeSize_ < kSectorBytes || listing.nodeSize_ > kLargestNode)
        return Failed(Sentence::kNotATreeHeader);
    std::uint64_t bytes = inspected.source->size() - listing.headerByte_;
    if (listing.place_.tree != nullptr) {
        bytes = std::uint64_t{BlocksOf(listing.place_.tree->runs)} *
                listing.place_.volume->sectorsPerBlock * kSectorBytes;
        listing.form_ = {listing.place_.volume->isHfsPlus, listing.place_.tree->role};
        listing.hasForm_ = true;
    }
    listing.nodeCount_ = bytes / listing.nodeSize_;
    if (header.root != 0)
        listing.waiting_.push_back({header.root, 0});
    listing.waiting_.push_back({0, 0});
    listing.seen_ = {0, header.root};
    return listing;
}

std::vector<ListedNode> TreeListing::next(std::size_t most) {
    std::vector<ListedNode> nodes;
    while (!waiting_.empty() && nodes.size() < most) {
        const Waiting waiting = waiting_.back();
        waiting_.pop_back();
        nodes.push_back(list(waiting));
    }
    return nodes;
}

ListedNode TreeListing::list(Waiting waiting) {
    ListedNode node;
    node.number = waiting.number;
    node.depth = waiting.depth;
    std::vector<std::uint8_t> bytes;
    if (waiting.number >= nodeCount_) {
        node.problem = Reason(Sentence::kTreeNodeOutside, waiting.number);
        return node;
    }
    node.sector = sectorOf(waiting.number);
    if (!readNode(waiting.number, bytes)) {
        node.problem = Reason(Sentence::kTreeNodeUnreadable, waiting.number);
        return node;
    }
    node.kind = bytes[offsetof(NodeDescriptor, kind)];
    const auto kind = static_cast<NodeKind>(node.kind);
    if (kind == NodeKind::Header || kind == NodeKind::Map)
        addNextMap(node, bytes);
    if (kind != NodeKind::Index && kind != NodeKind::Leaf)
        return node;
    // A tree that no volume names shows by its first key what it is.
    if (!hasForm_) {
        form_ = FormByKey(bytes);
        hasForm_ = true;
    }
    const NodeRecords records = RecordsOf(bytes, form_);
    for (const NodeRecord& record : records.records)
        node.keys.push_back(KeyNumber(record.key, form_));
    if (records.missing > 0)
        node.problem = Reason(Sentence::kNodeRecordsMissing, records.missing);
    if (kind == NodeKind::Index)
        addChildren(node, records);
    return node;
}

// The nodes with the map of used nodes hang on the header, one on the other.
void TreeListing::addNextMap(ListedNode& node, ConstByteSpan bytes) {
    NodeDescriptor descriptor;
    std::memcpy(&descriptor, bytes.data(), sizeof descriptor);
    if (descriptor.forwardLink != 0)
        addNode(node, descriptor.forwardLink, node.depth);
}

void TreeListing::addNode(ListedNode& from, std::uint32_t number, std::uint32_t depth) {
    if (number >= nodeCount_)
        from.problem = Reason(Sentence::kTreeNodeOutside, number);
    else if (seen_.insert(number).second)
        waiting_.push_back({number, depth});
    else
        from.problem = Reason(Sentence::kTreeNodeTwice, number);
}

void TreeListing::addChildren(ListedNode& node, const NodeRecords& records) {
    for (auto record = records.records.rbegin(); record != records.records.rend(); ++record) {
        be32 child;
        if (record->data.size() < sizeof child)
            continue;
        std::memcpy(&child, record->data.data(), sizeof child);
        addNode(node, child, node.depth + 1);
    }
}

bool TreeListing::readNode(std::uint32_t number, std::vector<std::uint8_t>& bytes) {
    bytes.resize(nodeSize_);
    const std::uint64_t offset = std::uint64_t{number} * nodeSize_;
    if (place_.tree != nullptr)
        return TransferFork(*place_.volume->context, place_.tree->runs, kCommandRead, offset,
                            bytes);
    return inspected_->source->readExactly(headerByte_ + offset, bytes);
}

std::optional<std::uint64_t> TreeListing::sectorOf(std::uint32_t number) const {
    if (place_.tree != nullptr)
        return InspectedImage::NodeSector(*place_.volume, *place_.tree, number);
    return inspected_->imageSector((headerByte_ + std::uint64_t{number} * nodeSize_) /
                                   kSectorBytes);
}

}  // namespace vellmark
