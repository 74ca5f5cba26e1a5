#include "volume/catalog_keys.hpp"

#include <algorithm>
#include <cstring>

#include "containers/name_order.hpp"

namespace vellmark {

namespace {

// Keys up to their name, length fields included.
struct HfsCatalogKeyHead {
    std::uint8_t length;
    std::uint8_t reserved;
    be32 parentId;
    std::uint8_t nameLength;
};
struct HfsPlusCatalogKeyHead {
    be16 length;
    be32 parentId;
};
struct HfsExtentsKeyBytes {
    std::uint8_t length;
    std::uint8_t fork;
    be32 fileId;
    be16 startBlock;
};
struct HfsPlusExtentsKeyBytes {
    be16 length;
    std::uint8_t fork;
    std::uint8_t pad;
    be32 fileId;
    be32 startBlock;
};
static_assert(sizeof(HfsCatalogKeyHead) == 7 && sizeof(HfsPlusCatalogKeyHead) == 6);
static_assert(sizeof(HfsExtentsKeyBytes) == 8 && sizeof(HfsPlusExtentsKeyBytes) == 12);

constexpr std::size_t kHfsKeyNameOffset = sizeof(HfsCatalogKeyHead);
constexpr std::size_t kHfsPlusKeyNameOffset = sizeof(HfsPlusCatalogKeyHead);

template <typename Head>
TreeKey KeyOf(const Head& head, std::size_t tailBytes = 0) {
    TreeKey key(sizeof head + tailBytes);
    std::memcpy(key.data(), &head, sizeof head);
    return key;
}

// Count and units; `out` has room for them.
void PutHfsPlusName(std::uint8_t* out, std::u16string_view name) {
    const be16 count = static_cast<std::uint16_t>(name.size());
    std::memcpy(out, &count, sizeof count);
    for (const char16_t unit : name) {
        const be16 word = unit;
        out += sizeof word;
        std::memcpy(out, &word, sizeof word);
    }
}

template <typename Field>
Field At(ConstByteSpan bytes, std::size_t offset) {
    Field field{};
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
    const auto length = static_cast<std::uint8_t>(name.size());
    TreeKey key = KeyOf(HfsCatalogKeyHead{static_cast<std::uint8_t>(kHfsKeyNameOffset - 1 + length),
                                          0, parentId, length},
                        name.size());
    std::copy(name.begin(), name.end(), key.begin() + kHfsKeyNameOffset);
    return key;
}

TreeKey HfsPlusCatalogKey(std::uint32_t parentId, std::u16string_view name) {
    name = name.substr(0, kHfsPlusNameMax);
    const auto length = static_cast<std::uint16_t>(kHfsPlusKeyNameOffset + 2 * name.size());
    TreeKey key = KeyOf(HfsPlusCatalogKeyHead{length, parentId}, sizeof(be16) + 2 * name.size());
    PutHfsPlusName(key.data() + kHfsPlusKeyNameOffset, name);
    return key;
}

TreeKey HfsExtentsKey(std::uint32_t fileId, std::uint8_t fork, std::uint32_t startBlock) {
    return KeyOf(HfsExtentsKeyBytes{sizeof(HfsExtentsKeyBytes) - 1, fork, fileId,
                                    static_cast<std::uint16_t>(startBlock)});
}

TreeKey HfsPlusExtentsKey(std::uint32_t fileId, std::uint8_t fork, std::uint32_t startBlock) {
    return KeyOf(HfsPlusExtentsKeyBytes{std::uint16_t{sizeof(HfsPlusExtentsKeyBytes) - 2}, fork, 0,
                                        fileId, startBlock});
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
    const std::size_t at = out.size();
    out.resize(at + sizeof(be16) + 2 * name.size());
    PutHfsPlusName(out.data() + at, name);
}

std::u16string ReadHfsPlusName(ConstByteSpan bytes) {
    std::u16string name;
    for (const be16 unit : UnitsAt(bytes, 0))
        name += static_cast<char16_t>(static_cast<std::uint16_t>(unit));
    return name;
}

}  // namespace vellmark
