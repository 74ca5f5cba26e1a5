#include "IO/disk_image_list.hpp"

#include <algorithm>

namespace vellmark {

namespace {

constexpr std::string_view kOpeningTag = "<data>";
constexpr std::string_view kClosingTag = "</data>";
constexpr std::string_view kAlphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

constexpr std::uint8_t kNoDigit = 0xFF;
constexpr std::size_t kGroupDigits = 4;

constexpr std::array<std::uint8_t, 256> MakeDigits() {
    std::array<std::uint8_t, 256> digits{};
    for (std::uint8_t& digit : digits)
        digit = kNoDigit;
    for (std::size_t i = 0; i < kAlphabet.size(); ++i)
        digits[static_cast<std::uint8_t>(kAlphabet[i])] = static_cast<std::uint8_t>(i);
    digits['='] = 0;
    return digits;
}
constexpr std::array<std::uint8_t, 256> kDigits = MakeDigits();

}  // namespace

// The list from an offset on, as far as it lies in memory. Fewer bytes than `least` where the list
// ends, cannot be read, or is not to be read on.
std::string_view DataSections::windowFrom(std::uint64_t offset, std::size_t least) {
    const std::uint64_t windowEnd = windowStart_ + windowSize_;
    if (offset < windowStart_ || offset > windowEnd || windowEnd - offset < least) {
        const auto want = static_cast<std::size_t>(
            std::min<std::uint64_t>(window_.size(), end_ - std::min(end_, offset)));
        isStopped_ = isStopped_ || !progress_.mayGoOn();
        windowStart_ = offset;
        windowSize_ =
            isStopped_
                ? 0
                : file_.readAt(offset, {reinterpret_cast<std::uint8_t*>(window_.data()), want});
    }
    const auto at = static_cast<std::size_t>(offset - windowStart_);
    return {window_.data() + at, windowSize_ - at};
}

// Where a tag stands from an offset on.
std::optional<std::uint64_t> DataSections::find(std::string_view tag, std::uint64_t from) {
    while (true) {
        const std::string_view text = windowFrom(from, tag.size());
        if (text.size() < tag.size())
            return std::nullopt;
        if (const std::size_t at = text.find(tag); at != text.npos)
            return from + at;
        // A tag may begin in this piece and end in the next.
        from += text.size() - (tag.size() - 1);
    }
}

bool DataSections::next() {
    const std::optional<std::uint64_t> opening = find(kOpeningTag, next_);
    if (!opening)
        return false;
    const std::optional<std::uint64_t> closing = find(kClosingTag, *opening + kOpeningTag.size());
    if (!closing)
        return false;
    begin_ = *opening + kOpeningTag.size();
    sectionEnd_ = *closing;
    next_ = *closing + kClosingTag.size();
    rewind();
    return true;
}

void DataSections::rewind() {
    textAt_ = begin_;
    decodedLeft_ = 0;
}

std::size_t DataSections::read(std::span<std::uint8_t> out) {
    std::size_t done = 0;
    while (done < out.size() && (decodedLeft_ > 0 || decodeGroup()))
        out[done++] = decoded_[decoded_.size() - decodedLeft_--];
    return done;
}

bool DataSections::decodeGroup() {
    std::uint32_t group = 0;
    std::size_t digits = 0;
    while (digits < kGroupDigits && textAt_ < sectionEnd_) {
        std::string_view text = windowFrom(textAt_, 1);
        text = text.substr(0, static_cast<std::size_t>(
                                  std::min<std::uint64_t>(text.size(), sectionEnd_ - textAt_)));
        if (text.empty())
            break;
        for (std::size_t at = 0; at < text.size() && digits < kGroupDigits; ++at, ++textAt_) {
            const std::uint8_t digit = kDigits[static_cast<std::uint8_t>(text[at])];
            if (digit != kNoDigit)
                group |= std::uint32_t{digit} << (6 * (kGroupDigits - 1 - digits++));
        }
    }
    decoded_ = {static_cast<std::uint8_t>(group >> 16), static_cast<std::uint8_t>(group >> 8),
                static_cast<std::uint8_t>(group)};
    decodedLeft_ = digits > 0 ? decoded_.size() : 0;
    return digits > 0;
}

}  // namespace vellmark
