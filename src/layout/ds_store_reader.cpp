#include <algorithm>
#include <array>
#include <cstring>
#include <optional>
#include <set>

#include "layout/ds_store.hpp"
#include "support/endian.hpp"
#include "support/sentences.hpp"

namespace vellmark {

namespace {

constexpr std::size_t kBase = 4;  // that offsets of blocks are counted from
constexpr std::size_t kTreePlace = 20;
constexpr std::size_t kOneNodeBytes = 6148;
constexpr std::uint32_t kAddressesARound = 256;
constexpr std::uint32_t kSizeBits = 31;
constexpr std::size_t kMostDepth = 32;
constexpr std::size_t kMostNameUnits = 1024;

using Bytes = std::span<const std::uint8_t>;

/// Reads on until something is not there.
class Cursor {
  public:
    explicit Cursor(Bytes bytes) : bytes_(bytes) {}

    [[nodiscard]] std::optional<Bytes> take(std::size_t count) {
        if (count > bytes_.size())
            return std::nullopt;
        const Bytes taken = bytes_.first(count);
        bytes_ = bytes_.subspan(count);
        return taken;
    }
    [[nodiscard]] std::optional<std::uint32_t> number() {
        const auto four = take(sizeof(be32));
        if (!four)
            return std::nullopt;
        be32 value;
        std::memcpy(&value, four->data(), sizeof value);
        return value;
    }
    [[nodiscard]] std::optional<std::string> letters() {
        const auto four = take(4);
        return four ? std::optional(std::string(four->begin(), four->end())) : std::nullopt;
    }
    [[nodiscard]] std::size_t left() const { return bytes_.size(); }

  private:
    Bytes bytes_;
};

// How many bytes a value has whose type says so; nothing for types with a length, or unknown.
std::optional<std::size_t> FixedSize(std::string_view type) {
    if (type == "bool")
        return 1;
    if (type == "shor" || type == "long" || type == "type")
        return 4;
    if (type == "comp" || type == "dutc")
        return 8;
    return std::nullopt;
}

std::optional<std::size_t> ValueSize(std::string_view type, Cursor& cursor) {
    if (const auto fixed = FixedSize(type))
        return fixed;
    const bool isText = type == "ustr";
    if (!isText && type != "blob")
        return std::nullopt;
    const auto count = cursor.number();
    if (!count)
        return std::nullopt;
    return std::size_t{*count} * (isText ? 2 : 1);
}

std::optional<StoreRecord> TakeRecord(Cursor& cursor) {
    const auto units = cursor.number();
    if (!units || *units == 0 || *units > kMostNameUnits)
        return std::nullopt;
    const auto name = cursor.take(std::size_t{*units} * 2);
    const auto id = cursor.letters();
    const auto type = cursor.letters();
    if (!name || !id || !type)
        return std::nullopt;
    const auto size = ValueSize(*type, cursor);
    const auto value = size ? cursor.take(*size) : std::nullopt;
    if (!value)
        return std::nullopt;
    StoreRecord record{{}, *id, *type, {value->begin(), value->end()}};
    for (std::size_t i = 0; i < name->size(); i += 2)
        record.name += static_cast<char16_t>((*name)[i] << 8 | (*name)[i + 1]);
    return record;
}

class StoreReader {
  public:
    explicit StoreReader(Bytes bytes) : bytes_(bytes) {}

    // False when something leads out of the file.
    [[nodiscard]] bool read() {
        const auto root = findRoot();
        return root && walk(*root, 0);
    }
    /// The one node that the word about the tree leads to, whatever the allocator says.
    [[nodiscard]] bool readOneNode() {
        records_.clear();
        taken_ = 0;
        const std::uint32_t place = numberAt(kTreePlace);
        // The low half of the count of records.
        if (place < kBase + 2 || place - 2 >= bytes_.size())
            return false;
        Cursor cursor(bytes_.subspan(place - 2));
        return takeRecords(cursor, cursor.number().value_or(0));
    }
    /// Records behind those that the one node counts.
    void readUncounted() {
        if (uncounted_)
            while (auto record = TakeRecord(*uncounted_))
                records_.push_back(std::move(*record));
    }
    [[nodiscard]] std::vector<StoreRecord>& records() { return records_; }

  private:
    [[nodiscard]] std::uint32_t numberAt(std::size_t place) const {
        return place < bytes_.size() ? Cursor(bytes_.subspan(place)).number().value_or(0) : 0;
    }

    // The part of a block that the file has.
    [[nodiscard]] Bytes block(std::uint32_t number) const {
        if (number >= addresses_.size())
            return {};
        const std::uint32_t address = addresses_[number];
        const std::size_t place = kBase + (address & ~kSizeBits);
        if (place >= bytes_.size())
            return {};
        const std::uint64_t size = std::uint64_t{1} << (address & kSizeBits);
        return bytes_.subspan(
            place, static_cast<std::size_t>(std::min<std::uint64_t>(size, bytes_.size() - place)));
    }

    [[nodiscard]] std::optional<std::uint32_t> findRoot() {
        const std::size_t place = kBase + std::size_t{numberAt(8)};
        if (place >= bytes_.size())
            return std::nullopt;
        Cursor cursor(bytes_.subspan(place));
        const std::uint32_t count = cursor.number().value_or(0);
        (void)cursor.number();
        if (count > bytes_.size() / sizeof(be32))
            return std::nullopt;
        const std::uint32_t rounded =
            (count + kAddressesARound - 1) / kAddressesARound * kAddressesARound;
        for (std::uint32_t i = 0; i < rounded; ++i) {
            const auto address = cursor.number();
            if (!address)
                return std::nullopt;
            if (i < count)
                addresses_.push_back(*address);
        }
        for (std::uint32_t entries = cursor.number().value_or(0); entries > 0; --entries) {
            const auto length = cursor.take(1);
            const auto name = length ? cursor.take((*length)[0]) : std::nullopt;
            const auto number = cursor.number();
            if (!name || !number)
                return std::nullopt;
            if (std::string(name->begin(), name->end()) == "DSDB")
                return Cursor(block(*number)).number();
        }
        return std::nullopt;
    }

    bool takeRecords(Cursor& cursor, std::uint32_t count) {
        for (std::uint32_t i = 0; i < count; ++i) {
            const std::size_t before = cursor.left();
            auto record = TakeRecord(cursor);
            taken_ += before - cursor.left();
            // More than there is: nodes that share their bytes make records without end.
            if (!record || taken_ > bytes_.size())
                return false;
            records_.push_back(std::move(*record));
        }
        uncounted_ = cursor;
        return true;
    }

    bool walk(std::uint32_t node, std::size_t depth) {
        // Several numbers may stand for one place.
        if (depth > kMostDepth || node >= addresses_.size() ||
            !seen_.insert(addresses_[node] & ~kSizeBits).second)
            return false;
        Cursor cursor(block(node));
        const auto last = cursor.number();
        const auto count = cursor.number();
        if (!last || !count)
            return false;
        if (*last == 0)
            return takeRecords(cursor, *count);
        for (std::uint32_t i = 0; i < *count; ++i) {
            const auto child = cursor.number();
            if (!child || !walk(*child, depth + 1) || !takeRecords(cursor, 1))
                return false;
        }
        return walk(*last, depth + 1);
    }

    Bytes bytes_;
    std::vector<std::uint32_t> addresses_;
    std::set<std::uint32_t> seen_;  ///< places of nodes
    std::size_t taken_ = 0;         ///< bytes of all records
    std::vector<StoreRecord> records_;
    std::optional<Cursor> uncounted_;
};

}  // namespace

Result<std::vector<StoreRecord>> ReadStore(Bytes bytes) {
    constexpr std::array<std::uint8_t, 4> kMagic = {'B', 'u', 'd', '1'};
    if (bytes.size() < kBase + kMagic.size() ||
        !std::equal(kMagic.begin(), kMagic.end(), bytes.begin() + kBase))
        return Failed(Sentence::kNoStore);
    StoreReader reader(bytes);
    const bool isWhole = reader.read();
    if (!isWhole && !reader.readOneNode())
        return Failed(Sentence::kStoreDamaged);
    if (bytes.size() == kOneNodeBytes)
        reader.readUncounted();
    return std::move(reader.records());
}

}  // namespace vellmark
