#include "volume/tree_node.hpp"

#include <algorithm>
#include <cstring>

namespace vellmark {

std::size_t NodeView::keySize(ConstByteSpan record) const {
    return format_->keyLengthBytes == 1 ? 1u + record[0] : 2u + ((record[0] << 8) | record[1]);
}

ByteSpan NodeView::key(std::size_t index) const {
    const ByteSpan whole = record(index);
    return whole.first(keySize(whole));
}

ByteSpan NodeView::data(std::size_t index) const {
    const ByteSpan whole = record(index);
    const std::size_t size = keySize(whole);
    return whole.subspan(size + (size & 1));
}

std::uint32_t NodeView::child(std::size_t index) const {
    be32 number;
    std::memcpy(&number, data(index).data(), sizeof number);
    return number;
}

void NodeView::clear(NodeKind kind, std::uint8_t height) {
    std::fill(bytes_.begin(), bytes_.end(), std::uint8_t{0});
    descriptor().kind = static_cast<std::uint8_t>(kind);
    descriptor().height = height;
    offsetWord(0) = static_cast<std::uint16_t>(kNodeDescriptorSize);
}

void NodeView::insert(std::size_t index, ConstByteSpan record) {
    const std::size_t n = count();
    const std::size_t at = offset(index);
    const std::size_t end = offset(n);
    std::memmove(bytes_.data() + at + record.size(), bytes_.data() + at, end - at);
    std::memcpy(bytes_.data() + at, record.data(), record.size());
    for (std::size_t i = n + 1; i > index; --i)
        offsetWord(i) = static_cast<std::uint16_t>(offset(i - 1) + record.size());
    descriptor().recordCount = static_cast<std::uint16_t>(n + 1);
}

void NodeView::moveTail(std::size_t first, NodeView& target) {
    const std::size_t n = count();
    for (std::size_t i = first; i < n; ++i)
        target.insert(target.count(), record(i));
    const std::size_t end = offset(first);
    descriptor().recordCount = static_cast<std::uint16_t>(first);
    // Free space is kept zero, up to the offsets that remain.
    std::fill(bytes_.begin() + static_cast<std::ptrdiff_t>(end),
              bytes_.end() - static_cast<std::ptrdiff_t>(2 * (first + 1)), std::uint8_t{0});
}

void NodeView::remove(std::size_t index) {
    const std::size_t n = count();
    const std::size_t at = offset(index);
    const std::size_t size = offset(index + 1) - at;
    const std::size_t end = offset(n);
    std::memmove(bytes_.data() + at, bytes_.data() + at + size, end - at - size);
    std::memset(bytes_.data() + end - size, 0, size);
    for (std::size_t i = index + 1; i < n; ++i)
        offsetWord(i) = static_cast<std::uint16_t>(offset(i + 1) - size);
    offsetWord(n) = 0;
    descriptor().recordCount = static_cast<std::uint16_t>(n - 1);
}

bool NodeView::isSound() const {
    const std::size_t n = count();
    if (2 * (n + 1) + kNodeDescriptorSize > bytes_.size() || offset(0) != kNodeDescriptorSize)
        return false;
    const std::size_t limit = bytes_.size() - 2 * (n + 1);
    const bool hasKeys = kind() == NodeKind::Leaf || kind() == NodeKind::Index;
    const std::size_t pointer = kind() == NodeKind::Index ? sizeof(be32) : 0;
    for (std::size_t i = 0; i < n; ++i) {
        const std::size_t start = offset(i);
        const std::size_t end = offset(i + 1);
        if (end > limit || start >= end)
            return false;
        if (!hasKeys)
            continue;
        if (end - start < format_->keyLengthBytes)
            return false;
        const std::size_t size = keySize(bytes_.subspan(start, end - start));
        if (size + (size & 1) + pointer > end - start)
            return false;
    }
    return true;
}

}  // namespace vellmark
