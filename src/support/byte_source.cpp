#include "support/byte_source.hpp"

#include <algorithm>

namespace vellmark {

std::size_t MemoryBytes::readAt(std::uint64_t offset, std::span<std::uint8_t> out) {
    if (offset >= bytes_.size())
        return 0;
    const std::size_t count =
        static_cast<std::size_t>(std::min<std::uint64_t>(out.size(), bytes_.size() - offset));
    std::copy_n(bytes_.begin() + static_cast<std::ptrdiff_t>(offset), count, out.begin());
    return count;
}

bool MemoryBytes::writeAt(std::uint64_t offset, std::span<const std::uint8_t> bytes) {
    if (offset + bytes.size() > bytes_.size())
        bytes_.resize(static_cast<std::size_t>(offset + bytes.size()));
    std::copy(bytes.begin(), bytes.end(), bytes_.begin() + static_cast<std::ptrdiff_t>(offset));
    return true;
}

}  // namespace vellmark
