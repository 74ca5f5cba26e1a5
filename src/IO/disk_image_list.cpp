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

// Where a tag stands from an offset on.
std::optional<std::uint64_t> DataSections::find(std::string_view tag, std::uint64_t from) {
    bufferAt_ = bufferEnd_ = 0;
    while (from + tag.size() <= end_) {
        const auto want =
            static_cast<std::size_t>(std::min<std::uint64_t>(buffer_.size(), end_ - from));
        const std::size_t got = file_.readAt(from, {buffer_.data(), want});
        if (got < tag.size())
            break;
        const std::string_view text(reinterpret_cast<const char*>(buffer_.data()), got);
        if (const std::size_t at = text.find(tag); at != text.npos)
            return from + at;
        // A tag may begin in this piece and end in the next.
        from += got - (tag.size() - 1);
    }
    return std::nullopt;
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
    bufferAt_ = bufferEnd_ = 0;
    decodedLeft_ = 0;
}

std::size_t DataSections::read(std::span<std::uint8_t> out) {
    std::size_t done = 0;
    while (done < out.size() && (decodedLeft_ > 0 || decodeGroup()))
        out[done++] = decoded_[decoded_.size() - decodedLeft_--];
    return done;
}

bool DataSections::fillText() {
    const auto want =
        static_cast<std::size_t>(std::min<std::uint64_t>(buffer_.size(), sectionEnd_ - textAt_));
    bufferAt_ = 0;
    bufferEnd_ = file_.readAt(textAt_, {buffer_.data(), want});
    textAt_ += bufferEnd_;
    return bufferEnd_ > 0;
}

bool DataSections::decodeGroup() {
    std::uint32_t group = 0;
    std::size_t digits = 0;
    while (digits < kGroupDigits && (bufferAt_ < bufferEnd_ || fillText())) {
        const std::uint8_t digit = kDigits[buffer_[bufferAt_++]];
        if (digit != kNoDigit)
            group |= std::uint32_t{digit} << (6 * (kGroupDigits - 1 - digits++));
    }
    decoded_ = {static_cast<std::uint8_t>(group >> 16), static_cast<std::uint8_t>(group >> 8),
                static_cast<std::uint8_t>(group)};
    decodedLeft_ = digits > 0 ? decoded_.size() : 0;
    return digits > 0;
}

}  // namespace vellmark
