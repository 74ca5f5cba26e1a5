#include "volume/catalog_keys.hpp"

#include <algorithm>
#include <cstring>

#include "containers/name_order.hpp"

namespace vellmark {

namespace {

constexpr std::size_t kHfsKeyNameOffset = 7;
constexpr std::size_t kHfsPlusKeyNameOffset = 6;
constexpr std::uint8_t kHfsExtentsKeyLength = 7;
constexpr std::uint16_t kHfsPlusExtentsKeyLength = 10;

template <typename Field>
void Append(std::vector<std::uint8_t>& out, Field field) {
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(&field);
    out.insert(out.end(), bytes, bytes + sizeof field);
}

template <typename Field>
Field At(ConstByteSpan bytes, std::size_t offset) {
    Field field;
    if (offset + sizeof field <= bytes.size())
        std::memcpy(&field, bytes.data() + offset, sizeof field);
    return field;
}

// The units of the name that begins at `offset` with its count.
std::span<const be16> UnitsAt(ConstByteSpan bytes, std::size_t offset) {
    const std::size_t start = offset + sizeof(be16);
    if (start > bytes.size())
        return {};
    const std::size_t count =
        std::min<std::size_t>(At<be16>(bytes, offset), (bytes.size() - start) / 2);
    return {reinterpret_cast<const be16*>(bytes.data() + start), count};
}

int Order(std::uint32_t a, std::uint32_t b) {
    return a < b ? -1 : a > b ? 1 : 0;
}

int CompareHfsCatalog(ConstByteSpan a, ConstByteSpan b) {
    const int order = Order(KeyParent(a), KeyParent(b));
    return order != 0 ? order : CompareHfsKeyNames(HfsKeyName(a), HfsKeyName(b));
}

int CompareHfsPlusCatalog(ConstByteSpan a, ConstByteSpan b) {
    const int order = Order(KeyParent(a), KeyParent(b));
    return order != 0 ? order
                      : CompareHfsPlusNames(UnitsAt(a, kHfsPlusKeyNameOffset),
                                            UnitsAt(b, kHfsPlusKeyNameOffset));
}

int CompareHfsxBinary(ConstByteSpan a, ConstByteSpan b) {
    const int order = Order(KeyParent(a), KeyParent(b));
    if (order != 0)
        return order;
    const auto left = UnitsAt(a, kHfsPlusKeyNameOffset);
    const auto right = UnitsAt(b, kHfsPlusKeyNameOffset);
    for (std::size_t i = 0; i < std::min(left.size(), right.size()); ++i)
        if (left[i] != right[i])
            return Order(left[i], right[i]);
    return Order(static_cast<std::uint32_t>(left.size()), static_cast<std::uint32_t>(right.size()));
}

// File id, then fork, then start block.
int CompareHfsExtents(ConstByteSpan a, ConstByteSpan b) {
    if (const int order = Order(At<be32>(a, 2), At<be32>(b, 2)); order != 0)
        return order;
    if (const int order = Order(At<std::uint8_t>(a, 1), At<std::uint8_t>(b, 1)); order != 0)
        return order;
    return Order(At<be16>(a, 6), At<be16>(b, 6));
}

int CompareHfsPlusExtents(ConstByteSpan a, ConstByteSpan b) {
    if (const int order = Order(At<be32>(a, 4), At<be32>(b, 4)); order != 0)
        return order;
    if (const int order = Order(At<std::uint8_t>(a, 2), At<std::uint8_t>(b, 2)); order != 0)
        return order;
    return Order(At<be32>(a, 8), At<be32>(b, 8));
}

}  // namespace

const TreeFormat kHfsCatalogFormat{1, 37, 37, true, CompareHfsCatalog};
const TreeFormat kHfsExtentsFormat{1, 7, 7, true, CompareHfsExtents};
const TreeFormat kHfsPlusCatalogFormat{2, 0, 516, false, CompareHfsPlusCatalog};
const TreeFormat kHfsxBinaryCatalogFormat{2, 0, 516, false, CompareHfsxBinary};
const TreeFormat kHfsPlusExtentsFormat{2, 0, 10, false, CompareHfsPlusExtents};

TreeKey HfsCatalogKey(std::uint32_t parentId, std::string_view name) {
    name = name.substr(0, kHfsNameLimit);
    TreeKey key;
    key.push_back(static_cast<std::uint8_t>(name.size() + kHfsKeyNameOffset - 1));
    key.push_back(0);
    Append(key, be32(parentId));
    key.push_back(static_cast<std::uint8_t>(name.size()));
    key.insert(key.end(), name.begin(), name.end());
    return key;
}

TreeKey HfsPlusCatalogKey(std::uint32_t parentId, std::u16string_view name) {
    name = name.substr(0, kHfsPlusNameMax);
    TreeKey key;
    Append(key, be16(static_cast<std::uint16_t>(kHfsPlusKeyNameOffset + 2 * name.size())));
    Append(key, be32(parentId));
    AppendHfsPlusName(key, name);
    return key;
}

TreeKey HfsExtentsKey(std::uint32_t fileId, std::uint8_t fork, std::uint32_t startBlock) {
    TreeKey key{kHfsExtentsKeyLength, fork};
    Append(key, be32(fileId));
    Append(key, be16(static_cast<std::uint16_t>(startBlock)));
    return key;
}

TreeKey HfsPlusExtentsKey(std::uint32_t fileId, std::uint8_t fork, std::uint32_t startBlock) {
    TreeKey key;
    Append(key, be16(kHfsPlusExtentsKeyLength));
    key.push_back(fork);
    key.push_back(0);
    Append(key, be32(fileId));
    Append(key, be32(startBlock));
    return key;
}

std::uint32_t KeyParent(ConstByteSpan key) {
    return At<be32>(key, 2);
}

std::string_view HfsKeyName(ConstByteSpan key) {
    if (key.size() < kHfsKeyNameOffset)
        return {};
    const std::size_t length =
        std::min<std::size_t>(key[kHfsKeyNameOffset - 1], key.size() - kHfsKeyNameOffset);
    return {reinterpret_cast<const char*>(key.data()) + kHfsKeyNameOffset, length};
}

std::u16string HfsPlusKeyName(ConstByteSpan key) {
    return ReadHfsPlusName(key.subspan(std::min(key.size(), kHfsPlusKeyNameOffset)));
}

void AppendHfsPlusName(std::vector<std::uint8_t>& out, std::u16string_view name) {
    Append(out, be16(static_cast<std::uint16_t>(name.size())));
    for (const char16_t unit : name)
        Append(out, be16(unit));
}

std::u16string ReadHfsPlusName(ConstByteSpan bytes) {
    std::u16string name;
    for (const be16 unit : UnitsAt(bytes, 0))
        name += static_cast<char16_t>(static_cast<std::uint16_t>(unit));
    return name;
}

}  // namespace vellmark
