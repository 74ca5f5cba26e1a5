#include "containers/bin_hex_reader.hpp"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

namespace vellmark {
namespace {

constexpr std::string_view kAlphabet =
    "!\"#$%&'()*+,-012345689@ABCDEFGHIJKLMNPQRSTUVXYZ[`abcdefhijklmpqr";
static_assert(kAlphabet.size() == 64);

constexpr std::uint8_t kPassedOver = 0xFF;

/// The value of each character; 0 for those that the format does not know.
constexpr std::array<std::uint8_t, 256> kValues = [] {
    std::array<std::uint8_t, 256> values{};
    for (std::size_t i = 0; i < kAlphabet.size(); ++i)
        values[static_cast<std::uint8_t>(kAlphabet[i])] = static_cast<std::uint8_t>(i);
    for (char separator : {'\r', '\n', ':', ' ', '\t'})
        values[static_cast<std::uint8_t>(separator)] = kPassedOver;
    return values;
}();

constexpr std::uint8_t kMarker = 0x90;
constexpr std::size_t kPieceBytes = 64 * 1024;

}  // namespace

BinHexReader::BinHexReader(ByteSource& text, std::uint64_t offset, BinHexRunRule rule)
    : text_(text), offset_(offset), rule_(rule) {
    skipToColon();
}

void BinHexReader::skipToColon() {
    while (fillText()) {
        const auto colon = std::find(piece_.begin(), piece_.end(), ':');
        if (colon != piece_.end()) {
            pieceAt_ = static_cast<std::size_t>(colon - piece_.begin()) + 1;
            return;
        }
    }
}

bool BinHexReader::fillText() {
    piece_.resize(kPieceBytes);
    piece_.resize(text_.readAt(offset_, piece_));
    offset_ += piece_.size();
    pieceAt_ = 0;
    return !piece_.empty();
}

bool BinHexReader::fillBytes() {
    bytesAt_ = 0;
    std::size_t count = 0;
    while (count == 0) {
        if (pieceAt_ == piece_.size() && !fillText()) {
            bytes_.clear();
            return false;
        }
        bytes_.resize(piece_.size());
        for (; pieceAt_ < piece_.size(); ++pieceAt_) {
            const std::uint8_t value = kValues[piece_[pieceAt_]];
            if (value == kPassedOver)
                continue;
            bits_ = (bits_ << 6) | value;
            bitCount_ += 6;
            if (bitCount_ < 8)
                continue;
            bitCount_ -= 8;
            bytes_[count++] = static_cast<std::uint8_t>(bits_ >> bitCount_);
        }
    }
    bytes_.resize(count);
    return true;
}

int BinHexReader::nextByte() {
    if (bytesAt_ == bytes_.size() && !fillBytes())
        return -1;
    return bytes_[bytesAt_++];
}

/// Takes the count behind a marker. A count c stands for c bytes with the one before the marker, 0
/// for the marker as a byte of the file.
bool BinHexReader::startRun() {
    const int count = nextByte();
    if (count < 0)
        return false;
    if (count == 0) {
        runByte_ = kMarker;
        runLeft_ = 1;
    } else {
        rulesDiffer_ = rulesDiffer_ || (count > 1 && lastRead_ != lastWritten_);
        runByte_ = rule_ == BinHexRunRule::Marker ? lastRead_ : lastWritten_;
        runLeft_ = count - 1;
    }
    lastRead_ = kMarker;
    if (runLeft_ > 0)
        lastWritten_ = runByte_;
    return true;
}

std::size_t BinHexReader::read(std::span<std::uint8_t> out) {
    std::size_t done = 0;
    while (done < out.size()) {
        if (runLeft_ > 0) {
            const auto count = std::min(out.size() - done, static_cast<std::size_t>(runLeft_));
            std::memset(out.data() + done, runByte_, count);
            runLeft_ -= static_cast<int>(count);
            done += count;
            continue;
        }
        if (bytesAt_ == bytes_.size() && !fillBytes())
            break;
        const auto from = bytes_.begin() + static_cast<std::ptrdiff_t>(bytesAt_);
        const auto limit = std::min(out.size() - done, bytes_.size() - bytesAt_);
        const auto end = std::find(from, from + static_cast<std::ptrdiff_t>(limit), kMarker);
        std::copy(from, end, out.begin() + static_cast<std::ptrdiff_t>(done));
        const auto count = static_cast<std::size_t>(end - from);
        done += count;
        bytesAt_ += count;
        if (count > 0)
            lastRead_ = lastWritten_ = out[done - 1];
        if (count == limit)
            continue;
        ++bytesAt_;
        if (!startRun())
            break;
    }
    return done;
}

}  // namespace vellmark
