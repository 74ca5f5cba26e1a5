#include "layout/binary_plist.hpp"

#include <fmt/core.h>

#include <algorithm>
#include <bit>
#include <string_view>
#include <utility>

#include "support/encoding.hpp"

namespace vellmark {

namespace {

constexpr std::string_view kMagic = "bplist00";
constexpr std::size_t kTrailerBytes = 32;
// An object can be in the list many times, and each time is a copy.
constexpr std::size_t kMostObjects = 10000;
constexpr std::size_t kMostBytes = 1 << 20;
constexpr int kMostLevels = 32;
// The count of a longer one is an object of its own.
constexpr std::uint8_t kLongCount = 15;

enum Kind : std::uint8_t {
    kSingle = 0,
    kInteger = 1,
    kReal = 2,
    kData = 4,
    kAscii = 5,
    kUtf16 = 6,
    kArray = 10,
    kDictionary = 13
};

class Reading {
  public:
    explicit Reading(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

    [[nodiscard]] std::optional<PlistValue> whole() {
        if (bytes_.size() < kMagic.size() + kTrailerBytes ||
            !std::equal(kMagic.begin(), kMagic.end(), bytes_.begin()))
            return std::nullopt;
        const std::size_t trailer = bytes_.size() - kTrailerBytes;
        offsetBytes_ = bytes_[trailer + 6];
        referenceBytes_ = bytes_[trailer + 7];
        objects_ = numberAt(trailer + 8, 8);
        table_ = numberAt(trailer + 24, 8);
        if (offsetBytes_ == 0 || offsetBytes_ > 8 || referenceBytes_ == 0 || referenceBytes_ > 8)
            return std::nullopt;
        PlistValue value = object(numberAt(trailer + 16, 8), 0);
        return isGood_ ? std::optional(std::move(value)) : std::nullopt;
    }

  private:
    // Whether so many bytes lie there; when they do not, nothing of the list counts.
    bool has(std::uint64_t at, std::uint64_t count) {
        isGood_ = isGood_ && at <= bytes_.size() && count <= bytes_.size() - at;
        return isGood_;
    }
    std::uint64_t numberAt(std::uint64_t at, std::size_t count) {
        std::uint64_t number = 0;
        if (has(at, count))
            for (std::size_t i = 0; i < count; ++i)
                number = number << 8 | bytes_[static_cast<std::size_t>(at) + i];
        return number;
    }

    PlistValue fail() {
        isGood_ = false;
        return {};
    }

    PlistValue object(std::uint64_t number, int level) {
        if (number >= objects_ || objects_ > bytes_.size() || level > kMostLevels ||
            ++taken_ > kMostObjects)
            return fail();
        std::uint64_t at = numberAt(table_ + number * offsetBytes_, offsetBytes_);
        if (!has(at, 1))
            return {};
        const std::uint8_t head = bytes_[static_cast<std::size_t>(at++)];
        const auto kind = static_cast<Kind>(head >> 4);
        std::uint64_t count = head & 15;
        switch (kind) {
            case kSingle:
                return head == 8 || head == 9 ? PlistValue{head == 9} : PlistValue{};
            case kInteger:
                return integer(at, count);
            case kReal:
                return real(at, count);
            default:
                break;
        }
        if (count == kLongCount)
            count = longCount(at);
        switch (kind) {
            case kData:
                return data(at, count);
            case kAscii:
                return ascii(at, count);
            case kUtf16:
                return utf16(at, count);
            case kArray:
                return array(at, count, level);
            case kDictionary:
                return dictionary(at, count, level);
            default:
                return {};
        }
    }

    // Moves `at` behind it.
    std::uint64_t longCount(std::uint64_t& at) {
        const auto head = static_cast<std::uint8_t>(numberAt(at, 1));
        const std::size_t size = std::size_t{1} << (head & 3);
        if (head >> 4 != kInteger || (head & 15) > 3)
            isGood_ = false;
        const std::uint64_t count = numberAt(at + 1, size);
        at += 1 + size;
        return count;
    }

    // Of up to four bytes they are without a sign; of sixteen the lower half counts.
    PlistValue integer(std::uint64_t at, std::uint64_t power) {
        if (power > 4)
            return fail();
        if (power == 4)
            at += 8;
        return {static_cast<std::int64_t>(numberAt(at, power >= 3 ? 8 : std::size_t{1} << power))};
    }
    PlistValue real(std::uint64_t at, std::uint64_t power) {
        if (power == 2)
            return {double{std::bit_cast<float>(static_cast<std::uint32_t>(numberAt(at, 4)))}};
        return power == 3 ? PlistValue{std::bit_cast<double>(numberAt(at, 8))} : fail();
    }

    // The bytes there, none when they are too many.
    std::span<const std::uint8_t> part(std::uint64_t at, std::uint64_t count) {
        if (!has(at, count))
            return {};
        copied_ += static_cast<std::size_t>(count);
        isGood_ = isGood_ && copied_ <= kMostBytes;
        return isGood_
                   ? bytes_.subspan(static_cast<std::size_t>(at), static_cast<std::size_t>(count))
                   : std::span<const std::uint8_t>();
    }
    PlistValue data(std::uint64_t at, std::uint64_t count) {
        const auto bytes = part(at, count);
        return {PlistValue::Bytes(bytes.begin(), bytes.end())};
    }
    PlistValue ascii(std::uint64_t at, std::uint64_t count) {
        const auto bytes = part(at, count);
        return {std::string(bytes.begin(), bytes.end())};
    }
    PlistValue utf16(std::uint64_t at, std::uint64_t count) {
        if (count > bytes_.size())
            return fail();
        const auto bytes = part(at, 2 * count);
        std::u16string wide;
        for (std::size_t i = 0; i + 1 < bytes.size(); i += 2)
            wide += static_cast<char16_t>(bytes[i] << 8 | bytes[i + 1]);
        return {WideToUtf8(wide)};
    }

    // The number of the object that the reference with that turn names.
    std::uint64_t reference(std::uint64_t at, std::uint64_t turn) {
        return numberAt(at + turn * referenceBytes_, referenceBytes_);
    }
    PlistValue array(std::uint64_t at, std::uint64_t count, int level) {
        if (count > kMostObjects)
            return fail();
        PlistValue::List list;
        for (std::uint64_t i = 0; i < count && isGood_; ++i)
            list.push_back(object(reference(at, i), level + 1));
        return {std::move(list)};
    }
    PlistValue dictionary(std::uint64_t at, std::uint64_t count, int level) {
        if (count > kMostObjects)
            return fail();
        PlistValue::Entries entries;
        for (std::uint64_t i = 0; i < count && isGood_; ++i) {
            const PlistValue key = object(reference(at, i), level + 1);
            if (!key.text())
                return fail();
            entries[*key.text()] = object(reference(at, count + i), level + 1);
        }
        return {std::move(entries)};
    }

    std::span<const std::uint8_t> bytes_;
    std::size_t offsetBytes_ = 0;
    std::size_t referenceBytes_ = 0;
    std::uint64_t objects_ = 0;
    std::uint64_t table_ = 0;
    std::size_t taken_ = 0;
    std::size_t copied_ = 0;
    bool isGood_ = true;
};

struct TextOf {
    std::string operator()(std::monostate) const { return "-"; }
    std::string operator()(bool value) const { return value ? "true" : "false"; }
    std::string operator()(std::int64_t value) const { return std::to_string(value); }
    std::string operator()(double value) const { return fmt::format("{}", value); }
    std::string operator()(const std::string& value) const { return Printable(value); }
    std::string operator()(const PlistValue::Bytes& value) const {
        return fmt::format("<{}>", value.size());
    }
    std::string operator()(const PlistValue::List& value) const {
        std::string text;
        for (const PlistValue& each : value)
            text += (text.empty() ? "" : ", ") + PlistText(each);
        return "[" + text + "]";
    }
    std::string operator()(const PlistValue::Entries& value) const {
        std::string text;
        for (const auto& [name, each] : value)
            text += (text.empty() ? "" : ", ") + Printable(name) + ": " + PlistText(each);
        return "{" + text + "}";
    }
};

}  // namespace

const PlistValue* PlistValue::entry(const std::string& name) const {
    const auto* const entries = std::get_if<Entries>(&value);
    if (!entries)
        return nullptr;
    const auto found = entries->find(name);
    return found == entries->end() ? nullptr : &found->second;
}

std::optional<double> PlistValue::number() const {
    if (const auto* const whole = std::get_if<std::int64_t>(&value))
        return static_cast<double>(*whole);
    const auto* const real = std::get_if<double>(&value);
    return real ? std::optional(*real) : std::nullopt;
}

std::optional<PlistValue> ReadBinaryPlist(std::span<const std::uint8_t> bytes) {
    return Reading(bytes).whole();
}

std::string PlistText(const PlistValue& value) {
    return std::visit(TextOf(), value.value);
}

}  // namespace vellmark
